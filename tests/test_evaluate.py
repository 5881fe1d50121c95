"""The structural evaluator at hand-given values: shapes, leaf values, column references and
errors. It is reached through the extension's exported test entry nvo_evaluate_py."""

import ctypes

import numpy as np
import pytest

import nuvrel as nv
from conftest import nested

pytestmark = pytest.mark.usefixtures("collect_cycles")


@pytest.fixture(scope="module")
def entry():
    fn = ctypes.PyDLL(nv.nuvrellib.__file__).nvo_evaluate_py
    fn.restype = ctypes.py_object
    fn.argtypes = [ctypes.py_object] * 3
    return fn


@pytest.fixture
def at_values(entry, xyz):
    """evaluate(*objects) with x = 2, y = 3, z = -1 given as a dictionary."""
    x, y, z = xyz
    values = {x: 2.0, y: 3.0, z: -1.0}
    return lambda *objs: entry(objs, None, values)


@pytest.fixture
def with_problem(entry, xyz):
    """evaluate(*objects) on a problem with columns x, y, z holding 10, 20, 30."""
    p = nv.problem()
    p.addVariable(*xyz)
    return lambda *objs: entry(objs, p, [10.0, 20.0, 30.0])


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
def test_bad_objects(entry, xyz, obj, exc, message):
    # A function gives the object and the values (a variable missing from them, here).
    obj, values = obj(*xyz) if callable(obj) else (obj, {v: 1.0 for v in xyz})
    with pytest.raises(exc, match=message):
        entry((obj,), None, values)


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
