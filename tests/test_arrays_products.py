"""Array products (Dot and @) over arrays of variables and expressions: the result follows
numpy's dot-product shapes and each element is the sum of products, checked by its linear and
quadratic coefficients against numpy on the coefficient matrices."""

import numpy as np
import pytest

import nuvrel as nv
from conftest import lin_of, quad_of

pytestmark = pytest.mark.usefixtures("collect_cycles")

RNG = np.random.default_rng(3)


def coefficients(e, names):
    lin = lin_of(e) if isinstance(e, nv.expression) else {e.name: 1.0}
    return np.array([lin.get(n, 0.0) for n in names])


@pytest.mark.parametrize("a_shape, x_shape", [
    ((3,), (3,)), ((2, 3), (3,)), ((4, 2, 3), (3,)), ((2, 3), (3, 2)), ((3,), (3, 2)),
    ((2, 2, 3), (2, 3, 4)), ((1, 0), (0,)),
])
@pytest.mark.parametrize("how", ["Dot", "matmul"])
def test_float_times_variables_matches_numpy(a_shape, x_shape, how):
    if how == "matmul" and len(a_shape) > 2 and len(x_shape) > 1:
        pytest.skip("matmul broadcasts stacks where dot contracts them")
    A = RNG.integers(-3, 4, size=a_shape).astype(float)
    x = nv.vars(*x_shape, name="x") if 0 not in x_shape else np.empty(x_shape, dtype=nv.npvar)
    res = nv.Dot(A, x) if how == "Dot" else A @ x
    expected_shape = np.dot(A, np.ones(x_shape)).shape
    if expected_shape == ():
        assert isinstance(res, nv.expression)
        res = np.array(res, dtype=object).reshape(())
    else:
        assert res.dtype == nv.npexpr and res.shape == expected_shape
    # Each result element's coefficient on x[j] is numpy's product with the unit array e_j.
    names = [v.name for v in x.flat]
    for j, name in enumerate(names):
        unit = np.zeros(x.size)
        unit[j] = 1.0
        want = np.dot(A, unit.reshape(x_shape))
        got = np.vectorize(lambda e: coefficients(e, names)[j], otypes=[float])(res)
        np.testing.assert_allclose(got, want)


def test_products_of_variables_and_of_expressions():
    x = nv.vars(3, name="x")
    e = nv.Dot(x, x)
    assert sorted(quad_of(e)) == [(f"x({i})", f"x({i})", 1.0) for i in range(3)]
    # A quadratic form through matmul.
    x = nv.vars(2, name="x")
    S = np.array([[2.0, 1.0], [1.0, 3.0]])
    q = x @ S @ x
    assert isinstance(q, nv.expression)
    # x0^2 * 2 + 2 * x0 x1 + 3 x1^2, the cross term gathered in one entry.
    terms = {(a, b) if a <= b else (b, a): c for a, b, c in quad_of(q)}
    assert terms == {("x(0)", "x(0)"): 2.0, ("x(0)", "x(1)"): 2.0, ("x(1)", "x(1)"): 3.0}
    # Expressions and nonlinear factors accumulate.
    v = np.array([2 * x[0] + 1, nv.sin(x[1])], dtype=nv.npexpr)
    e = nv.Dot(np.array([3.0, 2.0]), v)
    assert "sin" in str(e) and "x(0)" in str(e)


def test_numeric_products_chains_and_out():
    r = nv.Dot(np.array([[1, 2], [3, 4]]), np.array([1, 1]))
    assert r.dtype.kind == "i" and list(r) == [3, 7]
    x = nv.vars(3, name="x")
    r = nv.Dot(np.ones((2, 4)), np.ones((4, 3)), x)  # left to right
    assert r.shape == (2,) and lin_of(r[1]) == {f"x({i})": 4.0 for i in range(3)}
    out = np.empty(2, dtype=nv.npexpr)
    assert nv.Dot(np.ones((2, 3)), x, out=out) is out
    assert lin_of(out[0]) == {f"x({i})": 1.0 for i in range(3)}


@pytest.mark.parametrize("args, kwargs, message", [
    (lambda x: (np.ones(2), x), {}, "matching sizes in the multiplying dimension"),
    (lambda x: (np.array(2.0), x), {}, "first one is a scalar"),
    (lambda x: (x, np.array(2.0)), {}, "second one is a scalar"),
    (lambda x: (x, [1, 2, 3]), {}, "can only occur between NumPy arrays"),
    (lambda x: ([1, 2, 3], x), {}, "should only be on NumPy arrays"),
    (lambda x: (np.array(["a", "b", "c"]), x), {}, "between long, double, and expressions"),
    (lambda x: (x <= 0, x), {}, "between long, double, and expressions"),
    (lambda x: (np.ones((2, 3)), x), {"out": np.zeros(2)}, "Output argument set with wrong type"),
    (lambda x: (np.ones(3), np.ones(3)), {"out": np.empty((), dtype=nv.npexpr)},
     "Output argument set with wrong type"),
    (lambda x: (np.ones((2, 3)), x), {"out": np.empty(3, dtype=nv.npexpr)},
     "Could not initialize result of dot product"),
])
def test_dot_messages(args, kwargs, message):
    x = nv.vars(3, name="x")
    with pytest.raises(nv.ModelError, match=message):
        nv.Dot(*args(x), **kwargs)


@pytest.mark.parametrize("product", [lambda a: np.ones(2) @ a, lambda a: nv.Dot(np.ones(2), a)])
def test_none_element_in_a_product_is_refused(product):
    a = np.array([nv.var(), None], dtype=nv.npvar)
    with pytest.raises(nv.ModelError, match="Invalid object"):
        product(a)


@pytest.mark.parametrize("coef", [
    np.array([2, 0, -1, 3]), np.array([True, False, True, True]),
    np.array([2.0, 0.0, -1.0, 3.0], dtype=">f8"),
    np.array([3.0, 9.0, -1.0, 9.0, 0.0, 9.0, 2.0])[::-2],
])
def test_dot_of_two_vectors_reads_any_numeric_vector(coef):
    x = nv.vars(4, name="x")
    want = nv.Dot(coef.astype(float).copy(), x)
    for got in (nv.Dot(coef, x), nv.Dot(x, coef), nv.Dot(coef, x[::-1][::-1])):
        assert lin_of(got) == lin_of(want)
    x[1] = None  # skipped where the coefficient is zero, as in the general product
    assert lin_of(nv.Dot(coef, x)) == lin_of(want)


@pytest.mark.parametrize("step", [1, 2])
def test_dot_skips_only_zeros_in_long_rows(step):
    # Gaps between non-zeros that end on either side of the edges of blocks of 8, 16, 32 and
    # 64 zeros, wherever a scan starts; runs of -0.0 within and across such blocks.
    gaps = [1, 2, 8, 9, 10, 16, 17, 18, 31, 32, 33, 34, 64, 65, 66, 97]
    at = np.cumsum([0] + gaps)
    n = at[-1] + 2
    coef = np.zeros(n * step)[::step]
    coef[at] = np.arange(1.0, len(at) + 1) * (-1) ** np.arange(len(at))
    coef[at[4] + 1:at[4] + 5] = -0.0
    coef[at[13] + 2:at[13] + 50] = -0.0
    x = nv.vars(n, name="x")
    want = {f"x({i})": coef[i] for i in np.flatnonzero(coef)}
    assert lin_of(nv.Dot(coef, x)) == want
    assert lin_of((coef[None, :] @ x)[0]) == want
