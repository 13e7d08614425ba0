#!/bin/sh
# The library calls its own functions and works with its own variables, also in a program that has others of the same
# names, all of them.
# usage: own_symbols.sh COMPILER NM READELF LIBRARY INCLUDE_FOLDER
set -eu
export LC_ALL=C
compiler=$1 nm=$2 readelf=$3 library=$4 include=$5
sources=$(dirname "$0")/own_symbols
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

# What a program may replace.
hooks='^vsrHeapStats(Init|Malloc|Free)$'
"$nm" -D --defined-only "$library" | sed 's/@.*//' | awk '{print $2, $3}' | grep -vE " ${hooks#^}" >"$folder/exported"

# Nothing that it exports is looked up by name when it is loaded.
awk '{print $2}' "$folder/exported" | sort >"$folder/names"
"$readelf" -rW "$library" | awk '/R_/ {print $5}' | sed 's/@.*//' | sort -u | comm -12 "$folder/names" - >"$folder/replaceable"
[ ! -s "$folder/replaceable" ] || { echo "found in the program:"; cat "$folder/replaceable"; exit 1; }

# A program of the same names: functions that trap, variables full of rubbish.
awk '$1 ~ /[TW]/ {printf "void %s(void) { __builtin_trap(); }\n", $2}
     $1 ~ /[BDRV]/ {printf "long %s[512] = {[0 ... 511] = 0x5a5a5a5a5a5a5a5a};\n", $2}' "$folder/exported" >"$folder/rival.c"
[ "$(grep -c trap "$folder/rival.c")" -gt 500 ]
"$compiler" -w -fno-builtin -rdynamic -I "$include" -o "$folder/program" "$sources/program.c" "$folder/rival.c" -ldl
"$folder/program" "$library"

# Without such names a program shares the variables with the library, as compilers generate code by default.
libraries=$(dirname "$library")
"$compiler" -O2 -I "$include" -o "$folder/shared" "$sources/shared.c" -L "$libraries" -lvisoraopt \
    "-Wl,-rpath,$libraries"
"$folder/shared"
