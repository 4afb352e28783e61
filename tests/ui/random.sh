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

# The log has not grown for as long as a busy program is quiet at most.
log_rests() {
    log_mark
    sleep 0.3
    [ -z "$(log_new)" ]
}

press_all() {
    random_keys | while read -r keys; do
        # shellcheck disable=SC2086 # a list of words
        xdotool key --delay 5 $keys
    done
    expect "the program comes to rest" log_rests
    screen_wait
}

# Every popup that was started has ended, and was confirmed but for the last one.
confirm_the_last() {
    started=$(count_lines 'SetRunningFlag 1')
    ended=$(count_lines 'SetRunningFlag 0')
    confirmed=$(count_lines 'OK button is pressed.')
    # Once more at the start, where the flag is set for the first time.
    [ "$ended" -eq "$((started + 1))" ] || fail "$started popups were started, $ended ended"
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
    log_mark
    xdotool key --delay 5 --repeat 25 Up
    expect "the program comes to rest" log_rests
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
