#!/usr/bin/env bash
# Compares what the library exports with what its installed headers mark: no internal leaks, and nothing marked is missing.
#
# usage: exports.sh LIBRARY INCLUDE-FOLDER
set -euo pipefail

library=$1 include=$2

mapfile -d '' -t headers < <(find "$include" -name '*.h' -print0)
words() { grep -hoP "$1" "${headers[@]}" | sort -u; }
marked="$(words '\b(class|struct) TQWB_EXPORT \K\w+|^TQWB_EXPORT (?!class)[^(]*?\K\w+(?=\()')"
# Classes within classes are their users' only if a header says what is in them.
defined="$(words '\b(class|struct)\s+(TQWB_EXPORT\s+)?\K\w+(?=[^;({]*\{)')"

nm -DC --defined-only "$library" | awk -v marked="$marked" -v defined="$defined" '
    BEGIN {
        count = split(marked, names, "\n")
        for (i = 1; i <= count; ++i)
            isMarked[names[i]] = 1
        total = split(defined, names, "\n")
        for (i = 1; i <= total; ++i)
            isDefined[names[i]] = 1
    }
    $2 == "A" { next } # the version itself
    {
        sub(/^[0-9a-f]+ . /, "")
        symbol = $0
        sub(/@+[A-Z0-9_]+$/, "")
        sub(/^((non-)?virtual thunk to|vtable for|VTT for|typeinfo( name)? for) /, "")
        sub(/[(<[].*/, "")
        parts = split($0, path, "::")
        good = path[1] == "tq" && path[2] in isMarked
        for (i = 3; i < parts; ++i)
            good = good && path[i] in isDefined
        if (good) {
            isExported[path[2]] = 1
        } else {
            print "not for users: " symbol
            faults = 1
        }
    }
    END {
        for (name in isMarked) {
            if (!(name in isExported)) {
                print "marked, but not exported: " name
                faults = 1
            }
        }
        print NR " symbols, " count " marked names"
        exit faults || !NR || !count
    }'
