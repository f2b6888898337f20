#!/bin/bash
# scripts/build with stand-ins for cmake and ninja on PATH: how many jobs ninja is given, what a
# log shows of the progress (a status line per tenth, every other line), and that a failed or an
# up-to-date build says so.
set -euo pipefail
src=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/bin" "$work/top"
cp -r "$src/scripts" "$work/top/"
# cmake writes a build.ninja; ninja -n prints $STEPS status lines, ninja builds them (with a
# warning on the way), records its arguments, and fails when $FAIL is set.
cat >"$work/bin/cmake" <<'EOF'
#!/bin/bash
mkdir -p "$4" && touch "$4/build.ninja"
EOF
cat >"$work/bin/ninja" <<'EOF'
#!/bin/bash
[ "$1" = -n ] || echo "$*" >"$WORK/ninja.args"
for ((i = 1; i <= STEPS; i++)); do
    echo "[$i/$STEPS] Building CXX object $i.o"
    [ "$1" = -n ] || [ $i != 2 ] || echo "2.cpp:1: warning: something"
done
[ "$STEPS" != 0 ] || echo "ninja: no work to do."
[ -z "${FAIL:-}" ] || [ "$1" = -n ] || { echo "ninja: build stopped: subcommand failed."; exit 1; }
EOF
chmod +x "$work/bin/"*
export WORK=$work PATH="$work/bin:$PATH"

# CMAKE_BUILD_PARALLEL_LEVEL | steps | ninja fails | exit status | ninja's -j (- not run) |
# the lines on stderr: status lines kept, and one line that must be there
cases=(
    "|40||0|$(nproc)|11|build/t: 40 steps, $(nproc) at a time"
    "3|40||0|3|11|2.cpp:1: warning: something"
    "1|5||0|1|5|build/t: built in"
    "0|40||2|-|0|CMAKE_BUILD_PARALLEL_LEVEL must be a number of jobs (1 or more), not '0'"
    "two|40||2|-|0|not 'two'"
    "|0||0|-|0|build/t: configuring with c++ (first build)"
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
echo "build script: $((${#cases[@]} - failed)) passed, $failed failed"
[ $failed = 0 ]
