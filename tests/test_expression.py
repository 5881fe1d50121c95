"""Expressions: printing, products, divisions, powers, in-place operations and copies."""

from operator import iadd, imul, ipow, isub, itruediv

import numpy as np
import pytest

import nuvrel as nv
from conftest import lin_of, quad_of, constant_of

pytestmark = pytest.mark.usefixtures("collect_cycles")

general = nv.expression._general


@pytest.mark.parametrize("build, text", [
    (lambda x, y, z: nv.expression(), "0"),
    (lambda x, y, z: nv.expression() + 0, "0"),
    (lambda x, y, z: nv.expression() + 2.5, "2.5"),
    (lambda x, y, z: 0 + x, "  x"),
    (lambda x, y, z: 0 - x, " - x"),
    (lambda x, y, z: 2.5 * x + y, " 2.5 x + y"),
    (lambda x, y, z: -2.5 * x - y, " -2.5 x - y"),
    (lambda x, y, z: 3 + 2 * x - y + 1.5 * x * z + x ** 2, "3 +2 x - y + x**2 +1.5 x*z"),
    (lambda x, y, z: x * y - 1 + 0.5 * z, "-1 +0.5 z + x*y"),
    (lambda x, y, z: y + x, "  x + y"),
    (lambda x, y, z: z * y + y * x + x * x, "  x**2 + x*y + y*z"),
    (lambda x, y, z: 1e-7 * x + 1e7, "1e+07 +1e-07 x"),
])
def test_printing(xyz, build, text):
    assert str(build(*xyz)) == text


def test_printing_uses_str_of_the_name():
    a = nv.var(name="a")
    b = nv.var()
    b.name = 42
    assert str(a + 2 * b) == "  a +2 42"


@pytest.mark.parametrize("build, quad, lin, constant, text", [
    # Created y first inside the product: the pair is still stored under x.
    (lambda x, y: (y - 1) * (x + 1), [("x", "y", 1.0)], {"x": -1.0, "y": 1.0}, -1.0,
     "-1 - x + y + x*y"),
    (lambda x, y: (2 * x + 3 * y + 1) ** 2, [("x", "x", 4.0), ("x", "y", 12.0), ("y", "y", 9.0)],
     {"x": 4.0, "y": 6.0}, 1.0, "1 +4 x +6 y +4 x**2 +12 x*y +9 y**2"),
])
def test_products_of_linear_expressions(xyz, build, quad, lin, constant, text):
    e = build(*xyz[:2])
    assert (quad_of(e), lin_of(e), constant_of(e), str(e)) == (quad, lin, constant, text)


@pytest.mark.parametrize("build, kind", [
    (lambda x, y, z: (x + 1) * (nv.expression() + 2), "expression"),
    (lambda x, y, z: (nv.expression() + 2) * x, "linterm"),
    (lambda x, y, z: (nv.expression() + 1) * x, "var"),
    (lambda x, y, z: (nv.expression() + 2) * (x * y), "quadterm"),
    (lambda x, y, z: (x * y + 2) * (nv.expression() + 3), "expression"),
    # A zero factor leaves an expression with no parts at all, which counts as a constant.
    (lambda x, y, z: ((x + 1) * 0) * y, "float"),
    (lambda x, y, z: ((x * y + 1) * 0) * x, "float"),
    (lambda x, y, z: general("copy", x * y + 1, 0.0) * (x + 1), "expression"),
    # Between two expressions only non-empty parts count: x*y cancelled leaves a linear one.
    (lambda x, y, z: (x * y + x - x * y) * (y + 1), "expression"),
])
def test_product_with_constant_expression_keeps_lowest_kind(xyz, build, kind):
    assert type(build(*xyz)).__name__ == kind


def test_trivial_factors_copy(xyz):
    x, _, _ = xyz
    e = x + 1
    for r in (e ** 1, e / 1, e * 1):
        assert r is not e and str(r) == str(e)
    assert (x + 1) ** 0 == 1.0 and str(e * 0) == "0"


@pytest.mark.parametrize("divisor", [0, 0.0, np.float64(0.0)])
def test_division_by_zero(xyz, divisor):
    x, _, _ = xyz
    with pytest.raises(nv.ModelError, match="^Division by zero$"):
        (x + 1) / divisor
    with pytest.raises(nv.ModelError, match="^Division by zero$"):
        (x + 1) / (nv.expression() + divisor)


def test_scaling_drops_underflowing_coefficients(xyz):
    x, y, _ = xyz
    assert lin_of((1e-200 * x + y) * 1e-200) == {"y": 1e-200}
    assert quad_of((1e-200 * x * y + y) * 1e-200) == []
    e = 1e-200 * x + y * x + y
    e *= 1e-200
    assert lin_of(e) == {"y": 1e-200} and quad_of(e) == [("x", "y", 1e-200)]


def test_copy_with_factor_almost_one_keeps_coefficients(xyz):
    x, _, _ = xyz
    f = 1 + 4e-16
    assert f != 1.0
    e = 3 * x + 3
    c = general("copy", e, f)
    assert lin_of(c) == {"x": 3.0}          # copied as it is
    assert constant_of(c) == 3 * f           # but the constant is scaled
    assert lin_of(general("copy", e, 1 + 1e-14)) == {"x": 3 * (1 + 1e-14)}


SELF = object()   # the operand is the expression itself


@pytest.mark.parametrize("start, steps, lin, quad, constant", [
    (lambda x, y: nv.expression(),
     lambda x, y: [(iadd, 2 * x), (iadd, y), (isub, 3), (iadd, x * y), (isub, 2 * x)],
     {"y": 1.0}, [("x", "y", 1.0)], -3.0),
    (lambda x, y: 2 * x + x * x + 1, lambda x, y: [(iadd, SELF)], {"x": 4.0},
     [("x", "x", 2.0)], 2.0),
    (lambda x, y: 2 * x + x * x + 1, lambda x, y: [(iadd, SELF), (isub, SELF)], {}, [], 0.0),
    (lambda x, y: 2 * x + 4 * x * y + 1, lambda x, y: [(imul, 3)], {"x": 6.0},
     [("x", "y", 12.0)], 3.0),
    (lambda x, y: 2 * x + 4 * x * y + 1, lambda x, y: [(imul, 0.5)], {"x": 1.0},
     [("x", "y", 2.0)], 0.5),
    (lambda x, y: 2 * x + 4 * x * y + 1, lambda x, y: [(imul, nv.expression() + 3)], {"x": 6.0},
     [("x", "y", 12.0)], 3.0),
    (lambda x, y: 2 * x + 4 * x * y + 1,
     lambda x, y: [(imul, 3), (itruediv, 3), (imul, 0.5), (itruediv, 0.5),
                   (imul, nv.expression() + 3), (itruediv, nv.expression() + 3)],
     {"x": 2.0}, [("x", "y", 4.0)], 1.0),
    (lambda x, y: x + 1, lambda x, y: [(op, f) for f in (1, 1.0) for op in (imul, itruediv, ipow)],
     {"x": 1.0}, [], 1.0),
])
def test_in_place_operations_amend_the_expression(xyz, start, steps, lin, quad, constant):
    x, y, _ = xyz
    e = alias = start(x, y)
    for op, other in steps(x, y):
        e = op(e, e if other is SELF else other)
        assert e is alias
    assert (lin_of(e), quad_of(e), constant_of(e)) == (lin, quad, constant)


def test_in_place_leaves_the_other_operand_alone(xyz):
    x, y, z = xyz
    e = y + 1
    other = z + 1
    e += other
    assert lin_of(other) == {"z": 1.0} and constant_of(other) == 1.0
    # With a non-expression on the left the result is new.
    t = x
    t += e
    assert t is not e and lin_of(e) == {"y": 1.0, "z": 1.0}
    t = 2 * x
    t *= other
    assert lin_of(other) == {"z": 1.0}


def test_in_place_special_factors(xyz):
    x, _, _ = xyz
    e = alias = x + 1
    with pytest.raises(nv.ModelError, match="^Division by zero$"):
        e /= 0
    assert str(alias) == "1 + x"
    e *= 0
    assert type(e) is float and e == 0.0
    f = x + 1
    f **= 0
    assert f == 1.0
    g = x + 1
    g **= 2
    assert quad_of(g) == [("x", "x", 1.0)]
    e = x + 1
    e -= e
    assert str(e) == "0"


def _iadd(e, other):
    e += other
    return e


@pytest.mark.parametrize("build, message", [
    # Sums and products name no operand; division and power report the one they rejected.
    (lambda e: e + "a", "Invalid object in operation"),
    (lambda e: "a" - e, "Invalid object in operation"),
    (lambda e: _iadd(e, "a"), "Invalid object in operation"),
    (lambda e: e * "a", "Invalid object in operation"),
    (lambda e: None * e, "Invalid object in operation"),
    (lambda e: e / "a", "Invalid object in operation: <a>"),
    (lambda e: e ** "a", "Invalid object in operation: <a>"),
    (lambda e: e ** np.array([2.0]), "Cannot obtain a power with a vector as an exponent"),
])
def test_errors(xyz, build, message):
    x, _, _ = xyz
    e = x + 1
    with pytest.raises(nv.ModelError) as err:
        build(e)
    assert str(err.value) == message
    assert str(e) == "1 + x"


def test_constructor_gives_empty_expression():
    assert nv.expression().extractLinear() == ([], [])
    assert nv.expression().extractQuadratic() == ([], [], [])
    with pytest.raises(TypeError):
        nv.expression(1)
