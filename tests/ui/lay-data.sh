#!/bin/sh
# The script that lays a folder at the fixed data path: its result, signals, the folder itself, and
# what it leaves behind; with namespaces, and for root without them too.
set -eu
unset CDPATH
# Some of it is for other users to read.
umask 022

root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
lay_data=$1/lay-data
data=/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data
flag=/tmp/qel_first_execute
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-lay.XXXXXX")
trap 'rm -rf -- "$work"' EXIT
newline='
'
# What stands before each call: how it loses its right to namespaces.
without=

fail() {
    printf 'lay-data.sh: %s\n' "$*" >&2
    exit 1
}

lay() {
    # shellcheck disable=SC2086 # the words of a command
    $without "$lay_data" "$@"
}

# The status that "$@" ends with.
status_of() {
    status=0
    "$@" || status=$?
    echo "$status"
}

# --- What a command gets ----------------------------------------------------------------------

lays_the_folder() {
    [ "$(lay "$work/data" cat "$data/file")" = content ] || fail "the folder is not laid"
    lay "$work/data" sh -c "echo written >$data/new"
    [ "$(cat "$work/data/new")" = written ] || fail "what was written is not in the folder"
    [ "$(readlink -f "$data")" != "$work/data" ] || fail "the folder is still at the fixed path"
}

lays_a_copy() {
    lay --copy "$work/data" sh -c "rm $data/file; echo counter >$data/num_of_launch"
    [ -e "$work/data/file" ] || fail "a file of the original is gone"
    [ ! -e "$work/data/num_of_launch" ] || fail "the original was written to"
}

# The files of each folder contain its name. The stand-in for quorvel prints the name.
make_odd_folders() {
    mkdir -p "$work/elsewhere/run1" "$work/bin"
    cp "$lay_data" "$(dirname -- "$lay_data")/quorvel-view" "$work/bin"
    printf '#!/bin/sh\nsed "s/<[^>]*>//g" %s/qelXml.xml\n' "$data" >"$work/bin/quorvel"
    chmod 755 "$work/bin/quorvel"
    for name in "$@"; do
        mkdir -p "$work/odd/$name"
        printf '%s' "$name" >"$work/odd/$name/file"
        printf '<run>%s</run>' "$name" >"$work/odd/$name/qelXml.xml"
    done
}

# Run in the folder above, by a shell with settings that lead elsewhere; the x keeps line breaks.
shows_its_own() {
    shown=$(cd "$work/odd" && export CDPATH="$work/elsewhere" OLDPWD="$work/elsewhere" &&
        "$@" && echo x) || true
    [ "$shown" = "${name}x" ] || fail "$name: another folder is shown: $shown"
}

lays_any_name() {
    make_odd_folders run1 - -- --copy ' a b' "run1$newline" "in${newline}ner"
    for name in run1 - ' a b'; do
        shows_its_own lay "$name" cat "$data/file"
    done
    for name in run1 - -- --copy ' a b' "run1$newline" "in${newline}ner"; do
        # shellcheck disable=SC2086 # the words of a command
        shows_its_own $without "$work/bin/quorvel-view" -- "$name" 2>/dev/null
    done
    for name in "run1$newline" "in${newline}ner"; do
        if lay "$work/odd/$name" touch "$work/ran" 2>"$work/complaint"; then
            fail "$name is laid without a copy"
        fi
        grep -q 'line break' "$work/complaint" || fail "$name: no word of the line break"
        [ ! -e "$work/ran" ] || fail "the command runs without the folder $name"
    done
    rm -r "$work/odd" "$work/elsewhere" "${work:?}/bin"
}

# A result file of which the copy has no more than the beginning, as on a full disk, is not shown. A
# file that cannot be read at all is left out.
refuses_a_cut_copy() {
    mkdir "$work/large"
    head -c 100000 /dev/zero >"$work/large/qelXml.xml"
    ln -s nothing "$work/large/photo.jpg"
    if complaint=$(ulimit -f 1 && trap '' XFSZ && lay --copy "$work/large" true 2>&1); then
        fail "a cut copy is shown"
    fi
    echo "$complaint" | grep -q '^lay-data: .*qelXml.xml' || fail "no word of the cut file: $complaint"
    lay --copy "$work/large" cmp "$data/qelXml.xml" "$work/large/qelXml.xml" 2>/dev/null ||
        fail "a folder with a file that cannot be read is not shown"
    rm -r "$work/large"
}

# The file has no content, but a size.
tells_of_a_long_copy() {
    mkdir "$work/stick" "$work/stick/folder"
    for size in 1100M 1000M; do
        truncate -s "$size" "$work/stick/folder/film"
        lay --copy "$work/stick" true >"$work/complaint" 2>&1 || fail "a large folder is not shown"
        case $size in
            1100M) [ "$(grep -c '^lay-data: copying 110[0-9] MiB to ' "$work/complaint")" -eq 1 ] ;;
            *) [ ! -s "$work/complaint" ] ;;
        esac || fail "$size: $(cat "$work/complaint")"
    done
    rm -r "$work/stick"
}

# Replaces cp by a program that waits.
replace_cp() {
    mkdir "$work/slow"
    # shellcheck disable=SC2016 # for the inner shell
    printf '#!/bin/sh\necho $$ >%s/cp.new && mv %s/cp.new %s/cp\nexec sleep 60\n' \
        "$work" "$work" "$work" >"$work/slow/cp"
    chmod 755 "$work/slow/cp"
}

# Starts a copy that does not end, and waits until it runs.
start_long_copy() {
    rm -f "$work/cp"
    # shellcheck disable=SC2086 # the words of a command
    env --default-signal=INT PATH="$work/slow:$PATH" TMPDIR="$work/tmp" \
        $without "$lay_data" --copy "$work/data" true &
    wait_for_file "$work/cp"
}

has_ended() {
    ! kill -0 "$1" 2>/dev/null || [ "$(ps -o stat= -p "$1" | cut -c 1)" = Z ]
}

wait_until_ended() {
    for _ in $(seq 200); do
        ! has_ended "$1" || return 0
        sleep 0.05
    done
    fail "process $1 does not end"
}

stops_a_long_copy() {
    mkdir "$work/tmp"
    replace_cp
    for signal in TERM INT HUP; do
        start_long_copy
        kill -s "$signal" $!
        wait_until_ended $!
        wait_until_ended "$(cat "$work/cp")"
        [ -z "$(ls -A "$work/tmp")" ] || fail "SIG$signal: a copy is left"
    done
    rm -r "$work/tmp" "$work/slow"
}

removes_the_copy_of_a_killed_run() {
    mkdir "$work/tmp"
    replace_cp
    start_long_copy
    kill -KILL $!
    wait $! || true
    kill "$(cat "$work/cp")"
    [ -n "$(ls -A "$work/tmp")" ] || fail "the killed run has no copy"
    TMPDIR="$work/tmp" lay --copy "$work/data" sh -c \
        "[ \$(ls '$work/tmp' | wc -l) -eq 1 ]" || fail "the copy of the killed run stays"
    [ -z "$(ls -A "$work/tmp")" ] || fail "a copy is left"
    rm -r "$work/tmp" "$work/slow"
}

accepts_relative_tmpdir() {
    mkdir "$work/tmp"
    [ "$(cd "$work" && TMPDIR=tmp && export TMPDIR && lay --copy data cat "$data/file")" = content ] ||
        fail "a relative TMPDIR does not work"
    [ -z "$(ls -A "$work/tmp")" ] || fail "a copy is left in a relative TMPDIR"
    rmdir "$work/tmp"
}

# Whatever the real flag file is, the command sees none, and its own does not get out.
keeps_the_flag_private() {
    lay --private-tmp "$work/data" sh -c "[ ! -e $flag ] && echo $work >$flag && [ -d '$work' ]" ||
        fail "the flag file is there, or the folder of the test is not"
    ! grep -qsF "$work" "$flag" || fail "the flag file is not private"
}

keeps_folder_and_input() {
    [ "$(cd "$work" && echo input | lay "$work/data" sh -c 'pwd && cat')" = "$work
input" ] || fail "another folder or input"
}

# There is nothing to read then.
does_without_input() {
    [ "$(lay "$work/data" cat - "$data/file" <&-)" = content ] || fail "not without an input"
}

gives_the_result() {
    [ "$(status_of lay "$work/data" sh -c 'exit 7')" -eq 7 ] || fail "not the status of the command"
    [ "$(status_of lay "$work/data" sh -c 'kill -TERM $$')" -eq 143 ] || fail "not that of a signal"
    [ "$(status_of lay "$work/nothing" true 2>/dev/null)" -eq 1 ] || fail "a missing folder passes"
}

# --- Signals ----------------------------------------------------------------------------------

wait_for_file() {
    for _ in $(seq 200); do
        [ ! -e "$1" ] || return 0
        sleep 0.05
    done
    fail "nothing comes: $1"
}

# The command says when it waits, and which signal it got. The shell of a test keeps interrupts from
# what it starts in the background.
passes_on() {
    rm -f "$work/up" "$work/got"
    # shellcheck disable=SC2016 # for the inner shell
    handler='trap "echo $1 >$2/got; exit 9" "$1"; touch "$2/up"; while :; do sleep 0.05; done'
    # shellcheck disable=SC2086 # the words of a command
    env --default-signal=INT,QUIT $without "$lay_data" "$work/data" \
        sh -c "$handler" sh "$1" "$work" &
    wait_for_file "$work/up"
    kill -s "$1" $!
    status=0
    wait $! || status=$?
    [ "$status" -eq 9 ] || fail "$1: not the status of the handler, but $status"
    [ "$(cat "$work/got")" = "$1" ] || fail "$1 does not reach the command"
}

is_running() {
    kill -0 "$(cat "$work/pid")" 2>/dev/null
}

dies_with_it() {
    rm -f "$work/pid"
    # shellcheck disable=SC2016,SC2086 # for the inner shell; the words of a command
    $without "$lay_data" "$work/data" sh -c 'echo $$ >"$1.new"; mv "$1.new" "$1"; exec sleep 600' \
        sh "$work/pid" &
    wait_for_file "$work/pid"
    kill -KILL $!
    wait $! || true
    for _ in $(seq 200); do
        is_running || return 0
        sleep 0.05
    done
    fail "the command outlives the script"
}

# --- Without namespaces -----------------------------------------------------------------------

# A second run waits for the first one, for as long as it is told.
takes_turns() {
    rm -f "$work/up"
    lay "$work/data" sh -c "touch $work/up; while [ -e $work/up ]; do sleep 0.05; done" &
    wait_for_file "$work/up"
    if LAY_DATA_WAIT=0 lay "$work/data" true 2>"$work/complaint"; then
        fail "two runs at once"
    fi
    grep -q 'another run' "$work/complaint" || fail "no word of the other run"
    rm "$work/up"
    wait $! || fail "the first run does not end well"
    lay "$work/data" true || fail "the path is still taken"
}

refuses_what_is_real() {
    mkdir -p "$data"
    if lay "$work/data" true 2>"$work/complaint"; then
        fail "a real folder is laid over"
    fi
    grep -q "$data exists" "$work/complaint" || fail "no word of the real folder"
    rmdir "$data"
    rmdir -p "$(dirname "$data")" 2>/dev/null || true
}

run_as_a_user() {
    setpriv --reuid 65534 --regid 65534 --clear-groups "$@"
}

# Not under a TMPDIR that only root may enter.
open_to_users() {
    chmod 711 "$work"
    cp "$lay_data" "$work/lay-data"
    run_as_a_user test -x "$work/lay-data"
}

# Whoever is not root, on a system that does not refuse it.
lays_it_for_a_user() {
    if run_as_a_user bwrap --dev-bind / / true 2>"$work/complaint"; then
        [ "$(run_as_a_user "$work/lay-data" "$work/data" cat "$data/file")" = content ] ||
            fail "the folder is not laid for a user"
    else
        echo "lay-data.sh: users get no namespaces here, which is left out:" \
            "$(cat "$work/complaint")" >&2
    fi
}

# Nobody gets a namespace inside another root folder.
tells_users_what_to_do() {
    mkdir "$work/root"
    # shellcheck disable=SC2016 # for the inner shell
    inside='mount --rbind / "$1/root" && cd / &&
        exec chroot --userspec=65534:65534 "$1/root" "$1/lay-data" "$1/data" true'
    if unshare --mount sh -c "$inside" sh "$work" 2>"$work/complaint"; then
        fail "a user without namespaces succeeds"
    fi
    grep -q 'run this as root' "$work/complaint" || fail "no advice: $(cat "$work/complaint")"
}

every_case() {
    lays_the_folder
    lays_a_copy
    lays_any_name
    refuses_a_cut_copy
    tells_of_a_long_copy
    stops_a_long_copy
    removes_the_copy_of_a_killed_run
    accepts_relative_tmpdir
    keeps_the_flag_private
    keeps_folder_and_input
    does_without_input
    gives_the_result
    for signal in TERM INT HUP QUIT USR1; do
        passes_on "$signal"
    done
    dies_with_it
}

# Inside a place where /opt and /run are the test's own.
cases_without_namespaces() {
    mount -t tmpfs none /opt
    mount -t tmpfs none /run
    without='setpriv --bounding-set -sys_admin --inh-caps -sys_admin'
    every_case
    takes_turns
    refuses_what_is_real
    [ -z "$(ls -A /opt)" ] || fail "folders are left: $(find /opt)"
}

# The lock of a running quorvel of the user must not matter.
mkdir -m 700 "$work/run"
export XDG_RUNTIME_DIR="$work/run"
mkdir "$work/data"
echo content >"$work/data/file"
if [ "${2:-}" = without-namespaces ]; then
    cases_without_namespaces
    exit
fi
every_case
users=
if [ "$(id -u)" -eq 0 ] && open_to_users; then
    users=yes
    lays_it_for_a_user
fi
if [ "$(id -u)" -eq 0 ] && unshare --mount true 2>/dev/null; then
    unshare --mount "$root/tests/ui/lay-data.sh" "$1" without-namespaces
    [ -z "$users" ] || tells_users_what_to_do
else
    echo "lay-data.sh: only root can take namespaces away here: those cases are left out" >&2
fi
