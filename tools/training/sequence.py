"""Trains the sequence-only secondary structure networks.

seqSS sees substitution scores, and its second level classes that are known; seqSS15 sees profile
frequencies in percent. Targets and loss as in secondary.py.
"""
import argparse
import collections
import os

import numpy as np
import torch

from data import dataset
from data.dataset import LETTERS
from data.folds import cluster_folds
from data.log import log
from training import networks as nc
from training.windows import flagged

BLOSUM_LETTERS = "ARNDCQEGHILKMFPSTWYV"  # order of the letters in the input of seqSS
# Background frequencies of Robinson and Robinson (1991), in the order of BLOSUM_LETTERS, and the
# scale of the scores.
BACKGROUND = np.array(
    [
        0.07805,
        0.05129,
        0.04487,
        0.05364,
        0.01925,
        0.04264,
        0.06295,
        0.07377,
        0.02199,
        0.05142,
        0.09019,
        0.05744,
        0.02243,
        0.03856,
        0.05203,
        0.07120,
        0.05841,
        0.01330,
        0.03216,
        0.06441,
    ]
)
SCORE_SCALE = 0.3176
BATCH = 1024
# Share of the substitution scores in profiles of plain frequencies: the mean entropy of a column
# becomes that of the profiles from scores (2.23).
SMOOTHING = 0.2
STATE_CODES = {"H": 0, "E": 1, "C": 2, ".": 255}
SIZES = "%s: %d chains, %d residues, %d chains held out, %d relatives of them left out"


def blosum(source):
    score = dataset.read_blosum(source)
    return np.array([[score[a, b] for b in BLOSUM_LETTERS] for a in BLOSUM_LETTERS])


def read_chains(path, profile):
    """Chains of a structure table: list of (name, letter indices, labels, scores or None)."""
    chains, name = [], None
    for row in dataset.read_tsv(path):
        if row["chain"] != name:
            name = row["chain"]
            chains.append((name, [], [], []))
        _, letters, labels, scores = chains[-1]
        letters.append(BLOSUM_LETTERS.find(row["aa"]))
        labels.append(STATE_CODES[dataset.three_state(row["dssp8"].strip("."))])
        if profile:
            scores.append([float(row[b]) for b in BLOSUM_LETTERS])
    return [
        (n, np.array(a), np.array(t), np.array(s) if profile else None) for n, a, t, s in chains
    ]


def frequencies(scores):
    f = BACKGROUND * np.exp(SCORE_SCALE * scores)
    return f / f.sum(-1, keepdims=True)


class SequenceData:
    """Rows of 20 values per residue for several kinds of input, chain windows, labels and held-out
    chains."""

    def __init__(self, chains, rows, reach, held, excluded):
        self.lengths = [len(c[1]) for c in chains]
        self.count = sum(self.lengths)
        self.rows = torch.from_numpy(np.concatenate(rows + [np.zeros((1, 20))]).astype(np.float32))
        self.label = torch.from_numpy(np.concatenate([c[2] for c in chains]).astype(np.int64))
        self.reach = reach
        self.chain = np.repeat(np.arange(len(chains)), self.lengths)
        starts = np.cumsum([0] + self.lengths)
        self.start, self.stop = starts[self.chain], starts[self.chain + 1]
        known = self.label.numpy() < 3
        self.held = held[self.chain]
        self.held_rows = np.flatnonzero(known & self.held)
        self.train_rows = np.flatnonzero(known & ~excluded[self.chain] & ~self.held)

    def windows(self, centres):
        w = centres[:, None] + np.arange(-self.reach, self.reach + 1)
        outside = (w < self.start[centres, None]) | (w >= self.stop[centres, None])
        return torch.from_numpy(np.where(outside, self.count, w))

    def inputs(self, values, centres):
        """Network input: windows of `values` (residues + 1 rows), with marks of the places beyond
        the chain."""
        windows = self.windows(centres)
        return flagged(values[windows], windows == self.count)


def sequence_relatives(chains, held, length=7, shared=3):
    """Chains outside `held` that share several words of seven residues with a chain of `held`."""
    words = {}

    def as_words(letters):
        return {
            bytes(letters[i : i + length].astype(np.int8)) for i in range(len(letters) - length + 1)
        }

    for h in np.flatnonzero(held):
        for w in as_words(chains[h][1]):
            words.setdefault(w, set()).add(h)
    out = np.zeros(len(chains), bool)
    for i, c in enumerate(chains):
        if not held[i]:
            hits = collections.Counter(h for w in as_words(c[1]) for h in words.get(w, ()))
            out[i] = bool(hits) and max(hits.values()) >= shared
    return out


def random_known(labels, chain, rng):
    """Class vectors as the shift networks would give them, with runs of residues left unknown
    (zeros)."""
    n = len(labels)
    known = np.zeros(n, bool)
    share = rng.choice(
        [0.0, 0.3, 0.6, 0.9, 0.97], chain.max() + 1, p=[0.25, 0.1, 0.15, 0.25, 0.25]
    )[chain]
    i = 0
    lengths = rng.geometric(0.25, n)
    draws = rng.random(n)
    for run in lengths:
        if i >= n:
            break
        known[i : i + run] = draws[i] < share[i]
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


class SequenceTraining:
    """Both levels of seqSS or seqSS15. Held-out chains of `data` stop the training and give the
    figures."""

    def __init__(self, args, name, data, sizes, members, known_classes):
        self.args, self.name, self.data, self.members = args, name, data, members
        self.width, self.hidden, self.width2, self.hidden2 = sizes
        self.seed = args.seed * 1000 + 500 + 20 * members
        self.known_classes = known_classes
        # Level 1 classes of all residues, those of level 2's present input, and which of these are
        # told.
        self.level1_values = torch.zeros(data.count + 1, 3)
        self.values = self.level1_values
        self.told = np.zeros(data.count, bool)

    def state(self, suffix):
        return os.path.join(self.args.state, self.name + suffix)

    def level1_input(self, rows):
        return self.data.inputs(self.data.rows, rows)

    def level2_input(self, rows):
        # A known residue enters with its classes, also behind the chain's end: no padding mark
        # there in any case here.
        return self.data.inputs(self.values, rows)

    def tell(self, rng):
        """Draws which residues level 2 finds with classes that are known."""
        if not self.known_classes:
            return
        data = self.data
        known, self.told = random_known(data.label.numpy(), data.chain, rng)
        where = torch.from_numpy(self.told)
        self.values = self.level1_values.clone()
        self.values[: data.count][where] = known[where]

    def fit(self, members, state, rows, inputs_of, epochs, seed, prepare):
        data, one = self.data, torch.ones(1)
        test = data.held_rows
        if len(test) >= 30000:
            test = test[:: len(test) // 30000 + 1]
        target = data.label[test]
        ensemble = nc.Ensemble(members)

        def epoch(rng):
            prepare(rng)
            order = rng.permutation(rows)[: self.args.seq_samples]
            for k in range(0, len(order) - BATCH // 2, BATCH):
                i = order[k : k + BATCH]
                yield inputs_of(i), data.label[i], one.expand(len(i))

        def loss_of(model, batch):
            return sum(nc.class_loss(out, batch) for out in model(batch[0]))

        def validate(model):
            prepare(np.random.default_rng(11))
            total = 0.0
            for k in range(0, len(test), 8000):
                i = test[k : k + 8000]
                batch = inputs_of(i), target[k : k + 8000], one.expand(len(i))
                total += len(i) * loss_of(model, batch)
            return total / len(test) / len(members) if len(test) else float("nan")

        label, rate = os.path.basename(state), self.args.rate
        nc.fit(ensemble, state, epoch, loss_of, validate, epochs, rate, 0.02, 4, label, seed)
        ensemble.eval()
        return list(ensemble.members)

    def level1_members(self, suffix, rows, count, seed):
        members = []
        for m in range(count):
            torch.manual_seed(seed + m)
            net = nc.Member(self.width, self.hidden, 3, drop=0.15)
            net.standardise_on(self.level1_input(some_of(rows)), floor=0.02)
            members.append(net)
        epochs, state = self.args.seq_epochs, self.state(suffix)
        return self.fit(members, state, rows, self.level1_input, epochs, seed, lambda rng: None)

    def level1(self):
        """Members of level 1; sets the classes that level 2 sees, of members that never saw the
        chain."""
        data, seed = self.data, self.seed
        folds = cluster_folds(data.chain, max(2, self.args.seq_folds), self.args.seed + 5)
        members = self.level1_members(".l1", data.train_rows, self.members, seed)
        values = self.level1_values
        with torch.no_grad():
            for f in range(self.args.seq_folds):
                rows = data.train_rows[folds[data.train_rows] != f]
                (net,) = self.level1_members(".fold%d" % f, rows, 1, seed + 50 + f)
                rows = np.flatnonzero((folds == f) & ~data.held)
                values[rows] = in_parts(lambda part: net(self.level1_input(part)), rows)
            rows = np.flatnonzero(data.held)
            values[rows] = in_parts(lambda part: mean_of(members, self.level1_input(part)), rows)
        return members

    def level2(self):
        rows, seed, members = self.data.train_rows, self.seed + 100, []
        for m in range(self.members):
            torch.manual_seed(seed + m)
            net = nc.Member(self.width2, self.hidden2, 3)
            self.tell(np.random.default_rng(self.seed + m))
            net.standardise_on(self.level2_input(some_of(rows)), floor=0.02)
            members.append(net)
        epochs = max(4, self.args.seq_epochs // 2)
        return self.fit(
            members, self.state(".l2"), rows, self.level2_input, epochs, seed, self.tell
        )

    def evaluate(self, members, text, rows):
        data = self.data
        with torch.no_grad():
            out = in_parts(lambda part: mean_of(members, self.level2_input(part)), rows)
        log("%s %s: %s" % (self.name, text, nc.q3(nc.normalised(out), data.label[rows])))

    def run(self, parts):
        """Trains and writes both levels; `parts` names groups of held-out chains with figures of
        their own."""
        data = self.data
        level1 = self.level1()
        level2 = self.level2()
        nc.write_level(self.args.out, self.name, 1, level1)
        nc.write_level(self.args.out, self.name, 2, level2)
        self.values = self.level1_values
        self.evaluate(level2, "held-out chains", data.held_rows)
        for text, chains in parts.items():
            rows = data.held_rows[chains[data.chain[data.held_rows]]]
            self.evaluate(level2, "held-out chains, " + text, rows)
        if self.known_classes:
            self.tell(np.random.default_rng(12))
            held, told = data.held_rows, self.told
            beside = told[np.maximum(held - 1, 0)] | told[np.minimum(held + 1, data.count - 1)]
            self.evaluate(level2, "held-out residues with a told class", held[told[held]])
            rows = held[~told[held] & beside]
            self.evaluate(level2, "held-out residues without, beside a told one", rows)


def some_of(rows):
    return rows[:: max(1, len(rows) // 20000)]


def in_parts(function, rows, size=8000):
    return torch.cat([function(rows[k : k + size]) for k in range(0, len(rows), size)])


def mean_of(members, x):
    return nc.margin_mean([m(x) for m in members])


def train_seqss(args):
    matrix = np.concatenate([blosum(args.source), np.zeros((1, 20))])
    structures = read_chains(os.path.join(args.source, "structures.tsv.gz"), False)
    chains = [c for c in structures if len(c[1]) >= 25]
    rng = np.random.default_rng(args.seed)
    held = rng.random(len(chains)) < 0.06
    excluded = sequence_relatives(chains, held)
    data = SequenceData(chains, [matrix[c[1]] for c in chains], 6, held, excluded)
    log(SIZES % ("seqSS", len(chains), data.count, held.sum(), excluded.sum()))
    SequenceTraining(args, "seqSS", data, (272, 60, 51, 15), 3, True).run({})


def smoothed(counts, single):
    """Profiles of plain frequencies (per cent) on the scale of those from scores: substitution
    scores stand for the pseudocounts that a score has in it."""
    f = counts / np.maximum(counts.sum(1, keepdims=True), 1e-9)
    return (1 - SMOOTHING) * f + SMOOTHING * (f @ single[:20])


def profile_rows(args):
    """Chains with profiles or single sequences: (chains, rows of frequencies, kind, held-out
    profile chain).

    Kind 0 is a profile, 1 part of the way to it, 2 the single sequence of a held-out chain, 3 that
    of a chain of the structure set.
    """
    single = frequencies(np.concatenate([blosum(args.source), np.zeros((1, 20))]))
    profiled = read_chains(os.path.join(args.source, "profiles_ppis.tsv.gz"), True)
    more = os.path.join(args.source, "profiles_hh.tsv.gz")
    more = read_chains(more, True) if os.path.exists(more) else []
    plain = read_chains(os.path.join(args.source, "structures.tsv.gz"), False)
    rng = np.random.default_rng(args.seed + 1)
    chains, rows, kind = [], [], []

    def add(chain, values, code):
        chains.append(chain)
        rows.append(values)
        kind.append(code)

    held = rng.random(len(profiled)) < 0.12
    keep_plain = rng.random(len(plain)) < args.plain_share
    profiles = [frequencies(chain[3]) for chain in profiled]
    profiles += [smoothed(chain[3], single) for chain in more]
    held = np.concatenate([held, np.zeros(len(more), bool)])
    for chain, profile, h in zip(profiled + more, profiles, held):
        add(chain, profile, 0)
        if h:
            add(chain, single[chain[1]], 2)
        else:
            # A shallow alignment: part of the way from the single sequence to the full profile.
            t = rng.uniform(0.2, 0.9)
            add(chain, t * profile + (1 - t) * single[chain[1]], 1)
    for chain, keep in zip(plain, keep_plain):
        if keep and len(chain[1]) >= 25:
            add(chain, single[chain[1]], 3)
    return chains, rows, np.array(kind), {c[0] for c, h in zip(profiled, held) if h}


def train_seqss15(args):
    """All rows are target frequencies in percent, in alphabetical letter order."""
    chains, rows, kind, held_names = profile_rows(args)
    order = [BLOSUM_LETTERS.index(b) for b in LETTERS]
    held = np.array([c[0] in held_names and k != 3 for c, k in zip(chains, kind)])
    excluded = sequence_relatives(chains, held)
    data = SequenceData(chains, [100.0 * r[:, order] for r in rows], 7, held, excluded)
    log(SIZES % ("seqSS15", len(chains), data.count, held.sum(), excluded.sum()))
    training = SequenceTraining(args, "seqSS15", data, (314, 70, 59, 15), 5, False)
    training.run({"profile": kind == 0, "single sequence": kind == 2})


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("networks", nargs="+", choices=["seqSS", "seqSS15"])
    parser.add_argument(
        "--source",
        default="source",
        help="source data with structures.tsv.gz, profiles_ppis.tsv.gz",
    )
    parser.add_argument("--state", required=True, help="directory of the resumable member states")
    parser.add_argument("--out", required=True, help="directory that gets the weight tables")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--rate", type=float, default=1.5e-3)
    parser.add_argument("--seq-epochs", type=int, default=20)
    parser.add_argument("--seq-samples", type=int, default=200000)
    parser.add_argument("--seq-folds", type=int, default=2)
    parser.add_argument("--plain-share", type=float, default=0.5)
    args = parser.parse_args()
    os.makedirs(args.state, exist_ok=True)
    if "seqSS" in args.networks:
        train_seqss(args)
    if "seqSS15" in args.networks:
        train_seqss15(args)
    log("done")


if __name__ == "__main__":
    main()
