"""Labels proteins without a known structure for the training of the networks.

    tools/run.py training.teacher --work WORK

A convolutional network that sees 41 residues, more than the program's networks can, is trained on
computed and then on measured shifts (phi/psi boxes and helix, strand, coil at once) and applied to
the proteins of WORK/unlabelled (data/unlabelled.py). What it expects of each residue is the target
of the smaller networks there. For each fold of the cross-validation there is a teacher that never
saw its proteins.

Writes WORK/unlabelled/teacher.npz: `map` (set x residue x 324, shares of the boxes, in 1/255 of the
residue's highest), `peak` and `ss` (set x residue x 3 shares); set f for fold f, the last one of a
teacher of all proteins.
"""
import argparse
import copy
import os

import numpy as np
import torch
from torch import nn

from data.folds import FOLDS
from data.log import log
from data.rows import FLAGS, VALUES, read_dump
from training import networks as nc
from training import surface
from training.map_figures import coverage
from training.windows import NOISE, ComputedVectors, MeasuredVectors

CROP = 48
SPREAD = torch.tensor([0.5, 3.0, 0.4, 1.5, 1.7, 1.5])  # HN N HA C CA CB, ppm


class Teacher(nn.Module):
    def __init__(self, width=80, blocks=5, drop=0.15):
        super().__init__()
        self.first = nn.Conv1d(33, width, 1)
        self.blocks = nn.ModuleList(
            [
                nn.Conv1d(width, width, 9 if b == 0 else 5, padding=4 if b == 0 else 2)
                for b in range(blocks)
            ]
        )
        self.boxes, self.states = nn.Conv1d(width, 324, 1), nn.Conv1d(width, 3, 1)
        self.drop = nn.Dropout(drop)

    def forward(self, x):
        h = torch.relu(self.first(x))
        for block in self.blocks:
            h = h + self.drop(torch.relu(block(h)))
        return self.boxes(h).transpose(1, 2), self.states(h).transpose(1, 2)


def prepared(x):
    """Input planes of residue vectors (... x 32): shifts in units of their spread and a mark of the
    residue."""
    x = torch.cat([x, torch.ones(*x.shape[:-1], 1)], -1)
    x[..., 0:12:2] = x[..., 0:12:2] / SPREAD
    return x.transpose(-1, -2)


def crops(chains, rng):
    out = []
    for first, last in chains:
        for _ in range(max(1, round((last - first) / CROP))):
            start = first + (
                int(rng.integers(0, last - first - CROP + 1)) if last - first > CROP else 0
            )
            out.append((start, min(start + CROP, last)))
    rng.shuffle(out)
    return out


def batch_of(data, places, variant, target_of):
    n = len(places)
    x, ss = torch.zeros(n, CROP, 32), torch.full((n, CROP), 255)
    rows = torch.full((n, CROP), -1)
    for k, (first, last) in enumerate(places):
        x[k, : last - first] = data.x[variant[k], first:last]
        ss[k, : last - first] = data.label[first:last]
        rows[k, : last - first] = torch.arange(first, last)
    x[:, :, VALUES] += torch.randn(n, CROP, 6) * NOISE * (x[:, :, FLAGS] == 0)
    planes = prepared(x)
    planes[:, 32] = (rows >= 0).float()
    has_map = (rows >= 0) & data.mapped[rows.clamp(min=0)]
    return planes, ss, has_map, target_of(rows[has_map])


def train(net, data, chains, epochs, rate, seed, label, state):
    """Trains `net` on crops of `chains`, whose residues `data.mapped` have known angles."""
    if os.path.exists(state):
        net.load_state_dict(torch.load(state))
        return net.eval()

    def target_of(rows):
        t = surface.bumps(data.phi[rows], data.psi[rows], 22.0, 1.0)
        return t / t.sum(1, keepdim=True), data.weight[rows]

    def loss_of(planes, ss, has_map, maps):
        target, weight = maps
        boxes, states = net(planes)
        known = ss < 3
        expected = -(torch.log_softmax(boxes[has_map], 1) * target).sum(1)
        loss = (expected * weight).sum() / weight.sum().clamp(min=1)
        return loss + nn.functional.cross_entropy(states[known], ss[known].long())

    optimiser = torch.optim.AdamW(net.parameters(), lr=rate, weight_decay=0.01)
    for epoch in range(epochs):
        nc.set_rate(optimiser, rate, epoch, epochs)
        torch.manual_seed(seed * 1000 + epoch)
        rng = np.random.default_rng([seed, epoch])
        places, total, count = crops(chains, rng), 0.0, 0
        net.train()
        for k in range(0, len(places), 32):
            part = places[k : k + 32]
            variant = rng.integers(0, len(data.has), len(part))
            loss = loss_of(*batch_of(data, part, variant, target_of))
            optimiser.zero_grad()
            loss.backward()
            optimiser.step()
            total, count = total + float(loss.detach()), count + 1
    log("%s: loss %.4f after %d epochs" % (label, total / count, epochs))
    torch.save(net.state_dict(), state)
    return net.eval()


def apply(net, x, chains):
    boxes, states = torch.zeros(len(x), 324), torch.zeros(len(x), 3)
    with torch.no_grad():
        for first, last in chains:
            b, s = net(prepared(x[None, first:last]))
            boxes[first:last], states[first:last] = b[0].softmax(1), s[0].softmax(1)
    return boxes, states


class TestFigures:
    """What the teachers of the folds are worth on the proteins that they never saw."""

    def __init__(self, data):
        self.data = data
        self.maps, self.rows = [], []
        self.right = self.seen = 0

    def add(self, net, f):
        data = self.data
        tested = [c for c in data.chains if data.fold[c[0]] % FOLDS == f and data.tested[c[0]]]
        boxes, states = apply(net, data.x[0], tested)
        rows = np.concatenate([np.arange(a + 2, b - 2) for a, b in tested if b - a > 4])
        rows = rows[data.mapped[rows].numpy()]
        self.maps.append(boxes[rows])
        self.rows.append(rows)
        rows = np.concatenate([np.arange(a, b) for a, b in tested])
        rows = rows[(data.label[rows] < 3).numpy() & data.good[0][rows]]
        self.right += int((states[rows].argmax(1) == data.label[rows]).sum())
        self.seen += len(rows)

    def report(self):
        q, rows = torch.cat(self.maps).numpy(), np.concatenate(self.rows)
        phi, psi = self.data.phi[rows].numpy(), self.data.psi[rows].numpy()
        wrong = coverage(q, phi, psi, 0.9)
        log("phi/psi of unseen proteins: at 90 %% wrong %.4f (%d residues)" % (wrong, len(rows)))
        share = 100 * self.right / self.seen
        log(
            "Q3 of unseen proteins %.2f %% (%d residues with at least three shifts)"
            % (share, self.seen)
        )


def long_enough(chains):
    return [c for c in chains if c[1] - c[0] >= 8]


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("--work", required=True)
    parser.add_argument("--variants", default="full,noproton,dropA,dropB,dropC,dropD")
    parser.add_argument("--first-epochs", type=int, default=10)
    parser.add_argument("--epochs", type=int, default=8)
    parser.add_argument("--seed", type=int, default=3)
    args = parser.parse_args()
    folder = os.path.join(args.work, "unlabelled")

    def state(name):
        return os.path.join(folder, "teacher.%s.pt" % name)

    data = MeasuredVectors(args.work, args.variants.split(","))
    data.mapped = torch.from_numpy(data.trusted)
    computed = ComputedVectors(args.work)
    computed.mapped, computed.weight = torch.ones(computed.pad, dtype=torch.bool), torch.ones(
        computed.pad
    )
    torch.manual_seed(args.seed)
    first_chains = [c for c in long_enough(computed.chains) if computed.unrelated[c[0]]]
    base = train(
        Teacher(),
        computed,
        first_chains,
        args.first_epochs,
        2e-3,
        args.seed,
        "computed shifts",
        state("first"),
    )
    unlabelled = read_dump(folder, "full")
    maps, peaks, states = [], [], []
    test = TestFigures(data)
    for f in list(range(FOLDS)) + [-1]:
        name = "fold%d" % f if f >= 0 else "all"
        chains = [c for c in long_enough(data.chains) if data.fold[c[0]] % FOLDS != f]
        net = train(
            copy.deepcopy(base), data, chains, args.epochs, 6e-4, args.seed + 1, name, state(name)
        )
        if f >= 0:
            test.add(net, f)
        b, s = apply(net, torch.from_numpy(unlabelled["x"]), unlabelled["chains"])
        peak = b.max(1).values
        maps.append((b / peak[:, None] * 255).round().to(torch.uint8).numpy())
        peaks.append(peak.numpy())
        states.append(s.numpy())
    test.report()
    np.savez_compressed(
        os.path.join(folder, "teacher.npz"),
        map=np.stack(maps),
        peak=np.stack(peaks),
        ss=np.stack(states),
    )


if __name__ == "__main__":
    main()
