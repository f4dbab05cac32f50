#!/usr/bin/env bash
# Checks that every link of the documents in a folder leads to a file that is there, and to a heading of it where it
# names one.
#
# usage: links.sh FOLDER DOCUMENT...
set -euo pipefail

folder=$1
shift
cd "$folder"

# Headings as they are named in links: small letters, no punctuation, hyphens for blanks.
headings() { sed -n 's/^##* //p' "$1" | tr '[:upper:]' '[:lower:]' | sed "s/[^[:alnum:] _-]//g; s/ /-/g"; }

faults=0 links=0
for document in "$@"; do
    # The text of a link may go on in the next line; code is none.
    while read -r target; do
        links=$((links + 1))
        file="${target%%#*}" heading=""
        [[ $target != *'#'* ]] || heading="${target#*#}"
        place="$(dirname "$document")/$file"
        [[ -n $file ]] || place="$document"
        if [[ ! -e $place ]]; then
            echo "$document: nothing is at $target"
            faults=1
        elif [[ -n $heading ]] && ! headings "$place" | grep -qxF -e "$heading"; then
            echo "$document: no heading for $target"
            faults=1
        fi
    done < <(sed '/^ *```/,/^ *```/d; s/`[^`]*`//g' "$document" | tr '\n' ' ' | grep -oP '\]\(\K[^)]+(?=\))' \
        | grep -vE '^https?:' || true)
done
echo "$links links in $# documents"
((links > 0 && !faults))
