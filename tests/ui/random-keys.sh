#!/bin/sh
# Tests random keys of a remote control on the run samples/typical. QUORVEL_RANDOM_KEYS is the number of
# keys (default 500). QUORVEL_RANDOM_SEED selects the sequence.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"

number=${QUORVEL_RANDOM_KEYS:-500}
seed=${QUORVEL_RANDOM_SEED:-1}

# Prints the keys, 50 on each line.
random_keys() {
    awk -v number="$number" -v seed="$seed" 'BEGIN {
        split("Down Down Down Up Up Left Right Right Return Return KP_Enter Escape XF86Back", keys)
        srand(seed)
        for (i = 1; i <= number; ++i)
            printf "%s%s", keys[1 + int(13 * rand())], i % 50 && i < number ? " " : "\n"
    }'
}

# Waits until the program has handled all keys. The window is minimised after the keys, so the pause
# follows all keys. The resume follows the work that the keys deferred.
await_keys() {
    window=$(xdotool getwindowfocus)
    log_mark
    xdotool windowminimize "$window"
    log_wait 's_Pause is called'
    xdotool windowactivate "$window"
    log_wait 's_Resume is called'
    expect "the window has the keyboard again" has_keyboard
}

press_all() {
    random_keys | while read -r keys; do
        # shellcheck disable=SC2086 # a list of words
        xdotool key --delay 5 $keys
    done
    await_keys
}

# Returns whether every popup is complete. The launch logs one more line, because it also clears the
# flag.
popups_are_complete() {
    has_lines "$((started + 1))" 'SetRunningFlag 0'
}

# Waits until every popup is complete. Confirms the last popup; the keys have confirmed all others.
confirm_last_popup() {
    started=$(count_lines 'SetRunningFlag 1')
    confirmed=$(count_lines 'OK button is pressed.')
    expect "$started popups are complete" popups_are_complete
    if [ "$confirmed" -lt "$started" ]; then
        expect_focus ok
        press Return
        log_wait 'OK button is pressed.'
        confirmed=$((confirmed + 1))
    fi
    [ "$confirmed" -eq "$started" ] || fail "$started popups started, $confirmed confirmed"
}

has_one_focus() {
    case $(focus_place) in
        row | panel | button) ;;
        *) return 1 ;;
    esac
}

# Checks that the program still reacts to keys: the focus moves into the list and to the first rows.
expect_reaction() {
    press Left Left
    expect_focus row
    press_to_the_top
    go_to_row Down 1
}

press_to_the_top() {
    xdotool key --delay 5 --repeat 25 Up
    await_keys
}

echo "$number keys, seed $seed"
open_run "$root/samples/typical"
press_all
confirm_last_popup
expect "exactly one widget has the focus" has_one_focus
expect_reaction
[ "$(count_lines 'an Item is pressed')" -gt 0 ] || fail "no key pressed an item"
close_by_request
expect_clean_log
