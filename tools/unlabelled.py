"""Proteins with shifts whose structure is not known, as further input of the network training.

    unlabelled.py SOURCE WORK

Writes WORK/unlabelled in the form of a work directory without angles: `proteins.tsv`, `tables/`, an empty
`labels.tsv`. Left out are relatives of proteins with shifts and coordinates (they may be test cases), proteins that
already took the angles of a relative, and samples that are unfolded or short.
"""

import argparse
import collections
import os

import numpy as np

import alignment
import dataset
import relatives

LEAST_RESIDUES, LEAST_SHIFTS = 35, 100


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("source")
    parser.add_argument("work")
    args = parser.parse_args()
    folder = os.path.join(args.work, "unlabelled")
    os.makedirs(os.path.join(folder, "tables"), exist_ok=True)
    known = dataset.load_work(args.work)
    taken = {p.id.split("_")[0] for p in known}
    records = [p for p in known if p.info["kind"] != "related"]
    groups = {p.info[name] for p in known for name in ("cluster30", "group90")}
    codes = sorted((alignment.encode(p.seq) for p in records), key=len)
    matrix = alignment.score_matrix(args.source)
    rows = collections.defaultdict(list)
    for row in dataset.read_tsv(os.path.join(args.source, "shifts_only.tsv.gz")):
        rows[row["id"]].append(row)
    chosen = {}
    for info in dataset.read_tsv(os.path.join(args.source, "shifts_only_manifest.tsv")):
        words = (info["flags"] + " " + info["title"]).lower()
        if info["id"] in taken or info["cluster30"].startswith("b") or info["group90"] in groups \
                or any(word in words for word in relatives.UNFOLDED):
            continue
        p = dataset.empty_record(info["id"], info["sequence"].upper(), info)
        for row in rows[info["id"]]:
            if 1 <= int(row["resid"]) <= len(p.seq):
                dataset.set_shifts(p, int(row["resid"]) - 1, row)
        shifts = int((~np.isnan(p.shift)).sum())
        if len(p.seq) < LEAST_RESIDUES or shifts < LEAST_SHIFTS:
            continue
        query = alignment.encode(p.seq)
        if any(alignment.local_scores(query, codes[k : k + 230], matrix)[0].max() >= alignment.RELATED_SCORE
               for k in range(0, len(codes), 230)):
            continue
        best = chosen.get(info["group90"])
        if best is None or shifts > best[0]:
            chosen[info["group90"]] = (shifts, p)
    with open(os.path.join(folder, "labels.tsv"), "w") as out:
        out.write("id\tresid\tphi\tpsi\tchi1\tuse_phipsi\tuse_chi1\n")
    with open(os.path.join(folder, "proteins.tsv"), "w") as out:
        out.write("id\tsource\tcluster30\n")
        for number, (_, p) in enumerate(sorted(chosen.values(), key=lambda item: item[1].id)):
            out.write(f"{p.id}\t{'u_' + p.id:_<18s}\t{number}\n")
            dataset.write_table(os.path.join(folder, "tables", p.id + ".tab"), p)
    print(f"{len(chosen)} proteins, {sum(len(p.seq) for _, p in chosen.values())} residues without a known structure")


if __name__ == "__main__":
    main()
