#!/usr/bin/env bash
# Builds the fuzz targets (preset fuzz, clang's libFuzzer with ASan and UBSan)
# and runs each for a bounded time, one after another with one worker, then
# prints a summary: executions, speed, coverage and whether it found anything.
# Usage: scripts/fuzz.sh [--smoke] SECONDS [TARGET...]
#   SECONDS  time per target; the campaign keeps what it learns in build/fuzz/corpus/TARGET
#   --smoke  start from the seed corpus only and keep nothing (the short runs of scripts/test.sh)
# Findings are written to build/fuzz/artifacts/TARGET/, each run's log to build/fuzz/logs/TARGET.log.
# See docs/fuzzing.md.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
smoke=0
if [ "${1:-}" = --smoke ]; then smoke=1; shift; fi
secs=${1:?usage: scripts/fuzz.sh [--smoke] SECONDS [TARGET...]}
shift
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=(lineFuzz handlerFuzz scriptFuzz keyFuzz simStateFuzz simCtlFuzz recordingFuzz boardIdFuzz)

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j2 >/dev/null

# Each target's longest input: a script of about ten lines, each of which runs a command.
maxLen() { case "$1" in scriptFuzz) echo 256 ;; *) echo 4096 ;; esac; }

# The named semaphores are system-wide: where it can, a run gets a /dev/shm of
# its own, so that it meets no other program's semaphores on this machine.
privateShm=()
if [ "$(id -u)" -eq 0 ] && unshare --mount --propagation private true 2>/dev/null; then
  privateShm=(unshare --mount --propagation private sh -c 'mount -t tmpfs -o mode=1777 none /dev/shm && exec "$0" "$@"')
fi

build=$root/build/fuzz
mkdir -p "$build/logs"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
summary=()
failed=0
for t in "${targets[@]}"; do
  corpus=$build/corpus/$t
  [ $smoke -eq 1 ] && corpus=$scratch/$t
  mkdir -p "$corpus" "$build/artifacts/$t"
  log=$build/logs/$t.log
  rc=0
  # The targets work in a directory of their own: every path given is absolute.
  "${privateShm[@]}" "$build/fuzz/$t" -max_total_time="$secs" -timeout=10 -rss_limit_mb=2048 \
    -max_len="$(maxLen "$t")" -print_final_stats=1 -artifact_prefix="$build/artifacts/$t/" \
    "$corpus" "$root/fuzz/corpus/$t" >"$log" 2>&1 || rc=$?
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
  cov=$(grep -oE 'cov: [0-9]+ ft: [0-9]+' "$log" | tail -1)
  if [ $rc -eq 0 ]; then
    result=ok
  else
    result="FINDING (exit $rc): see $log and build/fuzz/artifacts/$t/"
    failed=1
  fi
  summary+=("$(printf '%-13s %6ss %12s %8s  %-20s %s' "$t" "$secs" "${execs:-?}" "${speed:-?}" "${cov:-?}" "$result")")
done
echo "== fuzz summary"
printf '%-13s %7s %12s %8s  %-20s %s\n' target time execs exec/s coverage result
printf '%s\n' "${summary[@]}"
exit $failed
