#!/usr/bin/env python3
"""Families of systems with a made solution, through every kind of solver.

    PYTHONPATH=build/release/python python3 bench/zoo.py [equations] [word ...]

Prints a table: the verdict, the row-wise backward error that the library reports and one computed
here, the error against the made solution, iterations, seconds, and the memory that the solve took
beside the system's.
Words choose families by their names. A verdict is wrong, and the program ends with 1, when a system
is said to be solved whose row-wise backward error is above 1e-8 (direct) or whose residual is above
ten times the tolerance (iterative). The made solution is all ones and a wave; what an
ill-conditioned system does to it is shown, not judged."""
import ctypes
import re
import sys
import time

import numpy as np

import kvi

TOL = 1e-8
KINDS = [("sparse", False), ("iterative", True), ("iterative_nonsymmetric", True)]


def quads(nx, ny):
    """Corners of nx x ny rectangles, counter-clockwise."""
    y, x = np.divmod(np.arange(nx * ny), nx)
    first = y * (nx + 1) + x
    return np.stack([first, first + 1, first + nx + 2, first + nx + 1], 1)


def bricks(n):
    z, rest = np.divmod(np.arange(n**3), n * n)
    y, x = np.divmod(rest, n)
    side = n + 1
    first = (z * side + y) * side + x
    base = np.stack([first, first + 1, first + side + 1, first + side], 1)
    return np.concatenate([base, base + side * side], 1)


def gauss(dimensions):
    """Points of the rule with two points an axis, and the derivatives of the corner functions."""
    corners = np.array([[-1, -1], [1, -1], [1, 1], [-1, 1]], float)
    if dimensions == 3:
        corners = np.concatenate([np.c_[corners, -np.ones(4)], np.c_[corners, np.ones(4)]])
    for point in corners / np.sqrt(3):
        factors = (1 + corners * point) / 2
        slopes = np.array([[corners[i, a] / 2 * np.prod(np.delete(factors[i], a))
                            for i in range(len(corners))] for a in range(dimensions)])
        yield factors.prod(1), slopes


def laplace(dimensions, stretch=1.0, velocity=None, mass=0.0):
    """-div(grad u) + velocity . grad u + mass u on a unit element, `stretch` times in x."""
    count = 2**dimensions
    matrix = np.zeros((count, count))
    for n, slopes in gauss(dimensions):
        slopes = 2 * slopes  # by the coordinates of the unit element
        scale = np.ones(dimensions)
        scale[0] = stretch
        matrix += (slopes.T * scale) @ slopes / count
        matrix += mass * np.outer(n, n) / count
        if velocity is not None:
            matrix += np.outer(n, velocity @ slopes) / count
    return matrix


def elastic(dimensions, poisson, modulus=1.0):
    lame, shear = poisson / (1 + poisson) / (1 - 2 * poisson), 0.5 / (1 + poisson)
    count = 2**dimensions
    matrix = np.zeros((dimensions * count,) * 2)
    for _, slopes in gauss(dimensions):
        slopes = 2 * slopes
        div = slopes.T.reshape(1, -1)
        part = lame * div.T @ div
        for a in range(dimensions):
            for b in range(dimensions):
                block = shear * np.outer(slopes[b], slopes[a])
                if a == b:
                    block = block + shear * slopes.T @ slopes
                part[a::dimensions, b::dimensions] += block
        matrix += part / count
    return modulus * matrix


def unknowns(elements, per_node):
    return (elements[:, :, None] * per_node + np.arange(per_node)).reshape(len(elements), -1)


def plane(equations, per_node=1):
    side = max(int(np.sqrt(equations / per_node)) - 1, 4)
    return side, quads(side, side)


def same(elements, matrix):
    return np.broadcast_to(matrix, (len(elements),) + matrix.shape)


# Each family: lists of equations, matrices, fixed unknowns.
def rows_of(side, per_node=1):
    """The equations of the lower side."""
    return np.arange((side + 1) * per_node)


def scalar(equations, matrix, factors=None):
    side, elements = plane(equations)
    matrices = same(elements, matrix)
    if factors is not None:
        matrices = matrices * factors(len(elements))[:, None, None]
    return [(elements, matrices)], rows_of(side)


def vector(equations, poisson, modulus=1.0):
    side, elements = plane(equations, 2)
    return [(unknowns(elements, 2), same(elements, elastic(2, poisson, modulus)))], rows_of(side, 2)


def solid(equations, per_node):
    n = max(round((equations / per_node) ** (1 / 3)) - 1, 3)
    elements = bricks(n)
    matrix = laplace(3) if per_node == 1 else elastic(3, 0.3)
    fixed = np.arange((n + 1) ** 2 * per_node)
    return [(unknowns(elements, per_node), same(elements, matrix))], fixed


def consolidation(equations, modulus):
    side, elements = plane(equations, 3)
    flow = 1e-9 * laplace(2) + 1e-12 * laplace(2, 0, mass=1.0)
    coupling = np.zeros((8, 4))
    for n, slopes in gauss(2):
        coupling += (2 * slopes.T).reshape(-1, 1) @ n.reshape(1, -1) / 4
    matrix = np.zeros((12, 12))
    solid_at, water_at = np.array([0, 1, 3, 4, 6, 7, 9, 10]), np.array([2, 5, 8, 11])
    matrix[np.ix_(solid_at, solid_at)] = elastic(2, 0.3, modulus)
    matrix[np.ix_(solid_at, water_at)] = -coupling
    matrix[np.ix_(water_at, solid_at)] = -coupling.T
    matrix[np.ix_(water_at, water_at)] = -flow
    return [(unknowns(elements, 3), same(elements, matrix))], rows_of(side, 3)


def convection(equations, peclet, upwind):
    along = np.array([0.8, 0.6]) * 2 * peclet  # element Peclet number: |v| h / (2 D)
    matrix = laplace(2, velocity=along)
    if upwind:
        matrix = matrix + laplace(2) * max(peclet - 1, 0)
    return scalar(equations, matrix)


def links(equations):
    parts, fixed = scalar(equations, laplace(2))
    count = int(parts[0][0].max())
    pairs = np.array([[i, i + 7] for i in range(50, count - 8, 97)])
    return parts + [(pairs, same(pairs, 1e12 * np.array([[1.0, -1], [-1, 1]])))], fixed


def nearly_singular(equations):
    parts, _ = scalar(equations, laplace(2))
    ends = np.array([[0], [1]])
    return parts + [(ends, same(ends, np.array([[1e-9]])))], np.array([], int)


def arrow(equations):
    each = np.arange(1, min(equations, 50000))
    pairs = np.stack([np.zeros_like(each), each], 1)
    return [(pairs, same(pairs, np.array([[1.5, -0.5], [-0.5, 1.0]])))], np.array([0])


def dense_rows(equations):
    parts, fixed = scalar(equations, laplace(2))
    count = int(parts[0][0].max())
    each = np.arange(0, count, 3)
    pairs = np.stack([np.full_like(each, count // 2), each], 1)[each != count // 2]
    return parts + [(pairs, same(pairs, 1e-3 * np.array([[1.0, -1], [-1, 1]])))], fixed


def apart(equations):
    side, elements = plane(equations / 9)
    nodes = (side + 1) ** 2
    elements = np.concatenate([elements + part * nodes for part in range(9)])
    fixed = np.concatenate([rows_of(side) + part * nodes for part in range(9)])
    return [(elements, same(elements, laplace(2)))], fixed


def spread(decades, seed=5):
    return lambda count: 10.0 ** np.random.default_rng(seed).integers(0, decades + 1, count)


FAMILIES = {
    "Laplace": lambda n: scalar(n, laplace(2)),
    "jumps of 1e8": lambda n: scalar(n, laplace(2), spread(8)),
    "anisotropy 1e4": lambda n: scalar(n, laplace(2, 1e4)),
    "strip 653:1": lambda n: scalar(n, laplace(2, 1 / 653**2)),
    "elasticity 0.3": lambda n: vector(n, 0.3),
    "elasticity 0.4999": lambda n: vector(n, 0.4999),
    "consolidation, E 1e7": lambda n: consolidation(n, 1e7),
    "consolidation, E 1e9": lambda n: consolidation(n, 1e9),
    "convection, Peclet 0.1": lambda n: convection(n, 0.1, False),
    "convection, Peclet 1": lambda n: convection(n, 1, False),
    "convection, Peclet 10": lambda n: convection(n, 10, False),
    "convection, Peclet 1000": lambda n: convection(n, 1000, False),
    "convection, 1000, upwind": lambda n: convection(n, 1000, True),
    "rigid links 1e12": links,
    "nearly singular": nearly_singular,
    "singular": lambda n: (scalar(n, laplace(2))[0], np.array([], int)),
    "arrow": arrow,
    "dense row": dense_rows,
    "nine parts": apart,
    "27-point": lambda n: solid(n, 1),
    "bricks, elasticity": lambda n: solid(n, 3),
}


def memory(which):
    return int(re.search(which + r":\s+(\d+)", open("/proc/self/status").read()).group(1)) / 1024


def run(name, equations):
    """Rows of one family; false for a wrong verdict."""
    parts, fixed = FAMILIES[name](equations)
    lists, matrices = [p[0] for p in parts], [np.ascontiguousarray(p[1]) for p in parts]
    count = int(max(part.max() for part in lists)) + 1
    exact = 1 + np.sin(np.arange(count) * 0.7)
    rows, columns, values = [], [], []
    for equations_of, matrix in zip(lists, matrices):
        k = equations_of.shape[1]
        rows.append(np.repeat(equations_of, k, 1).ravel())
        columns.append(np.tile(equations_of, (1, k)).ravel())
        values.append(matrix.ravel())
    rows, columns, values = map(np.concatenate, (rows, columns, values))
    products = values * exact[columns]
    load = np.bincount(rows, products, count)
    is_free = np.ones(count, bool)
    is_free[fixed] = False
    right = True
    for kind, iterates in KINDS:
        if kind == "iterative" and name.startswith("convection"):
            continue  # not symmetric
        if len(lists) == 1:
            system = kvi.System(lists[0].astype(np.int32))
            system.add(matrices[0])
        else:
            system = kvi.System.from_coo(rows.astype(np.int32), columns.astype(np.int32), values,
                                         count)
        system.add_load(np.arange(count, dtype=np.int32), load)
        system.fix(fixed.astype(np.int32), exact[fixed])
        open("/proc/self/clear_refs", "w").write("5")
        before, start = memory("VmRSS"), time.perf_counter()
        x, record = system.solve(kind, TOL, threads=1)
        seconds, peak = time.perf_counter() - start, memory("VmHWM") - before
        used = values * x[columns]
        rest = np.abs(np.bincount(rows, used, count) - load)[is_free]
        size = (np.bincount(rows, np.abs(used), count) + np.abs(load))[is_free]
        row_wise = np.max(rest / np.where(size > 0, size, 1))
        relative = np.linalg.norm(rest) / max(np.linalg.norm(load[is_free]), 1e-300)
        error = np.max(np.abs(x - exact)) / np.max(np.abs(exact))
        wrong = record["solved"] and (relative > 10 * TOL if iterates else row_wise > 1e-8)
        right &= not wrong
        print(f"| {name} | {count} | {kind} | {'WRONG: ' if wrong else ''}{record['outcome']} "
              f"| {record['row_wise_error']:.1e} | {row_wise:.1e} | {error:.1e} "
              f"| {record['iterations']} | {seconds:.2f} | {peak:.0f} |", flush=True)
    return right


def main():
    ctypes.CDLL(None).mallopt(-3, 1 << 16)  # blocks above 64 KiB go back to the system at once
    words = sys.argv[1:]
    equations = int(float(words.pop(0))) if words and words[0][0].isdigit() else 20000
    names = [name for name in FAMILIES if not words or any(word in name for word in words)]
    print("| family | equations | solver | verdict | row-wise, reported | computed | error of x "
          "| iterations | s | MiB |\n|---|---|---|---|---|---|---|---|---|---|")
    sys.exit(0 if all([run(name, equations) for name in names]) else 1)


main()
