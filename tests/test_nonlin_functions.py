"""The module's mathematical functions over numbers, modelling objects and arrays, and their
messages; piecewise-linear functions built from a dictionary of intervals; nonlinear bodies and
objectives refused by problems (reference counts of building trees: test_refcounts.py)."""

import math

import numpy as np
import pytest

import nuvrel as nv



NONLIN = type(nv.exp(nv.var()))

UNARY = [
    ("exp", math.exp, 0.7), ("log", math.log, 0.7), ("log10", math.log10, 0.7),
    ("sin", math.sin, 0.7), ("cos", math.cos, 0.7), ("tan", math.tan, 0.7),
    ("asin", math.asin, 0.7), ("acos", math.acos, 0.7), ("atan", math.atan, 0.7),
    ("abs", abs, -0.7), ("erf", math.erf, 0.7), ("erfc", math.erfc, 0.7),
    ("sqrt", math.sqrt, 0.7), ("sign", lambda v: -1.0, -0.7),
]


@pytest.mark.parametrize("name, ref, arg", UNARY)
@pytest.mark.parametrize("wrap", [float, int, np.float64, np.float32, np.intc])
def test_numbers_are_computed_at_once(name, ref, arg, wrap):
    if wrap in (int, np.intc):
        arg = -3 if name in ("abs", "sign") else 1
    r = getattr(nv, name)(wrap(arg))
    assert type(r) is float and r == pytest.approx(ref(float(wrap(arg))), rel=1e-6)


@pytest.mark.parametrize("value, sign", [(-2.5, -1.0), (3, 1.0), (-0.0, 0.0), (math.nan, 0.0)])
def test_sign_of_numbers(value, sign):
    assert nv.sign(value) == sign


@pytest.mark.parametrize("name", [u[0] for u in UNARY])
def test_modelling_arguments_become_unary_nodes(name):
    x = nv.var(name="x")
    for arg, text in ((x, "x"), (2 * x, "2*x"), (x * x, "x**2"), (x + 1, "1 + x"),
                      (nv.exp(x), "exp (x)")):
        r = getattr(nv, name)(arg)
        assert type(r) is NONLIN and str(r) == "%s (%s)" % (name, text)


@pytest.mark.parametrize("name", ["exp", "sqrt", "sign"])
def test_arrays_are_mapped_element_by_element(name):
    x = nv.var(name="x")
    f = getattr(nv, name)
    numeric = np.array([[1.0, 4.0], [9.0, 16.0]])
    r = f(numeric)
    assert r.shape == (2, 2) and r.dtype == np.float64
    assert [float(v) for v in r.ravel()] == [f(v) for v in numeric.ravel()]
    mixed = np.array([0.25, x], dtype=object)
    r = f(mixed)
    assert r[0] == f(0.25) and str(r[1]) == "%s (x)" % name
    assert mixed[0] == 0.25 and mixed[1] is x  # the argument is not changed
    assert f(np.array([])).shape == (0,)


@pytest.mark.parametrize("name, word", [("min", "min"), ("max", "max"), ("And", "and"),
                                        ("Or", "or")])
def test_nary_functions(name, word):
    x, y = nv.var(name="x"), nv.var(name="y")
    f = getattr(nv, name)
    assert f(x) is x and f([x]) is x and f((3,)) == 3
    expected = "%s (x, 2*y, 3)" % word
    for r in (f(x, 2 * y, 3), f([x, 2 * y, 3]), f((x, 2 * y, 3)),
              f(np.array([x, 2 * y, 3], dtype=object))):
        assert type(r) is NONLIN and str(r) == expected
    # Numbers are not folded.
    assert str(f(1.0, 2.0)) == "%s (1.0, 2.0)" % word


@pytest.mark.parametrize("name, empty", [("min", None), ("max", None), ("And", 1.0),
                                         ("Or", 0.0)])
def test_nary_functions_without_arguments(name, empty):
    f = getattr(nv, name)
    for call in (lambda: f(), lambda: f([]), lambda: f(())):
        if empty is None:
            with pytest.raises(nv.ModelError) as err:
                call()
            assert str(err.value) == "The function nuvrel.%s must have at least one argument" % name
        else:
            r = call()
            assert type(r) is float and r == empty


SINGLE = "Could not create a unary nonlinear expression: the argument must be a single expression"


@pytest.mark.parametrize("call, message", [
    (lambda f, x: nv.exp("a"), "Invalid object in unary operation"),
    (lambda f, x: nv.sqrt(None), "Invalid object in unary operation"),
    (lambda f, x: nv.exp([1.0]), SINGLE),
    (lambda f, x: nv.sin((x, 2.0)), SINGLE),
    (lambda f, x: f("a"), "Incorrect argument for nuvrel.%s function"),
    (lambda f, x: f(object()), "Incorrect argument for nuvrel.%s function"),
    (lambda f, x: f(["a"]), "Incorrect argument for nuvrel.%s function"),
    (lambda f, x: f(x, "a"), "Invalid object in n-ary operation"),
    (lambda f, x: f(x, [1, 2]), "Invalid object in n-ary operation"),
    (lambda f, x: f(x, np.array([1.0])), "Invalid object in n-ary operation"),
    (lambda f, x: f([x, None]), "Invalid object in n-ary operation"),
])
@pytest.mark.parametrize("name", ["min", "max", "And", "Or"])
def test_function_messages(call, message, name):
    with pytest.raises(nv.ModelError) as err:
        call(getattr(nv, name), nv.var(name="x"))
    assert str(err.value) == message.replace("%s", name)


x = nv.var(name="x")
y = nv.var(name="y")


def points(node):
    """The breakpoints of a pwl node as printed: [(x0, y0), (x1, y1), ...]."""
    text = str(node)
    assert text.startswith("pwl (x, ") and text.endswith(")")
    values = [float(v) for v in text[len("pwl (x, "):-1].split(", ")]
    return list(zip(values[::2], values[1::2]))


@pytest.mark.parametrize("intervals, expected", [
    # continuous at 1: the shared point once
    ({(0, 1): x, (1, 2): 2 * x - 1}, [(0, 0), (1, 1), (2, 3)]),
    # given out of order
    ({(1, 2): 2 * x - 1, (0, 1): x}, [(0, 0), (1, 1), (2, 3)]),
    # a gap keeps the points on both sides
    ({(0, 1): x, (2, 3): x}, [(0, 0), (1, 1), (2, 2), (3, 3)]),
    # a jump: a vertical step at 1
    ({(None, x): None, (0, 1): 0, (1, 2): 5}, [(0, 0), (1, 0), (1, 5), (2, 5)]),
    # closer than the tolerance: one point
    ({(0, 1): x, (1 + 1e-7, 2): x}, [(0, 0), (1, 1), (2, 2)]),
    # a jump just above the tolerance is kept
    ({(0, 1): x, (1, 2): x + 1e-5}, [(0, 0), (1, 1), (1, 1 + 1e-5), (2, 2 + 1e-5)]),
    # infinite left end: moved 0.88 before the right one
    ({(-1e20, 0): x}, [(-0.88, -0.88), (0, 0)]),
    ({(-math.inf, 1): 3 * x}, [(0.12, 0.36), (1, 3)]),
    # infinite right end: moved 0.88 after the left one
    ({(0, 1e20): 2 * x + 1}, [(0, 1), (0.88, 2.76)]),
    # every kind of linear value: term, expression with a constant, a negative slope
    ({(0, 2): 3 + 0.5 * x, (2, 4): -2 * x + 8}, [(0, 3), (2, 4), (4, 0)]),
    ({(0, 1): x, (None, x): 0}, [(0, 0), (1, 1)]),
])
def test_breakpoints(intervals, expected):
    flat = [v for point in expected for v in point]
    assert [v for point in points(nv.pwl(intervals)) for v in point] == pytest.approx(flat)


MSG_DICT = ("Function nuvrel.pwl only accepts a dictionary; a call must be for example "
            "nuvrel.pwl({(1,4): 2*x+1, (4,6): 4*x+5, ...})")
MSG_TWO = "All keys in the dictionary argument of nuvrel.pwl must be two-tuples; <%s> is not"
MSG_NUM = ("All keys in the dictionary argument of nuvrel.pwl must be two-tuples with two "
           "constant numbers: [a,b] such that a<b; <%s> is not")
MSG_LIN = ("Expression %s not suitable for a piecewise linear function; it must be a constant "
           "or a linear function")
MSG_ONE = ("Expression %s not suitable for a piecewise linear function; it must contain one "
           "variable only")
MSG_NOVAR = ("No variable specified for this piecewise linear function: %s; Are all values "
             "constant? If so, add a key-value pair (None: x) to the dictionary with the "
             "variable associated to the piecewise linear")


@pytest.mark.parametrize("arg, message", [
    ([((0, 1), x)], MSG_DICT),
    ({1: x}, MSG_TWO % "1"),
    ({(0, 1, 2): x}, MSG_TWO % "(0, 1, 2)"),
    ({(None, 3): x}, "Tuple (None, Obj) must have an nuvrel.var() object as Obj, found <3>"),
    ({(1, 1): x}, MSG_NUM % "(1, 1)"),
    ({(2, 1): x}, MSG_NUM % "(2, 1)"),
    ({(0, "a"): x}, MSG_NUM % "(0, 'a')"),
    ({(math.nan, 1): x}, MSG_NUM % "(nan, 1)"),
    ({(0, 1): x * x}, MSG_LIN % "x**2"),
    ({(0, 1): nv.exp(x)}, MSG_LIN % "exp (x)"),
    ({(0, 1): "x"}, MSG_LIN % "x"),
    ({(0, 1): x + y}, MSG_ONE % (x + y)),
    ({(0, 1): x, (1, 2): 2 * y},
     "Expression in [1,2] interval contains variable y while another variable has been used "
     "in the same function"),
    ({(0, 1): 1, (1, 2): 2}, MSG_NOVAR % "{(0, 1): 1, (1, 2): 2}"),
    ({}, MSG_NOVAR % "{}"),
    ({(0, 2): x, (1, 3): x},
     "Interval [0.0,2.0] overlaps with [1.0,3.0] in piecewise linear function"),
    ({(0, 2): x, (0, 1): x},
     "Interval [0.0,2.0] overlaps with [0.0,1.0] in piecewise linear function"),
])
def test_messages(arg, message):
    with pytest.raises(nv.ModelError) as err:
        nv.pwl(arg)
    assert str(err.value) == message
