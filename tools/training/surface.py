"""Trains the phi/psi surface networks: surf20 (two levels) and surf20_hyb (one level).

The output of a box is trained, after the fixed prior, towards the height of a round bump at the
residue's true phi/psi. Squared error makes the map the residue's smoothed posterior density: one
high bump when the shifts decide, two with their shares when they leave a choice. The prior is
divided out of the last layer on writing.

Every member is first trained on chains with computed shifts (training/shifts.py), which are ten
times as many, and then on the measured ones. The first training knows no relative of any protein
with shifts and coordinates, so all later ones, on all proteins or without a fold of the
cross-validation, start from the same states. Members that see the same residues share their
batches. Every training has a state file of its own, so an interrupted run goes on where it stopped.
"""

import argparse
import copy
import os

import numpy as np
import torch

from data.folds import FOLDS, fold_tables
from data.log import log
from training import networks as nc
from training.map_figures import coverage, figures
from training.windows import ComputedVectors, MeasuredVectors, UnlabelledVectors, scores_first

REACH = 2
# Share of each variant of the measured proteins: of surf20, which sees residues with most shifts,
# and of surf20_hyb.
STANDARD, STANDARD_REST = {"full": 3.0, "noproton": 0.0}, 0.5
HEAVY, HEAVY_REST = {"full": 1.0, "noproton": 2.0}, 0.8
COMPUTED_STANDARD, COMPUTED_HEAVY = (2.0, 1.0, 1.0, 0.0), (1.0, 1.0, 1.0, 2.0)
CHUNK = 2000
SHOWN = 8  # of so many residues one enters the figures that take long


def shares_of(weights):
    weights = np.array(weights)
    return weights / weights.sum()


def standard(name):
    return STANDARD.get(name, STANDARD_REST)


def heavy(name):
    return HEAVY.get(name, HEAVY_REST)


def level1_input(vectors, variant, windows, noisy):
    """Network input (n x 160) of windows (n x 5): per residue the substitution scores, then the
    shifts."""
    x = vectors.take(torch.from_numpy(variant), torch.from_numpy(windows), noisy)
    return scores_first(x).reshape(len(windows), 160)


def windows_of(vectors, usable, padded):
    """Centres among `usable` and their windows; with `padded` the outermost two residues may be
    missing."""
    centres, windows = vectors.windows(REACH, padded)
    ok = usable[centres]
    if padded:
        ok &= (windows[:, 1] != vectors.pad) & (windows[:, 3] != vectors.pad)
    ok &= vectors.has[0][windows].all(1)
    return centres[ok], windows[ok]


def bumps(phi, psi, sigma, height):
    """Target maps: a circular Gaussian bump at (phi, psi), n x 324."""
    centres = torch.from_numpy(nc.BOX_CENTRES.astype(np.float32))

    def axis(angle):
        d = torch.remainder(angle[:, None] - centres + 180.0, 360.0) - 180.0
        return torch.exp(-0.5 * (d / sigma) ** 2)

    return (height * axis(phi)[:, :, None] * axis(psi)[:, None, :]).reshape(len(phi), 324)


def surface_loss(q, target, weight, lift=1.0):
    """Squared error; `lift` above 1 makes too low cost more than too high, so that second choices
    stand out."""
    residual = q - target
    with torch.no_grad():
        cost = (weight / weight.sum())[:, None].expand_as(residual).clone()
        if lift != 1.0:
            cost[residual < 0] *= lift
        # The program clamps at zero: going below it where nothing is expected costs little.
        cost[(q < 0) & (target < 0.01)] *= 0.04
    return (cost * residual * residual).sum()


class MapTask:
    """Windows with known angles as batches of (input, target map, weight).

    `inputs_of(variant, windows, noisy)` makes network input, `choose(rng, rows)` picks the variant
    of each row.
    """

    def __init__(self, vectors, usable, padded, inputs_of, choose, args):
        self.vectors, self.inputs_of, self.choose, self.args = vectors, inputs_of, choose, args
        self.centres, self.windows = windows_of(vectors, usable, padded)
        self.weight = getattr(vectors, "weight", torch.ones(vectors.pad))

    def rows(self, mask):
        """Numbers of the windows whose centre is in `mask`."""
        return np.flatnonzero(mask[self.centres])

    def targets(self, rows):
        c = self.centres[rows]
        return bumps(self.vectors.phi[c], self.vectors.psi[c], self.args.sigma, self.args.height)

    def batches(self, rows, rng):
        order = rng.permutation(rows)
        variant = self.vectors.present(self.choose(rng, order), self.windows[order])
        size = self.args.batch
        for k in range(0, len(order) - size // 2, size):
            i = order[k : k + size]
            x = self.inputs_of(variant[k : k + size], self.windows[i], True)
            yield x, self.targets(i), self.weight[self.centres[i]]

    def validation(self, rows, lift):
        """A function that gives the loss of an ensemble's members on `rows`, always in the same
        variants."""
        variant = self.choose(np.random.default_rng(7), rows)
        variant = self.vectors.present(variant, self.windows[rows])
        target, weight = self.targets(rows), self.weight[self.centres[rows]]

        def loss(ensemble):
            total = 0.0
            for k in range(0, len(rows), CHUNK):
                part = slice(k, k + CHUNK)
                x = self.inputs_of(variant[part], self.windows[rows[part]], False)
                share = weight[part].sum() / weight.sum() / len(ensemble.members)
                for q in ensemble(x):
                    total += share * surface_loss(q.clamp(min=0), target[part], weight[part], lift)
            return total

        return loss

    def start_output(self, net, rows):
        """Starts the output of a fresh network at the mean map."""
        some = rows[:: max(1, len(rows) // 4000)]
        with torch.no_grad():
            net.wl2.weight.mul_(0.3)
            net.wl2.bias.copy_(self.targets(some).mean(0))


def level1_task(vectors, usable, padded, mix, args):
    def choose(rng, rows):
        return rng.choice(len(mix), len(rows), p=mix)

    def inputs_of(variant, windows, noisy):
        return level1_input(vectors, variant, windows, noisy)

    return MapTask(vectors, usable, padded, inputs_of, choose, args)


def level2_task(vectors, usable, maps, choose, args):
    """Like `level1_task`; `maps` holds level 1 maps of all residues, one tensor a variant, narrowed
    to some boxes."""

    def inputs_of(variant, windows, _):
        windows = torch.from_numpy(windows)
        x = torch.empty(len(windows), 5 * maps[0].shape[1])
        for v in np.unique(variant):
            k = np.flatnonzero(variant == v)
            x[k] = maps[v][windows[k]].reshape(len(k), -1)
        return x

    return MapTask(vectors, usable, False, inputs_of, choose, args)


class TeacherTask:
    """Batches of the residues of unknown structure, towards the maps that the teacher expects."""

    def __init__(self, vectors, teacher, padded, mix, args):
        self.vectors, self.teacher, self.args = vectors, teacher, args
        # The dumps of these proteins are fewer: one thinned out variant stands for all.
        self.shares = shares_of([mix("full"), mix("noproton"), 3 * mix("dropA")])
        everywhere = np.ones(vectors.pad, bool)
        self.centres, self.windows = windows_of(vectors, everywhere, padded)
        zero = torch.zeros(1)
        self.mass = bumps(zero, zero, args.sigma, args.height).sum()

    def targets(self, centres):
        peak = self.vectors.peak[self.teacher, centres] / 255
        share = self.vectors.map[self.teacher, centres].float() * peak[:, None]
        return share / share.sum(1, keepdim=True) * self.mass

    def join(self, batches, rng):
        """The batches, each with as many residues of unknown structure."""
        for x, target, weight in batches:
            i = rng.integers(0, len(self.centres), len(x))
            variant = rng.choice(len(self.shares), len(i), p=self.shares)
            more = self.targets(torch.from_numpy(self.centres[i]))
            more_x = level1_input(self.vectors, variant, self.windows[i], True)
            more_weight = torch.full((len(i),), self.args.unlabelled)
            yield (
                torch.cat([x, more_x]),
                torch.cat([target, more]),
                torch.cat([weight, more_weight]),
            )


def fit(members, state, task, train, held, lift, schedule, args, seed, teacher=None):
    """Trains `members` on the windows `train` of `task`, stopped by `held`. schedule: epochs, rate,
    decay, patience."""
    epochs, rate, decay, patience = schedule
    ensemble = nc.Ensemble(members)

    def epoch(rng):
        batches = task.batches(train, rng)
        return batches if teacher is None else teacher.join(batches, rng)

    def loss_of(model, batch):
        return sum(surface_loss(q, batch[1], batch[2], lift) for q in model(batch[0]))

    label = os.path.basename(state)
    validate = task.validation(held, lift)
    score = nc.fit(
        ensemble, state, epoch, loss_of, validate, epochs, rate, decay, patience, label, seed
    )
    ensemble.eval()
    log("%s held-out %.5f" % (label, score))
    return list(ensemble.members)


def first_level1(computed, args, name, padded, shares, lift, seed, start, epochs):
    """Level 1 members trained on computed shifts, from `start` if there are any; `shares` are those
    of their copies."""
    shares = shares_of(shares)
    task = level1_task(computed, computed.unrelated, padded, shares, args)
    held, train = task.rows(computed.held), task.rows(~computed.held)
    members = copy.deepcopy(start)
    for m in range(len(start), args.members):
        torch.manual_seed(seed + m)
        net = nc.Member(160, 180, 324, drop=args.drop)
        rng = np.random.default_rng(seed + m)
        some = train[rng.choice(len(train), min(20000, len(train)), replace=False)]
        copies = rng.choice(len(shares), len(some), p=shares)
        net.standardise_on(level1_input(computed, copies, task.windows[some], False))
        task.start_output(net, train)
        members.append(net)
    epochs = nc.epochs_for(epochs, len(train))
    schedule = (epochs, args.first_rate, args.decay, epochs)
    state = os.path.join(args.state, name)
    return fit(members, state, task, train, held, lift, schedule, args, seed)


def train_further(args, name, task, first, lift, schedule, seed, splits, teacher=None):
    """Members trained further on measured shifts from the members `first`.

    `splits` has for each member the masks of its training and of its stopping residues; members
    with the same ones are trained together.
    """
    if len(splits) == 1:
        groups = [(name, first)]
    else:
        groups = [("%s.m%d" % (name, m), [start]) for m, start in enumerate(first)]
    members = []
    for number, (split, (label, start)) in enumerate(zip(splits, groups)):
        train, held = (task.rows(mask) for mask in split)
        torch.manual_seed(seed + number)
        state = os.path.join(args.state, label)
        start = copy.deepcopy(start)
        members += fit(
            start, state, task, train, held, lift, schedule, args, seed + number, teacher
        )
    return members


def first_level2(computed, args, name, maps, seed):
    """Level 2 members trained on the level 1 maps of the chains with computed shifts."""

    def choose(rng, rows):
        return rng.integers(len(maps), size=len(rows))

    task = level2_task(computed, computed.unrelated, maps, choose, args)
    held, train = task.rows(computed.held), task.rows(~computed.held)
    members = []
    for m in range(args.members):
        torch.manual_seed(seed + m)
        net = nc.Member(5 * maps[0].shape[1], 360, 324, live=args.live, drop=args.drop2)
        some = np.random.default_rng(3).choice(train, min(20000, len(train)), replace=False)
        net.standardise_on(
            task.inputs_of(np.zeros(len(some), int), task.windows[some], False), floor=0.004
        )
        task.start_output(net, train)
        members.append(net)
    epochs = nc.epochs_for(args.first_epochs2, len(train))
    schedule = (epochs, args.first_rate2, args.decay2, epochs)
    state = os.path.join(args.state, name)
    return fit(members, state, task, train, held, args.lift, schedule, args, seed)


def level1_maps(data, variant, members_of):
    """Mean level 1 maps (after the prior) of every residue of a variant, with the chain's mean
    where there is no window. members_of(row) gives the members for the chain of a residue."""
    v = data.variants.index(variant)
    out = torch.zeros(data.pad + 1, 324)
    with torch.no_grad():
        for first, last in data.chains:
            # A thinned-out variant may lack residues at the ends.
            present = np.concatenate([[False], data.has[v][first:last], [False]]).astype(int)
            edges = np.flatnonzero(np.diff(present))
            for start, stop in zip(first + edges[::2], first + edges[1::2]):
                if stop - start < 2 * REACH + 1:
                    continue
                windows = np.array([range(i - 2, i + 3) for i in range(start + 2, stop - 2)])
                x = level1_input(data, np.full(len(windows), v), windows, False)
                q = mean_output(members_of(start), x)
                out[start:stop] = q.mean(0)
                out[start + 2 : stop - 2] = q
    return out


def mean_output(members, x):
    return sum(m(x) for m in members) / len(members)


def computed_level1_maps(computed, members, boxes, copy_number):
    """Mean level 1 maps of the chains with computed shifts, narrowed to `boxes`; 0 where there is
    no window."""
    centres, windows = windows_of(computed, computed.unrelated, False)
    torch.manual_seed(copy_number)  # the noise is the same whether or not the training was resumed
    out = torch.zeros(computed.pad + 1, len(boxes))
    with torch.no_grad():
        for k in range(0, len(centres), 8192):
            w = windows[k : k + 8192]
            x = level1_input(computed, np.full(len(w), copy_number), w, True)
            out[centres[k : k + 8192]] = mean_output(members, x)[:, boxes]
    return out


def widen_level2(net, boxes):
    """The member with all 1620 inputs, in raw level 1 outputs (before the prior)."""
    full = nc.Member(1620, 360, 324, live=net.live)
    left_out = ("wi.weight", "mean", "scale")
    kept = {k: v for k, v in net.state_dict().items() if k not in left_out}
    full.load_state_dict(kept, strict=False)
    columns = np.concatenate([p * 324 + boxes for p in range(5)])
    prior = torch.from_numpy(np.tile(nc.BOX_PRIOR, 5)[columns])
    with torch.no_grad():
        full.wi.weight.zero_()
        full.wi.weight[:, columns] = net.wi.weight
        full.mean[columns] = net.mean / prior
        full.scale[columns] = net.scale / prior
    return full


def report(data, name, members_of, maps=None):
    """Figures of the test proteins, each under the members that never saw its fold; level 2 if
    there are `maps`."""
    centres, windows = windows_of(data, data.trusted, False)
    for v, variant in enumerate(data.variants):
        if maps is not None and len(maps[v]) == 0:
            continue
        here = np.flatnonzero(data.has[v][windows].all(1) & data.tested[centres])
        q = torch.zeros(len(here), 324)
        with torch.no_grad():
            for f, members in members_of.items():
                mine = np.flatnonzero(data.fold[centres[here]] % FOLDS == f)
                i = here[mine]
                if maps is None:
                    x = level1_input(data, np.full(len(i), v), windows[i], False)
                else:
                    x = maps[v][torch.from_numpy(windows[i])].reshape(len(i), -1)
                q[mine] = mean_output(members, x)
        q, c = q.clamp(min=0).numpy(), centres[here]
        phi, psi = data.phi[c].numpy(), data.psi[c].numpy()
        text = figures(q[::SHOWN], phi[::SHOWN], psi[::SHOWN])
        log(
            "%s on %s: %s | at 90 %% wrong %.4f" % (name, variant, text, coverage(q, phi, psi, 0.9))
        )


class SurfaceTraining:
    """The stages of the training of one set of networks: all proteins, and without each fold."""

    def __init__(self, args):
        self.args = args
        self.data = MeasuredVectors(args.work, args.variants.split(","))
        self.computed = ComputedVectors(args.work)
        folder = os.path.join(args.work, "unlabelled")
        wanted = args.unlabelled > 0 and os.path.exists(folder)
        self.unlabelled = UnlabelledVectors(folder) if wanted else None
        log(
            "%d residues, %d variants, %d residues with computed shifts, "
            "%d of them in the first training"
            % (
                self.data.pad,
                len(self.data.variants),
                self.computed.pad,
                self.computed.unrelated.sum(),
            )
        )

    def teacher(self, number, padded, mix):
        if self.unlabelled is None:
            return None
        return TeacherTask(self.unlabelled, number, padded, mix, self.args)

    def level1(self, name, network, padded, mix, computed_shares, lift, seed, start, epochs):
        """(first members, members, members of each fold) of a level 1 network, with figures of the
        folds."""
        args, data = self.args, self.data
        first = first_level1(
            self.computed, args, name, padded, computed_shares, lift, seed, start, epochs
        )
        shares = shares_of([mix(variant) for variant in data.variants])
        task = level1_task(data, data.trusted, padded, shares, args)
        schedule = (args.epochs, args.rate, args.decay, args.patience)

        def further(label, seed, splits, number):
            # The teacher's maps are posterior densities, so they serve members alone that are
            # trained towards such, without a lift.
            teacher = self.teacher(number, padded, mix) if lift == 1.0 else None
            return train_further(args, label, task, first, lift, schedule, seed, splits, teacher)

        of_fold = {
            f: further("%s.fold%d" % (network, f), seed + 10 * (f + 1), [data.fold_split(f)], f)
            for f in range(FOLDS)
        }
        report(data, "hybrid" if padded else "level 1", of_fold)
        splits = [data.shipped_split(m) for m in range(args.members)]
        return first, further(network, seed, splits, -1), of_fold

    def level2(self, first, level1_of_fold):
        """Members and members of each fold of level 2, widened to all boxes.

        Level 2 must see level 1 as unseen proteins will: each residue's map comes from members that
        never saw its cluster.
        """
        args, data = self.args, self.data
        boxes = np.flatnonzero(nc.BOX_SHARE >= args.box_floor)

        def unseen(row):
            return level1_of_fold[data.fold[row] % FOLDS]

        maps = [
            level1_maps(data, v, unseen)[:, boxes].contiguous()
            if standard(v) > 0
            else torch.zeros(0, len(boxes))
            for v in data.variants
        ]
        seed = args.seed * 100 + 5
        first2 = first_level2(
            self.computed,
            args,
            "first.l2",
            [computed_level1_maps(self.computed, first, boxes, k) for k in range(3)],
            seed,
        )
        shares = shares_of([standard(variant) for variant in data.variants])

        def choose(rng, rows):
            return rng.choice(len(shares), len(rows), p=shares)

        task = level2_task(data, data.trusted, maps, choose, args)
        schedule = (args.epochs2, args.rate2, args.decay2, args.patience)

        def further(label, seed, splits):
            return train_further(args, label, task, first2, args.lift, schedule, seed, splits)

        of_fold = {
            f: further("surf20.l2.fold%d" % f, seed + 10 * (f + 1), [data.fold_split(f)])
            for f in range(FOLDS)
        }
        report(data, "level 2", of_fold, maps)
        splits = [data.shipped_split(m) for m in range(args.members)]
        members = further("surf20.l2", seed, splits)
        widened = {f: [widen_level2(m, boxes) for m in of] for f, of in of_fold.items()}
        return [widen_level2(m, boxes) for m in members], widened

    def write(self, name, level, members, of_fold):
        scale = 1.0 / nc.BOX_PRIOR.astype(np.float64)
        nc.write_level(self.args.out, name, level, members, scale)
        if self.args.cross:
            for f, fold_members in of_fold.items():
                nc.write_level(fold_tables(self.args.cross, f), name, level, fold_members, scale)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--work", default="work", help="work directory with the feature dumps")
    parser.add_argument("--state", required=True, help="directory of the resumable member states")
    parser.add_argument("--out", required=True, help="directory that gets the weight tables")
    parser.add_argument(
        "--cross",
        default="",
        help="directory that gets the tables of each fold of the cross-validation",
    )
    parser.add_argument("--variants", default="full,noproton,dropA,dropB,dropC,dropD")
    parser.add_argument("--members", type=int, default=3)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--sigma", type=float, default=22.0)
    parser.add_argument("--height", type=float, default=1.1)
    parser.add_argument(
        "--lift",
        type=float,
        default=20.0,
        help="weight of too low against too high, see surface_loss",
    )
    parser.add_argument(
        "--unlabelled", type=float, default=1.0, help="weight of residues without a known structure"
    )
    parser.add_argument("--first-epochs", type=int, default=12)
    parser.add_argument(
        "--hybrid-epochs", type=int, default=4, help="first training of surf20_hyb after surf20's"
    )
    parser.add_argument("--first-rate", type=float, default=2.5e-3)
    parser.add_argument("--first-epochs2", type=int, default=4)
    parser.add_argument("--first-rate2", type=float, default=1.4e-3)
    parser.add_argument("--epochs", type=int, default=10)
    parser.add_argument("--epochs2", type=int, default=4)
    parser.add_argument("--batch", type=int, default=512)
    parser.add_argument("--rate", type=float, default=6e-4)
    parser.add_argument("--rate2", type=float, default=7e-5)
    parser.add_argument("--decay", type=float, default=0.01)
    parser.add_argument("--decay2", type=float, default=0.05)
    parser.add_argument("--drop", type=float, default=0.0)
    parser.add_argument("--drop2", type=float, default=0.05)
    parser.add_argument("--patience", type=int, default=8)
    parser.add_argument("--live", type=int, default=224)
    parser.add_argument("--box-floor", type=float, default=0.0012)
    return parser.parse_args()


def main():
    args = arguments()
    os.makedirs(args.state, exist_ok=True)
    training = SurfaceTraining(args)
    seed = args.seed * 100
    first, members, of_fold = training.level1(
        "first.l1",
        "surf20.l1",
        False,
        standard,
        COMPUTED_STANDARD,
        1.0,
        seed,
        [],
        args.first_epochs,
    )
    training.write("surf20", 1, members, of_fold)
    training.write("surf20", 2, *training.level2(first, of_fold))
    # surf20_hyb sees the same input with other gaps, so it starts where surf20 does.
    _, members, of_fold = training.level1(
        "first.hyb",
        "surf20_hyb",
        True,
        heavy,
        COMPUTED_HEAVY,
        args.lift,
        seed + 50,
        first,
        args.hybrid_epochs,
    )
    training.write("surf20_hyb", 1, members, of_fold)
    log("done")


if __name__ == "__main__":
    main()
