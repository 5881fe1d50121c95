"""Linear and quadratic terms: results of their operators, printing and extraction; operations
of terms and expressions that leave the polynomials. (Every kind against every other kind is
covered in test_dispatch.py.)"""

import numpy as np
import pytest
from conftest import same_objects

import nuvrel as nv

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
def test_errors(names, source, message):
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
