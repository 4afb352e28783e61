#!/bin/sh
# Tests starts of quorvel-view from a desktop. Without PATH, a folder chooser asks for a folder. A dialog
# shows errors.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"
# shellcheck source=tests/ui/view.sh
. "$(dirname -- "$0")/view.sh"

# The colour of the button in a message.
BUTTON='#606060'
portal=
bus=

stop_portal() {
    [ -z "$portal" ] || kill "$portal"
    [ -z "$portal" ] || wait "$portal" || true
    portal=
}

portal_is_ready() {
    grep -q ready "$work/portal.log"
}

# Starts file_chooser as the portal and stops the previous portal: CODE [URI]
start_portal() {
    stop_portal
    setpriv --pdeathsig TERM "$build/tests/ui/file_chooser" "$@" >"$work/portal.log" 2>&1 &
    portal=$!
    expect 'the portal is on the bus' portal_is_ready
}

start_bus() {
    setpriv --pdeathsig TERM dbus-daemon --session --nofork --print-address=3 \
        --address="unix:path=$work/run/session" 3>"$work/address" >"$work/bus.log" 2>&1 &
    bus=$!
    expect 'the bus starts' test -s "$work/address"
    DBUS_SESSION_BUS_ADDRESS=$(cat "$work/address")
    export DBUS_SESSION_BUS_ADDRESS
}

# Returns whether a message has the focus of both the display and the window manager.
message_has_keyboard() {
    [ "$(xdotool getwindowfocus getwindowname 2>/dev/null)" = Quorvel ] &&
        [ "$(xdotool getactivewindow getwindowname 2>/dev/null)" = Quorvel ]
}

# Returns whether the button of a message is drawn. The window is empty before the first frame.
message_shows_button() {
    shows "$BUTTON" "$SCREEN" 10000
}

# Waits for a message and closes it with a key.
close_message() {
    expect 'a message has the keyboard' message_has_keyboard
    expect 'the message shows a button' message_shows_button
    screen_wait
    xdotool key Return
}

# Closes a message and checks its text and the exit status of the program (default 1): TEXT [STATUS]
expect_message() {
    close_message
    grep -q -F -- "$1" "$desktop/log" || fail "wrong message, expected \"$1\": $(cat "$desktop/log")"
    expect_exit "${2:-1}"
}

expect_exit() {
    program_wait
    [ "$program_status" -eq "$1" ] || fail "status $program_status instead of $1: $(cat "$desktop/log")"
}

shows_message_without_chooser() {
    program_launch "$build/quorvel-view"
    expect_message 'no folder chooser'
}

shows_message_without_chooser_in_portal() {
    start_portal none
    program_launch "$build/quorvel-view"
    expect_message 'no folder chooser'
}

shows_message_when_portal_ends() {
    start_portal silent
    program_launch "$build/quorvel-view"
    expect 'the portal is asked for a folder' grep -q asked "$work/portal.log"
    stop_portal
    expect_message 'no folder chooser'
}

opens_chosen_folder() {
    cp -R "$root/samples/typical" "$work/100% new"
    start_portal 0 "file://$work/100%25%20new"
    program_start "$build/quorvel-view"
    grep -q asked "$work/portal.log" || fail "the portal is not asked for a folder"
    expect_focus row
    program_stop
}

shows_message_for_folder_without_run() {
    mkdir "$work/nothing"
    start_portal 0 "file://$work/nothing"
    program_launch "$build/quorvel-view"
    expect_message "$work/nothing: no qelXml.xml or qelRnscXml.xml found"
}

# The URI contains control characters in place of the digits of an encoded byte.
shows_message_for_malformed_uri() {
    start_portal 0 "$(printf 'file://%s/%%\027\023' "$work")"
    program_launch "$build/quorvel-view"
    expect_message 'no folder chooser'
}

exits_when_user_cancels() {
    start_portal 1
    program_launch "$build/quorvel-view"
    expect_exit 1
    [ ! -s "$desktop/log" ] || fail "a cancelled dialog is reported: $(cat "$desktop/log")"
}

shows_message_when_launcher_opens_folder() {
    program_launch env DESKTOP_STARTUP_ID=launcher "$build/quorvel-view" "$work/nothing"
    expect_message "$work/nothing: no qelXml.xml or qelRnscXml.xml found"
    program_launch "$build/quorvel-view" "$work/nothing"
    expect_exit 1
}

# A start from a desktop has no terminal that shows the reason.
shows_message_when_quorvel_fails() {
    make_stand_in 'exit 5'
    cp "$build/quorvel-dialog" "$work/bin"
    program_launch env DESKTOP_STARTUP_ID=launcher "$work/bin/quorvel-view" "$root/samples/typical"
    expect_message 'quorvel exited with status 5' 5
}

# The list would be empty, as for a run without failures.
shows_warning_before_run_without_items() {
    mkdir "$work/untested"
    echo '<r/>' >"$work/untested/qelXml.xml"
    program_launch env DESKTOP_STARTUP_ID=launcher "$build/quorvel-view" "$work/untested"
    expect 'a warning is shown' message_shows_button
    ! grep -q app_create "$desktop/log" || fail "the run is opened before the warning is read"
    close_message
    log_wait 'nothing was tested'
    log_wait 's_Control is called'
    program_stop
}

unset DBUS_SESSION_BUS_ADDRESS DESKTOP_STARTUP_ID XDG_ACTIVATION_TOKEN
shows_message_without_chooser
start_bus
shows_message_without_chooser
shows_message_without_chooser_in_portal
shows_message_when_portal_ends
opens_chosen_folder
shows_message_for_folder_without_run
shows_message_for_malformed_uri
exits_when_user_cancels
shows_message_when_launcher_opens_folder
shows_message_when_quorvel_fails
shows_warning_before_run_without_items
stop_portal
kill "$bus"
wait "$bus" || true
