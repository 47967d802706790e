"""Plots of the figures of evaluation.proteins, as small SVG files without any library.

    tools/run.py evaluation.proteins ... --plots DIR

- calibration.svg: share right by the stated confidence, of secondary structure and of rotamers
- served.svg: share wrong among the residues whose stated error is smallest, by their share
- shifts.svg: share wrong and rmsd by the number of the residue's own shifts
"""

import os

from evaluation.counts import SPREADS

WIDTH, HEIGHT = 420, 320
LEFT, RIGHT, TOP, BOTTOM = 56, 14, 30, 46
COLOURS = ("#1f5fa8", "#c2571a", "#3a7d44")


class Plot:
    """Axes with lines; `x` and `y` are (first, last, step)."""

    def __init__(self, title, x_title, y_title, x, y):
        self.x, self.y = x, y
        self.parts = [text(LEFT, 18, title, weight="bold")]
        self.series = 0
        bottom, right = HEIGHT - BOTTOM, WIDTH - RIGHT
        for value in ticks(x):
            self.parts.append(line([(self.across(value), TOP), (self.across(value), bottom)]))
            self.parts.append(text(self.across(value), bottom + 16, label(value), "middle"))
        for value in ticks(y):
            self.parts.append(line([(LEFT, self.up(value)), (right, self.up(value))]))
            self.parts.append(text(LEFT - 6, self.up(value) + 4, label(value), "end"))
        self.parts.append(text((LEFT + right) / 2, HEIGHT - 10, x_title, "middle"))
        turn = f'transform="translate(14 {(TOP + bottom) / 2:.0f}) rotate(-90)"'
        self.parts.append(text(0, 0, y_title, "middle", more=turn))

    def across(self, value):
        first, last, _ = self.x
        return LEFT + (WIDTH - LEFT - RIGHT) * (value - first) / (last - first)

    def up(self, value):
        first, last, _ = self.y
        return HEIGHT - BOTTOM - (HEIGHT - TOP - BOTTOM) * (value - first) / (last - first)

    def add(self, name, points, marks=True):
        """A series of (x, y) or (x, y, error of y)."""
        colour = COLOURS[self.series % len(COLOURS)]
        self.parts.append(
            line([(self.across(p[0]), self.up(p[1])) for p in points], colour, width=1.6)
        )
        for point in points:
            x, y = self.across(point[0]), self.up(point[1])
            if len(point) > 2:
                ends = [point[1] - point[2], min(point[1] + point[2], self.y[1])]
                ends = [(x, self.up(value)) for value in ends]
                self.parts.append(line(ends, colour))
            if marks:
                self.parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="2.6" fill="{colour}"/>')
        if name:
            y = TOP + 14 + 15 * self.series
            self.parts.append(line([(LEFT + 8, y - 4), (LEFT + 26, y - 4)], colour, width=1.6))
            self.parts.append(text(LEFT + 32, y, name))
        self.series += 1

    def diagonal(self):
        ends = [(value, value) for value in self.x[:2]]
        self.parts.append(line([(self.across(a), self.up(b)) for a, b in ends], "#999999"))

    def write(self, path):
        with open(path, "w") as out:
            out.write(
                f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
                f'width="{WIDTH}" height="{HEIGHT}" font-family="sans-serif" font-size="11">\n'
                f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>\n'
            )
            out.write("\n".join(self.parts) + "\n</svg>\n")


def ticks(axis):
    first, last, step = axis
    return [first + k * step for k in range(int(round((last - first) / step)) + 1)]


def label(value):
    return f"{value:g}"


def text(x, y, words, anchor="start", weight="normal", more=""):
    words = words.replace("&", "&amp;").replace("<", "&lt;")
    return (
        f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-weight="{weight}" '
        f'fill="#222222" {more}>{words}</text>'
    )


def line(points, colour="#dddddd", width=1.0):
    path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
    return f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="{width}"/>'


def percent(part, whole):
    return 100.0 * part / whole


def calibration(total, error_of):
    plot = Plot("Calibration", "stated, %", "right, %", (0, 100, 20), (0, 100, 20))
    plot.diagonal()
    states = [
        (10 * t + 5, percent(total["ss right tenth %d" % t][0], total["ss tenth %d" % t][0]))
        for t in range(10)
        if total["ss tenth %d" % t][0]
    ]
    plot.add("secondary structure, by confidence", states)
    rotamers = []
    for t in range(10):
        n = total["tenth Q %d" % t]
        if n[0]:
            mean = percent(total["tenth sum Q %d" % t][0], n[0])
            right = total["tenth right Q %d" % t]
            rotamers.append((mean, percent(right[0], n[0]), error_of(right, n)))
    plot.add("chi1 rotamers, by probability", rotamers)
    return plot


def served_curve(total):
    """(share of the predicted residues, % wrong among them) with ever larger stated errors."""
    n = wrong = 0.0
    points = []
    for k in range(SPREADS):
        n += total["spread %d" % k][0]
        wrong += total["spread wrong %d" % k][0]
        share = percent(n, total["searched all"][0])
        if share >= 5.0 and (not points or share - points[-1][0] >= 0.5):
            points.append((share, percent(wrong, n)))
    return points


def served(total):
    points = served_curve(total)
    top = max([y for _, y in points] + [1.0])
    plot = Plot(
        "Wrong among the residues of smallest stated error",
        "share of the predicted residues taken, % (Strong and Generous)",
        "wrong, %",
        (0, 100, 20),
        (0, int(top) + 1, 1),
    )
    plot.add("", points, marks=False)
    return plot


def by_shifts(figures, error):
    groups = ("fewer than 3", "3 shifts", "4 shifts", "5 shifts", "6 shifts")
    series = []
    for name, key in (
        ("wrong, %", "% wrong, "),
        ("rmsd phi, degrees", "rmsd phi, "),
        ("rmsd psi, degrees", "rmsd psi, "),
    ):
        values = [(k + 2, figures[key + group]) for k, group in enumerate(groups)]
        series.append((name, [(k, v[0], error(v)) for k, v in values if v[0] == v[0]]))
    top = max([y + e for _, points in series for _, y, e in points] + [20.0])
    plot = Plot(
        "Error by the number of the residue's own shifts",
        "shifts of the residue (2: fewer than three)",
        "wrong; rmsd",
        (2, 6, 1),
        (0, 4 * int(top / 4 + 2), 4),
    )
    for name, points in series:
        plot.add(name, points)
    return plot


def write_all(folder, total, figures, share, error):
    """Writes the plots of summed counts and figures of evaluation.proteins, whose functions give a
    share in per cent and the error of a figure."""
    os.makedirs(folder, exist_ok=True)

    def error_of(part, whole):
        found = error(share(part, whole))
        return found if found == found else 0.0

    plots = {
        "calibration": calibration(total, error_of),
        "served": served(total),
        "shifts": by_shifts(figures, lambda v: 0.0 if error(v) != error(v) else error(v)),
    }
    for name, plot in plots.items():
        plot.write(os.path.join(folder, name + ".svg"))
