#!/bin/sh
# Builds the application for a set, against stand-ins for the headers and libraries of the set:
#
#     dry_build.sh configure|build|tpk
#
# configure tests the checks at configure time. build compiles and links the program. tpk creates the
# project for the SDK and compiles and links its sources. The toolkit and libxml2 are Debian's. The test
# proves only the build files, not the behaviour on a set.
set -eu
unset CDPATH

root=$(cd -- "$(dirname -- "$0")/../.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/quorvel-tizen.XXXXXX")
trap 'rm -rf -- "$work"' EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "dry_build: $*" >&2
    cat "$work/log" >&2 2>/dev/null || true
    exit 1
}

# Builds the stand-ins in the folder set-HEADERS: HEADERS
make_set() {
    set -- "$1" "$work/set-$1"
    {
        cmake -S "$root/tests/tizen/set" -B "$2-build" -G Ninja -DHEADERS="$1" \
            -DCMAKE_INSTALL_PREFIX="$2" && cmake --build "$2-build" --target install
    } >"$work/log" 2>&1 || fail "cannot build the stand-ins with the $1 headers"
}

# Configures the sources for the stand-ins in the folder NAME: HEADERS NAME [OPTION…]
configure() {
    set_folder=$work/set-$1
    folder=$work/$2
    shift 2
    PKG_CONFIG_PATH=$set_folder/lib/pkgconfig cmake -S "${source:-$root}" -B "$folder" -G Ninja \
        -DQUORVEL_PLATFORM=tizen -DCMAKE_PREFIX_PATH="$set_folder" -DCMAKE_UNITY_BUILD=ON \
        -DQUORVEL_WARNINGS_AS_ERRORS=ON "$@" >"$work/log" 2>&1
}

services() {
    echo "-DQUORVEL_TIZEN_SERVICES=$work/set-platform/lib/lib$1.so"
}

# Checks that configuring fails with a line that matches the pattern: PATTERN HEADERS NAME [OPTION…]
rejects() {
    pattern=$1
    shift
    ! configure "$@" || fail "configuring succeeds; expected: $pattern"
    grep -q -e "$pattern" "$work/log" || fail "the message does not contain: $pattern"
}

test_configure() {
    rejects 'QUORVEL_TIZEN_SERVICES: not set' platform without-services
    rejects 'neither C nor CXX' platform wrong-linkage "$(services services)" \
        -DQUORVEL_TIZEN_SERVICES_LINKAGE=D
    rejects 'automation_copy_log_to_usb: missing in' platform part "$(services services-part)"
    rejects 'getResourcePath: missing in' platform other-linkage "$(services services-cxx)"
    configure platform linkage "$(services services-cxx)" \
        -DQUORVEL_TIZEN_SERVICES_LINKAGE=CXX || fail "C++ linkage is rejected"
    rejects 'getResourcePath: missing in' platform header "$(services services)" \
        -DQUORVEL_TIZEN_SERVICES_HEADER=missing.h
    configure platform manifest "$(services services)" -DQUORVEL_TIZEN_API_VERSION=9.0 \
        "-DQUORVEL_TIZEN_PRIVILEGES=http://example/a;http://example/b" \
        -DQUORVEL_TIZEN_EXEC=quorvel || fail "configuring fails"
    for part in 'api-version="9.0"' '<privilege>http://example/b</privilege>' 'exec="quorvel"'; do
        grep -q -F -e "$part" "$work/manifest/tizen-manifest.xml" || fail "no $part in the manifest"
    done
    validate_manifest "$work/manifest/tizen-manifest.xml"
    # The schema rejects an attribute and an element that the documentation does not have.
    for change in 's/type="capp"/& kind="x"/' 's|<label>.*|&<name/>|' 's/api-version="[^"]*"//'; do
        sed "$change" "$work/manifest/tizen-manifest.xml" >"$work/wrong.xml"
        ! (validate_manifest "$work/wrong.xml") 2>/dev/null || fail "a wrong manifest is valid: $change"
    done
}

validate_manifest() {
    xmllint --noout --relaxng "$root/tests/tizen/manifest.rng" "$1" >"$work/log" 2>&1 ||
        fail "the manifest is not valid: $1"
}

# Checks that the program in the folder NAME needs the libraries of the set: NAME
needs_set() {
    readelf -d "$work/$1/quorvel" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' >"$work/needed"
    for library in capi-appfw-application capi-appfw-app-control bundle dlog services; do
        grep -q -x "lib$library.so.1" "$work/needed" || fail "$1: the program does not need $library"
    done
}

build() {
    cmake --build "$work/$1" --target quorvel >"$work/log" 2>&1
}

# The public headers need the declarations in platform/tizen/sdk.
compiles_header_test() {
    g++ -std=c++17 -Wall -Wextra -Werror -fsyntax-only "$@" -I"$root/platform/include" \
        "$root/tests/tizen/PlatformHeadersTest.cpp" >"$work/log" 2>&1
}

test_build() {
    source=$work/source
    mkdir "$source"
    (cd -- "$root" && cp -R CMakeLists.txt inc src platform "$source" &&
        mkdir -p "$source/tests" && cp -R tests/sanitizers "$source/tests")

    configure platform gbs "$(services services)" || fail "configuring fails"
    build gbs || fail "building with the platform's headers fails"
    needs_set gbs
    compiles_header_test -I"$work/set-platform/include/platform" \
        -I"$work/set-platform/include/appfw" -I"$work/set-platform/include/dlog" ||
        fail "the platform's headers have other values"

    configure public sdk "$(services services)" -DQUORVEL_TIZEN_PKG_CONFIG=OFF ||
        fail "configuring with the SDK's headers fails"
    build sdk || fail "building with the SDK's headers fails"
    needs_set sdk

    # The test adds a call that no header of the set declares.
    printf '#include <app.h>\nint SetHasNoSuchCall() { return ui_app_restart(); }\n' \
        >>"$source/src/QELUtil.cpp"
    for folder in gbs sdk; do
        ! build "$folder" || fail "$folder: a call that the set does not have compiles"
        grep -q "ui_app_restart.*not declared" "$work/log" || fail "$folder: no error about ui_app_restart"
    done
}

# Prints the value of a property of the project: NAME
property() {
    sed -n "s/^$1 = //p" "$work/tpk/project_def.prop"
}

# Creates the project with variables: [-D NAME=VALUE…]
make_project() {
    rm -rf "$work/tpk"
    cmake -D FOLDER="$work/tpk" -D SERVICES=services "$@" -P "$root/platform/tizen/tpk.cmake" \
        >"$work/log" 2>&1
}

# Builds the project as the SDK does: the folders and libraries of the project come first.
builds_project() {
    includes=
    for folder in $(property USER_INC_DIRS); do
        includes="$includes -I$folder"
    done
    # shellcheck disable=SC2046,SC2086 # lists of words
    (cd -- "$work/tpk" &&
        g++ $(property USER_CPPFLAGS_MISC) $(property USER_CPP_DEFS | sed 's/[^ ]\+/-D&/g') $includes \
            -I"$work/set-public/include/appfw" -I"$work/set-public/include/dlog" \
            $(pkg-config --cflags elementary libxml-2.0) $(property USER_SRCS) -o quorvel \
            -L"$work/set-public/lib" -lcapi-appfw-application -lcapi-appfw-app-control -lbundle -ldlog \
            $(property USER_LIBS | sed 's/[^ ]\+/-l&/g') $(pkg-config --libs elementary libxml-2.0)) \
        >"$work/log" 2>&1
}

test_tpk() {
    make_project -D API_VERSION=6.0 -D "PRIVILEGES=http://example/a" || fail "cannot create the project"
    builds_project || fail "cannot build the project"
    validate_manifest "$work/tpk/tizen-manifest.xml"
    for part in 'api-version="6.0"' 'exec="quorvel"' '<privilege>http://example/a</privilege>'; do
        grep -q -F -e "$part" "$work/tpk/tizen-manifest.xml" || fail "no $part in the manifest"
    done
    [ "$(property profile)" = tizen-6.0 ] || fail "wrong profile: $(property profile)"
    icon=$(sed -n 's|.*<icon>\(.*\)</icon>.*|\1|p' "$work/tpk/tizen-manifest.xml")
    [ -f "$work/tpk/shared/res/$icon" ] || fail "the project lacks the icon $icon"
    make_project -D SERVICES_LINKAGE=CXX || fail "cannot create the project"
    [ "$(property USER_CPP_DEFS)" = QUORVEL_TV_SERVICES_CXX ] || fail "the linkage is not in the project"
}

make_set platform
case "${1:-}" in
    configure) test_configure ;;
    build)
        make_set public
        test_build
        ;;
    tpk)
        make_set public
        test_tpk
        ;;
    *) fail "usage: dry_build.sh configure|build|tpk" ;;
esac
