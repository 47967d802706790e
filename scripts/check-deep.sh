#!/usr/bin/env bash
# What developers ask of a change beyond the tests: warnings of both compilers as errors, sanitizers,
# fuzz targets, clang-tidy. Takes long; run it before a release and after changes of structure. Ends
# with the time of every step.
set -euo pipefail
cd "$(dirname "$0")/.."
ORVIX_EXTRA_PACKAGES="libgtest-dev libgmock-dev libbenchmark-dev python3-numpy clang clang-tidy
    clang-tools libomp-dev libclang-rt-dev"
export ORVIX_EXTRA_PACKAGES
scripts/install-packages.sh

times=() name="" began=0
close_step() { [ -z "$name" ] || times+=("$(printf '%5ds  %s' $((SECONDS - began)) "$name")"); }
step() {
    close_step
    name=$1 began=$SECONDS
    printf '\n=== %s (%ss)\n' "$name" "$SECONDS"
}

step "g++ with warnings as errors, address and undefined behaviour sanitizers"
scripts/configure.sh asan
cmake --build --preset asan
ctest --preset asan -LE 'browser|slow|install|python'

step "clang++ with warnings as errors, fuzz targets in a short run"
scripts/configure.sh fuzz
cmake --build --preset fuzz
scripts/fuzz.sh build/fuzz 6

step "clang-tidy"
scripts/check-tidy.sh

step "thread sanitizer: tests with the labels unit, stage and import; a whole run on two threads"
scripts/configure.sh tsan
cmake --build --preset tsan
ctest --preset tsan -L 'unit|stage|import' --no-tests=error
scripts/check-threads.sh build/tsan build/release

close_step
printf '\n=== done in %ss\n' "$SECONDS"
printf '%s\n' "${times[@]}"
