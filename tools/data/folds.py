"""Folds of the cross-validation: parts of the proteins by whole sequence clusters, the same for all
steps."""

import os

import numpy as np

from data import dataset

SMALL_FOLDS = (
    20  # parts of the proteins by whole clusters; folds of a cross-validation are unions of them
)
FOLDS = 4


def small_folds(work, clusters):
    """The small fold of each of `clusters` (numbers); the same in all trainers."""
    rows = list(dataset.read_tsv(os.path.join(work, "proteins.tsv")))
    names = np.repeat([int(r["cluster30"]) for r in rows], [max(1, int(r["n_use"])) for r in rows])
    fold_of = dict(zip(names, cluster_folds(names, SMALL_FOLDS, 1)))
    return np.array([fold_of[int(c)] for c in clusters])


def fold_tables(cross, f):
    """Directory of the networks that never saw fold f."""
    return os.path.join(cross, "fold%d" % f)


def cluster_folds(clusters, folds, seed):
    """Assigns whole clusters to folds of about equal residue counts; returns the fold of each
    residue."""
    rng = np.random.default_rng(seed)
    names, sizes = np.unique(clusters, return_counts=True)
    order = np.lexsort((rng.random(len(names)), -np.minimum(sizes, 200)))
    load, fold_of = np.zeros(folds), {}
    for i in order:
        f = int(np.argmin(load))
        fold_of[names[i]] = f
        load[f] += sizes[i]
    return np.array([fold_of[c] for c in clusters])
