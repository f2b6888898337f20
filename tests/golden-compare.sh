# shellcheck shell=bash
# Sourced by the checks of checked-in outputs (check_golden.sh, check_case.sh), which run with
# pipefail. compare_golden GOT FILE WHAT: with TEV_UPDATE_GOLDEN=1, writes GOT over FILE; else
# FILE must hold GOT byte for byte, and the difference is shown when it does not.
compare_golden() {
    local got=$1 file=$2 what=$3
    if [ "${TEV_UPDATE_GOLDEN:-}" = 1 ]; then
        cp "$got" "$file"
        echo "$(basename "$0"): wrote $file"
        return 0
    fi
    if ! diff -u --label "$file" --label "$what" "$file" "$got" | head -c 20000; then
        echo "$(basename "$0"): $what no longer gives $file. If the change is meant, run this" \
            "test again with TEV_UPDATE_GOLDEN=1, review the file's diff and commit it." >&2
        return 1
    fi
}
