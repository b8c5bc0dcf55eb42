#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Compares two versions of json/ on generated texts: the one in this directory and the one of a
# revision. Exits 1 and prints the texts that show it if they differ.
# usage: compare.sh REVISION [COUNT [SEED]]
set -eu
cd "$(dirname "$0")/../.."
revision=${1:?usage: compare.sh REVISION [COUNT [SEED]]}
count=${2:-1000000}
seed=${3:-1}
work=build/compare
rm -rf "$work"
mkdir -p "$work/before" "$work/after"

# Each is called by its own outcomes.cpp, since the interface may differ too.
git archive "$revision" json bench/compare | tar -x -C "$work/before"
mkdir -p "$work/after/bench"
cp -R json "$work/after"
cp -R bench/compare "$work/after/bench"
for side in before after; do
    ${CXX:-g++} -std=c++20 -O2 -I"$work/$side" -o "$work/$side/outcomes" \
        "$work/$side/bench/compare/outcomes.cpp" "$work/$side"/json/*.cpp &
done
wait
for side in before after; do
    "$work/$side/outcomes" "$count" "$seed" >"$work/$side/hashes" &
done
wait
# A crash would leave fewer lines.
for side in before after; do
    [ $(($(wc -l <"$work/$side/hashes") * 1000)) -ge "$count" ] || {
        echo "json/ $side $revision stopped at a text after this one:" >&2
        tail -n 1 "$work/$side/hashes" >&2
        exit 1
    }
done
if cmp -s "$work/before/hashes" "$work/after/hashes"; then
    echo "$count texts (seed $seed): the same at $revision and here."
    exit 0
fi
first=$(diff "$work/before/hashes" "$work/after/hashes" |
    sed -n 's/^< \([0-9]*\) .*/\1/p' | head -n 1)
for side in before after; do
    "$work/$side/outcomes" --texts "$first" "$seed" >"$work/$side/texts"
done
echo "json/ differs from $revision. $work/{before,after}/texts have all of them:"
diff -a -U 4 "$work/before/texts" "$work/after/texts" | head -n 40
exit 1
