#!/bin/sh
# script/docs-picture --check finds a change of what the picture shows, and none in comments or in how a
# source is laid out. Works on a copy.
set -eu
unset CDPATH

root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-picture.XXXXXX")
trap 'rm -rf -- "$work"' EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "picture: $*" >&2
    exit 1
}

is_fresh() {
    "$work/script/docs-picture" --check 2>"$work/complaint"
}

# Changes a file by a command of sed: FILE COMMAND.
change() {
    cp "$root/$1" "$work/$1"
    sed -i "$2" "$work/$1"
    ! cmp -s "$root/$1" "$work/$1" || fail "nothing changes in $1: $2"
}

passes() {
    change "$@"
    is_fresh || fail "$1: the picture passes for an old one after $2"
    cp "$root/$1" "$work/$1"
}

finds() {
    change "$@"
    ! is_fresh || fail "$1: the picture passes for a new one after $2"
    cp "$root/$1" "$work/$1"
}

for folder in docs/pictures platform/desktop samples/typical script src; do
    mkdir -p "$work/$folder"
    cp -R "$root/$folder/." "$work/$folder"
done
is_fresh || fail "the picture is an old one to begin with: $(cat "$work/complaint")"
for file in src/QELItemList.cpp src/QELAnalysis.cpp platform/desktop/theme/list.edc; do
    passes "$file" '1i // The beginning.'
    passes "$file" '1i /* The beginning\n of it. */'
    passes "$file" 's/^    /\n\t/'
done
finds src/QELAnalysis.cpp 's/"\\t"/" "/'
finds src/QELXmlParser.cpp 's/"/"X/'
finds src/QELItemList.cpp 's/70/71/'
finds src/QELItemList.cpp 's/elm\.text/elm.texts/'
finds platform/desktop/theme/palette.edc 's/COLOR_TEXT 232/COLOR_TEXT 231/'
finds platform/desktop/theme/list.edc 's/"elm\.text"/"elm text"/'
finds platform/desktop/drawings/gear.svg '1s/$/ /'
finds samples/typical/qelXml.xml '2s/$/ /'
