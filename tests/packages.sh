#!/bin/sh
# The Debian packages: what lintian says of them, and what a program does with them in a folder of their own, by
# pkg-config and by CMake, as a user's would.
# usage: packages.sh CPACK BUILD_FOLDER SOURCE_FOLDER CMAKE C_COMPILER CXX_COMPILER
set -eu
cpack=$1 build=$2 source=$3 cmake=$4 c=$5 cxx=$6
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

"$cpack" -G DEB --config "$build/CPackConfig.cmake" -B "$folder/packages" >"$folder/log" 2>&1 || { cat "$folder/log"; exit 1; }
for package in "$folder"/packages/*.deb; do
    dpkg-deb -x "$package" "$folder/root"
    # The library belongs to it by version: nothing older or newer serves.
    case $package in
        */libvisoraopt[0-9]*) ;;
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
# shellcheck disable=SC2046
"$c" -o first_program "$source/examples/first_program.c" $(pkg-config --cflags --libs visora)
./first_program
# The README's in C++, and below the one in Python.
readme() { awk -v "fence=\`\`\`$1" '$0 == fence { on = !seen++; next } /^```$/ { on = 0 } on' "$source/README.md"; }
readme cpp >readme.cpp
# shellcheck disable=SC2046
"$cxx" -std=c++20 -o readme_program readme.cpp $(pkg-config --cflags --libs visora)
./readme_program
"$cmake" -S "$source/tests/package" -B consumer "-DCMAKE_C_COMPILER=$c" "-DCMAKE_PREFIX_PATH=$folder/root/usr" >log ||
    { cat log; exit 1; }
"$cmake" --build consumer >log || { cat log; exit 1; }
consumer/first_program
consumer/log_sink
for page in root/usr/share/man/man1/*.gz; do
    program=$(basename "$page" .1.gz)
    "root/usr/bin/$program" --version
done
if [ -d root/usr/lib/python3 ]; then
    readme python >readme.py
    PYTHONPATH=root/usr/lib/python3/dist-packages PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 readme.py
fi
