#!/usr/bin/python3
"""Learns secondary shifts from structure, and computes them for chains whose structure alone is known.

    tools/train_shifts.py SOURCE WORK [--all]

A small perceptron sees sequence, phi, psi, chi1 and the DSSP state of five residues and gives the six secondary
shifts of the middle one. Two halves of the proteins train a model each; the residuals of a half under the other
half's model are what the model does not know: they are put back on the computed shifts as noise, drawn from residues
of like conformation, where shifts are to look like measured ones.

Writes to WORK/synthetic: `chains.tsv` (residues with computed shifts and their spread, for the database) and
`input.npz` (network input in the form of the feature dumps, with noise and gaps like those of real tables).
Proteins of the dev split take no part in the model, which is judged on them. Chains related to a protein that may be
a test case of the networks are marked; networks do not start from these.
"""
import argparse
import os

import numpy as np
import torch
from torch import nn

import dataset
import networks_common as nc

ATOMS = ("HN", "N", "HA", "C", "CA", "CB")  # order of the network input
DSSP = "HGIEBTSPC"
LETTERS = nc.PROFILE_LETTERS
REACH = 2
# Differently noisy copies of every chain: complete, or with the gaps of a feature dump.
COPIES = (None, "full", "dropA", "noproton")
WIDTH = 20 + 9 + 8  # letter, DSSP state, sine and cosine of three angles with a flag for chi1 and one for the residue


def describe(letter, dssp, phi, psi, chi1):
    """What the model sees of each residue, n x WIDTH; the last row stands for a place beyond the chain."""
    n = len(letter)
    x = np.zeros((n + 1, WIDTH), dtype=np.float32)
    place = {c: i for i, c in enumerate(LETTERS)}
    state = {c: i for i, c in enumerate(DSSP)}
    for i in range(n):
        if letter[i].upper() in place:
            x[i, place[letter[i].upper()]] = 1.0
        if dssp[i] in state:
            x[i, 20 + state[dssp[i]]] = 1.0
    for k, angle in enumerate((phi, psi, chi1)):
        known = angle < 999.0
        radians = np.deg2rad(np.where(known, angle, 0.0))
        x[:n, 29 + 2 * k] = np.where(known, np.sin(radians), 0.0)
        x[:n, 30 + 2 * k] = np.where(known, np.cos(radians), 0.0)
    x[:n, 35] = chi1 < 999.0
    x[:n, 36] = 1.0
    return x


def windows_of(chains, size):
    _, windows = nc.window_index(chains, REACH, True)
    return np.where(windows < 0, size, windows)


def network(seed):
    torch.manual_seed(seed)
    width = (2 * REACH + 1) * WIDTH
    return nn.Sequential(nn.Linear(width, 96), nn.Tanh(), nn.Dropout(0.1), nn.Linear(96, 48), nn.Tanh(), nn.Linear(48, 6))


def train(x, windows, y, known, weight, rows, held, scale, state, seed):
    """One model: heavy-tailed loss over the measured shifts, in units of `scale`."""
    net = network(seed)
    x, windows = torch.from_numpy(x), torch.from_numpy(windows)
    y, known = torch.from_numpy(y / scale), torch.from_numpy(known.astype(np.float32) * weight[:, None])

    def loss_on(model, i):
        d = model(x[windows[i]].flatten(1)) - y[i]
        return (known[i] * torch.log1p(0.5 * d * d)).sum() / known[i].sum()

    def epoch(rng):
        order = rng.permutation(rows)
        for k in range(0, len(order) - 128, 256):
            yield torch.from_numpy(order[k:k + 256])

    held = torch.from_numpy(held)
    nc.fit(net, state, epoch, loss_on, lambda model: loss_on(model, held), 30, 2e-3, 0.02, 8, os.path.basename(state), seed)
    net.eval()
    return net


def apply(nets, x, windows):
    x = torch.from_numpy(x)
    with torch.no_grad():
        parts = [sum(net(x[torch.from_numpy(windows[k:k + 8192])].flatten(1)) for net in nets) / len(nets)
                 for k in range(0, len(windows), 8192)]
    return torch.cat(parts).numpy()


def train_filler(data, rows, state):
    """Learns what a run fills missing shifts with (averages of like triplets), from dumps with gaps."""
    torch.manual_seed(5)
    net = nn.Sequential(nn.Linear(3 * 32, 64), nn.Tanh(), nn.Linear(64, 6))
    scale = torch.tensor([0.4, 2.5, 0.25, 1.1, 1.0, 1.1])
    xs, ys, gaps = [], [], []
    for f in data:
        centres, windows = nc.window_index(f["chains"], 1, False)
        keep = rows(f, centres)
        x = f["x"].copy()
        flags = x[:, 1:12:2]
        values = x[:, 0:12:2].copy()
        x[:, 0:12:2] = np.where(flags == 1, 0.0, values)
        xs.append(x[windows[keep]].reshape(int(keep.sum()), -1))
        ys.append(values[centres[keep]])
        gaps.append(flags[centres[keep]])
    x, y, gap = (torch.from_numpy(np.concatenate(v)) for v in (xs, ys, gaps))
    use = gap.sum(1) > 0
    x, y, gap = x[use], y[use], gap[use]
    held = torch.arange(0, len(x), 50)

    def loss_on(model, i):
        return (gap[i] * ((model(x[i]) - y[i] / scale) ** 2)).sum() / gap[i].sum()

    def epoch(rng):
        order = torch.from_numpy(rng.permutation(len(x))[:60000])
        for k in range(0, len(order) - 128, 256):
            yield order[k:k + 256]

    score = nc.fit(net, state, epoch, loss_on, lambda model: loss_on(model, held), 12, 2e-3, 0.0, 4, "filler", 5)
    nc.log("filler: rms error %.3f spreads" % np.sqrt(score))
    net.eval()
    return lambda v: net(v) * scale


def blosum_rows(features):
    """The residue entries of the network input by letter, as a run makes them."""
    rows = {}
    for letter, x in zip(features["letter"], features["x"]):
        rows.setdefault(letter.upper(), x[12:].copy())
    return rows


def read_chains(source, work):
    """Residues of the chains that enter the database, with DSSP states and breaks."""
    states = {}
    for row in dataset.read_tsv(os.path.join(source, "structures.tsv.gz")):
        states[("s_" + row["chain"]).ljust(len("s_117E_A__________"), "_"), row["index"]] = row["dssp8"]
    out = {name: [] for name in ("source", "resid", "letter", "dssp", "phi", "psi", "chi1")}
    missing = 0
    for row in dataset.read_tsv(os.path.join(work, "chains.tsv")):
        out["source"].append(row["source"])
        out["resid"].append(int(row["resid"]))
        out["letter"].append(row["letter"])
        state = states.get((row["source"], row["resid"]))
        missing += state is None
        out["dssp"].append(state or "C")
        for name in ("phi", "psi", "chi1"):
            out[name].append(float(row[name]))
    if missing:
        raise SystemExit("%d residues of chains.tsv without a DSSP state" % missing)
    out = {name: np.array(values) for name, values in out.items()}
    breaks = np.flatnonzero((out["source"][1:] != out["source"][:-1]) | (np.diff(out["resid"]) != 1)) + 1
    edges = np.concatenate([[0], breaks, [len(out["resid"])]])
    out["chains"] = [(int(a), int(b)) for a, b in zip(edges[:-1], edges[1:])]
    return out


def kind_of(ss, letter, phi):
    """Residues of one kind lend each other their noise."""
    special = np.where(letter == "G", 1, np.where(letter == "P", 2, 0))
    return ss * 6 + special * 2 + (phi > 0)


def noise(kinds, donors, donor_kinds, spread, rng):
    """A residual vector per residue, from a donor of its kind; gaps of the donor are filled by the spread."""
    out = np.zeros((len(kinds), 6), dtype=np.float32)
    for kind in np.unique(kinds):
        here = np.flatnonzero(kinds == kind)
        pool = np.flatnonzero(donor_kinds == kind)
        if len(pool) < 20:
            pool = np.arange(len(donors))
        out[here] = donors[rng.choice(pool, len(here))]
    gaps = np.isnan(out)
    out[gaps] = (rng.standard_normal(out.shape) * spread)[gaps]
    return out


def patterns(features, chains, rng):
    """Gaps for each chain as some real table has them: its flags, repeated and cut to the chain's length."""
    flags = features["x"][:, 1:12:2]
    real = features["chains"]
    length = np.array([b - a for a, b in real])
    real = [real[i] for i in np.flatnonzero(length >= 15)]
    share = np.array([b - a for a, b in real], dtype=float)
    out = np.zeros((sum(b - a for a, b in chains), 6), dtype=np.float32)
    for a, b in chains:
        at = a
        while at < b:
            first, last = real[rng.choice(len(real), p=share / share.sum())]
            start = first + int(rng.integers(0, max(1, (last - first) // 2)))
            n = min(b - at, last - start)
            out[at:at + n] = flags[start:start + n]
            at += n
    return out


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("source")
    parser.add_argument("work")
    parser.add_argument("--seed", type=int, default=11)
    args = parser.parse_args()
    folder = os.path.join(args.work, "synthetic")
    os.makedirs(folder, exist_ok=True)
    rng = np.random.default_rng(args.seed)
    f = nc.load_features(args.work, "full")
    n = len(f["id"])
    states = {(r["id"], r["resid"]): r["dssp8"] for r in dataset.read_tsv(os.path.join(args.work, "labels.tsv.gz"))}
    dssp = np.array([states.get((i, str(r)), ".") for i, r in zip(f["id"], f["resid"])])
    x = describe(f["letter"], dssp, f["phi"], f["psi"], np.where(f["use_chi1"], f["chi1"], 9999.0))
    windows = windows_of(f["chains"], n)
    y = f["x"][:, 0:12:2].astype(np.float32)
    known = (f["x"][:, 1:12:2] == 0) & f["use_phipsi"][:, None]
    scale = np.array([0.45, 2.5, 0.26, 1.05, 0.95, 1.0], dtype=np.float32)
    pool = f["split"] == 0
    fold = nc.small_folds(args.work, f["cluster30"])
    usable = known.any(1)
    nets, residual = [], np.full((n, 6), np.nan, dtype=np.float32)
    for half in (0, 1):
        rows = np.flatnonzero(pool & usable & (fold % 2 == half) & (fold >= 2))
        held = np.flatnonzero(pool & usable & (fold < 2))
        net = train(x, windows, y, known, f["weight"].astype(np.float32), rows, held, scale,
                    os.path.join(folder, "shifts.m%d" % half), args.seed + half)
        other = np.flatnonzero(pool & usable & ((fold % 2 != half) | (fold < 2)))
        miss = y[other] - apply([net], x, windows[other]) * scale
        residual[other] = np.where(known[other], miss, np.nan)
        nets.append(net)
    dev = np.flatnonzero(~pool & usable)
    miss = y[dev] - apply(nets, x, windows[dev]) * scale
    for a, atom in enumerate(ATOMS):
        here = known[dev][:, a]
        nc.log("%-2s spread of secondary shifts %.3f, left by the model on dev proteins %.3f, pool %.3f" % (
            atom, y[dev][here, a].std(), miss[here, a].std(), np.nanstd(residual[:, a])))
    spread = np.nanstd(residual, axis=0).astype(np.float32)

    related = set()
    tested = {r["id"] for r in dataset.read_tsv(os.path.join(args.work, "proteins.tsv")) if r["kind"] != "related"}
    for row in dataset.read_tsv(os.path.join(args.work, "related.tsv")):
        if row["id"] in tested:
            related.update(row["sources"].split(","))
    c = read_chains(args.source, args.work)
    size = len(c["resid"])
    cx = describe(c["letter"], c["dssp"], c["phi"], c["psi"], c["chi1"])
    computed = apply(nets, cx, windows_of(c["chains"], size)) * scale
    glycine = c["letter"] == "G"
    with open(os.path.join(folder, "chains.tsv.part"), "w") as out:
        out.write("source\tresid\tletter\tphi\tpsi\tchi1\t" + "\t".join(ATOMS) + "\n")
        for i in range(size):
            cells = ["." if (glycine[i] and a == "CB") or (c["letter"][i] == "P" and a in ("N", "HN"))
                     or (c["letter"][i] == "C" and a in ("CA", "CB")) else "%.3f" % computed[i, k]
                     for k, a in enumerate(ATOMS)]
            out.write("%s\t%d\t%s\t%.1f\t%.1f\t%.1f\t%s\n" % (c["source"][i], c["resid"][i], c["letter"][i], c["phi"][i],
                                                              c["psi"][i], c["chi1"][i], "\t".join(cells)))
    os.replace(os.path.join(folder, "chains.tsv.part"), os.path.join(folder, "chains.tsv"))

    # Network input: computed shifts with noise, and gaps filled as a run fills them.
    dumps = {name: nc.load_features(args.work, name) for name in ("dropA", "dropB", "dropC", "noproton")}
    dumps["full"] = f
    filler = train_filler(dumps.values(), lambda d, centres: d["split"][centres] == 0, os.path.join(folder, "filler"))
    letters = blosum_rows(f)
    of_letter = np.stack([letters[v] for v in c["letter"]])
    ss_of = lambda d: np.where(np.isin(d, list("HGI")), 0, np.where(np.isin(d, list("EB")), 1, 2))  # noqa: E731
    kinds = kind_of(ss_of(c["dssp"]), c["letter"], c["phi"])
    donors = np.flatnonzero((~np.isnan(residual)).sum(1) >= 4)
    donor_kinds = kind_of(ss_of(dssp[donors]), np.char.upper(f["letter"][donors]), f["phi"][donors])
    copies = []
    for gaps in COPIES:
        values = computed + noise(kinds, residual[donors], donor_kinds, spread, rng)
        values = np.clip(values, -6 * scale, 6 * scale)
        flags = np.zeros((size, 6), dtype=np.float32) if gaps is None else patterns(dumps[gaps], c["chains"], rng)
        flags[glycine, 5] = 1.0
        flags[c["letter"] == "P", 0:2] = 1.0
        rows = np.zeros((size, 32), dtype=np.float32)
        rows[:, 0:12:2] = np.where(flags == 1, 0.0, values)
        rows[:, 1:12:2] = flags
        rows[:, 12:] = of_letter
        centres, index = nc.window_index(c["chains"], 1, False)
        with torch.no_grad():
            fill = np.concatenate([filler(torch.from_numpy(rows[index[j:j + 8192]].reshape(-1, 96))).numpy()
                                   for j in range(0, len(index), 8192)])
        filled = np.zeros((size, 6), dtype=np.float32)
        filled[centres] = fill
        rows[:, 0:12:2] = np.where(flags == 1, filled, rows[:, 0:12:2])
        copies.append(rows)
    np.savez(os.path.join(folder, "input.npz"), x=np.stack(copies), phi=c["phi"].astype(np.float32), psi=c["psi"].astype(np.float32),
             chi1=c["chi1"].astype(np.float32), ss=ss_of(c["dssp"]).astype(np.uint8), chains=np.array(c["chains"]),
             source=c["source"], letter=c["letter"], related=np.isin(c["source"], list(related)), spread=spread)
    nc.log("%d residues with computed shifts, %d of them in chains related to a protein with shifts and coordinates"
           % (size, np.isin(c["source"], list(related)).sum()))


if __name__ == "__main__":
    main()
