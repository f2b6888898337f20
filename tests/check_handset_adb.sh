#!/bin/bash
# tevctl --adb through a stand-in adb (tests/handsetadb/adb) whose handsets run the host build of
# the handset's tevctl on a profile. PART is one of:
#   call  the handset answers as tevctl answers on the same profile, text and JSON, words with
#         blanks and quotes arriving whole; what needs a simulated handset is refused by name
#   adb   a missing adb, no handset, several, and a serial named among several
#   diff  diff A --adb: nothing against the same profile live, what diff A B finds against another,
#         and on a capture of the handset only what a capture cannot hold (the sensor stand-ins)
# Usage: check_handset_adb.sh PART HANDSET_TEVCTL TEVCTL_WORDS... (in a cross build the emulator's
# words come first and run both tools).
set -euo pipefail
part=$1
tevctl=("${@:3}")
export HANDSET_TEVCTL=$2
export HANDSET_EMULATOR="${tevctl[*]:0:${#tevctl[@]}-1}"
PATH="$(cd "$(dirname "$0")" && pwd)/handsetadb:$PATH"
export PATH
export HANDSET_SERIALS=bench1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0 passed=0

check() {  # NAME: pass when the last command left 0 in $ok
    if [ "$ok" = 1 ]; then passed=$((passed + 1)); else
        echo "FAIL: $1" >&2
        failed=$((failed + 1))
    fi
}
# Runs WORDS with $input on stdin; its stdout, stderr and exit status in $work/out, $work/err,
# $status.
input=/dev/null
run() {
    status=0
    "$@" <"$input" >"$work/out" 2>"$work/err" || status=$?
}
same() {  # PROFILE WORDS...: --adb on a handset of PROFILE prints what --device PROFILE prints
    local profile=$1
    shift
    run "${tevctl[@]}" --device "$profile" "$@"
    mv "$work/out" "$work/expected"
    local expected=$status
    HANDSET_DEVICE=$profile run "${tevctl[@]}" --adb "$@"
    ok=0
    [ "$status" = "$expected" ] && cmp -s "$work/out" "$work/expected" && ok=1
    check "$profile: tevctl --adb $* (exit $status, expected $expected)"
    [ "$ok" = 1 ] || diff "$work/expected" "$work/out" | head -5 >&2
}
refused() {  # WORD WORDS...: exit 2 and one line on stderr naming WORD, nothing on stdout
    local word=$1
    shift
    run "${tevctl[@]}" --adb "$@"
    ok=0
    [ "$status" = 2 ] && [ ! -s "$work/out" ] && [ "$(wc -l <"$work/err")" = 1 ] &&
        grep -q -- "$word" "$work/err" && ok=1
    check "tevctl --adb $* is refused naming $word (exit $status: $(cat "$work/err"))"
}

case $part in
    call)
        for profile in qab marskol; do
            same "$profile" call battery getBatteryTemp
            same "$profile" --json call battery getBatteryTemp
            same "$profile" report
            same "$profile" --json list
            same "$profile" debug --json
        done
        same qab call root getVendorProperty "ro.a b" "it's \$HOME \"q\""
        same qab --json call leds getLedBrightness 1 false
        same qab call camera getCameraId 16
        # A second client between calls; the steps only read (the handset tells no writes).
        input=$work/steps
        printf 'call leds getLedsList\nclient\ncall battery getBatteryTemp\n' >"$input"
        same qab run
        same qab --json run -
        echo "node /sys/class/leds/red/brightness 1" >"$input"
        refused node run
        input=/dev/null
        refused --device --device qab call battery getBatteryTemp
        refused products products
        ;;
    adb)
        run env PATH=/nowhere "${tevctl[@]}" --adb list
        ok=0
        [ "$status" = 2 ] && grep -q "adb is not installed" "$work/err" && ok=1
        check "without adb: exit 2, said"
        HANDSET_SERIALS='' refused "no handset" call battery getBatteryTemp
        HANDSET_SERIALS='one two' refused "several handsets connected (one, two)" list
        HANDSET_SERIALS='one two' run "${tevctl[@]}" --adb two call battery getBatteryTemp
        ok=0
        [ "$status" = 0 ] && [ -s "$work/out" ] && ok=1
        check "--adb two among one two answers (exit $status)"
        ;;
    diff)
        HANDSET_DEVICE=qab run "${tevctl[@]}" diff qab --adb
        ok=0
        [ "$status" = 0 ] && [ ! -s "$work/out" ] && ok=1
        check "diff qab --adb on qab finds nothing (exit $status)"
        HANDSET_DEVICE=qab run "$(dirname "$0")/../tools/capture-device" "$work/capture"
        HANDSET_DEVICE=qab run "${tevctl[@]}" diff "$work/capture" --adb
        ok=0
        [ "$status" = 1 ] && sed 1d "$work/out" | awk '$1 != "sensor" { exit 1 }' && ok=1
        check "diff CAPTURE --adb on the captured handset finds only sensor answers (exit $status)"
        run "${tevctl[@]}" diff qab marskol
        sed 1d "$work/out" >"$work/expected"
        HANDSET_DEVICE=marskol run "${tevctl[@]}" diff qab --adb
        ok=0
        [ "$status" = 1 ] && [ -s "$work/expected" ] && sed 1d "$work/out" | cmp -s - "$work/expected" &&
            head -1 "$work/out" | grep -q "adb:bench1" && ok=1
        check "diff qab --adb on marskol finds what diff qab marskol finds (exit $status)"
        run "${tevctl[@]}" --json diff qab marskol
        sed 's/^{"a":"[^"]*","b":"[^"]*",//' "$work/out" >"$work/expected"
        HANDSET_DEVICE=marskol run "${tevctl[@]}" --json diff qab --adb
        ok=0
        grep -q '"b":"adb:bench1"' "$work/out" &&
            sed 's/^{"a":"[^"]*","b":"[^"]*",//' "$work/out" | cmp -s - "$work/expected" && ok=1
        check "--json diff qab --adb on marskol lists what --json diff qab marskol lists"
        ;;
esac
echo "handset $part: $passed passed, $failed failed"
[ "$failed" = 0 ]
