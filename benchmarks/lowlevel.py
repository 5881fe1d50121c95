#!/usr/bin/env python3
"""Times the low-level matrix interface on a 1,000,000-nonzero LP.

Prints, for one LP of 100,000 rows, 50,000 columns and 1,000,000 nonzeros:
- `loadproblem` from numpy arrays next to the engine's own NVRLloadlp64 of the same arrays,
  measured in the same run through ctypes (target: within 1.5 times);
- `getrows` of all rows (target: under 0.2 s);
- with --highs, highspy's passModel and getRows of the same model as ratios against ours
  (target: ours faster).

highspy is never a dependency of nuvrel. For --highs, create a separate environment:
    python -m venv /tmp/bench-env && /tmp/bench-env/bin/pip install highspy numpy
and run this script with PYTHONPATH pointing at nuvrel (e.g. build/NAME/stage) and
    --highs-site /tmp/bench-env/lib/python3.X/site-packages
so that highspy is imported from there only.
"""
import argparse
import ctypes
import os
import sys
import tempfile
import time

import numpy as np

import nuvrel as nv

ROWS = 100_000
COLS = 50_000
PER_COL = 20  # COLS * PER_COL = 1,000,000 nonzeros


def model():
    """Column j has PER_COL distinct rows (j*7 + k*5003) mod ROWS."""
    j = np.arange(COLS, dtype=np.int64)[:, None]
    k = np.arange(PER_COL, dtype=np.int64)[None, :]
    rowind = ((j * 7 + k * 5003) % ROWS).astype(np.int32).ravel()
    return {
        "rowtype": np.full(ROWS, ord("L"), dtype=np.uint8),
        "rhs": np.ones(ROWS),
        "obj": -np.ones(COLS),
        "start": np.arange(0, COLS * PER_COL + 1, PER_COL, dtype=np.int64),
        "rowind": rowind,
        "rowcoef": (1.0 + (rowind % 17)).astype(np.float64),
        "lb": np.zeros(COLS),
        "ub": np.full(COLS, 1e20),
    }


def ptr(array, ctype):
    return array.ctypes.data_as(ctypes.POINTER(ctype))


def engine_load(lib, m, write_to=None):
    """Seconds of NVRLloadlp64 of the arrays; writes the problem to write_to when given."""
    prob = ctypes.c_void_p()
    if lib.NVRLinit(None) != 0 or lib.NVRLcreateprob(ctypes.byref(prob)) != 0:
        sys.exit("could not create a problem through the library")
    t0 = time.perf_counter()
    rc = lib.NVRLloadlp64(prob, b"bench", ctypes.c_int(COLS), ctypes.c_int(ROWS),
                          ptr(m["rowtype"], ctypes.c_char), ptr(m["rhs"], ctypes.c_double), None,
                          ptr(m["obj"], ctypes.c_double), ptr(m["start"], ctypes.c_int64), None,
                          ptr(m["rowind"], ctypes.c_int), ptr(m["rowcoef"], ctypes.c_double),
                          ptr(m["lb"], ctypes.c_double), ptr(m["ub"], ctypes.c_double))
    seconds = time.perf_counter() - t0
    if rc != 0:
        sys.exit("NVRLloadlp64 failed")
    if write_to is not None and lib.NVRLwriteprob(prob, write_to.encode(), b"m") != 0:
        sys.exit("NVRLwriteprob failed")
    lib.NVRLdestroyprob(prob)
    lib.NVRLfree()
    return seconds


def our_problem(lib, m):
    """The LP in a nuvrel problem: by loadproblem when there is one (timed), else read from a
    file the library writes."""
    p = nv.problem()
    if hasattr(p, "loadproblem"):
        rowtype = ["L"] * ROWS
        t0 = time.perf_counter()
        p.loadproblem("bench", rowtype, m["rhs"], None, m["obj"], m["start"], None, m["rowind"],
                      m["rowcoef"], m["lb"], m["ub"])
        return p, time.perf_counter() - t0
    with tempfile.TemporaryDirectory() as tmp:
        path = os.path.join(tmp, "bench.mps")
        engine_load(lib, m, path)
        p.read(path)
    return p, None


def highs_times(m, site):
    sys.path.insert(0, site)
    try:
        import highspy
    except ImportError:
        print(f"highspy not found in {site}: see this script's docstring")
        return None
    h = highspy.Highs()
    h.setOptionValue("output_flag", False)
    lp = highspy.HighsLp()
    lp.num_col_, lp.num_row_ = COLS, ROWS
    lp.col_cost_ = m["obj"]
    lp.col_lower_ = m["lb"]
    lp.col_upper_ = np.full(COLS, np.inf)
    lp.row_lower_ = np.full(ROWS, -np.inf)
    lp.row_upper_ = m["rhs"]
    lp.a_matrix_.format_ = highspy.MatrixFormat.kColwise
    lp.a_matrix_.start_ = m["start"].astype(np.int32)
    lp.a_matrix_.index_ = m["rowind"]
    lp.a_matrix_.value_ = m["rowcoef"]
    t0 = time.perf_counter()
    h.passModel(lp)
    load = time.perf_counter() - t0
    t0 = time.perf_counter()
    h.getRows(ROWS, np.arange(ROWS, dtype=np.int32))
    rows = time.perf_counter() - t0
    return load, rows


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--highs", action="store_true", help="compare with highspy")
    ap.add_argument("--highs-site", default="/tmp/bench-env/lib/python3.11/site-packages")
    args = ap.parse_args()
    nv.setOutputEnabled(False)
    lib = ctypes.CDLL(os.path.join(os.path.dirname(nv.__file__), "libnvrl.so"))
    m = model()

    engine_seconds = engine_load(lib, m)
    p, load_seconds = our_problem(lib, m)
    print(f"LP: {ROWS} rows, {COLS} columns, {COLS * PER_COL} nonzeros")
    print(f"engine NVRLloadlp64:       {engine_seconds:.3f} s")
    if load_seconds is None:
        print("loadproblem:               not available in this build")
    else:
        print(f"loadproblem (numpy):       {load_seconds:.3f} s "
              f"({load_seconds / engine_seconds:.2f}x the engine; target 1.5x)")

    start, colind, colcoef = [], [], []
    t0 = time.perf_counter()
    p.getrows(start, colind, colcoef)
    rows_seconds = time.perf_counter() - t0
    if len(colind) != COLS * PER_COL or len(start) != ROWS + 1:
        sys.exit(f"getrows returned {len(colind)} entries and {len(start)} starts")
    print(f"getrows of all rows:       {rows_seconds:.3f} s (target 0.2 s)")

    if args.highs:
        times = highs_times(m, args.highs_site)
        if times is not None:
            print(f"highspy passModel:         {times[0]:.3f} s"
                  + (f" (loadproblem/passModel {load_seconds / times[0]:.2f})"
                     if load_seconds else ""))
            print(f"highspy getRows:           {times[1]:.3f} s "
                  f"(getrows/getRows {rows_seconds / times[1]:.2f})")


if __name__ == "__main__":
    main()
