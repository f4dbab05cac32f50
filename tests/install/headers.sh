#!/usr/bin/env bash
# Compiles every installed header that users include, each on its own and without a warning; and checks that these are all
# there are in the tree, and that what they include in turn was installed, no less and no more.
#
# usage: headers.sh COMPILER INCLUDE-FOLDER-OF-TREE INSTALLED-INCLUDE-FOLDER SCRATCH-FOLDER PORT...
set -euo pipefail

compiler=$1 tree=$2 include=$3 scratch=$4
shift 4
ports=" $* "
die() { printf 'headers.sh: %s\n' "$*" >&2; exit 1; }

rm -rf "$scratch"
mkdir -p "$scratch"
cd "$include"
find TQWhiteBoardLib -name '*.h' | sort >"$scratch/installed"
grep -v '^TQWhiteBoardLib/platform/' "$scratch/installed" >"$scratch/public"
# The headers of a port come with it.
absent="$(for port in gtk qt; do [[ $ports == *" $port "* ]] || echo "^TQWhiteBoardLib/$port/"; done)"
(cd "$tree" && find TQWhiteBoardLib -name '*.h' | grep -v "${absent:-^$}" | sort) | diff - "$scratch/public" \
    || die "not the headers of the tree (<) were installed (>)"

# The header that one includes before anything else; macros alone, as Export.h has them, are nothing.
first() {
    local name
    name="$(sed -n '/^#include/!d; /Export\.h"/d; s/^#include "\(.*\)"$/\1/p; q' "$1")"
    [[ -n $name ]] && realpath --relative-to . "$(dirname "$1")/$name"
}
# What begins with another header compiles that one on its own. Nearly all begin with the same one in the end, which is
# precompiled: they are compiled as ever, but for the time that it takes.
readonly common=TQWhiteBoardLib/platform/Foundation/NSTypes.h
touch "$scratch/begun"
while read -r header; do
    begin=$header
    while [[ $begin != "$common" ]] && begin="$(first "$begin")"; do
        echo "$begin" >>"$scratch/begun"
    done
    [[ $begin != "$common" ]] || header+=" begun"
    echo "$header" >>"$scratch/all"
done <"$scratch/public"
grep -vwFf "$scratch/begun" "$scratch/all" >"$scratch/alone"

export compiler scratch
# compile NAME ARGUMENT...: lists what was included under that name.
compile() {
    "$compiler" -std=c++20 -Wall -Wextra -Wpedantic -Wconversion -Werror -I "$PWD" -MD -MF "$scratch/${1//\//-}.d" "${@:2}"
}
compile_alone() {
    echo "#include <$1>" | compile "$1" -fsyntax-only ${2:+-include "$scratch/common.h"} -x c++ - \
        || { echo "$1 does not compile on its own" >&2; return 255; }
}
export -f compile compile_alone
echo "#include <$common>" >"$scratch/common.h"
compile common -x c++-header "$scratch/common.h" -o "$scratch/common.h.gch"
xargs -a "$scratch/alone" -P 2 -L 1 bash -c 'compile_alone "$@"' _

cat "$scratch"/*.d | tr -s ' \\:' '\n' | sed -n "s|^$PWD/||p" | while read -r header; do
    realpath --relative-to . "$header"
done | sort -u >"$scratch/used"
diff "$scratch/used" "$scratch/installed" || die "not the headers that are needed (<) were installed (>)"
