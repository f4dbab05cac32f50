#!/usr/bin/env bash
# Builds a program with the installed library, out of the tree, and has it join a room of the installed service.
#
# usage: consumer.sh cmake|pkg-config PREFIX CONSUMER-FOLDER SCRATCH-FOLDER      CXX is the compiler; needs a display
set -euo pipefail

tool=$1 prefix=$2 consumer=$3 scratch=$4
readonly seconds=60
die() { printf 'consumer.sh: %s\n' "$*" >&2; exit 1; }

service=""
clean_up() {
    local status=$?
    [[ -z $service ]] || kill "$service" 2>/dev/null || true
    wait
    exit "$status"
}
trap clean_up EXIT
trap 'exit 143' TERM

rm -rf "$scratch"
mkdir -p "$scratch"
cp -r "$consumer" "$scratch/consumer"
cd "$scratch/consumer"
libraries="$(dirname "$(find "$prefix"/lib* -name libTQWhiteBoardLib.so)")"
if [[ $tool == cmake ]]; then
    cmake -B . -S . -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" >../build.log
    cmake --build . >>../build.log || { cat ../build.log; die "the program does not build"; }
    found="$(sed -n 's/^TQWhiteBoardLib_DIR:PATH=//p' CMakeCache.txt)"
    [[ $found == "$libraries/cmake/TQWhiteBoardLib" ]] || die "another library was found: $found"
else
    export PKG_CONFIG_PATH="$libraries/pkgconfig" LD_LIBRARY_PATH="$libraries"
    make -s CXXFLAGS="-Wall -Wextra -Werror"
fi
loaded="$(ldd consumer | awk '$1 ~ /^libTQWhiteBoardLib/ { print $3 }')"
[[ "$(realpath "$loaded")" == "$(realpath "$libraries/libTQWhiteBoardLib.so")" ]] || die "another library is loaded: $loaded"

mkfifo "$scratch/said"
"$prefix/bin/tqwhiteboard-conference" --port 0 --state "$scratch/conference" >"$scratch/said" &
service=$!
exec 3<"$scratch/said"
read -r -t "$seconds" -u 3 ready || die "the service did not start in $seconds seconds"
host="$(sed -n 's/.*"host":"\([^"]*\)".*/\1/p' <<<"$ready")"
[[ -n $host ]] || die "the service did not say where it is: $ready"

export XDG_DATA_HOME="$scratch/data" XDG_CACHE_HOME="$scratch/cache" GTK_A11Y=none
timeout "$seconds" ./consumer "demo@$host" "$scratch/conference/ca.pem" || die "the program ended with status $? (124: not in $seconds seconds)"
