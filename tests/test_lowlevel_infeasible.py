"""Infeasible problems through the low-level methods. Irreducible infeasible sets: members come
back as the problem's own objects, every member of a set is needed (checked on a copy of the
problem with only the set's rows and bounds in force). Repair: the relaxation found is as small
as the elastic LP written here with the modelling layer says. Bad requests change nothing."""

import pytest

import nuvrel as nv
from conftest import SHARED_DATA as DATA, read_problem, solve_status
from lowlevel_support import picture


pytestmark = pytest.mark.usefixtures("quiet")


GALENET = DATA / "galenet.mps"
needs_data = pytest.mark.skipif(not GALENET.exists(), reason=f"no test data in {DATA}")


def _members(p, k):
    rows, cols, ctype, btype = [], [], [], []
    p.getiisdata(k, rows, cols, ctype, btype)
    return list(zip(rows, ctype)), list(zip(cols, btype))


def _feasible_without(p, rows, cols, skip=None):
    """Whether the given rows (constraint, side) and bounds (var, side) of p, less the member
    at position skip of rows + cols, admit a point: a copy of p keeps only those in force."""
    members = rows + cols
    keep = [m for i, m in enumerate(members) if i != skip]
    q = p.copy()
    nrows, ncols = p.attributes.rows, p.attributes.columns
    types, rhs, rng = p.getrowtype(), [], []
    p.getrhs(rhs)
    p.getrhsrange(rng)
    new_types, new_rhs = ["N"] * nrows, list(rhs)
    lb, ub = [-nv.infinity] * ncols, [nv.infinity] * ncols
    orig_lb, orig_ub = p.getlb(None), p.getub(None)
    for obj, side in keep:
        if isinstance(obj, nv.constraint):
            i = p.getIndex(obj)
            new_types[i] = side if types[i] == "R" else types[i]
            if types[i] == "R" and side == "G":
                new_rhs[i] = rhs[i] - rng[i]
        else:
            j = p.getIndex(obj)
            if side == "L":
                lb[j] = orig_lb[j]
            else:
                ub[j] = orig_ub[j]
    q.chgrowtype(range(nrows), new_types)
    q.chgrhs(range(nrows), new_rhs)
    q.chgbounds(list(range(ncols)) * 2, ["L"] * ncols + ["U"] * ncols, lb + ub)
    q.chgobj(range(ncols), [0.0] * ncols)
    return solve_status(q) != "lp_infeas"


def _conflict():
    """c1: x + y <= 1 and c2: x >= 2 with y >= 0 conflict; c3 and z play no part."""
    x, y, z = nv.var(name="x", lb=-10), nv.var(name="y"), nv.var(name="z", ub=4)
    c1 = nv.constraint(x + y <= 1, name="c1")
    c2 = nv.constraint(x >= 2, name="c2")
    c3 = nv.constraint(x + z <= 20, name="c3")
    p = nv.problem(x, y, z, c1, c2, c3, x + y + z, name="conflict")
    return p, (x, y, z), (c1, c2, c3)


@needs_data
def test_galenet_sets_are_irreducible_with_lists_of_objects_and_one_letter_types():
    p = read_problem(GALENET)
    p.iisall()
    lists = [["old"] * 9 for _ in range(4)]
    found = p.iisstatus(*lists)
    assert found >= 1
    assert all(len(x) == found + 1 for x in lists)
    assert all(isinstance(v, int) for v in lists[0] + lists[1] + lists[3])
    assert all(isinstance(v, float) and v > 0 for v in lists[2][1:])
    for k in range(1, found + 1):
        rows, cols = _members(p, k)
        assert len(rows) == lists[0][k] and len(cols) == lists[1][k]
        assert all(isinstance(c, nv.constraint) and t in ("L", "G", "E") for c, t in rows)
        assert all(isinstance(v, nv.var) and t in ("L", "U") for v, t in cols)
        assert not _feasible_without(p, rows, cols)
        for skip in range(len(rows) + len(cols)):
            assert _feasible_without(p, rows, cols, skip), f"member {skip} of set {k} unneeded"


def test_modelling_layer_conflict_members_certificate_isolations_and_file(tmp_path):
    p, (x, y, z), (c1, c2, c3) = _conflict()
    assert p.iisfirst(1) == 0
    rows, cols, ctype, btype, duals, djs = [], [], [], [], [], []
    p.getiisdata(1, rows, cols, ctype, btype, duals, djs)
    assert rows[0] is c1 and rows[1] is c2 and cols == [y]
    assert (ctype, btype) == (["L", "G"], ["L"])
    # The multipliers combine c1 - c2 - y's bound into 0 <= 1 - 2 - 0: they cancel on x, y.
    assert duals[0] < 0 < duals[1] and djs[0] > 0
    assert abs(duals[0] + duals[1]) < 1e-9 and abs(duals[0] + djs[0]) < 1e-9

    iso_r, iso_c = ["old"] * 5, []
    p.getiisdata(1, None, None, None, None, None, None, iso_r, iso_c)
    assert iso_r == ["0", "0"] and iso_c == ["0"]  # not computed yet
    p.iisisolations(1)
    p.getiisdata(1, None, None, None, None, None, None, iso_r, iso_c)
    assert iso_r == ["1", "1"] and iso_c == ["1"]  # no other IIS: set 0 is only a candidate set

    assert p.iisnext() == 2  # nothing else conflicts
    path = tmp_path / "conflict.lp"
    p.iiswrite(1, str(path), 0, "")
    back = read_problem(path)
    assert back.attributes.rows == 2
    assert solve_status(back) == "lp_infeas"


def test_getiisdata_fills_only_the_lists_given_and_a_change_drops_the_sets():
    p, (x, y, z), (c1, c2, c3) = _conflict()
    p.iisall()
    rows, cols, other = [], [], ["untouched"]
    p.getiisdata(1, rows, cols, None, other)
    assert other == ["L"] and set(rows) == {c1, c2}  # bndtype was the fourth argument
    assert p.iisstatus([], [], [], []) == 1
    p.chgrhs([c2], [0.5])  # now feasible: the sets found no longer describe the problem
    assert p.iisstatus([], [], [], []) == 0
    assert p.iisfirst(1) == 1


@pytest.mark.parametrize("call, error, text", [
    (lambda p: p.getiisdata(5, []), nv.SolverError, "no infeasible set 5"),
    (lambda p: p.iisfirst(7), nv.SolverError, "mode 7"),
    (lambda p: p.iiswrite(1, "never_written", 5, ""), nv.SolverError, "file type 5"),
    (lambda p: p.iiswrite(1, "never_written", 0, "q"), nv.SolverError, "unknown flag"),
    (lambda p: p.iisisolations(-1), nv.SolverError, "no infeasible set -1"),
    (lambda p: p.getiisdata(1, [], "text"), nv.ModelError, "Unexpected argument"),
    (lambda p: p.iisstatus([], (), [], []), nv.ModelError, "Unexpected argument"),
    (lambda p: p.iisstatus([], []), TypeError, None),
    (lambda p: p.iisfirst("1"), TypeError, None),
])
def test_bad_requests_raise_and_leave_the_sets_alone(call, error, text):
    p, _, (c1, c2, c3) = _conflict()
    p.iisfirst(1)
    before = [[], [], [], []]
    count = p.iisstatus(*before)
    rows = []
    p.getiisdata(1, rows)
    with pytest.raises(error, match=text):
        call(p)
    after = [[], [], [], []]
    assert p.iisstatus(*after) == count and after == before
    again = []
    p.getiisdata(1, again)
    assert again == rows


@pytest.mark.skipif(not (DATA / "25fv47.mps").exists(), reason=f"no test data in {DATA}")
def test_ctrl_c_stops_a_long_search():
    # 25fv47 with its objective bounded past the optimum: the deletion filter takes many
    # solves, far longer than the second after which Ctrl-C arrives.
    import os
    import signal
    import threading
    import time

    p = read_problem(DATA / "25fv47.mps")
    body = nv.Sum(c * v for c, v in zip(p.getobj(), p.getVariable(first=0)) if c != 0)
    p.addConstraint(body <= 5501.8458 - p.attributes.objective_constant - 10)
    p.controls.iis_time_limit = 60  # bounds the test if the request went unheard
    threading.Timer(1.0, lambda: os.kill(os.getpid(), signal.SIGINT)).start()
    start = time.perf_counter()
    status = p.iisfirst(1)
    assert time.perf_counter() - start < 10
    assert status in (3, 4)  # stopped: an unfinished set, or none yet


INF = 1e20


def data(p):
    """Rows (type, rhs, range, {column: coefficient}) and column bounds of p."""
    nrows, ncols = p.attributes.rows, p.attributes.columns
    types, rhs, rng, lb, ub = [], [], [], [], []
    p.getrowtype(types, 0, nrows - 1)
    p.getrhs(rhs, 0, nrows - 1)
    p.getrhsrange(rng, 0, nrows - 1)
    p.getlb(lb, 0, ncols - 1)
    p.getub(ub, 0, ncols - 1)
    start, ind, val = [], [], []
    p.getrows(start, ind, val, p.attributes.elements, 0, nrows - 1)
    rows = [(types[i], rhs[i], rng[i],
             {p.getIndex(v): a for v, a in zip(ind[start[i]:start[i + 1]],
                                                 val[start[i]:start[i + 1]])})
            for i in range(nrows)]
    return rows, lb, ub


def least_violation(nv, rows, lb, ub):
    """The least sum of violations of rows and finite bounds, as an elastic LP of its own."""
    x = [nv.var(lb=-INF, ub=INF) for _ in lb]
    pen, cons = [], []
    for t, rhs, rng, coef in rows:
        if t == "N":
            continue
        act = nv.Sum(a * x[j] for j, a in coef.items())
        lo = {"L": -INF, "G": rhs, "E": rhs, "R": rhs - rng}[t]
        hi = {"L": rhs, "G": INF, "E": rhs, "R": rhs}[t]
        if hi < INF:
            v = nv.var()
            pen.append(v)
            cons.append(act - v <= hi)
        if lo > -INF:
            u = nv.var()
            pen.append(u)
            cons.append(act + u >= lo)
    for j in range(len(lb)):
        for b, sign in ((lb[j], 1), (ub[j], -1)):
            if abs(b) < INF:
                v = nv.var()
                pen.append(v)
                cons.append(sign * (x[j] - b) + v >= 0)
    e = nv.problem(x, pen, cons, nv.Sum(pen))
    e.solve()
    assert e.getProbStatus() == nv.lp_optimal
    return e.getObjVal()


def movement(before, after):
    (rows0, lb0, ub0), (rows1, lb1, ub1) = before, after
    total = 0.0
    for (t, r0, g0, _), (_, r1, g1, _) in zip(rows0, rows1):
        total += abs(r1 - r0) + (abs(g1 - g0 - (r1 - r0)) if t == "R" else 0.0)
    return total + sum(abs(a - b) for a, b in zip(lb0 + ub0, lb1 + ub1))


def galenet(nv):
    return read_problem(GALENET)


def modelling(nv):
    """x + y <= 2 and x + y >= 5 with x, y in [0, 3]: infeasible through the rows."""
    x, y = nv.var(ub=3, name="x"), nv.var(ub=3, name="y")
    return nv.problem(x, y, nv.constraint(x + y <= 2, name="low"),
                      nv.constraint(x + y >= 5, name="high"), x - y)


@pytest.mark.parametrize("build", [galenet, modelling])
@pytest.mark.parametrize("how", ["weighted", "scalar"])
def test_repair_is_the_least_relaxation(nv, build, how):
    p = build(nv)
    before = data(p)
    expected = least_violation(nv, *before)
    assert expected > 1e-6
    n, m = p.attributes.columns, p.attributes.rows
    if how == "weighted":
        status = p.repairweightedinfeas([1] * m, (1.0 for _ in range(m)), [1] * n, [1] * n,
                                        "n", 0, "")
    else:
        status = p.repairinfeas("s", "n", " ", 1, 1, 1, 1, 0)
    assert status == 0
    assert movement(before, data(p)) == pytest.approx(expected, rel=1e-6, abs=1e-7)
    p.solve()
    assert p.getProbStatus() == nv.lp_optimal


def test_bound_limits_and_phase_two(nv):
    """x in [0, 1], row x >= 5, max x: the upper bound (cheaper) moves by its limit 2, the row
    by the rest; phase 2 then holds that total and maximises x."""
    x = nv.var(ub=1, name="x")
    row = nv.constraint(x >= 5, name="r")
    p = nv.problem(x, row, x, sense=nv.maximize)
    status = p.repairweightedinfeasbounds(None, [0.5], None, [1], [0], [INF], [0], [2],
                                          "o", 0, "")
    assert status == 0
    ub, rhs = [], []
    p.getub(ub, 0, 0)
    p.getrhs(rhs, 0, 0)
    assert ub == pytest.approx([3]) and rhs == pytest.approx([3])
    assert p.getSolution(x) == pytest.approx(3)


BAD = [
    (lambda p: p.repairweightedinfeas([1, 1, 1], None, None, None, "n", 0, ""),
     "Mismatched lengths in arguments: expected 2, found 3"),
    (lambda p: p.repairweightedinfeas(None, None, ["a", "b"], None, "n", 0, ""), None),
    (lambda p: p.repairweightedinfeasbounds(None, None, None, None, [1, 2], None, None, None,
                                            "n", 0, ""), "null relaxation array"),
    (lambda p: p.repairinfeas("x", "n", " ", 1, 1, 1, 1, 0), "unknown penalty type 'x'"),
    (lambda p: p.repairinfeas("s", "n", " ", 1, 1, 1, 1, -1), "delta"),
    (lambda p: p.repairweightedinfeas(None, None, None, None, "n", 0, "s?"), "unknown flag '?'"),
    (lambda p: p.repairinfeas("ss", "n", " ", 1, 1, 1, 1, 0), None),
]


@pytest.mark.parametrize("call,message", BAD)
def test_bad_input_raises_and_changes_nothing(nv, tmp_path, call, message):
    p = modelling(nv)
    before = picture(p, tmp_path)
    with pytest.raises((nv.InterfaceError, nv.ModelError, nv.SolverError, TypeError)) as err:
        call(p)
    if message:
        assert message in str(err.value)
    assert picture(p, tmp_path) == before
