#!/bin/sh
# The Debian package has the version of the build and contains the installed files:
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
    echo "package.sh: $*" >&2
    exit 1
}

# A private folder keeps the temporary files apart from another run of cpack.
(cd -- "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work") >"$work/log" 2>&1 || {
    cat "$work/log" >&2
    fail "cpack: failed"
}
package=$(find "$work" -maxdepth 1 -name '*.deb')
packaged=$(dpkg-deb -f "$package" Version)
[ "$packaged" = "$version" ] || fail "$package: version $packaged instead of $version"

dpkg-deb -x "$package" "$work/files"
for file in bin/quorvel bin/quorvel-view bin/quorvel-report libexec/quorvel/lay-data \
    share/quorvel/resources/theme/quorvel.edj; do
    [ -f "$work/files/usr/$file" ] || fail "$package: does not contain $file"
done
for font in cjk color-emoji core; do
    dpkg-deb -f "$package" Recommends | grep -q "fonts-noto-$font" ||
        fail "$package: does not recommend fonts-noto-$font"
done
dpkg-deb -f "$package" Depends | grep -q libelementary || fail "$package: does not depend on the toolkit"
