#!/usr/bin/env bash
# Footprint of the program: the stripped size of the armhf diag, the shared libraries it needs (with their
# sizes on the armhf root), and the peak resident size of x86_64 one-shot runs.
# Builds the host and armhf presets (no tests) first. Usage: bench/footprint.sh
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh test
for p in host armhf; do
  cmake --preset "$p" -DDIAG_TESTS=OFF >/dev/null
  cmake --build --preset "$p" -j"$(nproc)" --target diag diag-sim >/dev/null
done
cmake --build --preset host -j"$(nproc)" --target diag_peak_rss >/dev/null
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
arm-linux-gnueabihf-strip -o "$tmp/diag" build/armhf/diag
echo "armhf diag, stripped: $(stat -c %s "$tmp/diag") bytes (unstripped $(stat -c %s build/armhf/diag))"
echo "armhf diag needs:"
for lib in $(arm-linux-gnueabihf-readelf -d "$tmp/diag" | sed -n 's/.*Shared library: \[\(.*\)\]/\1/p'); do
  f=$(readlink -f "/usr/arm-linux-gnueabihf/lib/$lib" 2>/dev/null || true)
  echo "  $lib $( [ -f "$f" ] && stat -c %s "$f" || echo '?') bytes"
done
export DIAG_SIM_STATE="$tmp/sim.state"
rss() { echo "  $* : $(build/host/bench/diag_peak_rss "$@" 2>/dev/null | tail -1 || true) KiB peak resident"; }
echo "x86_64 one-shot runs:"
rss build/host/diag version
rss build/host/diag help
rss build/host/diag-sim fan -ds
rss build/host/diag-sim gpmc -m reg -r 2048 -s
