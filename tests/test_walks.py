"""The walks over nested structures share one classification of containers but open different
kinds: the add methods and the solution readers open tuples, lists, dictionaries, arrays and
iterators but refuse sets and dictionary views; Sum opens every iterable and skips None values
of a dictionary; to all of them a string is one leaf."""

import numpy as np
import pytest

import nuvrel as nv
from conftest import lin_of

pytestmark = pytest.mark.usefixtures("quiet")

REFUSED_BY_ADD = "^Incorrect objects added as variables to problem$"
REFUSED_BY_READER = "^Incorrect object"


@pytest.mark.parametrize("build, added", [
    (lambda x, y: [x, (y,)], True),
    (lambda x, y: {"a": x, "b": [y]}, True),
    (lambda x, y: (v for v in (x, y)), True),
    (lambda x, y: iter([x, y]), True),
    (lambda x, y: np.array([x, y], dtype=object), True),
    (lambda x, y: {x, y}, False),
    (lambda x, y: {1: x, 2: y}.values(), False),
    (lambda x, y: {1: x, 2: None, 3: y}, False),
])
def test_which_containers_each_walk_opens(build, added):
    x, y = nv.var(name="x"), nv.var(name="y")
    assert lin_of(nv.Sum(build(x, y))) == {"x": 1.0, "y": 1.0}

    solved = nv.problem(x, y, x + y)
    solved.solve()
    p = nv.problem()
    if added:
        p.addVariable(build(x, y))
        assert p.attributes.columns == 2
        assert solved.getSolution(build(x, y), flatten=True) == [0.0, 0.0]
    else:
        with pytest.raises(nv.ModelError, match=REFUSED_BY_ADD):
            p.addVariable(build(x, y))
        assert p.attributes.columns == 0
        with pytest.raises(nv.ModelError, match=REFUSED_BY_READER):
            solved.getSolution(build(x, y), flatten=True)


@pytest.mark.parametrize("text", ["x", b"x"])
def test_strings_are_leaves(text):
    x = nv.var(name="x")
    p = nv.problem(x, 2 * x)
    p.solve()
    # A single name is one value, also for the flat reader; inside a list it is one leaf.
    assert p.getSolution(text, flatten=True) == 0.0
    assert p.getSolution([text, [text]], flatten=True) == [0.0, 0.0]
    with pytest.raises(nv.ModelError, match=REFUSED_BY_ADD):
        nv.problem().addVariable([x, text])
    with pytest.raises(nv.ModelError, match="^Invalid object in Sum or Prod operators$"):
        nv.Sum([x, [text]])
