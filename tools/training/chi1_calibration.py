"""Fits the calibration table chi1.tab on the groups of rotamers that the program itself forms.

Every protein with known side chains is run with the networks that never saw its fold. A conditional
logit over the three rotamers has one strength for each bin of a group's mean score. Completes the
table directories of the folds with what all of them share.
"""

import argparse
import concurrent.futures
import os
import re
import subprocess

import numpy as np
import torch

from data import dataset
from data.folds import FOLDS, fold_tables, small_folds
from data.log import log
from training.chi1_data import LETTERS, rotamer_codes

RIDGE = 4.0  # pull of a letter's strengths towards those of all letters


def fit_strengths(bins, truth, centre, ridge):
    """Conditional logit: strength of each bin so that softmax over the three rotamers' bins gives
    the true one."""
    theta = torch.tensor(centre, dtype=torch.float64, requires_grad=True)
    b, t, c = torch.tensor(bins), torch.tensor(truth), torch.tensor(centre, dtype=torch.float64)
    optimiser = torch.optim.LBFGS([theta], max_iter=200, line_search_fn="strong_wolfe")

    def closure():
        optimiser.zero_grad()
        smooth = ((theta[1:10] - c[1:10] - theta[:9] + c[:9]) ** 2).sum()
        loss = (
            torch.nn.functional.cross_entropy(theta[b], t, reduction="sum")
            + ridge * ((theta - c) ** 2).sum()
            + ridge * smooth
        )
        loss.backward()
        return loss

    optimiser.step(closure)
    return theta.detach().numpy()


def complete_fold_tables(args):
    """Makes the folds' directories complete: a provisional calibration, and what all folds
    share."""
    for f in range(FOLDS):
        folder = fold_tables(args.cross, f)
        provisional = {letter: np.zeros(11) for letter in LETTERS}
        write_calibration(os.path.join(folder, "chi1.tab"), provisional)
        for name in os.listdir(args.tables):
            target = os.path.join(folder, name)
            if not os.path.lexists(target):
                os.symlink(os.path.abspath(os.path.join(args.tables, name)), target)


def run_program(args, protein, tables, excluded):
    """The lines of a run that tell the rotamer groups; kept in the state directory."""
    folder = os.path.join(args.state, "runs", protein["id"])
    kept = os.path.join(folder, "log")
    if not os.path.exists(kept):
        os.makedirs(folder, exist_ok=True)
        command = [os.path.abspath(args.program), "-tabDir", os.path.abspath(tables), "-verb"]
        command += [
            "-in",
            os.path.abspath(os.path.join(args.work, "tables", protein["id"] + ".tab")),
        ]
        command += ["-excl", excluded]
        with open(kept + ".part", "w") as out:
            subprocess.run(command, cwd=folder, stdout=out, stderr=subprocess.DEVNULL, check=False)
        with open(kept + ".part", errors="replace") as raw, open(kept + ".short", "w") as out:
            out.writelines(
                x for x in raw if x.startswith("Residue (center)") or "best matched fragments" in x
            )
        os.remove(kept + ".part")
        os.replace(kept + ".short", kept)
    with open(kept) as stream:
        return stream.readlines()


def read_groups(lines):
    """(letter, residue number, bins of g-, g+, t) of each residue whose groups the run told."""
    letter, number, bins = "", 0, {}
    for line in lines:
        m = re.match(r"Residue \(center\) (\S+) (-?\d+) of", line)
        if m:
            letter, number, bins = m.group(1).upper(), int(m.group(2)), {}
            continue
        m = re.match(r"\s+(\d+) \tbest matched fragments with (\S+)\s+(\S+)", line)
        if m:
            mean = float(m.group(3))
            bins[m.group(2)] = 10 if int(m.group(1)) < 3 else int(10 * min(1.0, max(0.0, mean)))
            if len(bins) == 3:
                yield letter, number, [bins["g-"], bins["g+"], bins["t"]]


def true_rotamers(work):
    """Rotamer by id and residue number, where chi1 is trusted."""
    rows = [
        row
        for row in dataset.read_tsv(os.path.join(work, "labels.tsv.gz"))
        if row["use_chi1"] == "1"
    ]
    codes = rotamer_codes(np.array([float(row["chi1"]) for row in rows]))
    return {(row["id"], int(row["resid"])): int(c) for row, c in zip(rows, codes) if c < 3}


def program_bins(args):
    """Bins of the rotamer groups as the program itself forms them: {letter: (bins, truth, fold)}.

    Every protein is run with the database rows of its relatives left out and the networks that
    never saw its fold.
    """
    truth = true_rotamers(args.work)
    # Of a structure without side chains there is nothing to learn here.
    useful = {name for name, _ in truth}
    proteins = [
        p
        for p in dataset.read_tsv(os.path.join(args.work, "proteins.tsv"))
        if p["kind"] != "related" and p["id"] in useful
    ]
    folds = small_folds(args.work, [p["cluster30"] for p in proteins]) % FOLDS
    related = {
        r["id"]: r["sources"] for r in dataset.read_tsv(os.path.join(args.work, "related.tsv"))
    }

    def groups_of(job):
        protein, fold = job
        lines = run_program(args, protein, fold_tables(args.cross, fold), related[protein["id"]])
        return list(read_groups(lines))

    collected = {}
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        runs = pool.map(groups_of, zip(proteins, folds))
        for done, (protein, fold, groups) in enumerate(zip(proteins, folds, runs)):
            for letter, number, bins in groups:
                rotamer = truth.get((protein["id"], number))
                if letter in LETTERS and rotamer is not None:
                    columns = collected.setdefault(letter, ([], [], []))
                    for column, value in zip(columns, (bins, rotamer, fold)):
                        column.append(value)
            if done % 50 == 49:
                log("%d of %d proteins run" % (done + 1, len(proteins)))
    return {
        letter: (bins, rotamers, np.array(fold))
        for letter, (bins, rotamers, fold) in collected.items()
    }


def write_calibration(path, rows):
    with open(path + ".part", "w") as out:
        out.write(
            "REMARK Relative likelihood of a rotamer by the mean network score of its best "
            "fragments, in tenths;\n"
        )
        out.write("REMARK column 10: fewer than three fragments, or a mean of 1 and above.\n\n")
        out.write("VARS RESNAME " + " ".join(str(b) for b in range(11)) + "\n")
        out.write("FORMAT %s" + " %.5f" * 11 + "\n\n")
        for letter, theta in sorted(rows.items()):
            out.write(
                letter
                + " "
                + " ".join("%.5f" % v for v in np.maximum(np.exp(theta - theta.max()), 1e-5))
                + "\n"
            )
    os.replace(path + ".part", path)


def strengths_of(collected, chosen):
    """Strengths of all letters, fitted on the queries whose fold `chosen(folds)` picks."""
    some = {letter: [] for letter in LETTERS}
    for letter, (bins, truth, fold) in collected.items():
        some[letter] = [(b, t) for b, t, k in zip(bins, truth, chosen(fold)) if k]
    centre = np.concatenate([np.linspace(3, -3, 10), [-3.0]])
    everything = [pair for pairs in some.values() for pair in pairs]
    pooled = fit_strengths([b for b, _ in everything], [t for _, t in everything], centre, 0.5)
    return {
        letter: fit_strengths([b for b, _ in pairs], [t for _, t in pairs], pooled, RIDGE)
        if pairs
        else pooled
        for letter, pairs in some.items()
    }


def calibrate(collected, path, wanted, cross=""):
    """Fits chi1.tab on {letter: (bins, true rotamers, folds)} and logs cross-fitted figures.

    The program calls a rotamer at a probability of 0.6. All strengths are drawn in by one factor,
    so that it calls no more than `wanted` of the residues: a called rotamer is then right more
    often than its probability says. With `cross` each fold's directory gets the table that was
    fitted on the other folds.
    """
    rows = strengths_of(collected, lambda fold: fold >= 0)
    crossed = [strengths_of(collected, lambda fold, f=f: fold != f) for f in range(FOLDS)]

    def figures(factor):
        out = {}
        for letter, (bins, truth, fold) in sorted(collected.items()):
            called, right = np.zeros(len(truth), bool), np.zeros(len(truth), bool)
            for f in range(FOLDS):
                side = fold == f
                if side.any():
                    called[side], right[side] = score_table(
                        factor * crossed[f][letter],
                        [b for b, k in zip(bins, side) if k],
                        [t for t, k in zip(truth, side) if k],
                    )
            out[letter] = (called, right)
        return out

    def share(found):
        return np.concatenate([called for called, _ in found.values()]).mean()

    factor = 1.0
    while factor > 0.3 and share(figures(factor)) > wanted:
        factor -= 0.02
    for shown in (1.0, factor):
        found = figures(shown)
        called = np.concatenate([c for c, _ in found.values()])
        right = np.concatenate([r for _, r in found.values()])
        log(
            "factor %.2f: %d residues, classified %.1f %%, right among them %.1f %%, "
            "best guess right %.1f %%"
            % (
                shown,
                len(called),
                100 * called.mean(),
                100 * right[called].mean(),
                100 * right.mean(),
            )
        )
    for letter, (called, right) in found.items():
        log(
            "%s: %d residues, classified %.1f %%, right among them %.1f %%, "
            "best guess right %.1f %%"
            % (
                letter,
                len(called),
                100 * called.mean(),
                100 * right[called].mean() if called.any() else 0,
                100 * right.mean(),
            )
        )
    write_calibration(path, {letter: factor * theta for letter, theta in rows.items()})
    for f in range(FOLDS if cross else 0):
        write_calibration(
            os.path.join(fold_tables(cross, f), "chi1.tab"),
            {letter: factor * theta for letter, theta in crossed[f].items()},
        )


def score_table(strengths, bins, truth):
    p = np.exp(strengths[np.array(bins)])
    p /= p.sum(1, keepdims=True)
    called = p.max(1) >= 0.6
    right = p.argmax(1) == np.array(truth)
    return called, right


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    for name, text in (
        ("--work", "work directory"),
        ("--program", "the built program"),
        ("--tables", "complete table directory; gets chi1.tab"),
        ("--cross", "directory with the tables of each fold of the cross-validation"),
        ("--state", "directory that keeps the runs"),
    ):
        parser.add_argument(name, required=True, help=text)
    parser.add_argument("--jobs", type=int, default=2, help="runs of the program at a time")
    parser.add_argument(
        "--called",
        type=float,
        default=0.52,
        help="most of the residues that the program is to call",
    )
    return parser.parse_args()


def main():
    args = arguments()
    os.makedirs(args.state, exist_ok=True)
    complete_fold_tables(args)
    calibrate(program_bins(args), os.path.join(args.tables, "chi1.tab"), args.called, args.cross)
    log("done")


if __name__ == "__main__":
    main()
