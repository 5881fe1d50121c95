#!/usr/bin/env python3
"""Times the analysis methods on the instances of the shared data set.

    PYTHONPATH=build/NAME/stage .venv/bin/python benchmarks/analysis.py
"""
import csv
import pathlib
import time

import nuvrel as nv

DATA = pathlib.Path(__file__).resolve().parents[1] / ".." / "shared" / "data"


def bench_ranging():
    """Full ranging (objsa and bndsa of every column, rhssa of every row) of the largest LP of
    the data set, as a multiple of the time of its solve (best of three each)."""
    with open(DATA / "optima.csv") as f:
        lps = [r["file"] for r in csv.DictReader(f) if r["kind"] == "lp" and r["status"] == "optimal"]
    sizes = []
    for name in lps:
        p = nv.problem()
        p.read(str(DATA / name))
        sizes.append((p.attributes.elements, name))
    nnz, name = max(sizes)
    solve = ranging = float("inf")
    for _ in range(3):
        p = nv.problem()  # a new problem each round, so that each solve starts cold
        p.read(str(DATA / name))
        p.controls.log_level = 0
        t0 = time.perf_counter()
        p.solve()
        solve = min(solve, time.perf_counter() - t0)
        cols = range(p.attributes.columns)
        rows = range(p.attributes.rows)
        t0 = time.perf_counter()
        p.objsa(cols)
        p.rhssa(rows)
        p.bndsa(cols)
        ranging = min(ranging, time.perf_counter() - t0)
    print(f"ranging of {name} ({p.attributes.rows} rows, {p.attributes.columns} columns, "
          f"{nnz} nonzeros): solve {solve:.4f} s, full ranging {ranging:.4f} s "
          f"= {ranging / solve:.1f} x the solve")


if __name__ == "__main__":
    bench_ranging()
