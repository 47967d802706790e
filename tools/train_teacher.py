#!/usr/bin/python3
"""Labels proteins without a known structure for the training of the networks.

    tools/train_teacher.py --work WORK

A convolutional network that sees 41 residues, more than the program's networks can, is trained on computed and then on
measured shifts (phi/psi boxes and helix, strand, coil at once) and applied to the proteins of WORK/unlabelled
(tools/unlabelled.py). What it expects of each residue is the target of the smaller networks there. For each fold of
the cross-validation there is a teacher that never saw its proteins.

Writes WORK/unlabelled/teacher.npz: `map` (set x residue x 324, shares of the boxes, in 1/255 of the residue's highest),
`peak` and `ss` (set x residue x 3 shares); set f for fold f, the last one of a teacher of all proteins.
"""
import argparse
import copy
import os

import numpy as np
import torch
from torch import nn

import networks_common as nc
import train_secondary
import train_surface

CROP = 48
SPREAD = torch.tensor([0.5, 3.0, 0.4, 1.5, 1.7, 1.5])  # HN N HA C CA CB, ppm


class Teacher(nn.Module):
    def __init__(self, width=80, blocks=5, drop=0.15):
        super().__init__()
        self.first = nn.Conv1d(33, width, 1)
        self.blocks = nn.ModuleList([nn.Conv1d(width, width, 9 if b == 0 else 5, padding=4 if b == 0 else 2)
                                     for b in range(blocks)])
        self.boxes, self.states = nn.Conv1d(width, 324, 1), nn.Conv1d(width, 3, 1)
        self.drop = nn.Dropout(drop)

    def forward(self, x):
        h = torch.relu(self.first(x))
        for block in self.blocks:
            h = h + self.drop(torch.relu(block(h)))
        return self.boxes(h).transpose(1, 2), self.states(h).transpose(1, 2)


def prepared(x):
    """Input planes of residue vectors (... x 32): shifts in units of their spread and a mark of the residue."""
    x = torch.cat([x, torch.ones(*x.shape[:-1], 1)], -1)
    x[..., 0:12:2] = x[..., 0:12:2] / SPREAD
    return x.transpose(-1, -2)


def crops(chains, rng):
    out = []
    for first, last in chains:
        for _ in range(max(1, round((last - first) / CROP))):
            start = first + (int(rng.integers(0, last - first - CROP + 1)) if last - first > CROP else 0)
            out.append((start, min(start + CROP, last)))
    rng.shuffle(out)
    return out


def batch_of(data, places, variant, trusted, target_of):
    n = len(places)
    x, ss = torch.zeros(n, CROP, 32), torch.full((n, CROP), 255)
    rows = torch.full((n, CROP), -1)
    for k, (first, last) in enumerate(places):
        x[k, : last - first] = data.x[variant[k], first:last]
        ss[k, : last - first] = data.label[first:last]
        rows[k, : last - first] = torch.arange(first, last)
    x[:, :, 0:12:2] += torch.randn(n, CROP, 6) * train_secondary.NOISE * (x[:, :, 1:12:2] == 0)
    planes = prepared(x)
    planes[:, 32] = (rows >= 0).float()
    has_map = (rows >= 0) & trusted[rows.clamp(min=0)]
    return planes, ss, has_map, target_of(rows[has_map])


def train(net, data, chains, trusted, phi, psi, weight, variants, epochs, rate, seed, label, state):
    if os.path.exists(state):
        net.load_state_dict(torch.load(state))
        return net.eval()

    def target_of(rows):
        t = train_surface.bumps(phi[rows], psi[rows], 22.0, 1.0)
        return t / t.sum(1, keepdim=True), weight[rows]

    optimiser = torch.optim.AdamW(net.parameters(), lr=rate, weight_decay=0.01)
    for epoch in range(epochs):
        for group in optimiser.param_groups:
            group["lr"] = rate * (0.02 + 0.98 * 0.5 * (1 + np.cos(np.pi * epoch / epochs)))
        torch.manual_seed(seed * 1000 + epoch)
        rng = np.random.default_rng([seed, epoch])
        places, total, count = crops(chains, rng), 0.0, 0
        net.train()
        for k in range(0, len(places), 32):
            part = places[k:k + 32]
            planes, ss, has_map, (target, w) = batch_of(data, part, rng.integers(0, variants, len(part)), trusted, target_of)
            boxes, states = net(planes)
            known = ss < 3
            loss = (-(torch.log_softmax(boxes[has_map], 1) * target).sum(1) * w).sum() / w.sum().clamp(min=1)
            loss = loss + nn.functional.cross_entropy(states[known], ss[known].long())
            optimiser.zero_grad()
            loss.backward()
            optimiser.step()
            total, count = total + float(loss.detach()), count + 1
    nc.log("%s: loss %.4f after %d epochs" % (label, total / count, epochs))
    torch.save(net.state_dict(), state)
    return net.eval()


def apply(net, x, chains):
    boxes, states = torch.zeros(len(x), 324), torch.zeros(len(x), 3)
    with torch.no_grad():
        for first, last in chains:
            b, s = net(prepared(x[None, first:last]))
            boxes[first:last], states[first:last] = b[0].softmax(1), s[0].softmax(1)
    return boxes, states


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--work", required=True)
    parser.add_argument("--variants", default="full,noproton,dropA,dropB,dropC,dropD")
    parser.add_argument("--first-epochs", type=int, default=24)
    parser.add_argument("--epochs", type=int, default=12)
    parser.add_argument("--seed", type=int, default=3)
    args = parser.parse_args()
    data = train_secondary.ShiftData(args.work, args.variants.split(","))
    computed = train_secondary.ComputedShiftData(args.work)
    saved = np.load(os.path.join(args.work, "synthetic", "input.npz"))
    f32 = lambda v: torch.from_numpy(np.asarray(v, dtype=np.float32))  # noqa: E731
    long_enough = lambda chains: [c for c in chains if c[1] - c[0] >= 8]  # noqa: E731
    state = lambda name: os.path.join(args.work, "unlabelled", "teacher.%s.pt" % name)  # noqa: E731
    torch.manual_seed(args.seed)
    everywhere = torch.ones(computed.count, dtype=torch.bool)
    base = train(Teacher(), computed, [c for c in long_enough(computed.first["chains"]) if computed.usable[c[0]]], everywhere,
                 f32(saved["phi"]), f32(saved["psi"]), torch.ones(computed.count), len(computed.x), args.first_epochs, 2e-3,
                 args.seed, "computed shifts", state("first"))
    first = data.first
    phi, psi = f32(first["phi"]), f32(first["psi"])
    trusted = torch.from_numpy(first["use_phipsi"] & (first["phi"] < 999) & (first["psi"] < 999))
    unlabelled = nc.read_dump(os.path.join(args.work, "unlabelled"), "full")
    maps, peaks, states = [], [], []
    test_maps, test_rows = [], []
    right = seen = 0
    for f in list(range(nc.FOLDS)) + [-1]:
        chains = [c for c in long_enough(first["chains"]) if data.fold[c[0]] % nc.FOLDS != f]
        net = train(copy.deepcopy(base), data, chains, trusted, phi, psi, data.weight, len(data.variants), args.epochs, 6e-4,
                    args.seed + 1, "fold %d" % f if f >= 0 else "all", state("fold%d" % f if f >= 0 else "all"))
        if f >= 0:
            tested = [c for c in first["chains"] if data.fold[c[0]] % nc.FOLDS == f and data.tested[c[0]]]
            b, s = apply(net, data.x[0], tested)
            rows = np.concatenate([np.arange(a + 2, b - 2) for a, b in tested if b - a > 4])
            rows = rows[trusted[rows].numpy()]
            test_maps.append(b[rows])
            test_rows.append(rows)
            rows = np.concatenate([np.arange(a, b) for a, b in tested])
            rows = rows[(data.label[rows] < 3).numpy() & data.good[0][rows]]
            right += int((s[rows].argmax(1) == data.label[rows]).sum())
            seen += len(rows)
        b, s = apply(net, torch.from_numpy(unlabelled["x"]), unlabelled["chains"])
        peak = b.max(1).values
        maps.append((b / peak[:, None] * 255).round().to(torch.uint8).numpy())
        peaks.append(peak.numpy())
        states.append(s.numpy())
    q, rows = torch.cat(test_maps).numpy(), np.concatenate(test_rows)
    nc.log("phi/psi of unseen proteins: at 90 %% wrong %.4f (%d residues)"
           % (train_surface.coverage(q, phi[rows].numpy(), psi[rows].numpy(), 0.9), len(rows)))
    nc.log("Q3 of unseen proteins %.2f %% (%d residues with at least three shifts)" % (100 * right / seen, seen))
    np.savez_compressed(os.path.join(args.work, "unlabelled", "teacher.npz"), map=np.stack(maps), peak=np.stack(peaks),
                        ss=np.stack(states))


if __name__ == "__main__":
    main()
