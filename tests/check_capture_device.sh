#!/bin/bash
# tools/capture-device against a fake adb on PATH (tests/fakeadb/adb): a capture holds the
# handset's one-line properties, exactly its listed readable nodes byte for byte and their labels,
# and tevctl answers from it; a failed capture leaves the target as it was and nothing beside it.
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
    # A value of two lines whose second looks like an entry, and one with "]" inside.
    cat >"$FAKE_HANDSET/getprop" <<'PROPS'
[gsm.version.baseband]: [MPSS.HI.3.1]
[persist.sys.note]: [two
[ro.product.name]: [x]
[persist.sys.text]: [a]
b]
[ro.orvu.singlesim]: [1]
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
}

# What a good capture of that handset holds.
wantProperties=$(printf '%s\n' '[gsm.version.baseband]: [MPSS.HI.3.1]' '[ro.orvu.singlesim]: [1]' \
    '[ro.product.name]: [qab]')
wantNodes=$(printf '%s\n' /proc/version /sys/class/leds/red/max_brightness \
    /sys/class/power_supply/usb/typec_cc_orientation)
wantLabels=$(printf '%s\t%s\t%s\n' \
    /proc/version /proc/version u:object_r:proc:s0 \
    /sys/class/leds/red/max_brightness /sys/devices/platform/leds/red/max_brightness \
    u:object_r:sysfs_leds:s0 \
    /sys/class/power_supply/usb/typec_cc_orientation \
    /sys/class/power_supply/usb/typec_cc_orientation u:object_r:sysfs:s0)
oldProfile() { mkdir -p "$1/fs/proc" && echo old >"$1/fs/proc/serial_num" && echo '[a]: [b]' >"$1/properties"; }

# name | handset and target set-up (H: the handset, T: the target) | options | exit status |
# a line on stderr | the target afterwards: new (the capture), kept (as set up), none (and nothing
# made on the way to it)
cases=(
    "a capture|||0|capture-device: 3 properties and 3 of|new"
    "a continuation that looks like an entry|||0|left out persist.sys.note: its value spans 2 lines|new"
    "a value line ending in ]|||0|left out persist.sys.text: its value spans 2 lines|new"
    "a refused node, cat's words on the raw channel|||0|cannot read /sys/class/leds/red/brightness: cat: /sys/class/leds/red/brightness: Permission denied|new"
    "a node that is a folder|||0|cannot read /sys/class/leds/green/brightness: cat: /sys/class/leds/green/brightness: Is a directory|new"
    "an absent node|||0|capture-device: no /proc/serial_num|new"
    "an empty target folder|mkdir -p \$T||0|capture-device: 3 properties and 3 of|new"
    "an earlier capture, --force|oldProfile \$T|--force|0|capture-device: 3 properties and 3 of|new"
    "an earlier capture|oldProfile \$T||2|is not empty (--force replaces it)|kept"
    "a file as target|mkdir -p \$(dirname \$T); echo x >\$T|--force|2|exists and is not a folder|kept"
    "no handset|echo '0 1' >\$H/lose||1|no handset to capture: error: no devices/emulators found|none"
    "getprop answers nothing|rm \$H/getprop||1|getprop answered nothing|none"
    "lost during getprop, old adb|echo '1 0' >\$H/lose||1|lost the handset while reading the properties, after nothing; nothing written to|none"
    "lost midway|echo '8 1' >\$H/lose||1|lost the handset while reading /sys/class/leds/red/max_brightness, after the properties and 1 of|none"
    "lost midway, old adb|echo '8 0' >\$H/lose||1|lost the handset while reading /sys/class/leds/red/max_brightness, after the properties and 1 of|none"
    "lost midway, earlier capture kept|oldProfile \$T; echo '8 1' >\$H/lose|--force|1|lost the handset while|kept"
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
        fi
    fi
    if [ -n "$problem" ]; then
        echo "FAIL $name: $problem" >&2
        sed 's/^/    /' "$work/err" >&2
        failed=$((failed + 1))
    fi
done

# tevctl answers from a capture, and adb was asked for the handset named.
handset
"$src/tools/capture-device" -s 0123 "$work/profile" 2>/dev/null >/dev/null
[ "$("${tevctl[@]}" --device "$work/profile" call usb getUsbPluginStatus)" = 2 ] ||
    { echo "FAIL tevctl's usb answer from a capture" >&2; failed=$((failed + 1)); }
[ "$("${tevctl[@]}" --device "$work/profile" call version isSingleSim)" = true ] ||
    { echo "FAIL tevctl's version answer from a capture" >&2; failed=$((failed + 1)); }
grep -qx -- "-s 0123 get-state" "$FAKE_HANDSET/commands" ||
    { echo "FAIL the serial was not passed to adb" >&2; failed=$((failed + 1)); }
echo "capture-device: $((${#cases[@]} + 3 - failed)) passed, $failed failed"
[ $failed = 0 ]
