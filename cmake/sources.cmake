# Every source of the program except the entry points and the kernel instances.
file(GLOB DIAG_CORE_SOURCES CONFIGURE_DEPENDS
  ${CMAKE_CURRENT_LIST_DIR}/../src/base/*.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../src/shell/*.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../src/fpga/*.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../src/i2c/*.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../src/monitor/*.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../src/selftest/*.cpp)
list(FILTER DIAG_CORE_SOURCES EXCLUDE REGEX "/(main|replayMain)\\.cpp$")

# The kernel seam: shared by the program and the simulated instrument (which answers it and writes its trace
# in the same words).
file(GLOB DIAG_KERNEL_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../src/kernel/*.cpp)
list(FILTER DIAG_KERNEL_SOURCES EXCLUDE REGEX "/(linuxKernelInstance|replayKernelInstance)\\.cpp$")

file(GLOB DIAG_SIM_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../sim/*.cpp)
list(FILTER DIAG_SIM_SOURCES EXCLUDE REGEX "/(simKernelInstance|simCtlMain)\\.cpp$")
