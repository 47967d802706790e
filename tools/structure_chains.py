"""Chains of known structure without shifts, as further rows of the database.

    structure_chains.py SOURCE WORK

Reads SOURCE/structures.tsv.gz and writes WORK/chains.tsv (one line per residue that may become a database row) and
WORK/related.tsv: for each protein with shifts the source words, its own and those of its sequence cluster and of the
related chains, that an honest prediction of it must exclude. A chain that is the same protein as one with shifts
is left out of chains.tsv. Kinship is judged by local alignment (BLOSUM62, linear gaps) of every pair.
"""

import argparse
import os

import numpy as np

import dataset
import reference_tables
from dataset import LETTERS

GAP = 9
RELATED_SCORE = 60  # local alignment score of related chains; unrelated pairs of this size rarely reach 50
SAME_IDENTITY = 0.9
BATCH = 230


def word_of(chain):
    return f"s_{chain}".ljust(18, "_")


def score_matrix(source):
    scores = reference_tables.blosum(source)
    matrix = np.full((21, 21), -1, np.int16)
    for i, a in enumerate(LETTERS):
        for j, b in enumerate(LETTERS):
            matrix[i, j] = scores[a, b]
    return matrix


def encode(sequence):
    return np.array([LETTERS.find(c) % 21 for c in sequence], np.int16)  # -1 becomes 20, unknown


def local_scores(query, batch, matrix):
    """Best local alignment score of `query` with each encoded sequence of `batch`, and the score rows of each."""
    width = max(map(len, batch))
    codes = np.full((len(batch), width), 20, np.int16)
    for row, sequence in zip(codes, batch):
        row[: len(sequence)] = sequence
    profile = matrix[:, codes.ravel()].reshape(21, len(batch), width)
    profile[:, np.arange(width)[None, :] >= np.array([len(b) for b in batch])[:, None]] = -50
    ramp = (np.arange(width) * GAP).astype(np.int16)
    row = np.zeros((len(batch), width), np.int16)
    best = np.zeros(len(batch), np.int16)
    rows = []
    for letter in query:
        fresh = profile[letter].copy()
        fresh[:, 1:] += row[:, :-1]
        np.maximum(fresh, row - GAP, out=fresh)
        np.maximum(fresh, 0, out=fresh)
        # horizontal gaps, all lengths at once
        row = np.maximum.accumulate(fresh + ramp, axis=1) - ramp
        np.maximum(best, row.max(1), out=best)
        rows.append(row)
    return best, rows


def identity(query, other, matrix):
    """(identical pairs / aligned pairs, aligned pairs) of the best local alignment."""
    _, rows = local_scores(query, [other], matrix)
    h = np.stack([r[0] for r in rows])
    i, j = np.unravel_index(int(h.argmax()), h.shape)
    same = pairs = 0
    while i >= 0 and j >= 0 and h[i, j] > 0:
        before = h[i - 1, j - 1] if i and j else 0
        if h[i, j] == before + matrix[query[i], other[j]]:
            same += int(query[i] == other[j])
            pairs += 1
            i, j = i - 1, j - 1
        elif i and h[i, j] == h[i - 1, j] - GAP:
            i -= 1
        else:
            j -= 1
    return same / max(pairs, 1), pairs


def main():
    parser = argparse.ArgumentParser(description="Prepares chains without shifts for the database.")
    parser.add_argument("source")
    parser.add_argument("work")
    args = parser.parse_args()
    matrix = score_matrix(args.source)
    manifest = {r["chain"]: r for r in dataset.read_tsv(os.path.join(args.source, "structures_manifest.tsv"))}
    chains = {}
    for row in dataset.read_tsv(os.path.join(args.source, "structures.tsv.gz")):
        if manifest[row["chain"]]["method"] != "NMR":
            chains.setdefault(row["chain"], []).append(row)
    names = sorted(chains, key=lambda c: (len(chains[c]), c))
    codes = {c: encode(r["aa"] for r in chains[c]) for c in names}

    proteins = dataset.load_work(args.work)
    clusters = {}
    for p in proteins:
        clusters.setdefault(p.info["cluster30"], []).append(p.info["source"])
    same = set()
    with open(os.path.join(args.work, "related.tsv"), "w") as out:
        out.write("id\tsources\n")
        for p in proteins:
            query, words = encode(p.seq), list(clusters[p.info["cluster30"]])
            for k in range(0, len(names), BATCH):
                batch = names[k : k + BATCH]
                best, _ = local_scores(query, [codes[c] for c in batch], matrix)
                for chain, score in zip(batch, best):
                    if score < RELATED_SCORE:
                        continue
                    words.append(word_of(chain))
                    share, pairs = identity(query, codes[chain], matrix)
                    if share >= SAME_IDENTITY and pairs >= 0.7 * min(len(query), len(codes[chain])):
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
