"""Proteins with shifts and structure: reading of a source directory, reading and writing of a work
directory.

A source directory holds `manifest.tsv`, `residues.tsv.gz` and, per record,
`proteins/<id>.shifts.tsv` and `proteins/<id>.pdb.gz` (see docs/building-data.md). `load_records`
reads it; cleaning.py makes of it what `write_work` and `load_work` keep.
"""

import csv
import dataclasses
import gzip
import os

import numpy as np

ATOMS = ("N", "HA", "C", "CA", "CB", "HN")
N, HA, C, CA, CB, HN = range(6)
LETTERS = "ACDEFGHIKLMNPQRSTVWY"
MISSING_ANGLE = 9999.0
OXIDISED_CB = 34.0  # ppm; a cysteine whose CB lies here or above is taken as bonded

KIND_QUALITY = {
    "archive-file": 1.0,
    "archive-derived": 0.98,
    "processed": 0.88,
    "backbone-only": 0.85,
    "predicted": 0.7,
    "related": 0.8,
}
FLAG_QUALITY = {"solid-state": 0.7, "paramagnetic": 0.8, "micelle": 0.8, "deuterated?": 0.97}


@dataclasses.dataclass
class Protein:
    """One protein. Arrays run over the residues 1..len(seq); NaN marks a missing value, angles are
    degrees."""

    id: str
    seq: str
    info: dict
    shift: np.ndarray  # [L, 6] ppm, atoms in the order of ATOMS, glycine HA = mean of what is known
    phi: np.ndarray
    psi: np.ndarray
    omega: np.ndarray
    chi1: np.ndarray
    dssp: np.ndarray  # [L] of one-character strings, "" = unknown
    oxidised: np.ndarray  # [L] bool, cysteine in a disulphide
    mismatch: np.ndarray  # [L] bool, coordinates show another residue type
    bfactor: np.ndarray  # [L] of CA
    use_phipsi: np.ndarray  # [L] bool
    use_chi1: np.ndarray  # [L] bool
    offsets: np.ndarray  # [6] taken off
    merged: list = dataclasses.field(default_factory=list)  # ids whose shifts filled gaps
    notes: list = dataclasses.field(default_factory=list)

    @property
    def ss(self):
        return np.array([three_state(d) for d in self.dssp])

    @property
    def letters(self):
        """Sequence with the oxidised cysteines as `c`."""
        return "".join("c" if o else s for s, o in zip(self.seq, self.oxidised))

    @property
    def flags(self):
        return self.info["flags"].split(",")


def three_state(dssp):
    if not dssp or dssp == "-":
        return "."
    return "H" if dssp in "HGI" else "E" if dssp in "EB" else "C"


def read_tsv(path):
    opener = gzip.open if path.endswith(".gz") else open
    with opener(path, "rt") as stream:
        lines = (line for line in stream if not line.startswith("#"))
        yield from csv.DictReader(lines, delimiter="\t", quoting=csv.QUOTE_NONE)


def number(text):
    return float(text) if text not in ("", ".", None) else np.nan


def read_blosum(source):
    """BLOSUM62 score of two letters."""
    rows = list(read_tsv(os.path.join(source, "reference", "blosum62.tsv")))
    return {(r["res1"], c): float(r[c]) for r in rows for c in r if c != "res1"}


def empty_record(pid, seq, info):
    """A protein of which nothing is known yet."""
    n = len(seq)
    return Protein(
        pid,
        seq,
        info,
        shift=np.full((n, 6), np.nan),
        phi=np.full(n, np.nan),
        psi=np.full(n, np.nan),
        omega=np.full(n, np.nan),
        chi1=np.full(n, np.nan),
        dssp=np.full(n, "", dtype="<U1"),
        oxidised=np.zeros(n, bool),
        mismatch=np.zeros(n, bool),
        bfactor=np.full(n, np.nan),
        use_phipsi=np.zeros(n, bool),
        use_chi1=np.zeros(n, bool),
        offsets=np.zeros(6),
    )


def set_shifts(p, i, row):
    """Takes the shifts of residue index i from a row of a source table."""
    for k, column in enumerate(("N", "HA", "C", "CA", "CB", "H")):
        p.shift[i, k] = number(row[column])
    if p.seq[i] == "G":
        alpha = [v for v in (number(row["HA2"]), number(row["HA3"])) if not np.isnan(v)]
        if alpha:
            p.shift[i, HA] = np.mean(alpha)
        p.shift[i, CB] = np.nan
    elif p.seq[i] == "P":
        p.shift[i, HN] = np.nan
    # a cysteine that the coordinates show alone may be bonded in solution; its CB decides, as in a
    # run
    if p.seq[i] == "C" and not np.isnan(p.shift[i, CB]):
        p.oxidised[i] = p.shift[i, CB] >= OXIDISED_CB


def _bfactors(path, length):
    values = np.full(length, np.nan)
    if os.path.exists(path):
        with gzip.open(path, "rt") as stream:
            for line in stream:
                if line.startswith("ATOM") and line[12:16].strip() == "CA":
                    resid = int(line[22:26])
                    if 1 <= resid <= length:
                        values[resid - 1] = number(line[60:66].strip() or ".")
    return values


def _resid_list(text):
    return [] if text in (".", "") else [int(x) for x in text.split(",")]


def load_records(source):
    """All paired records of a source directory, uncleaned, by id."""
    manifest = {row["id"]: row for row in read_tsv(os.path.join(source, "manifest.tsv"))}
    sequences = {}
    name = None
    with open(os.path.join(source, "sequences.fasta")) as stream:
        for line in stream:
            if line.startswith(">"):
                name = line[1:].split()[0]
                sequences[name] = ""
            else:
                sequences[name] += line.strip().upper()
    records = {}
    for pid, info in manifest.items():
        seq = sequences[pid]
        p = empty_record(pid, seq, info)
        n = len(seq)
        for resid in _resid_list(info["mismatches"]):
            if 1 <= resid <= n:
                p.mismatch[resid - 1] = True
        if info["disulfides"] != ".":
            for pair in info["disulfides"].split(","):
                for resid in map(int, pair.split("-")):
                    if 1 <= resid <= n and seq[resid - 1] == "C":
                        p.oxidised[resid - 1] = True
        p.bfactor = _bfactors(os.path.join(source, "proteins", pid + ".pdb.gz"), n)
        records[pid] = p
    for row in read_tsv(os.path.join(source, "residues.tsv.gz")):
        p = records.get(row["id"])
        i = int(row["resid"]) - 1
        if p is None or not 0 <= i < len(p.seq):
            continue
        p.phi[i], p.psi[i], p.omega[i], p.chi1[i] = (
            number(row[c]) for c in ("phi", "psi", "omega", "chi1")
        )
        p.dssp[i] = row["dssp8"] if row["dssp8"] not in (".", "") else ""
        set_shifts(p, i, row)
    return records


# ---------------------------------------------------------------- work directory


def source_word(p):
    """Name of a protein in the database, 18 characters: shift entry and structure code. One width,
    so none holds another."""
    entry, _, code = p.id.partition("_")
    number = entry.lstrip("b")
    head = f"b{int(number):05d}" if number.isdigit() else entry[:6]
    return f"{head:_<6s}_{code.upper()}".ljust(18, "_")


def chain_word(chain):
    """Name in the database of a chain without shifts."""
    return f"s_{chain}".ljust(18, "_")


def write_table(path, p, shift=None, title=None):
    """Input table of a run, glycine alpha protons as HA2 (the mean)."""
    shift = p.shift if shift is None else shift
    with open(path, "w") as out:
        out.write(f"REMARK {title or p.id}\n\nDATA FIRST_RESID 1\n")
        letters = p.letters
        for k in range(0, len(letters), 50):
            chunk = letters[k : k + 50]
            out.write(
                "DATA SEQUENCE "
                + " ".join(chunk[j : j + 10] for j in range(0, len(chunk), 10))
                + "\n"
            )
        out.write("\nVARS   RESID RESNAME ATOMNAME SHIFT\nFORMAT %4d %1s %4s %8.3f\n\n")
        for i, letter in enumerate(letters):
            for a, name in enumerate(ATOMS):
                if not np.isnan(shift[i, a]):
                    name = "HA2" if letter == "G" and name == "HA" else name
                    out.write(f"{i + 1:4d} {letter} {name:>4s} {shift[i, a]:8.3f}\n")


def write_work(proteins, source, work):
    """Writes proteins.tsv, labels.tsv.gz, tables/ and coords/ of the work directory."""
    for sub in ("tables", "coords", "ref", "features"):
        os.makedirs(os.path.join(work, sub), exist_ok=True)
    with open(os.path.join(work, "proteins.tsv"), "w") as out:
        out.write(
            "id\tsource\tcluster30\tgroup90\tsplit\tprimary\tweight\tkind\t"
            "n_shift\tn_use\tbmrb\tpdb\tmerged\ttitle\n"
        )
        for p in proteins:
            known = int(np.sum(~np.isnan(p.shift)))
            weight = KIND_QUALITY[p.info["structure_kind"]]
            if p.info["structure_kind"] == "related":
                weight = round(weight * float(p.info["identity"]), 3)
            row = (
                p.id,
                source_word(p),
                p.info["cluster30"],
                p.info["group90"],
                p.info["split"],
                1,
                weight,
                p.info["structure_kind"],
                known,
                int(p.use_phipsi.sum()),
                p.info["bmrb"],
                p.info["pdb"] + p.info["pdb_chain"],
                ",".join(p.merged) or ".",
                p.info["title"],
            )
            out.write("\t".join(map(str, row)) + "\n")
    columns = ("phi", "psi", "omega", "chi1")
    with gzip.GzipFile(os.path.join(work, "labels.tsv.gz"), "wb", mtime=0) as raw:
        raw.write(b"id\tresid\tletter\tdssp8\tss\tuse_phipsi\tuse_chi1\tphi\tpsi\tomega\tchi1\n")
        for p in proteins:
            ss, letters = p.ss, p.letters
            angles = np.nan_to_num(np.stack([getattr(p, c) for c in columns]), nan=MISSING_ANGLE)
            for i in range(len(p.seq)):
                cells = [p.id, str(i + 1), letters[i], p.dssp[i] or ".", ss[i]]
                cells += [str(int(p.use_phipsi[i])), str(int(p.use_chi1[i]))]
                cells += [f"{value:g}" for value in angles[:, i]]
                raw.write(("\t".join(cells) + "\n").encode())
    for p in proteins:
        write_table(os.path.join(work, "tables", p.id + ".tab"), p)
        if p.info["structure_kind"] == "related":
            continue
        with gzip.open(os.path.join(source, "proteins", p.id + ".pdb.gz"), "rb") as stream:
            with open(os.path.join(work, "coords", p.id + ".pdb"), "wb") as out:
                out.write(stream.read())


def load_work(work):
    """The cleaned proteins of a work directory, in the order of their ids."""
    proteins = {}
    for row in read_tsv(os.path.join(work, "proteins.tsv")):
        proteins[row["id"]] = [row, []]
    for row in read_tsv(os.path.join(work, "labels.tsv.gz")):
        proteins[row["id"]][1].append(row)
    out = []
    for pid, (info, rows) in proteins.items():
        info["structure_kind"] = info["kind"]
        p = empty_record(pid, "".join(r["letter"].upper() for r in rows), info)
        for name in ("phi", "psi", "omega", "chi1"):
            angles = np.array([float(r[name]) for r in rows])
            setattr(p, name, np.where(angles > 999, np.nan, angles))
        p.dssp = np.array([r["dssp8"].strip(".") for r in rows])
        p.oxidised = np.array([r["letter"] == "c" for r in rows])
        p.use_phipsi = np.array([r["use_phipsi"] == "1" for r in rows])
        p.use_chi1 = np.array([r["use_chi1"] == "1" for r in rows])
        with open(os.path.join(work, "tables", pid + ".tab")) as stream:
            for line in stream:
                words = line.split()
                if len(words) == 4 and words[0].isdigit():
                    atom = "HA" if words[2] == "HA2" else words[2]
                    p.shift[int(words[0]) - 1, ATOMS.index(atom)] = float(words[3])
        out.append(p)
    return out
