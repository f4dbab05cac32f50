#!/usr/bin/env bash
# Whether the client's translations are whole: the template holds what the sources say, and every text of it is translated,
# with the same placeholders.
#
# usage: translations.sh FOLDER-OF-THE-TRANSLATIONS
set -euo pipefail

folder=$1
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
die() { printf '%s\n' "$*" >&2; exit 1; }

bash "$folder/extract.sh" "$scratch/now.pot"
diff "$folder/tqwhiteboard.pot" "$scratch/now.pot" \
    || die "the template is not what the sources say; build the target client-texts and translate what is new"
for translation in "$folder"/*.po; do
    # Texts that the sources have and the translation lacks are untranslated in the merger.
    msgmerge --quiet --no-fuzzy-matching --output-file="$scratch/merged.po" "$translation" "$scratch/now.pot"
    statistics="$(LC_ALL=C msgfmt --check --statistics --output-file=/dev/null "$scratch/merged.po" 2>&1)" \
        || die "$translation: $statistics"
    [[ $statistics =~ ^[1-9][0-9]*\ translated\ messages\.$ ]] || die "$translation: $statistics"
done
