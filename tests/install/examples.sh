#!/usr/bin/env bash
# Builds every installed example alone, as its reader would, and runs two of them.
#
# usage: examples.sh PREFIX SCRATCH-FOLDER      CXX is the compiler; needs a display
set -euo pipefail

prefix=$1 scratch=$2
readonly seconds=60
die() { printf 'examples.sh: %s\n' "$*" >&2; exit 1; }

rm -rf "$scratch"
mkdir -p "$scratch"
count=0
for folder in "$prefix"/share/tqwhiteboardlib/examples/*/; do
    name="$(basename "$folder")"
    {
        cmake -S "$folder" -B "$scratch/$name" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" \
            && cmake --build "$scratch/$name"
    } >"$scratch/$name.log" 2>&1 || { cat "$scratch/$name.log"; die "$name does not build"; }
    [[ -x "$scratch/$name/$name" ]] || die "$name makes no program of its name"
    loaded="$(ldd "$scratch/$name/$name" | awk '$1 ~ /^libTQWhiteBoardLib/ { print $3 }')"
    [[ $(realpath "$loaded") == "$(realpath "$prefix")"/* ]] || die "$name is built with another library: $loaded"
    count=$((count + 1))
done
((count >= 5)) || die "only $count examples are installed"

ctest --test-dir "$scratch/testing" --no-tests=error --output-on-failure >"$scratch/testing.log" 2>&1 \
    || { cat "$scratch/testing.log"; die "the tests of an application's class fail"; }

export XDG_DATA_HOME="$scratch/data" XDG_CACHE_HOME="$scratch/cache" GTK_A11Y=none
mkfifo "$scratch/said"
"$scratch/conversation/conversation" >"$scratch/said" &
program=$!
trap 'kill "$program" 2>/dev/null || true; wait' EXIT
exec 3<"$scratch/said"
while read -r -t "$seconds" -u 3 line; do
    [[ $line != "148933 primes up to 2000000" ]] || exit 0
done
die "the conversation did not come to its end in $seconds seconds"
