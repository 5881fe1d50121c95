#!/usr/bin/env python3
"""Randomised robustness sweep of the nuvrel Python API with bad and odd input.

    PYTHONPATH=build/NAME/stage python tools/fuzz_api.py --seconds 600 --seed 1

Each case is a few lines of Python run after a fixed set-up (SETUP) in a fresh namespace.
Batches of cases run in a child interpreter; a case fails when the child dies (signal,
abort), makes no progress for --timeout seconds, or the case raises SystemError or
MemoryError, or leaves an unraisable exception behind (an error inside a destructor or a
callback that nobody sees). A failing case is re-run alone in a new child and printed as a
standalone reproducer; if it only fails after earlier cases of its batch, the smallest
prefix found by dropping cases is printed with it. --messages FILE also writes every
distinct (exception type, message) seen, to review for unclear messages.
"""
import argparse
import ast
import collections
import json
import os
import random
import re
import select
import subprocess
import sys
import tempfile
import time

SETUP = """\
import nuvrel as nv, numpy as np, gc
nv.setOutputEnabled(False)
x = nv.var(ub=10, name='x'); y = nv.var(lb=-1, ub=2, name='y'); b = nv.var(vartype=nv.binary, name='b')
X = nv.vars(3, name='X')
p = nv.problem(name='p'); p.addVariable(x, y, b, X)
c = nv.constraint(x + 2*y <= 4, name='c'); p.addConstraint(c, X[0] + X[1] >= 1)
s = nv.sos([x, y], [1, 2])
p.setObjective(x + y + X[2])
q = nv.problem()
nuvrel, c1, z, (x1, x2, x3) = nv, c, b, X
c2 = nv.constraint(x - y >= -1, name='c2'); p.addConstraint(c2)
"""

# Operand pool: source text, evaluated afresh in every case.
NUMBERS = ["0", "1", "-0.0", "2.5", "float('nan')", "float('inf')", "-float('inf')", "1e308",
           "1e-320", "10**30", "-(2**63)", "2**64", "True", "False", "np.float32(1.5)",
           "np.float64(-2)", "np.int8(3)", "np.uint64(2**64-1)", "np.int64(-1)", "np.float16(2)",
           "np.complex128(1j)", "np.bool_(True)", "np.longdouble(3)", "np.uint8(0)", "1j"]
MODEL = ["x", "y", "b", "X[1]", "3*x", "x*y", "x*x", "x*y + 2*x - 1", "x + 1", "nv.exp(x)",
         "nv.sin(x) * y", "x / y", "x ** 3", "(x <= 1)", "c", "(x*y + x >= 2)", "s",
         "nv.Sum([])", "0*x", "nv.var()", "nv.constraint(x + y, lb=1, ub=2)", "nv.user(abs, x)",
         "nv.pwl({(0, 1): x, (1, 2): 2*x - 1})", "x + y - x - y", "nv.expression()",
         "type(2*x)()", "type(x*y)()", "type(nv.exp(x))()", "nv.expression(x)"]
OTHER = ["None", "'x'", "''", "'c'", "'\\x00'", "b'x'", "[x, y]", "[]", "[[x], [y, 1]]",
         "(x, 2)", "{x: 1}", "{}", "{'a': x}", "set([x])", "object()", "p", "q", "nv.problem",
         "nv.controls", "p.controls", "p.attributes", "lambda *a: 0", "abs", "range(3)",
         "iter([x])", "slice(1)", "Ellipsis", "'a' * 5000"]
ARRAYS = ["np.array([1.0, 2.0])", "np.array([1, 2])", "np.array([x, y], dtype=object)", "X",
          "nv.vars(2, 3)", "np.zeros(0)", "np.array([], dtype=object)", "np.array(x, dtype=object)",
          "np.array(2.0)", "np.arange(6.).reshape(2, 3)[:, ::2]", "X[::-1]", "X[::2]",
          "np.asfortranarray(nv.vars(2, 3))", "np.empty((0, 3))", "np.array([x, 'a', None])",
          "np.array([[x, 1], [y, 2]])", "np.array([True, False])", "np.array(['a', 'b'])",
          "np.array([1+1j])", "np.broadcast_to(np.array(1.0), (2**20, 2**20))",
          "np.zeros((2, 0, 3))", "np.array([c, c])", "np.array([1, 2], dtype=np.uint64)",
          "np.array([x*y, x + 1])", "np.array([nv.exp(x)])", "np.array([s])",
          "np.empty(3, dtype=nv.npvar)", "np.zeros((2, 2), dtype=nv.npexpr)",
          "np.empty(2, dtype=nv.npconstraint)", "X.astype(nv.npexpr)", "(X <= 1)",
          "np.ndarray(shape=(2**40, 0))", "np.array([2**70], dtype=object)"]
INDICES = ["0", "1", "-1", "5", "2**31", "2**63 - 1", "-(2**31) - 1", "10**20", "[0, 1]",
           "[0, 0]", "[-1]", "[5]", "[2**40]", "np.array([0, 1], dtype=np.int32)",
           "np.array([0.5])", "[x, 'c', 2]", "['y', 'nope']", "'X(0)'", "[None]", "[0, 'x']"]
POOL = NUMBERS + MODEL + OTHER + ARRAYS
BINOPS = ["+", "-", "*", "/", "**", "@", "//", "%", "<=", ">=", "==", "<", ">", "!=", "&", "|"]
UNARY = ["-{a}", "+{a}", "abs({a})", "~{a}", "str({a})", "repr({a})", "hash({a})", "float({a})",
         "int({a})", "len({a})", "bool({a})", "{a}[{i}]", "list({a})", "copy.copy({a})",
         "copy.deepcopy({a})", "pickle.dumps({a})", "{a}.copy()", "{a}.copy({n})",
         "np.sum({a})", "np.dot({a}, {b})", "np.add.reduce({a})", "np.asarray({a}).astype(float)",
         "np.array({a}) * {b}", "np.multiply.outer({a}, {b})", "sorted([{a}, {b}])", "{a} in {b}",
         "np.array({a}, dtype=nv.npvar)", "np.array({a}, dtype=nv.npexpr)", "{a}.byteswap()",
         "{a}.view({a}.dtype.newbyteorder())[0]", "np.sort({a})", "np.unique({a})",
         "np.outer({a}, {b})", "np.cumsum({a})", "np.resize({a}, 5)", "np.where({a})",
         "np.add.at({a}, [0, 0], {b})", "np.einsum('i,i', {a}, {b})", "{a}.fill({b})",
         "np.copyto({a}, {b})", "{a}.astype({b})", "np.maximum({a}, {b})", "{a}.tolist()",
         "np.concatenate([{a}, {b}])", "{a}.searchsorted({b})", "np.clip({a}, {b}, 1)",
         "np.multiply.reduce({a})", "np.add.accumulate({a})", "{a}.take([0, -1])",
         "{a}.put([0], {b})", "{a}[{i}] = {b}", "{a}.reshape(-1, 1) * {b}", "np.vstack([{a}, {b}])",
         "np.array({a}, dtype=nv.npconstraint)", "np.asarray({a}).astype(nv.npvar).sum()"]
MODFUNCS = ["vars", "var", "constraint", "sos", "Sum", "Dot", "Prod", "exp", "log", "log10",
            "sin", "cos", "tan", "asin", "acos", "atan", "sqrt", "abs", "sign", "min", "max",
            "And", "Or", "erf", "erfc", "user", "pwl", "evaluate", "setdefaultcontrol", "problem",
            "expression", "branchobj", "poolcut", "getlasterror", "setcheckedmode",
            "setOutputEnabled", "removecbmsghandler", "addcbmsghandler", "setarchconsistency"]
KWARGS = ["name", "lb", "ub", "rhs", "sense", "body", "type", "vartype", "threshold", "problem",
          "solution", "derivatives", "index", "first", "last", "flatten", "objective", "flags",
          "filename", "options", "nonexistent", "indices", "weights", "isoriginal"]
ATTRS = ["name", "lb", "ub", "threshold", "vartype", "index", "body", "rhs", "sense", "type",
         "indices", "weights", "constant", "coef", "var", "var1", "var2", "op", "args", "__dict__"]
# File names stay inside the child's scratch directory: as root, a writer that replaces its
# target would replace a device or any file of the system.
PATHS = ["''", "'.'", "'sub'", "'nodir/f'", "'a' * 5000", "'a\\x00b'", "'f.lp'", "'f.mps'",
         "'\\udcff'", "5", "None", "b'f.lp'", "'f'", "'link'", "'f.'", "' '"]
FILE_METHODS = ["write", "read", "readbasis", "writebasis", "writesol", "readslxsol", "writeslxsol",
                "writedirs", "readdirs", "save", "restore", "writebinsol", "readbinsol",
                "writeprtsol", "iiswrite", "setlogfile", "tunerwritemethod", "tunerreadmethod"]
ODD_MODELS = [
    "", "p.reset()", "p.addConstraint(x >= 3, x <= 1)", "p.setObjective(-x - y, sense=nv.minimize)",
    "p.setObjective(nv.exp(x) + y)", "p.addConstraint(nv.sin(x) + y <= 1)", "p.setObjective(x*y)",
    "p.addConstraint(x*x + y*y <= 1)", "p.addConstraint(nv.user(lambda a: a*a, x) <= 1)",
    "p.delVariable(x)", "p.delConstraint(c)", "p.addIndicator(b == 1, x <= 1)",
    "p.setObjective(x - 1e30*y)", "p.chgbounds([x], ['U'], [float('nan')])",
    "p.addConstraint(x <= float('nan'))", "p.setObjective(nv.pwl({(0, 1): x, (1, 3): 3 - x}))",
    "p.setControl('maxtime', 1)", "p.addConstraint(x/y >= 1)", "p.addVariable(nv.vars(4, 4))",
    "p.addSOS(s)", "p.addSOS(nv.sos([X[0], y], [2, 2], type=2))"]
# Scenarios around lifetimes, foreign objects and re-entrancy; {a}, {m} and {i} are filled in.
SCENARIOS = [
    "del p; gc.collect(); {a}",
    "p.reset(); p.{m}({i})",
    "q.{m}({a})",
    "q.getSolution({a})",
    "p.solve(); p.reset(); p.getSolution({a})",
    "p.solve(); p.delVariable(x); p.getSolution({a}); p.getDual(c)",
    "r = p.copy(); del p; gc.collect(); r.solve(); r.getSolution(x); r.{m}({i})",
    "nv.free(); p.{m}({i})",
    "nv.free(); p.solve(); p.getSolution()",
    "nv.free(); nv.init(); p.solve()",
    "p.addConstraint(nv.user(lambda v: (p.delVariable(y), v)[1], x) <= 5); p.solve()",
    "p.addConstraint(nv.user(lambda v: (p.reset(), v)[1], x) <= 5); p.solve()",
    "p.addConstraint(nv.user(lambda v: (p.{m}({i}), v)[1], x) <= 5); p.solve()",
    "p.addConstraint(nv.user(lambda v: 1/0, x) <= 5); p.solve()",
    "p.addConstraint(nv.user(lambda v: 'a', x) <= 5); p.solve()",
    "p.addConstraint(nv.user(lambda *v: {a}, x, y) <= 5); p.solve()",
    "nv.addcbmsghandler(lambda *a: p.{m}({i}), None, 0); nv.setOutputEnabled(True); p.solve()",
    "nv.addcbmsghandler(lambda *a: p.reset(), None, 0); nv.setOutputEnabled(True); p.solve()",
    "nv.addcbmsghandler(lambda *a: {a}, None, 0); nv.setOutputEnabled(True); p.solve()",
    "p.chgcoltype([b], ['I']); p.addConstraint(nv.user(lambda v: (p.{m}({i}), v)[1], x) <= 5); p.solve()",
    "o = nv.branchobj(p, {a}); o.{m}({i})",
    "o = nv.branchobj(p, [x <= 0, x >= 1]); p.reset(); str(o); o.{m}({i})",
    "p2 = nv.problem(); p2.addVariable(x); p2.addConstraint(c); p2.solve()",
    "p2 = nv.problem(); p2.addConstraint(c); p2.addVariable(x); p.delConstraint(c); p2.solve()",
    "p.addSOS(nv.sos([x, nv.var()], [1, 2])); p.solve()",
    "o = nv.branchobj(p, [x <= 0, x >= 1]); del p; gc.collect(); o.{m}({i})",
    "nv.addcbmsghandler(lambda *a: 1/0, None, 0); p.solve()",
    "nv.addcbmsghandler(lambda *a: 1/0, None, 0)\ntry: p.solve()\nexcept ZeroDivisionError: pass\np.{m}({i})",
    "nv.setdefaults(); nv.controls.{m} = {a}; nv.problem()",
    "e = x + y; e += {a}; e *= {b}; p.setObjective(e); p.solve()",
    "e = nv.Sum(X); X[0] = {a}; p.setObjective(e)",
    "p.setObjective({a}); p.solve(); p.getSolution({b})",
    "p.addConstraint({a}); p.solve()",
    "v = nv.var(); p.addVariable(v); p.delVariable(v); p.addVariable(v); p.getIndex(v); p.{m}({i})",
    "p.write({path}); q.read({path}); q.solve()",
    "p.read({path}, {a})",
]


def problem_methods():
    import nuvrel
    return sorted(m for m in dir(nuvrel.problem) if not m.startswith("_") and m[0].islower())


def docstring_examples():
    """The example calls of the problem methods' docstrings: valid calls to start from."""
    import nuvrel
    found = []
    for m in problem_methods():
        doc = getattr(nuvrel.problem, m).__doc__ or ""
        found += re.findall(r"(?m)^\s*(?:Example:\s*)?(p\.\w+\(.*\))\s*$", doc)
    return found


def mutate(rng, example):
    """The example with one argument, or one element of a list argument, replaced, dropped
    or joined by another."""
    tree = ast.parse(example)
    call = next(n for n in ast.walk(tree) if isinstance(n, ast.Call))
    new = ast.parse(rng.choice(POOL + INDICES + PATHS), mode="eval").body
    target = call.args
    lists = [a for a in call.args if isinstance(a, (ast.List, ast.Tuple)) and a.elts]
    if lists and rng.random() < 0.4:
        target = rng.choice(lists).elts
    how = rng.randrange(4)
    if how == 0 or not target:
        target.insert(rng.randint(0, len(target)), new)
    elif how == 1:
        del target[rng.randrange(len(target))]
    else:
        target[rng.randrange(len(target))] = new
    return ast.unparse(tree)


TOKENS = """[b"", b" ", b"\\n", b"\\t", b"\\r", b"\\x00", b"\\xff", b"-", b"+", b":", b"1e999", b"nan",
  b"-inf", b"0", b"9" * 400, b"x" * 300, b"RHS", b"BOUNDS", b"MARKER", b"'INTORG'", b"COLUMNS",
  b"ROWS", b"ENDATA", b"Subject To", b"<=", b">=", b"=", b"[", b"]", b"^2", b"*", b"/",
  b"Bounds", b"Generals", b"End", b"free", b"SOS", b"S1::", b"sin(", b")"]"""


def data_files():
    """Small problem files of the shared data set (beside the checkout), to damage and read."""
    here = os.path.dirname(os.path.abspath(__file__))
    while here != os.path.dirname(here):
        here = os.path.dirname(here)
        data = os.path.join(here, "shared", "data")
        if os.path.isdir(data):
            return sorted(os.path.join(data, f) for f in os.listdir(data)
                          if f.endswith((".lp", ".mps")) and os.path.getsize(os.path.join(data, f)) < 4000)
    return []


def damaged_file(rng, files):
    """A problem file (a data file, or one the set-up problem writes) damaged at random places,
    read into a problem that is then solved."""
    if files and rng.random() < 0.5:
        src = rng.choice(files)
        pre, ext = f"t = bytearray(open({src!r}, 'rb').read())", src[src.rfind("."):]
    else:
        model = rng.choice(["", "p.addConstraint(nv.sin(x) * y <= 1)\n", "p.addSOS(s)\n",
                            "p.addConstraint(x * y <= 1); p.chgcoltype([b], ['I'])\n"])
        ext = rng.choice([".lp", ".mps"])
        pre = f"{model}p.write('m{ext}')\nt = bytearray(open('m{ext}', 'rb').read())"
    return (f"{pre}\nr = random.Random({rng.randrange(10**6)}); T = {TOKENS}\n"
            f"for _ in range({rng.randint(1, 8)}):\n"
            f"    i = r.randrange(len(t) + 1); t[i:i + r.randint(0, 4)] = r.choice(T)\n"
            f"open('d{ext}', 'wb').write(t); q.read('d{ext}'); q.solve(); q.getSolution()")


def gen_case(rng, methods, examples, files=()):
    """One case: Python source text run after SETUP."""
    pick = rng.choice
    a, b = f"({pick(POOL)})", f"({pick(POOL)})"
    i = pick(INDICES)

    def args(k):
        return ", ".join(pick(POOL + INDICES + PATHS) for _ in range(k))

    def kw(sep=", "):
        return f"{sep}{pick(KWARGS)}={pick(POOL + INDICES)}" if rng.random() < 0.3 else ""

    kind = rng.choices(range(10), weights=[20, 10, 15, 15, 5, 10, 6, 4, 15, 6])[0]
    if kind == 9:
        return "import random\n" + damaged_file(rng, files)
    if kind == 8:
        pre = pick(ODD_MODELS) + "\n" if rng.random() < 0.3 else ""
        ex = pick(examples)
        return pre + (mutate(rng, ex) if rng.random() < 0.85 else ex)
    if kind == 0:
        op = pick(BINOPS)
        inplace = rng.random() < 0.2 and op not in ("<=", ">=", "==", "<", ">", "!=")
        return f"t = {a}; t {op}= {b}" if inplace else f"{a} {op} {b}"
    if kind == 1:
        return "import copy, pickle\n" + pick(UNARY).format(a=a, b=b, i=i, n=pick(NUMBERS))
    if kind == 2:
        a = args(rng.randint(0, 3))
        return f"nv.{pick(MODFUNCS)}({a}{kw(', ' if a else '')})"
    if kind == 3:
        m = pick(methods)
        pre = pick(ODD_MODELS) + "\n" if rng.random() < 0.3 else ""
        a = args(rng.randint(0, 6))
        return pre + f"p.{m}({a}{kw(', ' if a else '')})"
    if kind == 4:
        t = pick(ATTRS)
        return f"t = {a}; t.{t}\nt.{t} = {b}\nt.{t}"
    if kind == 5:
        return pick(ODD_MODELS) + "\np.solve(); p.getSolution(); p.getSlack(); p.getProbStatusString()"
    if kind == 6:
        m = pick(methods)
        return pick(SCENARIOS).format(a=a, b=b, i=args(rng.randint(0, 4)), m=m, path=pick(PATHS))
    return f"p.{pick(FILE_METHODS)}({pick(PATHS)}{kw()})"


CHILD = r"""
import faulthandler, gc, json, os, resource, sys
faulthandler.enable()
# An allocation of gigabytes for a small input fails here as MemoryError, and spares the machine.
resource.setrlimit(resource.RLIMIT_AS, (4 << 30, 4 << 30))
limit = int(sys.argv[2])
proto = os.fdopen(int(sys.argv[3]), "w")  # case progress; stdout and stderr are the cases' own
unraised = []
sys.unraisablehook = lambda u: unraised.append(f"{u.exc_type.__name__}: {u.exc_value} in {u.object!r}")
setup = open(sys.argv[1] + ".setup").read()
for k, code in enumerate(json.load(open(sys.argv[1]))):
    print("S", k, file=proto, flush=True)
    res = ["ok", ""]
    try:
        exec(compile(setup + code + "\n", "<case>", "exec"), {"__name__": "__case__"})
        gc.collect()
    except SystemError as e:
        res = ["FAIL", f"SystemError: {e}"]
    except MemoryError as e:
        res = ["FAIL", f"MemoryError: {e}"]
    except BaseException as e:
        res = ["exc", f"{type(e).__module__}.{type(e).__name__}: {str(e)[:limit]}"]
    finally:  # the library released by a case must not fail every later case of the batch
        if "free()" in code:
            try:
                __import__("nuvrel").init()
            except Exception:
                pass
    if unraised:
        res = ["FAIL", "unraisable " + "; ".join(unraised)]
        unraised.clear()
    print("D", json.dumps(res), file=proto, flush=True)
"""


def run_batch(cases, timeout, workdir, msglimit=300):
    """Runs cases in one child; returns (index of failing case or None, reason, messages)."""
    path = os.path.join(workdir, "batch.json")
    with open(path, "w") as f:
        json.dump(cases, f)
    with open(path + ".setup", "w") as f:
        f.write(SETUP)
    rfd, wfd = os.pipe()
    # The child runs in the scratch directory: the package it imports must be this one.
    env = dict(os.environ, PYTHONPATH=os.pathsep.join(os.path.abspath(p) for p in sys.path if p))
    with open(os.path.join(workdir, "output.txt"), "w+") as out:
        child = subprocess.Popen([sys.executable, "-c", CHILD, path, str(msglimit), str(wfd)],
                                 cwd=workdir, stdout=out, stderr=out, pass_fds=(wfd,), env=env)
        os.close(wfd)
        try:
            return watch(child, rfd, out, timeout)
        finally:
            os.close(rfd)


def lines(fd, timeout):
    """The progress lines of the child; None when none came for timeout seconds."""
    buf, deadline = b"", time.time() + timeout
    while True:
        while b"\n" in buf:
            line, buf = buf.split(b"\n", 1)
            deadline = time.time() + timeout
            yield line.decode()
        if not select.select([fd], [], [], max(0.0, deadline - time.time()))[0]:
            yield None
            return
        chunk = os.read(fd, 65536)
        if not chunk:
            return
        buf += chunk


def watch(child, fd, out, timeout):
    current, msgs = None, []
    for line in lines(fd, timeout):
        if line is None:
            child.kill()
            child.wait()
            return current, f"hang: no progress for {timeout} s", msgs
        tag, rest = line.rstrip("\n").split(" ", 1)
        if tag == "S":
            current = int(rest)
        else:
            status, text = json.loads(rest)
            if status == "FAIL":
                child.kill()
                child.wait()
                return current, text, msgs
            if status == "exc":
                msgs.append(text)
            current = None
    child.wait()
    if child.returncode != 0:
        out.seek(0)
        tail = " | ".join(out.read()[-3000:].strip().splitlines()[-6:])
        return current, f"exit status {child.returncode}: {tail}", msgs
    return None, "", msgs


HUGE = ("2**20", "2**40")  # the pool's deliberately huge arrays
OURS = {"nv", "nuvrel", "x", "y", "b", "X", "p", "q", "c", "s", "c1", "c2", "z", "x1", "x2", "x3"}
# setOutputEnabled returns None with its ModelError set on purpose (scripts depend on it).
KNOWN = ("<built-in function setOutputEnabled> returned a result with an exception set",)


def excused(case, why):
    """Failures that are fair: running out of memory or time on a huge array, known ones."""
    if why.startswith(("MemoryError", "hang")) and any(h in case for h in HUGE):
        return True
    if why.startswith("hang") and "[2**70]" in case:  # the interpreter's own big integers
        return True
    try:  # a case that touches no object of ours shows a fault of numpy or the interpreter
        names = {n.id for n in ast.walk(ast.parse(case)) if isinstance(n, ast.Name)}
    except SyntaxError:
        return False
    if not names & OURS:
        return True
    return any(k in why for k in KNOWN)


def minimise(cases, k, timeout, workdir):
    """The failing case alone, else a prefix of its batch with cases dropped greedily."""
    if run_batch([cases[k]], timeout, workdir)[0] is not None:
        return [cases[k]]
    keep = cases[:k + 1]
    for j in range(len(keep) - 2, -1, -1):
        trial = keep[:j] + keep[j + 1:]
        if run_batch(trial, timeout, workdir)[0] == len(trial) - 1:
            keep = trial
    return keep if run_batch(keep, timeout, workdir)[0] == len(keep) - 1 else None


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("--seconds", type=float, default=60)
    ap.add_argument("--seed", type=int, default=0)
    ap.add_argument("--batch", type=int, default=40)
    ap.add_argument("--timeout", type=float, default=10, help="per case, seconds")
    ap.add_argument("--messages", help="write the distinct exception messages to this file")
    ap.add_argument("--replay", help="run the cases of a JSON file (list of strings) one by one")
    opt = ap.parse_args()
    rng, methods, examples = random.Random(opt.seed), problem_methods(), docstring_examples()
    files = data_files()
    print("testing", __import__("nuvrel").__file__, flush=True)
    seen, ncases, messages = {}, 0, collections.Counter()
    end = time.time() + opt.seconds
    with tempfile.TemporaryDirectory(prefix="nvfuzz") as workdir:
        os.mkdir(os.path.join(workdir, "sub"))
        os.symlink("f.lp", os.path.join(workdir, "link"))
        replay = json.load(open(opt.replay)) if opt.replay else None
        while time.time() < end and (replay is None or replay):
            if replay is not None:
                cases, replay = replay[:1], replay[1:]
            else:
                cases = [gen_case(rng, methods, examples, files) for _ in range(opt.batch)]
            while cases:
                k, why, msgs = run_batch(cases, opt.timeout, workdir)
                messages.update(m.split(":")[0] + ": " + m.split(": ", 1)[-1][:120] for m in msgs)
                ncases += len(cases) if k is None else k + 1
                if k is None:
                    break
                key = why.split(" in <")[0][:160]
                if excused(cases[k], why):
                    pass
                elif key not in seen:
                    seen[key] = minimise(cases, k, opt.timeout, workdir)
                    print(f"\n=== failure {len(seen)}: {why}", flush=True)
                    repro = seen[key]
                    if repro is None:
                        print("(not reproducible on its own or with its batch)\n" + cases[k])
                    else:
                        print(SETUP + "\n".join(f"# case\n{c}" for c in repro), flush=True)
                cases = cases[k + 1:]
    print(f"\nseed {opt.seed}: {ncases} cases, {len(seen)} distinct failures", flush=True)
    if opt.messages:
        with open(opt.messages, "w") as f:
            for m, n in sorted(messages.items()):
                f.write(f"{n:6d}  {m}\n")
    return 1 if seen else 0


if __name__ == "__main__":
    sys.exit(main())
