# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Run by cpack after it has made its package: repacks a tarball sorted by name, because cpack packs
# the files in the order of the filesystem.

if(NOT CPACK_GENERATOR STREQUAL TGZ)
  return()
endif()
set(time)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(time --mtime=@$ENV{SOURCE_DATE_EPOCH})
endif()
execute_process(
  COMMAND tar --create --sort=name --format=ustar --owner=root:0 --group=root:0 ${time} usr
  COMMAND gzip -9n
  WORKING_DIRECTORY ${CPACK_TEMPORARY_DIRECTORY}
  OUTPUT_FILE ${CPACK_PACKAGE_FILES}
  COMMAND_ERROR_IS_FATAL ANY)
