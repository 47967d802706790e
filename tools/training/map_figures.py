"""What the later stages of a run will see of phi/psi maps, held against the known angles."""

import numpy as np

from data.boxes import box_of
from training import networks as nc

BOX_ANGLES = np.stack([np.repeat(nc.BOX_CENTRES, 18), np.tile(nc.BOX_CENTRES, 18)])


def map_clusters(q):
    """Islands of a map as the program finds them: list of member lists, best seed first, and the
    support boxes."""
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
    """What the later stages will see of maps q (n x 324): shares and the error of the first
    cluster's centre."""
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
    return (
        "n %d open %.3f | of the others: box inside %.3f in first cluster %.3f wrong %.3f "
        "rms phi %.1f psi %.1f boxes "
        "%.1f peak %.2f"
        % (
            len(q),
            opened / len(q),
            inside / n,
            first_inside / n,
            wrong / n,
            rms[0],
            rms[1],
            np.mean(size),
            np.median(q.max(1)),
        )
    )


def coverage(q, phi, psi, share):
    """Part of wrong angles among the `share` of residues whose maps are most decided."""
    d = abs(np.arange(18)[:, None] - np.arange(18))
    d = np.minimum(d, 18 - d)
    near = (
        (d[:, None, :, None] ** 2 + d[None, :, None, :] ** 2 <= 10)
        .reshape(324, 324)
        .astype(np.float32)
    )
    mass = q @ near
    around = q * near[mass.argmax(1)]
    angles = np.deg2rad(BOX_ANGLES)
    mean = [np.rad2deg(np.arctan2(around @ np.sin(a), around @ np.cos(a))) for a in angles]
    df, ds = (mean[0] - phi + 180) % 360 - 180, (mean[1] - psi + 180) % 360 - 180
    box = np.array([box_of(a, b) for a, b in zip(phi, psi)])
    wrong = df * df + ds * ds >= np.where(nc.BOX_SHARE[box] >= 0.06, 3600, 6400)
    best = np.argsort(-mass.max(1) / np.maximum(q.sum(1), 1e-6), kind="stable")[
        : int(share * len(q))
    ]
    return wrong[best].mean()
