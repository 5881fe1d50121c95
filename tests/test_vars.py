"""nuvrel.vars in its dictionary form: keys, names, attributes and its checks."""
import gc
import sys

import pytest

import numpy as np

import nuvrel

INF = 1e20


@pytest.mark.parametrize("args, keys, key, name", [
    ((["a", "b"], range(3)), [(i, j) for i in "ab" for j in range(3)], ("b", 2), "y(b,2)"),
    ((["p", "q"],), ["p", "q"], "q", "y(q)"),     # one index set: the keys are its elements
    ((2, ["a"]), [(0, "a"), (1, "a")], (1, "a"), "y(1,a)"),   # an integer stands for a range
    # keywords are keyword-only: a positional string is one more index set, not the prefix
    ((["a"], "xy"), [("a", "x"), ("a", "y")], ("a", "y"), "y(a,y)"),
])
def test_keys_are_the_product_in_argument_order(args, keys, key, name):
    x = nuvrel.vars(*args, name="y")
    assert list(x) == keys and x[key].name == name
    assert all(type(v) is nuvrel.var for v in x.values())
    assert len({hash(v) for v in x.values()}) == len(keys)


@pytest.mark.parametrize("element, text", [
    (7, "7"),
    (-12, "-12"),
    (True, "1"),
    (0.5, "0.5"),
    (1e-7, "1e-07"),
    (2.0, "2"),
    ("with blank", "with blank"),  # strings are kept as they are
    ((1, "a b"), "(1,'ab')"),  # other objects: str() without blanks
    (frozenset([3]), "frozenset({3})"),
    (2**70, str(2**70)),
    (np.float32(2.0), "2"),  # numpy numbers are numbers
    (np.float64(0.25), "0.25"),
    (np.int_(-4), "-4"),
    (np.intc(5), "5"),
])
def test_element_text_in_names(element, text):
    x = nuvrel.vars([element], [0], name="v")
    assert x[element, 0].name == "v(%s,0)" % text


def test_prefix_defaults_to_x_none_or_empty_keep_default_names_and_names_are_cut():
    assert [v.name for v in nuvrel.vars(["a", "b"]).values()] == ["x(a)", "x(b)"]
    for kwargs in ({"name": ""}, {"name": None}):
        x = nuvrel.vars(["a", "b"], **kwargs)
        assert [v.name for v in x.values()] == ["C%d" % hash(v) for v in x.values()]
    long_index = "i" * 3000
    x = nuvrel.vars([long_index], name="n")
    assert x[long_index].name == ("n(" + long_index)[:2500]


def test_bounds_threshold_and_type_are_applied():
    x = nuvrel.vars(["a", "b"], lb=-3, ub=4.5, threshold=1.5, vartype=nuvrel.semiinteger)
    for v in x.values():
        assert (v.lb, v.ub, v.threshold, v.vartype) == (-3.0, 4.5, 1.5, nuvrel.semiinteger)
    b = nuvrel.vars(["a"], lb=-2, vartype=nuvrel.binary)["a"]
    assert (b.lb, b.ub) == (0.0, 1.0)
    plain = nuvrel.vars(["a"])["a"]
    assert (plain.lb, plain.ub, plain.threshold, plain.vartype) == (0.0, INF, 0.0, 0)
    # Type codes are stored unchecked, as for a single variable.
    assert nuvrel.vars(["a"], vartype=7)["a"].vartype == 7


@pytest.mark.parametrize("index", [
    ({"b", "a"}),
    (iter(["a", "b"])),
    ((c for c in "ab")),
    ({"a": 1, "b": 2}),
    ("ab"),
])
def test_any_iterable_is_an_index_set(index):
    x = nuvrel.vars(index, [0])
    assert sorted(k[0] for k in x) == ["a", "b"]


@pytest.mark.parametrize("args, kwargs, message", [
    ((["a"],), dict(lb=2, ub=1),
     "Variables have empty feasible set: lower bound > upper bound"),
    ((["a"], 2.5), {}, "Invalid index: a call to nuvrel.vars() must have a tuple of lists"),
    ((["a"], None), {}, "Invalid index: a call to nuvrel.vars() must have a tuple of lists"),
    ((), {}, "Invalid index: a call to nuvrel.vars() must have a tuple of lists"),
    ((["a"], 0), {}, "Invalid index: integer argument to nuvrel.vars() must be positive"),
    ((-3, ["a"]), {}, "Invalid index: integer argument to nuvrel.vars() must be positive"),
    ((["a"], []), {}, "Invalid index: empty dimension in creation of variables"),
    ((["a"], ["b", "b"]), {}, "Duplicate entry in vars: <('a', 'b')>. Check arguments for "
     "duplicate entries in one or more of the lists"),
    (([1, 1.0],), {}, "Duplicate entry in vars: <1.0>."),
    (([[1], [2]],), {}, "Bad index tuple in vars()"),
    ((["a"],), dict(name=5), "Invalid variable name (must be a string)"),
    # Refused before anything is built, not after memory runs out.
    ((["a"], 10**7, 10**7), {}, "No memory to create variables. Consider restricting"),
    ((["a"], 2**40, 2**40), {}, "No memory to create variables. Consider restricting"),
])
def test_errors(args, kwargs, message):
    gc.collect()
    before = nuvrel.var._sidetable_sizes()
    with pytest.raises(nuvrel.ModelError) as info:
        nuvrel.vars(*args, **{"name": "fail", "threshold": 3, **kwargs})
    assert str(info.value).startswith(message)
    gc.collect()
    # Variables made before a late failure are gone with their names and thresholds.
    assert nuvrel.var._sidetable_sizes() == before


def test_unprintable_element_is_refused():
    class Opaque:
        def __str__(self):
            raise ValueError("no text")

    with pytest.raises(nuvrel.ModelError,
                       match=r"^Element of index tuple in vars\(\) cannot be represented$"):
        nuvrel.vars([Opaque()], name="o")
    # Without a prefix the element text is never needed.
    assert len(nuvrel.vars([Opaque()], name=None)) == 1


def test_dropping_the_collection_releases_everything():
    prefix = "released-prefix"
    index = ["a", "b", "c"]
    gc.collect()
    before = nuvrel.var._sidetable_sizes()
    refs = [sys.getrefcount(o) for o in (prefix, *index)]
    objects = len(gc.get_objects())
    for _ in range(200):
        x = nuvrel.vars(index, range(5), name=prefix, lb=-1.5, ub=2.5, threshold=0.5)
    assert nuvrel.var._sidetable_sizes()[3] - before[3] == 15
    del x
    gc.collect()
    assert nuvrel.var._sidetable_sizes() == before
    assert [sys.getrefcount(o) for o in (prefix, *index)] == refs
    assert abs(len(gc.get_objects()) - objects) < 10
