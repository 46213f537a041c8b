#!/usr/bin/env bash
# Boots Debian's kernel in a small qemu VM with an initramfs built here (static
# busybox, the production diag with its shared libraries, the i2c-dev and
# i2c-stub modules) and checks what the program did against the kernel's own
# I2C stub, as read from the VM's serial console.
# Usage: vmTest.sh ARCH DIAG KERNEL_DIR WORK_DIR [LIB_DIR...]
#   ARCH amd64 or armhf; DIAG the production program; KERNEL_DIR what
#   scripts/vmKernel.sh fetched; LIB_DIRs where DIAG's shared libraries are.
# Exit: 0 passed, 1 failed, 77 skipped (the reason is printed).
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
arch=${1:?arch}
diag=${2:?diag}
kernelDir=${3:?kernel dir}
work=${4:?work dir}
shift 4
libDirs=("$@")
# Bounds, in seconds: the whole VM run, and the wait for it to power off once done.
RUN_BOUND=45
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
      qemu=(qemu-system-x86_64 -M q35 -cpu max)
      [ -f "$kernelDir/vmlinux" ] && kernel=$kernelDir/vmlinux
      console=ttyS0 ;;
  esac
  qemu+=(-m 256 -smp 1 -display none -monitor none -serial stdio -no-reboot -nodefaults
         -kernel "$kernel" -initrd "$work/initramfs.cpio"
         -append "console=$console panic=-1 quiet loglevel=1")
}

needed() {
  command -v "${qemu[0]}" >/dev/null || skip "${qemu[0]} is not installed (scripts/deps.sh installs it)"
  [ -f "$kernelDir/vmlinuz" ] && [ -f "$kernelDir/modules/i2c-stub.ko" ] && [ -f "$kernelDir/modules/i2c-dev.ko" ] ||
    skip "no kernel for $arch in $kernelDir (scripts/deps.sh fetches it)"
  [ -x "$diag" ] || { echo "FAILED: no program $diag"; exit 1; }
}

# Reads the console until the scenario ends, the VM stops or the bound runs out.
readConsole() {
  local fd=$1 line deadline=$((SECONDS + RUN_BOUND))
  while ((SECONDS < deadline)) && IFS= read -r -t $((deadline - SECONDS)) line <&"$fd"; do
    line=${line%$'\r'}
    printf '%s\n' "$line" >>"$work/console.log"
    case "$line" in
      "@@vm init") tInit=$(now) ;;
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
  coproc VM { exec timeout -k 2 $((RUN_BOUND + OFF_BOUND)) "${qemu[@]}" </dev/null 2>"$work/qemu.err"; }
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
    skip "the VM did not reach its init within ${RUN_BOUND} s (host too slow?)"
  fi
  if [ -z "$tEnd" ]; then
    echo "FAILED: the VM started its init but the scenario did not end within ${RUN_BOUND} s"
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
runChecks "$work/console.log"
