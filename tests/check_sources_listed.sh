#!/bin/bash
# Every product source must be built by both builds: listed in Android.bp and in CMakeLists.txt.
set -euo pipefail
src=$1
cd "$src"
status=0
for file in service/*.cpp utils/*.cpp checks/*.cpp; do
    for build in Android.bp CMakeLists.txt; do
        if ! grep -q "\"\?$file\"\?" "$build"; then
            echo "$file is not listed in $build" >&2
            status=1
        fi
    done
done
# And nothing listed that does not exist.
for listed in $(grep -oE '"(service|utils|checks)/[A-Za-z]+\.cpp"' Android.bp | tr -d '"'); do
    [ -f "$listed" ] || { echo "Android.bp lists missing $listed" >&2; status=1; }
done
[ $status -eq 0 ] && echo "sources listed: 1 passed, 0 failed"
exit $status
