"""Ranging, basis solves, pivots, strong branching and recomputed answers through the low-level
methods: values derived by hand on a small LP, agreement with a solve on afiro, the
fill-in-place and new-list output rules, and bad input that changes nothing."""

import pytest
from conftest import SHARED_DATA as DATA

import nuvrel as nv

pytestmark = pytest.mark.usefixtures("quiet")

INF = 1e20


class Lp:
    """min -3x - 2y  s.t.  c1: x + y <= 4,  c2: x + 3y <= 9,  x in [0, 3], y >= 0.
    Optimum x = 3 (at its bound), y = 1, objective -11; basis: c2's slack and y."""

    def __init__(self):
        self.x = nv.var(lb=0, ub=3, name="x")
        self.y = nv.var(name="y")
        self.c1 = nv.constraint(self.x + self.y <= 4, name="c1")
        self.c2 = nv.constraint(self.x + 3 * self.y <= 9, name="c2")
        self.p = nv.problem(self.x, self.y, self.c1, self.c2, -3 * self.x - 2 * self.y)
        self.p.solve()

    def answers(self):
        x, slack, duals, djs = [], [], [], []
        self.p.getlpsol(x, slack, duals, djs)
        return x, slack, duals, djs


@pytest.fixture
def lp():
    return Lp()


def close(got, want, tol=1e-9):
    return len(got) == len(want) and all(abs(g - w) <= tol * max(1, abs(w)) for g, w in zip(got, want))


def test_ranges_by_hand_in_place_new_and_legacy(lp):
    lo, up = [0.0] * 5, ["old"]
    assert lp.p.objsa([lp.x, "y"], lo, up) is None
    assert close(lo, [-INF, -3]) and close(up, [-2, 0])
    # No output lists: new ones come back; the legacy keyword names the same argument.
    lo, up = lp.p.rhssa(mindex=[lp.c1, 1])
    assert close(lo, [3, 6]) and close(up, [5, INF])
    lblo, lbup, ublo, ubup = lp.p.bndsa([lp.x, lp.y])
    assert close(lblo, [-INF, -INF]) and close(lbup, [3, 1])
    assert close(ublo, [1.5, 1]) and close(ubup, [4, INF])
    only = []
    assert lp.p.bndsa([0], ublower=only) is None and close(only, [1.5])


def test_basis_solves_pivots_and_condition(lp):
    # B = [[0, 1], [1, 3]] (c2's slack, then y): B^-1 (1, 2) = (-1, 1); y'B = (1, 2) at y = (-1, 1).
    v = [1, 2]
    assert lp.p.ftran(v) is None and close(v, [-1, 1])
    assert close(lp.p.btran((1, 2)), [-1, 1])
    assert lp.p.basisstability(0, 1, 0) == pytest.approx(16)
    # x (combined index rows + 0) leaves its upper bound: c2's slack stops it at 1.5, its own
    # lower bound at 3; after the first pivot the objective is -9.5.
    out, steps = ["old"] * 4, []
    assert lp.p.getpivots(2, out, steps, 5) == pytest.approx((-9.5, 2))
    assert out == [lp.c2, lp.x] and close(steps, [1.5, 3])


def test_strong_branching_and_dual_ranges_leave_the_problem_alone(lp):
    before = lp.answers()
    obj, st = [], []
    assert lp.p.strongbranch([lp.y] * 3, ["U", "L", "L"], [0, 2, 10], 100, obj, st) is None
    assert close(obj[:2], [-9, -10]) and st == [1, 1, 2]  # optimal, optimal, infeasible
    assert lp.answers() == before
    assert lp.p.getub(None, 1, 1) == [INF]
    lo, hi = lp.p.estimaterowdualranges([lp.c1], 5, None, None)
    assert close(lo, [-3]) and close(hi, [0])
    assert lp.answers() == before


@pytest.mark.parametrize(
    "call, exc, message",
    [
        (lambda p, c: p.objsa([5], [], []), nv.SolverError, "out of range"),
        (lambda p, c: p.rhssa([c], (), []), nv.ModelError, "Unexpected argument to conv_arr2obj"),
        (lambda p, c: p.rhssa(lower=[]), nv.InterfaceError, "rowind"),
        (lambda p, c: p.ftran([1, 2, 3]), nv.ModelError,
         "Mismatched lengths in arguments: expected 2, found 3"),
        (lambda p, c: p.btran(None), nv.ModelError, "Invalid sequence of objects"),
        (lambda p, c: p.getpivots(3, [], [], 5), nv.SolverError, "basic"),
        (lambda p, c: p.strongbranch([0], ["X"], [1], 5, [], []), nv.SolverError, "bound type"),
        (lambda p, c: p.basisstability(0, 7, 0), nv.SolverError, "norm"),
        (lambda p, c: p.calcsolinfo([0, 0], None, 2), nv.SolverError, "duals"),
        (lambda p, c: p.calcslacks([0], None), nv.ModelError, "Mismatched lengths"),
    ],
)
def test_bad_input_is_refused_and_changes_nothing(lp, call, exc, message):
    before = lp.answers()
    with pytest.raises(exc, match=message):
        call(lp.p, lp.c1)
    assert lp.answers() == before


def test_refused_without_a_basis(lp):
    lp.p.chgobj([lp.x], [-1])
    with pytest.raises(nv.SolverError, match="No basis"):  # a change drops the basis
        lp.p.objsa([lp.x], [], [])
    fresh = nv.problem(nv.var(), name="unsolved")
    with pytest.raises(nv.SolverError, match="No basis"):
        fresh.ftran([])


def test_recomputed_answers_match_the_solve_on_afiro():
    p = nv.problem()
    p.read(str(DATA / "afiro.mps"))
    p.solve()
    x, slack, duals, djs = [], [], [], []
    p.getlpsol(x, slack, duals, djs)
    assert p.calcobjective(x) == pytest.approx(p.getObjVal(), rel=1e-9)
    assert close(p.calcslacks(x), slack, 1e-8)
    got = []
    assert p.calcreducedcosts(duals, None, got) is None and close(got, djs, 1e-8)
    assert p.calcsolinfo(x, duals, 0) < 1e-7 and p.calcsolinfo(x, duals, 2) < 1e-7
    # Moving one column 1 beyond its bound is a primal infeasibility of at least 1.
    x[0] = p.getub(None, 0, 0)[0] + 1 if p.getub(None, 0, 0)[0] < INF else p.getlb(None, 0, 0)[0] - 1
    assert p.calcsolinfo(x, None, 0) >= 1
