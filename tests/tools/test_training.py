"""The trainers: what is written is what was trained, and a resumed training is the same one."""

import argparse
import os
import tempfile
import unittest

import numpy as np

import support  # noqa: F401  (the import path)

try:
    import torch
except ImportError:
    raise unittest.SkipTest("PyTorch is not installed") from None

from training import (
    chi1,
    chi1_calibration,
    map_figures,
    networks,
    secondary,
    sequence,
    shift_model,
    surface,
    windows,
)


def read_layer(folder, name, level, suffix):
    with open(os.path.join(folder, f"{name}.level{level}.{suffix}.tab")) as stream:
        words = [line.split() for line in stream]
    cells = [w for w in words if w and w[0] not in ("REMARK", "VARS", "FORMAT")]
    return np.array(cells, float)


def vectors(lengths, variants=2, seed=3):
    """Random residue vectors of chains of the given lengths."""
    generator = torch.Generator().manual_seed(seed)
    n = sum(lengths)
    x = torch.randn(variants, n, windows.SIZE, generator=generator)
    x[:, :, windows.FLAGS] = 0.0
    edges = np.cumsum([0, *lengths])
    return windows.ResidueVectors(x, list(zip(edges[:-1].tolist(), edges[1:].tolist())))


class Members(unittest.TestCase):
    def test_written_tables_give_the_output_of_the_member(self):
        torch.manual_seed(1)
        net = networks.Member(12, 7, 3, live=5)
        sample = torch.randn(50, 12) * 3 + 2
        sample[:, 4] = 1.0  # never varies
        net.standardise_on(sample)
        net.eval()
        scale = np.array([2.0, 0.5, 1.0])
        with tempfile.TemporaryDirectory() as folder:
            networks.write_level(folder, "net", 1, [net], scale)
            wi, w1, w2 = (read_layer(folder, "net", 1, s) for s in ("WI", "WL1", "WL2"))
        self.assertEqual((wi.shape, w1.shape, w2.shape), ((12, 13), (7, 13), (3, 8)))
        x = sample.double().numpy()
        a = np.tanh(x @ wi[:, :-1].T + wi[:, -1])
        h = np.tanh(a @ w1[:, :-1].T + w1[:, -1])
        with torch.no_grad():
            expected = net(sample).numpy() * scale
        np.testing.assert_allclose(h @ w2[:, :-1].T + w2[:, -1], expected, atol=5e-3)

    def test_level_2_on_some_boxes_is_the_same_on_all(self):
        boxes = np.array([3, 40, 41, 200])
        torch.manual_seed(2)
        net = networks.Member(5 * len(boxes), 360, 324, live=8)
        maps = torch.rand(6, 5, 324)
        net.standardise_on(maps[:, :, boxes].reshape(6, -1))
        full = surface.widen_level2(net, boxes).eval()
        raw = maps / torch.from_numpy(networks.BOX_PRIOR)  # the program's level 1 output
        with torch.no_grad():
            expected = net.eval()(maps[:, :, boxes].reshape(6, -1))
            np.testing.assert_allclose(full(raw.reshape(6, -1)), expected, atol=1e-4)

    def test_members_of_an_ensemble_become_what_they_would_alone(self):
        data = torch.randn(64, 4, generator=torch.Generator().manual_seed(5))
        target = data.sum(1, keepdim=True)

        def batches(rng):
            for k in rng.permutation(4):
                yield slice(16 * k, 16 * k + 16)

        def loss(model, rows):
            return sum(((out - target[rows]) ** 2).mean() for out in model(data[rows]))

        def train(folder, seeds):
            members = []
            for seed in seeds:
                torch.manual_seed(seed)
                members.append(networks.Member(4, 3, 1))
            ensemble = networks.Ensemble(members)
            state = os.path.join(folder, "-".join(map(str, seeds)))
            networks.fit(
                ensemble, state, batches, loss, lambda m: loss(m, slice(0, 64)), 4, 0.01, 0.1
            )
            return members

        with tempfile.TemporaryDirectory() as folder:
            together = train(folder, [1, 2])
            for member, seed in zip(together, (1, 2)):
                (alone,) = train(folder, [seed])
                for mine, other in zip(member.parameters(), alone.parameters()):
                    torch.testing.assert_close(mine, other)

    def test_a_broken_off_training_goes_on_to_the_same_weights(self):
        data = torch.randn(64, 4, generator=torch.Generator().manual_seed(5))
        target = data.sum(1, keepdim=True)

        class Stop(Exception):
            pass

        def train(folder, most):
            torch.manual_seed(9)
            net = networks.Member(4, 3, 1)
            epochs = []

            def batches(rng):
                epochs.append(1)
                if len(epochs) > most:
                    raise Stop
                for k in rng.permutation(4):
                    yield slice(16 * k, 16 * k + 16)

            def loss(model, rows):
                return ((model(data[rows]) - target[rows]) ** 2).mean()

            networks.fit(
                net,
                os.path.join(folder, "s"),
                batches,
                loss,
                lambda m: loss(m, slice(0, 64)),
                6,
                0.01,
            )
            return net.state_dict()

        interval, networks.SAVE_SECONDS = networks.SAVE_SECONDS, -1
        self.addCleanup(setattr, networks, "SAVE_SECONDS", interval)
        with tempfile.TemporaryDirectory() as whole, tempfile.TemporaryDirectory() as broken:
            expected = train(whole, 99)
            with self.assertRaises(Stop):
                train(broken, 3)
            resumed = train(broken, 99)
        for name, value in expected.items():
            self.assertTrue(torch.equal(resumed[name], value), name)


class Vectors(unittest.TestCase):
    def test_noise_leaves_missing_values_and_scores_alone(self):
        data = vectors([6])
        data.x[:, 2, 1] = 1.0  # HN of residue 2 is missing
        data.known = data.x[:, :, 1:12:2] == 0
        torch.manual_seed(1)
        window = torch.tensor([[1, 2, 3, 4, 5]])
        plain, noisy = (data.take(torch.tensor([0]), window, n) for n in (False, True))
        changed = (plain != noisy)[0]
        self.assertFalse(changed[:, 12:].any() or changed[:, 1:12:2].any() or changed[1, 0])
        self.assertTrue(changed[0, 0:12:2].all())

    def test_a_variant_that_lacks_a_residue_gives_way_to_the_complete_one(self):
        data = vectors([6])
        data.has[1, 4] = False
        window = np.array([[0, 1, 2], [3, 4, 5]])
        self.assertEqual(data.present(np.array([1, 1]), window).tolist(), [1, 0])

    def test_members_stop_on_proteins_they_are_not_trained_on(self):
        data = windows.MeasuredVectors.__new__(windows.MeasuredVectors)
        data.fold = np.arange(20)
        stops = [set(np.flatnonzero(data.shipped_split(m)[1])) for m in range(3)]
        self.assertEqual(len(set.union(*stops)), sum(map(len, stops)))
        for f in range(4):
            train, held = data.fold_split(f)
            self.assertFalse((train & held).any())
            self.assertFalse(((data.fold % 4 == f) & (train | held)).any())

    def test_only_the_first_place_of_a_secondary_window_may_lie_before_the_chain(self):
        data = vectors([5])
        for name, expected in (("ss5", [1, 2]), ("ss", [1, 2, 3])):
            self.assertEqual(secondary.network_windows(name, data)[0].tolist(), expected)

    def test_a_three_residue_network_does_not_see_the_shifts_it_lacks(self):
        data = vectors([5])
        window = np.array([[1, 2, 3]])
        x = secondary.level1_input("ss.center", data, np.array([0]), window, False)
        self.assertEqual(x.shape, (1, 84))
        changed = vectors([5])
        changed.x[:, 2, :12] += 1.0
        self.assertTrue(
            torch.equal(
                x, secondary.level1_input("ss.center", changed, np.array([0]), window, False)
            )
        )

    def test_ends_are_marked_beside_all_places_but_the_middle(self):
        x = torch.arange(6.0).reshape(1, 3, 2)
        marks = torch.tensor([[True, False, True]])
        self.assertEqual(windows.flagged(x, marks).tolist(), [[1, 0, 1, 2, 3, 1, 4, 5]])


class Targets(unittest.TestCase):
    def test_a_bump_peaks_in_its_box_and_wraps_around(self):
        maps = surface.bumps(torch.tensor([-170.0, 175.0]), torch.tensor([10.0, 175.0]), 22.0, 1.1)
        self.assertAlmostEqual(float(maps[0].max()), 1.1, places=5)
        self.assertEqual(int(maps[0].argmax()), 9)
        second = maps[1].reshape(18, 18)
        # 5 degrees from the box at 170, 15 from that at -170, in both directions
        self.assertAlmostEqual(float(second[0, 0]), 1.1 * np.exp(-((15 / 22) ** 2)), places=5)

    def test_too_low_costs_more_than_too_high_and_below_zero_little(self):
        weight = torch.ones(1)
        target = torch.tensor([[0.5, 0.0]])

        def loss(q):
            return float(surface.surface_loss(torch.tensor([q]), target, weight, 20.0))

        self.assertAlmostEqual(loss([0.4, 0.0]) / loss([0.6, 0.0]), 20.0, places=3)
        self.assertLess(loss([0.5, -0.1]), loss([0.5, 0.1]))

    def test_the_share_of_wrong_maps_counts_the_most_decided(self):
        maps = surface.bumps(
            torch.tensor([-60.0, -60.0]), torch.tensor([-40.0, -40.0]), 22.0, 1.0
        ).numpy()
        phi, psi = np.array([-60.0, 60.0]), np.array([-40.0, 40.0])
        maps[1] += 0.2  # less decided, and wrong
        self.assertEqual(map_figures.coverage(maps, phi, psi, 0.5), 0.0)
        self.assertEqual(map_figures.coverage(maps, phi, psi, 1.0), 0.5)


class Chi1(unittest.TestCase):
    def test_groups_of_a_run(self):
        lines = [
            "Residue (center) v 12 of 60\n",
            "   10 \tbest matched fragments with g-  0.234 \n",
            "    2 \tbest matched fragments with g+  0.900 \n",
            "   10 \tbest matched fragments with t   1.700 \n",
            "Residue (center) L 13 of 60\n",
            "   10 \tbest matched fragments with g-  0.1 \n",
        ]
        self.assertEqual(list(chi1_calibration.read_groups(lines)), [("V", 12, [2, 10, 10])])

    def test_strengths_fall_where_the_true_rotamer_scores_badly(self):
        rng = np.random.default_rng(1)
        truth = rng.integers(0, 3, 400).tolist()
        bins = [[1 if r == t else 8 for r in range(3)] for t in truth]
        strengths = chi1_calibration.fit_strengths(bins, truth, np.zeros(11), 0.5)
        self.assertGreater(strengths[1], strengths[8] + 2.0)

    def test_a_small_group_counts_as_bad(self):
        score = torch.tensor([[0.1, 0.2, 0.3, 0.05, 0.06]])
        rotamer = torch.tensor([[0, 0, 0, 1, 1]])
        means = chi1.group_means(score, rotamer)
        np.testing.assert_allclose(means, [[0.2, chi1.EMPTY_GROUP, chi1.EMPTY_GROUP]], atol=1e-6)


class ShiftModelInput(unittest.TestCase):
    def test_what_is_unknown_stays_unknown_and_angles_stay_angles(self):
        nan = np.nan
        x = shift_model.describe(
            "AcG",
            np.eye(3),
            np.array([-60.0, nan, 80.0]),
            np.array([nan, 120.0, 0.0]),
            np.zeros((3, 3)),
        )
        torch.manual_seed(4)
        batch = torch.from_numpy(x).repeat(200, 1, 1)
        changed = shift_model.disturbed(batch)
        turned = changed[:, 0, 24] ** 2 + changed[:, 0, 25] ** 2
        kept = changed[:, 0, 28] == 1
        self.assertTrue(0.9 < kept.float().mean() < 1.0)
        np.testing.assert_allclose(turned[kept], 1.0, atol=1e-5)
        self.assertEqual(float(turned[~kept].sum()), 0.0)
        self.assertEqual(float(changed[:, 1, 24:26].abs().sum()), 0.0)
        self.assertTrue(torch.equal(changed[:, :, :21], batch[:, :, :21]))
        self.assertEqual(x[1, 1], 1.0)
        self.assertEqual(x[1, 20], 1.0)

    def test_spreads_of_rare_letters_lean_on_all(self):
        rng = np.random.default_rng(2)
        residual = np.tile(rng.normal(0, 1.0, (4000, 1)), (1, 6))
        residual[:3] *= 50
        data = argparse.Namespace(letter=np.array(["W"] * 3 + ["A"] * 3997))
        letters, spreads = shift_model.spread_table(data, residual)
        found = dict(zip(letters, spreads[:, 0]))
        self.assertAlmostEqual(found["A"], 1.0, delta=0.05)
        self.assertGreater(found["W"], found["A"])
        self.assertEqual(found["G"], 0.0)


class Sequence(unittest.TestCase):
    def test_told_residues_have_classes_and_the_others_none(self):
        rng = np.random.default_rng(3)
        labels, chain = rng.integers(0, 3, 3000), np.repeat(np.arange(30), 100)
        values, known = sequence.random_known(labels, chain, rng)
        np.testing.assert_allclose(values.sum(1).numpy(), known.astype(float), atol=1e-5)
        right = (values.argmax(1).numpy() == labels)[known].mean()
        self.assertTrue(0.8 < right < 0.97, right)

    def test_relatives_of_held_out_chains_are_found(self):
        rng = np.random.default_rng(4)
        first, other = (rng.integers(0, 20, 80) for _ in range(2))
        relative = first.copy()
        relative[:20] = rng.integers(0, 20, 20)
        chains = [("a", first), ("b", relative), ("c", other)]
        found = sequence.sequence_relatives(chains, np.array([True, False, False]))
        self.assertEqual(found.tolist(), [False, True, False])


if __name__ == "__main__":
    unittest.main()
