#!/usr/bin/python3
"""Runs the real program on known proteins and holds its predictions against their structures.

    tools/evaluate.py WORK PROGRAM TABLES OUT [--split dev] [--options "-noproton"] [--jobs 2]

WORK is the directory that tools/build_data.py leaves (proteins.tsv, labels.tsv.gz, tables/, ref/), PROGRAM
the built orvixn, TABLES a table directory, OUT a directory for the results (a protein that is already there
is not run again). Every protein is run with the database rows of its relatives excluded (WORK/related.tsv:
itself, its sequence cluster, and chains with a local alignment to it); whether the networks of TABLES know
the protein is up to the caller. Prints the shares of the classes, rmsd and wrong predictions (by the program's own rule for a prediction far from its
reference), secondary structure and chi1, each with a bootstrap error over proteins.
"""
import argparse
import collections
import concurrent.futures
import csv
import gzip
import math
import os
import random
import subprocess

from box_share import too_far

TRUSTED = ("Strong", "Generous")


def read_rows(path):
    """Rows of a result table as dictionaries by column name."""
    rows, names = [], None
    with open(path) as table:
        for line in table:
            words = line.split()
            if line.startswith("VARS"):
                names = words[1:]
            elif names and words and words[0] not in ("FORMAT", "REMARK", "DATA") and len(words) == len(names):
                rows.append(dict(zip(names, words)))
    return rows


def difference(a, b):
    return (a - b + 180.0) % 360.0 - 180.0


def rotamer(chi1, letter):
    """The rotamer word in the convention of the chi1 table, where valine is turned."""
    if letter == "V":
        chi1 = difference(chi1, 120.0)
    if -120.0 < chi1 <= 0.0:
        return "g-"
    return "g+" if 0.0 < chi1 <= 120.0 else "t"


def run_protein(args, protein, excluded):
    out = os.path.join(args.out, protein["id"])
    if not os.path.exists(os.path.join(out, "predAll.tab")):
        os.makedirs(out, exist_ok=True)
        command = [args.program, "-tabDir", os.path.abspath(args.tables),
                   "-in", os.path.abspath(os.path.join(args.work, "tables", protein["id"] + ".tab")),
                   "-excl", excluded] + args.options.split()
        with open(os.path.join(out, "log"), "w") as log:
            subprocess.run(command, cwd=out, stdout=log, stderr=log, check=False)
    return protein["id"]


def judge(args, protein, truth):
    """Counts of one protein, to be added up."""
    count = collections.Counter()
    out = os.path.join(args.out, protein["id"])
    try:
        summary = read_rows(os.path.join(out, "pred.tab"))
        shifts = {row["RESID"]: row["CS_CNT_R2"] for row in read_rows(os.path.join(out, "predABP.tab"))}
        structure = read_rows(os.path.join(out, "predSS.tab"))
        rotamers = read_rows(os.path.join(out, "predChi1.tab"))
    except OSError:
        count["failed"] += 1
        return count
    for row in summary:
        known = truth.get(int(row["RESID"]))
        if known is None or known["use_phipsi"] != "1":
            continue
        count["residues"] += 1
        count["class " + row["CLASS"]] += 1
        if row["CLASS"] == "None":
            continue
        d_phi = difference(float(row["PHI"]), float(known["phi"]))
        d_psi = difference(float(row["PSI"]), float(known["psi"]))
        square = d_phi * d_phi + d_psi * d_psi
        wrong = too_far(square, float(known["phi"]), float(known["psi"]))
        names = {row["CLASS"]}
        known_shifts = int(shifts.get(row["RESID"], 0))
        number = "fewer than 3" if known_shifts < 3 else str(known_shifts)
        count["searched %s shifts" % number] += 1
        if row["CLASS"] in TRUSTED:
            names |= {"trusted", "%s shifts" % number}
            count["beyond 60 trusted"] += square >= 3600.0
        count["served %s shifts" % number] += row["CLASS"] in TRUSTED or row["CLASS"] == "Dyn"
        for name in names:
            count["n " + name] += 1
            count["wrong " + name] += wrong
            if not wrong:
                count["phi2 " + name] += d_phi * d_phi
                count["psi2 " + name] += d_psi * d_psi
    for row in structure:
        known = truth.get(int(row["RESID"]))
        if known is None or known["ss"] == ".":
            continue
        word = {"L": "C"}.get(row["SS_CLASS"].upper(), row["SS_CLASS"].upper())
        source = "shifts" if row["SS_CLASS"].isupper() else "sequence"
        for name in ("all", source, "true " + known["ss"]):
            count["ss " + name] += 1
            count["ss right " + name] += word == known["ss"]
        if source == "shifts":
            tenth = min(9, int(10 * float(row["CONFIDENCE"])))
            count["ss tenth %d" % tenth] += 1
            count["ss tenth right %d" % tenth] += word == known["ss"]
    for row in rotamers:
        known = truth.get(int(row["RESID"]))
        if known is None or known["use_chi1"] != "1" or int(row["CS_COUNT"]) < 9:
            continue
        right = row["CLASS"] == rotamer(float(known["chi1"]), known["letter"].upper())
        for name in ("all", known["letter"].upper()):
            count["chi1 " + name] += 1
            if row["CLASS"] != "na":
                count["chi1 called " + name] += 1
                count["chi1 right " + name] += right
        tenth = min(9, int(10 * max(float(row[q]) for q in ("Q_Gm", "Q_Gp", "Q_T"))))
        if row["CLASS"] != "na":
            count["chi1 tenth %d" % tenth] += 1
            count["chi1 tenth right %d" % tenth] += right
    return count


def share(part, whole):
    return 100.0 * part / whole if whole else float("nan")


def figures(total):
    """The figures of a sum of counts, by name."""
    f = {}
    for word in ("Strong", "Generous", "Warn", "Dyn", "None"):
        f["% " + word] = share(total["class " + word], total["residues"])
    searched = total["residues"] - total["class None"]
    f["% Strong+Generous+Dyn of the predicted"] = share(
        total["class Strong"] + total["class Generous"] + total["class Dyn"], searched)
    for name in ("trusted", "Strong", "Generous", "Warn", "Dyn"):
        n, wrong = total["n " + name], total["wrong " + name]
        f["% wrong, " + name] = share(wrong, n)
        for angle in ("phi", "psi"):
            f["rmsd %s, %s" % (angle, name)] = math.sqrt(total[angle + "2 " + name] / (n - wrong)) if n > wrong else float("nan")
    f["% 60 degrees and more off, trusted"] = share(total["beyond 60 trusted"], total["n trusted"])
    for number in ("6", "5", "4", "3", "fewer than 3"):
        name = number + " shifts"
        f["% Strong+Generous+Dyn, " + name] = share(total["served " + name], total["searched " + name])
        f["% wrong, " + name] = share(total["wrong " + name], total["n " + name])
    for name in ("all", "shifts", "sequence", "true H", "true E", "true C"):
        f["Q3 " + name] = share(total["ss right " + name], total["ss " + name])
    f["chi1 % called"] = share(total["chi1 called all"], total["chi1 all"])
    f["chi1 % right of the called"] = share(total["chi1 right all"], total["chi1 called all"])
    return f


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("work", "program", "tables", "out"):
        parser.add_argument(name)
    parser.add_argument("--split", default="dev", help="split of the proteins to run, or a comma list of ids")
    parser.add_argument("--options", default="", help="more options for the program")
    parser.add_argument("--jobs", type=int, default=2)
    args = parser.parse_args()
    args.program = os.path.abspath(args.program)

    with open(os.path.join(args.work, "proteins.tsv")) as table:
        proteins = list(csv.DictReader(table, delimiter="\t"))
    chosen = [p for p in proteins if p["split"] == args.split or p["id"] in args.split.split(",")]
    truth = collections.defaultdict(dict)
    with gzip.open(os.path.join(args.work, "labels.tsv.gz"), "rt") as table:
        for row in csv.DictReader(table, delimiter="\t"):
            truth[row["id"]][int(row["resid"])] = row
    with open(os.path.join(args.work, "related.tsv")) as table:
        related = {row["id"]: row["sources"] for row in csv.DictReader(table, delimiter="\t")}

    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        list(pool.map(lambda p: run_protein(args, p, related[p["id"]]), chosen))
    counts = [judge(args, p, truth[p["id"]]) for p in chosen]
    total = sum(counts, collections.Counter())
    print("%d proteins, %d failed, %d residues with trusted phi and psi" %
          (len(chosen), total["failed"], total["residues"]))
    generator = random.Random(1)
    samples = []
    for _ in range(200):
        samples.append(figures(sum(generator.choices(counts, k=len(counts)), collections.Counter())))
    for name, value in figures(total).items():
        spread = [s[name] for s in samples if s[name] == s[name]]
        centre = sum(spread) / len(spread) if spread else 0.0
        error = math.sqrt(sum((x - centre) ** 2 for x in spread) / max(1, len(spread) - 1))
        print("%-42s %7.2f +- %.2f" % (name, value, error))
    for kind in ("ss", "chi1"):
        print("%s right by tenth of %s: %s" % (kind, "confidence" if kind == "ss" else "probability", " ".join(
            "%d:%.0f%%(%d)" % (t, share(total["%s tenth right %d" % (kind, t)], total["%s tenth %d" % (kind, t)]),
                               total["%s tenth %d" % (kind, t)]) for t in range(10) if total["%s tenth %d" % (kind, t)])))
    for letter in "CDEFHIKLMNQRSTVWY":
        print("chi1 %s: %d residues, %.0f %% called, %.0f %% right" % (
            letter, total["chi1 " + letter], share(total["chi1 called " + letter], total["chi1 " + letter]),
            share(total["chi1 right " + letter], total["chi1 called " + letter])))


if __name__ == "__main__":
    main()
