#!/bin/sh
# Tests the run samples/typical, from the launch to the shutdown.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"
# shellcheck source=tests/ui/cases.sh
. "$(dirname -- "$0")/cases.sh"

# The third row is an item of the camera. The sixth row is the first row that can be analysed.
press_camera_item() {
    go_down 1 2
    press Return
    log_wait 'this Item is invalid'
    has_lines 0 'SetRunningFlag 1' || fail "an item of the camera starts an analysis"
    expect_focus row
}

start "$root/samples/typical" row
walk
press_without_effect Escape
press_without_effect XF86Back
press_camera_item
go_down 3 5
analyse
expect_result Up Down 4 5
analyse_again
minimise_and_restore
go_to_button
capture_fails
capture_succeeds
capture_is_disabled
close
