#!/bin/sh
# The program orvix as a user meets it: tables beside those of orvixn, statuses, and what is
# left behind when a run does not come to its end.
set -eu
build=$1
work=$2
here=$(cd "$(dirname "$0")" && pwd)
examples=$here/../../examples
. "$examples/demo.conf"
rm -rf "$work"
mkdir -p "$work"
cd "$work"
data=$build/share/orvixn
unset ORVIXN_DIR
fail() { echo "FAILED: $*" >&2; exit 1; }

expect() { # expect STATUS TEXT ARGUMENTS...: status, and the text on standard error
    want=$1 text=$2
    shift 2
    status=0
    "$build/bin/orvix" "$@" >out.txt 2>err.txt </dev/null || status=$?
    [ "$status" -eq "$want" ] || { cat err.txt >&2; fail "orvix $*: status $status, expected $want"; }
    [ -z "$text" ] || grep -qF -- "$text" err.txt || { cat err.txt >&2; fail "orvix $*: no '$text'"; }
}
leaves_nothing() { # no result, finished or not, hidden or not
    [ -z "$(find . -maxdepth 1 -name '*result*')" ] || fail "$1 left something behind"
}

# The same bytes as orvixn, in every table.
compare() { # compare NAME "OPTIONS OF ORVIXN" OPTIONS OF PREDICT...
    case_name=$1 options=$2
    shift 2
    mkdir "$case_name.orvixn"
    # shellcheck disable=SC2086
    (cd "$case_name.orvixn" && ORVIXN_DIR=$data "$build/bin/orvixn" -in "$examples/$name.tab" \
        $options >/dev/null 2>&1)
    expect 0 "residues" predict "$examples/$name.tab" -o "$case_name" "$@"
    for table in pred predAdjCS predABP predSS predS2 predChi1 predAll; do
        cmp "$case_name.orvixn/$table.tab" "$case_name/$table.tab" || fail "$case_name: $table"
    done
    for file in results.json run.log; do
        test -s "$case_name/$file" || fail "$case_name: no $file"
    done
    [ "$(ls -A "$case_name" | wc -l)" -eq 9 ] || fail "$case_name: other files"
}
compare plain ""
compare titled "-inTitle two words -excl $source_word -s2Thresh 0.8" \
    --title "two  words" --exclude "$source_word" --s2-threshold 0.8 --threads 1
compare reference "-ref $examples/$name.pdb -noproton -first 10 -last 40 -offset -iso -count 5" \
    --ref "$examples/$name.pdb" --no-proton --first 10 --last 40 --offset --iso --count 5

# A known structure with other residue numbers gives the same tables, with a word.
awk '/^ATOM/ { $0 = substr($0, 1, 22) sprintf("%4d", substr($0, 23, 4) + 500) substr($0, 27) } { print }' \
    "$examples/$name.pdb" >shifted.pdb
expect 0 "changed by -500" predict "$examples/$name.tab" -o shifted --no-proton --first 10 --last 40 \
    --offset --iso --count 5 --ref shifted.pdb --ref-title "$examples/$name.pdb"
for table in pred predChi1 predAll; do
    cmp "shifted/$table.tab" "reference/$table.tab" || fail "a renumbered reference: $table"
done
other=ci2
[ "$name" != ci2 ] || other=fgf2
expect 3 "is no structure of this protein" predict "$examples/$name.tab" -o result --ref "$examples/$other.pdb"
leaves_nothing "a structure of another protein"

# Known relatives are told, and left out by their sources.
grep -q "The database holds this protein or relatives" plain/run.log || fail "no word about relatives"
expect 0 "Left out of the database" predict "$examples/$name.tab" -o alone --exclude-relatives
sources=$(sed -n 's/.*"exclude": *"\([^"]*\)".*/\1/p' alone/results.json | head -1)
[ -n "$sources" ] || fail "the sources that were left out are not recorded"
expect 0 "" predict "$examples/$name.tab" -o named --exclude "$sources"
cmp alone/predAll.tab named/predAll.tab || fail "--exclude-relatives is not --exclude of its sources"
expect 2 "50 to 100" predict "$examples/$name.tab" -o result --exclude-relatives 20

expect 0 "" data list --data-dir "$data"
for word in $(echo "$sources" | tr ',' ' '); do
    grep -q "^$word .* [0-9]" out.txt || fail "data list lacks $word"
done
[ "$(grep -c '^[a-z]' out.txt)" -eq "$(grep -v '^#' "$data/tab/orvix.tab" | cut -d' ' -f1 | uniq | grep -c .)" ] ||
    fail "data list has another number of sources than the database"

# Remarks on an odd input table stand in the report and in the log.
{ cat "$examples/$name.tab"; tail -1 "$examples/$name.tab"; } >twice.tab
expect 0 "a second time" check twice.tab --fail-on none
grep -q "a second time" out.txt || fail "the report of check has no remark on the table"
expect 0 "" predict twice.tab -o twice
grep -q "a second time" twice/run.log || fail "run.log has no remark on the table"

# Nothing under the final name, and nothing beside it, of a run that failed.
sed 's/^DATA SEQUENCE.*//' "$examples/$name.tab" >nosequence.tab
sed 's/^FORMAT.*/FORMAT %4d %1s %4s %q/' "$examples/$name.tab" >badformat.tab
sed 's/^VARS.*/VARS RESID RESNAME ATOMNAME VALUE/' "$examples/$name.tab" >noshift.tab
for input in nosequence badformat noshift missing; do
    expect 3 "$input.tab" predict $input.tab -o result
    leaves_nothing $input.tab
    expect 3 "$input.tab" check $input.tab
done
expect 3 "nowhere.pdb" predict "$examples/$name.tab" --ref nowhere.pdb -o result
leaves_nothing "a missing reference"
expect 2 "is empty" predict "$examples/$name.tab" -o ""
expect 2 "wrong order" predict "$examples/$name.tab" -o result --first 30 --last 20
expect 2 "outside" predict "$examples/$name.tab" -o result --first 300
expect 2 "no source" predict "$examples/$name.tab" -o result --exclude nothing
leaves_nothing "a refused option"
sed 's/ [A-Z] *\(HN\|N\|CA\|CB\|C\|HA\) / W \1 /' "$examples/$name.tab" >wrongnames.tab
expect 3 "are not those of the sequence" predict wrongnames.tab -o deep/result
[ ! -e deep ] || fail "a refused run left its parents"
mkdir -p broken
ln -s "$data/tab" broken/all
mkdir broken/tab
ln -s "$PWD"/broken/all/* broken/tab
rm broken/tab/ss5.level2.WL1.tab broken/tab/chi1.tab
head -c 5000 "$data/tab/chi1.tab" >broken/tab/chi1.tab
expect 1 "orvix:" predict "$examples/$name.tab" --data-dir broken -o result
leaves_nothing "a broken network"
"$build/bin/orvix" predict "$examples/fgf2.tab" -o result 2>err.txt &
pid=$!
sleep 0.4
kill -TERM $pid
status=0
wait $pid || status=$?
[ "$status" -eq 143 ] || [ "$status" -eq 0 ] || fail "SIGTERM gave status $status"
if [ "$status" -eq 143 ]; then leaves_nothing SIGTERM; else rm -r result; fi

# Data directories.
expect 1 "Tried:" predict "$examples/$name.tab" -o result --data-dir nowhere
expect 1 "nowhere/tab" check "$examples/$name.tab" --data-dir nowhere
ORVIXN_DIR=./elsewhere
export ORVIXN_DIR
expect 1 "ORVIXN_DIR (./elsewhere)" check "$examples/$name.tab"
expect 0 "" check "$examples/$name.tab" --data-dir "$data"
unset ORVIXN_DIR

# An existing directory.
expect 1 "--force" predict "$examples/$name.tab" -o plain
touch plain/stale
expect 0 "" predict "$examples/$name.tab" -o plain --force
[ ! -e plain/stale ] || fail "--force kept an old file"
expect 1 "no earlier prediction" predict "$examples/$name.tab" -o plain.orvixn --force
test -s plain.orvixn/pred.tab || fail "--force touched a foreign directory"

# A finished run on a terminal: 80 columns, no colours in a file, full disks seen.
expect 0 "" show plain
[ "$(awk 'length > n { n = length } END { print n }' out.txt)" -le 80 ] || fail "wide lines"
grep -q reference out.txt && fail "reference columns without a reference"
expect 0 "" show reference --color always
grep -q "$(printf '\033')" out.txt || fail "no colours"
expect 0 "" show plain.orvixn --wide
expect 0 "" show plain --color auto
grep -q "$(printf '\033')" out.txt && fail "colours in a file"
if [ -w /dev/full ]; then
    status=0
    "$build/bin/orvix" show plain >/dev/full 2>err.txt || status=$?
    [ "$status" -eq 1 ] || fail "a full output gave status $status"
fi

# The check: orvixn lists the same outliers.
expect 0 "" check "$examples/$name.tab"
expect 4 "" check "$examples/$name.tab" --fail-on any
[ "$(grep -c '  limit ' out.txt)" -eq \
    "$(ORVIXN_DIR=$data "$build/bin/orvixn" -in "$examples/$name.tab" -check 2>/dev/null |
        grep -c 'Secondary Shift:')" ] || fail "outliers of the check"
grep -v -e '^ *1 L *C ' -e '^ *1 L *CB ' -e '^ *7 E *HN ' -e '^ *64 G *C ' \
    "$examples/$name.tab" >clean.tab
expect 0 "" check clean.tab
grep -qx "No findings" out.txt || fail "findings in a clean table"
awk '$3 == "CA" || $3 == "CB" { $4 = $4 + 2.5 } { print }' clean.tab |
    sed 's/^FORMAT.*/FORMAT %4d %1s %4s %8.3f/' >shifted.tab
expect 4 "" check shifted.tab
grep -q 'CA/CB.*! correct it' out.txt || { cat out.txt; fail "an offset was not found"; }
expect 4 "" check --json shifted.tab
grep -q '"significant": true' out.txt || fail "an offset was not found in the record"
grep -q '"to_correct": true' out.txt || fail "an offset is not to be corrected in the record"
expect 0 "" check shifted.tab --fail-on none --report check.html
grep -q 'orvix-check-page' check.html || fail "no page of the check"
expect 2 "--report" check clean.tab --report clean.tab
expect 4 "" check shifted.tab --quick
grep -q 'Possible misassignments' out.txt && fail "a quick check predicts"
expect 0 "" check twice.tab --json --quick --fail-on none
grep -q '"remarks": \[".*a second time' out.txt || fail "the record of a check has no remark on the table"

# Residues 38 and 39 exchanged, and the referencing corrected on the way.
awk '$1 == 38 && /^ *[0-9]/ { a[$3] = $4 } $1 == 39 && /^ *[0-9]/ { b[$3] = $4 } { line[NR] = $0 }
    END { for (i = 1; i <= NR; i++) { $0 = line[i]
        if ($1 == 38 && ($3 in b)) $4 = b[$3]; else if ($1 == 39 && ($3 in a)) $4 = a[$3]
        print } }' clean.tab >swapped.tab
expect 0 "" check swapped.tab --fail-on none
grep -q 'V38 and T39 fit better exchanged' out.txt || { cat out.txt; fail "exchanged residues"; }
expect 0 "corrected before the run: CA/CB by 2" predict shifted.tab --reference auto -o corrected
grep -q '"nucleus": "CA/CB"' corrected/results.json || fail "no record of a corrected reference"
grep -q 'REMARK.* taken off the shifts of CA/CB' corrected/predAdjCS.tab ||
    fail "no remark on a corrected reference"
expect 0 "no offset to correct" predict clean.tab --reference auto -o uncorrected

# A packed table, and a file that has to be imported: the same shifts, the same numbers.
gzip -c "$examples/$name.tab" >packed.tab.gz
expect 4 "" check packed.tab.gz --fail-on any
awk 'BEGIN { print "seq_id,comp_id,atom_id,value" }
    /^ *[0-9]+ [A-Z] / { print $1 "," $2 "," $3 "," $4 }' "$examples/$name.tab" >shifts.csv
(echo ">$name"; sed -n 's/^DATA SEQUENCE //p' "$examples/$name.tab" | tr -d ' ') >sequence.fasta
expect 0 "read as csv" predict shifts.csv --sequence sequence.fasta --title "$examples/$name.tab" \
    -o imported
for table in pred predS2 predSS predChi1 predAll; do
    grep -v '^DATA SEQUENCE' plain.orvixn/$table.tab >one.txt
    grep -v '^DATA SEQUENCE' imported/$table.tab >other.txt
    cmp one.txt other.txt || fail "$table of the imported table"
done
test -s imported/import.txt && test -s imported/input.tab || fail "no import report"
# The page of a prediction, with the restraints that export writes, and an index of several.
"$build/bin/orvix" predict "$examples/$name.tab" -o paged/one --report 2>/dev/null
"$build/bin/orvix" predict "$examples/$name.tab" -o paged/two 2>/dev/null
SOURCE_DATE_EPOCH=0 "$build/bin/orvix" report paged/one -o page.html 2>/dev/null
SOURCE_DATE_EPOCH=0 "$build/bin/orvix" export paged/one --format nef -o page.nef 2>/dev/null
python3 - <<'CHECK'
import json, re
text = open("page.html", encoding="utf-8").read()
record = json.loads(re.search(r'type="application/json"[^>]*>(.*?)</script>', text, re.S)[1])
files = {one["format"]: one["text"] for one in record["restraints"]}
assert sorted(files) == ["cns", "cyana", "nef"], files.keys()
assert files["nef"] == open("page.nef").read(), "the page's restraints are not those of export"
CHECK
"$build/bin/orvix" report paged 2>/dev/null
for word in one two; do
    grep -q "$word/report.html" paged/index.html || fail "the index lacks $word"
done
echo '{"schema": "other"}' >other.json
expect 3 "other.json" report other.json -o other.html
[ ! -e other.html ] || fail "a page was written of a foreign record"

echo "the companion behaves"
