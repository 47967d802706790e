"""Local alignment of sequences (BLOSUM62, linear gaps)."""

import os

import numpy as np

import dataset
from dataset import LETTERS

GAP = 9
RELATED_SCORE = 60  # local score of related chains; unrelated pairs of this size rarely reach 50


def blosum(source):
    rows = list(dataset.read_tsv(os.path.join(source, "reference", "blosum62.tsv")))
    return {(r["res1"], c): float(r[c]) for r in rows for c in r if c != "res1"}


def score_matrix(source):
    scores = blosum(source)
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


def aligned_pairs(query, other, matrix):
    """Index pairs of the best local alignment, in rising order."""
    _, rows = local_scores(query, [other], matrix)
    h = np.stack([r[0] for r in rows])
    i, j = np.unravel_index(int(h.argmax()), h.shape)
    pairs = []
    while i >= 0 and j >= 0 and h[i, j] > 0:
        before = h[i - 1, j - 1] if i and j else 0
        if h[i, j] == before + matrix[query[i], other[j]]:
            pairs.append((int(i), int(j)))
            i, j = i - 1, j - 1
        elif i and h[i, j] == h[i - 1, j] - GAP:
            i -= 1
        else:
            j -= 1
    return pairs[::-1]


def identity(query, other, pairs):
    """Share of aligned pairs that are the same residue."""
    return sum(int(query[i] == other[j]) for i, j in pairs) / max(len(pairs), 1)
