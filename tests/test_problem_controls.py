"""Controls and attributes of a problem by name: case rules, type checks and the methods
getControl, setControl and getAttrib."""

import numpy as np
import pytest


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


@pytest.mark.parametrize("action", [
    lambda p: p.controls.MipTol,
    lambda p: setattr(p.controls, "MipTol", 1e-6),
    lambda p: p.attributes.Rows,
    lambda p: p.getControl("Threads"),
    lambda p: p.setControl("Threads", 1),
])
def test_mixed_case_names_are_refused(nv, p, action):
    with pytest.raises(nv.ModelError, match="Control or attribute is neither all-lower nor all-upper case"):
        action(p)


@pytest.mark.parametrize("name, value, message", [
    ("threads", "two", "Cannot set non-integer value to an integer control"),
    ("threads", 1.5, "Cannot set non-integer value to an integer control"),
    ("time_limit", "long", "Cannot set non-numerical value to a floating-point control"),
    ("mps_rhs_name", 3, "Cannot set non-string value to a string control"),
])
def test_values_of_the_wrong_type_are_refused(nv, p, name, value, message):
    before = p.getControl(name)
    with pytest.raises(nv.ModelError, match=message):
        p.setControl(name, value)
    assert p.getControl(name) == before


@pytest.mark.parametrize(
    "name, value, kind",
    [("threads", 2, int), ("threads", np.int64(3), int), ("time_limit", 4, float),
     ("time_limit", np.float32(2.5), float), ("mps_rhs_name", "RHS2", str),
     ("node_limit", 2**40, int)],
)
def test_values_of_every_type_round_trip(p, name, value, kind):
    p.setControl(name, value)
    assert p.getControl(name) == value
    assert type(p.getControl(name)) is kind


def test_setControl_with_a_dictionary_sets_every_entry(p):
    p.setControl({"threads": 1, "PRESOLVE": 0})
    assert p.getControl(["threads", "presolve"]) == {"threads": 1, "presolve": 0}


@pytest.mark.parametrize("args, exc, message", [
    ((), "ModelError", "setControl requires at least one argument of type dictionary"),
    ((5,), "ModelError", "Single argument to setControl must be a dictionary"),
    (("threads", 1, 2), "ModelError", "setControl: arguments mismatch"),
    (("nonsense", 1), "InterfaceError", "Incorrect control name"),
    (({"nonsense": 1},), "InterfaceError", "Incorrect control name"),
])
def test_setControl_errors(nv, p, args, exc, message):
    with pytest.raises(getattr(nv, exc), match=message):
        p.setControl(*args)


def test_library_range_errors_become_solver_errors(nv, p):
    with pytest.raises(nv.SolverError):
        p.setControl("lp_algorithm", 9)
    assert p.getControl("lp_algorithm") == 1


@pytest.mark.parametrize("name", ["time_limit", "mip_relative_gap", "mip_absolute_gap", "cutoff"])
def test_limits_accept_infinity_as_no_limit(nv, p, name):
    p.setControl(name, float("inf"))
    assert p.getControl(name) == float("inf")
    p.solve()
    assert p.getSolution() == [0.0]
    with pytest.raises(nv.SolverError):
        p.setControl("nslp_penalty", float("inf"))


def test_unknown_names(nv, p):
    with pytest.raises(nv.InterfaceError, match="Requested value of an unknown control"):
        p.getControl("nonsense")
    with pytest.raises(nv.InterfaceError, match="Requested value of an unknown attribute"):
        p.getAttrib(["rows", "nonsense"])
    with pytest.raises(nv.InterfaceError, match="Incorrect control name"):
        p.controls.nonsense
    with pytest.raises(nv.InterfaceError, match="Incorrect attribute name"):
        p.attributes.nonsense
    with pytest.raises(nv.InterfaceError):
        p.attributes.rows = 3


def test_getControl_without_arguments_lists_every_control(p):
    p.controls.random_seed = 5
    everything = p.getControl()
    assert everything["random_seed"] == -1  # reported, not read
    assert everything["threads"] == 0 and everything["miptol"] == 5e-6
    assert p.controls.random_seed == 5
    attributes = p.getAttrib()
    assert attributes["rows"] == 1 and attributes["columns"] == 1


def test_attributes_follow_the_problem(nv, p):
    p.setObjective(p.getVariable(index=0), sense=nv.maximize)
    p.solve()
    assert p.attributes.lp_status == nv.lp_optimal == p.getProbStatus()
    assert p.attributes.lp_objective == pytest.approx(1)
    assert p.attributes.original_columns == p.attributes.columns == 1
