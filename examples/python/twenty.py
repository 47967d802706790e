"""Makes twenty shift tables of the two examples, as depositions come: whole, with nuclei missing,
with half of the residues, noisy, or badly referenced.

    python3 twenty.py EXAMPLES OUTPUT
"""

import pathlib
import random
import sys

CARBONS = ("C", "CA", "CB")


def without(*atoms):
    return lambda resid, atom, shift: None if atom in atoms else shift


def moved(ppm, *atoms):
    return lambda resid, atom, shift: shift + ppm if atom in atoms else shift


def noisy(resid, atom, shift):
    return shift + random.gauss(0.0, 0.4 if atom in CARBONS else 0.8 if atom == "N" else 0.08)


def half(resid, atom, shift):
    return shift if resid % 4 < 2 else None


VARIANTS = {
    "whole": without(),
    "no-protons": without("HA", "HA2", "HA3", "HN"),
    "no-ha": without("HA", "HA2", "HA3"),
    "no-cb": without("CB"),
    "no-c": without("C"),
    "no-n": without("N"),
    "half": half,
    "noisy": noisy,
    "carbons-high": moved(2.0, "CA", "CB"),
    "carbonyls-low": moved(-2.5, "C"),
}


def changed(line, variant):
    """The line of a table after a variant; none for a shift that is left out."""
    words = line.split()
    if len(words) != 4 or not words[0].lstrip("-").isdigit():
        return line
    shift = variant(int(words[0]), words[2], float(words[3]))
    return None if shift is None else f"{words[0]:>4} {words[1]} {words[2]:>4} {shift:8.3f}"


def main(examples, output):
    random.seed(1)
    output.mkdir(parents=True, exist_ok=True)
    for protein in ("ci2", "fgf2"):
        lines = (examples / f"{protein}.tab").read_text(encoding="ascii").splitlines()
        for name, variant in VARIANTS.items():
            rows = [changed(line, variant) for line in lines]
            table = "".join(f"{row}\n" for row in rows if row is not None)
            (output / f"{protein}-{name}.tab").write_text(table, encoding="ascii")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*map(pathlib.Path, sys.argv[1:]))
