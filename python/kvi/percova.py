"""Seepage analyses by the program percova."""

import base64
import json
import os
import shutil
import subprocess
import tempfile
import weakref
import xml.etree.ElementTree as ElementTree
from pathlib import Path
from typing import Any, Dict, List, Optional, Union

import numpy as np
from numpy.typing import NDArray

from .errors import RunError

_TYPES = {"Float64": "<f8", "Int32": "<i4", "Int64": "<i8", "UInt8": "u1"}


def program() -> str:
    """Where percova is: what the environment variable KVI_PERCOVA names, or on the path."""
    found = os.environ.get("KVI_PERCOVA") or shutil.which("percova")
    if not found:
        raise FileNotFoundError("percova is not installed (package kvi-tools), and KVI_PERCOVA does "
                                "not name it")
    return found


class Result:
    """What a run gave; in a notebook, its picture."""

    def __init__(self, folder: Path, said: str) -> None:
        self.folder = folder  #: where the files are
        self.said = said  #: what the run printed
        #: the contents of result.json: flows [m3/s per m], boundaries, iterations, seconds ...
        self.record: Dict[str, Any] = json.loads((folder / "result.json").read_text("utf-8"))

    @property
    def steps(self) -> List[Dict[str, Any]]:
        """The record of each step; a steady analysis has one."""
        steps: List[Dict[str, Any]] = self.record["steps"]
        return steps

    @property
    def picture(self) -> str:
        """The picture of the last step, as SVG."""
        return (self.folder / self._files()[-1]).with_suffix(".svg").read_text("utf-8")

    def _files(self) -> List[str]:
        """The VTU file of each step."""
        listed = ElementTree.parse(self.folder / self.record["collection"]).iter("DataSet")
        return [item.attrib["file"] for item in listed]

    def _repr_svg_(self) -> str:
        return self.picture

    def _repr_html_(self) -> str:
        # An image of its own: inside the page, the picture's style would be the page's too, and
        # some viewers take the tags of SVG out of it.
        data = base64.b64encode(self.picture.encode("utf-8")).decode("ascii")
        return f'<img alt="percova\'s picture" src="data:image/svg+xml;base64,{data}">'

    def arrays(self, step: int = -1) -> Dict[str, "NDArray[Any]"]:
        """Values at the nodes (Points [m], head [m], pressure [kPa], water_content [-], velocity
        [m/s] ...) and of the elements (connectivity, offsets, types, material)."""
        out: Dict[str, "NDArray[Any]"] = {}
        for item in ElementTree.parse(self.folder / self._files()[step]).iter("DataArray"):
            raw = base64.b64decode((item.text or "").strip())
            values = np.frombuffer(raw[8:], dtype=_TYPES[item.attrib["type"]])  # behind its length
            width = int(item.get("NumberOfComponents", "1"))
            out[item.attrib["Name"]] = values.reshape(-1, width) if width > 1 else values
        return out


def run(problem: Union[Dict[str, Any], str, "os.PathLike[str]"],
        mesh: Union[str, "os.PathLike[str]", None] = None,
        out: Union[str, "os.PathLike[str]", None] = None, *, threads: int = 0,
        solver: Optional[str] = None, tolerance: Optional[float] = None,
        max_iterations: Optional[int] = None) -> Result:
    """Runs percova on a problem, a dict as in a problem file or the path of one.

    mesh: a Gmsh file instead of the problem's own; out: the folder for the files, when None one that
    lasts as long as the result; threads: 0 for all processors; solver: pardiso, direct or iterative; tolerance:
    relative residual [-]. Raises RunError with what percova said when the run failed. Other Python
    threads run meanwhile; Ctrl-C ends the run.
    """
    if out is not None:
        return _run(problem, Path(out), mesh, threads, solver, tolerance, max_iterations)
    folder = Path(tempfile.mkdtemp(prefix="kvi-"))
    try:
        result = _run(problem, folder, mesh, threads, solver, tolerance, max_iterations)
    except BaseException:
        shutil.rmtree(folder, ignore_errors=True)
        raise
    weakref.finalize(result, shutil.rmtree, folder, ignore_errors=True)
    return result


def _run(problem: Union[Dict[str, Any], str, "os.PathLike[str]"], out: Path, mesh: Any, threads: int,
         solver: Optional[str], tolerance: Optional[float],
         max_iterations: Optional[int]) -> Result:
    folder = out.resolve()
    folder.mkdir(parents=True, exist_ok=True)
    if isinstance(problem, dict):
        path = folder / (str(problem.get("id", "problem")) + ".problem.json")
        path.write_text(json.dumps(problem), "utf-8")
    else:
        path = Path(problem)
    command = [program(), "run", str(path), "--out", str(folder), "--threads", str(threads)]
    for option, value in (("--mesh", mesh), ("--solver", solver), ("--tolerance", tolerance),
                          ("--max-iterations", max_iterations)):
        if value is not None:
            command += [option, str(value)]
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                          encoding="utf-8", errors="replace", check=False)
    if done.returncode != 0:
        raise RunError(done.returncode, (done.stderr or done.stdout).strip() or
                       "percova ended with status %d" % done.returncode)
    return Result(folder, done.stdout)
