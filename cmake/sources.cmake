# Every source of the program except the entry points and the kernel instances.
file(GLOB DIAG_CORE_SOURCES CONFIGURE_DEPENDS
  ${CMAKE_CURRENT_LIST_DIR}/../src/base/*.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../src/fpga/*.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../src/i2c/*.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../src/monitor/*.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../src/selftest/*.cpp)

# The kernel seam: shared by the program and the simulated instrument (which answers it and writes its trace
# in the same words).
file(GLOB DIAG_KERNEL_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../src/kernel/*.cpp)
list(FILTER DIAG_KERNEL_SOURCES EXCLUDE REGEX "/(linuxKernelInstance|replayKernelInstance)\\.cpp$")

# The commands: each file declares one command (or a family) into a linker
# section, which nothing else refers to, so they must be linked as objects.
file(GLOB DIAG_CMD_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../src/commands/*.cpp)

file(GLOB DIAG_SIM_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../sim/*.cpp)
list(FILTER DIAG_SIM_SOURCES EXCLUDE REGEX "/(simKernelInstance|simCtlMain)\\.cpp$")

# The shell around the commands: dispatcher, line editor, scripts, options.
file(GLOB DIAG_SHELL_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../src/shell/*.cpp)
list(FILTER DIAG_SHELL_SOURCES EXCLUDE REGEX "/(main|replayMain)\\.cpp$")
