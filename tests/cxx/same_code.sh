#!/usr/bin/env bash
# usage: same_code.sh OBJDUMP OBJECT: the two functions of same_code.cpp consist of the same instructions.
set -euo pipefail
instructions() {
    "$1" -d --no-show-raw-insn --no-addresses "$2" | sed -n "/<$3>:/,/^\$/p" | sed "1d; s/<[^>]*>//; s/^ *//" | grep -v nop
}
through=$(instructions "$1" "$2" through_views)
by_hand=$(instructions "$1" "$2" by_hand_views)
[ -n "$through" ] || { echo "no instructions found"; exit 1; }
diff <(echo "$through") <(echo "$by_hand")
