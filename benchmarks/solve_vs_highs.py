"""Solve time of libnvrl against the HiGHS command line on the shared test instances.

Run with the engine library located by NVRL_LIB or by the installed package, e.g.
    NVRL_LIB=build/<name>/engine/libnvrl.so python benchmarks/solve_vs_highs.py

For every instance the script reads and solves the file through libnvrl (ctypes: NVRLinit,
NVRLcreateprob, NVRLreadprob, NVRLmipoptimize) and through the `highs` binary of the same
HiGHS build with the same tolerances, takes the best of --repeat runs of each, and prints the
ratio nvrl/highs per instance and their median (target: median <= 1.05). The command line's
process start-up is measured once (`highs --version`) and subtracted from its times. Times
below --floor (default 5 ms) are within the noise of starting a process and count as the
floor, so tiny instances weigh in as ties rather than as extreme ratios either way.
"""
import argparse
import ctypes
import importlib.util
import os
import statistics
import subprocess
import sys
import tempfile
import time

import highsbox

HERE = os.path.dirname(os.path.abspath(__file__))
DEFAULT_DATA = os.path.normpath(os.path.join(HERE, "..", "..", "shared", "data"))
TARGET = 1.05

# The engine's default tolerances and gaps, given to the command line so that both solve the
# same problem to the same accuracy.
HIGHS_OPTIONS = {
    "primal_feasibility_tolerance": 1e-6,
    "dual_feasibility_tolerance": 1e-6,
    "mip_feasibility_tolerance": 5e-6,
    "mip_rel_gap": 1e-4,
    "mip_abs_gap": 1e-6,
}


def find_library():
    path = os.environ.get("NVRL_LIB")
    if path:
        return path
    found = importlib.util.find_spec("nuvrel")
    if found is None or not found.submodule_search_locations:
        sys.exit("libnvrl not found: set NVRL_LIB or install the nuvrel package")
    return os.path.join(list(found.submodule_search_locations)[0], "libnvrl.so")


class Engine:
    def __init__(self, path):
        self.lib = ctypes.CDLL(path)
        self.lib.NVRLcreateprob.argtypes = [ctypes.POINTER(ctypes.c_void_p)]
        for name in ("NVRLdestroyprob",):
            getattr(self.lib, name).argtypes = [ctypes.c_void_p]
        self.lib.NVRLreadprob.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p]
        self.lib.NVRLmipoptimize.argtypes = [ctypes.c_void_p, ctypes.c_char_p]
        self.lib.NVRLgetlasterror.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_int),
                                              ctypes.c_char_p, ctypes.c_int,
                                              ctypes.POINTER(ctypes.c_int)]
        if self.lib.NVRLinit(None) != 0:
            sys.exit("NVRLinit failed")

    def error(self, prob):
        buf = ctypes.create_string_buffer(512)
        self.lib.NVRLgetlasterror(prob, None, buf, len(buf), None)
        return buf.value.decode(errors="replace")

    def solve(self, filename):
        """Seconds to read and solve the file in a fresh problem."""
        prob = ctypes.c_void_p()
        if self.lib.NVRLcreateprob(ctypes.byref(prob)) != 0:
            raise RuntimeError("NVRLcreateprob failed")
        try:
            t0 = time.perf_counter()
            if self.lib.NVRLreadprob(prob, filename.encode(), b"") != 0:
                raise RuntimeError("read: " + self.error(prob))
            if self.lib.NVRLmipoptimize(prob, b"") != 0:
                raise RuntimeError("solve: " + self.error(prob))
            return time.perf_counter() - t0
        finally:
            self.lib.NVRLdestroyprob(prob)


class CommandLine:
    def __init__(self):
        self.binary = highsbox.highs_bin_path()
        self.env = dict(os.environ)
        libdir = highsbox.highs_lib_dir()
        self.env["LD_LIBRARY_PATH"] = libdir + os.pathsep + self.env.get("LD_LIBRARY_PATH", "")
        fd, self.options = tempfile.mkstemp(suffix=".opt", prefix="highs_")
        with os.fdopen(fd, "w") as f:
            for k, v in HIGHS_OPTIONS.items():
                f.write("%s = %r\n" % (k, v))
        self.startup = min(self._run([self.binary, "--version"]) for _ in range(5))

    def _run(self, argv):
        t0 = time.perf_counter()
        r = subprocess.run(argv, env=self.env, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        dt = time.perf_counter() - t0
        if r.returncode != 0:
            raise RuntimeError("highs failed: " + r.stderr.decode(errors="replace")[-300:])
        return dt

    def solve(self, filename):
        with tempfile.TemporaryDirectory() as tmp:
            # The command line writes nothing but its log; run it in a scratch directory.
            argv = [self.binary, "--options_file", self.options, filename]
            t0 = time.perf_counter()
            r = subprocess.run(argv, env=self.env, cwd=tmp, stdout=subprocess.DEVNULL,
                               stderr=subprocess.PIPE)
            dt = time.perf_counter() - t0
        if r.returncode != 0:
            raise RuntimeError("highs failed: " + r.stderr.decode(errors="replace")[-300:])
        return max(dt - self.startup, 1e-6)

    def close(self):
        os.unlink(self.options)


def instances(data_dir):
    files = []
    with open(os.path.join(data_dir, "optima.csv")) as f:
        next(f)
        for line in f:
            name = line.split(",", 1)[0].strip()
            if name:
                files.append(name)
    return files


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--data", default=DEFAULT_DATA, help="instance directory (with optima.csv)")
    ap.add_argument("--repeat", type=int, default=3, help="runs per instance; the best counts")
    ap.add_argument("--floor", type=float, default=0.005,
                    help="seconds below which times count as this value in the ratio")
    args = ap.parse_args()

    engine = Engine(find_library())
    cli = CommandLine()
    print("highs start-up %.4f s (subtracted)" % cli.startup)
    print("%-22s %10s %10s %8s" % ("instance", "nvrl s", "highs s", "ratio"))
    ratios = []
    try:
        for name in instances(args.data):
            path = os.path.join(args.data, name)
            try:
                ours = min(engine.solve(path) for _ in range(args.repeat))
                theirs = min(cli.solve(path) for _ in range(args.repeat))
            except RuntimeError as e:
                print("%-22s failed: %s" % (name, e))
                continue
            ratio = max(ours, args.floor) / max(theirs, args.floor)
            ratios.append(ratio)
            print("%-22s %10.4f %10.4f %8.3f" % (name, ours, theirs, ratio))
    finally:
        cli.close()
    if not ratios:
        sys.exit("no instance was solved")
    med = statistics.median(ratios)
    print("median ratio %.3f (target <= %.2f: %s)" % (med, TARGET, "met" if med <= TARGET else "MISSED"))


if __name__ == "__main__":
    main()
