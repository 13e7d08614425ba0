#!/bin/sh
# The library as somebody else builds it: static and installed, or as a part of their project, which installs nothing of
# it. Built only where the compiler's cache has the objects already, or else the builds are set up and left.
# usage: other_builds.sh static|embedded CMAKE SOURCE_FOLDER FOLDER OPTION...
set -eu
way=$1 cmake=$2 source=$3 folder=$4
shift 4
quietly() { "$@" >"$folder.log" 2>&1 || { cat "$folder.log"; exit 1; }; }
rm -rf "$folder"

if [ "$way" = static ]; then
    quietly "$cmake" -S "$source" -B "$folder" -G Ninja "$@" -DBUILD_SHARED_LIBS=OFF -DVISORA_BUILD_TESTS=OFF \
        -DVISORA_BUILD_BENCHMARKS=OFF -DVISORA_BUILD_EXAMPLES=OFF -DVISORA_BUILD_TOOLS=OFF
else
    quietly "$cmake" -S "$source/tests/package" -B "$folder" -G Ninja "$@" "-DVISORA_SOURCE=$source"
fi
[ -n "${CMAKE_CXX_COMPILER_LAUNCHER:-}" ] || exit 0
quietly "$cmake" --build "$folder"
quietly "$cmake" --install "$folder" --prefix "$folder/installed"

if [ "$way" = static ]; then
    if find "$folder" -name '*.so*' | grep .; then exit 1; fi
    PKG_CONFIG_PATH=$(dirname "$(find "$folder/installed" -name visora.pc)")
    export PKG_CONFIG_PATH
    # shellcheck disable=SC2046
    "${CC:-cc}" -o "$folder/first_program" "$source/examples/first_program.c" $(pkg-config --cflags --libs visora)
    "$folder/first_program"
    quietly "$cmake" -S "$source/tests/package" -B "$folder/consumer" "-DCMAKE_PREFIX_PATH=$folder/installed"
    quietly "$cmake" --build "$folder/consumer"
    "$folder/consumer/first_program"
else
    if [ -e "$folder/installed" ] && find "$folder/installed" | grep visora; then exit 1; fi
    "$folder/first_program"
    "$folder/log_sink"
fi
