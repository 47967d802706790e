#!/bin/sh
# Runs the installed program from another directory with the installed data.
# Use: scripts/check-install.sh <prefix>
set -eu
prefix=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# shellcheck source=examples/demo.conf
. "$prefix/share/orvixn/examples/demo.conf"
cd "$work"
ORVIXN_DIR="$prefix/share/orvixn" "$prefix/bin/orvixn" \
    -in "$prefix/share/orvixn/examples/$name.tab" >run.log 2>&1
for table in predAdjCS predABP predSS predS2 pred predChi1 predAll; do
    test -s "$table.tab" || { echo "$table.tab was not written" >&2; exit 1; }
done
"$prefix/bin/orvix" --version
# Without ORVIXN_DIR it finds the data beside itself.
env -u ORVIXN_DIR "$prefix/bin/orvix" predict \
    "$prefix/share/orvixn/examples/$name.tab" -o companion 2>run.log
test -s companion/results.json || { echo "no results.json was written" >&2; exit 1; }
cmp pred.tab companion/pred.tab
# The installed tables are whole, and their image, where the build makes one, fits them.
env -u ORVIXN_DIR "$prefix/bin/orvix" data verify >verify.txt || { cat verify.txt >&2; exit 1; }
if grep -q '^STALE' verify.txt; then
    echo "the installed image is not of the installed tables" >&2
    exit 1
fi
env -u ORVIXN_DIR "$prefix/bin/orvix" predict --no-image \
    "$prefix/share/orvixn/examples/$name.tab" -o text 2>run.log
cmp companion/results.json text/results.json
echo "the installed programs wrote all seven tables and results.json"
