#!/usr/bin/env python3
"""Reader and checker of nonlinear problem files (free MPS with NLCOEFFICIENTS and
INITIALVALUES; see docs/nonlinear_files.md).

This is an independent second reading of the format in plain Python: it evaluates objective
and rows at a point, so that the test data can be checked against the published optima
without the engine, and it builds models for other solvers (the benchmark uses it).

    python tools/nlp_files.py check [FILE ...]    # default: engine/tests/data/nlp/*.mps

For every file, the point of its `* solution` comment must lie within its bounds and satisfy
its rows to 1e-6 and give the `* optimum` to 1e-6 relative; for files with integer columns
the optimum is also confirmed by enumerating every integer point.
"""
from __future__ import annotations

import itertools
import math
import pathlib
import re
import sys

INF = 1e20
FEAS_TOL = 1e-6
OPT_RTOL = 1e-6
ENUM_LIMIT = 2_000_000

DATA_DIR = pathlib.Path(__file__).resolve().parent.parent / "engine" / "tests" / "data" / "nlp"


class FileError(Exception):
    """A file this reader cannot understand; the message names the file and line."""


def parse_number(word: str) -> float:
    w = word.strip()
    low = w.lower().lstrip("+-")
    if low in ("inf", "infinity"):
        v = math.inf
    else:
        # Fortran writers use D for the exponent.
        if not re.fullmatch(r"[+-]?(\d+\.?\d*|\.\d+)([eEdD][+-]?\d+)?", w):
            raise ValueError(f"not a number: {word!r}")
        v = float(w.replace("d", "e").replace("D", "e").lstrip("+-"))
    v = -v if w.startswith("-") else v
    if v >= INF:
        return math.inf
    if v <= -INF:
        return -math.inf
    return v


# ---------------------------------------------------------------------------------------------
# Formulas: infix text -> Python source over a namespace F of functions and a vector x.

# A name is a run of characters other than blanks, operators, brackets and commas that does
# not read as a number (a number running on into such characters is a name: 2x).
_NAME_CHAR = r"[^\s+\-*/^(),]"
_TOKEN = re.compile(
    r"\s*(?:(?P<num>(?:\d+\.?\d*|\.\d+)(?:[eEdD][+-]?\d+)?)(?!" + _NAME_CHAR + ")"
    r"|(?P<name>" + _NAME_CHAR + "+)"
    r"|(?P<op>\*\*|[-+*/^(),]))")

FUNCTIONS = {"log10", "ln", "exp", "abs", "sqrt", "sin", "cos", "tan", "arcsin", "arccos",
             "arctan", "min", "max", "pwl", "sign", "erf", "erfc"}


def formula_to_python(text: str, col_index) -> tuple[str, list[int]]:
    """Python source for an infix formula over x[...] and F.<function>, and the columns used.

    Only the tokens of the formula syntax reach the source, so evaluating it runs nothing but
    arithmetic and F's functions."""
    out, cols, pos, prev = [], [], 0, None
    text = text.strip()
    while pos < len(text):
        m = _TOKEN.match(text, pos)
        if not m or m.end() == pos:
            raise ValueError(f"unexpected character {text[pos:].lstrip()[:1]!r} in formula")
        pos = m.end()
        if m.group("num"):
            out.append(repr(float(m.group("num").replace("d", "e").replace("D", "e"))))
            prev = "value"
        elif m.group("name"):
            name = m.group("name")
            following = text[pos:].lstrip()[:1]
            if name.lower() in FUNCTIONS and following == "(":
                out.append("F." + name.lower())
                prev = "func"
            else:
                j = col_index(name)
                if j is None:
                    raise ValueError(f"unknown column {name!r} in formula")
                out.append(f"x[{j}]")
                cols.append(j)
                prev = "value"
        else:
            op = m.group("op")
            out.append("**" if op in ("^", "**") else op)
            prev = op
    if not out:
        raise ValueError("empty formula")
    src = " ".join(out)
    try:
        compile(src, "<formula>", "eval")
    except SyntaxError:
        raise ValueError("formula syntax error") from None
    return src, sorted(set(cols))


def _pwl(x, *pts):
    """Piecewise-linear interpolation through (x0, y0, x1, y1, ...), continued by the end
    segments beyond the first and last breakpoints."""
    xs, ys = pts[0::2], pts[1::2]
    if len(xs) < 2 or len(xs) != len(ys):
        raise ValueError("pwl needs at least two breakpoints")
    k = 0
    while k < len(xs) - 2 and x > xs[k + 1]:
        k += 1
    return ys[k] + (ys[k + 1] - ys[k]) * (x - xs[k]) / (xs[k + 1] - xs[k])


class MathFunctions:
    """F for evaluating formulas at a point of floats."""
    log10 = staticmethod(math.log10)
    ln = staticmethod(math.log)
    exp = staticmethod(math.exp)
    abs = staticmethod(abs)
    sqrt = staticmethod(math.sqrt)
    sin = staticmethod(math.sin)
    cos = staticmethod(math.cos)
    tan = staticmethod(math.tan)
    arcsin = staticmethod(math.asin)
    arccos = staticmethod(math.acos)
    arctan = staticmethod(math.atan)
    min = staticmethod(min)
    max = staticmethod(max)
    pwl = staticmethod(_pwl)
    sign = staticmethod(lambda v: (v > 0) - (v < 0))
    erf = staticmethod(math.erf)
    erfc = staticmethod(math.erfc)


def casadi_functions():
    """F for building casadi expressions from formulas."""
    import casadi as ca

    class CasadiFunctions:
        log10 = staticmethod(ca.log10)
        ln = staticmethod(ca.log)
        exp = staticmethod(ca.exp)
        abs = staticmethod(ca.fabs)
        sqrt = staticmethod(ca.sqrt)
        sin = staticmethod(ca.sin)
        cos = staticmethod(ca.cos)
        tan = staticmethod(ca.tan)
        arcsin = staticmethod(ca.asin)
        arccos = staticmethod(ca.acos)
        arctan = staticmethod(ca.atan)
        min = staticmethod(lambda *a: _fold(ca.fmin, a))
        max = staticmethod(lambda *a: _fold(ca.fmax, a))
        sign = staticmethod(ca.sign)
        erf = staticmethod(ca.erf)
        erfc = staticmethod(lambda v: 1 - ca.erf(v))

        @staticmethod
        def pwl(x, *pts):
            xs, ys = pts[0::2], pts[1::2]
            slopes = [(ys[k + 1] - ys[k]) / (xs[k + 1] - xs[k]) for k in range(len(xs) - 1)]
            v = ys[0] + slopes[0] * (x - xs[0])
            for k in range(1, len(slopes)):
                v = v + (slopes[k] - slopes[k - 1]) * ca.fmax(x - xs[k], 0)
            return v

    return CasadiFunctions


def _fold(f, args):
    acc = args[0]
    for a in args[1:]:
        acc = f(acc, a)
    return acc


# ---------------------------------------------------------------------------------------------
# The problem and its reader.

class NlCoefficient:
    def __init__(self, row, col, factor, text, source, line):
        self.row, self.col, self.factor, self.text = row, col, factor, text
        self.source, self.line = source, line
        self.fn = eval("lambda x, F: " + source, {"__builtins__": {}})


class Problem:
    def __init__(self):
        self.name = ""
        self.sense = 1  # 1 minimise, -1 maximise
        self.cols, self.col_index = [], {}
        self.lb, self.ub, self.integer = [], [], []
        self.rows, self.row_index = [], {}  # constraint rows only (the objective is separate)
        self.row_type, self.rhs, self.range = [], [], []
        self.obj_name = None
        self.obj = {}         # col -> linear objective coefficient
        self.obj_const = 0.0
        self.A = []           # per row: {col: coefficient}
        self.qobj = {}        # (i, j) with i <= j -> coefficient of the matrix Q in 1/2 x'Qx
        self.qrow = {}        # row -> {(i, j): Q_ij} listed in full, the row gets x'Qx
        self.nl = []          # NlCoefficient; row -1 objective, col -1 constant column
        self.initial = {}
        self.optimum = None
        self.tolerance = None
        self.solution = None  # {name: value}
        self.comments = []

    # Row -1 is the objective.
    def row_of(self, name):
        if name == self.obj_name:
            return -1
        return self.row_index.get(name)

    def free_rows(self):
        return [i for i, t in enumerate(self.row_type) if t == "N"]

    # -- evaluation ----------------------------------------------------------------------
    def row_values(self, x, F=MathFunctions):
        """Objective (with its constant) and the activity of every row at x."""
        obj = self.obj_const + sum(c * x[j] for j, c in self.obj.items())
        for (i, j), q in self.qobj.items():
            obj += (0.5 * q * x[i] * x[i]) if i == j else q * x[i] * x[j]
        acts = [sum(c * x[j] for j, c in a.items()) for a in self.A]
        for r, q in self.qrow.items():
            acts[r] = acts[r] + sum(v * x[i] * x[j] for (i, j), v in q.items())
        for c in self.nl:
            term = c.factor * c.fn(x, F)
            if c.col >= 0:
                term = term * x[c.col]
            if c.row < 0:
                obj = obj + term
            else:
                acts[c.row] = acts[c.row] + term
        return obj, acts

    def row_bounds(self, r):
        t, b, rg = self.row_type[r], self.rhs[r], self.range[r]
        if t == "N":
            return -math.inf, math.inf
        if t == "E":
            if rg is None:
                return b, b
            return (b, b + rg) if rg > 0 else (b + rg, b)
        if t == "L":
            return (b - abs(rg) if rg is not None else -math.inf), b
        return b, (b + abs(rg) if rg is not None else math.inf)

    def violations(self, x, tol=FEAS_TOL):
        """Descriptions of what x violates (bounds, integrality, rows), scaled tolerances."""
        bad = []
        for j, name in enumerate(self.cols):
            v = x[j]
            if v < self.lb[j] - tol * max(1, abs(self.lb[j])) or \
               v > self.ub[j] + tol * max(1, abs(self.ub[j])):
                bad.append(f"column {name} = {v!r} outside [{self.lb[j]}, {self.ub[j]}]")
            if self.integer[j] and abs(v - round(v)) > tol:
                bad.append(f"integer column {name} = {v!r}")
        _, acts = self.row_values(x)
        for r, name in enumerate(self.rows):
            lo, hi = self.row_bounds(r)
            a = acts[r]
            if a < lo - tol * max(1, abs(lo)) or a > hi + tol * max(1, abs(hi)):
                bad.append(f"row {name} = {a!r} outside [{lo}, {hi}]")
        return bad

    def start_point(self):
        """The initial values, else the point of the bounds nearest to 0."""
        x = []
        for j, name in enumerate(self.cols):
            if name in self.initial:
                x.append(self.initial[name])
            else:
                x.append(min(max(0.0, self.lb[j]), self.ub[j]))
        return x


_SECTIONS = {"NAME", "OBJSENSE", "OBJNAME", "ROWS", "COLUMNS", "RHS", "RANGES", "BOUNDS",
             "QUADOBJ", "QMATRIX", "QCMATRIX", "QSECTION", "NLCOEFFICIENTS", "INITIALVALUES",
             "ENDATA"}


def read(path) -> Problem:
    path = pathlib.Path(path)
    p = Problem()
    section, qrow, qfull, integer_marker = None, None, False, False
    lineno = 0

    def fail(msg):
        raise FileError(f"{path.name}:{lineno}: {msg}")

    def col(name):
        if name not in p.col_index:
            fail(f"unknown column {name!r}")
        return p.col_index[name]

    def num(word):
        try:
            return parse_number(word)
        except ValueError:
            fail(f"not a number: {word!r}")

    for lineno, line in enumerate(path.read_text().splitlines(), 1):
        if line.startswith("*"):
            _comment(p, line[1:].strip(), fail)
            continue
        if not line.strip():
            continue
        words = line.split()
        if not line[0].isspace():
            key = words[0]
            if key not in _SECTIONS:
                fail(f"unknown section {key!r}")
            section = key
            if key == "NAME":
                p.name = words[1] if len(words) > 1 else path.stem
            elif key == "OBJSENSE" and len(words) > 1:
                p.sense = _sense(words[1], fail)
            elif key in ("QUADOBJ", "QMATRIX"):
                qrow, qfull = -1, key == "QMATRIX"
            elif key in ("QCMATRIX", "QSECTION"):
                r = p.row_of(words[1]) if len(words) > 1 else None
                if r is None:
                    fail(f"{key} needs a known row name")
                qrow, qfull = r, r >= 0 or key == "QMATRIX"
                if r >= 0:
                    p.qrow.setdefault(r, {})
            elif key == "ENDATA":
                break
            continue

        if section == "OBJSENSE":
            p.sense = _sense(words[0], fail)
        elif section == "ROWS":
            t, name = words[0].upper(), words[1]
            if t == "N" and p.obj_name is None:
                p.obj_name = name
            elif t in "NLGE":
                p.row_index[name] = len(p.rows)
                p.rows.append(name)
                p.row_type.append(t)
                p.rhs.append(0.0)
                p.range.append(None)
                p.A.append({})
            else:
                fail(f"unknown row type {t!r}")
        elif section == "COLUMNS":
            if len(words) >= 3 and words[1].strip("'") == "MARKER":
                integer_marker = words[2].strip("'") == "INTORG"
                continue
            name = words[0]
            j = p.col_index.get(name)
            if j is None:
                j = p.col_index[name] = len(p.cols)
                p.cols.append(name)
                p.lb.append(0.0)
                p.ub.append(math.inf)
                p.integer.append(integer_marker)
            for k in range(1, len(words) - 1, 2):
                r, v = p.row_of(words[k]), num(words[k + 1])
                if r is None:
                    fail(f"unknown row {words[k]!r}")
                if r < 0:
                    p.obj[j] = v
                else:
                    p.A[r][j] = v
        elif section in ("RHS", "RANGES"):
            # The vector name may be left out: then there is an even number of words.
            items = words[1:] if len(words) % 2 else words
            for k in range(0, len(items) - 1, 2):
                r, v = p.row_of(items[k]), num(items[k + 1])
                if r is None:
                    fail(f"unknown row {items[k]!r}")
                if section == "RHS":
                    if r < 0:
                        p.obj_const = -v
                    else:
                        p.rhs[r] = v
                elif r >= 0:
                    p.range[r] = v
        elif section == "BOUNDS":
            t = words[0].upper()
            rest = words[1:]
            needs_value = t not in ("FR", "MI", "PL", "BV")
            if len(rest) == (2 if needs_value else 1):
                rest = ["bnd"] + rest
            j = col(rest[1])
            v = num(rest[2]) if needs_value else None
            if t == "UP" or t == "UI":
                if v < 0 and p.lb[j] == 0:
                    p.lb[j] = -math.inf
                p.ub[j] = v
            elif t in ("LO", "LI"):
                p.lb[j] = v
            elif t == "FX":
                p.lb[j] = p.ub[j] = v
            elif t == "FR":
                p.lb[j], p.ub[j] = -math.inf, math.inf
            elif t == "MI":
                p.lb[j] = -math.inf
            elif t == "PL":
                p.ub[j] = math.inf
            elif t == "BV":
                p.lb[j], p.ub[j], p.integer[j] = 0.0, 1.0, True
            else:
                fail(f"bound type {t!r} not supported here")
            if t in ("UI", "LI"):
                p.integer[j] = True
        elif section in ("QUADOBJ", "QMATRIX", "QCMATRIX", "QSECTION"):
            i, j, v = col(words[0]), col(words[1]), num(words[2])
            if qrow < 0:
                key = (min(i, j), max(i, j))
                if qfull and i != j:
                    v /= 2  # the full matrix lists each off-diagonal pair twice
                p.qobj[key] = p.qobj.get(key, 0.0) + v
            else:
                p.qrow[qrow][(i, j)] = p.qrow[qrow].get((i, j), 0.0) + v
        elif section == "NLCOEFFICIENTS":
            m = re.match(r"\s*(\S+)\s+(\S+)\s+(\S+)\s+(.*)$", line)
            if not m:
                fail("a nonlinear coefficient needs a row, a column, a factor and a formula")
            rname, cname, fword, text = m.groups()
            r = p.row_of(rname)
            if r is None:
                fail(f"unknown row {rname!r}")
            c = -1 if cname == "=" else col(cname)
            try:
                src, _ = formula_to_python(text, p.col_index.get)
            except ValueError as e:
                fail(str(e))
            if any(k.row == r and k.col == c for k in p.nl):
                fail(f"second coefficient for row {rname!r} and column {cname!r}")
            p.nl.append(NlCoefficient(r, c, num(fword), text.strip(), src, lineno))
        elif section == "INITIALVALUES":
            if len(words) != 2:
                fail("an initial value needs a column and a value")
            col(words[0])
            p.initial[words[0]] = num(words[1])
        else:
            fail(f"data line outside a known section: {line.strip()!r}")
    else:
        raise FileError(f"{path.name}: file ends without ENDATA")
    if p.obj_name is None:
        raise FileError(f"{path.name}: no objective row")
    if p.solution is not None:
        unknown = set(p.solution) - set(p.col_index)
        if unknown:
            raise FileError(f"{path.name}: solution names unknown columns {sorted(unknown)}")
    return p


def _sense(word, fail):
    w = word.upper()
    if w in ("MIN", "MINIMIZE", "MINIMISE"):
        return 1
    if w in ("MAX", "MAXIMIZE", "MAXIMISE"):
        return -1
    fail(f"unknown objective sense {word!r}")


def _comment(p, text, fail):
    p.comments.append(text)
    words = text.split()
    if not words:
        return
    if words[0] == "optimum":
        try:
            p.optimum = parse_number(words[1])
            if len(words) >= 4 and words[2] == "tolerance":
                p.tolerance = parse_number(words[3])
        except (ValueError, IndexError):
            fail("optimum comment: '* optimum VALUE [tolerance TOL]'")
    elif words[0] == "solution":
        if len(words) % 2 == 0:
            fail("solution comment: '* solution NAME VALUE NAME VALUE ...'")
        p.solution = p.solution or {}
        for k in range(1, len(words), 2):
            try:
                p.solution[words[k]] = parse_number(words[k + 1])
            except ValueError:
                fail(f"solution comment: not a number {words[k + 1]!r}")


def casadi_problem(p: Problem) -> dict:
    """The problem as casadi expressions for nlpsol: x, f (to be minimised: a maximisation's
    objective is negated), g with its bounds, the column bounds and the starting point."""
    import casadi as ca
    x = ca.SX.sym("x", len(p.cols))
    f, acts = p.row_values([x[j] for j in range(len(p.cols))], casadi_functions())
    rows = [r for r in range(len(p.rows)) if p.row_type[r] != "N"]
    bounds = [p.row_bounds(r) for r in rows]
    return {"x": x, "f": p.sense * f, "g": ca.vertcat(*[acts[r] for r in rows]),
            "lbg": [b[0] for b in bounds], "ubg": [b[1] for b in bounds],
            "lbx": list(p.lb), "ubx": list(p.ub), "x0": p.start_point()}


# ---------------------------------------------------------------------------------------------
# Checking the data.

def enumerate_optimum(p: Problem):
    """The best objective over every integer point (all columns must be bounded integers)."""
    if not all(p.integer):
        raise FileError(f"{p.name}: enumeration needs every column integer")
    ranges = []
    for j in range(len(p.cols)):
        if not (math.isfinite(p.lb[j]) and math.isfinite(p.ub[j])):
            raise FileError(f"{p.name}: enumeration needs finite bounds on {p.cols[j]}")
        ranges.append(range(math.ceil(p.lb[j]), math.floor(p.ub[j]) + 1))
    if math.prod(len(r) for r in ranges) > ENUM_LIMIT:
        raise FileError(f"{p.name}: too many integer points to enumerate")
    best, arg = None, None
    for point in itertools.product(*ranges):
        x = [float(v) for v in point]
        try:
            if p.violations(x, tol=1e-9):
                continue
            f, _ = p.row_values(x)
        except (ValueError, ZeroDivisionError, OverflowError):
            continue
        if best is None or p.sense * f < p.sense * best:
            best, arg = f, x
    return best, arg


def check_file(path) -> list[str]:
    """What is wrong with a data file (an empty list when nothing is)."""
    try:
        p = read(path)
    except FileError as e:
        return [str(e)]
    errors = []
    if p.optimum is None or p.solution is None:
        return [f"{path.name}: needs '* optimum' and '* solution' comments"]
    missing = [c for c in p.cols if c not in p.solution]
    if missing:
        return [f"{path.name}: solution lacks {missing}"]
    x = [p.solution[c] for c in p.cols]
    try:
        errors += [f"{path.name}: {v}" for v in p.violations(x)]
        f, _ = p.row_values(x)
    except (ValueError, ZeroDivisionError, OverflowError) as e:
        return errors + [f"{path.name}: cannot evaluate at the solution: {e}"]
    if abs(f - p.optimum) > OPT_RTOL * max(1.0, abs(p.optimum)):
        errors.append(f"{path.name}: objective {f!r} at the solution, optimum {p.optimum!r}")
    try:
        p.row_values(p.start_point())
    except (ValueError, ZeroDivisionError, OverflowError) as e:
        errors.append(f"{path.name}: cannot evaluate at the starting point: {e}")
    if any(p.integer):
        try:
            best, arg = enumerate_optimum(p)
        except FileError as e:
            return errors + [str(e)]
        if best is None:
            errors.append(f"{path.name}: no feasible integer point")
        elif abs(best - p.optimum) > OPT_RTOL * max(1.0, abs(p.optimum)):
            errors.append(f"{path.name}: enumeration finds {best!r} at {arg}, "
                          f"optimum {p.optimum!r}")
    return errors


def main(argv):
    if not argv or argv[0] != "check":
        print(__doc__)
        return 2
    files = [pathlib.Path(a) for a in argv[1:]] or sorted(DATA_DIR.glob("*.mps"))
    if not files:
        print(f"no files in {DATA_DIR}")
        return 1
    failed = 0
    for path in files:
        errors = check_file(path)
        failed += bool(errors)
        for e in errors:
            print("FAIL", e)
    print(f"{len(files) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
