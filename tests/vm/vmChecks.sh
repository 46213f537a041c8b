# What the production diag must have done against the kernel's i2c-stub, read
# from the console that vmInit.sh framed step by step. Sourced by vmTest.sh.

checks=0
failed=0

# The lines a step printed, without the frame.
stepOut() {
  awk -v s="@@vm step $1" '$0 == s {on = 1; next} on && /^@@vm rc / {exit} on' "$console"
}

stepRc() {
  awk -v s="@@vm step $1" '$0 == s {on = 1; next} on && /^@@vm rc / {print $3; exit}' "$console"
}

bad() {
  failed=$((failed + 1))
  echo "FAILED: step $1: $2"
  stepOut "$1" | sed 's/^/    | /'
}

# The step ran and its exit code is as expected.
expectRc() {
  checks=$((checks + 1))
  local rc
  rc=$(stepRc "$1")
  [ "$rc" = "$2" ] || bad "$1" "exit code '${rc:-none: the step did not run}', expected $2"
}

# One of the step's lines is exactly this text.
expectLine() {
  checks=$((checks + 1))
  grep -qxF -- "$2" <<<"$(stepOut "$1")" || bad "$1" "no line '$2'"
}

# One of the step's lines matches this extended regular expression.
expectMatch() {
  checks=$((checks + 1))
  grep -qE -- "$2" <<<"$(stepOut "$1")" || bad "$1" "no line matching /$2/"
}

# Exactly n of the step's lines match.
expectCount() {
  checks=$((checks + 1))
  local n
  n=$(grep -cE -- "$2" <<<"$(stepOut "$1")")
  [ "$n" = "$3" ] || bad "$1" "$n lines matching /$2/, expected $3"
}

# Line n of the step's output (from 1) is exactly this text.
expectNth() {
  checks=$((checks + 1))
  local got
  got=$(sed -n "$2p" <<<"$(stepOut "$1")")
  [ "$got" = "$3" ] || bad "$1" "line $2 is '$got', expected '$3'"
}

# None of the step's lines is exactly this text.
expectNoLine() {
  checks=$((checks + 1))
  grep -qxF -- "$2" <<<"$(stepOut "$1")" && bad "$1" "a line '$2'"
  return 0
}

# The registry is the main host's: the host switch found in sysfs, the fan
# controller behind its channel 1.
checkList() {
  expectRc list 0
  expectLine list "I2C devices of the Main Host board"
  expectLine list "fctl         0x52 smbus Main Host 1 1   0995 Fan Controller MAX31785"
  expectLine list "hostsw       0x71 plain Main Host 1     0980 Host I2C Switch PCA9545"
}

# Bytes and words (and on the stub an SMBus block) cross the kernel's SMBus
# request both ways.
checkRegisters() {
  local s
  for s in page0 byteWrite wordWrite bytePlant wordPlant; do expectRc "$s" 0; done
  expectLine byteWriteBack "0x5a"
  expectLine wordWriteBack "0x1234"
  expectLine byteRead "0xc3"
  expectLine wordRead "0xbeef"
  [ "$board" = stub ] || return 0
  expectRc blockPlant 0
  expectMatch blockRead "^4142437f {24} ABC\.$"
}

# fan -ds shows, fan by fan, what the kernel's tools read from READ_FAN_SPEED_1.
checkSpeedsAgainstKernel() {
  local p v
  for p in 0 1 2 3 4 5; do
    v=$(sed -n "s/^page $p \\(0x[0-9a-f]*\\)$/\\1/p" <<<"$(stepOut speedsKernel)")
    [ -n "$v" ] || { checks=$((checks + 1)); bad speedsKernel "no speed of page $p"; continue; }
    expectNth fanSpeeds $((p + 1)) "$(printf '%d(0x%04x) rpm' "$v" "$v")"
    [ "$p" = 3 ] && expectMatch fanDump "^FANCTLR_READ_FAN_SPEED_1 \(03:0x90\)\.+$(printf '0x%04x' "$v")$"
  done
  # The pages must tell apart for the comparison to mean anything.
  checks=$((checks + 1))
  [ "$(grep -c "^page [0-5] " <<<"$(stepOut speedsKernel)")" = 6 ] &&
    [ "$(stepOut speedsKernel | awk '{print $3}' | sort -u | wc -l)" -ge 3 ] ||
    bad speedsKernel "fewer than three different speeds"
}

# The speed word lands on the page asked for only; the dump reads back what was
# written on each page and shows each register once.
checkFan() {
  expectRc fanSet 0
  expectLine fanSetPage2 "0x0be0"
  expectNoLine fanSetPage0 "0x0be0"
  expectRc speedPlant 0
  [ "$board" = stub ] && expectLine speedsKernel "page 3 0x1234"
  expectCount fanSpeeds " rpm$" 6
  checkSpeedsAgainstKernel
  expectCount fanDump "^FANCTLR_" 87
  expectMatch fanDump "^FANCTLR_FAN_COMMAND_1 \(02:0x3b\)\.+0x0be0$"
  expectMatch fanDump "^FANCTLR_MFR_FAN_WARN_LIMIT \(00:0xf6\)\.+0x1234$"
  expectMatch fanDump "^FANCTLR_FAN_CONFIG_1_2 \(00:0x3a\)\.+0x005a$"
  expectCount fanDump "^FANCTLR_MFR_FAULT_RESPONSE \(00:0xd9\)" 1
  expectCount fanDump "^FANCTLR_MFR_FAULT_RESPONSE \(00:0xd9\)\.+0x00c3$" 1
}

# A register walk on the fan controller passes; one on a sensor nobody answers
# for fails. The bus scan's probes (a quick write, and a byte read for the
# memories) reach the chips there are.
checkSelfTests() {
  expectLine testPasses "PASSED"
  expectCount testPasses "^FAILED$" 0
  expectLine testAbsentChip "FAILED"
  expectMatch testAbsentChip "walk: +offset 0x0000000b \(loop 0\): +exp= 0x00000001, act= "
  expectLine busScan "FAILED"
  expectLine busScan "i2cscn - 14 devices checked"
  expectCount busScan "^i2cscn - (fctl|hostsw|mhEeprom) " 0
  # Only the stub holds a main-reference sensor (at 0x48); the armhf board has none.
  [ "$board" = stub ] && expectCount busScan "^i2cscn - mrtmp1 " 0
  expectMatch busScan "^i2cscn - mrtmp2 \(0x4c\) does not answer: "
  [ "$board" = stub ] && expectCount busScan "^i2cscn - .* does not answer: " 10
  return 0
}

# A chip nobody answers for: the program names the device and passes the
# kernel's error on, which is the stub's "no such device" or the real
# controller's missing acknowledge. The stub carries no plain transfers: the
# switch's one control byte goes to it as the SMBus send byte it is on the
# wire, and a plain transfer of more bytes is refused before it is sent.
checkErrors() {
  expectMatch absentRead "function .* - failed to read device mrtmp2\(0x4c\), byteCnt= 0$"
  expectRc switchWrite 0
  expectCount switchWrite "failed" 0
  if [ "$board" = stub ]; then
    expectLine absentRead "No such device (19)"
    expectMatch plainRead "cannot carry plain I2C transfers \(its driver does not offer it\), for device mhEeprom\(0x56\)"
  else
    expectLine absentRead "No such device or address (6)"
    expectMatch plainRead "^00000000 +\\.\\.\\.\\.$"  # qemu's memory starts cleared
  fi
}

# mrtmp decodes what the stub's sensor holds: signed degrees and eighths, the
# limits, the status bits by name.
checkSensor() {
  [ "$board" = stub ] || return 0
  expectRc sensorPlant 0
  expectRc mrtmp 0
  expectLine mrtmp "mrtmp1(0x48): manufacturer 0xa1, die revision 0x00"
  expectLine mrtmp "  local  45.375 C     high 40.000, low 0.000, critical 85.000"
  expectLine mrtmp "  remote -9.125 C     high 70.000, low 0.000, critical 85.000, offset 0.000"
  expectLine mrtmp "  hysteresis 10 C, configuration 0x00, conversion rate 0x08"
  expectLine mrtmp "  status 0x48: local high, remote low"
}

# The identity made, loaded and decoded on a real part (qemu's memory starts
# cleared: layout version 0), and the page test leaves the part as it found it.
checkIdentity() {
  if [ "$board" = stub ]; then
    expectMatch idStub "cannot carry plain I2C transfers \(its driver does not offer it\), for device mhEeprom\(0x56\)"
    return 0
  fi
  expectMatch idBlank "function eeprom - mhEeprom: unknown identity layout version 0 \(this program reads 1\)$"
  expectRc idMake 0
  expectRc idLoad 0
  expectRc idDecode 0
  local l
  for l in "label     Z9 0980 main host" "type      0980" "name      main host" "part      Z9-0980-03" \
    "serial    0980-26-000042" "revision  3" "made      2026-11-26"; do
    expectLine idDecode "$l"
  done
  expectRc pageTest 0
  expectLine pageTest "eeprom test mhEeprom PASSED"
  expectLine idKept "unchanged"
}

# Behind a real switch, each access leaves the channel of its device's path open.
checkPaths() {
  [ "$board" = stub ] && return 0
  expectNth pathFctl 1 "0x02"
  expectNth pathMrtmp 1 "0x04"
}

# The steps whose recordings the desk replays: diag alone, its whole output the step's.
REPLAYED="list byteWrite wordRead fanSet fanSpeeds fanDump testPasses testAbsentChip busScan absentRead plainRead"
STUB_REPLAYED="mrtmp idStub"  # only the stub holds a sensor
# Only qemu's memory takes plain transfers. (The image file -load reads is the
# user's own, which a recording does not hold.)
VEXPRESS_REPLAYED="idBlank idDecode pageTest"

recordingOf() {
  awk -v s="@@vm recording $1" '$0 == s {on = 1; next} on && $0 == "@@vm recording end" {exit} on' "$console" |
    base64 -d 2>/dev/null | gzip -dc 2>/dev/null
}

# What the production diag printed in the VM, on the kernel's i2c-dev, the
# desk's diag-replay prints again from the recording, with the same exit status.
checkReplays() {
  local name out rc
  for name in $REPLAYED $([ "$board" = stub ] && echo "$STUB_REPLAYED" || echo "$VEXPRESS_REPLAYED"); do
    checks=$((checks + 1))
    recordingOf "$name" >"$work/$name.rec"
    [ -s "$work/$name.rec" ] || { bad "$name" "no recording on the console"; continue; }
    out=$("${replay[@]}" "$work/$name.rec" </dev/null 2>&1)
    rc=$?
    [ "$out" = "$(stepOut "$name")" ] && [ "$rc" = "$(stepRc "$name")" ] && continue
    bad "$name" "replayed on the desk, it ended $rc and printed:"
    printf '%s\n' "$out" | sed 's/^/    > /'
  done
}

runChecks() {
  console=$1
  board=$2
  checkList
  checkRegisters
  checkFan
  checkSensor
  checkIdentity
  checkSelfTests
  checkErrors
  checkPaths
  checkReplays
  echo "$((checks - failed)) passed, $failed failed"
  [ "$failed" -eq 0 ]
}
