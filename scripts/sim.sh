#!/usr/bin/env bash
# Builds diag and the simulated instrument, then starts the shell on it.
# Arguments are passed to diag-sim (none: the interactive "diag> " prompt).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh run
cmake --preset host -DDIAG_TESTS=OFF >/dev/null
cmake --build --preset host -j"$(nproc)" --target diag diag-sim diag-simctl >/dev/null
exec build/host/diag-sim "$@"
