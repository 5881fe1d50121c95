"""Expressions and terms: printing, products, divisions, powers, in-place operations, copies and
extraction; operations that leave the polynomials; Sum, Prod and Dot over collections, user
objects left intact, errors. (Every kind against every other kind: test_dispatch.py.)"""

from operator import iadd, imul, ipow, isub, itruediv

import numpy as np
import pytest

import nuvrel as nv
from conftest import constant_of, lin_of, quad_of, same_objects


pytestmark = pytest.mark.usefixtures("collect_cycles")


@pytest.fixture
def names():
    # Created in this order, so identifiers increase x < y < z.
    return {"x": nv.var(name="x"), "y": nv.var(name="y"), "z": nv.var(name="z"),
            "const2": nv.expression() + 2, "np": np, "general": nv.expression._general}


@pytest.mark.parametrize("source, kind, text", [
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
])
def test_results(names, source, kind, text):
    result = eval(source, names)
    assert type(result).__name__ == kind
    assert str(result) == text


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
])
def test_term_errors(names, source, message):
    with pytest.raises(nv.ModelError) as err:
        eval(source, names)
    assert str(err.value) == message


def test_power_one_returns_same_linear_term_but_copies_quadratic(names):
    x, y = names["x"], names["y"]
    t = 2 * x
    assert t ** 1 is t
    q = x * y
    assert q ** 1 is not q and str(q ** 1) == str(q)


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


def test_in_place_on_terms_rebinds_without_touching_the_original(names):
    x, y = names["x"], names["y"]
    t = keep = 2 * x
    t += y
    assert type(t).__name__ == "expression" and str(keep) == "2*x"
    q = keep = x * y
    q *= 3
    assert str(q) == "3*x*y" and str(keep) == "x*y"


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
def test_expression_errors(xyz, build, message):
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


def test_prod_results(xyz):
    x, y, _ = xyz
    q = nv.Prod([x, y])
    assert type(q).__name__ == "quadterm" and str(q) == str(x * y)
    t = nv.Prod(2, x, 3)
    assert type(t).__name__ == "linterm" and str(t) == str(6 * x)
    assert nv.Prod(range(1, 5)) == 24 and nv.Prod(2, 3.5) == 7.0


def test_arrays_are_folded_along_their_first_dimension_into_a_new_array(xyz):
    rows = nv.Sum(np.arange(6.0).reshape(2, 3))
    assert isinstance(rows, np.ndarray) and rows.tolist() == [3.0, 5.0, 7.0]
    x = xyz[0]
    a = np.array([1.0, 2.0])
    out = nv.Sum(a, a, x)
    assert a.tolist() == [1.0, 2.0]
    assert [constant_of(e) for e in out] == [2.0, 4.0] and all(lin_of(e) == {"x": 1.0} for e in out)


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
