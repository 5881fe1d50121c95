"""Reading solutions back by object: getSolution, getSlack, getDual, getRCost."""

import numpy as np
import pytest

import nuvrel as nv
from conftest import nested

pytestmark = pytest.mark.usefixtures("quiet")


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


def test_mip_refuses_duals_and_reduced_costs_but_gives_values():
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


def test_empty_problem_gives_empty_vectors():
    p = nv.problem()
    p.solve()
    assert p.getSolution() == [] and p.getSlack() == []
    with pytest.raises(nv.ModelError, match="Index out of range"):
        p.getSlack(0)
