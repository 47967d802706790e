"""Layout of the residue vectors and windows that the networks see; nothing here needs torch.

A vector has 32 entries: value and flag (1 = missing, the value is an average) of HN, N, HA, C, CA,
CB, then the 20 substitution scores of the residue over ten, by letter. `orvix-data features` dumps
them from the program's own stages.
"""

import os

import numpy as np

from data import dataset

SIZE = 32
ATOM_ORDER = ("HN", "N", "HA", "C", "CA", "CB")
VALUES, FLAGS, SCORES = slice(0, 12, 2), slice(1, 12, 2), slice(12, 32)
SCORE_UNIT = 10.0


def window_index(chains, reach, padded):
    """Rows of each window of 2 * reach + 1 residues, -1 for a place beyond the chain's end.

    `chains` are (start, stop) ranges of rows. Without `padded` only residues with a whole window
    are listed. Returns (centres, windows).
    """
    centres, windows = [], []
    for start, stop in chains:
        lead = 0 if padded else reach
        for i in range(start + lead, stop - lead):
            centres.append(i)
            windows.append(
                [j if start <= j < stop else -1 for j in range(i - reach, i + reach + 1)]
            )
    shape = (len(centres), 2 * reach + 1)
    return np.array(centres, dtype=np.int64), np.array(windows, dtype=np.int64).reshape(shape)


def read_dump(work, name):
    """A feature dump: vectors `x`, names, and index ranges of whole stretches (`chains`)."""
    base = os.path.join(work, "features", name)
    matrix = np.fromfile(base + ".f32", dtype="<f4").reshape(-1, SIZE)
    rows = [r for r in dataset.read_tsv(base + ".tsv") if r["row"] != "-1"]
    ids, resid = np.array([r["id"] for r in rows]), np.array([int(r["resid"]) for r in rows])
    breaks = np.flatnonzero((ids[1:] != ids[:-1]) | (np.diff(resid) != 1)) + 1
    edges = [0, *breaks.tolist(), len(rows)]
    return {
        "rows": rows,
        "id": ids,
        "resid": resid,
        "x": matrix[[int(r["row"]) for r in rows]],
        "chains": list(zip(edges[:-1], edges[1:])),
    }


def load_features(work, name):
    """The feature dump `name` joined with its labels, as a dict of arrays over residues."""
    out = read_dump(work, name)
    rows = out.pop("rows")
    proteins = {row["id"]: row for row in dataset.read_tsv(os.path.join(work, "proteins.tsv"))}
    table = dataset.read_tsv(os.path.join(work, "labels.tsv.gz"))
    labels = {(row["id"], row["resid"]): row for row in table}
    out["letter"] = np.array([r["letter"] for r in rows])
    for column in ("phi", "psi", "chi1"):
        out[column] = np.array([float(r[column]) for r in rows])
    empty = {"ss": ".", "use_phipsi": "0", "use_chi1": "0"}
    joined = [labels.get((r["id"], r["resid"]), empty) for r in rows]
    codes = {"H": 0, "E": 1, "C": 2}
    out["ss"] = np.array([codes.get(j["ss"], 255) for j in joined], dtype=np.uint8)
    out["use_phipsi"] = np.array([int(j["use_phipsi"]) for j in joined], dtype=bool)
    out["use_chi1"] = np.array([int(j["use_chi1"]) for j in joined], dtype=bool)
    about = [proteins[r["id"]] for r in rows]
    out["cluster30"] = np.array([int(p["cluster30"]) for p in about])
    out["split"] = np.array([int(p["split"] == "dev") for p in about])
    out["kind"] = np.array([p["kind"] for p in about])
    out["weight"] = np.array([float(p["weight"]) for p in about])
    return out
