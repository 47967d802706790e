"""Relatives by sequence, found with BLAST.

One search finds who must stay out of whose test, who is the same protein, and whose angles may
stand for another's. Every pair of sequences has one hit at most, its best local alignment.
"""

import collections
import dataclasses
import os
import shutil
import subprocess
import tempfile

# Pairs up to this expected number of chance hits count as related and exclude each other in tests.
RELATED = 0.1
# Clusters that share a hit like this are one: expected number, identity, aligned residues.
SAME_FOLD, LEAST_IDENTITY, LEAST_PAIRS = 1e-3, 0.3, 40
MOST_HITS = 10000
COLUMNS = "qseqid sseqid qstart sstart evalue qseq sseq"


@dataclasses.dataclass(frozen=True)
class Hit:
    """A local alignment: names, chance hits expected, and index pairs (from 0) in rising order."""

    query: str
    target: str
    evalue: float
    identity: float  # share of the aligned pairs that are the same residue
    pairs: tuple


def aligned_pairs(start, query, target_start, target):
    """Index pairs of two gapped strings that begin at the given indices."""
    pairs, i, j = [], start, target_start
    for a, b in zip(query, target):
        if a != "-" and b != "-":
            pairs.append((i, j))
        i += a != "-"
        j += b != "-"
    return tuple(pairs)


def parse(lines, queries, targets):
    """Hits of a table with COLUMNS, whose sequences have numbers in two lists of names.

    Of several alignments of a pair the first, which is the best, counts.
    """
    seen = set()
    for line in lines:
        query, target, start, target_start, evalue, a, b = line.split()
        if (query, target) in seen:
            continue
        seen.add((query, target))
        pairs = aligned_pairs(int(start) - 1, a, int(target_start) - 1, b)
        same = sum(x == y for x, y in zip(a, b) if x != "-")
        identity = same / max(len(pairs), 1)
        yield Hit(queries[int(query[1:])], targets[int(target[1:])], float(evalue), identity, pairs)


def write_fasta(path, sequences, head):
    with open(path, "w") as out:
        for number, sequence in enumerate(sequences):
            out.write(f">{head}{number}\n{sequence}\n")


def search(queries, targets, evalue=RELATED):
    """Hits of all sequences in `queries` with those in `targets` (dicts by name), by query.

    The order is that of the names, so a result depends on the sequences alone.
    """
    if shutil.which("blastp") is None:
        raise SystemExit("blastp was not found; Debian has it in ncbi-blast+")
    names, others = list(queries), list(targets)
    with tempfile.TemporaryDirectory() as folder:
        query, target, hits_file = (os.path.join(folder, name) for name in ("q", "t", "hits"))
        write_fasta(query, queries.values(), "q")
        write_fasta(target, targets.values(), "t")
        # By bare names: the programs take a path with a blank for two.
        command = ["makeblastdb", "-in", "t", "-dbtype", "prot"]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, cwd=folder)
        command = ["blastp", "-query", "q", "-db", "t", "-evalue", str(evalue)]
        command += ["-max_target_seqs", str(MOST_HITS), "-outfmt", f"6 {COLUMNS}"]
        command += ["-num_threads", os.environ.get("OMP_NUM_THREADS", "2"), "-out", "hits"]
        subprocess.run(command, check=True, cwd=folder)
        with open(hits_file) as stream:
            hits = sorted(parse(stream, names, others), key=lambda h: (h.query, h.target))
    by_query = collections.defaultdict(list)
    for hit in hits:
        by_query[hit.query].append(hit)
    return by_query


def same_fold(hit):
    """Whether a hit puts both sequences into one cluster of the folds."""
    return (
        hit.evalue <= SAME_FOLD and hit.identity >= LEAST_IDENTITY and len(hit.pairs) >= LEAST_PAIRS
    )


def join(clusters, links):
    """Merges clusters: {name: cluster} with pairs of names that belong together.

    A merged cluster has the smallest of its numbers, by value.
    """
    parent = {cluster: cluster for cluster in clusters.values()}

    def root(cluster):
        while parent[cluster] != cluster:
            cluster = parent[cluster]
        return cluster

    for a, b in links:
        low, high = sorted((root(clusters[a]), root(clusters[b])), key=int)
        parent[high] = low
    return {name: root(cluster) for name, cluster in clusters.items()}
