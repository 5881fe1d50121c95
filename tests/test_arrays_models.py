"""Models written over arrays, solved to known optima, and the problem methods given arrays."""

import csv

import numpy as np
import pytest

import nuvrel as nv
from conftest import SHARED_DATA, read_problem
from test_lowlevel_query_data import query_all

pytestmark = pytest.mark.usefixtures("quiet", "collect_cycles")


def test_transportation_problem():
    supply = np.array([20.0, 30.0, 25.0])
    demand = np.array([10.0, 25.0, 15.0, 20.0])
    cost = np.array([[8.0, 6, 10, 9], [9, 12, 13, 7], [14, 9, 16, 5]])
    x = nv.vars(3, 4, name="ship")
    out_of, into = x.sum(axis=1) <= supply, x.sum(axis=0) >= demand
    assert out_of.dtype == into.dtype == nv.npconstraint
    p = nv.problem(x, out_of, into, (cost * x).sum())
    p.solve()
    assert p.getObjVal() == pytest.approx(550.0)
    sol = p.getSolution(x)
    assert isinstance(sol, np.ndarray) and sol.shape == (3, 4)
    assert np.all(sol.sum(axis=1) <= supply + 1e-6)
    assert np.all(sol.sum(axis=0) >= demand - 1e-6)
    assert float((cost * sol).sum()) == pytest.approx(550.0)
    # The per-row readers walk an array in order and give flat lists.
    slack = p.getSlack(out_of)
    assert slack == pytest.approx(list(supply - sol.sum(axis=1)), abs=1e-6)
    assert len(p.getDual(into)) == 4 and len(p.getRCost(x)) == 12
    values = p.getSolution(2 * x + 1)
    assert values == pytest.approx(2 * sol + 1)


def test_diet_lp_with_a_matrix():
    # min cost @ x  s.t.  N @ x >= need, x >= 0: optimum 0.6 at x = (0.2, 0.2) (hand-solved).
    N = np.array([[2.0, 1.0], [1.0, 2.0]])
    need = np.array([0.6, 0.6])
    cost = np.array([1.0, 2.0])
    x = nv.vars(2, name="food")
    rows = N @ x >= need
    p = nv.problem(x, rows, nv.Dot(cost, x))
    p.solve()
    sol = p.getSolution(x)
    assert np.all(N @ sol >= need - 1e-7)
    # The LP optimum: the cheaper food covers both needs at x = (0.6, 0) with cost 0.6.
    assert p.getObjVal() == pytest.approx(0.6)


def test_markowitz_qp():
    # min w' S w  s.t. sum w = 1, mu @ w >= 0.1. The two constraints fix w = (0.5, 0.5) (the
    # unconstrained minimum-risk mix, about (0.69, 0.31), earns less than 0.1).
    S = np.array([[0.04, 0.0], [0.0, 0.09]])
    mu = np.array([0.08, 0.12])
    x = nv.vars(2, name="w")
    p = nv.problem(x, x.sum() == 1, mu @ x >= 0.1, x @ S @ x)
    p.solve()
    w = np.array(p.getSolution(x))
    assert w == pytest.approx([0.5, 0.5], abs=1e-4)
    assert p.getObjVal() == pytest.approx(w @ S @ w, rel=1e-5)


def matrix_of(name):
    """Matrix, right-hand sides, row types, objective and its constant of an instance without
    bounds, as the library reads it (the optimum checks both the reading and the rebuild)."""
    d = query_all(read_problem(name))
    A = np.zeros((len(d["rowtype"]), len(d["obj"])))
    for j in range(len(d["obj"])):
        for k in range(d["start"][j], d["start"][j + 1]):
            A[d["rowind"][k], j] = d["rowcoef"][k]
    assert d["lb"] == [0.0] * len(d["obj"]) and d["ub"] == [1e20] * len(d["obj"])
    return A, np.array(d["rhs"]), np.array(d["rowtype"]), np.array(d["obj"]), d["constant"]


def optimum(name):
    with open(SHARED_DATA / "optima.csv") as f:
        return float(next(r for r in csv.DictReader(f) if r["file"] == name)["objective"])


@pytest.mark.parametrize("name", ["afiro.mps", "adlittle.mps"])
def test_lp_rebuilt_from_its_matrix(name):
    A, b, sense, c, constant = matrix_of(name)
    x = nv.vars(A.shape[1], name="")
    lhs = A @ x
    rows = [lhs[sense == "L"] <= b[sense == "L"], lhs[sense == "G"] >= b[sense == "G"],
            lhs[sense == "E"] == b[sense == "E"]]
    p = nv.problem(x, rows, c @ x + constant)
    p.solve()
    assert p.getObjVal() == pytest.approx(optimum(name), rel=1e-7)


def test_add_and_delete_arrays_of_objects():
    x = nv.vars(2, 3, name="x")
    p = nv.problem()
    p.addVariable(x)
    c = x <= np.arange(6.0).reshape(2, 3)
    p.addConstraint(c)
    assert p.getAttrib("columns") == 6 and p.getAttrib("rows") == 6
    p.delConstraint(c[0, 0])
    assert p.getAttrib("rows") == 5
    # Arrays of objects are deleted as lists of their elements, in any shape or stride.
    p.delVariable(x[:, ::-2])
    assert [v.name for v in p.getVariable(first=0, last=1)] == ["x(0,1)", "x(1,1)"]
    p.delConstraint(c[1])
    assert p.getAttrib("rows") == 2
    p.delVariable(x[:0])
    assert p.getAttrib("columns") == 2
    with pytest.raises(nv.ModelError, match="Variable .* not in problem"):
        p.delVariable(x[0])
    with pytest.raises(nv.ModelError, match="Invalid variable object"):
        p.delVariable(np.array([x[0, 1], None], dtype=object))
    assert p.getAttrib("columns") == 2


def test_exponential_fit_with_array_residuals():
    # Noise-free samples of 2 exp(-1.5 t): the least-squares optimum is a = 2, b = -1.5, sum 0.
    t = np.linspace(0.0, 2.0, 9)
    y = 2.0 * np.exp(-1.5 * t)
    ab = nv.vars(2, lb=-5, ub=5, name="ab")
    # One-element slices broadcast against t, so the residuals form an npexpr array.
    res = ab[:1] * nv.exp(ab[1:] * t) - y
    assert res.dtype == nv.npexpr and res.shape == t.shape
    # Residual columns tied to the array by equality rows leave a quadratic objective.
    r = nv.vars(t.size, lb=-nv.infinity, name="r")
    p = nv.problem(ab, r, r == res, r @ r)
    p.solve()
    a, b = p.getSolution(ab)
    assert (a, b) == pytest.approx((2.0, -1.5), abs=1e-4)
    assert p.getObjVal() == pytest.approx(0.0, abs=1e-8)
    at_opt = nv.evaluate(res, problem=p)
    assert isinstance(at_opt, np.ndarray) and at_opt.shape == t.shape
    assert at_opt == pytest.approx(a * np.exp(b * t) - y, abs=1e-12)
    # Away from the optimum the residuals are not all zero, so the comparison has teeth.
    off = nv.evaluate(res, solution={ab[0]: 1.0, ab[1]: 0.5})
    assert off == pytest.approx(np.exp(0.5 * t) - y, rel=1e-12)
    assert nv.evaluate(np.square(res).sum(), solution={ab[0]: 1.0, ab[1]: 0.5}) == \
        pytest.approx(np.sum((np.exp(0.5 * t) - y) ** 2), rel=1e-12)
