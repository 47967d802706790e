"""Chains of known structure without shifts, as further rows of the database.

    tools/run.py data.chains SOURCE WORK [--backbones RESIDUES]

Reads SOURCE/structures.tsv.gz, and of SOURCE/backbones.tsv.gz as many residues as wanted, the best
resolved chains first. Writes WORK/chains.tsv (one line per residue that may become a database row)
and WORK/related.tsv: for each protein with shifts the source words, its own and those of its
sequence cluster and of the related chains, that an honest prediction of it must exclude. A chain
that is the same protein as one with shifts is left out of chains.tsv.
"""

import argparse
import collections
import os

from data import dataset, kinship
from data.dataset import LETTERS, chain_word
from data.log import log

# A chain is the protein itself at this identity over this part of the shorter of the two.
SAME_IDENTITY, SAME_SHARE = 0.9, 0.7


def read_structures(source):
    """Rows of the chains with side chains, by name; solution structures are left out."""
    manifest = dataset.read_tsv(os.path.join(source, "structures_manifest.tsv"))
    method = {r["chain"]: r["method"] for r in manifest}
    chains = {}
    for row in dataset.read_tsv(os.path.join(source, "structures.tsv.gz")):
        if method[row["chain"]] != "NMR":
            chains.setdefault(row["chain"], []).append(row)
    return chains


def read_backbones(source, most):
    """Rows of the best resolved chains without side chains, by name, up to `most` residues."""
    if not most:
        return {}
    manifest = list(dataset.read_tsv(os.path.join(source, "backbones_manifest.tsv")))
    chosen, residues = set(), 0
    for row in sorted(manifest, key=lambda r: (float(r["resolution"]), r["chain"])):
        if residues + int(row["length"]) <= most:
            chosen.add(row["chain"])
            residues += int(row["length"])
    chains = {}
    for row in dataset.read_tsv(os.path.join(source, "backbones.tsv.gz")):
        if row["chain"] in chosen:
            chains.setdefault(row["chain"], []).append(row)
    return chains


def find_kin(proteins, chains):
    """(related chains by protein, chains that are one of the proteins)."""
    sequences = {c: "".join(r["aa"] for r in rows).upper() for c, rows in chains.items()}
    hits = kinship.search({p.id: p.seq for p in proteins}, sequences)
    related, same = collections.defaultdict(list), set()
    for p in proteins:
        for hit in hits.get(p.id, ()):
            related[p.id].append(hit.target)
            whole = SAME_SHARE * min(len(p.seq), len(sequences[hit.target]))
            if hit.identity >= SAME_IDENTITY and len(hit.pairs) >= whole:
                same.add(hit.target)
    return related, same


def write_related(path, proteins, related):
    clusters = collections.defaultdict(list)
    for p in proteins:
        clusters[p.info["cluster30"]].append(p.info["source"])
    with open(path, "w") as out:
        out.write("id\tsources\n")
        for p in proteins:
            words = clusters[p.info["cluster30"]] + [chain_word(c) for c in related[p.id]]
            out.write(f"{p.id}\t{','.join(words)}\n")


def write_chains(path, chains, backbones):
    """One line a residue with both angles; returns their number."""
    count = 0
    with open(path, "w") as out:
        out.write("source\tresid\tletter\tphi\tpsi\tchi1\tdssp8\tset\n")
        for chain in sorted(chains):
            kind = "backbones" if chain in backbones else "structures"
            for r in chains[chain]:
                if r["aa"] in LETTERS and r["phi"] != "." and r["psi"] != ".":
                    chi1 = r.get("chi1", ".")
                    angles = [r["phi"], r["psi"], "9999.0" if chi1 == "." else chi1]
                    cells = [chain_word(chain), r["index"], r["aa"], *angles, r["dssp8"], kind]
                    out.write("\t".join(cells) + "\n")
                    count += 1
    return count


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("source")
    parser.add_argument("work")
    parser.add_argument(
        "--backbones", type=int, default=0, help="most residues of chains without side chains"
    )
    args = parser.parse_args()
    structures, backbones = read_structures(args.source), read_backbones(
        args.source, args.backbones
    )
    chains = {**backbones, **structures}
    proteins = dataset.load_work(args.work)
    related, same = find_kin(proteins, chains)
    write_related(os.path.join(args.work, "related.tsv"), proteins, related)
    kept = {chain: rows for chain, rows in chains.items() if chain not in same}
    residues = write_chains(os.path.join(args.work, "chains.tsv"), kept, backbones)
    log(f"{len(kept)} chains, {residues} residues; {len(same)} chains left out that have shifts")


if __name__ == "__main__":
    main()
