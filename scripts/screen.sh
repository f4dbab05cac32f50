# A screen that exists in memory only, and what ends with the script. To be sourced; "scratch" is a folder that goes then.
# shellcheck shell=bash disable=SC2034

say() { printf '==> %s\n' "$*"; }
die() { printf 'scripts/%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }

screen=""
scratch="$(mktemp -d)"
clean_up() {
    local status=$?
    trap - EXIT INT TERM
    if [[ -n $screen ]]; then
        kill "$screen" 2>/dev/null || true
        wait "$screen" 2>/dev/null || true
    fi
    rm -rf "$scratch"
    exit "$status"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# Drawing is done in software, whatever else there is. The screen is not to begin anew when its last window goes: whoever
# comes at that moment would be turned away.
start_screen() {
    local end=$((SECONDS + 20))
    Xvfb -displayfd 3 -screen 0 1600x1200x24 -nolisten tcp -noreset 3>"$scratch/display" >"$scratch/screen.log" 2>&1 &
    screen=$!
    until grep -qs '[0-9]' "$scratch/display"; do
        kill -0 "$screen" 2>/dev/null || die "Xvfb has ended: $(cat "$scratch/screen.log")"
        ((SECONDS < end)) || die "Xvfb did not start in 20 seconds"
        sleep 0.1
    done
    DISPLAY=":$(tr -d '[:space:]' <"$scratch/display")"
    export DISPLAY LIBGL_ALWAYS_SOFTWARE=1 GDK_BACKEND=x11
    unset WAYLAND_DISPLAY
}
