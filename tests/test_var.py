"""The decision variable: packed record, side tables, attributes, names, identity."""
import gc
import math
import sys
import threading

import pytest
from conftest import same_objects

import nuvrel

INF = 1e20


def table_sizes():
    """(lower bounds, upper bounds, thresholds, names) held in the variable side tables."""
    return nuvrel.var._sidetable_sizes()


def test_fresh_variable_defaults_and_identifier_step():
    before = table_sizes()
    x, y = nuvrel.var(), nuvrel.var()
    assert (x.lb, x.ub, x.threshold, x.vartype) == (0.0, INF, -INF, nuvrel.continuous)
    assert x.name == "C%d" % hash(x) and str(x) == x.name
    # Allocation and initialisation each take an identifier.
    assert hash(y) - hash(x) == 2
    # A plain variable costs no side-table entry.
    assert table_sizes() == before


def test_positional_arguments_follow_keyword_order():
    x = nuvrel.var("x", -1.5, 7.5, 2.5, nuvrel.semicontinuous)
    assert (x.name, x.lb, x.ub, x.threshold, x.vartype) == ("x", -1.5, 7.5, 2.5, 3)


@pytest.mark.parametrize("kwargs, lb, ub", [
    (dict(lb=1e-7, ub=0), 1e-7, 0.0),  # within the tolerance
    (dict(lb=5, ub=5), 5.0, 5.0),
    (dict(vartype=nuvrel.binary, lb=-5, ub=7), 0.0, 1.0),
    (dict(vartype=nuvrel.binary), 0.0, 1.0),
    # The binary clamp comes after the feasibility test.
    (dict(vartype=nuvrel.binary, lb=2, ub=3), 2.0, 1.0),
    (dict(vartype=nuvrel.integer, lb=-5, ub=7), -5.0, 7.0),
])
def test_constructor_bounds(kwargs, lb, ub):
    x = nuvrel.var(**kwargs)
    assert (x.lb, x.ub) == (lb, ub)


@pytest.mark.parametrize("kwargs, exc, message", [
    (dict(lb=1, ub=0), nuvrel.ModelError,
     "Variable has empty feasible set: lower bound > upper bound"),
    (dict(lb=2e-6, ub=0), nuvrel.ModelError,
     "Variable has empty feasible set: lower bound > upper bound"),
    (dict(name=3), nuvrel.ModelError, "Invalid variable name (must be a string)"),
    (dict(name=None), nuvrel.ModelError, "Invalid variable name (must be a string)"),
    (dict(lb="zero"), TypeError, "must be real number"),
    (dict(colour=1), TypeError, "'colour' is an invalid keyword"),
])
def test_constructor_rejects_bad_input_without_leaking(kwargs, exc, message):
    before = table_sizes()
    with pytest.raises(exc) as info:
        # Entries made before the failure must go with the discarded object.
        nuvrel.var(**{"lb": 0.5, "threshold": 2, **kwargs})
    assert str(info.value).startswith(message)
    gc.collect()
    assert table_sizes() == before


def test_repeated_init_leaves_no_stale_entries():
    before = table_sizes()
    x = nuvrel.var(name="a", lb=0.5, ub=2.5, threshold=1)
    old_id = hash(x)
    x.__init__()
    assert hash(x) != old_id
    assert (x.lb, x.ub, x.threshold, x.name) == (0.0, INF, -INF, "C%d" % hash(x))
    assert table_sizes() == before


@pytest.mark.parametrize("attr, value, readback, in_table", [
    ("lb", 0.0, 0.0, False),
    ("lb", -0.0, 0.0, False),
    ("lb", 1.0, 1.0, False),
    ("lb", -INF, -INF, False),
    ("lb", -1e30, -INF, False),
    ("lb", 0.5, 0.5, True),
    ("lb", -3.0, -3.0, True),
    ("lb", INF, INF, True),  # only minus infinity is packed for a lower bound
    ("lb", float("nan"), float("nan"), True),
    ("ub", INF, INF, False),
    ("ub", 5e20, INF, False),
    ("ub", 0.0, 0.0, False),
    ("ub", 1.0, 1.0, False),
    ("ub", 2.5, 2.5, True),
    ("ub", -INF, -INF, True),  # only plus infinity is packed for an upper bound
    ("ub", float("nan"), float("nan"), True),
])
def test_bound_codes(attr, value, readback, in_table):
    slot = ("lb", "ub").index(attr)
    before = table_sizes()[slot]
    x = nuvrel.var()
    # From a bound held in the table: a packed value must drop the entry, another must reuse it.
    setattr(x, attr, 0.25)
    setattr(x, attr, value)
    got = getattr(x, attr)
    assert got == readback or (math.isnan(readback) and math.isnan(got))
    assert table_sizes()[slot] - before == int(in_table)
    del x
    assert table_sizes()[slot] == before


@pytest.mark.parametrize("attr", ["lb", "ub"])
@pytest.mark.parametrize("value", ["high", None, [1.0]])
def test_bound_that_is_not_a_number_is_stored_as_minus_one(attr, value):
    x = nuvrel.var(lb=0.5, ub=2.5)
    setattr(x, attr, value)
    assert getattr(x, attr) == -1.0


@pytest.mark.parametrize("attr", ["threshold", "vartype"])
def test_bad_threshold_or_type_raises_and_leaves_variable_unchanged(attr):
    x = nuvrel.var(lb=0.5, ub=2.5, threshold=1)
    with pytest.raises(TypeError):
        setattr(x, attr, "high")
    assert (x.lb, x.ub, x.threshold, x.vartype) == (0.5, 2.5, 1.0, 0)


def test_threshold_cannot_be_removed_with_minus_infinity():
    before = table_sizes()[2]
    x = nuvrel.var()
    x.threshold = 3
    x.threshold = -INF
    assert x.threshold == 3.0
    x.threshold = 4
    assert x.threshold == 4.0 and table_sizes()[2] - before == 1
    del x
    assert table_sizes()[2] == before


@pytest.mark.parametrize("code", range(8))
def test_type_codes_round_trip_unchecked_until_added_to_a_problem(code):
    made, assigned = nuvrel.var(vartype=code), nuvrel.var(lb=-2, ub=0.5, threshold=0.25)
    assigned.vartype = code
    assert made.vartype == assigned.vartype == code
    assert (assigned.lb, assigned.ub, assigned.threshold) == (-2.0, 0.5, 0.25)
    if code > nuvrel.partiallyinteger:
        with pytest.raises(nuvrel.ModelError, match="^Incorrect variable type passed to addV"):
            nuvrel.problem().addVariable(made)


def test_name_accepts_any_object_and_releases_it():
    name = object()
    refs = sys.getrefcount(name)
    x = nuvrel.var()
    x.name = name
    assert sys.getrefcount(name) == refs + 1
    assert x.name is name and x.__str__() is name
    x.name = name  # replacing with itself keeps exactly one reference
    assert sys.getrefcount(name) == refs + 1
    # The interpreter's str() insists on text; the terms print the name's text.
    with pytest.raises(TypeError):
        str(x)
    x.name = 42
    assert sys.getrefcount(name) == refs
    assert str(3 * x) == "3*42"
    x.name = name
    del x
    assert sys.getrefcount(name) == refs


def test_attribute_reads():
    x = nuvrel.var(name="x")
    assert x.__class__ is nuvrel.var and isinstance(x, nuvrel.var)
    assert x.__dict__ == dict.fromkeys(["lb", "ub", "threshold", "vartype", "name"])
    v, c = x.extractLinear()
    assert same_objects(v, [x]) and c == [1.0]
    assert x.extractQuadratic() == ([], [], [])
    for probe in ("__array_interface__", "__array_priority__", "__array__", "__array_struct__",
                  "__array_wrap__", "no_such_attribute"):
        with pytest.raises(AttributeError):
            getattr(x, probe)


MEMBER = "^Incorrect member name of type nuvrel.var$"


@pytest.mark.parametrize("action, exc, message", [
    (lambda x: setattr(x, "LB", 1), nuvrel.InterfaceError, MEMBER),
    (lambda x: setattr(x, "colour", 1), nuvrel.InterfaceError, MEMBER),
    (lambda x: setattr(x, "__dict__", 1), nuvrel.InterfaceError, MEMBER),
    (lambda x: setattr(x, "extractLinear", 1), nuvrel.InterfaceError, MEMBER),
    (lambda x: delattr(x, "lb"), AttributeError, None),
    (lambda x: delattr(x, "name"), AttributeError, None),
])
def test_unknown_attribute_writes_and_deletes_are_refused(action, exc, message):
    x = nuvrel.var(name="x", lb=0.5)
    with pytest.raises(exc, match=message):
        action(x)
    assert (x.name, x.lb) == ("x", 0.5)


def test_identifiers_are_unique_across_threads_and_are_the_hashes():
    made = [[] for _ in range(4)]

    def work(out):
        out.extend(nuvrel.var() for _ in range(2000))

    threads = [threading.Thread(target=work, args=(m,)) for m in made]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    xs = [x for m in made for x in m]
    table = {x: i for i, x in enumerate(xs)}
    assert len({hash(x) for x in xs}) == len(table) == 8000
    assert all(table[x] == i and 0 < hash(x) < 2**52 for i, x in enumerate(xs))


def test_term_maps_order_by_creation_and_release_cancelled_variables():
    z, x, y = nuvrel.var(), nuvrel.var(), nuvrel.var()
    refs = [sys.getrefcount(v) for v in (z, x, y)]
    x_refs = sys.getrefcount(x)
    e = y + 2 * x
    e += 3 * z
    e += x * y
    e += z * x
    v, c = e.extractLinear()
    assert same_objects(v, [z, x, y]) and c == [3.0, 2.0, 1.0]
    # Pairs are stored under the variable created first, whatever the operand order.
    a, b, c = e.extractQuadratic()
    assert same_objects(a + b, [z, x, x, y]) and c == [1.0, 1.0]
    e -= 2 * x
    e -= x * y
    e -= x * z
    v, c = e.extractLinear()
    assert same_objects(v, [z, y]) and c == [3.0, 1.0]
    assert e.extractQuadratic() == ([], [], [])
    del v, a, b
    assert sys.getrefcount(x) == x_refs
    del e
    assert [sys.getrefcount(v) for v in (z, x, y)] == refs


def test_term_maps_keep_nan_coefficients():
    x, y = nuvrel.var(), nuvrel.var()
    e = x + y
    e += float("nan") * x
    variables, coefficients = e.extractLinear()
    assert same_objects(variables, [x, y]) and math.isnan(coefficients[0]) and coefficients[1] == 1.0


def test_variables_alive_at_interpreter_exit(run_python):
    # The side tables go with the module; variables that outlive them must still die quietly.
    proc = run_python("""
        import nuvrel
        keep = [nuvrel.var(name='n%d' % i, lb=0.5, ub=2.5, threshold=1) for i in range(100)]
        d = nuvrel.vars(['a', 'b'], [1, 2], name='x', lb=-3)
        class Holder: pass
        h = Holder(); h.self = h; h.v = nuvrel.var(name='cycle', lb=0.3)
        print('done')
        """, check=False)
    assert (proc.returncode, proc.stdout, proc.stderr) == (0, "done\n", "")
