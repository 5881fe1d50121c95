"""Cardinality-constrained portfolio MIQPs solved by the engine's tree search, against SCIP.

    PYTHONPATH=build/<name>/stage python benchmarks/miqp.py [--scip] [--mips]

Instances: n = 20, 30, 40, 50, 60 assets with a factor-model covariance (3 factors plus
specific risk) and expected returns drawn with a fixed seed; minimise the variance x'Sx
subject to full investment, a return floor, at most K = n/5 assets held and a minimum holding
of 2% for every asset held (x_i <= z_i, x_i >= 0.02 z_i, z binary).

Each instance is solved through the nuvrel module (relative gap 1e-6, absolute gap 0: the
variances are of order 1e-3, where the default absolute gap of 1e-6 would accept a solution
0.1% above the optimum) and timed in processor seconds (time.process_time, threads
included), which a shared machine's load disturbs far less than the clock; the time limit
(default 90 s) is the solvers' own, on the clock. With --scip, pyscipopt is installed into a
separate virtual environment (build/bench-scip, never into the package's dependencies) and a
child process there solves the same instances with the same gaps (the quadratic objective as
an epigraph row, whose variance at SCIP's point is recomputed); the script then prints both
times and their ratio engine/SCIP per instance, the median ratio over the instances both
finish within the time limit (target <= 2; it says how many), the instances either leaves
unfinished, and whether the optima agree; on an instance only the engine finishes, whether
SCIP's point is at, above or below the engine's proven optimum (--scip-time-limit gives SCIP
a longer limit of its own for that). When that environment cannot be set up (no network),
the script says so and reports the engine alone.

With --perspective -1|0|1|2 the engine runs with that tree_perspective control (automatic,
perspective cuts off, at the root, at the root and the nodes) instead of its default.

With --mips the tree search (control tree_search = 1) is also run against HiGHS's MIP solver
on the MIPs of ../shared/data, for information.
"""
import argparse
import json
import os
import random
import statistics
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, ".."))
DEFAULT_DATA = os.path.normpath(os.path.join(ROOT, "..", "shared", "data"))
SCIP_ENV = os.path.join(ROOT, "build", "bench-scip")
TARGET = 2.0
SIZES = (20, 30, 40, 50, 60)
SEED = 20261124
MIN_HOLDING = 0.02


def instance(n, seed):
    """Covariance S (dense rows), returns mu, return floor and cardinality K."""
    rng = random.Random(seed * 1000 + n)
    factors = 3
    load = [[rng.gauss(0, 0.15) for _ in range(factors)] for _ in range(n)]
    specific_var = [rng.uniform(0.01, 0.05) ** 2 * 25 for _ in range(n)]
    cov = [[sum(load[i][f] * load[j][f] for f in range(factors)) + (specific_var[i] if i == j else 0.0)
            for j in range(n)] for i in range(n)]
    mu = [rng.uniform(0.02, 0.15) for _ in range(n)]
    k = max(2, n // 5)
    floor = sorted(mu)[-k] * 0.6 + statistics.mean(mu) * 0.4
    return {"n": n, "cov": cov, "mu": mu, "floor": floor, "k": k}


def solve_engine(inst, time_limit, perspective=None):
    import nuvrel as nv
    nv.setOutputEnabled(False)
    n = inst["n"]
    x = [nv.var(ub=1) for _ in range(n)]
    z = [nv.var(vartype=nv.binary) for _ in range(n)]
    cov = inst["cov"]
    variance = nv.Sum(cov[i][j] * x[i] * x[j] for i in range(n) for j in range(n))
    p = nv.problem(x, z, variance)
    p.addConstraint([xi <= zi for xi, zi in zip(x, z)],
                    [xi >= MIN_HOLDING * zi for xi, zi in zip(x, z)],
                    nv.Sum(x) == 1,
                    nv.Sum(m * xi for m, xi in zip(inst["mu"], x)) >= inst["floor"],
                    nv.Sum(z) <= inst["k"])
    p.controls.mip_relative_gap = 1e-6
    p.controls.mip_absolute_gap = 0
    p.controls.time_limit = time_limit
    if perspective is not None:
        p.controls.tree_perspective = perspective
    t0 = time.process_time()
    p.solve()
    seconds = time.process_time() - t0
    return {"seconds": seconds, "objective": p.getObjVal(), "status": p.getProbStatusString(),
            "nodes": p.attributes.nodes, "bound": p.attributes.best_bound}


SCIP_CHILD = r"""
import json, sys, time
from pyscipopt import Model, quicksum
insts, time_limit = json.load(sys.stdin)
out = []
for inst in insts:
    n, cov = inst["n"], inst["cov"]
    m = Model()
    m.hideOutput()
    m.setParam("limits/time", time_limit)
    m.setParam("limits/gap", 1e-6)
    m.setParam("limits/absgap", 0.0)
    x = [m.addVar(lb=0, ub=1) for _ in range(n)]
    z = [m.addVar(vtype="B") for _ in range(n)]
    t = m.addVar(lb=None)
    for i in range(n):
        m.addCons(x[i] <= z[i])
        m.addCons(x[i] >= %r * z[i])
    m.addCons(quicksum(x) == 1)
    m.addCons(quicksum(inst["mu"][i] * x[i] for i in range(n)) >= inst["floor"])
    m.addCons(quicksum(z) <= inst["k"])
    # The epigraph in units of 1e-3 of the variance: SCIP's feasibility tolerance on that row
    # is absolute (1e-6), which in the variance's own units would be a thousandth of it.
    m.addCons(quicksum(1e3 * cov[i][j] * x[i] * x[j] for i in range(n) for j in range(n)) <= t)
    m.setObjective(t, "minimize")
    t0 = time.process_time()
    m.optimize()
    seconds = time.process_time() - t0
    # The variance of SCIP's point is compared, not its epigraph column.
    xs = [m.getVal(v) for v in x]
    variance = sum(cov[i][j] * xs[i] * xs[j] for i in range(n) for j in range(n))
    out.append({"seconds": seconds, "objective": variance, "epigraph": m.getObjVal() * 1e-3,
                "status": m.getStatus()})
json.dump(out, sys.stdout)
""" % MIN_HOLDING


def scip_python():
    """The benchmark environment's interpreter with pyscipopt, set up on first use; None when
    that fails (the reason is printed)."""
    py = os.path.join(SCIP_ENV, "bin", "python")
    try:
        if not os.path.exists(py):
            subprocess.run([sys.executable, "-m", "venv", SCIP_ENV], check=True)
        probe = subprocess.run([py, "-c", "import pyscipopt"], capture_output=True)
        if probe.returncode != 0:
            subprocess.run([py, "-m", "pip", "install", "--quiet", "pyscipopt"], check=True,
                           timeout=600)
        return py
    except (subprocess.CalledProcessError, subprocess.TimeoutExpired, OSError) as exc:
        print(f"SCIP not available: setting up {SCIP_ENV} with pyscipopt failed ({exc})")
        return None


def solve_scip(py, insts, time_limit):
    run = subprocess.run([py, "-c", SCIP_CHILD], input=json.dumps([insts, time_limit]),
                         capture_output=True, text=True)
    if run.returncode != 0:
        print("SCIP run failed:", run.stderr.strip().splitlines()[-1:])
        return None
    return json.loads(run.stdout)


def compare_mips(data, time_limit):
    import nuvrel as nv
    nv.setOutputEnabled(False)
    print("\nTree search (tree_search = 1) against HiGHS's MIP solver, shared data MIPs")
    print(f"{'instance':24} {'HiGHS s':>9} {'tree s':>9} {'ratio':>8} {'tree nodes':>10}  "
          f"{'tree status':14} objective")
    with open(os.path.join(data, "optima.csv")) as f:
        rows = [line.strip().split(",") for line in f.readlines()[1:] if line.strip()]
    for file, kind, status, objective in rows:
        if kind != "mip":
            continue
        times = []
        for tree in (0, 1):
            p = nv.problem()
            p.read(os.path.join(data, file))
            p.controls.tree_search = tree
            p.controls.time_limit = time_limit
            t0 = time.process_time()
            p.solve()
            times.append(time.process_time() - t0)
        print(f"{file:24} {times[0]:9.3f} {times[1]:9.3f} {times[1] / max(times[0], 1e-3):8.1f} "
              f"{p.attributes.nodes:10}  {p.getProbStatusString():14} {p.getObjVal():.10g} "
              f"(recorded {objective})")


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--scip", action="store_true", help="also solve with SCIP (separate venv)")
    ap.add_argument("--mips", action="store_true", help="also compare on the shared data MIPs")
    ap.add_argument("--sizes", type=int, nargs="*", default=list(SIZES))
    ap.add_argument("--time-limit", type=float, default=90.0)
    ap.add_argument("--scip-time-limit", type=float,
                    help="SCIP's own time limit (default: --time-limit), to see where it ends "
                         "on the instances it does not finish in the engine's")
    ap.add_argument("--data", default=DEFAULT_DATA)
    ap.add_argument("--perspective", type=int, choices=(-1, 0, 1, 2),
                    help="the engine's tree_perspective control (default: the engine's default)")
    args = ap.parse_args()

    insts = [instance(n, SEED) for n in args.sizes]
    engine = [solve_engine(inst, args.time_limit, args.perspective) for inst in insts]
    scip = None
    if args.scip:
        py = scip_python()
        if py:
            scip = solve_scip(py, insts, args.scip_time_limit or args.time_limit)
    setting = "default" if args.perspective is None else args.perspective
    scip_limit = f" (SCIP {args.scip_time_limit:g} s)" if args.scip_time_limit else ""
    print(f"processor seconds; time limit {args.time_limit:g} s{scip_limit}; "
          f"tree_perspective {setting}; load {os.getloadavg()[0]:.1f}")
    if insts:
        print(f"{'assets':>6} {'K':>3} {'engine s':>9} {'nodes':>7} {'engine objective':>17} "
              f"{'SCIP s':>9} {'SCIP objective':>17} {'ratio':>7} same")
    ratios, same_all, timeouts = [], True, []
    for i, (inst, e) in enumerate(zip(insts, engine)):
        line = (f"{inst['n']:6} {inst['k']:3} {e['seconds']:9.3f} {e['nodes']:7} "
                f"{e['objective']:17.10g}")
        if scip:
            s = scip[i]
            ratio = e["seconds"] / max(s["seconds"], 1e-3)
            # Both stop within a relative 1e-6 of the optimum; their points may differ by
            # their feasibility tolerances as well.
            same = abs(e["objective"] - s["objective"]) <= 1e-5 * abs(s["objective"])
            finished = e["status"] == "mip_optimal" and s["status"] in ("optimal", "gaplimit")
            # Only instances both finish give a meaningful ratio and optimum; the others are
            # listed.
            if finished:
                same_all &= same
                ratios.append(ratio)
            else:
                timeouts.append(f"{inst['n']} assets (engine {e['status']}, SCIP {s['status']})")
            if finished:
                verdict = "yes" if same else "NO"
            elif e["status"] == "mip_optimal":
                # The engine's optimum is proven: SCIP's point may only match or exceed it.
                below = s["objective"] < e["objective"] - 1e-6 * abs(e["objective"])
                verdict = "SCIP BELOW the proven optimum" if below else \
                    ("unfinished, SCIP at it" if same else "unfinished, SCIP above it")
            else:
                verdict = "unfinished"
            line += f" {s['seconds']:9.3f} {s['objective']:17.10g} {ratio:7.2f} {verdict}"
            if s["status"] not in ("optimal", "gaplimit"):
                line += f"  (SCIP {s['status']})"
            if not same:
                line += f"  (SCIP epigraph {s['epigraph']:.10g})"
        if e["status"] != "mip_optimal":
            line += f"  (engine {e['status']}, bound {e['bound']:.10g})"
        print(line)
    if scip:
        if ratios:
            med = statistics.median(ratios)
            print(f"median time ratio engine/SCIP over the {len(ratios)} of {len(insts)} "
                  f"instances both solve: {med:.2f} (target <= {TARGET}); "
                  f"same optimum on each of them: {'yes' if same_all else 'NO'}")
        else:
            print("no instance solved by both: no median ratio")
        limits = f"{args.time_limit:g} s" + (f" (SCIP {args.scip_time_limit:g} s)"
                                             if args.scip_time_limit else "")
        for t in timeouts:
            print(f"not finished by both within {limits}: {t}")
    elif args.scip and not scip:
        print("SCIP was not available: engine times only")
    if args.mips:
        compare_mips(args.data, args.time_limit)


if __name__ == "__main__":
    main()
