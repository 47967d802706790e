"""Proteins with shifts but no coordinates of their own, with the structure of a close relative.

A source directory may hold `shifts_only.tsv.gz` and `shifts_only_manifest.tsv`. A protein of these
takes over the angles of a relative of known structure where the two are aligned without doubt:
those of `relatives.tsv.gz` if it is there, else of the closest one among the records with shifts
and the chains of `structures.tsv.gz`, `backbones.tsv.gz` and `profiles_ppis.tsv.gz`. They are
training data, never test data: what the relative's angles say of the protein itself is checked
against its shifts alone.
"""

import os

import numpy as np

from data import dataset, kinship

LEAST_IDENTITY = 0.45
LEAST_PAIRS = 35
# Side chains follow the backbone less and less as the sequence changes.
CHI1_IDENTITY = 0.7
SURROUNDINGS, LEAST_ALIKE = 4, 0.4  # residues to either side, and the share of equal ones
FIRST_CLUSTER = 100000  # number of the first cluster that has no record with coordinates
# Titles and flags of samples whose residues have no structure of the relative's.
UNFOLDED = (
    "unfolded",
    "disordered",
    "denatured",
    "urea",
    "guanidin",
    "sds",
    "dpc",
    "micelle",
)


class Donor:
    """A known structure: sequence, angles (degrees, NaN unknown) and DSSP states."""

    def __init__(self, name, method):
        self.name, self.method, self.seq = name, method, ""
        self.rows = []

    def add(self, letter, row):
        self.seq += letter.upper()
        angles = [dataset.number(row.get(c)) for c in ("phi", "psi", "omega", "chi1")]
        self.rows.append(angles + [row["dssp8"]])


def is_unfolded(info):
    words = (info["flags"] + " " + info["title"]).lower()
    return any(word in words for word in UNFOLDED)


def load_donors(source, records):
    """All known structures, by name; of two of one name the first, with side chains, counts."""
    donors = {}
    for p in records.values():
        if p.info["structure_kind"] != "predicted":
            name = p.info["pdb"].lstrip("~") + p.info["pdb_chain"].strip(".")
            d = Donor(name, p.info["method"])
            d.seq = p.seq
            d.rows = [list(values) for values in zip(p.phi, p.psi, p.omega, p.chi1, p.dssp)]
            donors[p.id] = d
    for table in ("structures", "backbones", "profiles_ppis"):
        path = os.path.join(source, table + ".tsv.gz")
        if not os.path.exists(path):
            continue
        manifest = os.path.join(source, table + "_manifest.tsv")
        methods = {}
        if os.path.exists(manifest):
            methods = {r["chain"]: r["method"] for r in dataset.read_tsv(manifest)}
        for row in dataset.read_tsv(path):
            key = table + " " + row["chain"]
            if key not in donors:
                name = row["chain"].replace("_", "")
                donors[key] = Donor(name, methods.get(row["chain"], "."))
            donors[key].add(row["aa"], row)
    return donors


def ready_relatives(source):
    """Relatives that the source has prepared: {id: (donor, identity, pairs)}."""
    path = os.path.join(source, "relatives.tsv.gz")
    if not os.path.exists(path):
        return {}
    manifest = dataset.read_tsv(os.path.join(source, "relatives_manifest.tsv"))
    info = {row["id"]: row for row in manifest}
    found = {}
    for row in dataset.read_tsv(path):
        about = info[row["id"]]
        if row["id"] not in found:
            name = about["pdb_relative"] + about["pdb_chain"].strip(".")
            found[row["id"]] = (Donor(name, about["method"]), float(about["identity"]), [])
        donor, _, pairs = found[row["id"]]
        # Beside an insertion or deletion a residue has other neighbours.
        if row["gap_edge"] == "0":
            pairs.append((int(row["resid"]) - 1, len(donor.rows)))
        donor.add(row["aa_relative"], row)
    return found


def safe_pairs(pairs, seq, other):
    """Aligned pairs away from gaps and ends, in surroundings that are alike."""
    out = []
    same = np.array([seq[i] == other[j] for i, j in pairs])
    for k in range(1, len(pairs) - 1):
        (i, j), (a, b), (c, d) = pairs[k], pairs[k - 1], pairs[k + 1]
        if (i - a, j - b, c - i, d - j) != (1, 1, 1, 1):
            continue
        special = (seq[i] != other[j]) and (seq[i] in "GP" or other[j] in "GP")
        around = same[max(0, k - SURROUNDINGS) : k + SURROUNDINGS + 1]
        if not special and around.mean() >= LEAST_ALIKE:
            out.append((i, j))
    return out


def best_hit(hits):
    """The hit that says most: long and alike; None if none says enough."""
    good = [h for h in hits if len(h.pairs) >= LEAST_PAIRS and h.identity >= LEAST_IDENTITY]
    return max(good, key=lambda h: h.identity**2 * len(h.pairs), default=None)


def find_relatives(source, records, manifest):
    """{id: (donor, identity, pairs)} of the proteins in `manifest` that have a relative."""
    found = {name: entry for name, entry in ready_relatives(source).items() if name in manifest}
    donors = load_donors(source, records)
    queries = {n: i["sequence"].upper() for n, i in manifest.items() if n not in found}
    for name, hits in kinship.search(queries, {k: d.seq for k, d in donors.items()}).items():
        best = best_hit(hits)
        if best is not None:
            found[name] = (donors[best.target], best.identity, list(best.pairs))
    return {name: found[name] for name in manifest if name in found}


def related_protein(name, info, relative, records, number):
    """A protein with the angles of a relative; `number`: its cluster if no record is in it."""
    donor, share, pairs = relative
    seq = info["sequence"].upper()
    kin = records.get(info["cluster30"]) or records.get(info["group90"])
    same = records.get(info["group90"])
    about = {
        "bmrb": info["bmrb"],
        "pdb": donor.name,
        "pdb_chain": "",
        "structure_kind": "related",
        "method": donor.method,
        "referencing": info["referencing"],
        "identity": f"{share:.2f}",
        "register_best": ".",
        "register_r": ".",
        "flags": ".",
        "title": info["title"],
        "mismatches": ".",
        "cluster30": kin.info["cluster30"] if kin else str(number),
        "group90": same.info["group90"] if same else info["group90"],
        "split": kin.info["split"] if kin else "train",
    }
    p = dataset.empty_record(f"{name}_{donor.name}", seq, about)
    for i, j in safe_pairs(pairs, seq, donor.seq):
        p.phi[i], p.psi[i], p.omega[i], chi1, p.dssp[i] = donor.rows[j]
        if share >= CHI1_IDENTITY and seq[i] == donor.seq[j]:
            p.chi1[i] = chi1
    p.dssp[p.dssp == "."] = ""
    return p


def load(source, records, log):
    """Further records, by id, in the form of dataset.load_records."""
    path = os.path.join(source, "shifts_only_manifest.tsv")
    if not os.path.exists(path):
        return {}
    everything = {row["id"]: row for row in dataset.read_tsv(path)}
    clusters = sorted({info["cluster30"] for info in everything.values()})
    number = {cluster: FIRST_CLUSTER + k for k, cluster in enumerate(clusters)}
    manifest = {name: info for name, info in everything.items() if not is_unfolded(info)}
    out, by_name = {}, {}
    for name, relative in find_relatives(source, records, manifest).items():
        info = manifest[name]
        p = related_protein(name, info, relative, records, number[info["cluster30"]])
        out[p.id] = by_name[name] = p
        log(
            f"{p.id}: angles of a relative, identity {relative[1]:.2f} "
            f"over {len(relative[2])} residues"
        )
    for row in dataset.read_tsv(os.path.join(source, "shifts_only.tsv.gz")):
        p = by_name.get(row["id"])
        if p is not None and 1 <= int(row["resid"]) <= len(p.seq):
            dataset.set_shifts(p, int(row["resid"]) - 1, row)
    return out


def join_clusters(records, log):
    """Puts clusters of alike proteins together, so that folds and tests keep them together."""
    clusters = {pid: p.info["cluster30"] for pid, p in records.items()}
    sequences = {pid: p.seq for pid, p in records.items()}
    hits = kinship.search(sequences, sequences, kinship.SAME_FOLD)
    links = [(h.query, h.target) for some in hits.values() for h in some if kinship.same_fold(h)]
    joined = kinship.join(clusters, links)
    held_out = {joined[pid] for pid, p in records.items() if p.info["split"] == "dev"}
    before, after = len(set(clusters.values())), len(set(joined.values()))
    log(f"{before} clusters, {after} after joining those with a common hit")
    for pid, p in records.items():
        p.info["cluster30"] = joined[pid]
        if joined[pid] in held_out:
            p.info["split"] = "dev"
