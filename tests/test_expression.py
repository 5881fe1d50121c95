import functools
"""Expressions and terms: every operand kind against every other, printing, products, divisions,
powers, in-place operations, copies and extraction; operations that leave the polynomials; the
generic operators and numpy operands; Sum, Prod and Dot over collections, user objects left
intact, errors."""

import itertools
import math
import random
from operator import iadd, imul, ipow, isub, itruediv

import numpy as np
import pytest

import nuvrel as nv
from conftest import constant_of, lin_of, quad_of, same_objects


general = nv.expression._general


@pytest.fixture
def names():
    # Created in this order, so identifiers increase x < y < z.
    x = nv.var(name="x")
    return {"x": x, "y": nv.var(name="y"), "z": nv.var(name="z"), "e": x + 1,
            "const2": nv.expression() + 2, "np": np, "nv": nv, "general": general, "iadd": iadd}


@pytest.mark.parametrize("source, kind, text", [
    # Operations that change nothing give the variable itself.
    *[(source, "x itself", None)
      for source in ("x + 0", "x - 0.0", "x * 1", "1.0 * x", "x / 1", "x ** 1", "+x")],
    ("x * 0", "float", "0.0"),
    ("0 / x", "float", "0.0"),
    ("x / x", "float", "1.0"),
    ("x - x", "float", "0.0"),
    ("x ** 0", "float", "1.0"),
    ("1 ** x", "float", "1.0"),
    ("x + x", "linterm", "2*x"),
    ("3 * x", "linterm", "3*x"),
    ("-x", "linterm", "-1*x"),
    ("3 * x + x", "linterm", "4*x"),
    ("x - 3 * x", "linterm", "-2*x"),
    ("0 - 2 * x", "linterm", "-2*x"),
    ("2 * x + 0", "linterm", "2*x"),
    ("(4 * x) / const2", "linterm", "2*x"),
    ("y * x", "quadterm", "x*y"),
    ("x ** 2", "quadterm", "x**2"),
    ("x * y + 2 * y * x", "quadterm", "3*x*y"),
    ("(4 * x * y) / const2", "quadterm", "2*x*y"),
    ("(6 * x * y) / (2 * x)", "linterm", "3*y"),
    ("(6 * x * y) / (3 * y)", "linterm", "2*x"),
    ("(6 * x * y) / y", "linterm", "6*x"),
    ("(6 * x * x) / x", "linterm", "6*x"),
    ("3 * x - 3 * x", "float", "0.0"),
    ("x * y - y * x", "float", "0.0"),
    ("(x * y) / (x * y)", "float", "1.0"),
    ("(6 * x * y) / (2 * y * x)", "float", "3.0"),
    ("(2 * x) / (4 * x)", "float", "0.5"),
    ("(2 * x) / x", "float", "2.0"),
    ("(x * y) * 0", "float", "0.0"),
    ("(2 * x) ** 0", "float", "1.0"),
    ("(x * y) ** 0", "float", "1.0"),
    ("1.0 ** (2 * x)", "float", "1.0"),
    ("1 ** (x * y)", "float", "1.0"),
    ("nv.Prod([x, y])", "quadterm", "x*y"),
    ("nv.Prod(2, x, 3)", "linterm", "6*x"),
    ("nv.Prod(range(1, 5))", "float", "24.0"),
    ("nv.Prod(2, 3.5)", "float", "7.0"),
])
def test_results(names, source, kind, text):
    result = eval(source, names)
    if kind == "x itself":
        assert result is names["x"]
    else:
        assert type(result).__name__ == kind and str(result) == text


@pytest.mark.parametrize("source, text", [
    ("(x * y) / (2 * z)", "(x*y / 2*z)"),
    ("(x * y) / z", "(x*y / z)"),
    ("(2 * x) / (3 * y)", "(2*x / 3*y)"),
    ("(2 * x) / y", "(2*x / y)"),
    ("2 / (3 * x)", "(2 / 3*x)"),
    ("(x * y) / (x * z)", "(y / z)"),  # the shared x cancels: (1*y) / z
    ("(6 * x * x) / (2 * x * y)", "(3*x / y)"),
    ("(6 * y * z) / (2 * x * y)", "(3*z / x)"),
    ("(x * y) / (z * z)", "(x*y / z**2)"),
    ("(6 * x) / (2 * x * y)", "(3.0 / y)"),  # x cancels, leaving the number 3
    ("(6 * y) / (2 * x * y)", "(3.0 / x)"),
    ("(6 * x) / (2 * y * z)", "(6*x / 2*y*z)"),
    ("general('div', x, 4 * x * y)", "(0.25 / y)"),
    ("general('div', y, 4 * x * y)", "(0.25 / x)"),
    ("x / (x * y)", "(x / x*y)"),  # a variable's own division does not cancel
    ("(2 * x) ** 3", "(2*x ** 3)"),
    ("(2 * x) ** 0.5", "(2*x ** 0.5)"),
    ("(x * y) ** 2", "(x*y ** 2)"),
    ("2 ** (3 * x)", "(2 ** 3*x)"),
    ("abs(2 * x)", "abs (2*x)"),
    ("(2 * x) | (3 * y)", "or (2*x, 3*y)"),
    ("(x * y) & 1", "and (x*y, 1)"),
    # Times a variable, a quadratic part that was ever created counts, even when cancelled.
    ("(x * y + x - x * y) * z", "(z *   x)"),
    ("(x + 1) ** 3", "(1 + x ** 3)"),
    ("(x + 1) ** 0.5", "(1 + x ** 0.5)"),
    ("1 / (x + 1)", "(1 / 1 + x)"),
    ("(x + 1) / (y + 1)", "(1 + x / 1 + y)"),
    ("abs(x + 1)", "abs (1 + x)"),
])
def test_nonpolynomial_results_are_nodes(names, source, text):
    # The printed node shows what was built, after any cancellation of shared variables.
    result = eval(source, names)
    assert type(result).__name__ == "nonlin"
    assert str(result) == text


@pytest.mark.parametrize("source, message", [
    ("x + 'a'", "Invalid operands in addition"),
    ("'a' + x", "Invalid operands in addition"),
    ("x + np.int8(1)", "Invalid operands in addition"),
    ("x - 'a'", "Invalid object in subtraction"),
    ("x * 'a'", "Invalid operands in multiplication"),
    ("x / 'a'", "Invalid operands in division"),
    ("x / 0", "Division of variable by zero"),
    ("x ** 'a'", "Invalid operands in exponentiation"),
    ("x ** np.array([2.0])", "Cannot obtain a power with a vector as an exponent"),
    ("2 * x + 'a'", "Invalid operands in sum"),
    ("'a' - 2 * x", "Invalid operands in sum"),
    ("x * x + 'a'", "Invalid operands in sum with quadratic term"),
    ("2 * x * 'a'", "Invalid operands in product of linear terms"),
    ("(2 * x) / 'a'", "Invalid operands in product of linear terms"),
    ("(2 * x) / 0", "Division by zero"),
    ("(2 * x) / (const2 - 2)", "Division by zero"),
    ("(x * x) / 0", "Division by zero of a bilinear term"),
    ("(2 * x) ** np.array([1.0, 2.0])", "Cannot obtain a power with a vector as an exponent"),
    ("(x * x) ** np.array([1.0])", "Cannot obtain a power with a vector as an exponent"),
    # Expressions: sums and products name no operand; division and power report the one
    # they rejected.
    ("e + 'a'", "Invalid object in operation"),
    ("'a' - e", "Invalid object in operation"),
    ("iadd(e, 'a')", "Invalid object in operation"),
    ("e * 'a'", "Invalid object in operation"),
    ("None * e", "Invalid object in operation"),
    ("e / 'a'", "Invalid object in operation: <a>"),
    ("e ** 'a'", "Invalid object in operation: <a>"),
    ("e ** np.array([2.0])", "Cannot obtain a power with a vector as an exponent"),
])
def test_operand_errors(names, source, message):
    with pytest.raises(nv.ModelError) as err:
        eval(source, names)
    assert str(err.value) == message
    assert str(names["e"]) == "1 + x"


def test_extraction(names):
    x, y = names["x"], names["y"]
    v, c = (2.5 * x).extractLinear()
    assert same_objects(v, [x]) and c == [2.5]
    assert (2.5 * x).extractQuadratic() == ([], [], [])
    # The pair is ordered by creation, whatever the operand order.
    for q in (4 * y * x, x * y * 4, (4 * y) * x, y * (4 * x)):
        assert q.extractLinear() == ([], [])
        a, b, c = q.extractQuadratic()
        assert same_objects(a + b, [x, y]) and c == [4.0]


def test_terms_keep_their_variables_alive():
    x = nv.var(name="held")
    t, q = 3 * x, x * x
    del x
    assert str(t) == "3*held" and str(q) == "held**2"


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
    # A name that is not a string prints as its str().
    (lambda x, y, z: setattr(y, "name", 42) or x + 2 * y, "  x +2 42"),
])
def test_printing(xyz, build, text):
    assert str(build(*xyz)) == text


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


def test_trivial_factors_copy_all_but_a_linear_term(xyz):
    x, y, _ = xyz
    t = 2 * x
    assert t ** 1 is t
    q = x * y
    assert q ** 1 is not q and str(q ** 1) == str(q)
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
    # On a term the result is rebound; the original term stays as it was.
    t = keep = 2 * x
    t += y
    assert type(t).__name__ == "expression" and str(keep) == "2*x"
    q = keep = x * y
    q *= 3
    assert str(q) == "3*x*y" and str(keep) == "x*y"
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
    # A variable divided in place by 1 stays itself.
    v = x
    v /= 1
    assert v is x
    v /= 2
    assert str(v) == "0.5*x"
    with pytest.raises(nv.ModelError, match="^Division by zero$"):
        x /= 0


def test_constructor_gives_empty_expression():
    assert nv.expression().extractLinear() == ([], [])
    assert nv.expression().extractQuadratic() == ([], [], [])
    with pytest.raises(TypeError):
        nv.expression(1)


def gen_of(*items):
    yield from items


@pytest.mark.parametrize("call", [
    lambda x, y, z: nv.Sum(x, y),
    lambda x, y, z: nv.Sum([x, y]),
    lambda x, y, z: nv.Sum((x, y)),
    lambda x, y, z: nv.Sum({1: x, 2: None, 3: y}),
    lambda x, y, z: nv.Sum(gen_of(x, y)),
    lambda x, y, z: nv.Sum([[x], (y,)]),
    lambda x, y, z: nv.Sum([{"a": x}, gen_of(None, y)]),
    lambda x, y, z: nv.Sum(None, x, None, y),
    lambda x, y, z: nv.Sum(np.array([x, y], dtype=object)),
    lambda x, y, z: nv.Sum(x, z, y, -1 * z),
])
def test_sum_walks_every_collection_kind(xyz, call):
    e = call(*xyz)
    assert isinstance(e, nv.expression)
    assert lin_of(e) == {"x": 1.0, "y": 1.0} and constant_of(e) == 0


@pytest.mark.parametrize("args, constant", [
    ((), 0), (([],), 0), (({},), 0), ((3, 4), 7), (([1.5, 2.5],), 4.0), ((range(5),), 10),
    ((np.array([1.0, 2.0, 3.0]),), 6.0), ((np.array(5.0),), 5.0), ((np.int32(2), 0.5), 2.5),
])
def test_sum_of_numbers_is_a_constant_expression(args, constant):
    e = nv.Sum(*args)
    assert isinstance(e, nv.expression) and constant_of(e) == constant
    if constant == 0:
        assert str(e) == "0"


@pytest.mark.parametrize("call", [nv.Prod, nv.Dot])
def test_empty_product_is_zero(call):
    for result in (call(), call([]), call(())):
        assert type(result) is float and result == 0.0


@pytest.mark.parametrize("fold", [nv.Sum, nv.Prod, nv.Dot])
@pytest.mark.parametrize("make", [lambda x: x, lambda x: 2 * x + 1, lambda x: 5, lambda x: None])
def test_single_argument_is_the_collection_itself(xyz, fold, make):
    # One argument is walked as the collection; one that cannot be iterated is refused by the
    # iterator protocol rather than folded as a lone element.
    with pytest.raises(TypeError, match="not iterable"):
        fold(make(xyz[0]))


@pytest.mark.parametrize("fold", [
    lambda e, x: nv.Sum(e, x),
    lambda e, x: nv.Sum(0, e, x),
    lambda e, x: nv.Sum([x, e, e]),
    lambda e, x: nv.Sum([e]),
    lambda e, x: nv.Prod(1, e, 3),
    lambda e, x: nv.Prod(e, x),
    lambda e, x: nv.Prod([2, [e]]),
])
def test_caller_objects_are_never_amended(xyz, fold):
    x, y, _ = xyz
    e = 2 * x + 3 * y + 1
    before = (lin_of(e), constant_of(e), str(e))
    result = fold(e, x)
    assert result is not e
    assert (lin_of(e), constant_of(e), str(e)) == before
    # A lone expression comes back as a copy, a lone variable (which cannot change) itself.
    assert lin_of(nv.Sum([e])) == lin_of(e) and nv.Sum([x]) is x and nv.Prod([x]) is x


@pytest.mark.parametrize("build, lin, constant, quad", [
    # Coefficients of x: i % 4 over i = 0, 3, 6, ... (multiples of 3 below 300).
    (lambda x, y, z: nv.Sum((i % 4) * v for i, v in enumerate([x, y, z] * 100)),
     {n: float(sum((i % 4) for i in range(k, 300, 3))) for k, n in enumerate("xyz")}, 0, []),
    (lambda x, y, z: nv.Sum([2 * x, x * y, 3, y * x, -2 * x, z]), {"z": 1.0}, 3,
     [("x", "y", 2.0)]),
])
def test_sum_accumulates_coefficients(xyz, build, lin, constant, quad):
    e = build(*xyz)
    assert (lin_of(e), constant_of(e), quad_of(e)) == (lin, constant, quad)


def test_arrays_are_folded_along_their_first_dimension_into_a_new_array(xyz):
    rows = nv.Sum(np.arange(6.0).reshape(2, 3))
    assert isinstance(rows, np.ndarray) and rows.tolist() == [3.0, 5.0, 7.0]
    x = xyz[0]
    a = np.array([1.0, 2.0])
    out = nv.Sum(a, a, x)
    assert a.tolist() == [1.0, 2.0]
    assert [constant_of(e) for e in out] == [2.0, 4.0] and all(lin_of(e) == {"x": 1.0} for e in out)


@pytest.mark.parametrize("fold, rows", [
    (nv.Sum, lambda x: 2.5 * x),                             # a matrix of terms, row by row
    (nv.Sum, lambda x: [x[0] + 1, x, np.arange(4.0), 7 * x[1], np.arange(4)]),
    (nv.Sum, lambda x: [x[0], 3 * x[1:], x[1], -1 * x[:1]]),  # broadcast rows, a growing shape
    (nv.Prod, lambda x: [x[0] + 1, np.arange(1.0, 5.0), 2 * x[1]]),
])
def test_arrays_of_objects_fold_as_the_plain_operators_do(fold, rows):
    x = nv.vars(3, 4, name="x")
    given = rows(x)
    items = list(given)
    shown = [str(list(np.atleast_1d(r))) for r in items]
    combine = (lambda a, b: a + b) if fold is nv.Sum else (lambda a, b: a * b)
    want = functools.reduce(combine, items)
    got = fold(given)
    assert got.dtype == want.dtype and got.shape == want.shape
    assert [str(e) for e in got.flat] == [str(e) for e in want.flat]
    # The accumulator is amended in place only once it is the fold's own.
    assert [str(list(np.atleast_1d(r))) for r in items] == shown


class NegativeLength:
    def __len__(self):
        return -1

    def __getitem__(self, i):
        raise IndexError


def failing_generator(x):
    yield x
    raise KeyError("from the generator")


def loop_of(x):
    loop = [x]
    loop.append(loop)
    return loop


INVALID = "^Invalid object in Sum or Prod operators$"
COMBINE = "^Incorrect objects used in Sum, Dot, Prod, or aggregate functions$"


@pytest.mark.parametrize("call, exc, message, cause", [
    (lambda x: nv.Sum("a"), nv.ModelError, INVALID, None),
    (lambda x: nv.Sum(x, "a"), nv.ModelError, INVALID, None),
    (lambda x: nv.Sum([x, object()]), nv.ModelError, INVALID, None),
    (lambda x: nv.Sum(x, x <= 1), nv.ModelError, INVALID, None),
    (lambda x: nv.Prod(x, b"a"), nv.ModelError, INVALID, None),
    (lambda x: nv.Sum(NegativeLength()), nv.ModelError, "^Invalid sequence of objects$", None),
    (lambda x: nv.Sum(failing_generator(x)), KeyError, "from the generator", None),
    (lambda x: nv.Dot(x, x), nv.ModelError, "NumPy arrays", None),
    (lambda x: nv.Dot(x, nope=1), TypeError, "nope", None),
    # numpy's own error is kept as the cause
    (lambda x: nv.Sum(np.ones(2), np.ones(3)), nv.ModelError, COMBINE, ValueError),
    (lambda x: nv.Sum(np.array(["a"]), 1.5), nv.ModelError, COMBINE, TypeError),
    (lambda x: nv.Sum(loop_of(x)), RecursionError, None, None),   # must not crash
])
def test_sum_prod_dot_errors(xyz, call, exc, message, cause):
    with pytest.raises(exc, match=message) as info:
        call(xyz[0])
    assert cause is None or isinstance(info.value.__cause__, cause)


# ---- every operand kind against every other, and the generic operators

KINDS = ["number", "var", "linterm", "quadterm", "linexpr", "quadexpr"]


def make_operands():
    x, y, z = nv.var(name="x"), nv.var(name="y"), nv.var(name="z")
    ops = {
        "number": 2.5,
        "var": x,
        "linterm": 3 * y,
        "quadterm": 2 * y * z,
        "linexpr": x + 2 * z + 1,
        "quadexpr": x * y + z + 1,
    }
    return ops, (x, y, z)


def value(obj, point):
    """obj evaluated with point (a dict from variable to value)."""
    if isinstance(obj, (int, float, np.number)):
        return float(obj)
    v, c = obj.extractLinear()
    a, b, q = obj.extractQuadratic()
    constant = -(obj <= 0).ub  # the comparison moves the constant into the bound
    return (constant + sum(ci * point[vi] for vi, ci in zip(v, c))
            + sum(qi * point[ai] * point[bi] for ai, bi, qi in zip(a, b, q)))


def result_kind(obj):
    return "float" if type(obj) is float else type(obj).__name__


def expected_sum_kind(ka, kb, op):
    if ka == kb == "number":
        return "float"
    if ka == kb and ka in ("var", "linterm", "quadterm"):
        # The same object on both sides combines into one term, or cancels.
        return {"var": "linterm", "linterm": "linterm", "quadterm": "quadterm"}[ka] \
            if op == "+" else "float"
    return "expression"


DEGREE = {"number": 0, "var": 1, "linterm": 1, "quadterm": 2, "linexpr": 1, "quadexpr": 2}


def product_kind(ka, kb):
    """None where the product is beyond quadratic; a single term stays a term."""
    if DEGREE[ka] + DEGREE[kb] > 2:
        return None
    if ka == kb == "number":
        return "float"
    if {ka, kb} & {"linexpr", "quadexpr"}:
        return "expression"
    if "number" in (ka, kb):
        other = kb if ka == "number" else ka
        return "linterm" if other == "var" else other
    return "quadterm"


@pytest.fixture
def point_and_operands():
    ops, vs = make_operands()
    rng = random.Random(7)
    point = {v: rng.uniform(-3, 3) for v in vs}
    return ops, point


PAIRS = list(itertools.product(KINDS, KINDS))


@pytest.mark.parametrize("ka, kb", PAIRS)
@pytest.mark.parametrize("op", ["+", "-"])
def test_sum_matrix(point_and_operands, ka, kb, op):
    ops, point = point_and_operands
    a, b = ops[ka], ops[kb]
    r = a + b if op == "+" else a - b
    assert result_kind(r) == expected_sum_kind(ka, kb, op)
    expected = value(a, point) + (value(b, point) if op == "+" else -value(b, point))
    assert value(r, point) == pytest.approx(expected)


@pytest.mark.parametrize("ka, kb", PAIRS)
def test_product_matrix(point_and_operands, ka, kb):
    ops, point = point_and_operands
    a, b = ops[ka], ops[kb]
    expected_kind = product_kind(ka, kb)
    r = a * b
    if expected_kind is None:
        # Beyond quadratic: a product node, headed by the right operand when the left is a leaf.
        assert result_kind(r) == "nonlin" and str(r) == "(%s * %s)" % (b, a)
        return
    assert result_kind(r) == expected_kind
    assert value(r, point) == pytest.approx(value(a, point) * value(b, point))


@pytest.mark.parametrize("ka, kind_div, kind_sqr, kind_neg", [
    ("number", "float", "float", "float"),
    ("var", "linterm", "quadterm", "linterm"),
    ("linterm", "linterm", "quadterm", "linterm"),
    ("quadterm", "quadterm", None, "quadterm"),
    ("linexpr", "expression", "expression", "expression"),
    ("quadexpr", "expression", None, "expression"),
])
def test_division_square_and_negation(point_and_operands, ka, kind_div, kind_sqr, kind_neg):
    ops, point = point_and_operands
    a = ops[ka]
    va = value(a, point)
    r = a / 4
    assert result_kind(r) == kind_div and value(r, point) == pytest.approx(va / 4)
    r = -a
    assert result_kind(r) == kind_neg and value(r, point) == pytest.approx(-va)
    assert result_kind(general("neg", a)) == kind_neg
    if kind_sqr is None:
        # A quadratic term's square is a power, a quadratic expression's a product.
        if ka == "quadterm":
            assert (str(a ** 2), str(general("sqr", a))) == ("(%s ** 2)" % a, "(%s ** 2.0)" % a)
        else:
            assert str(a ** 2) == str(general("sqr", a)) == "(%s * %s)" % (a, a)
    else:
        for r in (a ** 2, general("sqr", a)):
            assert result_kind(r) == kind_sqr and value(r, point) == pytest.approx(va * va)


@pytest.mark.parametrize("ka, kb", [(k, "var") for k in KINDS[1:]] + [(k, "linterm") for k in KINDS[1:]])
def test_division_by_non_constant_is_nonlinear_unless_it_cancels(point_and_operands, ka, kb):
    ops, point = point_and_operands
    a, b = ops[ka], ops[kb]
    cancels = (ka, kb) in {("var", "var"), ("linterm", "linterm"), ("quadterm", "linterm")}
    if not cancels:
        r = a / b
        assert result_kind(r) == "nonlin" and str(r) == "(%s / %s)" % (a, b)
        return
    r = a / b
    assert value(r, point) == pytest.approx(value(a, point) / value(b, point))


@pytest.mark.parametrize("scalar", [np.float64(2.0), np.float32(2.0), np.intc(2), np.int_(2),
                                    2, 2.0, True + 1])
def test_numpy_and_python_scalars_are_numbers(scalar):
    x = nv.var(name="s")
    for r in (scalar * x, x * scalar):
        assert result_kind(r) == "linterm" and str(r) == "2*s"
    assert general("kind", scalar) == 0
    assert str(x + scalar) == "2 + s"


@pytest.mark.parametrize("obj, text", [(None, "None"), ("a", "a"), (np.int8(3), "3"),
                                       (np.bool_(True), "True"), ([1], "[1]")])
def test_classification_rejects_other_objects(obj, text):
    with pytest.raises(nv.ModelError) as err:
        general("kind", obj)
    assert str(err.value) == "Invalid object in operation: <%s>" % text


def test_classification_codes():
    x = nv.var()
    assert [general("kind", o) for o in (1.5, x, 2 * x, x * x, x + 1)] == [0, 1, 2, 3, 4]


@pytest.mark.parametrize("name", ["add", "sub", "mul", "div", "pow", "or", "and", "iadd",
                                  "isub", "imul", "idiv", "ipow"])
def test_none_operands(name):
    x = nv.var(name="n")
    e = x + 1
    assert general(name, e, None) is e  # None on the right gives the left operand
    if name in ("sub", "div", "isub"):
        return  # on the left: test_none_accumulator_subtraction_and_division
    # None on the left is an empty accumulator (without a reciprocal or power of it for idiv
    # and ipow).
    assert general(name, None, x) is x
    r = general(name, None, e)
    assert r is not e and str(r) == "1 + n"


def test_none_accumulator_subtraction_and_division():
    x = nv.var(name="n")
    assert str(general("sub", None, x)) == "-1*n"
    assert str(general("isub", None, x + 1)) == "-1 - n"
    # Division alone has no rule for an empty accumulator.
    with pytest.raises(nv.ModelError, match="Invalid operands in division"):
        general("div", None, x)
    # The generic in-place operations amend an expression on the left.
    y = nv.var()
    e = x + 1
    assert general("iadd", e, y) is e
    assert len(e.extractLinear()[0]) == 2
    assert general("add", e, y) is not e


@pytest.mark.parametrize("name, a, b, expected", [
    ("add", 2, 3, 5.0),
    ("sub", 2, 3.5, -1.5),
    ("mul", 2, 3, 6.0),
    ("div", 3, 2, 1.5),
    ("div", 1, 0, math.inf),
    ("pow", 2, 10, 1024.0),
    ("or", 0, 0, 0.0),
    ("or", 0, 2, 1.0),
    ("and", 2, 3, 1.0),
    ("and", 1, 0, 0.0),
    ("imul", np.float32(2), np.intc(4), 8.0),
])
def test_number_arithmetic(name, a, b, expected):
    r = general(name, a, b)
    assert type(r) is float and r == expected


def test_generic_copy():
    n = int("12345678901")
    assert general("copy", n, 1.0) is n
    r = general("copy", 5, 2.0)
    assert type(r) is float and r == 10.0
    x = nv.var(name="c")
    assert general("copy", x, 1.0) is x
    assert general("copy", x, 0.0) == 0.0
    assert str(general("copy", x, 3.0)) == "3*c"
    assert str(general("copy", x * x, -1.0)) == "-1*c**2"
    e = x + 1
    c = general("copy", e, 2.0)
    assert c is not e and str(c) == "2 +2 c"
    arr = np.array([1.0, 2.0])
    c = general("copy", arr, 1.0)
    assert c is not arr and np.array_equal(c, arr)
    assert np.array_equal(general("copy", arr, 2.0), [2.0, 4.0])
    with pytest.raises(nv.ModelError, match="Invalid object being copied"):
        general("copy", "a", 1.0)


@pytest.mark.parametrize("build, texts", [
    (lambda x, a: x + a, ["1 + x", "2 + x"]),
    (lambda x, a: a + x, ["1 + x", "2 + x"]),
    (lambda x, a: x - a, ["-1 + x", "-2 + x"]),
    (lambda x, a: a - x, ["1 - x", "2 - x"]),
    (lambda x, a: x * a, ["x", "2*x"]),
    (lambda x, a: a * x, ["x", "2*x"]),
    (lambda x, a: x / a, ["x", "0.5*x"]),
    (lambda x, a: (2 * x) / a, ["2*x", "x"]),
    (lambda x, a: (x + 1) * a, ["1 + x", "2 +2 x"]),
    (lambda x, a: (x + 1) - a, ["  x", "-1 + x"]),
    (lambda x, a: (x * x) * a, ["x**2", "2*x**2"]),
    (lambda x, a: general("mul", x, a), ["x", "2*x"]),
])
def test_arrays_element_wise(xyz, build, texts):
    r = build(xyz[0], np.array([1.0, 2.0]))
    assert isinstance(r, np.ndarray) and r.shape == (2,)
    assert [str(v) for v in r] == texts


def test_in_place_with_array_on_the_right_gives_array(xyz):
    e = keep = xyz[0] + 1
    e += np.array([1.0, 2.0])
    assert isinstance(e, np.ndarray) and str(keep) == "1 + x"
    assert np.array_equal(general("sub", 3.0, np.array([1.0, 2.0])), [2.0, 1.0])


@pytest.mark.parametrize("name", ["add", "iadd"])
def test_numbers_added_to_an_array_go_on_the_left(xyz, name):
    # 0 + x is an expression, while x + 0 would be x itself.
    r = general(name, np.array([xyz[0], 2.0], dtype=object), 0)
    assert type(r[0]).__name__ == "expression" and str(r[0]) == "  x" and r[1] == 2.0
