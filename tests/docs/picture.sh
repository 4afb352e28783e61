#!/bin/sh
# script/docs-picture --check reports a change of what the picture shows, but not of a comment.
set -eu
unset CDPATH

root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-picture.XXXXXX")
trap 'rm -rf -- "$work"' EXIT
trap 'exit 1' HUP INT TERM

# Checks a copy whose file $2 the sed command $3 has changed: pass|fail FILE COMMAND.
expect() {
    sed -i "$3" "$work/$2"
    ! cmp -s "$root/$2" "$work/$2" || { echo "picture: no change in $2: $3" >&2 && exit 1; }
    result=pass
    "$work/script/docs-picture" --check 2>"$work/report" || result=fail
    [ "$result" = "$1" ] || { echo "picture: $2: $3: $result" >&2 && exit 1; }
    cp "$root/$2" "$work/$2"
}

cd -- "$root"
cp -R --parents docs/pictures platform/desktop samples/typical script src tools/report "$work"
# The copy starts with a digest of its own, so that an outdated picture fails only its own test.
cp docs/pictures/analysed-item.webp "$work/made.webp"
printf '#!/bin/sh\necho %s/made.webp\n' "$work" >"$work/script/run"
"$work/script/docs-picture" screen
expect pass src/QELItemList.cpp '1i // A comment.'
expect fail src/QELItemList.cpp 's/70/71/'
expect fail platform/desktop/theme/palette.edc 's/COLOR_TEXT 232/COLOR_TEXT 231/'
expect fail tools/report/html_page.h 's/c62828/c62829/'
expect fail samples/typical/qelXml.xml '2s/$/ /'
