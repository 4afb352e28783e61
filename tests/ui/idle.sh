#!/bin/sh
# Tests how often the program wakes up: after the start, after an analysis, and while the program is
# minimised. The program is minimised directly after the start of an analysis, and then restored.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"
# shellcheck source=tests/ui/cases.sh
. "$(dirname -- "$0")/cases.sh"

# Prints how often the threads of a program have waited since its start: PID
waits() {
    cat "/proc/$1"/task/*/status | awk '/^voluntary_ctxt_switches/ { sum += $2 } END { print sum }'
}

# Returns whether a program wakes up at most NUMBER times in two seconds: PID NUMBER
wakes_at_most() {
    before=$(waits "$1")
    sleep 2
    woken=$(($(waits "$1") - before))
    [ "$woken" -le "$2" ]
}

# Checks that the program becomes idle: WHEN. Blinking and sliding stop within five seconds.
expect_rest() {
    expect "the program is idle $1" wakes_at_most "$pid" 0
}

start "$root/samples/typical" row
pid=$(xdotool getwindowfocus getwindowpid)
expect_rest "after the start"
go_down 1 5
analyse
expect_rest "after an analysis"
go_down 6 6
press Return
window=$(xdotool getwindowfocus)
xdotool windowminimize "$window"
log_wait 's_Pause is called'
log_wait 'SetRunningFlag 0'
expect "the minimised program is idle" wakes_at_most "$pid" 0
log_mark
xdotool windowactivate "$window"
log_wait 's_Resume is called'
expect_focus ok
press Return
log_wait 'OK button is pressed.'
shows_result
close_by_request
expect_clean_log
