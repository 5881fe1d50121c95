"""Storage of the modelling objects made by the million (variables, linear terms, expressions
and their term maps): objects that outlive their neighbours keep their state while the storage
around them is given back and reused, every object is counted until it goes, and tracemalloc
sees them."""

import gc
import tracemalloc

import pytest
from conftest import (KEEPS_ARRAY_ELEMENTS, SANITIZED, constant_of, lin_of, rss_bytes,
                      rss_grew_less_than)

import nuvrel as nv

N = 60_000
KEEP = slice(None, None, 997)


def live():
    gc.collect()
    return nv.var._slab_objects()


def state(obj):
    """What must not change while the objects around obj come and go."""
    if isinstance(obj, nv.var):
        return obj.name, obj.lb, obj.ub
    return lin_of(obj), constant_of(obj)


KINDS = {
    "variables": lambda k: nv.vars(N, name=f"v{k}", lb=-k, ub=k + 1),
    "linear terms": lambda k: (k + 2.0) * nv.vars(N, name=f"t{k}"),
    "expressions": lambda k: 2 * nv.vars(N, name=f"a{k}") + nv.vars(N, name=f"b{k}") - k,
}


@KEEPS_ARRAY_ELEMENTS
@pytest.mark.parametrize("make", KINDS.values(), ids=list(KINDS))
def test_survivors_keep_their_state_while_their_neighbours_are_replaced(make):
    base = live()
    survivors, expected = [], []
    for k in range(4):
        kept = list(make(k)[KEEP])  # the rest of the array goes at once
        survivors += kept
        expected += [state(o) for o in kept]
    # New objects take the freed places, never a survivor's.
    fresh = make(9)
    assert not {id(o) for o in survivors} & {id(o) for o in fresh}
    assert [state(o) for o in survivors] == expected
    del fresh
    assert [state(o) for o in survivors] == expected
    del survivors, kept
    assert live() == base


@KEEPS_ARRAY_ELEMENTS
def test_every_kind_is_counted_until_it_goes():
    base = live()
    x = nv.vars(10, name=None)
    assert live() == base + 10
    t = 2 * x
    assert live() == base + 20
    e = t + 1  # an expression and its map of terms each
    assert live() == base + 40
    del x, t
    assert live() == base + 30  # the expressions still hold their variables
    del e
    assert live() == base


def test_subclassed_variables_are_made_and_freed_by_the_interpreter():
    class Tagged(nv.var):
        pass

    base = live()
    v = Tagged(name="tagged", lb=-1)
    assert (type(v), v.name, v.lb) == (Tagged, "tagged", -1)
    assert live() == base
    e = 3 * v + 1
    assert e.extractLinear()[0][0] is v
    del v, e
    assert live() == base


@KEEPS_ARRAY_ELEMENTS
@pytest.mark.parametrize("make, least", [
    (lambda: nv.vars(N, name=None), 24),
    (lambda: 2 * nv.vars(N, name=None), 32 + 24),
    (lambda: nv.vars(N, name=None) + nv.vars(N, name=None), 2 * 24 + 48),
], ids=["variables", "linear terms", "expressions"])
def test_tracemalloc_sees_the_objects(make, least):
    # Array loops skip reporting while tracemalloc is off; that must end with the loop.
    make()
    gc.collect()
    tracemalloc.start()
    try:
        before = tracemalloc.get_traced_memory()[0]
        made = make()
        per_element = (tracemalloc.get_traced_memory()[0] - before) / N
        del made
        gc.collect()
        after = tracemalloc.get_traced_memory()[0]
    finally:
        tracemalloc.stop()
    assert per_element >= least
    assert after - before < N  # given back when they go


@KEEPS_ARRAY_ELEMENTS
@pytest.mark.skipif(SANITIZED, reason="the sanitizer's quarantine holds freed memory")
def test_empty_storage_beyond_the_pool_goes_back_to_the_system():
    gc.collect()
    before = rss_bytes()
    x = nv.vars(8_000_000, name=None)  # 192 MB of variables
    # Touched beyond what the pool of empty storage (64 MB) may already have held.
    assert not rss_grew_less_than(before, 120e6)
    del x
    gc.collect()
    # At most the pool's 64 MB are kept for the next objects of any kind.
    assert rss_grew_less_than(before, 80e6)
