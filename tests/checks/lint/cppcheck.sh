#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails when cppcheck finds something in the product or in the simulated appliance.
set -eu
cppcheck --quiet --std=c++20 --language=c++ --error-exitcode=1 --inline-suppr \
    --enable=warning,style,performance,portability -I . -D 'SWITCH_QUERIER_CONTACT=""' \
    --suppressions-list=tests/checks/lint/cppcheck-suppressions.txt \
    app json gpio log fileio demo tests/appliance
