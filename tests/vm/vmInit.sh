#!/bin/sh
# /init of the VM that runs the production diag on a real kernel's i2c-dev. It
# makes the VM look like the main host to the program (adapter 2 with the host
# switch, the fan controller and the main host's memory answering, the sysfs
# entries and the board revision file the registry reads), runs the scenario and
# powers off. VMBOARD (from the kernel command line) says who answers the bus:
#   stub      the kernel's i2c-stub (SMBus only; amd64)
#   vexpress  qemu's PCA9546 switch with its MAX31785 behind channel 1 and an
#             AT24C memory, on the Versatile Express board's I2C controller (armhf)
# Every step is framed on the console by "@@vm step NAME" and "@@vm rc N"; the
# host side reads the outcome from there. Each step's diag is recorded
# (DIAG_RECORD); the recordings follow on the console, compressed and in
# base64 (the emulated serial line is slow), each framed by
# "@@vm recording NAME" and "@@vm recording end", for the desk to replay.
export PATH=/bin:/sbin:/usr/bin:/usr/sbin
BOARD=${VMBOARD:-stub}
ADAPTER2=/sys/devices/platform/omap/omap_i2c.2/i2c-2
FCTL=0x52
HOSTSW=0x71
MHEEPROM=0x56
MRTMP1=0x48

say() { echo "@@vm $*"; }

mountAll() {
  mount -t proc proc /proc
  mount -t sysfs sysfs /sys
  mount -t devtmpfs devtmpfs /dev
  mkdir -p /dev/shm /tmp
  mount -t tmpfs shm /dev/shm   # the named semaphores live here
  mount -t tmpfs tmp /tmp
}

# The program's devices hang on adapter 2, whatever number the bus got.
adapterAs2() {
  [ -n "$1" ] || return 1
  [ "$1" = 2 ] || mknod /dev/i2c-2 c 89 "$1"
}

# The fan controller pages its registers like PMBus: only an SMBus byte write of
# register 0 (PAGE) switches the bank that registers 1..0xff reach. The main
# host's memory only answers; the main-reference sensor holds the registers
# planted in it. SMBus block transfers are switched on as well.
loadStub() {
  insmod /lib/modules/i2c-stub.ko chip_addr=$FCTL,$HOSTSW,$MHEEPROM,$MRTMP1 bank_reg=0x00 bank_mask=0x1f bank_start=0x01 \
    bank_end=0xff functionality=0x0f7f0000 || return 1
  local d nr=
  for d in /sys/class/i2c-dev/i2c-*; do
    grep -q "SMBus stub" "$d/name" && nr=${d##*/i2c-}
  done
  adapterAs2 "$nr" && stubSwitch
}

# The program reads back each control byte it gives the host switch. On the
# stub a control byte arrives as an SMBus send byte, which sets the chip's
# register pointer, and is read back as a receive byte, which reads the register
# it points at: a register holding its own number for each single channel makes
# the stub hold what it is given, as a switch does.
stubSwitch() {
  local c
  for c in 0x01 0x02 0x04 0x08; do i2cset -y 2 $HOSTSW $c $c b || return 1; done
}

# The board's DVI bus (its transmitter is the client at 0x39) is where qemu put the chips.
loadVersatile() {
  insmod /lib/modules/i2c-versatile.ko || return 1
  local d nr=
  for d in /sys/bus/i2c/devices/*-0039; do
    [ -e "$d" ] && nr=${d##*/} && nr=${nr%-0039}
  done
  adapterAs2 "$nr"
}

loadBus() {
  insmod /lib/modules/i2c-dev.ko || return 1
  case "$BOARD" in
    stub) loadStub ;;
    vexpress) loadVersatile ;;
    *) return 1 ;;
  esac
}

# What the main host shows: a client at 0x56 on adapter 2, the host switch
# at 0x71 named as the kernel names it; and a board with switches (revision 3).
mainHost() {
  mount -t tmpfs platform /sys/devices/platform
  mkdir -p $ADAPTER2/2-0056 $ADAPTER2/2-0071
  echo pca9545APW >$ADAPTER2/2-0071/name
  mount -t tmpfs i2cdevices /sys/bus/i2c/devices
  mkdir /sys/bus/i2c/devices/2-0071
  mkdir -p /vesta/diags
  echo 3 >/vesta/diags/boardrev.txt
}

step() {
  local name=$1 rc
  shift
  say "step $name"
  export DIAG_RECORD=/tmp/rec/$name
  "$@" </dev/null 2>&1
  rc=$?
  unset DIAG_RECORD
  say "rc $rc"
}

showRecordings() {
  local f
  for f in /tmp/rec/*; do
    [ -f "$f" ] || continue
    say "recording ${f##*/}"
    gzip -c "$f" | base64
    say "recording end"
  done
}

# The kernel's own tools reach the fan controller: behind a real switch its
# channel 1 is opened first; the stub answers without.
fc() {
  [ "$BOARD" = stub ] || i2cset -y 2 $HOSTSW 0x02 c || return 1
  "$@"
}
page() { fc i2cset -y 2 $FCTL 0x00 "$1" b; }
fcGet() { page "$1" && i2cget -y 2 $FCTL "$2" "$3"; }
fcSet() { page "$1" && i2cset -y 2 $FCTL "$2" "$3" "$4"; }

# Register access by name, each direction checked with the kernel's own tools.
registerSteps() {
  step page0 page 0
  step byteWrite diag i2c -d fctl -o 0x3a -w 0x5a
  step byteWriteBack fcGet 0 0x3a b
  step wordWrite diag i2c -d fctl -o 0xf6 -w 0x34 0x12
  step wordWriteBack fcGet 0 0xf6 w
  step bytePlant fcSet 0 0xd9 0xc3 b
  step byteRead diag i2c -d fctl -o 0xd9 -r 1
  step wordPlant fcSet 0 0xd1 0xbeef w
  step wordRead diag i2c -d fctl -o 0xd1 -r 2
  if [ "$BOARD" = stub ]; then
    step blockPlant fc i2cset -y 2 $FCTL 0x30 0x41 0x42 0x43 0x7f s
    step blockRead diag i2c -d fctl -o 0x30 -r 4
  fi
}

# Fan speeds where each board can give them: the stub stores what is written to
# READ_FAN_SPEED_1; qemu's controller derives it from the fan command.
plantSpeeds() {
  if [ "$BOARD" = stub ]; then
    fcSet 3 0x90 0x1234 w && fcSet 0 0x90 0x0bb8 w
  else
    fcSet 3 0x3b 0x0400 w && fcSet 0 0x3b 0x0100 w
  fi
}

# READ_FAN_SPEED_1 of each fan page, as the kernel's tools read it.
speedsByKernel() {
  local p
  for p in 0 1 2 3 4 5; do echo "page $p $(fcGet $p 0x90 w)"; done
}

fanSteps() {
  step fanSet diag fan -ss 50 -p 2
  step fanSetPage2 fcGet 2 0x3b w
  step fanSetPage0 fcGet 0 0x3b w
  step speedPlant plantSpeeds
  step speedsKernel speedsByKernel
  step fanSpeeds diag fan -ds
  step fanDump diag fan -r
}

# A main-reference sensor as the stub holds it: 45.375 degrees on the die,
# -9.125 on the board's diode, the local high limit below the one and the
# remote low limit above the other, their alarms in the status. Register 0
# goes first: were the stub to bank this chip's registers as the fan
# controller's, that write would choose the bank the others then share.
plantSensor() {
  local r
  for r in 0x00:0x2d 0x22:0x60 0x01:0xf6 0x10:0xe0 0x02:0x48 0x04:0x08 0x05:0x28 0x07:0x46 0x19:0x55 0x20:0x55 \
    0x21:0x0a 0xfe:0xa1; do
    i2cset -y 2 $MRTMP1 "${r%:*}" "${r#*:}" b || return 1
  done
}

sensorSteps() {
  [ "$BOARD" = stub ] || return 0
  step sensorPlant plantSensor
  step mrtmp diag mrtmp -s 1
}

testSteps() {
  step testPasses diag runtest fcreg
  step testAbsentChip diag runtest mrtmp2reg
  step busScan diag runtest i2cscn
}

# Behind a real switch: which channel an access left open, read from the switch.
pathSteps() {
  [ "$BOARD" = stub ] && return 0
  step pathFctl sh -c "diag fan -rr -o 0x3a >/dev/null; i2cget -y 2 $HOSTSW"
  step pathMrtmp sh -c "diag i2c -d mrtmp2 -o 0 -r 1 >/dev/null; i2cget -y 2 $HOSTSW"
}

# The main host's identity as production programs it: an image made offline,
# loaded page by page, decoded; then the part's page test, after which the whole
# part must still hold that image. The stub carries SMBus only, and a memory
# with two address bytes needs plain transfers: there the refusal is the check.
identityDoc() {
  cat <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<board type="0980">
  <name>main host</name>
  <part>Z9-0980-03</part>
  <serial>0980-26-000042</serial>
  <revision>3</revision>
  <made>2026-11-26</made>
</board>
XML
}

identitySteps() {
  if [ "$BOARD" = stub ]; then
    step idStub diag eeprom -id mhEeprom
    return 0
  fi
  identityDoc >/tmp/id.xml
  step idBlank diag eeprom -id mhEeprom
  step idMake diag eeprom -mk -x /tmp/id.xml -f /tmp/id.img
  step idLoad diag eeprom -load mhEeprom -f /tmp/id.img
  step idDecode diag eeprom -id mhEeprom
  step pageTest diag eeprom -t mhEeprom
  step idKept sh -c "diag eeprom -save mhEeprom -f /tmp/after.img && cmp /tmp/id.img /tmp/after.img && echo unchanged"
}

errorSteps() {
  step absentRead diag i2c -d mrtmp2 -o 0 -r 2
  step switchWrite diag i2c -d hostsw -w 0x02
  step plainRead diag i2c -d mhEeprom -o 0 -r 4
}

mountAll
mkdir -p /tmp/rec
say init
if loadBus; then
  mainHost
  step list diag i2c -l
  registerSteps
  fanSteps
  sensorSteps
  testSteps
  errorSteps
  pathSteps
  identitySteps  # after plainRead, which wants the memory as qemu clears it
  showRecordings
else
  say "no I2C bus for board $BOARD"
fi
say end
poweroff -f
