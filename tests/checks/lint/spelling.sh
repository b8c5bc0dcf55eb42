#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails if codespell finds a misspelling. The words of spelling-allowed.txt are right here.
set -eu
. tests/checks/lint/files.sh
files | xargs codespell --ignore-words=tests/checks/lint/spelling-allowed.txt
