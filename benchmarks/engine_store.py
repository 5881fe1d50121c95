#!/usr/bin/env python3
"""Times the model store of libnvrl on large inputs.

Loads a 1,000,000-nonzero matrix with one NVRLloadlp64 call, then adds 100,000 rows holding
another 1,000,000 nonzeros with one NVRLaddrows64 call, and prints the seconds each call took.
Then builds a model one column and one row per call (50,000 of each), the way modelling
layers add objects: the total must grow with the model, not with its square.

The library is found through the environment variable NVRL_LIB (a path to libnvrl.so, for
example build/e2/engine/libnvrl.so) or else beside the installed package nuvrel.
"""
import ctypes
import os
import sys
import time

import numpy as np

LOAD_ROWS = 100_000
LOAD_COLS = 50_000
PER_COL = 20  # LOAD_COLS * PER_COL = 1,000,000 nonzeros
ADD_ROWS = 100_000
PER_ROW = 10  # ADD_ROWS * PER_ROW = 1,000,000 nonzeros
ATTR_ROWS, ATTR_COLS, ATTR_ELEMS = 1001, 1018, 1002


def find_library():
    path = os.environ.get("NVRL_LIB")
    if path:
        return path
    try:
        import nuvrel
    except ImportError:
        sys.exit("set NVRL_LIB to the path of libnvrl.so, or install the nuvrel package")
    return os.path.join(os.path.dirname(nuvrel.__file__), "libnvrl.so")


def ptr(array, ctype):
    return array.ctypes.data_as(ctypes.POINTER(ctype))


def main():
    lib = ctypes.CDLL(find_library())
    prob = ctypes.c_void_p()
    msg = ctypes.create_string_buffer(512)

    def check(rc, what):
        if rc != 0:
            lib.NVRLgetlasterror(prob, None, msg, len(msg), None)
            sys.exit(f"{what} failed: {msg.value.decode()}")

    if lib.NVRLinit(None) != 0:
        sys.exit("NVRLinit failed")
    check(lib.NVRLcreateprob(ctypes.byref(prob)), "NVRLcreateprob")

    # Column j has PER_COL distinct rows (j*7 + k*5003) mod LOAD_ROWS.
    j = np.arange(LOAD_COLS, dtype=np.int64)[:, None]
    k = np.arange(PER_COL, dtype=np.int64)[None, :]
    rowind = ((j * 7 + k * 5003) % LOAD_ROWS).astype(np.int32).ravel()
    rowcoef = (1.0 + (rowind % 17)).astype(np.float64)
    start = np.arange(0, LOAD_COLS * PER_COL + 1, PER_COL, dtype=np.int64)
    rowtype = np.full(LOAD_ROWS, ord("L"), dtype=np.uint8)
    rhs = np.ones(LOAD_ROWS)
    obj = np.ones(LOAD_COLS)

    t0 = time.perf_counter()
    rc = lib.NVRLloadlp64(prob, b"bench", ctypes.c_int(LOAD_COLS), ctypes.c_int(LOAD_ROWS),
                          ptr(rowtype, ctypes.c_char), ptr(rhs, ctypes.c_double), None,
                          ptr(obj, ctypes.c_double), ptr(start, ctypes.c_int64), None,
                          ptr(rowind, ctypes.c_int), ptr(rowcoef, ctypes.c_double), None, None)
    load_seconds = time.perf_counter() - t0
    check(rc, "NVRLloadlp64")

    # New row i has PER_ROW distinct columns (i*13 + k*4999) mod LOAD_COLS.
    i = np.arange(ADD_ROWS, dtype=np.int64)[:, None]
    k = np.arange(PER_ROW, dtype=np.int64)[None, :]
    colind = ((i * 13 + k * 4999) % LOAD_COLS).astype(np.int32).ravel()
    coef = (2.0 + (colind % 5)).astype(np.float64)
    rstart = np.arange(0, ADD_ROWS * PER_ROW + 1, PER_ROW, dtype=np.int64)
    rtype = np.full(ADD_ROWS, ord("G"), dtype=np.uint8)
    rrhs = np.zeros(ADD_ROWS)

    t0 = time.perf_counter()
    rc = lib.NVRLaddrows64(prob, ctypes.c_int(ADD_ROWS), ctypes.c_int64(ADD_ROWS * PER_ROW),
                           ptr(rtype, ctypes.c_char), ptr(rrhs, ctypes.c_double), None,
                           ptr(rstart, ctypes.c_int64), ptr(colind, ctypes.c_int),
                           ptr(coef, ctypes.c_double))
    add_seconds = time.perf_counter() - t0
    check(rc, "NVRLaddrows64")

    counts = {}
    for name, attr in (("rows", ATTR_ROWS), ("columns", ATTR_COLS), ("nonzeros", ATTR_ELEMS)):
        value = ctypes.c_int()
        check(lib.NVRLgetintattrib(prob, attr, ctypes.byref(value)), "NVRLgetintattrib")
        counts[name] = value.value
    expected = {"rows": LOAD_ROWS + ADD_ROWS, "columns": LOAD_COLS,
                "nonzeros": LOAD_COLS * PER_COL + ADD_ROWS * PER_ROW}
    lib.NVRLdestroyprob(prob)
    lib.NVRLfree()

    print(f"NVRLloadlp64  {LOAD_ROWS} rows x {LOAD_COLS} columns, "
          f"{LOAD_COLS * PER_COL} nonzeros: {load_seconds:.3f} s")
    print(f"NVRLaddrows64 {ADD_ROWS} rows, {ADD_ROWS * PER_ROW} nonzeros: {add_seconds:.3f} s")
    if counts != expected:
        sys.exit(f"unexpected sizes after the calls: {counts}, expected {expected}")
    print(f"model now: {counts['rows']} rows, {counts['columns']} columns, "
          f"{counts['nonzeros']} nonzeros")
    single_adds(lib)


SINGLE = 50_000


def single_adds(lib):
    prob = ctypes.c_void_p()
    if lib.NVRLinit(None) != 0 or lib.NVRLcreateprob(ctypes.byref(prob)) != 0:
        sys.exit("could not create a problem")
    one, zero = ctypes.c_double(1.0), ctypes.c_double(0.0)
    start = ctypes.c_int64(0)
    t0 = time.perf_counter()
    for _ in range(SINGLE):
        if lib.NVRLaddcols64(prob, 1, ctypes.c_int64(0), ctypes.byref(one), ctypes.byref(start),
                             None, None, ctypes.byref(zero), ctypes.byref(one)) != 0:
            sys.exit("NVRLaddcols64 failed")
    cols_seconds = time.perf_counter() - t0
    rowtype, col = ctypes.c_char(b"L"), ctypes.c_int(0)
    t0 = time.perf_counter()
    for i in range(SINGLE):
        col.value = i
        if lib.NVRLaddrows64(prob, 1, ctypes.c_int64(1), ctypes.byref(rowtype), ctypes.byref(one),
                             None, ctypes.byref(start), ctypes.byref(col),
                             ctypes.byref(one)) != 0:
            sys.exit("NVRLaddrows64 failed")
    rows_seconds = time.perf_counter() - t0
    lib.NVRLdestroyprob(prob)
    lib.NVRLfree()
    print(f"{SINGLE} single-column NVRLaddcols64 calls: {cols_seconds:.3f} s; "
          f"{SINGLE} single-row NVRLaddrows64 calls: {rows_seconds:.3f} s")


if __name__ == "__main__":
    main()
