"""Many variants of one problem."""

import copy
import itertools
import os
from concurrent.futures import ThreadPoolExecutor
from typing import Any, Callable, Dict, List, Optional, Sequence

from . import percova


def _set(problem: Any, path: str, value: Any) -> None:
    """Sets what a path such as "materials.core.k_sat" names; lists are entered by number, or by the
    name of the entry."""
    *way, last = path.split(".")
    for part in way:
        problem = problem[_key(problem, part, path)]
    if isinstance(problem, list):
        problem[_key(problem, last, path)] = value
    else:
        problem[last] = value


def _key(inside: Any, part: str, path: str) -> Any:
    if isinstance(inside, list):
        if part.isdigit() and int(part) < len(inside):
            return int(part)
        for number, item in enumerate(inside):
            if isinstance(item, dict) and item.get("name") == part:
                return number
    elif isinstance(inside, dict) and part in inside:
        return part
    raise KeyError("%s: the problem has no %s" % (path, part))


def _flows(result: percova.Result) -> Dict[str, Any]:
    last = result.steps[-1]
    row = {key: last[key] for key in ("converged", "iterations", "residual", "flow_in", "flow_out",
                                      "mass_balance")}
    for name, boundary in last["boundaries"].items():
        row["flow." + name] = boundary["flow"]
    return row


def _row(problem: Dict[str, Any], variant: Dict[str, Any], options: Dict[str, Any],
         measure: Callable[[percova.Result], Dict[str, Any]]) -> Dict[str, Any]:
    """One row; what fails is its reason."""
    row = dict(variant)
    try:
        changed = copy.deepcopy(problem)
        for path, value in variant.items():
            _set(changed, path, value)
        row.update(measure(percova.run(changed, **options)))
        row["reason"] = ""
    except Exception as error:  # pylint: disable=broad-except
        row["reason"] = "%s: %s" % (type(error).__name__, error)
    return row


class Study(List[Dict[str, Any]]):
    """The rows of a study, dicts in the order of the variants: what was varied, what was measured,
    and the reason of a failure, empty where there is none."""

    def to_pandas(self) -> Any:
        """The rows as a pandas.DataFrame."""
        import pandas  # type: ignore[import]

        return pandas.DataFrame(list(self))


def study(problem: Dict[str, Any], variants: Dict[str, Sequence[Any]], *,
          together: bool = False, workers: Optional[int] = None, client: Any = None,
          measure: Callable[[percova.Result], Dict[str, Any]] = _flows,
          **options: Any) -> Study:
    """Runs variants of a problem and returns a row for each.

    variants: for each path, such as "materials.core.k_sat", its values, in the problem's own units.
    Every combination runs, or with together=True the first of all, the second of all, and so on.
    workers: runs at a time, the machine's processors by default. client: a dask.distributed.Client,
    whose cluster then does the runs; percova must be installed there. measure: what a row holds of
    a result. options: for kvi.percova.run, such as mesh; a run has one thread unless they say else.
    """
    if together:
        if len({len(values) for values in variants.values()}) > 1:
            raise ValueError("the paths have different numbers of values")
        combinations = list(zip(*variants.values()))
    else:
        combinations = list(itertools.product(*variants.values()))
    rows = [dict(zip(variants, values)) for values in combinations]
    options = {"threads": 1, **options}
    if options.get("mesh") is not None:
        options["mesh"] = os.path.abspath(options["mesh"])
    if client is not None:
        return Study(_on_cluster(client, problem, rows, options, measure))
    # Each run is a process of its own, so threads are enough to wait for them.
    with ThreadPoolExecutor(workers or len(os.sched_getaffinity(0))) as pool:
        return Study(pool.map(lambda row: _row(problem, row, options, measure), rows))


def _on_cluster(client: Any, problem: Dict[str, Any], rows: List[Dict[str, Any]],
                options: Dict[str, Any],
                measure: Callable[[percova.Result], Dict[str, Any]]) -> List[Dict[str, Any]]:
    futures = [client.submit(_row, problem, row, options, measure, pure=False) for row in rows]
    out = []
    for future, row in zip(futures, rows):
        try:
            out.append(future.result())
        except Exception as error:  # pylint: disable=broad-except
            # The cluster gave up, as after several workers that died on this variant.
            out.append({**row, "reason": "%s: %s" % (type(error).__name__, error)})
    return out
