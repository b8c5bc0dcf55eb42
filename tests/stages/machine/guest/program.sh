# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Runs the program once for each line of program.cases and looks at all that it leaves behind.

registers=0x4f000000 # of the GPIO chip: outputs' levels, +4 directions (1: output), +8 inputs' levels
gpio=/sys/class/gpio
chip=$(echo /sys/devices/platform/4f000000.gpio/gpiochip*)
chip=/dev/${chip##*/}
bit=$((1 << 17))
newline='
'

# The line beside line 17 is somebody else's, an output that is high; it is to stay that.
bystander=$((1 << 18))
if echo 18 >$gpio/export 2>/tmp/none; then
    echo high >$gpio/gpio18/direction
else
    bystander=0 # the chip without line 17 has no line 18 either
fi

mount -t ext4 "$(disk work)" /disk
mount -t ext4 "$(disk full)" /full

# Exports line 17 or takes that back.
export_line() {
    [ -e $gpio/gpio17 ] || echo 17 >$gpio/export
}
unexport_line() {
    [ ! -e $gpio/gpio17 ] || echo 17 >$gpio/unexport
}

# Makes the line what the column says. Sets "holder", the words before the program.
prepare_line() {
    holder=
    case $1 in
    *low) devmem $((registers + 8)) 32 0 ;;
    *high) devmem $((registers + 8)) 32 $bit ;;
    esac
    case $1 in
    new-*) unexport_line ;;
    out-low) export_line && echo high >$gpio/gpio17/direction ;;
    out-high) export_line && echo low >$gpio/gpio17/direction ;;
    held)
        unexport_line
        holder="hold-line $chip 17"
        ;;
    esac
}

prepare_markers() {
    rm -f /config/DECODER /config/ENCODER
    case $1 in
    both) touch /config/DECODER /config/ENCODER ;;
    none) ;;
    *) : >"/config/$1" ;;
    esac
}

# Sets "folder", of the configuration file, which is put there.
prepare_disk() {
    folder=/disk
    case $1 in
    full | inodes | read-only)
        folder=/full
        mount -o remount,rw /full
        rm -rf /full/*
        ;;
    esac
    rm -f $folder/config.json $folder/config.json.filsec
    [ "$2" = none ] || cp "/cases/documents/$2.json" $folder/config.json
    case $1 in
    full)
        dd if=/dev/zero of=/full/big bs=64k 2>/tmp/none
        dd if=/dev/zero of=/full/small bs=1k 2>/tmp/none
        sync
        dd if=/dev/zero of=/full/last bs=1k 2>/tmp/none
        ;;
    inodes)
        n=0
        while touch "/full/$n"; do
            n=$((n + 1))
        done
        ;;
    read-only) mount -o remount,ro /full ;;
    esac 2>/tmp/none
}

mode_name() {
    case $1 in
    E) name=Encoder ;;
    D) name=Decoder ;;
    '>E') name="Flipped to Encoder" ;;
    '>D') name="Flipped to Decoder" ;;
    -) name=$2 ;;
    '?') name="Could not be determined" ;;
    esac
}

# Sets "text" to the status report of these words.
report_text() {
    text=
    [ "$1" != none ] || return 0
    local IFS=/
    # shellcheck disable=SC2086 # a word each
    set -- $1
    local new=${5:-}
    [ $# -eq 5 ] || set -- "$1" '' "$2" "$3"
    mode_name "$1"
    text="Hardware switch: $name$newline"
    if [ -n "$2" ]; then
        mode_name "$2"
        text="${text}Config file    : $name$newline"
    fi
    mode_name "$3" None
    text="${text}Override parm  : $name$newline"
    mode_name "$4" None
    text="${text}Override file  : $name$newline"
    if [ -n "$new" ]; then
        mode_name "$new" "Not specified"
        text="${text}New setting    : $name$newline"
    fi
}

# Sets "level" and "text" to those of the message; the mode is the report's last word.
message_text() {
    level=err
    mode_name "${2##*/}"
    case $1 in
    init) text="Cannot init GPIO17" ;;
    parameter) text="Invalid enc/dec command line parameter at line " ;;
    query) text="No 2nd parameter allowed with -query" ;;
    unreadable) text="Cannot read Json config file '$folder/config.json'" ;;
    broken) text="Cannot decode Json at position 27, code -5" ;;
    absent) text="App/isEncoder parameter not found in Json text" ;;
    number) text="App/isEncoder parameter is not a boolean" ;;
    nothing-known) text="No hardware or user setting known." ;;
    not-opened) text="Cannot open Json file for writing, code -1" ;;
    not-written) text="Cannot write Json file, code 1" ;;
    updated) level=info text="Config file successfully updated to $name mode" ;;
    not-needed) level=info text="Config file update to $name mode not needed." ;;
    esac
}

# Sets "recorded" to what the log has since it was emptied: level, identity and text. The facility is
# left out: for one that is given as 0 some C libraries send LOG_USER and others LOG_KERN.
take_log() {
    logger -t end "$case_number"
    recorded=
    until
        read_log=$(cat /tmp/log)
        [ "${read_log##*end: }" = "$case_number" ]
    do
        usleep 1000
    done
    : >/tmp/log
    local line
    while IFS= read -r line; do
        line=${line#*.}
        case $line in
        "notice end: $case_number") ;;
        *) recorded=$recorded$line$newline ;;
        esac
    done <<EOF
$read_log
EOF
}

# Notes a difference.
compare() {
    [ "$2" = "$3" ] || problem="$problem $1 is [$2], not [$3];"
}

check_line() {
    local expected direction
    expected="$gpio/export"
    case $1,$2 in
    held,* | gone,* | *,96 | *,119) ;; # the last two end before the line is looked at
    *)
        expected="$expected $gpio/gpio17"
        read -r direction <$gpio/gpio17/direction
        compare "direction" "$direction" in
        ;;
    esac
    [ $bystander -eq 0 ] || expected="$expected $gpio/gpio18"
    set -- $gpio/*
    compare "the GPIO folder" "$*" "$expected $gpio_chips $gpio/unexport"
    compare "the outputs' levels" "$(($(devmem $registers)))" $bystander
    compare "the directions" "$(($(devmem $((registers + 4)))))" $bystander
}

gpio_chips=$(echo $gpio/gpiochip*)
case_number=0
: >/tmp/log
while read -r line marker disk file command status report after messages; do
    case $line in
    '' | '#'*) continue ;;
    esac
    case_number=$((case_number + 1))
    problem=
    prepare_line "$line"
    devmem $registers 32 $bystander # the line's bit keeps the level of an output that it was
    prepare_markers "$marker"
    prepare_disk "$disk" "$file"

    out=
    err=
    log=
    for message in $messages; do
        [ "$message" = init ] || continue
        err="ERROR: Cannot init GPIO17$newline"
    done
    report_text "$report"
    case $report in
    */*/*/*/*) err=$err$text ;;
    *) out=$text ;;
    esac
    for message in $messages; do
        case $message in
        usage)
            out=$(switch-querier 2>/tmp/none)$newline
            continue
            ;;
        esac
        message_text "$message" "$report"
        log="$log$level switch-querier: $text$newline"
        case $level,$message in
        *,init) ;;
        err,*) err="${err}ERROR: $text$newline" ;;
        info,*) out=$out$text$newline ;;
        esac
    done

    IFS=,
    set --
    for argument in $command; do
        case $argument in
        FILE) argument=$folder/config.json ;;
        esac
        [ "$argument" = - ] || set -- "$@" "$argument"
    done
    unset IFS
    $holder /bin/switch-querier "$@" >/tmp/out 2>/tmp/err
    compare "the status" $? "$status"
    compare "standard output" "$(cat /tmp/out)$newline" "${out:-$newline}"
    compare "standard error" "$(cat /tmp/err)$newline" "${err:-$newline}"
    take_log
    compare "the log" "$recorded" "$log"

    [ "$after" != same ] || after=$file
    if [ "$after" = none ]; then
        [ ! -e $folder/config.json ] || problem="$problem a file was made;"
    elif ! cmp -s "/cases/documents/$after.json" $folder/config.json; then
        problem="$problem the file is not $after: $(head -c 200 $folder/config.json);"
    fi
    case $messages in
    *not-written*) ;;
    *) [ ! -e $folder/config.json.filsec ] || problem="$problem the temporary file is left;" ;;
    esac
    check_line "$line" "$status"

    name="line $line, marker $marker, disk $disk, file $file, command $command"
    if [ -z "$problem" ]; then
        pass "$name"
    else
        fail "$name" "$(echo "$problem" | tr '\n' '~')"
    fi
done <"/cases/${table:-program.cases}"
umount /disk /full
