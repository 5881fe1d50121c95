"""The nonlinear solver of libnvrl against Ipopt on the Hock-Schittkowski problems.

    python benchmarks/nlp_hock_schittkowski.py [--lib build/<name>/engine/libnvrl.so]
           [--only engine|ipopt] [--repeat N] [FILE ...]
    python benchmarks/nlp_hock_schittkowski.py --methods [FILE ...]

Files default to engine/tests/data/nlp/hs*.mps. Our side reads and solves each file through
libnvrl (ctypes: NVRLinit, NSLPinit, NVRLcreateprob, NSLPcreateprob, NSLPreadprob,
NSLPnlpoptimize, then the status, iteration and objective attributes); the library comes
from --lib, NVRL_LIB or the installed nuvrel package. Ipopt runs through casadi in a
virtualenv of its own, .bench-venv/ beside the repository's files, which the script creates
on first use (python -m venv, pip install casadi numpy); the model is built from the same
file by tools/nlp_files.py. casadi never becomes a dependency of the package.

Per problem the script prints iterations, the best time of --repeat runs and the objective
error against the published optimum for both solvers, then the median time ratio
ours/Ipopt over the problems both solved.

With --methods the script compares instead, through the nuvrel package, each file read and
solved as it is with the same file whose coefficients and initial values are given again
through problem.loadcoefs and problem.loadvars as token formulas made in Python from the
file's text (tools/nlp_tokens.py): status, iterations and objective of both and the error
against the published optimum. Exit status 1 when an answer differs.
"""
import argparse
import ctypes
import importlib.util
import json
import os
import pathlib
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BENCH_VENV = ROOT / ".bench-venv"
sys.path.insert(0, str(ROOT / "tools"))
import nlp_files  # noqa: E402
import nlp_tokens  # noqa: E402

NSLP_ATTR_STATUS = 12044
NSLP_ATTR_ITERATIONS = 12101
NSLP_ATTR_OBJECTIVE = 12179
NLP_STATUS = {0: "unstarted", 1: "solution", 2: "globally optimal", 3: "locally infeasible",
              4: "infeasible", 5: "unbounded", 6: "unfinished"}


class EngineUnavailable(RuntimeError):
    pass


def find_library(given):
    path = given or os.environ.get("NVRL_LIB")
    if path:
        return path
    found = importlib.util.find_spec("nuvrel")
    if found is None or not found.submodule_search_locations:
        sys.exit("libnvrl not found: pass --lib, set NVRL_LIB or install the nuvrel package")
    return os.path.join(list(found.submodule_search_locations)[0], "libnvrl.so")


class Engine:
    def __init__(self, path):
        self.lib = lib = ctypes.CDLL(path)
        if not hasattr(lib, "NSLPnlpoptimize"):
            raise EngineUnavailable(f"NSLPnlpoptimize not available in this build ({path})")
        vp, cp = ctypes.c_void_p, ctypes.c_char_p
        lib.NVRLcreateprob.argtypes = [ctypes.POINTER(vp)]
        lib.NVRLdestroyprob.argtypes = [vp]
        lib.NSLPcreateprob.argtypes = [ctypes.POINTER(vp), ctypes.POINTER(vp)]
        lib.NSLPdestroyprob.argtypes = [vp]
        lib.NSLPreadprob.argtypes = [vp, cp, cp]
        lib.NSLPnlpoptimize.argtypes = [vp, cp]
        lib.NSLPgetintattrib.argtypes = [vp, ctypes.c_int, ctypes.POINTER(ctypes.c_int)]
        lib.NSLPgetdblattrib.argtypes = [vp, ctypes.c_int, ctypes.POINTER(ctypes.c_double)]
        lib.NSLPgetlasterror.argtypes = [vp, ctypes.POINTER(ctypes.c_int), cp, ctypes.c_int,
                                         ctypes.POINTER(ctypes.c_int)]
        if lib.NVRLinit(None) != 0 or lib.NSLPinit(None) != 0:
            raise EngineUnavailable("NVRLinit or NSLPinit failed")

    def close(self):
        self.lib.NSLPfree()
        self.lib.NVRLfree()

    def _error(self, slp):
        msg = ctypes.create_string_buffer(8192)
        self.lib.NSLPgetlasterror(slp, None, msg, len(msg), None)
        return msg.value.decode(errors="replace")

    def solve(self, path):
        """Status, iterations, objective and seconds of one read-and-solve (solve time only)."""
        prob, slp = ctypes.c_void_p(), ctypes.c_void_p()
        if self.lib.NVRLcreateprob(ctypes.byref(prob)) != 0:
            raise RuntimeError("NVRLcreateprob failed")
        try:
            if self.lib.NSLPcreateprob(ctypes.byref(slp), ctypes.byref(prob)) != 0:
                raise RuntimeError("NSLPcreateprob failed")
            try:
                if self.lib.NSLPreadprob(slp, str(path).encode(), b"") != 0:
                    raise RuntimeError(self._error(slp))
                start = time.perf_counter()
                rc = self.lib.NSLPnlpoptimize(slp, b"")
                seconds = time.perf_counter() - start
                if rc != 0:
                    raise RuntimeError(self._error(slp))
                status, iters, obj = ctypes.c_int(), ctypes.c_int(), ctypes.c_double()
                self.lib.NSLPgetintattrib(slp, NSLP_ATTR_STATUS, ctypes.byref(status))
                self.lib.NSLPgetintattrib(slp, NSLP_ATTR_ITERATIONS, ctypes.byref(iters))
                self.lib.NSLPgetdblattrib(slp, NSLP_ATTR_OBJECTIVE, ctypes.byref(obj))
                return {"status": NLP_STATUS.get(status.value, str(status.value)),
                        "iterations": iters.value, "objective": obj.value, "seconds": seconds}
            finally:
                self.lib.NSLPdestroyprob(slp)
        finally:
            self.lib.NVRLdestroyprob(prob)


# --- Ipopt, run inside .bench-venv ---------------------------------------------------------

def ensure_bench_venv():
    python = BENCH_VENV / "bin" / "python"
    if python.exists() and subprocess.run([str(python), "-c", "import casadi"],
                                          capture_output=True).returncode == 0:
        return python
    print(f"creating {BENCH_VENV} with casadi (first use only) ...", file=sys.stderr)
    subprocess.run([sys.executable, "-m", "venv", str(BENCH_VENV)], check=True)
    subprocess.run([str(python), "-m", "pip", "install", "-q", "casadi", "numpy"], check=True)
    return python


def ipopt_results(files, repeat):
    """Runs this script's Ipopt worker in the benchmark virtualenv; results by file name."""
    python = ensure_bench_venv()
    cmd = [str(python), __file__, "--ipopt-worker", "--repeat", str(repeat)] + \
        [str(f) for f in files]
    out = subprocess.run(cmd, check=True, capture_output=True, text=True).stdout
    return json.loads(out.strip().splitlines()[-1])


def ipopt_worker(files, repeat):
    import casadi as ca
    results = {}
    for path in files:
        p = nlp_files.read(path)
        m = nlp_files.casadi_problem(p)
        solver = ca.nlpsol("s", "ipopt", {"x": m["x"], "f": m["f"], "g": m["g"]},
                           {"print_time": 0, "ipopt.print_level": 0, "ipopt.sb": "yes"})
        best = None
        for _ in range(repeat):
            start = time.perf_counter()
            r = solver(x0=m["x0"], lbx=m["lbx"], ubx=m["ubx"], lbg=m["lbg"], ubg=m["ubg"])
            seconds = time.perf_counter() - start
            best = seconds if best is None else min(best, seconds)
        stats = solver.stats()
        results[pathlib.Path(path).name] = {
            "status": stats["return_status"], "iterations": stats["iter_count"],
            "objective": p.sense * float(r["f"]), "seconds": best}
    print(json.dumps(results))


# --- the same set through the nonlinear methods of nuvrel.problem ---------------------------

def methods_check(files):
    import nuvrel as nv
    nv.setOutputEnabled(False)

    def solve(path, tokens):
        p = nv.problem()
        p.read(str(path))
        if tokens:
            nlp_tokens.load_coefficients(p, nlp_files.read(path))
        start = time.perf_counter()
        p.nlpoptimize("g" if p.attributes.discrete_columns else "")
        seconds = time.perf_counter() - start
        return (p.attributes.nslp_status, p.attributes.nslp_iterations, p.getObjVal(), seconds)

    print(f"{'problem':<10} {'optimum':>14} | {'file: st':>8} {'iter':>5} {'ms':>8} "
          f"| {'tokens: st':>10} {'iter':>5} {'ms':>8} {'error':>9}")
    differ = 0
    for path in files:
        optimum = nlp_files.read(path).optimum
        try:
            a, b = solve(path, False), solve(path, True)
        except (nv.SolverError, nv.InterfaceError, nv.ModelError, ValueError) as e:
            print(f"{path.stem:<10} failed: {e}")
            differ += 1
            continue
        same = a[0] == b[0] and abs(a[2] - b[2]) <= 1e-6 * max(1.0, abs(a[2]))
        differ += not same
        print(f"{path.stem:<10} {optimum:>14.7g} | {a[0]:>8} {a[1]:>5} {a[3] * 1e3:>8.2f} "
              f"| {b[0]:>10} {b[1]:>5} {b[3] * 1e3:>8.2f} "
              f"{abs(b[2] - optimum) / max(1.0, abs(optimum)):>9.1e}{'' if same else '  DIFFERS'}")
    print(f"{len(files) - differ} of {len(files)} problems give the same answer both ways")
    return 1 if differ else 0


# --- the report ----------------------------------------------------------------------------

def error(result, optimum):
    if result is None or "objective" not in result:
        return None
    return abs(result["objective"] - optimum) / max(1.0, abs(optimum))


def cell(result, optimum):
    if result is None:
        return f"{'-':>6} {'-':>9} {'-':>9}"
    if "failed" in result:
        return f"{'failed':>26}"
    return (f"{result['iterations']:>6} {result['seconds'] * 1e3:>9.2f} "
            f"{error(result, optimum):>9.1e}")


def main(argv=None):
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("files", nargs="*", type=pathlib.Path)
    ap.add_argument("--lib", help="path of libnvrl.so")
    ap.add_argument("--only", choices=("engine", "ipopt"))
    ap.add_argument("--repeat", type=int, default=3)
    ap.add_argument("--methods", action="store_true",
                    help="compare file and token-formula models through nuvrel instead")
    ap.add_argument("--ipopt-worker", action="store_true", help=argparse.SUPPRESS)
    args = ap.parse_args(argv)
    files = args.files or sorted(nlp_files.DATA_DIR.glob("hs*.mps"))
    if args.methods:
        return methods_check(files)
    if args.ipopt_worker:
        ipopt_worker(files, args.repeat)
        return 0

    ours = {}
    if args.only != "ipopt":
        try:
            engine = Engine(find_library(args.lib))
        except EngineUnavailable as e:
            sys.exit(str(e))
        for path in files:
            best = None
            for _ in range(args.repeat):
                try:
                    r = engine.solve(path)
                except RuntimeError as e:
                    best = {"failed": str(e)}
                    break
                if best is None or r["seconds"] < best["seconds"]:
                    best = r
            ours[path.name] = best
        engine.close()
    theirs = ipopt_results(files, args.repeat) if args.only != "engine" else {}

    print(f"{'problem':<10} {'optimum':>14} | {'ours: iter':>10} {'ms':>9} {'error':>9} "
          f"| {'ipopt: iter':>11} {'ms':>9} {'error':>9}")
    ratios, failures = [], 0
    for path in files:
        optimum = nlp_files.read(path).optimum
        a, b = ours.get(path.name), theirs.get(path.name)
        print(f"{path.stem:<10} {optimum:>14.7g} | {cell(a, optimum):>29} | "
              f"{cell(b, optimum):>30}")
        for r in (a, b):
            if r is not None and "failed" in r:
                failures += 1
                print(f"    {r['failed']}")
        if a and b and "failed" not in a and error(a, optimum) < 1e-4 and \
                error(b, optimum) < 1e-4:
            ratios.append(a["seconds"] / max(b["seconds"], 1e-9))
    if ratios:
        print(f"median time ratio ours/ipopt over {len(ratios)} problems both solved to "
              f"1e-4: {statistics.median(ratios):.2f}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
