"""Trains the chi1 networks, one a residue type.

A network sees a database fragment of three residues (backbone angles, chi1, scaled shift
differences to the query) and estimates the probability that the fragment's rotamer is not the
query's. It is trained on pairs like those the refined search hands it: fragments of the same type
whose angles lie within 50 degrees of the query's over seven residues, from proteins of other
clusters, and then on whole lists of them, towards the likelihood that the run makes of the mean
scores of the best of each rotamer. Members that see the same queries share their batches.
"""

import argparse
import copy
import os

import numpy as np
import torch

from data.folds import FOLDS, fold_tables, small_folds
from data.log import log
from training import networks as nc
from training.chi1_data import LETTERS, Database, Lists, candidates, drop_shifts

MEMBERS = 3
GROUP = 10
STEEPNESS, EMPTY_GROUP = (
    7.0,
    1.0,
)  # log likelihood of a group's mean from 0 to 1; the mean that a small group is given
SURVIVORS = 101
ANGLE_ERROR = 11.0  # degrees, of the predicted angles that candidates are selected by
PAIRS_BATCH, LISTS_BATCH = 1024, 32
CHUNK = 500  # queries of a part of the held-out lists


def fresh_members(train, seed):
    """Untrained members, standardised on pairs of `train`."""
    sample = train.of_pairs(*train.pairs(4, np.random.default_rng(6)))[0]
    members = []
    for m in range(MEMBERS):
        torch.manual_seed(seed + m)
        members.append(nc.Member(39, 15, 1))
        members[-1].standardise_on(sample, floor=0.02)
    return members


def train_on_pairs(args, members, state, train, held, rate, seed):
    """Trains members on pairs of `train`; they stop on those of `held`."""
    ensemble = nc.Ensemble(members)
    held_pairs = held.of_pairs(*held.pairs(args.per_query, np.random.default_rng(5)))

    def epoch(rng):
        query, fragment = train.pairs(args.per_query, rng)
        size = int(np.clip(len(query) // 60, 128, PAIRS_BATCH))
        for k in range(0, len(query) - size // 2, size):
            x, other = train.of_pairs(query[k : k + size], fragment[k : k + size])
            yield drop_shifts(x, rng), other

    def loss_of(model, batch):
        return sum(((out[:, 0] - batch[1]) ** 2).mean() for out in model(batch[0]))

    def validate(model):
        return loss_of(model, held_pairs) / len(members)

    label = os.path.basename(state)
    schedule = (args.epochs, rate, 0.02, args.patience)
    nc.fit(ensemble, state, epoch, loss_of, validate, *schedule, label, seed)
    ensemble.eval()
    return list(ensemble.members)


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


def list_loss(ensemble, x, rotamer, truth):
    """Cross entropy of the true rotamer, summed over the members, when a group's likelihood falls
    with its mean, as chi1.tab will have it."""
    total = 0.0
    for out in ensemble(x.flatten(0, 1)):
        mean = group_means(out[:, 0].view(x.shape[:2]), rotamer)
        held = mean.clamp(0, 1)
        likelihood = -STEEPNESS * (held + 0.05 * (mean - held))
        total = total + torch.nn.functional.cross_entropy(likelihood, truth)
    return total


def train_on_lists(args, members, state, train, held, seed):
    """Members trained further on what the run makes of their scores, and their held-out loss."""
    ensemble = nc.Ensemble(members)

    def epoch(rng):
        order = rng.permutation(len(train))
        for k in range(0, len(order) - 8, LISTS_BATCH):
            i = torch.from_numpy(order[k : k + LISTS_BATCH])
            yield drop_shifts(train.x[i], rng), train.rotamer[i], train.truth[i]

    def validate(model):
        total = 0.0
        for k in range(0, len(held), CHUNK):
            part = slice(k, k + CHUNK)
            truth = held.truth[part]
            total += len(truth) * list_loss(model, held.x[part], held.rotamer[part], truth)
        return total / len(held) / len(members) if len(held) else float("nan")

    label = os.path.basename(state)
    schedule = (args.list_epochs, args.list_rate, 0.02, args.patience)
    score = nc.fit(
        ensemble,
        state,
        epoch,
        lambda model, b: list_loss(model, *b),
        validate,
        *schedule,
        label,
        seed,
    )
    ensemble.eval()
    return list(ensemble.members), score


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
        # The first training is on residues with computed shifts, which are ten times as many.
        chains, self.first_lists = self.with_candidates(chains, pool, rng)
        queries, self.lists = self.with_candidates(queries, pool, rng)
        self.fold = fold[queries]
        self.seed = args.seed * 10000 + ord(letter) * 10
        self.first = self.first_members()

    def with_candidates(self, queries, pool, rng):
        """Queries with at least three candidates, and their lists."""
        found = candidates(self.db, queries, pool, rng, ANGLE_ERROR, 0.08, SURVIVORS)
        kept = np.array([len(f) >= 3 for f in found], bool)
        return queries[kept], Lists(self.db, queries[kept], [f for f in found if len(f) >= 3])

    def state(self, suffix):
        return os.path.join(self.args.state, "chi1_%s%s" % (self.letter, suffix))

    def first_members(self):
        part = np.arange(len(self.first_lists)) < len(self.first_lists) * 9 // 10
        train, held = self.first_lists.some(part), self.first_lists.some(~part)
        members, state = fresh_members(train, self.seed), self.state(".first")
        return train_on_pairs(self.args, members, state, train, held, self.args.rate, self.seed)

    def further(self, name, members, train, held, seed):
        """(members, score) trained on pairs, then on lists."""
        members, state = copy.deepcopy(members), self.state(name)
        lists = self.lists.some(train), self.lists.some(held)
        members = train_on_pairs(self.args, members, state, *lists, self.args.rate2, seed)
        return train_on_lists(self.args, members, state + ".list", *lists, seed)

    def members(self):
        """The shipped members, each stopped by another small fold, and their scores."""
        members, scores = [], []
        for m, start in enumerate(self.first):
            held = self.fold == m
            found, score = self.further(".m%d" % m, [start], ~held, held, self.seed + m)
            members += found
            scores.append(score)
        return members, scores

    def members_of_fold(self, f):
        mine = self.fold % FOLDS == f
        stop = (self.fold % FOLDS == (f + 1) % FOLDS) & (self.fold < 2 * FOLDS)
        return self.further(".fold%d" % f, self.first, ~mine & ~stop, stop, self.seed + 5 + f)[0]


def train_letter(args, db, fold, letter):
    """Trains and writes the networks of a residue type, and those of the folds."""
    training = LetterTraining(args, db, fold, letter)
    members, scores = training.members()
    nc.write_level(args.out, "chi1_" + letter, 1, members)
    for f in range(FOLDS):
        members = training.members_of_fold(f)
        nc.write_level(fold_tables(args.cross, f), "chi1_" + letter, 1, members)
    scores = " ".join("%.4f" % score for score in scores)
    log("%s: %d queries, held-out cross entropy %s" % (letter, len(training.lists), scores))


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    for name, text in (
        ("--database", "database file of the paired proteins"),
        ("--proteins", "proteins.tsv: source word, cluster of each protein"),
        ("--labels", "labels.tsv.gz: which chi1 angles are trusted"),
        ("--work", "work directory with the computed shifts"),
        ("--cross", "directory that gets the tables of each fold of the cross-validation"),
        ("--state", "directory of the resumable member states"),
        ("--out", "directory that gets the weight tables"),
    ):
        parser.add_argument(name, required=True, help=text)
    for name, default, text in (
        ("--seed", 1, None),
        ("--epochs", 8, None),
        ("--list-epochs", 6, None),
        ("--patience", 6, None),
        ("--first-queries", 3000, "most queries of the first training"),
        ("--per-query", 24, "fragments of a query in an epoch of pairs"),
        ("--pool", 12000, "fragments of one type to choose candidates from"),
    ):
        parser.add_argument(name, type=int, default=default, help=text)
    for name, default, text in (
        ("--rate", 4e-3, None),
        ("--rate2", 1e-3, "of the second training, on measured shifts"),
        ("--list-rate", 7e-4, "of the third training, on whole lists"),
    ):
        parser.add_argument(name, type=float, default=default, help=text)
    parser.add_argument("--letters", default=LETTERS)
    return parser.parse_args()


def main():
    args = arguments()
    os.makedirs(args.state, exist_ok=True)
    os.makedirs(args.out, exist_ok=True)
    db = Database(args.database, args.proteins, args.labels, args.work)
    clusters = np.where(db.paired, db.cluster, db.cluster[db.paired][0])
    fold = np.where(db.paired, small_folds(args.work, clusters), -1)
    log("%d rows, %d with a trusted chi1" % (len(db.phi), db.trusted.sum()))
    for letter in args.letters:
        train_letter(args, db, fold, letter)
    log("done")


if __name__ == "__main__":
    main()
