# shellcheck shell=sh disable=SC2154 # the variables of ui.sh
# To be sourced by the tests that drive a run of some size from its start to its end: one function
# for each thing that a user does.

# The panel of the text of an item, within its outline, and the colours there.
TEXT=1240x500+650+410
HINT='#CBCBCB'
RESULT='#E8EDF2'
DETAILED='#FF0000'
CONFLICTS='#FF8000'

# Opens a folder: FOLDER WIDGET, which has the focus then.
start() {
    open_run "$1"
    expect_focus "$2"
    [ "$(cat "$work/data/num_of_launch")" = 1 ] || fail "the launch is not counted"
    expect "the hint is shown" shows "$HINT" "$TEXT" 1000
    has_lines 0 's_Pause is called\|s_Resume is called' || fail "paused or resumed at the start"
}

# From the list to the panel, to the button and back.
walk() {
    press Right
    log_wait 'OnFocus : '
    expect_focus panel
    press Down
    log_wait 'OnUnfocus : '
    expect_focus button
    press Up
    log_wait 'OnFocus : '
    expect_focus panel
    press Left
    log_wait 'OnUnfocus : '
    expect_focus row
}

# Moves down to a row, from the one before FIRST: FIRST LAST.
go_down() {
    for row in $(seq "$1" "$2"); do
        go_to_row Down "$row"
    done
}

# The row in focus, which can be analysed.
analyse() {
    screen_wait
    ! shows "$DETAILED" "$TEXT" 1 || fail "red text before the analysis"
    press Return
    log_wait 'SetRunningFlag 0'
    expect_focus ok
    # Only OK ends the popup.
    press Escape Left Up Return
    log_wait 'OK button is pressed.'
    expect_focus row
    log_wait 'QELItemView.cpp: Update('
    for line in 'QELItemDetailView.cpp: UpdateText(.*index' 'QELItemView.cpp: Update(.*index'; do
        [ "$(log_new | grep -c "$line")" -eq 1 ] || fail "not shown once after the popup: $line"
    done
    shows_result
}

# The row shows the result again after a move to another row: KEY-AWAY KEY-BACK ROW-AWAY ROW.
result() {
    go_to_row "$1" "$3"
    go_to_row "$2" "$4"
    shows_result
}

shows_result() {
    expect "the result is shown in white" shows "$RESULT" "$TEXT" 200
    expect "the detailed text is shown in red" shows "$DETAILED" "$TEXT" 200
    expect "the conflicts are shown in orange" shows "$CONFLICTS" "$TEXT" 200
}

# An item is analysed once, and the next one is not by that.
analyse_again() {
    press Return
    log_wait 'm_IsExecutedByUser have true value'
    expect_focus row
}

# From a row, past a text of any length.
go_to_button() {
    press Right
    log_wait 'OnFocus : '
    for _ in $(seq 40); do
        press Down
        screen_wait
        ! focus_is button || return 0
    done
    fail "the button cannot be reached"
}

# With the focus on the button, and no place to copy to.
capture_fails() {
    press Return
    log_wait 'retAutoApi = -1'
    expect_focus ok
    press Return
    log_wait 'OK button is pressed.'
    expect_focus button
    [ ! -e "$work/data/num_of_log_capture" ] || fail "a failed capture is counted"
}

capture_succeeds() {
    mkdir "$QUORVEL_USB_DIR"
    press Return
    log_wait 'retAutoApi = 0'
    expect_focus ok
    press Return
    log_wait 'OK button is pressed.'
    expect_focus panel
    [ "$(cat "$work/data/num_of_log_capture")" = 1 ] || fail "the capture is not counted"
    cmp "$QUORVEL_USB_DIR"/*/qelXml.xml "$work/data/qelXml.xml" || fail "the result file is not copied"
}

# The button is spent: neither the keys towards it nor OK press it.
capture_is_spent() {
    press Down Return Left
    screen_wait
    has_lines 2 'Log Capture button is pressed.' || fail "a spent button can be pressed"
}

minimise_and_restore() {
    before=$(focus_place)
    window=$(xdotool getwindowfocus)
    log_mark
    xdotool windowminimize "$window"
    log_wait 's_Pause is called'
    log_mark
    xdotool windowactivate "$window"
    log_wait 's_Resume is called'
    expect "the window has the keyboard again" has_keyboard
    expect_focus "$before"
}

close() {
    end_by_request
    has_lines 1 's_Pause is called' || fail "paused more often than minimised"
    has_lines 1 's_Resume is called' || fail "resumed more often than restored"
    has_lines 1 's_Terminate is called' || fail "not terminated once"
    expect_clean_log
}
