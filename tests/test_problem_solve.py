"""Controls and attributes by name (case rules, type checks, getControl, setControl, getAttrib),
and models built with the modelling API and solved end to end, every optimum derived by hand
in the comments. (Random models with indicators and semi-continuous columns against HiGHS:
test_crosscheck_highs.py.)"""

import numpy as np
import pytest


pytestmark = pytest.mark.usefixtures("quiet")


MIXED = "Control or attribute is neither all-lower nor all-upper case"
NOT_INT = "Cannot set non-integer value to an integer control"
NOT_FLOAT = "Cannot set non-numerical value to a floating-point control"
NOT_STR = "Cannot set non-string value to a string control"
UNKNOWN = "Incorrect control name"


@pytest.fixture
def p(nv):
    x = nv.var(ub=2)
    return nv.problem(x, x <= 1, x)


@pytest.mark.parametrize("name", ["miptol", "MIPTOL"])
def test_names_in_lower_or_upper_case_are_one_name(p, name):
    setattr(p.controls, name, 1e-7)
    assert p.controls.miptol == 1e-7
    assert getattr(p.controls, name) == 1e-7
    assert p.getControl(name) == 1e-7
    assert p.getAttrib(name.replace("MIPTOL", "ROWS").replace("miptol", "rows")) == 1


@pytest.mark.parametrize("action, exc, message", [
    (lambda nv, p: p.controls.MipTol, "ModelError", MIXED),
    (lambda nv, p: setattr(p.controls, "MipTol", 1e-6), "ModelError", MIXED),
    (lambda nv, p: p.attributes.Rows, "ModelError", MIXED),
    (lambda nv, p: p.getControl("Threads"), "ModelError", MIXED),
    (lambda nv, p: p.setControl("Threads", 1), "ModelError", MIXED),
    (lambda nv, p: p.setControl("threads", "two"), "ModelError", NOT_INT),
    (lambda nv, p: p.setControl("threads", 1.5), "ModelError", NOT_INT),
    (lambda nv, p: p.setControl("time_limit", "long"), "ModelError", NOT_FLOAT),
    (lambda nv, p: p.setControl("mps_rhs_name", 3), "ModelError", NOT_STR),
    (lambda nv, p: p.setControl(), "ModelError",
     "setControl requires at least one argument of type dictionary"),
    (lambda nv, p: p.setControl(5), "ModelError",
     "Single argument to setControl must be a dictionary"),
    (lambda nv, p: p.setControl("threads", 1, 2), "ModelError", "setControl: arguments mismatch"),
    (lambda nv, p: p.setControl("nonsense", 1), "InterfaceError", UNKNOWN),
    (lambda nv, p: p.setControl({"nonsense": 1}), "InterfaceError", UNKNOWN),
    # The library's own range checks.
    (lambda nv, p: p.setControl("lp_algorithm", 9), "SolverError", None),
    (lambda nv, p: p.setControl("nslp_penalty", float("inf")), "SolverError", None),
    (lambda nv, p: p.getControl("nonsense"), "InterfaceError",
     "Requested value of an unknown control"),
    (lambda nv, p: p.getAttrib(["rows", "nonsense"]), "InterfaceError",
     "Requested value of an unknown attribute"),
    (lambda nv, p: p.controls.nonsense, "InterfaceError", UNKNOWN),
    (lambda nv, p: p.attributes.nonsense, "InterfaceError", "Incorrect attribute name"),
    (lambda nv, p: setattr(p.attributes, "rows", 3), "InterfaceError", None),
    (lambda nv, p: nv.controls.nosuchcontrol, "InterfaceError", f"^{UNKNOWN}$"),
    (lambda nv, p: setattr(nv.controls, "nosuchcontrol", 3), "InterfaceError", f"^{UNKNOWN}$"),
    (lambda nv, p: nv.controls.Nslp_Postsolve, "ModelError", MIXED),
    (lambda nv, p: type(nv.controls).__getattribute__(nv.controls, 1), "ModelError",
     "^Bad control request$"),
    (lambda nv, p: setattr(nv.controls, "threads", "3"), "ModelError", f"^{NOT_INT}$"),
    (lambda nv, p: setattr(nv.controls, "THREADS", 1.5), "ModelError", f"^{NOT_INT}$"),
    (lambda nv, p: setattr(nv.controls, "time_limit", "x"), "ModelError", f"^{NOT_FLOAT}$"),
    (lambda nv, p: setattr(nv.controls, "time_limit", None), "ModelError", f"^{NOT_FLOAT}$"),
    (lambda nv, p: setattr(nv.controls, "mps_rhs_name", 5), "ModelError", f"^{NOT_STR}$"),
])
def test_refused_requests_change_nothing(nv, p, action, exc, message):
    def state():
        return p.getControl(), [getattr(nv.controls, k) for k in ("threads", "time_limit",
                                                                   "mps_rhs_name")]

    before = state()
    with pytest.raises(getattr(nv, exc), match=message):
        action(nv, p)
    assert state() == before


@pytest.mark.parametrize("name, value, kind", [
    ("threads", 2, int), ("threads", np.int64(3), int), ("time_limit", 4, float),
    ("time_limit", np.float32(2.5), float), ("mps_rhs_name", "RHS2", str),
    ("node_limit", 2**40, int),
])
def test_values_of_every_type_round_trip(p, name, value, kind):
    p.setControl(name, value)
    assert p.getControl(name) == value
    assert type(p.getControl(name)) is kind


@pytest.mark.parametrize("name", ["time_limit", "mip_relative_gap", "mip_absolute_gap", "cutoff"])
def test_limits_accept_infinity_as_no_limit(p, name):
    p.setControl(name, float("inf"))
    assert p.getControl(name) == float("inf")
    p.solve()
    assert p.getSolution() == [0.0]


def test_listing_controls_and_attributes_and_setting_a_dictionary(nv, p):
    p.controls.random_seed = 5
    everything = p.getControl()
    assert everything["random_seed"] == -1  # reported, not read
    assert everything["threads"] == 0 and everything["miptol"] == 5e-6
    assert p.controls.random_seed == 5
    attributes = p.getAttrib()
    assert attributes["rows"] == 1 and attributes["columns"] == 1
    p.setControl({"threads": 1, "PRESOLVE": 0})
    assert p.getControl(["threads", "presolve"]) == {"threads": 1, "presolve": 0}
    # The attributes follow the problem.
    p.setObjective(p.getVariable(index=0), sense=nv.maximize)
    p.solve()
    assert p.attributes.lp_status == nv.lp_optimal == p.getProbStatus()
    assert p.attributes.lp_objective == pytest.approx(1)
    assert p.attributes.original_columns == p.attributes.columns == 1


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
    (lambda nv, x: (1e30 * x, 1), "SolverError",
     r"^Objective coefficient 1e\+30 is not a finite number below the infinity constant 1e20"),
    (lambda nv, x: (x + float("nan"), 1), "SolverError", r"^Objective coefficient nan is not"),
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
