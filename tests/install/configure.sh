#!/usr/bin/env bash
# Configures as on machines that lack toolkits: one that has the given port's alone builds that port and says that it left
# the other out; one that has none is told what a port takes.
#
# usage: configure.sh SOURCE-FOLDER SCRATCH-FOLDER PORT...
set -euo pipefail

source=$1 scratch=$2
shift 2
die() { printf 'configure.sh: %s\n' "$*" >&2; cat "$scratch/log" >&2; exit 1; }

# What pkg-config knows without GTK; nothing is compiled with it.
rm -rf "$scratch"
mkdir -p "$scratch/packages"
for package in libcurl sqlite3; do
    printf 'Name: %s\nDescription: stand-in\nVersion: %s\n' "$package" "$(pkg-config --modversion "$package")" \
        >"$scratch/packages/$package.pc"
done
declare -A libraries=([gtk]=TQWhiteBoardLib [qt]=TQWhiteBoardLibQt)
declare -A left_out=([gtk]='Left out: the Qt port (it takes Qt 6.4, ' [qt]='Left out: the GTK port, and with it the programs (it takes GTK 4.8 ')

# configure NAME PORT...: on a machine that has the toolkits of these ports alone.
configure() {
    local name=$1 hidden=() options=()
    shift
    [[ " $* " == *" gtk "* ]] || hidden=(PKG_CONFIG_PATH= "PKG_CONFIG_LIBDIR=$scratch/packages")
    [[ " $* " == *" qt "* ]] || options+=(-DCMAKE_DISABLE_FIND_PACKAGE_Qt6=ON)
    env "${hidden[@]}" cmake -S "$source" -B "$scratch/$name" -DTQWB_PORTS="gtk;qt" -DTQWB_BUILD_TESTS=OFF \
        -DTQWB_BUILD_APPS=OFF "${options[@]}" >"$scratch/log" 2>&1
}
for port in "$@"; do
    configure "$port" "$port" || die "$port is not built without the other"
    grep -F -e "${left_out[$port]}" "$scratch/log" || die "what is left out beside $port is not told"
    cmake --build "$scratch/$port" --target help | grep -E "\b${libraries[$port]}\b" >"$scratch/targets" || die "no $port"
done
! configure none || die "something is built without any toolkit"
grep -F 'There is no port to build.' "$scratch/log" || die "what is missing is not told"
