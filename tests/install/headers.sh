#!/usr/bin/env bash
# Compiles every installed header that users include, each on its own and without a warning; and checks that these are all
# there are in the tree, and that what they include in turn was installed, no less and no more.
#
# usage: headers.sh COMPILER INCLUDE-FOLDER-OF-TREE INSTALLED-INCLUDE-FOLDER SCRATCH-FOLDER
set -euo pipefail

compiler=$1 tree=$2 include=$3 scratch=$4
die() { printf 'headers.sh: %s\n' "$*" >&2; exit 1; }

rm -rf "$scratch"
mkdir -p "$scratch"
cd "$include"
find TQWhiteBoardLib -name '*.h' | sort >"$scratch/installed"
grep -v '^TQWhiteBoardLib/platform/' "$scratch/installed" >"$scratch/public"
(cd "$tree" && find TQWhiteBoardLib -name '*.h' | sort) | diff - "$scratch/public" \
    || die "not the headers of the tree (<) were installed (>)"

compile() {
    echo "#include <$3>" | "$1" -std=c++20 -Wall -Wextra -Wpedantic -Wconversion -Werror -I . -fsyntax-only \
        -MD -MF "$2/$(tr / - <<<"$3").d" -x c++ - || { echo "$3 does not compile on its own" >&2; return 255; }
}
export -f compile
xargs -a "$scratch/public" -P 2 -I '{}' bash -c 'compile "$@"' _ "$compiler" "$scratch" '{}'

cat "$scratch"/*.d | tr -s ' \\:' '\n' | sed -n 's|^\(\./\)\?\(TQWhiteBoardLib/\)|\2|p' | while read -r header; do
    realpath --relative-to . "$header"
done | sort -u >"$scratch/used"
diff "$scratch/used" "$scratch/installed" || die "not the headers that are needed (<) were installed (>)"
