#!/usr/bin/env bash
# usage: install_test.sh BUILD_DIR COMPILER   installs a build into a scratch folder, then builds and runs a small program
# against it, once through find_package and once through pkg-config.
set -euo pipefail
build=$1
compiler=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/first" >/dev/null
mkdir "$scratch/user"
mv "$scratch/first" "$scratch/moved"     # an installation may be moved

cat >"$scratch/user/main.cpp" <<'EOF'
#include "host/ut/UT_Math.h"
#include "host/ut/UT_PathSearch.h"
#include "host/ut/UT_Vector3.h"

int main(int argc, char** argv) {
    UT_String found;
    if (argc > 1) return UT_PathSearch::kestrelFindFile(found, argv[1]) ? 0 : 1;
    const UT_Vector3 across = cross(UT_Vector3(1, 0, 0), UT_Vector3(0, 1, 0));
    return across.z() == 1.0f && UT_Math::sin(0.0) == 0.0 ? 0 : 1;
}
EOF
cat >"$scratch/user/CMakeLists.txt" <<'EOF'
cmake_minimum_required(VERSION 3.22)
project(user LANGUAGES CXX)
find_package(flx REQUIRED)
add_executable(user main.cpp)
target_link_libraries(user PRIVATE flx::flx_host)
EOF

cmake -S "$scratch/user" -B "$scratch/user/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$scratch/moved" >/dev/null
cmake --build "$scratch/user/build"
"$scratch/user/build/user"
echo "find_package: ok"

if command -v pkg-config >/dev/null; then
    config=$(find "$scratch/moved" -name flx.pc)
    # shellcheck disable=SC2046  # the flags are words
    "$compiler" -std=c++20 "$scratch/user/main.cpp" -o "$scratch/user/plain" \
        $(PKG_CONFIG_PATH=$(dirname "$config") pkg-config --cflags --libs flx)
    "$scratch/user/plain"
    echo "pkg-config: ok"
fi

grep -q '^\[FLXRotationAxes\]$' "$scratch/moved/share/flx/predefined.rules"
echo "rules: ok"

if [ -x "$scratch/moved/bin/flx" ]; then
    "$scratch/moved/bin/flx" --help >/dev/null
    cp "$scratch/user/build/user" "$scratch/moved/bin"
    (cd / && "$scratch/moved/bin/user" middleware/FLX/varlist.tbl)   # data files are found where the tool stands
    (cd / && ! "$scratch/moved/bin/user" middleware/FLX/nothing.tbl)
    test -s "$scratch/moved/share/man/man1/flx.1"
    echo "tool: ok"
fi
