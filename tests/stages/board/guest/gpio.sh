# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# The tests of GpioLine; each is a case. Their other output stays on the console.
stty -echo </dev/console
{
    gpio-on-the-board-test
    echo "status $?"
} 2>&1 | while IFS= read -r output; do
    name=${output#*] }
    case $output in
    *'[       OK ] '*) pass "${name% (*}" ;;
    *'[  FAILED  ] GpioOnTheBoard.'*' ('*) fail "${name% (*}" "see the console" ;;
    'status 0' | '[--'* | '[=='* | '[ RUN'*) ;;
    'status '*) fail "the tests of GpioLine" "ended with $output" ;;
    *) echo "$output" ;;
    esac
done
