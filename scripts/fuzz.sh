#!/usr/bin/env bash
# Runs every fuzz target for some seconds on seeds made afresh, and on what earlier runs have found to
# reach new code. The status is 1 when a target found something; the input that did stays in
# BUILD_DIRECTORY/fuzz/findings.
#
#   scripts/fuzz.sh BUILD_DIRECTORY [SECONDS_A_TARGET [TARGET...]]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:?usage: $0 BUILD_DIRECTORY [SECONDS_A_TARGET [TARGET...]]}
seconds=${2:-8}
work=$build/fuzz
if [ $# -gt 2 ]; then
    targets=("${@:3}")
else
    targets=()
    for program in "$work"/*_fuzz; do
        [ -x "$program" ] || { echo "no fuzz targets in $work: build the preset fuzz" >&2; exit 1; }
        name=${program##*/}
        targets+=("${name%_fuzz}")
    done
fi
scripts/fuzz-corpus.sh "$work/seeds"
mkdir -p "$work/findings" "$work/logs"

export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1
export UBSAN_OPTIONS=print_stacktrace=1
failed=()
for target in "${targets[@]}"; do
    mkdir -p "$work/corpus/$target"
    log=$work/logs/$target
    # 3: the readers' own messages would fill the log.
    if "$work/${target}_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=20000 \
        -close_fd_mask=3 -print_final_stats=1 -artifact_prefix="$work/findings/$target-" \
        -dict="$work/seeds/dictionaries/$target" \
        "$work/corpus/$target" "$work/seeds/$target" >"$log" 2>&1; then
        runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
        covered=$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)
        printf '%-12s %9s inputs, %5s edges, no finding\n' "$target" "$runs" "$covered"
    else
        failed+=("$target")
        printf '%-12s FOUND something:\n' "$target"
        grep -m 1 -A 12 -E 'ERROR|runtime error|deadly signal' "$log" || tail -n 20 "$log"
        grep 'Test unit written' "$log" || true
    fi
done
[ ${#failed[@]} -eq 0 ] || { echo "findings in: ${failed[*]}" >&2; exit 1; }
