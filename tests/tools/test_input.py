"""The input of the networks as the trainers make it is that of the program."""

import os
import shutil
import subprocess
import tempfile
import unittest

import numpy as np

from support import DATA_TOOL, PROGRAM, ROOT, TABLES, needs_programs, table, write
from data import boxes, dataset, reference_tables, rows
from data.results import read_rows

EXAMPLE, SOURCE = "ci2", "b04974_2SNII______"
MEMBERS = 3
MOST_MISSING = 4  # shifts that a residue of a window may lack for the network of complete tables


def weights(name, level):
    """Layers of the members of a network: pairs of weights and biases."""
    layers = []
    for suffix in ("WI", "WL1", "WL2"):
        with open(os.path.join(TABLES, f"{name}.level{level}.{suffix}.tab")) as stream:
            words = [line.split() for line in stream]
        head = ("REMARK", "VARS", "FORMAT")
        cells = np.array([w for w in words if w and w[0] not in head], float)
        layers.append([(part[:, :-1], part[:, -1]) for part in np.split(cells, MEMBERS)])
    return list(zip(*layers))


def outputs(name, level, x):
    """Mean output of the members for rows of input."""
    total = 0.0
    for (wi, bi), (w1, b1), (w2, b2) in weights(name, level):
        total = total + np.tanh(np.tanh(x @ wi.T + bi) @ w1.T + b1) @ w2.T + b2
    return total / MEMBERS


def read_table(name):
    """Rows of a table of the data directory by residue letter, as dictionaries by column."""
    found, columns = {}, None
    with open(os.path.join(TABLES, name)) as stream:
        for words in map(str.split, stream):
            if words[:1] == ["VARS"]:
                columns = words[1:]
            elif columns and len(words) == len(columns) and words[0] != "FORMAT":
                row = dict(zip(columns, words))
                found[row["RESNAME"]] = row
    return found


def read_limits():
    """Lowest and highest secondary shift that the networks see, by letter."""
    return {
        letter: [
            np.array([float(row[f"{atom}_{end}"]) for atom in rows.ATOM_ORDER])
            for end in ("MIN", "MAX")
        ]
        for letter, row in read_table("sslimit.tab").items()
    }


@needs_programs
class ProgramInput(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.mkdtemp()
        cls.addClassCleanup(shutil.rmtree, cls.work)
        example = os.path.join(ROOT, "examples", EXAMPLE + ".tab")
        os.makedirs(os.path.join(cls.work, "tables"))
        shutil.copy(example, os.path.join(cls.work, "tables"))
        write(cls.work + "/proteins.tsv", table("id source cluster30", f"{EXAMPLE} {SOURCE} 1"))
        write(cls.work + "/labels.tsv", table("id resid phi psi chi1 use_phipsi use_chi1"))
        command = [DATA_TOOL, "features", cls.work, TABLES, "full", "full"]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        cls.dump = rows.read_dump(cls.work, "full")
        # The dump never uses triplets of the protein itself; neither may the run.
        command = [PROGRAM, "-tabDir", TABLES, "-in", example, "-excl", SOURCE]
        subprocess.run(command, check=True, cwd=cls.work, capture_output=True)

    def protein(self):
        """The example as the data side holds it."""
        letters, shifts = "", []
        with open(os.path.join(self.work, "tables", EXAMPLE + ".tab")) as stream:
            for line in stream:
                words = line.split()
                if line.startswith("DATA SEQUENCE"):
                    letters += "".join(words[2:])
                elif len(words) == 4 and words[0].isdigit():
                    shifts.append((int(words[0]) - 1, words[2], float(words[3])))
        p = dataset.empty_record(EXAMPLE, letters.upper(), {})
        p.oxidised = np.array([c == "c" for c in letters])
        for i in range(len(letters)):
            own = {("H" if atom == "HN" else atom): str(v) for k, atom, v in shifts if k == i}
            columns = ("N", "H", "HA", "HA2", "HA3", "C", "CA", "CB")
            dataset.set_shifts(p, i, {c: own.get(c, ".") for c in columns})
        return p

    def test_secondary_shifts_flags_and_scores_of_each_residue(self):
        p = self.protein()
        tables = reference_tables.read_tables(TABLES)
        expected = reference_tables.secondary_shifts(p, tables)
        order = [dataset.ATOMS.index(atom) for atom in rows.ATOM_ORDER]
        scores = {
            name: np.array([float(row[letter]) for letter in dataset.LETTERS])
            for name, row in read_table("BLOSUM62.tab").items()
        }
        limits = read_limits()
        measured = 0
        self.assertEqual(list(self.dump["resid"]), list(range(1, len(p.seq) + 1)))
        for x, secondary, letter in zip(self.dump["x"], expected[:, order], p.seq):
            known = ~np.isnan(secondary)
            np.testing.assert_array_equal(x[rows.FLAGS] == 0, known)
            low, high = limits[letter]
            held = np.clip(secondary, low, high)[known]
            np.testing.assert_allclose(x[rows.VALUES][known], held, atol=1e-4)
            np.testing.assert_allclose(x[rows.SCORES] * rows.SCORE_UNIT, scores[letter], atol=1e-5)
            measured += known.sum()
        self.assertGreater(measured, 200)

    def maps(self):
        """Maps by residue from the trainers' input, where all windows are whole; missing shifts."""
        x = self.dump["x"]
        centres, windows = rows.window_index(self.dump["chains"], 2, False)
        inputs = np.concatenate([x[:, rows.SCORES] * rows.SCORE_UNIT, x[:, :12]], 1)
        inputs = inputs[windows].reshape(len(windows), 160).astype(float)
        first = np.zeros((len(x), 324))
        first[centres] = outputs("surf20", 1, inputs)
        inner = windows[2:-2]
        second = outputs("surf20", 2, first[inner].reshape(len(inner), 1620))
        hybrid = outputs("surf20_hyb", 1, inputs)[2:-2]
        missing = (x[:, rows.FLAGS] == 1).sum(1)[inner].max(1)
        prior = np.maximum(np.sqrt(np.array(boxes.BOX_SHARE)), 0.03)
        chosen = np.where((missing <= MOST_MISSING)[:, None], second, hybrid) * prior
        return dict(zip(self.dump["resid"][inner[:, 2]].tolist(), chosen.clip(min=0))), missing

    def test_windows_order_and_prior_of_the_phi_psi_networks(self):
        maps, missing = self.maps()
        self.assertTrue((missing <= MOST_MISSING).any() and (missing > MOST_MISSING).any())
        printed = read_rows(os.path.join(self.work, "predABP.tab"))
        for number, expected in maps.items():
            q = [float(printed[number][f"Q_{k}"]) for k in range(324)]
            np.testing.assert_allclose(expected, q, atol=6e-4, err_msg=f"residue {number}")


if __name__ == "__main__":
    unittest.main()
