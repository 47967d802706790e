#!/bin/sh
# Predicts the bundled example with the data directory of the build and shows the result.
# Use: scripts/demo.sh <build directory>
set -eu
build=$(cd "$1" && pwd)
source=$(cd "$(dirname "$0")/.." && pwd)
. "$source/examples/demo.conf"
out=$build/demo
log=$build/demo.log

quoted() { # a path as it can be typed into a shell
    printf '%s' "$1" | sed "s/[^A-Za-z0-9_.\/-]/\\\\&/g"
}
echo
echo "Predicts $name from its shifts alone; its own entry and those of its relatives in the database"
echo "are left out. This takes a few seconds. To do it again:"
echo
echo "  $(quoted "$build/bin/orvix") predict $(quoted "$source/examples/$name.tab") \\"
echo "    --ref $(quoted "$source/examples/$name.pdb") --force -o $(quoted "$out") \\"
echo "    --exclude $source_word"
echo
rm -rf "$out"
if ! env -u ORVIXN_DIR "$build/bin/orvix" predict "$source/examples/$name.tab" \
    --ref "$source/examples/$name.pdb" --force -o "$out" --exclude "$source_word" >"$log" 2>&1; then
    echo "The prediction failed. It said:" >&2
    cat "$log" >&2
    exit 1
fi
"$build/bin/orvix" show "$out"
echo
echo "All files are in $out:"
ls "$out"
