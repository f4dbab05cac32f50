#!/usr/bin/env bash
# Brings the template and the translations up to date with the client's sources.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")"
bash extract.sh tqwhiteboard.pot
for translation in *.po; do
    msgmerge --quiet --update --backup=none --no-fuzzy-matching --add-location=file "$translation" tqwhiteboard.pot
done
