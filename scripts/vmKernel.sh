#!/usr/bin/env bash
# Fetches what the VM test boots for one architecture: Debian's kernel with the
# I2C modules the test loads, and for a foreign architecture a static busybox of
# that architecture. The packages are only unpacked into DEST, never installed.
# Usage: scripts/vmKernel.sh amd64|armhf DEST
# DEST then holds vmlinuz (amd64 also vmlinux, the uncompressed kernel that boots
# directly; armhf also board.dtb), modules/*.ko, busybox (armhf) and packages.txt,
# the package versions it came from.
set -euo pipefail
arch=${1:?architecture (amd64 or armhf)}
dest=${2:?destination directory}
case "$arch" in
  amd64)
    meta=linux-image-amd64
    modules=(i2c-dev.ko i2c-stub.ko)
    dtb= ;;
  armhf)
    # Debian's ARM kernels have no i2c-stub: the armhf VM is a Versatile Express
    # board, whose I2C controller qemu provides with chips behind it.
    meta=linux-image-armmp
    modules=(i2c-dev.ko i2c-versatile.ko)
    dtb=vexpress-v2p-ca15-tc1.dtb ;;
  *) echo "vmKernel: no kernel known for $arch" >&2; exit 2 ;;
esac
mkdir -p "$dest"
dest=$(cd "$dest" && pwd)
native=$([ "$arch" = "$(dpkg --print-architecture)" ] && echo yes || echo no)
apt=(-o APT::Sandbox::User=root)
tmp=$dest/fetch
trap 'rm -rf "$tmp"' EXIT

# A foreign architecture gets package lists of its own inside DEST, so that
# the system's apt configuration is left as it is.
foreignLists() {
  local lists=$dest/apt
  mkdir -p "$lists/lists/partial" "$lists/cache/archives/partial"
  : >"$lists/status"
  apt+=(-o "APT::Architecture=$arch" -o "APT::Architectures::=$arch" -o "Dir::State::Lists=$lists/lists"
        -o "Dir::Cache=$lists/cache" -o "Dir::State::Status=$lists/status")
  [ -d "$lists/lists" ] && ls "$lists/lists" | grep -q Packages && return 0
  updateLists
}

# A mirror in the middle of a sync fails one index; the others still serve.
updateLists() {
  apt-get "${apt[@]}" -qq update || echo "vmKernel: some $arch package lists could not be fetched" >&2
}

# The versioned kernel package the meta package points at, with its version.
kernelPackage() {
  local pkg
  pkg=$(apt-cache "${apt[@]}" depends "$meta" 2>/dev/null | sed -n 's/^ *Depends: \(linux-image-[0-9][^ ]*\)$/\1/p' | head -1)
  [ -n "$pkg" ] || return 1
  echo "$pkg $(apt-cache "${apt[@]}" show "$pkg" | sed -n 's/^Version: //p' | head -1)"
}

unpackKernel() {
  local deb=$1 out=$2 patterns=('./boot/vmlinuz-*') m
  for m in "${modules[@]}"; do patterns+=("*/$m"); done
  [ -n "$dtb" ] && patterns+=("*/$dtb")
  mkdir -p "$tmp/k" "$out/modules"
  dpkg-deb --fsys-tarfile "$deb" | tar -x -C "$tmp/k" --wildcards "${patterns[@]}"
  cp "$tmp"/k/boot/vmlinuz-* "$out/vmlinuz"
  for m in "${modules[@]}"; do find "$tmp/k" -name "$m" -exec cp {} "$out/modules/" \;; done
  [ -z "$dtb" ] || find "$tmp/k" -name "$dtb" -exec cp {} "$out/board.dtb" \;
}

# The x86 kernel boots directly (and much faster) from its uncompressed ELF image,
# which sits xz-compressed inside vmlinuz.
extractVmlinux() {
  local out=$1 off
  off=$(LC_ALL=C grep -obUaP '\xfd7zXZ\x00' "$out/vmlinuz" | head -1 | cut -d: -f1)
  [ -n "$off" ] || return 0
  tail -c +$((off + 1)) "$out/vmlinuz" | xz -dc --single-stream >"$tmp/vmlinux" 2>/dev/null || true
  [ "$(head -c 4 "$tmp/vmlinux" | od -An -c | tr -d ' ')" = '177ELF' ] && mv "$tmp/vmlinux" "$out/vmlinux"
  return 0
}

unpackBusybox() {
  mkdir -p "$tmp/b"
  dpkg-deb -x "$1" "$tmp/b"
  cp "$tmp/b/bin/busybox" "$2/busybox"
}

# Everything is unpacked beside DEST's old contents and replaces them at the end.
fetch() {
  local want=$1 out=$tmp/out
  rm -rf "$tmp" && mkdir -p "$tmp/debs" "$out"
  # Lists kept from an earlier run may name packages the mirror no longer has.
  (cd "$tmp/debs" && { apt-get "${apt[@]}" -qq download "${@:2}" || { updateLists && apt-get "${apt[@]}" -qq download "${@:2}"; }; })
  unpackKernel "$tmp"/debs/linux-image-*.deb "$out"
  [ "$arch" = amd64 ] && extractVmlinux "$out"
  [ "$native" = yes ] || unpackBusybox "$tmp"/debs/busybox-static_*.deb "$out"
  echo "$want" >"$out/packages.txt"
  rm -rf "$dest/modules" "$dest/vmlinux" "$dest/board.dtb"
  cp -r "$out"/. "$dest/"
}

[ "$native" = yes ] || foreignLists
# Package lists may be missing where nothing was installed lately.
if ! read -r pkg version < <(kernelPackage); then
  [ "$(id -u)" -eq 0 ] && updateLists
  read -r pkg version < <(kernelPackage) || { echo "vmKernel: $meta not found in the package lists" >&2; exit 1; }
fi
want="$pkg $version"
extra=()
if [ "$native" = no ]; then
  want+=" busybox-static $(apt-cache "${apt[@]}" show busybox-static | sed -n 's/^Version: //p' | head -1)"
  extra=(busybox-static)
fi
[ -f "$dest/packages.txt" ] && [ "$(cat "$dest/packages.txt")" = "$want" ] && exit 0
echo "fetching for the VM test: $want"
fetch "$want" "$pkg" "${extra[@]}"
