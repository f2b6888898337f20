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
# parts, our system_ext folder (property_contexts only), the sibling's policy, then ours.
policy_dirs() {
    local d
    for d in "$platform_dir/public" "$platform_dir/private" "$sepolicy_dir/system_ext" \
        "$platform_dir/vendor" "$sibling_dir" "$sepolicy_dir"; do
        [ -d "$d" ] && echo "$d"
    done
}

# The vendor policy folders, as BOARD_VENDOR_SEPOLICY_DIRS names them.
vendor_dirs() {
    echo "$sibling_dir"
    echo "$sepolicy_dir"
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

# m4 over policy files as the build runs it, with a user build's flags.
policy_m4() {  # FILE...
    m4 --fatal-warnings -s -D mls_num_sens=1 -D mls_num_cats=1024 -D target_build_variant=user \
        -D target_with_dexpreopt=false -D target_arch=arm64 -D target_with_asan=false \
        -D target_with_native_coverage=false -D target_full_treble=true \
        -D target_compatible_property=true -D target_treble_sysprop_neverallow=true \
        -D target_exclude_build_test=false -D target_requires_insecure_execmem_for_swiftshader=false \
        -D target_enforce_debugfs_restriction=true -D target_recovery=false "$@"
}

# The policy files of FOLDER... in the order the build reads them.
build_files() {  # FOLDER...
    local name d f
    for name in security_classes initial_sids access_vectors global_macros neverallow_macros \
        mls_macros mls_decl mls policy_capabilities te_macros attributes ioctl_defines \
        ioctl_macros '*.te' roles_decl roles users initial_sid_contexts fs_use genfs_contexts \
        port_contexts; do
        for d in "$@"; do
            for f in "$d"/$name; do
                [ -f "$f" ] && echo "$f"
            done
        done
    done
}

# policy.conf as the build writes it: m4 over the files in this order.
assemble_policy() {
    local dirs files
    mapfile -t dirs < <(policy_dirs)
    mapfile -t files < <(build_files "${dirs[@]}")
    policy_m4 "${files[@]}"
}

# Compiles the policy into $1 (policy.conf beside it); checkpolicy's complaints go to stderr.
compile_policy() {
    local out=$1
    assemble_policy >"$out.conf" || return 1
    checkpolicy -M -c 30 -o "$out" "$out.conf" >/dev/null
}

# Drops from FILE every line that PATTERNS holds (build_sepolicy.py's filter_out).
filter_out() {  # PATTERNS FILE
    grep -vxFf "$1" "$2" >"$2.filtered" || true
    mv "$2.filtered" "$2"
}

# A CIL as the build makes it: m4 over the folders' files, then checkpolicy -C.
cil() {  # OUT FOLDER...
    local out=$1 files
    shift
    mapfile -t files < <(build_files "$@")
    policy_m4 "${files[@]}" >"$out.conf" && checkpolicy -C -M -c 30 -o "$out" "$out.conf" >/dev/null
}

# Links the policy in WORK_DIR the way the device build does for a Treble device: the platform's
# policy and its public part in CIL, the vendor folders compiled to CIL on their own, versioned
# against the platform's public CIL with the tree's VERSION_POLICY tool, then every CIL linked by
# secilc with the neverallows checked. Needs a platform tree (reqd_mask/). The tools' complaints go
# to stderr.
link_split_policy() {  # WORK_DIR VERSION_POLICY
    local w=$1 version_policy=$2 pub=$platform_dir/public priv=$platform_dir/private
    local mask=$platform_dir/reqd_mask vendor=() ver=30.0 d
    [ -d "$platform_dir/vendor" ] && vendor+=("$platform_dir/vendor")
    while read -r d; do vendor+=("$d"); done < <(vendor_dirs)
    cil "$w/reqd_mask.cil" "$mask" &&
        cil "$w/pub.cil" "$pub" "$mask" && filter_out "$w/reqd_mask.cil" "$w/pub.cil" &&
        cil "$w/plat.cil" "$pub" "$priv" &&
        { [ ! -f "$priv/technical_debt.cil" ] || cat "$priv/technical_debt.cil" >>"$w/plat.cil"; } &&
        "$version_policy" -b "$w/pub.cil" -m -n "$ver" -o "$w/mapping.cil" &&
        "$version_policy" -b "$w/pub.cil" -t "$w/pub.cil" -n "$ver" -o "$w/pub_versioned.cil" &&
        cil "$w/vendor_raw.cil" "$pub" "$mask" "${vendor[@]}" &&
        filter_out "$w/reqd_mask.cil" "$w/vendor_raw.cil" &&
        "$version_policy" -b "$w/pub.cil" -t "$w/vendor_raw.cil" -n "$ver" -o "$w/vendor.cil" &&
        filter_out "$w/pub_versioned.cil" "$w/vendor.cil" &&
        secilc -m -M true -G -c 30 "$w/plat.cil" "$w/mapping.cil" "$w/pub_versioned.cil" \
            "$w/vendor.cil" -o "$w/precompiled_sepolicy" -f /dev/null >/dev/null
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
