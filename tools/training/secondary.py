"""Trains the secondary structure networks on shifts.

ss, ss.center, ss.prev, ss.next see three residues, one of them perhaps without its shifts, ss5 sees
five. Targets are helix, strand, coil from the hydrogen bonds of the structure (DSSP: H G I helix, E
B strand). Outputs are trained with squared error towards 1 for the class and 0 for the others, so
they estimate probabilities; members are averaged by the program with their margins as weights.
"""

import argparse
import copy
import os

import numpy as np
import torch

from data.folds import FOLDS, fold_tables
from data.log import log
from data.rows import SCORES
from training import networks as nc
from training.windows import (
    ComputedVectors,
    MeasuredVectors,
    UnlabelledVectors,
    flagged,
    scores_first,
)

FIVE = "ss5"
# Place of the residue without shifts in the window of a three-residue network, None if all have
# theirs.
LACKING = {"ss": None, "ss.center": 1, "ss.prev": 0, "ss.next": 2}
CODES = {"ss": 0, "ss.center": 2, "ss.prev": 1, "ss.next": 3, FIVE: 5}  # of the seeds
FULL_SHARE = 3.0  # of the complete tables in training; each thinned out variant counts once
UNLABELLED_SHARES = (0.5, 0.15, 0.35)
MEMBERS = 3
BATCH, FIRST_BATCH = 512, 1024
CHUNK = 20000


def reach_of(name):
    return 2 if name == FIVE else 1


def sizes_of(name):
    """Inputs and hidden units of level 1."""
    if name == FIVE:
        return 164, 40
    return (96 if LACKING[name] is None else 84), 20


def network_windows(name, vectors):
    """Centres and windows of the residues that the program gives one: only the first place may lie
    before the chain."""
    reach = reach_of(name)
    centres, windows = vectors.windows(reach, True)
    missing = windows == vectors.pad
    few = missing[:, :reach].sum(1) <= (1 if reach == 2 else 0)
    ok = ~missing[:, reach:].any(1) & few
    return centres[ok], windows[ok]


def fits(name, vectors, variant, windows):
    """Which windows the program would give to this network."""
    good = vectors.good[variant[:, None], windows]
    if name == FIVE:
        return good[:, 1:4].sum(1) >= 2
    return good[:, [k for k in range(3) if k != LACKING[name]]].all(1)


def level1_input(name, vectors, variant, windows, noisy):
    """Level 1 input of windows of rows, each from the variant of its sample."""
    windows = torch.from_numpy(windows)
    x = vectors.take(torch.from_numpy(variant), windows, noisy)
    if name == FIVE:
        return flagged(scores_first(x), windows == vectors.pad)
    return torch.cat([x[:, k, SCORES] if k == LACKING[name] else x[:, k] for k in range(3)], 1)


def level2_input(name, values, pad, variant, windows):
    """Level 2 input of windows of class vectors (`values`: variants x residues + 1 x 3, zeros at
    `pad`)."""
    windows = torch.from_numpy(windows)
    x = values[torch.from_numpy(variant)[:, None], windows]
    return flagged(x, windows == pad) if name == FIVE else x.reshape(len(windows), 9)


class ClassTask:
    """Windows with known states as batches of (input, class, weight); `mix` holds the shares of the
    variants."""

    def __init__(self, name, vectors, usable, mix, inputs_of, batch_size):
        self.name, self.vectors, self.inputs_of = name, vectors, inputs_of
        self.mix, self.batch_size = mix, batch_size
        centres, windows = network_windows(name, vectors)
        ok = usable[centres]
        self.centres, self.windows = centres[ok], windows[ok]
        self.weight = getattr(vectors, "weight", torch.ones(vectors.pad))

    def rows(self, mask):
        return np.flatnonzero(mask[self.centres])

    def fitting(self, rows, rng):
        """Rows with a variant each, those that the program would give to this network."""
        variant = rng.choice(len(self.mix), len(rows), p=self.mix)
        ok = fits(self.name, self.vectors, variant, self.windows[rows])
        return rows[ok], variant[ok]

    def batch(self, rows, variant, noisy):
        centres = self.centres[rows]
        x = self.inputs_of(variant, self.windows[rows], noisy)
        return x, self.vectors.label[centres], self.weight[centres]

    def batches(self, rows, rng):
        order, variant = self.fitting(rng.permutation(rows), rng)
        size = self.batch_size
        for k in range(0, len(order) - size // 2, size):
            yield self.batch(order[k : k + size], variant[k : k + size], True)


class TeacherTask:
    """Batches of the residues of unknown structure, towards the states that the teacher expects."""

    def __init__(self, name, vectors, teacher, weight):
        self.name, self.vectors, self.teacher, self.weight = name, vectors, teacher, weight
        self.centres, self.windows = network_windows(name, vectors)

    def join(self, batches, rng):
        """The batches, each with as many residues of unknown structure."""
        for x, label, weight in batches:
            i = rng.integers(0, len(self.centres), len(x))
            variant = rng.choice(len(UNLABELLED_SHARES), len(i), p=UNLABELLED_SHARES)
            ok = fits(self.name, self.vectors, variant, self.windows[i])
            i, variant = i[ok], variant[ok]
            more = level1_input(self.name, self.vectors, variant, self.windows[i], True)
            target = torch.nn.functional.one_hot(label, 3).float()
            expected = self.vectors.states[self.teacher, self.centres[i]]
            more_weight = torch.full((len(i),), self.weight)
            yield (
                torch.cat([x, more]),
                torch.cat([target, expected]),
                torch.cat([weight, more_weight]),
            )


def fit(members, state, task, train, held, schedule, seed, teacher=None):
    """Trains `members` on the windows `train` of `task`, stopped by `held`. schedule: epochs, rate,
    decay, patience."""
    ensemble = nc.Ensemble(members)
    held_batch = task.batch(*task.fitting(held, np.random.default_rng(3)), False)

    def epoch(rng):
        batches = task.batches(train, rng)
        return batches if teacher is None else teacher.join(batches, rng)

    def loss_of(model, batch):
        return sum(nc.class_loss(out, batch) for out in model(batch[0]))

    def validate(model):
        return loss_of(model, held_batch) / len(members)

    nc.fit(ensemble, state, epoch, loss_of, validate, *schedule, os.path.basename(state), seed)
    ensemble.eval()
    return list(ensemble.members)


def level1_values(name, data, variant, members_of_fold):
    """Class vectors of level 1 for all residues of a variant, each from the members that never saw
    its fold; the mean vector where there is no window. The last row is one of zeros."""
    centres, windows = network_windows(name, data)
    out = torch.zeros(data.pad + 1, 3)
    filled = np.zeros(data.pad + 1, bool)
    with torch.no_grad():
        for f, members in enumerate(members_of_fold):
            rows = np.flatnonzero(data.fold[centres] % FOLDS == f)
            for k in range(0, len(rows), CHUNK):
                i = rows[k : k + CHUNK]
                x = level1_input(name, data, np.full(len(i), variant), windows[i], False)
                out[centres[i]] = nc.margin_mean([m(x) for m in members])
                filled[centres[i]] = True
    mean = out[torch.from_numpy(filled)].mean(0)
    rest = ~filled
    rest[data.pad] = False
    out[torch.from_numpy(rest)] = mean / mean.sum()
    return out


class NetworkTraining:
    """The stages of the training of one network: all proteins, and without each fold."""

    def __init__(self, name, data, computed, unlabelled, args):
        self.name, self.data, self.computed, self.unlabelled = name, data, computed, unlabelled
        self.args = args
        self.seed = args.seed * 1000 + 10 * CODES[name]
        mix = np.array([FULL_SHARE if v == "full" else 1.0 for v in data.variants])
        self.mix = mix / mix.sum()
        self.usable = (data.label < 3).numpy()

    def state(self, suffix):
        return os.path.join(self.args.state, self.name + suffix)

    def first(self):
        """Level 1 members trained on computed shifts."""
        computed, name, args = self.computed, self.name, self.args

        def inputs_of(variant, windows, noisy):
            return level1_input(name, computed, variant, windows, noisy)

        copies = len(computed.x)
        mix = np.full(copies, 1.0 / copies)
        task = ClassTask(name, computed, computed.unrelated, mix, inputs_of, FIRST_BATCH)
        held, train = task.rows(computed.held), task.rows(~computed.held)
        width, hidden = sizes_of(name)
        members = []
        for seed in range(self.seed + 500, self.seed + 500 + MEMBERS):
            torch.manual_seed(seed)
            net = nc.Member(width, hidden, 3)
            rng = np.random.default_rng(seed)
            some = train[rng.choice(len(train), min(20000, len(train)), replace=False)]
            net.standardise_on(
                inputs_of(np.zeros(len(some), int), task.windows[some], False), floor=0.02
            )
            members.append(net)
        epochs = nc.epochs_for(args.first_epochs, len(train))
        schedule = (epochs, args.first_rate, 0.01, epochs)
        state = os.path.join(args.state, "first." + name)
        return fit(members, state, task, train, held, schedule, self.seed + 500)

    def further(self, task, start, schedule, suffix, seed, teacher_of=lambda f: None):
        """(members, members of each fold) on measured shifts; `start(seed)` gives members to start
        from."""
        data, members = self.data, []
        for m in range(MEMBERS):
            train, held = (task.rows(mask) for mask in data.shipped_split(m))
            state = self.state("%s.m%d" % (suffix, m))
            net = start(seed, train)[m]
            members += fit([net], state, task, train, held, schedule, seed + m, teacher_of(-1))
        of_fold = []
        for f in range(FOLDS):
            train, held = (task.rows(mask) for mask in data.fold_split(f))
            nets, state = start(seed + 50 + 3 * f, train), self.state("%s.fold%d" % (suffix, f))
            of_fold.append(
                fit(nets, state, task, train, held, schedule, seed + 50 + 3 * f, teacher_of(f))
            )
        return members, of_fold

    def level1(self):
        """Members of level 1, and those of each fold."""
        data, name, args = self.data, self.name, self.args

        def inputs_of(variant, windows, noisy):
            return level1_input(name, data, variant, windows, noisy)

        def teacher_of(f):
            if self.unlabelled is None:
                return None
            return TeacherTask(name, self.unlabelled, f, args.unlabelled)

        task = ClassTask(name, data, self.usable, self.mix, inputs_of, BATCH)
        schedule = (args.epochs, args.rate, 0.02, args.patience)
        first = self.first()

        def start(seed, train):
            return copy.deepcopy(first)

        return self.further(task, start, schedule, ".l1", self.seed, teacher_of)

    def level2(self, task):
        """Members of level 2, and those of each fold."""
        args = self.args

        def start(seed, train):
            members = []
            sample = task.inputs_of(np.zeros(len(train), int), task.windows[train], False)
            for m in range(MEMBERS):
                torch.manual_seed(seed + m)
                net = nc.Member(19 if self.name == FIVE else 9, 6, 3)
                net.standardise_on(sample, floor=0.02)
                members.append(net)
            return members

        schedule = (max(1, args.epochs // 2), 2 * args.rate, 0.02, args.patience)
        return self.further(task, start, schedule, ".l2", self.seed + 100)

    def write(self, level, members, of_fold):
        nc.write_level(self.args.out, self.name, level, members)
        if self.args.cross:
            for f, fold_members in enumerate(of_fold):
                nc.write_level(fold_tables(self.args.cross, f), self.name, level, fold_members)

    def results(self, task, of_fold):
        """Class vectors of the test residues by variant and centre, each from the members that
        never saw its fold."""
        data, result = self.data, {}
        for v, variant in enumerate(data.variants):
            found = {}
            for f, members in enumerate(of_fold):
                rows = task.rows(data.tested & (data.fold % FOLDS == f))
                which = np.full(len(rows), v)
                ok = fits(self.name, data, which, task.windows[rows])
                with torch.no_grad():
                    x = task.inputs_of(which[ok], task.windows[rows[ok]], False)
                    out = nc.normalised(nc.margin_mean([m(x) for m in members]))
                found.update({int(c): o for c, o in zip(task.centres[rows[ok]], out)})
            result[variant] = found
            text = nc.q3(torch.stack(list(found.values())), data.label[list(found)])
            log("%s on %s: %s" % (self.name, variant, text))
        return result

    def run(self):
        """Trains and writes the network; returns `results` of level 2."""
        data = self.data
        members, of_fold = self.level1()
        self.write(1, members, of_fold)
        values = torch.stack(
            [level1_values(self.name, data, v, of_fold) for v in range(len(data.variants))]
        )

        def inputs_of(variant, windows, _):
            return level2_input(self.name, values, data.pad, variant, windows)

        task = ClassTask(self.name, data, self.usable, self.mix, inputs_of, BATCH)
        members, of_fold = self.level2(task)
        self.write(2, members, of_fold)
        return self.results(task, of_fold)


def report_combined(data, results):
    """Class of the stage: the sum of the three-residue network that fits and ss5."""
    for v, variant in enumerate(data.variants):
        values, labels = [], []
        for name, lacking in LACKING.items():
            want = tuple(k != lacking for k in range(3))
            for c, o in results[name].get(variant, {}).items():
                if tuple(bool(g) for g in data.good[v][c - 1 : c + 2]) != want:
                    continue
                five = results[FIVE][variant].get(c)
                values.append(o + five if five is not None else o)
                labels.append(int(data.label[c]))
        log("stage on %s: %s" % (variant, nc.q3(torch.stack(values), torch.tensor(labels))))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--work", default="work", help="work directory with the feature dumps")
    parser.add_argument("--state", required=True, help="directory of the resumable member states")
    parser.add_argument("--out", required=True, help="directory that gets the weight tables")
    parser.add_argument("--cross", default="", help="directory that gets the tables of each fold")
    parser.add_argument("--variants", default="full,noproton,dropA,dropB,dropC,dropD")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument(
        "--unlabelled", type=float, default=1.0, help="weight of residues without a known structure"
    )
    parser.add_argument("--first-epochs", type=int, default=15)
    parser.add_argument("--first-rate", type=float, default=4e-3)
    parser.add_argument("--epochs", type=int, default=10)
    parser.add_argument("--rate", type=float, default=1e-3)
    parser.add_argument("--patience", type=int, default=6)
    args = parser.parse_args()
    os.makedirs(args.state, exist_ok=True)
    data = MeasuredVectors(args.work, args.variants.split(","))
    log("%d residues" % data.pad)
    computed = ComputedVectors(args.work)
    folder = os.path.join(args.work, "unlabelled")
    wanted = args.unlabelled > 0 and os.path.exists(folder)
    unlabelled = UnlabelledVectors(folder) if wanted else None
    results = {}
    for name in CODES:
        results[name] = NetworkTraining(name, data, computed, unlabelled, args).run()
    report_combined(data, results)
    log("done")


if __name__ == "__main__":
    main()
