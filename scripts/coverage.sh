#!/usr/bin/env bash
# Builds the program with gcov instrumentation (preset coverage), runs the
# tests (not the VM test: the program it runs is a plain build inside a VM),
# and reports line and branch coverage per subsystem and which failure messages
# the tests produced (scripts/failureMessages.py; see docs/testing.md).
# Usage: scripts/coverage.sh [--list]   (--list also names the messages produced)
# The report is also left in build/coverage/coverage.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh coverage
jobs=$(( $(nproc) < 2 ? $(nproc) : 2 ))
cmake --preset coverage >/dev/null
cmake --build --preset coverage -j"$jobs"
# Counts of an earlier run would add to this one's.
find build/coverage -name '*.gcda' -delete
ctest --preset coverage -j"$jobs" -LE vm
gcovr -r . --object-directory build/coverage --filter 'src/' -j"$jobs" \
  --exclude-throw-branches --exclude-unreachable-branches --json build/coverage/coverage.json
python3 scripts/failureMessages.py src build/coverage/coverage.json "$@" | tee build/coverage/coverage.txt
