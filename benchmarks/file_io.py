#!/usr/bin/env python3
"""Times reading and writing a large MPS file and the same model as an LP file.

Builds an LP of 1,000,000 named columns and 1,001,000 rows (2,000,000 nonzeros: a bound-like
row per column and 1,000 rows summing a thousand columns each), writes it as MPS (about
100 MB) and in the LP format, and prints for each processor seconds, best of --repeat runs,
for:
1. the library's own NVRLreadprob of the file (through ctypes);
2. problem.read, which also makes a var and a constraint object per column and row;
3. problem.write of the model back to MPS;
4. highspy's readModel of the same file, in a child process of the benchmark environment
   (.bench-venv beside the repository's files; see benchmarks/lowlevel.py --setup-highs), as
   the ratio nuvrel/highspy. Skipped, and said so, without that environment.

    PYTHONPATH=build/NAME/stage .venv/bin/python benchmarks/file_io.py [--repeat N]
"""
import argparse
import ctypes
import os
import pathlib
import subprocess
import sys
import tempfile
import time

HIGHS_ENV = pathlib.Path(__file__).resolve().parent.parent / ".bench-venv"
N = 1000


def best(fn, repeat):
    times = []
    for _ in range(repeat):
        start = time.process_time()
        fn()
        times.append(time.process_time() - start)
    return min(times)


def build(nv):
    x = nv.vars(N, N, name="x")
    p = nv.problem()
    p.addVariable(x)
    p.addConstraint(x <= 1)
    p.addConstraint(x.sum(axis=1) <= N / 2)
    p.setObjective(nv.Sum(x.ravel()), sense=nv.maximize)
    return p


def engine_read(nv, path):
    lib = ctypes.CDLL(os.path.join(os.path.dirname(nv.__file__), "libnvrl.so"))
    prob = ctypes.c_void_p()
    if lib.NVRLinit(None) != 0 or lib.NVRLcreateprob(ctypes.byref(prob)) != 0:
        sys.exit("could not create a problem through the library")
    try:
        if lib.NVRLreadprob(prob, path.encode(), b"") != 0:
            sys.exit("NVRLreadprob failed")
    finally:
        lib.NVRLdestroyprob(prob)
        lib.NVRLfree()


def highs_read(path, repeat):
    python = HIGHS_ENV / "bin" / "python"
    if not python.exists():
        return None
    code = ("import sys, time, highspy\n"
            "h = highspy.Highs(); h.setOptionValue('output_flag', False)\n"
            "t = []\n"
            f"for _ in range({repeat}):\n"
            "    s = time.process_time(); h.readModel(sys.argv[1])\n"
            "    t.append(time.process_time() - s)\n"
            "print(min(t))\n")
    out = subprocess.run([str(python), "-c", code, path], capture_output=True, text=True)
    return float(out.stdout.split()[-1]) if out.returncode == 0 else None


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--repeat", type=int, default=3)
    args = ap.parse_args()
    import nuvrel as nv

    nv.setOutputEnabled(False)
    model = build(nv)
    with tempfile.TemporaryDirectory() as tmp:
        for suffix, flags in (("mps", ""), ("lp", "l")):
            path = os.path.join(tmp, "large." + suffix)
            model.write(path, flags)
            time_format(nv, path, flags, args.repeat)


def time_format(nv, path, flags, repeat):
    print(f"{os.path.splitext(path)[1][1:].upper()} file of {os.path.getsize(path) / 1e6:.0f} MB;"
          f" processor seconds, best of {repeat}")
    engine = best(lambda: engine_read(nv, path), repeat)
    print(f"{'NVRLreadprob':34s} {engine:7.3f} s")
    reads = []
    for _ in range(repeat):
        q = nv.problem()
        start = time.process_time()
        q.read(path)
        reads.append(time.process_time() - start)
        del q  # freeing the objects is not part of the read
    read = min(reads)
    print(f"{'problem.read (with the objects)':34s} {read:7.3f} s")
    p = nv.problem()
    p.read(path)
    out = path + ".again"
    print(f"{'problem.write':34s} {best(lambda: p.write(out, flags), repeat):7.3f} s")
    highs = highs_read(path, repeat)
    if highs is None:
        print(f"highspy: no environment at {HIGHS_ENV} (see benchmarks/lowlevel.py)")
    else:
        print(f"{'highspy readModel':34s} {highs:7.3f} s; problem.read/readModel "
              f"{read / highs:.2f}, NVRLreadprob/readModel {engine / highs:.2f}")

if __name__ == "__main__":
    main()
