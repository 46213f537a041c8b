#!/usr/bin/env bash
# Installs the Debian packages the build needs, when they are missing.
# Usage: scripts/deps.sh [run|test|package]
#   run: enough to build and start diag-sim; test: every test; package: the Debian packages of both architectures
set -euo pipefail
mode=${1:-test}
want=(cmake make g++ libgtest-dev libgmock-dev googletest)
case "$mode" in
  test) want+=(g++-arm-linux-gnueabihf qemu-user libbenchmark-dev util-linux) ;;
  # dpkg-shlibdeps finds an armhf binary's libraries only among packages dpkg knows for armhf.
  package) want+=(g++-arm-linux-gnueabihf qemu-user dpkg-dev lintian libc6:armhf libstdc++6:armhf) ;;
esac
if [ "$mode" = package ] && ! dpkg --print-foreign-architectures | grep -qx armhf; then
  if [ "$(id -u)" -ne 0 ]; then
    echo "the armhf architecture is not known to dpkg (run as root: dpkg --add-architecture armhf)" >&2
    exit 1
  fi
  dpkg --add-architecture armhf
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
apt-get update -qq || echo "apt-get update reported a problem; installing from the package lists there are"
DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
