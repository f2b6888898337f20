#!/bin/bash
# tests/check_products_covered.sh SRC TEVCTL...: every product name written in the product's
# per-product lists and tables (ProductList initialisers, table rows that begin with a product
# name, and single named products) has its rows in `tevctl products`, and every product there but
# the one unlisted name is written in the sources. TEVCTL is given as the words that run it, an
# emulator's first.
set -euo pipefail
src=$1
shift
[ $# -gt 0 ] || {
    echo "usage: tests/check_products_covered.sh SRC TEVCTL..." >&2
    exit 2
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for f in "$src"/service/*.cpp "$src"/checks/*.cpp "$src"/utils/*.cpp; do
    awk '
        /ProductList [A-Za-z_]+ *= *\{/ { inList = 1 }
        inList { print }
        inList && /\};/ { inList = 0 }
        /^[ \t]*\{"[^"]*", *\{/ { print }
        /constexpr const char\* *k[A-Za-z0-9]*Product *= *"/ { print }
    ' "$f"
done | grep -o '"[^"]*"' | sed -n 's/^"\(.*\)"$/\1/p' | grep -v '^$' | sort -u >"$work/sources"

"$@" products >"$work/out"
tail -n +2 "$work/out" | awk '{ print $1 }' | sort -u >"$work/covered"

failed=0
for name in $(comm -23 "$work/sources" "$work/covered"); do
    echo "check_products_covered: the sources name product '$name'; tevctl products has no rows for it" >&2
    failed=1
done
for name in $(comm -13 "$work/sources" "$work/covered"); do
    [ "$name" = unlisted ] && continue
    echo "check_products_covered: tevctl products lists '$name', which no list or table names" >&2
    failed=1
done
grep -q '^unlisted ' "$work/out" || {
    echo "check_products_covered: tevctl products has no rows for a product no list names" >&2
    failed=1
}
[ "$failed" -eq 0 ] && echo "check_products_covered: $(wc -l <"$work/sources") product names covered"
exit "$failed"
