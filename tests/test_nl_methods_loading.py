"""The nonlinear methods that load coefficients and column settings: models built from token
formulas reach the optima of the same models built with operators (test_nonlin_solve.py's
circle), formulas read back as tokens and as
text and loaded again, and refused input."""

import math

import pytest

import nuvrel as nv
from conftest import nl_formulas

EXP, LN = 16, 15


def tok(*pairs):
    """Parallel type and value lists of a formula, end token added."""
    return [t for t, _ in pairs] + [0], [float(v) for _, v in pairs] + [0.0]


# x^2 + y^2 + 1 in reverse Polish order (columns 0 and 1).
SUMSQ = [(10, 0), (10, 0), (31, 3), (10, 1), (10, 1), (31, 3), (31, 5), (1, 1), (31, 5)]
# exp(ln(x^2 + y^2 + 1)): every function's arguments follow an argument-list marker.
DISC = tok((22, 0), (22, 0), *SUMSQ, (12, LN), (12, EXP))
# exp(x) + exp(y)
EXPSUM = tok((22, 0), (10, 0), (12, EXP), (22, 0), (10, 1), (12, EXP), (31, 5))


def by_methods(objective):
    """max x + y (or min exp(x) + exp(y)) on exp(ln(x^2 + y^2 + 1)) <= 3, x, y in [-3, 3],
    from arrays and token formulas alone."""
    p = nv.problem(name="methods")
    p.loadproblem("methods", ["L"], [3.0], None, [1.0, 1.0] if objective == "linear" else
                  [0.0, 0.0], [0, 0, 0], None, [], [], [-3.0, -3.0], [3.0, 3.0])
    types, values = list(DISC[0]), list(DISC[1])
    rows, cols, starts = [0], [-1], [0]
    if objective == "linear":
        p.chgobjsense(nv.maximize)
    else:
        starts.append(len(types))
        rows.append(-1)
        cols.append(-1)
        types += EXPSUM[0]
        values += EXPSUM[1]
    p.loadcoefs(rows, cols, None, starts, 1, types, values)
    p.loadvars([0, 1], initvalue=[0.5, 0.25])
    return p


@pytest.mark.parametrize("objective,optimum,point", [
    ("linear", 2.0, [1.0, 1.0]),
    ("nonlinear", 2 / math.e, [-1.0, -1.0]),
])
def test_methods_model_solves_like_operator_model(objective, optimum, point):
    low = by_methods(objective)
    low.nlpoptimize()
    assert low.getObjVal() == pytest.approx(optimum, abs=1e-6)
    assert low.getslpsol()[:2] == pytest.approx(point, abs=1e-4)
    # Loaded coefficients make the problem nonlinear for the modelling layer's solve too.
    low.solve()
    assert low.getObjVal() == pytest.approx(optimum, abs=1e-6)
    assert low.getSolution(low.getVariable(first=0)) == pytest.approx(point, abs=1e-4)


def _expressions():
    x, y = nv.var(lb=0.5, ub=3, name="x"), nv.var(lb=0.5, ub=3, name="y")
    f = {
        "product": x * nv.sin(y),
        "scaled": 3 * x * nv.cos(y) * 2,
        "functions": nv.tan(x / 4) + nv.asin(y / 4) + nv.acos(x / 4) + nv.atan(y),
        "logs": nv.log(x) - nv.log10(y) + nv.sqrt(x * y) + nv.abs(x - 2 * y),
        "powers": x ** y + (x + 1) ** 2.5 - y ** -1,
        "quotient": (x * x + 2 * y) / (1 + y),
        "min_max_sign": nv.min(x, y, 2) + nv.max(x, 1) * nv.sign(x - y),
        "erf": nv.erf(x) - nv.erfc(y),
        "long_sum": nv.exp(nv.Sum(nv.sin(k * x) for k in range(1, 6))),
        "unary_minus": -nv.exp(-x) * y,
        "pwl": nv.pwl({(0, 1): 2 * x, (1, 4): x + 1}),
    }
    return x, y, f


@pytest.mark.parametrize("name", sorted(_expressions()[2]))
def test_formulas_round_trip_as_tokens_and_as_text(name):
    x, y, f = _expressions()
    p = nv.problem(x, y, f[name] <= 100, name="rt")
    held = nl_formulas(p)
    assert held
    values = [p.evaluatecoef(r, c) for r, c, *_ in held]

    # Tokens: everything read back, loaded into a copy in one call, reads back the same.
    tokens = p.copy()
    types, vals, starts = [], [], []
    for _, _, _, t, v in held:
        starts.append(len(types))
        types += t
        vals += v
    tokens.loadcoefs([h[0] for h in held], [h[1] for h in held], [h[2] for h in held],
                     starts, 1, types, vals)
    assert nl_formulas(tokens) == held

    # Text: each coefficient written out, deleted and given again as text.
    text = p.copy()
    for r, c, factor, *_ in held:
        fac, formula = text.getccoef(r, c)
        assert fac == factor
        text.delcoefs([r], [c])
        text.chgccoef(r, c, fac, formula)
    assert [text.evaluatecoef(r, c) for r, c, *_ in held] == pytest.approx(values, rel=1e-12)
    for (r, c, factor, t, v), (_, _, f2, t2, v2) in zip(held, nl_formulas(text)):
        assert f2 == factor and t2 == t
        assert v2 == pytest.approx(v, rel=1e-15)


def test_unparsed_tokens_and_single_coefficient_changes():
    p = by_methods("linear")
    # Written order with brackets: exp ( x ) - 1, on the constant column of row 0.
    p.chgnlcoef(0, -1, 2.0, 0, [12, 21, 10, 23, 31, 1, 0], [EXP, 0, 0, 0, 6, 1, 0])
    factor, types, values = p.getcoefformula(0, -1)
    assert factor == 2.0
    assert types == [22, 10, 12, 1, 31, 0] and values == [0, 0, EXP, 1, 6, 0]
    assert p.evaluatecoef(0, -1) == pytest.approx(2 * (math.exp(0.5) - 1))
    p.chgnlcoef(0, -1, 3.0)  # factor only: the formula stays
    assert p.getcoefformula(0, -1)[1:] == (types, values)
    assert p.evaluateformula(1, types, values) == pytest.approx(math.exp(0.5) - 1)
    # Too few tokens asked for is the library's refusal.
    with pytest.raises(nv.SolverError, match="maxtypes"):
        p.getcoefformula(0, -1, maxtypes=2)


def test_column_settings_read_back():
    p = by_methods("linear")
    p.loadtolsets([1e-3, 0, 0, 0, 0, 0, 0, 1e-4, 0, 0, 0, 0])
    p.addvars([p.getVariable(first=0)[1]], detrow=[0], seqnum=[4], tolindex=[2], stepbound=[0.5])
    detrow, initsb, _, _, _, initvalue, _, tolset, *_ = p.getvar(1)
    assert (detrow, initsb, initvalue, tolset) == (0, 0.5, 0.25, 2)
    assert p.gettolset(2) == (2, [0, 1e-4, 0, 0, 0, 0])
    # loadvars starts every column from the defaults again.
    p.loadvars([0], initvalue=[1.5])
    assert p.getvar(1)[7] == 0 and p.getvar(1)[5] == 0.0 and p.getvar(0)[5] == 1.5
    p.loaddfs([0, 1], [0, 0], [4.0, 5.0])
    p.adddfs([1], [0], [6.0])
    assert (p.getdf(0, 0), p.getdf(1, 0)) == (4.0, 6.0)


def _state(p):
    return nl_formulas(p), [p.getvar(j) for j in range(2)], p.getrowwt(0)


@pytest.mark.parametrize("call,exc,match", [
    (lambda p: p.loadcoefs(), nv.InterfaceError,
     "^Must provide arguments rowindex, colindex, factor, fstart, type, value$"),
    (lambda p: p.loaddfs([0, 1], [0], [1.0]), nv.ModelError,
     "^Mismatched lengths in arguments: expected 2, found 1$"),
    (lambda p: p.loadvars([nv.var()], initvalue=[1.0]), nv.ModelError, "not in problem$"),
    (lambda p: p.loadvars(["nosuchcolumn"]), nv.SolverError, "nosuchcolumn"),
    (lambda p: p.loadtolsets([1.0] * 5), nv.InterfaceError, "6 values each"),
    (lambda p: p.loadcoefs([0], [0], None, [0, 5], 1, [10, 0], [0, 0]), nv.InterfaceError,
     "outside the 2 tokens"),
    (lambda p: p.loadcoefs([0], [0], None, [0], 1, [10, 99, 0], [0, 0, 0]), nv.SolverError,
     "token"),
    (lambda p: p.addvars([0], tolindex=[3]), nv.SolverError, "tolerance set"),
    (lambda p: p.delcoefs([0], [0]), nv.SolverError, "not held|no coefficient"),
    (lambda p: p.chgrowwt(0, -1.0), nv.SolverError, "weight"),
    (lambda p: p.chgccoef(0, -1, 1.0, "x +* y"), nv.SolverError, "row 0"),
])
def test_refused_input_changes_nothing(call, exc, match):
    p = by_methods("nonlinear")
    before = _state(p)
    with pytest.raises(exc, match=match):
        call(p)
    assert _state(p) == before
