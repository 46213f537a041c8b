#!/usr/bin/env bash
# Installs the Debian packages the build needs, when they are missing.
# Usage: scripts/deps.sh [run|test]   ("run": enough to build and start diag-sim)
set -euo pipefail
want=(cmake make g++ libgtest-dev libgmock-dev googletest)
if [ "${1:-test}" = test ]; then
  want+=(g++-arm-linux-gnueabihf qemu-user libbenchmark-dev util-linux)
fi
missing=()
for p in "${want[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
if [ "$(id -u)" -ne 0 ]; then
  echo "missing packages: ${missing[*]} (run as root, or install them with apt-get)" >&2
  exit 1
fi
echo "installing: ${missing[*]}"
apt-get update -qq
DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
