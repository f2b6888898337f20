#!/bin/bash
# tests/check_golden.sh SRC GOLDEN TEVCTL... -- ARGS...: runs tevctl (given as the words that run
# it, an emulator's first) with ARGS in SRC and compares what it prints (standard output, then
# standard error and the exit status) with the checked-in file GOLDEN, byte for byte. The service
# library's folder is written LIB, so that the file holds for every build.
# With TEV_UPDATE_GOLDEN=1 the file is written instead: review its diff before committing it.
set -euo pipefail
. "$(dirname "$0")/golden-compare.sh"
src=$1
golden=$2
shift 2
tevctl=()
while [ $# -gt 0 ] && [ "$1" != -- ]; do
    tevctl+=("$1")
    shift
done
[ $# -gt 0 ] && [ ${#tevctl[@]} -gt 0 ] || {
    echo "usage: tests/check_golden.sh SRC GOLDEN TEVCTL... -- ARGS..." >&2
    exit 2
}
shift
lib=$(cd "$(dirname "${tevctl[-1]}")/../lib" && pwd)
got=$(mktemp)
trap 'rm -f "$got" "$got.err"' EXIT
status=0
(cd "$src" && "${tevctl[@]}" "$@" >"$got" 2>"$got.err") || status=$?
{
    echo "--- standard error"
    cat "$got.err"
    echo "--- exit status $status"
} >>"$got"
sed -i "s|$lib|LIB|g" "$got"
compare_golden "$got" "$golden" "tevctl $*"
