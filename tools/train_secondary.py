#!/usr/bin/python3
"""Trains the secondary structure networks on shifts.

ss, ss.center, ss.prev, ss.next see three residues, one of them perhaps without its shifts, ss5 sees five. Targets are
helix, strand, coil from the hydrogen bonds of the structure (DSSP: H G I helix, E B strand). Outputs are trained with
squared error towards 1 for the class and 0 for the others, so they estimate probabilities; members are averaged by the
program with their margins as weights.
"""
import argparse
import copy
import os

import numpy as np
import torch

import networks_common as nc

NOISE = torch.tensor([0.04, 0.25, 0.03, 0.15, 0.15, 0.15])  # HN N HA C CA CB, ppm
OFFSET = torch.tensor([0.05, 0.45, 0.03, 0.25, 0.20, 0.20])
NETWORKS = {"ss": 0, "ss.center": 2, "ss.prev": 1, "ss.next": 3, "ss5": 5}


class ShiftData:
    """Residue vectors of all variants (shift-first) with labels."""

    def __init__(self, work, variants):
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
        self.fold = nc.small_folds(work, first["cluster30"])
        self.tested = first["kind"] != "related"

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


class UnlabelledShiftData(ShiftData):
    """Proteins without a known structure, with what the teacher (train_teacher.py) expects of them."""

    VARIANTS = ("full", "noproton", "dropA")

    def __init__(self, work):
        dumps = [nc.read_dump(work, name) for name in self.VARIANTS]
        first = dumps[0]
        self.count, self.first = len(first["id"]), {"chains": first["chains"]}
        place = {key: k for k, key in enumerate(zip(first["id"], first["resid"]))}
        self.x = torch.from_numpy(first["x"]).repeat(len(dumps), 1, 1)
        for v, dump in enumerate(dumps):
            self.x[v, [place[key] for key in zip(dump["id"], dump["resid"])]] = torch.from_numpy(dump["x"])
        empty = torch.zeros(len(dumps), 1, 32)
        empty[:, :, 1:12:2] = 1.0
        self.x = torch.cat([self.x, empty], 1)
        self.known = self.x[:, :, 1:12:2] == 0
        self.good = ((~self.known).sum(2) <= 3).numpy()
        self.good[:, self.count] = False
        self.expected = torch.from_numpy(np.load(os.path.join(work, "teacher.npz"))["ss"])


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
        self.usable = ~saved["related"]
        chain = np.repeat(np.arange(len(saved["chains"])), [b - a for a, b in saved["chains"]])
        self.held = np.zeros(self.count, bool)
        self.held[np.concatenate([np.arange(a, b) for a, b in saved["chains"]])] = chain % 25 == 7


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
                out[centres[i]] = nc.margin_mean([m(x) for m in members])
                filled[centres[i]] = True
    mean = out[torch.from_numpy(filled)].mean(0)
    rest = ~filled
    rest[data.count] = False
    out[torch.from_numpy(rest)] = mean / mean.sum()
    return out


def first_member(computed, args, name, code, width, hidden, m, seed):
    """A level 1 member trained on computed shifts; some of the chains stop it."""
    reach = 2 if code == 5 else 1
    centres, windows = computed.windows(reach)
    ok = computed.usable[centres]
    centres, windows = centres[ok], windows[ok]
    stop = computed.held[centres]
    variant = np.arange(stop.sum()) % len(computed.x)
    fit_ok = computed.fits(code, variant, windows[stop])
    held_centres, held_windows, variant = centres[stop][fit_ok], windows[stop][fit_ok], variant[fit_ok]
    held = (computed.level1_input(code, torch.from_numpy(variant)[:, None], torch.from_numpy(held_windows)),
            computed.label[held_centres], torch.ones(len(held_centres)))
    centres, windows = centres[~stop], windows[~stop]
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

    state = os.path.join(args.state, "first.%s.m%d" % (name, m))
    nc.fit(net, state, epoch, lambda model, b: nc.class_loss(model(b[0]), b), lambda model: nc.class_loss(model(held[0]), held),
           args.first_epochs, 2e-3, 0.01, args.first_epochs, os.path.basename(state), seed)
    return net


def train_shift_network(data, computed, unlabelled, args, name):
    """Trains and writes one network; returns the class vectors of the test residues by variant and centre, each from
    the members that never saw the residue's fold."""
    code = NETWORKS[name]
    reach = 2 if code == 5 else 1
    centres, windows = data.windows(reach)
    ok = data.usable[centres]
    centres, windows = centres[ok], windows[ok]
    windows_t = torch.from_numpy(windows)
    mix = np.array([{"full": 3.0, "noproton": 1.0}.get(v, 1.0) for v in data.variants])
    mix /= mix.sum()
    if unlabelled is not None:
        more_centres, more_windows = unlabelled.windows(reach)
    width, hidden = (164, 40) if code == 5 else (96 if code == 0 else 84, 20)
    batch_size = 256

    def with_unlabelled(batches, teacher, rng):
        """The batches, each with as many residues of unknown structure."""
        for x, target, weight in batches:
            i = rng.integers(0, len(more_centres), len(x))
            v = rng.choice(3, len(i), p=(0.5, 0.15, 0.35))
            fit_ok = unlabelled.fits(code, v, more_windows[i])
            i, v = i[fit_ok], v[fit_ok]
            more = unlabelled.level1_input(code, torch.from_numpy(v)[:, None], torch.from_numpy(more_windows[i]), True)
            yield (torch.cat([x, more]), torch.cat([torch.nn.functional.one_hot(target, 3).float(),
                                                    unlabelled.expected[teacher, more_centres[i]]]),
                   torch.cat([weight, torch.full((len(i),), args.unlabelled)]))

    def train_one(net, state, train_rows, held_rows, inputs_of, epochs, rate, seed, teacher=None):
        held_v = np.random.default_rng(3).choice(len(mix), len(held_rows), p=mix)
        fit_ok = data.fits(code, held_v, windows[held_rows])
        held_rows, held_v = held_rows[fit_ok], held_v[fit_ok]
        held = (inputs_of(held_v, held_rows, False), data.label[centres[held_rows]], data.weight[centres[held_rows]])

        def labelled(rng):
            order = rng.permutation(train_rows)
            v = rng.choice(len(mix), len(order), p=mix)
            keep = data.fits(code, v, windows[order])
            order, v = order[keep], v[keep]
            for k in range(0, len(order) - batch_size // 2, batch_size):
                i = order[k:k + batch_size]
                yield inputs_of(v[k:k + batch_size], i, True), data.label[centres[i]], data.weight[centres[i]]

        def epoch(rng):
            plain = labelled(rng)
            return plain if teacher is None or unlabelled is None else with_unlabelled(plain, teacher, rng)

        nc.fit(net, state, epoch, lambda m, b: nc.class_loss(m(b[0]), b), lambda m: nc.class_loss(m(held[0]), held),
               epochs, rate, 0.02, args.patience, os.path.basename(state), seed)
        net.eval()
        return net

    def level1_of(v, rows, noisy):
        return data.level1_input(code, torch.from_numpy(v)[:, None], windows_t[rows], noisy)

    def level1_member(m, state, train, held, seed, teacher):
        net = copy.deepcopy(first[m])
        rows = np.flatnonzero(train[centres])
        return train_one(net, state, rows, np.flatnonzero(held[centres]), level1_of, args.epochs, args.rate, seed, teacher)

    path = lambda suffix: os.path.join(args.state, name + suffix)
    seed = args.seed * 1000 + 10 * code
    held_of = lambda m: np.isin(data.fold, (2 * m, 2 * m + 1))
    inside = lambda f: data.fold % nc.FOLDS == f
    stop = lambda f: data.fold == (f + 1) % nc.FOLDS
    first = [first_member(computed, args, name, code, width, hidden, m, seed + 500 + m) for m in range(3)]
    members = [level1_member(m, path(".l1.m%d" % m), ~held_of(m), held_of(m), seed + m, -1) for m in range(3)]
    of_fold = [[level1_member(m, path(".fold%d.m%d" % (f, m)), ~inside(f) & ~stop(f), stop(f), seed + 50 + 3 * f + m, f)
                for m in range(3)] for f in range(nc.FOLDS)]
    values = [level1_values(data, code, v, [(nets, inside(f)) for f, nets in enumerate(of_fold)])
              for v in range(len(data.variants))]
    stacked = torch.stack(values)

    def level2_of(v, rows, noisy):
        x = stacked[torch.from_numpy(v)[:, None], windows_t[rows]]
        flat = torch.cat([x.reshape(-1, 3), torch.zeros(1, 3)])
        index = np.where(windows[rows] == data.count, len(flat) - 1, np.arange(x.shape[0] * x.shape[1]).reshape(x.shape[:2]))
        return level2_input(code, flat, torch.from_numpy(index), len(flat) - 1)

    def level2_member(state, train, held, seed):
        torch.manual_seed(seed)
        net = nc.Member(19 if code == 5 else 9, 6, 3)
        rows = np.flatnonzero(train[centres])
        net.standardise_on(level2_of(np.zeros(len(rows), int), rows, False), floor=0.02)
        return train_one(net, state, rows, np.flatnonzero(held[centres]), level2_of, args.epochs // 2, 2 * args.rate, seed)

    level2 = [level2_member(path(".l2.m%d" % m), ~held_of(m), held_of(m), seed + 100 + m) for m in range(3)]
    level2_of_fold = [[level2_member(path(".l2.fold%d.m%d" % (f, m)), ~inside(f) & ~stop(f), stop(f), seed + 150 + 3 * f + m)
                       for m in range(3)] for f in range(nc.FOLDS)]
    nc.write_level(args.out, name, 1, members)
    nc.write_level(args.out, name, 2, level2)
    if args.cross:
        for f in range(nc.FOLDS):
            nc.write_level(nc.fold_tables(args.cross, f), name, 1, of_fold[f])
            nc.write_level(nc.fold_tables(args.cross, f), name, 2, level2_of_fold[f])
    result = {variant: {} for variant in data.variants}
    for v, variant in enumerate(data.variants):
        for f in range(nc.FOLDS):
            rows = np.flatnonzero((data.tested & inside(f))[centres])
            vv = np.full(len(rows), v)
            keep = data.fits(code, vv, windows[rows])
            with torch.no_grad():
                out = nc.normalised(nc.margin_mean([m(level2_of(vv[keep], rows[keep], False)) for m in level2_of_fold[f]]))
            result[variant].update({int(c): o for c, o in zip(centres[rows[keep]], out)})
        found = result[variant]
        nc.log("%s on %s: %s" % (name, variant, nc.q3(torch.stack(list(found.values())), data.label[list(found)])))
    return result


def report_combined(data, results):
    """Class of the stage: the sum of the three-residue network that fits and ss5."""
    for v, variant in enumerate(data.variants):
        values, labels = [], []
        for name in ("ss", "ss.center", "ss.prev", "ss.next"):
            code = NETWORKS[name]
            for c, o in results[name].get(variant, {}).items():
                g = data.good[v]
                want = {0: (1, 1, 1), 2: (1, 0, 1), 1: (0, 1, 1), 3: (1, 1, 0)}[code]
                if (g[c - 1], g[c], g[c + 1]) != tuple(bool(w) for w in want):
                    continue
                five = results["ss5"][variant].get(c)
                values.append(o + five if five is not None else o)
                labels.append(int(data.label[c]))
        nc.log("stage on %s: %s" % (variant, nc.q3(torch.stack(values), torch.tensor(labels))))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--work", default="work", help="work directory with the feature dumps")
    parser.add_argument("--state", required=True, help="directory of the resumable member states")
    parser.add_argument("--out", required=True, help="directory that gets the weight tables")
    parser.add_argument("--cross", default="", help="directory that gets the tables of each fold of the cross-validation")
    parser.add_argument("--variants", default="full,noproton,dropA,dropB,dropC,dropD")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--unlabelled", type=float, default=1.0, help="weight of residues without a known structure")
    parser.add_argument("--first-epochs", type=int, default=60)
    parser.add_argument("--epochs", type=int, default=20)
    parser.add_argument("--rate", type=float, default=5e-4)
    parser.add_argument("--patience", type=int, default=6)
    args = parser.parse_args()
    os.makedirs(args.state, exist_ok=True)
    data = ShiftData(args.work, args.variants.split(","))
    nc.log("%d residues" % data.count)
    computed = ComputedShiftData(args.work)
    folder = os.path.join(args.work, "unlabelled")
    unlabelled = UnlabelledShiftData(folder) if args.unlabelled > 0 and os.path.exists(folder) else None
    report_combined(data, {name: train_shift_network(data, computed, unlabelled, args, name) for name in NETWORKS})
    nc.log("done")


if __name__ == "__main__":
    main()
