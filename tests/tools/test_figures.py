"""Figures of the evaluation."""

import collections
import os
import tempfile
import unittest
from xml.etree import ElementTree

import numpy as np

import support  # noqa: F401  (the import path)
from data import results
from evaluation import counts, plots, proteins


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
        row = {"CLASS": "Strong", "PHI": "-60.0", "PSI": "175.0", "DPHI": "3.0", "DPSI": "4.0"}
        count = collections.Counter()
        summary = {1: row, 2: dict(row, PSI="-30.0")}
        counts.count_angles(count, summary, {}, {1: known, 2: known, 3: known})
        names = ("residues all", "class None", "n all", "wrong all", "psi2 all", "spread 5")
        self.assertEqual([count[n] for n in names], [3, 1, 2, 1, 100.0, 2])

    def test_plots_show_the_counts(self):
        count = {
            "searched all": 100,
            "spread 4": 40,
            "spread wrong 4": 1,
            "spread 9": 40,
            "spread wrong 9": 3,
            "tenth Q 7": 50,
            "tenth sum Q 7": 37.5,
            "tenth right Q 7": 40,
        }
        zero = collections.defaultdict(lambda: np.zeros(3))
        total = collections.defaultdict(
            zero.default_factory, {n: np.full(3, v) for n, v in count.items()}
        )
        curve = plots.served_curve(total)
        self.assertEqual([tuple(np.round(p, 6)) for p in curve], [(40.0, 2.5), (80.0, 5.0)])
        figures = collections.defaultdict(lambda: np.array([5.0, 4.0, 6.0]))
        with tempfile.TemporaryDirectory() as folder:
            plots.write_all(folder, total, figures, proteins.share, proteins.error)
            found = {}
            for name in sorted(os.listdir(folder)):
                root = ElementTree.parse(os.path.join(folder, name)).getroot()
                found[name] = root.findall("{*}circle")
        self.assertEqual(
            {name: len(marks) for name, marks in found.items()},
            {"calibration.svg": 1, "served.svg": 0, "shifts.svg": 15},
        )
        # stated 75 %, right 80 %, on axes from 0 to 100
        mark = found["calibration.svg"][0]
        across = (float(mark.get("cx")) - plots.LEFT) / (plots.WIDTH - plots.LEFT - plots.RIGHT)
        up = (plots.HEIGHT - plots.BOTTOM - float(mark.get("cy"))) / (
            plots.HEIGHT - plots.BOTTOM - plots.TOP
        )
        self.assertAlmostEqual(across, 0.75, places=3)
        self.assertAlmostEqual(up, 0.80, places=3)

    def test_valine_is_turned(self):
        self.assertEqual([results.rotamer(180.0, letter) for letter in "LV"], ["t", "g+"])
        self.assertEqual([results.rotamer(-60.0, letter) for letter in "LV"], ["g-", "t"])


if __name__ == "__main__":
    unittest.main()
