# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# What cpack makes: a Debian package or, for a statically linked program, a tarball to be unpacked
# in the root directory of an image.

# The dependencies are named, not looked up: in a cross build dpkg-shlibdeps does not find the
# libraries, or finds them in the packages of the cross compiler, which no appliance has. A program
# can need the releases that it was built with, so these are the ones named.
file(WRITE ${PROJECT_BINARY_DIR}/libraries.cpp
     "#include <cstddef>\nglibc=__GLIBC__.__GLIBC_MINOR__ libstdc++=_GLIBCXX_RELEASE;\n")
separate_arguments(flags UNIX_COMMAND "${CMAKE_CXX_FLAGS}")
execute_process(COMMAND ${CMAKE_CXX_COMPILER} ${flags} -E -P ${PROJECT_BINARY_DIR}/libraries.cpp
                OUTPUT_VARIABLE libraries ERROR_QUIET)
string(REGEX MATCH "glibc=([0-9]+) *\\. *([0-9]+) libstdc\\+\\+=([0-9]+);" libraries "${libraries}")
if(libraries)
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= ${CMAKE_MATCH_1}.${CMAKE_MATCH_2})"
      "libgcc-s1 (>= 3.0)" "libstdc++6 (>= ${CMAKE_MATCH_3})")
  list(JOIN CPACK_DEBIAN_PACKAGE_DEPENDS ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
endif()

if(SWITCH_QUERIER_STATIC)
  # Programs in Debian packages are linked dynamically.
  set(CPACK_GENERATOR TGZ)
  set(kind -static)
else()
  set(CPACK_GENERATOR DEB)
  set(kind)
endif()
set(CPACK_PACKAGE_VENDOR "The switch querier authors")
set(CPACK_PACKAGE_CONTACT "${CPACK_PACKAGE_VENDOR} <${SWITCH_QUERIER_CONTACT}>")
set(CPACK_PACKAGE_FILE_NAME
    ${PROJECT_NAME}-${PROJECT_VERSION}-${CMAKE_SYSTEM_PROCESSOR}${kind})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL aarch64)
  # The default is the architecture of the build machine.
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "decides whether an appliance encodes or decodes")
set(CPACK_PACKAGE_DESCRIPTION
"The switch querier decides from the command line, two marker files and a
hardware switch on GPIO line 17 whether an appliance works as an encoder or
as a decoder, and updates the JSON configuration file of its application to
that mode. It runs once, before the application, and returns the mode as its
exit status.")
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackageFiles.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackTarball.cmake)
include(CPack)
