# shellcheck shell=sh disable=SC2154 # the variables of ui.sh
# Functions for the tests of a run from the launch to the shutdown. Each function performs a user action.

# The area of the detail panel inside its outline, and the colours of the detail text.
TEXT=1240x500+650+410
HINT='#CBCBCB'
RESULT=$(theme_colour COLOR_TEXT)
DETAILED='#FF0000'
CONFLICTS='#FF8000'

# Opens a folder and checks which widget has the focus: FOLDER WIDGET
start() {
    open_run "$1"
    expect_focus "$2"
    [ "$(cat "$work/data/num_of_launch")" = 1 ] || fail "the launch is not counted"
    expect "the hint is shown" shows "$HINT" "$TEXT" 1000
    has_lines 0 's_Pause is called\|s_Resume is called' || fail "the launch calls pause or resume"
}

# Moves from the list to the detail panel, to the button and back.
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

# Moves down to each row from FIRST to LAST: FIRST LAST
go_down() {
    for row in $(seq "$1" "$2"); do
        go_to_row Down "$row"
    done
}

# Analyses the focused row.
analyse() {
    screen_wait
    ! shows "$DETAILED" "$TEXT" 1 || fail "red text before the analysis"
    press Return
    log_wait 'SetRunningFlag 0'
    expect_focus ok
    # Only OK closes the popup.
    press Escape Left Up Return
    log_wait 'OK button is pressed.'
    expect_focus row
    log_wait 'QELItemView.cpp: Update('
    for line in 'QELItemDetailView.cpp: UpdateText(.*index' 'QELItemView.cpp: Update(.*index'; do
        [ "$(log_new | grep -c "$line")" -eq 1 ] || fail "not logged exactly once after the popup: $line"
    done
    shows_result
}

# Moves to another row and back. Checks that the result is shown again: KEY-AWAY KEY-BACK ROW-AWAY
# ROW
expect_result() {
    go_to_row "$1" "$3"
    go_to_row "$2" "$4"
    shows_result
}

shows_result() {
    expect "the result is shown in white" shows "$RESULT" "$TEXT" 200
    expect "the detailed text is shown in red" shows "$DETAILED" "$TEXT" 200
    expect "the conflicts are shown in orange" shows "$CONFLICTS" "$TEXT" 200
}

# Presses OK on an analysed item and checks that the application rejects the analysis.
analyse_again() {
    press Return
    log_wait 'm_IsExecutedByUser have true value'
    expect_focus row
}

# Moves from a row through the detail text to the button. The detail text can have any length.
go_to_button() {
    press Right
    log_wait 'OnFocus : '
    for _ in $(seq 40); do
        press Down
        screen_wait
        ! focus_is button || return 0
    done
    fail "the focus does not reach the button"
}

# Starts a capture without storage and checks that it fails. The button must have the focus.
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

# Checks that the button takes no focus and no OK after a capture.
capture_is_disabled() {
    press Down Return Left
    screen_wait
    has_lines 2 'Log Capture button is pressed.' || fail "a disabled button can be pressed"
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
    close_by_request
    has_lines 1 's_Pause is called' || fail "not paused exactly once"
    has_lines 1 's_Resume is called' || fail "not resumed exactly once"
    has_lines 1 's_Terminate is called' || fail "not terminated exactly once"
    expect_clean_log
}
