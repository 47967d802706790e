"""Parts of the proteins that figures are given for beside all of them."""

import os

import numpy as np

from data.dataset import ATOMS, CB, HN, N, read_tsv

SHARP, COMPLETE = 2.3, 0.8  # resolution (A), and share of the six shifts of its residues


def describe_structures(source):
    """(method, resolution or NaN) of each record, where need be from the index of the archive."""
    index = {}
    path = os.path.join(source, "pdb_index.tsv")
    if os.path.exists(path):
        index = {row["pdb"]: row for row in read_tsv(path)}
    found = {}
    for row in read_tsv(os.path.join(source, "manifest.tsv")):
        about = dict(row)
        if row["structure_kind"] != "predicted":
            entry = index.get(row["pdb"].lstrip("~").upper(), {})
            for name in ("method", "resolution"):
                if row[name] == ".":
                    about[name] = entry.get(name, ".")
        sharpness = float(about["resolution"]) if about["resolution"] != "." else np.nan
        found[row["id"]] = about["method"], sharpness
    return found


def complete_share(path):
    """Share of the shifts of a table of the work directory among those that its residues can have.

    Glycine has no CB; proline has no HN, and its N counts for none.
    """
    letters, known = "", 0
    with open(path) as stream:
        for line in stream:
            words = line.split()
            if line.startswith("DATA SEQUENCE"):
                letters += "".join(words[2:]).upper()
            elif len(words) == 4 and words[0].isdigit():
                # Glycine's alpha protons are one value here.
                atom = "HA" if words[2].startswith("HA") else words[2]
                known += not lacks(words[1].upper(), ATOMS.index(atom))
    possible = sum(not lacks(letter, atom) for letter in letters for atom in range(len(ATOMS)))
    return known / max(possible, 1)


def lacks(letter, atom):
    return (letter == "G" and atom == CB) or (letter == "P" and atom in (N, HN))


def subsets(proteins, source, shifts, known):
    """(name, proteins) of the parts: by quality of structure and shifts, and by an earlier list.

    `shifts` is the directory of the tables, `known` the protein list of an earlier data directory.
    """
    parts = []
    if source:
        about = describe_structures(source)
        sharp = [p for p in proteins if about[p["id"]][0] == "X-ray" and about[p["id"]][1] <= SHARP]
        full = [p for p in sharp if share_of(p, shifts) >= COMPLETE]
        parts += [(f"X-ray to {SHARP} A", sharp), (f"  {100 * COMPLETE:.0f} % of shifts", full)]
    if known:
        earlier = {row["source"] for row in read_tsv(known)}
        parts.append(("in the earlier list", [p for p in proteins if p["source"] in earlier]))
        parts.append(("not in it", [p for p in proteins if p["source"] not in earlier]))
    return parts


def share_of(protein, shifts):
    return complete_share(os.path.join(shifts, protein["id"] + ".tab"))
