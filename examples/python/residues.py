"""Predicts a protein and writes what a structure calculation and a talk need of it.

    python3 residues.py SHIFTS OUTPUT

OUTPUT-residues.csv has a row a residue, OUTPUT.aco the restraints, OUTPUT.html the page. SHIFTS is
a deposited file or an input table.
"""

import sys

import orvix


def main(shifts, output):
    read = orvix.import_shifts(shifts)
    for warning in read.warnings:
        print(f"warning: {warning}")
    prediction = orvix.Model().predict(read, exclude_relatives=True)

    residues = prediction.residues
    residues.to_csv(f"{output}-residues.csv")
    trusted = residues[residues["class"].isin(["Strong", "Generous"])]
    print(f"{len(trusted)} of {len(residues)} residues can be trusted")
    print(trusted.groupby("structure")[["phi", "psi", "s2"]].median().round(2).to_string())

    # The share of each map that lies in the left-handed half, phi above 0.
    maps = prediction.maps
    left = maps[:, 9:, :].sum(axis=(1, 2)) / maps.sum(axis=(1, 2))
    print("left-handed:", list(residues.index[left > 0.5]))

    gross = prediction.findings.query("level == 'gross' or kind == 'offset'")
    print(gross.to_string() if len(gross) else "no gross findings on the shifts")

    with open(f"{output}.aco", "w", encoding="ascii") as stream:
        stream.write(prediction.restraints("cyana"))
    prediction.report(f"{output}.html")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    try:
        main(*sys.argv[1:])
    except orvix.Error as error:
        sys.exit(f"{sys.argv[0]}: {error}")
