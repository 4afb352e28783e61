#!/bin/sh
# Tests that a capture is complete. quorvel-view must show the same screens for the run, the captured
# folder, the root of the storage and an archive.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"
# shellcheck source=tests/ui/view.sh
. "$(dirname -- "$0")/view.sh"

# Prints an "image" item: PHOTO
image_item() {
    printf '<test><type>image</type><name>%s</name><result>fail</result><detailed>%s</detailed></test>' \
        "$1" "$1"
}

# Creates the run. The photos of the first two items have equal base names. The third item has no
# photo.
make_run() {
    mkdir -p "$run/nowhere/a" "$run/b"
    convert -size 640x360 gradient:red-yellow "png:$run/nowhere/a/1.png"
    convert -size 640x360 gradient:blue-green "png:$run/b/1.png"
    printf '<r><Information><sn> SN/17 </sn></Information><RNSCImage>%s%s%s</RNSCImage></r>' \
        "$(image_item /nowhere/a/1.png)" "$(image_item /nowhere/b/1.png)" \
        "$(image_item /nowhere/c/1.png)" >"$run/qelRnscXml.xml"
    cp "$root/samples/typical/qelXml.xml" "$run"
    sed -i '/<sn>/d' "$run/qelXml.xml"
}

# Opens a path and prints a checksum of the screen for each of the first four rows: PATH
pictures_of() {
    program_start "$build/quorvel-view" "$1" >&2
    expect_focus row
    for _ in 1 2 3; do
        press Down
        screen_wait_change
        screen_sum
    done
    # The test waits after each key, because the screen can also stop changing between two keys.
    for _ in 1 2 3; do
        press Up
        screen_wait_change
    done
    screen_sum
}

capture() {
    press Right
    expect_focus button
    press Return
    log_wait 'retAutoApi = 0'
    # At a shutdown, the timer of a running popup would call the toolkit with deleted widgets.
    expect_focus ok
}

expect_captured() {
    captured=$(echo "$QUORVEL_USB_DIR"/quorvel-*-SN_17-*)
    [ -d "$captured" ] || fail "no folder with the serial number: $(ls "$QUORVEL_USB_DIR")"
    cmp "$captured/a+1.png" "$run/nowhere/a/1.png" || fail "the first photo is not captured"
    cmp "$captured/b+1.png" "$run/b/1.png" || fail "the second photo is not captured"
    [ "$(find "$captured" -name '*.png' | wc -l)" -eq 2 ] || fail "wrong photos: $(ls "$captured")"
}

# Checks that quorvel-view shows the same screens for a path as for the run: PATH
expect_pictures() {
    pictures_of "$1" >"$work/pictures"
    cmp "$work/expected" "$work/pictures" || fail "$1: the screens differ from the screens of the run"
    program_stop
}

run=$work/original
make_run
mkdir "$QUORVEL_USB_DIR"
pictures_of "$run" >"$work/expected"
[ "$(sort -u "$work/expected" | wc -l)" -eq 4 ] || fail "two rows have the same screen"
capture
program_stop
expect_captured
expect_pictures "$captured"
expect_pictures "$QUORVEL_USB_DIR"
tar -czf "$work/storage.tar.gz" -C "$QUORVEL_USB_DIR" .
rm -r "$captured"
expect_pictures "$work/storage.tar.gz"
