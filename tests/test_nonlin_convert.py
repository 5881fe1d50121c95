"""Nonlinear trees as the library and the evaluator see them. Formula conversion: the coefficients
and token lists the nonlinear solver receives for constraint bodies, read back from the library,
and the refusals that leave a problem as it was. evaluate at hand-given values: shapes, leaf
values, column references and errors."""

import math

import numpy as np
import pytest

import nuvrel as nv
from conftest import nested, nl_formulas



# Token types and operator values of the library's parsed formulas.
EOF_, CON, COL, IFUN, DEL, OP = 0, 1, 10, 12, 22, 31
UMINUS, POW, MUL, DIV, PLUS = 1, 2, 3, 4, 5
END = (EOF_, 0.0)
MARK = (DEL, 0.0)


def col(j):
    return (COL, float(j))


def op(v):
    return (OP, float(v))


def fn(code):
    return (IFUN, float(code))


SIN, COS, EXP, MIN = fn(27), fn(28), fn(16), fn(33)


@pytest.fixture(scope="module")
def coefs():
    """The nonlinear coefficients the library holds, as (row, column, factor, tokens)."""
    return lambda p: [(r, c, f, list(zip(t, v))) for r, c, f, t, v in nl_formulas(p)]


@pytest.fixture
def model():
    """A problem with columns x, y, z (0, 1, 2) and one linear row."""
    x, y, z = nv.var(name="x", ub=4), nv.var(name="y", ub=4), nv.var(name="z", ub=4)
    p = nv.problem(x, y, z, x + y <= 5)
    return p, x, y, z


@pytest.mark.parametrize("body, expected", [
    # A product's variable is the column; the rest is the formula.
    (lambda x, y, z: x * nv.sin(y), [(0, [MARK, col(1), SIN, END])]),
    # No variable in front: the constant column.
    (lambda x, y, z: nv.sin(x), [(-1, [MARK, col(0), SIN, END])]),
    # Binary operators take no argument marker.
    (lambda x, y, z: x / y, [(-1, [col(0), col(1), op(DIV), END])]),
    (lambda x, y, z: x ** 3, [(-1, [col(0), (CON, 3.0), op(POW), END])]),
    (lambda x, y, z: nv.min(x, y), [(-1, [MARK, col(0), col(1), MIN, END])]),
    # Term coefficients: -1 negates, 1 is left out, others multiply.
    (lambda x, y, z: nv.exp(-x), [(-1, [MARK, col(0), op(UMINUS), EXP, END])]),
    (lambda x, y, z: nv.exp(2 * x), [(-1, [MARK, (CON, 2.0), col(0), op(MUL), EXP, END])]),
    (lambda x, y, z: nv.exp(-3 * x * y),
     [(-1, [MARK, (CON, -3.0), col(0), col(1), op(MUL), op(MUL), EXP, END])]),
    # Expressions: the constant first when not 0, terms joined by plus.
    (lambda x, y, z: nv.exp(x + y), [(-1, [MARK, col(0), col(1), op(PLUS), EXP, END])]),
    (lambda x, y, z: nv.exp(x + y + 1),
     [(-1, [MARK, (CON, 1.0), col(0), op(PLUS), col(1), op(PLUS), EXP, END])]),
])
def test_token_streams(model, coefs, body, expected):
    p, x, y, z = model
    p.addConstraint(body(x, y, z) <= 1)
    got = [(c, tokens) for row, c, factor, tokens in coefs(p)]
    assert got == expected
    assert all(row == 1 and factor == 1.0 for row, _, factor, _ in coefs(p))


def test_sums_are_balanced(model, coefs):
    p, x, y, z = model
    terms = [nv.sin(x), nv.cos(y), nv.sin(z), nv.cos(x), nv.sin(y)]
    inner = terms[0] + terms[1] + terms[2] + terms[3] + terms[4]
    p.addConstraint(nv.exp(inner) <= 3)
    [(_, _, _, tokens)] = coefs(p)
    leaves = [[MARK, col(0), SIN], [MARK, col(1), COS], [MARK, col(2), SIN],
              [MARK, col(0), COS], [MARK, col(1), SIN]]
    a, b, c, d, e = leaves
    plus = [op(PLUS)]
    assert tokens == [MARK] + a + b + plus + c + d + plus + plus + e + plus + [EXP, END]


def test_numbers_of_a_product_become_the_factor(model, coefs):
    p, x, y, z = model
    flat = x * nv.sin(y)
    flat *= 2.5  # one product list: sin(y), x, 2.5
    nested = nv.sin(y) * x * 2.5  # a product of the product and 2.5
    p.addConstraint(flat >= -1, nested <= 2)
    assert coefs(p) == [
        (1, 0, 2.5, [MARK, col(1), SIN, END]),
        (2, -1, 2.5, [MARK, col(1), SIN, col(0), op(MUL), END]),
    ]


def test_terms_sharing_a_column_are_joined(model, coefs):
    p, x, y, z = model
    p.addConstraint(nv.sin(x) + 2 * nv.cos(y) + x * y * z <= 1)
    rows = coefs(p)
    assert len({(r, c) for r, c, _, _ in rows}) == len(rows)
    p.setObjective(x + y + z, sense=nv.maximize)
    p.solve()
    xv, yv, zv = p.getSolution([x, y, z])
    lhs = math.sin(xv) + 2 * math.cos(yv) + xv * yv * zv
    assert lhs <= 1 + 1e-5
    assert nv.evaluate(nv.sin(x) + 2 * nv.cos(y) + x * y * z, problem=p) == pytest.approx(lhs)


def deep(x, levels):
    node = x
    for _ in range(levels):
        node = nv.exp(node)
    return node


@pytest.mark.parametrize("build, message", [
    (lambda x, w: nv.sin(w), "Variable in nonlinear part of constraint has not been added"),
    (lambda x, w: w * nv.sin(x), "Variable in nonlinear term not added to problem yet"),
    (lambda x, w: nv.sin(2 * w), "Variable in nonlinear expression has not been added"),
    (lambda x, w: nv.sin(x) + 3 * w, "Variable in linear part of constraint"),
    (lambda x, w: deep(x, 70), "The expression tree depth reached the maximum limit"),
    # One level more than the tree that converts below.
    (lambda x, w: nv.sin(deep(x, 63)), "The expression tree depth reached the maximum limit"),
    (lambda x, w: nv.exp(x * float("nan")), "NaN or infinite"),
    (lambda x, w: nv.exp(x) + x * nv.sin(x) * float("inf"), "NaN or infinite"),
])
def test_refused_bodies_leave_the_problem_as_it_was(model, coefs, build, message):
    p, x, y, z = model
    w = nv.var(name="w")
    with pytest.raises(nv.ModelError, match=message):
        p.addConstraint(x <= 3, build(x, w) <= 1, y <= 2)
    assert p.attributes.rows == 1
    assert coefs(p) == []
    p.setObjective(x + 2 * y, sense=nv.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(9.0)


def test_formulas_from_one_batch_keep_their_rows_and_a_tree_at_the_depth_limit_converts(
        model, coefs):
    p, x, y, z = model
    cons = [nv.exp(x) * i + y <= 10 * i for i in range(1, 300)]
    p.addConstraint(cons, x * nv.sin(z) <= 2)
    rows = coefs(p)
    assert [r for r, _, _, _ in rows] == list(range(1, 301))
    assert rows[-1][1] == 0 and rows[-1][3] == [MARK, col(2), SIN, END]
    p.addConstraint(deep(0.01 * x, 3) + deep(y, 60) * 0 + nv.sin(deep(z, 62)) <= 100)
    assert len(coefs(p)) == 301


@pytest.fixture
def at_values(xyz):
    """evaluate(*objects) with x = 2, y = 3, z = -1 given as a dictionary."""
    x, y, z = xyz
    values = {x: 2.0, y: 3.0, z: -1.0}
    return lambda *objs: nv.evaluate(*objs, solution=values)


@pytest.fixture
def with_problem(xyz):
    """evaluate(*objects) on a problem with columns x, y, z holding 10, 20, 30."""
    p = nv.problem()
    p.addVariable(*xyz)
    return lambda *objs: nv.evaluate(*objs, problem=p, solution=[10.0, 20.0, 30.0])


@pytest.mark.parametrize("build, expected", [
    (lambda x, y, z: 4, 4.0),
    (lambda x, y, z: np.float32(0.5), 0.5),
    (lambda x, y, z: x, 2.0),
    (lambda x, y, z: -3 * y, -9.0),
    (lambda x, y, z: 2 * x * z, -4.0),
    (lambda x, y, z: y * y, 9.0),
    (lambda x, y, z: nv.expression(), 0.0),
    (lambda x, y, z: 1 + x - 2 * y + 0.5 * x * y - z * z + 3 * x * x, 1 + 2 - 6 + 3 - 1 + 12),
])
def test_leaf_values(at_values, xyz, build, expected):
    result = at_values(build(*xyz))
    assert type(result) is float and result == pytest.approx(expected)


def test_shapes_are_kept(at_values, xyz):
    x, y, z = xyz
    assert at_values(x, y) == (2.0, 3.0)
    assert at_values((x, y)) == (2.0, 3.0)
    result = at_values({"b": x, 7: [y, 2 * x], "a": z})
    assert result == {"b": 2.0, 7: [3.0, 4.0], "a": -1.0} and list(result) == ["b", 7, "a"]
    assert at_values([x, [y, (z, {"k": x * y})]]) == [2.0, [3.0, (-1.0, {"k": 6.0})]]
    assert at_values(range(3)) == [0.0, 1.0, 2.0]
    assert at_values([]) == [] and at_values(()) == () and at_values({}) == {}


@pytest.mark.parametrize("array", [
    np.arange(6).reshape(2, 3),
    np.array([[True, False]]),
    np.arange(8, dtype=np.float32).reshape(2, 2, 2)[:, ::-1, :],  # not contiguous
    np.array(2.5),
])
def test_numeric_arrays_keep_shape(at_values, array):
    result = at_values(array)
    assert result.dtype == np.float64 and result.shape == array.shape
    assert np.array_equal(result, array.astype(np.float64))


@pytest.mark.parametrize("ref, expected", [
    (lambda x, y, z: x + y, 30.0),
    (lambda x, y, z: 0, 10.0),
    (lambda x, y, z: 2, 30.0),
    (lambda x, y, z: np.int32(1), 20.0),
    (lambda x, y, z: np.int64(2), 30.0),
    (lambda x, y, z: "y", 20.0),
    (lambda x, y, z: b"z", 30.0),
    (lambda x, y, z: [x, [1]], [10.0, [20.0]]),
])
def test_problem_columns_indices_and_names(with_problem, xyz, ref, expected):
    assert with_problem(ref(*xyz)) == expected


class Unreadable:
    def __len__(self):
        raise ValueError("no length")

    def __getitem__(self, i):
        return 0


@pytest.mark.parametrize("obj, exc, message", [
    (object(), nv.ModelError, "^Evaluation of object of incorrect type$"),
    (lambda x, y, z: (x + y, {x: 1.0}), nv.ModelError, "^Object does not belong to problem"),
    ([2.0, nv.var() <= 1], nv.ModelError, "^Evaluation of object of incorrect type$"),
    ([1, {2}], nv.ModelError, "^Evaluation of object of incorrect type$"),
    (Unreadable(), nv.ModelError, "^Cannot evaluate type of sequence$"),
    (np.array(["a"]), nv.InterfaceError, "must be of dtype nuvrel.npvar"),
    (np.array([1.0, None], dtype=object), nv.InterfaceError, "must be of dtype nuvrel.npvar"),
])
def test_bad_objects(xyz, obj, exc, message):
    # A function gives the object and the values (a variable missing from them, here).
    obj, values = obj(*xyz) if callable(obj) else (obj, {v: 1.0 for v in xyz})
    with pytest.raises(exc, match=message):
        nv.evaluate(obj, solution=values)


@pytest.mark.parametrize("ref, exc, message", [
    (3, nv.InterfaceError, "out-of-range index"),
    (-1, nv.InterfaceError, "out-of-range index"),
    (2**70, nv.InterfaceError, "out-of-range index"),
    ("w", nv.SolverError, "w"),
    (nv.var(), nv.ModelError, "^Object does not belong to problem"),
])
def test_problem_reference_errors(with_problem, ref, exc, message):
    with pytest.raises(exc, match=message):
        with_problem([1, ref])


@pytest.mark.parametrize("text, expected", [
    ("", []),
    (b"", []),
    (b"ab", [97.0, 98.0]),       # the items of bytes are numbers
    ("x", RuntimeError),         # each character is again a one-character string
    ([1, "ab"], RuntimeError),
])
def test_strings_are_sequences_without_a_problem(at_values, text, expected):
    if expected is RuntimeError:
        with pytest.raises(RuntimeError, match="^Evaluation of expression exceeded recursion"):
            at_values(text)
    else:
        assert at_values(text) == expected


def test_recursion_limit(at_values, xyz):
    # The walker starts at depth 64 and every level, the leaf's included, uses one.
    assert at_values(nested(xyz[0], 63)) == nested(2.0, 63)
    for levels in (64, 65):
        with pytest.raises(RuntimeError, match="exceeded recursion depth limit"):
            at_values(nested(xyz[0], levels))
