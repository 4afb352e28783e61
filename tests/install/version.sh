#!/bin/sh
# Tests that the packages and the programs have the version of CMakeLists.txt:
#
#     version.sh BUILD-DIR VERSION
set -eu
unset CDPATH

build=$1
version=$2
root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-version.XXXXXX")
trap 'rm -rf -- "$work"' EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "version.sh: $*" >&2
    exit 1
}

metainfo=platform/desktop/package/org.tizen.quorvel.metainfo.xml.in

# Prints the first version in a file: FILE PATTERN. The pattern marks the version with \(\).
first_version() {
    sed -n "s/$2/\\1/p" "$1" | head -n 1
}

# Prints the name of each package with a wrong version or date: FOLDER
wrong_packages() {
    [ "$(first_version "$1/debian/changelog" '^quorvel (\(.*\)).*')" = "$version" ] ||
        echo debian/changelog
    [ "$(first_version "$1/packaging/org.tizen.quorvel.spec" '^Version: *\(.*\)')" = "$version" ] ||
        echo packaging/org.tizen.quorvel.spec
    [ "$(first_version "$1/$metainfo" '.*<release version="\([^"]*\)".*')" = "$version" ] ||
        echo "$metainfo"
    date=$(first_version "$1/debian/changelog" '^ -- .*>  \(.*\)')
    grep -q "<release version=\"$version\" date=\"$(date -u -d "$date" +%F)\"/>" "$1/$metainfo" ||
        echo "the date in $metainfo"
}

for program in quorvel quorvel-view quorvel-report; do
    path=$(find "$build" -maxdepth 3 -type f -name "$program" -perm -u+x | head -n 1)
    printed=$("$path" --version) || fail "$program --version fails"
    [ "$printed" = "$program $version" ] || fail "$program: prints the version $printed"
done

wrong=$(wrong_packages "$root")
[ -z "$wrong" ] || fail "wrong version or date, expected $version: $wrong"

# The test checks that wrong_packages finds a file with another version.
for file in debian/changelog packaging/org.tizen.quorvel.spec "$metainfo"; do
    mkdir -p "$work/changed"
    (cd -- "$root" && tar -cf - debian packaging "$metainfo") | tar -xf - -C "$work/changed"
    sed -i "s/\\b$version\\b/$version.1/" "$work/changed/$file"
    wrong_packages "$work/changed" | grep -q -x "$file" || fail "another version in $file passes"
done
