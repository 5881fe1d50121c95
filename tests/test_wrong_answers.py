"""Answers that used to be wrong without any error: the cutoff, NaN right-hand sides, points
that are not solutions, and objective coefficients beyond the infinity constant."""

import math
import random

import pytest

pytestmark = pytest.mark.usefixtures("quiet")


def knapsack_problem(nv, integer):
    """A knapsack maximising its value, and the optimum of the MIP by dynamic programming."""
    rng = random.Random(7)
    w = [rng.randint(10, 60) for _ in range(30)]
    v = [rng.randint(10, 90) for _ in range(30)]
    cap = sum(w) // 3
    best = [0] * (cap + 1)
    for wi, vi in zip(w, v):
        for c in range(cap, wi - 1, -1):
            best[c] = max(best[c], best[c - wi] + vi)
    x = [nv.var(vartype=nv.binary if integer else nv.continuous, ub=1) for _ in w]
    p = nv.problem(x, nv.Sum(wi * xi for wi, xi in zip(w, x)) <= cap,
                   nv.Sum(vi * xi for vi, xi in zip(v, x)), sense=nv.maximize)
    return p, best[cap]


def node_limited(nv):
    rng = random.Random(3)
    x = [nv.var(vartype=nv.binary) for _ in range(40)]
    rows = [nv.Sum(ai * xi for ai, xi in zip(a, x)) == sum(a) // 2
            for a in ([rng.randint(1, 100) for _ in x] for _ in range(4))]
    p = nv.problem(x, rows, nv.Sum(x))
    p.controls.node_limit = 1
    return p


def cut_off(nv, integer):
    """The knapsack with a cutoff just beyond its optimum, and that optimum."""
    p, optimum = knapsack_problem(nv, integer)
    if not integer:
        p.solve()
        optimum = p.getObjVal()
    p.controls.cutoff = optimum + (1 if integer else 0.01)
    return p, optimum


# The engine's tests cover the cutoff in both senses, re-solves and the limits; here the
# module's statuses and its refusal of the missing solution.
@pytest.mark.parametrize("make, status", [
    (lambda nv: (cut_off(nv, integer=True)[0], None), "mip_infeas"),
    (lambda nv: cut_off(nv, integer=False), "lp_cutoff"),   # with the LP optimum as bound
    (lambda nv: (node_limited(nv), None), "mip_no_sol_found"),
])
def test_a_solve_that_ends_without_a_solution_has_none(nv, make, status):
    p, bound = make(nv)
    p.solve()
    assert p.getProbStatusString() == status
    assert bound is None or p.attributes.best_bound == pytest.approx(bound)
    assert p.attributes.solution_available == 0
    assert p.getObjVal() == 0.0
    with pytest.raises(nv.SolverError, match="No .*solution is available"):
        p.getSolution()
    with pytest.raises(nv.SolverError):
        p.getSlack()


NAN = math.nan


@pytest.mark.parametrize("make", [
    lambda nv, x, y: x + y <= NAN,
    lambda nv, x, y: x + y >= NAN,
    lambda nv, x, y: x + y == NAN,
    lambda nv, x, y: nv.constraint(body=x, lb=NAN),
    lambda nv, x, y: nv.constraint(body=x, ub=NAN),
    lambda nv, x, y: nv.constraint(body=x + y, lb=NAN, ub=4),
    lambda nv, x, y: nv.constraint(body=x + y, lb=1, ub=NAN),
    lambda nv, x, y: nv.constraint(body=x + 2 * y, sense=nv.leq, rhs=NAN),
], ids=["le", "ge", "eq", "lb", "ub", "range_lb", "range_ub", "sense_rhs"])
def test_nan_right_hand_side_is_refused_and_changes_nothing(nv, make):
    p = nv.problem()
    x, y = nv.var(), nv.var()
    p.addVariable(x, y)
    kept = x - y >= -1
    p.addConstraint(kept)
    good, bad = x + y <= 3, make(nv, x, y)
    with pytest.raises(nv.SolverError, match=r"NVRLaddrows64: rhs\[1\] is NaN"):
        p.addConstraint(good, bad)
    assert p.attributes.rows == 1
    assert p.getConstraint(index=0) is kept
    p.addConstraint(good)  # neither was left behind as added
    assert p.getIndex(good) == 1
    with pytest.raises(nv.SolverError, match="is NaN"):
        p.addConstraint(bad)


def test_nan_in_an_indicator_constraint_is_refused(nv):
    p = nv.problem()
    b, x = nv.var(vartype=nv.binary), nv.var()
    p.addVariable(b, x)
    with pytest.raises(nv.SolverError, match="is NaN"):
        p.addIndicator(b == 1, x <= NAN)
    assert p.attributes.rows == 0 and p.attributes.indicators == 0


@pytest.mark.parametrize("value", [1e30, -1e20, math.inf])
def test_objective_coefficients_beyond_infinity_are_refused(nv, value):
    p = nv.problem()
    x, y = nv.var(ub=10), nv.var(ub=10)
    p.addVariable(x, y)
    p.addConstraint(x + y >= 1)
    p.setObjective(2 * x + y)
    for objective in (value * x + y, x + value * x * y, value + x):
        with pytest.raises(nv.SolverError, match="infinity constant 1e20; the objective is left"):
            p.setObjective(objective)
    p.solve()   # the refused objectives left the old one in place
    assert p.getObjVal() == pytest.approx(1.0)
    with pytest.raises(nv.SolverError, match=r"rowcoef\[0\] .*(beyond|infinite)"):
        p.addConstraint(value * x + y <= 4)
    assert p.attributes.rows == 1
