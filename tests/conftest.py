"""Shared fixtures for the tests of the nuvrel package.

The native module keeps process-wide state (library start count, module defaults, output
switch), so tests that change it for good run their code in a fresh interpreter (run_child,
or the run_python fixture). The solver library is reached through its C interface (engine).
Helpers that several test files share live here too.
"""

import csv
import ctypes
import gc
import os
import subprocess
import sys
import textwrap
from pathlib import Path

import numpy as np
import pytest

import nuvrel


def _shared_data_dir():
    """The shared test data: ../shared/data beside the repository root. A linked worktree's
    root is its main checkout's, found through the worktree's .git file."""
    root = Path(__file__).resolve().parents[1]
    roots = [root]
    git = root / ".git"
    if git.is_file():
        gitdir = Path(git.read_text().split("gitdir:", 1)[1].strip())
        common = gitdir / "commondir"
        main_git = (gitdir / common.read_text().strip()).resolve() if common.exists() else gitdir
        roots.append(main_git.parent)
    for candidate in roots:
        data = candidate.parent / "shared" / "data"
        if data.is_dir():
            return data
    return roots[-1].parent / "shared" / "data"


# Known at collection time, so that tests can be parametrised over its files.
SHARED_DATA = _shared_data_dir()


def data_instances(files=None):
    """The rows of optima.csv (all, or those of the given files) as test parameters."""
    table = SHARED_DATA / "optima.csv"
    if not table.exists():
        return [pytest.param(None, marks=pytest.mark.skip(reason=f"no test data in {SHARED_DATA}"))]
    with table.open(newline="") as f:
        return [pytest.param(row, id=row["file"]) for row in csv.DictReader(f)
                if files is None or row["file"] in files]


def read_problem(path):
    """A new problem read from path; a bare file name is one of the shared data files."""
    p = nuvrel.problem()
    p.read(str(SHARED_DATA / path))
    return p


def solve_status(p):
    """Solves p and gives its status text. A solve that ends without a solution (infeasible,
    unbounded) may raise; the status tells what happened."""
    try:
        p.solve()
    except nuvrel.SolverError:
        pass
    return p.getProbStatusString()


# Code for a child interpreter: a multi-dimensional knapsack p (binary x, rows W x <= cap,
# profit) that HiGHS cannot close with gap 0 in many seconds, so that a solve stays busy.
HARD_KNAPSACK = """
import json, random, sys, threading, time
import nuvrel as nv
nv.setOutputEnabled(False)
rng = random.Random(7)
n, m = 200, 30
x = [nv.var(vartype=nv.binary) for _ in range(n)]
W = [[rng.randint(20, 80) for _ in range(n)] for _ in range(m)]
cap = [sum(w) // 2 for w in W]
profit = [rng.randint(10, 100) for _ in range(n)]
rows = [nv.Sum(wj * xj for wj, xj in zip(w, x)) <= c for w, c in zip(W, cap)]
p = nv.problem(x, rows, nv.Sum(pj * xj for pj, xj in zip(profit, x)), sense=nv.maximize)
p.controls.mip_relative_gap = 0.0
"""


@pytest.fixture(scope="session")
def nv():
    return nuvrel


@pytest.fixture(scope="session")
def engine():
    """The solver library the extension is linked against. Opened by its soname, so that the
    copy already loaded for the extension is the one reached (ctypes releases the interpreter
    lock during calls, as the library's own threads run without it)."""
    return ctypes.CDLL("libnvrl.so")


def run_child(code, check=True, args=None, timeout=120, cwd=None):
    """Runs code (or the given interpreter arguments) in a fresh interpreter with the same
    import path, in cwd if given; returns the completed process. A child that outlives the
    timeout fails the test (the faults these children guard against include hangs)."""
    env = dict(os.environ)
    env["PYTHONPATH"] = os.pathsep.join(p for p in sys.path if p)
    try:
        proc = subprocess.run([sys.executable, *(args or ["-c", textwrap.dedent(code)])],
                              capture_output=True, text=True, env=env, timeout=timeout, cwd=cwd)
    except subprocess.TimeoutExpired:
        pytest.fail(f"the child did not finish within {timeout} s")
    if check and proc.returncode != 0:
        raise AssertionError(f"child failed ({proc.returncode}):\n{proc.stdout}\n{proc.stderr}")
    return proc


@pytest.fixture
def run_python():
    return run_child


@pytest.fixture
def output_switch(nv):
    """Restores the output switch after a test that changes it."""
    before = nv.getOutputEnabled()
    yield
    nv.setOutputEnabled(before)


@pytest.fixture
def quiet(nv, output_switch):
    """No solver log for the test (files mark themselves with usefixtures("quiet"))."""
    nv.setOutputEnabled(False)


@pytest.fixture(autouse=True)
def collect_cycles():
    # A failed-operation traceback keeps the test's frame (and its named variables, which hold
    # side-table entries) in a cycle; collect it here rather than during a later test.
    yield
    gc.collect()


@pytest.fixture
def xyz():
    return nuvrel.var(name="x"), nuvrel.var(name="y"), nuvrel.var(name="z")


def rss_bytes():
    with open("/proc/self/statm") as f:
        return int(f.read().split()[1]) * 4096


# Under the address sanitizer freed memory waits in a quarantine of up to 256 MB before it is
# reused, so the process size says nothing about leaks there (object counts still do).
SANITIZED = "libasan" in os.environ.get("LD_PRELOAD", "")


def rss_grew_less_than(before, limit):
    return SANITIZED or rss_bytes() - before < limit


# numpy 1.x never releases the elements of an array whose user type holds an object field
# (numpy issue 25949, fixed in 2.0): objects that were in such an array, even a temporary one,
# stay alive with the process.
NUMPY_1 = int(np.__version__.split(".")[0]) < 2
KEEPS_ARRAY_ELEMENTS = pytest.mark.xfail(
    NUMPY_1, strict=True,
    reason="numpy 1.x leaks the elements of arrays of user types (numpy issue 25949)")


def object_count():
    """Live objects and allocated blocks after a collection, the modelling objects kept apart
    from the interpreter's allocator included: flat when nothing leaks."""
    gc.collect()
    return len(gc.get_objects()) + sys.getallocatedblocks() + nuvrel.var._slab_objects()


def same_objects(got, expected):
    """Sequences of modelling objects compared by identity: == between variables builds a
    constraint, which is true, so comparing lists of them cannot fail."""
    return len(got) == len(expected) and all(a is b for a, b in zip(got, expected))


def lin_of(e):
    """The linear part of e as {name: coefficient}."""
    v, c = e.extractLinear()
    return {a.name: b for a, b in zip(v, c)}


def quad_of(e):
    a, b, c = e.extractQuadratic()
    return [(p.name, q.name, k) for p, q, k in zip(a, b, c)]


def constant_of(e):
    # A comparison moves the constant into the bound: e <= 0 has ub == -constant.
    return -(e <= 0).ub


def nl_formulas(p):
    """The nonlinear coefficients the library holds for p, as (row, column, factor, token
    types, token values) in its order."""
    rows, cols = p.getcoefs()
    return [(r, c, *p.getcoefformula(r, c)) for r, c in zip(rows, cols)]


def nested(obj, depth):
    """obj inside depth single-element lists."""
    for _ in range(depth):
        obj = [obj]
    return obj
