#!/bin/bash
# tests/check_products_covered.sh SRC TEVCTL...: `tevctl products` covers every product name the
# built library tells apart. Which names those are is asked of the library itself, not read from
# how its lists are written: every word in quotes in the product's sources (service/, checks/,
# utils/) that products does not list is set as the product name and given the calls products
# makes, in one process (a fresh one after each name found, as some answers are kept for the
# process); one that gets any other answer than a name no list holds ("unlisted") is a product
# that products misses. Every product it lists, but unlisted, must get some other answer than
# unlisted there. TEVCTL is given as the words that run it, an emulator's first.
set -euo pipefail
src=$1
shift
[ $# -gt 0 ] || {
    echo "usage: tests/check_products_covered.sh SRC TEVCTL..." >&2
    exit 2
}
tevctl=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"${tevctl[@]}" products >"$work/products"
# The calls products makes for each product, from its rows for the unlisted name; each product's
# rows as one text, to compare with the unlisted name's.
awk -v calls="$work/calls" -v answers="$work/answers" '
    NR == 1 {
        area = index($0, "AREA")
        op = index($0, "OPERATION")
        answer = index($0, "ANSWER")
        next
    }
    {
        cell = substr($0, op, answer - op)
        sub(/ +$/, "", cell)
        if ($1 == "unlisted") print "call " $2 " " cell >calls
        text[$1] = text[$1] "\n" substr($0, area)
        if (!($1 in seen)) order[++products] = $1
        seen[$1] = 1
    }
    END {
        for (i = 1; i <= products; i++) {
            p = order[i]
            kind = p == "unlisted" ? "self" : text[p] == text["unlisted"] ? "same" : "other"
            print p, kind >answers
        }
    }' "$work/products"

failed=0
grep -q '^unlisted ' "$work/answers" || {
    echo "check_products_covered: tevctl products has no rows for a product no list names" >&2
    exit 1
}
while read -r name answers; do
    [ "$answers" = same ] || continue
    echo "check_products_covered: tevctl products lists '$name', which gets the answers of a" \
        "product no list names" >&2
    failed=1
done <"$work/answers"

# The other words: each runs after the unlisted name, in the process of the words before it,
# until one answers otherwise.
cat "$src"/service/*.cpp "$src"/service/*.h "$src"/checks/*.cpp "$src"/checks/*.h \
    "$src"/utils/*.cpp "$src"/utils/*.h | grep -o '"[A-Za-z0-9_-]*"' | tr -d '"' | grep . |
    sort -u | grep -vxF -f <(awk '{ print $1 }' "$work/answers") >"$work/words" || true
calls=$(wc -l <"$work/calls")
cp "$work/words" "$work/remaining"
while [ -s "$work/remaining" ]; do
    { echo unlisted; cat "$work/remaining"; } | while read -r name; do
        printf 'prop ro.product.name %s\nclient\n' "$name"
        cat "$work/calls"
    done >"$work/steps"
    status=0
    "${tevctl[@]}" run "$work/steps" >"$work/run" 2>"$work/err" || status=$?
    # A name may end the process (status 134): it is the one found below.
    if [ "$status" -ne 0 ] && [ "$status" -ne 134 ]; then
        cat "$work/err" >&2
        exit 1
    fi
    # The first word whose calls answer otherwise than the unlisted name's, or none.
    found=$(awk -v calls="$calls" -v words="$work/remaining" '
        BEGIN { while ((getline w < words) > 0) count++ }
        /^> / { segment = int(block / calls); block++ }
        { text[segment] = text[segment] "\n" $0 }
        END {
            for (s = 1; s <= count; s++) {
                if (!(s in text) || text[s] != text[0]) { print s; exit }
            }
        }' "$work/run")
    [ -n "$found" ] || break
    echo "check_products_covered: product name '$(sed -n "${found}p" "$work/remaining")' gets" \
        "other answers than a product no list names; tevctl products has no rows for it" >&2
    failed=1
    sed -i "1,${found}d" "$work/remaining"
done
[ "$failed" -eq 0 ] && echo "check_products_covered: $(grep -c ' other$' "$work/answers")" \
    "products covered; $(wc -l <"$work/words") other words of the sources answer as no product"
exit "$failed"
