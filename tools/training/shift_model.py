"""Trains the shift model of the data directory: expected secondary shifts of a known conformation.

    tools/run.py training.shift_model WORK TABLES OUT [--runs RUNS --examples FILE]

A run that has predicted the backbone holds the measured shifts against what the model expects of
it, which tells referencing errors apart from structure. The model sees five residues as a
prediction offers them (letters, shares of helix, strand and coil, phi, psi, rotamer; no
coordinates) and gives the six secondary shifts of the middle one, relative to the reference tables
in TABLES. docs/tables.md describes input and computation.

OUT gets the network (shiftmodel.level1.*.tab) and its spreads (shiftmodel.tab). All figures and
spreads are of proteins whose sequence cluster the scoring members never saw. RUNS holds the
results of the program for each protein (evaluation.proteins leaves them); with it the spreads are
those of predicted conformations. FILE gets a few residues with input and output for tests of
readers.
"""

import argparse
import json
import os

import numpy as np
import torch

from data import dataset
from data.dataset import ATOMS, LETTERS
from data.folds import FOLDS, small_folds
from data.log import log
from data.reference_tables import read_tables, secondary_shifts
from data.results import ROTAMERS as ROTAMER_COLUMNS
from data.results import TRUSTED, read_rows, rotamer
from data.rows import window_index
from training import networks as nc

NAME = "shiftmodel"
REACH = 2
MEMBERS = 3
EXAMPLE_LETTERS = "GPcVKH"
LIVE, HIDDEN = 64, 48
# Entries of a residue: letter, bonded cysteine, states, sine and cosine of phi and psi, whether
# these are known, rotamers, whether there is a residue.
LETTER, BONDED, STATES, ANGLES, KNOWN, ROTAMERS, PRESENT = 0, 20, 21, 24, 28, 30, 33
WIDTH = 34
ROTAMER_WORDS = tuple(ROTAMER_COLUMNS.values())
# Units of the loss, ppm, in the order of ATOMS.
SCALE = np.array([2.5, 0.26, 1.05, 0.95, 1.0, 0.45], dtype=np.float32)
# What training does to the input so that a predicted conformation is nothing new: share of windows
# with wrong angles and their spread (degrees), shares of residues that lose parts of the input.
NOISY_SHARE, ANGLE_ERROR = 0.5, 10.0
LOST_ANGLES, LOST_STATES, LOST_ROTAMERS = 0.04, 0.05, 0.35
EPOCHS, BATCH, RATE, DECAY = 24, 256, 2e-3, 0.02


def describe(letters, states, phi, psi, rotamers):
    """Entries of the residues (n x WIDTH) of a chain; NaN angles and rows of zeros are unknown."""
    x = np.zeros((len(letters), WIDTH), dtype=np.float32)
    for i, letter in enumerate(letters):
        place = LETTERS.find(letter.upper())
        if place >= 0:
            x[i, LETTER + place] = 1.0
        x[i, BONDED] = letter == "c"
    x[:, STATES : STATES + 3] = states
    for k, angle in enumerate((phi, psi)):
        known = ~np.isnan(angle)
        radians = np.deg2rad(np.where(known, angle, 0.0))
        x[:, ANGLES + 2 * k] = np.where(known, np.sin(radians), 0.0)
        x[:, ANGLES + 2 * k + 1] = np.where(known, np.cos(radians), 0.0)
        x[:, KNOWN + k] = known
    x[:, ROTAMERS : ROTAMERS + 3] = rotamers
    x[:, PRESENT] = 1.0
    return x


def true_entries(p):
    """Entries of a protein with its known structure; only angles and rotamers that are trusted."""
    states = np.array([[float(s == state) for state in "HEC"] for s in p.ss])
    phi, psi = (np.where(p.use_phipsi, angle, np.nan) for angle in (p.phi, p.psi))
    rotamers = np.zeros((len(p.seq), 3))
    for i in np.flatnonzero(p.use_chi1):
        rotamers[i, ROTAMER_WORDS.index(rotamer(p.chi1[i], p.seq[i]))] = 1.0
    return describe(p.letters, states, phi, psi, rotamers)


def predicted_entries(p, folder):
    """Entries of a protein as the run in `folder` predicts it; None without its results."""
    try:
        angles, states, side = (
            read_rows(os.path.join(folder, name + ".tab"))
            for name in ("pred", "predSS", "predChi1")
        )
    except OSError:
        return None
    n = len(p.seq)
    phi, psi = np.full(n, np.nan), np.full(n, np.nan)
    shares, rotamers = np.zeros((n, 3)), np.zeros((n, 3))
    for number, row in angles.items():
        if row["CLASS"] in TRUSTED:
            phi[number - 1], psi[number - 1] = float(row["PHI"]), float(row["PSI"])
    for number, row in states.items():
        shares[number - 1] = [float(row[q]) for q in ("Q_H", "Q_E", "Q_L")]
    for number, row in side.items():
        if row["CLASS"] in ROTAMER_WORDS:
            rotamers[number - 1, ROTAMER_WORDS.index(row["CLASS"])] = 1.0
    shares[shares.max(1) > 1.0] = 0.0  # no prediction
    return describe(p.letters, shares, phi, psi, rotamers)


class ShiftData:
    """Residues of all proteins; the last row of entries stands for a place beyond a chain."""

    def __init__(self, work, tables, runs):
        proteins = dataset.load_work(work)
        reference = read_tables(tables)
        self.x = with_padding([true_entries(p) for p in proteins])
        predicted = [
            predicted_entries(p, os.path.join(runs, p.id)) if runs else None for p in proteins
        ]
        blank = [np.zeros((len(p.seq), WIDTH), np.float32) for p in proteins]
        self.predicted = with_padding([b if x is None else x for x, b in zip(predicted, blank)])
        self.y = np.concatenate([secondary_shifts(p, reference) for p in proteins])
        lengths = [len(p.seq) for p in proteins]
        ends = np.cumsum([0] + lengths)
        chains = list(zip(ends[:-1].tolist(), ends[1:].tolist()))
        windows = window_index(chains, REACH, True)[1]
        self.windows = np.where(windows < 0, ends[-1], windows)
        self.letter = np.array([c for p in proteins for c in p.letters])
        self.id = np.repeat([p.id for p in proteins], lengths)
        self.resid = np.concatenate([np.arange(1, n + 1) for n in lengths])
        clusters = [p.info["cluster30"] for p in proteins]
        self.fold = np.repeat(small_folds(work, clusters), lengths)
        self.weight = np.repeat([float(p.info["weight"]) for p in proteins], lengths)
        self.tested = np.repeat([p.info["kind"] != "related" for p in proteins], lengths)
        self.known = ~np.isnan(self.y)
        self.usable = np.concatenate([p.use_phipsi for p in proteins]) & self.known.any(1)


def with_padding(parts):
    return np.concatenate(parts + [np.zeros((1, WIDTH), np.float32)])


def disturbed(x):
    """Windows (n x 5 x WIDTH) with the errors and gaps of predictions."""
    n, width = x.shape[:2]
    x = x.clone()
    error = torch.randn(n, width, 2) * np.deg2rad(ANGLE_ERROR)
    error = error * (torch.rand(n, 1, 1) < NOISY_SHARE)
    for k in (0, 1):
        sine, cosine = x[:, :, ANGLES + 2 * k].clone(), x[:, :, ANGLES + 2 * k + 1].clone()
        turn = error[:, :, k]
        x[:, :, ANGLES + 2 * k] = sine * torch.cos(turn) + cosine * torch.sin(turn)
        x[:, :, ANGLES + 2 * k + 1] = cosine * torch.cos(turn) - sine * torch.sin(turn)
    for first, last, share in (
        (ANGLES, KNOWN + 2, LOST_ANGLES),
        (STATES, STATES + 3, LOST_STATES),
        (ROTAMERS, ROTAMERS + 3, LOST_ROTAMERS),
    ):
        x[:, :, first:last] *= (torch.rand(n, width, 1) >= share).float()
    return x


def train_member(data, rows, held, state, seed):
    """One member: heavy-tailed loss over the measured shifts, in units of SCALE."""
    torch.manual_seed(seed)
    net = nc.Member((2 * REACH + 1) * WIDTH, HIDDEN, 6, live=LIVE, drop=0.05)
    x, windows = torch.from_numpy(data.x), torch.from_numpy(data.windows)
    y = torch.from_numpy((np.nan_to_num(data.y) / SCALE).astype(np.float32))
    known = torch.from_numpy((data.known * data.weight[:, None]).astype(np.float32))

    def loss_on(model, i, change):
        d = model(change(x[windows[i]]).flatten(1)) - y[i]
        return (known[i] * torch.log1p(0.5 * d * d)).sum() / known[i].sum()

    def loss_of(model, i):
        return loss_on(model, i, disturbed)

    def validate(model):
        return loss_on(model, torch.from_numpy(held), torch.clone)

    def epoch(rng):
        order = rng.permutation(rows)
        for k in range(0, len(order) - BATCH // 2, BATCH):
            yield torch.from_numpy(order[k : k + BATCH])

    label = os.path.basename(state)
    nc.fit(net, state, epoch, loss_of, validate, EPOCHS, RATE, DECAY, EPOCHS, label, seed)
    net.eval()
    return net


def expected(nets, x, windows):
    """Expected secondary shifts (ppm) of windows of rows of x, in the order of ATOMS."""
    x = torch.from_numpy(x)
    parts = []
    with torch.no_grad():
        for k in range(0, len(windows), 8192):
            inputs = x[torch.from_numpy(windows[k : k + 8192])].flatten(1)
            parts.append(sum(net(inputs) for net in nets) / len(nets))
    return torch.cat(parts).numpy() * SCALE


def train_folds(data, folder, seed):
    """Expected shifts, by members that never saw the fold, of true and of predicted input."""
    outputs = np.full((2,) + data.y.shape, np.nan)
    for f in range(FOLDS):
        mine, stop = data.fold % FOLDS == f, data.fold == (f + 1) % FOLDS
        rows = np.flatnonzero(data.usable & ~mine & ~stop)
        held = np.flatnonzero(data.usable & stop)
        nets = [
            train_member(
                data, rows, held, os.path.join(folder, "fold%d.m%d" % (f, m)), seed + 10 * f + m
            )
            for m in range(MEMBERS)
        ]
        for k, x in enumerate((data.x, data.predicted)):
            outputs[k, mine] = expected(nets, x, data.windows[mine])
    return outputs


def train_shipped(data, folder, seed):
    nets = []
    for m in range(MEMBERS):
        stop = np.isin(data.fold, (2 * m, 2 * m + 1))
        rows, held = np.flatnonzero(data.usable & ~stop), np.flatnonzero(data.usable & stop)
        nets.append(train_member(data, rows, held, os.path.join(folder, "m%d" % m), seed + 90 + m))
    return nets


def robust_spread(values):
    return 1.4826 * np.median(np.abs(values - np.median(values)))


def spread_table(data, residual, least=40):
    """Robust spread of the residuals by letter and atom; few values lean on those of all."""
    letters = LETTERS + "c"
    out = np.zeros((len(letters), 6))
    for a in range(6):
        ok = ~np.isnan(residual[:, a])
        pooled = robust_spread(residual[ok, a])
        for k, letter in enumerate(letters):
            mine = residual[ok & (data.letter == letter), a]
            if len(mine):
                own = robust_spread(mine)
                n = len(mine)
                out[k, a] = np.sqrt((n * own**2 + least * pooled**2) / (n + least))
    return letters, out


def report(data, title, residual, rows):
    """Figures per nucleus of the residues `rows`."""
    for a, atom in enumerate(ATOMS):
        r, y = residual[rows, a], data.y[rows, a]
        ok = ~np.isnan(r)
        rms, spread = np.sqrt(np.mean(r[ok] ** 2)), robust_spread(r[ok])
        explained = np.corrcoef(y[ok], y[ok] - r[ok])[0, 1]
        log(
            "%s %-2s %6d shifts, spread %.3f, left: rms %.3f, robust %.3f, mean %+.3f, r %.3f"
            % (title, atom, ok.sum(), y[ok].std(), rms, spread, r[ok].mean(), explained)
        )


def write_spreads(path, letters, spreads, basis):
    with open(path + ".part", "w") as out:
        out.write("REMARK Spread (ppm) of measured around expected shifts, %s\n" % basis)
        out.write("REMARK Network: %s.level1.WI, .WL1, .WL2; 0: no shift\n\n" % NAME)
        out.write("VARS   RESNAME " + " ".join(ATOMS) + "\n")
        out.write("FORMAT %4s" + " %7.3f" * 6 + "\n\n")
        for letter, row in zip(letters, spreads):
            out.write("%4s" % letter + "".join(" %7.3f" % v for v in row) + "\n")
    os.replace(path + ".part", path)


def read_layers(folder):
    """The written network: for each member the three layers as (weights, biases)."""
    layers = []
    for suffix in ("WI", "WL1", "WL2"):
        path = os.path.join(folder, "%s.level1.%s.tab" % (NAME, suffix))
        with open(path) as stream:
            words = [line.split() for line in stream]
        rows = np.array([w for w in words if w and w[0] not in ("REMARK", "VARS", "FORMAT")], float)
        layers.append(np.split(rows, MEMBERS))
    return [[(part[:, :-1], part[:, -1]) for part in member] for member in zip(*layers)]


def evaluate_layers(members, x):
    """Output of the network as written, for one input vector."""
    total = np.zeros(6)
    for (wi, bi), (w1, b1), (w2, b2) in members:
        total += w2 @ np.tanh(w1 @ np.tanh(wi @ x + bi) + b1) + b2
    return total / len(members)


def example_rows(data):
    """A first and a last residue, and one each of some letters inside their chains."""
    beyond = len(data.letter)
    first = np.flatnonzero(data.windows[:, 1] == beyond)[0]
    last = np.flatnonzero(data.windows[:, 3] == beyond)[0]
    inside = np.flatnonzero((data.windows < beyond).all(1) & data.usable)
    some = [inside[data.letter[inside] == letter][:1] for letter in EXAMPLE_LETTERS]
    return [first, last, *np.concatenate(some)]


def write_examples(path, data, folder):
    """Windows of residues with their input and what the written network gives for them."""
    members = read_layers(folder)
    examples = []
    for row in example_rows(data):
        places = data.windows[row]
        residues = [residue_of(data, place) for place in places]
        inputs = np.concatenate([entries_of(residue) for residue in residues])
        output = evaluate_layers(members, inputs)
        examples.append(
            {
                "residues": residues,
                "input": [round(float(v), 9) for v in inputs],
                "output": {atom: round(float(v), 6) for atom, v in zip(ATOMS, output)},
            }
        )
    with open(path, "w") as out:
        out.write(json.dumps({"model": NAME, "windows": examples}) + "\n")


def residue_of(data, place):
    """What the examples tell of a residue; None beyond the chain."""
    if place == len(data.letter):
        return None
    entry = data.x[place]
    return {
        "letter": str(data.letter[place]),
        "states": entry[STATES : STATES + 3].tolist(),
        "phi": angle_of(entry, 0),
        "psi": angle_of(entry, 1),
        "rotamers": entry[ROTAMERS : ROTAMERS + 3].tolist(),
    }


def angle_of(entry, k):
    """Angle of an entry in degrees to a tenth, None if unknown."""
    if not entry[KNOWN + k]:
        return None
    sine, cosine = entry[ANGLES + 2 * k], entry[ANGLES + 2 * k + 1]
    return round(float(np.rad2deg(np.arctan2(sine, cosine))), 1)


def entries_of(residue):
    if residue is None:
        return np.zeros(WIDTH)
    phi, psi = (
        np.array([np.nan if residue[name] is None else residue[name]]) for name in ("phi", "psi")
    )
    states, rotamers = [residue["states"]], [residue["rotamers"]]
    return describe(residue["letter"], states, phi, psi, rotamers)[0].astype(float)


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("work")
    parser.add_argument("tables", help="directory of the reference tables")
    parser.add_argument("out")
    parser.add_argument("--runs", default="", help="results of the program by protein")
    parser.add_argument("--examples", default="", help="file for windows with input and output")
    parser.add_argument("--state", default="", help="directory of the training states")
    parser.add_argument("--seed", type=int, default=7)
    args = parser.parse_args()
    folder = args.state or os.path.join(args.work, "training", NAME)
    os.makedirs(folder, exist_ok=True)
    os.makedirs(args.out, exist_ok=True)
    data = ShiftData(args.work, args.tables, args.runs)
    log("%d residues with angles and shifts" % data.usable.sum())
    true, predicted = train_folds(data, folder, args.seed)
    rows = np.flatnonzero(data.usable & data.tested)
    report(data, "true", data.y - true, rows)
    residual, basis = np.where(data.usable[:, None], data.y - true, np.nan), "known conformations"
    if args.runs:
        # Where the program is sure of the angles.
        sure = data.tested & (data.predicted[:-1, KNOWN : KNOWN + 2] > 0).all(1)
        report(data, "predicted", data.y - predicted, np.flatnonzero(sure))
        residual = np.where(sure[:, None], data.y - predicted, np.nan)
        basis = "predicted conformations"
    write_spreads(os.path.join(args.out, NAME + ".tab"), *spread_table(data, residual), basis)
    nets = train_shipped(data, folder, args.seed)
    nc.write_level(args.out, NAME, 1, nets, SCALE.astype(np.float64))
    if args.examples:
        write_examples(args.examples, data, args.out)
    log("done")


if __name__ == "__main__":
    main()
