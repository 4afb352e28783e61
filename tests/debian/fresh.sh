#!/bin/sh
# Installs the Debian package in a new Debian 12. Shows and reports the example run as root and as a
# user. Removes the package and checks that no file remains in the system:
#
#     fresh.sh PACKAGE
#
# The system contains the dependencies of the package, without recommended packages, and the programs of the
# test. It is created from the mirrors that apt uses on this PC. Without root, without namespaces or
# without such a mirror, the test prints the reason and exits with status 77.
set -eu
unset CDPATH

release=bookworm
package=$(readlink -f -- "$1")
root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
work=$(mktemp -d /tmp/quorvel-fresh.XXXXXX)
system=$work/system
trap 'rm -rf --one-file-system -- "$work"' EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "fresh: $*" >&2
    cat "$work/log" >&2 2>/dev/null || true
    exit 1
}

skip() {
    echo "fresh: skipped: $*" >&2
    exit 77
}

# Prints the sources that apt uses for the release.
mirrors() {
    # shellcheck disable=SC2016 # for apt
    apt-get indextargets --format '$(ORIGIN) $(RELEASE) $(REPO_URI) $(COMPONENT)' \
        'Created-By: Packages' | sort -u | while read -r origin name address component; do
        case $origin/$name in
            "Debian/$release" | "Debian/$release"-*) echo "deb $address $name $component" ;;
        esac
    done
}

# Prints the names of the packages that the package depends on, separated by commas.
dependencies() {
    dpkg-deb -f "$package" Depends | sed 's/([^)]*)//g; s/|[^,]*//g; s/ //g'
}

make_system() {
    mirrors >"$work/sources"
    [ -s "$work/sources" ] || skip "apt has no mirror of Debian $release; run apt-get update"
    apt-config dump | grep -E '^Acquire::(https?|Check|Retries)' >"$work/options" || true
    mmdebstrap --mode=root --variant=minbase --aptopt="$work/options" --dpkgopt=force-unsafe-io \
        --include="$(dependencies),desktop-file-utils,shared-mime-info,xdotool,xvfb" \
        "$release" "$system" "$work/sources" >"$work/log" 2>&1 || fail "cannot create the system"
    chroot "$system" useradd --create-home --uid 1000 user
}

# Runs a command in the system, with read-only samples and test scripts in /mnt and a private /tmp.
in_system() {
    bwrap --bind "$system" / --dev /dev --proc /proc --perms 1777 --tmpfs /tmp --tmpfs /mnt \
        --ro-bind "$root/debian" /mnt/debian --ro-bind "$root/samples" /mnt/samples \
        --ro-bind "$package" /mnt/quorvel.deb --unshare-pid --die-with-parent --cap-add ALL \
        --chdir /mnt --clearenv --setenv PATH /usr/sbin:/usr/bin:/sbin:/bin --setenv LC_ALL C.UTF-8 \
        "$@" >"$work/log" 2>&1
}

as_user() {
    in_system setpriv --reuid=1000 --regid=1000 --clear-groups "$@"
}

# Prints path, type, mode, owner, group and checksum of each file of the system. Omits the records
# of the package manager, which differ.
inventory() {
    (cd -- "$system" && find . -xdev \( -path ./var/lib/dpkg -o -path ./var/log -o -path ./var/cache/debconf \) \
        -prune -o -printf '%p %y %m %U %G %l\n' -type f -exec sha256sum {} +) | LC_ALL=C sort
}

[ "$(id -u)" -eq 0 ] || skip "needs root"
bwrap --dev-bind / / true 2>/dev/null || skip "namespaces are not permitted"
make_system
inventory >"$work/before"

in_system dpkg --install /mnt/quorvel.deb || fail "cannot install the package"
grep -q -F -x 'application/x-quorvel-results+xml=org.tizen.quorvel.desktop;' \
    "$system/usr/share/applications/mimeinfo.cache" || fail "the desktop has no program for result files"
in_system debian/tests/shows-sample || fail "root: the example run fails"
if as_user bwrap --dev-bind / / true; then
    as_user debian/tests/shows-sample || fail "user: the example run fails"
else
    echo "fresh: skipped: the example run as a user: users are not permitted to create namespaces" >&2
fi

in_system dpkg --remove quorvel || fail "cannot remove the package"
in_system dpkg --purge quorvel || fail "cannot purge the package"
inventory >"$work/after"
diff "$work/before" "$work/after" >"$work/log" || fail "the removed package leaves or changes files"
