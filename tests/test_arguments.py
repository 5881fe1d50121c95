"""Arguments: Python ints and numpy integer scalars are integers wherever an integer is asked
for (objects that merely convert to one are not); the walks over nested structures share one
classification of containers but open different kinds: the add methods and the solution
readers open tuples, lists, dictionaries, arrays and iterators but refuse sets and dictionary
views; Sum opens every iterable and skips None values of a dictionary; to all of them a
string is one leaf."""

import re
import types

import numpy as np
import pytest

import nuvrel as nv
from conftest import lin_of


pytestmark = pytest.mark.usefixtures("quiet")


class IndexOnly:
    """Converts to an int through __index__ but is neither an int nor a numpy integer."""

    def __index__(self):
        return 2


@pytest.mark.parametrize("width", [int, np.int8, np.uint16, np.int64, np.uint64])
def test_integer_widths_are_counts_for_vars_and_set_types(width):
    assert list(nv.vars(width(2), ["a"])) == [(0, "a"), (1, "a")]
    assert nv.sos([nv.var(), nv.var()], [1, 2], type=width(2)).type == 2


@pytest.mark.parametrize("build", [
    lambda: nv.vars(IndexOnly(), ["a"]),
    lambda: nv.sos([nv.var(), nv.var()], [1, 2], type=IndexOnly()),
    lambda: nv.sos([nv.var(), nv.var()], [1, 2], type=2.0),
], ids=["vars count", "sos type", "sos type float"])
def test_non_integers_are_refused(build):
    with pytest.raises(nv.ModelError):
        build()


def small_problem():
    p = nv.problem()
    x = [nv.var(name=f"x{i}") for i in range(3)]
    p.addVariable(x)
    p.addConstraint(x[0] + x[1] <= 4)
    return p, x


def set_vartype(v):
    x = nv.var()
    x.vartype = v
    return x.vartype


def set_control(v):
    p, _ = small_problem()
    p.setControl("threads", v)
    return p.getControl("threads")


def assign_control(v):
    p, _ = small_problem()
    p.controls.threads = v
    return p.controls.threads


def add_set_by_index(v):
    # Column v beside x1: the library refuses the set exactly when v was read as column 1.
    p, x = small_problem()
    with pytest.raises(nv.SolverError, match="lists column 1 twice"):
        p.addSOS(nv.sos([v, x[1]], [1, 2]))
    return p.attributes.sets


# Calls that read one integer argument, each through the module's one integer reader.
INTEGER_READS = {
    "vartype": set_vartype,
    "getVariable first": lambda v: [str(y) for y in small_problem()[0].getVariable(first=v)],
    "getVariable last": lambda v: [str(y) for y in small_problem()[0].getVariable(last=v)],
    "setControl": set_control,
    "controls attribute": assign_control,
    "set member index": add_set_by_index,
}


@pytest.mark.parametrize("call", INTEGER_READS.values(), ids=list(INTEGER_READS))
def test_integer_reads_agree_on_every_width_and_refuse_overflow(call):
    expected = call(1)
    for same in (True, np.int32(1), np.int64(1)):
        assert call(same) == expected, repr(same)
    for huge in (2**70, -2**70):
        with pytest.raises(OverflowError):
            call(huge)


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


@pytest.mark.parametrize("call, message", [
    (lambda p: nv.var(1, 2, 3, 4, 5, 6), r"^var\(\) takes at most 5 arguments \(6 given\)$"),
    (lambda p: nv.vars(2, size=3), r"^'size' is an invalid keyword argument for vars\(\)$"),
    (lambda p: p.solve("", "x"), r"^solve\(\) takes at most 1 argument \(2 given\)$"),
    (lambda p: p.getSolution(flat=True), r"invalid keyword argument for getSolution\(\)$"),
    (lambda p: p.chgobjsense(), r"^chgobjsense\(\) missing required argument"),
    (lambda p: p.nlpoptimize("", 1), r"^nlpoptimize\(\) takes at most 1 argument"),
    (lambda p: p.chgbounds([0], ["U"], [1.0], 4), r"^chgbounds\(\) takes at most 3 arguments"),
], ids=["type", "module function", "method", "keyword", "low-level", "nonlinear",
        "array method"])
def test_argument_errors_name_the_function(call, message):
    with pytest.raises(TypeError, match=message):
        call(nv.problem())


@pytest.mark.parametrize("owner", ["problem", "module"])
def test_every_function_names_itself_when_given_too_many_arguments(owner):
    # Methods that share their parsing with others must still name themselves, not "function"
    # or the shared body; the interpreter's own messages qualify the name.
    target = nv.problem() if owner == "problem" else nv
    wrong = {}
    for name in dir(target):
        f = getattr(target, name)
        if name.startswith("_") or not isinstance(f, types.BuiltinFunctionType):
            continue
        try:
            f(*[None] * 30)
        except TypeError as e:
            if not re.match(rf"([\w.]+\.)?{name}\(\) ", str(e)):
                wrong[name] = str(e)
        except (nv.ModelError, nv.InterfaceError, nv.SolverError):
            pass  # takes any number of arguments and refuses these
    assert wrong == {}
