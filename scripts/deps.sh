#!/usr/bin/env bash
# Installs the Debian packages the build needs, when they are missing, and for
# the tests fetches the kernel that the VM test boots (see scripts/vmKernel.sh).
# Usage: scripts/deps.sh [run|test]   ("run": enough to build and start diag-sim)
set -euo pipefail
cd "$(dirname "$0")/.."
want=(cmake make g++ libgtest-dev libgmock-dev googletest)
# The VM test's machine and tools; their recommends (a GUI, firmware for other
# machines) are not needed.
vm=()
if [ "${1:-test}" = test ]; then
  want+=(g++-arm-linux-gnueabihf qemu-user libbenchmark-dev util-linux)
  [ "$(dpkg --print-architecture)" = amd64 ] && vm+=(qemu-system-x86 qemu-system-arm busybox-static)
fi

missingOf() {
  local p
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || echo "$p"
  done
}

install() {
  local missing vmMissing
  mapfile -t missing < <(missingOf "${want[@]}")
  mapfile -t vmMissing < <(missingOf "${vm[@]}")
  [ ${#missing[@]} -eq 0 ] && [ ${#vmMissing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" -ne 0 ]; then
    echo "missing packages: ${missing[*]} ${vmMissing[*]} (run as root, or install them with apt-get)" >&2
    return 1
  fi
  echo "installing: ${missing[*]} ${vmMissing[*]}"
  apt-get update -qq
  [ ${#missing[@]} -eq 0 ] || DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
  [ ${#vmMissing[@]} -eq 0 ] ||
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${vmMissing[@]}" >/dev/null
}

install
# Without the kernel the VM test skips and says so; the other tests do not need it.
for vmArch in $([ ${#vm[@]} -eq 0 ] || echo amd64 armhf); do
  scripts/vmKernel.sh "$vmArch" "build/vm-kernel/$vmArch" || echo "deps: no $vmArch kernel for the VM test; it will be skipped" >&2
done
