"""Runs the real program on known proteins and holds its predictions against their structures.

    tools/run.py evaluation.proteins WORK PROGRAM TABLES OUT
        [--folds] [--split dev] [--source SOURCE [--as-given]] [--known LIST] [--options=-noproton]
        [--plots DIR]

WORK is the directory that data.build leaves (proteins.tsv, labels.tsv.gz, tables/), PROGRAM the
built orvixn, TABLES a table directory, OUT a directory for the results (a protein that is already
there is not run again). Every protein is run with the database rows of its relatives excluded
(WORK/related.tsv: itself, its sequence cluster, and chains with a local alignment to it). Proteins
with the angles of a relative (kind `related`) are never run.

With --folds TABLES holds fold0, fold1, ...: tables of networks that never saw the proteins of that
fold, and every protein is run with those of its fold. Without, whether the networks know the
protein is up to the caller. With --source files of the archive are told apart by the method of the
structure, and X-ray structures at 2.3 A or better, all and those with at least 80 % of the six
shifts, get figures of their own. With --known so do the proteins of an earlier list and the others.
The tables of WORK were cleaned with the structure at hand (offsets, outliers); with --as-given the
program gets the shifts as SOURCE has them.

"Served" are Strong, Generous and Dyn, as a share of the residues with a prediction (any class but
None). "Wrong" are Strong and Generous that the program's own rule calls too far from a reference;
rmsd is that of the others. The shares by the number of shifts are those of the residue itself;
"enough" and "few" go by the shifts of the residue and its two neighbours (at least 10 or not). chi1
figures are for residues with 9 and more of these, unless they say "all residues". All +- are
bootstrap errors over whole sequence clusters.
"""
import argparse
import collections
import concurrent.futures
import os
import subprocess

import numpy as np

from data import dataset
from data.dataset import read_tsv
from data.folds import FOLDS, fold_tables, small_folds
from data.results import ROTAMERS
from evaluation import counts, plots, subsets

SAMPLES = 500
SHIFT_GROUPS = ("6 shifts", "5 shifts", "4 shifts", "3 shifts", "fewer than 3", "enough", "few")
SUMMARY = (
    ("served", "% served"),
    ("wrong", "% wrong, all"),
    ("phi", "rmsd phi, all"),
    ("psi", "rmsd psi, all"),
    ("Q3 shifts", "Q3 shifts"),
    ("chi1 called", "chi1 % called"),
    ("right", "chi1 % right of the called"),
)


def run_protein(args, protein, excluded):
    out = os.path.join(args.out, protein["id"])
    if os.path.exists(os.path.join(out, "predAll.tab")):
        return
    os.makedirs(out, exist_ok=True)
    command = [
        args.program,
        "-tabDir",
        os.path.abspath(protein["tables"]),
        "-in",
        os.path.abspath(os.path.join(args.shifts, protein["id"] + ".tab")),
        "-excl",
        excluded,
    ] + args.options.split()
    with open(os.path.join(out, "log"), "w") as log:
        subprocess.run(command, cwd=out, stdout=log, stderr=log, check=False)


def write_given(args, proteins):
    """Shift tables of the proteins as they stand in the source."""
    args.shifts = os.path.join(args.out, "tables")
    os.makedirs(args.shifts, exist_ok=True)
    records = dataset.load_records(args.source)
    for p in proteins:
        dataset.write_table(os.path.join(args.shifts, p["id"] + ".tab"), records[p["id"]])


def totals(proteins):
    """Summed counts by name: the sum itself, then those of SAMPLES draws of whole clusters."""
    names = sorted({name for p in proteins for name in p["count"]})
    column = {name: k for k, name in enumerate(names)}
    clusters = sorted({p["cluster30"] for p in proteins})
    place = {cluster: k for k, cluster in enumerate(clusters)}
    counts = np.zeros((len(clusters), len(names)))
    for p in proteins:
        for name, value in p["count"].items():
            counts[place[p["cluster30"]], column[name]] += value
    draws = np.random.default_rng(1).multinomial(
        len(clusters), [1.0 / len(clusters)] * len(clusters), SAMPLES
    )
    if len(clusters) == 1:
        draws = draws * np.nan  # one cluster says nothing about the error
    sums = np.vstack([np.ones(len(clusters)), draws]) @ counts
    return collections.defaultdict(lambda: np.zeros(SAMPLES + 1), zip(names, sums.T))


def share(part, whole):
    return 100.0 * np.divide(part, whole, out=np.full(len(whole), np.nan), where=whole > 0)


def surest_right(total, group, part):
    """Share right among the `part` of the residues whose largest probability is highest; equal ones
    count in part."""
    head = "chi1 top %s " % group
    tops = sorted((name for name in total if name.startswith(head)), reverse=True)
    if not tops:
        return np.full(SAMPLES + 1, np.nan)
    n = np.array([total[name] for name in tops])
    right = np.array([total["chi1 top right " + name[len("chi1 top ") :]] for name in tops])
    wanted = part * n.sum(0)
    taken = np.clip(wanted - (np.cumsum(n, 0) - n), 0.0, n)
    return share((np.divide(taken, n, out=np.zeros_like(n), where=n > 0) * right).sum(0), wanted)


def figures(total):
    """The figures of summed counts, by name."""
    f = {}
    for word in ("Strong", "Generous", "Warn", "Dyn", "None"):
        f["% " + word] = share(total["class " + word], total["residues all"])
    f["% served"] = share(total["served all"], total["searched all"])
    for name in ("all", "Strong", "Generous", "Warn", "Dyn") + SHIFT_GROUPS:
        n, wrong = total["n " + name], total["wrong " + name]
        f["% wrong, " + name] = share(wrong, n)
        for angle in ("phi", "psi"):
            f["rmsd %s, %s" % (angle, name)] = np.sqrt(
                share(total[angle + "2 " + name], n - wrong) / 100.0
            )
    f["% 60 degrees and more off, all"] = share(total["beyond 60 all"], total["n all"])
    for group in SHIFT_GROUPS:
        f["% predicted, " + group] = share(total["searched " + group], total["residues " + group])
        f["% served, " + group] = share(total["served " + group], total["searched " + group])
        f["Q3, " + group] = share(total["ss right shifts " + group], total["ss shifts " + group])
    for name in ("all", "shifts", "sequence", "true H", "true E", "true C"):
        f["Q3 " + name] = share(total["ss right " + name], total["ss " + name])
    f["segment overlap"] = share(
        sum(total["sov " + s] for s in "HEC"), sum(total["sov length " + s] for s in "HEC")
    )
    for state in "HEC":
        f["segment overlap " + state] = share(total["sov " + state], total["sov length " + state])
    for group, note in (("enough", ""), ("all", ", all residues")):
        f["chi1 % called" + note] = share(total["chi1 called " + group], total["chi1 " + group])
        f["chi1 % right of the called" + note] = share(
            total["chi1 right " + group], total["chi1 called " + group]
        )
        f["chi1 % best guess right" + note] = surest_right(total, group, 1.0)
        for part in (0.5, 0.3):
            f["chi1 %% right of the surest %.0f %%%s" % (100 * part, note)] = surest_right(
                total, group, part
            )
    return f


def error(values):
    known = values[1:][~np.isnan(values[1:])]
    return known.std(ddof=1) if len(known) > 1 else np.nan


def cell(values):
    if np.isnan(values[0]):
        return "-"
    return (
        "%.1f" % values[0] if np.isnan(error(values)) else "%.1f+-%.1f" % (values[0], error(values))
    )


def print_summaries(title, parts, errors):
    """One line of the main figures for each of `parts`, pairs of a name and proteins."""
    print("\n%-22s proteins residues %s" % (title, "".join("%13s" % head for head, _ in SUMMARY)))
    for name, proteins in parts:
        total = totals(proteins)
        f = figures(total)
        cells = [cell(f[key] if errors else f[key][:1]) for _, key in SUMMARY]
        print(
            "%-22s %8d %8d %s"
            % (name, len(proteins), total["residues all"][0], "".join("%13s" % c for c in cells))
        )


def print_shift_groups(total, f):
    columns = ("% predicted", "% served", "% wrong", "rmsd phi", "rmsd psi", "Q3")
    print(
        "\n%-14s residues %s  (Q3 of the residues decided by shifts)"
        % ("shifts", "".join("%13s" % c for c in columns))
    )
    for group in SHIFT_GROUPS:
        cells = [cell(f["%s, %s" % (column, group)]) for column in columns]
        print(
            "%-14s %8d %s"
            % (group, total["residues " + group][0], "".join("%13s" % c for c in cells))
        )


def print_calibration(total):
    print(
        "\nsecondary structure, right by tenth of confidence: "
        + " ".join(
            "%d:%.0f%%(%d)"
            % (
                t,
                share(total["ss right tenth %d" % t], total["ss tenth %d" % t])[0],
                total["ss tenth %d" % t][0],
            )
            for t in range(10)
            if total["ss tenth %d" % t][0]
        )
    )
    print(
        "\nchi1, all residues: share for which the rotamer of a probability is the true one "
        "(number of probabilities); Q: the three together"
    )
    for tenth in range(10):
        cells = []
        for q in ("Q",) + tuple(ROTAMERS):
            n, true, mean = (
                total["tenth %s%s %d" % (what, q, tenth)] for what in ("", "right ", "sum ")
            )
            if q == "Q" and n[0]:
                cells.append("mean %.3f" % (share(mean, n)[0] / 100.0))
            if n[0]:
                cells.append("%s %s %% (%d)" % (q, cell(share(true, n)), n[0]))
        print("  %.1f-%.1f  %s" % (tenth / 10, (tenth + 1) / 10, "   ".join(cells)))
    print("\nchi1 by type: residues, % called, % right of the called")
    for letter in "CDEFHIKLMNQRSTVWY":
        n, called = total["chi1 " + letter], total["chi1 called " + letter]
        print(
            "  %s %6d %6.1f %6.1f"
            % (letter, n[0], share(called, n)[0], share(total["chi1 right " + letter], called)[0])
        )


def parts_by(proteins, key):
    return [
        (value, [p for p in proteins if p[key] == value])
        for value in sorted({p[key] for p in proteins})
    ]


def arguments():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    for name in ("work", "program", "tables", "out"):
        parser.add_argument(name)
    parser.add_argument(
        "--folds", action="store_true", help="TABLES holds a directory for each fold"
    )
    parser.add_argument(
        "--split",
        help="split of the proteins to run, or a comma list of ids (dev, with --folds all)",
    )
    parser.add_argument("--source", help="directory of the source proteins")
    parser.add_argument(
        "--as-given", action="store_true", help="the shifts as the source has them, not cleaned"
    )
    parser.add_argument("--known", help="proteins.tsv of an earlier data directory")
    parser.add_argument("--options", default="", help="more options for the program")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--plots", help="directory for plots of the figures (evaluation.plots)")
    args = parser.parse_args()
    if args.as_given and not args.source:
        parser.error("--as-given needs --source")
    args.program = os.path.abspath(args.program)
    return args


def choose_proteins(args):
    """The proteins to run, with the tables of each."""
    split = args.split or ("" if args.folds else "dev")
    names = split.split(",")
    proteins = [
        p
        for p in read_tsv(os.path.join(args.work, "proteins.tsv"))
        if p["kind"] != "related" and (not split or p["split"] == split or p["id"] in names)
    ]
    if not proteins:
        raise SystemExit("no protein of the split " + split)
    for p in proteins:
        p["tables"] = args.tables
    if args.folds:
        folds = small_folds(args.work, [p["cluster30"] for p in proteins]) % FOLDS
        for p, fold in zip(proteins, folds):
            p["fold"], p["tables"] = str(fold), fold_tables(args.tables, fold)
    if args.source:
        about = subsets.describe_structures(args.source)
        for p in proteins:
            p["kind"] += " " + about[p["id"]][0] if p["kind"] == "archive-file" else ""
    return proteins


def run_all(args, proteins):
    """Runs the proteins that have not been run, and sets the counts of all."""
    truth = collections.defaultdict(dict)
    for row in read_tsv(os.path.join(args.work, "labels.tsv.gz")):
        truth[row["id"]][int(row["resid"])] = row
    table = read_tsv(os.path.join(args.work, "related.tsv"))
    related = {row["id"]: row["sources"] for row in table}
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        list(pool.map(lambda p: run_protein(args, p, related[p["id"]]), proteins))
    for p in proteins:
        p["count"] = counts.count_run(os.path.join(args.out, p["id"]), truth[p["id"]])
    failed = [p["id"] for p in proteins if p["count"]["failed"]]
    names = "".join(" " + name for name in failed)
    print("%d proteins, %d failed%s" % (len(proteins), len(failed), names))


def print_all(total):
    f = figures(total)
    print_shift_groups(total, f)
    print("\n%d residues with trusted phi and psi" % total["residues all"][0])
    for name, values in f.items():
        if name.split(", ")[-1] not in SHIFT_GROUPS and not np.isnan(values[0]):
            print("%-46s %7.2f +- %.2f" % (name, values[0], error(values)))
    print_calibration(total)


def main():
    args = arguments()
    proteins = choose_proteins(args)
    args.shifts = os.path.join(args.work, "tables")
    if args.as_given:
        write_given(args, proteins)
    run_all(args, proteins)
    if args.folds:
        print_summaries("fold", parts_by(proteins, "fold"), errors=False)
    kinds = parts_by(proteins, "kind") + [("all", proteins)]
    print_summaries("kind of structure", kinds, errors=True)
    cleaned = os.path.join(args.work, "tables")
    parts = subsets.subsets(proteins, args.source, cleaned, args.known)
    if parts:
        print_summaries("part", parts, errors=True)
    total = totals(proteins)
    print_all(total)
    if args.plots:
        plots.write_all(args.plots, total, figures(total), share, error)


if __name__ == "__main__":
    main()
