"""Consistency of one solve with itself: slacks, duals and reduced costs of random LPs and
convex QPs built with the modelling API satisfy the optimality conditions recomputed here
with numpy, and a problem written to a file and read back reaches the same optimum."""

import numpy as np
import pytest

pytest.importorskip("hypothesis")
from hypothesis import assume, event, given  # noqa: E402
from hypothesis import strategies as st  # noqa: E402

from test_crosscheck_highs import (  # noqa: E402
    CROSSCHECK, INF, build, models, objective_value, row_bounds, solve)

pytestmark = pytest.mark.usefixtures("quiet")

TOL = 1e-6


def matrix(model):
    n = len(model["cols"])
    return np.array([r["coefs"] for r in model["rows"]], dtype=float).reshape(-1, n)


def near(a, b, scale=1.0):
    return abs(a - b) <= TOL * (1 + abs(scale))


def check_kkt(nv, model, p, x):
    """Primal feasibility, complementary slackness, reduced costs c + Qx - A'y and the sign
    of every dual and reduced cost for the objective's sense."""
    A = matrix(model)
    m, n = A.shape
    values = np.array(p.getSolution(x), dtype=float)
    activity = A @ values
    slack = np.array(p.getSlack(), dtype=float)
    duals = np.array(p.getDual(), dtype=float)
    rcost = np.array(p.getRCost(x), dtype=float)
    assert len(slack) == len(duals) == m and len(rcost) == n

    sense = model["sense"]
    for i, row in enumerate(model["rows"]):
        lo, up = row_bounds(row)
        assert lo - TOL * (1 + abs(lo)) <= activity[i] <= up + TOL * (1 + abs(up))
        if row["kind"] != "N":
            # The right-hand side is the upper end when there is one (so a range row's slack
            # lies between 0 and its width), else the lower end.
            rhs = up if up < INF else lo
            assert slack[i] == pytest.approx(rhs - activity[i], abs=TOL * (1 + abs(rhs)))
        # In the minimising sense a dual is <= 0 on a binding upper side, >= 0 on a binding
        # lower side, and 0 on a row binding on neither.
        y = duals[i] * sense
        at_lo, at_up = near(activity[i], lo, lo), near(activity[i], up, up)
        if not at_lo:
            assert y <= TOL
        if not at_up:
            assert y >= -TOL
    Qx = model["Q"] @ values if model["Q"] is not None else np.zeros(n)
    expected = np.array(model["obj"], dtype=float) + Qx - A.T @ duals
    # The solver's accuracy in x (about 1e-7 relative) is magnified by Q in the gradient.
    size = 1 + np.abs(values).max() * (np.abs(model["Q"]).max() if model["Q"] is not None else 0)
    assert rcost == pytest.approx(expected, abs=1e-6 * size)
    for j, (_, lb, ub) in enumerate(model["cols"]):
        d = rcost[j] * sense
        if not near(values[j], lb, lb):
            assert d <= TOL
        if not near(values[j], ub, ub):
            assert d >= -TOL
    assert p.getObjVal() == pytest.approx(objective_value(model, values), rel=1e-6, abs=1e-6)


def solved(nv, model):
    p, x = build(nv, model)
    # Models on which HiGHS's QP solver gives up are checked against HiGHS elsewhere.
    assume(solve(nv, p))
    event(p.getProbStatusString())
    return p, x


@CROSSCHECK
@given(model=models())
def test_lp_answers_satisfy_optimality_conditions(nv, model):
    p, x = solved(nv, model)
    if p.getProbStatus() == nv.lp_optimal:
        check_kkt(nv, model, p, x)


@CROSSCHECK
@given(model=models(quadratic=True))
def test_qp_answers_satisfy_optimality_conditions(nv, model):
    p, x = solved(nv, model)
    if p.getProbStatus() == nv.lp_optimal:
        check_kkt(nv, model, p, x)


@pytest.mark.parametrize("suffix, flags", [(".mps", ""), (".lp", "l")])
@CROSSCHECK
@given(model=st.one_of(models(integer=True), models(quadratic=True)))
def test_written_and_read_problem_has_the_same_optimum(nv, tmp_path_factory, suffix, flags,
                                                       model):
    p, _ = solved(nv, model)
    path = str(tmp_path_factory.mktemp("rw") / ("model" + suffix))
    p.write(path, flags)
    q = nv.problem()
    q.read(path, flags)
    q.controls.mip_relative_gap = 0
    q.controls.mip_absolute_gap = 0
    assert solve(nv, q)
    assert q.getProbStatus() == p.getProbStatus()
    assert q.getProbStatusString() == p.getProbStatusString()
    if p.getProbStatusString() in ("lp_optimal", "mip_optimal"):
        assert q.getObjVal() == pytest.approx(p.getObjVal(), rel=1e-9, abs=1e-9)
        n = len(model["cols"])
        assert [(v.lb, v.ub, v.vartype) for v in q.getVariable(first=0, last=n - 1)] == \
            [(v.lb, v.ub, v.vartype) for v in p.getVariable(first=0, last=n - 1)]
