#!/usr/bin/env bash
# cpp-blocks.sh DOCUMENT FILE: writes the document's C++ blocks, one after the other, into the file.
set -euo pipefail
sed -n '/^```cpp$/,/^```$/{/^```/!p}' "$1" >"$2"
