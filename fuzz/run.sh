#!/bin/sh
# run.sh FUZZER DIR SECONDS [libFuzzer options...]: seeds DIR/corpus from the bundled device
# profiles and fuzzes for SECONDS. The corpus keeps what the fuzzer found, for the next run; a
# crashing input is written to DIR/crashes/.
set -eu
fuzzer=$1
dir=$2
seconds=$3
shift 3
mkdir -p "$dir/corpus" "$dir/crashes"
"$fuzzer" --write-seeds "$dir/corpus"
exec "$fuzzer" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$dir/crashes/" "$@" "$dir/corpus"
