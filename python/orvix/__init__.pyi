from os import PathLike
from typing import Any, Optional, Union

import numpy
import pandas

__version__: str

class Error(Exception): ...
class UsageError(Error): ...
class InputError(Error): ...
class DataDirectoryError(Error): ...
class SystemError_(Error): ...

class Import:
    name: str
    table: str
    report: str

_Shifts = Union[str, PathLike[str], Import, pandas.DataFrame]

class Prediction:
    @property
    def sequence(self) -> str: ...
    @property
    def warnings(self) -> list[str]: ...
    @property
    def residues(self) -> pandas.DataFrame: ...
    @property
    def shifts(self) -> pandas.DataFrame: ...
    @property
    def findings(self) -> pandas.DataFrame: ...
    @property
    def offsets(self) -> pandas.DataFrame: ...
    @property
    def maps(self) -> numpy.ndarray: ...
    def to_json(self) -> str: ...
    def restraints(self, format: str) -> str: ...
    def report(self, path: Union[str, PathLike[str]]) -> None: ...

class Model:
    def __init__(self, path: Optional[Union[str, PathLike[str]]] = None) -> None: ...
    @property
    def path(self) -> str: ...
    def predict(
        self,
        shifts: _Shifts,
        *,
        sequence: Optional[str] = None,
        first_residue: int = 1,
        title: str = "",
        no_proton: bool = False,
        isotope_correction: bool = False,
        offset: bool = False,
        keep_cysteines: bool = False,
        clip: bool = True,
        s2_threshold: float = 0.6,
        exclude: str = "",
        first: Optional[int] = None,
        last: Optional[int] = None,
        count: int = 10,
        reference: Optional[Union[str, PathLike[str]]] = None,
        threads: int = 0,
    ) -> Prediction: ...

def import_shifts(path: Union[str, PathLike[str]]) -> Import: ...
def predict(shifts: _Shifts, **options: Any) -> Prediction: ...
