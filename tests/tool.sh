#!/bin/bash
# The command-line tool: every operation runs, does what it says, and what it cannot do is told and writes nothing.
# usage: tool.sh VISORA README
set -euo pipefail
visora=$1 readme=$2
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
cd "$folder"
fail() {
    echo "tool.sh: $*" >&2
    exit 1
}
# The command has to fail with a message that has these words, in one line, and without a crash.
refuses() {
    local words=$1 status=0
    shift
    "$visora" "$@" >out 2>err || status=$?
    [ "$status" -ne 0 ] && [ "$status" -lt 126 ] || fail "$*: status $status"
    grep -q -- "$words" err out || fail "$*: no word of $words in $(cat err out)"
}
run() {
    "$visora" "$@" >out 2>err || fail "$*: $(cat out err)"
}

# A texture of the size that the most particular operations take, and one that moved by (3, 2).
run buildundistortmapf32 --mapWidth 64 --mapHeight 64 -o ramp.png
run bitwisexoru8 ramp-mapX.png ramp-mapY.png -o texture.png
run equalizehistogramu8 texture.png -o texture.png
run transformaffineu8 texture.png --affine 1,0,-3,0,1,-2 --dstWidth 64 --dstHeight 64 -o moved.png

# Each with as many pictures as it wants, but for those that want what no picture of a size is: what was learned of a
# background, blocks of a JPEG decoder, a checkerboard, bands half as large.
"$visora" list >operations
total=0
while read -r operation _; do
    total=$((total + 1))
    pictures=()
    for _ in 1 2 3 4 5; do
        status=0
        "$visora" "$operation" "${pictures[@]}" -o result.png >out 2>&1 </dev/null || status=$?
        grep -qE "needs [0-9]|pictures is required" out || break
        pictures+=(texture.png)
    done
    [ "$status" -lt 126 ] || fail "$operation crashed: $(tail -1 out)"
    case $operation in
        BGCode* | ColorYCrCbH* | CheckerboardCorners* | HaarInverse*) ;;
        *) [ "$status" -eq 0 ] || fail "$operation cannot be shown: $(tail -1 out)" ;;
    esac
done <operations
[ "$total" -gt 350 ] || fail "only $total operations"

# What is computed.
run bitwisenotu8 texture.png -o not.png
run bitwisenot not.png -o again.png
run sumofabsolutediff texture.png again.png
grep -qx "sum 0" out || fail "not not: $(cat out)"
for kind in cpu vecta; do
    run gaussian5x5 texture.png --kind "$kind" --time -o "$kind.png"
    grep -qi "vsrFilterGaussian5x5u8_v2 $kind " out || fail "$(cat out)"
done
cmp cpu.png vecta.png
run track texture.png moved.png -o arrows.png
awk '{ if (($4 - $1 - 3) ^ 2 + ($5 - $2 - 2) ^ 2 < 0.04) right++ } END { exit !(NR > 5 && right > 0.8 * NR) }' out ||
    fail "points moved otherwise: $(head -3 out)"
run corners texture.png --overlay -o corners.png
grep -q "^xy" out && [ -s corners.png ] || fail "no corners"
"$visora" help median3x3 | grep -q "3x3 median of a u8 image with a border rule" || fail "help"

# The README's commands.
mkdir readme readme/photographs
for name in in a b photographs/1 photographs/2; do cp texture.png "readme/$name.png"; done
awk '/^```sh$/ { block = ""; on = 1; next } /^```$/ { if (block ~ /^visora /) printf "%s", block; on = 0 } on { block = block $0 "\n" }' \
    "$readme" >readme/commands
grep -c "^visora " readme/commands >/dev/null || fail "no commands in $readme"
(cd readme && PATH=$(dirname "$visora"):$PATH bash -e commands >out 2>&1) || fail "README: $(tail -1 readme/out)"

# Folders: the good ones are done, the bad one is told.
mkdir photographs
for i in 1 2 3; do cp texture.png "photographs/$i.png"; done
head -c 200 texture.png >photographs/cut.png
refuses "photographs/cut.png" median3x3 photographs -o medians --jobs 2
[ "$(ls medians | wc -l)" -eq 3 ] || fail "$(ls medians)"
run flipu8 texture.png -o texture.jpg
head -c 300 texture.jpg >cut.jpg

# What cannot be done.
refuses "FilterMedian3x3u8" medain3x3 texture.png
refuses "may be" threshold texture.png
refuses "cut.jpg" median3x3 cut.jpg -o new.png
refuses "png or .jpg" median3x3 texture.png -o new.tiff
refuses "cannot write" median3x3 texture.png -o nowhere/new.png
refuses "threshold" filterthresholdfixedu8 texture.png --threshold 256 -o new.png
refuses "threshold" filterthresholdfixedu8 texture.png --threshold many -o new.png
refuses "src2" absdiffu8 texture.png medians/1.png medians/2.png -o new.png
refuses "ramp.missing" absdiffu8 texture.png ramp.missing -o new.png
refuses "N" boxfilternxn texture.png --N 0 -o new.png
refuses "too few or too many" scaleu8 texture.png --dstWidth 4000000000 --dstHeight 4000000000 -o new.png
refuses "GPU" median3x3 texture.png --kind gup -o new.png
[ ! -e new.png ] || fail "written although it was refused"
if "$visora" list >/dev/full 2>err; then fail "a full disk is not told"; fi
