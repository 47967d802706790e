"""Trains the chi1 networks (one a residue type) and fits the calibration table chi1.tab.

A network sees a database fragment of three residues (backbone angles, chi1, scaled shift
differences to the query) and estimates the probability that the fragment's rotamer is not the
query's. It is trained on pairs like those the refined search hands it: fragments of the same type
whose angles lie within 50 degrees of the query's over seven residues, from proteins of other
clusters, and then on whole lists of them, towards the likelihood that the run makes of the mean
scores of the best of each rotamer. The calibration is fitted on queries whose cluster the scoring
network never saw: a conditional logit over the three rotamers with one strength for each bin of a
group's mean score.
"""
import argparse
import concurrent.futures
import copy
import gzip
import os
import re
import subprocess

import numpy as np
import torch

from data import dataset
from data.folds import FOLDS, fold_tables, small_folds
from data.log import log
from training import networks as nc

LETTERS = "CDEFHIKLMNQRSTVWY"
MEMBERS = 3
REACH, LIMIT, GROUP = 3, 50.0, 10
STEEPNESS, EMPTY_GROUP = (
    7.0,
    1.0,
)  # log likelihood of a group's mean from 0 to 1; the mean that a small group is given
SURVIVORS = 101
# Scale of a computed shift in the database over the spread of measured around computed ones.
COMPUTED_SCALE = 1.47
RIDGE = 4.0  # pull of a letter's strengths towards those of all letters
ANGLE_ERROR = 11.0  # degrees, of the predicted angles that candidates are selected by


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
        if labels:
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

    def inputs(self, query, fragment, dropped=None):
        """Network inputs (n x 39) of pairs of rows; `dropped` (n x 3 x 6) marks query shifts taken
        away."""
        parts = []
        for j in (-1, 0, 1):
            q, f = query + j, fragment + j
            missing = (self.scale[q] == 0) | (self.scale[f] == 0)
            if dropped is not None:
                missing = missing | dropped[:, j + 1]
            term = (self.value[f] - self.query_value[q]) / np.where(missing, 1.0, self.scale[f])
            parts += [self.fixed[f], np.where(missing, 1.5, term).astype(np.float32)]
        return torch.from_numpy(np.concatenate(parts, 1))


def candidates(db, queries, pool, rng, spread, distrust, most):
    """For each query up to `most` rows of `pool` of other clusters whose window lies near the
    query's noisy angles."""
    noise = rng.normal(0, spread, (2, len(db.phi)))
    skip = rng.random(len(db.phi)) < distrust
    out = []
    for start in range(0, len(queries), 256):
        q = queries[start : start + 256]
        ok = db.cluster[q][:, None] != db.cluster[pool][None, :]
        for j in range(-REACH, REACH + 1):
            near = np.ones_like(ok)
            for angle, add in ((db.phi, noise[0]), (db.psi, noise[1])):
                p, d = angle[q + j], angle[pool + j]
                diff = np.abs((p + add[q + j])[:, None] - d[None, :])
                diff = np.minimum(diff, np.abs(360.0 - diff))
                near &= (diff <= LIMIT) & (p < 999)[:, None] & (d < 999)[None, :]
            ok &= near | skip[q + j][:, None]
        for row in ok:
            found = pool[row]
            out.append(rng.permutation(found)[:most])
    return out


def pairs_of(queries, found, per_query, rng):
    a, b = [], []
    for q, f in zip(queries, found):
        f = f if len(f) <= per_query else rng.choice(f, per_query, replace=False)
        a.append(np.full(len(f), q))
        b.append(f)
    return np.concatenate(a).astype(int), np.concatenate(b).astype(int)


def train_one(db, args, state, train, held, seed, first=None):
    """One member on (queries, candidate lists), from `first` if there is one; stops on the held
    ones."""
    torch.manual_seed(seed)
    net = copy.deepcopy(first) or nc.Member(39, 15, 1, drop=args.drop)
    # A query of many candidates does not outweigh one of few.
    hq, hf = pairs_of(*held, args.per_query, np.random.default_rng(5))
    held_x, held_y = db.inputs(hq, hf), torch.from_numpy(
        (db.rotamer[hq] != db.rotamer[hf]).astype(np.float32)
    )
    if first is None:
        sq, sf = pairs_of(*train, 4, np.random.default_rng(6))
        net.standardise_on(db.inputs(sq, sf), floor=0.02)

    def epoch(rng):
        q, f = pairs_of(*train, args.per_query, rng)
        order = rng.permutation(len(q))
        size = int(np.clip(len(order) // 60, 128, 1024))
        for k in range(0, len(order) - size // 2, size):
            i = order[k : k + size]
            lose = rng.random(len(i)) < 0.4
            dropped = (rng.random((len(i), 3, 6)) < 0.3) & lose[:, None, None]
            yield db.inputs(q[i], f[i], dropped), torch.from_numpy(
                (db.rotamer[q[i]] != db.rotamer[f[i]]).astype(np.float32)
            )

    def loss_of(model, batch):
        return ((model(batch[0])[:, 0] - batch[1]) ** 2).mean()

    def validate(model):
        return loss_of(model, (held_x, held_y))

    rate = args.rate if first is None else args.rate2
    score = nc.fit(
        net,
        state,
        epoch,
        loss_of,
        validate,
        args.epochs,
        rate,
        0.02,
        args.patience,
        os.path.basename(state),
        seed,
    )
    net.eval()
    return net, score


class Lists:
    """Queries with the network inputs of their fragments, as dense arrays."""

    def __init__(self, db, queries, found, most, rng):
        width = min(most, max((len(f) for f in found), default=0))
        self.x = torch.zeros(len(queries), width, 39)
        self.rotamer = torch.full((len(queries), width), 3)
        for k, (q, f) in enumerate(zip(queries, found)):
            f = f if len(f) <= width else rng.choice(f, width, replace=False)
            self.x[k, : len(f)] = db.inputs(np.full(len(f), q), f)
            self.rotamer[k, : len(f)] = torch.from_numpy(db.rotamer[f])
        self.truth = torch.from_numpy(db.rotamer[queries])

    def some(self, mask):
        part, rows = copy.copy(self), torch.from_numpy(mask)
        part.x, part.rotamer, part.truth = self.x[rows], self.rotamer[rows], self.truth[rows]
        return part


def group_means(score, rotamer):
    """Mean score of the best fragments of each rotamer (n x 3), as the run takes it; a small group
    counts as bad."""
    means = []
    for r in range(3):
        of = torch.where(rotamer == r, score, torch.full_like(score, 1e6))
        best = of.topk(min(GROUP, of.shape[1]), 1, largest=False).values
        there = best < 1e5
        mean = (best * there).sum(1) / there.sum(1).clamp(min=1)
        means.append(torch.where(there.sum(1) >= 3, mean, torch.full_like(mean, EMPTY_GROUP)))
    return torch.stack(means, 1)


def list_loss(net, x, rotamer, truth):
    """Cross entropy of the true rotamer when a group's likelihood falls with its mean, as chi1.tab
    will have it."""
    mean = group_means(net(x.flatten(0, 1))[:, 0].view(x.shape[:2]), rotamer)
    held = mean.clamp(0, 1)
    return torch.nn.functional.cross_entropy(-STEEPNESS * (held + 0.05 * (mean - held)), truth)


def train_on_lists(args, state, train, held, seed, first):
    """A member trained further on what the run makes of its scores."""
    torch.manual_seed(seed)
    net = copy.deepcopy(first)

    def epoch(rng):
        order = rng.permutation(len(train.truth))
        for k in range(0, len(order) - 8, 32):
            i = torch.from_numpy(order[k : k + 32])
            x = train.x[i]
            lose = rng.random(len(i)) < 0.4
            dropped = torch.from_numpy((rng.random((len(i), 3, 6)) < 0.3) & lose[:, None, None])
            x = x.view(len(i), -1, 3, 13).clone()
            x[..., 7:] = torch.where(dropped[:, None], torch.tensor(1.5), x[..., 7:])
            yield x.view(len(i), -1, 39), train.rotamer[i], train.truth[i]

    score = nc.fit(
        net,
        state,
        epoch,
        lambda model, b: list_loss(model, *b),
        lambda model: list_loss(model, held.x, held.rotamer, held.truth),
        args.list_epochs,
        args.list_rate,
        0.02,
        args.patience,
        os.path.basename(state),
        seed,
    )
    net.eval()
    return net, score


def group_bins(db, nets, query, fragments):
    """Calibration bins of the rotamer groups g-, g+, t of one query, as the run forms them."""
    bins = [10, 10, 10]
    if len(fragments) == 0:
        return bins
    with torch.no_grad():
        x = db.inputs(np.full(len(fragments), query), fragments)
        score = (sum(n(x)[:, 0] for n in nets) / len(nets)).numpy()
    groups = ([], [], [])
    for i in np.argsort(score, kind="stable"):
        if all(len(g) >= GROUP for g in groups):
            break
        r = db.rotamer[fragments[i]]
        if r < 3 and len(groups[r]) < GROUP:
            groups[r].append(score[i])
    for r, g in enumerate(groups):
        if len(g) >= 3:
            bins[r] = int(10 * np.clip(np.mean(g), 0, 1))
    return bins


def fit_strengths(bins, truth, centre, ridge):
    """Conditional logit: strength of each bin so that softmax over the three rotamers' bins gives
    the true one."""
    theta = torch.tensor(centre, dtype=torch.float64, requires_grad=True)
    b, t, c = torch.tensor(bins), torch.tensor(truth), torch.tensor(centre, dtype=torch.float64)
    optimiser = torch.optim.LBFGS([theta], max_iter=200, line_search_fn="strong_wolfe")

    def closure():
        optimiser.zero_grad()
        smooth = ((theta[1:10] - c[1:10] - theta[:9] + c[:9]) ** 2).sum()
        loss = (
            torch.nn.functional.cross_entropy(theta[b], t, reduction="sum")
            + ridge * ((theta - c) ** 2).sum()
            + ridge * smooth
        )
        loss.backward()
        return loss

    optimiser.step(closure)
    return theta.detach().numpy()


def complete_fold_tables(args, fold_nets):
    """Makes the folds' directories complete: their chi1 networks, a provisional calibration, and
    what all folds share."""
    for f in range(FOLDS):
        folder = fold_tables(args.cross, f)
        os.makedirs(folder, exist_ok=True)
        for letter, nets in fold_nets.items():
            nc.write_level(folder, "chi1_" + letter, 1, nets[f])
        write_calibration(
            os.path.join(folder, "chi1.tab"), {letter: np.zeros(11) for letter in fold_nets}
        )
        for name in os.listdir(args.tables):
            target = os.path.join(folder, name)
            if not os.path.lexists(target):
                os.symlink(os.path.abspath(os.path.join(args.tables, name)), target)


def run_program(args, protein, tables, excluded):
    """The lines of a run that tell the rotamer groups; kept in the state directory."""
    folder = os.path.join(args.state, "runs", protein["id"])
    kept = os.path.join(folder, "log")
    if not os.path.exists(kept):
        os.makedirs(folder, exist_ok=True)
        command = [os.path.abspath(args.program), "-tabDir", os.path.abspath(tables), "-verb"]
        command += [
            "-in",
            os.path.abspath(os.path.join(args.work, "tables", protein["id"] + ".tab")),
        ]
        command += ["-excl", excluded]
        with open(kept + ".part", "w") as out:
            subprocess.run(command, cwd=folder, stdout=out, stderr=subprocess.DEVNULL, check=False)
        with open(kept + ".part", errors="replace") as raw, open(kept + ".short", "w") as out:
            out.writelines(
                x for x in raw if x.startswith("Residue (center)") or "best matched fragments" in x
            )
        os.remove(kept + ".part")
        os.replace(kept + ".short", kept)
    with open(kept) as stream:
        return stream.readlines()


def read_groups(lines):
    """(letter, residue number, bins of g-, g+, t) of each residue whose groups the run told."""
    letter, number, bins = "", 0, {}
    for line in lines:
        m = re.match(r"Residue \(center\) (\S+) (-?\d+) of", line)
        if m:
            letter, number, bins = m.group(1).upper(), int(m.group(2)), {}
            continue
        m = re.match(r"\s+(\d+) \tbest matched fragments with (\S+)\s+(\S+)", line)
        if m:
            mean = float(m.group(3))
            bins[m.group(2)] = 10 if int(m.group(1)) < 3 else int(10 * min(1.0, max(0.0, mean)))
            if len(bins) == 3:
                yield letter, number, [bins["g-"], bins["g+"], bins["t"]]


def program_bins(args, db):
    """Bins of the rotamer groups as the program itself forms them: {letter: (bins, truth, fold)}.

    Every protein is run with the database rows of its relatives left out and the networks that
    never saw its fold.
    """
    proteins = [p for p in dataset.read_tsv(args.proteins) if p["kind"] != "related"]
    folds = small_folds(args.work, [p["cluster30"] for p in proteins]) % FOLDS
    related = {
        r["id"]: r["sources"] for r in dataset.read_tsv(os.path.join(args.work, "related.tsv"))
    }
    rows = zip(db.source, db.number, db.rotamer, db.trusted)
    truth = {(s, n): int(r) for s, n, r, ok in rows if ok and r < 3}

    def groups_of(job):
        protein, fold = job
        lines = run_program(args, protein, fold_tables(args.cross, fold), related[protein["id"]])
        return list(read_groups(lines))

    collected = {}
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        runs = pool.map(groups_of, zip(proteins, folds))
        for done, (protein, fold, groups) in enumerate(zip(proteins, folds, runs)):
            for letter, number, bins in groups:
                rotamer = truth.get((protein["source"], number))
                if letter in LETTERS and rotamer is not None:
                    columns = collected.setdefault(letter, ([], [], []))
                    for column, value in zip(columns, (bins, rotamer, fold)):
                        column.append(value)
            if done % 50 == 49:
                log("%d of %d proteins run" % (done + 1, len(proteins)))
    return {
        letter: (bins, rotamers, np.array(fold))
        for letter, (bins, rotamers, fold) in collected.items()
    }


def write_calibration(path, rows):
    with open(path + ".part", "w") as out:
        out.write(
            "REMARK Relative likelihood of a rotamer by the mean network score of its best "
            "fragments, in tenths;\n"
        )
        out.write("REMARK column 10: fewer than three fragments, or a mean of 1 and above.\n\n")
        out.write("VARS RESNAME " + " ".join(str(b) for b in range(11)) + "\n")
        out.write("FORMAT %s" + " %.5f" * 11 + "\n\n")
        for letter, theta in sorted(rows.items()):
            out.write(
                letter
                + " "
                + " ".join("%.5f" % v for v in np.maximum(np.exp(theta - theta.max()), 1e-5))
                + "\n"
            )
    os.replace(path + ".part", path)


def strengths_of(collected, chosen):
    """Strengths of all letters, fitted on the queries whose fold `chosen(folds)` picks."""
    some = {
        letter: [(b, t) for b, t, k in zip(bins, truth, chosen(fold)) if k]
        for letter, (bins, truth, fold) in sorted(collected.items())
    }
    centre = np.concatenate([np.linspace(3, -3, 10), [-3.0]])
    everything = [pair for pairs in some.values() for pair in pairs]
    pooled = fit_strengths([b for b, _ in everything], [t for _, t in everything], centre, 0.5)
    return {
        letter: fit_strengths([b for b, _ in pairs], [t for _, t in pairs], pooled, RIDGE)
        if pairs
        else pooled
        for letter, pairs in some.items()
    }


def calibrate(collected, path, wanted, cross=""):
    """Fits chi1.tab on {letter: (bins, true rotamers, folds)} and logs cross-fitted figures.

    The program calls a rotamer at a probability of 0.6. All strengths are drawn in by one factor,
    so that it calls no more than `wanted` of the residues: a called rotamer is then right more
    often than its probability says. With `cross` each fold's directory gets the table that was
    fitted on the other folds.
    """
    rows = strengths_of(collected, lambda fold: fold >= 0)
    crossed = [strengths_of(collected, lambda fold, f=f: fold != f) for f in range(FOLDS)]

    def figures(factor):
        out = {}
        for letter, (bins, truth, fold) in sorted(collected.items()):
            called, right = np.zeros(len(truth), bool), np.zeros(len(truth), bool)
            for f in range(FOLDS):
                side = fold == f
                if side.any():
                    called[side], right[side] = score_table(
                        factor * crossed[f][letter],
                        [b for b, k in zip(bins, side) if k],
                        [t for t, k in zip(truth, side) if k],
                    )
            out[letter] = (called, right)
        return out

    def share(found):
        return np.concatenate([called for called, _ in found.values()]).mean()

    factor = 1.0
    while factor > 0.3 and share(figures(factor)) > wanted:
        factor -= 0.02
    for shown in (1.0, factor):
        found = figures(shown)
        called = np.concatenate([c for c, _ in found.values()])
        right = np.concatenate([r for _, r in found.values()])
        log(
            "factor %.2f: %d residues, classified %.1f %%, right among them %.1f %%, "
            "best guess right %.1f %%"
            % (
                shown,
                len(called),
                100 * called.mean(),
                100 * right[called].mean(),
                100 * right.mean(),
            )
        )
    for letter, (called, right) in found.items():
        log(
            "%s: %d residues, classified %.1f %%, right among them %.1f %%, "
            "best guess right %.1f %%"
            % (
                letter,
                len(called),
                100 * called.mean(),
                100 * right[called].mean() if called.any() else 0,
                100 * right.mean(),
            )
        )
    write_calibration(path, {letter: factor * theta for letter, theta in rows.items()})
    for f in range(FOLDS if cross else 0):
        write_calibration(
            os.path.join(fold_tables(cross, f), "chi1.tab"),
            {letter: factor * theta for letter, theta in crossed[f].items()},
        )


def score_table(strengths, bins, truth):
    p = np.exp(strengths[np.array(bins)])
    p /= p.sum(1, keepdims=True)
    called = p.max(1) >= 0.6
    right = p.argmax(1) == np.array(truth)
    return called, right


class LetterTraining:
    """The networks of one residue type: shipped members, and those of each fold."""

    def __init__(self, args, db, fold, letter):
        self.args, self.db, self.letter = args, db, letter
        rng = np.random.default_rng([args.seed, ord(letter)])
        own = db.letter == letter
        if letter in "CH":
            own |= db.letter == letter.lower()
        pool = np.flatnonzero(own & db.whole & (db.chi1 < 999))
        queries = pool[db.trusted[pool] & db.paired[pool]]
        chains = pool[db.unrelated[pool]]
        chains = np.sort(rng.choice(chains, min(len(chains), args.first_queries), replace=False))
        if len(pool) > args.pool:
            pool = np.sort(rng.choice(pool, args.pool, replace=False))
        self.queries, self.found = self.with_candidates(queries, pool, rng)
        # The first training is on residues with computed shifts, which are ten times as many.
        self.chains, self.first_found = self.with_candidates(chains, pool, rng)
        self.lists = Lists(db, self.queries, self.found, SURVIVORS, rng)
        self.fold = fold[self.queries]
        self.seed = args.seed * 10000 + ord(letter) * 10
        self.first = [self.first_member(m) for m in range(MEMBERS)]

    def with_candidates(self, queries, pool, rng):
        """Queries with at least three candidates, and these."""
        found = candidates(self.db, queries, pool, rng, ANGLE_ERROR, 0.08, 300)
        kept = np.array([len(f) >= 3 for f in found], bool)
        return queries[kept], [f for f in found if len(f) >= 3]

    def state(self, suffix):
        return os.path.join(self.args.state, "chi1_%s%s" % (self.letter, suffix))

    def part(self, mask):
        return self.queries[mask], [f for f, m in zip(self.found, mask) if m]

    def first_member(self, m):
        most = len(self.chains) * 9 // 10
        train = self.chains[:most], self.first_found[:most]
        held = self.chains[most:], self.first_found[most:]
        return train_one(
            self.db, self.args, self.state(".first%d" % m), train, held, self.seed + m
        )[0]

    def member(self, name, train, held, seed, start):
        """(network, score) trained on pairs, then on lists."""
        state = self.state(name)
        net, _ = train_one(
            self.db, self.args, state, self.part(train), self.part(held), seed, start
        )
        lists = self.lists.some(train), self.lists.some(held)
        return train_on_lists(self.args, state + ".list", *lists, seed, net)

    def members(self):
        """The shipped members and their scores."""
        return [
            self.member(".m%d" % m, self.fold != m, self.fold == m, self.seed + m, start)
            for m, start in enumerate(self.first)
        ]

    def members_of_fold(self, f):
        mine = self.fold % FOLDS == f
        stop = (self.fold % FOLDS == (f + 1) % FOLDS) & (self.fold < 2 * FOLDS)
        seed = self.seed + 5 + 3 * f
        return [
            self.member(".fold%d.m%d" % (f, m), ~mine & ~stop, stop, seed + m, start)[0]
            for m, start in enumerate(self.first)
        ]

    def bins(self, nets, f):
        """(bins, true rotamer) of each query of a fold, by the networks that never saw it."""
        for query, fragments in zip(*self.part(self.fold % FOLDS == f)):
            yield group_bins(self.db, nets, query, fragments[:SURVIVORS]), int(
                self.db.rotamer[query]
            )


def train_letters(args, db, fold):
    """Trains and writes the networks; returns bins of all queries and the networks of the folds, by
    letter."""
    collected, fold_nets = {}, {}
    for letter in args.letters:
        training = LetterTraining(args, db, fold, letter)
        members = training.members()
        nc.write_level(args.out, "chi1_" + letter, 1, [net for net, _ in members])
        fold_nets[letter] = [training.members_of_fold(f) for f in range(FOLDS)]
        bins, truth, folds = [], [], []
        for f, nets in enumerate(fold_nets[letter]):
            for query_bins, rotamer in training.bins(nets, f):
                bins.append(query_bins)
                truth.append(rotamer)
                folds.append(f)
        collected[letter] = (bins, truth, np.array(folds))
        scores = " ".join("%.4f" % score for _, score in members)
        log("%s: %d queries, held-out cross entropy %s" % (letter, len(training.queries), scores))
    return collected, fold_nets


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--database", required=True, help="database file of the paired proteins")
    parser.add_argument(
        "--proteins", required=True, help="proteins.tsv: source word, cluster of each protein"
    )
    parser.add_argument("--labels", default="", help="labels.tsv.gz: which chi1 angles are trusted")
    parser.add_argument("--state", required=True, help="directory of the resumable member states")
    parser.add_argument(
        "--out", required=True, help="directory that gets the weight tables and chi1.tab"
    )
    parser.add_argument(
        "--program",
        default="",
        help="the built program: calibrate on its own groups (needs --work, --tables, --cross)",
    )
    parser.add_argument(
        "--tables", default="", help="complete table directory for the program's runs"
    )
    parser.add_argument(
        "--work", default="work", help="work directory with the proteins' shift tables"
    )
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--letters", default=LETTERS)
    parser.add_argument(
        "--cross", default="", help="directory with the tables of each fold of the cross-validation"
    )
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--epochs", type=int, default=25)
    parser.add_argument("--rate", type=float, default=2e-3)
    parser.add_argument(
        "--rate2", type=float, default=5e-4, help="rate of the second training, on measured shifts"
    )
    parser.add_argument("--list-epochs", type=int, default=10)
    parser.add_argument(
        "--list-rate", type=float, default=5e-4, help="rate of the third training, on whole lists"
    )
    parser.add_argument("--drop", type=float, default=0.0)
    parser.add_argument("--first-queries", type=int, default=5000)
    parser.add_argument("--patience", type=int, default=6)
    parser.add_argument("--per-query", type=int, default=24)
    parser.add_argument(
        "--called",
        type=float,
        default=0.52,
        help="most of the residues that the program is to call",
    )
    parser.add_argument(
        "--pool", type=int, default=12000, help="fragments of one type to choose candidates from"
    )
    return parser.parse_args()


def main():
    args = arguments()
    os.makedirs(args.state, exist_ok=True)
    os.makedirs(args.out, exist_ok=True)
    db = Database(args.database, args.proteins, args.labels, args.work)
    clusters = np.where(db.paired, db.cluster, db.cluster[db.paired][0])
    fold = np.where(db.paired, small_folds(args.work, clusters), -1)
    log("%d rows, %d with a trusted chi1" % (len(db.phi), db.trusted.sum()))
    collected, fold_nets = train_letters(args, db, fold)
    calibrate(collected, os.path.join(args.out, "chi1.tab"), args.called)
    if args.program:
        log("calibration through the program")
        complete_fold_tables(args, fold_nets)
        calibrate(
            program_bins(args, db), os.path.join(args.out, "chi1.tab"), args.called, args.cross
        )
    log("done")


if __name__ == "__main__":
    main()
