"""Argument conversion of the low-level methods: every form of a sequence (list, tuple,
iterator, numpy array) and of an element (index, name, modelling object) means the same, and a
bad argument is refused with a clear error and changes nothing."""

import builtins

import numpy as np
import pytest
from lowlevel_support import picture, small_problem

pytestmark = pytest.mark.usefixtures("quiet")


# Each form names columns 2 and 0 (z and x) of the small problem.
@pytest.mark.parametrize("make", [
    lambda x, y, z: [2, 0],
    lambda x, y, z: (z, x),
    lambda x, y, z: ["z", b"x"],
    lambda x, y, z: iter([2, "x"]),
    lambda x, y, z: (c for c in (z, 0)),
    lambda x, y, z: range(2, -1, -2),
    lambda x, y, z: np.array([2, 0], dtype=np.int32),
    lambda x, y, z: np.array([2, 0], dtype=np.int64),
    lambda x, y, z: np.array([2, 9, 0], dtype=np.int64)[::2],   # not contiguous
    lambda x, y, z: np.array([z, x], dtype=object),
    lambda x, y, z: [np.int32(2), np.int64(0)],
], ids=["list", "tuple", "names", "iterator", "generator", "range", "int32", "int64",
        "strided", "objects", "scalars"])
@pytest.mark.parametrize("values", [
    lambda: [4.0, -1.5], lambda: (4, -1.5), lambda: np.array([4.0, -1.5]),
    lambda: np.array([4.0, -1.5], dtype=np.float32), lambda: iter([4.0, -1.5]),
], ids=["list", "tuple", "float64", "float32", "iterator"])
def test_every_form_of_indices_and_values_means_the_same(nv, make, values):
    p, (x, y, z), _ = small_problem()
    p.chgbounds(make(x, y, z), ["U", "L"], values())
    assert p.getub(None) == [10.0, 10.0, 4.0]
    assert p.getlb(None) == [-1.5, 0.0, 0.0]


@pytest.mark.parametrize("dtype", [np.int8, np.int16, np.uint32, np.float64, np.bool_])
def test_numpy_integers_of_other_widths_are_refused_as_indices(nv, dtype, tmp_path):
    p, _, _ = small_problem()
    before = picture(p, tmp_path)
    with pytest.raises(nv.ModelError, match="Invalid variable object"):
        p.chgobj(np.array([1, 0], dtype=dtype), [1.0, 2.0])
    assert picture(p, tmp_path) == before


def test_long_generators_and_character_arrays(nv):
    """Iterators grow past their first 256 slots; numpy character arrays give their codes."""
    p = nv.problem()
    p.addVariable([nv.var() for _ in range(300)])
    p.chgbounds((j for j in range(300)), np.array(["U"] * 300), (float(j) for j in range(300)))
    assert p.getub(None) == [float(j) for j in range(300)]
    p.chgbounds(range(299, -1, -1), np.array([b"L"] * 300), np.arange(300.0))
    assert p.getlb(None, 0, 2) == [299.0, 298.0, 297.0]


def _other_var(nv):
    v = nv.var(name="elsewhere")
    nv.problem(v)
    return v


# (call on (p, x, y, z, c1, c2), exception, message). None of them may change anything.
BAD = [
    (lambda nv, p, x, y, z, c1, c2: p.chgobj([0, 1], [1.0]), "ModelError",
     r"^Mismatched lengths in arguments: expected 2, found 1$"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj((0, 1, 2), np.zeros(4)), "ModelError",
     "expected 3, found 4"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj({0: 1}, [1.0]), "ModelError",
     "^Invalid sequence of objects$"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj(x, [1.0]), "ModelError",
     "^Invalid sequence of objects$"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj([_other_var(nv)], [1.0]), "ModelError",
     "^Variable elsewhere not in problem$"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj([c1], [1.0]), "ModelError",
     "^Invalid variable object c1$"),
    (lambda nv, p, x, y, z, c1, c2: p.chgrhs([x], [1.0]), "ModelError",
     "^Invalid constraint object x$"),
    (lambda nv, p, x, y, z, c1, c2: p.chgrhs([nv.constraint(x <= 1, name="new")], [1.0]),
     "ModelError", "^Constraint new not in problem$"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj([np.int16(1)], [1.0]), "ModelError",
     "Invalid variable object"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj([0], ["one"]), "TypeError", "real number"),
    (lambda nv, p, x, y, z, c1, c2: p.chgbounds([0], [3], [1.0]), "ModelError",
     "^Invalid object 3$"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj(["nosuchcolumn"], [1.0]), "SolverError",
     "nosuchcolumn"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj([3], [1.0]), "SolverError", "not a valid column"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj([-2], [1.0]), "SolverError", "not a valid column"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj([0, 1], [1.0, float("nan")]), "SolverError",
     r"objcoef\[1\] is NaN"),
    # A float where an integer belongs leaves the message to the library's last error.
    (lambda nv, p, x, y, z, c1, c2: p.setindicators([0], [2], [1.0]), "SolverError", None),
    (lambda nv, p, x, y, z, c1, c2: p.chgbounds([0], ["U"]), "InterfaceError",
     "^Must provide argument bndval$"),
    (lambda nv, p, x, y, z, c1, c2: p.chgmcoef([0]), "InterfaceError",
     "^Must provide arguments colind, rowcoef$"),
    (lambda nv, p, x, y, z, c1, c2: p.chgobj(colind=[0], objcoefs=[1]), "TypeError",
     "objcoefs"),
    (lambda nv, p, x, y, z, c1, c2: p.getlb(None, "nosuchcolumn"), "SolverError",
     "nosuchcolumn"),
    (lambda nv, p, x, y, z, c1, c2: p.getlb((), 0, 1), "ModelError",
     "^Unexpected argument to conv_arr2obj$"),
]


@pytest.mark.parametrize("call, exc, message", BAD)
def test_bad_arguments_raise_and_change_nothing(nv, tmp_path, collect_cycles, call, exc,
                                                message):
    p, (x, y, z), (c1, c2) = small_problem()
    before = picture(p, tmp_path)
    with pytest.raises(getattr(nv, exc, None) or getattr(builtins, exc),
                       match=message) as info:
        call(nv, p, x, y, z, c1, c2)
    assert type(info.value).__name__ == exc
    assert picture(p, tmp_path) == before


def test_deleted_objects_are_no_longer_found(nv, tmp_path):
    p, (x, y, z), (c1, c2) = small_problem()
    p.delVariable(x)
    p.delConstraint(c2)
    before = picture(p, tmp_path)
    with pytest.raises(nv.ModelError, match="^Variable x not in problem$"):
        p.chgobj([y, x], [1, 2])
    with pytest.raises(nv.ModelError, match="^Constraint .* not in problem$"):
        p.chgrhs([c2], [1])
    assert picture(p, tmp_path) == before
    p.chgobj([y, z], [1, 2])    # the survivors moved down and are still found
    assert p.getlb(None, z, z) == [0.0]


def test_legacy_keywords_are_accepted(nv):
    p, (x, y, z), (c1, c2) = small_problem()
    p.chgbounds(mindex=[x], qbtype=["U"], bnd=[3])
    p.chgbounds(colind=[y], bndtype=["U"], bndval=[2])
    assert p.getub(None, 0, 1) == [3.0, 2.0]


def test_bound_queries_fill_a_list_or_return_a_new_one(nv):
    p, (x, y, z), _ = small_problem()
    p.chgbounds([0, 1, 2], ["L"] * 3, [1, 2, 3])
    assert p.getlb(None) == [1.0, 2.0, 3.0]
    mine = ["a", "b", "c", "d", "e"]
    keep = mine
    assert p.getlb(mine, "y", z) is None
    assert keep is mine and mine == [2.0, 3.0]
    assert p.getub(mine, 0, 0) is None and mine == [10.0]
    short = []
    assert p.getlb(lb=short, first=x) is None and short == [1.0, 2.0, 3.0]
    assert p.getlb(None, 2, 1) is None
    assert p.getIndexFromName(2, "z") == 2
    assert p.getIndexFromName(1, "c2") == 1
    with pytest.raises(nv.SolverError):
        p.getIndexFromName(1, "x")
