#!/usr/bin/env bash
# Builds every installed example alone, as its reader would, by CMake, and the viewers by pkg-config as well. Runs the
# tests of one, a conversation to its end, and every viewer: in a room of the installed service, or where none is
# installed, to the word that nobody answers.
#
# usage: examples.sh build|run PREFIX SCRATCH-FOLDER      CXX is the compiler; to run takes a display, and what was built
set -euo pipefail

mode=$1 prefix=$2 scratch=$3
readonly seconds=60
die() { printf 'examples.sh: %s\n' "$*" >&2; exit 1; }

examples="$prefix/share/tqwhiteboardlib/examples"
libraries="$(dirname "$(find "$prefix"/lib* -name 'libTQWhiteBoardLib*.so' -print -quit)")"
# An example is built where the library that it takes is installed.
names=()
for example in "$examples"/*; do
    library=TQWhiteBoardLib
    [[ $example != *-qt ]] || library+=Qt
    [[ ! -e "$libraries/lib$library.so" ]] || names+=("$(basename "$example")")
done
# What the viewers are to pkg-config.
declare -A modules=([viewer]="tqwhiteboardlib gtk4" [viewer-qt]="tqwhiteboardlib-qt Qt6Widgets")
viewers=()
for name in "${names[@]}"; do
    [[ -z ${modules[$name]:-} ]] || viewers+=("$name")
done
((${#viewers[@]} > 0)) || die "only these examples are for what is installed: ${names[*]}"
export XDG_DATA_HOME="$scratch/data" XDG_CACHE_HOME="$scratch/cache" GTK_A11Y=none
export examples prefix scratch

build_by_cmake() {
    local name=$1
    cmake -S "$examples/$name" -B "$scratch/$name" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic -Wconversion -Werror" \
        && cmake --build "$scratch/$name"
}
build_in_silence() {
    build_by_cmake "$1" >"$scratch/$1.log" 2>&1 || { cat "$scratch/$1.log" >&2; return 255; }
}
export -f build_by_cmake build_in_silence
# The library is of this installation.
check_library() {
    local loaded
    loaded="$(ldd "$1" | awk '$1 ~ /^libTQWhiteBoardLib/ { print $3 }')"
    [[ $(realpath "$loaded") == "$(realpath "$prefix")"/* ]] || die "$1 is built with another library: $loaded"
}
build() {
    local name flags
    rm -rf "$scratch"
    mkdir -p "$scratch/by-pkg-config"
    printf '%s\n' "${names[@]}" | xargs -P 2 -I '{}' bash -c 'build_in_silence "$@"' _ '{}' \
        || die "an example does not build"
    for name in "${names[@]}"; do check_library "$scratch/$name/$name"; done
    for name in "${viewers[@]}"; do
        # shellcheck disable=SC2086 # words
        read -r -a flags <<<"$(PKG_CONFIG_PATH="$libraries/pkgconfig" pkg-config --cflags --libs ${modules[$name]})"
        "$CXX" -std=c++20 -Wall -Wextra -Werror "$examples/$name/main.cpp" -o "$scratch/by-pkg-config/$name" "${flags[@]}"
        # Only what CMake has made knows where its library is.
        LD_LIBRARY_PATH="$libraries" check_library "$scratch/by-pkg-config/$name"
    done
}
if [[ $mode == build ]]; then
    build
    exit
fi

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
if [[ -d "$scratch/testing" ]]; then
    ctest --test-dir "$scratch/testing" --no-tests=error --output-on-failure >"$scratch/testing.log" 2>&1 \
        || { cat "$scratch/testing.log"; die "the tests of an application's class fail"; }
    start conversation "$scratch/conversation/conversation"
    await_line '^148933 primes up to 2000000$'
fi
words=("demo@localhost:1") last='^over: network: '
if [[ -x "$prefix/bin/tqwhiteboard-conference" ]]; then
    start service "$prefix/bin/tqwhiteboard-conference" --port 0 --state "$scratch/service"
    await_line '"host":"([^"]*)"'
    words=("demo@${BASH_REMATCH[1]}" "$scratch/service/ca.pem") last='^shown$'
fi
# The engine of Qt does not shut root's pages in.
[[ $EUID -ne 0 ]] || export QTWEBENGINE_DISABLE_SANDBOX=1
export LD_LIBRARY_PATH="$libraries"
for viewer in "${viewers[@]}"; do
    for program in "$scratch/$viewer/$viewer" "$scratch/by-pkg-config/$viewer"; do
        start "$viewer" "$program" "${words[@]}"
        await_line "$last"
    done
done
