#!/usr/bin/env python3
"""Times the low-level matrix interface on a 1,000,000-nonzero LP.

For one LP of 100,000 rows, 50,000 columns and 1,000,000 nonzeros, best of three rounds:
1. problem.loadproblem from numpy arrays, beside the engine's own NVRLloadlp64 of the same
   arrays called directly (through ctypes) in the same run (target: within 1.5 times);
2. problem.getrows of all rows into lists (target: under 0.2 s);
3. problem.addrows of 100,000 more rows (1,000,000 nonzeros) in one call (target: under 0.3 s);
4. highspy's passModel and getRowsEntries (its row-wise matrix query) of the same model, as
   ratios nuvrel/highspy (target: below 1).
Each figure is given as wall and processor seconds, with the machine's load averages before
and after: on a busy machine the processor seconds are the steadier figure.

    PYTHONPATH=build/NAME/stage .venv/bin/python benchmarks/lowlevel.py [--setup-highs]

highspy is never a dependency of nuvrel: it runs in a child process of a separate virtual
environment (default .bench-venv/ beside the repository's files, shared with the other
benchmarks' comparisons), which --setup-highs creates with
    python -m venv .bench-venv && .bench-venv/bin/pip install highspy numpy
Without that environment the highspy figures are skipped, and the script says so.
"""
import argparse
import ctypes
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import numpy as np

ROWS, COLS, PER_COL = 100_000, 50_000, 20  # COLS * PER_COL = 1,000,000 nonzeros
ADD_ROWS, PER_ROW = 100_000, 10
ROUNDS = 3
HIGHS_ENV = str(pathlib.Path(__file__).resolve().parent.parent / ".bench-venv")


def timed_cpu(f):
    """Wall and processor seconds: on a busy machine the second is the steadier figure."""
    t0, c0 = time.perf_counter(), time.process_time()
    f()
    return time.perf_counter() - t0, time.process_time() - c0


def model():
    """Column j has PER_COL distinct rows (j*7 + k*5003) mod ROWS; all rows are <= 1."""
    j = np.arange(COLS, dtype=np.int64)[:, None]
    k = np.arange(PER_COL, dtype=np.int64)[None, :]
    rowind = ((j * 7 + k * 5003) % ROWS).astype(np.int32).ravel()
    return dict(rowtype=np.full(ROWS, "L", dtype="U1"), rhs=np.ones(ROWS), obj=-np.ones(COLS),
                start=np.arange(0, COLS * PER_COL + 1, PER_COL, dtype=np.int64),
                rowind=rowind, rowcoef=1.0 + (rowind % 17), lb=np.zeros(COLS),
                ub=np.full(COLS, 1e20))


def added_rows():
    i = np.arange(ADD_ROWS, dtype=np.int64)[:, None]
    k = np.arange(PER_ROW, dtype=np.int64)[None, :]
    colind = ((i * 13 + k * 4999) % COLS).astype(np.int32).ravel()
    return dict(rowtype=np.full(ADD_ROWS, "G", dtype="U1"), rhs=np.zeros(ADD_ROWS),
                start=np.arange(0, ADD_ROWS * PER_ROW + 1, PER_ROW, dtype=np.int64),
                colind=colind, rowcoef=2.0 + (colind % 5))


def engine_load(lib, m):
    """Wall and processor seconds of NVRLloadlp64 of the arrays, in a problem of its own."""
    p = lambda a, t: a.ctypes.data_as(ctypes.POINTER(t))
    prob = ctypes.c_void_p()
    if lib.NVRLinit(None) != 0 or lib.NVRLcreateprob(ctypes.byref(prob)) != 0:
        sys.exit("could not create a problem through the library")
    types = np.full(ROWS, ord("L"), dtype=np.uint8)
    rc = []
    seconds = timed_cpu(lambda: rc.append(lib.NVRLloadlp64(
        prob, b"bench", COLS, ROWS, p(types, ctypes.c_char), p(m["rhs"], ctypes.c_double), None,
        p(m["obj"], ctypes.c_double), p(m["start"], ctypes.c_int64), None,
        p(m["rowind"], ctypes.c_int), p(m["rowcoef"], ctypes.c_double),
        p(m["lb"], ctypes.c_double), p(m["ub"], ctypes.c_double))))
    if rc != [0]:
        sys.exit("NVRLloadlp64 failed")
    lib.NVRLdestroyprob(prob)
    lib.NVRLfree()
    return seconds


def ours(nv, lib, m, extra):
    """Best-of-ROUNDS seconds of (engine load, loadproblem, getrows, addrows), each as a
    (wall, processor) pair."""
    best = [(float("inf"),) * 2] * 4
    for _ in range(ROUNDS):
        # Alternating, so that neither side gains from a warmed-up allocator.
        engine = engine_load(lib, m)
        p = nv.problem()
        load = timed_cpu(lambda: p.loadproblem("bench", m["rowtype"], m["rhs"], None, m["obj"],
                                              m["start"], None, m["rowind"], m["rowcoef"],
                                              m["lb"], m["ub"]))
        start, colind, colcoef = [], [], []
        rows = timed_cpu(lambda: p.getrows(start, colind, colcoef))
        if (len(start) != ROWS + 1 or len(colind) != COLS * PER_COL
                or start[-1] != COLS * PER_COL
                or abs(sum(colcoef) - float(m["rowcoef"].sum())) > 1e-6 * len(colcoef)):
            sys.exit(f"getrows gave {len(start)} starts and {len(colind)} entries")
        del start, colind, colcoef
        add = timed_cpu(lambda: p.addrows(extra["rowtype"], extra["rhs"], extra["start"],
                                         extra["colind"], extra["rowcoef"]))
        if (p.attributes.rows != ROWS + ADD_ROWS
                or len(p.getConstraint(first=0)) != ROWS + ADD_ROWS):
            sys.exit("addrows did not add every row and its constraint")
        best = [tuple(map(min, b, t)) for b, t in zip(best, (engine, load, rows, add))]
        del p
    return best


def highs_child(path):
    """Runs in the highspy environment: best-of-ROUNDS passModel and getRowsEntries, each as
    (wall, processor) seconds."""
    import highspy

    m = dict(np.load(path))
    start32 = m["start"].astype(np.int32)
    colup = np.full(COLS, np.inf)
    rowlo = np.full(ROWS, -np.inf)
    all_rows = np.arange(ROWS, dtype=np.int32)
    continuous = np.zeros(COLS, dtype=np.int32)  # an empty integrality array is misread
    best_pass = best_rows = (float("inf"),) * 2
    for _ in range(ROUNDS):
        h = highspy.Highs()
        h.setOptionValue("output_flag", False)
        status = []
        seconds = timed_cpu(lambda: status.append(h.passModel(
            COLS, ROWS, COLS * PER_COL, 1, 1, 0.0, m["obj"], m["lb"], colup, rowlo, m["rhs"],
            start32, m["rowind"], m["rowcoef"], continuous)))
        assert status == [highspy.HighsStatus.kOk], status
        best_pass = tuple(map(min, best_pass, seconds))
        got = []
        seconds = timed_cpu(lambda: got.append(h.getRowsEntries(ROWS, all_rows)))
        assert got[0][0] == highspy.HighsStatus.kOk and len(got[0][2]) == COLS * PER_COL
        best_rows = tuple(map(min, best_rows, seconds))
    print(json.dumps({"pass": best_pass, "rows": best_rows}))


def highs_times(m, env):
    python = os.path.join(env, "bin", "python")
    if not os.path.exists(python):
        print(f"highspy: no environment {env} (run with --setup-highs); skipped")
        return None
    with tempfile.TemporaryDirectory() as tmp:
        path = os.path.join(tmp, "model.npz")
        np.savez(path, **{k: v for k, v in m.items() if k != "rowtype"})
        run = subprocess.run([python, os.path.abspath(__file__), "--highs-child", path],
                             capture_output=True, text=True,
                             env={k: v for k, v in os.environ.items() if k != "PYTHONPATH"})
    if run.returncode != 0:
        print(f"highspy run failed:\n{run.stderr}")
        return None
    # HiGHS prints its banner before output can be switched off: the figures are the last line.
    return json.loads(run.stdout.strip().splitlines()[-1])


def setup_highs(env):
    subprocess.run([sys.executable, "-m", "venv", env], check=True)
    subprocess.run([os.path.join(env, "bin", "pip"), "install", "-q", "highspy", "numpy"],
                   check=True)


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--highs-env", default=HIGHS_ENV,
                    help="virtual environment holding highspy (default %(default)s)")
    ap.add_argument("--setup-highs", action="store_true",
                    help="create that environment and install highspy into it first")
    ap.add_argument("--highs-child", help=argparse.SUPPRESS)
    args = ap.parse_args()
    if args.highs_child:
        return highs_child(args.highs_child)
    if args.setup_highs:
        setup_highs(args.highs_env)

    import nuvrel as nv

    nv.setOutputEnabled(False)
    lib = ctypes.CDLL(os.path.join(os.path.dirname(nv.__file__), "libnvrl.so"))
    m = model()
    load_before = os.getloadavg()
    engine, load, rows, add = ours(nv, lib, m, added_rows())
    print(f"LP: {ROWS} rows, {COLS} columns, {COLS * PER_COL} nonzeros; best of {ROUNDS}")
    print("load average %.2f %.2f %.2f before, %.2f %.2f %.2f after (%d processors)"
          % (*load_before, *os.getloadavg(), os.cpu_count()))
    print(f"engine NVRLloadlp64:        {engine[0]:.3f} s (processor {engine[1]:.3f} s)")
    print(f"loadproblem (numpy):        {load[0]:.3f} s (processor {load[1]:.3f} s); "
          f"{load[0] / engine[0]:.2f}x the engine, processor {load[1] / engine[1]:.2f}x "
          f"(target 1.5x)")
    print(f"getrows of all {ROWS} rows: {rows[0]:.3f} s (processor {rows[1]:.3f} s; "
          f"target 0.2 s)")
    print(f"addrows of {ADD_ROWS} rows:    {add[0]:.3f} s (processor {add[1]:.3f} s), "
          f"{ADD_ROWS * PER_ROW} nonzeros (target 0.3 s)")
    highs = highs_times(m, args.highs_env)
    if highs is not None:
        print("load average %.2f %.2f %.2f after the highspy run" % os.getloadavg())
        # Processor time is the fair ratio on a busy machine: the child runs at another moment.
        hp, hr = highs["pass"], highs["rows"]
        print(f"highspy passModel:          {hp[0]:.3f} s (processor {hp[1]:.3f} s); "
              f"loadproblem/passModel {load[0] / hp[0]:.2f}, processor {load[1] / hp[1]:.2f} "
              f"(target below 1)")
        print(f"highspy getRowsEntries:     {hr[0]:.3f} s (processor {hr[1]:.3f} s); "
              f"getrows/getRowsEntries {rows[0] / hr[0]:.2f}, processor {rows[1] / hr[1]:.2f} "
              f"(target below 1)")


if __name__ == "__main__":
    main()
