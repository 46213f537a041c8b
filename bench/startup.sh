#!/usr/bin/env bash
# Start-up of a one-shot run, side by side with a C tool of the same kind in one run (the machines are noisy, so
# only the ratio of paired runs means something): `diag version` against `i2cget -V` (i2c-tools). Wall time over
# interleaved runs (hyperfine), instructions (valgrind, repeatable whatever the load), system calls (strace -c),
# peak resident size, and the size of the stripped armhf program. Usage: bench/startup.sh [RUNS]
# Installs hyperfine, i2c-tools, valgrind and strace when run as root. Builds the host and armhf presets first.
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-500}
need=()
for t in hyperfine:hyperfine i2cget:i2c-tools valgrind:valgrind strace:strace; do
  command -v "${t%%:*}" >/dev/null || need+=("${t#*:}")
done
if [ ${#need[@]} -gt 0 ]; then
  [ "$(id -u)" = 0 ] || { echo "startup.sh needs: ${need[*]}" >&2; exit 2; }
  apt-get install -y "${need[@]}" >/dev/null
fi
for p in host armhf; do
  cmake --preset "$p" -DDIAG_TESTS=OFF >/dev/null
  cmake --build --preset "$p" -j"$(nproc)" --target diag >/dev/null
done
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
strip -o "$tmp/diag" build/host/diag
arm-linux-gnueabihf-strip -o "$tmp/diag-armhf" build/armhf/diag
diag=("$tmp/diag" version)
c=(i2cget -V)

echo "== wall time, $runs interleaved runs each"
hyperfine -N --warmup 50 -r "$runs" "${diag[*]}" "${c[*]}" --export-json "$tmp/h.json" >/dev/null
python3 - "$tmp/h.json" <<'EOF'
import json, statistics, sys
r = json.load(open(sys.argv[1]))["results"]
med = [statistics.median(x["times"]) * 1e3 for x in r]
for x, m in zip(r, med):
    print(f"  {x['command']:<28} median {m:.3f} ms, mean {x['mean'] * 1e3:.3f} ms")
print(f"  ratio of medians: {med[0] / med[1]:.2f}")
EOF

ir() { valgrind --tool=callgrind --callgrind-out-file=/dev/null "$@" 2>&1 >/dev/null | sed -n 's/.*Collected : //p'; }
calls() { strace -c -o "$tmp/s" "$@" >/dev/null 2>&1; awk '$NF == "total" {print $4}' "$tmp/s"; }
rss() { /usr/bin/time -f %M "$@" 2>&1 >/dev/null | tail -1; }
echo "== per run"
printf '  %-28s %12s %14s %16s\n' "" instructions "system calls" "peak RSS (KiB)"
for cmd in "${diag[*]}" "${c[*]}"; do
  # shellcheck disable=SC2086
  printf '  %-28s %12s %14s %16s\n' "$cmd" "$(ir $cmd)" "$(calls $cmd)" "$(rss $cmd)"
done
echo "== armhf diag, stripped: $(stat -c %s "$tmp/diag-armhf") bytes; needs: $(arm-linux-gnueabihf-readelf -d "$tmp/diag-armhf" | sed -n 's/.*Shared library: \[\(.*\)\]/\1/p' | tr '\n' ' ')"
