#!/bin/sh
# Any folder is shown without being written to: by the program as it is installed, and by the tour
# that script/run makes without a display.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"

prints() {
    find "$1" -type f -exec cksum {} + | sort
}

no_copy_is_left() {
    ! ls -d "$TMPDIR"/quorvel-data.* 2>/dev/null
}

# The view has the real /tmp, where the flag file may be that of somebody else.
expect_flag_of_others() {
    if [ -e /tmp/qel_first_execute ] && [ ! -O /tmp/qel_first_execute ]; then
        also_expected='failed to create flag file'
    fi
}

installed_view() {
    cmake --install "$build" --prefix "$work/installed" >"$work/install.log" 2>&1 ||
        fail "the installation: $(cat "$work/install.log")"
    program_start "$work/installed/bin/quorvel-view" "$folder"
    expect_focus row
    program_stop
    expect_flag_of_others
    expect_clean_log
}

tour() {
    "$root/script/lib/tour" "$build" "$folder" "$work/pictures" >"$work/printed"
    [ "$(tail -n 1 "$work/printed")" = "$work/pictures/analysed.png" ] ||
        fail "the picture of the analysed item is not the last one printed"
    while read -r file; do
        identify "$file" | grep -q ' PNG 1920x1080 ' || fail "no picture: $file"
    done <"$work/printed"
    [ "$(wc -l <"$work/printed")" -eq 3 ] || fail "not three pictures"
}

# There is nothing to analyse there, so the tour must not claim that it has shown it.
tour_in_vain() {
    "$root/script/lib/tour" "$build" "$1" "$work/pictures" >"$work/printed" 2>"$work/complaint" ||
        fail "the tour of $1: $(cat "$work/complaint")"
    [ "$(cat "$work/printed")" = "$work/pictures/start.png" ] ||
        fail "not the picture of the start alone: $(cat "$work/printed")"
    grep -q 'no item that can be analysed' "$work/complaint" || fail "nothing is said of $1"
}

# The only row loses its focus to the button and gets it back.
tour_of_one() {
    "$root/samples/make-large" "$work/one" --items 1 --failed 1 --seed 1
    "$root/script/lib/tour" "$build" "$work/one" "$work/pictures" >"$work/printed"
    [ "$(tail -n 1 "$work/printed")" = "$work/pictures/analysed.png" ] ||
        fail "the only item is not analysed"
}

# One program runs for each user, and that one has its files. Without namespaces it has the fixed path
# as well.
second_view() {
    program_start "$build/quorvel-view" "$folder"
    if LAY_DATA_WAIT=1 "$build/quorvel-view" "$root/samples/empty" >"$work/second" 2>&1; then
        fail "a second view seems to show its files"
    fi
    grep -q 'shows other result files; close it first\|another run keeps' "$work/second" ||
        fail "$(cat "$work/second")"
    "$build/quorvel" EXEPARAM=CLOSE >"$work/second" 2>&1 ||
        fail "the view cannot be closed: $(cat "$work/second")"
    program_wait
}

folder=$work/results
cp -R "$root/samples/typical" "$folder"
chmod -R a-w "$folder"
before=$(prints "$folder")
export TMPDIR="$work/tmp"
mkdir "$TMPDIR"
installed_view
tour
tour_in_vain "$root/samples/empty"
tour_in_vain "$root/samples/damaged"
tour_of_one
second_view
no_copy_is_left || fail "a copy of the folder is left"
[ "$(prints "$folder")" = "$before" ] || fail "the folder was written to"
chmod -R u+w "$folder"
