"""Holds the program's order parameters against those from relaxation measurements.

    tools/run.py evaluation.order_parameters WORK SOURCE PROGRAM TABLES OUT

WORK is the directory that data.build leaves, SOURCE the one it was made from: SOURCE/s2/index.tsv
lists files of measured S2 and the record each belongs to. Used are those whose record is in
WORK/proteins.tsv, itself or merged into another, and whose sequence agrees with that of the shifts.
PROGRAM is the built orvixn, TABLES a table directory, OUT a directory for the results (a protein
that is already there is not run again). The order parameters come from the shifts alone, so it does
not matter whether networks and database know the protein.

A measured S2 below 0.7 counts as flexible. The area under the curve is the chance that of a
flexible and a rigid residue the flexible one has the lower predicted S2. All +- are bootstrap
errors over proteins.
"""
import argparse
import difflib
import os
import subprocess

import numpy as np
from scipy.stats import rankdata

from data import dataset
from data.results import read_rows

SAMPLES = 500
FLEXIBLE, LIMIT = 0.7, 0.6  # of measured, of predicted S2
LEAST_PAIRS, LEAST_IDENTITY, LEAST_BLOCK = 30, 0.95, 4


def measured_file(path):
    """(sequence, {place in it from 0: S2}) of a file of measured order parameters."""
    sequence, names, values = "", None, {}
    with open(path) as lines:
        for line in lines:
            words = line.split()
            if line.startswith("# sequence"):
                sequence = words[2]
            elif line.startswith("resid"):
                names = words
            elif names and words:
                row = dict(zip(names, words))
                place = int(row["resid"]) - 1
                if not 0 <= place < len(sequence) or sequence[place] != row["resname1"]:
                    raise ValueError(
                        "%s: residue %s is not that of the sequence" % (path, row["resid"])
                    )
                if row["S2"] != ".":
                    values[place] = float(row["S2"])
    return sequence, values


def predicted(args, protein):
    """{residue: (letter, S2, is Dyn)} of a run of the program."""
    out = os.path.join(args.out, protein)
    if not os.path.exists(os.path.join(out, "predAll.tab")):
        os.makedirs(out, exist_ok=True)
        table = os.path.abspath(os.path.join(args.work, "tables", protein + ".tab"))
        with open(os.path.join(out, "log"), "w") as log:
            subprocess.run(
                [args.program, "-tabDir", os.path.abspath(args.tables), "-in", table],
                cwd=out,
                stdout=log,
                stderr=log,
                check=True,
            )
    summary = read_rows(os.path.join(out, "pred.tab"))
    order = read_rows(os.path.join(out, "predS2.tab"))
    return {
        number: (
            row["RESNAME"].upper(),
            float(row["S2"]),
            number in summary and summary[number]["CLASS"] == "Dyn",
        )
        for number, row in order.items()
    }


def paired(measured, found):
    """Rows of measured S2, predicted S2, is Dyn; None where the sequences do not agree."""
    theirs, values = measured
    first = min(found)
    numbers = range(first, max(found) + 1)
    sequence = "".join(found[n][0] if n in found else "X" for n in numbers)
    matcher = difflib.SequenceMatcher(None, theirs, sequence, autojunk=False)
    blocks = [b for b in matcher.get_matching_blocks() if b.size >= LEAST_BLOCK]
    same = [(b.a + k, b.b + k) for b in blocks for k in range(b.size)]
    if len(same) < LEAST_PAIRS:
        return None
    spans = [same[-1][k] - same[0][k] + 1 for k in (0, 1)]
    if len(same) < LEAST_IDENTITY * min(spans):
        return None
    rows = [(values[i],) + found[first + j][1:] for i, j in same if i in values]
    return np.array([row for row in rows if row[1] < 999.0]).reshape(-1, 3)


def figures(rows):
    """Figures by name of rows of measured S2, predicted S2, is Dyn."""
    measured, guess, dyn = rows.T
    flexible = measured < FLEXIBLE
    f = {
        "r": np.corrcoef(measured, guess)[0, 1] if len(rows) > 2 else np.nan,
        "rmsd": np.sqrt(np.mean((guess - measured) ** 2)),
        "mean difference": np.mean(guess - measured),
    }
    for name, called in (("S2 below %.1f" % LIMIT, guess < LIMIT), ("Dyn", dyn > 0)):
        both = np.sum(called & flexible)
        f["recall, " + name] = both / flexible.sum() if flexible.any() else np.nan
        f["precision, " + name] = both / called.sum() if called.any() else np.nan
    n = flexible.sum()
    f["area under the curve"] = (
        (rankdata(-guess)[flexible].sum() - n * (n + 1) / 2) / (n * (len(rows) - n))
        if 0 < n < len(rows)
        else np.nan
    )
    return f


def print_totals(title, files):
    """Figures of `files`, pairs of a protein and rows, pooled."""
    proteins = sorted({protein for protein, _ in files})
    parts = [np.vstack([rows for owner, rows in files if owner == protein]) for protein in proteins]
    pooled = np.vstack(parts)
    print(
        "\n%s: %d proteins, %d residues, %d with a measured S2 below %.1f"
        % (title, len(parts), len(pooled), np.sum(pooled[:, 0] < FLEXIBLE), FLEXIBLE)
    )
    generator = np.random.default_rng(1)
    draws = [
        figures(np.vstack([parts[k] for k in generator.integers(0, len(parts), len(parts))]))
        for _ in range(SAMPLES if len(parts) > 1 else 0)
    ]
    for name, value in figures(pooled).items():
        spread = [d[name] for d in draws if not np.isnan(d[name])]
        print(
            "  %-24s %6.3f%s"
            % (name, value, " +- %.3f" % np.std(spread, ddof=1) if len(spread) > 1 else "")
        )


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    for name in ("work", "source", "program", "tables", "out"):
        parser.add_argument(name)
    args = parser.parse_args()
    args.program = os.path.abspath(args.program)

    owner = {}
    for row in dataset.read_tsv(os.path.join(args.work, "proteins.tsv")):
        for record in [row["id"]] + row["merged"].split(","):
            owner[record] = row["id"]
    owner.pop(".", None)

    groups = {"deposited": [], "derived": []}
    print("%-26s %-14s %4s %6s %6s %6s" % ("file", "protein", "n", "r", "rmsd", "mean difference"))
    for entry in dataset.read_tsv(os.path.join(args.source, "s2", "index.tsv")):
        protein = owner.get(entry["matching_record"])
        if protein is None:
            continue
        measured = measured_file(os.path.join(args.source, "s2", entry["file"]))
        rows = paired(measured, predicted(args, protein))
        if rows is None or not len(rows):
            print(
                "%-26s %-14s left out: another sequence, or no predicted S2"
                % (entry["file"], protein)
            )
            continue
        f = figures(rows)
        print(
            "%-26s %-14s %4d %6.2f %6.3f %+6.3f"
            % (entry["file"], protein, len(rows), f["r"], f["rmsd"], f["mean difference"])
        )
        groups["derived" if "derived" in entry["origin"] else "deposited"].append((protein, rows))
    for name, files in list(groups.items()) + [("all", groups["deposited"] + groups["derived"])]:
        if files:
            print_totals(name, files)


if __name__ == "__main__":
    main()
