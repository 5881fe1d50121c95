"""Irreducible infeasible sets through the low-level methods: members come back as the
problem's own objects, every member of a set is needed (checked on a copy of the problem with
only the set's rows and bounds in force), and bad requests change nothing."""

import pytest
from conftest import SHARED_DATA as DATA

import nuvrel as nv

pytestmark = pytest.mark.usefixtures("quiet")

GALENET = DATA / "galenet.mps"
needs_data = pytest.mark.skipif(not GALENET.exists(), reason=f"no test data in {DATA}")


def _read(path):
    p = nv.problem()
    p.read(str(path))
    return p


def _members(p, k):
    rows, cols, ctype, btype = [], [], [], []
    p.getiisdata(k, rows, cols, ctype, btype)
    return list(zip(rows, ctype)), list(zip(cols, btype))


def _solved_status(q):
    try:
        q.solve()
    except nv.SolverError:
        pass
    return q.attributes.lp_status


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
    return _solved_status(q) != 2  # lp_infeas


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
    p = _read(GALENET)
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
    back = _read(path)
    assert back.attributes.rows == 2
    assert _solved_status(back) == 2


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


@pytest.mark.parametrize(
    "call, error, text",
    [
        (lambda p: p.getiisdata(5, []), nv.SolverError, "no infeasible set 5"),
        (lambda p: p.iisfirst(7), nv.SolverError, "mode 7"),
        (lambda p: p.iiswrite(1, "never_written", 5, ""), nv.SolverError, "file type 5"),
        (lambda p: p.iiswrite(1, "never_written", 0, "q"), nv.SolverError, "unknown flag"),
        (lambda p: p.iisisolations(-1), nv.SolverError, "no infeasible set -1"),
        (lambda p: p.getiisdata(1, [], "text"), nv.ModelError, "Unexpected argument"),
        (lambda p: p.iisstatus([], (), [], []), nv.ModelError, "Unexpected argument"),
        (lambda p: p.iisstatus([], []), TypeError, None),
        (lambda p: p.iisfirst("1"), TypeError, None),
    ],
)
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

    p = _read(DATA / "25fv47.mps")
    body = nv.Sum(c * v for c, v in zip(p.getobj(), p.getVariable(first=0)) if c != 0)
    p.addConstraint(body <= 5501.8458 - p.attributes.objective_constant - 10)
    p.controls.iis_time_limit = 60  # bounds the test if the request went unheard
    threading.Timer(1.0, lambda: os.kill(os.getpid(), signal.SIGINT)).start()
    start = time.perf_counter()
    status = p.iisfirst(1)
    assert time.perf_counter() - start < 10
    assert status in (3, 4)  # stopped: an unfinished set, or none yet
