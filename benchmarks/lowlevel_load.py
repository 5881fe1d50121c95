#!/usr/bin/env python3
"""Times the low-level interface on large numpy inputs, against the engine and HiGHS.

1. problem.loadproblem of a 1,000,000-nonzero LP from numpy arrays, beside the engine's own
   NVRLloadlp64 of the same arrays called directly in the same run (target: within 1.5x).
2. problem.getrows of all its rows, when the method exists (target: under 0.2 s).
3. problem.addrows of 100,000 rows (1,000,000 nonzeros) in one call (target: under 0.3 s).
4. HiGHS's own Highs_passLp and Highs_getRowsByRange (the calls behind highspy's passModel and
   getRows) on the same model, as ratios nuvrel/HiGHS (target: below 1).

    PYTHONPATH=build/<name>/stage python benchmarks/lowlevel_load.py
"""
import ctypes
import os
import time

import highsbox
import numpy as np

import nuvrel as nv

ROWS, COLS, PER_COL = 100_000, 50_000, 20
ADD_ROWS, PER_ROW = 100_000, 10


def timed(f):
    t0 = time.perf_counter()
    result = f()
    return time.perf_counter() - t0, result


def model():
    j = np.arange(COLS, dtype=np.int64)[:, None]
    k = np.arange(PER_COL, dtype=np.int64)[None, :]
    rowind = ((j * 7 + k * 5003) % ROWS).astype(np.int32).ravel()
    return dict(rowtype=np.array(["L"] * ROWS), rhs=np.ones(ROWS), obj=np.ones(COLS),
                start=np.arange(0, COLS * PER_COL + 1, PER_COL, dtype=np.int64),
                rowind=rowind, rowcoef=1.0 + (rowind % 17), lb=np.zeros(COLS),
                ub=np.full(COLS, 1e20))


def engine_load(m):
    lib = ctypes.CDLL(os.path.join(os.path.dirname(nv.__file__), "libnvrl.so"))
    prob = ctypes.c_void_p()
    assert lib.NVRLinit(None) == 0 and lib.NVRLcreateprob(ctypes.byref(prob)) == 0
    p = lambda a, t: a.ctypes.data_as(ctypes.POINTER(t))
    types = np.full(ROWS, ord("L"), dtype=np.uint8)
    seconds, rc = timed(lambda: lib.NVRLloadlp64(
        prob, b"bench", COLS, ROWS, p(types, ctypes.c_char), p(m["rhs"], ctypes.c_double), None,
        p(m["obj"], ctypes.c_double), p(m["start"], ctypes.c_int64), None,
        p(m["rowind"], ctypes.c_int), p(m["rowcoef"], ctypes.c_double),
        p(m["lb"], ctypes.c_double), p(m["ub"], ctypes.c_double)))
    assert rc == 0
    lib.NVRLdestroyprob(prob)
    lib.NVRLfree()
    return seconds


def highs_times(m):
    lib = ctypes.CDLL(os.path.join(highsbox.highs_lib_dir(), "libhighs.so"))
    lib.Highs_create.restype = ctypes.c_void_p
    h = ctypes.c_void_p(lib.Highs_create())
    lib.Highs_setBoolOptionValue(h, b"output_flag", 0)
    p = lambda a, t: a.ctypes.data_as(ctypes.POINTER(t))
    start32 = m["start"][:-1].astype(np.int32)
    rowlo = np.full(ROWS, -np.inf)
    seconds_pass, rc = timed(lambda: lib.Highs_passLp(
        h, COLS, ROWS, COLS * PER_COL, 1, 1, ctypes.c_double(0.0), p(m["obj"], ctypes.c_double),
        p(m["lb"], ctypes.c_double), p(np.full(COLS, np.inf), ctypes.c_double),
        p(rowlo, ctypes.c_double), p(m["rhs"], ctypes.c_double), p(start32, ctypes.c_int),
        p(m["rowind"], ctypes.c_int), p(m["rowcoef"], ctypes.c_double)))
    assert rc == 0, rc
    n_row, n_nz = ctypes.c_int(), ctypes.c_int()
    lo, up = np.empty(ROWS), np.empty(ROWS)
    rstart = np.empty(ROWS, dtype=np.int32)
    rind, rval = np.empty(COLS * PER_COL, dtype=np.int32), np.empty(COLS * PER_COL)
    seconds_rows, rc = timed(lambda: lib.Highs_getRowsByRange(
        h, 0, ROWS - 1, ctypes.byref(n_row), p(lo, ctypes.c_double), p(up, ctypes.c_double),
        ctypes.byref(n_nz), p(rstart, ctypes.c_int), p(rind, ctypes.c_int),
        p(rval, ctypes.c_double)))
    assert rc == 0 and n_nz.value == COLS * PER_COL
    lib.Highs_destroy(h)
    return seconds_pass, seconds_rows


def main():
    nv.setOutputEnabled(False)
    m = model()
    # Best of three, alternating, so that neither side gains from a warmed-up allocator.
    load = engine = float("inf")
    for _ in range(3):
        p = nv.problem()
        seconds, _ = timed(lambda: p.loadproblem("bench", m["rowtype"], m["rhs"], None, m["obj"],
                                                 m["start"], None, m["rowind"], m["rowcoef"],
                                                 m["lb"], m["ub"]))
        load = min(load, seconds)
        engine = min(engine, engine_load(m))
    print(f"loadproblem, {COLS * PER_COL} nonzeros from numpy: {load:.3f} s; engine alone "
          f"{engine:.3f} s; ratio {load / engine:.2f} (target 1.5)")
    highs_pass, highs_rows = min(highs_times(m) for _ in range(3))
    print(f"HiGHS passLp of the same model: {highs_pass:.3f} s; loadproblem/passLp "
          f"{load / highs_pass:.2f} (target below 1)")
    if hasattr(p, "getrows"):
        rows, _ = timed(lambda: p.getrows(None, None, None, COLS * PER_COL, 0, ROWS - 1))
        print(f"getrows of all {ROWS} rows: {rows:.3f} s (target 0.2); HiGHS getRowsByRange "
              f"{highs_rows:.3f} s, ratio {rows / highs_rows:.2f}")
    else:
        print(f"getrows: not in this build; HiGHS getRowsByRange {highs_rows:.3f} s")
    i = np.arange(ADD_ROWS, dtype=np.int64)[:, None]
    k = np.arange(PER_ROW, dtype=np.int64)[None, :]
    colind = ((i * 13 + k * 4999) % COLS).astype(np.int32).ravel()
    add, _ = timed(lambda: p.addrows(np.array(["G"] * ADD_ROWS), np.zeros(ADD_ROWS),
                                     np.arange(0, ADD_ROWS * PER_ROW + 1, PER_ROW),
                                     colind, 2.0 + (colind % 5)))
    print(f"addrows of {ADD_ROWS} rows, {ADD_ROWS * PER_ROW} nonzeros: {add:.3f} s (target 0.3)")
    assert p.attributes.rows == ROWS + ADD_ROWS and len(p.getConstraint(first=0)) == ROWS + ADD_ROWS


if __name__ == "__main__":
    main()
