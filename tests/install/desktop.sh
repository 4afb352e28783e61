#!/bin/sh
# Tests that the files for desktops and shells are installed, are valid, and name only installed
# files:
#
#     desktop.sh BUILD-DIR
set -eu
unset CDPATH

build=$1
root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
id=org.tizen.quorvel
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-desktop.XXXXXX")
share=$work/prefix/share
trap 'rm -rf -- "$work"' EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "desktop.sh: $*" >&2
    exit 1
}

# Runs a checker: COMMAND… Fails if the checker fails or prints a line.
silent() {
    "$@" >"$work/findings" 2>&1 || fail "$*: $(cat "$work/findings")"
    [ ! -s "$work/findings" ] || fail "$*: $(cat "$work/findings")"
}

# Prints the value of a key of the desktop entry.
entry() {
    sed -n "s/^$1=//p" "$share/applications/$id.desktop"
}

desktop_entry() {
    silent desktop-file-validate "$share/applications/$id.desktop"
    program=$(entry Exec)
    [ -x "$work/prefix/bin/${program%% *}" ] || fail "the entry starts a missing program: $program"
    [ "$(entry Icon)" = "$id" ] || fail "the entry has the wrong icon: $(entry Icon)"
}

icons() {
    for size in 16 24 32 48 64 128 256 512; do
        icon=$share/icons/hicolor/${size}x$size/apps/$id.png
        [ "$(identify -format '%m %wx%h' "$icon")" = "PNG ${size}x$size" ] || fail "$icon: wrong size"
    done
    cmp "$root/platform/desktop/package/quorvel.svg" "$share/icons/hicolor/scalable/apps/$id.svg"
}

metainfo() {
    file=$share/metainfo/$id.metainfo.xml
    # appstreamcli succeeds despite informative lines. The test rejects these lines too.
    appstreamcli validate --no-net --pedantic --no-color "$file" >"$work/findings" 2>&1 ||
        fail "$file: $(cat "$work/findings")"
    ! grep -q '^[EWIP]:' "$work/findings" || fail "$file: $(cat "$work/findings")"
    sed -n 's|.*<binary>\(.*\)</binary>.*|\1|p' "$file" >"$work/programs"
    while read -r name; do
        [ -x "$work/prefix/bin/$name" ] || fail "$file: names the missing program $name"
    done <"$work/programs"
    grep -q "<launchable type=\"desktop-id\">$id.desktop<" "$file" || fail "$file: does not name $id.desktop"
    ! grep -q '@' "$file" || fail "$file: a variable has no value"
}

# Checks that the desktop entry opens the type of both result files.
mime_type() {
    silent env XDG_DATA_HOME="$share" update-mime-database "$share/mime"
    type=application/x-quorvel-results+xml
    for name in qelXml.xml qelRnscXml.xml; do
        grep -q -F -x "80:$type:$name:cs" "$share/mime/globs2" || fail "$name: has no MIME type"
    done
    for type in "$type" inode/directory application/zip application/x-tar \
        application/x-compressed-tar application/x-xz-compressed-tar; do
        case ";$(entry MimeType)" in
            *";$type;"*) ;;
            *) fail "the entry does not open $type" ;;
        esac
    done
}

# Checks the words that bash offers: EXPECTED PROGRAM WORD BEFORE
completes() {
    expected=$1
    shift
    # shellcheck disable=SC2016 # for bash
    offered=$(cd -- "$work/files" && PATH=$work/prefix/bin:$PATH bash --norc -c '
        . "$0/$1" && read -ra words < <(complete -p "$1") && "${words[-2]}" "$1" "$2" "$3"
        echo "${COMPREPLY[*]}"' "$share/bash-completion/completions" "$@" 2>"$work/findings")
    [ "$offered" = "$expected" ] || fail "$*: offers \"$offered\" instead of \"$expected\""
    [ ! -s "$work/findings" ] || fail "$*: $(cat "$work/findings")"
}

completion() {
    mkdir "$work/files"
    : >"$work/files/run one"
    completes '--version' quorvel --v quorvel
    completes 'EXEPARAM=CLOSE' quorvel '' quorvel
    completes '--latest' quorvel-view --la quorvel-view
    completes 'run one' quorvel-view r quorvel-view
    completes '--format' quorvel-report --form quorvel-report
    completes 'json' quorvel-report j --format
    completes 'us ms s' quorvel-report '' -t
}

cmake --install "$build" --prefix "$work/prefix" >"$work/install.log"
desktop_entry
icons
metainfo
mime_type
completion
