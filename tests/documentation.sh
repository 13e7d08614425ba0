#!/bin/sh
# The site is whole: every function has its place, no link leads nowhere, and what is C on it compiles. The page of
# measured speed is one, too.
# usage: documentation.sh TOOLS_FOLDER SOURCE_FOLDER
set -eu
tools=$1 source=$2
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
visora() { "$tools/visora" "$@" >/dev/null; }

visora buildundistortmapf32 --mapWidth 480 --mapHeight 360 -o "$folder/ramp.png"
visora bitwisexoru8 "$folder/ramp-mapX.png" "$folder/ramp-mapY.png" -o "$folder/first.png"
visora flipu8 "$folder/first.png" -o "$folder/second.png"
"$source/scripts/docs_build" "$tools" "$folder/first.png" "$folder/second.png" "$folder/docs"
sed -n 's/^   "name": "\(vsr[A-Z][^"]*u8\)",$/\1/p' "$tools/operations.json" >"$folder/functions"
[ "$(wc -l <"$folder/functions")" -gt 200 ]
cat "$folder"/docs/site/functions/*.html >"$folder/site.html"
while read -r function; do
    grep -q "id=\"c.$function\"" "$folder/site.html" || { echo "$function has no place"; exit 1; }
done <"$folder/functions"
[ "$(find "$folder/docs/source/pictures" -name '*.png' | wc -l)" -gt 200 ]

# Blocks that are no programs are declarations or statements.
for page in "$source"/README.md "$source"/docs/*.md "$source"/docs/site/*.md; do
    awk -v start="$folder/block-$(basename "$page" .md)" '/^```c$/ { file = start "-" ++count ".c"; next } /^```$/ { file = "" }
        file { print > file }' "$page"
done
for block in "$folder"/block-*.c; do
    if grep -q 'int main(' "$block"; then
        cp "$block" "$folder/block.c"
    else
        { echo '#include <visora.h>' && echo 'void block(void);' && echo 'void block(void) {' && cat "$block" && echo '}'; } \
            >"$folder/block.c"
    fi
    "${CC:-cc}" -std=c99 -Wall -Wextra -Werror -I"$source/include" -fsyntax-only "$folder/block.c"
done

# The lines of how an operation is written are those of operations.
awk '/^```cpp$/ { on = 1; next } /^```$/ { on = 0 } on && !/^\/\// ' "$source/docs/adding-an-operation.md" >"$folder/lines"
[ -s "$folder/lines" ]
while read -r line; do
    grep -rqF "$line" "$source/tests/operations" || { echo "nothing has the line $line"; exit 1; }
done <"$folder/lines"

# Two operations, of which the second became slower.
run() {
    printf '{"context": {"date": "today", "num_cpus": 1, "mhz_per_cpu": 1, "instruction_set": "S"}, "benchmarks": ['
    separator=
    for entry in "one/vector 100" "one/Peer 300" "one/memcpy 50" "two/vector $1" "two/reference 900"; do
        printf '%s{"run_name": "%s/64x10", "run_type": "iteration", "time_unit": "ns", "real_time": %s, "items": 10}' \
            "$separator" "${entry% *}" "${entry#* }"
        separator=,
    done
    printf ']}'
}
run 200 >"$folder/old.json"
run 300 >"$folder/new.json"
"$source/scripts/bench_report.py" "$folder/new.json" --compare "$folder/old.json" --html "$folder/page.html" >"$folder/text"
grep -qE '^two +64x10 +1.50$' "$folder/text"
grep -q '1 of 2 within' "$folder/text"
grep -q '<td>one<td>64x10<td><td>10<td>30<td>Peer<td>3<td>0.5' "$folder/page.html"
