#!/bin/sh
# /init of the VM that runs the production diag against the kernel's own i2c-dev
# and i2c-stub. It makes the VM look like the main host to the program (adapter 2,
# the host switch and the fan controller answering, the sysfs entries and the
# board revision file the registry reads), runs the scenario and powers off.
# Every step is framed on the console by "@@vm step NAME" and "@@vm rc N"; the
# host side reads the outcome from there.
export PATH=/bin:/sbin:/usr/bin:/usr/sbin
ADAPTER2=/sys/devices/platform/omap/omap_i2c.2/i2c-2
FCTL=0x52
HOSTSW=0x71
MHEEPROM=0x56

say() { echo "@@vm $*"; }

mountAll() {
  mount -t proc proc /proc
  mount -t sysfs sysfs /sys
  mount -t devtmpfs devtmpfs /dev
  mkdir -p /dev/shm /tmp
  mount -t tmpfs shm /dev/shm   # the named semaphores live here
  mount -t tmpfs tmp /tmp
}

# The fan controller pages its registers like PMBus: only an SMBus byte write of
# register 0 (PAGE) switches the bank that registers 1..0xff reach. The host
# switch and the main host's memory only answer. SMBus block transfers are
# switched on as well.
loadStub() {
  insmod /lib/modules/i2c-dev.ko || return 1
  insmod /lib/modules/i2c-stub.ko chip_addr=$FCTL,$HOSTSW,$MHEEPROM bank_reg=0x00 bank_mask=0x1f bank_start=0x01 \
    bank_end=0xff functionality=0x0f7f0000 || return 1
  local d nr=
  for d in /sys/class/i2c-dev/i2c-*; do
    grep -q "SMBus stub" "$d/name" && nr=${d##*/i2c-}
  done
  [ -n "$nr" ] || return 1
  # The program's devices hang on adapter 2, whatever number the stub got.
  [ "$nr" = 2 ] || mknod /dev/i2c-2 c 89 "$nr"
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
  local name=$1
  shift
  say "step $name"
  "$@" </dev/null 2>&1
  say "rc $?"
}

# Sets the fan controller's page with the kernel's own tool.
page() { i2cset -y 2 $FCTL 0x00 "$1" b; }

# Register access by name, each direction checked with the kernel's own tools.
registerSteps() {
  step page0 page 0
  step byteWrite diag i2c -d fctl -o 0x3a -w 0x5a
  step byteWriteBack i2cget -y 2 $FCTL 0x3a b
  step wordWrite diag i2c -d fctl -o 0xf6 -w 0x34 0x12
  step wordWriteBack i2cget -y 2 $FCTL 0xf6 w
  step bytePlant i2cset -y 2 $FCTL 0x10 0xc3 b
  step byteRead diag i2c -d fctl -o 0x10 -r 1
  step wordPlant i2cset -y 2 $FCTL 0xd1 0xbeef w
  step wordRead diag i2c -d fctl -o 0xd1 -r 2
  step blockPlant i2cset -y 2 $FCTL 0x30 0x41 0x42 0x43 0x7f s
  step blockRead diag i2c -d fctl -o 0x30 -r 4
}

fanSteps() {
  step fanSet diag fan -ss 50 -p 2
  step fanSetPage2 sh -c "i2cset -y 2 $FCTL 0 2 b && i2cget -y 2 $FCTL 0x3b w"
  step fanSetPage0 sh -c "i2cset -y 2 $FCTL 0 0 b && i2cget -y 2 $FCTL 0x3b w"
  step speedPlant sh -c "i2cset -y 2 $FCTL 0 3 b && i2cset -y 2 $FCTL 0x90 0x1234 w &&
    i2cset -y 2 $FCTL 0 0 b && i2cset -y 2 $FCTL 0x90 0x0bb8 w"
  step fanSpeeds diag fan -ds
  step fanDump diag fan -r
}

testSteps() {
  step testPasses diag runtest fcreg
  step testAbsentChip diag runtest mrtmp2reg
  step busScan diag runtest i2cscn
}

errorSteps() {
  step absentRead diag i2c -d mrtmp2 -o 0 -r 2
  step switchWrite diag i2c -d hostsw -w 0x02
}

mountAll
say init
if loadStub; then
  mainHost
  step list diag i2c -l
  registerSteps
  fanSteps
  testSteps
  errorSteps
else
  say "stub not loaded"
fi
say end
poweroff -f
