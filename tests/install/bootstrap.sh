#!/bin/sh
# Tests that script/bootstrap installs exactly the missing packages of the given groups. Stand-ins replace
# the programs that the script calls.
set -eu
unset CDPATH

root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-bootstrap.XXXXXX")
trap 'rm -rf -- "$work"' EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "bootstrap.sh: $*" >&2
    exit 1
}

stand_in() {
    { echo '#!/bin/sh' && cat; } >"$work/$1"
    chmod 755 "$work/$1"
}

stand_in sudo <<'END'
exec "$@"
END
stand_in apt-get <<'END'
echo "$*" >>"$CALLS"
END
# Prints the state of the package in the last argument. Fails for an unknown package.
stand_in dpkg-query <<'END'
for package in "$@"; do :; done
case " $MISSING " in
    *" $package "*) printf '%s' "$STATE"; [ -n "$STATE" ] ;;
    *) printf installed ;;
esac
END

# Prints the packages that script/bootstrap installs if PACKAGES have the state STATE: STATE PACKAGES
# [GROUP…]
installed_by_bootstrap() {
    state=$1
    packages=$2
    shift 2
    : >"$work/calls"
    STATE=$state MISSING=$packages CALLS=$work/calls PATH=$work:$PATH "$root/script/bootstrap" "$@" \
        >"$work/log" 2>&1 || fail "$*: error: $(cat "$work/log")"
    sed -n 's/.*--no-install-recommends //p' "$work/calls"
}

# Checks which packages script/bootstrap installs: EXPECTED STATE PACKAGES [GROUP…]
expect() {
    expected=$1
    shift
    installed=$(installed_by_bootstrap "$@")
    [ "$installed" = "$expected" ] || fail "$*: installs \"$installed\" instead of \"$expected\""
}

expect '' installed cmake
expect '' installedinstalled 'cmake xvfb'
for state in '' config-files half-installed not-installed; do
    expect 'cmake xvfb' "$state" 'cmake xvfb'
done

one_of_each='chromium clang-tidy cmake libgtest-dev libclang-rt-14-dev xvfb'
expect cmake '' "$one_of_each" build
expect xvfb '' "$one_of_each" display
expect libgtest-dev '' "$one_of_each" test
expect clang-tidy '' "$one_of_each" lint
expect gcovr '' "$one_of_each gcovr" coverage
expect libclang-rt-14-dev '' "$one_of_each" fuzz
expect chromium '' "$one_of_each" browser
expect 'cmake libgtest-dev' '' "$one_of_each" test build
# Two groups contain this package.
expect python3 '' python3 display test

if MISSING='' STATE='' PATH=$work:$PATH "$root/script/bootstrap" bild 2>"$work/log"; then
    fail "an unknown group is accepted"
fi
grep -q '^bootstrap: bild: unknown group$' "$work/log" || fail "unknown group: $(cat "$work/log")"
