#!/bin/sh
# The Debian packages: what lintian says of them, and what programs do with them in a folder of their own, by pkg-config
# and by CMake, as a user's would. Those of another processor run under an emulator.
# usage: packages.sh CPACK BUILD_FOLDER SOURCE_FOLDER CMAKE C_COMPILER CXX_COMPILER [TOOLCHAIN_FILE EMULATOR]
set -eu
cpack=$1 build=$2 source=$3 cmake=$4 c=$5 cxx=$6 toolchain=${7:-} emulator=${8:-}
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
# dpkg's tools take the packages' processor from here.
[ -z "$emulator" ] || export DEB_HOST_ARCH=arm64

"$cpack" -G DEB --config "$build/CPackConfig.cmake" -B "$folder/packages" >"$folder/log" 2>&1 || { cat "$folder/log"; exit 1; }
for package in "$folder"/packages/*.deb; do
    dpkg-deb -x "$package" "$folder/root"
    [ -z "$emulator" ] || [ "$(dpkg-deb -f "$package" Architecture)" = arm64 ]
    # The library belongs to it by version: nothing older or newer serves.
    case $package in
        */libvisoraopt[0-9]*) dpkg-deb -f "$package" Depends | grep -q 'libc6 (>= ' ;;
        *) dpkg-deb -f "$package" Depends | grep -q 'libvisoraopt[0-9]* (= ' ;;
    esac
done
if command -v lintian >/dev/null; then
    # Whoever hands the packages on has an address.
    lintian --allow-root --fail-on error --suppress-tags bogus-mail-host,bogus-mail-host-in-debian-changelog \
        "$folder"/packages/*.deb
fi

libraries=$(dirname "$(find "$folder/root" -name libvisoraopt.so)")
if readelf -d "$libraries"/*.so "$folder"/root/usr/bin/* | grep -E 'RPATH|RUNPATH'; then exit 1; fi
export LD_LIBRARY_PATH="$libraries"
export PKG_CONFIG_PATH="$libraries/pkgconfig"
cd "$folder"
# The program has to print what the README says that it prints.
prints() {
    "$@" >printed
    grep -qF "\`$(cat printed)\`" "$source/README.md" || { echo "$* prints $(cat printed)"; exit 1; }
}
# shellcheck disable=SC2046,SC2086
$c -o first_program "$source/examples/first_program.c" $(pkg-config --cflags --libs visora)
prints $emulator ./first_program
# The README's in C++, and below the one in Python.
readme() { awk -v "fence=\`\`\`$1" '$0 == fence { on = !seen++; next } /^```$/ { on = 0 } on' "$source/README.md"; }
readme cpp >readme.cpp
# shellcheck disable=SC2046,SC2086
$cxx -std=c++20 -o readme_program readme.cpp $(pkg-config --cflags --libs visora)
prints $emulator ./readme_program
if [ -n "$toolchain" ]; then
    set -- "-DCMAKE_TOOLCHAIN_FILE=$toolchain" "-Dvisora_DIR=$libraries/cmake/visora"
else
    set -- "-DCMAKE_C_COMPILER=$c" "-DCMAKE_PREFIX_PATH=$folder/root/usr"
fi
"$cmake" -S "$source/tests/package" -B consumer "$@" >log || { cat log; exit 1; }
"$cmake" --build consumer >log || { cat log; exit 1; }
$emulator consumer/first_program
$emulator consumer/log_sink
for program in root/usr/bin/*; do
    $emulator "$program" --version
    # Manual pages are made of what a program says of itself.
    [ -n "$emulator" ] || [ -s "root/usr/share/man/man1/$(basename "$program").1.gz" ] || ! command -v help2man
done
if [ -d root/usr/lib/python3 ]; then
    readme python >readme.py
    export PYTHONPATH=root/usr/lib/python3/dist-packages PYTHONDONTWRITEBYTECODE=1
    prints /usr/bin/python3 readme.py
fi
