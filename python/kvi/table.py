"""Tables of parameters."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, List

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _kvi

if TYPE_CHECKING:
    from ._kvi import Which


class Table(_kvi.Table):
    """Rows of items and columns of parameters; see the functions of the catalogue for names.

    >>> soil = Table("Material", ["SaturatedConductivity", "CurveA"], rows=2)
    >>> soil["SaturatedConductivity"] = [1e-4, 1e-6]    # [m/s], say
    >>> soil["SaturatedConductivity"][0] *= 2           # row 1; the array is the table's memory
    """

    @property
    def columns(self) -> List[_kvi.Parameter]:
        """The parameters of the columns, in their order."""
        return [_kvi.catalogue[number] for number in self._columns]

    @property
    def row_kind(self) -> _kvi.Parameter:
        """What the rows are."""
        return _kvi.catalogue[self._row_kind]

    def __getitem__(self, param: Which) -> NDArray[np.float64]:
        return self.column(param)

    def __setitem__(self, param: Which, values: ArrayLike) -> None:
        """Sets a column to values that the catalogue allows; Error otherwise, nothing changed."""
        column = self.column(param)
        values = np.broadcast_to(np.asarray(values, dtype=float), column.shape)
        _kvi.check(param, values)
        column[:] = values

    def to_numpy(self, missing_as_nan: bool = True) -> NDArray[np.float64]:
        """A copy of all values, shape (rows, columns)."""
        values = self.cells().copy()
        if missing_as_nan:
            values[values == _kvi.MISSING] = np.nan
        return values

    def to_pandas(self) -> Any:
        """A pandas.DataFrame with the parameters' names as columns and rows from 1."""
        import pandas  # type: ignore[import]

        return pandas.DataFrame(self.to_numpy(), columns=[p.name for p in self.columns],
                                index=pandas.RangeIndex(1, len(self) + 1, name=self.row_kind.name))
