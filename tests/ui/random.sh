#!/bin/sh
# Random keys of a remote control, on the typical run. QUORVEL_RANDOM_KEYS tells how many (500),
# QUORVEL_RANDOM_SEED which.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"

number=${QUORVEL_RANDOM_KEYS:-500}
seed=${QUORVEL_RANDOM_SEED:-1}

# The keys, 50 on a line.
random_keys() {
    awk -v number="$number" -v seed="$seed" 'BEGIN {
        split("Down Down Down Up Up Left Right Right Return Return KP_Enter Escape XF86Back", keys)
        srand(seed)
        for (i = 1; i <= number; ++i)
            printf "%s%s", keys[1 + int(13 * rand())], i % 50 && i < number ? " " : "\n"
    }'
}

# The window hears of this after the keys, so once it is paused they have all been handled, and once it
# is resumed so has what they had put off.
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

# Once more than started, since the flag is set for the first time at the start.
popups_have_ended() {
    has_lines "$((started + 1))" 'SetRunningFlag 0'
}

# Every popup that was started ends, and was confirmed but for the last one.
confirm_the_last() {
    started=$(count_lines 'SetRunningFlag 1')
    confirmed=$(count_lines 'OK button is pressed.')
    expect "the $started popups that were started have ended" popups_have_ended
    if [ "$confirmed" -lt "$started" ]; then
        expect_focus ok
        press Return
        log_wait 'OK button is pressed.'
        confirmed=$((confirmed + 1))
    fi
    [ "$confirmed" -eq "$started" ] || fail "$started popups were started, $confirmed confirmed"
}

has_one_focus() {
    case $(focus_place) in
        row | panel | button) ;;
        *) return 1 ;;
    esac
}

# It still answers: from wherever it is, into the list and to its first rows.
still_answers() {
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
confirm_the_last
expect "exactly one widget has the focus" has_one_focus
still_answers
[ "$(count_lines 'an Item is pressed')" -gt 0 ] || fail "the keys have pressed nothing"
end_by_request
expect_clean_log
