#!/usr/bin/env bash
# Builds every installed example alone, as its reader would, by CMake, and the viewer by pkg-config as well. Runs the
# tests of one, a conversation to its end, and both viewers in a room of the installed service.
#
# usage: examples.sh build|run PREFIX SCRATCH-FOLDER      CXX is the compiler; to run takes a display, and what was built
set -euo pipefail

mode=$1 prefix=$2 scratch=$3
readonly seconds=60
die() { printf 'examples.sh: %s\n' "$*" >&2; exit 1; }

examples="$prefix/share/tqwhiteboardlib/examples"
names="$(ls "$examples")"
# An example of a port is built where the port is installed.
[[ -n $(find "$prefix"/lib* -name libTQWhiteBoardLibQt.so) ]] || names="$(grep -v -e '-qt$' <<<"$names")"
libraries="$(dirname "$(find "$prefix"/lib* -name libTQWhiteBoardLib.so)")"
export XDG_DATA_HOME="$scratch/data" XDG_CACHE_HOME="$scratch/cache" GTK_A11Y=none
export examples prefix scratch

build_by_cmake() {
    local name=$1
    cmake -S "$examples/$name" -B "$scratch/$name" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" \
        && cmake --build "$scratch/$name"
}
build_in_silence() {
    build_by_cmake "$1" >"$scratch/$1.log" 2>&1 || { cat "$scratch/$1.log" >&2; return 255; }
}
export -f build_by_cmake build_in_silence
build() {
    rm -rf "$scratch"
    mkdir -p "$scratch/by-pkg-config"
    (($(wc -l <<<"$names") >= 5)) || die "only these examples are installed: $names"
    xargs -P 2 -I '{}' bash -c 'build_in_silence "$@"' _ '{}' <<<"$names" || die "an example does not build"
    local flags
    read -r -a flags <<<"$(PKG_CONFIG_PATH="$libraries/pkgconfig" pkg-config --cflags --libs tqwhiteboardlib gtk4)"
    "$CXX" -std=c++20 -Wall -Wextra -Werror "$examples/viewer/main.cpp" -o "$scratch/by-pkg-config/by-pkg-config" "${flags[@]}"
}
if [[ $mode == build ]]; then
    build
    exit
fi

for name in $names by-pkg-config; do
    # Of the two, only what CMake has made knows where the library is.
    [[ $name != by-pkg-config ]] || export LD_LIBRARY_PATH="$libraries"
    loaded="$(ldd "$scratch/$name/$name" | awk '$1 ~ /^libTQWhiteBoardLib/ { print $3 }')"
    [[ $(realpath "$loaded") == "$(realpath "$prefix")"/* ]] || die "$name is built with another library: $loaded"
done

ctest --test-dir "$scratch/testing" --no-tests=error --output-on-failure >"$scratch/testing.log" 2>&1 \
    || { cat "$scratch/testing.log"; die "the tests of an application's class fail"; }

trap 'kill $(jobs -p) 2>/dev/null || true; wait' EXIT
# start NAME COMMAND...: its output comes by descriptor 3. await_line PATTERN: the first line that matches, in "line".
start() {
    rm -f "$scratch/$1.said"
    mkfifo "$scratch/$1.said"
    "${@:2}" >"$scratch/$1.said" &
    exec 3<"$scratch/$1.said"
}
await_line() {
    while read -r -t "$seconds" -u 3 line; do
        [[ ! $line =~ $1 ]] || return 0
    done
    die "no line \"$1\" in $seconds seconds"
}
start conversation "$scratch/conversation/conversation"
await_line '^148933 primes up to 2000000$'
start service "$prefix/bin/tqwhiteboard-conference" --port 0 --state "$scratch/service"
await_line '"host":"([^"]*)"'
host="${BASH_REMATCH[1]}"
for viewer in viewer by-pkg-config; do
    start "$viewer" "$scratch/$viewer/$viewer" "demo@$host" "$scratch/service/ca.pem"
    await_line '^shown$'
done
