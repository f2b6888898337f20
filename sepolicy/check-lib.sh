# shellcheck shell=bash
# Shared by check-policy and check-labels (sourced, not run): where the platform policy is, how the
# policy is assembled and compiled as the Android build does, and how a node gets its label.

tev_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# The platform: a system/sepolicy tree, or our stand-in of it.
platform_dir=${ANDROID_SEPOLICY_DIR:-$tev_root/tests/sepolicy/platform}
# The vendor policy checked: this folder, or a copy of it.
sepolicy_dir=${SEPOLICY_DIR:-$tev_root/sepolicy}
# The sibling sensor test service's policy: its own tree's, or our stand-in of it.
sibling_dir=${TEV_SIBLING_SEPOLICY_DIR:-$tev_root/tests/sepolicy/sibling}

die() {
    echo "$(basename "$0"): $*" >&2
    exit 2
}

# The policy folders in the order the build reads them: the platform's public, private and vendor
# parts, the sibling's policy, then ours.
policy_dirs() {
    local d
    for d in "$platform_dir/public" "$platform_dir/private" "$platform_dir/vendor" "$sibling_dir" \
        "$sepolicy_dir"; do
        [ -d "$d" ] && echo "$d"
    done
}

# Every file named |pattern| in the policy folders, folder by folder.
policy_files() {
    local d f
    while read -r d; do
        for f in "$d"/$1; do
            [ -f "$f" ] && echo "$f"
        done
    done < <(policy_dirs)
}

# policy.conf as the build writes it: m4 over the files in this order, with a user build's flags.
assemble_policy() {
    local files=() name
    for name in security_classes initial_sids access_vectors global_macros neverallow_macros \
        mls_macros mls_decl mls policy_capabilities te_macros attributes ioctl_defines \
        ioctl_macros '*.te' roles_decl roles users initial_sid_contexts fs_use genfs_contexts \
        port_contexts; do
        mapfile -t -O "${#files[@]}" files < <(policy_files "$name")
    done
    m4 --fatal-warnings -s -D mls_num_sens=1 -D mls_num_cats=1024 -D target_build_variant=user \
        -D target_with_dexpreopt=false -D target_arch=arm64 -D target_with_asan=false \
        -D target_with_native_coverage=false -D target_full_treble=true \
        -D target_compatible_property=true -D target_treble_sysprop_neverallow=true \
        -D target_exclude_build_test=false -D target_requires_insecure_execmem_for_swiftshader=false \
        -D target_enforce_debugfs_restriction=true -D target_recovery=false "${files[@]}"
}

# Compiles the policy into $1 (policy.conf beside it); checkpolicy's complaints go to stderr.
compile_policy() {
    local out=$1
    assemble_policy >"$out.conf" || return 1
    checkpolicy -M -c 30 -o "$out" "$out.conf" >/dev/null
}

# genfscon lines of every policy folder, as "FS PATH TYPE".
genfs_entries() {
    policy_files genfs_contexts | xargs cat |
        sed -n 's/^[[:space:]]*genfscon[[:space:]]\+\([^[:space:]]\+\)[[:space:]]\+\([^[:space:]]\+\)[[:space:]]\+[^:]*:[^:]*:\([^:]*\):.*/\1 \2 \3/p'
}

# The file system and the path within it of a resolved path, as genfscon names them.
genfs_path() {
    case "$1" in
        /sys/kernel/debug/*) echo "debugfs ${1#/sys/kernel/debug}" ;;
        /sys/*) echo "sysfs ${1#/sys}" ;;
        /proc/*) echo "proc ${1#/proc}" ;;
        *) return 1 ;;
    esac
}

# The type the kernel gives a resolved path: the longest genfscon path that is a prefix of it.
genfs_type() {  # ENTRIES RESOLVED_PATH
    local fs path
    read -r fs path < <(genfs_path "$2") || return 1
    awk -v fs="$fs" -v path="$path" '
        $1 == fs && substr(path, 1, length($2)) == $2 && length($2) > best {
            best = length($2); type = $3
        }
        END { if (type == "") exit 1; print type }' <<<"$1"
}

# Where a device path resolves on the reference handset: the "# DEVICE_PATH" comment above our
# genfscon line, else the path itself (/d is the debugfs mount point).
reference_path() {  # DEVICE_PATH
    local resolved
    resolved=$(awk -v node="$1" '
        prev == "# " node && $1 == "genfscon" {
            print ($2 == "sysfs" ? "/sys" : $2 == "proc" ? "/proc" : "/sys/kernel/debug") $3
            exit
        }
        { prev = $0 }' "$sepolicy_dir/genfs_contexts")
    if [ -n "$resolved" ]; then
        echo "$resolved"
    else
        case "$1" in
            /d/*) echo "/sys/kernel/debug/${1#/d/}" ;;
            *) echo "$1" ;;
        esac
    fi
}
