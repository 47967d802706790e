#!/bin/sh
# Configures a preset. A build directory that came from elsewhere, as in a checkout that was moved or
# copied, is configured anew; its objects that still fit are kept.
# Use: scripts/configure.sh PRESET [OPTIONS OF CMAKE...]
set -eu
cd "$(dirname "$0")/.."
preset=$1
shift
build=build/$preset
here=$(pwd -P)
if [ -f "$build/CMakeCache.txt" ]; then
    made_for=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$build/CMakeCache.txt")
    if [ "$made_for" != "$here" ]; then
        echo "$build was made for $made_for; it is configured anew."
        rm -rf "$build/CMakeCache.txt" "$build/CMakeFiles"
    fi
fi
cd "$here"
log=$(mktemp 2>/dev/null || mktemp -p .)
trap 'rm -f "$log"' EXIT
cmake --preset "$preset" "$@" >"$log" 2>&1 || {
    cat "$log" >&2
    exit 1
}
