#!/bin/sh
# Tests mount-data: the mounted folder, the exit status, signals, and the state after the run. As root, the
# test runs the cases with and without namespaces.
set -eu
unset CDPATH
# Other users must be able to read the files of the test.
umask 022

root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
mount_data=$1/mount-data
data=/opt/usr/home/owner/apps_rw/org.tizen.quorvel/data
flag=/tmp/qel_first_execute
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-mount.XXXXXX")
trap 'rm -rf -- "$work"' EXIT
newline='
'
# The command that runs mount-data without the permission to create namespaces.
without=

fail() {
    printf 'mount-data.sh: %s\n' "$*" >&2
    exit 1
}

run_mount_data() {
    # shellcheck disable=SC2086 # the words of a command
    $without "$mount_data" "$@"
}

# Prints the exit status of "$@".
status_of() {
    status=0
    "$@" || status=$?
    echo "$status"
}

# --- The environment of a command -------------------------------------------------------------

mounts_folder() {
    [ "$(run_mount_data "$work/data" cat "$data/file")" = content ] || fail "the folder is not mounted"
    run_mount_data "$work/data" sh -c "echo written >$data/new"
    [ "$(cat "$work/data/new")" = written ] || fail "a written file is not in the folder"
    [ "$(readlink -f "$data")" != "$work/data" ] || fail "the folder remains at the fixed path"
}

mounts_copy() {
    run_mount_data --copy "$work/data" sh -c "rm $data/file; echo counter >$data/num_of_launch"
    [ -e "$work/data/file" ] || fail "the command removes a file of DIR"
    [ ! -e "$work/data/num_of_launch" ] || fail "the command writes to DIR"
}

# Creates folders with the given names. The files of each folder contain its name. The stand-in for
# quorvel prints this name.
make_odd_folders() {
    mkdir -p "$work/elsewhere/run1" "$work/bin"
    cp "$mount_data" "$(dirname -- "$mount_data")/quorvel-view" "$work/bin"
    printf '#!/bin/sh\nsed "s/<[^>]*>//g" %s/qelXml.xml\n' "$data" >"$work/bin/quorvel"
    chmod 755 "$work/bin/quorvel"
    for name in "$@"; do
        mkdir -p "$work/odd/$name"
        printf '%s' "$name" >"$work/odd/$name/file"
        printf '<run>%s</run>' "$name" >"$work/odd/$name/qelXml.xml"
    done
}

# Runs a command in the parent of the folder $name and checks that the command prints the file of $name.
# CDPATH and OLDPWD name another folder. The x keeps trailing line breaks.
prints_own_file() {
    shown=$(cd "$work/odd" && export CDPATH="$work/elsewhere" OLDPWD="$work/elsewhere" &&
        "$@" && echo x) || true
    [ "$shown" = "${name}x" ] || fail "$name: wrong content: $shown"
}

mounts_folder_of_any_name() {
    make_odd_folders run1 - -- --copy ' a b' "run1$newline" "in${newline}ner"
    for name in run1 - ' a b'; do
        prints_own_file run_mount_data "$name" cat "$data/file"
    done
    for name in run1 - -- --copy ' a b' "run1$newline" "in${newline}ner"; do
        # shellcheck disable=SC2086 # the words of a command
        prints_own_file $without "$work/bin/quorvel-view" -- "$name" 2>/dev/null
    done
    for name in "run1$newline" "in${newline}ner"; do
        if run_mount_data "$work/odd/$name" touch "$work/ran" 2>"$work/error"; then
            fail "$name: mounted without --copy"
        fi
        grep -q 'line break' "$work/error" || fail "$name: no message about the line break"
        [ ! -e "$work/ran" ] || fail "$name: the command runs without the folder"
    done
    rm -r "$work/odd" "$work/elsewhere" "${work:?}/bin"
}

# Checks that mount-data rejects a partial copy of a result file, which a full disk can cause, and skips an
# unreadable file.
rejects_partial_copy() {
    mkdir "$work/large"
    head -c 100000 /dev/zero >"$work/large/qelXml.xml"
    ln -s nothing "$work/large/photo.jpg"
    if error=$(ulimit -f 1 && trap '' XFSZ && run_mount_data --copy "$work/large" true 2>&1); then
        fail "a partial copy is mounted"
    fi
    echo "$error" | grep -q '^mount-data: .*qelXml.xml' || fail "no message about the partial file: $error"
    run_mount_data --copy "$work/large" cmp "$data/qelXml.xml" "$work/large/qelXml.xml" 2>/dev/null ||
        fail "a folder with an unreadable file is not mounted"
    rm -r "$work/large"
}

# The film is a sparse file and needs no space on the disk.
reports_long_copy() {
    mkdir "$work/storage" "$work/storage/folder"
    for size in 1100M 1000M; do
        truncate -s "$size" "$work/storage/folder/film"
        run_mount_data --copy "$work/storage" true >"$work/error" 2>&1 || fail "a large folder is not mounted"
        case $size in
            1100M) [ "$(grep -c '^mount-data: copying 110[0-9] MiB to ' "$work/error")" -eq 1 ] ;;
            *) [ ! -s "$work/error" ] ;;
        esac || fail "$size: $(cat "$work/error")"
    done
    rm -r "$work/storage"
}

# Replaces cp with a program that waits.
replace_cp() {
    mkdir "$work/slow"
    # shellcheck disable=SC2016 # for the inner shell
    printf '#!/bin/sh\necho $$ >%s/cp.new && mv %s/cp.new %s/cp\nexec sleep 60\n' \
        "$work" "$work" "$work" >"$work/slow/cp"
    chmod 755 "$work/slow/cp"
}

# Starts a copy that waits. Returns when the copy runs.
start_long_copy() {
    rm -f "$work/cp"
    # shellcheck disable=SC2086 # the words of a command
    env --default-signal=INT PATH="$work/slow:$PATH" TMPDIR="$work/tmp" \
        $without "$mount_data" --copy "$work/data" true &
    wait_for_file "$work/cp"
}

is_gone() {
    ! kill -0 "$1" 2>/dev/null || [ "$(ps -o stat= -p "$1" | cut -c 1)" = Z ]
}

wait_until_gone() {
    for _ in $(seq 200); do
        ! is_gone "$1" || return 0
        sleep 0.05
    done
    fail "process $1 does not exit"
}

stops_long_copy() {
    mkdir "$work/tmp"
    replace_cp
    for signal in TERM INT HUP; do
        start_long_copy
        kill -s "$signal" $!
        wait_until_gone $!
        wait_until_gone "$(cat "$work/cp")"
        [ -z "$(ls -A "$work/tmp")" ] || fail "SIG$signal: a copy remains"
    done
    rm -r "$work/tmp" "$work/slow"
}

removes_copy_of_killed_run() {
    mkdir "$work/tmp"
    replace_cp
    start_long_copy
    kill -KILL $!
    wait $! || true
    kill "$(cat "$work/cp")"
    [ -n "$(ls -A "$work/tmp")" ] || fail "the killed script has no copy"
    TMPDIR="$work/tmp" run_mount_data --copy "$work/data" sh -c \
        "[ \$(ls '$work/tmp' | wc -l) -eq 1 ]" || fail "the copy of the killed script remains"
    [ -z "$(ls -A "$work/tmp")" ] || fail "a copy remains"
    rm -r "$work/tmp" "$work/slow"
}

accepts_relative_tmpdir() {
    mkdir "$work/tmp"
    [ "$(cd "$work" && TMPDIR=tmp && export TMPDIR && run_mount_data --copy data cat "$data/file")" = content ] ||
        fail "a relative TMPDIR is rejected"
    [ -z "$(ls -A "$work/tmp")" ] || fail "a copy remains in a relative TMPDIR"
    rmdir "$work/tmp"
}

# Checks that the command does not see the real flag file, and that the flag file of the command is
# private.
keeps_flag_file_private() {
    run_mount_data --private-tmp "$work/data" sh -c "[ ! -e $flag ] && echo $work >$flag && [ -d '$work' ]" ||
        fail "the real flag file is visible, or the folder of the test is not"
    ! grep -qsF "$work" "$flag" || fail "the flag file is not private"
}

keeps_working_folder_and_input() {
    [ "$(cd "$work" && echo input | run_mount_data "$work/data" sh -c 'pwd && cat')" = "$work
input" ] || fail "wrong working folder or input"
}

# Runs mount-data with a closed standard input.
runs_without_input() {
    [ "$(run_mount_data "$work/data" cat - "$data/file" <&-)" = content ] || fail "fails with a closed input"
}

returns_exit_status() {
    [ "$(status_of run_mount_data "$work/data" sh -c 'exit 7')" -eq 7 ] || fail "wrong status for an exit"
    [ "$(status_of run_mount_data "$work/data" sh -c 'kill -TERM $$')" -eq 143 ] || fail "wrong status for a signal"
    [ "$(status_of run_mount_data "$work/nothing" true 2>/dev/null)" -eq 1 ] || fail "a missing folder is not an error"
}

# --- Cases with signals ------------------------------------------------------------------------

wait_for_file() {
    for _ in $(seq 200); do
        [ ! -e "$1" ] || return 0
        sleep 0.05
    done
    fail "$1: not created in time"
}

# The command creates a file when it waits, and writes the name of its signal to another file. A shell
# makes background commands ignore interrupts; env restores the default.
forwards_signal() {
    rm -f "$work/up" "$work/got"
    # shellcheck disable=SC2016 # for the inner shell
    handler='trap "echo $1 >$2/got; exit 9" "$1"; touch "$2/up"; while :; do sleep 0.05; done'
    # shellcheck disable=SC2086 # the words of a command
    env --default-signal=INT,QUIT $without "$mount_data" "$work/data" \
        sh -c "$handler" sh "$1" "$work" &
    wait_for_file "$work/up"
    kill -s "$1" $!
    status=0
    wait $! || status=$?
    [ "$status" -eq 9 ] || fail "$1: exit status $status instead of 9"
    [ "$(cat "$work/got")" = "$1" ] || fail "$1 does not reach the command"
}

ends_with_script() {
    rm -f "$work/pid"
    # shellcheck disable=SC2016,SC2086 # for the inner shell; the words of a command
    $without "$mount_data" "$work/data" sh -c 'echo $$ >"$1.new"; mv "$1.new" "$1"; exec sleep 600' \
        sh "$work/pid" &
    wait_for_file "$work/pid"
    kill -KILL $!
    wait $! || true
    wait_until_gone "$(cat "$work/pid")"
}

# --- Cases without namespaces -----------------------------------------------------------------

# A second script waits for the first script until MOUNT_DATA_WAIT.
waits_for_other_run() {
    rm -f "$work/up"
    run_mount_data "$work/data" sh -c "touch $work/up; while [ -e $work/up ]; do sleep 0.05; done" &
    wait_for_file "$work/up"
    if MOUNT_DATA_WAIT=0 run_mount_data "$work/data" true 2>"$work/error"; then
        fail "two scripts run at the same time"
    fi
    grep -q 'in use by another process' "$work/error" || fail "no message about the other process"
    rm "$work/up"
    wait $! || fail "the first script fails"
    run_mount_data "$work/data" true || fail "the path remains in use"
}

rejects_existing_folder() {
    mkdir -p "$data"
    if run_mount_data "$work/data" true 2>"$work/error"; then
        fail "an existing folder is replaced"
    fi
    grep -q "$data: exists" "$work/error" || fail "no message about the existing folder"
    rmdir "$data"
    rmdir -p "$(dirname "$data")" 2>/dev/null || true
}

run_as_user() {
    setpriv --reuid 65534 --regid 65534 --clear-groups "$@"
}

# Opens the folder of the test to other users. Returns false if only root may enter TMPDIR.
open_to_users() {
    chmod 711 "$work"
    cp "$mount_data" "$work/mount-data"
    run_as_user test -x "$work/mount-data"
}

# Skips the case if the system does not permit namespaces to users.
mounts_folder_for_user() {
    if run_as_user bwrap --dev-bind / / true 2>"$work/error"; then
        [ "$(run_as_user "$work/mount-data" "$work/data" cat "$data/file")" = content ] ||
            fail "the folder is not mounted for a user"
    else
        echo "mount-data.sh: skipped: a user with namespaces: $(cat "$work/error")" >&2
    fi
}

# Runs mount-data inside a changed root folder, in which the kernel does not permit namespaces to
# users.
reports_remedy_to_user() {
    mkdir "$work/root"
    # shellcheck disable=SC2016 # for the inner shell
    inside='mount --rbind / "$1/root" && cd / &&
        exec chroot --userspec=65534:65534 "$1/root" "$1/mount-data" "$1/data" true'
    if unshare --mount sh -c "$inside" sh "$work" 2>"$work/error"; then
        fail "a user without namespaces succeeds"
    fi
    grep -q 'run this as root' "$work/error" || fail "no remedy: $(cat "$work/error")"
}

every_case() {
    mounts_folder
    mounts_copy
    mounts_folder_of_any_name
    rejects_partial_copy
    reports_long_copy
    stops_long_copy
    removes_copy_of_killed_run
    accepts_relative_tmpdir
    keeps_flag_file_private
    keeps_working_folder_and_input
    runs_without_input
    returns_exit_status
    for signal in TERM INT HUP QUIT USR1; do
        forwards_signal "$signal"
    done
    ends_with_script
}

# Runs in a mount namespace, in which /opt and /run are private.
cases_without_namespaces() {
    mount -t tmpfs none /opt
    mount -t tmpfs none /run
    without='setpriv --bounding-set -sys_admin --inh-caps -sys_admin'
    every_case
    waits_for_other_run
    rejects_existing_folder
    [ -z "$(ls -A /opt)" ] || fail "folders remain: $(find /opt)"
}

# With a private runtime folder, a running quorvel of the user does not affect the test.
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
    mounts_folder_for_user
fi
if [ "$(id -u)" -eq 0 ] && unshare --mount true 2>/dev/null; then
    unshare --mount "$root/tests/ui/mount-data.sh" "$1" without-namespaces
    [ -z "$users" ] || reports_remedy_to_user
else
    echo "mount-data.sh: skipped: cases without namespaces, which need root" >&2
fi
