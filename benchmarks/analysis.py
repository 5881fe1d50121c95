"""Analysis methods on the shared data: time and size of the first irreducible infeasible set
(IIS) of each infeasible instance and of an infeasible variant of each LP (a row bounding the
objective one unit, or 0.1%, beyond its optimum); and the time of full ranging on the largest
LP as a multiple of its solve time.

Run with the package on the path, e.g.
    PYTHONPATH=build/NAME/stage python benchmarks/analysis.py
"""

import csv
import sys
import time
from pathlib import Path

import nuvrel as nv

DATA = Path(__file__).resolve().parents[2] / "shared" / "data"


def _instances():
    with (DATA / "optima.csv").open(newline="") as f:
        return [r for r in csv.DictReader(f) if r["kind"] == "lp" and r["file"].endswith(".mps")]


def _read(name):
    p = nv.problem()
    p.setControl("log_level", 0)
    p.read(str(DATA / name))
    return p


def _cut_objective(p, optimum):
    """Adds sense * (c'x + constant) <= sense * optimum - margin, which no point satisfies."""
    cols = p.getVariable(first=0)
    obj = p.getobj()
    sense = p.attributes.objective_sense
    margin = max(1.0, 1e-3 * abs(optimum))
    body = nv.Sum(c * v for c, v in zip(obj, cols) if c != 0)
    target = optimum - p.attributes.objective_constant
    if sense > 0:
        p.addConstraint(body <= target - margin)
    else:
        p.addConstraint(body >= target + margin)


def _time_iis(label, p):
    start = time.perf_counter()
    status = p.iisfirst(1)
    seconds = time.perf_counter() - start
    rows, cols, suminf, numinf = [], [], [], []
    p.iisstatus(rows, cols, suminf, numinf)
    size = f"{rows[1]:5d} rows {cols[1]:5d} bounds" if len(rows) > 1 else "no set"
    cand = f"{rows[0] + cols[0]:6d}"
    print(f"{label:28s} {p.attributes.rows:6d} {p.attributes.columns:6d} {cand} "
          f"{size}  status {status}  {seconds:8.3f} s")


def bench_iis():
    """Prints, for each infeasible instance, the problem's size, the elastic filter's
    candidate set, the IIS found and the seconds iisfirst took."""
    print(f"{'instance':28s} {'rows':>6s} {'cols':>6s} {'cand':>6s}  IIS")
    for inst in _instances():
        if inst["status"] == "infeasible":
            _time_iis(inst["file"], _read(inst["file"]))
        elif inst["status"] == "optimal":
            p = _read(inst["file"])
            _cut_objective(p, float(inst["objective"]))
            _time_iis(inst["file"] + " (objective cut)", p)
    sys.stdout.flush()


def bench_ranging():
    """Full ranging (objsa and bndsa of every column, rhssa of every row) of the largest LP of
    the data set, as a multiple of the time of its solve (best of three each)."""
    lps = [r["file"] for r in _instances() if r["status"] == "optimal"]
    def elements(n):
        p = _read(n)  # held here: a problem's attributes object reads through its problem
        return p.attributes.elements

    nnz, name = max((elements(n), n) for n in lps)
    solve = ranging = float("inf")
    for _ in range(3):
        p = _read(name)  # a new problem each round, so that each solve starts cold
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
    bench_iis()
    bench_ranging()
