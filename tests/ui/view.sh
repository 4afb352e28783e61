# shellcheck shell=sh disable=SC2154 # the variables of ui.sh
# Functions for the tests of quorvel-view.

DATA=/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data

# Creates $folder, which is a read-only run, and a folder for temporary files.
prepare_run() {
    folder=$work/results
    cp -R "$root/samples/typical" "$folder"
    chmod -R a-w "$folder"
    before=$(checksums "$folder")
    export TMPDIR="$work/tmp"
    mkdir "$TMPDIR"
}

expect_nothing_left() {
    has_no_copy || fail "a copy of the folder remains"
    [ "$(checksums "$folder")" = "$before" ] || fail "$folder: changed"
    chmod -R u+w "$folder"
}

# Prints a checksum of each file of a folder.
checksums() {
    find "$1" -type f -exec cksum {} + | sort
}

has_no_copy() {
    ! ls -d "$TMPDIR"/quorvel-data.* 2>/dev/null
}

# Creates a stand-in for quorvel next to quorvel-view. The stand-in runs the shell commands:
# COMMANDS
make_stand_in() {
    mkdir -p "$work/bin"
    cp "$build/quorvel-view" "$build/mount-data" "$work/bin"
    printf '#!/bin/sh\ncd %s\n%s\n' "$DATA" "$1" >"$work/bin/quorvel"
    chmod 755 "$work/bin/quorvel"
}

# Runs quorvel-view with the stand-in and checks the exit status: STATUS ARG… Writes the output to
# $work/out and $work/err.
expect_status() {
    expected_status=$1
    shift
    status=0
    "$work/bin/quorvel-view" "$@" >"$work/out" 2>"$work/err" || status=$?
    [ "$status" -eq "$expected_status" ] ||
        fail "quorvel-view $*: status $status instead of $expected_status: $(cat "$work/err")"
}

expect_error() {
    grep -q -F -- "$1" "$work/err" || fail "no message \"$1\" in: $(cat "$work/err")"
}

expect_output() {
    [ "$(cat "$work/out")" = "$1" ] || fail "wrong output, expected \"$1\": $(cat "$work/out")"
}

# Writes a result file with one passed item: FOLDER START-TIME
write_run() {
    mkdir -p "$1"
    printf '<r><Information><sn>SN of %s</sn></Information><Summary><starttime>%s</starttime></Summary>
<FAnetTest><test><name>a</name><result>pass</result></test></FAnetTest></r>' \
        "$(basename "$1")" "$2" >"$1/qelXml.xml"
}
