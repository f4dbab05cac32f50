#!/usr/bin/env bash
# The README's first C++ block is the viewer, character for character.
set -euo pipefail
diff <(sed -n '/^```cpp$/,/^```$/p' "$1/README.md" | sed '1d;/^```$/,$d') "$1/examples/viewer/main.cpp"
