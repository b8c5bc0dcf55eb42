#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails when shellcheck finds something in a script.
set -eu
shellcheck -x run test .ci/run scripts/*.sh
find tests demo -name '*.sh' -exec shellcheck -x {} +
