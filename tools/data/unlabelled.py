"""Proteins with shifts whose structure is not known, as further input of the network training.

    tools/run.py data.unlabelled SOURCE WORK

Writes WORK/unlabelled in the form of a work directory without angles: `proteins.tsv`, `tables/`, an
empty `labels.tsv`. Left out are relatives of proteins with shifts and coordinates (they may be test
cases), proteins that already took the angles of a relative, and samples that are unfolded or short.
"""

import argparse
import collections
import os

import numpy as np

from data import dataset, kinship, relatives
from data.log import log

LEAST_RESIDUES, LEAST_SHIFTS = 35, 100


def candidates(source, known):
    """Proteins that none of `known` stands for, by id."""
    taken = {p.id.split("_")[0] for p in known}
    groups = {p.info[name] for p in known for name in ("cluster30", "group90")}
    rows = collections.defaultdict(list)
    for row in dataset.read_tsv(os.path.join(source, "shifts_only.tsv.gz")):
        rows[row["id"]].append(row)
    found = {}
    for info in dataset.read_tsv(os.path.join(source, "shifts_only_manifest.tsv")):
        kin = info["cluster30"].startswith("b") or info["group90"] in groups
        if info["id"] in taken or kin or relatives.is_unfolded(info):
            continue
        p = dataset.empty_record(info["id"], info["sequence"].upper(), info)
        for row in rows[info["id"]]:
            if 1 <= int(row["resid"]) <= len(p.seq):
                dataset.set_shifts(p, int(row["resid"]) - 1, row)
        if len(p.seq) >= LEAST_RESIDUES and known_shifts(p) >= LEAST_SHIFTS:
            found[p.id] = p
    return found


def known_shifts(p):
    return int((~np.isnan(p.shift)).sum())


def choose(source, known):
    """The most complete of each group of equal proteins, without relatives of test cases."""
    found = candidates(source, known)
    tested = {p.id: p.seq for p in known if p.info["kind"] != "related"}
    hits = kinship.search({name: p.seq for name, p in found.items()}, tested)
    chosen = {}
    for name, p in found.items():
        best = chosen.get(p.info["group90"])
        if not hits.get(name) and (best is None or known_shifts(p) > known_shifts(best)):
            chosen[p.info["group90"]] = p
    return sorted(chosen.values(), key=lambda p: p.id)


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("source")
    parser.add_argument("work")
    args = parser.parse_args()
    folder = os.path.join(args.work, "unlabelled")
    os.makedirs(os.path.join(folder, "tables"), exist_ok=True)
    chosen = choose(args.source, dataset.load_work(args.work))
    with open(os.path.join(folder, "labels.tsv"), "w") as out:
        out.write("id\tresid\tphi\tpsi\tchi1\tuse_phipsi\tuse_chi1\n")
    with open(os.path.join(folder, "proteins.tsv"), "w") as out:
        out.write("id\tsource\tcluster30\n")
        for number, p in enumerate(chosen):
            out.write(f"{p.id}\t{'u_' + p.id:_<18s}\t{number}\n")
            dataset.write_table(os.path.join(folder, "tables", p.id + ".tab"), p)
    residues = sum(len(p.seq) for p in chosen)
    log(f"{len(chosen)} proteins, {residues} residues without a known structure")


if __name__ == "__main__":
    main()
