#!/bin/sh
# Tests the messages and exit statuses of quorvel-view and quorvel without a window. A stand-in replaces
# quorvel.
set -eu
# shellcheck source=tests/ui/ui.sh
. "$(dirname -- "$0")/ui.sh"
# shellcheck source=tests/ui/view.sh
. "$(dirname -- "$0")/view.sh"

# Checks that the error output is only this line: LINE
expect_only_error() {
    [ "$(cat "$work/err")" = "$1" ] || fail "wrong error output, expected \"$1\": $(cat "$work/err")"
}

rejects_unusable_paths() {
    make_stand_in 'echo opened'
    mkdir "$work/nothing"
    expect_status 1 "$work/nothing"
    expect_error "quorvel-view: $work/nothing: no qelXml.xml or qelRnscXml.xml found"
    expect_status 1 "$work/missing"
    expect_error "quorvel-view: $work/missing: No such file or directory"
    expect_status 1 "$root/README.md"
    expect_error "not a folder, a result file or an archive"
    expect_output ''
}

rejects_wrong_arguments() {
    for argument in --unknown -x; do
        expect_status 2 "$argument"
        expect_error "Try 'quorvel-view --help'."
        [ "$(wc -l <"$work/err")" -eq 2 ] || fail "$argument: $(cat "$work/err")"
    done
    (unset DISPLAY && expect_status 2)
    expect_error 'missing argument'
    expect_status 2 "$folder" value
    expect_error 'value: not of the form KEY=VALUE'
    control=$(printf '\033[31m')
    for argument in "-$control" "--$control"; do
        expect_status 2 "$argument"
        expect_error "quorvel-view: ${argument%"$control"}?[31m: unknown option"
    done
    expect_status 2 "$folder" "$control"
    expect_error 'quorvel-view: ?[31m: not of the form KEY=VALUE'
}

prints_help_and_version() {
    expect_status 0 --help
    grep -q -- '--latest' "$work/out" || fail "--help: $(cat "$work/out")"
    expect_only_error ''
    expect_status 0 --version
    grep -q '^quorvel-view [0-9.]*$' "$work/out" || fail "--version: $(cat "$work/out")"
    expect_only_error ''
}

# Runs quorvel with a new home folder and without a display. Checks the status, and that no log is
# written: STATUS ARG…
expect_quorvel_status() {
    expected_status=$1
    shift
    status=0
    env -u DISPLAY HOME="$work/home-without-log" "$build/quorvel" "$@" >"$work/out" 2>"$work/err" ||
        status=$?
    [ "$status" -eq "$expected_status" ] ||
        fail "quorvel $*: status $status instead of $expected_status: $(cat "$work/err")"
    [ ! -e "$work/home-without-log" ] || fail "quorvel $*: writes a log"
}

quorvel_has_options() {
    expect_quorvel_status 0 --version
    expect_only_error ''
    [ "$(cat "$work/out")" = "quorvel $("$build/quorvel-view" --version | sed 's/.* //')" ] ||
        fail "quorvel --version: $(cat "$work/out")"
    expect_quorvel_status 0 --help
    expect_only_error ''
    grep -q 'EXEPARAM=CLOSE' "$work/out" || fail "quorvel --help: $(cat "$work/out")"
    for argument in --unknown -x EXEPARAM '=value'; do
        expect_quorvel_status 2 A=B "$argument"
        expect_error "Try 'quorvel --help'."
        [ "$(wc -l <"$work/err")" -eq 2 ] || fail "quorvel $argument: $(cat "$work/err")"
        expect_output ''
    done
}

reports_full_output() {
    for name in quorvel quorvel-view; do
        for option in --help --version; do
            status=0
            "$build/$name" "$option" >/dev/full 2>"$work/err" || status=$?
            [ "$status" -eq 2 ] || fail "$name $option: status $status"
            expect_only_error "$name: standard output: No space left on device"
        done
    done
}

# Prints the long options in a manual page.
options_of_page() {
    sed -n 's/^\.It.* Fl -\([a-z-]*\).*/--\1/p' "$1" | sort
}

# Prints the long options in the help of a program, without --usage, which the parser adds.
options_of_help() {
    "$1" --help | sed -n 's/^ .* \(--[a-z-]*\).*/\1/p' | grep -v -x -e --usage | sort
}

documents_options() {
    for program_file in quorvel quorvel-view tools/report/quorvel-report; do
        name=$(basename "$program_file")
        options_of_help "$build/$program_file" >"$work/options"
        options_of_page "$root/docs/$name.1" | diff "$work/options" - >"$work/difference" ||
            fail "$name: help and manual page have different options: $(cat "$work/difference")"
    done
}

lists_several_runs() {
    make_stand_in 'grep -o "SN of [a-z]*" qelXml.xml'
    write_run "$work/several/old" '2024-11-18 09:40:42'
    write_run "$work/several/new" '2024-11-18 09:40:43'
    expect_status 2 "$work/several"
    [ "$(sed 1d "$work/err")" = "SN of new  2024-11-18 09:40:43  $work/several/new
SN of old  2024-11-18 09:40:42  $work/several/old" ] || fail "wrong list: $(cat "$work/err")"
    expect_output ''
    expect_status 0 --latest "$work/several"
    expect_output 'SN of new'
    expect_status 0 "$work/several/old/qelXml.xml"
    expect_output 'SN of old'
    (cd "$work/several" && tar -czf "$work/several.tgz" new old)
    expect_status 2 "$work/several.tgz"
    expect_error "$work/several.tgz/new"
    expect_error "$work/several.tgz/old"
    for name in old new; do
        for path in "$name" "$name/qelXml.xml"; do
            expect_status 0 "$work/several.tgz/$path"
            expect_output "SN of $name"
        done
    done
    expect_status 0 --latest "$work/several.tgz"
    expect_output 'SN of new'
    expect_status 1 "$work/several.tgz/other"
    expect_error "$work/several.tgz/other: no qelXml.xml or qelRnscXml.xml found"
}

# A serial number may have any length and any bytes.
shortens_long_values() {
    for name in one two; do
        mkdir -p "$work/long/$name"
        printf '<r><Information><sn>%s&#10;</sn></Information></r>' "$(seq 5000 | tr '\n' x)" \
            >"$work/long/$name/qelXml.xml"
    done
    expect_status 2 "$work/long"
    [ "$(wc -l <"$work/err")" -eq 3 ] || fail "not one line for each run"
    [ "$(wc -c <"$work/err")" -lt 1000 ] || fail "a long value is not shortened"
}

opens_damaged_files_only_with_force() {
    make_stand_in 'ls'
    expect_status 1 "$root/samples/damaged"
    expect_error "$root/samples/damaged/qelXml.xml:193: "
    expect_output ''
    expect_status 0 --force "$root/samples/damaged"
    expect_error "$root/samples/damaged/qelXml.xml:193: "
    expect_output 'qelRnscXml.xml
qelXml.xml'
    mkdir "$work/blank"
    : >"$work/blank/qelXml.xml"
    printf '<a>\n<b></a>' >"$work/blank/qelRnscXml.xml"
    expect_status 1 "$work/blank"
    expect_error "$work/blank/qelXml.xml: is empty"
    expect_error "$work/blank/qelRnscXml.xml:2: "
    expect_output ''
    expect_status 0 --force "$work/blank"
    expect_error 'no item can be read'
}

# After a full disk, the lock file is empty. The owner can show any run, also the same run.
reports_owner_without_entry() {
    make_stand_in 'echo opened'
    mkdir -p "$work/session/quorvel"
    chmod 700 "$work/session" "$work/session/quorvel"
    status=0
    XDG_RUNTIME_DIR="$work/session" flock "$work/session/quorvel/lock" \
        "$work/bin/quorvel-view" "$folder" >"$work/out" 2>"$work/err" || status=$?
    [ "$status" -eq 3 ] || fail "owner without entry: status $status: $(cat "$work/err")"
    expect_only_error 'quorvel-view: the running quorvel shows unknown result files; close it or add --replace'
    expect_output ''
}

# Runs quorvel-view as a user who is not root; see expect_status for the arguments.
expect_status_of_user() {
    if [ "$(id -u)" -eq 0 ]; then
        chmod 711 "$work"
        printf '#!/bin/sh\nexec setpriv --reuid 65534 --regid 65534 --clear-groups %s "$@"\n' \
            "$build/quorvel-view" >"$work/bin/quorvel-view"
    fi
    expect_status "$@"
    cp "$build/quorvel-view" "$work/bin/quorvel-view"
}

# The result files are a file without read permission, a link and a FIFO.
opens_no_unreadable_files() {
    make_stand_in 'ls'
    write_run "$work/forbidden" ''
    chmod 755 "$work/forbidden"
    chmod 000 "$work/forbidden/qelXml.xml"
    for option in '' --force; do
        # shellcheck disable=SC2086 # no argument for no option
        expect_status_of_user 1 $option "$work/forbidden"
        expect_error "$work/forbidden/qelXml.xml: Permission denied"
        expect_output ''
    done
    mkdir "$work/linked" "$work/pipe"
    ln -s ../several/new/qelXml.xml "$work/linked/qelXml.xml"
    expect_status 1 "$work/linked"
    expect_error "$work/linked/qelXml.xml: is a symbolic link"
    expect_status 1 --force "$work/linked"
    expect_error 'no result file can be read'
    expect_output ''
    mkfifo "$work/pipe/qelXml.xml"
    cp "$work/several/new/qelXml.xml" "$work/pipe/qelRnscXml.xml"
    expect_status 1 "$work/pipe"
    expect_error "$work/pipe/qelXml.xml: not a regular file"
    expect_status 0 --force "$work/pipe"
    expect_output 'qelRnscXml.xml'
}

warns_of_run_without_items() {
    mkdir "$work/untested"
    echo '<r/>' >"$work/untested/qelXml.xml"
    expect_status 0 "$work/untested"
    expect_error 'nothing was tested'
    mkdir "$work/half"
    cp "$work/several/new/qelXml.xml" "$work/half/qelRnscXml.xml"
    expect_status 0 "$work/half"
    expect_error 'no qelXml.xml found; only qelRnscXml.xml is shown'
}

prints_how_to_close_on_terminal() {
    expect_status 0 "$work/several/new"
    expect_only_error ''
    script -qec "'$work/bin/quorvel-view' '$work/several/new'" /dev/null </dev/null >"$work/out"
    for way in Alt+F4 Ctrl+C "'quorvel EXEPARAM=CLOSE'"; do
        grep -q -F -- "$way" "$work/out" || fail "no hint \"$way\" on a terminal: $(cat "$work/out")"
    done
}

# Two photos have equal base names. Two items name the first photo.
copies_only_named_files() {
    make_stand_in 'find . -type f | LC_ALL=C sort; cat mnt/a/1.jpg mnt/b/1.jpg'
    mkdir -p "$work/photos/mnt/a" "$work/photos/capture/mnt/b"
    printf first >"$work/photos/mnt/a/1.jpg"
    printf second >"$work/photos/capture/mnt/b/1.jpg"
    truncate -s 3G "$work/photos/film"
    item='<test><type>image</type><result>fail</result><detailed>'
    {
        printf '<r><RNSCImage>'
        for photo in /mnt/a/1.jpg /mnt/b/1.jpg "$DATA/mnt/a/1.jpg"; do
            printf '%s%s</detailed></test>' "$item" "$photo"
        done
        printf '</RNSCImage></r>'
    } >"$work/photos/qelRnscXml.xml"
    expect_status 0 "$work/photos"
    ! grep 'not shown' "$work/err" || fail "a photo is omitted"
    expect_output './mnt/a/1.jpg
./mnt/b/1.jpg
./qelRnscXml.xml
firstsecond'
}

# Runs quorvel-view with a file-size limit of a few KiB, which simulates a full disk: STATUS ARG…
expect_status_with_limit() {
    (ulimit -f 8 && expect_status "$@")
}

rejects_partial_copy_of_result_file() {
    write_run "$work/large-file" ''
    seq -f '<!-- %g -->' 1000 >>"$work/large-file/qelXml.xml"
    expect_status_with_limit 1 "$work/large-file"
    expect_error "$work/large-file/qelXml.xml: "
    expect_error 'TMPDIR can name another folder'
    has_no_copy || fail "a copy remains after a partial copy"
}

omits_partial_photo() {
    make_stand_in 'find . -type f'
    mkdir "$work/large-photo"
    printf '<r><RNSCImage>%s/mnt/a/1.jpg</detailed></test></RNSCImage></r>' \
        '<test><type>image</type><result>fail</result><detailed>' >"$work/large-photo/qelXml.xml"
    head -c 30000 /dev/zero >"$work/large-photo/1.jpg"
    expect_status_with_limit 0 "$work/large-photo"
    expect_error "$work/large-photo/1.jpg: "
    expect_error 'not shown'
    expect_output './qelXml.xml'
}

# The photo is a sparse file and needs no space on the disk.
omits_too_large_photo() {
    make_stand_in 'find . -type f'
    truncate -s "$((64 * 1024 * 1024 + 1))" "$work/large-photo/1.jpg"
    expect_status 0 "$work/large-photo"
    expect_only_error "quorvel-view: $work/large-photo/1.jpg: larger than 64 MiB, not shown"
    expect_output './qelXml.xml'
}

# Starts quorvel-view with a stand-in that waits for a signal, prints the name of the signal and exits.
# Returns when the stand-in waits. The stand-in exits after a failed test too.
start_waiting_view() {
    make_stand_in "for name in TERM INT HUP QUIT; do trap \"echo \$name; exit 9\" \$name; done
touch '$work/up'
while [ -d '$work' ]; do sleep 0.05; done"
    rm -f "$work/up"
    env --default-signal=TERM,INT,HUP,QUIT "$work/bin/quorvel-view" "$folder" >"$work/out" 2>"$work/err" &
    expect "the stand-in waits" test -e "$work/up"
}

passes_signals_on() {
    for signal in TERM INT HUP QUIT; do
        start_waiting_view
        kill -s "$signal" $!
        status=0
        wait $! || status=$?
        [ "$status" -eq 9 ] || fail "SIG$signal: status $status instead of 9: $(cat "$work/err")"
        expect_output "$signal"
    done
}

closes_quorvel_when_killed() {
    start_waiting_view
    kill -KILL $!
    wait $! || true
    expect "quorvel gets SIGTERM" grep -q -x TERM "$work/out"
    ! has_no_copy >"$work/copies" || fail "the killed quorvel-view has no copy"
    make_stand_in ''
    expect_status 0 "$folder"
    has_no_copy || fail "the copy of the killed quorvel-view remains"
}

reports_signal() {
    # shellcheck disable=SC2016 # for the stand-in
    make_stand_in 'kill -ABRT $$'
    mkdir "$work/malformed"
    printf '<r><FAnetTest><test><name>Audio</name><opcode>xyz</opcode><result>fail</result></test>
<test><name>Video</name><opcode>52</opcode><result>fail</result></test></FAnetTest></r>' \
        >"$work/malformed/qelXml.xml"
    expect_status 134 "$work/malformed"
    expect_error 'quorvel ended by signal 6'
    expect_error 'item 1 (Audio): opcode "xyz" is not a hexadecimal number up to 7FFFFFFF'
    ! grep -q Video "$work/err" || fail "the message names a valid item: $(cat "$work/err")"
    for code in 5 200; do
        make_stand_in "exit $code"
        expect_status "$code" "$folder"
        expect_only_error ''
    done
}

# A process inherits the ignored signals of its parent.
returns_status_when_parent_ignores_children() {
    make_stand_in 'exit 5'
    status=0
    timeout -s KILL 20 env --ignore-signal=CHLD "$work/bin/quorvel-view" "$folder" 2>"$work/err" || status=$?
    [ "$status" -eq 5 ] || fail "ignored children: status $status: $(cat "$work/err")"
}

prepare_run
rejects_unusable_paths
rejects_wrong_arguments
prints_help_and_version
quorvel_has_options
reports_full_output
documents_options
lists_several_runs
shortens_long_values
opens_damaged_files_only_with_force
opens_no_unreadable_files
reports_owner_without_entry
warns_of_run_without_items
prints_how_to_close_on_terminal
copies_only_named_files
rejects_partial_copy_of_result_file
omits_partial_photo
omits_too_large_photo
passes_signals_on
closes_quorvel_when_killed
reports_signal
returns_status_when_parent_ignores_children
expect_nothing_left
