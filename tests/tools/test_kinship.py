"""Kinship: who may lend angles to whom, who must stay out of whose test."""

import shutil
import tempfile
import unittest
from unittest import mock

import numpy as np

from support import table, write
from data import cleaning, kinship, relatives, unlabelled

DONOR = "MKTAYIAKQRQISFVKSHFSRQLEERLGLIEVQAPILSRVGDGTQDNLSGAEKAVQVK"
LETTERS = "ACDEFGHIKLMNPQRSTVWY"


def hit(query, target, pairs, identity, evalue=1e-20):
    return kinship.Hit(query, target, evalue, identity, tuple(pairs))


class Alignments(unittest.TestCase):
    def test_gaps_move_the_indices_behind_them(self):
        pairs = kinship.aligned_pairs(2, "AC-DEF", 7, "ACWD--")
        self.assertEqual(pairs, ((2, 7), (3, 8), (4, 10)))

    def test_the_best_alignment_of_a_pair_counts(self):
        lines = ["q1 t0 1 3 1e-9 ACDE AC-E\n", "q1 t0 9 9 0.01 WWWW WWWW\n"]
        (found,) = kinship.parse(lines, ["a", "b"], ["c"])
        self.assertEqual((found.query, found.target, found.identity), ("b", "c", 1.0))
        self.assertEqual(found.pairs, ((0, 2), (1, 3), (3, 4)))

    @unittest.skipUnless(shutil.which("blastp"), "BLAST is not installed")
    def test_a_search_aligns_around_a_deletion_and_leaves_strangers_out(self):
        targets = {"donor": DONOR, "other": "GSHMPWNDTFCYGPWCHNDMPYTFGHWCN" * 2}
        found = kinship.search({"shorter": DONOR[:28] + DONOR[30:]}, targets)
        (only,) = found["shorter"]
        self.assertEqual(only.target, "donor")
        self.assertIn((40, 42), only.pairs)
        self.assertIn((5, 5), only.pairs)

    def test_clusters_join_under_the_smallest_number(self):
        clusters = {"a": "10", "b": "9", "c": "9", "d": "100000", "e": "7"}
        joined = kinship.join(clusters, [("a", "b"), ("d", "c")])
        self.assertEqual(joined, {"a": "9", "b": "9", "c": "9", "d": "9", "e": "7"})

    def test_joined_clusters_are_held_out_together(self):
        records = {}
        for name, cluster, split in (("a", "1", "train"), ("b", "2", "dev"), ("c", "3", "train")):
            info = {"cluster30": cluster, "split": split}
            records[name] = relatives.dataset.empty_record(name, DONOR, info)
        found = {"a": [hit("a", "b", [(i, i) for i in range(50)], 0.5)]}
        with mock.patch.object(kinship, "search", return_value=found):
            relatives.join_clusters(records, lambda text: None)
        about = {n: (p.info["cluster30"], p.info["split"]) for n, p in records.items()}
        self.assertEqual(about, {"a": ("1", "dev"), "b": ("1", "dev"), "c": ("3", "train")})


class Relatives(unittest.TestCase):
    def test_safe_pairs_leave_out_gaps_ends_exchanges_and_unlike_stretches(self):
        seq = DONOR[:20] + DONOR[21:]
        pairs = [(i, i + (i >= 20)) for i in range(len(seq))]
        kept = dict(relatives.safe_pairs(pairs, seq, DONOR))
        self.assertEqual([i in kept for i in (0, 19, 20, len(seq) - 1)], [False] * 4)
        self.assertEqual(kept[30], 31)
        pairs = [(i, i) for i in range(len(DONOR))]
        changed = DONOR[:10] + "G" + DONOR[11:28] + "W" * 12 + DONOR[40:]
        kept = dict(relatives.safe_pairs(pairs, changed, DONOR))
        self.assertEqual([i in kept for i in (10, 34, 50)], [False, False, True])

    def source(self, folder, seq):
        """A source with the protein `seq`, and DONOR with phi -100 - index as a known structure."""
        rows = [f"1ABC_A {k + 1} {c} H {-100.0 - k} 120.0 180.0 60.0" for k, c in enumerate(DONOR)]
        head = "chain index aa dssp8 phi psi omega chi1"
        write(folder + "/structures.tsv.gz", table(head, *rows))
        write(folder + "/structures_manifest.tsv", table("chain method", "1ABC_A X-ray"))
        head = "id bmrb referencing flags group90 cluster30 title sequence"
        row = f"s7 7 RefDB . s7 s7 protein {seq}"
        write(folder + "/shifts_only_manifest.tsv", table(head, row))
        head = "id resid aa N H HA HA2 HA3 C CA CB"
        row = f"s7 3 {seq[2]} 120.5 8.1 4.2    57.0 30.0"
        write(folder + "/shifts_only.tsv.gz", table(head, row))

    def load(self, seq, hits, more=None):
        with tempfile.TemporaryDirectory() as folder:
            self.source(folder, seq)
            for name, text in (more or {}).items():
                write(folder + "/" + name, text)
            found = {"s7": hits}
            with mock.patch.object(
                kinship, "search", lambda queries, targets: {q: found[q] for q in queries}
            ):
                return list(relatives.load(folder, {}, lambda text: None).values())

    def test_angles_go_to_the_residues_they_are_aligned_with(self):
        seq = "GS" + DONOR[4:]
        pairs = [(i, i + 2) for i in range(2, len(seq))]
        (protein,) = self.load(seq, [hit("s7", "structures 1ABC_A", pairs, 1.0)])
        self.assertTrue(np.isnan(protein.phi[:2]).all())
        for k in range(5, len(DONOR) - 5):
            self.assertEqual((protein.phi[k - 2], protein.chi1[k - 2]), (-100.0 - k, 60.0))
        self.assertEqual(protein.shift[2, cleaning.ATOMS.index("CA")], 57.0)
        self.assertEqual(protein.info["cluster30"], str(relatives.FIRST_CLUSTER))

    def test_a_distant_relative_lends_no_side_chains_and_a_short_or_unlike_one_nothing(self):
        pairs = [(i, i) for i in range(len(DONOR))]
        (protein,) = self.load(DONOR, [hit("s7", "structures 1ABC_A", pairs, 0.6)])
        self.assertTrue(np.isnan(protein.chi1).all())
        self.assertFalse(np.isnan(protein.phi).all())
        self.assertEqual(self.load(DONOR, [hit("s7", "structures 1ABC_A", pairs, 0.4)]), [])
        self.assertEqual(self.load(DONOR, [hit("s7", "structures 1ABC_A", pairs[:20], 1.0)]), [])

    def test_a_prepared_relative_comes_before_a_search(self):
        head = "id resid aa aa_relative phi psi omega chi1 dssp8 identity gap_edge"
        rows = [
            f"s7 {k + 1} {c} {c} {-50.0 - k} 1.0 180.0 . H 0.9 {int(k in (20, 21))}"
            for k, c in enumerate(DONOR)
        ]
        manifest = table("id pdb_relative pdb_chain method identity", "s7 2XYZ B X-ray 0.9")
        more = {"relatives.tsv.gz": table(head, *rows), "relatives_manifest.tsv": manifest}
        (protein,) = self.load(DONOR, [], more)
        self.assertEqual((protein.info["pdb"], protein.info["identity"]), ("2XYZB", "0.90"))
        self.assertEqual(protein.phi[30], -80.0)
        self.assertTrue(np.isnan(protein.phi[[0, 19, 20, 21, 22]]).all())
        self.assertTrue(np.isnan(protein.chi1).all())

    def test_unlabelled_proteins_are_no_kin_of_test_cases_and_one_a_group(self):
        with tempfile.TemporaryDirectory() as folder:
            names = ("kin", "short", "few", "many")
            head = "id bmrb flags group90 cluster30 title sequence"
            groups = {"kin": "1", "short": "2", "few": "3", "many": "3"}
            rows = [
                f"{n} 1 . {groups[n]} x{n} t {DONOR[:30] if n == 'short' else DONOR}" for n in names
            ]
            write(folder + "/shifts_only_manifest.tsv", table(head, *rows))
            head = "id resid aa N H HA HA2 HA3 C CA CB"
            rows = [
                f"{n} {k + 1} {c} 120.5 {'' if n == 'few' else '8.1'} 4.2    57.0 30.0"
                for n in names
                for k, c in enumerate(DONOR)
            ]
            write(folder + "/shifts_only.tsv.gz", table(head, *rows))
            found = {"kin": [hit("kin", "p", [], 0.3)]}
            with mock.patch.object(kinship, "search", return_value=found):
                chosen = unlabelled.choose(folder, [])
        self.assertEqual([p.id for p in chosen], ["many"])


if __name__ == "__main__":
    unittest.main()
