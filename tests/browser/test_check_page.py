"""The page of a shift check in a real browser."""

import random
import unittest

from browser import ASSETS, BrowserCase
from made_records import ATOMS, HOSTILE, LETTERS
from pages import write_page

NUCLEI = ["CA/CB", "CA", "CB", "C", "HA", "N", "HN"]


def made_check(count=80, by_prediction=True):
    """The record of a check with an offset of C, one pair of residues and two outliers."""
    rng = random.Random(7)
    residues = []
    for resid in range(1, count + 1):
        letter = rng.choice(LETTERS)
        expected = {atom: round(rng.uniform(1, 100), 3) for atom in ATOMS}
        observed = {atom: round(value + rng.gauss(0, 0.5), 3) for atom, value in expected.items()}
        spread = {atom: 0.5 for atom in ATOMS}
        if letter == "G":
            observed["CB"] = expected["CB"] = spread["CB"] = None
        residues.append({"resid": resid, "resname": letter, "settled": resid % 7 != 0,
                         "observed": observed, "expected": expected, "spread": spread})
    residues[19]["observed"]["CA"] = residues[19]["expected"]["CA"] + 2.5
    offset = lambda name: {"offset": 0.61 if name == "C" else 0.02, "error": 0.12, "count": 70, "to_correct": name == "C"}
    found = {
        "offsets": {name: (None if name == "HA" else offset(name)) for name in NUCLEI},
        "deuteration": None,
        "misassignments": [{"resid": 20, "with": 21, "exchanged": True, "log_likelihood_ratio": 14.25,
                            "shifts": {"CA": [4.9, 0.3], "CB": [-6.0, 1.1]}, "shifts_of_other": {"CA": [-4.0, 0.1]}}],
        "residues": residues,
    }
    outlier = {"atom": "CB", "secondary_shift": -9.1, "limit": -4.3, "serious": True}
    check = {
        "schema": "orvix-check", "schema_version": 3,
        "input": {"file": "made.tab", "title": HOSTILE, "first_residue": 1, "residue_count": count},
        "remarks": [HOSTILE], "findings": 4,
        "outliers": [{"resid": 9, "resname": "L", "gross": True, **outlier}, {"resid": 1, "resname": "<b>", "gross": False, **outlier}],
        "completeness": {atom: {"assigned": 60, "expected": count} for atom in ATOMS},
        "sequence_mismatches": [], "by_prediction": found if by_prediction else None,
    }
    return {"schema": "orvix-check-page", "schema_version": 1, "program": {"name": "orvix", "version": "1"},
            "written": "2026-01-31T12:00:00Z", "check": check}


class CheckPage(BrowserCase):
    def open(self, record, width=1280, height=900, dark=False):
        address = write_page(ASSETS / "check.html", record, self.scratch / "check.html")
        self.driver.get("about:blank")
        self.driver.get_log("browser")
        self.driver.get_log("performance")
        self.resize(width, height, dark)
        self.driver.get(address)
        self.addCleanup(self.assert_quiet)

    def test_findings_stand_in_words_plots_and_tables(self):
        record = made_check()
        self.open(record)
        verdict = self.text("#verdict")
        self.assertIn("C shifts are 0.61 ± 0.12 ppm too high", verdict)
        self.assertIn("1 pair of residues", verdict)
        self.assertIn("1 gross outlier", verdict)
        self.assertEqual(self.count("#offset-plot g.offset"), 6)
        self.assertEqual(self.js("return [...document.querySelectorAll('#offset-plot .significant')].map(n => n.dataset.nucleus)"), ["C"])
        self.assertEqual(self.count("#offsets tbody tr"), 7)
        self.assertIn("too few shifts", self.text('#offsets tr[data-nucleus="HA"]'))
        self.assertIn("CA 4.9 → 0.3", self.text("#pairs tbody tr"))
        self.assertEqual(self.count("#outlier-table tbody tr"), 2)
        shifts = sum(value is not None for one in record["check"]["by_prediction"]["residues"] for value in one["observed"].values())
        self.assertEqual(self.count("#deviation-plot rect.shift"), shifts)
        self.assertEqual(self.count("#deviation-plot rect.shift.outlier"), 1)
        self.assertEqual(self.count("#deviation-plot rect.chosen"), 2)
        self.assertIsNone(self.js("return window.broken ?? null"))
        self.assertIn("</script>", self.text("h1"))

    def test_without_a_prediction_the_page_says_so(self):
        self.open(made_check(by_prediction=False))
        self.assertIn("without a prediction", self.text("#verdict"))
        self.assertEqual(self.count("#deviation-plot"), 0)

    def test_narrow_page_has_no_overflow(self):
        for width, dark in ((360, False), (1280, True)):
            self.open(made_check(), width, 740, dark)
            self.assertLessEqual(self.js("return document.documentElement.scrollWidth"), width)
            self.assertEqual(self.overlaps("main h1, main h2, main p, .toolbar > *"), [])
            self.picture(f"check-{width}{'-dark' if dark else ''}")


if __name__ == "__main__":
    unittest.main()
