# Cross build for the instrument's 32-bit ARM Linux (armhf). Tests run under qemu-arm user mode.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The cross libraries first: on a machine that also has armhf packages installed
# (libc6:armhf), the loader from the prefix would otherwise pick up the system's
# armhf libc of another version, and programs crash as soon as they fork.
# After them, the armhf packages' own folder: the libraries diag-xml.so needs (zlib, libxml2, libconfig++).
set(CMAKE_CROSSCOMPILING_EMULATOR
  /usr/bin/qemu-arm;-L;/usr/arm-linux-gnueabihf;-E;LD_LIBRARY_PATH=/usr/arm-linux-gnueabihf/lib:/usr/lib/arm-linux-gnueabihf)
