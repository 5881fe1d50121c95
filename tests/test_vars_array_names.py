"""Names of array variables: made on demand from the array's pattern, yet each variable keeps
its name for as long as it lives, and a new name replaces it."""
import gc

from conftest import KEEPS_ARRAY_ELEMENTS

import nuvrel as nv


def name_count():
    gc.collect()
    return nv.var._sidetable_sizes()[3]


@KEEPS_ARRAY_ELEMENTS  # and their names
def test_names_outlive_the_array_and_give_way_to_new_names():
    before = name_count()
    x = nv.vars(3, 4, name="k")
    assert name_count() == before + 12
    kept, renamed = x[2, 3], x[0, 1]
    renamed.name = "other"
    assert name_count() == before + 12
    del x
    assert (kept.name, renamed.name) == ("k(2,3)", "other")
    assert name_count() == before + 2
    del kept, renamed
    assert name_count() == before


def test_patterns_of_several_arrays_and_variables_between_them():
    a = nv.vars(2, 3)
    s = nv.var(name="s")
    b = nv.vars(11, name="b")
    c = nv.vars(2, name=None)
    assert [v.name for v in a[1]] == ["x(1,0)", "x(1,1)", "x(1,2)"]
    assert (s.name, b[10].name, b[0].name) == ("s", "b(10)", "b(0)")
    assert c[1].name.startswith("C")
    del a
    assert b[9].name == "b(9)"


def test_the_library_gets_the_names_the_variables_give():
    # ASCII pattern names are written straight into the batch; others, renamed and unnamed
    # variables go through their name objects.
    a, b, c = nv.vars(2, 11, name="k"), nv.vars(3, name="é"), nv.vars(2, name=None)
    a[1, 10].name = "renamed"
    mixed = [a, nv.var(name="s"), b, c, a[:1, ::-1].copy()]
    p = nv.problem()
    p.addVariable(mixed[:4])
    q = nv.problem()
    q.addVariable(mixed[4])
    names = []
    for prob in (p, q):
        cols = prob.getVariable(first=0)
        names.append(prob.getnamelist(2, 0, len(cols) - 1))
        assert names[-1] == [v.name for v in cols]
    assert names[0][21:25] == ["renamed", "s", "é(0)", "é(1)"] and names[1][0] == "k(0,10)"
