"""Building and adding a 1,000,000-nonzero LP through the modelling API.

Run with the package importable, e.g.
    PYTHONPATH=build/<name>/stage python benchmarks/problem_build.py [--scale 1.0]

Prints seconds for each stage (variables, constraint expressions, addVariable, addConstraint,
objective), the total, and the share of the total spent in the engine. The engine's share is
measured by loading exactly the same columns, rows, names and objective into a second problem
with direct library calls (ctypes), which is what addVariable/addConstraint/setObjective ask
of the engine.
"""
import argparse
import ctypes
import gc
import os
import random
import time

import numpy as np

import nuvrel


def timed(label, fn):
    gc.collect()
    t0 = time.perf_counter()
    result = fn()
    dt = time.perf_counter() - t0
    print("%-52s %8.3f s" % (label, dt))
    return result, dt


def engine_library():
    lib = ctypes.CDLL(os.path.join(os.path.dirname(nuvrel.nuvrellib.__file__), "libnvrl.so"))
    p = ctypes.c_void_p
    lib.NVRLcreateprob.argtypes = [ctypes.POINTER(p)]
    lib.NVRLdestroyprob.argtypes = [p]
    lib.NVRLloadlp.argtypes = [p, ctypes.c_char_p, ctypes.c_int, ctypes.c_int] + [p] * 10
    lib.NVRLaddcols64.argtypes = [p, ctypes.c_int, ctypes.c_int64] + [p] * 6
    lib.NVRLchgcoltype.argtypes = [p, ctypes.c_int, p, p]
    lib.NVRLaddnames.argtypes = [p, ctypes.c_int, p, ctypes.c_int, ctypes.c_int]
    lib.NVRLaddrows64.argtypes = [p, ctypes.c_int, ctypes.c_int64] + [p] * 6
    lib.NVRLchgobj.argtypes = [p, ctypes.c_int, p, p]
    return lib


def engine_only_seconds(n_cols, rows, rhs, names_cols, names_rows, obj):
    """Seconds the engine needs for the same data, loaded with direct calls."""
    lib = engine_library()
    if lib.NVRLinit(None) != 0:
        raise RuntimeError("library did not start")
    prob = ctypes.c_void_p()
    lib.NVRLcreateprob(ctypes.byref(prob))
    lib.NVRLloadlp(prob, b"engine", 0, 0, *([None] * 10))
    n_rows = len(rows)
    start = np.zeros(n_rows + 1, dtype=np.int64)
    start[1:] = np.cumsum([len(cols) for cols, _ in rows])
    colind = np.concatenate([np.asarray(cols, dtype=np.int32) for cols, _ in rows])
    coef = np.concatenate([np.asarray(vals, dtype=np.float64) for _, vals in rows])
    rowtype = np.full(n_rows, ord("L"), dtype=np.uint8)
    rhs = np.asarray(rhs, dtype=np.float64)
    lb = np.zeros(n_cols)
    ub = np.full(n_cols, 1e20)
    coltype = np.full(n_cols, ord("C"), dtype=np.uint8)
    all_cols = np.arange(n_cols, dtype=np.int32)
    obj = np.asarray(obj, dtype=np.float64)
    ptr = lambda a: a.ctypes.data_as(ctypes.c_void_p)

    t0 = time.perf_counter()
    rc = lib.NVRLaddcols64(prob, n_cols, 0, None, None, None, None, ptr(lb), ptr(ub))
    rc |= lib.NVRLchgcoltype(prob, n_cols, ptr(all_cols), ptr(coltype))
    rc |= lib.NVRLaddnames(prob, 2, names_cols, 0, n_cols - 1)
    rc |= lib.NVRLaddrows64(prob, n_rows, int(start[-1]), ptr(rowtype), ptr(rhs), None,
                            ptr(start), ptr(colind), ptr(coef))
    rc |= lib.NVRLaddnames(prob, 1, names_rows, 0, n_rows - 1)
    rc |= lib.NVRLchgobj(prob, n_cols, ptr(all_cols), ptr(obj))
    dt = time.perf_counter() - t0
    lib.NVRLdestroyprob(prob)
    lib.NVRLfree()
    if rc != 0:
        raise RuntimeError("an engine call failed")
    return dt


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--scale", type=float, default=1.0,
                    help="multiply the problem size by this factor (default 1.0)")
    args = ap.parse_args()
    nuvrel.setOutputEnabled(False)
    n_cols = int(50_000 * args.scale)
    n_rows = int(50_000 * args.scale)
    per_row = 20  # 1,000,000 nonzeros at scale 1
    rng = random.Random(3)
    rows = []
    for _ in range(n_rows):
        cols = sorted(rng.sample(range(n_cols), per_row))
        rows.append((cols, [rng.uniform(1.0, 9.0) for _ in cols]))
    rhs = [rng.uniform(10.0, 100.0) for _ in range(n_rows)]
    obj = [rng.uniform(1.0, 2.0) for _ in range(n_cols)]
    print("LP: %d rows, %d columns, %d nonzeros" % (n_rows, n_cols, n_rows * per_row))

    total = 0.0
    x, dt = timed("create variables", lambda: [nuvrel.var(name="x%d" % j) for j in range(n_cols)])
    total += dt
    cons, dt = timed(
        "build constraint expressions (Sum)",
        lambda: [nuvrel.Sum([v * x[j] for j, v in zip(cols, vals)]) <= b
                 for (cols, vals), b in zip(rows, rhs)])
    total += dt
    p = nuvrel.problem()
    _, dt = timed("addVariable", lambda: p.addVariable(x))
    total += dt
    _, dt = timed("addConstraint (one call)", lambda: p.addConstraint(cons))
    total += dt
    objective, dt = timed("build objective", lambda: nuvrel.Sum([c * xj for c, xj in zip(obj, x)]))
    total += dt
    _, dt = timed("setObjective", lambda: p.setObjective(objective, sense=nuvrel.maximize))
    total += dt
    assert p.attributes.elements == n_rows * per_row

    names_cols = b"".join(b"x%d\0" % j for j in range(n_cols))
    names_rows = b"".join(b"R%d\0" % (i + 1) for i in range(n_rows))
    engine = engine_only_seconds(n_cols, rows, rhs, names_cols, names_rows, obj)
    print("%-52s %8.3f s  (target < 3.0 s: %s)" % ("total", total, "met" if total < 3.0 else "MISSED"))
    print("%-52s %8.3f s  (%.0f%% of the total)" % ("of which in the engine (same calls, direct)",
                                                   engine, 100.0 * engine / total))


if __name__ == "__main__":
    main()
