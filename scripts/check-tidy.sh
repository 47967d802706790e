#!/bin/sh
# clang-tidy on the library and the programs, findings are errors.
# Use: scripts/check-tidy.sh [all|BASE]: all sources, or those changed since the commit BASE
set -eu
cd "$(dirname "$0")/.."
scripts/configure.sh clang
base=${1:-all}
if [ "$base" = all ]; then
    files=$(git ls-files 'src/*.cpp' 'tools/*.cpp')
else
    files=$(git diff --name-only --diff-filter=d "$base" -- 'src/*.cpp' 'tools/*.cpp')
fi
[ -n "$files" ] || { echo "nothing to look at"; exit 0; }
# shellcheck disable=SC2086  # no source has a blank in its name
printf '%s\n' $files | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/clang
