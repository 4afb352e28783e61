#!/bin/sh
# Tests a second launch and every kind of shutdown.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"

open_small() {
    open_run "$root/samples/network-failure"
}

# Checks the exit status and the life-cycle calls in the log: CASE CALLS
expect_one_life() {
    program_wait || fail "$1: the program does not exit"
    [ "$program_status" -eq 0 ] || fail "$1: the program exited with status $program_status"
    calls=$(sed -n 's/.*QELApp\.cpp: s_\([A-Z][a-z]*\)(.*/\1/p' "$desktop/log" | tr '\n' ' ')
    [ "$calls" = "$2" ] || fail "$1: wrong life-cycle calls: $calls"
    expect_clean_log
}

# Checks that the running program handles and counts the launch request of a second program.
second_launch() {
    open_small
    log_mark
    "$build/quorvel" LINE=3 >"$work/request.log" 2>&1 || fail "second launch: failed: $(cat "$work/request.log")"
    log_wait 's_Control is called'
    expect "the second launch is counted" counter_is 2
    "$build/quorvel" EXEPARAM=CLOSED >"$work/request.log" 2>&1 || fail "close request: failed: $(cat "$work/request.log")"
    expect_one_life "second launch" "Create Control Control Control Terminate "
}

counter_is() {
    [ "$(cat "$work/data/num_of_launch")" = "$1" ]
}

exits_on_signal() {
    open_small
    kill -s "$1" "$program"
    expect_one_life "SIG$1" "Create Control Terminate "
}

# Alt+F4 is the window manager's key for closing a window.
exits_when_closed() {
    open_small
    xdotool key alt+F4
    expect_one_life "closing the window" "Create Control Terminate "
}

# The window and the popup are deleted together.
exits_while_popup_is_shown() {
    open_run "$root/samples/typical"
    press Down Down Down Down Down Down
    log_wait 'QELItemView.cpp: Update(.*index : 6, '
    press Return
    expect_focus ok
    kill "$program"
    expect_one_life "shutdown with a popup" "Create Control Terminate "
}

second_launch
exits_on_signal TERM
exits_on_signal INT
exits_when_closed
exits_while_popup_is_shown
