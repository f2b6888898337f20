#!/bin/bash
# tests/check_case.sh SRC CASE TEVCTL...: runs one case and compares it with what it says.
#
# A case (tests/cases/DEVICE/NAME.case) is a tevctl run script with what each call prints (with
# --log) written under the call, every such line indented by two blanks. The script, which is the
# case without its indented lines, runs in SRC on the bundled profile DEVICE, in a process of its
# own; what it prints must be what the case says, byte for byte. A run that ends other than with
# status 0, or says anything on standard error, adds both at the end. The service library's folder
# is written LIB, so that the case holds for every build. TEVCTL is given as the words that run
# it, an emulator's first.
# With TEV_UPDATE_GOLDEN=1 the case's indented lines are written instead: review its diff before
# committing it.
set -euo pipefail
. "$(dirname "$0")/golden-compare.sh"
src=$1
case=$2
shift 2
[ $# -gt 0 ] || {
    echo "usage: tests/check_case.sh SRC CASE TEVCTL..." >&2
    exit 2
}
tevctl=("$@")
device=$(basename "$(dirname "$case")")
lib=$(cd "$(dirname "${@: -1}")/../lib" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# What the case prints now, in $work/got.
print_case() {
    # The indented lines become blank ones, so that a step's line number is its line in the case.
    sed 's/^  .*//' "$case" >"$work/steps"
    status=0
    (cd "$src" && "${tevctl[@]}" --device "$device" --log run "$work/steps" \
        >"$work/out" 2>"$work/err") || status=$?
    # Each call's output is headed by "> AREA OP ARGS": the call's own line in the case stands in
    # for that head, and the lines under it go under the call.
    awk -v out="$work/out" -v err="$work/err" -v status="$status" '
        BEGIN {
            while ((getline line < out) > 0) {
                if (substr(line, 1, 2) == "> ") { count[++blocks] = 0; continue }
                if (blocks == 0) { loose[++looseLines] = line; continue }
                block[blocks, ++count[blocks]] = line
            }
        }
        substr($0, 1, 2) == "  " { next }
        { print }
        $1 == "call" && ++calls <= blocks {
            for (i = 1; i <= count[calls]; i++) print "  " block[calls, i]
        }
        END {
            for (i = 1; i <= looseLines; i++) print "  " loose[i]
            errLines = 0
            while ((getline line < err) > 0) text[++errLines] = line
            if (status != 0 || errLines > 0) {
                print "  --- standard error"
                for (i = 1; i <= errLines; i++) print "  " text[i]
                print "  --- exit status " status
            }
        }' "$case" |
        sed -e "s|$lib|LIB|g" -e "s|$work/steps|$(realpath --relative-to="$src" "$case")|g" \
            >"$work/got"
}

print_case
# Written afresh, the case's lines move: a second pass gives the steps their final line numbers.
if [ "${TEV_UPDATE_GOLDEN:-}" = 1 ] && ! cmp -s "$work/got" "$case"; then
    cp "$work/got" "$case"
    print_case
fi
compare_golden "$work/got" "$case" "what its steps print now"
