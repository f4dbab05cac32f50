#!/usr/bin/env bash
# Installs into a folder, moves the folder, and checks that nothing in it speaks of a place that it was made at, that its
# programs run where it is now, and that their manuals are whole.
#
# usage: prefix.sh SOURCE-FOLDER BUILD-FOLDER SCRATCH-FOLDER [PROGRAM...]      leaves SCRATCH-FOLDER/moved
set -euo pipefail

source=$1 build=$2 scratch=$3
shift 3
die() { printf 'prefix.sh: %s\n' "$*" >&2; exit 1; }

rm -rf "$scratch"
mkdir -p "$scratch"
cmake --install "$build" --prefix "$scratch/installed" >"$scratch/install.log"
mv "$scratch/installed" "$scratch/moved"

# Debugging records may name places; only what is loaded is looked at in programs.
places=(-e "$source" -e "$build" -e "$scratch")
mapfile -d '' -t files < <(find "$scratch/moved" -type f -print0)
((${#files[@]} > 0)) || die "nothing was installed"
for file in "${files[@]}"; do
    if [[ "$(head -c 4 "$file")" == $'\x7fELF' ]]; then
        strings --data "$file" >"$scratch/texts"
        readelf -d "$file" | sed -n 's/.*R\(UN\)\?PATH.*\[\(.*\)\]$/\2/p' >"$scratch/paths"
        ! grep -v '^[$]ORIGIN/[a-z0-9_./-]*$' "$scratch/paths" || die "$file looks for libraries there"
    else
        cp "$file" "$scratch/texts"
    fi
    ! grep -F "${places[@]}" "$scratch/texts" || die "$file names a place that it was made at"
done

mapfile -t found < <(find "$scratch/moved" -name 'libTQWhiteBoardLib*.so')
((${#found[@]} > 0)) || die "no library was installed"
for library in "${found[@]}"; do
    readelf -d "$library" | grep -q "SONAME.*\\[$(basename "$library")\\.[0-9]*\\]\$" || die "$library has no version"
done
# The programs run, and their manuals tell every option that they have.
for program in "$@"; do
    "$scratch/moved/bin/$program" --help >"$scratch/$program.help" || die "$program does not run"
    grep -o -- '--[a-z]\+[a-z-]*' "$scratch/$program.help" | grep -vx -e --option | sort -u >"$scratch/options"
    (($(wc -l <"$scratch/options") >= 4)) || die "$program tells no options: $(cat "$scratch/$program.help")"
    sed 's/\\-/-/g' "$scratch/moved/share/man/man1/$program.1" >"$scratch/$program.manual"
    while read -r option; do
        grep -q -e "$option\b" "$scratch/$program.manual" || die "the manual of $program lacks $option"
    done <"$scratch/options"
done
