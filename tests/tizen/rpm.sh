#!/bin/sh
# Packs the application for a set with Debian's rpmbuild, against the stand-ins of set/. Tests the files,
# the requirements and the version of the package. The test proves only the build files, not the behaviour
# on a set.
set -eu
unset CDPATH

root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
name=org.tizen.quorvel
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-rpm.XXXXXX")
trap 'rm -rf -- "$work"' EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "rpm: $*" >&2
    cat "$work/log" >&2 2>/dev/null || true
    exit 1
}

# Fails with the message and the difference if two files differ: EXPECTED ACTUAL MESSAGE
same() {
    diff -u "$work/$1" "$work/$2" >"$work/log" || fail "$3"
}

version=$(sed -n 's/^project(quorvel VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
{
    cmake -S "$root/tests/tizen/set" -B "$work/set-build" -G Ninja \
        -DCMAKE_INSTALL_PREFIX="$work/set" && cmake --build "$work/set-build" --target install
} >"$work/log" 2>&1 || fail "cannot build the stand-ins"

# The test packs the sources as gbs does.
mkdir -p "$work/top/SOURCES" "$work/source/$name-$version/tests"
(cd -- "$root" && cp -R CMakeLists.txt inc src platform "$work/source/$name-$version" &&
    cp -R tests/sanitizers "$work/source/$name-$version/tests")
tar -C "$work/source" -czf "$work/top/SOURCES/$name-$version.tar.gz" "$name-$version"
cp "$root/packaging/$name.manifest" "$work/top/SOURCES"

# Debian's rpmbuild does not know %manifest, and its database does not contain the required
# packages.
sed '/^%manifest /d' "$root/packaging/$name.spec" >"$work/$name.spec"
PKG_CONFIG_PATH=$work/set/lib/pkgconfig rpmbuild -bb --nodeps --quiet \
    --define "_topdir $work/top" --define "_dbpath $work/database" \
    --define "debug_package %{nil}" --define "_prefix /usr" \
    --define "TZ_SYS_RO_APP /usr/apps" --define "TZ_SYS_RO_PACKAGES /usr/share/packages" \
    --define "services $work/set/lib/libservices.so" "$work/$name.spec" >"$work/log" 2>&1 ||
    fail "rpmbuild fails"
package=$(find "$work/top/RPMS" -name '*.rpm')
query() {
    rpm --dbpath "$work/database" -qp "$package" "$@" 2>/dev/null
}

[ "$(query --qf '%{VERSION}')" = "$version" ] || fail "the version is not $version"
cat >"$work/expected-files" <<'END'
/usr/apps/org.tizen.quorvel
/usr/apps/org.tizen.quorvel/bin
/usr/apps/org.tizen.quorvel/bin/quorvel
/usr/apps/org.tizen.quorvel/shared
/usr/apps/org.tizen.quorvel/shared/res
/usr/apps/org.tizen.quorvel/shared/res/quorvel.png
/usr/share/packages/org.tizen.quorvel.xml
END
query -l | grep -v build-id | LC_ALL=C sort >"$work/files"
same expected-files files "the package has wrong files"

# The program calls these libraries of the toolkit, of libxml2 and of the set. The compiler's libraries are
# omitted.
cat >"$work/expected-libraries" <<'END'
libbundle.so.1
libcapi-appfw-app-control.so.1
libcapi-appfw-application.so.1
libdlog.so.1
libecore.so.1
libelementary.so.1
libevas.so.1
libservices.so.1
libxml2.so.2
END
query --requires | sed -n 's/^\(lib[^(]*\)(.*/\1/p' |
    grep -v -E '^lib(c|m|stdc\+\+|gcc_s)\.so' | LC_ALL=C sort -u >"$work/libraries"
same expected-libraries libraries "the package requires wrong libraries"

mkdir "$work/unpacked"
(cd -- "$work/unpacked" && rpm2cpio "$package" | cpio -id --quiet)
manifest=$work/unpacked/usr/share/packages/$name.xml
xmllint --noout "$manifest"
exec=$(sed -n 's/.* exec="\([^"]*\)".*/\1/p' "$manifest")
[ -x "$work/unpacked$exec" ] || fail "the manifest names a program that the package lacks: $exec"
icon=$(sed -n 's|.*<icon>\(.*\)</icon>.*|\1|p' "$manifest")
[ -f "$work/unpacked/usr/apps/$name/shared/res/$icon" ] || fail "the package lacks the icon $icon"
! grep -q -a -F -- "$work" "$work/unpacked$exec" || fail "the program contains the build folder"

# The package must require the same modules that the build finds with pkg-config.
{
    sed -n 's/.*pkg_check_modules(.* GLOBAL *\(.*\))/\1/p;/^ *capi-appfw-application capi/s/)//p' \
        "$root/platform/tizen/CMakeLists.txt" | tr -s ' ' '\n' | grep . && echo libtzplatform-config
} | LC_ALL=C sort >"$work/modules"
sed -n 's/^BuildRequires: *pkgconfig(\(.*\))/\1/p' "$root/packaging/$name.spec" | LC_ALL=C sort \
    >"$work/required-modules"
same modules required-modules "the package and the build require different modules"
