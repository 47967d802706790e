"""Backbone and chi1 torsion angles from NMR chemical shifts.

    model = orvix.Model()
    prediction = model.predict("protein.tab")
    prediction.residues[["resname", "phi", "psi", "class"]]

Shifts are in ppm, angles in degrees; what is missing is NaN or None.
"""

import json
import os

import numpy
import pandas

from . import _native
from ._native import DataDirectoryError, Error, InputError, SystemError_, UsageError

__all__ = [
    "DataDirectoryError",
    "Error",
    "Import",
    "InputError",
    "Model",
    "Prediction",
    "SystemError_",
    "UsageError",
    "import_shifts",
    "predict",
]
__version__ = _native.version

_ATOMS = ("N", "HA", "C", "CA", "CB", "HN")


def _frame_text(frame, sequence, first_residue):
    """A data frame with the columns resid, resname, atom and shift as an input table."""
    columns = ["resid", "resname", "atom", "shift"]
    missing = [name for name in columns if name not in frame.columns]
    if missing:
        raise InputError(f"the data frame has no column {', '.join(missing)}")
    if not sequence:
        raise UsageError("a data frame needs sequence=, one letter a residue")
    lines = [f"DATA FIRST_RESID {first_residue}", f"DATA SEQUENCE {sequence}", ""]
    lines += ["VARS RESID RESNAME ATOMNAME SHIFT", "FORMAT %4d %1s %4s %8.3f", ""]
    for resid, resname, atom, shift in frame[columns].itertuples(index=False):
        if not pandas.isna(shift):
            lines.append(f"{int(resid)} {resname} {atom} {float(shift)!r}")
    return "\n".join(lines) + "\n"


class Prediction:
    """What a run found out about one protein."""

    def __init__(self, native):
        self._native = native
        self._record = json.loads(native.json())

    @property
    def sequence(self):
        """One letter a residue."""
        return self._record["input"]["sequence"]

    @property
    def warnings(self):
        """What is odd about the input, in words."""
        return list(self._native.warnings)

    @property
    def residues(self):
        """Angles, spreads, class, S2, secondary structure and chi1, one row a residue."""
        rows = []
        for one in self._record["residues"]:
            structure = one["secondary_structure"] or {}
            chi1 = one["chi1"] or {}
            names = ("resid", "resname", "phi", "psi", "phi_spread", "psi_spread", "score")
            row = {name: one[name] for name in names}
            row.update({"class": one["class"], "s2": one["s2"]})
            row["structure"] = structure.get("state")
            row["structure_confidence"] = structure.get("confidence")
            row["chi1"] = chi1.get("angle")
            row["chi1_spread"] = chi1.get("spread")
            row["rotamer"] = chi1.get("rotamer")
            row["match_count"] = one["match_count"]
            rows.append(row)
        return pandas.DataFrame(rows).set_index("resid")

    @property
    def shifts(self):
        """Shift and secondary shift of each residue and atom."""
        rows = [
            (one["resid"], atom, one["shifts"][atom], one["secondary_shifts"][atom])
            for one in self._record["residues"]
            for atom in _ATOMS
            if one["shifts"][atom] is not None or one["secondary_shifts"][atom] is not None
        ]
        return pandas.DataFrame(rows, columns=["resid", "atom", "shift", "secondary_shift"])

    @property
    def findings(self):
        """Outliers of the shifts, one a row."""
        columns = ["resid", "resname", "atom", "secondary_shift", "limit", "serious", "gross"]
        return pandas.DataFrame(self._record["outliers"], columns=columns)

    @property
    def offsets(self):
        """Referencing offsets by nucleus; nuclei with too few shifts are left out."""
        found = self._record["shift_offsets"]
        return pandas.DataFrame({name: one for name, one in found.items() if one}).T

    @property
    def maps(self):
        """Phi/psi maps, n x 18 x 18 in the order of `residues`; NaN where there is none.

        A box is map[i // 18][i % 18] for box i of the results file.
        """
        maps = numpy.full((len(self._record["residues"]), 18, 18), numpy.nan)
        for place, one in enumerate(self._record["residues"]):
            if one["map"]:
                maps[place] = numpy.array(one["map"], dtype=float).reshape(18, 18)
        return maps

    def to_json(self):
        """The text of results.json as the program `orvix predict` writes it."""
        return self._native.json()

    def restraints(self, format):
        """Dihedral restraints of the class Strong as text: cyana, cns, nef or nmrstar."""
        return self._native.restraints(format)

    def report(self, path):
        """Writes a page for the browser, in one file."""
        with open(path, "w", encoding="utf-8") as stream:
            stream.write(self._native.page())


class Model:
    """The data directory in memory, shared by all predictions and threads.

    Without a path it is found like that of the program: ORVIXN_DIR, then the installed one.
    """

    def __init__(self, path=None):
        self._native = _native.Model(os.fspath(path) if path is not None else "")

    @property
    def path(self):
        """The data directory in use."""
        return self._native.directory

    def predict(
        self,
        shifts,
        *,
        sequence=None,
        first_residue=1,
        title="",
        no_proton=False,
        isotope_correction=False,
        offset=False,
        keep_cysteines=False,
        clip=True,
        s2_threshold=0.6,
        exclude="",
        first=None,
        last=None,
        count=10,
        reference=None,
        threads=0,
    ):
        """Predicts one protein from a shift file, an `Import` or a data frame.

        A data frame has the columns resid, resname, atom and shift and needs `sequence`. Other
        threads of Python go on meanwhile.
        """
        text, name = None, "table"
        if isinstance(shifts, pandas.DataFrame):
            text = _frame_text(shifts, sequence, first_residue)
        elif isinstance(shifts, Import):
            text, name = shifts.table, shifts.name
        else:
            name = os.fspath(shifts)
        known = os.fspath(reference) if reference is not None else ""
        return Prediction(
            self._native.predict(
                text,
                name,
                title,
                no_proton,
                isotope_correction,
                offset,
                keep_cysteines,
                clip,
                s2_threshold,
                exclude,
                first,
                last,
                count,
                known,
                threads,
            )
        )


class Import:
    """A shift file as an input table, with the report of its import."""

    def __init__(self, name, table, report):
        self.name, self.table, self.report = name, table, report


def import_shifts(path):
    """Reads a shift file of any known form."""
    return Import(os.fspath(path), *_native.import_shifts(os.fspath(path)))


_model = None


def predict(shifts, **options):
    """`Model.predict` on the data directory that is found without a path."""
    global _model
    if _model is None:
        _model = Model()
    return _model.predict(shifts, **options)
