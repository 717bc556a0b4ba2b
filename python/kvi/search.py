"""Looking into the catalogue of parameters."""

from __future__ import annotations

from typing import List, Optional

from . import _kvi


def search(words: str = "", dimension: Optional[str] = None) -> List[_kvi.Parameter]:
    """The parameters whose names hold all the words, in any case and order.

    A number among the words is that of a parameter. With a dimension, such as "length/time" or "1",
    only those that have it.

    >>> [p.name for p in search("curve", dimension="pressure")]
    ['CurveA', 'CurveLimit']
    """
    def fits(parameter: _kvi.Parameter) -> bool:
        name = parameter.name.casefold()
        return ((dimension is None or parameter.dimension == dimension)
                and all(word == str(parameter.number) if word.isdecimal() else word in name
                        for word in words.casefold().split()))

    return [parameter for parameter in _kvi.catalogue if fits(parameter)]
