#!/bin/sh
# Tests a run with 500 failed items, from the launch to the shutdown.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"
# shellcheck source=tests/ui/cases.sh
. "$(dirname -- "$0")/cases.sh"

go_to_last_row() {
    log_mark
    xdotool key --delay 4 --repeat 499 Down
    log_wait 'QELItemView.cpp: Update(.*index : 499, resultSize : 500'
    expect_focus row
}

"$root/samples/make-large" "$work/run" --items 1500 --failed 500 --seed 1
start "$work/run" row
walk
go_to_last_row
analyse
expect_result Up Down 498 499
analyse_again
minimise_and_restore
go_to_button
capture_fails
capture_succeeds
capture_is_disabled
close
