#!/bin/bash
# The interface is frozen once released: every .hal change must come with its new hash in
# interface/current.txt, as AOSP freezes its own packages.
set -eu
hidl_gen=$1
src=$2
expected=$("$hidl_gen" -L hash -R -r android.hidl:"$src"/host/hidl \
    -r vendor.quoril.hardware.tevvendorservice:"$src"/interface \
    vendor.quoril.hardware.tevvendorservice@1.0 | sort)
recorded=$(grep -v '^#' "$src"/interface/current.txt | grep -v '^$' | sort)
if [ "$expected" != "$recorded" ]; then
    echo "interface/current.txt does not match the .hal files:" >&2
    diff <(echo "$recorded") <(echo "$expected") >&2 2>/dev/null || {
        echo "recorded:"; echo "$recorded"; echo "expected:"; echo "$expected"; } >&2
    exit 1
fi
echo "interface hashes: 1 passed, 0 failed"
