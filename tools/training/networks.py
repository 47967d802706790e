"""Shared parts of the network trainers: members, input folding, weight tables, the phi/psi grid,
resumable training.

A member is the three-layer perceptron that the program evaluates: a square tanh layer at the width
of the input, a tanh layer of the hidden width, a linear output layer. It is trained on standardised
inputs; the standardisation is folded into the first layer when the weights are written, so the
program sees raw inputs.
"""
import os
import time

import numpy as np
import torch
from torch import nn

from data import boxes
from data.log import log

# Layers this small gain little from a second thread, and threads that wait for each other on a busy
# machine are many times slower than one.
torch.set_num_threads(1)

BOX_SHARE = np.array(boxes.BOX_SHARE)
BOX_PRIOR = np.maximum(0.03, np.sqrt(BOX_SHARE)).astype(np.float32)
BOX_CENTRES = np.arange(-170.0, 180.0, 20.0)
FULL_ROWS = 400000  # windows that the epochs of the first trainings are meant for
SAVE_SECONDS = 60  # between two states of a training under way


class Member(nn.Module):
    """One ensemble member; `live` is the number of first-layer units that are not held at zero."""

    def __init__(self, inputs, hidden, outputs, live=None, drop=0.0, in_drop=0.0):
        super().__init__()
        self.inputs, self.live = inputs, live or inputs
        self.wi = nn.Linear(inputs, self.live)
        self.wl1 = nn.Linear(self.live, hidden)
        self.wl2 = nn.Linear(hidden, outputs)
        self.drop, self.in_drop = nn.Dropout(drop), nn.Dropout(in_drop)
        self.register_buffer("mean", torch.zeros(inputs))
        self.register_buffer("scale", torch.ones(inputs))

    def standardise_on(self, sample, floor=1e-3):
        """Takes the input's mean and spread from a sample of windows; columns that never vary stay
        as they are, as all do without a sample."""
        if len(sample) < 2:
            return
        sd = sample.std(0)
        self.mean.copy_(sample.mean(0))
        self.scale.copy_(torch.where(sd > floor, sd, torch.ones_like(sd)))

    def forward(self, x):
        x = self.in_drop((x - self.mean) / self.scale)
        return self.wl2(self.drop(torch.tanh(self.wl1(self.drop(torch.tanh(self.wi(x)))))))

    def layers(self, output_scale=None):
        """(weights, biases) of the three layers as the program needs them, in double precision."""

        def d(parameter):
            return parameter.detach().double().numpy()

        mean, scale = d(self.mean), d(self.scale)
        wi = np.zeros((self.inputs, self.inputs))
        bi = np.zeros(self.inputs)
        wi[: self.live] = d(self.wi.weight) / scale
        bi[: self.live] = d(self.wi.bias) - wi[: self.live] @ mean
        w1 = np.zeros((self.wl1.out_features, self.inputs))
        w1[:, : self.live] = d(self.wl1.weight)
        w2, b2 = d(self.wl2.weight), d(self.wl2.bias)
        if output_scale is not None:
            w2, b2 = w2 * output_scale[:, None], b2 * output_scale
        return (wi, bi), (w1, d(self.wl1.bias)), (w2, b2)


class Ensemble(nn.Module):
    """Members that are trained on the same batches; the output is the list of theirs.

    Every member has its own start and its own gradients, so it becomes what it would alone, but the
    input and the targets are made once.
    """

    def __init__(self, members):
        super().__init__()
        self.members = nn.ModuleList(members)

    def forward(self, x):
        return [member(x) for member in self.members]


def _number(value, threshold):
    if abs(value) < threshold:
        return "0"
    text = "%.4g" % value
    if "e" in text:
        mantissa, exponent = text.split("e")
        text = "%se%d" % (mantissa, int(exponent))
    return text


def write_layer(path, members, note):
    """Writes one layer of all members as a weight table: a row a neuron, columns 1..C and b."""
    columns = members[0][0].shape[1]
    empty = " ".join(["0"] * (columns + 1)) + "\n"
    with open(path + ".part", "w") as out:
        out.write("REMARK %s\n\n" % note)
        out.write("VARS " + " ".join(str(c) for c in range(1, columns + 1)) + " b\n")
        out.write("FORMAT" + " %f" * (columns + 1) + "\n\n")
        for weights, biases in members:
            threshold = 2e-5 * (
                np.sqrt(np.mean(weights[np.any(weights != 0, 1)] ** 2)) if np.any(weights) else 1.0
            )
            for row, bias in zip(weights, biases):
                if bias == 0.0 and not np.any(row):
                    out.write(empty)
                else:
                    out.write(
                        " ".join(_number(v, threshold) for v in row)
                        + " "
                        + _number(bias, 1e-7)
                        + "\n"
                    )
    os.replace(path + ".part", path)


def write_level(directory, name, level, members, output_scale=None):
    """Writes the three layer tables of one level: `members` are trained Member objects, in ensemble
    order."""
    os.makedirs(directory, exist_ok=True)
    layers = [m.layers(output_scale) for m in members]
    for index, suffix in enumerate(("WI", "WL1", "WL2")):
        path = os.path.join(directory, "%s.level%d.%s.tab" % (name, level, suffix))
        write_layer(path, [of[index] for of in layers], "%s level %d %s" % (name, level, suffix))


def epochs_for(epochs, rows):
    """Epochs of a first training over `rows` windows: small sources see theirs more often, up to
    four times."""
    return int(np.clip(round(epochs * FULL_ROWS / max(rows, 1)), epochs, 4 * epochs))


def set_rate(optimiser, rate, epoch, epochs):
    """The learning rate falls along a cosine, to a fiftieth."""
    for group in optimiser.param_groups:
        group["lr"] = rate * (0.02 + 0.98 * 0.5 * (1 + np.cos(np.pi * epoch / epochs)))


def fit(
    net,
    state_path,
    epoch_batches,
    loss_of,
    validate,
    epochs,
    rate,
    decay=0.0,
    patience=8,
    label="",
    seed=0,
):
    """Trains `net` with early stopping; resumes from, and finishes into, `state_path`.

    epoch_batches(rng) yields batches, loss_of(net, batch) gives the loss, validate(net) a figure to
    be minimised. The rate falls along a cosine. Returns the best validation figure; `net` holds the
    weights that gave it.
    """
    done = state_path + ".done.pt"
    if os.path.exists(done):
        saved = torch.load(done)
        net.load_state_dict(saved["best"])
        return saved["score"]
    optimiser = torch.optim.AdamW(net.parameters(), lr=rate, weight_decay=decay)
    start, best, best_score, best_epoch = 0, None, float("inf"), -1
    partial = state_path + ".part.pt"
    if os.path.exists(partial):
        saved = torch.load(partial)
        net.load_state_dict(saved["net"])
        optimiser.load_state_dict(saved["optimiser"])
        start, best, best_score, best_epoch = (
            saved["next"],
            saved["best"],
            saved["score"],
            saved["best_epoch"],
        )
    last_save = time.time()
    begun = time.time()
    for epoch in range(start, epochs):
        set_rate(optimiser, rate, epoch, epochs)
        torch.manual_seed(seed * 1000 + epoch)
        net.train()
        total, count = 0.0, 0
        for batch in epoch_batches(np.random.default_rng([seed, epoch])):
            optimiser.zero_grad(set_to_none=True)
            loss = loss_of(net, batch)
            loss.backward()
            optimiser.step()
            total, count = total + float(loss.detach()), count + 1
        net.eval()
        with torch.no_grad():
            score = float(validate(net))
        # Without anything held out (a very small source) the score is NaN, and the last epoch best.
        if not score >= best_score:
            best_score, best_epoch = score, epoch
            best = {k: v.clone() for k, v in net.state_dict().items()}
        if epoch % 5 == 4 or epoch + 1 == epochs:
            log(
                "%s epoch %d train %.5f held-out %.5f best %.5f (%d) %.0fs"
                % (
                    label,
                    epoch + 1,
                    total / max(1, count),
                    score,
                    best_score,
                    best_epoch + 1,
                    time.time() - begun,
                )
            )
        if epoch - best_epoch >= patience:
            break
        if time.time() - last_save > SAVE_SECONDS:
            torch.save(
                {
                    "net": net.state_dict(),
                    "optimiser": optimiser.state_dict(),
                    "next": epoch + 1,
                    "best": best,
                    "score": best_score,
                    "best_epoch": best_epoch,
                },
                partial,
            )
            last_save = time.time()
    net.load_state_dict(best)
    torch.save({"best": best, "score": best_score}, done)
    if os.path.exists(partial):
        os.remove(partial)
    return best_score


def margin_mean(vectors):
    """The program's ensemble mean, weighted by the margin of the largest value over the next."""
    weights = [v.sort(1).values[:, 2:3] - v.sort(1).values[:, 1:2] for v in vectors]
    total = sum(weights)
    return sum(v * w for v, w in zip(vectors, weights)) / total.clamp(min=1e-9)


def normalised(v):
    v = v.clamp(0, 1)
    return v / v.sum(1, keepdim=True).clamp(min=1e-9)


def class_loss(out, batch):
    """Squared error of class vectors; batch[1] holds classes or expected shares of them."""
    target = batch[1] if batch[1].dim() == 2 else torch.nn.functional.one_hot(batch[1], 3).float()
    return (batch[2][:, None] * (out - target) ** 2).sum() / batch[2].sum()


def q3(values, labels):
    """Accuracy and the class recalls as one text."""
    best = values.argmax(1)
    parts = ["Q3 %.2f %%" % (100 * (best == labels).float().mean())]
    for k, name in enumerate(("helix", "strand", "coil")):
        of = labels == k
        parts.append("%s %.1f" % (name, 100 * (best[of] == k).float().mean() if of.any() else 0))
    return " ".join(parts) + " (n %d)" % len(labels)
