#!/usr/bin/env bash
# Checks that the library of a port exports every function, member and variable that its installed headers declare
# without defining it: what compiles with them links.
#
# usage: declared.sh CLANG LIBRARY PORT INCLUDE-FOLDER SCRATCH-FOLDER
set -euo pipefail

clang=$1 library=$2 port=$3 include=$4 scratch=$5
readonly fewest=100
here="$(dirname "$(realpath "${BASH_SOURCE[0]}")")"
die() { printf 'declared.sh: %s\n' "$*" >&2; exit 1; }

rm -rf "$scratch"
mkdir -p "$scratch"
(cd "$include" && find TQWhiteBoardLib -name '*.h' \( -not -name NativeView.h -o -path "*/$port/*" \) | sort \
    | sed 's/.*/#include <&>/') >"$scratch/all.cpp"
"$clang" -std=c++20 -fsyntax-only -I "$include" -Xclang -ast-dump=json -Xclang -ast-dump-filter=tq:: "$scratch/all.cpp" \
    | python3 "$here/declared.py" >"$scratch/declared"
count="$(wc -l <"$scratch/declared")"
((count >= fewest)) || die "only $count names are declared: the headers were not read"
nm -D --defined-only "$library" | awk '{ sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort -u >"$scratch/exported"
LC_ALL=C sort -u "$scratch/declared" | LC_ALL=C comm -23 - "$scratch/exported" >"$scratch/missing"
if [[ -s "$scratch/missing" ]]; then
    c++filt <"$scratch/missing"
    die "declared in installed headers, and not to be had from the library"
fi
echo "$count names are declared, and exported"
