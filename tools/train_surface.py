#!/usr/bin/python3
"""Trains the phi/psi surface networks: surf20 (two levels) and surf20_hyb (one level).

The output of a box is trained, after the fixed prior, towards the height of a round bump at the residue's true
phi/psi. Squared error makes the map the residue's smoothed posterior density: one high bump when the shifts
decide, two with their shares when they leave a choice. The prior is divided out of the last layer on writing.

Every member is first trained on chains with computed shifts (tools/train_shifts.py), which are ten times as many,
and then on the measured ones. The first training knows no relative of any protein with shifts and coordinates, so all
later ones, on all proteins or without a fold of the cross-validation, start from the same states.

For each fold of whole clusters there are members that never saw it. Their level 1 maps are the input of level 2, and
with --cross their tables are written too, for the evaluation of the whole program. (A fold's level 2 members never
saw its proteins either; the level 1 maps of the other folds that they learned from came from members that did.)
Every member is a state file of its own, so an interrupted run goes on where it stopped.
"""
import argparse
import copy
import os

import numpy as np
import torch

import networks_common as nc
from box_share import box_of

PRIOR = torch.from_numpy(nc.BOX_PRIOR)
# Added to measured values in training: random error and a referencing error of the whole window (ppm, order
# HN N HA C CA CB; CA and CB share theirs).
NOISE = torch.tensor([0.04, 0.25, 0.03, 0.15, 0.15, 0.15])
OFFSET = torch.tensor([0.05, 0.45, 0.03, 0.25, 0.20, 0.20])
BOX_ANGLES = np.stack([np.repeat(nc.BOX_CENTRES, 18), np.tile(nc.BOX_CENTRES, 18)])
PAD_ROW = [0.0] * 20 + [0.0, 1.0] * 6


class SurfaceData:
    """Residue vectors of all variants in the order residue letters, shifts, with angles, folds and weights."""

    def __init__(self, work, variants):
        first = nc.load_features(work, variants[0])
        self.first = first
        rows, has = [], []
        for name in variants:
            f = first if name == variants[0] else nc.load_features(work, name)
            where = align(first, f)
            x = np.where(where[:, None] >= 0, f["x"][where], 0).astype(np.float32)
            ok = where >= 0
            rows.append(np.concatenate([np.concatenate([x[:, 12:] * 10, x[:, :12]], 1), [PAD_ROW]]).astype(np.float32))
            has.append(np.append(ok, True))
        self.x = torch.from_numpy(np.stack(rows))
        self.has = np.stack(has)
        self.known = self.x[:, :, 21::2] == 0
        self.variants = variants
        self.pad = len(first["id"])
        self.phi = torch.from_numpy(first["phi"].astype(np.float32))
        self.psi = torch.from_numpy(first["psi"].astype(np.float32))
        self.usable = (first["use_phipsi"] == 1) & (first["phi"] < 999) & (first["psi"] < 999)
        self.fold = nc.small_folds(work, first["cluster30"])
        self.tested = first["kind"] != "related"
        self.weight = torch.from_numpy(first["weight"].astype(np.float32))

    def present(self, variant, windows):
        """The variant of each sample, or the first (complete) one where the variant lacks a residue of the window."""
        return np.where(self.has[variant[:, None], windows].all(1), variant, 0)

    def windows(self, padded):
        """Centres and windows of residues with trusted angles."""
        centres, windows = nc.window_index(self.first["chains"], 2, padded)
        ok = self.usable[centres]
        if padded:
            ok &= (windows[:, 1] >= 0) & (windows[:, 3] >= 0)
        windows = np.where(windows < 0, self.pad, windows)
        ok &= self.has[0][windows].all(1)
        return centres[ok], windows[ok]

    def batch(self, variant, windows, noisy):
        """Network input (n x 160) for windows (n x 5) taken from the variant of each sample."""
        v = variant[:, None]
        x = self.x[v, windows]
        if noisy:
            n = len(windows)
            shift = torch.randn(n, 5, 6) * NOISE
            common = torch.randn(n, 1, 6)
            common[:, :, 5] = common[:, :, 4]
            shift = (shift + common * OFFSET) * self.known[v, windows]
            x = x.clone()
            x[:, :, 20::2] += shift
        return x.reshape(len(windows), 160)


class ComputedData(SurfaceData):
    """Chains with computed shifts, in the form of the measured ones: a variant is a differently noisy copy."""

    def __init__(self, work):
        saved = np.load(os.path.join(work, "synthetic", "input.npz"))
        x = saved["x"]
        pad = np.tile(np.array(PAD_ROW, dtype=np.float32), (len(x), 1, 1))
        x = np.concatenate([x[:, :, 12:] * 10, x[:, :, :12]], 2)
        self.x = torch.from_numpy(np.concatenate([x, pad], 1))
        self.known = self.x[:, :, 21::2] == 0
        self.copies, self.pad = len(x), x.shape[1]
        self.phi, self.psi = torch.from_numpy(saved["phi"]), torch.from_numpy(saved["psi"])
        self.chains = [tuple(c) for c in saved["chains"]]
        self.usable = ~saved["related"]
        chain = np.repeat(np.arange(len(self.chains)), [b - a for a, b in self.chains])
        self.held = np.zeros(self.pad, bool)
        self.held[np.concatenate([np.arange(a, b) for a, b in self.chains])] = chain % 25 == 7

    def windows(self, padded):
        centres, windows = nc.window_index(self.chains, 2, padded)
        ok = self.usable[centres]
        if padded:
            ok &= (windows[:, 1] >= 0) & (windows[:, 3] >= 0)
        return centres[ok], np.where(windows[ok] < 0, self.pad, windows[ok])


class UnlabelledData(SurfaceData):
    """Proteins without a known structure, with what the teacher (train_teacher.py) expects of them."""

    VARIANTS = ("full", "noproton", "dropA")

    def __init__(self, work):
        dumps = [nc.read_dump(work, name) for name in self.VARIANTS]
        first = dumps[0]
        n = len(first["id"])
        rows = []
        for dump in dumps:
            where = align(first, dump)
            x = np.where(where[:, None] >= 0, dump["x"][where], first["x"]).astype(np.float32)
            rows.append(np.concatenate([np.concatenate([x[:, 12:] * 10, x[:, :12]], 1), [PAD_ROW]]).astype(np.float32))
        self.x = torch.from_numpy(np.stack(rows))
        self.known = self.x[:, :, 21::2] == 0
        self.pad, self.chains = n, first["chains"]
        saved = np.load(os.path.join(work, "teacher.npz"))
        self.map, self.peak = torch.from_numpy(saved["map"]), torch.from_numpy(saved["peak"])

    def windows(self, padded):
        centres, windows = nc.window_index(self.chains, 2, padded)
        ok = np.ones(len(centres), bool)
        if padded:
            ok = (windows[:, 1] >= 0) & (windows[:, 3] >= 0)
        return centres[ok], np.where(windows[ok] < 0, self.pad, windows[ok])

    def targets(self, centres, teacher, args):
        """The maps that the teacher expects for the residues `centres`."""
        share = self.map[teacher, centres].float() * (self.peak[teacher, centres] / 255)[:, None]
        return share / share.sum(1, keepdim=True) * bumps(torch.zeros(1), torch.zeros(1), args.sigma, args.height).sum()


def align(a, b):
    """For each residue of dump a its place in dump b, or -1."""
    place = {(i, r): k for k, (i, r) in enumerate(zip(b["id"], b["resid"]))}
    return np.array([place.get(key, -1) for key in zip(a["id"], a["resid"])])


def bumps(phi, psi, sigma, height):
    """Target maps: a circular Gaussian bump at (phi, psi), n x 324."""
    centres = torch.from_numpy(nc.BOX_CENTRES.astype(np.float32))
    def axis(angle):
        d = torch.remainder(angle[:, None] - centres + 180.0, 360.0) - 180.0
        return torch.exp(-0.5 * (d / sigma) ** 2)
    return (height * axis(phi)[:, :, None] * axis(psi)[:, None, :]).reshape(len(phi), 324)


def surface_loss(q, target, weight, lift=1.0):
    """Squared error; `lift` above 1 makes too low cost more than too high, so that second choices stand out."""
    residual = q - target
    if lift != 1.0:
        residual = torch.where(residual < 0, lift ** 0.5 * residual, residual)
    # The program clamps at zero: going below it where nothing is expected costs little.
    residual = torch.where((q < 0) & (target < 0.01), 0.2 * residual, residual)
    return (weight[:, None] * residual ** 2).sum() / weight.sum()


def prepare_member(net, computed, args, state, padded, shares, lift, seed):
    """First training of a level 1 member on computed shifts; `shares` are those of their copies."""
    centres, windows = computed.windows(padded)
    held = computed.held[centres]
    held_centres, held_windows = centres[held], torch.from_numpy(windows[held])
    centres, windows = centres[~held], torch.from_numpy(windows[~held])
    shares = np.array(shares) / np.sum(shares)
    rng = np.random.default_rng(seed)
    some = rng.choice(len(centres), 20000, replace=False)
    net.standardise_on(computed.batch(torch.from_numpy(rng.choice(len(shares), 20000, p=shares)), windows[some], False))
    nn_init_output(net, computed, centres, args)

    def epoch(rng):
        order = rng.permutation(len(centres))
        copies = torch.from_numpy(rng.choice(len(shares), len(order), p=shares))
        for k in range(0, len(order) - args.batch, args.batch):
            i = order[k:k + args.batch]
            c = centres[i]
            yield (computed.batch(copies[k:k + args.batch], windows[i], True),
                   bumps(computed.phi[c], computed.psi[c], args.sigma, args.height), torch.ones(len(i)))

    held_x = computed.batch(torch.from_numpy(np.random.default_rng(7).choice(len(shares), len(held_centres), p=shares)),
                            held_windows, False)
    target = bumps(computed.phi[held_centres], computed.psi[held_centres], args.sigma, args.height)

    def validate(model):
        return surface_loss(model(held_x).clamp(min=0), target, torch.ones(len(target)), lift)

    nc.fit(net, state, epoch, lambda model, b: surface_loss(model(b[0]), b[1], b[2], lift), validate, args.first_epochs,
           args.first_rate, args.decay, args.first_epochs, os.path.basename(state), seed)


def train_members(data, unlabelled, teacher, args, state, count, train_of, held_of, padded, mix, seed, first, lift=1.0):
    """Level 1 members; `train_of(m)`/`held_of(m)` select residues, `mix` is the share of each variant, `first` the
    members that they start from, `teacher` the set of the unlabelled proteins' expectations. These are posterior
    densities, so they serve members alone that are trained towards such, without a lift."""
    centres, windows = data.windows(padded)
    if unlabelled is not None:
        more_centres, more_windows = unlabelled.windows(padded)
        more_windows = torch.from_numpy(more_windows)
    shares = np.array([mix("full"), mix("noproton"), 3 * mix("dropA")])
    shares = shares / shares.sum()
    windows_t = torch.from_numpy(windows)
    mix = np.array([mix(name) for name in data.variants])
    mix = mix / mix.sum()
    members = []
    for m in range(count):
        train = np.flatnonzero(train_of(m)[centres])
        held = np.flatnonzero(held_of(m)[centres])
        torch.manual_seed(seed + m)
        net = copy.deepcopy(first[m])
        held_variant = data.present(np.random.default_rng(7).choice(len(mix), len(held), p=mix), windows[held])

        def labelled(rng):
            order = rng.permutation(train)
            variant = data.present(rng.choice(len(mix), len(order), p=mix), windows[order])
            for k in range(0, len(order) - args.batch // 2, args.batch):
                i = order[k:k + args.batch]
                c = centres[i]
                yield (data.batch(torch.from_numpy(variant[k:k + args.batch]), windows_t[i], True),
                       bumps(data.phi[c], data.psi[c], args.sigma, args.height), data.weight[c])

        def with_unlabelled(rng):
            for x, target, weight in labelled(rng):
                i = rng.integers(0, len(more_centres), len(x))
                v = torch.from_numpy(rng.choice(len(shares), len(i), p=shares))
                more = unlabelled.targets(torch.from_numpy(more_centres[i]), teacher, args)
                yield (torch.cat([x, unlabelled.batch(v, more_windows[i], True)]), torch.cat([target, more]),
                       torch.cat([weight, torch.full((len(i),), args.unlabelled)]))

        epoch = labelled if lift != 1.0 or unlabelled is None else with_unlabelled

        def loss_of(model, batch):
            return surface_loss(model(batch[0]), batch[1], batch[2], lift)

        def validate(model):
            c = centres[held]
            q = model(data.batch(torch.from_numpy(held_variant), windows_t[held], False))
            return surface_loss(q.clamp(min=0), bumps(data.phi[c], data.psi[c], args.sigma, args.height), data.weight[c], lift)

        score = nc.fit(net, "%s.m%d" % (state, m), epoch, loss_of, validate, args.epochs, args.rate,
                       args.decay, args.patience, os.path.basename(state) + ".m%d" % m, seed + m)
        nc.log("%s.m%d held-out %.5f" % (os.path.basename(state), m, score))
        net.eval()
        members.append(net)
    return members


def nn_init_output(net, data, centres, args):
    """Starts the output at the mean map."""
    c = centres[:: max(1, len(centres) // 4000)]
    with torch.no_grad():
        net.wl2.weight.mul_(0.3)
        net.wl2.bias.copy_(bumps(data.phi[c], data.psi[c], args.sigma, args.height).mean(0))


def level1_maps(data, variant, members_of_fold):
    """Mean level 1 maps (after the prior) of every residue of a variant, with the chain's mean where there is no
    window. members_of_fold(residue rows) gives the members for a chain."""
    v = data.variants.index(variant)
    out = torch.zeros(data.pad + 1, 324)
    with torch.no_grad():
        for first, last in data.first["chains"]:
            # A thinned-out variant may lack residues at the ends.
            edges = np.flatnonzero(np.diff(np.concatenate([[False], data.has[v][first:last], [False]]).astype(int)))
            for start, stop in zip(first + edges[::2], first + edges[1::2]):
                if stop - start < 5:
                    continue
                members = members_of_fold(start)
                idx = torch.from_numpy(np.array([range(i - 2, i + 3) for i in range(start + 2, stop - 2)]))
                x = data.batch(torch.full((len(idx),), v), idx, False)
                q = sum(m(x) for m in members) / len(members)
                out[start:stop] = q.mean(0)
                out[start + 2:stop - 2] = q
    return out


def gather_maps(maps, windows, variant, i):
    """Level 2 input: the maps of the five residues of windows i, each from the variant of its sample."""
    width = maps[0].shape[1]
    x = torch.empty(len(i), 5 * width)
    for v in np.unique(variant):
        k = np.flatnonzero(variant == v)
        x[k] = maps[v][windows[i[k]]].reshape(len(k), -1)
    return x


def fit_level2(net, state, data, args, maps, centres, windows, variants_of, train, validate, epochs, rate, patience, seed):
    """Trains one level 2 member on the residues `train` of `data`; variants_of(rng, rows) picks their variants."""
    weight = getattr(data, "weight", None)

    def epoch(rng):
        order = rng.permutation(train)
        variant = variants_of(rng, order)
        for k in range(0, len(order) - args.batch // 2, args.batch):
            i = order[k:k + args.batch]
            c = centres[i]
            yield (gather_maps(maps, windows, variant[k:k + args.batch], i),
                   bumps(data.phi[c], data.psi[c], args.sigma, args.height),
                   torch.ones(len(i)) if weight is None else weight[c])

    return nc.fit(net, state, epoch, lambda model, b: surface_loss(model(b[0]), b[1], b[2], args.lift), validate, epochs,
                  rate, args.decay2, patience, os.path.basename(state), seed)


def first_level2(computed, args, state, maps, count, seed):
    """Level 2 members trained on the level 1 maps of the chains with computed shifts."""
    centres, windows = computed.windows(False)
    windows = torch.from_numpy(windows)
    held = np.flatnonzero(computed.held[centres])
    train = np.flatnonzero(~computed.held[centres])
    target = bumps(computed.phi[centres[held]], computed.psi[centres[held]], args.sigma, args.height)

    def validate(model):
        q = torch.cat([model(gather_maps(maps, windows, np.zeros(len(i), int), i))
                       for i in (held[k:k + 2000] for k in range(0, len(held), 2000))])
        return surface_loss(q.clamp(min=0), target, torch.ones(len(target)), args.lift)

    members = []
    for m in range(count):
        torch.manual_seed(seed + m)
        net = nc.Member(5 * maps[0].shape[1], 360, 324, live=args.live, drop=args.drop2)
        some = np.random.default_rng(3).choice(train, 20000, replace=False)
        net.standardise_on(maps[0][windows[some]].reshape(len(some), -1), floor=0.004)
        nn_init_output(net, computed, centres, args)
        fit_level2(net, "%s.m%d" % (state, m), computed, args, maps, centres, windows,
                   lambda rng, rows: rng.integers(len(maps), size=len(rows)), train, validate, args.first_epochs2,
                   args.first_rate2, args.first_epochs2, seed + m)
        members.append(net)
    return members


def train_level2(data, args, state, maps, train_of, held_of, mix, seed, first):
    """Level 2 members on the five-residue windows of level 1 maps (one tensor per variant; narrowed to `boxes`)."""
    centres, windows = data.windows(False)
    windows_t = torch.from_numpy(windows)
    mix = np.array([mix(name) for name in data.variants])
    mix = mix / mix.sum()
    members = []
    for m, start in enumerate(first):
        train = np.flatnonzero(train_of(m)[centres])
        held = np.flatnonzero(held_of(m)[centres])
        held_variant = data.present(np.random.default_rng(7).choice(len(mix), len(held), p=mix), windows[held])

        def validate(model):
            c = centres[held]
            q = torch.cat([model(gather_maps(maps, windows_t, held_variant[k:k + 2000], held[k:k + 2000]))
                           for k in range(0, len(held), 2000)])
            return surface_loss(q.clamp(min=0), bumps(data.phi[c], data.psi[c], args.sigma, args.height), data.weight[c],
                                args.lift)

        torch.manual_seed(seed + m)
        net = copy.deepcopy(start)
        score = fit_level2(net, "%s.m%d" % (state, m), data, args, maps, centres, windows_t,
                           lambda rng, rows: data.present(rng.choice(len(mix), len(rows), p=mix), windows[rows]), train,
                           validate, args.epochs2, args.rate2, args.patience, seed + m)
        nc.log("%s.m%d held-out %.5f" % (os.path.basename(state), m, score))
        net.eval()
        members.append(net)
    return members


def computed_level1_maps(computed, members, boxes, copy):
    """Mean level 1 maps of the chains with computed shifts, narrowed to `boxes`; 0 where there is no window."""
    centres, windows = computed.windows(False)
    windows = torch.from_numpy(windows)
    out = torch.zeros(computed.pad + 1, len(boxes))
    with torch.no_grad():
        for k in range(0, len(centres), 8192):
            w = windows[k:k + 8192]
            x = computed.batch(torch.full((len(w),), copy), w, True)
            out[centres[k:k + 8192]] = (sum(m(x) for m in members) / len(members))[:, boxes]
    return out


def widen_level2(net, boxes):
    """The member with all 1620 inputs, in raw level 1 outputs (before the prior)."""
    full = nc.Member(1620, 360, 324, live=net.live)
    full.load_state_dict({k: v for k, v in net.state_dict().items() if k not in ("wi.weight", "mean", "scale")},
                         strict=False)
    columns = np.concatenate([p * 324 + boxes for p in range(5)])
    prior = torch.from_numpy(np.tile(nc.BOX_PRIOR, 5)[columns])
    with torch.no_grad():
        full.wi.weight.zero_()
        full.wi.weight[:, columns] = net.wi.weight
        full.mean[columns] = net.mean / prior
        full.scale[columns] = net.scale / prior
    return full


# --- figures ---------------------------------------------------------------------------------------------------------

def map_clusters(q):
    """Islands of a map as the program finds them: list of member lists, best seed first, and the support boxes."""
    mean, sd = q.mean(), q.std(ddof=1)
    peaks = [b for b in np.argsort(-q, kind="stable") if q[b] >= mean + sd]
    if not peaks or sd == 0:
        return [], set()
    rows, cols = np.array(peaks) // 18, np.array(peaks) % 18
    dr, dc = abs(rows[:, None] - rows), abs(cols[:, None] - cols)
    near = np.minimum(dr, 18 - dr) ** 2 + np.minimum(dc, 18 - dc) ** 2 <= 36
    visited, owner, clusters = set(), {}, []
    for a, box in enumerate(peaks):
        if box in visited:
            continue
        visited.add(box)
        neighbours = [peaks[b] for b in np.flatnonzero(near[a]) if b != a]
        if len(neighbours) <= 4:
            continue
        members = [box]
        was = owner.get(box)
        owner[box] = len(clusters)
        for b in neighbours:
            visited.add(b)
            if b not in owner:
                owner[b] = len(clusters)
                members.append(b)
        if len(members) >= 5:
            clusters.append(members)
        else:
            for b in members:
                owner.pop(b, None)
            if was is not None:
                owner[box] = was
    return clusters, {b for b in owner if (q[b] - mean) / sd >= 1.0}


def figures(q, phi, psi):
    """What the later stages will see of maps q (n x 324): shares and the error of the first cluster's centre."""
    angles = np.deg2rad(nc.BOX_CENTRES)
    opened = inside = first_inside = wrong = considered = 0
    size, squares = [], []
    for k in range(len(q)):
        clusters, support = map_clusters(q[k])
        if not clusters:
            opened += 1
            continue
        seeds = [c[0] for c in clusters]
        confidence = q[k][seeds[0]] / q[k][seeds].sum()
        limit = 0.65 if 7 <= seeds[0] % 18 <= 15 and seeds[0] > 161 else 0.6
        if len(clusters) > 1 and confidence < limit:
            opened += 1
            continue
        considered += 1
        size.append(len(support))
        box = box_of(phi[k], psi[k])
        inside += box in support
        first_inside += box in clusters[0]
        w = q[k][clusters[0]]
        r, c = np.array(clusters[0]) // 18, np.array(clusters[0]) % 18
        f = np.rad2deg(np.arctan2((w * np.sin(angles[r])).sum(), (w * np.cos(angles[r])).sum()))
        s = np.rad2deg(np.arctan2((w * np.sin(angles[c])).sum(), (w * np.cos(angles[c])).sum()))
        df, ds = (f - phi[k] + 180) % 360 - 180, (s - psi[k] + 180) % 360 - 180
        if df * df + ds * ds >= (3600 if nc.BOX_SHARE[box] >= 0.06 else 6400):
            wrong += 1
        else:
            squares.append((df * df, ds * ds))
    rms = np.sqrt(np.mean(squares, 0)) if squares else (0, 0)
    n = max(1, considered)
    return ("n %d open %.3f | of the others: box inside %.3f in first cluster %.3f wrong %.3f rms phi %.1f psi %.1f boxes "
            "%.1f peak %.2f" % (len(q), opened / len(q), inside / n, first_inside / n, wrong / n, rms[0], rms[1],
                                np.mean(size), np.median(q.max(1))))


def coverage(q, phi, psi, share):
    """Part of wrong angles among the `share` of residues whose maps are most decided."""
    d = abs(np.arange(18)[:, None] - np.arange(18))
    d = np.minimum(d, 18 - d)
    near = (d[:, None, :, None] ** 2 + d[None, :, None, :] ** 2 <= 10).reshape(324, 324).astype(np.float32)
    mass = q @ near
    around = q * near[mass.argmax(1)]
    angles = np.deg2rad(BOX_ANGLES)
    mean = [np.rad2deg(np.arctan2(around @ np.sin(a), around @ np.cos(a))) for a in angles]
    df, ds = (mean[0] - phi + 180) % 360 - 180, (mean[1] - psi + 180) % 360 - 180
    box = np.array([box_of(a, b) for a, b in zip(phi, psi)])
    wrong = df * df + ds * ds >= np.where(nc.BOX_SHARE[box] >= 0.06, 3600, 6400)
    best = np.argsort(-mass.max(1) / np.maximum(q.sum(1), 1e-6), kind="stable")[: int(share * len(q))]
    return wrong[best].mean()


def report(data, name, members_of, maps=None):
    """Figures of the test proteins, each under the members that never saw its fold; level 2 if there are `maps`."""
    centres, windows = data.windows(False)
    for v, variant in enumerate(data.variants):
        if maps is not None and len(maps[v]) == 0:
            continue
        here = np.flatnonzero(data.has[v][windows].all(1) & data.tested[centres])
        q = torch.zeros(len(here), 324)
        with torch.no_grad():
            for f, members in members_of.items():
                mine = np.flatnonzero(data.fold[centres[here]] % nc.FOLDS == f)
                i = here[mine]
                x = (data.batch(torch.full((len(i),), v), torch.from_numpy(windows[i]), False) if maps is None
                     else maps[v][torch.from_numpy(windows[i])].reshape(len(i), -1))
                q[mine] = sum(m(x) for m in members) / len(members)
        q, c = q.clamp(min=0).numpy(), centres[here]
        nc.log("%s on %s: %s | at 90 %% wrong %.4f" % (name, variant, figures(q, data.phi[c].numpy(), data.psi[c].numpy()),
                                                      coverage(q, data.phi[c].numpy(), data.psi[c].numpy(), 0.9)))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--work", default="work", help="work directory with the feature dumps")
    parser.add_argument("--state", required=True, help="directory of the resumable member states")
    parser.add_argument("--out", required=True, help="directory that gets the weight tables")
    parser.add_argument("--cross", default="", help="directory that gets the tables of each fold of the cross-validation")
    parser.add_argument("--variants", default="full,noproton,dropA,dropB,dropC,dropD")
    parser.add_argument("--only", default="", help="level1, level2 or hybrid alone")
    parser.add_argument("--members", type=int, default=3)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--sigma", type=float, default=22.0)
    parser.add_argument("--height", type=float, default=1.1)
    parser.add_argument("--lift", type=float, default=20.0, help="weight of too low against too high, see surface_loss")
    parser.add_argument("--unlabelled", type=float, default=1.0, help="weight of residues without a known structure")
    parser.add_argument("--first-epochs", type=int, default=40)
    parser.add_argument("--first-rate", type=float, default=2e-3)
    parser.add_argument("--first-epochs2", type=int, default=12)
    parser.add_argument("--first-rate2", type=float, default=1e-3)
    parser.add_argument("--epochs", type=int, default=20)
    parser.add_argument("--epochs2", type=int, default=6)
    parser.add_argument("--batch", type=int, default=256)
    parser.add_argument("--rate", type=float, default=4e-4)
    parser.add_argument("--rate2", type=float, default=5e-5)
    parser.add_argument("--decay", type=float, default=0.01)
    parser.add_argument("--decay2", type=float, default=0.05)
    parser.add_argument("--drop", type=float, default=0.0)
    parser.add_argument("--drop2", type=float, default=0.05)
    parser.add_argument("--patience", type=int, default=8)
    parser.add_argument("--live", type=int, default=224)
    parser.add_argument("--box-floor", type=float, default=0.0012)
    args = parser.parse_args()
    os.makedirs(args.state, exist_ok=True)
    data = SurfaceData(args.work, args.variants.split(","))
    computed = ComputedData(args.work)
    folder = os.path.join(args.work, "unlabelled")
    unlabelled = UnlabelledData(folder) if args.unlabelled > 0 and os.path.exists(folder) else None
    nc.log("%d residues, %d variants, %d residues with computed shifts, %d of them in the first training"
           % (data.pad, len(data.variants), computed.pad, computed.usable.sum()))

    # Two of the small folds stop each shipped member: a different pair for each. One stops the members of a fold.
    train_of = lambda m: ~np.isin(data.fold, (2 * m, 2 * m + 1))
    held_of = lambda m: np.isin(data.fold, (2 * m, 2 * m + 1))
    inside = lambda f: data.fold % nc.FOLDS == f
    stop = lambda f: data.fold == (f + 1) % nc.FOLDS
    standard = lambda name: {"full": 3.0, "noproton": 0.0}.get(name, 0.5)
    heavy = lambda name: {"full": 1.0, "noproton": 2.0}.get(name, 0.8)
    scale = 1.0 / nc.BOX_PRIOR.astype(np.float64)
    path = lambda name: os.path.join(args.state, name)

    def first_members(name, padded, shares, lift, seed):
        members = []
        for m in range(args.members):
            torch.manual_seed(seed + m)
            net = nc.Member(160, 180, 324, drop=args.drop)
            prepare_member(net, computed, args, path("%s.m%d" % (name, m)), padded, shares, lift, seed + m)
            members.append(net)
        return members

    def members_of_folds(name, padded, mix, seed, first, lift):
        return {f: train_members(data, unlabelled, f, args, path("%s.fold%d" % (name, f)), args.members,
                                 lambda m: ~inside(f) & ~stop(f), lambda m: stop(f), padded, mix, seed + 10 * (f + 1),
                                 first, lift) for f in range(nc.FOLDS)}

    def write(name, level, members, of_fold):
        nc.write_level(args.out, name, level, members, scale)
        if args.cross:
            for f, fold_members in of_fold.items():
                nc.write_level(nc.fold_tables(args.cross, f), name, level, fold_members, scale)

    if args.only in ("", "hybrid"):
        seed = args.seed * 100 + 50
        first = first_members("first.hyb", True, (1.0, 1.0, 1.0, 2.0), args.lift, seed)
        of_fold = members_of_folds("surf20_hyb", True, heavy, seed, first, args.lift)
        report(data, "hybrid", of_fold)
        hybrid = train_members(data, unlabelled, -1, args, path("surf20_hyb"), args.members, train_of, held_of, True, heavy, seed, first,
                               args.lift)
        write("surf20_hyb", 1, hybrid, of_fold)
    if args.only in ("", "level1", "level2"):
        seed = args.seed * 100
        first = first_members("first.l1", False, (2.0, 1.0, 1.0, 0.0), 1.0, seed)
        level1_of_fold = members_of_folds("surf20.l1", False, standard, seed, first, 1.0)
        report(data, "level 1", level1_of_fold)
        level1 = train_members(data, unlabelled, -1, args, path("surf20.l1"), args.members, train_of, held_of, False, standard, seed, first)
        write("surf20", 1, level1, level1_of_fold)
    if args.only in ("", "level2"):
        # Level 2 must see level 1 as unseen proteins will: each residue's map comes from members that never saw its
        # cluster.
        boxes = np.flatnonzero(nc.BOX_SHARE >= args.box_floor)
        maps = [level1_maps(data, v, lambda row: level1_of_fold[data.fold[row] % nc.FOLDS])[:, boxes].contiguous()
                if standard(v) > 0 else torch.zeros(0, len(boxes)) for v in data.variants]
        computed_maps = [computed_level1_maps(computed, first, boxes, k) for k in range(3)]
        seed = args.seed * 100 + 5
        first2 = first_level2(computed, args, path("first.l2"), computed_maps, args.members, seed)
        del computed_maps
        of_fold = {f: train_level2(data, args, path("surf20.l2.fold%d" % f), maps, lambda m: ~inside(f) & ~stop(f),
                                   lambda m: stop(f), standard, seed + 10 * (f + 1), first2) for f in range(nc.FOLDS)}
        report(data, "level 2", of_fold, maps)
        level2 = train_level2(data, args, path("surf20.l2"), maps, train_of, held_of, standard, seed, first2)
        write("surf20", 2, [widen_level2(m, boxes) for m in level2],
              {f: [widen_level2(m, boxes) for m in members] for f, members in of_fold.items()})
    nc.log("done")


if __name__ == "__main__":
    main()
