#!/usr/bin/env bash
# Installs the Debian packages the build needs, when they are missing, and for
# the tests fetches the kernel that the VM test boots (see scripts/vmKernel.sh).
# Usage: scripts/deps.sh [run|test|package|coverage]
#   run: enough to build and start diag-sim; test: every test;
#   package: the Debian packages of both architectures;
#   coverage: the host tests with gcov and gcovr (scripts/coverage.sh)
set -euo pipefail
cd "$(dirname "$0")/.."
mode=${1:-test}
want=(cmake make g++ libgtest-dev libgmock-dev googletest zlib1g-dev libxml2-dev libconfig++-dev)
# The same libraries for the instrument's architecture (multiarch), for the cross build of diag-xml.so.
armLibs=(zlib1g-dev:armhf libxml2-dev:armhf libconfig++-dev:armhf)
# The VM test's machine and tools; their recommends (a GUI, firmware for other
# machines) are not needed.
vm=()
case "$mode" in
  test)
    # The fuzz targets: clang 16 is Debian 12's first whose C++20 library support
    # covers std::source_location with g++'s library; libFuzzer is in its runtime package.
    want+=(g++-arm-linux-gnueabihf qemu-user libbenchmark-dev util-linux clang-16 libclang-rt-16-dev "${armLibs[@]}")
    [ "$(dpkg --print-architecture)" = amd64 ] && vm+=(qemu-system-x86 qemu-system-arm busybox-static)
    ;;
  coverage) want+=(gcovr python3 util-linux) ;;
  # dpkg-shlibdeps finds an armhf binary's libraries only among packages dpkg knows for armhf.
  package) want+=(g++-arm-linux-gnueabihf qemu-user dpkg-dev lintian libc6:armhf libstdc++6:armhf "${armLibs[@]}") ;;
esac

needRoot() {
  [ "$(id -u)" -eq 0 ] && return 0
  echo "$1 (run as root, or install them with apt-get)" >&2
  exit 1
}

if { [ "$mode" = package ] || [ "$mode" = test ]; } && ! dpkg --print-foreign-architectures | grep -qx armhf; then
  needRoot "the armhf architecture is not known to dpkg"
  dpkg --add-architecture armhf
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
  needRoot "missing packages: ${missing[*]} ${vmMissing[*]}"
  echo "installing: ${missing[*]} ${vmMissing[*]}"
  apt-get update -qq || echo "apt-get update reported a problem; installing from the package lists there are"
  [ ${#missing[@]} -eq 0 ] || DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
  [ ${#vmMissing[@]} -eq 0 ] ||
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${vmMissing[@]}" >/dev/null
}

install
# Without the kernel the VM test skips and says so; the other tests do not need it.
for vmArch in $([ ${#vm[@]} -eq 0 ] || echo amd64 armhf); do
  scripts/vmKernel.sh "$vmArch" "build/vm-kernel/$vmArch" || echo "deps: no $vmArch kernel for the VM test; it will be skipped" >&2
done
