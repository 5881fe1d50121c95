"""Copies of an expression (a comparison's body, `e + 0`, the rows of `A @ x <= b`) share its
linear terms until one of them is amended: amending either must leave the other as it was, and
the variables must be released once the last owner goes."""
import gc
import sys

import numpy as np
import pytest
from conftest import KEEPS_ARRAY_ELEMENTS

import nuvrel as nv


# In-place amendments of an expression e (x is the array of variables).
AMENDMENTS = {"add variable": "e += x[2]", "subtract expression": "e -= 2 * x[1] + 1",
              "scale": "e *= 3.0", "add itself": "e += e", "cancel term": "e -= 2 * x[0]"}


def amended(statement, e, x):
    scope = {"e": e, "x": x}
    exec(statement, scope)
    return scope["e"]


def source(x):
    return 2 * x[0] + 3 * x[1] + 1


def terms_only(x):
    return 2 * x[0] + 3 * x[1]


def constraint_body(x):
    e = source(x)
    return e, (e <= 4).body


def plus_zero(x):
    e = source(x)
    return e, e + 0


def array_compare(x):
    e = source(x)
    return e, (np.array([e, e], dtype=nv.npexpr) >= 1)[1].body


def matmul_rows(x):
    y = np.array([[2.0, 3, 0], [1, 1, 1]]) @ x
    return y[0], (y <= 1)[0].body


# Each makes (original, copy), two expressions that may share their terms, beside the builders
# of equal expressions made on their own.
COPIES = {
    "constraint body": (constraint_body, (source, terms_only)),
    "plus zero": (plus_zero, (source, source)),
    "array compare": (array_compare, (source, terms_only)),
    "matmul rows": (matmul_rows, (terms_only, terms_only)),
}


@pytest.mark.parametrize("which", [0, 1], ids=["amend original", "amend copy"])
@pytest.mark.parametrize("amend", AMENDMENTS.values(), ids=list(AMENDMENTS))
@pytest.mark.parametrize("make, fresh", COPIES.values(), ids=list(COPIES))
def test_amending_one_owner_leaves_the_other(make, fresh, amend, which):
    x = nv.vars(3, name="x")
    pair = make(x)
    assert [str(p) for p in pair] == [str(f(x)) for f in fresh]
    result = amended(amend, pair[which], x)
    assert str(pair[1 - which]) == str(fresh[1 - which](x))
    assert str(result) == str(amended(amend, fresh[which](x), x))


def test_rows_of_a_product_keep_their_terms_when_the_product_changes():
    x = nv.vars(4, name="x")
    y = np.arange(12.0).reshape(3, 4) @ x
    rows = y <= np.ones(3)
    expected = [str(r.body) for r in rows]
    y[1] += x[0]
    y[2] *= 0.0
    y *= 2.0
    assert [str(r.body) for r in rows] == expected
    assert str(y[2]) != expected[2]


@KEEPS_ARRAY_ELEMENTS
@pytest.mark.parametrize("drop_first", ["original", "copies"])
def test_variables_are_released_by_the_last_owner(drop_first):
    x = nv.vars(3, name="")
    gc.collect()
    counts = [sys.getrefcount(v) for v in x]
    e = source(x)
    copies = [(e <= 1).body, e + 0, *(np.array([e, e], dtype=nv.npexpr) <= 2)]
    copies[1] += x[2]  # one owner stops sharing
    if drop_first == "original":
        del e
        gc.collect()
        assert all(sys.getrefcount(v) > c for v, c in zip(x[:2], counts))
        del copies
    else:
        del copies
        gc.collect()
        assert all(sys.getrefcount(v) > c for v, c in zip(x[:2], counts))
        del e
    gc.collect()
    assert [sys.getrefcount(v) for v in x] == counts
