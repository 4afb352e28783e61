#!/bin/sh
# Tests quorvel-view in a real window: the installed program, the tour that script/run makes without a
# display, and a second program.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"
# shellcheck source=tests/ui/view.sh
. "$(dirname -- "$0")/view.sh"

# Permits an error line about the flag file. quorvel-view uses the real /tmp, where the file can
# belong to another user.
expect_foreign_flag() {
    if [ -e /tmp/qel_first_execute ] && [ ! -O /tmp/qel_first_execute ]; then
        also_expected='failed to create flag file'
    fi
}

installed_view() {
    cmake --install "$build" --prefix "$work/installed" >"$work/install.log" 2>&1 ||
        fail "installation: $(cat "$work/install.log")"
    program_start "$work/installed/bin/quorvel-view" "$folder"
    expect_focus row
    program_stop
    expect_foreign_flag
    expect_clean_log
}

tour() {
    "$root/script/lib/tour" "$build" "$folder" "$work/pictures" >"$work/printed"
    [ "$(tail -n 1 "$work/printed")" = "$work/pictures/analysed.png" ] ||
        fail "the last printed path is not the picture of the analysed item"
    while read -r file; do
        identify "$file" | grep -q ' PNG 1920x1080 ' || fail "$file: not a picture of the screen"
    done <"$work/printed"
    [ "$(wc -l <"$work/printed")" -eq 3 ] || fail "the tour does not print three paths"
}

# Checks that the tour prints only the picture of the start if no item can be analysed: FOLDER
# [OPTION]
tour_without_analysis() {
    "$root/script/lib/tour" "$build" "$1" "$work/pictures" ${2:+"$2"} \
        >"$work/printed" 2>"$work/error" ||
        fail "$1: the tour fails: $(cat "$work/error")"
    [ "$(cat "$work/printed")" = "$work/pictures/start.png" ] ||
        fail "$1: wrong pictures: $(cat "$work/printed")"
    grep -q 'no item can be analysed' "$work/error" || fail "$1: no reason is printed"
}

# The focus moves from the only row to the detail panel and back.
tour_with_one_item() {
    "$root/samples/make-large" "$work/one" --items 1 --failed 1 --seed 1
    "$root/script/lib/tour" "$build" "$work/one" "$work/pictures" >"$work/printed"
    [ "$(tail -n 1 "$work/printed")" = "$work/pictures/analysed.png" ] ||
        fail "the only item is not analysed"
}

# The white photo covers most of the screen. The item names a path that does not exist.
shows_photo_by_base_name() {
    mkdir -p "$work/captured/capture"
    convert -size 1280x720 xc:white "png:$work/captured/capture/1.png"
    item='<test><type>image</type><name>HDMI</name><result>fail</result>
<detailed>/nowhere/run/1.png</detailed></test>'
    printf '<r><RNSCImage>%s%s</RNSCImage></r>' "$item" "$item" >"$work/captured/qelRnscXml.xml"
    program_start "$build/quorvel-view" "$work/captured"
    press Down
    wait_until shows '#FFFFFF' "$SCREEN" 100000 || fail "the photo is not shown"
    program_stop
}

# Two items have a malformed code. The test presses OK on the second item. The log level hides the lines
# before the exception.
names_pressed_item() {
    mkdir "$work/two"
    item='<test><type>app</type><result>fail</result><opcode>10</opcode>'
    printf '<r><FAnetTest>%s<name>%s</name><msgcode>%s</msgcode></test>%s<name>%s</name>
<msgcode>%s</msgcode></test></FAnetTest></r>' "$item" Audio xyz "$item" Video '?' \
        >"$work/two/qelXml.xml"
    QUORVEL_LOG_LEVEL=off program_launch "$build/quorvel-view" "$work/two"
    expect "the window is visible" shows_title
    expect "the window has the keyboard" has_keyboard
    expect_focus row
    press Down
    screen_wait_change
    press Return
    program_wait
    [ "$program_status" -eq 134 ] || fail "malformed code: status $program_status"
    grep -q -F 'OK ended quorvel on item 2 (Video): msgcode "?" is not a hexadecimal number' \
        "$desktop/log" || fail "the item is not named: $(tail -n 5 "$desktop/log")"
    ! grep -q 'on item 1' "$desktop/log" || fail "another item is named"
}

reports_missing_result_files() {
    mkdir "$work/no-files"
    program_start "$build/mount-data" --private-tmp "$work/no-files" "$build/quorvel"
    has_lines 1 "$DATA: no qelXml.xml or qelRnscXml.xml found" || fail "the missing files are not logged"
    close_by_request
}

second_view() {
    program_start "$build/quorvel-view" "$folder"
    make_stand_in 'echo opened'
    log_mark
    xdotool windowminimize "$(xdotool getwindowfocus)"
    log_wait 's_Pause is called'
    log_mark
    expect_status 0 "$folder"
    expect_output ''
    log_wait 's_Control is called'
    expect "the window is in front again" has_keyboard
    log_wait 's_Resume is called'
    write_run "$work/other" '2024-11-18 09:40:42'
    expect_status 3 "$work/other"
    expect_error "shows $folder; close it or add --replace"
    expect_status 0 --replace "$work/other"
    expect_output opened
    program_wait
    [ "$program_status" -eq 0 ] || fail "the replaced program exited with status $program_status"
}

# Restarts the window manager with keys that change the size of the window.
start_manager_with_keys() {
    cat >"$work/manager.xml" <<'END'
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <keyboard>
    <keybind key="F11"><action name="ToggleFullscreen"/></keybind>
    <keybind key="F5">
      <action name="MoveResizeTo"><width>960</width><height>540</height></action>
    </keybind>
  </keyboard>
</openbox_config>
END
    kill "$manager_pid"
    wait "$manager_pid" || true
    xprop -root -remove _NET_SUPPORTING_WM_CHECK
    setpriv --pdeathsig TERM openbox --sm-disable --config-file "$work/manager.xml" \
        >"$desktop/manager.log" 2>&1 &
    manager_pid=$!
    expect "the window manager starts" is_managed
}

# Returns whether the screen has one outline of half the size of a row.
shows_small_row() {
    small_box=$(colours "$FOCUS" "$SCREEN")
    small_box=${small_box#* }
    small_size=${small_box%%+*}
    near "${small_size%x*}" 280 && near "${small_size#*x}" 43
}

# Checks that a window of a quarter of the screen shows the whole content at half the size. The row keeps
# the focus, and the application does not update the row again.
scales_with_window() {
    start_manager_with_keys
    program_start "$build/quorvel-view" "$root/samples/typical"
    go_to_row Down 1
    log_mark
    press F11 F5
    expect "the outline of the row has half the size" shows_small_row
    expect "the title is in the middle of the window" shows '#CBCBCB' 400x90+280+0 500
    ! log_has 'QELItemView.cpp: Update(' || fail "the application updates the row again: $(log_new)"
    press F11
    expect_focus row
    go_to_row Down 2
    program_stop
    expect_foreign_flag
    expect_clean_log
}

prepare_run
installed_view
tour
tour_without_analysis "$root/samples/no-failures"
tour_without_analysis "$root/samples/damaged" --force
tour_with_one_item
shows_photo_by_base_name
names_pressed_item
reports_missing_result_files
second_view
scales_with_window
expect_nothing_left
