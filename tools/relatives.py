"""Proteins with shifts but no coordinates of their own, paired with the structure of a close relative.

A source directory may hold `shifts_only.tsv.gz` and `shifts_only_manifest.tsv`. Each of their proteins that has a
relative of known structure (among the records with shifts, the chains of `structures.tsv.gz` and those of
`profiles_ppis.tsv.gz`) takes over its angles where the two are aligned without doubt. They are training data, never
test data: what the relative's angles say of the protein itself is checked against its shifts alone.
"""

import collections
import os

import numpy as np

import alignment
import dataset

WORD = 4  # shared words on like diagonals that make an alignment worth trying
LEAST_WORDS = 6
LEAST_IDENTITY = 0.45
LEAST_PAIRS = 35
# Side chains follow the backbone less and less as the sequence changes.
CHI1_IDENTITY = 0.7
FIRST_CLUSTER = 100000  # number of the first cluster that has no record with coordinates
# Titles and flags of samples whose residues have no structure of the relative's.
UNFOLDED = ("unfolded", "disordered", "denatured", "urea", "guanidin", "sds", "dpc", "micelle")


class Donor:
    """A known structure: sequence, angles (degrees, NaN unknown) and DSSP states."""

    def __init__(self, name, method):
        self.name, self.method, self.seq = name, method, ""
        self.rows = []

    def add(self, row):
        self.seq += row["aa"].upper()
        self.rows.append([dataset.number(row.get(c)) for c in ("phi", "psi", "omega", "chi1")] + [row["dssp8"]])


def load_donors(source, records):
    donors = []
    for p in records.values():
        if p.info["structure_kind"] not in ("predicted",):
            d = Donor(p.info["pdb"].lstrip("~") + p.info["pdb_chain"].strip("."), p.info["method"])
            d.seq = p.seq
            d.rows = [list(values) for values in zip(p.phi, p.psi, p.omega, p.chi1, p.dssp)]
            donors.append(d)
    for table, manifest in (("structures", "structures_manifest.tsv"), ("profiles_ppis", "")):
        path = os.path.join(source, table + ".tsv.gz")
        if not os.path.exists(path):
            continue
        methods = {}
        if manifest:
            methods = {r["chain"]: r["method"] for r in dataset.read_tsv(os.path.join(source, manifest))}
        chains = {}
        for row in dataset.read_tsv(path):
            name = row["chain"]
            if name not in chains:
                chains[name] = Donor(name.replace("_", ""), methods.get(name, "."))
            chains[name].add(row)
        donors.extend(chains.values())
    return donors


def word_index(donors):
    index = collections.defaultdict(list)
    for d, donor in enumerate(donors):
        for k in range(len(donor.seq) - WORD + 1):
            index[donor.seq[k : k + WORD]].append((d, k))
    return index


def candidates(seq, index):
    """Donors that share enough words with `seq` on neighbouring diagonals, best first."""
    count = collections.Counter()
    for k in range(len(seq) - WORD + 1):
        places = index.get(seq[k : k + WORD], ())
        if len(places) <= 200:
            for d, at in places:
                count[d, (at - k) // 8] += 1
                count[d, (at - k + 4) // 8 + 1000000] += 1
    best = {}
    for (d, _), words in count.items():
        best[d] = max(best.get(d, 0), words)
    return sorted((d for d, words in best.items() if words >= LEAST_WORDS), key=lambda d: (-best[d], d))[:6]


def safe_pairs(pairs, seq, other):
    """Aligned pairs away from gaps and ends, in surroundings that are alike."""
    out = []
    same = np.array([seq[i] == other[j] for i, j in pairs])
    for k in range(1, len(pairs) - 1):
        (i, j), (a, b), (c, d) = pairs[k], pairs[k - 1], pairs[k + 1]
        if (i - a, j - b, c - i, d - j) != (1, 1, 1, 1):
            continue
        special = (seq[i] != other[j]) and (seq[i] in "GP" or other[j] in "GP")
        if not special and same[max(0, k - 4) : k + 5].mean() >= 0.4:
            out.append((i, j))
    return out


def load(source, records, log):
    """Further records, by id, in the form of dataset.load_records."""
    manifest_path = os.path.join(source, "shifts_only_manifest.tsv")
    if not os.path.exists(manifest_path):
        return {}
    manifest = {r["id"]: r for r in dataset.read_tsv(manifest_path)}
    rows = collections.defaultdict(list)
    for row in dataset.read_tsv(os.path.join(source, "shifts_only.tsv.gz")):
        rows[row["id"]].append(row)
    clusters = sorted({info["cluster30"] for info in manifest.values()})
    donors = load_donors(source, records)
    index = word_index(donors)
    matrix = alignment.score_matrix(source)
    codes = [alignment.encode(d.seq) for d in donors]
    out = {}
    for name, info in manifest.items():
        words = (info["flags"] + " " + info["title"]).lower()
        if any(word in words for word in UNFOLDED):
            continue
        seq = info["sequence"].upper()
        query = alignment.encode(seq)
        best = None
        for d in candidates(seq, index):
            pairs = alignment.aligned_pairs(query, codes[d], matrix)
            share = alignment.identity(query, codes[d], pairs)
            if len(pairs) >= LEAST_PAIRS and share >= LEAST_IDENTITY:
                value = share * share * len(pairs)
                if best is None or value > best[0]:
                    best = (value, d, pairs, share)
        if best is None:
            continue
        _, d, pairs, share = best
        donor = donors[d]
        relative = records.get(info["cluster30"]) or records.get(info["group90"])
        same = records.get(info["group90"])
        p = dataset.empty_record("%s_%s" % (name, donor.name), seq, {
            "bmrb": info["bmrb"], "pdb": donor.name, "pdb_chain": "", "structure_kind": "related",
            "method": donor.method, "referencing": info["referencing"], "identity": "%.2f" % share,
            "register_best": ".", "register_r": ".", "flags": ".", "title": info["title"], "mismatches": ".",
            "cluster30": relative.info["cluster30"] if relative else str(FIRST_CLUSTER + clusters.index(info["cluster30"])),
            "group90": same.info["group90"] if same else info["group90"],
            "split": relative.info["split"] if relative else "train"})
        for row in rows[name]:
            if 1 <= int(row["resid"]) <= len(seq):
                dataset.set_shifts(p, int(row["resid"]) - 1, row)
        for i, j in safe_pairs(pairs, seq, donor.seq):
            p.phi[i], p.psi[i], p.omega[i], chi1, p.dssp[i] = donor.rows[j]
            if share >= CHI1_IDENTITY and seq[i] == donor.seq[j]:
                p.chi1[i] = chi1
        p.dssp[p.dssp == "."] = ""
        out[p.id] = p
        log(f"{p.id}: angles of a relative, identity {share:.2f} over {len(pairs)} residues")
    join_clusters(out, records, matrix)
    return out


def join_clusters(found, records, matrix):
    """Puts a cluster without records into that of the record it is locally most alike, if it is alike to one at all."""
    codes = {pid: alignment.encode(p.seq) for pid, p in sorted(records.items(), key=lambda item: len(item[1].seq))}
    names = list(codes)
    best = {}
    for p in found.values():
        cluster = p.info["cluster30"]
        if int(cluster) < FIRST_CLUSTER:
            continue
        for k in range(0, len(names), 230):
            batch = names[k : k + 230]
            scores, _ = alignment.local_scores(alignment.encode(p.seq), [codes[n] for n in batch], matrix)
            top = int(scores.argmax())
            best[cluster] = max(best.get(cluster, (0, "")), (int(scores[top]), batch[top]))
    for p in found.values():
        score, record = best.get(p.info["cluster30"], (0, ""))
        if score >= alignment.RELATED_SCORE:
            p.info["cluster30"], p.info["split"] = records[record].info["cluster30"], records[record].info["split"]
