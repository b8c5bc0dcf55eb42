# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Runs the program once for each line of program.cases and compares all that it leaves with what
# expected-run writes.

# shellcheck source=tests/stages/machine/guest/chip.sh
. /cases/chip.sh
gpio=/sys/class/gpio
newline='
'

# Line 18 belongs to another user, an output that is high; it and the other lines must stay as they
# are. The chip without line 17 has no line 18 either.
bystander=
if echo 18 >$gpio/export 2>/tmp/none; then
    echo high >$gpio/gpio18/direction
    bystander=" $gpio/gpio18"
fi
bit=$((1 << 17))
levels=$(($(output_levels) & ~bit))
directions=$(($(devmem $((registers + 4))) & ~bit))

mount -t ext4 "$(disk work)" /disk || fail "mounting the disk" "see the console"
full=$(disk full)
[ -z "$full" ] || mount -t ext4 "$full" /full

# Exports line 17, or unexports it.
export_line() {
    [ -e $gpio/gpio17 ] || echo 17 >$gpio/export
}
unexport_line() {
    [ ! -e $gpio/gpio17 ] || echo 17 >$gpio/unexport
}

# Prepares the line of the column. Sets "holder", the words before the program.
prepare_line() {
    holder=
    case $1 in
    *low) set_level 0 ;;
    *high) set_level 1 ;;
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
    local marker IFS=,
    rm -f /config/*
    for marker in $1; do
        [ "$marker" = none ] || : >"/config/$marker"
    done
}

# Puts the configuration file on the disk. Sets "directory", the one that it is in.
prepare_disk() {
    directory=/disk
    case $1 in
    full | inodes | read-only)
        directory=/full
        mount -o remount,rw /full
        rm -rf /full/*
        ;;
    esac
    rm -f $directory/config.json $directory/config.json.filsec
    [ "$2" = none ] || cp "/cases/documents/$2.json" $directory/config.json
    case $1 in
    full) fill /full ;;
    inodes)
        n=0
        while touch "/full/$n"; do
            n=$((n + 1))
        done
        ;;
    read-only) mount -o remount,ro /full ;;
    esac 2>/tmp/none
}

# Sets "recorded" to the records since the log was emptied: level, identity and text. The facility
# is left out: for one that is given as 0 some C libraries send LOG_USER and others LOG_KERN.
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

check_line() {
    local names direction
    names="$gpio/export"
    case $1,$2 in
    held,* | gone,* | *,96 | *,119) ;; # the last two end before the line is read
    *)
        names="$names $gpio/gpio17"
        read -r direction <$gpio/gpio17/direction
        compare "direction" "$direction" in
        ;;
    esac
    set -- $gpio/*
    compare "the GPIO directory" "$*" "$names$bystander $gpio_chips $gpio/unexport"
    compare "the outputs' levels" "$(output_levels)" $levels
    compare "the directions" "$(($(devmem $((registers + 4)))))" $directions
}

gpio_chips=$(echo $gpio/gpiochip*)
case_number=0
: >/tmp/log
while read -r line marker disk file command status; do
    case $line in
    '' | '#'*) continue ;;
    esac
    case_number=$((case_number + 1))
    problem=
    prepare_line "$line"
    devmem $registers 32 $levels # the line's bit keeps the level of an output that it was
    prepare_markers "$marker"
    prepare_disk "$disk" "$file"

    IFS=,
    set --
    for argument in $command; do
        case $argument in
        FILE) argument=$directory/config.json ;;
        esac
        [ "$argument" = - ] || set -- "$@" "$argument"
    done
    unset IFS
    expected-run "$line" "$marker" "$disk" "$file" $directory/config.json "$@" ||
        problem=" expected-run failed;"
    look_at_pins
    $holder /bin/switch-querier "$@" >/tmp/out 2>/tmp/err
    compare "the status" $? "$status"
    look_at_pins
    compare "what the pins did" "$pins" ""
    compare "the expected status" "$(cat /tmp/expected/status)" "$status"
    compare_files "standard output" /tmp/out /tmp/expected/out
    compare_files "standard error" /tmp/err /tmp/expected/err
    take_log
    printf %s "$recorded" >/tmp/recorded
    compare_files "the log" /tmp/recorded /tmp/expected/log
    if [ "$file" = none ]; then
        [ ! -e $directory/config.json ] || problem="$problem a file was made;"
    else
        compare_files "the file" $directory/config.json /tmp/expected/config
    fi
    # A file that could not be written is left.
    [ "$status" = 236 ] || [ ! -e $directory/config.json.filsec ] ||
        problem="$problem the temporary file is left;"
    check_line "$line" "$status"

    name="line $line, marker $marker, disk $disk, file $file, command $command"
    if [ -z "$problem" ]; then
        pass "$name"
    else
        fail "$name" "$(echo "$problem" | tr '\n' '~')"
    fi
done <"/cases/${table:-program.cases}"
umount /disk ${full:+/full}
