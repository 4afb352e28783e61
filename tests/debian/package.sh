#!/bin/sh
# Builds the Debian package twice, in two folders and as two users, with different time zones, locales and
# file modes. Checks that both builds are equal, and checks the package with lintian:
#
#     package.sh FOLDER
#
# Leaves the packages in FOLDER. If the test is not run by root, the same user builds twice.
set -eu
unset CDPATH

root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
mkdir -p "$1"
result=$(cd -- "$1" && pwd)
# The folder is not in TMPDIR, which can be private to the user.
work=$(mktemp -d /tmp/quorvel-package.XXXXXX)
trap 'rm -rf -- "$work"' EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "package: $*" >&2
    exit 1
}

# Prints the files of the sources, one on each line. In a clone, omits ignored files.
source_files() {
    if [ -e "$root/.git" ]; then
        git -C "$root" ls-files --cached --others --exclude-standard
    else
        (cd -- "$root" && find . -path ./build -prune -o -type f -print)
    fi | while read -r file; do
        [ ! -e "$root/$file" ] || printf '%s\n' "$file"
    done
}

# Copies the sources to a folder: FOLDER. The files get the current time, as in a new clone. The source
# archive contains the name of the folder.
copy_sources() {
    mkdir -p "$1"
    source_files >"$work/files"
    tar -C "$root" -cf - --verbatim-files-from -T "$work/files" | tar -C "$1" -xmf -
}

# Builds the package with a command that sets the environment: FOLDER COMMAND…
build() {
    folder=$1
    shift
    (cd -- "$folder" && "$@" dpkg-buildpackage -us -uc --jobs="$(nproc)") >"$work/log" 2>&1 || {
        tail -n 40 "$work/log" >&2
        fail "the build fails in $folder"
    }
    ! grep '^dpkg-shlibdeps: warning' "$work/log" >&2 || fail "the package has unused dependencies"
}

build_as_usual() {
    (umask 022 && build "$work/first/quorvel" env LC_ALL=C.UTF-8 TZ=UTC)
}

# Prints the first locale that is not a form of C, or C.
other_locale() {
    locale -a | grep -v -i -E '^(C|POSIX)' | head -n 1 | grep . || echo C
}

build_differently() {
    folder=$work/second/other-folder/quorvel
    set -- env LC_ALL="$(other_locale)" TZ=Pacific/Kiritimati HOME="$work/second" USER=other
    if chown -R 65534:65534 "$work/second" 2>/dev/null; then
        chmod 755 "$work"
        set -- setpriv --reuid=65534 --regid=65534 --clear-groups "$@"
    else
        echo "package: the same user makes both builds: another user needs root" >&2
    fi
    (umask 027 && build "$folder" "$@")
}

# Compares all files of both builds except the record of the build, which differs.
compare() {
    (cd -- "$work/first" && ls -- *.deb *.dsc *.tar.xz) >"$work/packages"
    while read -r name; do
        cmp "$work/first/$name" "$work/second/other-folder/$name" || fail "$name: the builds differ"
    done <"$work/packages"
}

check_form() {
    lintian --pedantic --allow-root --fail-on error,warning "$work"/first/*.changes >"$work/log" 2>&1 ||
        fail "lintian: $(cat "$work/log")"
}

check_content() {
    for font in cjk color-emoji core; do
        dpkg-deb -f "$work"/first/quorvel_*.deb Recommends | grep -q "fonts-noto-$font" ||
            fail "the package does not recommend fonts-noto-$font"
    done
    dpkg-deb -x "$work"/first/quorvel_*.deb "$work/content"
    for program in quorvel quorvel-view quorvel-report; do
        readelf -hd "$work/content/usr/bin/$program" >"$work/log"
        grep -q 'Type: *DYN' "$work/log" || fail "$program: not position-independent"
        grep -q BIND_NOW "$work/log" || fail "$program: not linked with immediate binding"
        [ -f "$work/content/usr/share/man/man1/$program.1.gz" ] || fail "$program: no manual page"
    done
    ! grep -r -l -a -F -e "$work" -e "$root" "$work/content" || fail "a file contains the build path"
}

# Both copies are made before the builds, so that both builds have the same sources.
copy_sources "$work/first/quorvel"
copy_sources "$work/second/other-folder/quorvel"
build_as_usual
build_differently
compare
check_form
check_content
rm -f -- "$result"/quorvel*_*
find "$work/first" -maxdepth 1 -type f -exec cp -t "$result" {} +
