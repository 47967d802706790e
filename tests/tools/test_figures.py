"""Figures of the evaluation."""

import collections
import unittest

import support  # noqa: F401  (the import path)
from data import results
from evaluation import counts


class Figures(unittest.TestCase):
    def overlap(self, observed, predicted):
        count = collections.Counter()
        counts.count_overlap(count, observed, predicted)
        return (
            100.0
            * sum(count["sov " + s] for s in "HEC")
            / sum(count["sov length " + s] for s in "HEC")
        )

    def test_segment_overlap(self):
        # worked out by hand from the definition: 6.5 of 52 and 7.583 of 12
        self.assertAlmostEqual(self.overlap("CHHHHHHHHHHC", "CHCHCHCHCHCC"), 12.5)
        self.assertAlmostEqual(
            self.overlap("CHHHHHHHHHHC", "CCCHHHHHCCCC"), 100 * (7 + 1 / 3 + 1 / 4) / 12
        )
        self.assertAlmostEqual(self.overlap("CCHHHHEEEC", "CCHHHHEEEC"), 100.0)

    def test_a_residue_without_a_row_is_one_without_prediction(self):
        known = {"use_phipsi": "1", "phi": "-60.0", "psi": "-40.0"}
        row = {"CLASS": "Strong", "PHI": "-60.0", "PSI": "175.0"}
        count = collections.Counter()
        summary = {1: row, 2: dict(row, PSI="-30.0")}
        counts.count_angles(count, summary, {}, {1: known, 2: known, 3: known})
        names = ("residues all", "class None", "n all", "wrong all", "psi2 all")
        self.assertEqual([count[n] for n in names], [3, 1, 2, 1, 100.0])

    def test_valine_is_turned(self):
        self.assertEqual([results.rotamer(180.0, letter) for letter in "LV"], ["t", "g+"])
        self.assertEqual([results.rotamer(-60.0, letter) for letter in "LV"], ["g-", "t"])


if __name__ == "__main__":
    unittest.main()
