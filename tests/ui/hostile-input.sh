#!/bin/sh
# Tests the whole program on hostile files and with few resources. A window in memory replaces the display.
set -eu
unset CDPATH
build=$1
root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
# shellcheck source=script/lib/desktop.sh
. "$root/script/lib/desktop.sh"

# A start that blocks takes minutes or never returns.
timeout=${QUORVEL_UI_TIMEOUT:-10}

fail() {
    complain "$case_name: $*" || true
    sed 's/^/    /' "$desktop/log" | cut -c 1-200 | tail -n 20 >&2
    exit 1
}

finish() {
    [ -z "$program" ] || kill -KILL "$program" || true
    rm -rf -- "$desktop"
}

# Starts a case with an empty data folder: NAME
begin() {
    case_name=$1
    rm -rf "$data" "$state"
    mkdir -p "$data" "$state/quorvel"
}

# Runs shell commands, then the program on the data folder: [COMMANDS]
launch() {
    program_launch "$build/mount-data" --private-tmp "$data" sh -c "$1
exec \"\$0\"" "$build/quorvel"
}

# Returns whether the start is logged. Without standard streams, the program logs only to the file.
# In another case, the log file is a FIFO.
is_started() {
    for log in "$desktop/log" "$state/quorvel/quorvel.log"; do
        if [ -f "$log" ] && grep -q 's_Control is called' "$log"; then
            return
        fi
    done
    return 1
}

# Checks that the program starts, logs the lines and exits on SIGTERM: [COMMANDS [PATTERN…]]
expect_start() {
    launch "${1-}"
    [ $# -eq 0 ] || shift
    wait_until is_started || fail "the program does not start"
    kill -TERM "$program"
    program_wait || fail "the program does not exit"
    [ "$program_status" -eq 0 ] || fail "exit status $program_status"
    for pattern in "$@"; do
        grep -q -- "$pattern" "$desktop/log" || fail "not logged: $pattern"
    done
}

# Writes a result file with one failed item: SN DETAILED [DOCUMENT-TYPE]
result_file() {
    printf '%s<QELResult><Information><sn>%s</sn></Information><Network/><Summary/><FAnetTest><test>
<type>bt</type><name>N</name><result>fail</result><detailed>%s</detailed></test></FAnetTest></QELResult>\n' \
        "${3-}" "$1" "$2" >"$data/qelXml.xml"
}

# Prints a text several times: NUMBER TEXT
repeat() {
    yes "$2" | head -n "$1" | tr -d '\n'
}

# Creates a special file: KIND PATH
special_file() {
    case $1 in
        FIFO) mkfifo "$2" ;;
        socket) python3 -c 'import socket, sys; socket.socket(socket.AF_UNIX).bind(sys.argv[1])' "$2" ;;
        device) ln -s /dev/zero "$2" ;;
    esac
}

special_files() {
    for kind in FIFO socket device; do
        begin "$kind in place of each file"
        for file in "$data/qelXml.xml" "$data/qelRnscXml.xml" "$data/num_of_launch" \
            "$state/quorvel/quorvel.log"; do
            special_file "$kind" "$file"
        done
        expect_start 'mkfifo /tmp/qel_first_execute' \
            'data/qelXml.xml: ' 'quorvel.log: not a regular file'
    done
}

large_values() {
    begin 'values of 1 MB'
    result_file "$(repeat 100000 '0123456789')" "$(repeat 500000 '^;')"
    expect_start
}

entities() {
    begin 'one entity used often'
    result_file "$(repeat 2000 '&a;')" D \
        "<!DOCTYPE r [<!ENTITY a '$(repeat 10000 '0123456789')'>]>"
    expect_start
    begin 'entities in entities'
    result_file '&c;' D "<!DOCTYPE r [<!ENTITY a '$(repeat 1000 'x')'><!ENTITY b '$(repeat 1000 '&a;')'>
<!ENTITY c '$(repeat 1000 '&b;')'>]>"
    expect_start
}

compressed() {
    begin 'compressed result file'
    result_file S "$(repeat 5000000 ' ')"
    gzip "$data/qelXml.xml"
    mv "$data/qelXml.xml.gz" "$data/qelXml.xml"
    expect_start '' 'Start tag expected'
}

few_resources() {
    begin 'closed standard streams'
    result_file S D
    expect_start 'exec 0<&- 1>&- 2>&-'
    begin 'limit on the size of files'
    result_file S D
    repeat 1000 '0123456789' >"$state/quorvel/quorvel.log"
    # The limit of 8 KiB is sufficient for the other files.
    expect_start 'ulimit -f 16' 'cannot write to the log file'
    begin 'twenty descriptors'
    launch 'ulimit -n 20'
    program_wait || fail "the program does not exit"
    [ "$program_status" -eq 1 ] || fail "exit status $program_status"
    grep -q 'raise the limit: ulimit -n' "$desktop/log" || fail "no reason is logged"
}

# Checks that a log copy by root rejects a link to a private file. Needs no window.
link_as_root() {
    [ "$(id -u)" -eq 0 ] || return 0
    begin 'link to a private file, as root'
    : >"$desktop/log"
    mkdir "$desktop/usb"
    ln -s /etc/shadow "$data/qelXml.xml"
    result=$(QUORVEL_USB_DIR=$desktop/usb "$build/mount-data" "$data" \
        "$build/tests/platform/log_writer" copy 2>"$desktop/log")
    [ "$result" = -1 ] || fail "the copy does not fail"
    [ -z "$(ls -A "$desktop/usb")" ] || fail "a file is on the storage"
}

desktop=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-hostile.XXXXXX")
data=$desktop/data
state=$desktop/state
trap finish EXIT
trap 'exit 1' HUP INT TERM
desktop_environment
unset DISPLAY
export ELM_DISPLAY=buffer ELM_ENGINE=buffer XDG_STATE_HOME="$state"
special_files
large_values
entities
compressed
few_resources
link_as_root
