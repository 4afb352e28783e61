#!/bin/sh
# Tests that the installation is complete, and that the installed program uses only installed files:
#
#     install.sh BUILD-DIR
#
# The program draws into memory, so the test needs no display.
set -eu
unset CDPATH

build=$1
root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-install.XXXXXX")
prefix=$work/prefix
view=

finish() {
    [ -z "$view" ] || kill "$view" 2>/dev/null || true
    [ -z "$view" ] || wait "$view" || true
    rm -rf -- "$work"
}

fail() {
    echo "install.sh: $*" >&2
    cat "$work/log" >&2 2>/dev/null || true
    exit 1
}

# Runs "$@" until it succeeds. Fails after 20 seconds.
expect() {
    end=$(($(date +%s) + 20))
    until "$@"; do
        [ "$(date +%s)" -lt "$end" ] || fail "not true: $*"
        sleep 0.05
    done
}

# Prints the folder in /proc of the process that runs the installed quorvel.
process() {
    for exe in /proc/[0-9]*/exe; do
        if [ "$(readlink "$exe" 2>/dev/null)" = "$prefix/bin/quorvel" ]; then
            echo "${exe%/exe}"
            return
        fi
    done
    return 1
}

has_opened() {
    place=$(process) && grep -q -F -- "$1" "$place/maps"
}

logged() {
    grep -q -- "$1" "$work/log"
}

has_exited() {
    ! process >/dev/null
}

trap finish EXIT
trap 'exit 1' HUP INT TERM
mkdir -p "$work/home" "$work/run"
chmod 700 "$work/run"
cmake --install "$build" --prefix "$prefix" --strip >"$work/log"

share=$prefix/share/quorvel/resources
for file in "$prefix/bin/quorvel" "$prefix/bin/quorvel-view" "$prefix/bin/quorvel-report" \
    "$prefix/libexec/quorvel/mount-data" "$prefix/libexec/quorvel/quorvel-dialog"; do
    [ -x "$file" ] || fail "$file: not installed"
done
for page in quorvel quorvel-view quorvel-report; do
    [ -r "$prefix/share/man/man1/$page.1" ] || fail "$prefix/share/man/man1/$page.1: not installed"
done
[ -r "$share/theme/quorvel.edj" ] || fail "$share/theme/quorvel.edj: not installed"

# The installed files must not depend on the build.
for folder in "$build" "$root"; do
    ! grep -r -l -a -F -- "$folder" "$prefix" >&2 || fail "an installed file contains the path $folder"
done

# The installed resources must be the resources of the build.
(cd -- "$build/resources" && find . -type f | LC_ALL=C sort) >"$work/built"
(cd -- "$share" && find . -type f | LC_ALL=C sort) >"$work/installed"
diff "$work/built" "$work/installed" >&2 || fail "$share: differs from the resources of the build"

unset XDG_CACHE_HOME XDG_CONFIG_HOME XDG_DATA_HOME XDG_STATE_HOME
unset QUORVEL_LOG_LEVEL QUORVEL_RESOURCES QUORVEL_THEME QUORVEL_USB_DIR ELM_ENGINE ELM_SCALE ELM_THEME
export HOME="$work/home" XDG_RUNTIME_DIR="$work/run" ELM_DISPLAY=buffer
setsid "$prefix/bin/quorvel-view" "$root/samples/typical" >"$work/log" 2>&1 &
view=$!
expect logged "Resource = $share/org.tizen.menu/Settings/setting_bg_base.webp"
expect logged "done app_create"
expect has_opened "$share/theme/quorvel.edj"

"$prefix/bin/quorvel" EXEPARAM=CLOSE >"$work/second" 2>&1 || fail "close request: $(cat "$work/second")"
wait "$view" || fail "quorvel-view exited with status $?"
view=
expect has_exited
! logged "Failed to set Resource" || fail "a resource is missing"
