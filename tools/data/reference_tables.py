"""Makes the small reference tables of the data directory from published values and the cleaned
proteins.

    reference_tables.py SOURCE WORK OUT

SOURCE holds reference/*.tsv, WORK is the work directory of cleaning.py, OUT receives the tables.

The random coil shifts are the published ones. The adjustments and neighbour effects are fitted: all
residues share one smooth function of the torsion angles around them, and what is left for the
residue, the one before and the one after goes to the tables, drawn towards the published neighbour
effects. So a secondary shift means the same conformation whatever the residue. A constant per
nucleus finally brings the referencing check to zero on average.
"""

import argparse
import os

import numpy as np

from data import cleaning, dataset, regression
from data.dataset import ATOMS, C, CA, CB, HA, HN, LETTERS, N
from data.log import log

ROWS = LETTERS + "cph"  # oxidised cysteine, and the two further names that a sequence may hold
OTHER_LETTERS = "BJOUZ"
PARENT = {"c": "C", "p": "P", "h": "H"}
MISSING = 9999.0
# Value of each nucleus expected at CA - CB = 0 by the referencing check, for differences below and
# from 0 on.
CHECK = {CA: (0.094, 0.459), HA: (0.089, -0.008), C: (-0.272, 0.226)}

# Weights of the averaging of missing shifts, found by predicting shifts that were hidden from
# triplets of proteins of other sequence clusters: share of the two neighbours, weight of the
# residue distance by position, price of a missing shift in mean squares, and factors of the six
# atoms.
NEIGHBOUR_SHARE = 0.4
POSITION_WEIGHT = (0.35, 1.05, 0.49)
MISSING_PRICE = 4.1
ATOM_FACTOR = np.array([1.0, 1.0, 0.7, 1.4, 1.0, 0.7])

RANDOM_COIL_SOURCE = "Wishart DS, Bigam CG, Holm A, Hodges RS, Sykes BD (1995) J Biomol NMR 5:67-81"
NEIGHBOUR_SOURCE = "Nielsen JT, Mulder FAA (2018) J Biomol NMR 70:141-165"
ISOTOPE_SOURCE = "Venters RA, Farmer BT, Fierke CA, Spicer LD (1996) J Mol Biol 264:1101-1116"
BLOSUM_SOURCE = "Henikoff S, Henikoff JG (1992) Proc Natl Acad Sci USA 89:10915-10919"


def lacks(letter, atom):
    """Atoms that a residue does not have, or for which no reference can be fitted (proline N)."""
    return (letter == "G" and atom == CB) or (letter in "Pp" and atom in (N, HN))


def of(letter):
    """The letter of the 20 that a row's letter stands for."""
    return PARENT.get(letter, letter)


def published(source):
    coil = np.full((len(ROWS), 6), MISSING)
    for row in dataset.read_tsv(os.path.join(source, "reference", "random_coil_wishart1995.tsv")):
        if row["res1"] in ROWS:
            for a, name in enumerate(ATOMS):
                if row[name] != "." and not lacks(row["res1"], a):
                    coil[ROWS.index(row["res1"]), a] = float(row[name])
    for letter in "ph":
        coil[ROWS.index(letter)] = coil[ROWS.index(PARENT[letter])]
    before, after = np.zeros((20, 6)), np.zeros((20, 6))
    for row in dataset.read_tsv(
        os.path.join(source, "reference", "random_coil_potenci2018_neighbours.tsv")
    ):
        name = "HN" if row["atom"] == "H" else row["atom"]
        if name in ATOMS:
            before[LETTERS.index(row["res1"]), ATOMS.index(name)] = float(row["at_i-1"])
            after[LETTERS.index(row["res1"]), ATOMS.index(name)] = float(row["at_i+1"])
    return coil, before - before.mean(0), after - after.mean(0)


def common_terms(p):
    """Structure terms that all residues share; glycine and proline have a surface of their own."""
    state = np.array([{"H": 0, "E": 1, "C": 2}.get(s, -1) for s in p.ss])

    def shifted(values, step):
        return regression.neighbour(values, step, np.nan)

    small = regression.surface(p.phi, p.psi, 2)
    own = [small * np.array([[float(s == letter)] for s in p.seq]) for letter in "GP"]
    parts = [
        regression.surface(p.phi, p.psi),
        regression.fourier(shifted(p.psi, -1), 3),
        regression.fourier(shifted(p.phi, -1), 2),
        regression.fourier(shifted(p.phi, 1), 3),
        regression.fourier(shifted(p.psi, 1), 2),
        regression.one_hot(state, 3),
        regression.one_hot(regression.neighbour(state, -1, -1), 3),
        regression.one_hot(regression.neighbour(state, 1, -1), 3),
        *own,
    ]
    return np.concatenate(parts, axis=1)


def fit_adjustments(proteins, coil, before, after):
    """(own, previous, next) adjustments [rows, 6] in ppm, constants not yet settled."""
    x, y, letters, prev, nxt, weight = [], [], [], [], [], []
    for p in proteins:
        codes = np.array([ROWS.find(s) for s in p.letters])
        ok = p.use_phipsi & (codes >= 0)
        plain = np.array([LETTERS.find(s) for s in p.seq])
        x.append(common_terms(p)[ok])
        y.append(p.shift[ok])
        letters.append(codes[ok])
        prev.append(regression.neighbour(plain, -1, -1)[ok])
        nxt.append(regression.neighbour(plain, 1, -1)[ok])
        weight.append(np.full(ok.sum(), float(p.info["weight"])))
    x, y, letters, prev, nxt, weight = (
        np.concatenate(v) for v in (x, y, letters, prev, nxt, weight)
    )
    own = np.zeros((len(ROWS), 6))
    fit_before, fit_after = before.copy(), after.copy()
    for a in range(6):
        ok = ~np.isnan(y[:, a]) & (coil[letters, a] < 999)
        design = np.concatenate(
            [
                regression.one_hot(letters[ok], 21),
                regression.one_hot(prev[ok], 20),
                regression.one_hot(nxt[ok], 20),
                x[ok],
            ],
            axis=1,
        )
        # the published values are taken off first, so that the penalty draws towards them
        known = (
            coil[letters, a]
            + np.where(prev >= 0, before[prev, a], 0)
            + np.where(nxt >= 0, after[nxt, a], 0)
        )
        penalty = np.full(design.shape[1], 8.0)
        penalty[:21] = 2.0
        penalty[21:61] = 30.0
        beta, _ = regression.ridge(design, y[ok, a] - known[ok], penalty, weight[ok])
        own[:21, a] = beta[:21]
        fit_before[:, a] += beta[21:41]
        fit_after[:, a] += beta[41:61]
    own[:21][coil[:21] > 999] = 0.0
    for letter in "ph":
        own[ROWS.index(letter)] = own[ROWS.index(PARENT[letter])]
    return own, fit_before, fit_after


def secondary_shifts(p, tables):
    """[L, 6] secondary shifts of a protein, NaN where shift or reference is missing."""
    coil, own, before, after = tables
    codes = np.array([ROWS.find(s) for s in p.letters])
    reference = np.where(codes[:, None] >= 0, coil[codes] + own[codes], MISSING)
    reference[1:] += np.where(codes[:-1, None] >= 0, before[codes[:-1]], 0.0)
    reference[:-1] += np.where(codes[1:, None] >= 0, after[codes[1:]], 0.0)
    return np.where(reference < 999.0, p.shift - reference, np.nan)


def read_tables(folder):
    """(random coil, own, previous, next) [rows, 6] of a table directory, in the form of `main`."""
    tables = []
    for name in ("randcoil", "rcadj", "rcprev", "rcnext"):
        values = (
            np.full((len(ROWS), 6), MISSING) if name == "randcoil" else np.zeros((len(ROWS), 6))
        )
        columns = None
        with open(os.path.join(folder, name + ".tab")) as stream:
            for line in stream:
                words = line.split()
                if line.startswith("VARS"):
                    columns = words[1:]
                elif columns and len(words) == len(columns) and words[0] in ROWS:
                    row = dict(zip(columns, words))
                    values[ROWS.index(row["RESNAME"])] = [float(row[a]) for a in ATOMS]
        tables.append(values)
    return tuple(tables)


def estimated_offsets(secondary, letters):
    """Referencing offsets of a protein as the run estimates them: atom -> (offset, residues)."""
    d = secondary[:, CA] - secondary[:, CB]
    base = ~np.isnan(d) & ~np.isin(list(letters), list("PCc"))
    out = {}
    for a, expected in CHECK.items():
        total, count = 0.0, 0
        for side, value in ((d < 0, expected[0]), (d >= 0, expected[1])):
            ok = base & side & ~np.isnan(secondary[:, a])
            if ok.sum() > 9:
                slope, intercept = np.polyfit(d[ok], secondary[ok, a], 1)
                total += (intercept - value) * ok.sum()
                count += int(ok.sum())
        if count > 10:
            out[a] = (total / count, count)
    return out


def settle_constants(proteins, tables):
    """Moves the constants of `own` until the referencing check finds nothing on average."""
    own = tables[1]
    sized = [
        p for p in proteins if np.sum(~np.isnan(p.shift[:, CA]) & ~np.isnan(p.shift[:, CB])) > 40
    ]

    def average():
        totals = {a: [0.0, 0] for a in CHECK}
        for p in sized:
            for a, (offset, n) in estimated_offsets(secondary_shifts(p, tables), p.letters).items():
                totals[a][0] += offset * n
                totals[a][1] += n
        return {a: t / max(n, 1) for a, (t, n) in totals.items()}

    for _ in range(8):
        for a, offset in average().items():
            own[tables[0][:, a] < 999, a] += offset
            if a == CA:  # the check moves CA and CB together
                own[tables[0][:, CB] < 999, CB] += offset
    return average()


def limits(proteins, tables, share=0.2, least=60):
    """[rows, 6, 2] percentiles of the real secondary shifts; a residue with few values leans on
    those of all."""
    values = {}
    for p in proteins:
        secondary = secondary_shifts(p, tables)
        for i, letter in enumerate(p.letters):
            for a in range(6):
                if not np.isnan(secondary[i, a]):
                    values.setdefault((letter, a), []).append(secondary[i, a])
    out = np.zeros((len(ROWS), 6, 2))
    for a in range(6):
        pooled = np.concatenate([v - np.median(v) for (_, b), v in values.items() if b == a])
        low, high = np.percentile(pooled, [share, 100 - share])
        for r, letter in enumerate(ROWS):
            mine = np.array(values.get((of(letter) if letter in "ph" else letter, a), [0.0]))
            middle = np.median(mine)
            w = len(mine) / (len(mine) + 10 * least)
            own = np.percentile(mine, [share, 100 - share]) - middle
            out[r, a] = middle + w * own + (1 - w) * np.array([low, high])
    return out


def search_scales(proteins, tables, factor=0.8):
    """[20, 6] divisors of the search in ppm: spread of the difference of two shifts of equal
    conformation.

    The difference of two residues that agree in the angles around them has the spread of what is
    left after the common structure terms, times the square root of two. The factor was found by
    running known proteins; 0.6 to 1.3 differ little.
    """
    x, y, codes = [], [], []
    for p in proteins:
        x.append(common_terms(p)[p.use_phipsi])
        y.append(secondary_shifts(p, tables)[p.use_phipsi])
        codes.append(np.array([LETTERS.find(s) for s in p.seq])[p.use_phipsi])
    x, y, codes = (np.concatenate(v) for v in (x, y, codes))
    x = np.concatenate([np.ones((len(x), 1)), x], axis=1)
    scales = np.zeros((20, 6))
    for a in range(6):
        ok = ~np.isnan(y[:, a])
        beta, spread = regression.ridge(x[ok], y[ok, a], np.full(x.shape[1], 8.0))
        rest = np.abs(y[ok, a] - x[ok] @ beta)
        for k in range(20):
            mine = rest[codes[ok] == k]
            n = len(mine)
            own = 1.4826 * np.median(mine) if n else spread
            scales[k, a] = (
                factor * np.sqrt(2.0) * np.sqrt((n * own**2 + 100 * spread**2) / (n + 100))
            )
    return scales


# ---------------------------------------------------------------- writing


def write(path, remarks, columns, formats, rows):
    with open(path, "w") as out:
        for remark in remarks:
            out.write(f"REMARK {remark}\n")
        out.write("\nVARS   " + " ".join(columns) + "\nFORMAT " + " ".join(formats) + "\n\n")
        for row in rows:
            out.write(" ".join(fmt % cell for fmt, cell in zip(formats, row)) + "\n")


def write_atoms(path, remarks, letters, values):
    write(
        path,
        remarks,
        ("RESNAME",) + ATOMS,
        ["%4s"] + ["%9.3f"] * 6,
        [[letter, *values[i]] for i, letter in enumerate(letters)],
    )


def write_blosum(source, path):
    score = dataset.read_blosum(source)
    columns = [b for a, b in score if a == "A"]
    rows = [[a] + [int(score[a, b]) for b in columns] for a in columns]
    rows.append(["p"] + [int(score["P", b]) for b in columns])
    # Letters of sequences that stand for no single residue of the 20: no score for or against any.
    rows += [[letter] + [0] * len(columns) for letter in OTHER_LETTERS]
    remarks = [
        "BLOSUM62 substitution scores, half bits",
        BLOSUM_SOURCE,
        f"p as P; {' '.join(OTHER_LETTERS)}: unknown, zeros",
    ]
    write(path, remarks, ["RESNAME"] + columns, ["%4s"] + ["%4d"] * len(columns), rows)


def write_homology(source, path):
    """Distance of residues: its square is the mean of the two self scores less the mutual score,
    mean over pairs 1."""
    score = dataset.read_blosum(source)
    square = np.array(
        [
            [0.5 * (score[of(x), of(x)] + score[of(y), of(y)]) - score[of(x), of(y)] for y in ROWS]
            for x in ROWS
        ]
    )
    distance = np.sqrt(square / square[:20, :20].mean())
    # a cysteine in the other state is no longer the same residue
    reduced, oxidised = ROWS.index("C"), ROWS.index("c")
    distance[reduced, oxidised] = distance[oxidised, reduced] = 0.5
    write(
        path,
        [
            "Distance of residues in the averaging of missing shifts",
            "From BLOSUM62, " + BLOSUM_SOURCE,
        ],
        ["RESNAME", *ROWS],
        ["%4s"] + ["%7.4f"] * len(ROWS),
        [[r, *distance[i]] for i, r in enumerate(ROWS)],
    )


def with_aliases(values):
    """Values of the 20 residues [20, 6], followed by those of the further rows."""
    return np.concatenate([values, values[[LETTERS.index(PARENT[x]) for x in ROWS[20:]]]])


def write_weights(proteins, tables, path):
    values = np.concatenate([secondary_shifts(p, tables)[p.use_phipsi] for p in proteins])
    spread = np.nanstd(values, axis=0)
    atom = ATOM_FACTOR / spread**2
    rows = [
        ["R1", *(NEIGHBOUR_SHARE * atom), POSITION_WEIGHT[0]],
        ["R2", *atom, POSITION_WEIGHT[1]],
        ["R3", *(NEIGHBOUR_SHARE * atom), POSITION_WEIGHT[2]],
        ["AVG", *spread**2, MISSING_PRICE],
    ]
    write(
        path,
        [
            "Weights of the averaging of missing shifts",
            "R1 to R3: per squared ppm and position; W: of the residue distance",
            "AVG: variance of the secondary shifts (ppm squared); "
            "W: price of a missing shift in these variances",
        ],
        ["RESNAME", *ATOMS, "W"],
        ["%4s"] + ["%9.4f"] * 7,
        rows,
    )


def write_isotope(source, path):
    table = cleaning.deuterium_shifts(source)
    rows = []
    for letter in ROWS:
        parent = of(letter)
        rows.append([letter, table.get((parent, "CA"), 0.0), table.get((parent, "CB"), 0.0)])
    write(
        path,
        [
            "Isotope shift of CA and CB in perdeuterated residues (ppm), "
            "added to the reference shift",
            "Sum rule -0.29, -0.13, -0.07 ppm per deuteron one, two, three bonds away",
            ISOTOPE_SOURCE,
        ],
        ["RESNAME", "CA", "CB"],
        ["%4s", "%8.3f", "%8.3f"],
        rows,
    )


def main():
    parser = argparse.ArgumentParser(
        description="Makes the reference tables of the data directory."
    )
    parser.add_argument("source")
    parser.add_argument("work")
    parser.add_argument("out")
    args = parser.parse_args()
    os.makedirs(args.out, exist_ok=True)
    proteins = dataset.load_work(args.work)
    coil, before, after = published(args.source)
    own, before, after = fit_adjustments(proteins, coil, before, after)
    tables = (coil, own, with_aliases(before), with_aliases(after))
    rest = settle_constants(proteins, tables)
    residues = sum(int(p.use_phipsi.sum()) for p in proteins)
    counts = f"{len(proteins)} proteins, {residues} residues of known structure"

    def path(name):
        return os.path.join(args.out, name)

    write_atoms(
        path("randcoil.tab"),
        [
            "Random coil shifts (ppm) of X in GGXAGG, 25 C, pH 5; 9999 = no reference",
            RANDOM_COIL_SOURCE,
            "c: oxidised cysteine; p, h: further names of P and H",
        ],
        ROWS,
        coil,
    )
    fitted = [f"Fitted to {counts}", f"Neighbour effects drawn towards those of {NEIGHBOUR_SOURCE}"]
    write_atoms(path("rcadj.tab"), ["Adjustment (ppm) by the residue itself", *fitted], ROWS, own)
    write_atoms(
        path("rcprev.tab"), ["Adjustment (ppm) by the residue before", *fitted], ROWS, tables[2]
    )
    write_atoms(
        path("rcnext.tab"), ["Adjustment (ppm) by the residue after", *fitted], ROWS, tables[3]
    )
    bounds = limits(proteins, tables)
    write(
        path("sslimit.tab"),
        ["Limits of secondary shifts (ppm)", f"About the 0.2 and 99.8 percentiles of {counts}"],
        ["RESNAME"] + [f"{a}_{m}" for a in ATOMS for m in ("MIN", "MAX")],
        ["%4s"] + ["%8.3f"] * 12,
        [[letter, *bounds[i].ravel()] for i, letter in enumerate(ROWS)],
    )
    write_blosum(args.source, path("BLOSUM62.tab"))
    write_homology(args.source, path("homology.tab"))
    write_weights(proteins, tables, path("weight.tab"))
    write_isotope(args.source, path("isoadj.tab"))
    scales = search_scales(proteins, tables)
    with open(os.path.join(args.work, "scales.tsv"), "w") as out:
        out.write("letter\t" + "\t".join(ATOMS) + "\n")
        for letter, row in zip(LETTERS, scales):
            out.write(letter + "".join(f"\t{v:.3f}" for v in row) + "\n")
    log("mean offset left: " + ", ".join(f"{ATOMS[a]} {v:+.3f}" for a, v in rest.items()))


if __name__ == "__main__":
    main()
