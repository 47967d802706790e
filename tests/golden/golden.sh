#!/bin/sh
# Runs whole predictions and holds every table and both streams against the recorded ones.
#   golden.sh check BUILD WORK    fails at the first difference and shows it
#   golden.sh update BUILD WORK   records anew, showing what changes
# Small files are recorded as they are, those above 40 kB by their checksum.
set -eu
mode=$1
build=$2
work=$3
here=$(cd "$(dirname "$0")" && pwd)
examples=$here/../../examples
. "$examples/demo.conf"
rm -rf "$work"

run() { # run NAME ARGUMENTS...: one case in a directory of its own
    case_name=$1
    shift
    mkdir -p "$work/$case_name"
    status=0
    (cd "$work/$case_name" && ORVIXN_DIR="$build/share/orvixn" "$build/bin/orvixn" "$@" \
        >stdout.txt 2>stderr.txt) || status=$?
    echo "$status" >"$work/$case_name/status.txt"
    grep -v '^ Running time: ' "$work/$case_name/stdout.txt" >"$work/$case_name/stdout.new" || true
    mv "$work/$case_name/stdout.new" "$work/$case_name/stdout.txt"
    for file in "$work/$case_name"/*; do
        if [ "$(wc -c <"$file")" -gt 40000 ]; then
            sha256sum <"$file" | cut -d' ' -f1 >"$file.sha256"
            rm "$file"
        fi
    done
}

run plain -in "$examples/$name.tab" -inTitle "$name" -excl "$source_word"
run reference -in "$examples/$name.tab" -inTitle "$name" -ref "$examples/$name.pdb" -refTitle ref \
    -noproton -first 10 -last 40 -len 5
run check -in "$examples/$name.tab" -inTitle "$name" -check -offset

if [ "$mode" = update ]; then
    rm -rf "$here/expected"
    cp -r "$work" "$here/expected"
    git -C "$here" --no-pager diff --stat -- expected
    exit 0
fi
diff -r "$here/expected" "$work"

# The same bytes on one thread.
(cd "$work" && mkdir one && cd one && OMP_NUM_THREADS=1 ORVIXN_DIR="$build/share/orvixn" \
    taskset -c 0 "$build/bin/orvixn" -in "$examples/$name.tab" -inTitle "$name" \
    -excl "$source_word" >/dev/null 2>&1)
cmp "$work/one/pred.tab" "$work/plain/pred.tab"
sha256sum <"$work/one/predAll.tab" | cut -d' ' -f1 | cmp - "$work/plain/predAll.tab.sha256"
echo "golden runs agree"
