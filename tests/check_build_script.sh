#!/bin/bash
# scripts/build with stand-ins for cmake and ninja on PATH: how many jobs ninja is given, what a
# log shows of the progress (a status line per tenth, every other line), that a failed build says
# so, and that one with nothing to do says nothing.
set -euo pipefail
src=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/bin" "$work/top"
cp -r "$src/scripts" "$work/top/"
# cmake writes a build.ninja; ninja checks its build files (no work), builds $STEPS steps (with a
# warning on the way), records its arguments, and fails when $FAIL is set.
cat >"$work/bin/cmake" <<'EOF'
#!/bin/bash
mkdir -p "$4" && touch "$4/build.ninja"
EOF
cat >"$work/bin/ninja" <<'EOF'
#!/bin/bash
echo "$*" >"$WORK/ninja.args"
echo "[0/$((STEPS + 1))] Re-checking globbed directories..."
for ((i = 1; i <= STEPS; i++)); do
    echo "[$i/$STEPS] Building CXX object $i.o"
    [ $i != 2 ] || echo "2.cpp:1: warning: something"
done
[ "$STEPS" != 0 ] || echo "ninja: no work to do."
[ -z "${FAIL:-}" ] || { echo "ninja: build stopped: subcommand failed."; exit 1; }
EOF
chmod +x "$work/bin/"*
export WORK=$work PATH="$work/bin:$PATH"

# CMAKE_BUILD_PARALLEL_LEVEL | steps | ninja fails | exit status | ninja's -j (- not run) |
# the lines on stderr: status lines kept, and one line that must be there
cases=(
    "|40||0|$(nproc)|11|build/t: building, $(nproc) at a time"
    "3|40||0|3|11|2.cpp:1: warning: something"
    "1|5||0|1|5|build/t: built 5 steps in"
    "0|40||2|-|0|CMAKE_BUILD_PARALLEL_LEVEL must be a number of jobs (1 or more), not '0'"
    "two|40||2|-|0|not 'two'"
    "|0||0|$(nproc)|0|build/t: configuring with c++ (first build)"
    "|40|1|1|$(nproc)|11|ninja: build stopped: subcommand failed."
)
failed=0
for row in "${cases[@]}"; do
    IFS='|' read -r level steps fail status jobs statusLines line <<<"$row"
    rm -rf "$work/top/build" "$work/ninja.args"
    got=0
    env ${level:+CMAKE_BUILD_PARALLEL_LEVEL=$level} STEPS="$steps" FAIL="$fail" \
        "$work/top/scripts/build" t c++ >"$work/out" 2>"$work/err" </dev/null || got=$?
    gotJobs=-
    [ -f "$work/ninja.args" ] && gotJobs=$(sed -n 's/.*-j \([0-9]*\).*/\1/p' "$work/ninja.args")
    problem=""
    if [ "$got" != "$status" ]; then
        problem="exit status $got, not $status"
    elif [ -s "$work/out" ]; then
        problem="standard output used: $(head -n 1 "$work/out")"
    elif [ "$gotJobs" != "$jobs" ]; then
        problem="ninja -j $gotJobs, not $jobs"
    elif [ "$(grep -c '^\[' "$work/err")" != "$statusLines" ]; then
        problem="$(grep -c '^\[' "$work/err") status lines, not $statusLines"
    elif ! grep -qF -- "$line" "$work/err"; then
        problem="no line '$line'"
    fi
    if [ -n "$problem" ]; then
        echo "FAIL '$row': $problem" >&2
        sed 's/^/    /' "$work/err" >&2
        failed=$((failed + 1))
    fi
done
# A later call with nothing to do prints nothing at all.
env STEPS=0 "$work/top/scripts/build" t c++ >"$work/out" 2>"$work/err" </dev/null
if [ -s "$work/err" ] || [ -s "$work/out" ]; then
    echo "FAIL an up-to-date build printed:" >&2
    sed 's/^/    /' "$work/out" "$work/err" >&2
    failed=$((failed + 1))
fi
echo "build script: $((${#cases[@]} + 1 - failed)) passed, $failed failed"
[ $failed = 0 ]
