"""Constraints: comparisons, the explicit constructor, bounds, names, copies, side tables."""

import math
import operator

import numpy as np
import pytest

import nuvrel as nv
from conftest import lin_of

pytestmark = pytest.mark.usefixtures("collect_cycles")

INF = 1e20
STRICT = "Invalid constraint: cannot enforce f(x) != 0, f(x) > 0, or f(x) < 0"
REQUIRED = ("Arguments required for nuvrel.constraint(): constraint OR {body, lb and/or ub} "
            "OR {body,sense,rhs}.")
BOTH = "Cannot create constraint by specifying both rhs AND lb/ub."
INFEASIBLE = "Constraint defined infeasible: lower bound > upper bound"


@pytest.fixture
def xy():
    return nv.var(name="x"), nv.var(name="y")


def sizes():
    return nv.constraint._sidetable_sizes()


@pytest.mark.parametrize("build, lb, ub, body_lin, body_kind", [
    (lambda x, y: x + 1 == 3, 2.0, 2.0, {"x": 1.0}, "expression"),
    (lambda x, y: 3 <= x, 3.0, INF, {"x": 1.0}, "expression"),
    (lambda x, y: x <= 3, -INF, 3.0, {"x": 1.0}, "expression"),
    (lambda x, y: x >= 0, 0.0, INF, {"x": 1.0}, "var"),   # x - 0 is x: no constant to move
    (lambda x, y: 2 * x <= 0, -INF, 0.0, {"x": 2.0}, "linterm"),
    (lambda x, y: 2 * x + 3 <= y, -INF, -3.0, {"x": 2.0, "y": -1.0}, "expression"),
    (lambda x, y: 2 * x >= 1 - y, 1.0, INF, {"x": 2.0, "y": 1.0}, "expression"),
    (lambda x, y: 5 == x + y + 1, 4.0, 4.0, {"x": 1.0, "y": 1.0}, "expression"),
    (lambda x, y: x * y >= 0, 0.0, INF, {}, "quadterm"),
    (lambda x, y: x * y <= 7.5, -INF, 7.5, {}, "expression"),
    (lambda x, y: x <= y, -INF, 0.0, {"x": 1.0, "y": -1.0}, "expression"),
    (lambda x, y: x + 1 >= x * y + 2, 1.0, INF, {"x": 1.0}, "expression"),
    (lambda x, y: nv.expression() + 1 <= 2, -INF, 1.0, {}, "expression"),
])
def test_comparisons(xy, build, lb, ub, body_lin, body_kind):
    c = build(*xy)
    assert type(c) is nv.constraint
    assert (c.lb, c.ub) == (lb, ub)
    assert lin_of(c.body) == body_lin
    assert type(c.body).__name__ == body_kind


@pytest.mark.parametrize("op", ["lt", "le", "eq", "ne", "gt", "ge"])
def test_comparison_with_array_is_the_array_comparison(xy, op):
    # The array compares itself with x under the mirrored operator; the strict and
    # not-equal operators become equality, so none of them is rejected.
    x, _ = xy
    r = getattr(operator, op)(x, np.array([1.0, 2.0], dtype=object))
    assert isinstance(r, np.ndarray) and r.shape == (2,)


def test_comparison_leaves_the_operand_unchanged(xy):
    x, _ = xy
    e = x + 5
    c = e <= 10
    assert c.ub == 5.0 and str(e) == "5 + x" and c.body is not e


@pytest.mark.parametrize("build, message", [
    (lambda x: x < 3, STRICT),
    (lambda x: x > 3, STRICT),
    (lambda x: x != 3, STRICT),
    (lambda x: 2 * x < x * x, STRICT),
    (lambda x: x <= x, "Invalid constraint body"),
    (lambda x: x <= "a", "Invalid object in subtraction"),
    (lambda x: x + 1 == None, "Invalid object in operation"),  # noqa: E711
])
def test_comparison_errors(build, message):
    x = nv.var()
    with pytest.raises(nv.ModelError) as err:
        build(x)
    assert str(err.value) == message


@pytest.mark.parametrize("kwargs, lb, ub", [
    (dict(sense=nv.leq, rhs=5), -INF, 5.0),
    (dict(sense=nv.geq, rhs=5), 5.0, INF),
    (dict(sense=nv.eq, rhs=5), 5.0, 5.0),
    (dict(sense=nv.range, rhs=5), -INF, INF),
    (dict(sense=nv.leq), -INF, INF),
    (dict(lb=1), 1.0, INF),
    (dict(ub=-2), -INF, -2.0),
    (dict(lb=-1, ub=1), -1.0, 1.0),
    (dict(lb=1.0000005, ub=1), 1.0000005, 1.0),
    (dict(lb=-5e20, ub=7e20), -INF, INF),
])
def test_explicit_constructor(xy, kwargs, lb, ub):
    x, _ = xy
    c = nv.constraint(body=x, **kwargs)
    assert c.body is x and (c.lb, c.ub) == (lb, ub)


def test_explicit_constructor_positional_and_from_comparison(xy):
    x, y = xy
    source = 2 * x + y <= 3
    c = nv.constraint(source, x + y, 0, 4, 0, -2e20, "pos")
    assert (c.lb, c.ub, c.name, c.body) == (-INF, 3.0, "pos", source.body)
    with pytest.raises(nv.ModelError, match="^" + INFEASIBLE):
        nv.constraint(source, x, 5, 4)
    c = nv.constraint(source, name="taken")
    assert c.body is source.body and (c.lb, c.ub) == (-INF, 3.0) and c.name == "taken"
    c = nv.constraint(constraint=source, lb=-1)     # the comparison's bounds win
    assert (c.lb, c.ub) == (-INF, 3.0)


def test_explicit_body_from_array(xy):
    x, y = xy
    assert nv.constraint(body=np.array([[x, y]], dtype=object), lb=1).body is x


@pytest.mark.parametrize("kwargs, message", [
    (lambda x: dict(), REQUIRED),
    (lambda x: dict(body=x), REQUIRED),
    (lambda x: dict(lb=1), REQUIRED),
    (lambda x: dict(body=x, rhs=3), REQUIRED),
    (lambda x: dict(body=x, lb=1, rhs=2), BOTH),
    (lambda x: dict(body=x, ub=1, rhs=2, sense=nv.leq), BOTH),
    (lambda x: dict(body=x, lb=2, ub=1), INFEASIBLE),
    (lambda x: dict(body=x, lb=1.000002, ub=1), INFEASIBLE),
    (lambda x: dict(body="text", lb=1), "Invalid expression passed as body of constraint"),
    (lambda x: dict(body=None, lb=1), "Invalid expression passed as body of constraint"),
    (lambda x: dict(body=np.array([], dtype=object), lb=1), "Invalid expression passed as body"),
    (lambda x: dict(constraint=None, body=x, lb=1), "Attempt to generate an empty constraint"),
    (lambda x: dict(constraint=5), "Attempt to generate an empty constraint failed. Consider "
                                   "using nuvrel.constraint(body=..., sense=..., rhs=...) instead."),
    (lambda x: dict(constraint=x, body=x, lb=0), "Attempt to generate an empty constraint"),
])
def test_explicit_constructor_errors(xy, kwargs, message):
    x, _ = xy
    before = sizes()
    with pytest.raises(nv.ModelError) as err:
        nv.constraint(**kwargs(x), name="never kept")
    assert str(err.value).startswith(message)
    assert sizes() == before      # the half-made constraint took its name entry with it


def test_names_and_identifiers(xy):
    x, _ = xy
    a, b = x <= 1, x <= 2
    na, nb = int(a.name[1:]), int(b.name[1:])
    assert a.name.startswith("R") and nb == na + 1
    # The explicit constructor takes an identifier at allocation and another at initialisation.
    c, d = nv.constraint(body=x, lb=0), nv.constraint(body=x, lb=0)
    assert int(d.name[1:]) == int(c.name[1:]) + 2
    assert str(c) == c.name
    c = nv.constraint(body=x, lb=0, name="cap")
    assert c.name == "cap" and str(c) == "cap"
    c.name = 42
    assert c.name == 42 and str(c) == "42"
    c.name = "again"
    assert c.name == "again"
    assert nv.constraint(body=x, lb=0, name=None).name is None


def test_copy(xy):
    x, y = xy
    src = x + y <= 4
    ident = src.name[1:]
    src.name = "c1"
    dup = src.copy()
    assert dup.name == "R%s_copy_c1" % ident
    assert int(dup.name.split("_")[0][1:]) == int(ident)
    assert (dup.lb, dup.ub) == (src.lb, src.ub)
    assert dup.body is not src.body and lin_of(dup.body) == lin_of(src.body)
    assert str(dup.copy().name) == "R%s_copy_R%s_copy_c1" % (int(ident) + 1, ident)
    unnamed = x >= 0
    assert unnamed.copy().name == "R%s_copy_%s" % (unnamed.name[1:], unnamed.name)
    assert unnamed.copy().body is x          # a variable body copies as itself
    assert nv.constraint(body=x, sense=nv.leq).copy().body is x


@pytest.mark.parametrize("attr, value, readback", [
    ("lb", -1e30, -INF), ("lb", 0.0, 0.0), ("lb", 1, 1.0), ("lb", 0.5, 0.5), ("lb", 7e19, 7e19),
    ("ub", 5e20, INF), ("ub", 0, 0.0), ("ub", 1.0, 1.0), ("ub", -3.25, -3.25),
    ("lb", "not a number", -1.0), ("ub", math.nan, math.nan),
])
def test_bound_attributes(xy, attr, value, readback):
    x, _ = xy
    c = nv.constraint(body=x, lb=-2, ub=2)
    setattr(c, attr, value)
    got = getattr(c, attr)
    assert got == readback or math.isnan(got) and math.isnan(readback)


def test_attribute_access(xy):
    x, _ = xy
    c = nv.constraint(body=x, lb=0)
    assert c.__class__ is nv.constraint
    assert c.__dict__ == dict.fromkeys(["lb", "ub", "name", "body", "copy"])
    with pytest.raises(AttributeError):
        c.body = x
    with pytest.raises(AttributeError):
        c.other = 1
    with pytest.raises(AttributeError):
        c.missing


def test_side_tables_follow_the_bounds(xy):
    x, _ = xy
    base = sizes()
    c = nv.constraint(body=x, lb=0)
    assert sizes() == base
    c.lb = 0.5
    c.ub = 3
    c.name = "named"
    assert sizes() == (base[0] + 1, base[1] + 1, base[2] + 1)
    c.lb = 1
    c.ub = INF
    assert sizes() == (base[0], base[1], base[2] + 1)
    c.lb = 0.25
    del c
    assert sizes() == base


def test_reinitialising_does_not_leave_entries(xy):
    x, _ = xy
    base = sizes()
    c = nv.constraint(body=x, lb=0.5, name="first")
    c.__init__(body=x, lb=0.25, ub=0.75)
    assert sizes() == (base[0] + 1, base[1] + 1, base[2])
    assert (c.lb, c.ub) == (0.25, 0.75) and c.name.startswith("R")
    del c
    assert sizes() == base
