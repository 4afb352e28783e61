#!/bin/sh
# Tests a run with three failed items, from the launch to the shutdown.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"
# shellcheck source=tests/ui/cases.sh
. "$(dirname -- "$0")/cases.sh"

"$root/samples/make-large" "$work/run" --items 40 --failed 3 --seed 3
start "$work/run" row
walk
go_down 1 2
analyse
expect_result Up Down 1 2
analyse_again
minimise_and_restore
go_to_button
capture_fails
capture_succeeds
capture_is_disabled
close
