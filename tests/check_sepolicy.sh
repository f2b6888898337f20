#!/bin/bash
# The vendor policy (sepolicy/) against the platform policy: check-policy holds on the fragment as
# it is, and fails, naming what is wrong, on each broken copy of it below; check-labels agrees with
# a matching captured profile and names every disagreement of a mismatching one.
set -uo pipefail
src=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
passed=0
failed=0
fail() {
    echo "sepolicy: $*" >&2
    failed=$((failed + 1))
}
# Runs COMMAND...; it must exit with STATUS and print every TEXT (|-separated) on stderr.
expect() {  # NAME STATUS TEXTS COMMAND...
    local name=$1 status=$2 texts=$3 text
    shift 3
    "$@" >"$work/out" 2>"$work/err"
    local got=$?
    if [ "$got" -ne "$status" ]; then
        fail "$name: exit status $got, expected $status"
        cat "$work/err" >&2
        return
    fi
    IFS='|' read -ra wanted <<<"$texts"
    for text in "${wanted[@]}"; do
        if ! grep -qF -- "$text" "$work/err"; then
            fail "$name: stderr lacks \"$text\""
            cat "$work/err" >&2
            return
        fi
    done
    passed=$((passed + 1))
}

expect "policy as it is" 0 "" "$src/sepolicy/check-policy"

# name | file in sepolicy/ | sed script | status | what stderr must say
while IFS='|' read -r name file script status texts; do
    [[ -z "$name" || "$name" == \#* ]] && continue
    rm -rf "$work/sepolicy"
    cp -r "$src/sepolicy" "$work/sepolicy"
    sed -i "$script" "$work/sepolicy/$file"
    expect "$name" "$status" "$texts" env SEPOLICY_DIR="$work/sepolicy" "$src/sepolicy/check-policy"
done <<'CASES'
read rule missing|hal_tevvendorservice_default.te|/debugfs_tev_ufs:file/d|1|denied open read getattr on /d/1d84000.ufshc/dump_health_desc (debugfs_tev_ufs
write rule missing|hal_tevvendorservice_default.te|s/sysfs_tev_wireless_reverse }:file rw_file_perms/sysfs_tev_wireless_reverse }:file r_file_perms/|1|denied write on /sys/class/power_supply/wireless/reverse_chg_mode
write-only node not writable|hal_tevvendorservice_default.te|s/sysfs_tev_disp_param:file w_file_perms/sysfs_tev_disp_param:file r_file_perms/|1|denied write on /sys/class/drm/card0-DSI-1/disp_param
node left generic|genfs_contexts|\#genfscon proc /serial_num#d|1|/proc/serial_num has no type of its own: /proc/serial_num is generic proc
write on a read-only node|hal_tevvendorservice_default.te|$a allow hal_tevvendorservice_default sysfs_tev_storage:file write;|1|(sysfs_tev_storage), which the service only reads
generic debugfs|hal_tevvendorservice_default.te|$a allow hal_tevvendorservice_default debugfs:file r_file_perms;|2|violated by allow hal_tevvendorservice_default debugfs:file
unlabelled hwservice|hal_tevvendorservice_default.te|$a allow hal_tevvendorservice_default default_android_hwservice:hwservice_manager add;|2|violated by allow hal_tevvendorservice_default default_android_hwservice:hwservice_manager
interface without a label|hwservice_contexts|/ITevVendorService/d|1|hwservice_contexts does not give vendor.quoril.hardware.tevvendorservice::ITevVendorService
core property read|hal_tevvendorservice_default.te|$a get_prop(hal_tevvendorservice_default, system_prop)|2|violated by allow hal_tevvendorservice_default system_prop:file
platform property set|hal_tevvendorservice_default.te|$a set_prop(hal_tevvendorservice_default, exported2_default_prop)|2|violated by allow hal_tevvendorservice_default exported2_default_prop:property_service
read key left to the platform|system_ext/property_contexts|/^ro.orvu.singlesim/d|1|may not read property ro.orvu.singlesim (default_prop)
denied key made readable|system_ext/property_contexts|$a sys.panel.color u:object_r:exported_system_prop:s0 exact string|1|sys.panel.color (exported_system_prop) is readable
system key in vendor property_contexts|property_contexts|$a ro.orvu.singlesim u:object_r:vendor_tevvendorservice_prop:s0 exact string|1|labels ro.orvu.singlesim outside the vendor namespaces
vendor_init sets our keys|property.te|$a set_prop(vendor_init, vendor_tevvendorservice_prop)|1|vendor_init may set vendor_tevvendorservice_prop; only init may
hal_attribute in attributes|attributes|s/^attribute hal_tevvendorservice;$/hal_attribute(tevvendorservice)/;/^\(expand\)\{0,1\}attribute/d|1|attributes:6: "hal_attribute(tevvendorservice)" expands to rules (neverallow
no client domain|hal_tevvendorservice.te|/hal_client_domain/d|1|hal_tevvendorservice_client has no members
own keys not settable|hal_tevvendorservice_default.te|/set_prop/d|1|may not set vendor.tevvendorservice.test
no transition from init|hal_tevvendorservice_default.te|/init_daemon_domain/d|1|init does not start /vendor/bin/hw/vendor.quoril.hardware.tevvendorservice@1.0-service
binary not labelled|file_contexts|s/@1\\.0-service/@1\\.0-server/|1|is not labelled hal_tevvendorservice_default_exec
sibling not reachable|hal_tevvendorservice_default.te|/hal_client_domain/d|1|may not find the sibling sensor test service
CASES

profiles=$src/tests/sepolicy/profiles
expect "labels of a matching capture" 0 "" "$src/sepolicy/check-labels" "$profiles/match"
expect "labels of a mismatching capture" 1 "$(tr '\n' '|' <<'TEXTS' | sed 's/|$//'
/sys/class/leds/red/brightness (/sys/devices/platform/soc/c440000.qcom,spmi/spmi-0/spmi0-05/c440000.qcom,spmi:qcom,pm8150l@5:qcom,leds@d800/leds/red/brightness) gets the generic sysfs label
genfs_contexts expects it at /sys/devices/platform/soc/c440000.qcom,spmi/spmi-0/spmi0-05/c440000.qcom,spmi:qcom,pm8150l@5:qcom,leds@d000/leds/red/brightness
/sys/class/power_supply/battery/temp
is labelled u:object_r:vendor_sysfs_battery:s0 on the handset, the policy gives sysfs_batteryinfo
/d/1d84000.ufshc/dump_health_desc (/sys/kernel/debug/1d84000.ufshc/dump_health_desc) is labelled u:object_r:debugfs:s0 on the handset, the policy gives debugfs_tev_ufs
labels:5: not DEVICE_PATH<TAB>RESOLVED_PATH<TAB>LABEL
/sys/class/block/sda/size was captured but has no line in
TEXTS
)" "$src/sepolicy/check-labels" "$profiles/mismatch"
expect "profile without labels" 2 "labels: no such file" "$src/sepolicy/check-labels" "$profiles"

echo "sepolicy: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
