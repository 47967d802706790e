#!/usr/bin/python3
"""Trains the secondary structure networks.

On shifts: ss, ss.center, ss.prev, ss.next (three residues, one of them perhaps without its shifts) and ss5 (five
residues). On sequence alone: seqSS (substitution scores; its second level takes known classes) and seqSS15 (profile
frequencies in percent). Targets are helix, strand, coil from the hydrogen bonds of the structure (DSSP: H G I helix,
E B strand). Outputs are trained with squared error towards 1 for the class and 0 for the others, so they estimate
probabilities; members are averaged by the program with their margins as weights.
"""
import argparse
import copy
import csv
import gzip
import os

import numpy as np
import torch

import networks_common as nc

NOISE = torch.tensor([0.04, 0.25, 0.03, 0.15, 0.15, 0.15])  # HN N HA C CA CB, ppm
OFFSET = torch.tensor([0.02, 0.20, 0.015, 0.12, 0.12, 0.12])
SHIFT_NETWORKS = {"ss": 0, "ss.center": 2, "ss.prev": 1, "ss.next": 3, "ss5": 5}
BLOSUM_LETTERS = "ARNDCQEGHILKMFPSTWYV"
# Background frequencies of Robinson and Robinson (1991), in the order of BLOSUM_LETTERS, and the scale of the scores.
BACKGROUND = np.array([0.07805, 0.05129, 0.04487, 0.05364, 0.01925, 0.04264, 0.06295, 0.07377, 0.02199, 0.05142,
                       0.09019, 0.05744, 0.02243, 0.03856, 0.05203, 0.07120, 0.05841, 0.01330, 0.03216, 0.06441])
SCORE_SCALE = 0.3176


def margin_mean(vectors):
    """The program's ensemble mean: weights are the margin between the largest and the middle value."""
    weights = [v.sort(1).values[:, 2:3] - v.sort(1).values[:, 1:2] for v in vectors]
    total = sum(weights)
    return sum(v * w for v, w in zip(vectors, weights)) / total.clamp(min=1e-9)


def normalised(v):
    v = v.clamp(0, 1)
    return v / v.sum(1, keepdim=True).clamp(min=1e-9)


def class_loss(out, batch):
    target = torch.nn.functional.one_hot(batch[1], 3).float()
    return (batch[2][:, None] * (out - target) ** 2).sum() / batch[2].sum()


def q3(values, labels):
    """Accuracy and the class recalls as one text."""
    best = values.argmax(1)
    parts = ["Q3 %.2f %%" % (100 * (best == labels).float().mean())]
    for k, name in enumerate(("helix", "strand", "coil")):
        of = labels == k
        parts.append("%s %.1f" % (name, 100 * (best[of] == k).float().mean() if of.any() else 0))
    return " ".join(parts) + " (n %d)" % len(labels)


# --- networks on shifts ----------------------------------------------------------------------------------------------

class ShiftData:
    """Residue vectors of all variants (shift-first) with labels."""

    def __init__(self, work, variants, seed):
        first = nc.load_features(work, variants[0])
        place = {(i, r): k for k, (i, r) in enumerate(zip(first["id"], first["resid"]))}
        n = len(first["id"])
        self.x = torch.zeros(len(variants), n + 1, 32)
        self.x[:, :, 1:12:2] = 1.0
        self.has = np.zeros((len(variants), n + 1), bool)
        for v, name in enumerate(variants):
            f = first if v == 0 else nc.load_features(work, name)
            rows = np.array([place.get(key, -1) for key in zip(f["id"], f["resid"])])
            ok = rows >= 0
            self.x[v, rows[ok]] = torch.from_numpy(np.ascontiguousarray(f["x"][ok]))
            self.has[v, rows[ok]] = True
        self.known = self.x[:, :, 1:12:2] == 0
        self.good = ((~self.known).sum(2) <= 3).numpy()
        self.good[:, n] = False
        self.count, self.variants, self.first = n, variants, first
        self.label = torch.from_numpy(first["ss"].astype(np.int64))
        self.usable = first["ss"] < 3
        self.weight = torch.from_numpy(first["weight"].astype(np.float32))
        self.fold = nc.cluster_folds(first["cluster30"], 20, seed)
        self.dev = first["split"] == 1

    def windows(self, reach):
        """Windows of the residues that the program gives one; -1 (as the padding row) can only lead a chain."""
        centres, windows = nc.window_index(self.first["chains"], reach, True)
        missing = windows < 0
        ok = ~missing[:, reach:].any(1) & (missing[:, :reach].sum(1) <= (1 if reach == 2 else 0))
        return centres[ok], np.where(missing, self.count, windows)[ok]

    def shifted(self, v, windows, noisy):
        x = self.x[v, windows]
        if noisy:
            n, width = windows.shape
            common = torch.randn(n, 1, 6)
            common[:, :, 5] = common[:, :, 4]
            x = x.clone()
            x[:, :, 0:12:2] += (torch.randn(n, width, 6) * NOISE + common * OFFSET) * self.known[v, windows]
        return x

    def level1_input(self, code, v, windows, noisy=False):
        x = self.shifted(v, windows, noisy)
        if code == 5:
            x = torch.cat([x[:, :, 12:] * 10.0, x[:, :, :12]], 2)
            flag = (windows == self.count).float()
            parts = []
            for k in range(5):
                if k != 2:
                    parts.append(flag[:, k:k + 1])
                parts.append(x[:, k])
            return torch.cat(parts, 1)
        cut = {0: None, 1: 0, 2: 1, 3: 2}[code]
        return torch.cat([x[:, k, 12:] if k == cut else x[:, k] for k in range(3)], 1)

    def fits(self, code, v, windows):
        """Which windows the program would give to this network."""
        good = self.good[v[:, None], windows]
        if code == 5:
            return good[:, 1:4].sum(1) >= 2
        need = {0: (0, 1, 2), 1: (1, 2), 2: (0, 2), 3: (0, 1)}[code]
        return good[:, need].all(1)


class ComputedShiftData(ShiftData):
    """Chains with computed shifts (tools/train_shifts.py): the first training of the networks on shifts."""

    def __init__(self, work):
        saved = np.load(os.path.join(work, "synthetic", "input.npz"))
        x = saved["x"]
        self.count = x.shape[1]
        self.x = torch.zeros(len(x), self.count + 1, 32)
        self.x[:, :, 1:12:2] = 1.0
        self.x[:, : self.count] = torch.from_numpy(x)
        self.known = self.x[:, :, 1:12:2] == 0
        self.good = ((~self.known).sum(2) <= 3).numpy()
        self.good[:, self.count] = False
        self.first = {"chains": [tuple(c) for c in saved["chains"]]}
        self.label = torch.from_numpy(saved["ss"].astype(np.int64))
        self.usable = ~saved["related_to_dev"]


def level2_input(code, values, windows, pad):
    """Level 2 windows of class vectors; `values` has a row of zeros at `pad`."""
    x = values[windows]
    if code != 5:
        return x.reshape(len(windows), 9)
    flag = (windows == pad).float()
    parts = []
    for k in range(5):
        if k != 2:
            parts.append(flag[:, k:k + 1])
        parts.append(x[:, k])
    return torch.cat(parts, 1)


def level1_values(data, code, v, members_of, chunk=20000):
    """Class vectors of level 1 for all residues of variant v; the mean vector where there is no window."""
    centres, windows = data.windows(2 if code == 5 else 1)
    out = torch.zeros(data.count + 1, 3)
    filled = np.zeros(data.count + 1, bool)
    with torch.no_grad():
        for members, select in members_of:
            rows = np.flatnonzero(select[centres])
            for k in range(0, len(rows), chunk):
                i = rows[k:k + chunk]
                x = data.level1_input(code, torch.full((len(i), 1), v), torch.from_numpy(windows[i]))
                out[centres[i]] = margin_mean([m(x) for m in members])
                filled[centres[i]] = True
    mean = out[torch.from_numpy(filled)].mean(0)
    rest = ~filled
    rest[data.count] = False
    out[torch.from_numpy(rest)] = mean / mean.sum()
    return out


def first_member(data, computed, args, name, code, width, hidden, m, seed):
    """A level 1 member trained on computed shifts; proteins outside of the dev split stop it."""
    reach = 2 if code == 5 else 1
    centres, windows = computed.windows(reach)
    ok = computed.usable[centres]
    centres, windows = centres[ok], windows[ok]
    held_centres, held_windows = data.windows(reach)
    keep = (data.usable & ~data.dev & (data.fold < 6))[held_centres]
    keep &= data.fits(code, np.zeros(len(held_centres), int), held_windows)
    held_centres, held_windows = held_centres[keep], held_windows[keep]
    held = (data.level1_input(code, torch.zeros(len(held_centres), 1, dtype=torch.long), torch.from_numpy(held_windows)),
            data.label[held_centres], data.weight[held_centres])
    torch.manual_seed(seed)
    net = nc.Member(width, hidden, 3)
    copies = len(computed.x)
    some = np.random.default_rng(seed).choice(len(centres), 20000, replace=False)
    net.standardise_on(computed.level1_input(code, torch.zeros(len(some), 1, dtype=torch.long),
                                             torch.from_numpy(windows[some])), floor=0.02)

    def epoch(rng):
        order = rng.permutation(len(centres))
        v = rng.choice(copies, len(order))
        fit_ok = computed.fits(code, v, windows[order])
        order, v = order[fit_ok], v[fit_ok]
        for k in range(0, len(order) - 512, 512):
            i = order[k:k + 512]
            x = computed.level1_input(code, torch.from_numpy(v[k:k + 512])[:, None], torch.from_numpy(windows[i]), True)
            yield x, computed.label[centres[i]], torch.ones(len(i))

    state = os.path.join(args.first_state or args.state, "first.%s.m%d" % (name, m))
    nc.fit(net, state, epoch, lambda model, b: class_loss(model(b[0]), b), lambda model: class_loss(model(held[0]), held),
           args.first_epochs, 2e-3, 0.01, args.first_epochs, os.path.basename(state), seed)
    return net


def train_shift_network(data, computed, args, name, pool, on_dev):
    code = SHIFT_NETWORKS[name]
    reach = 2 if code == 5 else 1
    centres, windows = data.windows(reach)
    ok = data.usable[centres]
    centres, windows = centres[ok], windows[ok]
    windows_t = torch.from_numpy(windows)
    mix = np.array([{"full": 3.0, "noproton": 1.0}.get(v, 1.0) for v in data.variants])
    mix /= mix.sum()
    width, hidden = (164, 40) if code == 5 else (96 if code == 0 else 84, 20)
    batch_size = 256

    def train_one(net, state, train_rows, held_rows, inputs_of, epochs, rate, seed):
        held_v = np.random.default_rng(3).choice(len(mix), len(held_rows), p=mix)
        fit_ok = data.fits(code, held_v, windows[held_rows])
        held_rows, held_v = held_rows[fit_ok], held_v[fit_ok]
        held = (inputs_of(held_v, held_rows, False), data.label[centres[held_rows]], data.weight[centres[held_rows]])

        def epoch(rng):
            order = rng.permutation(train_rows)
            v = rng.choice(len(mix), len(order), p=mix)
            keep = data.fits(code, v, windows[order])
            order, v = order[keep], v[keep]
            for k in range(0, len(order) - batch_size // 2, batch_size):
                i = order[k:k + batch_size]
                yield inputs_of(v[k:k + batch_size], i, True), data.label[centres[i]], data.weight[centres[i]]

        nc.fit(net, state, epoch, lambda m, b: class_loss(m(b[0]), b), lambda m: class_loss(m(held[0]), held),
               epochs, rate, 0.02, args.patience, os.path.basename(state), seed)
        net.eval()
        return net

    def level1_of(v, rows, noisy):
        return data.level1_input(code, torch.from_numpy(v)[:, None], windows_t[rows], noisy)

    def level1_member(m, state, train, held, seed):
        net = copy.deepcopy(first[m])
        rows = np.flatnonzero(train[centres])
        return train_one(net, state, rows, np.flatnonzero(held[centres]), level1_of, args.epochs, args.rate, seed)

    path = lambda suffix: os.path.join(args.state, name + suffix)
    seed = args.seed * 1000 + 10 * code
    held_of = lambda m: pool & np.isin(data.fold, (2 * m, 2 * m + 1))
    first = [first_member(data, computed, args, name, code, width, hidden, m, seed + 500 + m) for m in range(3)]
    members = [level1_member(m, path(".l1.m%d" % m), pool & ~held_of(m), held_of(m), seed + m) for m in range(3)]
    folds = []
    for f in range(args.folds):
        inside = data.fold % args.folds == f
        stop = (data.fold % args.folds == (f + 1) % args.folds) & (data.fold < args.folds)
        folds.append(([level1_member(m, path(".fold%d.m%d" % (f, m)), pool & ~inside & ~stop, pool & stop,
                                     seed + 50 + 3 * f + m) for m in range(3)], inside & pool))
    values = [level1_values(data, code, v, folds + [(members, ~pool)]) for v in range(len(data.variants))]
    stacked = torch.stack(values)

    def level2_of(v, rows, noisy):
        x = stacked[torch.from_numpy(v)[:, None], windows_t[rows]]
        flat = torch.cat([x.reshape(-1, 3), torch.zeros(1, 3)])
        index = np.where(windows[rows] == data.count, len(flat) - 1, np.arange(x.shape[0] * x.shape[1]).reshape(x.shape[:2]))
        return level2_input(code, flat, torch.from_numpy(index), len(flat) - 1)

    level2 = []
    for m in range(3):
        torch.manual_seed(seed + 100 + m)
        net = nc.Member(19 if code == 5 else 9, 6, 3)
        rows = np.flatnonzero((pool & ~held_of(m))[centres])
        net.standardise_on(level2_of(np.zeros(len(rows), int), rows, False), floor=0.02)
        level2.append(train_one(net, path(".l2.m%d" % m), rows, np.flatnonzero(held_of(m)[centres]), level2_of,
                                args.epochs // 2, 2 * args.rate, seed + 100 + m))
    nc.write_level(args.out, name, 1, members)
    nc.write_level(args.out, name, 2, level2)
    result = {}
    if on_dev:
        rows = np.flatnonzero(data.dev[centres])
        for v, variant in enumerate(data.variants):
            vv = np.full(len(rows), v)
            keep = data.fits(code, vv, windows[rows])
            with torch.no_grad():
                out = normalised(margin_mean([m(level2_of(vv[keep], rows[keep], False)) for m in level2]))
            labels = data.label[centres[rows[keep]]]
            nc.log("%s on %s: %s" % (name, variant, q3(out, labels)))
            result[variant] = {int(c): o for c, o in zip(centres[rows[keep]], out)}
    return result


def report_combined(data, results):
    """Class of the stage: the sum of the three-residue network that fits and ss5."""
    for v, variant in enumerate(data.variants):
        values, labels = [], []
        for name in ("ss", "ss.center", "ss.prev", "ss.next"):
            code = SHIFT_NETWORKS[name]
            for c, o in results[name].get(variant, {}).items():
                g = data.good[v]
                want = {0: (1, 1, 1), 2: (1, 0, 1), 1: (0, 1, 1), 3: (1, 1, 0)}[code]
                if (g[c - 1], g[c], g[c + 1]) != tuple(bool(w) for w in want):
                    continue
                five = results["ss5"][variant].get(c)
                values.append(o + five if five is not None else o)
                labels.append(int(data.label[c]))
        nc.log("stage on %s: %s" % (variant, q3(torch.stack(values), torch.tensor(labels))))


# --- networks on the sequence ----------------------------------------------------------------------------------------

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
            return class_loss(out, (None, target, one.expand(len(test))))
        nc.fit(net, state, epoch, lambda m, b: class_loss(m(b[0]), b), validate, epochs, rate, 0.02, 4,
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
            values[rows[k:k + 8000]] = margin_mean([m(x) for m in level1])
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
            out = normalised(margin_mean([torch.cat([m(level2_of(rows[k:k + 8000])) for k in range(0, len(rows), 8000)]) for m in level2]))
        nc.log("%s %s: %s" % (name, text, q3(out, data.label[rows])))

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
    parser.add_argument("networks", nargs="+", choices=["shift", "seqSS", "seqSS15"])
    parser.add_argument("--work", default="work", help="work directory with the feature dumps (shift networks)")
    parser.add_argument("--source", default="source", help="source data with structures.tsv.gz, profiles_ppis.tsv.gz (sequence networks)")
    parser.add_argument("--state", required=True, help="directory of the resumable member states")
    parser.add_argument("--out", required=True, help="directory that gets the weight tables")
    parser.add_argument("--variants", default="full,noproton,dropA,dropB,dropC,dropD")
    parser.add_argument("--train", choices=["all", "split"], default="all", help="split: leave the dev clusters out and report on them")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--first-state", default="", help="directory of the states after the first training")
    parser.add_argument("--first-epochs", type=int, default=6)
    parser.add_argument("--epochs", type=int, default=12)
    parser.add_argument("--rate", type=float, default=5e-4)
    parser.add_argument("--patience", type=int, default=6)
    parser.add_argument("--folds", type=int, default=3)
    parser.add_argument("--seq-epochs", type=int, default=10)
    parser.add_argument("--seq-samples", type=int, default=250000)
    parser.add_argument("--seq-folds", type=int, default=2)
    parser.add_argument("--plain-share", type=float, default=0.5)
    args = parser.parse_args()
    os.makedirs(args.state, exist_ok=True)
    os.makedirs(args.first_state or args.state, exist_ok=True)
    if "shift" in args.networks:
        data = ShiftData(args.work, args.variants.split(","), args.seed)
        pool = ~data.dev if args.train == "split" else np.ones(data.count, bool)
        nc.log("%d residues, training on %d" % (data.count, pool.sum()))
        computed = ComputedShiftData(args.work)
        results = {name: train_shift_network(data, computed, args, name, pool, args.train == "split") for name in SHIFT_NETWORKS}
        if args.train == "split":
            report_combined(data, results)
    if "seqSS" in args.networks:
        train_seqss(args)
    if "seqSS15" in args.networks:
        train_seqss15(args)
    nc.log("done")


if __name__ == "__main__":
    main()
