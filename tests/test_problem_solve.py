"""Models built with the modelling API and solved end to end; every optimum is derived by
hand in the comments. (Random models with indicators and semi-continuous columns against
HiGHS: test_crosscheck_highs.py.)"""

import numpy as np
import pytest

pytestmark = pytest.mark.usefixtures("quiet")


def values(p, variables):
    solution = p.getSolution()
    return np.array([solution[p.getIndex(v)] for v in variables], dtype=float)


def test_sos1_picks_one_member(nv):
    # Maximise x1 + 2x2 + 3x3 with x <= 1 and at most one non-zero: x3 = 1, objective 3.
    x = [nv.var(ub=1) for _ in range(3)]
    p = nv.problem(x, x[0] + 2 * x[1] + 3 * x[2], sense=nv.maximize)
    p.addSOS(nv.sos(x, [1, 2, 3], type=1))
    p.solve()
    assert p.getObjVal() == pytest.approx(3)
    assert values(p, x) == pytest.approx([0, 0, 1], abs=1e-6)


def test_replacing_the_objective_removes_every_old_term(nv):
    # First objective x^2 + y + 7, then 2y alone: nothing of the first may remain.
    x, y = nv.var(lb=1, ub=4), nv.var(lb=1, ub=4)
    p = nv.problem(x, y, x * x + x * y + y + 7)
    p.setObjective(2 * y, sense=nv.maximize)
    assert p.attributes.objective_quadratic_elements == 0
    assert p.attributes.objective_constant == 0
    p.solve()
    assert p.getObjVal() == pytest.approx(8)


def test_solve_refuses_flags_that_are_not_a_string(nv):
    x = nv.var()
    p = nv.problem(x, x)
    with pytest.raises(nv.InterfaceError, match="The optional 'flags' parameter should be a string"):
        p.solve(flags=3)
    assert p.getProbStatusString() == "lp_unstarted"
    p.solve(flags="d")
    assert p.getProbStatusString() == "lp_optimal"
    assert nv.problem(nv.var(vartype=nv.integer)).getProbStatusString() == "mip_not_loaded"


@pytest.mark.parametrize("make, exc, message", [
    (lambda nv, x: (x, 0), "ModelError", "Invalid optimization sense"),
    (lambda nv, x: ("x", 1), "ModelError", "Invalid object set as objective"),
    (lambda nv, x: (np.array([], dtype=object), 1), "ModelError",
     "Invalid object set as objective"),
    (lambda nv, x: (nv.var() + x, 1), "ModelError",
     "Variable in linear part of constraint has not been added to problem yet"),
])
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
