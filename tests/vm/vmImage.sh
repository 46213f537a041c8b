# The VM's initramfs: static busybox as the shell and tools, the production diag
# with its program interpreter and shared libraries, its identity module
# (diag-xml.so, which it opens beside itself) with the module's libraries, the
# I2C modules and the init.
# Sourced by vmTest.sh (uses arch, diag, kernelDir, work, libDirs).

# The static busybox of the VM's architecture: the host's for amd64, the one
# scripts/vmKernel.sh unpacked otherwise.
vmBusybox() {
  if [ "$arch" = amd64 ]; then command -v busybox; else echo "$kernelDir/busybox"; fi
}

# One shared library by name, from the given library directories.
findLib() {
  local d
  for d in "${libDirs[@]}"; do
    [ -e "$d/$1" ] && { echo "$d/$1"; return 0; }
  done
  echo "vmImage: $1 not found in ${libDirs[*]}" >&2
  return 1
}

needs() { readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'; }

# Copies every library the given programs need, and what those need, into /lib.
copyLibs() {
  local root=$1 f lib path
  shift
  local todo=("$@")
  while [ ${#todo[@]} -gt 0 ]; do
    f=${todo[0]}
    todo=("${todo[@]:1}")
    for lib in $(needs "$f"); do
      [ -e "$root/lib/$lib" ] && continue
      path=$(findLib "$lib") || return 1
      cp -L "$path" "$root/lib/$lib"
      todo+=("$path")
    done
  done
}

copyInterpreter() {
  local root=$1 interp
  interp=$(readelf -l "$diag" | sed -n 's/.*Requesting program interpreter: \(.*\)\]/\1/p')
  [ -n "$interp" ] || return 0
  mkdir -p "$root$(dirname "$interp")"
  cp -L "$(findLib "$(basename "$interp")")" "$root$interp"
}

buildImage() {
  local root=$work/root bb
  bb=$(vmBusybox)
  mkdir -p "$root"/{bin,sbin,usr/bin,usr/sbin,lib/modules,proc,sys,dev,tmp} || return 1
  cp "$bb" "$root/bin/busybox" || return 1
  for tool in sh mount mkdir insmod mknod grep echo i2cget i2cset poweroff gzip base64 cat cmp; do ln -s busybox "$root/bin/$tool"; done
  cp "$kernelDir"/modules/*.ko "$root/lib/modules/" || return 1
  cp "$diag" "$root/usr/bin/diag" || return 1
  local module=${diag%/*}/diag-xml.so
  [ -f "$module" ] || { echo "vmImage: no $module beside the program" >&2; return 1; }
  cp "$module" "$root/usr/bin/" || return 1
  copyInterpreter "$root" && copyLibs "$root" "$diag" "$module" || return 1
  cp "$here/vmInit.sh" "$root/init" && chmod +x "$root/init" || return 1
  (cd "$root" && find . | busybox cpio -o -H newc >"$work/initramfs.cpio" 2>/dev/null)
}
