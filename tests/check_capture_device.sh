#!/bin/bash
# tools/capture-device against a fake adb on PATH: the profile it writes holds the handset's
# properties and exactly its listed nodes byte for byte, and tevctl answers from it.
set -euo pipefail
src=$1
tevctl=("${@:2}")  # the words that run tevctl: in a cross build, the emulator's first
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export FAKE_HANDSET=$work/handset
mkdir -p "$FAKE_HANDSET/fs/proc" "$FAKE_HANDSET/fs/sys/class/power_supply/usb" \
    "$FAKE_HANDSET/fs/sys/class/leds/red" "$FAKE_HANDSET/fs/sys/class/leds/green/brightness"
cat >"$FAKE_HANDSET/getprop" <<'PROPS'
[gsm.version.baseband]: [MPSS.HI.3.1]
[ro.orvu.singlesim]: [1]
[ro.product.name]: [qab]
[persist.sys.note]: [two
lines]
PROPS
printf 'Linux version 4.19.113\n' >"$FAKE_HANDSET/fs/proc/version"
printf '2\r\n' >"$FAKE_HANDSET/fs/sys/class/power_supply/usb/typec_cc_orientation"
printf '255\n' >"$FAKE_HANDSET/fs/sys/class/leds/red/max_brightness"
printf 'secret\n' >"$FAKE_HANDSET/fs/sys/class/leds/red/brightness"
echo /sys/class/leds/red/brightness >"$FAKE_HANDSET/refused"  # refused to the shell
printf 'x\n' >"$FAKE_HANDSET/fs/proc/not_listed"

fail() { echo "capture-device: $*" >&2; exit 1; }
PATH="$src/tests/fakeadb:$PATH" "$src/tools/capture-device" -s 0123 "$work/profile" 2>"$work/err" >/dev/null
profile=$work/profile
# Properties: the one-line entries, without \r.
diff <(printf '%s\n' '[gsm.version.baseband]: [MPSS.HI.3.1]' '[ro.orvu.singlesim]: [1]' \
    '[ro.product.name]: [qab]') "$profile/properties" || fail "properties differ"
# Nodes: exactly the listed ones the handset has and lets the shell read, bytes unchanged.
got=$(cd "$profile/fs" && find . -type f | sed 's/^\.//' | sort)
want=$(printf '%s\n' /proc/version /sys/class/leds/red/max_brightness \
    /sys/class/power_supply/usb/typec_cc_orientation | sort)
[ "$got" = "$want" ] || fail "captured nodes: $got"
cmp "$profile/fs/sys/class/power_supply/usb/typec_cc_orientation" \
    "$FAKE_HANDSET/fs/sys/class/power_supply/usb/typec_cc_orientation" || fail "bytes changed"
grep -q "cannot read /sys/class/leds/red/brightness" "$work/err" || fail "refused node not named"
grep -q -- "-s 0123 shell getprop" "$FAKE_HANDSET/commands" || fail "serial not passed to adb"
# tevctl answers from the captured profile.
[ "$("${tevctl[@]}" --device "$profile" call usb getUsbPluginStatus)" = 2 ] || fail "usb answer"
[ "$("${tevctl[@]}" --device "$profile" call version isSingleSim)" = true ] || fail "version answer"
echo "capture-device: 1 passed, 0 failed"
