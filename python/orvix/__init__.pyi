from collections.abc import Collection, Mapping
from os import PathLike
from typing import Any, Optional, Union

import numpy
import pandas

__version__: str

class Error(Exception): ...
class UsageError(Error): ...
class InputError(Error): ...
class DataDirectoryError(Error): ...
class RunError(Error): ...

_Path = Union[str, PathLike[str]]

class Import:
    @property
    def file(self) -> str: ...
    @property
    def format(self) -> str: ...
    @property
    def title(self) -> str: ...
    @property
    def sequence(self) -> str: ...
    @property
    def first_residue(self) -> int: ...
    @property
    def table(self) -> str: ...
    @property
    def report(self) -> str: ...
    @property
    def warnings(self) -> list[str]: ...
    @property
    def shifts(self) -> pandas.DataFrame: ...

class Prediction:
    @property
    def sequence(self) -> str: ...
    @property
    def settings(self) -> dict[str, Any]: ...
    @property
    def warnings(self) -> list[str]: ...
    @property
    def summary(self) -> list[str]: ...
    @property
    def import_report(self) -> str: ...
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
    def restraints(
        self,
        format: str,
        *,
        classes: Union[str, Collection[str]] = ("Strong",),
        k: float = 2,
        min: float = 20,
        chi1: bool = True,
        chi1_centre: str = "rotamer",
        name_map: Optional[Mapping[Union[int, str], str]] = None,
        numbering: str = "seq",
        segid: str = "",
        chain: str = "A",
    ) -> str: ...
    def report(self, path: _Path) -> None: ...

class Model:
    def __init__(self, path: Optional[_Path] = None) -> None: ...
    @property
    def path(self) -> str: ...
    def predict(
        self,
        shifts: Union[_Path, Import, pandas.DataFrame],
        *,
        first_residue: Optional[int] = None,
        threads: Optional[int] = None,
        ref: Optional[_Path] = None,
        ref_title: Optional[str] = None,
        title: Optional[str] = None,
        no_proton: bool = False,
        iso: bool = False,
        keep_cysteines: bool = False,
        offset: bool = False,
        reference: Optional[str] = None,
        no_clip: bool = False,
        s2_threshold: Optional[float] = None,
        exclude: Optional[str] = None,
        exclude_relatives: Union[None, bool, int] = None,
        first: Optional[int] = None,
        last: Optional[int] = None,
        count: Optional[int] = None,
        format: Optional[str] = None,
        list: Optional[Union[int, str]] = None,
        entity: Optional[Union[int, str]] = None,
        assembly: Optional[Union[int, str]] = None,
        numbering: Optional[str] = None,
        sequence: Optional[_Path] = None,
        shift_numbers: Optional[int] = None,
        max_ambiguity: Optional[int] = None,
    ) -> Prediction: ...

def import_shifts(
    file: _Path,
    *,
    format: Optional[str] = None,
    list: Optional[Union[int, str]] = None,
    entity: Optional[Union[int, str]] = None,
    assembly: Optional[Union[int, str]] = None,
    numbering: Optional[str] = None,
    sequence: Optional[_Path] = None,
    shift_numbers: Optional[int] = None,
    max_ambiguity: Optional[int] = None,
) -> Import: ...
def predict(shifts: Union[_Path, Import, pandas.DataFrame], **options: Any) -> Prediction: ...
