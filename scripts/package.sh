#!/usr/bin/env bash
# Builds the Debian packages diag and diag-sim for amd64 and armhf into build/packages/
# (optimised builds without tests; shared library dependencies computed by dpkg-shlibdeps),
# then checks each with lintian.
# Usage: scripts/package.sh [host|armhf]...   (default: both)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh package
presets=("$@")
[ ${#presets[@]} -eq 0 ] && presets=(host armhf)
out=build/packages
rm -rf "$out"
mkdir -p "$out"
for p in "${presets[@]}"; do
  echo "== $p: build and package"
  cmake --preset "$p" -DDIAG_TESTS=OFF -DDIAG_BENCH=OFF >/dev/null
  cmake --build --preset "$p" -j"$(nproc)" --target diag diag-sim diag-simctl docs
  rm -rf "build/$p/cpack"
  (cd "build/$p" && cpack -G DEB -B "$PWD/cpack" >/dev/null)
  cp "build/$p"/cpack/*.deb "$out"/
done
echo "== lintian"
for deb in "$out"/*.deb; do
  echo "-- $(basename "$deb")"
  lintian --fail-on error --tag-display-limit 0 "$deb"
done
ls -l "$out"
