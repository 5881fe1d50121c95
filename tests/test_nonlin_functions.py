"""The module's mathematical functions over numbers, modelling objects and arrays, and their
messages; reference counts of building and dropping trees; nonlinear bodies and objectives
refused by problems."""

import math
import sys

import numpy as np
import pytest
from conftest import object_count

import nuvrel as nv

pytestmark = pytest.mark.usefixtures("collect_cycles")

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


BUILDS = [
    lambda x, y: x * nv.exp(y) + x ** 2 <= 1,
    lambda x, y: nv.Sum(nv.sin(v) for v in (x, y, x)) - 3,
    lambda x, y: str(nv.max(x, y, 2) / (x * y * x)),
    lambda x, y: nv.expression._general("copy", -(-nv.exp(x) * y * x), 3.0),
    lambda x, y: (nv.exp(x) + 1) - (nv.cos(y) + x) + (x + 1),
    lambda x, y: nv.sqrt(np.array([x, y, 4.0], dtype=object)),
    lambda x, y: 2 - nv.exp(x) >= 0,
    # Error paths.
    lambda x, y: nv.exp(x) / 0,
    lambda x, y: nv.min(x, "a"),
    lambda x, y: nv.exp(x) + "a",
    lambda x, y: nv.exp(x) ** np.array([1.0]),
]


def _in_place_cycle(x, y):
    # A sum that ends up holding itself: only the collector can free it.
    s = nv.exp(x) + y
    t = s * 2
    s += t
    return s


@pytest.mark.parametrize("build", BUILDS + [_in_place_cycle])
def test_building_and_dropping_trees_leaves_nothing(build):
    x, y = nv.var(name="x"), nv.var(name="y")

    def run(n):
        for _ in range(n):
            try:
                build(x, y)
            except nv.ModelError:
                pass

    run(50)
    before = object_count()
    refs = (sys.getrefcount(x), sys.getrefcount(y))
    run(2000)
    assert object_count() - before < 50
    assert (sys.getrefcount(x), sys.getrefcount(y)) == refs
