#!/usr/bin/env bash
# Compiles a page against what an example writes of its own methods: right calls are taken, and wrong ones are not.
#
# usage: types.sh COMPILER EXAMPLE SOURCE-FOLDER SCRATCH-FOLDER
set -euo pipefail

compiler=$1 example=$2 source=$3 scratch=$4
rm -rf "$scratch"
mkdir -p "$scratch"
cp "$source/page/bridge.d.ts" "$source/tests/page/calls.ts" "$scratch"
"$example" declarations >"$scratch/primes.d.ts"
"$compiler" --strict --noEmit --target es2022 --module es2022 --moduleResolution node "$scratch/calls.ts"
