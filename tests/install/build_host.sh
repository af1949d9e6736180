#!/bin/sh
# Builds an outside project with what is installed, runs its host, and looks at what that logged.
# Usage: build_host.sh WAY PREFIX FOLDER [EMULATOR...]
#   WAY       cmake, qmake or pkgconfig: the folder of the project here
#   PREFIX    where the library is installed
#   FOLDER    where to build, emptied first
#   EMULATOR  the command that runs the host, where the machine itself cannot
# The environment names the tools: CXX, QMAKE, and TOOLCHAIN_FILE for CMake if it is to cross-compile.
set -eu

way=$1
prefix=$2
folder=$3
shift 3

fail() {
    cat "$folder/build.log"
    echo "build_host: $*" >&2
    exit 1
}

build_with_cmake() {
    settings="-DCMAKE_PREFIX_PATH=$prefix"
    if [ -n "${TOOLCHAIN_FILE:-}" ]; then
        settings="-DCMAKE_STAGING_PREFIX=$prefix -DCMAKE_TOOLCHAIN_FILE=$TOOLCHAIN_FILE"
    fi
    # shellcheck disable=SC2086 # settings hold no blanks
    if cmake -S . -B wanting $settings -DWANTED_VERSION=2.0; then
        fail "the package claims to be a version that it is not"
    fi
    # shellcheck disable=SC2086
    cmake -S . -B . $settings && cmake --build .
}

build_with_qmake() {
    "$QMAKE" host.pro && make
}

build_with_pkgconfig() {
    make
}

rm -rf "$folder"
mkdir -p "$folder"
cp "$(dirname "$0")/host.cpp" "$(dirname "$0")/$way"/* "$folder"
cd "$folder"

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name zoldebug.pc)")
LD_LIBRARY_PATH=$(dirname "$(find "$prefix" -name libzoldebug.so)")
export PKG_CONFIG_PATH LD_LIBRARY_PATH
"build_with_$way" >build.log 2>&1 || fail "could not build the project"

"$@" ./host >output.txt
cat output.txt
grep -q '^<dbg>.* m="outside" f="[^"]*host.cpp" .*<b>hello from 1 argument</b></dbg>$' output.txt
