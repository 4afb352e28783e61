# shellcheck shell=sh
# To be sourced by the tests of this folder, which ctest calls with the build folder: the program in
# a real window, driven with real keys. Everything a test touches lies in a folder of its own.

unset CDPATH
build=$1
root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
# shellcheck source=script/lib/desktop.sh
. "$root/script/lib/desktop.sh"

# The outline around what has the focus, in the theme.
FOCUS='#7AC1FF'
# Parts of the screen: the rows of the list, the text panel, the row of the button. The popup's OK
# lies lower than the list's last row but one and reaches into the row of the button.
LIST=640x945+0+135
PANEL=1282x543+638+403
BUTTONS=1280x135+640+945
SCREEN=1920x1080+0+0

# Keeps what a failed test leaves, for whoever looks for the reason.
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

# Says what went wrong and ends the test.
fail() {
    complain "$@" || true
    exit 1
}

# Waits until "$@" is true; $1 tells what that means.
expect() {
    expected=$1
    shift
    wait_until "$@" || fail "not so: $expected"
}

# The program on a copy of a folder; more arguments go to the program.
open_run() {
    rm -rf "$work/data"
    cp -R "$1" "$work/data"
    shift
    program_start "$build/lay-data" --private-tmp "$work/data" "$build/quorvel" "$@"
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

# What has an outline of that size: PART BOX. Two of them, or none, make another rectangle.
outlined() {
    outlined_width=${2%%x*}
    outlined_height=${2#*x}
    outlined_height=${outlined_height%%+*}
    for place in "row LIST 600 90" "panel PANEL 1282 543" "button BUTTONS 456 88" \
        "ok BUTTONS 596 88"; do
        # shellcheck disable=SC2086 # its words
        set -- "$1" $place
        if [ "$1" = "$3" ] && near "$outlined_width" "$4" && near "$outlined_height" "$5"; then
            echo "$2"
        fi
    done
}

# The one widget in focus, with nothing else of its colour on the screen; or what there is.
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
        echo "none of $all:$others"
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

# Error lines that are none of a correct run, of the application and of the toolkit.
unexpected_lines() {
    grep -E '^(E/|ERR|CRI|WRN)|[Ss]anitizer|terminate called' "$desktop/log" |
        grep -v -E -f "$root/tests/ui/expected-lines" -e "${also_expected:-nothing else}" || true
}

expect_clean_log() {
    unexpected=$(unexpected_lines)
    [ -z "$unexpected" ] || fail "unexpected lines in the log:
$unexpected"
}

# --- Keys -------------------------------------------------------------------------------------

# Moves to another row: KEY INDEX.
go_to_row() {
    press "$1"
    log_wait "QELItemView.cpp: Update(.*index : $2, "
}

# A key that does nothing: nothing of it is in the log before the answer to a key that does.
press_in_vain() {
    press "$1" Right
    log_wait 'OnFocus : '
    [ "$(log_new | grep -c 'QELItem\|QELPopup\|QELButton\|QELApp')" -eq 1 ] ||
        fail "$1 does something: $(log_new)"
    press Left
    log_wait 'OnUnfocus : '
}

end_by_request() {
    "$build/quorvel" EXEPARAM=CLOSE >"$work/request.log" 2>&1 ||
        fail "the close request: $(cat "$work/request.log")"
    program_wait
    [ "$program_status" -eq 0 ] || fail "the program ended with $program_status"
}

work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-ui.XXXXXX")
trap finish EXIT
trap 'exit 1' HUP INT TERM
desktop_start "$work"
# Where the log goes in place of a USB stick; none until it exists.
export QUORVEL_USB_DIR="$work/usb"
