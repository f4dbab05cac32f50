# Rooms on a screen, for the scripts beside this file: the local conference service, clients in it, and what is needed to
# drive and watch them. To be sourced after "root" and "place" are set: the repository, and the folder for what is left.
# shellcheck shell=bash disable=SC2034,SC2154

readonly programs="$root/build/release"
readonly width=1040 height=720

declare -A process=() input=()
names=() # of what was started, in the order of its start
service_host="" service_ca="" answer=""

say() { printf '==> %s\n' "$*"; }
die() { printf 'scripts/%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }
is_alive() { kill -0 "${process[$1]}" 2>/dev/null; }

started() { process[$1]=$2; names+=("$1"); }

stop() {
    local name=$1 tries
    kill -TERM "${process[$name]}" 2>/dev/null || return 0
    for ((tries = 0; tries < 50; ++tries)); do
        is_alive "$name" || break
        sleep 0.1
    done
    is_alive "$name" && kill -KILL "${process[$name]}" 2>/dev/null
    wait "${process[$name]}" 2>/dev/null || true
}

clean_up() {
    local status=$? i
    trap - EXIT INT TERM
    [[ ${#names[@]} -eq 0 ]] || say "Stopping what was started."
    for ((i = ${#names[@]} - 1; i >= 0; --i)); do stop "${names[i]}"; done
    exit "$status"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# wait_for SECONDS NAME WHAT COMMAND...: until the command succeeds, as long as the named process lives.
wait_for() {
    local end=$((SECONDS + $1)) name=$2 what=$3
    shift 3
    until "$@"; do
        is_alive "$name" || die "$name has ended while waiting for $what; see $place/$name.log"
        ((SECONDS < end)) || die "no $what in time; see $place/$name.log"
        sleep 0.05
    done
}

# build TARGET...: what is missing is installed first. What an earlier run left says nothing about this one; the
# service's certificate stays.
build() {
    say "Installing what is missing."
    "$root/scripts/setup"
    say "Building."
    (cd "$root" && cmake --preset release && cmake --build --preset release --target "$@")
    mkdir -p "$place"
    rm -f "$place"/*.out "$place"/*.log "$place"/*.png
}

start_conference() {
    say "Starting the conference service."
    "$programs/tqwhiteboard-conference" --port 0 --state "$place/conference" \
        >"$place/conference.out" 2>"$place/conference.log" &
    started conference $!
    wait_for 30 conference "conference service" grep -qs '"event":"ready"' "$place/conference.out"
    service_host="$(sed -n 's/.*"host":"\([^"]*\)".*/\1/p' "$place/conference.out")"
    service_ca="$(sed -n 's/.*"ca":"\([^"]*\)".*/\1/p' "$place/conference.out")"
    [[ -n $service_host && -f $service_ca ]] || die "the conference service did not say where it is"
    say "It answers at https://$service_host."
}

# start_client NAME DISPLAYED-NAME join|play [OPTION...]: a window in the demonstration's room.
start_client() {
    local name=$1 shown=$2 command=$3 held
    shift 3
    rm -f "$place/$name.commands"
    mkfifo "$place/$name.commands"
    # Held open here, so that the client's input does not end with the first command.
    exec {held}<>"$place/$name.commands"
    input[$name]=$held
    XDG_DATA_HOME="$place/$name.data" XDG_CACHE_HOME="$place/$name.cache" \
        "$programs/tqwhiteboard" "$command" --app-key demo --token "demo@$service_host" --room demo --user "$name" \
        --name "$shown" --ca "$service_ca" --size "${width}x$height" "$@" \
        <"$place/$name.commands" >"$place/$name.out" 2>"$place/$name.log" {held}>&- &
    started "$name" $!
}

# tell NAME COMMAND: a line for the client's standard input.
tell() { printf '%s\n' "$2" >&"${input[$1]}"; }

# event NAME MEMBERS: whether the client has printed a line that begins so after its first brace.
event() { grep -qsF "{\"event\":$2" "$place/$1.out"; }
# wait_for_event SECONDS NAME MEMBERS
wait_for_event() {
    local said
    wait_for "$1" "$2" "event $3" event_or_error "$2" "$3"
    said="$(grep -m 1 '"event":"error"' "$place/$2.out")" || return 0
    die "$2 could not do it: $said"
}
event_or_error() { event "$1" "$2" || grep -qs '"event":"error"' "$place/$1.out"; }

# wait_until_shown NAME join|play: until the room or the recording is on the screen.
wait_until_shown() {
    wait_for_event 90 "$1" "\"success\",\"operation\":\"$2\""
    wait_for 60 "$1" "loaded room page" grep -qs 'onLoadEnd' "$place/$1.log"
}

answers() { grep -cs "^{\"event\":\"result\",\"call\":\"$2\"," "$place/$1.out" || true; }
has_answers() { (($(answers "$1" "$2") >= $3)); }
# ask NAME FUNCTION [JSON-LIST]: calls a function of the client's page; "answer" is what it has answered.
ask() {
    local count
    count=$(answers "$1" "$2")
    tell "$1" "call $2 ${3:-}"
    wait_for 30 "$1" "answer to $2" has_answers "$1" "$2" $((count + 1))
    answer="$(sed -n "s/^{\"event\":\"result\",\"call\":\"$2\",\"value\":\(.*\)}\$/\1/p" "$place/$1.out" | tail -n 1)"
}

# start_screen WIDTHxHEIGHT: one that exists in memory only, with the drawing done in software. It does not begin anew
# when its last window goes, which would turn away whoever comes at that moment.
start_screen() {
    local tool
    for tool in Xvfb xdotool convert import; do
        command -v "$tool" >/dev/null || die "$tool is missing; scripts/setup installs it"
    done
    Xvfb -displayfd 3 -screen 0 "$1x24" -nolisten tcp -noreset 3>"$place/screen.out" >"$place/screen.log" 2>&1 &
    started screen $!
    wait_for 20 screen "virtual screen" grep -qs '[0-9]' "$place/screen.out"
    DISPLAY=":$(tr -d '[:space:]' <"$place/screen.out")"
    export DISPLAY LIBGL_ALWAYS_SOFTWARE=1 GDK_BACKEND=x11 GTK_A11Y=none
    unset WAYLAND_DISPLAY
}

window_of() { xdotool search --onlyvisible --pid "${process[$1]}" 2>/dev/null | sed -n 1p; }
has_window() { [[ -n "$(window_of "$1")" ]]; }

# place_window NAME X Y
place_window() {
    wait_for 60 "$1" "window" has_window "$1"
    xdotool windowmove "$(window_of "$1")" "$2" "$3"
}

# screenshot NAME FILE: a picture of the client's window.
screenshot() { import -window "$(window_of "$1")" "$2"; }

# The stroke that is drawn, in points of the first window, and the part of the window that it stays within.
readonly stroke_left=150 stroke_right=600 stroke_middle=375 stroke_height=90
readonly stroke_area=500x260+125+245 stroke_end=75x260+540+245
readonly least_pixels=500 least_end_pixels=50

readonly stroke_step=5 stroke_arc=75

# A wave of arcs, up and down by turns. The engine merges what comes faster than the page takes it, which may be slow: the
# pointer waits at each place until the page has it.
draw_stroke() {
    local x along rise direction last=""
    for ((x = stroke_left; x <= stroke_right; x += stroke_step)); do
        along=$(((x - stroke_left) % stroke_arc))
        direction=$(((x - stroke_left) / stroke_arc % 2 ? -1 : 1))
        rise=$((along * (stroke_arc - along) * 4 * stroke_height / (stroke_arc * stroke_arc)))
        xdotool mousemove "$x" "$((stroke_middle - direction * rise))"
        [[ -n $last ]] || xdotool mousedown 1
        wait_for 30 ada "place of the stroke" goes_on ada "$last"
        last="$(last_place)"
    done
    xdotool mouseup 1
    is_wave || die "the stroke is not the wave that was drawn: $answer"
}

# The places of the last stroke in "answer", as numbers between commas; the last of them.
answered_places() {
    local places=${answer##*\"points\":[}
    [[ $answer != *\"points\":* ]] || printf '%s' "${places%%]*}"
}
last_place() { answered_places | grep -o '[^,]*,[^,]*$' || true; }
# goes_on NAME PLACE: whether the last stroke on the client's page has gone on from that place.
goes_on() {
    ask "$1" board.strokes
    [[ "$(last_place)" != "$2" ]]
}
# Whether the last stroke in "answer" is the wave, to two points of the window. The board is sixteen by nine. A place
# counts once, however often the page was told of it.
is_wave() {
    answered_places | awk -v RS=, -v width=$((stroke_right - stroke_left)) -v height="$stroke_height" \
        -v arc="$stroke_arc" -v step="$stroke_step" '
        BEGIN { count = 0 }
        NR % 2 { x = $1; next }
        !count || x != across[count - 1] || $1 != down[count - 1] { across[count] = x; down[count++] = $1 }
        END {
            point = (across[count - 1] - across[0]) / width
            wrong = count != width / step + 1 || point <= 0
            for (i = 0; i < count && !wrong; ++i) {
                along = i * step % arc
                rise = along * (arc - along) * 4 * height / arc ^ 2 * (int(i * step / arc) % 2 ? -1 : 1)
                right = (across[i] - across[0]) / point - i * step
                up = (down[0] - down[i]) / point * 9 / 16 - rise
                wrong = right ^ 2 > 4 || up ^ 2 > 4
            }
            exit wrong
        }'
}
# has_wave NAME: whether the client has been told of the wave, which "answer" then holds.
has_wave() {
    ask "$1" board.strokes
    is_wave
}

# ink_pixels FILE AREA: how many pixels are as dark as ink; the board itself is white.
ink_pixels() {
    convert "$1" -crop "$2" +repage -colorspace Gray -threshold 50% -negate -format '%[fx:int(mean*w*h+0.5)]' info:
}

# Whether the client's window shows the stroke to its end.
shows_stroke() {
    local picture="$place/$1.png"
    screenshot "$1" "$picture"
    (($(ink_pixels "$picture" "$stroke_area") >= least_pixels)) \
        && (($(ink_pixels "$picture" "$stroke_end") >= least_end_pixels))
}

# draw_sun NAME: in the board's upper right corner, a ray at a time, at the speed of a hand.
draw_sun() {
    local ray drawn
    drawn=$(answers "$1" board.draw)
    for ((ray = 0; ray < 16; ++ray)); do
        tell "$1" "call board.draw $(awk -v angle="$((ray * 45 / 2))" 'BEGIN {
            turn = angle * 3.14159265 / 180; x = cos(turn) * 9 / 16; y = sin(turn)
            printf "[[{\"color\":\"orange\",\"width\":7,\"points\":[%.4f,%.4f,%.4f,%.4f]}]]",
                0.87 + 0.05 * x, 0.17 + 0.05 * y, 0.87 + 0.13 * x, 0.17 + 0.13 * y }')"
        sleep 0.07
    done
    wait_for 30 "$1" "answers to board.draw" has_answers "$1" board.draw $((drawn + 16))
    ! grep -s '"call":"board.draw","value":{"error"' "$place/$1.out" || die "the room did not take a stroke"
}
