#!/bin/sh
# Compiles every header alone: each has to include what it uses.
# Use: scripts/check-headers.sh [COMPILER]
set -eu
cd "$(dirname "$0")/.."
compiler=${1:-g++}
export compiler
git ls-files -z 'src/*.h' 'tests/*.h' 'bench/*.h' 'fuzz/*.h' 'tools/*.h' |
    xargs -0 -P "$(nproc)" -I HEADER sh -c 'echo "#include \"$1\"" |
        "$compiler" -std=c++20 -fopenmp -fsyntax-only -x c++ -Wall -Wextra -Werror \
            -Wno-unused-function -I. -Isrc -Itests -Itests/search -Ifuzz -Itools - ||
        { echo "$1 does not compile alone" >&2; exit 1; }' sh HEADER
echo "every header compiles alone"
