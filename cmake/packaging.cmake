# The generated documentation and the Debian packages: "diag" (the instrument's program) and "diag-sim" (the
# simulated instrument for engineers' PCs). The manual pages and the completion of command names are written at
# build time by diag-docgen from the program's own command declarations, so they cannot drift from its help.

add_executable(diag-docgen docgen/docGen.cpp src/kernel/linuxKernelInstance.cpp)
target_link_libraries(diag-docgen PRIVATE diagshell diagcmds simcore)
target_compile_definitions(diag-docgen PRIVATE DIAG_VERSION="${PROJECT_VERSION}")

set(DIAG_DOC_DIR ${CMAKE_BINARY_DIR}/doc)
set(DIAG_PAGES diag.1 diag-sim.1 diag-simctl.1 diag-replay.1)
set(DIAG_GENERATED ${DIAG_PAGES} diag.bash-completion diag-sim.bash-completion)
list(TRANSFORM DIAG_GENERATED PREPEND ${DIAG_DOC_DIR}/ OUTPUT_VARIABLE DIAG_GENERATED_FILES)
# When cross-compiling, CMake runs diag-docgen through the emulator.
add_custom_command(OUTPUT ${DIAG_GENERATED_FILES}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${DIAG_DOC_DIR}
  COMMAND diag-docgen ${DIAG_DOC_DIR}
  DEPENDS diag-docgen
  COMMENT "Manual pages and completion from the command declarations")

# Installed files are compressed reproducibly, as Debian wants them.
set(DIAG_GZ_FILES)
foreach(page ${DIAG_PAGES})
  add_custom_command(OUTPUT ${DIAG_DOC_DIR}/${page}.gz
    COMMAND gzip -9 -n -c ${DIAG_DOC_DIR}/${page} > ${DIAG_DOC_DIR}/${page}.gz
    DEPENDS ${DIAG_DOC_DIR}/${page})
  list(APPEND DIAG_GZ_FILES ${DIAG_DOC_DIR}/${page}.gz)
endforeach()
foreach(pkg diag diag-sim)
  configure_file(${CMAKE_SOURCE_DIR}/cmake/debian/changelog.in ${DIAG_DOC_DIR}/${pkg}/changelog.Debian @ONLY)
  add_custom_command(OUTPUT ${DIAG_DOC_DIR}/${pkg}/changelog.Debian.gz
    COMMAND gzip -9 -n -c ${DIAG_DOC_DIR}/${pkg}/changelog.Debian > ${DIAG_DOC_DIR}/${pkg}/changelog.Debian.gz
    DEPENDS ${DIAG_DOC_DIR}/${pkg}/changelog.Debian)
  list(APPEND DIAG_GZ_FILES ${DIAG_DOC_DIR}/${pkg}/changelog.Debian.gz)
endforeach()
add_custom_target(docs ALL DEPENDS ${DIAG_GENERATED_FILES} ${DIAG_GZ_FILES})

include(GNUInstallDirs)
install(TARGETS diag RUNTIME DESTINATION bin COMPONENT diag)
install(FILES ${DIAG_DOC_DIR}/diag.1.gz DESTINATION share/man/man1 COMPONENT diag)
install(FILES ${DIAG_DOC_DIR}/diag.bash-completion DESTINATION share/bash-completion/completions RENAME diag
  COMPONENT diag)
install(FILES cmake/debian/copyright ${DIAG_DOC_DIR}/diag/changelog.Debian.gz DESTINATION share/doc/diag
  COMPONENT diag)
# The sample production script the README walks through, and the sample configuration.
install(FILES examples/production.txt examples/diag.cfg examples/identity.xml DESTINATION share/doc/diag/examples
  COMPONENT diag)
# The commands that need zlib, libxml2 or libconfig++ open their module from the package's library folder.
if(DIAG_XML_MODULE)
  install(TARGETS diag-xml LIBRARY DESTINATION lib/diag COMPONENT diag)
  install(TARGETS diag-xml LIBRARY DESTINATION lib/diag-sim COMPONENT diag-sim)
endif()

install(TARGETS diag-sim diag-simctl diag-replay RUNTIME DESTINATION bin COMPONENT diag-sim)
install(FILES ${DIAG_DOC_DIR}/diag-sim.1.gz ${DIAG_DOC_DIR}/diag-simctl.1.gz ${DIAG_DOC_DIR}/diag-replay.1.gz
  DESTINATION share/man/man1 COMPONENT diag-sim)
install(FILES ${DIAG_DOC_DIR}/diag-sim.bash-completion DESTINATION share/bash-completion/completions RENAME diag-sim
  COMPONENT diag-sim)
install(FILES cmake/debian/copyright ${DIAG_DOC_DIR}/diag-sim/changelog.Debian.gz docs/simulator.md docs/sim-fpga.md
  docs/sim-i2c.md docs/record-replay.md DESTINATION share/doc/diag-sim COMPONENT diag-sim)
install(FILES examples/production.txt examples/diag.cfg examples/identity.xml
  DESTINATION share/doc/diag-sim/examples COMPONENT diag-sim)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME diag)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_PACKAGE_VENDOR "The diag developers")
set(CPACK_PACKAGE_CONTACT "The diag developers <diag-developers@instrument.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL diag diag-sim)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_DIAG_PACKAGE_NAME diag)
set(CPACK_DEBIAN_DIAG-SIM_PACKAGE_NAME diag-sim)
set(CPACK_DEBIAN_DIAG-SIM_PACKAGE_SECTION devel)
set(CPACK_COMPONENT_DIAG_DESCRIPTION "board-level diagnostics shell of the instrument
diag reads and writes the instrument's device registers over I2C and the
FPGA bus, runs self-tests that print PASSED or FAILED, drives the FPGA, sets
the fans and checks the all-okay fault line, at an interactive prompt, in
one-shot mode or from script files.")
set(CPACK_COMPONENT_DIAG-SIM_DESCRIPTION "diagnostics shell on a simulated instrument
diag-sim is the instrument's diagnostics shell with the kernel's device files
answered by device models, so that scripts can be written and checked
without hardware. diag-simctl configures the simulated instrument, injects
faults and shows its state.")
if(CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()
include(CPack)
