"""Regressors of the linear shift models (cleaning.py, reference_tables.py) and their robust fit."""

import numpy as np


def fourier(angle, order):
    """[n, 2 order] cos and sin terms; 0 where the angle is missing."""
    a = np.radians(angle)
    terms = [f(k * a) for k in range(1, order + 1) for f in (np.cos, np.sin)]
    return np.nan_to_num(np.stack(terms, axis=-1))


def surface(phi, psi, order=4):
    """Products of the Fourier terms of phi and psi, constant left out: a smooth function on the
    torus."""
    one = np.ones((len(phi), 1))
    a = np.concatenate([one, fourier(phi, order)], axis=1)
    b = np.concatenate([one, fourier(psi, order)], axis=1)
    return (a[:, :, None] * b[:, None, :]).reshape(len(phi), -1)[:, 1:]


def one_hot(codes, size):
    out = np.zeros((len(codes), size))
    ok = codes >= 0
    out[np.nonzero(ok)[0], codes[ok]] = 1.0
    return out


def neighbour(values, step, fill):
    out = np.full_like(values, fill)
    if step > 0:
        out[:-step] = values[step:]
    else:
        out[-step:] = values[:step]
    return out


def ridge(x, y, penalty, weights=None, rounds=4):
    """Ridge regression with Huber weights; `penalty` per column. Returns (coefficients, robust
    residual spread)."""
    w = np.ones(len(y)) if weights is None else weights.copy()
    base = w.copy()
    for _ in range(rounds):
        xw = x * w[:, None]
        beta = np.linalg.solve(x.T @ xw + np.diag(penalty), xw.T @ y)
        r = y - x @ beta
        spread = 1.4826 * np.median(np.abs(r))
        w = base * np.minimum(1.0, 1.8 * spread / np.maximum(np.abs(r), 1e-9))
    return beta, spread
