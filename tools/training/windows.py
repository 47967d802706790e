"""Residue vectors as the networks are trained on them: measured, computed, and of unknown
structure.

Every set keeps its vectors (data/rows.py) in several variants (complete, thinned out, differently
noisy) and one more row behind the last residue, `pad`, that stands for a place beyond the chain's
end.
"""

import os

import numpy as np
import torch

from data.folds import FOLDS, small_folds
from data.rows import (
    FLAGS,
    SCORE_UNIT,
    SCORES,
    SIZE,
    VALUES,
    load_features,
    read_dump,
    window_index,
)

# Added to measured values in training: random error, and a referencing error of the whole window
# (ppm, order HN N HA C CA CB; CA and CB share theirs).
NOISE = torch.tensor([0.04, 0.25, 0.03, 0.15, 0.15, 0.15])
OFFSET = torch.tensor([0.05, 0.45, 0.03, 0.25, 0.20, 0.20])
MOST_MISSING = 3  # of its six shifts, for a residue whose shifts decide its secondary structure
HELD_PART, HELD_REST = 25, 7  # every 25th chain with computed shifts stops the first training
UNLABELLED_VARIANTS = ("full", "noproton", "dropA")


class ResidueVectors:
    """Vectors `x` (variants x residues + 1 x 32), with `has` where a variant lacks residues."""

    def __init__(self, x, chains, has=None):
        variants, self.pad = x.shape[:2]
        padding = torch.zeros(variants, 1, SIZE)
        padding[:, :, FLAGS] = 1.0
        self.x = torch.cat([x, padding], 1)
        self.chains = chains
        self.known = self.x[:, :, FLAGS] == 0
        self.has = np.ones((variants, self.pad + 1), bool)
        if has is not None:
            self.has[:, : self.pad] = has
        self.good = ((~self.known).sum(2) <= MOST_MISSING).numpy()
        self.good[:, self.pad] = False

    def windows(self, reach, padded):
        """Centres and their windows of 2 * reach + 1 rows; `pad` for a place beyond the chain's
        end.

        Without `padded` only residues with a whole window are listed.
        """
        centres, windows = window_index(self.chains, reach, padded)
        return centres, np.where(windows < 0, self.pad, windows)

    def take(self, variant, windows, noisy):
        """Vectors (n x width x 32) of windows (n x width), each from its sample's variant (n)."""
        v = variant[:, None]
        x = self.x[v, windows]
        if noisy:
            n, width = windows.shape
            common = torch.randn(n, 1, 6) * OFFSET
            common[:, :, 5] = common[:, :, 4]
            error = torch.randn(n, width, 6).mul_(NOISE).add_(common)
            x[:, :, VALUES] += error.mul_(1.0 - x[:, :, FLAGS])
        return x

    def present(self, variant, windows):
        """The variant of each sample, or the first (complete) one where the variant lacks a residue
        of the window."""
        return np.where(self.has[variant[:, None], windows].all(1), variant, 0)


class MeasuredVectors(ResidueVectors):
    """The proteins with measured shifts, with angles, states, folds and weights."""

    def __init__(self, work, variants):
        first = load_features(work, variants[0])
        n = len(first["id"])
        x, has = torch.zeros(len(variants), n, SIZE), np.zeros((len(variants), n), bool)
        x[:, :, FLAGS] = 1.0
        for v, name in enumerate(variants):
            dump = first if v == 0 else load_features(work, name)
            where = rows_in(dump, first)
            has[v] = where >= 0
            x[v, has[v]] = torch.from_numpy(dump["x"][where[has[v]]])
        super().__init__(x, first["chains"], has)
        self.variants = variants
        self.id, self.resid = first["id"], first["resid"]
        self.phi = torch.from_numpy(first["phi"].astype(np.float32))
        self.psi = torch.from_numpy(first["psi"].astype(np.float32))
        self.trusted = first["use_phipsi"] & (first["phi"] < 999) & (first["psi"] < 999)
        self.label = torch.from_numpy(first["ss"].astype(np.int64))
        self.weight = torch.from_numpy(first["weight"].astype(np.float32))
        self.fold = small_folds(work, first["cluster30"])
        self.tested = first["kind"] != "related"

    def shipped_split(self, m):
        """Masks of training and stopping residues of a shipped member: it stops on two small folds,
        each member on others."""
        held = np.isin(self.fold, (2 * m, 2 * m + 1))
        return ~held, held

    def fold_split(self, f):
        """The same for members that never see fold f; one small fold stops them."""
        held = self.fold == (f + 1) % FOLDS
        return ~(self.fold % FOLDS == f) & ~held, held


class ComputedVectors(ResidueVectors):
    """Chains with computed shifts (training/shifts.py): the first training of all networks on
    shifts."""

    def __init__(self, work):
        saved = np.load(os.path.join(work, "synthetic", "input.npz"))
        super().__init__(torch.from_numpy(saved["x"]), [tuple(c) for c in saved["chains"]])
        self.phi, self.psi = torch.from_numpy(saved["phi"]), torch.from_numpy(saved["psi"])
        self.label = torch.from_numpy(saved["ss"].astype(np.int64))
        self.unrelated = ~saved["related"]
        self.held = np.zeros(self.pad, bool)
        for number, (first, last) in enumerate(self.chains):
            self.held[first:last] = number % HELD_PART == HELD_REST


class UnlabelledVectors(ResidueVectors):
    """Proteins of unknown structure, with what the teacher (training/teacher.py) expects."""

    def __init__(self, work):
        dumps = [read_dump(work, name) for name in UNLABELLED_VARIANTS]
        first = dumps[0]
        x = torch.from_numpy(first["x"]).repeat(len(dumps), 1, 1)
        for v, dump in enumerate(dumps):
            where = rows_in(dump, first)
            x[v, where >= 0] = torch.from_numpy(dump["x"][where[where >= 0]])
        super().__init__(x, first["chains"])
        saved = np.load(os.path.join(work, "teacher.npz"))
        self.map, self.peak = torch.from_numpy(saved["map"]), torch.from_numpy(saved["peak"])
        self.states = torch.from_numpy(saved["ss"])


def rows_in(dump, first):
    """For each residue of the dump `first` its row in `dump`, or -1."""
    place = {key: k for k, key in enumerate(zip(dump["id"], dump["resid"]))}
    return np.array([place.get(key, -1) for key in zip(first["id"], first["resid"])])


def scores_first(x):
    """Vectors (... x 32) as the phi/psi networks and ss5 see them: the scores in full, then the
    shifts."""
    return torch.cat([x[..., SCORES] * SCORE_UNIT, x[..., : SCORES.start]], -1)


def flagged(x, beyond):
    """Windows of vectors (n x width x size) flattened, a flag before each but the middle one: 1
    where `beyond`."""
    flag = beyond.float()
    middle = x.shape[1] // 2
    parts = []
    for k in range(x.shape[1]):
        if k != middle:
            parts.append(flag[:, k : k + 1])
        parts.append(x[:, k])
    return torch.cat(parts, 1)
