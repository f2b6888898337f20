#!/bin/bash
# tools/capture-device against a fake adb on PATH (tests/fakeadb/adb): a capture holds the
# handset's one-line properties, each key once, exactly its listed readable nodes byte for byte,
# their labels and their owners and modes, and tevctl answers from it; a failed capture leaves the
# target as it was and nothing beside it. Progress and the count of absent nodes go to stderr;
# without adb, or with --help, it says so.
set -euo pipefail
src=$1
tevctl=("${@:2}")  # the words that run tevctl: in a cross build, the emulator's first
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export FAKE_HANDSET=$work/handset
export PATH="$src/tests/fakeadb:$PATH"

handset() {
    rm -rf "$FAKE_HANDSET"
    mkdir -p "$FAKE_HANDSET/fs/proc" "$FAKE_HANDSET/fs/sys/class/power_supply/usb" \
        "$FAKE_HANDSET/fs/sys/class/leds/red" "$FAKE_HANDSET/fs/sys/class/leds/green/brightness"
    # A value of two lines whose second looks like an entry, and one with "]" inside; values
    # whose second line looks like a whole entry for a key given elsewhere (ro. and not).
    cat >"$FAKE_HANDSET/getprop" <<'PROPS'
[gsm.version.baseband]: [MPSS.HI.3.1]
[persist.sys.dup]: [a]
[persist.sys.note]: [two
[ro.product.name]: [x]
[persist.sys.text]: [a]
b]
[ro.orvu.singlesim]: [1]
[ro.product.model]: [m]
[ro.orvu.singlesim]: [0]
[persist.sys.dup]: [b]
[ro.product.name]: [qab]
PROPS
    printf 'Linux version 4.19.113\n' >"$FAKE_HANDSET/fs/proc/version"
    printf '2\r\n' >"$FAKE_HANDSET/fs/sys/class/power_supply/usb/typec_cc_orientation"
    printf '255\n' >"$FAKE_HANDSET/fs/sys/class/leds/red/max_brightness"
    printf 'secret\n' >"$FAKE_HANDSET/fs/sys/class/leds/red/brightness"
    echo /sys/class/leds/red/brightness >"$FAKE_HANDSET/refused"
    printf 'x\n' >"$FAKE_HANDSET/fs/proc/not_listed"
    echo "/sys/class/leds/red/max_brightness /sys/devices/platform/leds/red/max_brightness" \
        >"$FAKE_HANDSET/resolved"
    echo "/sys/devices/platform/leds/red/max_brightness u:object_r:sysfs_leds:s0" \
        >"$FAKE_HANDSET/labels"
    echo "/sys/class/leds/red/max_brightness system system 664" >"$FAKE_HANDSET/modes"
}

# What a good capture of that handset holds.
wantProperties=$(printf '%s\n' '[gsm.version.baseband]: [MPSS.HI.3.1]' '[persist.sys.dup]: [b]' \
    '[ro.orvu.singlesim]: [1]' '[ro.product.model]: [m]' '[ro.product.name]: [qab]')
wantNodes=$(printf '%s\n' /proc/version /sys/class/leds/red/max_brightness \
    /sys/class/power_supply/usb/typec_cc_orientation)
wantLabels=$(printf '%s\t%s\t%s\n' \
    /proc/version /proc/version u:object_r:proc:s0 \
    /sys/class/leds/red/max_brightness /sys/devices/platform/leds/red/max_brightness \
    u:object_r:sysfs_leds:s0 \
    /sys/class/power_supply/usb/typec_cc_orientation \
    /sys/class/power_supply/usb/typec_cc_orientation u:object_r:sysfs:s0)
wantModes=$(printf '%s\t%s\t%s\t%s\n' /proc/version root root 444 \
    /sys/class/leds/red/max_brightness system system 664 \
    /sys/class/power_supply/usb/typec_cc_orientation root root 444)
listed=$(grep -cv '^\s*\(#\|$\)' "$src/tools/device-nodes.txt")
oldProfile() { mkdir -p "$1/fs/proc" && echo old >"$1/fs/proc/serial_num" && echo '[a]: [b]' >"$1/properties"; }

# name | handset and target set-up (H: the handset, T: the target) | options | exit status |
# a line on stderr | the target afterwards: new (the capture), kept (as set up), none (and nothing
# made on the way to it)
cases=(
    "a capture|||0|capture-device: 5 properties and 3 of|new"
    "a ro. key given twice keeps its first value|||0|ro.orvu.singlesim is given twice; kept its first value, as Android does|new"
    "another key given twice keeps its last value|||0|persist.sys.dup is given twice; kept its last value|new"
    "progress: the properties|||0|capture-device: reading the properties|new"
    "progress: the nodes|||0|capture-device: reading node 5 of 5|new"
    "a continuation that looks like an entry|||0|left out persist.sys.note: its value spans 2 lines|new"
    "a value line ending in ]|||0|left out persist.sys.text: its value spans 2 lines|new"
    "a refused node, cat's words on the raw channel|||0|cannot read /sys/class/leds/red/brightness: cat: /sys/class/leds/red/brightness: Permission denied|new"
    "a node that is a folder|||0|cannot read /sys/class/leds/green/brightness: cat: /sys/class/leds/green/brightness: Is a directory|new"
    "the absent nodes, counted|||0|capture-device: $((listed - 5)) of the $listed listed nodes are not on this handset|new"
    "an empty target folder|mkdir -p \$T||0|capture-device: 5 properties and 3 of|new"
    "an earlier capture, --force|oldProfile \$T|--force|0|capture-device: 5 properties and 3 of|new"
    "an earlier capture|oldProfile \$T||2|is not empty (--force replaces it)|kept"
    "a file as target|mkdir -p \$(dirname \$T); echo x >\$T|--force|2|exists and is not a folder|kept"
    "no handset|echo '0 1' >\$H/lose||1|no handset to capture: error: no devices/emulators found|none"
    "getprop answers nothing|rm \$H/getprop||1|getprop answered nothing|none"
    "lost during getprop, old adb|echo '1 0' >\$H/lose||1|lost the handset while reading the properties, after nothing; nothing written to|none"
    "lost midway|echo '9 1' >\$H/lose||1|lost the handset while reading /sys/class/leds/red/max_brightness, after the properties and 1 of|none"
    "lost midway, old adb|echo '9 0' >\$H/lose||1|lost the handset while reading /sys/class/leds/red/max_brightness, after the properties and 1 of|none"
    "lost midway, earlier capture kept|oldProfile \$T; echo '9 1' >\$H/lose|--force|1|lost the handset while|kept"
)

state() { (cd "$1" 2>/dev/null && find . -type f -exec sha1sum {} + | sort) || true; }
failed=0
for row in "${cases[@]}"; do
    IFS='|' read -r name setup options status line after <<<"$row"
    handset
    rm -rf "$work/case"
    mkdir "$work/case"
    H=$FAKE_HANDSET T=$work/case/out/profile
    eval "$setup"
    before=$(state "$T")
    got=0
    # shellcheck disable=SC2086
    "$src/tools/capture-device" -s 0123 $options "$T" >"$work/out" 2>"$work/err" || got=$?
    problem=""
    if [ "$got" != "$status" ]; then
        problem="exit status $got, not $status"
    elif ! grep -qF -- "$line" "$work/out" "$work/err"; then
        problem="no line '$line'"
    elif grep -q "^capture-device: no /" "$work/err"; then
        problem="an absent node named as if it were an error"
    elif [ "$after" = none ] && [ -n "$(ls -A "$work/case")" ]; then
        problem="left behind: $(cd "$work/case" && find . | tr '\n' ' ')"
    elif [ "$after" != none ] && [ "$(ls -A "$(dirname "$T")")" != profile ]; then
        problem="beside the target: $(ls -A "$(dirname "$T")" | tr '\n' ' ')"
    elif [ "$after" = kept ] && [ "$(state "$T")" != "$before" ]; then
        problem="the target changed"
    elif [ "$after" = new ]; then
        if [ "$(cat "$T/properties")" != "$wantProperties" ]; then
            problem="properties: $(cat "$T/properties")"
        elif [ "$(cd "$T/fs" && find . -type f | sed 's/^\.//' | sort)" != "$wantNodes" ]; then
            problem="nodes: $(cd "$T/fs" && find . -type f | tr '\n' ' ')"
        elif ! cmp -s "$T/fs/sys/class/power_supply/usb/typec_cc_orientation" \
            "$H/fs/sys/class/power_supply/usb/typec_cc_orientation"; then
            problem="node bytes changed"
        elif [ "$(cat "$T/labels")" != "$wantLabels" ]; then
            problem="labels: $(cat "$T/labels")"
        elif [ "$(cat "$T/modes")" != "$wantModes" ]; then
            problem="modes: $(cat "$T/modes")"
        fi
    fi
    if [ -n "$problem" ]; then
        echo "FAIL $name: $problem" >&2
        sed 's/^/    /' "$work/err" >&2
        failed=$((failed + 1))
    fi
done

# tevctl answers from a capture, the permission check runs on it, and adb was asked for the
# handset named.
handset
"$src/tools/capture-device" -s 0123 "$work/profile" 2>/dev/null >/dev/null
[ "$("${tevctl[@]}" --device "$work/profile" call usb getUsbPluginStatus)" = 2 ] ||
    { echo "FAIL tevctl's usb answer from a capture" >&2; failed=$((failed + 1)); }
[ "$("${tevctl[@]}" --device "$work/profile" call version isSingleSim)" = true ] ||
    { echo "FAIL tevctl's version answer from a capture" >&2; failed=$((failed + 1)); }
"$src/tools/check-permissions" "$work/profile" >/dev/null ||
    { echo "FAIL tools/check-permissions on a capture" >&2; failed=$((failed + 1)); }
grep -qx -- "-s 0123 get-state" "$FAKE_HANDSET/commands" ||
    { echo "FAIL the serial was not passed to adb" >&2; failed=$((failed + 1)); }
# --help answers on stdout and succeeds.
if ! "$src/tools/capture-device" --help >"$work/out" 2>"$work/err" ||
    ! grep -q "^usage: tools/capture-device" "$work/out" || [ -s "$work/err" ]; then
    echo "FAIL --help" >&2
    failed=$((failed + 1))
fi
# Without adb: every program of PATH but adb (and the fake one) in a folder of links.
mkdir "$work/noadb"
IFS=: read -ra folders <<<"$PATH"
for folder in "${folders[@]}"; do
    if [ "$folder" = "$src/tests/fakeadb" ] || [ ! -d "$folder" ]; then continue; fi
    find "$folder" -maxdepth 1 ! -type d ! -name adb -exec ln -s -t "$work/noadb" {} + 2>/dev/null ||
        true
done
got=0
PATH=$work/noadb "$src/tools/capture-device" "$work/noadb-profile" >"$work/out" 2>"$work/err" ||
    got=$?
if [ $got != 1 ] || [ "$(cat "$work/err")" != "capture-device: adb not found: install Android's platform tools, or put adb on PATH" ] ||
    [ -e "$work/noadb-profile" ]; then
    echo "FAIL without adb: exit status $got, $(cat "$work/err")" >&2
    failed=$((failed + 1))
fi
echo "capture-device: $((${#cases[@]} + 6 - failed)) passed, $failed failed"
[ $failed = 0 ]
