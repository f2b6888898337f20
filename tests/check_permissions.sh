#!/bin/bash
# tools/check-permissions: with the node rules, the service's user and groups reach every node of
# the reference board as a stock kernel and init leave them (tests/permissions/stock); each broken
# copy of the rules below, and each faulty capture, fails naming the node and what is wrong.
set -uo pipefail
src=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rules=$src/service/vendor.quoril.hardware.tevvendorservice@1.0-nodes.rc
check=$src/tools/check-permissions
passed=0
failed=0
# NAME STATUS TEXT COMMAND...: COMMAND must exit with STATUS and print TEXT on stderr or stdout.
expect() {
    local name=$1 status=$2 text=$3 got=0
    shift 3
    "$@" >"$work/out" 2>&1 || got=$?
    if [ "$got" -ne "$status" ] || ! grep -qF -- "$text" "$work/out"; then
        echo "FAIL $name: exit status $got (expected $status), output:" >&2
        sed 's/^/    /' "$work/out" >&2
        failed=$((failed + 1))
    else
        passed=$((passed + 1))
    fi
}

expect "the stock nodes with the rules" 0 ", 0 failed" "$check" "$src/tests/permissions/stock"

groups="user system with groups system input readproc"
# name | sed script on a copy of the rules | what the check must say
while IFS='|' read -r name script text; do
    sed "$script" "$rules" >"$work/rules.rc"
    expect "$name" 1 "$text" env NODE_RULES="$work/rules.rc" "$check" "$src/tests/permissions/stock"
done <<CASES
a torch left to root|/chown system system \/sys\/class\/leds\/led:torch_1\//d|/sys/class/leds/led:torch_1/brightness (root root 0664): $groups may not write it
a UFS dump left closed|/chmod 0440 \/d\/1d84000.ufshc\/dump_health_desc/d|/d/1d84000.ufshc/dump_health_desc (root system 0700): $groups may not read it
the others' bits do not count for a group member|s/chmod 0660 \/proc\/tp_selftest/chmod 0606 \/proc\/tp_selftest/|/proc/tp_selftest (root input 0606): $groups may not read or write it
a node the service only reads made writable|\$a\    chmod 0666 /sys/class/leds/red/max_brightness|/sys/class/leds/red/max_brightness (root root 0666): the rules let the service write it, which it only reads
a rule for a node the service does not use|\$a\    chmod 0666 /sys/class/leds/red/trigger|/sys/class/leds/red/trigger is not a node the service uses
CASES

# Captures: the nodes copied into fs/ with their owners and modes, with or without the rules
# applied on the handset already.
capture() {  # DIR MODES-LINES...
    local dir=$1 line
    shift
    rm -rf "$dir"
    mkdir -p "$dir/fs/proc" "$dir/fs/sys/class/leds/white"
    echo 1 >"$dir/fs/proc/version"
    echo 0 >"$dir/fs/sys/class/leds/white/brightness"
    for line in "$@"; do printf '%s\n' "$line" | tr ' ' '\t' >>"$dir/modes"; done
}
capture "$work/stock" "/proc/version root root 444" "/sys/class/leds/white/brightness root root 644"
expect "a stock capture" 0 "2 passed, 0 failed" "$check" "$work/stock"
capture "$work/applied" "/proc/version root root 444" \
    "/sys/class/leds/white/brightness system system 664"
expect "a capture with the rules applied" 0 "2 passed, 0 failed" "$check" "$work/applied"
capture "$work/short" "/proc/version root root 444"
expect "a captured node without its line" 1 \
    "/sys/class/leds/white/brightness was captured but has no line" "$check" "$work/short"
capture "$work/bad" "/proc/version root root 444" "/sys/class/leds/white/brightness root root rw"
expect "a bad line" 1 "modes:2: not DEVICE_PATH<TAB>OWNER<TAB>GROUP<TAB>MODE" "$check" "$work/bad"
expect "a profile without modes" 2 "modes: no such file" "$check" "$src/devices/qab"

echo "permissions: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
