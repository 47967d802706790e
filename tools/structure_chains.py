"""Chains of known structure without shifts, as further rows of the database.

    structure_chains.py SOURCE WORK

Reads SOURCE/structures.tsv.gz and writes WORK/chains.tsv (one line per residue that may become a database row) and
WORK/related.tsv: for each protein with shifts the source words, its own and those of its sequence cluster and of the
related chains, that an honest prediction of it must exclude. A chain that is the same protein as one with shifts
is left out of chains.tsv. Kinship is judged by local alignment (BLOSUM62, linear gaps) of every pair.
"""

import argparse
import os

import alignment
import dataset
from dataset import LETTERS

SAME_IDENTITY = 0.9
BATCH = 230


def word_of(chain):
    return f"s_{chain}".ljust(18, "_")


def main():
    parser = argparse.ArgumentParser(description="Prepares chains without shifts for the database.")
    parser.add_argument("source")
    parser.add_argument("work")
    args = parser.parse_args()
    matrix = alignment.score_matrix(args.source)
    manifest = {r["chain"]: r for r in dataset.read_tsv(os.path.join(args.source, "structures_manifest.tsv"))}
    chains = {}
    for row in dataset.read_tsv(os.path.join(args.source, "structures.tsv.gz")):
        if manifest[row["chain"]]["method"] != "NMR":
            chains.setdefault(row["chain"], []).append(row)
    names = sorted(chains, key=lambda c: (len(chains[c]), c))
    codes = {c: alignment.encode(r["aa"] for r in chains[c]) for c in names}

    proteins = dataset.load_work(args.work)
    clusters = {}
    for p in proteins:
        clusters.setdefault(p.info["cluster30"], []).append(p.info["source"])
    same = set()
    with open(os.path.join(args.work, "related.tsv"), "w") as out:
        out.write("id\tsources\n")
        for p in proteins:
            query, words = alignment.encode(p.seq), list(clusters[p.info["cluster30"]])
            for k in range(0, len(names), BATCH):
                batch = names[k : k + BATCH]
                best, _ = alignment.local_scores(query, [codes[c] for c in batch], matrix)
                for chain, score in zip(batch, best):
                    if score < alignment.RELATED_SCORE:
                        continue
                    words.append(word_of(chain))
                    pairs = alignment.aligned_pairs(query, codes[chain], matrix)
                    whole = len(pairs) >= 0.7 * min(len(query), len(codes[chain]))
                    if whole and alignment.identity(query, codes[chain], pairs) >= SAME_IDENTITY:
                        same.add(chain)
            out.write(f"{p.id}\t{','.join(words)}\n")
    kept = rows = 0
    with open(os.path.join(args.work, "chains.tsv"), "w") as out:
        out.write("source\tresid\tletter\tphi\tpsi\tchi1\n")
        for chain in sorted(chains):
            if chain in same:
                continue
            kept += 1
            for r in chains[chain]:
                if r["aa"] in LETTERS and r["phi"] != "." and r["psi"] != ".":
                    chi1 = "9999.0" if r["chi1"] == "." else r["chi1"]
                    out.write(f"{word_of(chain)}\t{r['index']}\t{r['aa']}\t{r['phi']}\t{r['psi']}\t{chi1}\n")
                    rows += 1
    print(f"{kept} chains, {rows} residues; {len(same)} chains left out that have shifts")


if __name__ == "__main__":
    main()
