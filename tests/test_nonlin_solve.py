"""Nonlinear problems through the problem object: models written with the operators solved to
their known optima (evaluate at the solution agreeing with plain Python arithmetic), objectives
replaced and removed, which solver answers, solution queries, files, deletion and evaluate's
arguments (Ctrl-C during a nonlinear solve is with the other long solves in test_problem_busy)."""

import math

import numpy as np
import pytest

import nuvrel as nv



class Plain:
    """The functions a formula below needs, on numbers."""
    exp, Sum = math.exp, math.fsum


DECAY = [(0.25 * i, 2 * math.exp(-0.375 * i)) for i in range(9)]   # (t, 2 exp(-1.5 t))


# Each formula f(m, x, y) builds the objective with m = nv and computes it with m = Plain.
@pytest.mark.parametrize("columns, f, rows, point, tol, optimum", [
    # Rosenbrock's valley.
    ([dict(lb=-5, ub=5)] * 2, lambda m, x, y: (1 - x) ** 2 + 100 * (y - x ** 2) ** 2, [],
     (1.0, 1.0), 1e-3, 0.0),
    # Exponential least squares: from the origin the quasi-Newton term grew so stiff that the
    # subproblem stopped promising progress at (2.09, -1.29), where the gradient is (0.8, 0.9).
    ([dict(lb=-10, ub=10)] * 2,
     lambda m, a, b: m.Sum((a * m.exp(b * t) - y) ** 2 for t, y in DECAY), [], (2.0, -1.5), 1e-4,
     0.0),
    # A small MINLP: exp(x/2) - 2x is smallest over the integers at x = 3; y <= x - 2.5 then
    # costs (0.5 - 1.3)^2, less than the gain over x = 4.
    ([dict(lb=0, ub=5, vartype=nv.integer), dict(lb=-10, ub=10)],
     lambda m, x, y: m.exp(0.5 * x) - 2 * x + (y - 1.3) ** 2, lambda x, y: [y <= x - 2.5],
     (3.0, 0.5), 1e-5, math.exp(1.5) - 6 + 0.64),
], ids=["rosenbrock", "least_squares", "minlp"])
def test_known_optima(columns, f, rows, point, tol, optimum):
    x, y = (nv.var(**c) for c in columns)
    objective = f(nv, x, y)
    p = nv.problem(x, y, rows(x, y) if rows else [], objective)
    p.solve()
    xv, yv = p.getSolution(x, y)
    assert (xv, yv) == pytest.approx(point, abs=tol)
    assert p.getObjVal() == pytest.approx(optimum, abs=1e-6)
    assert nv.evaluate(objective, problem=p) == pytest.approx(f(Plain, xv, yv))


# Chemical equilibrium of a mixture from hydrazine and oxygen: ten species, three elements
# (H, N, O); the free energy sum x_j (c_j + log(x_j / sum x)) is minimised subject to the
# element balances. Published optimum -47.76109 (test problem 112 of Hock and Schittkowski).
GIBBS_C = [-6.089, -17.164, -34.054, -5.914, -24.721, -14.986, -24.100, -10.708, -26.662,
           -22.179]
BALANCES = [([1, 2, 2, 0, 0, 1, 0, 0, 0, 1], 2.0),
            ([0, 0, 0, 1, 2, 1, 1, 0, 0, 0], 1.0),
            ([0, 0, 1, 0, 0, 0, 1, 1, 2, 1], 1.0)]


def test_chemical_equilibrium():
    x = [nv.var(lb=1e-6, ub=10, name=f"x{j}") for j in range(10)]
    total = nv.Sum(x)
    f = nv.Sum(xj * (cj + nv.log(xj / total)) for xj, cj in zip(x, GIBBS_C))
    p = nv.problem(x, [nv.Sum(a * xj for a, xj in zip(row, x)) == b for row, b in BALANCES], f)
    p.solve()
    v = p.getSolution(x)
    assert p.getObjVal() == pytest.approx(-47.76109, abs=1e-3)
    s = sum(v)
    plain = sum(vj * (cj + math.log(vj / s)) for vj, cj in zip(v, GIBBS_C))
    assert nv.evaluate(f, problem=p) == pytest.approx(plain, rel=1e-9)
    assert plain == pytest.approx(p.getObjVal(), abs=1e-6)
    for row, b in BALANCES:
        assert sum(a * vj for a, vj in zip(row, v)) == pytest.approx(b, abs=1e-6)


@pytest.mark.parametrize("n", [5, 7])
def test_points_on_a_circle_spread_evenly(n):
    # n points on the unit circle at angles t_i; the smallest squared distance between
    # neighbours is maximised: the points spread evenly, 4 sin^2(pi/n) apart.
    step = 2 * math.pi / n
    t = [nv.var(lb=0, ub=0, name="t0")] + [
        nv.var(lb=i * step - 0.5, ub=i * step + 0.5, name=f"t{i}") for i in range(1, n)]
    d = nv.var(lb=0, ub=4, name="d")

    def dist2(a, b):
        return (nv.cos(a) - nv.cos(b)) ** 2 + (nv.sin(a) - nv.sin(b)) ** 2

    rows = [d <= dist2(t[i], t[(i + 1) % n]) for i in range(n)]
    p = nv.problem(t, d, rows)
    p.setObjective(d, sense=nv.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(4 * math.sin(math.pi / n) ** 2, abs=1e-5)
    tv = p.getSolution(t)
    plain = min((math.cos(tv[i]) - math.cos(tv[(i + 1) % n])) ** 2 +
                (math.sin(tv[i]) - math.sin(tv[(i + 1) % n])) ** 2 for i in range(n))
    assert plain == pytest.approx(p.getObjVal(), abs=1e-5)
    assert nv.evaluate(dist2(t[0], t[1]), problem=p) == pytest.approx(
        (math.cos(tv[0]) - math.cos(tv[1])) ** 2 + (math.sin(tv[0]) - math.sin(tv[1])) ** 2)


def test_convex_qcqp_meets_its_kkt_conditions():
    # The point of the disc x^2 + y^2 <= 1 nearest to (2, 1).
    x, y = nv.var(lb=-2, ub=2, name="x"), nv.var(lb=-2, ub=2, name="y")
    disc = x * x + y * y <= 1
    f = (x - 2) ** 2 + (y - 1) ** 2
    p = nv.problem(x, y, disc, f)
    p.solve()
    xv, yv = p.getSolution(x, y)
    assert (xv, yv) == pytest.approx((2 / math.sqrt(5), 1 / math.sqrt(5)), abs=1e-5)
    assert p.getObjVal() == pytest.approx((math.sqrt(5) - 1) ** 2, abs=1e-6)
    # Stationarity with the library's sign convention: grad f - dual * grad g = 0 at the
    # optimum, the dual of a binding <= row of a minimisation being <= 0.
    dual = p.getDual(disc)
    assert dual < 0
    grad_f = (2 * (xv - 2), 2 * (yv - 1))
    grad_g = (2 * xv, 2 * yv)
    for gf, gg in zip(grad_f, grad_g):
        assert gf - dual * gg == pytest.approx(0.0, abs=1e-4)
    assert p.getSlack(disc) == pytest.approx(0.0, abs=1e-6)
    assert nv.evaluate(f, solution={x: xv, y: yv}) == pytest.approx(
        (xv - 2) ** 2 + (yv - 1) ** 2)


@pytest.fixture
def circle():
    """max x + y on the disc x^2 + y^2 <= 2 written through exp/log (a nonlinear row)."""
    x, y = nv.var(lb=-3, ub=3, name="x"), nv.var(lb=-3, ub=3, name="y")
    row = nv.exp(nv.log(x * x + y * y + 1)) <= 3
    p = nv.problem(x, y, row, name="circle")
    p.setObjective(x + y, sense=nv.maximize)
    return p, x, y, row


def test_nonlinear_row_solves_and_reports(circle):
    p, x, y, row = circle
    p.solve()
    assert p.getProbStatusString() in ("nlp_solution", "nlp_globally_optimal")
    assert p.getProbStatus() in (nv.nlp_locally_optimal, nv.nlp_globally_optimal)
    assert p.getObjVal() == pytest.approx(2.0, abs=1e-5)
    assert p.getSolution(x, y) == pytest.approx([1.0, 1.0], abs=1e-4)
    assert p.getSlack(row) == pytest.approx(0.0, abs=1e-5)
    # Stationarity of the Lagrangian at (1, 1): grad(x + y) = dual * grad(row).
    dual = p.getDual(row)
    assert dual * 2.0 == pytest.approx(1.0, abs=1e-3)


def test_replacing_a_nonlinear_objective_keeps_the_columns(circle):
    p, x, y, row = circle
    p.setObjective(nv.exp(-x) + (y - 1) ** 4)
    cols = p.attributes.original_columns
    p.setObjective(nv.exp(x) + nv.exp(y))
    assert p.attributes.original_columns == cols
    p.solve()
    # On the disc x^2 + y^2 <= 2 the sum of exponentials is least at (-1, -1).
    assert p.getSolution(x, y) == pytest.approx([-1.0, -1.0], abs=1e-3)
    assert p.getObjVal() == pytest.approx(2 / math.e, abs=1e-6)
    # Back to a linear objective: the auxiliary column and row go.
    p.setObjective(x - y, sense=nv.maximize)
    assert p.attributes.original_columns == 2 and p.attributes.original_rows == 1
    p.solve()
    assert p.getObjVal() == pytest.approx(2.0, abs=1e-4)


def test_variables_added_after_a_nonlinear_objective_keep_their_columns():
    x, y = nv.var(lb=-2, ub=2), nv.var(lb=-2, ub=2)
    p = nv.problem(x, y)
    p.setObjective((x - 1) ** 4 + y * nv.exp(y))
    z = nv.var(lb=0, ub=5, name="z")
    p.addVariable(z)
    p.addConstraint(z >= x + 0.5)
    p.setObjective((x - 1) ** 4 + (y + 1) ** 2 + z ** 4)
    p.solve()
    xv, yv, zv = p.getSolution(x, y, z)
    assert zv == pytest.approx(xv + 0.5, abs=1e-4)
    assert yv == pytest.approx(-1.0, abs=1e-3)
    assert nv.evaluate(z, problem=p) == zv


def test_quadratic_only_models_stay_with_the_optimiser():
    x, y = nv.var(ub=3), nv.var(ub=3)
    p = nv.problem(x, y, x * x + y * y <= 4, x + y, sense=nv.maximize)
    p.solve()
    assert p.getProbStatusString() == "lp_optimal"
    assert p.getObjVal() == pytest.approx(2 * math.sqrt(2), abs=1e-5)


def test_write_and_read_back_then_delete_the_nonlinear_row(circle, tmp_path):
    p, x, y, row = circle
    p.solve()
    optimum = p.getObjVal()
    path = str(tmp_path / "circle.mps")
    p.write(path)
    q = nv.problem()
    q.read(path)
    q.solve()
    assert q.getObjVal() == pytest.approx(optimum, abs=1e-5)
    p.addConstraint(x <= 0.5)
    p.delConstraint(row)
    p.solve()
    assert p.getSolution(x, y) == pytest.approx([0.5, 3.0], abs=1e-5)


@pytest.mark.parametrize("kwargs, exc, message", [
    ({}, nv.InterfaceError, "requires at least of the two arguments"),
    ({"problem": 3}, nv.ModelError, "must be an nuvrel.problem object"),
    ({"solution": (1.0, 2.0)}, nv.ModelError, "must be a dictionary, a list, or a one-dim"),
    ({"solution": [1.0, 2.0]}, nv.ModelError, "\"problem\" is necessary"),
    ({"solution": np.zeros((2, 2))}, nv.ModelError, "must be a dictionary, a list, or a one-dim"),
])
def test_evaluate_argument_errors(kwargs, exc, message):
    x = nv.var()
    with pytest.raises(exc, match=message):
        nv.evaluate(nv.exp(x), **kwargs)


def test_evaluate_forms_of_the_point(circle):
    p, x, y, row = circle
    e = nv.exp(x) * y - x / y
    plain = math.exp(0.5) * 2.0 - 0.25
    assert nv.evaluate(e, solution={x: 0.5, y: 2.0}) == pytest.approx(plain)
    value, (xv, shaped) = nv.evaluate(e, [x, {"k": y}], problem=p, solution=[0.5, 2.0])
    assert (value, xv, shaped) == (pytest.approx(plain), 0.5, {"k": 2.0})
    assert nv.evaluate(e, problem=p, solution=np.array([0.5, 2.0])) == pytest.approx(plain)
    with pytest.raises(nv.ModelError, match="Division by zero in evaluation"):
        nv.evaluate(x / (y - 1), solution={x: 1.0, y: 1.0})
