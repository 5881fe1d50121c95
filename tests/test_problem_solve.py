"""Models built with the modelling API and solved end to end; every optimum is derived
independently (by hand in the comments, or from the optima published with the instance)."""

import ctypes
import os

import numpy as np
import pytest


@pytest.fixture(autouse=True)
def quiet(nv, output_switch):
    nv.setOutputEnabled(False)


def values(p, variables):
    solution = p.getSolution()
    return np.array([solution[p.getIndex(v)] for v in variables], dtype=float)


def test_diet_lp(nv):
    # min 2b + 3.5m + 8c  s.t. protein 4b + 8m + 7c >= 20, calories 300b + 150m + 400c >= 1200,
    # b <= 3. With b at its bound both requirements bind on m and c: 8m + 7c = 8 and
    # 150m + 400c = 300 give c = 24/43, m = 22/43; the duals (0.0930, 0.0184) are positive and
    # b's reduced cost 2 - 4*0.0930 - 300*0.0184 < 0 keeps it at its upper bound.
    # Cost 6 + 3.5*22/43 + 8*24/43 = 527/43.
    b, m, c = nv.var(ub=3, name="bread"), nv.var(name="milk"), nv.var(name="cheese")
    p = nv.problem(b, m, c, name="diet")
    protein = p_row = 4 * b + 8 * m + 7 * c >= 20
    calories = 300 * b + 150 * m + 400 * c >= 1200
    p.addConstraint(protein, calories)
    p.setObjective(2 * b + 3.5 * m + 8 * c)
    p.solve()
    assert p.getProbStatus() == nv.lp_optimal
    assert p.getProbStatusString() == "lp_optimal"
    assert p.getObjVal() == pytest.approx(527 / 43, rel=1e-9)
    assert values(p, [b, m, c]) == pytest.approx([3, 22 / 43, 24 / 43], abs=1e-7)
    assert p_row is protein


def test_transportation(nv):
    # Supplies 20 and 30 meet demands 10, 25, 15 exactly, so only the first supplier's split
    # matters: each unit it sends to j saves c2j - c1j = (3, 1, 7). It fills j=3 (15 units)
    # and then j=1 (5 units): 270 - 7*15 - 3*5 = 150, where 270 is the all-from-supplier-2 cost.
    cost = [[2, 3, 1], [5, 4, 8]]
    supply, demand = [20, 30], [10, 25, 15]
    x = [[nv.var(name=f"x_{i}_{j}") for j in range(3)] for i in range(2)]
    p = nv.problem(x)
    p.addConstraint([nv.Sum(x[i]) <= supply[i] for i in range(2)])
    p.addConstraint([x[0][j] + x[1][j] == demand[j] for j in range(3)])
    p.setObjective(nv.Sum(cost[i][j] * x[i][j] for i in range(2) for j in range(3)))
    p.solve()
    assert p.getProbStatusString() == "lp_optimal"
    assert p.getObjVal() == pytest.approx(150)
    assert values(p, x[0]) == pytest.approx([5, 0, 15], abs=1e-7)
    assert values(p, x[1]) == pytest.approx([5, 25, 0], abs=1e-7)


def test_knapsack_mip(nv):
    # Weights 3 4 5 6 2, values 4 5 7 8 1, capacity 10: the subsets that fit are few; the best
    # is {4, 6} with value 13 (next: {3, 5, 2} and {4, 5} with 12).
    w, v = [3, 4, 5, 6, 2], [4, 5, 7, 8, 1]
    x = [nv.var(vartype=nv.binary) for _ in w]
    p = nv.problem(x, nv.Sum(wi * xi for wi, xi in zip(w, x)) <= 10,
                   nv.Sum(vi * xi for vi, xi in zip(v, x)), sense=nv.maximize)
    p.solve()
    assert p.getProbStatus() == nv.mip_optimal
    assert p.getProbStatusString() == "mip_optimal"
    assert p.getObjVal() == pytest.approx(13)
    assert values(p, x) == pytest.approx([0, 1, 0, 1, 0], abs=1e-6)


def test_portfolio_qp(nv):
    # min x'Sx  s.t. sum x = 1, r'x = 0.14. With both constraints binding and a positive
    # answer, the optimum solves the KKT system [2S A'; A 0] [x; l] = [0; b].
    S = np.array([[0.10, 0.02, 0.01], [0.02, 0.30, 0.05], [0.01, 0.05, 0.20]])
    r = np.array([0.08, 0.20, 0.14])
    A = np.vstack([np.ones(3), r])
    kkt = np.block([[2 * S, A.T], [A, np.zeros((2, 2))]])
    x_star = np.linalg.solve(kkt, np.array([0, 0, 0, 1.0, 0.14]))[:3]
    assert (x_star > 0).all()
    x = [nv.var() for _ in range(3)]
    risk = nv.Sum(S[i, j] * x[i] * x[j] for i in range(3) for j in range(3))
    p = nv.problem(x, nv.Sum(x) == 1, nv.Sum(r[i] * x[i] for i in range(3)) == 0.14, risk)
    p.solve()
    assert p.getProbStatusString() == "lp_optimal"
    assert values(p, x) == pytest.approx(x_star, abs=1e-5)
    assert p.getObjVal() == pytest.approx(x_star @ S @ x_star, rel=1e-6)


@pytest.mark.parametrize("active", [0, 1])
def test_indicator_and_semicontinuous(nv, active):
    # min s + 0.5x + 4*[z != active]  s.t. s + x >= 2.5, (z == active) -> x <= 1,
    # s semi-continuous: 0 or in [3, 8].
    # z == active: x <= 1 forces s >= 1.5, hence s >= 3: best s = 3, x = 0, cost 3.
    # z != active: cost 4 + 0.5*2.5 = 5.25. Without the threshold the optimum would be
    # s = 1.5, x = 1 (cost 2); without the indicator x = 2.5 (cost 1.25).
    s = nv.var(vartype=nv.semicontinuous, lb=0, ub=8, threshold=3, name="s")
    x = nv.var(ub=10, name="x")
    z = nv.var(vartype=nv.binary, name="z")
    p = nv.problem(s, x, z, s + x >= 2.5)
    p.addIndicator(z == active, x <= 1)
    penalty = 4 * (1 - z) if active else 4 * z
    p.setObjective(s + 0.5 * x + penalty)
    p.solve()
    assert p.getProbStatusString() == "mip_optimal"
    assert p.getObjVal() == pytest.approx(3)
    assert values(p, [s, x, z]) == pytest.approx([3, 0, active], abs=1e-6)
    assert p.attributes.indicators == 1


def test_sos1_picks_one_member(nv):
    # Maximise x1 + 2x2 + 3x3 with x <= 1 and at most one non-zero: x3 = 1, objective 3.
    x = [nv.var(ub=1) for _ in range(3)]
    p = nv.problem(x, x[0] + 2 * x[1] + 3 * x[2], sense=nv.maximize)
    p.addSOS(nv.sos(x, [1, 2, 3], type=1))
    p.solve()
    assert p.getObjVal() == pytest.approx(3)
    assert values(p, x) == pytest.approx([0, 0, 1], abs=1e-6)


def read_mps(path):
    """Rows, columns and bounds of a small MPS file without RANGES."""
    rows, cols, rhs, bounds, section = {}, {}, {}, {}, None
    for line in open(path):
        if not line.strip() or line.startswith("*"):
            continue
        if not line[0].isspace():
            section = line.split()[0]
            continue
        f = line.split()
        if section == "ROWS":
            rows[f[1]] = f[0]
        elif section == "COLUMNS":
            for k in range(1, len(f) - 1, 2):
                cols.setdefault(f[0], {})[f[k]] = float(f[k + 1])
        elif section == "RHS":
            for k in range(1, len(f) - 1, 2):
                rhs[f[k]] = float(f[k + 1])
        elif section == "BOUNDS":
            bounds.setdefault(f[2], {})[f[0]] = float(f[3]) if len(f) > 3 else None
    return rows, cols, rhs, bounds


def test_afiro_rebuilt_through_the_modelling_api(nv, shared_data):
    rows, cols, rhs, bounds = read_mps(os.path.join(shared_data, "afiro.mps"))
    assert not bounds
    optimum = {l.split(",")[0]: l.strip().split(",")[3] for l in open(os.path.join(shared_data, "optima.csv"))}
    x = {name: nv.var(name=name) for name in cols}
    body = {r: 0 for r in rows}
    for name, entries in cols.items():
        for r, a in entries.items():
            body[r] = body[r] + a * x[name]
    sense = {"L": lambda e, b: e <= b, "G": lambda e, b: e >= b, "E": lambda e, b: e == b}
    objective = next(r for r, t in rows.items() if t == "N")
    p = nv.problem(list(x.values()))
    p.addConstraint([sense[t](body[r], rhs.get(r, 0.0)) for r, t in rows.items() if t != "N"])
    p.setObjective(body[objective])
    p.solve()
    assert p.getProbStatusString() == "lp_optimal"
    assert p.attributes.rows == 27 and p.attributes.columns == 32
    assert p.getObjVal() == pytest.approx(float(optimum["afiro.mps"]), rel=1e-8)


def test_objective_constant_and_sense(nv):
    # max 5 - (x - 2)^2 = 1 + 4x - x^2 over x in [0, 10] is 5 at x = 2; the constant 1 goes to
    # the objective.
    x = nv.var(ub=10)
    p = nv.problem(x)
    p.setObjective(5 - (x - 2) * (x - 2), sense=nv.maximize)
    assert p.attributes.objective_constant == pytest.approx(1)
    assert p.attributes.objective_sense == -1
    p.solve()
    assert p.getObjVal() == pytest.approx(5)
    assert values(p, [x])[0] == pytest.approx(2, abs=1e-5)


def test_replacing_the_objective_removes_every_old_term(nv):
    # First objective x^2 + y + 7, then 2y alone: nothing of the first may remain.
    x, y = nv.var(lb=1, ub=4), nv.var(lb=1, ub=4)
    p = nv.problem(x, y, x * x + x * y + y + 7)
    p.setObjective(2 * y, sense=nv.maximize)
    assert p.attributes.objective_quadratic_elements == 0
    assert p.attributes.objective_constant == 0
    p.solve()
    assert p.getObjVal() == pytest.approx(8)


def test_status_before_solving_and_infeasible_lp(nv):
    x = nv.var(ub=1)
    p = nv.problem(x, x >= 2, x)
    assert p.getProbStatusString() == "lp_unstarted"
    p.solve()
    assert p.getProbStatusString() == "lp_infeas"
    b = nv.var(vartype=nv.integer)
    q = nv.problem(b)
    assert q.getProbStatusString() == "mip_not_loaded"


def test_solve_refuses_flags_that_are_not_a_string(nv):
    x = nv.var()
    p = nv.problem(x, x)
    with pytest.raises(nv.InterfaceError, match="The optional 'flags' parameter should be a string"):
        p.solve(flags=3)
    assert p.getProbStatusString() == "lp_unstarted"
    p.solve(flags="d")
    assert p.getProbStatusString() == "lp_optimal"


@pytest.mark.parametrize(
    "make, exc, message",
    [
        (lambda nv, x: (x, 0), "ModelError", "Invalid optimization sense"),
        (lambda nv, x: ("x", 1), "ModelError", "Invalid object set as objective"),
        (lambda nv, x: (np.array([], dtype=object), 1), "ModelError",
         "Invalid object set as objective"),
        (lambda nv, x: (nv.var() + x, 1), "ModelError",
         "Variable in linear part of constraint has not been added to problem yet"),
    ],
)
def test_setObjective_errors_keep_the_old_objective(nv, make, exc, message):
    x = nv.var(ub=3)
    p = nv.problem(x, x, sense=nv.maximize)
    obj, sense = make(nv, x)
    with pytest.raises(getattr(nv, exc), match=message):
        p.setObjective(obj, sense=sense)
    p.solve()
    assert p.getObjVal() == pytest.approx(3)


def test_setObjective_accepts_a_one_element_array_only(nv):
    x, y = nv.var(ub=2), nv.var(ub=5)
    p = nv.problem(x, y)
    p.setObjective(np.array([x + y], dtype=object), sense=nv.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(7)
    with pytest.raises(nv.ModelError, match="Only one objective can be set"):
        p.setObjective(np.array([x, y], dtype=object))


def test_nonconvex_objective_is_reported(nv):
    x = nv.var(lb=-1, ub=1)
    p = nv.problem(x, -x * x)
    with pytest.raises(nv.SolverError, match="determined to be nonconvex"):
        p.solve()


def nonlinear_counters(p):
    """The problem's reserved_index, n_nonlin_cons and nonlin_obj fields, in place. They follow
    the object header, the two library handles, five objects, three maps and 40 callback lists;
    reserved_index is always -1, which confirms the offset."""
    offset = object.__basicsize__ + 50 * ctypes.sizeof(ctypes.c_void_p)
    fields = (ctypes.c_int32 * 3).from_address(id(p) + offset)
    assert fields[0] == -1
    return fields


@pytest.mark.parametrize("counter", [1, 2], ids=["nonlinear_rows", "nonlinear_objective"])
def test_a_nonlinear_problem_reports_the_nonlinear_solvers_outcome(nv, counter):
    x = nv.var(ub=3)
    p = nv.problem(x, x, sense=nv.maximize)
    p.solve()
    assert (p.getProbStatus(), p.getProbStatusString(), p.getObjVal()) == (1, "lp_optimal", 3)
    fields = nonlinear_counters(p)
    fields[counter] = 1
    try:
        # The nonlinear solver has not run on it: its status 0, named from its own table.
        assert (p.getProbStatus(), p.getProbStatusString(), p.getObjVal()) == (
            0, "nlp_unstarted", 0)
    finally:
        fields[counter] = 0
