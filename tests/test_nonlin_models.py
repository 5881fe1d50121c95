"""Nonlinear models written with the operators, each solved to its known optimum, with
nuvrel.evaluate at the solution agreeing with plain Python arithmetic."""

import math

import pytest

import nuvrel as nv

pytestmark = pytest.mark.usefixtures("collect_cycles")


def test_rosenbrock():
    x, y = nv.var(lb=-5, ub=5, name="x"), nv.var(lb=-5, ub=5, name="y")
    f = (1 - x) ** 2 + 100 * (y - x ** 2) ** 2
    p = nv.problem(x, y, f)
    p.solve()
    xv, yv = p.getSolution(x, y)
    assert (xv, yv) == pytest.approx((1.0, 1.0), abs=1e-3)
    assert p.getObjVal() == pytest.approx(0.0, abs=1e-6)
    assert nv.evaluate(f, problem=p) == pytest.approx((1 - xv) ** 2 + 100 * (yv - xv * xv) ** 2)


def test_exponential_least_squares_reaches_a_stationary_point():
    # From the origin the quasi-Newton term grows so stiff that the subproblem stopped
    # promising progress at (2.09, -1.29), where the gradient is about (0.8, 0.9).
    ts = [0.25 * i for i in range(9)]
    ys = [2 * math.exp(-1.5 * t) for t in ts]
    a, b = nv.var(lb=-10, ub=10, name="a"), nv.var(lb=-10, ub=10, name="b")
    f = nv.Sum((a * nv.exp(b * t) - y) ** 2 for t, y in zip(ts, ys))
    p = nv.problem(a, b, f)
    p.solve()
    av, bv = p.getSolution(a, b)
    assert (av, bv) == pytest.approx((2.0, -1.5), abs=1e-4)
    assert p.getObjVal() == pytest.approx(0.0, abs=1e-8)


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


def test_small_minlp():
    # exp(x/2) - 2x is smallest over the integers at x = 3; y <= x - 2.5 then costs
    # (0.5 - 1.3)^2, less than the gain over x = 4.
    x = nv.var(vartype=nv.integer, lb=0, ub=5, name="x")
    y = nv.var(lb=-10, ub=10, name="y")
    f = nv.exp(0.5 * x) - 2 * x + (y - 1.3) ** 2
    p = nv.problem(x, y, y <= x - 2.5, f)
    p.solve()
    xv, yv = p.getSolution(x, y)
    assert xv == pytest.approx(3.0, abs=1e-6)
    assert yv == pytest.approx(0.5, abs=1e-5)
    assert p.getObjVal() == pytest.approx(math.exp(1.5) - 6 + 0.64, abs=1e-5)
    assert nv.evaluate(f, problem=p) == pytest.approx(math.exp(0.5 * xv) - 2 * xv +
                                                      (yv - 1.3) ** 2)
