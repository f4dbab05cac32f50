#!/usr/bin/env bash
# Writes the client's texts, as its sources have them, to a template.
#
# usage: extract.sh TEMPLATE
set -euo pipefail

template="$(realpath "$1")"
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# Newer versions take texts in braces for formats of C++, which none of them is.
xgettext --from-code=UTF-8 --keyword=_ --keyword=N_ --keyword=ngettext:1,2 --add-location=file \
    --add-comments=translators --package-name=TQWhiteBoardLib --copyright-holder="the TQWhiteBoardLib authors" \
    --flag=formatted:1:c-format --flag=_:1:pass-c-format --flag=ngettext:1:pass-c-format \
    --flag=ngettext:2:pass-c-format --output=- -- *.cpp ui/*.ui \
    | sed -e '1,/^#, fuzzy$/d' -e 's/charset=CHARSET/charset=UTF-8/' -e '/^"POT-Creation-Date:/d' \
        -e '/^#, c++-format$/d' >"$template"
