"""Plants faults in shift tables and holds what `orvix check` says against them.

    tools/run.py evaluation.check SOURCE TABLES PROGRAM DATA OUT
        [--proteins 100] [--skip 0] [--faults 'none;swap;C 0.5']

SOURCE is the directory of source proteins (manifest.tsv), TABLES holds an input table for each of
its records: as SOURCE has the shifts, or the tables that data.build leaves in WORK, which are
referenced by the known structures. PROGRAM is the built orvix, DATA a data directory, OUT gets the
tables with faults and the records of the check (one that is there is not made again). Every check
leaves the database proteins of 90 % identity and more out. Records are re-referenced primary ones
without deuteration in a mixed order; thresholds were chosen on the first 100, so figures are those
of others (--skip 100).

"Called" is an offset that the check wants corrected: with nothing planted a false alarm. "Found" is
one that is called and of which less than half would be left. Swaps exchange all shifts that two
residues both have: two pairs of neighbours and one of like residues in each protein. With the fault
`archive` the re-referencing is taken back, and the estimates are held against what it had added.
`deuterated` adds isotope shifts to CA and CB and leaves HA out; `no HA, CA/CB low` takes 0.8 ppm
off them instead.
"""

import argparse
import collections
import itertools
import json
import os
import random
import subprocess
import zlib

import numpy as np

from data.dataset import LETTERS, read_tsv

ATOMS = ("N", "HA", "C", "CA", "CB", "HN")
LIKE = ("DN", "EQ", "KR", "IV", "FYW", "ST", "LM")
# Fault: what is added to which nuclei, in ppm; the sign changes from protein to protein.
FAULTS = {
    "CA/CB 0.2": {"CA": 0.2, "CB": 0.2},
    "CA/CB 0.5": {"CA": 0.5, "CB": 0.5},
    "CA/CB 1.0": {"CA": 1.0, "CB": 1.0},
    "CA/CB 2.5": {"CA": 2.5, "CB": 2.5},
    "C 0.2": {"C": 0.2},
    "C 0.5": {"C": 0.5},
    "C 1.0": {"C": 1.0},
    "C 2.5": {"C": 2.5},
    "HA 0.05": {"HA": 0.05},
    "HA 0.1": {"HA": 0.1},
    "HA 0.3": {"HA": 0.3},
    "HN 0.1": {"HN": 0.1},
    "HN 0.3": {"HN": 0.3},
    "N 0.5": {"N": 0.5},
    "N 1.0": {"N": 1.0},
    "N 3.0": {"N": 3.0},
    # Nuclei that do not disturb each other's estimate.
    "N 1.0, HA 0.1, HN 0.1": {"N": 1.0, "HA": 0.1, "HN": 0.1},
    "N 3.0, HA 0.3, HN 0.3": {"N": 3.0, "HA": 0.3, "HN": 0.3},
}
OTHERS = ("none", "swap", "archive", "deuterated", "no HA, CA/CB low")
NUCLEI = ("CA/CB", "C", "HA", "N", "HN")


def records(source, tables, skip, count):
    """The records to test that have a table, without the first `skip` of the mixed order."""
    unfit = ("deuterated", "solid", "paramag", "micelle", "sds", "dpc", "urea", "guani", "register")
    chosen = [
        row
        for row in read_tsv(os.path.join(source, "manifest.tsv"))
        if row["primary"] == "1"
        and row["referencing"] == "RefDB"
        and int(row["length"]) <= 220
        and int(row["n_CA"]) >= 40
        and "predicted" not in row["structure_kind"]
        and not any(word in row["flags"] for word in unfit)
    ]
    random.Random(5).shuffle(chosen)
    there = (r for r in chosen[skip:] if os.path.exists(os.path.join(tables, r["id"] + ".tab")))
    return list(itertools.islice(there, count))


def shift_rows(lines):
    for place, line in enumerate(lines):
        words = line.split()
        if len(words) == 4 and words[0].lstrip("-").isdigit():
            yield place, int(words[0]), words[1], words[2], float(words[3])


def write_row(lines, place, number, letter, atom, shift):
    lines[place] = "%4d %1s %4s %8.3f" % (number, letter, atom, shift)


def add_offsets(lines, offsets):
    for place, number, letter, atom, shift in list(shift_rows(lines)):
        nucleus = "HA" if atom.startswith("HA") else atom
        if nucleus in offsets:
            write_row(lines, place, number, letter, atom, shift + offsets[nucleus])


def exchange(lines, first, second):
    rows = {(n, atom): (k, letter, s) for k, n, letter, atom, s in shift_rows(lines)}
    for (number, atom), (place, letter, shift) in rows.items():
        other = rows.get((second, atom))
        if number == first and other:
            write_row(lines, place, first, letter, atom, other[2])
            write_row(lines, other[0], second, other[1], atom, shift)


def add_swaps(lines, rng):
    """Exchanges residues that are at least eight apart from others; their numbers and kind."""
    atoms, letters = collections.defaultdict(set), {}
    for _, number, letter, atom, _ in shift_rows(lines):
        atoms[number].add(atom)
        letters[number] = letter

    def fits(a, b):
        return letters[a] != letters[b] and len(atoms[a] & atoms[b]) >= 3

    used, swaps = [], []
    neighbours = [(n, n + 1) for n in atoms if n + 1 in atoms and fits(n, n + 1)]
    like = [
        (a, b)
        for a in atoms
        for b in atoms
        if b > a + 2 and fits(a, b) and any(letters[a] in w and letters[b] in w for w in LIKE)
    ]
    for kind, pairs, most in (("neighbours", neighbours, 2), ("like", like, 1)):
        rng.shuffle(pairs)
        taken = 0
        for a, b in pairs:
            if taken < most and all(min(abs(a - u), abs(b - u)) > 8 for u in used):
                used += [a, b]
                swaps.append((a, b, kind))
                taken += 1
    for a, b, _ in swaps:
        exchange(lines, a, b)
    return swaps


def isotope_shifts(data):
    """What deuterium does to CA and CB, by letter and nucleus."""
    shifts = {}
    with open(os.path.join(data, "tab", "isoadj.tab")) as stream:
        for words in map(str.split, stream):
            if len(words) == 3 and len(words[0]) == 1:
                shifts[words[0]] = {"CA": float(words[1]), "CB": float(words[2])}
    return shifts


def deuterate(lines, shifts):
    """Takes the alpha protons away and adds the isotope shifts `shifts`, by letter and nucleus."""
    for place, number, letter, atom, shift in list(shift_rows(lines)):
        if atom.startswith("HA"):
            lines[place] = ""
        elif atom in ("CA", "CB"):
            write_row(
                lines, place, number, letter, atom, shift + shifts.get(letter, {atom: 0.0})[atom]
            )


def archive_offsets(row):
    """What the re-referencing added, by nucleus; none where it was not recorded."""
    words = row["refdb_offsets_HA_CA_CB_C_N_H"].split(",")
    names = ("HA", "CA", "CB", "C", "N", "HN")
    if len(words) != len(names):
        return {}
    return {n: float(w) for n, w in zip(names, words) if w not in ("N/A", ".", "")}


def plant(args, lines, fault, row):
    """Changes the table and returns what was done to it."""
    rng = random.Random(zlib.crc32((row["id"] + fault).encode()))
    if fault == "swap":
        return add_swaps(lines, rng)
    if fault == "deuterated":
        deuterate(lines, isotope_shifts(args.data))
        return {}
    if fault == "no HA, CA/CB low":
        deuterate(lines, {letter: {"CA": -0.8, "CB": -0.8} for letter in LETTERS})
        return {}
    if fault == "archive":
        planted = {n: -v for n, v in archive_offsets(row).items()}
    else:
        sign = rng.choice((-1.0, 1.0))
        planted = {n: sign * v for n, v in FAULTS.get(fault, {}).items()}
    add_offsets(lines, planted)
    return planted


def check(args, row, fault):
    """(what was planted, record of the check) of one protein, or None if it was refused."""
    folder = os.path.join(args.out, fault.replace("/", "").replace(",", "").replace(" ", "_"))
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(args.tables, row["id"] + ".tab")) as stream:
        lines = stream.read().split("\n")
    planted = plant(args, lines, fault, row)
    table, result = (os.path.join(folder, row["id"] + suffix) for suffix in (".tab", ".json"))
    if not os.path.exists(result):
        with open(table, "w") as out:
            out.write("\n".join(lines))
        run = subprocess.run(
            [args.program, "check", table, "--json", "--exclude-relatives", "--fail-on", "none"]
            + ["--data-dir", args.data],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            check=False,
        )
        if run.returncode != 0:
            print("%s: status %d: %s" % (table, run.returncode, run.stderr.strip()[-200:]))
            return None
        with open(result, "w") as out:
            out.write(run.stdout)
    with open(result) as stream:
        return planted, json.load(stream)["by_prediction"]


def rates(rows, nucleus, size):
    """Line of figures of one nucleus: rows are (estimate, to correct, planted)."""
    estimate, called, planted = (np.array(column, float) for column in zip(*rows))
    error = estimate - planted
    found = called * (np.abs(error) < 0.5 * np.abs(planted))
    return "%-6s %5s %5d  called %5.1f %%  found %5.1f %%  estimate off by %+.3f, rms %.3f" % (
        nucleus,
        size,
        len(rows),
        100.0 * called.mean(),
        100.0 * found.mean() if planted.any() else float("nan"),
        error.mean(),
        np.sqrt(np.mean(error**2)),
    )


def report_offsets(results, fault):
    """Figures of the nuclei that the fault is about."""
    sizes = FAULTS.get(fault, {})
    for nucleus in NUCLEI:
        key = "CA" if nucleus == "CA/CB" else nucleus
        if fault not in ("none", "archive") and key not in sizes:
            continue
        rows = [
            (offset["offset"], offset["to_correct"], planted.get(key, 0.0))
            for planted, record in results.values()
            if (offset := record["offsets"].get(nucleus)) is not None
        ]
        if rows:
            print(rates(rows, nucleus, str(sizes.get(key, "-"))))


def report_swaps(results, fault):
    kinds = collections.Counter()
    for planted, record in results.values():
        named = [tuple(sorted((m["resid"], m["with"]))) for m in record["misassignments"]]
        touched = {n for pair in named for n in pair}
        truth = {(a, b): kind for a, b, kind in planted} if fault == "swap" else {}
        faulty = {n for pair in truth for n in pair}
        for pair, kind in truth.items():
            kinds[kind] += 1
            kinds[kind + " found"] += pair in named
            kinds[kind + " touched"] += bool(touched & set(pair))
        kinds["false"] += sum(not faulty & set(pair) for pair in named)
        kinds["proteins"] += 1
    for kind in ("neighbours", "like"):
        if kinds[kind]:
            print(
                "%s: %d swaps, pair named %.1f %%, a residue of it named %.1f %%"
                % (
                    kind,
                    kinds[kind],
                    100.0 * kinds[kind + " found"] / kinds[kind],
                    100.0 * kinds[kind + " touched"] / kinds[kind],
                )
            )
    print("pairs of sound residues named: %.3f a protein" % (kinds["false"] / kinds["proteins"]))


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    for name in ("source", "tables", "program", "data", "out"):
        parser.add_argument(name)
    parser.add_argument("--proteins", type=int, default=100)
    parser.add_argument("--skip", type=int, default=0)
    parser.add_argument("--faults", default="none;swap", help="separated by semicolons")
    args = parser.parse_args()
    chosen = records(args.source, args.tables, args.skip, args.proteins)
    for fault in args.faults.split(";"):
        if fault not in OTHERS and fault not in FAULTS:
            parser.error("no fault %s; there are %s" % (fault, "; ".join((*OTHERS, *FAULTS))))
        done = [(row, check(args, row, fault)) for row in chosen]
        results = {row["id"]: outcome for row, outcome in done if outcome}
        if not results:
            raise SystemExit("no check of %s went through" % fault)
        print("%s: %d proteins" % (fault, len(results)))
        if fault != "swap":
            report_offsets(results, fault)
        if fault in ("none", "swap"):
            report_swaps(results, fault)
        looks = [(r["deuteration"] or {}).get("looks_deuterated") for _, r in results.values()]
        print("looks deuterated: %d of %d" % (looks.count(True), len(looks)))


if __name__ == "__main__":
    main()
