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

installed_view() {
    cmake --install "$build" --prefix "$work/installed" >"$work/install.log" 2>&1 ||
        fail "the installation: $(cat "$work/install.log")"
    program_start "$work/installed/bin/quorvel-view" "$folder"
    expect_focus row
    program_stop
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
    if QUORVEL_PATIENCE=3 "$root/script/lib/tour" "$build" "$root/samples/empty" \
        "$work/none" >"$work/printed" 2>"$work/complaint"; then
        fail "a tour without an item succeeds"
    fi
    [ ! -s "$work/printed" ] || fail "a tour without an item prints pictures"
}

folder=$work/results
cp -R "$root/samples/typical" "$folder"
chmod -R a-w "$folder"
before=$(prints "$folder")
export TMPDIR="$work/tmp"
mkdir "$TMPDIR"
installed_view
tour
tour_in_vain
no_copy_is_left || fail "a copy of the folder is left"
[ "$(prints "$folder")" = "$before" ] || fail "the folder was written to"
chmod -R u+w "$folder"
