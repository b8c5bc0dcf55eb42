# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Compares what a boot has left with what expected-run writes.
# usage: check.sh NAME LINE MARKER DISK FILE STATUS
# shellcheck source=tests/stages/board/guest/debian/steps.sh
. /cases/debian/steps.sh
name="boot $1"
status=$6
document=$5
problem=
/cases/expected-run "$2" "$3" "$4" "$5" /config/app.json /config/app.json
compare "the status of expected-run" $? 0
compare "the expected status" "$(cat /tmp/expected/status)" "$status"

# The unit, and the application, which starts after it, with the new mode, or not at all.
compare "the unit's status" "$(show ExecMainStatus)" "$status"
if [ "$status" -le 1 ]; then
    compare "the unit's result" "$(show Result)" success
    compare "the unit" "$(show ActiveState)" active
    compare "the application" "$(show ActiveState application.service)" active
    compare_files "the application's mode" /run/application.json /tmp/expected/config
    ended=$(show ExecMainExitTimestampMonotonic)
    started=$(show ExecMainStartTimestampMonotonic application.service)
    [ "$started" -ge "$ended" ] || problem="$problem the application started before the unit ended;"
else
    compare "the unit's result" "$(show Result)" exit-code
    compare "the unit" "$(show ActiveState)" failed
    compare "the application" "$(show ActiveState application.service)" inactive
    [ ! -e /run/application.json ] || problem="$problem the application started;"
fi

# The records. Their facility is 0, which journald leaves out and rsyslog takes for the kernel's.
journalctl --sync
journalctl --boot --identifier=switch-querier --output=export _TRANSPORT=syslog \
    --output-fields=PRIORITY,SYSLOG_FACILITY,SYSLOG_IDENTIFIER,MESSAGE |
    mawk '/^PRIORITY=/ { level = substr($0, 10) == 3 ? "err" : substr($0, 10) == 6 ? "info" : $0 }
        /^SYSLOG_FACILITY=/ { facility = " with " $0 }
        /^SYSLOG_IDENTIFIER=/ { name = substr($0, 19) }
        /^MESSAGE=/ { text = substr($0, 9) }
        /^$/ { print level facility " " name ": " text; facility = "" }' >/tmp/journal
compare_files "the journal" /tmp/journal /tmp/expected/log
sed 's/^[a-z]* //' /tmp/expected/log >/tmp/expected/syslog
for log in syslog kern.log; do
    for attempt in 1 2 3 4 5 6 7 8 9 10; do
        sed -n 's/^[^ ]* board \(switch-querier: .*\)/\1/p' "/var/log/$log" >/tmp/syslog
        ! cmp -s /tmp/syslog /tmp/expected/syslog || break
        sleep 1
    done
    compare_files "$log after $attempt s" /tmp/syslog /tmp/expected/syslog
done

# The report, and what else goes to standard error.
case $(show StandardError) in
journal) ;;
*) : >/tmp/expected/err ;;
esac
journalctl --boot --unit="$unit" --output=cat _TRANSPORT=stdout >/tmp/err
compare_files "the unit's output" /tmp/err /tmp/expected/err

# The file, a new one or the old one.
compare_configuration /config/app.json "$document" "$status"
mode=600
! cmp -s /tmp/expected/document /config/app.json || mode=644
[ "$document" = none ] ||
    compare "the file's mode" "$(stat -c '%a %U:%G' /config/app.json)" "$mode root:root"
conclude "$name"
