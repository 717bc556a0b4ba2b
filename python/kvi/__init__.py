"""KVI, the core of geotechnical finite-element programs, in Python.

Tables of parameters and the catalogue of their legal ranges, water-content curves, sparse systems of
equations, plane geometry, and seepage analyses (`kvi.percova`, `kvi.study`). Work on arrays runs in
the library, without the interpreter's lock. What the library refuses with a message raises
`kvi.ArgumentError`, a failed run of percova `kvi.RunError`: both are `kvi.Error`. Other wrong
arguments raise ValueError, IndexError or KeyError.
"""

import atexit as _atexit
import os as _os
import sys as _sys

from . import _kvi
from ._kvi import (MISSING, Parameter, QuadTree, System, WaterCurve, __version__, catalogue, check,
                   crossings, parameter, polygon_area, polygon_flaw, polygon_locate)
from .errors import ArgumentError, Error, RunError
from .log import log_to
from .search import search
from .studies import Study, study
from .table import Table
from . import percova

__all__ = ["MISSING", "ArgumentError", "Error", "Parameter", "QuadTree", "RunError", "Study",
           "System", "Table", "WaterCurve", "catalogue", "check", "crossings", "log_to",
           "parameter", "percova", "polygon_area", "polygon_flaw", "polygon_locate", "search",
           "study", "__version__"]


def _leave() -> None:
    # A solve that Ctrl-C interrupted may still compute in a thread of the library; the process must
    # neither wait for it nor take the library down under it.
    if _kvi._solves_running() > 0:
        _sys.stdout.flush()
        _sys.stderr.flush()
        _os._exit(130)


_atexit.register(_leave)
