#!/bin/sh
# Tests a run without failed items, from the launch to the shutdown.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"
# shellcheck source=tests/ui/cases.sh
. "$(dirname -- "$0")/cases.sh"

# Checks that the disabled list takes no focus.
walk_without_rows() {
    press Left
    screen_wait
    expect_focus button
    press Up
    log_wait 'OnFocus : '
    expect_focus panel
    press Left Down
    log_wait 'OnUnfocus : '
    expect_focus button
    has_lines 0 'QELItemView.cpp: Update' || fail "a row gets the focus"
}

start "$root/samples/no-failures" button
walk_without_rows
minimise_and_restore
capture_fails
capture_succeeds
capture_is_disabled
close
