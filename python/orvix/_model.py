"""Reading of shift files, and runs on the data directory."""

import functools
import os
import pathlib

import pandas

from . import _native
from ._native import InputError, UsageError
from ._prediction import Prediction
from ._words import words

# Parameters that are no options of the program's command line.
_NO_OPTIONS = ("self", "file", "shifts", "first_residue", "threads")


class Import:
    """A shift file as it was read: the input table of a run, and the report."""

    def __init__(self, native):
        self._native = native

    def __repr__(self):
        return f"<orvix.Import of {self.file}, {self.format}>"

    @property
    def file(self):
        """Name of the file."""
        return self._native.file

    @property
    def format(self):
        """The form that the file was read as."""
        return self._native.format

    @property
    def title(self):
        """Title of the file; may be empty."""
        return self._native.title

    @property
    def sequence(self):
        """One letter a residue."""
        return self._native.sequence

    @property
    def first_residue(self):
        """Number of the first letter of the sequence."""
        return self._native.first_residue

    @property
    def table(self):
        """The input table as `orvix import` writes it."""
        return self._native.table

    @property
    def report(self):
        """Every datum that was left out or changed, as `orvix import` reports it."""
        return self._native.report

    @property
    def warnings(self):
        """What can spoil a result, in words."""
        return list(self._native.warnings)

    @property
    def shifts(self):
        """The shifts of the table: resid, resname, atom, shift."""
        columns = ["resid", "resname", "atom", "shift"]
        return pandas.DataFrame(self._native.rows(), columns=columns)


def import_shifts(
    file,
    *,
    format=None,
    list=None,
    entity=None,
    assembly=None,
    numbering=None,
    sequence=None,
    shift_numbers=None,
    max_ambiguity=None,
):
    """Reads a shift file of any form that `orvix import` knows, with its options."""
    options = {key: value for key, value in locals().items() if key not in _NO_OPTIONS}
    return Import(_native.import_shifts(os.fspath(file), words(options)))


def _frame_text(frame, sequence, first_residue):
    """A data frame as an input table with the sequence, or as CSV without."""
    if not sequence:
        if first_residue is not None:
            raise UsageError("first_residue: has a meaning beside sequence= only")
        return frame.to_csv(index=False)
    columns = ["resid", "resname", "atom", "shift"]
    missing = [name for name in columns if name not in frame.columns]
    if missing:
        raise InputError(f"the data frame has no column {', '.join(missing)}")
    first = 1 if first_residue is None else int(first_residue)
    lines = [f"DATA FIRST_RESID {first}", f"DATA SEQUENCE {sequence}", ""]
    lines += ["VARS RESID RESNAME ATOMNAME SHIFT", "FORMAT %4d %1s %4s %8.3f", ""]
    for row in frame[columns].itertuples(index=False):
        if pandas.isna(row.shift):
            continue
        try:
            lines.append(f"{int(row.resid)} {row.resname} {row.atom} {float(row.shift)!r}")
        except (TypeError, ValueError) as error:
            raise InputError(f"a row of the data frame, {tuple(row)}: {error}") from error
    return "\n".join(lines) + "\n"


def _beside():
    """share/orvixn of the tree that this package lies in; empty for none."""
    for parent in pathlib.Path(__file__).resolve().parents:
        if (parent / "share" / "orvixn" / "tab").is_dir():
            return str(parent / "share" / "orvixn")
    return ""


class Model:
    """The data directory in memory, shared by all predictions and threads.

    Without a path it is found like that of the program: ORVIXN_DIR, then share/orvixn of the tree
    that the module lies in, then the installed one.
    """

    def __init__(self, path=None):
        self._native = _native.Model("" if path is None else os.fspath(path), _beside())

    def __repr__(self):
        return f"<orvix.Model of {self.path}>"

    @property
    def path(self):
        """The data directory in use."""
        return self._native.directory

    def predict(
        self,
        shifts,
        *,
        first_residue=None,
        threads=None,
        ref=None,
        ref_title=None,
        title=None,
        no_proton=False,
        iso=False,
        keep_cysteines=False,
        offset=False,
        reference=None,
        no_clip=False,
        s2_threshold=None,
        exclude=None,
        exclude_relatives=None,
        first=None,
        last=None,
        count=None,
        format=None,
        list=None,
        entity=None,
        assembly=None,
        numbering=None,
        sequence=None,
        shift_numbers=None,
        max_ambiguity=None,
    ):
        """Predicts one protein from a shift file, an `Import` or a data frame.

        The options are those of `orvix predict`; `exclude_relatives=True` takes its 90 %. A data
        frame has the columns resid, resname, atom and shift; `sequence` are then the letters, and
        `first_residue` the number of the first. Without `sequence` a data frame is read as the same
        table in a CSV file would be, with all names of columns that `orvix import` knows.

        Other threads of Python go on meanwhile. Raises UsageError, InputError, DataDirectoryError
        or RunError.
        """
        options = {key: value for key, value in locals().items() if key not in _NO_OPTIONS}
        if threads is not None and not 1 <= threads <= 1024:
            raise UsageError(f"threads: {threads} is not in the range 1 to 1024")
        run = threads or 0
        if isinstance(shifts, pandas.DataFrame):
            text = _frame_text(shifts, options.pop("sequence"), first_residue)
            native = self._native.predict_text(text, "data frame", words(options), run)
        elif first_residue is not None:
            raise UsageError("first_residue: has a meaning for data frames only")
        elif isinstance(shifts, Import):
            native = self._native.predict_import(shifts._native, words(options), run)
        else:
            native = self._native.predict_file(os.fspath(shifts), words(options), run)
        return Prediction(native)


@functools.lru_cache(maxsize=1)
def _found_model():
    return Model()


def predict(shifts, **options):
    """`Model.predict` on the data directory that is found without a path, loaded once."""
    return _found_model().predict(shifts, **options)
