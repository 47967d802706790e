"""Cleaning, reference tables and packing."""

import ast
import os
import subprocess
import sys
import tempfile
import unittest
import unittest.mock

import numpy as np

from support import ROOT, table, write
from data import build, cleaning, dataset, reference_tables

LETTERS = "ARNDCQEGHILKMFPSTWYV"


class Cleaning(unittest.TestCase):
    def test_offsets_are_drawn_to_zero_by_their_error(self):
        few, many = (np.tile([0.9, 1.1], n) for n in (5, 200))
        drawn = [cleaning.shrunken_offset(r, 1.0, 0.35)[0] for r in (few, many)]
        self.assertLess(drawn[0], drawn[1])
        self.assertAlmostEqual(drawn[1], 1.0, delta=0.05)
        self.assertEqual(cleaning.shrunken_offset(few[:6], 1.0, 0.35)[0], 0.0)

    def test_a_work_directory_reads_back_as_it_was_written(self):
        info = {
            "structure_kind": "related",
            "identity": "0.5",
            "cluster30": "3",
            "group90": "4",
            "split": "train",
            "bmrb": "17",
            "pdb": "1ABC",
            "pdb_chain": "A",
            "title": "a title",
        }
        p = dataset.empty_record("b17_1abcA", "GAC", info)
        p.shift[:] = np.array([[100.125, 3.97, np.nan, 45.1, np.nan, 8.0]] * 3)
        p.phi[:], p.psi[:], p.chi1[1] = -60.0, [120.0, np.nan, -45.5], 180.0
        p.dssp[1], p.use_phipsi[1], p.oxidised[2] = "G", True, True
        with tempfile.TemporaryDirectory() as work:
            dataset.write_work([p], "", work)
            (q,) = dataset.load_work(work)
        for name in ("shift", "phi", "psi", "omega", "chi1", "use_phipsi", "use_chi1", "oxidised"):
            np.testing.assert_array_equal(getattr(q, name), getattr(p, name), name)
        self.assertEqual((q.letters, list(q.ss), q.info["weight"]), ("GAc", [".", "H", "."], "0.4"))


class Tables(unittest.TestCase):
    def test_every_letter_of_a_sequence_has_scores(self):
        with tempfile.TemporaryDirectory() as folder:
            rows = [a + " " + " ".join(str(3 * (a == b) - 1) for b in LETTERS) for a in LETTERS]
            write(folder + "/reference/blosum62.tsv", table("res1 " + " ".join(LETTERS), *rows))
            reference_tables.write_blosum(folder, folder + "/BLOSUM62.tab")
            with open(folder + "/BLOSUM62.tab") as stream:
                lines = [line.split() for line in stream if line.startswith(" ")]
        found = {words[0]: words[1:] for words in lines}
        self.assertEqual([words[0] for words in lines[:20]], list(LETTERS))
        self.assertEqual(found["p"], found["P"])
        for letter in "BJOUZ":
            self.assertEqual(found[letter], ["0"] * 20)


class Build(unittest.TestCase):
    def test_an_archive_is_its_contents_alone(self):
        with tempfile.TemporaryDirectory() as folder:
            made = []
            for time in (1, 10**9):
                for name in ("b.tab", "a.tab"):
                    write(os.path.join(folder, name), name)
                    os.utime(os.path.join(folder, name), (time, time))
                names = ["b.tab", "a.tab"][:: 1 if time == 1 else -1]
                build.write_archive(folder + "/x.tar.xz", folder, names)
                with open(folder + "/x.tar.xz", "rb") as stream:
                    made.append(stream.read())
            self.assertEqual(made[0], made[1])

    def test_every_step_calls_a_tool_that_there_is_with_words_that_it_knows(self):
        with open(build.__file__) as stream:
            calls = [
                node
                for node in ast.walk(ast.parse(stream.read()))
                if isinstance(node, ast.Call) and getattr(node.func, "attr", "") == "script"
            ]
        self.assertGreaterEqual(len(calls), 10)
        for call in calls:
            words = [
                node.value
                for node in ast.walk(call)
                if isinstance(node, ast.Constant) and isinstance(node.value, str)
            ]
            path = os.path.join(ROOT, "tools", *words[0].split(".")) + ".py"
            self.assertTrue(os.path.exists(path), words[0])
            with open(path) as stream:
                text = stream.read()
            for option in (word for word in words if word.startswith("--")):
                self.assertIn('"%s"' % option, text, words[0])

    def test_steps_run_in_order_and_go_on_where_they_broke_off(self):
        class Broken(Exception):
            pass

        ran, broken = [], ["calibration"]

        def step(name):
            def run(_):
                if name in broken:
                    raise Broken
                ran.append(name)

            return run

        steps = {name: step(name) for name in build.STEPS}
        with tempfile.TemporaryDirectory() as work, unittest.mock.patch.dict(build.STEPS, steps):
            arguments = ["build", "source", "--work", work, "--jobs", "2"]
            with unittest.mock.patch.object(sys, "argv", arguments):
                with self.assertRaises(Broken):
                    build.main()
                first = list(ran)
                broken.clear()
                build.main()
        self.assertEqual(sorted(ran), sorted(build.STEPS))
        self.assertEqual(first[:8], list(build.STEPS)[:8])
        self.assertLess(first.index("surface"), first.index("secondary"))
        self.assertEqual(
            ran[len(first) :], list(build.STEPS)[list(build.STEPS).index("calibration") :]
        )

    def test_the_launcher_lists_what_runs_and_refuses_what_does_not(self):
        run = [sys.executable, os.path.join(ROOT, "tools", "run.py")]
        listed = subprocess.run(run, capture_output=True, text=True, check=True).stdout
        for name in list(("data.build", "training.shift_model", "evaluation.proteins")):
            self.assertIn(name, listed)
        self.assertNotIn("data.dataset", listed)
        refused = subprocess.run(
            run + ["data.dataset"], capture_output=True, text=True, check=False
        )
        self.assertEqual(refused.returncode, 2)
        self.assertIn("no tool data.dataset", refused.stderr)


if __name__ == "__main__":
    unittest.main()
