"""Sum, Prod and Dot: walking of collections, results, user objects left intact, errors."""

import numpy as np
import pytest

import nuvrel as nv
from conftest import lin_of, quad_of, constant_of

pytestmark = pytest.mark.usefixtures("collect_cycles")


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
def test_errors(xyz, call, exc, message, cause):
    with pytest.raises(exc, match=message) as info:
        call(xyz[0])
    assert cause is None or isinstance(info.value.__cause__, cause)
