"""What a run found out, as data frames, arrays and files."""

import functools
import json

import numpy
import pandas

from ._words import words

ATOMS = ("N", "HA", "C", "CA", "CB", "HN")
_NUMBERS = ("phi", "psi", "phi_spread", "psi_spread", "score", "s2")


class Prediction:
    """What a run found out about one protein."""

    def __init__(self, native):
        self._native = native

    @functools.cached_property
    def _record(self):
        return json.loads(self._native.json())

    def __repr__(self):
        return f"<orvix.Prediction of {self._record['input']['file']}>"

    @property
    def sequence(self):
        """One letter a residue."""
        return self._record["input"]["sequence"]

    @property
    def settings(self):
        """What the prediction was asked to do, by the names of the results file."""
        return dict(self._record["settings"])

    @property
    def warnings(self):
        """What is odd about the input or was taken otherwise than given, in words."""
        return list(self._native.warnings)

    @property
    def summary(self):
        """What a spectroscopist has to know, as the program says at its end; lines."""
        return list(self._native.words)

    @property
    def import_report(self):
        """The report on the reading of the file; empty for an input table."""
        return self._native.report

    @property
    def residues(self):
        """Angles, spreads, class, S2, secondary structure and chi1, one row a residue.

        The index is the residue number. `structure` is H, E or L; `chi1` is as in the tables,
        that of valine turned by -120 degrees.
        """
        rows = []
        for one in self._record["residues"]:
            structure = one["secondary_structure"] or {}
            chi1 = one["chi1"] or {}
            row = {name: one[name] for name in ("resid", "resname", "author_resid") if name in one}
            row.update({name: one[name] for name in _NUMBERS})
            row["class"] = one["class"]
            row["structure"] = structure.get("state")
            row["structure_confidence"] = structure.get("confidence")
            row["chi1"] = chi1.get("angle")
            row["chi1_spread"] = chi1.get("spread")
            row["rotamer"] = chi1.get("rotamer")
            row["match_count"] = one["match_count"]
            rows.append(row)
        numbers = [*_NUMBERS, "structure_confidence", "chi1", "chi1_spread"]
        types = dict.fromkeys(numbers, float) | {"match_count": "Int64"}
        return pandas.DataFrame(rows).astype(types).set_index("resid")

    @property
    def shifts(self):
        """Shift and secondary shift of each residue and atom."""
        rows = [
            (one["resid"], one["resname"], atom, one["shifts"][atom], one["secondary_shifts"][atom])
            for one in self._record["residues"]
            for atom in ATOMS
            if one["shifts"][atom] is not None or one["secondary_shifts"][atom] is not None
        ]
        columns = ["resid", "resname", "atom", "shift", "secondary_shift"]
        types = {"shift": float, "secondary_shift": float}
        return pandas.DataFrame(rows, columns=columns).astype(types)

    @property
    def findings(self):
        """What the check of the shifts found, one finding a row, as `orvix check` lists them.

        `kind` is `outlier` (`value` a secondary shift beyond `limit`; `level` is gross, serious or
        slight), `offset` (`value` the referencing offset of the nucleus `atom`, `limit` its
        uncertainty; `level` is significant) or `name` (the shifts name the residue `found`, the
        sequence `resname`).
        """
        rows = [
            {
                "kind": "outlier",
                "resid": one["resid"],
                "resname": one["resname"],
                "atom": one["atom"],
                "value": one["secondary_shift"],
                "limit": one["limit"],
                "level": "gross" if one["gross"] else "serious" if one["serious"] else "slight",
            }
            for one in self._record["outliers"]
        ]
        for atom, one in self._record["shift_offsets"].items():
            if one and one["significant"]:
                found = {"value": one["offset"], "limit": one["uncertainty"]}
                rows.append({"kind": "offset", "atom": atom, "level": "significant", **found})
        rows += [
            {
                "kind": "name",
                "resid": one["resid"],
                "resname": one["sequence"],
                "found": one["table"],
            }
            for one in self._record["sequence_mismatches"]
        ]
        columns = ["kind", "resid", "resname", "atom", "value", "limit", "level", "found"]
        types = dict.fromkeys(columns, object) | {"resid": "Int64", "value": float, "limit": float}
        return pandas.DataFrame(rows, columns=columns).astype(types)

    @property
    def offsets(self):
        """Referencing offsets by nucleus; nuclei with too few shifts are left out."""
        found = self._record["shift_offsets"]
        return pandas.DataFrame({name: one for name, one in found.items() if one}).T

    @property
    def maps(self):
        """Phi/psi maps, n x 18 x 18 in the order of `residues`; NaN where there is none.

        `maps[i, a, b]` is the bin `a` of phi and `b` of psi, of 20 degrees each, from -180 on.
        """
        maps = numpy.full((len(self._record["residues"]), 18, 18), numpy.nan)
        for place, one in enumerate(self._record["residues"]):
            if one["map"]:
                maps[place] = numpy.array(one["map"], dtype=float).reshape(18, 18)
        return maps

    def to_json(self):
        """The text of results.json, to the byte that of `orvix predict`."""
        return self._native.json()

    def restraints(
        self,
        format,
        *,
        classes=("Strong",),
        k=2,
        min=20,
        chi1=True,
        chi1_centre="rotamer",
        name_map=None,
        numbering="seq",
        segid="",
        chain="A",
    ):
        """Dihedral restraints as the text of a file: cyana, cns, nef or nmrstar.

        The options are those of `orvix export`; `name_map` is a dictionary.
        """
        options = {
            "classes": classes,
            "k": k,
            "min": min,
            "chi1-centre": chi1_centre,
            "name-map": name_map or None,
            "numbering": numbering,
            "segid": segid,
            "chain": chain,
            "no-chi1": not chi1,
        }
        return self._native.restraints(format, words(options))

    def report(self, path):
        """Writes the page of `orvix report`, in one file for the browser."""
        page = self._native.page()
        with open(path, "w", encoding="utf-8") as stream:
            stream.write(page)
