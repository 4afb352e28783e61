#!/bin/sh
# A second launch, and each way to end the program.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"

open_small() {
    open_run "$root/samples/network-failure"
}

# The platform's order, once each.
expect_one_life() {
    program_wait || fail "$1: no end"
    [ "$program_status" -eq 0 ] || fail "$1: the program ended with $program_status"
    calls=$(sed -n 's/.*QELApp\.cpp: s_\([A-Z][a-z]*\)(.*/\1/p' "$desktop/log" | tr '\n' ' ')
    [ "$calls" = "$2" ] || fail "$1: not the calls of a life: $calls"
    expect_clean_log
}

# The running program serves the second request, and counts it like the first.
second_launch() {
    open_small
    log_mark
    "$build/quorvel" LINE=3 >"$work/request.log" 2>&1 || fail "the second launch does not end well"
    log_wait 's_Control is called'
    expect "the second launch is counted" counter_is 2
    "$build/quorvel" EXEPARAM=CLOSED >"$work/request.log" 2>&1 || fail "the close request fails"
    expect_one_life "second launch" "Create Control Control Control Terminate "
}

counter_is() {
    [ "$(cat "$work/data/num_of_launch")" = "$1" ]
}

ends_by_signal() {
    open_small
    kill -s "$1" "$program"
    expect_one_life "SIG$1" "Create Control Terminate "
}

# The window manager's key.
ends_by_closing() {
    open_small
    xdotool key alt+F4
    expect_one_life "closing the window" "Create Control Terminate "
}

second_launch
ends_by_signal TERM
ends_by_signal INT
ends_by_closing
