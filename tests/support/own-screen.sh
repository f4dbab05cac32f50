#!/usr/bin/env bash
# Runs a test on a screen of its own, where nothing else takes the focus or lies beneath the pointer. A Wayland screen is
# taken as it is: it cannot be pointed at from outside.
#
# usage: tests/support/own-screen.sh PROGRAM [ARGUMENT...]
set -euo pipefail

if [[ -z ${WAYLAND_DISPLAY:-} ]]; then
    # shellcheck source=scripts/screen.sh
    source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/screen.sh"
    start_screen
fi
"$@"
