"""Backbone and chi1 torsion angles from NMR chemical shifts.

    model = orvix.Model()
    prediction = model.predict("protein.tab")
    prediction.residues[["resname", "phi", "psi", "class"]]

Shifts are in ppm, angles in degrees; what is missing is NaN or None. Options have the names and
defaults of those of the program: `--no-proton` is `no_proton=True`, `--first 5` is `first=5`.
"""

from . import _native
from ._model import Import, Model, import_shifts, predict
from ._native import DataDirectoryError, Error, InputError, RunError, UsageError
from ._prediction import Prediction

__all__ = [
    "DataDirectoryError",
    "Error",
    "Import",
    "InputError",
    "Model",
    "Prediction",
    "RunError",
    "UsageError",
    "import_shifts",
    "predict",
]
__version__ = _native.version
