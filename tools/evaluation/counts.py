"""Counts of one finished run held against the known structure; evaluation.proteins adds them up.

`truth` maps residue numbers to rows of labels.tsv.gz. Names of counts are words, joined by blanks;
counts of several proteins can be added.
"""
import collections
import itertools
import math
import os

from data.boxes import too_far
from data.results import ROTAMERS, TRUSTED, difference, read_rows, rotamer

# Shifts of a residue and its two neighbours together (CS_COUNT of pred.tab, of 18; every glycine
# and proline lacks one or two). The chi1 networks see those of the three residues alone, half of
# which count as enough there.
ENOUGH = 10
CHI1_ENOUGH = 9
# Strong and Generous are also counted by the error that they state for both angles together.
SPREADS, SPREAD_STEP = 60, 1


def shift_groups(structure_row):
    """Names of the groups of a residue by the shifts it has."""
    own, around = int(structure_row["CS_CNT_R2"]), int(structure_row["CS_CNT"])
    return (
        "%d shifts" % own if own >= 3 else "fewer than 3",
        "enough" if around >= ENOUGH else "few",
    )


def count_angles(count, summary, structure, truth):
    for number, known in truth.items():
        if known["use_phipsi"] != "1":
            continue
        row = summary.get(number)
        kind = row["CLASS"] if row else "None"
        groups = ("all",) + (shift_groups(structure[number]) if number in structure else ())
        count["class " + kind] += 1
        for group in groups:
            count["residues " + group] += 1
        if kind == "None":
            continue
        phi, psi = float(known["phi"]), float(known["psi"])
        d_phi, d_psi = difference(float(row["PHI"]), phi), difference(float(row["PSI"]), psi)
        square = d_phi * d_phi + d_psi * d_psi
        wrong = too_far(square, phi, psi)
        for group in groups:
            count["searched " + group] += 1
            count["served " + group] += kind in TRUSTED or kind == "Dyn"
        if kind in TRUSTED:
            stated = math.hypot(float(row["DPHI"]), float(row["DPSI"]))
            step = min(SPREADS - 1, int(stated / SPREAD_STEP))
            count["spread %d" % step] += 1
            count["spread wrong %d" % step] += wrong
        for name in (kind,) + (groups if kind in TRUSTED else ()):
            count["n " + name] += 1
            count["wrong " + name] += wrong
            count["beyond 60 " + name] += square >= 3600.0
            if not wrong:
                count["phi2 " + name] += d_phi * d_phi
                count["psi2 " + name] += d_psi * d_psi


def segments(states, state):
    """(start, stop) of the runs of `state`."""
    found, start = [], 0
    for letter, run in itertools.groupby(states):
        stop = start + len(list(run))
        if letter == state:
            found.append((start, stop))
        start = stop
    return found


def count_overlap(count, observed, predicted):
    """Segment overlap (Zemla, Venclovas, Fidelis and Rost (1999) Proteins 34:220-223)."""
    for state in "HEC":
        theirs = segments(predicted, state)
        for start, stop in segments(observed, state):
            length = stop - start
            met = [(a, b) for a, b in theirs if a < stop and b > start]
            for a, b in met:
                common, whole = min(b, stop) - max(a, start), max(b, stop) - min(a, start)
                slack = min(whole - common, common, length // 2, (b - a) // 2)
                count["sov " + state] += (common + slack) / whole * length
            count["sov length " + state] += length * max(1, len(met))


def count_structure(count, structure, truth):
    observed, predicted = "", ""
    for number in range(min(truth), max(truth) + 1):
        state = truth[number]["ss"] if number in truth else "."
        row = structure.get(number)
        word = row["SS_CLASS"].upper().replace("L", "C") if row else "-"
        observed += state
        # residues of unknown structure break the segments of both
        predicted += word if state != "." else "."
        if state == ".":
            continue
        names = ["all", "true " + state]
        if row and row["SS_CLASS"].isupper():
            names += ["shifts"] + ["shifts " + group for group in shift_groups(row)]
            names.append("tenth %d" % min(9, int(10 * float(row["CONFIDENCE"]))))
        elif row:
            names.append("sequence")
        for name in names:
            count["ss " + name] += 1
            count["ss right " + name] += word == state
    count_overlap(count, observed, predicted)


def count_rotamers(count, rotamers, truth):
    for number, row in rotamers.items():
        known = truth.get(number)
        if known is None or known["use_chi1"] != "1":
            continue
        letter = known["letter"].upper()
        true = rotamer(float(known["chi1"]), letter)
        values = {q: float(row[q]) for q in ROTAMERS}
        top = max(values.values())
        best = [word for q, word in ROTAMERS.items() if values[q] == top]
        for name in ["all"] + (["enough", letter] if int(row["CS_COUNT"]) >= CHI1_ENOUGH else []):
            count["chi1 " + name] += 1
            if row["CLASS"] != "na":
                count["chi1 called " + name] += 1
                count["chi1 right " + name] += row["CLASS"] == true
            if name != letter:
                count["chi1 top %s %.3f" % (name, top)] += 1
                # of equal largest ones each is a guess
                count["chi1 top right %s %.3f" % (name, top)] += (true in best) / len(best)
        for q, word in ROTAMERS.items():
            for name in (q, "Q"):
                tenth = "%s %d" % (name, min(9, int(10 * values[q])))
                count["tenth " + tenth] += 1
                count["tenth sum " + tenth] += values[q]
                count["tenth right " + tenth] += true == word


def count_run(directory, truth):
    """Counts of the run in `directory`; a run without its result tables counts as failed."""
    count = collections.Counter()
    try:
        summary, structure, rotamers = (
            read_rows(os.path.join(directory, name + ".tab"))
            for name in ("pred", "predSS", "predChi1")
        )
    except OSError:
        count["failed"] += 1
        return count
    count_angles(count, summary, structure, truth)
    count_structure(count, structure, truth)
    count_rotamers(count, rotamers, truth)
    return count
