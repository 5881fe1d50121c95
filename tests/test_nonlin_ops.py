"""Nonlinear expression nodes: operators over every operand kind, simplifications, the sum's
normal form, products, copies, printing and comparisons."""

import math
import random
import re

import numpy as np
import pytest

import nuvrel as nv

general = nv.expression._general
NONLIN = type(nv.exp(nv.var()))

_FUNCS = {name: getattr(math, name) for name in
          ("exp", "log", "log10", "sin", "cos", "tan", "asin", "acos", "atan", "erf", "erfc",
           "sqrt")}
_FUNCS.update(abs=abs, min=min, max=max, AND=min, OR=max,
              sign=lambda v: math.copysign(1.0, v) if v else 0.0)


def node_value(obj, point):
    """obj at point, read from its printed form: the formula itself when every leaf is a
    number or a variable (terms and expressions print without parentheses)."""
    if isinstance(obj, (int, float)):
        return float(obj)
    text = re.sub(r"\b(and|or) \(", lambda m: m.group(1).upper() + "(", str(obj))
    names = dict(_FUNCS, np=np)
    names.update({v.name: value for v, value in point.items()})
    return eval(text, {"__builtins__": {}}, names)


@pytest.fixture
def xyz():
    x, y, z = nv.var(name="x"), nv.var(name="y"), nv.var(name="z")
    rng = random.Random(3)
    return (x, y, z), {v: rng.uniform(0.5, 2.0) for v in (x, y, z)}


def operands(x, y, z):
    return {"number": 2.5, "var": x, "linterm": 3 * y, "quadterm": y * z, "expression": x + 1,
            "nonlin": nv.sin(z), "numpy scalar": np.float64(1.5)}


OPS = {"+": lambda a, b: a + b, "-": lambda a, b: a - b, "*": lambda a, b: a * b,
       "/": lambda a, b: a / b, "**": lambda a, b: a ** b}


ATOMIC = {"number", "var", "numpy scalar"}


@pytest.mark.parametrize("kind", list(operands(1, 1, 1)))
@pytest.mark.parametrize("op", list(OPS))
@pytest.mark.parametrize("node_left", [True, False])
def test_every_operator_with_every_operand_kind(xyz, kind, op, node_left):
    (x, y, z), point = xyz
    node = nv.exp(x)
    other = operands(x, y, z)[kind]
    a, b = (node, other) if node_left else (other, node)
    before = (str(a), str(b))
    r = OPS[op](a, b)
    assert type(r) is NONLIN
    # A product is headed by a node; every other result keeps the operands' order. Numbers
    # print as their repr.
    first, second = (b, a) if op == "*" and type(a) is not NONLIN else (a, b)
    # numpy's own operator runs first for its scalar on the left and passes a float.
    text = [repr(float(o) if kind == "numpy scalar" and not node_left else o)
            if isinstance(o, (int, float)) else str(o) for o in (first, second)]
    assert str(r) == "(%s %s %s)" % (text[0], op, text[1])
    assert (str(a), str(b)) == before  # operands never change
    if kind in ATOMIC:  # the printed form is then the formula itself
        expected = OPS[op](node_value(a, point), node_value(b, point))
        assert node_value(r, point) == pytest.approx(expected)


@pytest.mark.parametrize("build, text", [
    (lambda x, y, z: x ** 3, "(x ** 3)"),
    (lambda x, y, z: x / y, "(x / y)"),
    (lambda x, y, z: x * y * z, "(z * x*y)"),
    (lambda x, y, z: abs(x), "abs (x)"),
    (lambda x, y, z: -nv.exp(x), "- (exp (x))"),
    (lambda x, y, z: nv.exp(x) & nv.sin(y), "and (exp (x), sin (y))"),
])
def test_linear_objects_hand_nonlinear_results_to_nodes(xyz, build, text):
    # More of these, by operand kind, in test_expression.py.
    (x, y, z), point = xyz
    r = build(x, y, z)
    assert type(r) is NONLIN and str(r) == text == repr(r)
    node_value(r, point)  # the printed form is a well-formed formula


@pytest.mark.parametrize("build, expected", [
    (lambda n: n * 0, 0.0), (lambda n: 0.0 * n, 0.0), (lambda n: 0 / n, 0.0),
    (lambda n: (nv.expression() + 0) / n, 0.0), (lambda n: n ** 0, 1.0), (lambda n: 1 ** n, 1.0),
    (lambda n: n * 1, "copy"), (lambda n: 1 * n, "copy"), (lambda n: n / 1, "copy"),
    (lambda n: n / (nv.expression() + 1), "copy"), (lambda n: n ** 1, "copy"),
    (lambda n: n - 0, "copy"), (lambda n: n * -1, "- (exp (x))"),
    (lambda n: -1 * n, "- (exp (x))"), (lambda n: 0 - n, "- (exp (x))"),
    (lambda n: n / 2, "(exp (x) / 2)"),
])
def test_simplifications(build, expected):
    n = nv.exp(nv.var(name="x"))
    r = build(n)
    if isinstance(expected, float):
        assert type(r) is float and r == expected
    elif expected == "copy":
        assert type(r) is NONLIN and r is not n and str(r) == str(n)
    else:
        assert str(r) == expected


@pytest.mark.parametrize("build, message", [
    (lambda n: n / 0, "Division by zero"),
    (lambda n: n / (nv.expression() + 2 - 2), "Division by zero"),
    (lambda n: n ** np.array([1.0, 2.0]), "Cannot obtain a power with a vector as an exponent"),
    (lambda n: pow(n, 2, 3), "Invalid operands in exponentiation"),
    (lambda n: n + "a", "Invalid object in operation: <a>"),
    (lambda n: n * None, "Invalid object in operation: <None>"),
    (lambda n: n < 1, "Invalid constraint: cannot enforce f(x) != 0, f(x) > 0, or f(x) < 0"),
    (lambda n: n != 1, "Invalid constraint: cannot enforce f(x) != 0, f(x) > 0, or f(x) < 0"),
])
def test_operator_errors(build, message):
    n = nv.exp(nv.var(name="x"))
    with pytest.raises(nv.ModelError) as err:
        build(n)
    assert str(err.value) == message
    assert str(n) == "exp (x)"


@pytest.mark.parametrize("op", list(OPS))
def test_numpy_array_operands_work_element_by_element(op):
    x = nv.var(name="x")
    n, arr, point = nv.exp(x), np.array([2.0, 3.0]), {x: 0.4}
    pairs = [(n, arr), (arr, n)] if op != "**" else [(arr, n)]  # an array exponent is refused
    for a, b in pairs:
        r = OPS[op](a, b)
        assert isinstance(r, np.ndarray)
        expected = [OPS[op](math.exp(0.4), v) if b is arr else OPS[op](v, math.exp(0.4))
                    for v in arr]
        assert [node_value(v, point) for v in r] == pytest.approx(expected)


@pytest.fixture
def xyz_named():
    return tuple(nv.var(name=n) for n in "xyz")


class TestSums:
    @pytest.mark.parametrize("cancel", [lambda s, x: s - 3 - x, lambda s, x: s - (3 + x)])
    def test_one_linear_part_kept_last_and_dropped_when_cancelled(self, xyz_named, cancel):
        x, y, z = xyz_named
        s = x * y * z + 3 + x
        assert str(s) == "((z * x*y) + 3 + x)"
        assert str(s + nv.exp(y) + 2 * y) == "((z * x*y) + exp (y) + 3 + x +2 y)"
        assert str(cancel(s, x)) == "((z * x*y))"

    @pytest.mark.parametrize("build, text", [
        # Both sums: the right's nodes follow the left's, one linear part at the end.
        (lambda x, y, z: (nv.exp(x) + 1) + (nv.sin(y) + 2), "(exp (x) + sin (y) + 3.0)"),
        (lambda x, y, z: (nv.exp(x) + y) - (nv.sin(x) + z),
         "(exp (x) + - (sin (x)) +   y - z)"),
        (lambda x, y, z: (nv.exp(x) + y) + 2 * (nv.sin(x) + z),
         "(exp (x) + ((sin (x) + z) * 2) + y)"),
        # Only the right is a sum: a node left goes first, a linear one joins the linear part.
        (lambda x, y, z: x + (nv.exp(y) + 2), "(exp (y) + 2 + x)"),
        (lambda x, y, z: nv.cos(x) + (nv.exp(y) + 2), "(cos (x) + exp (y) + 2)"),
        (lambda x, y, z: x - (nv.exp(y) + 2), "(x - (exp (y) + 2))"),
        # A difference that is not a sum stays a binary node.
        (lambda x, y, z: nv.exp(x) - y - z, "((exp (x) - y) - z)"),
        (lambda x, y, z: 3 - nv.exp(x), "(3 - exp (x))"),
    ])
    def test_layouts(self, xyz_named, build, text):
        x, y, z = xyz_named
        r = build(x, y, z)
        assert str(r) == text
        # Built from numbers, the same formula is computed at once.
        point = {x: 0.3, y: 0.7, z: 1.1}
        assert node_value(r, point) == pytest.approx(build(0.3, 0.7, 1.1))

    def test_in_place_amends_the_left_sum_and_plain_sum_copies(self, xyz_named):
        x, y, z = xyz_named
        e = x + 1
        s = nv.exp(x) + e
        t = s + y
        assert str(s) == "(exp (x) + 1 + x)" and str(t) == "(exp (x) + 1 + x + y)"
        alias = s
        s += y
        s -= nv.sin(z)
        assert s is alias and str(s) == "(exp (x) + - (sin (z)) + 1 + x + y)"
        assert str(e) == "1 + x"  # a shared linear part is not amended
        s += s
        assert str(s) == ("(exp (x) + - (sin (z)) + exp (x) + - (sin (z)) + 2 +2 x +2 y)")

    def test_sum_of_many_terms_is_one_flat_list(self):
        xs = [nv.var(name="v%d" % i) for i in range(50)]
        s = nv.Sum(nv.exp(v) for v in xs)
        assert str(s).count("exp") == 50 and str(s).count("(") == 51
        s = nv.exp(xs[0])
        for v in xs[1:]:
            s += nv.exp(v) + v
        assert str(s).count("exp") == 50 and str(s).endswith(" + v49)")


def test_products_flatten_in_place_only():
    x, y, z, w = (nv.var(name=n) for n in "xyzw")
    p = 2 * x * y * z
    assert str(p) == "(z * 2*x*y)"
    q = p * w
    assert str(q) == "((z * 2*x*y) * w)" and str(p) == "(z * 2*x*y)"
    alias = p
    p *= w
    assert p is alias and str(p) == "(z * 2*x*y * w)"
    p *= nv.exp(x) * nv.sin(y)
    assert str(p) == "(z * 2*x*y * w * exp (x) * sin (y))"
    p *= p
    assert str(p).count("exp") == 2
    r = nv.cos(x)
    r *= nv.exp(y) * z
    assert str(r) == "(cos (x) * exp (y) * z)"


@pytest.mark.parametrize("build, factor, text", [
    (lambda x: nv.exp(x), 2.0, "(2.0 * exp (x))"),
    (lambda x: -(-nv.exp(x)), 2.0, "(2.0 * exp (x))"),
    (lambda x: -(-nv.exp(x)), 1.0, "- (- (exp (x)))"),
    (lambda x: -nv.exp(x), 3.0, "(-3.0 * exp (x))"),
    (lambda x: -(x ** 3), -2.0, "(2.0 * (x ** 3))"),
    (lambda x: -x * nv.exp(x), 3.0, "(3.0 * (exp (x) * -1*x))"),
    (lambda x: nv.exp(x) * 2, 3.0, "(exp (x) * 6.0)"),
    (lambda x: nv.exp(x) * x * x, 2.0, "(2.0 * ((exp (x) * x) * x))"),
])
def test_copy_with_factor(build, factor, text):
    x = nv.var(name="x")
    n = build(x)
    before = str(n)
    c = general("copy", n, factor)
    assert c is not n and str(c) == text and str(n) == before


def test_printing_depth_limit():
    x = nv.var(name="x")
    shallow, deep = x, x
    for _ in range(63):
        shallow = nv.exp(shallow)
    for _ in range(100):
        deep = nv.exp(deep)
    # 64 levels, the leaf's included.
    assert str(shallow) == "exp (" * 63 + "x" + ")" * 63
    assert str(nv.exp(shallow)) == "exp (" * 64 + "[MAX RECURS LEV]" + ")" * 64
    assert str(deep) == "exp (" * 64 + "[MAX RECURS LEV]" + ")" * 64


def test_deep_trees_copy_with_an_error_and_free_without_recursion():
    e = nv.var(name="x")
    for _ in range(200000):
        e = nv.exp(e)
    with pytest.raises(RecursionError):
        e + 1
    del e  # must not overflow the stack


class TestConstraints:
    @pytest.mark.parametrize("build, body, lb, ub", [
        (lambda x, y: nv.exp(x) + 3 <= 5, "(exp (x))", -1e20, 2.0),
        (lambda x, y: nv.exp(x) - 2 <= 0, "exp (x)", -1e20, 2.0),
        (lambda x, y: 2 - nv.exp(x) <= 0, "exp (x)", 2.0, 1e20),
        (lambda x, y: 2 - nv.exp(x) >= 0, "exp (x)", -1e20, 2.0),
        (lambda x, y: 2 - nv.exp(x) == 0, "exp (x)", 2.0, 2.0),
        (lambda x, y: x * y * x == 1, "(x * x*y)", 1.0, 1.0),
        (lambda x, y: 1 >= x * y * x, "(x * x*y)", -1e20, 1.0),
        (lambda x, y: nv.exp(x) >= y, "(exp (x) - y)", 0.0, 1e20),
        (lambda x, y: x / y <= x + 1, "((x / y) - 1 + x)", -1e20, 0.0),
        # Only a number at the end moves into the bounds, not an expression's constant.
        (lambda x, y: nv.exp(x) + x + 3 <= 5, "(exp (x) + -2 + x)", -1e20, 0.0),
    ])
    def test_comparisons_make_constraints(self, xyz_named, build, body, lb, ub):
        c = build(*xyz_named[:2])
        assert type(c) is nv.constraint
        assert str(c.body) == body and (c.lb, c.ub) == (lb, ub)
        assert str(c) == c.name

    def test_constraint_leaves_its_operands_alone(self, xyz_named):
        s = nv.exp(xyz_named[0]) + 3
        c = s <= 1
        assert str(s) == "(exp (x) + 3)" and str(c.body) == "(exp (x))"
        assert str(c.copy().body) == "(exp (x))"
