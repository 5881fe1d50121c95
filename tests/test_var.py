"""The decision variable: packed record, side tables, attributes, names, identity."""
import gc
import math
import sys
import threading

import pytest

import nuvrel

INF = 1e20


def table_sizes():
    """(lower bounds, upper bounds, thresholds, names) held in the variable side tables."""
    return nuvrel.var._sidetable_sizes()


# --- construction ----------------------------------------------------------------------------


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


# --- bounds: packed codes and the table fallback ----------------------------------------------


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
    setattr(x, attr, value)
    got = getattr(x, attr)
    assert got == readback or (math.isnan(readback) and math.isnan(got))
    assert table_sizes()[slot] - before == int(in_table)
    del x
    assert table_sizes()[slot] == before


@pytest.mark.parametrize("attr, slot", [("lb", 0), ("ub", 1)])
def test_bound_entry_follows_packed_value(attr, slot):
    before = table_sizes()[slot]
    x = nuvrel.var(lb=-10, ub=10)
    for value, expect_entry in [(0.25, True), (0.75, True), (1.0, False), (3.5, True), (0, False)]:
        setattr(x, attr, value)
        assert getattr(x, attr) == value
        assert table_sizes()[slot] - before == int(expect_entry)


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


# --- threshold, type ------------------------------------------------------------------------


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


@pytest.mark.parametrize(
    "name", ["continuous", "binary", "integer", "semicontinuous", "semiinteger", "partiallyinteger"])
def test_every_type_round_trips_and_keeps_other_fields(name):
    code = getattr(nuvrel, name)
    x = nuvrel.var(lb=-2, ub=0.5, threshold=0.25)
    x.vartype = code
    assert x.vartype == code
    assert (x.lb, x.ub, x.threshold) == (-2.0, 0.5, 0.25)


@pytest.mark.parametrize("code", [6, 7])
def test_type_code_is_not_range_checked_until_added_to_a_problem(code):
    made, assigned = nuvrel.var(vartype=code), nuvrel.var(lb=-2, ub=0.5, threshold=0.25)
    assigned.vartype = code
    assert made.vartype == assigned.vartype == code
    assert (assigned.lb, assigned.ub, assigned.threshold) == (-2.0, 0.5, 0.25)
    with pytest.raises(nuvrel.ModelError, match="^Incorrect variable type passed to addVariable"):
        nuvrel.problem().addVariable(made)


# --- names ----------------------------------------------------------------------------------


def test_name_accepts_any_object_and_released_on_death():
    name = object()
    refs = sys.getrefcount(name)
    x = nuvrel.var()
    x.name = name
    assert sys.getrefcount(name) == refs + 1
    assert x.name is name
    x.name = name  # replacing with itself keeps exactly one reference
    assert sys.getrefcount(name) == refs + 1
    x.name = "plain"
    assert sys.getrefcount(name) == refs
    assert x.name == "plain"
    x.name = name
    del x
    assert sys.getrefcount(name) == refs


def test_non_string_name_is_given_back_as_it_is():
    x = nuvrel.var()
    x.name = 42
    assert x.name == 42 and type(x.name) is int
    assert x.__str__() == 42
    # The interpreter's str() insists on text; the terms print the name's text.
    with pytest.raises(TypeError):
        str(x)
    assert str(3 * x) == "3*42"


# --- attribute access -----------------------------------------------------------------------


def test_attribute_reads():
    x = nuvrel.var(name="x")
    assert x.__class__ is nuvrel.var and isinstance(x, nuvrel.var)
    assert x.__dict__ == dict.fromkeys(["lb", "ub", "threshold", "vartype", "name"])
    assert x.extractLinear() == ([x], [1.0])
    assert x.extractQuadratic() == ([], [], [])
    for probe in ("__array_interface__", "__array_priority__", "__array__", "__array_struct__",
                  "__array_wrap__", "no_such_attribute"):
        with pytest.raises(AttributeError):
            getattr(x, probe)


@pytest.mark.parametrize("attr", ["LB", "colour", "__dict__", "extractLinear"])
def test_unknown_attribute_write(attr):
    x = nuvrel.var()
    with pytest.raises(nuvrel.InterfaceError, match="^Incorrect member name of type nuvrel.var$"):
        setattr(x, attr, 1)


@pytest.mark.parametrize("attr", ["lb", "name"])
def test_attribute_delete_is_refused(attr):
    x = nuvrel.var(name="x", lb=0.5)
    with pytest.raises(AttributeError):
        delattr(x, attr)
    assert (x.name, x.lb) == ("x", 0.5)


# --- identity -------------------------------------------------------------------------------


def test_hash_is_identity_in_containers():
    xs = [nuvrel.var() for _ in range(50)]
    table = {x: i for i, x in enumerate(xs)}
    assert len({hash(x) for x in xs}) == 50
    assert all(table[x] == i for i, x in enumerate(xs))
    assert all(0 < hash(x) < 2**52 for x in xs)


def test_identifiers_unique_across_threads():
    made = [[] for _ in range(4)]

    def work(out):
        out.extend(hash(nuvrel.var()) for _ in range(2000))

    threads = [threading.Thread(target=work, args=(m,)) for m in made]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    ids = [i for m in made for i in m]
    assert len(set(ids)) == len(ids) == 8000


# --- term maps, seen through the expressions that hold variables ----------------------------


def test_term_maps_order_by_creation_and_release_cancelled_variables():
    z, x, y = nuvrel.var(), nuvrel.var(), nuvrel.var()
    refs = [sys.getrefcount(v) for v in (z, x, y)]
    x_refs = sys.getrefcount(x)
    e = y + 2 * x
    e += 3 * z
    e += x * y
    e += z * x
    assert e.extractLinear() == ([z, x, y], [3.0, 2.0, 1.0])
    # Pairs are stored under the variable created first, whatever the operand order.
    assert e.extractQuadratic() == ([z, x], [x, y], [1.0, 1.0])
    e -= 2 * x
    e -= x * y
    e -= x * z
    assert e.extractLinear() == ([z, y], [3.0, 1.0])
    assert e.extractQuadratic() == ([], [], [])
    assert sys.getrefcount(x) == x_refs
    del e
    assert [sys.getrefcount(v) for v in (z, x, y)] == refs


def test_term_maps_keep_nan_coefficients():
    x, y = nuvrel.var(), nuvrel.var()
    e = x + y
    e += float("nan") * x
    variables, coefficients = e.extractLinear()
    assert variables == [x, y] and math.isnan(coefficients[0]) and coefficients[1] == 1.0


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
