#!/bin/bash
# The interface package as Soong meets it once the tree is copied into a device tree
# (docs/integrating.md): the package root is the folder of its hidl_package_root, found
# without a path; the hidl_interface sits in <root>/1.0/ and says what hidl-gen -L androidbp says
# for the package; and hidl-gen, given the roots exactly as Soong gives them, generates the C++
# headers and the Java library of the package.
set -euo pipefail
hidl_gen=$1
src=$2
package=vendor.quoril.hardware.tevvendorservice
fqname=$package@1.0
dest=vendor/quoril/interfaces/tevvendorservice  # where docs/integrating.md copies the tree

top=$(mktemp -d)
trap 'rm -rf "$top"' EXIT
status=0
passed=0
failed=0
fail() { echo "interface package: $*" >&2; status=1; failed=$((failed + 1)); }

# The device tree: our files where docs/integrating.md puts them, the base package where Android 11 keeps it.
mkdir -p "$top/$dest" "$top/system/libhidl/transport"
cp -r "$src/interface" "$src/Android.bp" "$top/$dest/"
cp -r "$src/host/hidl/." "$top/system/libhidl/transport/"

# One module's properties from an Android.bp, as "key=value" lines (lists joined with blanks),
# comments dropped.
module() {  # FILE TYPE
    perl -0777 -ne '
        s{//[^\n]*}{}g;
        /\b'"$2"'\s*\{(.*?)\n\}/s or exit 1;
        my $body = $1;
        while ($body =~ /(\w+)\s*:\s*(\[[^\]]*\]|"[^"]*"|\w+)\s*,?/g) {
            my ($k, $v) = ($1, $2);
            $v = join(" ", $v =~ /"([^"]*)"/g) if $v =~ /^\[/;
            $v =~ s/^"(.*)"$/$1/;
            print "$k=$v\n";
        }' "$1"
}
prop() { grep "^$2=" <<<"$1" | cut -d= -f2- || true; }

# The package root: the folder of the hidl_package_root named after the package, without a path.
root_bp=$(cd "$top" && grep -rl --include=Android.bp "hidl_package_root" "$dest" |
    while read -r f; do module "$f" hidl_package_root | grep -qx "name=$package" && echo "$f"; done)
if [ "$(wc -w <<<"$root_bp")" -ne 1 ]; then
    fail "expected one hidl_package_root \"$package\", found: ${root_bp:-none}"
    exit 1
fi
root_dir=$(dirname "$root_bp")
root_props=$(module "$top/$root_bp" hidl_package_root)
[ -z "$(prop "$root_props" path)" ] && passed=$((passed + 1)) ||
    fail "hidl_package_root has a path ($(prop "$root_props" path)); Soong takes the folder of its Android.bp"
[ -f "$top/$root_dir/current.txt" ] && passed=$((passed + 1)) ||
    fail "no current.txt beside the package root ($root_dir)"

# Soong's roots: -r NAME:FOLDER for our root and for android.hidl, -R, the build top as -p.
gen() {  # LANGUAGE OUT
    (cd "$top" && "$hidl_gen" -R -p . -o "$2" -L "$1" \
        -r "$package:$root_dir" -r android.hidl:system/libhidl/transport "$fqname")
}

# What hidl-gen writes for the package, against ours.
ours_bp=$top/$root_dir/1.0/Android.bp
if [ ! -f "$ours_bp" ]; then
    fail "no Android.bp in $root_dir/1.0 (the hidl_interface belongs beside its .hal files)"
    exit 1
fi
gen androidbp "$top/gen" >/dev/null
theirs_bp=$(find "$top/gen" -name Android.bp)
ours=$(module "$ours_bp" hidl_interface)
# hidl-gen puts a package outside the platform's own namespaces on a partition of its own: Android
# 10's (the one Debian ships) writes product_specific, Android 11's system_ext_specific, as ours does.
theirs=$(module "$theirs_bp" hidl_interface | sed 's/^product_specific=/system_ext_specific=/')
while IFS=$'\t' read -r key why; do
    a=$(prop "$ours" "$key")
    b=$(prop "$theirs" "$key")
    if [ "$a" = "$b" ]; then
        passed=$((passed + 1))
    else
        fail "$key differs from hidl-gen -L androidbp ($why): ours \"$a\", hidl-gen \"$b\""
    fi
done <<'EOF'
name	the module every user names
root	the hidl_package_root it builds from
srcs	the .hal files, by bare name: a path makes Soong take an interface for a types file
interfaces	the packages it imports
gen_java	the test application's Java library
system_ext_specific	the partition Android 11 gives the package
EOF
compared=" name root srcs interfaces gen_java system_ext_specific "
for key in $(cut -d= -f1 <<<"$theirs"$'\n'"$ours" | sort -u); do
    case "$compared" in
        *" $key "*) ;;
        *) fail "property $key is in one Android.bp only and is not a named difference" ;;
    esac
done

# Generation as Soong runs it: headers for the C++ library, sources for the Java library.
for language in c++-headers java; do
    if gen "$language" "$top/out-$language" >"$top/log" 2>&1; then
        passed=$((passed + 1))
    else
        fail "hidl-gen -L $language fails with Soong's roots:"
        cat "$top/log" >&2
    fi
done
[ -f "$top/out-c++-headers/vendor/quoril/hardware/tevvendorservice/1.0/BnHwTevVendorService.h" ] &&
    passed=$((passed + 1)) || fail "no BnHwTevVendorService.h among the generated headers"
[ -f "$top/out-java/vendor/quoril/hardware/tevvendorservice/V1_0/ITevVendorService.java" ] &&
    passed=$((passed + 1)) || fail "no ITevVendorService.java among the generated Java sources"

echo "interface package: $passed passed, $failed failed"
exit $status
