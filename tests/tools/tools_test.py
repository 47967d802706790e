#!/usr/bin/python3
"""Tests of the tools whose faults would not show: angles given to the wrong residue, figures that are wrong."""
import collections
import gzip
import os
import sys
import tempfile
import unittest

import numpy as np

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools"))
import alignment
import build_data
import cleaning
import evaluate_counts
import relatives

LETTERS = "ACDEFGHIKLMNPQRSTVWY"
MATRIX = np.where(np.eye(21, dtype=bool), 5, -4).astype(np.int16)
DONOR = "MKTAYIAKQRQISFVKSHFSRQLEERLGLIEVQAPILSRVGDGTQDNLSGAEKAVQVK"


def aligned(a, b):
    return alignment.aligned_pairs(alignment.encode(a), alignment.encode(b), MATRIX)


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with (gzip.open if path.endswith(".gz") else open)(path, "wt") as out:
        out.write(text)


class Alignment(unittest.TestCase):
    def test_pairs_skip_what_one_sequence_lacks(self):
        pairs = aligned(DONOR[5:20] + DONOR[21:45], DONOR)
        self.assertEqual(pairs[:15], [(i, i + 5) for i in range(15)])
        self.assertEqual(pairs[15:], [(i, i + 6) for i in range(15, 39)])
        self.assertEqual([(j, i) for i, j in aligned(DONOR, DONOR[5:20] + DONOR[21:45])], pairs)

    def test_scores_of_a_batch_are_those_of_each_alone(self):
        batch = [alignment.encode(s) for s in (DONOR[30:38], DONOR[10:30], "WWWW")]
        together, _ = alignment.local_scores(alignment.encode(DONOR), batch, MATRIX)
        self.assertEqual(list(together), [40, 100, 5 if "W" in DONOR else 0])


class Relatives(unittest.TestCase):
    def test_safe_pairs_leave_out_gaps_ends_exchanges_and_unlike_stretches(self):
        seq = DONOR[:20] + DONOR[21:]
        kept = dict(relatives.safe_pairs(aligned(seq, DONOR), seq, DONOR))
        self.assertNotIn(0, kept)
        self.assertNotIn(19, kept)
        self.assertNotIn(20, kept)
        self.assertEqual(kept[30], 31)
        pairs = [(i, i) for i in range(len(DONOR))]
        changed = DONOR[:10] + "G" + DONOR[11:28] + "W" * 12 + DONOR[40:]
        kept = dict(relatives.safe_pairs(pairs, changed, DONOR))
        self.assertNotIn(10, kept)
        self.assertNotIn(34, kept)
        self.assertIn(50, kept)

    def load(self, seq, chi1="60.0"):
        """The protein `seq`, whose only possible relative is DONOR with phi -100 - index."""
        with tempfile.TemporaryDirectory() as source:
            rows = "".join("1ABC_A\t%d\t%s\tH\t%.1f\t120.0\t180.0\t%s\n" % (k + 1, c, -100.0 - k, chi1)
                           for k, c in enumerate(DONOR))
            write(source + "/structures.tsv.gz", "chain\tindex\taa\tdssp8\tphi\tpsi\tomega\tchi1\n" + rows)
            write(source + "/structures_manifest.tsv", "chain\tmethod\n1ABC_A\tX-ray\n")
            write(source + "/shifts_only_manifest.tsv", "id\tbmrb\treferencing\tflags\tgroup90\tcluster30\ttitle\tsequence\n"
                  "s7\t7\tRefDB\t.\ts7\ts7\tA protein\t%s\n" % seq)
            write(source + "/shifts_only.tsv.gz", "id\tresid\taa\tN\tH\tHA\tHA2\tHA3\tC\tCA\tCB\n"
                  "s7\t3\t%s\t120.5\t8.1\t4.2\t\t\t\t57.0\t30.0\n" % seq[2])
            write(source + "/reference/blosum62.tsv", "res1\t" + "\t".join(LETTERS) + "\n" + "".join(
                a + "\t" + "\t".join("5" if a == b else "-2" for b in LETTERS) + "\n" for a in LETTERS))
            return list(relatives.load(source, {}, lambda text: None).values())

    def test_angles_go_to_the_residues_they_are_aligned_with(self):
        protein, = self.load("GS" + DONOR[4:])
        self.assertEqual(protein.seq[2], DONOR[4])
        self.assertTrue(np.isnan(protein.phi[0]) and np.isnan(protein.phi[1]))
        for k in range(5, len(DONOR) - 5):
            self.assertEqual(protein.phi[k - 2], -100.0 - k)
            self.assertEqual(protein.chi1[k - 2], 60.0)
        self.assertEqual(protein.shift[2, cleaning.ATOMS.index("CA")], 57.0)
        self.assertEqual(protein.info["cluster30"], str(relatives.FIRST_CLUSTER))

    def test_a_distant_relative_lends_no_side_chains_and_a_stranger_nothing(self):
        half = "".join(c if k % 8 < 5 else "W" for k, c in enumerate(DONOR))
        protein, = self.load(half)
        self.assertTrue(np.isnan(protein.chi1).all())
        self.assertFalse(np.isnan(protein.phi).all())
        self.assertEqual(self.load(DONOR[::-1]), [])


class Figures(unittest.TestCase):
    def overlap(self, observed, predicted):
        count = collections.Counter()
        evaluate_counts.count_overlap(count, observed, predicted)
        return 100.0 * sum(count["sov " + s] for s in "HEC") / sum(count["sov length " + s] for s in "HEC")

    def test_segment_overlap(self):
        # worked out by hand from the definition: 6.5 of 52 and 7.583 of 12
        self.assertAlmostEqual(self.overlap("CHHHHHHHHHHC", "CHCHCHCHCHCC"), 12.5)
        self.assertAlmostEqual(self.overlap("CHHHHHHHHHHC", "CCCHHHHHCCCC"), 100 * (7 + 1 / 3 + 1 / 4) / 12)
        self.assertAlmostEqual(self.overlap("CCHHHHEEEC", "CCHHHHEEEC"), 100.0)

    def test_a_residue_without_a_row_is_one_without_prediction(self):
        known = {"use_phipsi": "1", "phi": "-60.0", "psi": "-40.0"}
        row = {"CLASS": "Strong", "PHI": "-60.0", "PSI": "175.0"}
        count = collections.Counter()
        evaluate_counts.count_angles(count, {1: row, 2: dict(row, PSI="-30.0")}, {}, {1: known, 2: known, 3: known})
        self.assertEqual([count[n] for n in ("residues all", "class None", "n all", "wrong all", "psi2 all")],
                         [3, 1, 2, 1, 100.0])

    def test_valine_is_turned(self):
        self.assertEqual([evaluate_counts.rotamer(180.0, letter) for letter in "LV"], ["t", "g+"])
        self.assertEqual([evaluate_counts.rotamer(-60.0, letter) for letter in "LV"], ["g-", "t"])


class Build(unittest.TestCase):
    def test_offsets_are_drawn_to_zero_by_their_error(self):
        few, many = (np.tile([0.9, 1.1], n) for n in (5, 200))
        drawn = [cleaning.shrunken_offset(r, 1.0, 0.35)[0] for r in (few, many)]
        self.assertLess(drawn[0], drawn[1])
        self.assertAlmostEqual(drawn[1], 1.0, delta=0.05)
        self.assertEqual(cleaning.shrunken_offset(few[:6], 1.0, 0.35)[0], 0.0)

    def test_an_archive_is_its_contents_alone(self):
        with tempfile.TemporaryDirectory() as folder:
            made = []
            for time in (1, 10 ** 9):
                for name in ("b.tab", "a.tab"):
                    write(os.path.join(folder, name), name)
                    os.utime(os.path.join(folder, name), (time, time))
                build_data.write_archive(folder + "/x.tar.xz", folder, ["b.tab", "a.tab"][::1 if time == 1 else -1])
                with open(folder + "/x.tar.xz", "rb") as stream:
                    made.append(stream.read())
            self.assertEqual(made[0], made[1])


if __name__ == "__main__":
    unittest.main()
