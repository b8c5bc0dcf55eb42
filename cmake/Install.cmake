# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# What "cmake --install" installs, in the components runtime, documentation and examples.

include(GNUInstallDirs)
set(SWITCH_QUERIER_SYSTEMD_UNIT_DIR lib/systemd/system
    CACHE STRING "Directory of the systemd unit, absolute or below the prefix; empty: no unit")

# Both name the program by its full path.
set(generated ${PROJECT_BINARY_DIR}/packaging)
configure_file(packaging/systemd/switch-querier@.service.in
               ${generated}/switch-querier@.service @ONLY)
configure_file(packaging/init/switch-mode.sh.in ${generated}/switch-mode.sh @ONLY)

install(TARGETS switch-querier DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT runtime)
install(FILES completion/switch-querier
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)
install(FILES ${generated}/switch-mode.sh
        DESTINATION ${CMAKE_INSTALL_DATADIR}/switch-querier COMPONENT runtime)
if(SWITCH_QUERIER_SYSTEMD_UNIT_DIR)
  install(FILES ${generated}/switch-querier@.service
          DESTINATION ${SWITCH_QUERIER_SYSTEMD_UNIT_DIR} COMPONENT runtime)
endif()

install(FILES man/switch-querier.8
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT documentation)
install(FILES README.md CHANGELOG.md LICENSE docs/json-dialect.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)

install(FILES packaging/systemd/application.conf packaging/systemd/gpioget.conf
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT examples)
install(PROGRAMS packaging/init/S50application
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT examples)
