#!/bin/sh
# script/bootstrap asks for the packages that are missing and for no others. The programs that it calls
# are stand-ins.
set -eu
unset CDPATH

root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-bootstrap.XXXXXX")
trap 'rm -rf -- "$work"' EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "bootstrap: $*" >&2
    exit 1
}

stand_in() {
    { echo '#!/bin/sh' && cat; } >"$work/$1"
    chmod 755 "$work/$1"
}

# What apt-get is asked to install when the packages "$2" are in the state "$1".
asked_for() {
    : >"$work/asked"
    STATE=$1 PACKAGES=$2 ASKED=$work/asked PATH=$work:$PATH "$root/script/bootstrap" \
        >"$work/log" 2>&1 || fail "it ends with an error: $(cat "$work/log")"
    sed -n 's/.*--no-install-recommends //p' "$work/asked"
}

stand_in sudo <<'END'
exec "$@"
END
stand_in apt-get <<'END'
echo "$*" >>"$ASKED"
END
# Its last argument is the package; an unknown one is an error.
stand_in dpkg-query <<'END'
for package in "$@"; do :; done
case " $PACKAGES " in
    *" $package "*) printf '%s' "$STATE"; [ -n "$STATE" ] ;;
    *) printf installed ;;
esac
END

# STATE PACKAGES EXPECTED
expect() {
    asked=$(asked_for "$1" "$2")
    [ "$asked" = "$3" ] || fail "for $2 in the state \"$1\" it asks for: $asked"
}

expect installed git ''
expect installedinstalled 'cmake git' ''
for state in '' config-files half-installed not-installed; do
    expect "$state" 'git cmake' 'cmake git'
done
