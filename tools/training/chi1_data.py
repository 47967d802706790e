"""What the chi1 networks are trained on: the database as arrays, and for each query the fragments
that the refined search would hand to them."""

import copy
import gzip
import os

import numpy as np
import torch

from data import dataset

LETTERS = "CDEFHIKLMNQRSTVWY"  # residue types with a chi1 network
REACH, LIMIT = 3, 50.0
MISSING_TERM = 1.5  # the input for a shift that query or fragment lacks
# Scale of a computed shift in the database over the spread of measured around computed ones.
COMPUTED_SCALE = 1.47


def rotamer_codes(chi1):
    """0 g-, 1 g+, 2 t, 3 unknown."""
    plus, minus = (chi1 > 0) & (chi1 <= 120), (chi1 > -120) & (chi1 <= 0)
    return np.where(chi1 >= 999, 3, np.where(minus, 0, np.where(plus, 1, 2)))


class Database:
    """The database file as arrays, with the cluster of each row and the centres whose windows are
    whole."""

    def __init__(self, path, proteins, labels, work):
        self._read(path)
        known = self._find_clusters(proteins)
        self._mark_trusted(labels, [k[1] for k in known])
        self._mark_unrelated(work)
        # As a query, a residue with computed shifts gets the noise that measured ones have around
        # computed ones.
        noise = (
            np.random.default_rng(17).normal(0, 1, self.value.shape) * self.scale / COMPUTED_SCALE
        )
        self.query_value = np.where(self.paired[:, None], self.value, self.value + noise)
        self.whole = self._whole_windows()
        self.rotamer = rotamer_codes(self.chi1)
        self.fixed = self._angle_inputs()

    def _read(self, path):
        source, letter, number, cells = [], [], [], []
        opener = gzip.open if path.endswith(".gz") else open
        with opener(path, "rt") as stream:
            for line in stream:
                w = line.split()
                if len(w) == 19 and line[0] != "#":
                    source.append(w[0])
                    letter.append(w[1])
                    number.append(int(w[2]))
                    cells.append([float(v) for v in w[3:6] + w[7:]])
        cells = np.array(cells)
        self.letter, self.number, self.source = np.array(letter), np.array(number), np.array(source)
        self.phi, self.psi, self.chi1 = cells[:, 0], cells[:, 1], cells[:, 2]
        self.value, self.scale = cells[:, 3::2], cells[:, 4::2]

    def _find_clusters(self, proteins):
        """Sets the cluster of each row and returns it with the protein's id."""
        cluster_of = {
            r["source"]: (int(r["cluster30"]), r["id"]) for r in dataset.read_tsv(proteins)
        }
        # A chain without measured shifts is a cluster of its own, below zero.
        chain = {}
        known = [
            cluster_of.get(s) or (-1 - chain.setdefault(s, len(chain)), "")
            for s in self.source.tolist()
        ]
        self.cluster = np.array([k[0] for k in known])
        self.paired = self.cluster >= 0
        return known

    def _mark_trusted(self, labels, ids):
        self.trusted = self.chi1 < 999
        good = {
            (r["id"], int(r["resid"])) for r in dataset.read_tsv(labels) if r["use_chi1"] == "1"
        }
        self.trusted &= np.array([key in good for key in zip(ids, self.number.tolist())])

    def _mark_unrelated(self, work):
        """Chains that are no relatives of a test case may train what all folds start from."""
        self.unrelated = np.zeros(len(self.source), bool)
        computed = os.path.join(work, "synthetic", "input.npz")
        if os.path.exists(computed):
            saved = np.load(computed)
            self.unrelated = np.isin(self.source, np.unique(saved["source"][~saved["related"]]))

    def _whole_windows(self):
        n = len(self.number)
        i = np.arange(n)
        whole = (i >= REACH) & (i < n - REACH)
        for j in range(-REACH, REACH + 1):
            k = np.clip(i + j, 0, n - 1)
            whole &= (self.number[k] - self.number == j) & (self.source[k] == self.source)
        return whole

    def _angle_inputs(self):
        a = np.deg2rad(np.stack([self.phi, self.psi, self.chi1], 1))
        has = (self.chi1 < 999)[:, None]
        chi = np.where(
            has, np.stack([np.sin(a[:, 2]), np.cos(a[:, 2]), 0 * a[:, 2]], 1), [0.0, 0.0, 1.0]
        )
        backbone = np.stack([np.sin(a[:, 0]), np.cos(a[:, 0]), np.sin(a[:, 1]), np.cos(a[:, 1])], 1)
        return np.concatenate([backbone, chi], 1).astype(np.float32)

    def inputs(self, query, fragments):
        """Network inputs (n x 39) of the fragments of a query."""
        neighbours = np.arange(-1, 2)
        q, f = query + neighbours, fragments[:, None] + neighbours
        scale = self.scale[f]
        missing = (self.scale[q] == 0) | (scale == 0)
        term = (self.value[f] - self.query_value[q]) / np.where(missing, 1.0, scale)
        term = np.where(missing, MISSING_TERM, term).astype(np.float32)
        return np.concatenate([self.fixed[f], term], 2).reshape(len(fragments), 39)


def candidates(db, queries, pool, rng, spread, distrust, most):
    """For each query up to `most` rows of `pool` of other clusters whose window lies near the
    query's noisy angles."""
    noise = rng.normal(0, spread, (2, len(db.phi)))
    skip = rng.random(len(db.phi)) < distrust

    def near(q, f):
        ok = skip[q].copy()
        check = ~ok
        for angle, add in ((db.phi, noise[0]), (db.psi, noise[1])):
            p, d = angle[q], angle[f]
            diff = np.abs(p + add[q] - d)
            diff = np.minimum(diff, np.abs(360.0 - diff))
            check = check & (diff <= LIMIT) & (p < 999) & (d < 999)
        return ok | check

    out = []
    for start in range(0, len(queries), 256):
        part = queries[start : start + 256]
        # The middle residue leaves few pairs to look at the others of.
        close = db.cluster[part][:, None] != db.cluster[pool][None, :]
        close &= near(part[:, None] + np.zeros(len(pool), int), pool[None, :] + 0 * part[:, None])
        a, b = np.nonzero(close)
        for j in (-1, 1, -2, 2, -3, 3):
            ok = near(part[a] + j, pool[b] + j)
            a, b = a[ok], b[ok]
        ends = np.searchsorted(a, np.arange(len(part) + 1))
        for first, last in zip(ends[:-1], ends[1:]):
            out.append(rng.permutation(pool[b[first:last]])[:most])
    return out


class Lists:
    """Queries with the network inputs of their fragments, as dense arrays (query x fragment)."""

    def __init__(self, db, queries, found):
        width = max((len(f) for f in found), default=1)
        self.x = torch.zeros(len(queries), width, 39)
        self.rotamer = torch.full((len(queries), width), 3)
        self.count = np.array([len(f) for f in found], int)
        for k, (q, f) in enumerate(zip(queries, found)):
            self.x[k, : len(f)] = torch.from_numpy(db.inputs(q, f))
            self.rotamer[k, : len(f)] = torch.from_numpy(db.rotamer[f])
        self.truth = torch.from_numpy(db.rotamer[queries])

    def __len__(self):
        return len(self.count)

    def some(self, mask):
        part, rows = copy.copy(self), torch.from_numpy(mask)
        part.x, part.rotamer, part.truth = self.x[rows], self.rotamer[rows], self.truth[rows]
        part.count = self.count[mask]
        return part

    def pairs(self, per_query, rng):
        """(query, fragment) numbers of up to `per_query` fragments each, in random order: a query
        of many fragments does not outweigh one of few."""
        key = rng.random(self.rotamer.shape)
        key[np.arange(key.shape[1]) >= self.count[:, None]] = 2.0
        best = np.argsort(key, 1)[:, :per_query]
        query = np.repeat(np.arange(len(self)), best.shape[1])
        fragment = best.ravel()
        kept = rng.permutation(np.flatnonzero(fragment < self.count[query]))
        return torch.from_numpy(query[kept]), torch.from_numpy(fragment[kept])

    def of_pairs(self, query, fragment):
        """Network inputs of pairs, and whether the fragment's rotamer is another."""
        other = self.rotamer[query, fragment] != self.truth[query]
        return self.x[query, fragment], other.float()


def drop_shifts(x, rng):
    """Network inputs (... x 39, the first axis queries) of which some lose shifts of the query."""
    n = len(x)
    lose = rng.random(n) < 0.4
    dropped = torch.from_numpy((rng.random((n, 3, 6)) < 0.3) & lose[:, None, None])
    parts = x.view(*x.shape[:-1], 3, 13)
    while dropped.dim() < parts.dim():
        dropped = dropped[:, None]
    shifts = torch.where(dropped, torch.tensor(MISSING_TERM), parts[..., 7:])
    return torch.cat([parts[..., :7], shifts], -1).flatten(-2)
