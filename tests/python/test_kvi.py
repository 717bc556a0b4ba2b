"""Tests of the module kvi. KVI_TEST_ROOT names the folder of the sources."""

import gc
import importlib.util
import json
import logging
import os
import pickle
import re
import signal
import tempfile
import threading
import time
import unittest
from pathlib import Path

import kvi
import numpy as np

ROOT = Path(os.environ["KVI_TEST_ROOT"])
DAM = ROOT / "examples/percova/cases/U1-dam.problem.json"
MESH = ROOT / "examples/percova/cases/mesh/U1-dam.q8.v41.msh"


def springs(count):
    """Springs of stiffness 1, 2 ... in a row: equations and matrices."""
    stiffness = np.arange(1.0, count + 1)
    return (np.arange(count)[:, None] + [0, 1],
            stiffness[:, None, None] * np.array([[1, -1], [-1, 1]]))


class CatalogueAndTables(unittest.TestCase):
    def test_catalogue_names_and_ranges(self):
        self.assertEqual(len(kvi.catalogue), 604)
        k = kvi.parameter("SaturatedConductivity")
        self.assertEqual((k.number, k.dimension), (241, "length/time"))
        self.assertEqual(kvi.parameter(240).name, "Param0240")
        self.assertIsNone(kvi.parameter(240).dimension)
        for words, dimension, numbers in (("conduct sat", None, [241]), ("", "pressure", None),
                                          ("CURVE", "pressure", [253, 260]), ("78", None, [78]),
                                          ("no such", None, []), ("param0240", None, [240])):
            found = kvi.search(words, dimension)
            if numbers is not None:
                self.assertEqual([p.number for p in found], numbers)
            self.assertLessEqual({p.dimension for p in found}, {dimension} if dimension else
                                 {p.dimension for p in kvi.catalogue})
        for param in kvi.catalogue:  # the range says what check does
            ends = re.fullmatch(r"([[(])(\S+), (\S+)([])])", param.range)
            for end, closed in ((ends[2], ends[1] == "["), (ends[3], ends[4] == "]")):
                if not end.endswith("inf"):
                    try:
                        kvi.check(param, [float(end)])
                        self.assertTrue(closed, param)
                    except kvi.Error:
                        self.assertFalse(closed, param)
        for wrong in ("Conductivity", 604, -1, 2.5, None):
            with self.assertRaises(KeyError):
                kvi.parameter(wrong)
        kvi.check(k, [[1e-6, 2], [3, kvi.MISSING]])
        with self.assertRaises(kvi.Error) as raised:
            kvi.check("SaturatedConductivity", [1, -2e-6, -3])
        self.assertEqual(raised.exception.code, 23007)
        self.assertIn("-2e-06", str(raised.exception))
        self.assertEqual(pickle.loads(pickle.dumps(raised.exception)).code, 23007)

    def test_columns_are_the_tables_memory(self):
        table = kvi.Table("Material", ["SaturatedConductivity", 253], rows=3)
        k = table["SaturatedConductivity"]
        k[:] = [1, 2, 3]
        table[253] = 5
        self.assertEqual([table.value(2, 241), table.value(3, "CurveA"), table.value(4, 241)],
                         [2, 5, kvi.MISSING])
        self.assertEqual(table.cells().tolist(), [[1, 5], [2, 5], [3, 5]])
        with self.assertRaises(kvi.Error):
            table["SaturatedConductivity"] = [1, -1, 1]
        table[253][1] = kvi.MISSING
        self.assertTrue(np.isnan(table.to_numpy()[1, 1]))
        self.assertEqual([p.number for p in table.columns], [241, 253])
        if importlib.util.find_spec("pandas"):
            frame = table.to_pandas()
            self.assertEqual((list(frame), list(frame.index), frame.index.name),
                             (["SaturatedConductivity", "CurveA"], [1, 2, 3], "Material"))
            self.assertEqual(frame["CurveA"].isna().tolist(), [False, True, False])
        del table
        gc.collect()
        self.assertEqual(k.tolist(), [1, 2, 3])
        for columns, rows in (([241, 241], 1), ([241], 2**32 - 1)):
            with self.assertRaises((ValueError, MemoryError)):
                kvi.Table("Material", columns, rows)
        with self.assertRaises(KeyError):
            kvi.Table("Material", [241], 1).column(253)


class Soil(unittest.TestCase):
    def test_contents_and_fit(self):
        curve = kvi.WaterCurve(a=10, n=2, m=1, saturated=0.4)
        s = np.logspace(-1, 5, 50).reshape(5, 10)
        shape = 1 - np.log1p(s / 3000) / np.log1p(1e6 / 3000)
        expected = 0.4 * shape / np.log(np.e + (s / 10) ** 2)
        np.testing.assert_allclose(curve(-s), expected, rtol=1e-12)
        self.assertEqual([curve(0.0), curve(-1e6)], [0.4, 0])
        fitted, error, is_done = kvi.WaterCurve.fit(-s, expected, 0.4)
        self.assertTrue(is_done)
        self.assertLess(error, 0.004)
        np.testing.assert_allclose(fitted(-s), expected, atol=0.01)
        for wrong in ({"a": 0}, {"unit": "kp"}):
            with self.assertRaises(ValueError):
                kvi.WaterCurve(**{"a": 1, "n": 1, "m": 1, "saturated": 0.4, **wrong})


class Systems(unittest.TestCase):
    def test_every_method_solves(self):
        equations, matrices = springs(30)
        dense = np.zeros((31, 31))
        for e, m in zip(equations, matrices):
            dense[np.ix_(e, e)] += m
        load = np.cos(np.arange(31.0))
        expected = np.zeros(31)
        expected[1:] = np.linalg.solve(dense[1:, 1:], load[1:])
        rows, columns = np.nonzero(dense)
        indptr = np.searchsorted(rows, np.arange(32))
        made = {"elements": kvi.System(equations),
                "coo": kvi.System.from_coo(rows, columns, dense[rows, columns], 31),
                "csr": kvi.System.from_csr(indptr, columns, dense[rows, columns])}
        made["elements"].add(matrices[:10])
        made["elements"].add(matrices[10:], first=10)
        for name, system in made.items():
            for rows_out, columns_out, values_out in (
                    system.to_coo(), (np.repeat(range(31), np.diff(system.to_csr()[0])),
                                      *system.to_csr()[1:])):
                again = np.zeros_like(dense)
                np.add.at(again, (rows_out, columns_out), values_out)
                np.testing.assert_allclose(again, dense, rtol=1e-15)
            system.add_load(range(31), load)
            system.fix([0], 0)
            for method in ("sparse", "direct", "direct_nonsymmetric", "iterative",
                           "iterative_nonsymmetric"):
                with self.subTest(name + " " + method):
                    x, record = system.solve(method, tol=1e-13)
                    self.assertTrue(record["solved"], record)
                    np.testing.assert_allclose(x, expected, rtol=1e-8, atol=1e-10)
            self.assertAlmostEqual(system.reactions()[0], -load.sum(), 9)

    def test_wrong_arguments_raise_what_the_chapter_says(self):
        refused = kvi.ArgumentError
        for kind, code, wrong in (
                (refused, 23007, lambda: kvi.check(241, [-1])),
                (refused, 0, lambda: kvi.System([[-1, 2]])),
                (ValueError, None, lambda: kvi.WaterCurve(a=0, n=1, m=1, saturated=0.4)),
                (ValueError, None, lambda: kvi.Table("Material", [241, 241], 1)),
                (KeyError, None, lambda: kvi.parameter("Conductivity")),
                (IndexError, None, lambda: kvi.System([[0, 1]]).fix([4], 0))):
            with self.assertRaises(kind) as raised:
                wrong()
            error = raised.exception
            self.assertEqual(getattr(error, "code", None), code, error)
            if code is not None:
                self.assertTrue(isinstance(error, ValueError) and isinstance(error, kvi.Error))
                self.assertTrue(error.text)
                self.assertIs(type(pickle.loads(pickle.dumps(error))), refused)

    def test_what_cannot_be_solved_is_said(self):
        equations, matrices = springs(3)
        system = kvi.System(equations)
        system.add(matrices)
        system.add_load([0], 1)
        x, record = system.solve("direct")
        self.assertEqual((record["solved"], record["outcome"]), (False, "singular"))
        self.assertTrue(record["reason"])
        for wrong in (lambda: system.fix([4], 0), lambda: system.add_load([-1], 0),
                      lambda: system.add(np.zeros((1, 3, 3))),
                      lambda: system.add(matrices, first=1), lambda: system.solve("lu"),
                      lambda: kvi.System.from_coo([0], [3], [1], 3)):
            with self.assertRaises((IndexError, ValueError)):
                wrong()

    def test_solves_let_other_threads_run_and_ctrl_c_through(self):
        n = 4000
        matrix = np.ones((1, n, n)) + n * np.eye(n)
        systems = [kvi.System(np.arange(n)[None]) for _ in range(2)]
        for system in systems:
            system.add(matrix)
            system.add_load([0], 1)
        ticks = []
        solving = [threading.Thread(target=system.solve, args=("direct",)) for system in systems]
        for thread in solving:
            thread.start()
        while any(thread.is_alive() for thread in solving):
            ticks.append(kvi._kvi._solves_running())
            time.sleep(0.01)
        self.assertIn(2, ticks)  # this thread ran while both solved
        threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT)).start()
        with self.assertRaises(KeyboardInterrupt):
            systems[0].solve("direct_nonsymmetric")
            time.sleep(1)
        self.assertEqual(kvi._kvi._solves_running(), 0)
        self.assertTrue(systems[0].solve("direct")[1]["solved"])


class Geometry(unittest.TestCase):
    def test_crossings_trees_and_polygons(self):
        points, pairs = kvi.crossings([[0, 0, 4, 4], [0, 4, 4, 0], [9, 0, 9, 1]])
        self.assertEqual((points.tolist(), pairs.tolist()), ([[2, 2]], [[0, 1]]))
        nodes = [(x, y) for y in range(3) for x in range(4)]
        corners = [[4 * y + x, 4 * y + x + 1, 4 * y + x + 5, 4 * y + x + 4]
                   for y in range(2) for x in range(3)]
        tree = kvi.QuadTree(nodes, corners)
        self.assertEqual(tree.find([[0.5, 0.5], [2.5, 1.5], [7, 1], [1, 0.5]]).tolist(),
                         [0, 5, -1, 0])
        ids, distances = tree.nearest([[5, 0.5], [0.5, 0.5]])
        self.assertEqual((ids.tolist(), distances.tolist()), ([2, 0], [2, 0]))
        self.assertEqual(tree.find_in_box(0.2, 0.2, 1.5, 0.5).tolist(), [0, 1])
        square, hole = [[0, 0], [4, 0], [4, 4], [0, 4]], [[1, 1], [2, 1], [2, 2], [1, 2]]
        self.assertEqual(kvi.polygon_area(square, [hole]), 15)
        self.assertEqual(kvi.polygon_locate(square, [[3, 3], [1.5, 1.5], [0, 2]], [hole]).tolist(),
                         [1, -1, 0])
        self.assertEqual(kvi.polygon_flaw(square, [hole]), "")
        self.assertIn("meets itself", kvi.polygon_flaw([[0, 0], [2, 2], [2, 0], [0, 2]]))
        for wrong in (lambda: kvi.crossings([[1, 2]]), lambda: kvi.QuadTree(nodes, [[0, 1, 12]])):
            with self.assertRaises((IndexError, ValueError)):
                wrong()


class Log(unittest.TestCase):
    def test_records_reach_logging_from_any_thread(self):
        logger = logging.getLogger("kvi test")
        with self.assertLogs(logger, logging.INFO) as caught:
            kvi.log_to(logger, logging.INFO)
            kvi._kvi._log_write(1, "100 % plain é")
            kvi._kvi._log_write(0, "too low")
            system = kvi.System(springs(2)[0])
            system.add_load([0], 1)
            system.solve("direct")  # nothing resists it: an error from the solver's thread
            kvi.log_to(None)
        self.assertIn("INFO:kvi test:100 % plain é", caught.output)
        self.assertNotIn("too low", "".join(caught.output))
        self.assertGreater(len(caught.output), 1)


class Percova(unittest.TestCase):
    def setUp(self):
        self.problem = json.loads(DAM.read_text("utf-8"))

    def test_a_run_gives_numbers_arrays_and_a_picture(self):
        result = kvi.percova.run(self.problem, MESH)
        self.assertAlmostEqual(result.steps[-1]["flow_in"], 1.76282e-5, 9)
        arrays = result.arrays()
        self.assertEqual(arrays["Points"].shape, (1360, 3))
        self.assertEqual(arrays["head"].max(), 24)
        self.assertEqual(len(arrays["material"]), 425)
        self.assertTrue(result._repr_svg_().lstrip().startswith("<"))
        cases = DAM.parent
        in_time = kvi.percova.run(cases / "T1-consolidation.problem.json",
                                 next(cases.glob("mesh/T1-consolidation*.msh")))
        self.assertTrue("time 2e+06 s" in in_time.picture)
        self.problem["materials"][0]["k_sat"] = -1
        with self.assertRaises(kvi.RunError) as raised:
            kvi.percova.run(self.problem, MESH)
        self.assertEqual(raised.exception.exit_status, 2)
        self.assertIn("k_sat", str(raised.exception))

    def test_a_study_has_a_row_for_every_variant(self):
        rows = kvi.study(self.problem, {"materials.soil.k_sat": [1e-6, 2e-6, -1],
                                        "boundaries.tailwater.value": [4.0]}, mesh=MESH)
        self.assertEqual([row["materials.soil.k_sat"] for row in rows], [1e-6, 2e-6, -1])
        self.assertAlmostEqual(rows[1]["flow_in"] / rows[0]["flow_in"], 2, 6)
        self.assertEqual([bool(row["reason"]) for row in rows], [False, False, True])
        wrong = kvi.study(self.problem, {"materials.clay.k_sat": [1]}, mesh=MESH)
        self.assertIn("no clay", wrong[0]["reason"])
        with self.assertRaises(ValueError):
            kvi.study(self.problem, {"title": ["a"], "id": ["a", "b"]}, together=True)

    @unittest.skipUnless(importlib.util.find_spec("distributed"), "distributed is not installed")
    def test_a_study_on_a_cluster_has_every_row_though_a_worker_is_killed(self):
        import distributed

        with tempfile.TemporaryDirectory() as folder:
            killed = os.path.join(folder, "killed")

            def measure(result):
                try:
                    os.close(os.open(killed, os.O_CREAT | os.O_EXCL))
                except FileExistsError:
                    return {"flow_in": result.steps[-1]["flow_in"]}
                os.kill(os.getpid(), signal.SIGKILL)  # the worker of the first result

            with distributed.LocalCluster(n_workers=2, threads_per_worker=1,
                                          dashboard_address=None,
                                          local_directory=folder) as cluster:
                with distributed.Client(cluster) as client:
                    rows = kvi.study(self.problem, {"materials.soil.k_sat": [1e-6, -1, 2e-6, 3e-6]},
                                     mesh=MESH, client=client, measure=measure)
            self.assertTrue(os.path.exists(killed))
        self.assertEqual([row["materials.soil.k_sat"] for row in rows], [1e-6, -1, 2e-6, 3e-6])
        self.assertEqual([bool(row["reason"]) for row in rows], [False, True, False, False], rows)
        self.assertIn("k_sat", rows[1]["reason"])
        self.assertAlmostEqual(rows[3]["flow_in"] / rows[0]["flow_in"], 3, 6)


class Documents(unittest.TestCase):
    def test_the_chapters_blocks_run(self):
        text = (ROOT / "docs/python.md").read_text("utf-8")
        blocks = re.findall(r"^```python\n(.*?)^```", text, re.MULTILINE | re.DOTALL)
        self.assertGreater(len(blocks), 5)
        os.chdir(ROOT)
        names = {}
        for block in blocks:
            with self.subTest(block):
                exec(compile(block, "docs/python.md", "exec"), names)

    def test_the_notebook_runs_and_holds_its_picture(self):
        notebook = json.loads((ROOT / "examples/notebooks/dam.ipynb").read_text("utf-8"))
        cells = [cell for cell in notebook["cells"] if cell["cell_type"] == "code"]
        os.chdir(ROOT / "examples/notebooks")
        names = {}
        for cell in cells:
            with self.subTest(cell["source"]):
                exec(compile("".join(cell["source"]), "dam.ipynb", "exec"), names)
        self.assertIn("data:image/svg+xml", names["result"]._repr_html_())
        shown = [output["data"] for cell in cells for output in cell["outputs"] if "data" in output]
        self.assertTrue(any("image/svg+xml" in data for data in shown))


if __name__ == "__main__":
    unittest.main()
