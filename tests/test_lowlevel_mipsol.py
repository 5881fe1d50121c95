"""MIP solutions given by the user and the operations on the last answer, through the low-level
methods: a given solution is the next solve's first incumbent, a refined one is feasible and no
worse, fixing the entities leaves the MIP's objective to the continuous solve, and bad input
raises without changing the problem."""

import pytest
from lowlevel_support import picture
from test_miqp import portfolio

pytestmark = pytest.mark.usefixtures("quiet")


def knapsack(nv, quadratic):
    """Binaries, weights (5, 4, 3, 2) within 9, values (12, 10, 7, 4): the linear optimum is
    {0, 1} at -22, {1, 2, 3} gives -21. With the quadratic part (as in the engine's tests) the
    optimum is -18 and {1, 2, 3} gives -17."""
    x = [nv.var(vartype=nv.binary, name=f"x{j}") for j in range(4)]
    w, c = (5, 4, 3, 2), (12, 10, 7, 4)
    obj = -nv.Sum(cj * xj for cj, xj in zip(c, x))
    if quadratic:
        obj = obj + 2 * x[0] * x[0] + 2 * x[1] * x[1] + x[2] * x[2] + x[3] * x[3] + x[0] * x[2]
    cap = nv.constraint(nv.Sum(wj * xj for wj, xj in zip(w, x)) <= 9, name="cap")
    p = nv.problem(x, cap, obj, name="knapsack")
    return p, x


@pytest.mark.parametrize("quadratic, optimum, given", [(False, -22, -21), (True, -18, -17)])
@pytest.mark.parametrize("add", [
    lambda p, x: p.addmipsol([1, 1, 0], [x[1], "x2", 0], "guess"),   # x3 is completed to 1
    lambda p, x: p.addmipsol(mipsolval=[0, 1, 1, 1]),                 # the legacy keyword
], ids=["partial", "legacy"])
def test_added_solution_is_the_first_incumbent(nv, quadratic, optimum, given, add):
    p, x = knapsack(nv, quadratic)
    p.controls.solution_limit = 1
    # HiGHS's presolve settles this small knapsack whatever it starts from: the engine's own
    # search shows the start as its first incumbent.
    p.controls.tree_search = 1
    add(p, x)
    p.solve()
    assert p.attributes.mip_objective == pytest.approx(given, abs=1e-9)
    assert p.getSolution(x) == pytest.approx([0, 1, 1, 1], abs=1e-9)
    p.controls.solution_limit = 0
    p.solve()
    assert p.attributes.mip_objective == pytest.approx(optimum, abs=1e-9)


def test_refined_solution_is_feasible_and_not_worse(nv):
    # min variance over four assets, at most two held, return >= 2.5 (as in the engine's tests)
    p, x, z = portfolio(nv, nv.minimize)
    given = [0, 0.4, 0.6, 0, 0, 1, 1, 0]
    refined = []
    assert p.refinemipsol(0, "", given, refined) == 0
    assert refined[5:7] == [1, 1]
    assert refined[1] == pytest.approx(0.5, abs=1e-5)
    assert p.loadmipsol(refined) == 0                      # feasible, and now the MIP solution
    assert p.attributes.mip_status == nv.mip_solution
    assert p.attributes.mip_objective == pytest.approx(1.5, abs=1e-6)   # below 1.76
    assert p.loadmipsol(x=given) == 2                      # feasible, worse


def test_fixglobals_keeps_the_mip_objective(nv):
    p, x = knapsack(nv, False)
    y = nv.var(ub=3, name="y")                             # a continuous part as well
    p.addVariable(y)
    p.addConstraint(y <= 2 * x[3] + 0.5)
    p.chgobj([y], [-1])
    p.solve()
    mip, values = p.attributes.mip_objective, p.getSolution(x)
    p.fixglobals(1)
    assert p.getlb(None, 0, 3) == p.getub(None, 0, 3) == pytest.approx(values)
    assert p.getub(None, 4, 4) == [3]                      # the continuous column stays free
    p.solve()
    assert p.attributes.mip_objective == pytest.approx(mip, abs=1e-9)


def test_presolverow_and_the_operations_without_work(nv):
    p, x = knapsack(nv, False)
    p.chgbounds([x[1]], ["B"], [1])                        # fixed at 1
    cols, coefs = [], []
    rhs, status = p.presolverow("L", [x[0], x[1], "x0"], [1, 4, 2], 10, 4, cols, coefs)
    assert (rhs, status) == (6, 0)
    assert len(cols) == 1 and cols[0] is x[0] and coefs == [3]
    p.postsolve()
    p.scale([0], [1, 0, -1, 0])
    p.scale(colscale=None)


def test_crossover_after_a_barrier_solve(nv):
    a, b = nv.var(name="a"), nv.var(name="b")
    p = nv.problem(a, b, a + 2 * b <= 4, 3 * a + b <= 6, a + b, sense=nv.maximize)
    p.controls.crossover = 0
    p.solve("b")
    assert p.crossoverlpsol() == 0
    rowstat, colstat = [], []
    p.getbasis(rowstat, colstat)
    assert colstat == [nv.basis_basic, nv.basis_basic]


BAD = [
    ("loadmipsol_missing", lambda p: p.loadmipsol(), "Must provide argument dsol"),
    ("loadmipsol_short", lambda p: p.loadmipsol([1, 0]), "Mismatched lengths"),
    ("addmipsol_repeated_by_name", lambda p: p.addmipsol([1, 1], [0, "x0"]), "given twice"),
    ("addmipsol_lengths", lambda p: p.addmipsol([1, 1], [0]), "Mismatched lengths"),
    ("refinemipsol_not_a_list", lambda p: p.refinemipsol(0, "", [0] * 4, None), "must be a list"),
    ("scale_length", lambda p: p.scale([0, 0]), "Mismatched lengths"),
    ("presolverow_type", lambda p: p.presolverow("N", [0], [1], 0, 1, [], []), "rowtype"),
]


@pytest.mark.parametrize("call, message", [b[1:] for b in BAD], ids=[b[0] for b in BAD])
def test_bad_input_raises_and_changes_nothing(nv, tmp_path, call, message):
    p, x = knapsack(nv, False)
    before = picture(p, tmp_path)
    with pytest.raises((nv.ModelError, nv.InterfaceError, nv.SolverError)) as info:
        call(p)
    assert message in str(info.value)
    assert picture(p, tmp_path) == before
