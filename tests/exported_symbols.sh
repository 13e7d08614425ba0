#!/bin/sh
# A library exports what its headers declare, and nothing else; among it the names that programs already rely on, a list
# of its own in exported_names.
# usage: exported_symbols.sh COMPILER NM LIBRARY HEADER INCLUDE_FOLDER...
set -eu
export LC_ALL=C
compiler=$1 nm=$2 library=$3 header=$4
shift 4
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

# One declaration a line; the name is the one in parentheses for a pointer, else the last one before an argument list,
# an array bound or the end.
for folder_of_headers; do set -- "$@" -I "$folder_of_headers" && shift; done
echo "#include \"$header\"" | "$compiler" -E -P "$@" -x c++ - | tr '\n' ' ' | tr ';{}' '\n\n\n' |
    grep -F '__attribute__((visibility("default")))' |
    sed -E -e 's/.*__attribute__\(\(visibility\("default"\)\)\)//' -e 's/__typeof__\([A-Za-z0-9_]+\)\**//' \
        -e 's/vsrBehindHandle< *>::type//' |
    sed -E -e 's/^[^(]*\(\*+ *([A-Za-z0-9_]+) *\).*/\1/;t' \
        -e 's/^[^(]*[ *]([A-Za-z0-9_]+) *(\[.*|\(.*|)$/\1/' | sort -u >"$folder/declared"
"$nm" -D --defined-only "$library" | awk '{print $3}' | sed 's/@.*//' | sort -u >"$folder/exported"
[ -s "$folder/declared" ]
diff "$folder/declared" "$folder/exported"
names=$(dirname "$0")/exported_names/$(basename "$library" | sed 's/^lib//;s/\.so.*//').txt
comm -23 "$names" "$folder/exported" >"$folder/missing"
[ ! -s "$folder/missing" ] || { echo "no longer exported:"; cat "$folder/missing"; exit 1; }
