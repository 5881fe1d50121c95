"""The modelling objects. Variables: packed record, side tables, attributes, names, identity.
Constraints: comparisons, the explicit constructor, bounds, names, copies, side tables. Special
ordered sets: construction, validation, identifiers, copies and ownership."""

import gc
import math
import operator
import random
import re
import sys
import threading
import weakref

import numpy as np
import pytest

import nuvrel
import nuvrel as nv
from conftest import lin_of, same_objects



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
    # Positional arguments follow the keyword order.
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


def test_side_tables_keep_every_entry_while_many_come_and_go():
    # Enough entries to grow the tables many times, then most dropped in random order (the
    # tables shrink as they empty) while the survivors must keep their own values.
    before = table_sizes()
    rng = random.Random(4)
    made = [nuvrel.var(name=f"v{i}", lb=-i - 0.5, ub=i + 0.25) for i in range(40000)]
    values = {id(v): (v.name, v.lb, v.ub) for v in made}
    rng.shuffle(made)
    survivors = made[:3000]
    del made[3000:]
    gc.collect()
    assert [(v.name, v.lb, v.ub) for v in survivors] == [values[id(v)] for v in survivors]
    assert table_sizes()[:2] == (before[0] + 3000, before[1] + 3000)
    extra = nuvrel.var(name="late", lb=-7.5)
    assert (extra.name, extra.lb) == ("late", -7.5)
    del survivors, made, extra
    gc.collect()
    assert table_sizes() == before


def test_side_tables_of_bounded_arrays_keep_each_entry():
    # Whole pages of entries come and go with an array; single entries change inside them.
    before = table_sizes()
    x = nuvrel.vars(97, 131, lb=-1, ub=5, name="")
    assert table_sizes()[:2] == (before[0] + x.size, before[1] + x.size)
    x[7, 8].lb, x[91, 68].ub = -2.5, 7.25
    keep = x[::7, 5:70:3].copy()
    bounds = [(v.lb, v.ub) for v in keep.flat]
    del x
    gc.collect()
    assert [(v.lb, v.ub) for v in keep.flat] == bounds
    assert (-2.5, 5.0) in bounds and (-1.0, 7.25) in bounds
    assert table_sizes()[:2] == (before[0] + keep.size, before[1] + keep.size)
    del keep
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
    # A bound that is not a number is stored as -1.
    *[(attr, value, -1.0, True) for attr in ("lb", "ub") for value in ("high", None, [1.0])],
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
    # A NaN coefficient is kept, not taken for a cancelled term.
    e = x + y
    e += float("nan") * x
    variables, coefficients = e.extractLinear()
    assert same_objects(variables, [x, y]) and math.isnan(coefficients[0])
    assert coefficients[1] == 1.0


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


STRICT = "Invalid constraint: cannot enforce f(x) != 0, f(x) > 0, or f(x) < 0"
REQUIRED = ("Arguments required for nuvrel.constraint(): constraint OR {body, lb and/or ub} "
            "OR {body,sense,rhs}.")
BOTH = "Cannot create constraint by specifying both rhs AND lb/ub."
INFEASIBLE = "Constraint defined infeasible: lower bound > upper bound"


def sizes():
    return nv.constraint._sidetable_sizes()


@pytest.mark.parametrize("build, lb, ub, body_lin, body_kind", [
    (lambda x, y: x + 1 == 3, 2.0, 2.0, {"x": 1.0}, "expression"),
    (lambda x, y: 3 <= x, 3.0, INF, {"x": 1.0}, "expression"),
    (lambda x, y: x <= 3, -INF, 3.0, {"x": 1.0}, "expression"),
    (lambda x, y: x >= 0, 0.0, INF, {"x": 1.0}, "var"),   # x - 0 is x: no constant to move
    (lambda x, y: 2 * x <= 0, -INF, 0.0, {"x": 2.0}, "linterm"),
    (lambda x, y: 2 * x + 3 <= y, -INF, -3.0, {"x": 2.0, "y": -1.0}, "expression"),
    (lambda x, y: 2 * x >= 1 - y, 1.0, INF, {"x": 2.0, "y": 1.0}, "expression"),
    (lambda x, y: 5 == x + y + 1, 4.0, 4.0, {"x": 1.0, "y": 1.0}, "expression"),
    (lambda x, y: x * y >= 0, 0.0, INF, {}, "quadterm"),
    (lambda x, y: x * y <= 7.5, -INF, 7.5, {}, "expression"),
    (lambda x, y: x <= y, -INF, 0.0, {"x": 1.0, "y": -1.0}, "expression"),
    (lambda x, y: x + 1 >= x * y + 2, 1.0, INF, {"x": 1.0}, "expression"),
    (lambda x, y: nv.expression() + 1 <= 2, -INF, 1.0, {}, "expression"),
])
def test_comparisons(xyz, build, lb, ub, body_lin, body_kind):
    c = build(*xyz[:2])
    assert type(c) is nv.constraint
    assert (c.lb, c.ub) == (lb, ub)
    assert lin_of(c.body) == body_lin
    assert type(c.body).__name__ == body_kind


@pytest.mark.parametrize("op", ["lt", "le", "eq", "ne", "gt", "ge"])
def test_comparison_with_array_is_the_array_comparison(xyz, op):
    # The array compares itself with x under the mirrored operator; the strict and
    # not-equal operators become equality, so none of them is rejected.
    x = xyz[0]
    r = getattr(operator, op)(x, np.array([1.0, 2.0], dtype=object))
    assert isinstance(r, np.ndarray) and r.shape == (2,)


def test_comparison_leaves_the_operand_unchanged(xyz):
    x = xyz[0]
    e = x + 5
    c = e <= 10
    assert c.ub == 5.0 and str(e) == "5 + x" and c.body is not e


@pytest.mark.parametrize("build, message", [
    (lambda x: x < 3, STRICT),
    (lambda x: x > 3, STRICT),
    (lambda x: x != 3, STRICT),
    (lambda x: 2 * x < x * x, STRICT),
    (lambda x: x <= x, "Invalid constraint body"),
    (lambda x: x <= "a", "Invalid object in subtraction"),
    (lambda x: x + 1 == None, "Invalid object in operation"),  # noqa: E711
])
def test_comparison_errors(build, message):
    x = nv.var()
    with pytest.raises(nv.ModelError) as err:
        build(x)
    assert str(err.value) == message


@pytest.mark.parametrize("kwargs, lb, ub", [
    (dict(sense=nv.leq, rhs=5), -INF, 5.0),
    (dict(sense=nv.geq, rhs=5), 5.0, INF),
    (dict(sense=nv.eq, rhs=5), 5.0, 5.0),
    (dict(sense=nv.range, rhs=5), -INF, INF),
    (dict(sense=nv.leq), -INF, INF),
    (dict(lb=1), 1.0, INF),
    (dict(ub=-2), -INF, -2.0),
    (dict(lb=-1, ub=1), -1.0, 1.0),
    (dict(lb=1.0000005, ub=1), 1.0000005, 1.0),
    (dict(lb=-5e20, ub=7e20), -INF, INF),
])
def test_explicit_constructor(xyz, kwargs, lb, ub):
    x = xyz[0]
    c = nv.constraint(body=x, **kwargs)
    assert c.body is x and (c.lb, c.ub) == (lb, ub)


def test_explicit_constructor_positional_and_from_comparison(xyz):
    x, y, _ = xyz
    source = 2 * x + y <= 3
    c = nv.constraint(source, x + y, 0, 4, 0, -2e20, "pos")
    assert (c.lb, c.ub, c.name, c.body) == (-INF, 3.0, "pos", source.body)
    with pytest.raises(nv.ModelError, match="^" + INFEASIBLE):
        nv.constraint(source, x, 5, 4)
    c = nv.constraint(source, name="taken")
    assert c.body is source.body and (c.lb, c.ub) == (-INF, 3.0) and c.name == "taken"
    c = nv.constraint(constraint=source, lb=-1)     # the comparison's bounds win
    assert (c.lb, c.ub) == (-INF, 3.0)
    assert nv.constraint(body=np.array([[x, y]], dtype=object), lb=1).body is x


@pytest.mark.parametrize("kwargs, message", [
    (lambda x: dict(), REQUIRED),
    (lambda x: dict(body=x), REQUIRED),
    (lambda x: dict(lb=1), REQUIRED),
    (lambda x: dict(body=x, rhs=3), REQUIRED),
    (lambda x: dict(body=x, lb=1, rhs=2), BOTH),
    (lambda x: dict(body=x, ub=1, rhs=2, sense=nv.leq), BOTH),
    (lambda x: dict(body=x, lb=2, ub=1), INFEASIBLE),
    (lambda x: dict(body=x, lb=1.000002, ub=1), INFEASIBLE),
    (lambda x: dict(body="text", lb=1), "Invalid expression passed as body of constraint"),
    (lambda x: dict(body=None, lb=1), "Invalid expression passed as body of constraint"),
    (lambda x: dict(body=np.array([], dtype=object), lb=1), "Invalid expression passed as body"),
    (lambda x: dict(constraint=None, body=x, lb=1), "Attempt to generate an empty constraint"),
    (lambda x: dict(constraint=5), "Attempt to generate an empty constraint failed. Consider "
                                   "using nuvrel.constraint(body=..., sense=..., rhs=...) instead."),
    (lambda x: dict(constraint=x, body=x, lb=0), "Attempt to generate an empty constraint"),
])
def test_explicit_constructor_errors(xyz, kwargs, message):
    x = xyz[0]
    before = sizes()
    with pytest.raises(nv.ModelError) as err:
        nv.constraint(**kwargs(x), name="never kept")
    assert str(err.value).startswith(message)
    assert sizes() == before      # the half-made constraint took its name entry with it


def test_names_identifiers_and_attributes(xyz):
    x = xyz[0]
    a, b = x <= 1, x <= 2
    na, nb = int(a.name[1:]), int(b.name[1:])
    assert a.name.startswith("R") and nb == na + 1
    # The explicit constructor takes an identifier at allocation and another at initialisation.
    c, d = nv.constraint(body=x, lb=0), nv.constraint(body=x, lb=0)
    assert int(d.name[1:]) == int(c.name[1:]) + 2
    assert str(c) == c.name
    c = nv.constraint(body=x, lb=0, name="cap")
    assert c.name == "cap" and str(c) == "cap"
    c.name = 42
    assert c.name == 42 and str(c) == "42"
    c.name = "again"
    assert c.name == "again"
    assert nv.constraint(body=x, lb=0, name=None).name is None
    assert c.__class__ is nv.constraint
    assert c.__dict__ == dict.fromkeys(["lb", "ub", "name", "body", "copy"])
    with pytest.raises(AttributeError):
        c.body = x
    with pytest.raises(AttributeError):
        c.other = 1
    with pytest.raises(AttributeError):
        c.missing


def test_copy(xyz):
    x, y, _ = xyz
    src = x + y <= 4
    ident = src.name[1:]
    src.name = "c1"
    dup = src.copy()
    assert dup.name == "R%s_copy_c1" % ident
    assert int(dup.name.split("_")[0][1:]) == int(ident)
    assert (dup.lb, dup.ub) == (src.lb, src.ub)
    assert dup.body is not src.body and lin_of(dup.body) == lin_of(src.body)
    assert str(dup.copy().name) == "R%s_copy_R%s_copy_c1" % (int(ident) + 1, ident)
    unnamed = x >= 0
    assert unnamed.copy().name == "R%s_copy_%s" % (unnamed.name[1:], unnamed.name)
    assert unnamed.copy().body is x          # a variable body copies as itself
    assert nv.constraint(body=x, sense=nv.leq).copy().body is x


@pytest.mark.parametrize("attr, value, readback", [
    ("lb", -1e30, -INF), ("lb", 0.0, 0.0), ("lb", 1, 1.0), ("lb", 0.5, 0.5), ("lb", 7e19, 7e19),
    ("ub", 5e20, INF), ("ub", 0, 0.0), ("ub", 1.0, 1.0), ("ub", -3.25, -3.25),
    ("lb", "not a number", -1.0), ("ub", math.nan, math.nan),
])
def test_bound_attributes(xyz, attr, value, readback):
    x = xyz[0]
    c = nv.constraint(body=x, lb=-2, ub=2)
    setattr(c, attr, value)
    got = getattr(c, attr)
    assert got == readback or math.isnan(got) and math.isnan(readback)


def test_side_tables_follow_the_bounds(xyz):
    x = xyz[0]
    base = sizes()
    c = nv.constraint(body=x, lb=0)
    assert sizes() == base
    c.lb = 0.5
    c.ub = 3
    c.name = "named"
    assert sizes() == (base[0] + 1, base[1] + 1, base[2] + 1)
    c.lb = 1
    c.ub = INF
    assert sizes() == (base[0], base[1], base[2] + 1)
    c.lb = 0.25
    del c
    assert sizes() == base


def test_reinitialising_does_not_leave_entries(xyz):
    x = xyz[0]
    base = sizes()
    c = nv.constraint(body=x, lb=0.5, name="first")
    c.__init__(body=x, lb=0.25, ub=0.75)
    assert sizes() == (base[0] + 1, base[1] + 1, base[2])
    assert (c.lb, c.ub) == (0.25, 0.75) and c.name.startswith("R")
    del c
    assert sizes() == base


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
    # A failed reinitialisation leaves the set as it was.
    s = nv.sos(idx, wts, type=2, name="keep")
    with pytest.raises(nv.ModelError):
        s.__init__(list(xyz), (1, 2, 3))
    assert (s.name, s.type) == ("keep", 2) and s.indices is idx and s.weights is wts


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
