"""Problem construction from positional elements, copy, reset, name and module defaults."""

import gc

import numpy as np
import pytest
from conftest import nested, same_objects

pytestmark = pytest.mark.usefixtures("quiet")


def test_constructor_adds_elements_in_order_and_sets_the_objective(nv):
    x, y = nv.var(ub=4, name="x"), nv.var(ub=3, name="y")
    c = x + y <= 5
    p = nv.problem([x, (y,)], {"cap": c}, x + 2 * y, "model", sense=nv.maximize)
    assert p.name() == "model" and str(p) == "model"
    assert same_objects(p.getVariable(first=0), [x, y])
    assert p.getConstraint(index=0) is c
    p.solve()
    # x + y <= 5 with y <= 3: y = 3, x = 2, objective 8.
    assert p.getObjVal() == pytest.approx(8)


def test_a_variable_given_again_becomes_the_objective(nv):
    x = nv.var(ub=7)
    p = nv.problem(x, x, sense=nv.maximize)
    assert p.attributes.columns == 1
    p.solve()
    assert p.getObjVal() == pytest.approx(7)


def test_positional_name_wins_over_keyword(nv):
    assert nv.problem("positional", name="keyword").name() == "positional"
    assert nv.problem(name="keyword").name() == "keyword"
    assert nv.problem().name() == "noname"


def test_generator_element_is_consumed_by_the_declaration_walk(nv):
    # The walk that classifies a generator consumes it: only its last item is added.
    xs = [nv.var() for _ in range(3)]
    p = nv.problem(v for v in xs)
    assert same_objects(p.getVariable(first=0), [xs[-1]])


@pytest.mark.parametrize("make, message", [
    (lambda nv, x, y: nv.problem(sense=0), "Invalid optimization sense"),
    (lambda nv, x, y: nv.problem("a", "b"), "More than one string passed in problem declaration"),
    (lambda nv, x, y: nv.problem(x, y, x + y, x - y),
     "At most one expression can be used as an objective function"),
    (lambda nv, x, y: nv.problem(x, [x + y]), "Incorrect way of defining an objective function"),
    (lambda nv, x, y: nv.problem(3), "Erroneous problem declaration; argument contained object"),
    (lambda nv, x, y: nv.problem([x, x + y <= 1]), "Erroneous problem declaration"),
    (lambda nv, x, y: nv.problem(nested(x, 33)), r"Maximum recursion \(inclusion\) level"),
    (lambda nv, x, y: nv.problem(x, y, np.array([x + y, x - y], dtype=object)),
     "Only one objective can be set, but a sequence or NumPy array"),
])
def test_constructor_errors(nv, make, message):
    with pytest.raises(nv.ModelError, match=message):
        make(nv, nv.var(), nv.var())


def test_nesting_up_to_the_limit_is_walked(nv):
    x = nv.var()
    p = nv.problem(nested(x, 32))
    assert p.getIndex(x) == 0


def test_copy_shares_objects_but_not_the_model(nv):
    x, y = nv.var(ub=2), nv.var(ub=3)
    c = x + y <= 4
    p = nv.problem(x, y, c, x + y, sense=nv.maximize, name="orig")
    p.controls.threads = 1
    q = p.copy()
    assert same_objects(q.getVariable(first=0), [x, y]) and q.getConstraint(index=0) is c
    assert q.name() == "orig" and q.controls.threads == 1
    z = nv.var(ub=10)
    q.addVariable(z)
    q.setObjective(z, sense=nv.maximize)
    q.delConstraint(index=c)
    assert p.attributes.columns == 2 and p.getIndex(c) == 0
    p.solve()
    q.solve()
    assert p.getObjVal() == pytest.approx(4)
    assert q.getObjVal() == pytest.approx(10)
    with pytest.raises(nv.ModelError):
        p.getIndex(z)


def test_reset_empties_the_problem_and_keeps_the_object(nv):
    x = nv.var(ub=1)
    p = nv.problem(x, x <= 0.5, x, name="before")
    controls = p.controls
    p.reset()
    assert p.name() == ""
    assert p.attributes.rows == 0 and p.attributes.columns == 0
    with pytest.raises(nv.ModelError):
        p.getIndex(x)
    assert p.controls is controls
    p.addVariable(x)  # x is no longer in the problem, so it may come back
    p.setObjective(x, sense=nv.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(1)


def test_controls_object_outliving_its_problem_refuses_access(nv):
    controls = nv.problem().controls
    gc.collect()
    with pytest.raises(nv.InterfaceError, match="no longer exists"):
        controls.threads


def test_problems_release_every_reference_they_take(nv):
    import sys

    x, y = nv.var(), nv.var()
    c, s = x + y <= 1, nv.sos([x, y], [1, 2])
    before = [sys.getrefcount(o) for o in (x, y, c, s)]
    for _ in range(20):
        p = nv.problem(x, y, c, s, x + y)
        q = p.copy()
        q.delVariable(index=0)
        p.getVariable(index=[0, 1])
        p.reset()
        del p, q
    gc.collect()
    assert [sys.getrefcount(o) for o in (x, y, c, s)] == before


UNINITIALISED = "The problem has not been initialized"


@pytest.mark.parametrize("use, exc, message", [
    *[(use, "InterfaceError", UNINITIALISED) for use in (
        str, lambda p: p.name(), lambda p: p.copy(), lambda p: p.reset(),
        lambda p: p.addVariable(), lambda p: p.addConstraint(), lambda p: p.delVariable(index=0),
        lambda p: p.getIndex(0), lambda p: p.setObjective(1), lambda p: p.solve(),
        lambda p: p.getProbStatus(), lambda p: p.getControl("threads"))],
    # There is no library problem to ask.
    (lambda p: p.getlasterror(), "SolverError",
     "^Unidentified error associated with optimization problem$"),
])
def test_a_problem_made_without_init_refuses_use(nv, use, exc, message):
    p = nv.problem.__new__(nv.problem)
    with pytest.raises(getattr(nv, exc), match=message):
        use(p)
