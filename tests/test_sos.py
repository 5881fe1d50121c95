"""Special ordered sets: construction, validation, identifiers, copies and ownership."""

import gc
import re
import sys
import weakref

import pytest
from conftest import same_objects

import nuvrel as nv


def ident(s):
    return int(re.fullmatch(r"sos(\d+)", s.name).group(1))


def test_defaults_identifiers_and_explicit_fields(xyz):
    a = nv.sos(list(xyz), [1, 2, 3])
    b = nv.sos(list(xyz), [1, 2, 3])
    assert a.type == 1 and str(a) == a.name
    # Allocation and initialisation each take an identifier; the set keeps the second.
    assert ident(b) - ident(a) == 2
    pos = nv.sos(list(xyz), [1, 2, 3], 2, "pieces")
    kw = nv.sos(weights=[3, 2, 1], indices=list(xyz), name="kw", type=1)
    assert (pos.type, pos.name, str(pos)) == (2, "pieces", "pieces")
    assert (kw.type, kw.name) == (1, "kw")


@pytest.mark.parametrize("name", [42, None, ("a", 1)])
def test_name_object_is_kept_unchecked(xyz, name):
    # Any given object is the name, None included; str() gives the name object itself, so a
    # name that is not a string makes str() fail with the interpreter's own TypeError.
    s = nv.sos(list(xyz), [1, 2, 3], name=name)
    assert s.name is name
    with pytest.raises(TypeError, match="non-string"):
        str(s)


@pytest.mark.parametrize("indices, weights, kwargs, message", [
    *[(list, [1, 2, 3], dict(type=bad), "SOS type must be 1 or 2")
      for bad in [0, 3, -1, -2**63, 2**70, 1.5, "1", None]],
    ((1, 2), (1, 2), {}, "SOS weights must be passed as a list"),   # weights are checked first
    ([1, 2], (1, 2), {}, "SOS weights must be passed as a list"),
    ((1, 2), [1, 2], {}, "SOS indices must be passed as a list"),
    ({1: 2}, [1, 2], {}, "SOS indices must be passed as a list"),
])
def test_bad_arguments(xyz, indices, weights, kwargs, message):
    with pytest.raises(nv.ModelError, match="^" + re.escape(message) + "$"):
        nv.sos(list(xyz) if indices is list else indices, weights, **kwargs)


def test_lists_are_shared_with_the_caller(xyz):
    x, y, z = xyz
    idx, wts = [x, y], [1.0, 2.0]
    s = nv.sos(idx, wts)
    idx.append(z)
    wts.append(3.0)
    assert s.indices is idx and s.weights is wts
    assert same_objects(s.indices, [x, y, z])


def test_copy_shares_elements_but_not_lists(xyz):
    src = nv.sos(list(xyz), [1.5, 2.5, 3.5, 4.5], type=2)
    src_id = ident(src)
    c = src.copy()
    assert c.type == 2 and c.name == "sos%d_copy_sos%d" % (src_id, src_id)
    # A copy of a copy is named after the copy it was made from.
    assert re.fullmatch(r"sos\d+_copy_" + re.escape(c.name), c.copy().name)
    assert c.indices is not src.indices and c.weights is not src.weights
    # The copy follows the length of the indices; the elements are the same objects.
    assert len(c.indices) == len(c.weights) == 3
    assert all(a is b for a, b in zip(c.indices, src.indices))
    assert all(a is b for a, b in zip(c.weights, src.weights))
    src.indices.pop()
    assert len(c.indices) == 3
    with pytest.raises(nv.ModelError, match="fewer weights than indices"):
        nv.sos(list(xyz), [1, 2]).copy()


def test_uninitialised_set_fails_cleanly():
    s = nv.sos.__new__(nv.sos)
    assert s.indices is None and str(s).startswith("sos")
    with pytest.raises(nv.ModelError):
        s.copy()


def test_failed_reinitialisation_leaves_set_unchanged(xyz):
    idx, wts = list(xyz), [1, 2, 3]
    s = nv.sos(idx, wts, type=2, name="keep")
    with pytest.raises(nv.ModelError):
        s.__init__(list(xyz), (1, 2, 3))
    assert (s.name, s.type) == ("keep", 2) and s.indices is idx and s.weights is wts


def test_references_are_released(xyz):
    idx, wts, name = list(xyz), [1.0, 2.0, 3.0], "refs-" + str(id(xyz))
    counts = [sys.getrefcount(o) for o in (idx, wts, name)]
    for _ in range(100):
        s = nv.sos(idx, wts, name=name)
        s.copy()
        s.__init__(idx, wts, 2, name)
        for bad in ((idx, wts, 3, name), (idx, tuple(wts))):
            with pytest.raises(nv.ModelError):
                nv.sos(*bad)
    del s, bad
    assert [sys.getrefcount(o) for o in (idx, wts, name)] == counts


def test_set_inside_its_own_list_is_collected():
    class Marker:
        pass

    marker = Marker()
    probe = weakref.ref(marker)
    idx = []
    s = nv.sos(idx, [marker])
    idx.append(s)
    del s, idx, marker
    gc.collect()
    assert probe() is None
