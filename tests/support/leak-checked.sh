#!/usr/bin/env bash
# Runs a test whose leaks are checked at its end. The checker crashes now and then when threads of the engine end under its
# eyes, and says so; then there is no result, and the test runs again. Whatever else fails has failed.
#
# usage: tests/support/leak-checked.sh PROGRAM [ARGUMENT...]
set -uo pipefail

# Qt's engine frees some of its objects as others than they were made as.
[[ $1 != *_qt ]] || export ASAN_OPTIONS="${ASAN_OPTIONS:-}:new_delete_type_mismatch=0"
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
for _ in 1 2 3 4; do
    "$@" >"$log" 2>&1
    status=$?
    ((status != 0)) && grep -q 'LeakSanitizer has encountered a fatal error' "$log" || break
done
cat "$log"
exit "$status"
