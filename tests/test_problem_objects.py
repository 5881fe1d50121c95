"""Adding, deleting and looking up variables, constraints, sets and indicators: the problem's
lists and index maps must stay in step with the solver's columns, rows and sets."""

import numpy as np
import pytest
from conftest import same_objects
from lowlevel_support import in_step

pytestmark = pytest.mark.usefixtures("quiet")


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


@pytest.mark.parametrize("kind", ["variable", "constraint"])
@pytest.mark.parametrize("selection, remaining", [
    ({"index": 2}, [0, 1, 3, 4]),
    ({"index": [1, 3]}, [0, 2, 4]),
    ({"index": [3, 1, 3]}, [0, 2, 4]),
    ({"first": 1, "last": 3}, [0, 4]),
    ({"first": 3}, [0, 1, 2]),
    ({"last": 0}, [1, 2, 3, 4]),
])
def test_deleting_renumbers_lists_and_maps(nv, kind, selection, remaining):
    x = [nv.var(name=f"x{i}") for i in range(5)]
    c = [x[i] <= i for i in range(5)]
    p = nv.problem(x, c)
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


@pytest.mark.parametrize(
    "size, selection", [(2, {"first": 0, "last": 2}), (0, {"first": 0}), (0, {"last": 0})]
)
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


def test_numpy_arrays_of_objects_are_walked(nv):
    x = np.array([[nv.var() for _ in range(3)] for _ in range(2)], dtype=object)
    p = nv.problem(x)
    assert p.attributes.columns == 6
    assert p.getIndex(x[1, 0]) == 3


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
