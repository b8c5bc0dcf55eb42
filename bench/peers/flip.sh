#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# The flip as an integrator would write it in the shell: with jq, which knows JSON, or with sed,
# which knows one way to write the flag.
# usage: flip.sh jq|sed CONFIG [no-log]
set -eu
editor=$1
config=$2
log_by=${3:-logger}

record() {
    echo "INFO: $1"
    [ "$log_by" = no-log ] || logger -t flip -p user.info "$1"
}

marker=none
if [ -r /config/DECODER ]; then
    marker=Decoder
elif [ -r /config/ENCODER ]; then
    marker=Encoder
fi

line=/sys/class/gpio/gpio17
[ -d "$line" ] || echo 17 >/sys/class/gpio/export
sleep 0.02
read -r direction <"$line/direction"
[ "$direction" = in ] || echo in >"$line/direction"
read -r level <"$line/value"
hardware=Encoder
[ "$level" = 0 ] || hardware=Decoder

case $editor in
jq) value=$(jq .App.isEncoder "$config") ;;
sed) value=$(sed -n 's/.*"isEncoder": *\([a-z]*\).*/\1/p' "$config") ;;
esac
case $value in
true) new=false mode=Decoder status=0 ;;
false) new=true mode=Encoder status=1 ;;
*)
    record "App/isEncoder is not a boolean"
    exit 186
    ;;
esac
echo "Hardware: $hardware, marker: $marker, file: $value, new: $new" >&2

case $editor in
jq) jq ".App.isEncoder = $new" "$config" >"$config.new" ;;
sed) sed 's/\("isEncoder": *\)[a-z]*/\1'"$new/" "$config" >"$config.new" ;;
esac
sync "$config.new"
mv "$config.new" "$config"
sync .
record "Config file successfully updated to $mode mode"
exit "$status"
