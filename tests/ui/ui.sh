# shellcheck shell=sh
# Functions for the tests of this folder. CTest passes the build folder to each test. The tests run Quorvel
# in a real window and send key events. All files of a test are in a private folder.

unset CDPATH
build=$1
root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
# shellcheck source=script/lib/desktop.sh
. "$root/script/lib/desktop.sh"

# The theme's colour for the outline of the focused widget.
FOCUS=$(theme_colour COLOR_FOCUS_LINE)
# Areas of the screen: the rows of the list, the detail panel, the row of the button and of the popup's OK
# button, and the whole screen.
LIST=640x945+0+135
PANEL=1282x543+638+403
BUTTONS=1280x135+640+945
SCREEN=1920x1080+0+0

# Saves the log and a picture of the screen after a failure.
keep() {
    kept=$build/ui-failures/$(basename -- "$0" .sh)
    mkdir -p "$kept"
    picture "$kept/screen.png" || true
    cp "$desktop/log" "$kept/" || true
    echo "the log and the screen are in $kept" >&2
}

finish() {
    ui_status=$?
    [ "$ui_status" -eq 0 ] || keep
    desktop_stop
    chmod -R u+rwX -- "$work"
    rm -rf -- "$work"
}

# Prints the reason of a failure and exits.
fail() {
    complain "$@" || true
    exit 1
}

# Waits until a command succeeds: DESCRIPTION COMMAND [ARG…]
expect() {
    expected=$1
    shift
    wait_until "$@" || fail "not true: $expected"
}

# Runs the program on a copy of a folder: FOLDER [KEY=VALUE…]
open_run() {
    rm -rf "$work/data"
    cp -R "$1" "$work/data"
    shift
    program_start "$build/mount-data" --private-tmp "$work/data" "$build/quorvel" "$@"
}

count_lines() {
    grep -c -- "$1" "$desktop/log" || true
}

has_lines() {
    [ "$(count_lines "$2")" -eq "$1" ]
}

# --- Focus ------------------------------------------------------------------------------------

near() {
    [ "$1" -ge "$(($2 - 12))" ] && [ "$1" -le "$(($2 + 12))" ]
}

# Prints the widget whose outline has the size of the box: PART BOX. Prints nothing if the part contains
# several outlines, because their common box has another size.
outlined() {
    outlined_width=${2%%x*}
    outlined_height=${2#*x}
    outlined_height=${outlined_height%%+*}
    for place in "row LIST 560 86" "panel PANEL 1228 540" "button BUTTONS 460 88" \
        "ok BUTTONS 600 88"; do
        # shellcheck disable=SC2086 # a list of words
        set -- "$1" $place
        if [ "$1" = "$3" ] && near "$outlined_width" "$4" && near "$outlined_height" "$5"; then
            echo "$2"
        fi
    done
}

# Prints the focused widget if the screen has exactly one outline. Otherwise prints the number of
# outline pixels in each part.
focus_place() {
    colours "$FOCUS" "$SCREEN" "$FOCUS" "$LIST" "$FOCUS" "$PANEL" "$FOCUS" "$BUTTONS" | {
        read -r all _
        for part in LIST PANEL BUTTONS; do
            read -r count box
            place=$(outlined "$part" "$box")
            if [ -n "$place" ] && [ "$count" -eq "$all" ]; then
                echo "$place"
                return
            fi
            others="${others:-} $count in $part: $box;"
        done
        echo "no widget; $all pixels:$others"
    }
}

focus_is() {
    focus_found=$(focus_place)
    [ "$focus_found" = "$1" ]
}

expect_focus() {
    wait_until focus_is "$1" || fail "the focus is not on the $1: $focus_found"
}

# --- The log ----------------------------------------------------------------------------------

# Prints the lines that a correct run does not write: all but information lines and expected lines.
unexpected_lines() {
    grep -v '^I/' "$desktop/log" |
        grep -v -E -f "$root/tests/ui/expected-lines" -e "${also_expected:-nothing else}" || true
}

expect_clean_log() {
    unexpected=$(unexpected_lines)
    [ -z "$unexpected" ] || fail "unexpected lines in the log:
$unexpected"
}

# --- Keys -------------------------------------------------------------------------------------

# Moves to a row: KEY INDEX
go_to_row() {
    press "$1"
    log_wait "QELItemView.cpp: Update(.*index : $2, "
}

# Checks that a key has no effect: KEY. The log must contain only the effect of the next key.
press_without_effect() {
    press "$1" Right
    log_wait 'OnFocus : '
    [ "$(log_new | grep -c 'QELItem\|QELPopup\|QELButton\|QELApp')" -eq 1 ] ||
        fail "the key $1 has an effect: $(log_new)"
    press Left
    log_wait 'OnUnfocus : '
}

close_by_request() {
    "$build/quorvel" EXEPARAM=CLOSE >"$work/request.log" 2>&1 ||
        fail "close request: $(cat "$work/request.log")"
    program_wait
    [ "$program_status" -eq 0 ] || fail "the program exited with status $program_status"
}

work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-ui.XXXXXX")
trap finish EXIT
trap 'exit 1' HUP INT TERM
unset QUORVEL_THEME
desktop_start "$work"
# This folder replaces the USB storage. The storage is missing until a test creates the folder.
export QUORVEL_USB_DIR="$work/usb"
