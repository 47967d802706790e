"""Folds, chains of the database, parts of the evaluation: who is counted where."""

import os
import tempfile
import unittest
from unittest import mock

import numpy as np

from support import table, write
from data import chains, dataset, folds, kinship, rows
from evaluation import subsets


class Folds(unittest.TestCase):
    def test_clusters_stay_whole_and_folds_even(self):
        clusters = np.repeat(np.arange(60), np.arange(60) * 3 + 5)
        found = folds.cluster_folds(clusters, 4, 1)
        for cluster in range(60):
            self.assertEqual(len(set(found[clusters == cluster])), 1)
        sizes = np.bincount(found)
        self.assertEqual(len(sizes), 4)
        self.assertLess(sizes.max() - sizes.min(), 0.05 * sizes.sum())

    def test_the_fold_of_a_protein_does_not_depend_on_who_asks(self):
        with tempfile.TemporaryDirectory() as work:
            lines = [f"p{k} {k % 30} {20 + k}" for k in range(90)]
            write(work + "/proteins.tsv", table("id cluster30 n_use", *lines))
            everyone = folds.small_folds(work, [k % 30 for k in range(90)])
            self.assertEqual(
                folds.small_folds(work, ["7", "29", "7"]).tolist(), everyone[[7, 29, 7]].tolist()
            )
            self.assertEqual(len(set(everyone)), folds.SMALL_FOLDS)


class Windows(unittest.TestCase):
    def test_windows_do_not_cross_the_ends_of_chains(self):
        centres, windows = rows.window_index([(0, 3), (3, 9)], 2, True)
        self.assertEqual(centres.tolist(), list(range(9)))
        self.assertEqual(windows[2].tolist(), [0, 1, 2, -1, -1])
        self.assertEqual(windows[3].tolist(), [-1, -1, 3, 4, 5])
        centres, windows = rows.window_index([(0, 3), (3, 9)], 2, False)
        self.assertEqual(centres.tolist(), [5, 6])
        self.assertEqual(windows[0].tolist(), [3, 4, 5, 6, 7])

    def test_a_gap_in_the_numbering_ends_a_stretch(self):
        with tempfile.TemporaryDirectory() as work:
            os.makedirs(work + "/features")
            lines = ["a 1 0", "a 2 1", "a 3 -1", "a 4 2", "b 5 3"]
            write(work + "/features/full.tsv", table("id resid row", *lines))
            np.arange(4 * rows.SIZE, dtype="<f4").tofile(work + "/features/full.f32")
            dump = rows.read_dump(work, "full")
        self.assertEqual(dump["chains"], [(0, 2), (2, 3), (3, 4)])
        self.assertEqual(dump["x"][2, 0], 2 * rows.SIZE)


class Chains(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.source = folder.name
        head = "chain index aa dssp8 phi psi omega"
        lines = [
            f"{c} {k + 1} A H {'.' if k == 0 else -60.0} -40.0 180" for c in "xyz" for k in range(4)
        ]
        write(self.source + "/backbones.tsv.gz", table(head, *lines))
        manifest = table("chain resolution length", "x 2.0 4", "y 1.5 4", "z 1.2 4")
        write(self.source + "/backbones_manifest.tsv", manifest)

    def test_the_best_resolved_backbones_come_first(self):
        self.assertEqual(chains.read_backbones(self.source, 0), {})
        self.assertEqual(sorted(chains.read_backbones(self.source, 9)), ["y", "z"])

    def test_rows_need_both_angles_and_side_chains_may_be_unknown(self):
        path = self.source + "/chains.tsv"
        self.assertEqual(chains.write_chains(path, chains.read_backbones(self.source, 4), {"z"}), 3)
        first = next(dataset.read_tsv(path))
        cells = [first[name] for name in ("resid", "chi1", "dssp8", "set")]
        self.assertEqual(cells, ["2", "9999.0", "H", "backbones"])
        self.assertEqual(first["source"], "s_z".ljust(18, "_"))

    def test_the_protein_itself_is_told_from_a_relative(self):
        protein = dataset.empty_record("p", "A" * 10, {"cluster30": "1", "source": "word"})
        known = {name: [{"aa": "A"}] * 10 for name in ("same", "part", "kin")}
        pairs = tuple((i, i) for i in range(10))
        hits = [
            kinship.Hit("p", "same", 0.0, 0.95, pairs),
            kinship.Hit("p", "part", 0.0, 1.0, pairs[:6]),
            kinship.Hit("p", "kin", 0.0, 0.8, pairs),
        ]
        with mock.patch.object(kinship, "search", return_value={"p": hits}):
            related, same = chains.find_kin([protein], known)
        self.assertEqual(same, {"same"})
        chains.write_related(self.source + "/related.tsv", [protein], related)
        words = next(dataset.read_tsv(self.source + "/related.tsv"))["sources"].split(",")
        self.assertEqual(words, ["word"] + [dataset.chain_word(c) for c in ("same", "part", "kin")])


class Subsets(unittest.TestCase):
    def shifts(self, folder, name, sequence, atoms):
        p = dataset.empty_record(name, sequence, {})
        for atom in atoms:
            p.shift[:, dataset.ATOMS.index(atom)] = 8.0
        dataset.write_table(f"{folder}/{name}.tab", p)

    def test_atoms_that_a_residue_lacks_are_not_missing(self):
        with tempfile.TemporaryDirectory() as folder:
            self.shifts(folder, "all", "AGP", dataset.ATOMS)
            self.assertEqual(subsets.complete_share(folder + "/all.tab"), 1.0)
            self.shifts(folder, "half", "AA", ("CA", "CB", "C"))
            self.assertEqual(subsets.complete_share(folder + "/half.tab"), 0.5)

    def test_parts_by_resolution_completeness_and_an_earlier_list(self):
        with tempfile.TemporaryDirectory() as folder:
            head = "id pdb structure_kind method resolution"
            lines = [
                "a 1aaa archive-file X-ray 2.0",
                "b ~2BBB backbone-only . .",
                "c 3ccc predicted . .",
                "d 4ddd archive-file X-ray 2.5",
            ]
            write(folder + "/manifest.tsv", table(head, *lines))
            index = table("pdb method resolution", "2BBB X-ray 1.8", "3CCC X-ray 1.0")
            write(folder + "/pdb_index.tsv", index)
            for name, atoms in (("a", dataset.ATOMS), ("b", ("N",)), ("c", ("N",)), ("d", ("N",))):
                self.shifts(folder, name, "AAAA", atoms)
            write(folder + "/known.tsv", table("source", "wa", "wd"))
            proteins = [{"id": name, "source": "w" + name} for name in "abcd"]
            parts = subsets.subsets(proteins, folder, folder, folder + "/known.tsv")
        names = [[p["id"] for p in some] for _, some in parts]
        self.assertEqual(names, [["a", "b"], ["a"], ["a", "d"], ["b", "c"]])


if __name__ == "__main__":
    unittest.main()
