#!/bin/sh
# The typical run, from its start to its end.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"
# shellcheck source=tests/ui/cases.sh
. "$(dirname -- "$0")/cases.sh"

# The third row is a camera test; the sixth is the first one that can be analysed.
refused_item() {
    go_down 1 2
    press Return
    log_wait 'this Item is invalid'
    has_lines 0 'SetRunningFlag 1' || fail "a refused item starts an analysis"
    expect_focus row
}

start "$root/samples/typical" row
walk
press_in_vain Escape
press_in_vain XF86Back
refused_item
go_down 3 5
analyse
result Up Down 4 5
analyse_again
minimise_and_restore
go_to_button
capture_fails
capture_succeeds
capture_is_spent
close
