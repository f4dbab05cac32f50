#!/usr/bin/env bash
# Only a port and what stands for its toolkit elsewhere may include the toolkit's headers: in all other sources it would be
# an obstacle for the next port.
#
# usage: toolkits.sh SOURCE
set -euo pipefail

cd "$1"
folders=(apps bench bridge examples fuzz host include navigation platform session tests)
headers='adwaita|gdk|gio|glib|gobject|graphene|gsk|gtk|jsc|pango|webkit|Q[A-Z]'
may='^(platform|include/TQWhiteBoardLib|bench)/(gtk|qt)/|^apps/client/|^tests/support/|^examples/'

found="$(grep -rnE --include='*.cpp' --include='*.h' "# *include *[<\"]([^\">]*/)?($headers)" "${folders[@]}" \
    | grep -vE "$may" || true)"
if [ -n "$found" ]; then
    echo "These sources include headers of a toolkit:"
    echo "$found"
    exit 1
fi
