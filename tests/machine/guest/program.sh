# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

report=$(switch-querier -query)
[ "${report%%Override*}" = "Hardware switch: Encoder
" ] && pass "query" || fail "query" "$report"
