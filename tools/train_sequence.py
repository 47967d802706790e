#!/usr/bin/python3
"""Trains the sequence-only secondary structure networks.

seqSS sees substitution scores, and its second level classes that are known; seqSS15 sees profile frequencies in
percent. Targets and loss as in train_secondary.py.
"""
import argparse
import csv
import gzip
import os

import numpy as np
import torch

import networks_common as nc

BLOSUM_LETTERS = "ARNDCQEGHILKMFPSTWYV"
# Background frequencies of Robinson and Robinson (1991), in the order of BLOSUM_LETTERS, and the scale of the scores.
BACKGROUND = np.array([0.07805, 0.05129, 0.04487, 0.05364, 0.01925, 0.04264, 0.06295, 0.07377, 0.02199, 0.05142,
                       0.09019, 0.05744, 0.02243, 0.03856, 0.05203, 0.07120, 0.05841, 0.01330, 0.03216, 0.06441])
SCORE_SCALE = 0.3176


def blosum(source):
    with open(os.path.join(source, "reference", "blosum62.tsv")) as stream:
        rows = [line.rstrip("\n").split("\t") for line in stream if line[0] != "#"]
    table = {(r[0], c): float(s) for r in rows[1:] for c, s in zip(rows[0][1:], r[1:])}
    return np.array([[table[a, b] for b in BLOSUM_LETTERS] for a in BLOSUM_LETTERS])


def read_chains(path, profile):
    """Chains of a structure table: list of (name, letter indices, labels, scores or None)."""
    chains, name = [], None
    with gzip.open(path, "rt") as stream:
        for row in csv.DictReader((l for l in stream if l[0] != "#"), delimiter="\t"):
            if row["chain"] != name:
                name = row["chain"]
                chains.append((name, [], [], []))
            chains[-1][1].append(BLOSUM_LETTERS.find(row["aa"]))
            d = row["dssp8"]
            chains[-1][2].append(255 if d in ("-", "", ".") else 0 if d in "HGI" else 1 if d in "EB" else 2)
            if profile:
                chains[-1][3].append([float(row[b]) for b in BLOSUM_LETTERS])
    return [(n, np.array(a), np.array(l), np.array(s) if profile else None) for n, a, l, s in chains]


def frequencies(scores):
    f = BACKGROUND * np.exp(SCORE_SCALE * scores)
    return f / f.sum(-1, keepdims=True)


class SequenceData:
    """Rows of 20 values per residue for several kinds of input, chain windows, labels and held-out chains."""

    def __init__(self, chains, rows, reach):
        self.lengths = [len(c[1]) for c in chains]
        self.count = sum(self.lengths)
        self.rows = torch.from_numpy(np.concatenate(rows + [np.zeros((1, 20))]).astype(np.float32))
        self.label = torch.from_numpy(np.concatenate([c[2] for c in chains]).astype(np.int64))
        self.reach = reach
        self.chain = np.repeat(np.arange(len(chains)), self.lengths)
        starts = np.cumsum([0] + self.lengths)
        self.start, self.stop = starts[self.chain], starts[self.chain + 1]
        self.usable = self.label.numpy() < 3

    def windows(self, centres):
        w = centres[:, None] + np.arange(-self.reach, self.reach + 1)
        return np.where((w < self.start[centres, None]) | (w >= self.stop[centres, None]), self.count, w)

    def level1_input(self, centres):
        return self.flagged(self.rows, self.windows(centres))

    def flagged(self, values, windows, known=None):
        w = torch.from_numpy(windows)
        x = values[w]
        flag = (w == self.count).float()
        parts = []
        for k in range(2 * self.reach + 1):
            if k != self.reach:
                parts.append(flag[:, k:k + 1])
            parts.append(x[:, k])
        return torch.cat(parts, 1)


def sequence_relatives(chains, held, length=7, shared=3):
    """Chains outside `held` that share several words of seven residues with a chain of `held`."""
    words = {}
    as_words = lambda a: {bytes(a[i:i + length].astype(np.int8)) for i in range(len(a) - length + 1)}
    for h in np.flatnonzero(held):
        for w in as_words(chains[h][1]):
            words.setdefault(w, set()).add(h)
    out = np.zeros(len(chains), bool)
    for i, c in enumerate(chains):
        if not held[i]:
            hits = {}
            for w in as_words(c[1]):
                for h in words.get(w, ()):
                    hits[h] = hits.get(h, 0) + 1
            out[i] = bool(hits) and max(hits.values()) >= shared
    return out


def random_known(labels, chain, rng):
    """Class vectors as the shift networks would give them, with runs of residues left unknown (zeros)."""
    n = len(labels)
    known = np.zeros(n, bool)
    share = rng.choice([0.0, 0.3, 0.6, 0.9, 0.97], chain.max() + 1, p=[0.25, 0.1, 0.15, 0.25, 0.25])[chain]
    i = 0
    lengths = rng.geometric(0.25, n)
    draws = rng.random(n)
    for run in lengths:
        if i >= n:
            break
        known[i:i + run] = draws[i] < share[i]
        i += run
    right = rng.random(n) < 0.89
    told = np.where(right | (labels > 2), np.minimum(labels, 2), rng.choice([0, 1, 2, 2], n))
    told = np.where((told != labels) & ~right & (labels < 2), 2, told)
    top = np.where(told == labels, rng.beta(8, 1.2, n), rng.beta(4, 2, n)) * 0.66 + 0.34
    v = np.full((n, 3), 0.0)
    side = rng.random(n)
    for k in range(3):
        a, b = [c for c in range(3) if c != k]
        of = told == k
        v[of, k] = top[of]
        v[of, a] = (1 - top[of]) * side[of]
        v[of, b] = (1 - top[of]) * (1 - side[of])
    v[~known] = 0
    return torch.from_numpy(v.astype(np.float32)), known


def train_sequence_network(args, name, data, held, excluded, sizes, members, known_classes, share=None):
    """Both levels of seqSS or seqSS15. `held` chains are for stopping and the figures, `excluded` are left out."""
    width, hidden, width2, hidden2 = sizes
    usable = data.usable & ~excluded[data.chain]
    folds = nc.cluster_folds(data.chain, max(2, args.seq_folds), args.seed + 5)
    held_rows = np.flatnonzero(data.usable & held[data.chain])
    train_all = np.flatnonzero(usable & ~held[data.chain])
    one = torch.ones(1)
    path = lambda suffix: os.path.join(args.state, name + suffix)

    def train_one(net, state, rows, inputs_of, epochs, rate, seed):
        test = held_rows if len(held_rows) < 30000 else held_rows[:: len(held_rows) // 30000 + 1]
        target = data.label[test]
        def epoch(rng):
            prepare(rng)
            order = rng.permutation(rows)[: args.seq_samples]
            for k in range(0, len(order) - 256, 512):
                i = order[k:k + 512]
                yield inputs_of(i), data.label[i], one.expand(len(i))
        def validate(m):
            prepare(np.random.default_rng(11))
            out = torch.cat([m(inputs_of(test[k:k + 8000])) for k in range(0, len(test), 8000)])
            return nc.class_loss(out, (None, target, one.expand(len(test))))
        nc.fit(net, state, epoch, lambda m, b: nc.class_loss(m(b[0]), b), validate, epochs, rate, 0.02, 4,
               os.path.basename(state), seed)
        net.eval()
        return net

    def level1_member(state, rows, seed):
        torch.manual_seed(seed)
        net = nc.Member(width, hidden, 3, drop=0.15)
        net.standardise_on(data.level1_input(rows[:: max(1, len(rows) // 20000)]), floor=0.02)
        return train_one(net, state, rows, data.level1_input, args.seq_epochs, args.rate, seed)

    prepare = lambda rng: None
    seed = args.seed * 1000 + 500 + 20 * members
    level1 = [level1_member(path(".l1.m%d" % m), train_all, seed + m) for m in range(members)]
    values = torch.zeros(data.count + 1, 3)
    of_fold = [level1_member(path(".fold%d" % f), np.flatnonzero(usable & ~held[data.chain] & (folds != f)), seed + 50 + f)
               for f in range(args.seq_folds)]
    with torch.no_grad():
        for f, net in enumerate(of_fold):
            rows = np.flatnonzero((folds == f) & ~held[data.chain])
            for k in range(0, len(rows), 8000):
                values[rows[k:k + 8000]] = net(data.level1_input(rows[k:k + 8000]))
        rows = np.flatnonzero(held[data.chain])
        for k in range(0, len(rows), 8000):
            x = data.level1_input(rows[k:k + 8000])
            values[rows[k:k + 8000]] = nc.margin_mean([m(x) for m in level1])
    labels = data.label.numpy()
    current = {"v": values, "known": np.zeros(data.count, bool)}

    def level2_of(rows):
        # A known residue enters with its classes, also behind the chain's end: no padding mark there in any case here.
        return data.flagged(current["v"], data.windows(rows))

    def with_known(rng):
        known, where = random_known(labels, data.chain, rng)
        v = values.clone()
        v[: data.count][torch.from_numpy(where)] = known[torch.from_numpy(where)]
        current["v"], current["known"] = v, where

    if known_classes:
        prepare = with_known
    level2 = []
    for m in range(members):
        torch.manual_seed(seed + 100 + m)
        net = nc.Member(width2, hidden2, 3)
        prepare(np.random.default_rng(seed + m))
        net.standardise_on(level2_of(train_all[:: max(1, len(train_all) // 20000)]), floor=0.02)
        level2.append(train_one(net, path(".l2.m%d" % m), train_all, level2_of, max(4, args.seq_epochs // 2), args.rate, seed + 100 + m))
    nc.write_level(args.out, name, 1, level1)
    nc.write_level(args.out, name, 2, level2)

    def evaluate(text, rows):
        with torch.no_grad():
            out = nc.normalised(nc.margin_mean([torch.cat([m(level2_of(rows[k:k + 8000])) for k in range(0, len(rows), 8000)]) for m in level2]))
        nc.log("%s %s: %s" % (name, text, nc.q3(out, data.label[rows])))

    current["v"] = values
    evaluate("held-out chains", held_rows)
    if share is not None:
        for text, chains_of in share.items():
            evaluate("held-out chains, " + text, held_rows[chains_of[data.chain[held_rows]]])
    if known_classes:
        with_known(np.random.default_rng(12))
        rows = held_rows[current["known"][held_rows]]
        evaluate("held-out residues with a told class", rows)
        told = current["known"]
        left = told[np.maximum(held_rows - 1, 0)] | told[np.minimum(held_rows + 1, data.count - 1)]
        evaluate("held-out residues without, beside a told one", held_rows[~told[held_rows] & left])


def train_seqss(args):
    matrix = np.concatenate([blosum(args.source), np.zeros((1, 20))])
    chains = [c for c in read_chains(os.path.join(args.source, "structures.tsv.gz"), False) if len(c[1]) >= 25]
    rng = np.random.default_rng(args.seed)
    held = rng.random(len(chains)) < 0.06
    excluded = sequence_relatives(chains, held)
    data = SequenceData(chains, [matrix[c[1]] for c in chains], 6)
    nc.log("seqSS: %d chains, %d residues, %d chains held out, %d relatives of them left out"
           % (len(chains), data.count, held.sum(), excluded.sum()))
    train_sequence_network(args, "seqSS", data, held, excluded, (272, 60, 51, 15), 3, True)


def train_seqss15(args):
    """Profiles of the profile set, their mixtures with single-sequence rows, and single-sequence rows of the
    structure set. All rows are target frequencies in percent, in alphabetical letter order."""
    order = [BLOSUM_LETTERS.index(b) for b in nc.PROFILE_LETTERS]
    single = frequencies(np.concatenate([blosum(args.source), np.zeros((1, 20))]))
    profiled = read_chains(os.path.join(args.source, "profiles_ppis.tsv.gz"), True)
    plain = read_chains(os.path.join(args.source, "structures.tsv.gz"), False)
    rng = np.random.default_rng(args.seed + 1)
    chains, rows, kind = [], [], []
    held_ppis = rng.random(len(profiled)) < 0.12
    keep_plain = rng.random(len(plain)) < args.plain_share
    for (n, a, l, s), h in zip(profiled, held_ppis):
        f = frequencies(s)
        chains.append((n, a, l, None)), rows.append(f), kind.append(0)
        if h:
            chains.append((n, a, l, None)), rows.append(single[a]), kind.append(2)
        else:
            # A shallow alignment: part of the way from the single sequence to the full profile.
            t = rng.uniform(0.2, 0.9)
            chains.append((n, a, l, None)), rows.append(t * f + (1 - t) * single[a]), kind.append(1)
    for (n, a, l, _), k in zip(plain, keep_plain):
        if k and len(a) >= 25:
            chains.append((n, a, l, None)), rows.append(single[a]), kind.append(3)
    kind = np.array(kind)
    held_names = {c[0] for c, h in zip(profiled, held_ppis) if h}
    held = np.array([c[0] in held_names and k != 3 for c, k in zip(chains, kind)])
    excluded = sequence_relatives(chains, held)
    data = SequenceData(chains, [100.0 * r[:, order] for r in rows], 7)
    nc.log("seqSS15: %d chains, %d residues, %d chains held out, %d relatives of them left out"
           % (len(chains), data.count, held.sum(), excluded.sum()))
    train_sequence_network(args, "seqSS15", data, held, excluded, (314, 70, 59, 15), 5, False,
                           {"profile": kind == 0, "single sequence": kind == 2})


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("networks", nargs="+", choices=["seqSS", "seqSS15"])
    parser.add_argument("--source", default="source", help="source data with structures.tsv.gz, profiles_ppis.tsv.gz")
    parser.add_argument("--state", required=True, help="directory of the resumable member states")
    parser.add_argument("--out", required=True, help="directory that gets the weight tables")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--rate", type=float, default=5e-4)
    parser.add_argument("--seq-epochs", type=int, default=48)
    parser.add_argument("--seq-samples", type=int, default=250000)
    parser.add_argument("--seq-folds", type=int, default=2)
    parser.add_argument("--plain-share", type=float, default=0.5)
    args = parser.parse_args()
    os.makedirs(args.state, exist_ok=True)
    if "seqSS" in args.networks:
        train_seqss(args)
    if "seqSS15" in args.networks:
        train_seqss15(args)
    nc.log("done")


if __name__ == "__main__":
    main()
