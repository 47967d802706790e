"""The shift model of the data directory, evaluated as docs/tables.md says."""

import json
import os
import unittest

import numpy as np

from support import HERE, ROOT

TAB = os.path.join(ROOT, "data", "tab")
LETTERS = "ACDEFGHIKLMNPQRSTVWY"
ATOMS = ("N", "HA", "C", "CA", "CB", "HN")


def rows_of(name):
    with open(os.path.join(TAB, name)) as stream:
        words = [line.split() for line in stream]
    return [w for w in words if w and w[0] not in ("REMARK", "VARS", "FORMAT")]


def entries(residue):
    if residue is None:
        return [0.0] * 34
    letter = residue["letter"]
    x = [float(letter.upper() == known) for known in LETTERS] + [float(letter == "c")]
    x += residue["states"]
    for angle in (residue["phi"], residue["psi"]):
        turn = np.deg2rad(angle or 0.0)
        x += [0.0, 0.0] if angle is None else [np.sin(turn), np.cos(turn)]
    x += [float(residue[name] is not None) for name in ("phi", "psi")]
    return x + residue["rotamers"] + [1.0]


def expected(x):
    layers = [np.array(rows_of(f"shiftmodel.level1.{s}.tab"), float) for s in ("WI", "WL1", "WL2")]
    total = np.zeros(len(ATOMS))
    for wi, w1, w2 in zip(*(np.split(layer, 3) for layer in layers)):
        a = np.tanh(wi[:, :-1] @ x + wi[:, -1])
        h = np.tanh(w1[:, :-1] @ a + w1[:, -1])
        total += w2[:, :-1] @ h + w2[:, -1]
    return total / 3


class ShiftModel(unittest.TestCase):
    def test_the_tables_give_the_written_examples(self):
        with open(os.path.join(HERE, "shiftmodel.json")) as stream:
            windows = json.load(stream)["windows"]
        self.assertTrue(any(None in w["residues"] for w in windows))
        for window in windows:
            x = np.concatenate([entries(residue) for residue in window["residues"]])
            np.testing.assert_allclose(x, window["input"], atol=1e-8)
            output = [window["output"][atom] for atom in ATOMS]
            np.testing.assert_allclose(expected(x), output, atol=2e-6)

    def test_a_helix_and_a_strand_shift_their_carbons_apart(self):
        def five(states, phi, psi):
            residue = {"letter": "A", "states": states, "phi": phi, "psi": psi}
            return expected(np.concatenate([entries({**residue, "rotamers": [0.0] * 3})] * 5))

        ca, cb, ha = (ATOMS.index(atom) for atom in ("CA", "CB", "HA"))
        helix, strand = five([1.0, 0.0, 0.0], -62.0, -42.0), five([0.0, 1.0, 0.0], -120.0, 135.0)
        self.assertGreater(helix[ca], 1.5)
        self.assertLess(strand[ca], -0.5)
        self.assertLess(helix[cb], strand[cb] - 1.0)
        self.assertLess(helix[ha], strand[ha] - 0.4)

    def test_every_shift_that_a_residue_has_has_a_spread(self):
        rows = {words[0]: np.array(words[1:], float) for words in rows_of("shiftmodel.tab")}
        self.assertEqual(sorted(rows), sorted(LETTERS + "c"))
        for letter, spreads in rows.items():
            without = {"G": {"CB"}, "P": {"N", "HN"}}.get(letter, set())
            self.assertEqual({a for a, v in zip(ATOMS, spreads) if v == 0}, without)
            self.assertLess(spreads.max(), 5.0)


if __name__ == "__main__":
    unittest.main()
