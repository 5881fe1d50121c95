"""Element-wise operations on arrays of variables and expressions: every element equals the
scalar operation on the matching elements, results have the expression or constraint element
type, and numpy's broadcasting and views apply."""

import operator
import re

import numpy as np
import pytest

import nuvrel as nv

general = nv.expression._general

pytestmark = pytest.mark.usefixtures("collect_cycles")


@pytest.fixture
def x():
    return nv.vars(2, 3, name="x")


@pytest.fixture
def y():
    return nv.vars(2, 3, name="y")


# Operands of every kind the loops meet: arrays of variables and of expressions, float and
# integer arrays, and scalars (a Python float, a numpy integer, a single variable).
OPERANDS = {
    "npvar": lambda x, y: x,
    "npexpr": lambda x, y: 2 * y + 1,
    "float": lambda x, y: np.arange(1.0, 7.0).reshape(2, 3),
    "int": lambda x, y: np.arange(1, 7, dtype=np.int64).reshape(2, 3),
    "pyfloat": lambda x, y: 2.5,
    "npint": lambda x, y: np.int32(3),
    "var": lambda x, y: y[1, 2],
}
MODELLING = {"npvar", "npexpr", "var"}
ARRAY = {"npvar", "npexpr", "float", "int"}

OPS = {
    "add": operator.add, "sub": operator.sub, "mul": operator.mul, "div": operator.truediv,
    "pow": operator.pow,
}

PAIRS = [(a, b) for a in OPERANDS for b in OPERANDS
         if (a in MODELLING or b in MODELLING) and (a in ARRAY or b in ARRAY)]


def element(obj, index):
    """The scalar the loops see at index: doubles as Python floats (the loops convert every
    numeric operand to double), other scalars unchanged."""
    if isinstance(obj, np.generic):
        return float(obj)
    if not isinstance(obj, np.ndarray):
        return obj
    return float(obj[index]) if obj.dtype.kind in "fi" else obj[index]


def element_raw(obj, index):
    return obj[index] if isinstance(obj, np.ndarray) else obj


def same(a, b):
    """Two modelling objects (or numbers) print the same. The sign of a NaN that arithmetic
    produces depends on the order of the operations the compiler emits, so it is not compared."""
    def shown(obj):  # a NaN's sign, also where it is printed as the sign of its term, dropped
        return re.sub(r"[-+]\s*nan", "nan", str(obj))
    return type(a) is type(b) and shown(a) == shown(b)


@pytest.mark.parametrize("op", OPS)
@pytest.mark.parametrize("left, right", PAIRS)
def test_binary_operators_match_scalar_operators(x, y, left, right, op):
    a, b = OPERANDS[left](x, y), OPERANDS[right](x, y)
    try:
        res = OPS[op](a, b)
    except nv.ModelError as e:
        # An array exponent is refused by the scalar rule too.
        assert op == "pow" and right in ARRAY and left == "var"
        assert "vector as an exponent" in str(e)
        return
    assert isinstance(res, np.ndarray) and res.shape == (2, 3)
    # numpy makes an object array of a single modelling object; with a numeric array beside it
    # numpy's own object loop runs, and the result is an object array of the same elements.
    numeric_with_scalar = "var" in (left, right) and {left, right} & {"float", "int"}
    assert res.dtype == (object if numeric_with_scalar else nv.npexpr)
    for index in np.ndindex(2, 3):
        ea, eb = element(a, index), element(b, index)
        if numeric_with_scalar:
            ea, eb = (e.item() if isinstance(e, np.generic) else e
                      for e in (element_raw(a, index), element_raw(b, index)))
        if op == "div" and left == "var":
            # A variable divided by an array multiplies by the array's reciprocal.
            expected = (1.0 / eb) * ea
        else:
            expected = OPS[op](ea, eb)
        assert same(res[index], expected), (index, res[index], expected)


@pytest.mark.parametrize("kind", ["npvar", "npexpr"])
def test_unary_and_logical_loops(x, y, kind):
    a, f = OPERANDS[kind](x, y), OPERANDS["float"](x, y)
    results = [(-a, lambda e, v: -e), (np.square(a), lambda e, v: e ** 2),
               (a & f, lambda e, v: general("and", e, v)), (f | a, lambda e, v: general("or", v, e))]
    for res, scalar in results:
        assert res.dtype == nv.npexpr
        for index in np.ndindex(2, 3):
            assert same(res[index], scalar(a[index], float(f[index])))


@pytest.mark.parametrize("op", [operator.le, operator.ge, operator.eq])
@pytest.mark.parametrize("left, right", [p for p in PAIRS if "var" not in p and p[0] != p[1]])
def test_comparisons_give_one_constraint_per_element(x, y, left, right, op):
    a, b = OPERANDS[left](x, y), OPERANDS[right](x, y)
    res = op(a, b)
    assert res.dtype == nv.npconstraint and res.shape == (2, 3)
    for index in np.ndindex(2, 3):
        expected = op(element(a, index), element(b, index))
        got = res[index]
        assert isinstance(got, nv.constraint)
        # A number on the left gives the same constraint with the body negated.
        mirrored = (-expected.ub, -expected.lb, str(-expected.body))
        assert (got.lb, got.ub, str(got.body)) in [
            (expected.lb, expected.ub, str(expected.body)), mirrored]


@pytest.mark.filterwarnings("ignore:invalid value encountered")  # the NaN bound
@pytest.mark.parametrize("op", [operator.le, operator.ge, operator.eq])
@pytest.mark.parametrize("kind", ["variables", "linear", "quadratic"])
def test_variables_and_expressions_against_numbers_give_the_scalar_constraints(op, kind):
    # The commonest comparisons of arrays (bounds on variables, rows against right-hand sides)
    # have a path of their own; zero makes a variable itself the body, and the signs of zeros
    # and infinities reach the bounds.
    values = np.array([0.0, -0.0, 1.0, -2.5, 1e20, np.inf, -np.inf, 7.0, np.nan])
    x = nv.vars(len(values), name="b")
    a = {"variables": x, "linear": 2 * x + 1, "quadratic": x * x + 2 * x - 0.5}[kind]
    before = [str(e) for e in a]
    res = op(a, values)
    for got, ai, v in zip(res, a, values):
        expected = op(ai, float(v))
        assert type(got.body) is type(expected.body) and str(got.body) == str(expected.body)
        assert (repr(got.lb), repr(got.ub)) == (repr(expected.lb), repr(expected.ub))
    assert [str(e) for e in a] == before  # the bodies are copies where the bound took a part
    assert (res[0].body is x[0]) == (kind == "variables")


@pytest.mark.parametrize("make, shape", [
    (lambda x: x + np.ones(3), (2, 3)),
    (lambda x: x[:, :1] * np.arange(3.0), (2, 3)),
    (lambda x: x[0] - x[:, None, 0], (2, 3)),
    (lambda x: x.reshape(2, 3, 1) <= np.zeros((1, 1, 4)), (2, 3, 4)),
    (lambda x: x[::-1, ::-2] + 1, (2, 2)),  # reversed, strided view
    (lambda x: x.T * 2, (3, 2)),
    (lambda x: x[:0] * 2, (0, 3)),
    (lambda x: x[:0] <= np.zeros((0, 3)), (0, 3)),
])
def test_broadcasting_and_views(x, make, shape):
    res = make(x)
    assert res.shape == shape
    assert res.dtype in (nv.npexpr, nv.npconstraint)
    with pytest.raises(ValueError, match="broadcast"):  # mismatched shapes: numpy's error
        x + np.ones((2, 2))


@pytest.mark.parametrize("fill", [None, "text", "unfilled"])
def test_arrays_holding_other_objects_fail_cleanly(x, fill):
    a = np.array([x[0, 0], fill], dtype=nv.npvar)
    if fill == "unfilled":
        a = np.empty(2, dtype=nv.npvar)
        assert a[0] is None
    with pytest.raises(nv.ModelError, match="Invalid object in operation"):
        a + 1.0
    with pytest.raises(nv.ModelError, match="Invalid (object in operation|constraint body)"):
        a <= 1.0
    with pytest.raises(nv.ModelError, match="Invalid object in operation"):
        -a


def test_element_types_casts_and_functions(x):
    for dtype, kind, scalar in [(nv.npvar, "v", nv.var), (nv.npexpr, "e", nv.expression),
                                (nv.npconstraint, "c", nv.constraint)]:
        assert (dtype.kind, dtype.type, dtype.itemsize) == (kind, scalar, 8)
    e = x.astype(nv.npexpr)
    assert e.dtype == nv.npexpr
    assert all(a is b for a, b in zip(e.flat, x.flat))
    back = e.astype(nv.npvar)
    assert all(a is b for a, b in zip(back.flat, x.flat))
    as_object = x.astype(object)
    assert as_object.dtype == object and as_object[1, 2] is x[1, 2]
    s = nv.sin(x)
    assert s.dtype == nv.npexpr and s.shape == x.shape
    assert same(s[1, 2], nv.sin(x[1, 2]))
    f = nv.sin(np.array([0.0, 0.5]))
    assert f.dtype == np.float64 and f[1] == pytest.approx(np.sin(0.5))


@pytest.mark.parametrize("swap", [
    lambda a: a.byteswap(),
    lambda a: a.byteswap(inplace=True),
    lambda a: a.view(a.dtype.newbyteorder()).copy(),
    lambda a: a.astype(a.dtype.newbyteorder()),
])
@pytest.mark.parametrize("kind", ["npvar", "npexpr", "npconstraint"])
def test_byte_order_requests_leave_the_elements_intact(x, kind, swap):
    # Elements are references: swapping their bytes would make them point nowhere.
    a = {"npvar": x, "npexpr": 2 * x + 1, "npconstraint": x <= 1}[kind]
    before = list(a.flat)
    swapped = swap(a)
    assert all(e is o for e, o in zip(swapped.flat, before))
    assert all(e is o for e, o in zip(a.flat, before))
    assert str(swapped)


@pytest.mark.parametrize("arr, truth", [
    (lambda x: x[:1, :1], True),
    (lambda x: (x <= 1)[:1, :1], True),
    (lambda x: (0 * x)[:1, :1], False),
    (lambda x: (0 * x + 1)[:1, :1], True),
    (lambda x: (0 * x + np.nan)[:1, :1], True),
])
def test_truth_of_single_elements(x, arr, truth):
    assert bool(np.count_nonzero(arr(x))) is truth


def test_vars_with_integer_dimensions(x):
    assert x.dtype == nv.npvar and x.shape == (2, 3)
    assert x[1, 2].name == "x(1,2)"
    assert len({id(v) for v in x.flat}) == 6
    b = nv.vars(4, lb=-1, ub=2, vartype=nv.integer, name="")
    assert b.shape == (4,) and (b[3].lb, b[3].ub, b[3].vartype) == (-1, 2, nv.integer)


@pytest.mark.parametrize("dims, prefix", [((3, 11, 2), "y"), ((12,), "é"), ((2, 2), "p" * 2497)])
def test_array_names_match_the_dictionary_form(dims, prefix):
    # Carries across indices of different widths (10 -> 0) rewrite the shared name buffer.
    arr = nv.vars(*dims, name=prefix)
    keyed = nv.vars(*(range(d) for d in dims), name=prefix)
    assert [v.name for v in arr.flat] == [v.name for v in keyed.values()]
    assert all(len(v.name) <= 2500 for v in arr.flat)


# Coefficients where the generic scalar rules branch: 1 keeps the variable, zeros (of either
# sign) give the number 0, -1 cancels a sum over one variable, NaN stays a coefficient.
SPECIAL = np.array([1.0, 0.0, -0.0, -1.0, 2.5, np.nan])
COMMON = {
    "vars": lambda x: x,
    "terms": lambda x: SPECIAL * x,
    "terms reversed": lambda x: 3 * x[::-1],
    "expressions": lambda x: x * SPECIAL - 1,
}


# A NaN coefficient raises the processor's invalid flag, which numpy reports after the loop.
@pytest.mark.filterwarnings("ignore:invalid value:RuntimeWarning")
@pytest.mark.parametrize("op", [operator.add, operator.sub, operator.mul])
@pytest.mark.parametrize("kind", COMMON)
@pytest.mark.parametrize("other", ["special", "same variables", "other variables"])
def test_common_element_kinds_match_scalar_operators(op, kind, other):
    x, y = nv.vars(6, name="x"), nv.vars(6, name="y")
    a = COMMON[kind](x)
    b = {"special": SPECIAL, "same variables": -1 * x, "other variables": 2 * y}[other]
    for left, right in [(a, b), (b, a)]:
        res = op(left, right)
        assert res.dtype == nv.npexpr
        for i in range(6):
            want = op(element(left, i), element(right, i))
            assert same(res[i], want), (i, res[i], want)
