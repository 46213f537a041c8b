# diag-xml.so: the commands' work that needs zlib, libxml2 or libconfig++ (identities, XML files, the
# configuration), in a module that diag opens on first use, so that a run that needs none of them loads none of
# them (docs/xml-module.md). The libraries are Debian's, of the target architecture (multiarch when cross
# building: the -dev:armhf packages). Without them the module is not built and those commands say so when run.
# The multiarch triplet (x86_64-linux-gnu, arm-linux-gnueabihf), as CMake learns it from the compiler.
set(DIAG_TRIPLET ${CMAKE_LIBRARY_ARCHITECTURE})
set(DIAG_MULTIARCH_LIBDIR /usr/lib/${DIAG_TRIPLET})
set(DIAG_XMLMOD_LIBS)
foreach(lib z xml2 config++)
  string(MAKE_C_IDENTIFIER "DIAG_LIB_${lib}" var)
  find_library(${var} NAMES ${lib} PATHS ${DIAG_MULTIARCH_LIBDIR} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  list(APPEND DIAG_XMLMOD_LIBS ${${var}})
endforeach()
find_path(DIAG_LIBXML2_INCLUDE libxml/parser.h PATHS /usr/include/libxml2 NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
find_path(DIAG_LIBCONFIG_INCLUDE libconfig.h++ PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)

if(DIAG_LIB_z AND DIAG_LIB_xml2 AND DIAG_LIB_config__ AND DIAG_LIBXML2_INCLUDE AND DIAG_LIBCONFIG_INCLUDE)
  set(DIAG_XML_MODULE ON)
  file(GLOB DIAG_XMLMOD_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../src/xmlmod/*.cpp)
  # The module's own code as a library too, for the tests and the identity decoder's fuzz target.
  add_library(xmlmodcore STATIC ${DIAG_XMLMOD_SOURCES})
  set_target_properties(xmlmodcore PROPERTIES POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden)
  target_include_directories(xmlmodcore PUBLIC ${CMAKE_CURRENT_LIST_DIR}/../src/xmlmod
    ${CMAKE_CURRENT_LIST_DIR}/../src/commands ${CMAKE_CURRENT_LIST_DIR}/../src/base ${CMAKE_CURRENT_LIST_DIR}/../src/i2c)
  # After the compiler's own folders: a cross build must not take the host's C library headers from /usr/include.
  target_compile_options(xmlmodcore PUBLIC "SHELL:-idirafter ${DIAG_LIBXML2_INCLUDE}"
  "SHELL:-idirafter ${DIAG_LIBCONFIG_INCLUDE}")
  target_link_libraries(xmlmodcore PUBLIC ${DIAG_XMLMOD_LIBS})
  target_link_options(xmlmodcore INTERFACE -Wl,-rpath-link,${DIAG_MULTIARCH_LIBDIR})

  add_library(diag-xml MODULE src/xmlmod/xmlModule.cpp)
  set_target_properties(diag-xml PROPERTIES PREFIX "" CXX_VISIBILITY_PRESET hidden)
  target_link_libraries(diag-xml PRIVATE xmlmodcore)
  target_link_options(diag-xml PRIVATE -Wl,--as-needed -Wl,--gc-sections)
  # Every symbol the module needs is found at its link, except in the fuzz build: there clang leaves the sanitizers'
  # runtime to the program that opens the module.
  if(NOT DIAG_FUZZ)
    target_link_options(diag-xml PRIVATE -Wl,--no-undefined)
  endif()
  # Every program that runs commands finds the module beside it.
  foreach(prog diag diag-sim diag-replay)
    add_dependencies(${prog} diag-xml)
  endforeach()
else()
  set(DIAG_XML_MODULE OFF)
  message(WARNING "zlib, libxml2 or libconfig++ for ${DIAG_TRIPLET} not found (scripts/deps.sh installs them): "
    "diag-xml.so is not built, and eeprom, rev, xml and cfg say that they cannot open it")
endif()
