"""Learns secondary shifts from structure, and computes them for chains whose structure alone is
known.

    tools/run.py training.shifts WORK

A small perceptron sees sequence, phi, psi, chi1 and the DSSP state of five residues and gives the
six secondary shifts of the middle one. Two halves of the proteins train a model each; the residuals
of a half under the other half's model are what the model does not know: they are put back on the
computed shifts as noise, drawn from residues of like conformation, where shifts are to look like
measured ones.

Writes to WORK/synthetic: `chains.tsv` (residues with computed shifts and their spread, for the
database) and `input.npz` (network input in the form of the feature dumps, with noise and gaps like
those of real tables). Proteins of the dev split take no part in the model, which is judged on them.
Chains related to a protein that may be a test case of the networks are marked; networks do not
start from these.
"""
import argparse
import os

import numpy as np
import torch
from torch import nn

from data import dataset
from data.dataset import LETTERS
from data.folds import small_folds
from data.log import log
from data.rows import ATOM_ORDER as ATOMS
from data.rows import FLAGS, SCORES, VALUES, load_features, window_index
from training import networks as nc

DSSP = "HGIEBTSPC"
REACH = 2
# Differently noisy copies of every chain: complete, or with the gaps of a feature dump.
COPIES = (None, "full", "dropA", "noproton")
FILLED = (
    "dropA",
    "dropB",
    "dropC",
    "noproton",
)  # dumps, besides the complete one, that teach how gaps are filled
SCALE = np.array(
    [0.45, 2.5, 0.26, 1.05, 0.95, 1.0], dtype=np.float32
)  # units of the model's output, ppm
WIDTH = (
    20 + 9 + 8
)  # letter, DSSP state, sine and cosine of three angles, flags of chi1 and of the residue


def describe(letter, dssp, phi, psi, chi1):
    """What the model sees of each residue, n x WIDTH; the last row stands for a place beyond the
    chain."""
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
    _, windows = window_index(chains, REACH, True)
    return np.where(windows < 0, size, windows)


def network(seed):
    torch.manual_seed(seed)
    width = (2 * REACH + 1) * WIDTH
    return nn.Sequential(
        nn.Linear(width, 96),
        nn.Tanh(),
        nn.Dropout(0.1),
        nn.Linear(96, 48),
        nn.Tanh(),
        nn.Linear(48, 6),
    )


def train(data, rows, held, state, seed):
    """One model: heavy-tailed loss over the measured shifts, in units of SCALE."""
    net = network(seed)
    x, windows = torch.from_numpy(data.x), torch.from_numpy(data.windows)
    y = torch.from_numpy(data.y / SCALE)
    known = torch.from_numpy(data.known.astype(np.float32) * data.weight[:, None])

    def loss_on(model, i):
        d = model(x[windows[i]].flatten(1)) - y[i]
        return (known[i] * torch.log1p(0.5 * d * d)).sum() / known[i].sum()

    def epoch(rng):
        order = rng.permutation(rows)
        for k in range(0, len(order) - 128, 256):
            yield torch.from_numpy(order[k : k + 256])

    def validate(model):
        return loss_on(model, torch.from_numpy(held))

    nc.fit(net, state, epoch, loss_on, validate, 30, 2e-3, 0.02, 8, os.path.basename(state), seed)
    net.eval()
    return net


def apply(nets, x, windows):
    x = torch.from_numpy(x)
    with torch.no_grad():
        parts = [
            sum(net(x[torch.from_numpy(windows[k : k + 8192])].flatten(1)) for net in nets)
            / len(nets)
            for k in range(0, len(windows), 8192)
        ]
    return torch.cat(parts).numpy()


def gap_samples(dumps):
    """(windows of three residues, averages that the run filled in, which shifts are filled) of the
    train split."""
    xs, ys, gaps = [], [], []
    for f in dumps:
        centres, windows = window_index(f["chains"], 1, False)
        keep = f["split"][centres] == 0
        x = f["x"].copy()
        flags, values = x[:, FLAGS], x[:, VALUES].copy()
        x[:, VALUES] = np.where(flags == 1, 0.0, values)
        xs.append(x[windows[keep]].reshape(int(keep.sum()), -1))
        ys.append(values[centres[keep]])
        gaps.append(flags[centres[keep]])
    x, y, gap = (torch.from_numpy(np.concatenate(v)) for v in (xs, ys, gaps))
    use = gap.sum(1) > 0
    return x[use], y[use], gap[use]


def train_filler(dumps, state):
    """Learns what a run fills missing shifts with (averages of like triplets), from dumps with
    gaps."""
    torch.manual_seed(5)
    net = nn.Sequential(nn.Linear(3 * 32, 64), nn.Tanh(), nn.Linear(64, 6))
    scale = torch.tensor([0.4, 2.5, 0.25, 1.1, 1.0, 1.1])
    x, y, gap = gap_samples(dumps)
    held = torch.arange(0, len(x), 50)

    def loss_on(model, i):
        return (gap[i] * ((model(x[i]) - y[i] / scale) ** 2)).sum() / gap[i].sum()

    def epoch(rng):
        order = torch.from_numpy(rng.permutation(len(x))[:60000])
        for k in range(0, len(order) - 128, 256):
            yield order[k : k + 256]

    def validate(model):
        return loss_on(model, held)

    score = nc.fit(net, state, epoch, loss_on, validate, 12, 2e-3, 0.0, 4, "filler", 5)
    log("filler: rms error %.3f spreads" % np.sqrt(score))
    net.eval()
    return lambda v: net(v) * scale


def blosum_rows(features):
    """The residue entries of the network input by letter, as a run makes them."""
    rows = {}
    for letter, x in zip(features["letter"], features["x"]):
        rows.setdefault(letter.upper(), x[12:].copy())
    return rows


def read_chains(work):
    """Residues of the chains that enter the database, with DSSP states and breaks."""
    numbers = {"resid": int, "phi": float, "psi": float, "chi1": float}
    names = ("source", "resid", "letter", "dssp8", "phi", "psi", "chi1", "set")
    out = {name: [] for name in names}
    for row in dataset.read_tsv(os.path.join(work, "chains.tsv")):
        for name, values in out.items():
            values.append(numbers.get(name, str)(row[name]))
    out = {name: np.array(values) for name, values in out.items()}
    out["dssp"] = out.pop("dssp8")
    return with_breaks(out)


def with_breaks(columns):
    """Columns of residues, and under `chains` the ranges of those that follow each other."""
    source, resid = columns["source"], columns["resid"]
    breaks = np.flatnonzero((source[1:] != source[:-1]) | (np.diff(resid) != 1)) + 1
    edges = [0, *breaks.tolist(), len(resid)]
    return {**columns, "chains": list(zip(edges[:-1], edges[1:]))}


def selected(chains, mask):
    """The residues of `mask`."""
    return with_breaks({name: values[mask] for name, values in chains.items() if name != "chains"})


def kind_of(ss, letter, phi):
    """Residues of one kind lend each other their noise."""
    special = np.where(letter == "G", 1, np.where(letter == "P", 2, 0))
    return ss * 6 + special * 2 + (phi > 0)


def noise(kinds, donors, donor_kinds, spread, rng):
    """A residual vector per residue, from a donor of its kind; gaps of the donor are filled by the
    spread."""
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
    """Gaps for each chain as some real table has them: its flags, repeated and cut to the chain's
    length."""
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
            out[at : at + n] = flags[start : start + n]
            at += n
    return out


class MeasuredShifts:
    """The proteins' residues as the model is fitted to them."""

    def __init__(self, work):
        f = load_features(work, "full")
        self.dump, n = f, len(f["id"])
        labels = dataset.read_tsv(os.path.join(work, "labels.tsv.gz"))
        states = {(r["id"], r["resid"]): r["dssp8"] for r in labels}
        self.dssp = np.array([states.get((i, str(r)), ".") for i, r in zip(f["id"], f["resid"])])
        chi1 = np.where(f["use_chi1"], f["chi1"], 9999.0)
        self.x = describe(f["letter"], self.dssp, f["phi"], f["psi"], chi1)
        self.windows = windows_of(f["chains"], n)
        self.y = f["x"][:, VALUES].astype(np.float32)
        self.known = (f["x"][:, FLAGS] == 0) & f["use_phipsi"][:, None]
        self.weight = f["weight"].astype(np.float32)
        self.pool, self.usable = f["split"] == 0, self.known.any(1)
        self.fold = small_folds(work, f["cluster30"])

    def errors(self, nets, rows):
        """Measured less computed shifts (ppm)."""
        return self.y[rows] - apply(nets, self.x, self.windows[rows]) * SCALE


def train_halves(data, folder, seed):
    """A model of each half of the proteins, and what each leaves unexplained of the other (NaN
    elsewhere)."""
    nets, residual = [], np.full(data.y.shape, np.nan, dtype=np.float32)
    mine = data.pool & data.usable
    for half in (0, 1):
        rows = np.flatnonzero(mine & (data.fold % 2 == half) & (data.fold >= 2))
        held = np.flatnonzero(mine & (data.fold < 2))
        state = os.path.join(folder, "shifts.m%d" % half)
        net = train(data, rows, held, state, seed + half)
        other = np.flatnonzero(mine & ((data.fold % 2 != half) | (data.fold < 2)))
        residual[other] = np.where(data.known[other], data.errors([net], other), np.nan)
        nets.append(net)
    dev = np.flatnonzero(~data.pool & data.usable)
    miss = data.errors(nets, dev)
    for a, atom in enumerate(ATOMS):
        here = data.known[dev][:, a]
        spreads = data.y[dev][here, a].std(), miss[here, a].std(), np.nanstd(residual[:, a])
        log(
            "%-2s spread of secondary shifts %.3f, left by the model on dev proteins %.3f, "
            "pool %.3f" % (atom, *spreads)
        )
    return nets, residual


def related_sources(work):
    """Sources that an honest prediction of some protein with shifts and coordinates excludes."""
    proteins = dataset.read_tsv(os.path.join(work, "proteins.tsv"))
    tested = {r["id"] for r in proteins if r["kind"] != "related"}
    related = set()
    for row in dataset.read_tsv(os.path.join(work, "related.tsv")):
        if row["id"] in tested:
            related.update(row["sources"].split(","))
    return related


def lacks(letter, atom):
    """Shifts that the database rows of a chain stay without."""
    without = {
        "G": ("CB",),
        "P": ("N", "HN"),
        "C": ("CA", "CB"),
    }  # the oxidation of cysteine is not known
    return atom in without.get(letter, ())


def write_computed(path, chains, computed):
    with open(path + ".part", "w") as out:
        out.write("source\tresid\tletter\tphi\tpsi\tchi1\t" + "\t".join(ATOMS) + "\n")
        for i, letter in enumerate(chains["letter"]):
            cells = [
                "." if lacks(letter, a) else "%.3f" % computed[i, k] for k, a in enumerate(ATOMS)
            ]
            head = [chains["source"][i], "%d" % chains["resid"][i], letter]
            head += ["%.1f" % chains[name][i] for name in ("phi", "psi", "chi1")]
            out.write("\t".join(head + cells) + "\n")
    os.replace(path + ".part", path)


def filled(filler, rows, chains):
    """What the filler expects of the shifts of each residue that has both neighbours; 0 of the
    others."""
    centres, index = window_index(chains, 1, False)
    with torch.no_grad():
        parts = [
            filler(torch.from_numpy(rows[index[j : j + 8192]].reshape(-1, 96))).numpy()
            for j in range(0, len(index), 8192)
        ]
    out = np.zeros((len(rows), 6), dtype=np.float32)
    out[centres] = np.concatenate(parts)
    return out


def state_codes(dssp):
    helix, strand = np.isin(dssp, list("HGI")), np.isin(dssp, list("EB"))
    return np.where(helix, 0, np.where(strand, 1, 2))


def network_input(data, dumps, filler, chains, computed, residual, rng):
    """Copies of the chains as network input: computed shifts with noise, and gaps filled as a run
    fills them."""
    f = data.dump
    spread = np.nanstd(residual, axis=0).astype(np.float32)
    letters = blosum_rows(f)
    of_letter = np.stack([letters[v] for v in chains["letter"]])
    kinds = kind_of(state_codes(chains["dssp"]), chains["letter"], chains["phi"])
    donors = np.flatnonzero((~np.isnan(residual)).sum(1) >= 4)
    donor_letters = np.char.upper(f["letter"][donors])
    donor_kinds = kind_of(state_codes(data.dssp[donors]), donor_letters, f["phi"][donors])
    size = len(chains["resid"])
    copies = []
    for gaps in COPIES:
        values = computed + noise(kinds, residual[donors], donor_kinds, spread, rng)
        values = np.clip(values, -6 * SCALE, 6 * SCALE)
        flags = np.zeros((size, 6), dtype=np.float32)
        if gaps is not None:
            flags = patterns(dumps[gaps], chains["chains"], rng)
        flags[chains["letter"] == "G", ATOMS.index("CB")] = 1.0
        flags[chains["letter"] == "P", 0:2] = 1.0
        rows = np.zeros((size, 32), dtype=np.float32)
        rows[:, VALUES] = np.where(flags == 1, 0.0, values)
        rows[:, FLAGS] = flags
        rows[:, SCORES] = of_letter
        rows[:, VALUES] = np.where(
            flags == 1, filled(filler, rows, chains["chains"]), rows[:, VALUES]
        )
        copies.append(rows)
    return np.stack(copies), spread


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("work")
    parser.add_argument("--seed", type=int, default=11)
    parser.add_argument(
        "--all", action="store_true", help="first training on chains without side chains too"
    )
    args = parser.parse_args()
    folder = os.path.join(args.work, "synthetic")
    os.makedirs(folder, exist_ok=True)
    rng = np.random.default_rng(args.seed)
    data = MeasuredShifts(args.work)
    nets, residual = train_halves(data, folder, args.seed)
    chains = read_chains(args.work)
    x = describe(chains["letter"], chains["dssp"], chains["phi"], chains["psi"], chains["chi1"])
    computed = apply(nets, x, windows_of(chains["chains"], len(x) - 1)) * SCALE
    write_computed(os.path.join(folder, "chains.tsv"), chains, computed)

    # The first training of the networks is on the chains of structures.tsv.gz, unless all are
    # wanted.
    mask = np.ones(len(computed), bool) if args.all else chains["set"] == "structures"
    chains, computed = selected(chains, mask), computed[mask]
    dumps = {name: load_features(args.work, name) for name in FILLED}
    dumps["full"] = data.dump
    filler = train_filler(dumps.values(), os.path.join(folder, "filler"))
    copies, spread = network_input(data, dumps, filler, chains, computed, residual, rng)
    related = np.isin(chains["source"], list(related_sources(args.work)))
    np.savez(
        os.path.join(folder, "input.npz"),
        x=copies,
        phi=chains["phi"].astype(np.float32),
        psi=chains["psi"].astype(np.float32),
        chi1=chains["chi1"].astype(np.float32),
        ss=state_codes(chains["dssp"]).astype(np.uint8),
        chains=np.array(chains["chains"]),
        source=chains["source"],
        letter=chains["letter"],
        related=related,
        spread=spread,
    )
    log(
        "%d residues with computed shifts in the first training, %d of them in chains related "
        "to a protein with shifts and coordinates, which the networks leave out"
        % (len(related), related.sum())
    )


if __name__ == "__main__":
    main()
