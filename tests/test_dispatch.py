"""Arithmetic over every pair of operand kinds, the generic operators and numpy operands."""

import itertools
import math
import random

import numpy as np
import pytest

import nuvrel as nv

pytestmark = pytest.mark.usefixtures("collect_cycles")

general = nv.expression._general

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


@pytest.mark.parametrize("build, check", [
    (lambda x: x + 0, lambda r, x: r is x),
    (lambda x: x - 0.0, lambda r, x: r is x),
    (lambda x: 0 + x, lambda r, x: result_kind(r) == "expression" and str(r) == "  " + x.name),
    (lambda x: 0 - x, lambda r, x: result_kind(r) == "expression" and str(r) == " - " + x.name),
    (lambda x: x * 1, lambda r, x: r is x),
    (lambda x: 1.0 * x, lambda r, x: r is x),
    (lambda x: x * 0, lambda r, x: type(r) is float and r == 0.0),
    (lambda x: x / 1, lambda r, x: r is x),
    (lambda x: 0 / x, lambda r, x: type(r) is float and r == 0.0),
    (lambda x: x / x, lambda r, x: type(r) is float and r == 1.0),
    (lambda x: x - x, lambda r, x: type(r) is float and r == 0.0),
    (lambda x: x + x, lambda r, x: str(r) == "2*" + x.name),
    (lambda x: x ** 1, lambda r, x: r is x),
    (lambda x: x ** 0, lambda r, x: type(r) is float and r == 1.0),
    (lambda x: 1 ** x, lambda r, x: type(r) is float and r == 1.0),
    (lambda x: +x, lambda r, x: r is x),
])
def test_variable_special_cases(build, check):
    x = nv.var(name="v")
    assert check(build(x), x)


def test_variable_in_place_division():
    x = nv.var()
    y = x
    y /= 1
    assert y is x
    y /= 2
    assert str(y) == "0.5*" + x.name
    with pytest.raises(nv.ModelError, match="^Division by zero$"):
        x /= 0


@pytest.mark.parametrize("build, message", [
    (lambda x: x + "a", "Invalid operands in addition"),
    (lambda x: "a" + x, "Invalid operands in addition"),
    (lambda x: x + np.int8(1), "Invalid operands in addition"),
    (lambda x: x - "a", "Invalid object in subtraction"),
    (lambda x: x * "a", "Invalid operands in multiplication"),
    (lambda x: x / "a", "Invalid operands in division"),
    (lambda x: x / 0, "Division of variable by zero"),
    (lambda x: x ** "a", "Invalid operands in exponentiation"),
    (lambda x: x ** np.array([2.0]), "Cannot obtain a power with a vector as an exponent"),
])
def test_variable_operator_errors(build, message):
    x = nv.var()
    with pytest.raises(nv.ModelError) as err:
        build(x)
    assert str(err.value) == message


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


@pytest.mark.parametrize("name", ["add", "iadd", "mul", "imul", "pow", "or", "and",
                                  # No reciprocal or power of an accumulator that starts empty.
                                  "idiv", "ipow"])
def test_none_on_the_left_is_an_empty_accumulator(name):
    x = nv.var(name="n")
    assert general(name, None, x) is x
    e = x + 1
    r = general(name, None, e)
    assert r is not e and str(r) == "1 + n"


@pytest.mark.parametrize("name", ["add", "sub", "mul", "div", "pow", "or", "and", "iadd",
                                  "isub", "imul", "idiv", "ipow"])
def test_none_on_the_right_gives_the_left_operand(name):
    e = nv.var() + 1
    assert general(name, e, None) is e


def test_none_accumulator_subtraction_and_division():
    x = nv.var(name="n")
    assert str(general("sub", None, x)) == "-1*n"
    assert str(general("isub", None, x + 1)) == "-1 - n"
    # Division alone has no rule for an empty accumulator.
    with pytest.raises(nv.ModelError, match="Invalid operands in division"):
        general("div", None, x)


def test_generic_in_place_amends_expressions():
    x, y = nv.var(), nv.var()
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


class TestArrays:
    def setup_method(self):
        self.x = nv.var(name="x")
        self.arr = np.array([1.0, 2.0])

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
    ])
    def test_element_wise(self, build, texts):
        r = build(self.x, self.arr)
        assert isinstance(r, np.ndarray) and r.shape == (2,)
        assert [str(v) for v in r] == texts

    def test_in_place_with_array_on_the_right_gives_array(self):
        e = self.x + 1
        keep = e
        e += self.arr
        assert isinstance(e, np.ndarray) and str(keep) == "1 + x"

    @pytest.mark.parametrize("name", ["add", "iadd"])
    def test_numbers_added_to_an_array_go_on_the_left(self, name):
        # 0 + x is an expression, while x + 0 would be x itself.
        r = general(name, np.array([self.x, 2.0], dtype=object), 0)
        assert type(r[0]).__name__ == "expression" and str(r[0]) == "  x" and r[1] == 2.0

    def test_generic_operator_with_array(self):
        r = general("mul", self.x, self.arr)
        assert [str(v) for v in r] == ["x", "2*x"]
        r = general("sub", 3.0, self.arr)
        assert np.array_equal(r, [2.0, 1.0])
