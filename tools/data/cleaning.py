"""Reading and cleaning of the proteins from which the data directory is made.

A source directory holds `manifest.tsv`, `residues.tsv.gz` and, per record,
`proteins/<id>.shifts.tsv` and `proteins/<id>.pdb.gz` (see docs/building-data.md).  `load_records`
reads it, `clean` turns the records into one `Protein` per distinct protein:

* a robust linear model of the shifts, given sequence, torsion angles and secondary structure, is
fitted to all
  records; everything below is judged on the residuals of that model;
* a referencing offset per record and nucleus (shrunken median residual) is taken off, and the
isotope shift of
  perdeuterated samples where the residuals show its pattern;
* single shifts that lie far off are dropped, nuclei and records that do not fit their structure as
a whole too; * records of the same protein are joined: the best one is kept, and atoms that it lacks
are filled in from the others
  where both agree on the atoms that they share;
* residues whose coordinates are doubtful are marked, so that neither database nor training uses
their angles.

Proteins without coordinates take part with the angles of a close relative (relatives.py), for
training alone.
"""

import argparse
import collections
import difflib
import os

import numpy as np

from data import dataset, regression, relatives
from data.dataset import ATOMS, CA, CB, FLAG_QUALITY, KIND_QUALITY, LETTERS
from data.log import log

# Typical residual spread of the expected-shift model (ppm); the start value of all robust scales.
TYPICAL_SPREAD = np.array([2.4, 0.27, 1.1, 0.95, 1.05, 0.42])
# Spread of real referencing offsets between depositions (ppm), the prior of the shrinkage.
OFFSET_SPREAD = np.array([0.6, 0.05, 0.35, 0.35, 0.35, 0.08])


_CODE = {letter: i for i, letter in enumerate(LETTERS + "c")}


def structure_terms(p):
    """Regressors of one protein: (residue, previous, next one-hot; structure terms [L, m])."""
    codes = np.array([_CODE.get(x, -1) for x in p.letters])
    plain = np.array([_CODE.get(x, -1) for x in p.seq])
    res, prev, nxt = (
        regression.one_hot(codes, 21),
        regression.one_hot(regression.neighbour(plain, -1, -1), 20),
        regression.one_hot(regression.neighbour(plain, 1, -1), 20),
    )
    state = np.array([{"H": 0, "E": 1, "C": 2}.get(s, -1) for s in p.ss])
    states = regression.one_hot(state, 3)
    rotamer = np.where(np.isnan(p.chi1), -1, ((p.chi1 % 360) // 120)).astype(int)
    by_residue = (
        res[:, :, None]
        * np.concatenate([states, regression.one_hot(rotamer, 3)], axis=1)[:, None, :]
    ).reshape(len(res), -1)
    # residue classes with a surface of their own: beta-branched, aromatic, small polar, glycine,
    # proline
    classes = np.stack(
        [np.isin(list(p.seq), list(c)) for c in ("ITV", "FHWY", "DNST", "G", "P")], axis=1
    ).astype(float)
    small = regression.surface(p.phi, p.psi, 2)
    by_class = (classes[:, :, None] * small[:, None, :]).reshape(len(res), -1)
    terms = [
        regression.surface(p.phi, p.psi),
        regression.fourier(regression.neighbour(p.psi, -1, np.nan), 3),
        regression.fourier(regression.neighbour(p.phi, -1, np.nan), 2),
        regression.fourier(regression.neighbour(p.phi, 1, np.nan), 3),
        regression.fourier(regression.neighbour(p.psi, 1, np.nan), 2),
        regression.one_hot(regression.neighbour(state, -1, -1), 3),
        regression.one_hot(regression.neighbour(state, 1, -1), 3),
        states,
        by_residue,
        by_class,
    ]
    return res, prev, nxt, np.concatenate(terms, axis=1)


class ExpectedShifts:
    """Linear model of the six shifts given sequence and structure."""

    def fit(self, proteins, weights=None):
        blocks = [structure_terms(p) for p in proteins]
        x = np.concatenate([np.concatenate(b, axis=1) for b in blocks])
        valid = np.concatenate(
            [~np.isnan(p.phi) & ~np.isnan(p.psi) & ~p.mismatch for p in proteins]
        )
        y = np.concatenate([p.shift for p in proteins])
        w = np.concatenate(
            [np.full(len(p.seq), 1.0 if weights is None else weights[p.id]) for p in proteins]
        )
        self.columns = x.shape[1]
        penalty = np.full(self.columns, 8.0)
        penalty[:21] = 0.05
        penalty[21:61] = 3.0
        self.beta, self.spread = np.zeros((6, self.columns)), TYPICAL_SPREAD.copy()
        for a in range(6):
            ok = valid & ~np.isnan(y[:, a])
            self.beta[a], self.spread[a] = regression.ridge(x[ok], y[ok, a], penalty, w[ok])
        return self

    def predict(self, p):
        x = np.concatenate(structure_terms(p), axis=1)
        out = x @ self.beta.T
        out[np.isnan(p.phi) | np.isnan(p.psi)] = np.nan
        return out


def shrunken_offset(residuals, spread, prior):
    """Median residual, drawn towards zero as its error demands: (offset, standard error)."""
    n = len(residuals)
    if n < 8:
        return 0.0, np.inf
    error = (
        1.2533
        * max(spread, 1.4826 * np.median(np.abs(residuals - np.median(residuals))))
        / np.sqrt(n)
    )
    return float(np.median(residuals)) * prior**2 / (prior**2 + error**2), error


def deuterium_shifts(source):
    table = {}
    path = os.path.join(source, "reference", "deuterium_isotope_13C.tsv")
    for row in dataset.read_tsv(path):
        table[row["res1"], row["atom"]] = float(row["ppm"])
    return table


def correct_isotope(p, residuals, table, log):
    """Takes the isotope shift of deuterium off CA and CB where the residuals follow its residue
    pattern."""
    x, r, places = [], [], []
    for i, letter in enumerate(p.seq):
        for a, name in ((CA, "CA"), (CB, "CB")):
            if (
                (letter, name) in table
                and not np.isnan(residuals[i, a])
                and abs(residuals[i, a]) < 4
            ):
                x.append(table[letter, name])
                r.append(residuals[i, a])
                places.append(a)
    x, r, places = np.array(x), np.array(r), np.array(places)
    if min(np.sum(places == CA), np.sum(places == CB)) < 25:
        return False
    design = np.stack([x, places == CA, places == CB], axis=1).astype(float)
    beta, spread = regression.ridge(design, r, np.full(3, 1e-6))
    error = spread * np.sqrt(np.linalg.inv(design.T @ design)[0, 0])
    if beta[0] < 0.5 or beta[0] < 4 * error:
        return False
    for i, letter in enumerate(p.seq):
        for a, name in ((CA, "CA"), (CB, "CB")):
            p.shift[i, a] -= table.get((letter, name), 0.0)
    p.notes.append("isotope")
    log(f"{p.id}: 2H isotope shifts taken off CA/CB (slope {beta[0]:.2f} +/- {error:.2f})")
    return True


def _quality(p, residual_ratio):
    known = np.sum(~np.isnan(p.shift) & ~(np.isnan(p.phi) | np.isnan(p.psi))[:, None])
    score = known * KIND_QUALITY[p.info["structure_kind"]]
    for flag in p.flags:
        score *= FLAG_QUALITY.get(flag, 1.0)
    return score / max(residual_ratio, 0.8) ** 2


def _merge(base, other, log):
    """Fills shifts that `base` lacks from `other`, a record of the same protein."""
    matcher = difflib.SequenceMatcher(None, base.seq, other.seq, autojunk=False)
    pairs = []
    for block in matcher.get_matching_blocks():
        if block.size >= 12:
            # the ends of a matching stretch have other neighbours
            pairs += [(block.a + k, block.b + k) for k in range(1, block.size - 1)]
    if len(pairs) < 20:
        return
    ia, ib = (np.array(v) for v in zip(*pairs))
    a, b = base.shift[ia], other.shift[ib]
    agreement = {}
    for k in range(6):
        both = ~np.isnan(a[:, k]) & ~np.isnan(b[:, k])
        if both.sum() >= 15:
            difference = a[both, k] - b[both, k]
            agreement[k] = np.median(np.abs(difference - np.median(difference))) / TYPICAL_SPREAD[k]
    if agreement and max(agreement.values()) > 0.25:
        return
    if (
        not agreement
        and other.info["bmrb"] != base.info["bmrb"]
        and np.mean(base.oxidised[ia] == other.oxidised[ib]) < 1
    ):
        return
    gaps = np.isnan(a) & ~np.isnan(b)
    if gaps.sum() < 10:
        return
    filled = a.copy()
    filled[gaps] = b[gaps]
    base.shift[ia] = filled
    base.merged.append(other.id)
    log(f"{base.id}: {int(gaps.sum())} shifts filled in from {other.id}")


def mark_doubtful(p, residuals, spread):
    """Sets `use_phipsi` and `use_chi1`."""
    known = ~np.isnan(p.phi) & ~np.isnan(p.psi)
    use = known & ~p.mismatch
    kind, method = p.info["structure_kind"], p.info["method"]
    # loosely held residues of crystal structures
    b = p.bfactor
    if method == "X-ray" and kind.startswith("archive") and np.nanstd(b) > 1.0:
        middle = np.nanmedian(b)
        wide = 1.4826 * np.nanmedian(np.abs(b - middle))
        use &= ~(b > middle + 6.0 * max(wide, 3.0))
    # a stretch whose shifts contradict its angles: another conformation in solution, or wrong
    # coordinates
    z2 = np.minimum((residuals / spread) ** 2, 16.0)
    known_z = ~np.isnan(z2)
    for i in range(len(p.seq)):
        lo, hi = max(0, i - 1), i + 2
        n = known_z[lo:hi].sum()
        if n >= 4 and np.nansum(z2[lo:hi]) / n > (3.0 if kind == "related" else 4.5):
            use[i] = False
    # disordered ends and loops: small secondary shifts where the structure is no helix or strand
    if kind in ("predicted",) or method in ("NMR", ".", "not recorded"):
        use &= ~_tails(p)
    # trans peptide bonds only, but for X-Pro
    twisted = ~np.isnan(p.omega) & (np.abs(p.omega) < 140)
    proline = np.array([x == "P" for x in p.seq])
    use &= ~(twisted & ~proline & ~(np.abs(p.omega) < 25))
    p.use_phipsi = use
    p.use_chi1 = use & ~np.isnan(p.chi1) & (kind not in ("backbone-only",))


def _tails(p):
    """Residues before the first and after the last stretch of regular structure, two residues of
    margin left."""
    out = np.zeros(len(p.seq), bool)
    regular = np.nonzero((p.ss == "H") | (p.ss == "E"))[0]
    if len(regular):
        out[: max(regular[0] - 2, 0)] = True
        out[regular[-1] + 3 :] = True
    return out


def load(source, log):
    """All records that can take part, by id: with coordinates of their own, and with those of a
    relative."""
    records = dataset.load_records(source)
    records.update(relatives.load(source, records, log))
    relatives.join_clusters(records, log)
    for pid in list(records):
        p = records[pid]
        if p.info["structure_kind"] == "related":
            continue
        if p.info["register_best"] not in (".", "0") and float(p.info["register_r"]) < 0.4:
            log(f"{pid}: left out, register in doubt")
            del records[pid]
        elif float(p.info["identity"]) < 0.95 or np.sum(~np.isnan(p.phi) & ~np.isnan(p.psi)) < 15:
            log(f"{pid}: left out, too little structure")
            del records[pid]
    return records


def record_weights(records):
    """Weight of each record in the model, by id; equal proteins share the weight of one."""
    group_size = collections.Counter(p.info["group90"] for p in records.values())
    return {
        pid: KIND_QUALITY[p.info["structure_kind"]] / group_size[p.info["group90"]]
        for pid, p in records.items()
    }


def known(values):
    return values[~np.isnan(values)]


def settle_referencing(records, isotope, log, rounds):
    """Fits the model and takes referencing offsets and isotope shifts off the records; returns the
    model."""
    weights = record_weights(records)
    for turn in range(rounds):
        # what is judged against another protein's structure has no say in the model
        own = [p for p in records.values() if p.info["structure_kind"] != "related"]
        model = ExpectedShifts().fit(own, weights)
        for p in records.values():
            residuals = p.shift - model.predict(p)
            if (
                turn == 1
                and "isotope" not in p.notes
                and correct_isotope(p, residuals, isotope, log)
            ):
                residuals = p.shift - model.predict(p)
            for a in range(6):
                offset, _ = shrunken_offset(
                    known(residuals[:, a]), model.spread[a], OFFSET_SPREAD[a]
                )
                p.shift[:, a] -= offset
                p.offsets[a] += offset
    return model


def drop_outliers(p, model, log):
    """Drops single shifts and whole nuclei that do not fit; returns the mean spread in units of the
    usual one."""
    residuals = p.shift - model.predict(p)
    far = np.abs(residuals) > 5.5 * model.spread
    p.shift[far] = np.nan
    residuals[far] = np.nan
    spreads = []
    for a in range(6):
        r = known(residuals[:, a])
        if len(r) >= 12:
            s = 1.4826 * np.median(np.abs(r - np.median(r))) / model.spread[a]
            if s > 2.2:
                log(f"{p.id}: {ATOMS[a]} dropped, spread {s:.1f} times the usual")
                p.shift[:, a] = np.nan
            else:
                spreads.append(s)
    mark_doubtful(p, residuals, model.spread)
    return float(np.mean(spreads)) if spreads else 9.0


def join_group(members, ratio, model, log):
    """The best record of a protein, with shifts that it lacks from the others."""
    members.sort(key=lambda p: (-_quality(p, ratio[p.id]), p.id))
    best = members[0]
    for other in members[1:]:
        if ratio[other.id] < 1.4:
            _merge(best, other, log)
    residuals = best.shift - model.predict(best)
    mark_doubtful(best, residuals, model.spread)
    best.info["ratio"] = ratio[best.id]
    for i, letter in enumerate(best.seq):
        if letter == "C" and not np.isnan(best.shift[i, CB]):
            best.oxidised[i] = best.shift[i, CB] >= dataset.OXIDISED_CB
    return best


def clean(source, log=lambda text: None, rounds=3):
    """Reads and cleans a source directory: (proteins, model), one protein for each group of equal
    proteins."""
    records = load(source, log)
    model = settle_referencing(records, deuterium_shifts(source), log, rounds)
    ratio = {pid: drop_outliers(p, model, log) for pid, p in records.items()}
    for pid in [pid for pid, value in ratio.items() if value > 1.7]:
        log(
            f"{pid}: left out, shifts do not fit the structure "
            f"(spread {ratio[pid]:.2f} times the usual)"
        )
        del records[pid]
    groups = {}
    for p in records.values():
        groups.setdefault(p.info["group90"], []).append(p)
    proteins = [join_group(members, ratio, model, log) for members in groups.values()]
    proteins.sort(key=lambda p: p.id)
    return proteins, model


def main():
    parser = argparse.ArgumentParser(
        description="Cleans the source proteins into a work directory."
    )
    parser.add_argument("source", help="directory with manifest.tsv, residues.tsv.gz and proteins/")
    parser.add_argument("work", help="work directory to write")
    args = parser.parse_args()
    os.makedirs(args.work, exist_ok=True)
    with open(os.path.join(args.work, "cleaning.log"), "w") as log_file:
        proteins, model = clean(args.source, lambda text: print(text, file=log_file))
    dataset.write_work(proteins, args.source, args.work)
    residues = sum(int(p.use_phipsi.sum()) for p in proteins)
    log(f"{len(proteins)} proteins, {residues} residues with trusted phi/psi")
    log("residual spread " + " ".join(f"{a} {s:.3f}" for a, s in zip(ATOMS, model.spread)))


if __name__ == "__main__":
    main()
