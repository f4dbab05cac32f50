# Screens that exist in memory only, and what ends with the script. To be sourced; "scratch" is a folder that goes then.
# shellcheck shell=bash disable=SC2034

say() { printf '==> %s\n' "$*"; }
die() { printf 'scripts/%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }

own_scratch() {
    screen=""
    scratch="$(mktemp -d)"
    trap clean_up EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
}
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
# A shell that a script makes in itself begins anew as well: traps are not inherited.
own_scratch

# await_screen NAME LOG COMMAND...: until the command says that the screen is there.
await_screen() {
    local name=$1 log=$2 end=$((SECONDS + 20))
    shift 2
    until "$@"; do
        kill -0 "$screen" 2>/dev/null || die "$name has ended: $(cat "$log")"
        ((SECONDS < end)) || die "$name did not start in 20 seconds: $(cat "$log")"
        sleep 0.1
    done
}

# Drawing is done in software, whatever else there is. The screen is not to begin anew when its last window goes: whoever
# comes at that moment would be turned away.
start_screen() {
    Xvfb -displayfd 3 -screen 0 1600x1200x24 -nolisten tcp -noreset 3>"$scratch/display" >"$scratch/screen.log" 2>&1 &
    screen=$!
    await_screen Xvfb "$scratch/screen.log" grep -qs '[0-9]' "$scratch/display"
    DISPLAY=":$(tr -d '[:space:]' <"$scratch/display")"
    export DISPLAY LIBGL_ALWAYS_SOFTWARE=1 GDK_BACKEND=x11
    unset WAYLAND_DISPLAY
}

# start_wayland_screen MODULE: weston with a module for input events, whose socket is TQWB_SCREEN.
start_wayland_screen() {
    export XDG_RUNTIME_DIR="$scratch/runtime" WAYLAND_DISPLAY=tqwb TQWB_SCREEN="$scratch/runtime/input"
    # Without frames of Qt's own: the screen tells where a window's content is.
    export LIBGL_ALWAYS_SOFTWARE=1 GDK_BACKEND=wayland QT_QPA_PLATFORM=wayland QT_WAYLAND_DISABLE_WINDOWDECORATION=1
    unset DISPLAY
    mkdir -m 700 "$XDG_RUNTIME_DIR"
    cat >"$scratch/weston.ini" <<'END'
[core]
idle-time=0
require-input=false
[shell]
panel-position=none
background-color=0xff708090
locking=false
animation=none
startup-animation=none
close-animation=none
focus-animation=none
[input-method]
path=
[keyboard]
keymap_layout=us
END
    weston --backend=headless-backend.so --use-pixman --width=1600 --height=1200 --socket="$WAYLAND_DISPLAY" \
        --config="$scratch/weston.ini" --modules="$1" >"$scratch/screen.log" 2>&1 &
    screen=$!
    await_screen weston "$scratch/screen.log" test -S "$XDG_RUNTIME_DIR/$WAYLAND_DISPLAY" -a -S "$TQWB_SCREEN"
}
