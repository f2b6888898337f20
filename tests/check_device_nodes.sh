#!/bin/bash
# tools/device-nodes.txt must name every node the service's sources name: each string literal
# that begins with /sys/, /proc/ or /d/ (or sys/, proc/, d/, opened relative to "/") is either
# listed, or a folder or format prefix ("/sys/class/leds/", "/sys/class/leds/%s") of a listed one.
set -euo pipefail
src=$1
list="$src/tools/device-nodes.txt"
status=0
entries=$(grep -v '^\s*#' "$list" | grep -v '^\s*$')
# The list itself: absolute device paths, each once, each with no access, rw or w after it.
while read -r path access rest; do
    if ! [[ "$path" =~ ^/(sys|proc|d)/[^[:space:]]+$ ]] || ! [[ "$access" =~ ^(rw|w)?$ ]] || [ -n "$rest" ]; then
        echo "bad entry in device-nodes.txt: $path${access:+ $access}${rest:+ $rest}" >&2
        status=1
    fi
done <<<"$entries"
listed=$(awk '{ print $1 }' <<<"$entries")
dups=$(sort <<<"$listed" | uniq -d)
[ -z "$dups" ] || { echo "listed twice in device-nodes.txt: $dups" >&2; status=1; }
# Literals of the product sources, adjacent literals joined first ("/sys/a" "/b").
literals=$(cat "$src"/service/* "$src"/utils/* "$src"/checks/* |
    perl -0777 -ne 's/"\s*\n?\s*"//g; while (/"(\/?(?:sys|proc|d)\/[^"]*)"/g) { print "$1\n" }' |
    sort -u)
count=0
while read -r literal; do
    [ -n "$literal" ] || continue
    count=$((count + 1))
    path=/${literal#/}
    prefix=${path%%%*}  # a format string counts up to its first conversion
    if grep -qxF -- "$path" <<<"$listed"; then
        continue
    elif { [ "$prefix" != "$path" ] || [ "${path: -1}" = / ]; } &&
        grep -q -- "^$(sed 's/[.[\*^$]/\\&/g' <<<"$prefix")" <<<"$listed"; then
        continue
    fi
    echo "node $literal is named in the sources but not in tools/device-nodes.txt" >&2
    status=1
done <<<"$literals"
[ $status -eq 0 ] && echo "device nodes: $count literals listed, 1 passed, 0 failed"
exit $status
