#!/usr/bin/env bash
# Builds and runs every test: the host build under AddressSanitizer and UBSan,
# then the armhf cross build with its tests under qemu-arm.
# Usage: scripts/test.sh [asan|armhf|host]...   (default: asan armhf)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh test
presets=("$@")
[ ${#presets[@]} -eq 0 ] && presets=(asan armhf)
jobs=$(nproc)
for p in "${presets[@]}"; do
  echo "== $p: build"
  cmake --preset "$p" -DDIAG_TESTS=ON >/dev/null
  cmake --build --preset "$p" -j"$jobs"
  echo "== $p: test"
  ctest --preset "$p" -j"$jobs"
done
