#!/usr/bin/env bash
# Builds and runs every test: the host build under AddressSanitizer and UBSan,
# the armhf cross build with its tests under qemu-arm, and short runs of the
# fuzz targets (clang's libFuzzer; see docs/fuzzing.md).
# Usage: scripts/test.sh [asan|armhf|host|fuzz]...   (default: asan armhf fuzz)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh test
presets=("$@")
[ ${#presets[@]} -eq 0 ] && presets=(asan armhf fuzz)
jobs=$(nproc)
# Seconds each fuzz target runs here: seven targets, two minutes at most together.
fuzzSecs=15
for p in "${presets[@]}"; do
  if [ "$p" = fuzz ]; then
    if ! command -v clang++-16 >/dev/null; then
      echo "== fuzz: skipped, clang++-16 is not installed (scripts/deps.sh test installs it when run as root)"
      continue
    fi
    echo "== fuzz: build and run each target ${fuzzSecs}s"
    scripts/fuzz.sh --smoke "$fuzzSecs"
    continue
  fi
  echo "== $p: build"
  cmake --preset "$p" -DDIAG_TESTS=ON >/dev/null
  cmake --build --preset "$p" -j"$jobs"
  echo "== $p: test"
  ctest --preset "$p" -j"$jobs"
done
