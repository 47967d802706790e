"""Plants referencing offsets in shift tables and holds what the program's check estimates against
them.

    tools/run.py evaluation.offsets WORK PROGRAM TABLES OUT [--proteins 40]

WORK is the directory that data.build leaves, whose tables are referenced by known structures;
PROGRAM the built orvixn, TABLES a table directory, OUT a directory for the tables with offsets and
the logs. For each nucleus the proteins are picked evenly among those with enough shifts for the
check, and every shift of the nucleus gets the same offset, as in a spectrum with a wrong reference.

Prints by nucleus and planted offset (ppm): the share of proteins for which the check reports an
offset at all (with nothing planted: false alarms) and for which it is found, that is, less than
half of it is left after the correction; mean and deviation of estimate minus planted, of the
reported ones, and its root mean square in units of the error that the check states (1 if that is
right); and the root mean square of what is left over all proteins, where one that is not reported
is left whole.
"""
import argparse
import os
import re
import subprocess

import numpy as np

from data.dataset import read_tsv

NUCLEI = {
    "CA/CB": (("CA", "CB"), (0.5, 1.0, 2.5)),
    "C'": (("C",), (0.5, 1.0, 2.5)),
    "HA": (("HA", "HA2", "HA3"), (0.1, 0.2)),
}
# The check fits residues other than proline and cysteine by the sign of CA - CB and wants ten of
# one sign.
ENOUGH = 20
REPORT = re.compile(r"Estimated Referencing Offset for (\S+):\s+(-?[\d.]+) \+/-\s+([\d.]+)ppm")


def shift_rows(lines):
    """(line number, words) of the shifts of a table."""
    return [
        (k, words)
        for k, words in enumerate(map(str.split, lines))
        if len(words) == 4 and words[0].lstrip("-").isdigit()
    ]


def testable(lines, nucleus):
    atoms = {}
    for _, (number, letter, atom, _) in shift_rows(lines):
        if letter not in "PCc":
            atoms.setdefault(number, set()).add(atom)
    return sum({"CA", "CB", NUCLEI[nucleus][0][0]} <= found for found in atoms.values()) >= ENOUGH


def estimate(args, protein, lines, nucleus, planted):
    """The offset and its error that the check reports for the table with the planted offset, or
    None."""
    out = os.path.join(args.out, protein, "%s%+.1f" % (re.sub(r"\W", "", nucleus), planted))
    os.makedirs(out, exist_ok=True)
    shifted = list(lines)
    for k, (number, letter, atom, shift) in shift_rows(lines):
        if atom in NUCLEI[nucleus][0]:
            shifted[k] = "%4s %1s %4s %8.3f\n" % (number, letter, atom, float(shift) + planted)
    with open(os.path.join(out, "in.tab"), "w") as table:
        table.writelines(shifted)
    run = subprocess.run(
        [args.program, "-tabDir", args.tables, "-in", "in.tab", "-check"],
        cwd=out,
        text=True,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        check=False,
    )
    with open(os.path.join(out, "log"), "w") as log:
        log.write(run.stdout)
    if run.returncode != 255 or "Checking Chemical Shift Referencing" not in run.stdout:
        raise SystemExit("the check of %s did not finish, see its log" % out)
    return {
        name: (float(value), float(error)) for name, value, error in REPORT.findall(run.stdout)
    }.get(nucleus)


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    for name in ("work", "program", "tables", "out"):
        parser.add_argument(name)
    parser.add_argument("--proteins", type=int, default=40)
    args = parser.parse_args()
    args.program, args.tables = os.path.abspath(args.program), os.path.abspath(args.tables)

    tables = {}
    for p in read_tsv(os.path.join(args.work, "proteins.tsv")):
        if p["kind"] != "related":
            with open(os.path.join(args.work, "tables", p["id"] + ".tab")) as table:
                tables[p["id"]] = table.readlines()
    print("nucleus planted proteins  reported    found         error of the estimate   left, rms")
    for nucleus, (_, sizes) in NUCLEI.items():
        able = [name for name, lines in tables.items() if testable(lines, nucleus)]
        picks = np.linspace(0, len(able) - 1, min(args.proteins, len(able))).round().astype(int)
        for planted in [0.0] + [sign * size for size in sizes for sign in (1, -1)]:
            reports = [estimate(args, able[k], tables[able[k]], nucleus, planted) for k in picks]
            errors = np.array([r[0] - planted for r in reports if r])
            stated = np.array([r[1] for r in reports if r])
            left = np.array([planted - (r[0] if r else 0.0) for r in reports])
            found = (
                "%6.1f %%" % (100.0 * np.mean(np.abs(left) < 0.5 * abs(planted)))
                if planted
                else "-"
            )
            spread = (
                "%+.3f, sd %.3f, %.1f stated"
                % (errors.mean(), errors.std(ddof=1), np.sqrt(np.mean((errors / stated) ** 2)))
                if len(errors) > 1
                else "-"
            )
            print(
                "%-7s %+7.1f %8d  %6.1f %% %8s  %28s   %9.3f"
                % (
                    nucleus,
                    planted,
                    len(picks),
                    100.0 * len(errors) / len(picks),
                    found,
                    spread,
                    np.sqrt(np.mean(left**2)),
                )
            )


if __name__ == "__main__":
    main()
