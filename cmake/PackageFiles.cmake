# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Run by cpack in the tree that it is about to pack. Sets the usual permissions of directories,
# whatever the umask, and gives the files of a Debian package the names and the compression that
# chapter 12 of the Debian Policy Manual requires.

# CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS has no effect here with cmake 3.31.
file(CHMOD_RECURSE ${CPACK_TEMPORARY_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}
     DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
     WORLD_READ WORLD_EXECUTE)
if(NOT CPACK_GENERATOR STREQUAL DEB)
  return()
endif()
set(source ${CMAKE_CURRENT_LIST_DIR}/..)
set(share ${CPACK_TEMPORARY_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/share)
set(documents ${share}/doc/${CPACK_PACKAGE_NAME})

# string(TIMESTAMP) uses SOURCE_DATE_EPOCH if it is set.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
execute_process(
  COMMAND awk -v "maintainer=${CPACK_PACKAGE_CONTACT}" -v "date=${date}"
          -f ${source}/packaging/debian/changelog.awk ${documents}/CHANGELOG.md
  OUTPUT_FILE ${documents}/changelog COMMAND_ERROR_IS_FATAL ANY)
file(CHMOD ${documents}/changelog PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
file(REMOVE ${documents}/CHANGELOG.md)
file(RENAME ${documents}/LICENSE ${documents}/copyright)
execute_process(COMMAND gzip -9n ${documents}/changelog ${share}/man/man8/switch-querier.8
                COMMAND_ERROR_IS_FATAL ANY)
