#!/usr/bin/env bash
# Boots Debian's kernel in a small qemu VM with an initramfs built here (static
# busybox, the production diag with its shared libraries, the kernel's I2C
# modules) and checks what the program did on the kernel's i2c-dev, as read
# from the VM's serial console: against the kernel's own i2c-stub on amd64, and
# against qemu's chips on the armhf board (Debian's ARM kernels have no stub).
# Usage: vmTest.sh ARCH DIAG KERNEL_DIR WORK_DIR [LIB_DIR...]
#   ARCH amd64 or armhf; DIAG the production program; KERNEL_DIR what
#   scripts/vmKernel.sh fetched; LIB_DIRs where DIAG's shared libraries are.
#   DIAG_VM_REPLAY (environment): the desk's diag-replay command, which replays
#   the recordings the VM's diag made.
# Exit: 0 passed, 1 failed, 77 skipped (the reason is printed).
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
arch=${1:?arch}
diag=${2:?diag}
kernelDir=${3:?kernel dir}
work=${4:?work dir}
shift 4
libDirs=("$@")
read -ra replay <<<"${DIAG_VM_REPLAY:?names the diag-replay command of the desk}"
# Bounds, in seconds: the boot up to the init, the scenario from there, and the
# wait for the VM to power off once done. The armhf board is emulated
# instruction by instruction and bit-bangs its bus.
BOOT_BOUND=40
RUN_BOUND=40
[ "$arch" = armhf ] && BOOT_BOUND=60 RUN_BOUND=240
OFF_BOUND=10

source "$here/vmImage.sh"
source "$here/vmChecks.sh"

skip() {
  echo "SKIPPED: $*"
  exit 77
}

now() { echo "${EPOCHREALTIME/[.,]/}"; }
secs() { printf '%d.%02d' $((($2 - $1) / 1000000)) $(((($2 - $1) / 10000) % 100)); }

qemuCommand() {
  local kernel=$kernelDir/vmlinuz
  case "$arch" in
    amd64)
      # q35 rather than microvm: without HPET or ACPI timer a loaded host makes the
      # kernel's TSC calibration fail and the boot hang. The uncompressed kernel
      # boots directly and faster than vmlinuz.
      board=stub
      qemu=(qemu-system-x86_64 -M q35 -cpu max)
      [ -f "$kernelDir/vmlinux" ] && kernel=$kernelDir/vmlinux
      console=ttyS0 ;;
    armhf)
      # Debian's ARM kernels have no i2c-stub: qemu's own chips answer instead,
      # on the board's I2C controller: the host switch, the fan controller behind
      # its channel 1, and the main host's memory.
      board=vexpress
      qemu=(qemu-system-arm -M vexpress-a15 -dtb "$kernelDir/board.dtb"
            -device pca9546,address=0x71 -device max31785,bus=i2c.1,address=0x52
            -device at24c-eeprom,address=0x56,rom-size=4096)
      console=ttyAMA0 ;;
    *) echo "FAILED: no VM for $arch"; exit 1 ;;
  esac
  qemu+=(-accel tcg -m 256 -smp 1 -display none -monitor none -serial stdio -no-reboot -nodefaults
         -kernel "$kernel" -initrd "$work/initramfs.cpio"
         -append "console=$console panic=-1 quiet loglevel=1 VMBOARD=$board")
}

needed() {
  command -v "${qemu[0]}" >/dev/null || skip "${qemu[0]} is not installed (scripts/deps.sh installs it)"
  local f
  for f in vmlinuz modules/i2c-dev.ko $([ "$arch" = armhf ] && echo board.dtb busybox); do
    [ -f "$kernelDir/$f" ] || skip "no kernel for $arch in $kernelDir (scripts/deps.sh fetches it)"
  done
  local bb
  bb=$(vmBusybox)
  [ -x "$bb" ] && [ -z "$(needs "$bb")" ] || skip "no static busybox for $arch (scripts/deps.sh installs busybox-static)"
  [ -x "$diag" ] || { echo "FAILED: no program $diag"; exit 1; }
}

# Reads the console until the scenario ends, the VM stops or a bound runs out.
readConsole() {
  local fd=$1 line deadline=$((SECONDS + BOOT_BOUND))
  while ((SECONDS < deadline)) && IFS= read -r -t $((deadline - SECONDS)) line <&"$fd"; do
    line=${line%$'\r'}
    printf '%s\n' "$line" >>"$work/console.log"
    case "$line" in
      "@@vm init") tInit=$(now) deadline=$((SECONDS + RUN_BOUND)) ;;
      "@@vm end") tEnd=$(now); return 0 ;;
    esac
  done
  return 1
}

# Gives the VM a bounded time to power off (its console closes), then ends it.
stopVm() {
  local fd=$1 pid=$2 line rc deadline=$((SECONDS + OFF_BOUND))
  while :; do
    ((SECONDS < deadline)) || { rc=142; break; }
    IFS= read -r -t $((deadline - SECONDS)) line <&"$fd" || { rc=$?; break; }
  done
  ((rc > 128)) && kill "$pid" 2>/dev/null && echo "the VM did not power off within ${OFF_BOUND} s; stopped it"
  wait "$pid" 2>/dev/null
}

bootVm() {
  : >"$work/console.log"
  tStart=$(now) tInit= tEnd=
  # timeout is the last word on how long the VM may live, whatever happens here.
  coproc VM { exec timeout -k 2 $((BOOT_BOUND + RUN_BOUND + OFF_BOUND)) "${qemu[@]}" </dev/null 2>"$work/qemu.err"; }
  local pid=$VM_PID fd
  exec {fd}<&"${VM[0]}"
  readConsole "$fd"
  stopVm "$fd" "$pid"
  exec {fd}<&-
}

# Why the VM produced no scenario: a host that cannot run it is a skip, a VM
# that started its init or panicked is a failure.
judgeBoot() {
  if [ -z "$tInit" ]; then
    grep -q 'Kernel panic' "$work/console.log" && { echo "FAILED: the kernel panicked"; cat "$work/console.log"; exit 1; }
    grep -qv 'terminating on signal' "$work/qemu.err" && skip "qemu could not run the VM: $(head -3 "$work/qemu.err")"
    skip "the VM did not reach its init within ${BOOT_BOUND} s (host too slow?)"
  fi
  if [ -z "$tEnd" ]; then
    echo "FAILED: the VM started its init but the scenario did not end within ${RUN_BOUND} s of it"
    cat "$work/console.log"
    exit 1
  fi
  echo "VM $arch: init after $(secs "$tStart" "$tInit") s, scenario done after $(secs "$tStart" "$tEnd") s"
}

qemuCommand
needed
rm -rf "$work" && mkdir -p "$work"
buildImage || { echo "FAILED: could not build the initramfs"; exit 1; }
bootVm
judgeBoot
runChecks "$work/console.log" "$board"
