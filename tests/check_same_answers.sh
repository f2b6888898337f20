#!/bin/bash
# tests/check_same_answers.sh SRC TEVCTL... -- TEVCTL...: two builds of tevctl (each given as the
# words that run it, an emulator's first) give the same bytes on every bundled profile: the list,
# the report, and the steps of the profile's tests/cases/PROFILE/every-area.case run with --json
# (standard output, standard error and exit status). Both must be built from SRC, so that the
# report names the same profile path; each loads the service library from its own build's lib/
# through one link, so that a log line naming the library folder names the same one.
set -euo pipefail
src=$1
shift
a=()
while [ $# -gt 0 ] && [ "$1" != -- ]; do
    a+=("$1")
    shift
done
[ $# -gt 1 ] && [ ${#a[@]} -gt 0 ] || {
    echo "usage: tests/check_same_answers.sh SRC TEVCTL... -- TEVCTL..." >&2
    exit 2
}
shift
# shellcheck disable=SC2034  # a and b are read through the name tevctl in same()
b=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

failed=0
compared=0
# Runs one tevctl command line with both builds and compares what they print.
same() {
    local what=$1
    shift
    local side
    for side in a b; do
        local -n tevctl=$side
        mkdir -p "$work/$side"
        ln -sfn "$(cd "$(dirname "${tevctl[-1]}")/../lib" && pwd)" "$work/lib"
        local status=0
        (cd "$src" && TEVHOST_HAL_DIR=$work/lib "${tevctl[@]}" "$@" >"$work/$side/out" \
            2>"$work/$side/err") || status=$?
        echo "$status" >"$work/$side/status"
    done
    compared=$((compared + 1))
    if ! diff -r "$work/a" "$work/b" >"$work/diff"; then
        echo "check_same_answers: $what differs:" >&2
        head -c 4000 "$work/diff" >&2
        failed=$((failed + 1))
    fi
}

same "list" --json list
for profile in "$src"/devices/*/; do
    name=$(basename "$profile")
    same "$name: report" --device "$name" --json --log report
    case=$src/tests/cases/$name/every-area.case
    [ -f "$case" ] || {
        echo "check_same_answers: $name has no $(realpath --relative-to="$src" "$case")" >&2
        exit 1
    }
    sed '/^  /d' "$case" >"$work/$name.steps"
    same "$name: every-area.case" --device "$name" --json --log run "$work/$name.steps"
done
echo "check_same_answers: $((compared - failed)) the same, $failed differ"
[ "$failed" -eq 0 ]
