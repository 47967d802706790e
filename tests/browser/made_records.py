"""Records of made-up predictions, all quantities and all gaps in them, the same at every call."""

import random

ATOMS = ["N", "HA", "C", "CA", "CB", "HN"]
LETTERS = "ARNDCQEGHILKMFPSTWYV"
NO_CHI1 = set("AGP")
HOSTILE = "</script><script>window.broken=1</script><!-- \"quoted\" 'text' & 蛋白質 \u2028 ${x}"
HOSTILE_LETTER = "<b>"


def residue_class(place, count):
    if place in (0, count - 1):
        return "None"
    return ("Strong", "Strong", "Strong", "Generous", "Warn", "Dyn", "Strong", "Bad")[place % 8]


def made_map(rng, phi, psi):
    boxes = []
    for row in range(18):
        for column in range(18):
            dr = abs(row - int((phi + 180) / 20))
            dc = abs(column - int((psi + 180) / 20))
            near = max(0.0, 1.0 - 0.3 * (min(dr, 18 - dr) + min(dc, 18 - dc)))
            boxes.append(round(near * rng.uniform(0.8, 1.0), 3))
    return boxes


def made_matches(rng, phi, psi):
    count = 25
    wrap = lambda angle: round((angle + 180) % 360 - 180, 1)
    return {
        "source": [f"b{rng.randrange(10000, 99999)}_4ABC" for _ in range(count)],
        "window": ["".join(rng.choice(LETTERS) for _ in range(7)) for _ in range(count)],
        "resid": [rng.randrange(1, 300) for _ in range(count)],
        "phi": [wrap(phi + rng.gauss(0, 12)) for _ in range(count)],
        "psi": [wrap(psi + rng.gauss(0, 12)) for _ in range(count)],
        "chi1": [None if rng.random() < 0.3 else round(rng.uniform(-180, 180), 1) for _ in range(count)],
        "score": [round(0.02 * (place + 1), 3) for place in range(count)],
        "used": [place % 6 != 5 for place in range(count)],
    }


def made_residue(rng, resid, letter, place, count, reference):
    word = residue_class(place, count)
    predicted = word != "None"
    helix = (place // 12) % 2 == 0
    # One answer in ten lies at each end of the circle.
    centre = {9: 170, 4: -172}.get(place % 10, -63 if helix else -115)
    phi = round(max(-180.0, min(180.0, centre + rng.gauss(0, 6))), 3)
    psi = round((-42 if helix else 132) + rng.gauss(0, 9), 3)
    secondary = {atom: round(rng.gauss(0, 1.2), 3) for atom in ATOMS}
    if letter == "G":
        secondary["CB"] = None
    if letter == "P":
        secondary["N"] = secondary["HN"] = None
    shares = sorted((rng.uniform(0.05, 1.0) for _ in range(3)), reverse=True)
    shares = [round(one / sum(shares), 3) for one in shares]
    call = shares[0] >= 0.6
    return {
        "resid": resid,
        "resname": letter,
        "state_letter": letter,
        "author_resid": None,
        "shifts": {atom: None if value is None else round(100 + value, 3) for atom, value in secondary.items()},
        "secondary_shifts": secondary,
        "phi": phi if predicted else None,
        "psi": psi if predicted else None,
        "phi_spread": round(rng.uniform(6, 30), 3) if predicted else None,
        "psi_spread": round(rng.uniform(6, 30), 3) if predicted else None,
        "score": 0.2 if predicted else None,
        "match_count": 25 if predicted else 0,
        "shift_count": 17,
        "class": word,
        "s2": round(0.5 + 0.4 * (place % 7) / 6, 3),
        "secondary_structure": {
            "state": "H" if helix else "E" if place % 3 else "L", "confidence": round(rng.random(), 2),
            "helix": 0.6, "strand": 0.2, "coil": 0.2, "source": "shifts",
        },
        "chi1": None if letter in NO_CHI1 else {
            "angle": -60.0 if call else None, "spread": 9.0 if call else None, "rotamer": "g-" if call else None,
            "g_minus": shares[0], "g_plus": shares[1], "trans": shares[2], "turned": letter == "V",
        },
        "reference": {"phi": round(phi + 8, 3), "psi": round(psi - 8, 3), "chi1": -65.0} if reference and predicted else None,
        "map": made_map(rng, phi, psi) if predicted else None,
        "clusters": [{"seed": 0, "sum": 3.0, "boxes": [0, 1, 17, 18, 306]}] if predicted else None,
        "matches": made_matches(rng, phi, psi) if predicted else None,
        "matched_shifts": {atom: {"mean": 0.1, "spread": 0.5, "count": 20} for atom in ATOMS} if predicted else None,
    }


def made_page_record(count=60, title="Made protein", first=-3, reference=True, hostile=False):
    """The record of a page over one made protein; `first` is the number of its first residue."""
    rng = random.Random(20)
    title = HOSTILE if hostile else title
    letters = [LETTERS[(7 * place) % 20] for place in range(count)]
    residues = [made_residue(rng, first + place, letter, place, count, reference) for place, letter in enumerate(letters)]
    if hostile:
        residues[5]["resname"] = HOSTILE_LETTER
        residues[6]["matches"]["source"][0] = HOSTILE
        residues[7]["class"] = "<i>new</i>"
    outliers = []
    for place, atom, serious in ((10, "CA", True), (11, "HA", False), (12, "N", False)):
        residue = residues[place]
        if residue["secondary_shifts"][atom] is None:
            residue["secondary_shifts"][atom] = 1.0
        residue["secondary_shifts"][atom] *= 9
        outliers.append({"resid": residue["resid"], "resname": residue["resname"], "atom": atom,
                         "secondary_shift": residue["secondary_shifts"][atom], "limit": 4.0, "serious": serious})
    offset = {"offset": 1.234, "error": 0.05, "count": count - 8, "significant": True, "applied": False}
    fit = {"count": 25, "slope": 0.5, "intercept": 0.4, "error": 0.05, "expected": 0.1}
    results = {
        "schema": "orvix-results", "schema_version": 1,
        "program": {"name": "orvix", "version": "9.8.7"},
        "data": {"version": "made data"},
        "input": {"file": HOSTILE if hostile else "dir/made.tab", "title": title,
                  "sequence": "".join(letters), "first_residue": first},
        "settings": {"data_directory": "data", "reference": "made.pdb" if reference else None, "no_proton": False,
                     "s2_threshold": 0.6, "exclude": None, "count": 10},
        "shift_offsets": {"CA": offset, "CB": offset, "HA": None,
                          "C": {"offset": 0.01, "error": 0.1, "count": 40, "significant": False, "applied": False}},
        "outliers": outliers,
        "completeness": {atom: {"assigned": count - 10 if atom != "HA" else 3, "expected": count} for atom in ATOMS},
        "sequence_mismatches": [],
        "shift_limits": {letter: {atom: [-4.0, 4.0] for atom in ATOMS} for letter in LETTERS},
        "referencing": {atom: {"negative": fit, "positive": dict(fit, slope=None, intercept=None, error=None, count=4)}
                        for atom in ("CA", "HA", "C")},
        "residues": residues,
    }
    restraints = [
        {"format": "cyana", "file": "made.aco", "text": "# A comment\n  12 ALA PHI  -80.0 -40.0\n"},
        {"format": "cns", "file": "made.tbl", "text": "! \u00e9 </script>\nassign ( resid 1 )\n"},
        {"format": "nef", "file": "made.nef", "text": "data_nef\n\r\n\tend"},
    ]
    return {"schema": "orvix-report", "schema_version": 1, "program": results["program"],
            "written": "2026-01-02T03:04:05Z", "predicted": "2026-01-01T00:00:00Z",
            "results": results, "restraints": restraints}


def older_record(record):
    """The record of a program that did not write maps, matches and findings."""
    for key in ("data", "outliers", "completeness", "sequence_mismatches", "shift_limits", "referencing"):
        del record["results"][key]
    for residue in record["results"]["residues"]:
        for key in ("map", "clusters", "matches", "matched_shifts"):
            del residue[key]
    record["restraints"] = []
    return record


def made_index_record(count=2000, hostile=True):
    rng = random.Random(7)
    proteins = []
    for number in range(count):
        size = 60 + number % 180
        strip = "N" + "".join(rng.choice("SSSSGWD") for _ in range(size - 2)) + "N"
        words = {"S": "Strong", "G": "Generous", "W": "Warn", "D": "Dyn", "N": "None"}
        significant = number % 40 == 3
        proteins.append({
            "name": f"p{(number * 7919) % 100003:06d}",
            "title": f"Protein number {number}",
            "report": f"p{number}/report.html" if number % 50 else None,
            "residues": size,
            "classes": {word: strip.count(letter) for letter, word in words.items()},
            "strip": strip,
            "structure": "".join("HHHHLLEE"[(place // 5) % 8] for place in range(size)),
            "completeness": round(rng.uniform(0.4, 1.0), 3),
            "outliers": number % 9,
            "serious": 1 if number % 30 == 0 else 0,
            "offsets": {"CA": {"offset": 0.7, "error": 0.05, "count": 50, "significant": True, "applied": False}
                        if significant else None, "HA": None, "C": None},
        })
    if hostile:
        proteins[1]["name"] = "javascript:alert(1)"
        proteins[1]["title"] = HOSTILE
        proteins[1]["report"] = "javascript:alert(1)/a b#c?d%.html"
    return {"schema": "orvix-report-index", "schema_version": 1, "program": {"name": "orvix", "version": "9.8.7"},
            "written": "2026-01-02T03:04:05Z", "directory": "batch", "proteins": proteins,
            "failures": [{"name": "bad.str", "reason": "line 3: no shifts"}] if hostile else []}
