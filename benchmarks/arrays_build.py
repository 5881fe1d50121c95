"""Time to build array models: prints seconds per step and bytes per array element.

Run with the package on the path, e.g. PYTHONPATH=build/NAME/stage python benchmarks/arrays_build.py

When a comparison environment exists it then builds four of the models (vars(1000, 1000);
A @ x <= b, dense 1000 x 1000; a 10000 x 10000 matrix with 1e6 nonzeros; 3 * x + 2 * y - 1
over 1e6 elements) through PyOptInterface's and linopy's array interfaces too and prints the
processor-time ratios nuvrel/other (below 1 is faster), the best over --rounds turns of each
side. Each side builds the constraints into a model of its own (nuvrel: problem.addConstraint).
Those packages are never dependencies of nuvrel: they run in a child process of a separate
virtual environment, .bench-venv/ beside the repository's files, which --setup-compare creates
(python -m venv, pip install pyoptinterface highsbox linopy). Without it the comparison is
skipped, and the script says how to create it; --no-compare skips it anyway (it takes minutes).
Both parts also print the per-object floor: the processor time to create 1e6 bare variables,
the least that one object per array element costs.
"""

import argparse
import gc
import json
import os
import pathlib
import subprocess
import sys
import time
import tracemalloc

import numpy as np

ROOT = pathlib.Path(__file__).resolve().parent.parent
BENCH_VENV = ROOT / ".bench-venv"
OTHERS = ("pyoptinterface", "linopy")
N, M, PER_ROW = 1000, 10_000, 100


def timed(label, fn):
    gc.collect()
    start = time.perf_counter()
    result = fn()
    print(f"{label:48s} {time.perf_counter() - start:8.3f} s")
    return result


def bytes_per_element(build, count):
    """Traced allocation growth while the result is alive, per element of the result."""
    gc.collect()
    tracemalloc.start()
    before = tracemalloc.get_traced_memory()[0]
    result = build()
    after = tracemalloc.get_traced_memory()[0]
    tracemalloc.stop()
    del result
    return (after - before) / count


def main():
    import nuvrel as nv

    rng = np.random.default_rng(0)
    n = 1000
    timed("vars(1000, 1000)", lambda: nv.vars(n, n))
    timed("vars(1000, 1000, name=None)", lambda: nv.vars(n, n, name=None))
    for label, arr in (("name=None", nv.vars(n, n, name=None)), ("named x(i,j)", nv.vars(n, n))):
        p = nv.problem()
        timed(f"addVariable of vars(1000, 1000), {label}", lambda: p.addVariable(arr))
        del p, arr
    print(f"{'per-object floor: 1e6 bare variables':48s} {object_floor(nv):8.3f} s (processor)")

    A = rng.random((n, n))
    b = np.ones(n)
    x = nv.vars(n, name=None)
    timed("A @ x <= b, dense 1000 x 1000", lambda: A @ x <= b)

    timed("Dot(A[i], x) <= b[i] row by row, dense", lambda: [nv.Dot(A[i], x) <= b[i] for i in range(n)])

    # 10,000 x 10,000 at 1%: a million nonzeros. The dense matrix would take 800 MB, so each
    # row is made dense (with its zeros) in one reused buffer just before it is used.
    m, per_row = 10_000, 100
    cols = np.stack([rng.choice(m, per_row, replace=False) for _ in range(m)])
    vals = rng.random((m, per_row)) + 0.5
    xs = nv.vars(m, name=None)
    rhs = np.ones(m)

    def sparse_rows():
        row = np.zeros(m)
        rows = []
        for i in range(m):
            row[:] = 0.0
            row[cols[i]] = vals[i]
            rows.append(nv.Dot(row, xs) <= rhs[i])
        return rows

    timed("Dot(row, x) <= b_i, 10000 x 10000, 1e6 nonzeros", sparse_rows)
    timed("Dot(vals[i], x[cols[i]]) <= b_i, the same rows",
          lambda: [nv.Dot(vals[i], xs[cols[i]]) <= rhs[i] for i in range(m)])

    x2, y2 = nv.vars(100, 50, name=None), nv.vars(100, 50, name=None)
    timed("2 * x + y >= 0, 100 x 50", lambda: 2 * x2 + y2 >= 0)

    X, Y = nv.vars(n, n, name=None), nv.vars(n, n, name=None)
    timed("3 * x + 2 * y - 1, 1,000,000 elements", lambda: 3 * X + 2 * Y - 1)

    print(f"{'bytes per element, vars(100, 1000, name=None)':48s} "
          f"{bytes_per_element(lambda: nv.vars(100, 1000, name=None), 100_000):8.1f}")
    print(f"{'bytes per element, vars(100, 1000) (named)':48s} "
          f"{bytes_per_element(lambda: nv.vars(100, 1000), 100_000):8.1f}")
    xs = nv.vars(100, 1000, name=None)
    print(f"{'bytes per element, 2 * x + 1':48s} "
          f"{bytes_per_element(lambda: 2 * xs + 1, 100_000):8.1f}")
    print(f"{'bytes per element, x <= 1':48s} "
          f"{bytes_per_element(lambda: xs <= 1, 100_000):8.1f}")
    print(f"numpy {np.__version__}, Python {sys.version.split()[0]}")


def sparse_data():
    """The 1e6-nonzero matrix of the comparison: row i has PER_ROW distinct columns."""
    rng = np.random.default_rng(1)
    cols = np.stack([rng.choice(M, PER_ROW, replace=False) for _ in range(M)])
    return cols, rng.random((M, PER_ROW)) + 0.5


REPEATS = 3


def seconds(run, setup=lambda: None):
    """Processor seconds of run(setup()), the best of REPEATS, each on a fresh setup: the sides
    run one after another, and on a busy machine wall time would compare the load of different
    moments; the best of several also keeps one-off costs (lazy imports, the first growth of
    the heap) out of the figure. What run returns is dropped after the clock stops, on every
    side: building is timed, not taking down."""
    best = float("inf")
    for _ in range(REPEATS):
        state = setup()
        gc.collect()
        start = time.process_time()
        result = run(state)
        best = min(best, time.process_time() - start)
        del result, state
    return best


def object_floor(nv):
    """Processor seconds to create 1e6 bare variables (default names, no bounds table entries),
    the best of REPEATS: the least that one object per element costs, where linopy's arrays
    hold integer labels and PyOptInterface's hold small handles."""
    return seconds(lambda _: nv.vars(1_000_000, name=None))


def compare_ours():
    import nuvrel as nv

    nv.setOutputEnabled(False)
    A, b = np.random.default_rng(0).random((N, N)), np.ones(N)
    cols, vals = sparse_data()
    times = {"vars": seconds(lambda _: nv.vars(N, N))}

    def with_vars(n):
        def setup():
            p = nv.problem()
            x = nv.vars(n, name=None)
            p.addVariable(x)
            return p, x
        return setup

    times["dense"] = seconds(lambda s: s[0].addConstraint(A @ s[1] <= b), with_vars(N))

    def sparse(state):
        # Each row's values times its columns' variables, as linopy's form below gathers them.
        p, xs = state
        p.addConstraint([nv.Dot(vals[i], xs[cols[i]]) <= 1 for i in range(M)])

    times["sparse"] = seconds(sparse, with_vars(M))
    times["elementwise"] = seconds(lambda s: 3 * s[0] + 2 * s[1] - 1,
                                   lambda: (nv.vars(N, N, name=None), nv.vars(N, N, name=None)))
    return times


def compare_child(which):
    """Runs in the comparison environment: the same four models through `which`."""
    cols, vals = sparse_data()
    A, b = np.random.default_rng(0).random((N, N)), np.ones(N)
    times = {}
    if which == "pyoptinterface":
        import pyoptinterface as poi
        import scipy.sparse as sparse
        from pyoptinterface import highs

        def new_model():
            model = highs.Model()
            model.set_model_attribute(poi.ModelAttribute.Silent, True)
            return model

        def with_vars(shape, count=1):
            def setup():
                model = new_model()
                return (model, *(model.add_m_variables(shape) for _ in range(count)))
            return setup

        times["vars"] = seconds(lambda m: m.add_m_variables((N, N)), new_model)
        times["dense"] = seconds(lambda s: s[0].add_m_linear_constraints(A, s[1], poi.Leq, b),
                                 with_vars(N))
        S = sparse.csr_array((vals.ravel(), cols.ravel(), np.arange(0, M * PER_ROW + 1, PER_ROW)),
                             shape=(M, M))
        times["sparse"] = seconds(
            lambda s: s[0].add_m_linear_constraints(S, s[1], poi.Leq, np.ones(M)), with_vars(M))
        times["elementwise"] = seconds(lambda s: 3 * s[1] + 2 * s[2] - 1, with_vars((N, N), 2))
    else:
        import linopy
        import pandas as pd
        import xarray as xr

        def index(n, dim):
            return pd.RangeIndex(n, name=dim)

        def with_vars(*shapes):
            def setup():
                model = linopy.Model()
                made = [model.add_variables(coords=[index(n, d) for n, d in zip(shape, "ij")],
                                            name=f"x{k}") for k, shape in enumerate(shapes)]
                return (model, *made)
            return setup

        times["vars"] = seconds(
            lambda m: m.add_variables(coords=[index(N, "i"), index(N, "j")], name="x"),
            linopy.Model)
        Ad, bd = xr.DataArray(A, dims=["i", "j"]), xr.DataArray(b, dims=["i"])
        # The variables' dimension is "i" in with_vars: the product contracts over it.
        Ad = Ad.rename({"i": "r", "j": "i"})
        bd = bd.rename({"i": "r"})
        times["dense"] = seconds(lambda s: s[0].add_constraints((Ad * s[1]).sum("i") <= bd),
                                 with_vars((N,)))
        # linopy keeps the rows as label arrays until a solver asks for them: the forced figure
        # runs up to the constraint matrix that a solver would be given.
        times["dense_matrix"] = seconds(lambda s: (
            s[0].add_constraints((Ad * s[1]).sum("i") <= bd), s[0].matrices.A), with_vars((N,)))
        at = xr.DataArray(cols, dims=["r", "k"])
        coef = xr.DataArray(vals, dims=["r", "k"])
        times["sparse"] = seconds(lambda s: s[0].add_constraints(
            (coef * s[1].isel(i=at)).sum("k") <= 1), with_vars((M,)))
        times["sparse_matrix"] = seconds(lambda s: (s[0].add_constraints(
            (coef * s[1].isel(i=at)).sum("k") <= 1), s[0].matrices.A), with_vars((M,)))
        times["elementwise"] = seconds(lambda s: 3 * s[1] + 2 * s[2] - 1,
                                       with_vars((N, N), (N, N)))
    print(json.dumps(times))


def compare(env, rounds):
    python = env / "bin" / "python"
    if not python.exists():
        print(f"comparison: no environment {env}; create it with --setup-compare")
        return
    labels = {"vars": "vars(1000, 1000)", "dense": "A @ x <= b, dense 1000 x 1000",
              "dense_matrix": "  the same, up to the solver's matrix",
              "sparse": "1e6 nonzeros, 10000 rows", "sparse_matrix": "  the same, up to the matrix",
              "elementwise": "3 * x + 2 * y - 1, 1e6"}
    # nuvrel and PyOptInterface hand the rows to the solver as they add them.
    forced = {"dense_matrix": "dense", "sparse_matrix": "sparse"}
    ours, theirs = {}, {}

    def keep_best(best, times):
        for k, v in times.items():
            best[k] = min(best.get(k, v), v)

    # The sides take turns, round after round, and each keeps its best: on a shared machine
    # the load changes from one minute to the next, and one turn each would compare moments.
    for _ in range(rounds):
        times = compare_ours()
        keep_best(ours, {**times, **{k: times[v] for k, v in forced.items()}})
        for which in OTHERS:
            run = subprocess.run([str(python), os.path.abspath(__file__), "--compare-child", which],
                                 capture_output=True, text=True,
                                 env={k: v for k, v in os.environ.items() if k != "PYTHONPATH"})
            if run.returncode != 0:
                print(f"{which} run failed:\n{run.stderr}")
                continue
            # A solver banner may come first: the figures are the last line.
            times = json.loads(run.stdout.strip().splitlines()[-1])
            for k, v in forced.items():
                times.setdefault(k, times[v])
            keep_best(theirs.setdefault(which, {}), times)
    print(f"\n{'model (processor s; nuvrel/other)':36s} {'nuvrel':>8s}"
          + "".join(f" {w:>24s}" for w in theirs))
    for key, label in labels.items():
        cells = "".join(f" {t[key]:10.3f} s ({ours[key] / t[key]:5.2f}x)" for t in theirs.values())
        print(f"{label:36s} {ours[key]:8.3f}{cells}")
    import nuvrel
    print(f"{'per-object floor, 1e6 variables':36s} {object_floor(nuvrel):8.3f}")


def setup_compare(env):
    subprocess.run([sys.executable, "-m", "venv", str(env)], check=True)
    subprocess.run([str(env / "bin" / "pip"), "install", "-q", "numpy", "scipy",
                    "pyoptinterface", "highsbox", "linopy"], check=True)


if __name__ == "__main__":
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--no-compare", action="store_true",
                    help="skip building the models through PyOptInterface and linopy")
    ap.add_argument("--compare-env", type=pathlib.Path, default=BENCH_VENV,
                    help="virtual environment holding them (default %(default)s)")
    ap.add_argument("--setup-compare", action="store_true",
                    help="create that environment and install them into it first")
    ap.add_argument("--rounds", type=int, default=3,
                    help="turns each side takes in the comparison (default %(default)s)")
    ap.add_argument("--compare-child", choices=OTHERS, help=argparse.SUPPRESS)
    args = ap.parse_args()
    if args.compare_child:
        compare_child(args.compare_child)
    else:
        if args.setup_compare:
            setup_compare(args.compare_env)
        main()
        if not args.no_compare:
            compare(args.compare_env, args.rounds)
