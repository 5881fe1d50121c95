"""Problems: construction from positional elements, copy, reset, name and module defaults;
adding, deleting and looking up variables, constraints, sets and indicators (the problem's lists
and index maps stay in step with the solver's columns, rows and sets); reading solutions back
by object (getSolution, getSlack, getDual, getRCost)."""

import gc

import numpy as np
import pytest

import nuvrel as nv
from conftest import nested, same_objects
from lowlevel_support import in_step


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
    # A variable given again becomes the objective.
    x = nv.var(ub=7)
    p = nv.problem(x, x, sense=nv.maximize)
    assert p.attributes.columns == 1
    p.solve()
    assert p.getObjVal() == pytest.approx(7)
    # A positional name wins over the keyword.
    assert nv.problem("positional", name="keyword").name() == "positional"
    assert nv.problem(name="keyword").name() == "keyword"
    assert nv.problem().name() == "noname"


def test_declaration_walk_consumes_generators_and_opens_nesting_and_arrays(nv):
    # The walk that classifies a generator consumes it: only its last item is added.
    xs = [nv.var() for _ in range(3)]
    p = nv.problem(v for v in xs)
    assert same_objects(p.getVariable(first=0), [xs[-1]])
    # Nesting up to the limit is walked, and so are numpy arrays of objects.
    x = nv.var()
    p = nv.problem(nested(x, 32))
    assert p.getIndex(x) == 0
    x = np.array([[nv.var() for _ in range(3)] for _ in range(2)], dtype=object)
    p = nv.problem(x)
    assert p.attributes.columns == 6
    assert p.getIndex(x[1, 0]) == 3


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


COUNTS = ("columns", "rows", "sets", "indicators")
NOT_ADDED = "Variable in {} has not been added"
THRESHOLD = "check that its threshold is between its lower and upper bounds"
INDICATOR = "Invalid declaration of indicator constraints."


# Rows take (nv, x, y, z, c): x, z (binary) and the row c are in the problem, y is not.
@pytest.mark.parametrize("method, make, message", [
    ("addVariable", lambda nv, x, y, z, c: (y, y), "Variable already added to problem"),
    ("addVariable", lambda nv, x, y, z, c: (y, 3), "Incorrect objects added as variables"),
    ("addVariable", lambda nv, x, y, z, c: (nv.var(name=3),), "Invalid variable name"),
    ("addVariable", lambda nv, x, y, z, c: (nv.var(vartype=nv.semicontinuous, ub=4,
                                                   threshold=6),), THRESHOLD),
    ("addVariable", lambda nv, x, y, z, c: (nv.var(vartype=nv.partiallyinteger, lb=2, ub=4,
                                                   threshold=1),), THRESHOLD),
    ("addConstraint", lambda nv, x, y, z, c: (x <= 2, 3), "Invalid constraint"),
    ("addConstraint", lambda nv, x, y, z, c: (x <= 2, c), "Constraint already added"),
    ("addConstraint", lambda nv, x, y, z, c: (x <= 2, nv.constraint(body=y, ub=1)),
     NOT_ADDED.format("linear term defining constraint")),
    ("addConstraint", lambda nv, x, y, z, c: (x <= 2, x + y <= 1),
     NOT_ADDED.format("linear part of constraint")),
    ("addConstraint", lambda nv, x, y, z, c: (x <= 2, nv.constraint(body=x * y, ub=1)),
     "Variable in quadratic term defining constraint has not"),
    ("addConstraint", lambda nv, x, y, z, c: (x <= 2, x * y + x <= 1),
     "Variable in quadratic part of constraint has not"),
    ("addSOS", lambda nv, x, y, z, c: (x,), "Object added is not a SOS"),
    ("addSOS", lambda nv, x, y, z, c: (nv.sos([x, y], [1, 2]),),
     "SOS contains variable that was not added"),
    ("addSOS", lambda nv, x, y, z, c: (nv.sos([x, "x1"], [1, 2]),),
     "SOS indices must be passed as a list"),
    ("addSOS", lambda nv, x, y, z, c: (nv.sos([x, z], [1]),), "fewer weights than indices"),
    ("addIndicator", lambda nv, x, y, z, c: (z == 1,), INDICATOR + "\nThe problem"),
    ("addIndicator", lambda nv, x, y, z, c: ((z == 1, x <= 1, x >= 0),), INDICATOR),
    ("addIndicator", lambda nv, x, y, z, c: ((z == 1, x),), INDICATOR + "$"),
    ("addIndicator", lambda nv, x, y, z, c: (2 * z == 2, x <= 1),
     "Indicator variable must have coefficient 1"),
    ("addIndicator", lambda nv, x, y, z, c: (z + x == 1, x <= 1),
     "there must be exactly one variable"),
    ("addIndicator", lambda nv, x, y, z, c: (z * z + z == 1, x <= 1),
     "it cannot contain a quadratic expression"),
    ("addIndicator", lambda nv, x, y, z, c: (z == 0.5, x <= 1), "must be .* == 0 or .* == 1"),
    ("addIndicator", lambda nv, x, y, z, c: (y == 1, x <= 1),
     "Indicator variable has not been added to problem yet"),
])
def test_add_errors_change_nothing(nv, method, make, message):
    x, y, z = nv.var(), nv.var(vartype=nv.binary), nv.var(vartype=nv.binary)
    c = x <= 5
    p = nv.problem(x, z, c)
    with pytest.raises(nv.ModelError, match=message):
        getattr(p, method)(*make(nv, x, y, z, c))
    assert [getattr(p.attributes, k) for k in COUNTS] == [2, 1, 0, 0]
    in_step(p)


@pytest.mark.parametrize("method, make", [
    ("addVariable", lambda nv, x, y: {"y": y}),
    ("addConstraint", lambda nv, x, y: {"row": x <= 1}),
    ("addSOS", lambda nv, x, y: {"s": nv.sos([x], [1])}),
])
def test_objects_given_by_keyword_are_refused_not_dropped(nv, method, make):
    x, y = nv.var(), nv.var()
    p = nv.problem(x)
    with pytest.raises(TypeError, match=f"^{method}\\(\\) takes no keyword arguments$"):
        getattr(p, method)(**make(nv, x, y))
    assert [getattr(p.attributes, k) for k in COUNTS] == [1, 0, 0, 0]


def test_many_constraints_in_one_call_land_in_order(nv):
    # More rows than the first buffer size, so the batch buffers grow during the call.
    n = 5000
    x = [nv.var(ub=1000) for _ in range(n)]
    rows = [x[i] <= i % 7 for i in range(n)]
    p = nv.problem(x)
    p.addConstraint(rows)
    assert p.attributes.rows == n
    assert p.getIndex(rows[4321]) == 4321
    p.setObjective(nv.Sum(x), sense=nv.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(sum(i % 7 for i in range(n)))


def test_quadratic_parts_reach_the_solver_as_written(nv, tmp_path):
    # The LP file shows rows as a'x + [x'Qx] and the objective as c'x + [x'Qx] / 2.
    x, y = nv.var(name="x"), nv.var(name="y")
    p = nv.problem(x, y, x * x + 2 * x * y + 3 * y * y <= 6, x * x + 3 * x * y + y)
    assert p.attributes.quadratic_rows == 1
    p.write(str(tmp_path / "q.lp"), "l")
    text = " ".join((tmp_path / "q.lp").read_text().split())
    assert "[ x ^2 + 2 x * y + 3 y ^2 ] <= 6" in text
    assert "[ 2 x ^2 + 6 x * y ] / 2" in text


@pytest.mark.parametrize("built", ["modelled", "loaded"])
@pytest.mark.parametrize("kind", ["variable", "constraint"])
@pytest.mark.parametrize("selection, remaining", [
    ({"index": 2}, [0, 1, 3, 4]),
    ({"index": [1, 3]}, [0, 2, 4]),
    ({"index": [3, 1, 3]}, [0, 2, 4]),
    ({"first": 1, "last": 3}, [0, 4]),
    ({"first": 3}, [0, 1, 2]),
    ({"last": 0}, [1, 2, 3, 4]),
])
def test_deleting_renumbers_lists_and_maps(nv, built, kind, selection, remaining):
    # A load enters its objects into the maps as one block, which a deletion has to break up.
    if built == "modelled":
        x = [nv.var(name=f"x{i}") for i in range(5)]
        c = [x[i] <= i for i in range(5)]
        p = nv.problem(x, c)
    else:
        p = nv.problem()
        p.loadproblem("five", ["L"] * 5, range(5), None, [0] * 5, range(6), None, range(5),
                      [1.0] * 5, [0] * 5, [1e20] * 5)
        x, c = p.getVariable(first=0), p.getConstraint(first=0)
    objects = x if kind == "variable" else c
    if kind == "variable":
        p.delVariable(**selection)
    else:
        p.delConstraint(**selection)
    assert [p.getIndex(objects[i]) for i in remaining] == list(range(len(remaining)))
    gone = set(range(5)) - set(remaining)
    for i in gone:
        with pytest.raises(nv.ModelError):
            p.getIndex(objects[i])
    in_step(p)


@pytest.mark.parametrize("item", [
    lambda x: x[1], lambda x: "x1", lambda x: b"x1", lambda x: 1, lambda x: True,
    lambda x: np.int32(1), lambda x: np.int64(1),
    lambda x: 2**32 + 1,  # taken as a 32-bit index, unchecked before the library sees it
], ids=["object", "name", "bytes", "int", "bool", "int32", "int64", "truncated"])
def test_one_item_may_be_named_in_every_form(nv, item):
    x = [nv.var(name=f"x{i}") for i in range(4)]
    p = nv.problem(x)
    assert p.getVariable(index=item(x)) is x[1]
    p.delVariable(index=item(x))
    assert same_objects(p.getVariable(first=0), [x[0], x[2], x[3]])
    in_step(p)


@pytest.mark.parametrize("selection, exc, message", [
    ({}, "ModelError", "At least one parameter must be specified"),
    ({"index": 0, "first": 0}, "ModelError",
     "cannot be specified if 'index' is also specified"),
    ({"first": -1}, "ModelError", "must be both nonnegative when specified"),
    ({"first": 2, "last": 1}, "ModelError",
     "Parameter 'first' must be less than, or equal to, 'last'"),
    ({"index": 9}, "ModelError", "Index out of bounds"),
    ({"index": [0, -1]}, "ModelError", "Index out of bounds"),
    ({"index": "nobody"}, "SolverError", "nobody"),
    ({"index": lambda nv, c: nv.var(name="stranger")}, "ModelError",
     "^Variable stranger not in problem$"),
    ({"index": lambda nv, c: c}, "ModelError", "^Invalid variable object "),
    ({"index": np.int8(1)}, "ModelError", "^Invalid variable object 1$"),
    ({"index": 1.0}, "ModelError", "^Invalid variable object 1.0$"),
])
@pytest.mark.parametrize("method", ["delVariable", "getVariable"])
def test_selection_errors(nv, selection, exc, message, method):
    x = [nv.var() for _ in range(3)]
    c = x[0] <= 1
    p = nv.problem(x, c)
    kwargs = {k: v(nv, c) if callable(v) else v for k, v in selection.items()}
    with pytest.raises(getattr(nv, exc), match=message):
        getattr(p, method)(**kwargs)
    assert p.attributes.columns == 3


@pytest.mark.parametrize("size, selection",
                         [(2, {"first": 0, "last": 2}), (0, {"first": 0}), (0, {"last": 0})])
def test_out_of_range_messages_differ_between_delete_and_get(nv, size, selection):
    p = nv.problem([nv.var() for _ in range(size)])
    with pytest.raises(nv.ModelError, match="Parameters 'first' or 'last' are out of range"):
        p.delVariable(**selection)
    with pytest.raises(nv.ModelError, match="Parameters 'first' and 'last' are out of range"):
        p.getVariable(**selection)


def test_get_returns_objects(nv):
    x = [nv.var() for _ in range(4)]
    c = [v >= 1 for v in x]
    p = nv.problem(x, c)
    assert p.getVariable(index=2) is x[2]
    assert same_objects(p.getVariable(index=[3, 0]), [x[3], x[0]])
    assert p.getConstraint(first=1, last=2) == c[1:3]
    with pytest.raises(nv.ModelError, match="Incorrect object\\(s\\) passed"):
        p.getIndex(x[0] + 1)


def test_sets_are_added_looked_up_and_deleted(nv):
    x = [nv.var(ub=1, name=f"x{i}") for i in range(3)]
    # Members may be given by column: Python ints (bools too) and numpy integers of any width.
    s1, s2 = nv.sos(x[:2], [1, 2], type=1), nv.sos([0, True, np.int8(2)], [1, 2, 3], type=2)
    p = nv.problem(x, s1, s2)
    assert p.attributes.sets == 2
    assert (p.getIndex(s1), p.getIndex(s2)) == (0, 1)
    assert p.getSOS(index=1) is s2
    # A name selects a set by the index of the column of that name.
    p.delSOS(index="x0")
    assert p.getIndex(s2) == 0 and p.attributes.sets == 1
    with pytest.raises(nv.ModelError, match="SOS already added to problem"):
        p.addSOS(s2)


def test_indicator_tuples_each_add_a_row(nv):
    z = [nv.var(vartype=nv.binary) for _ in range(3)]
    x = nv.var(ub=10)
    p = nv.problem(z, x)
    p.addIndicator(*[(z[i] == 1, x <= i) for i in range(3)])
    assert p.attributes.indicators == 3 and p.attributes.rows == 3
    p.addIndicator()
    assert p.attributes.rows == 3


@pytest.mark.parametrize("method", ["addVariable", "addConstraint"])
def test_a_failed_call_leaves_the_problem_as_it_was(nv, method):
    x, y, z = nv.var(), nv.var(), nv.var()
    p = nv.problem(x)
    good = [y, z] if method == "addVariable" else [x <= 1, x >= 0]
    with pytest.raises(nv.ModelError):
        getattr(p, method)(good, "not a model object")
    in_step(p)
    assert p.attributes.columns == 1 and p.attributes.rows == 0
    getattr(p, method)(good)  # the same objects are accepted afterwards
    in_step(p)


@pytest.fixture
def lp():
    """max 3x + 5y  s.t.  c1: x <= 4,  c2: 2y <= 12,  c3: 3x + 2y <= 18.
    Optimum x = 2, y = 6 (objective 36), duals (0, 1.5, 1), slacks (2, 0, 0)."""
    x, y = nv.var(name="x"), nv.var(name="y")
    c1, c2, c3 = x <= 4, 2 * y <= 12, 3 * x + 2 * y <= 18
    c1.name, c2.name, c3.name = "c1", "c2", "c3"
    p = nv.problem(x, y, c1, c2, c3, 3 * x + 5 * y, sense=nv.maximize)
    p.solve()
    assert p.getProbStatusString() == "lp_optimal"
    return p, x, y, (c1, c2, c3)


def assert_same_shape(got, expected):
    assert type(got) is type(expected), (got, expected)
    if isinstance(expected, dict):
        assert got.keys() == expected.keys()
        for key in expected:
            assert_same_shape(got[key], expected[key])
    elif isinstance(expected, (list, tuple)):
        assert len(got) == len(expected)
        for g, e in zip(got, expected):
            assert_same_shape(g, e)
    else:
        assert got == pytest.approx(expected)


# getSolution keeps the shape of its arguments; the other readers give a flat list.
@pytest.mark.parametrize("method, make_args, kwargs, expected", [
    ("getSolution", lambda x, y, c: (), {}, [2.0, 6.0]),
    ("getSolution", lambda x, y, c: (x,), {}, 2.0),
    ("getSolution", lambda x, y, c: (1,), {}, 6.0),
    ("getSolution", lambda x, y, c: (np.int64(1),), {}, 6.0),
    ("getSolution", lambda x, y, c: (x + 2 * y,), {}, 14.0),
    ("getSolution", lambda x, y, c: ((x, y),), {}, (2.0, 6.0)),
    ("getSolution", lambda x, y, c: ({"a": x, "b": 3 * x + 5 * y},), {}, {"a": 2.0, "b": 36.0}),
    ("getSolution", lambda x, y, c: ([x, [y, 2 * x]],), {}, [2.0, [6.0, 4.0]]),
    ("getSolution", lambda x, y, c: ([x, [y, [x]]],), {"flatten": True}, [2.0, 6.0, 2.0]),
    ("getSolution", lambda x, y, c: (x, [y, "x"], 1), {"flatten": True}, [2.0, 6.0, 2.0, 6.0]),
    ("getSlack", lambda x, y, c: (), {}, [2.0, 0.0, 0.0]),
    ("getSlack", lambda x, y, c: (c[0],), {}, 2.0),
    ("getSlack", lambda x, y, c: ("c1",), {}, 2.0),
    ("getSlack", lambda x, y, c: ([c[2], [c[0], "c2"]],), {}, [0.0, 2.0, 0.0]),
    ("getSlack", lambda x, y, c: (iter([c[0], c[1]]),), {}, [2.0, 0.0]),
    ("getDual", lambda x, y, c: (), {}, [0.0, 1.5, 1.0]),
    ("getDual", lambda x, y, c: (np.int32(2),), {}, 1.0),
    ("getDual", lambda x, y, c: ((c[2], c[1]),), {}, [1.0, 1.5]),
    ("getDual", lambda x, y, c: ({"k": c[2]},), {}, [1.0]),
    ("getRCost", lambda x, y, c: (), {}, [0.0, 0.0]),
    ("getRCost", lambda x, y, c: (x,), {}, 0.0),
    ("getRCost", lambda x, y, c: ([x, "y", 0],), {}, [0.0, 0.0, 0.0]),
])
def test_values_by_object_index_and_name(lp, method, make_args, kwargs, expected):
    p, x, y, cons = lp
    assert_same_shape(getattr(p, method)(*make_args(x, y, cons), **kwargs), expected)


@pytest.mark.parametrize("call, exc, message", [
    (lambda p, x, c: p.getSlack(3), nv.ModelError, "Index out of range"),
    (lambda p, x, c: p.getSlack(2**70), nv.ModelError, "Index out of range"),
    # A negative index has no message of its own: the library's last error is raised.
    (lambda p, x, c: p.getSlack(-1), nv.SolverError, ""),
    (lambda p, x, c: p.getDual(np.int64(-2)), nv.SolverError, ""),
    (lambda p, x, c: p.getRCost([0, -2**70]), nv.SolverError, ""),
    (lambda p, x, c: p.getSolution([x, -1], flatten=True), nv.SolverError, ""),
    (lambda p, x, c: p.getSlack("nope"), nv.ModelError, "Index out of range"),
    (lambda p, x, c: p.getSolution([x, 2], flatten=True), nv.ModelError, "Index out of range"),
    (lambda p, x, c: p.getRCost(nv.var()), nv.ModelError, "Index out of range"),
    (lambda p, x, c: p.getDual(x <= 1), nv.ModelError, "Index out of range"),
    (lambda p, x, c: p.getSlack(x), nv.ModelError,
     "Incorrect object(s) passed: need index, variable, constraint, or SOS"),
    (lambda p, x, c: p.getDual([c[0], None]), nv.ModelError,
     "Incorrect object(s) passed: need index, variable, constraint, or SOS"),
    (lambda p, x, c: p.getSolution(2), nv.InterfaceError,
     "Call to nuvrel.problem.getSolution() contains an out-of-range index"),
    (lambda p, x, c: p.getSolution(x + nv.var()), nv.ModelError,
     "Object does not belong to problem or cannot be identified within expression"),
    (lambda p, x, c: p.getSolution(x, sense=1), TypeError, ""),
    (lambda p, x, c: p.getSlack(nested(c[0], 40)), nv.ModelError, "Maximum recursion"),
])
def test_bad_arguments_raise(lp, call, exc, message):
    p, x, _, cons = lp
    before = p.getSolution()
    with pytest.raises(exc) as info:
        call(p, x, cons)
    assert message in str(info.value)
    assert p.getSolution() == before


def test_mip_refuses_duals_but_gives_values_and_empty_problem_gives_empty_vectors():
    x = nv.var(vartype=nv.integer, ub=10, name="x")
    y = nv.var(name="y", ub=10)
    row = 2 * x + y <= 7.5
    p = nv.problem(x, y, row, 3 * x + y, sense=nv.maximize)
    p.solve()
    assert p.getProbStatusString() == "mip_optimal"
    assert p.getSolution(x) == pytest.approx(3.0)
    assert p.getSolution(y) == pytest.approx(1.5)
    assert p.getSlack(row) == pytest.approx(0.0, abs=1e-9)
    with pytest.raises(nv.SolverError, match="Cannot retrieve dual variables in a MIP"):
        p.getDual()
    with pytest.raises(nv.SolverError, match="Cannot retrieve reduced cost in a MIP"):
        p.getRCost(x)
    p = nv.problem()
    p.solve()
    assert p.getSolution() == [] and p.getSlack() == []
    with pytest.raises(nv.ModelError, match="Index out of range"):
        p.getSlack(0)


@pytest.mark.parametrize("together", [True, False], ids=["one-call", "added-later"])
def test_an_unnamed_constraint_may_take_a_name_already_in_the_problem(nv, tmp_path, together):
    # A model read from a file often names its rows R1, R2, ...; an unnamed constraint added
    # later is called R<identifier> and may meet one of them.
    x = nv.var(name="x", ub=5)
    c = x <= 4
    named = nv.constraint(x >= 1, name=c.name)
    p = nv.problem(x, named, c) if together else nv.problem(x, named)
    if not together:
        p.addConstraint(c)
    p.setObjective(-x)
    assert p.attributes.rows == 2
    assert p.getIndexFromName(1, c.name) == 0  # the lowest row of that name
    p.solve()
    assert p.getSolution(x) == pytest.approx(4)
    path = str(tmp_path / "twice.lp")
    p.write(path, "l")
    q = nv.problem()
    q.read(path)
    assert q.getnamelist(1) == [c.name, c.name + "_2"]
