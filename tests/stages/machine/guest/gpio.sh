# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# The tests of GpioLine; each is a case. Their other output stays on the console.
# shellcheck source=tests/stages/machine/guest/chip.sh
. /cases/chip.sh
{
    "$(echo /bin/gpio-on-the-*-test)"
    echo "status $?"
} 2>&1 | while IFS= read -r output; do
    name=${output#*] }
    case $output in
    *'[       OK ] '*) pass "${name% (*}" ;;
    *'[  FAILED  ] GpioOnThe'*' ('*) fail "${name% (*}" "see the console" ;;
    'status 0' | '[--'* | '[=='* | '[ RUN'*) ;;
    'status '*) fail "the tests of GpioLine" "ended with $output" ;;
    *) echo "$output" ;;
    esac
done
