"""Repairing infeasible problems from Python: the relaxation found must be as small as the
elastic LP written here with the modelling layer says, and bad input must change nothing."""

import pytest
from conftest import SHARED_DATA
from lowlevel_support import picture

pytestmark = pytest.mark.usefixtures("quiet")

INF = 1e20


def data(p):
    """Rows (type, rhs, range, {column: coefficient}) and column bounds of p."""
    nrows, ncols = p.attributes.rows, p.attributes.columns
    types, rhs, rng, lb, ub = [], [], [], [], []
    p.getrowtype(types, 0, nrows - 1)
    p.getrhs(rhs, 0, nrows - 1)
    p.getrhsrange(rng, 0, nrows - 1)
    p.getlb(lb, 0, ncols - 1)
    p.getub(ub, 0, ncols - 1)
    start, ind, val = [], [], []
    p.getrows(start, ind, val, p.attributes.elements, 0, nrows - 1)
    rows = [(types[i], rhs[i], rng[i],
             {p.getIndex(v): a for v, a in zip(ind[start[i]:start[i + 1]],
                                                 val[start[i]:start[i + 1]])})
            for i in range(nrows)]
    return rows, lb, ub


def least_violation(nv, rows, lb, ub):
    """The least sum of violations of rows and finite bounds, as an elastic LP of its own."""
    x = [nv.var(lb=-INF, ub=INF) for _ in lb]
    pen, cons = [], []
    for t, rhs, rng, coef in rows:
        if t == "N":
            continue
        act = nv.Sum(a * x[j] for j, a in coef.items())
        lo = {"L": -INF, "G": rhs, "E": rhs, "R": rhs - rng}[t]
        hi = {"L": rhs, "G": INF, "E": rhs, "R": rhs}[t]
        if hi < INF:
            v = nv.var()
            pen.append(v)
            cons.append(act - v <= hi)
        if lo > -INF:
            u = nv.var()
            pen.append(u)
            cons.append(act + u >= lo)
    for j in range(len(lb)):
        for b, sign in ((lb[j], 1), (ub[j], -1)):
            if abs(b) < INF:
                v = nv.var()
                pen.append(v)
                cons.append(sign * (x[j] - b) + v >= 0)
    e = nv.problem(x, pen, cons, nv.Sum(pen))
    e.solve()
    assert e.getProbStatus() == nv.lp_optimal
    return e.getObjVal()


def movement(before, after):
    (rows0, lb0, ub0), (rows1, lb1, ub1) = before, after
    total = 0.0
    for (t, r0, g0, _), (_, r1, g1, _) in zip(rows0, rows1):
        total += abs(r1 - r0) + (abs(g1 - g0 - (r1 - r0)) if t == "R" else 0.0)
    return total + sum(abs(a - b) for a, b in zip(lb0 + ub0, lb1 + ub1))


def galenet(nv):
    p = nv.problem()
    p.read(str(SHARED_DATA / "galenet.mps"))
    return p


def modelling(nv):
    """x + y <= 2 and x + y >= 5 with x, y in [0, 3]: infeasible through the rows."""
    x, y = nv.var(ub=3, name="x"), nv.var(ub=3, name="y")
    return nv.problem(x, y, nv.constraint(x + y <= 2, name="low"),
                      nv.constraint(x + y >= 5, name="high"), x - y)


@pytest.mark.parametrize("build", [galenet, modelling])
@pytest.mark.parametrize("how", ["weighted", "scalar"])
def test_repair_is_the_least_relaxation(nv, build, how):
    p = build(nv)
    before = data(p)
    expected = least_violation(nv, *before)
    assert expected > 1e-6
    n, m = p.attributes.columns, p.attributes.rows
    if how == "weighted":
        status = p.repairweightedinfeas([1] * m, (1.0 for _ in range(m)), [1] * n, [1] * n,
                                        "n", 0, "")
    else:
        status = p.repairinfeas("s", "n", " ", 1, 1, 1, 1, 0)
    assert status == 0
    assert movement(before, data(p)) == pytest.approx(expected, rel=1e-6, abs=1e-7)
    p.solve()
    assert p.getProbStatus() == nv.lp_optimal


def test_bound_limits_and_phase_two(nv):
    """x in [0, 1], row x >= 5, max x: the upper bound (cheaper) moves by its limit 2, the row
    by the rest; phase 2 then holds that total and maximises x."""
    x = nv.var(ub=1, name="x")
    row = nv.constraint(x >= 5, name="r")
    p = nv.problem(x, row, x, sense=nv.maximize)
    status = p.repairweightedinfeasbounds(None, [0.5], None, [1], [0], [INF], [0], [2],
                                          "o", 0, "")
    assert status == 0
    ub, rhs = [], []
    p.getub(ub, 0, 0)
    p.getrhs(rhs, 0, 0)
    assert ub == pytest.approx([3]) and rhs == pytest.approx([3])
    assert p.getSolution(x) == pytest.approx(3)


BAD = [
    (lambda p: p.repairweightedinfeas([1, 1, 1], None, None, None, "n", 0, ""),
     "Mismatched lengths in arguments: expected 2, found 3"),
    (lambda p: p.repairweightedinfeas(None, None, ["a", "b"], None, "n", 0, ""), None),
    (lambda p: p.repairweightedinfeasbounds(None, None, None, None, [1, 2], None, None, None,
                                            "n", 0, ""), "null relaxation array"),
    (lambda p: p.repairinfeas("x", "n", " ", 1, 1, 1, 1, 0), "unknown penalty type 'x'"),
    (lambda p: p.repairinfeas("s", "n", " ", 1, 1, 1, 1, -1), "delta"),
    (lambda p: p.repairweightedinfeas(None, None, None, None, "n", 0, "s?"), "unknown flag '?'"),
    (lambda p: p.repairinfeas("ss", "n", " ", 1, 1, 1, 1, 0), None),
]


@pytest.mark.parametrize("call,message", BAD)
def test_bad_input_raises_and_changes_nothing(nv, tmp_path, call, message):
    p = modelling(nv)
    before = picture(p, tmp_path)
    with pytest.raises((nv.InterfaceError, nv.ModelError, nv.SolverError, TypeError)) as err:
        call(p)
    if message:
        assert message in str(err.value)
    assert picture(p, tmp_path) == before
