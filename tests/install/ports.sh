#!/usr/bin/env bash
# Installs each port without the others, as a package of it does, and checks that its library loads no other toolkit, that
# builds find it, by CMake and by pkg-config, and that one which asks for another port is told what is missing.
#
# usage: ports.sh BUILD-FOLDER SCRATCH-FOLDER PORT...      CXX is the compiler
set -euo pipefail

build=$1 scratch=$2
shift 2
die() { printf 'ports.sh: %s\n' "$*" >&2; exit 1; }

declare -A components=([gtk]=TQWhiteBoardLib [qt]=Qt)
declare -A viewers=([gtk]=viewer [qt]=viewer-qt)
declare -A modules=([gtk]=tqwhiteboardlib [qt]=tqwhiteboardlib-qt)
declare -A toolkits=([gtk]='^\s*lib(gtk|webkitgtk)-' [qt]='^\s*libQt6')

# configure PORT: its viewer, with what is installed in "prefix".
configure() {
    cmake -S "$prefix/share/tqwhiteboardlib/examples/${viewers[$1]}" -B "$prefix-for-$1" -DCMAKE_PREFIX_PATH="$prefix" \
        >"$prefix-for-$1.log" 2>&1
}

rm -rf "$scratch"
mkdir -p "$scratch"
for port in "$@"; do
    prefix="$scratch/$port"
    for component in "runtime-$port" "development-$port" development; do
        cmake --install "$build" --prefix "$prefix" --component "$component" >>"$scratch/install.log"
    done
    library="$(find "$prefix" -name 'libTQWhiteBoardLib*.so')"
    loaded="$(ldd "$library")"
    for toolkit in "${!toolkits[@]}"; do
        count="$(grep -cE "${toolkits[$toolkit]}" <<<"$loaded" || true)"
        wanted=0
        [[ $toolkit != "$port" ]] || wanted=1
        (((count > 0) == wanted)) || die "$library loads $count libraries of $toolkit"
    done

    printf '#include <TQWhiteBoardLib/%s/NativeView.h>\nint main() { return !&tq::nativeView; }\n' "$port" >"$prefix.cpp"
    read -r -a flags <<<"$(PKG_CONFIG_PATH="${library%/*}/pkgconfig" pkg-config --cflags --libs "${modules[$port]}")"
    "$CXX" -std=c++20 -Wno-address "$prefix.cpp" -o "$prefix-program" "${flags[@]}"
    LD_LIBRARY_PATH="${library%/*}" "$prefix-program" || die "what pkg-config says of $port does not do"

    for other in "${!viewers[@]}"; do
        if [[ $other == "$port" ]]; then
            configure "$port" || { cat "$prefix-for-$port.log"; die "CMake does not find $port where it is installed"; }
        elif configure "$other"; then
            die "CMake finds $other where $port alone is installed"
        else
            tr -s '\n ' ' ' <"$prefix-for-$other.log" \
                | grep -oF "the component ${components[$other]} of TQWhiteBoardLib is not installed here" \
                || { cat "$prefix-for-$other.log"; die "nobody is told that $other is not installed"; }
        fi
    done
done
