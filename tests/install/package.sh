#!/bin/sh
# The package has the version of the build, and everything that is installed:
#
#     package.sh BUILD-DIR VERSION
set -eu
unset CDPATH

build=$1
version=$2
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-package.XXXXXX")
trap 'rm -rf -- "$work"' EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "package: $*" >&2
    exit 1
}

# A build must not disturb the temporary files of another one.
(cd -- "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work") >"$work/log" 2>&1 || {
    cat "$work/log" >&2
    fail "cpack fails"
}
package=$(find "$work" -maxdepth 1 -name '*.deb')
packaged=$(dpkg-deb -f "$package" Version)
[ "$packaged" = "$version" ] || fail "its version is $packaged, that of the build $version"

dpkg-deb -x "$package" "$work/files"
for file in bin/quorvel bin/quorvel-view bin/quorvel-report libexec/quorvel/lay-data \
    share/quorvel/resources/theme/quorvel.edj; do
    [ -f "$work/files/usr/$file" ] || fail "it lacks $file"
done
dpkg-deb -f "$package" Depends | grep -q libelementary || fail "it does not ask for the toolkit"
