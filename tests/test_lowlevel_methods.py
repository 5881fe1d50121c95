"""Low-level methods. Argument conversion: every form of a sequence (list, tuple, iterator, numpy
array) and of an element (index, name, modelling object) means the same, and a bad argument is
refused with a clear error and changes nothing. Ranging, basis solves, pivots, strong branching
and recomputed answers: values derived by hand on a small LP, agreement with a solve on afiro,
the fill-in-place and new-list output rules. File methods: snapshots, solution, basis and
directive files written from one problem read back into a fresh copy give the same answers.
Bad input is refused and changes nothing."""

import builtins

import numpy as np
import pytest

import nuvrel as nv
from conftest import read_problem as read
from lowlevel_support import picture, small_problem


pytestmark = pytest.mark.usefixtures("quiet")


# Each form names columns 2 and 0 (z and x) of the small problem.
@pytest.mark.parametrize("make", [
    lambda x, y, z: [2, 0],
    lambda x, y, z: (z, x),
    lambda x, y, z: ["z", b"x"],
    lambda x, y, z: iter([2, "x"]),
    lambda x, y, z: (c for c in (z, 0)),
    lambda x, y, z: range(2, -1, -2),
    lambda x, y, z: np.array([2, 0], dtype=np.int32),
    lambda x, y, z: np.array([2, 0], dtype=np.int64),
    lambda x, y, z: np.array([2, 9, 0], dtype=np.int64)[::2],   # not contiguous
    lambda x, y, z: np.array([z, x], dtype=object),
    lambda x, y, z: [np.int32(2), np.int64(0)],
], ids=["list", "tuple", "names", "iterator", "generator", "range", "int32", "int64",
        "strided", "objects", "scalars"])
@pytest.mark.parametrize("values", [
    lambda: [4.0, -1.5], lambda: (4, -1.5), lambda: np.array([4.0, -1.5]),
    lambda: np.array([4.0, -1.5], dtype=np.float32), lambda: iter([4.0, -1.5]),
], ids=["list", "tuple", "float64", "float32", "iterator"])
def test_every_form_of_indices_and_values_means_the_same(nv, make, values):
    p, (x, y, z), _ = small_problem()
    p.chgbounds(make(x, y, z), ["U", "L"], values())
    assert p.getub(None) == [10.0, 10.0, 4.0]
    assert p.getlb(None) == [-1.5, 0.0, 0.0]


def test_long_generators_and_character_arrays(nv):
    """Iterators grow past their first 256 slots; numpy character arrays give their codes."""
    p = nv.problem()
    p.addVariable([nv.var() for _ in range(300)])
    p.chgbounds((j for j in range(300)), np.array(["U"] * 300), (float(j) for j in range(300)))
    assert p.getub(None) == [float(j) for j in range(300)]
    p.chgbounds(range(299, -1, -1), np.array([b"L"] * 300), np.arange(300.0))
    assert p.getlb(None, 0, 2) == [299.0, 298.0, 297.0]


def _other_var(nv):
    v = nv.var(name="elsewhere")
    nv.problem(v)
    return v


# (call on (p, x, c1), exception, message). None of them may change anything.
BAD = [
    (lambda p, x, c1: p.chgobj([0, 1], [1.0]), "ModelError",
     r"^Mismatched lengths in arguments: expected 2, found 1$"),
    (lambda p, x, c1: p.chgobj((0, 1, 2), np.zeros(4)), "ModelError", "expected 3, found 4"),
    (lambda p, x, c1: p.chgobj({0: 1}, [1.0]), "ModelError", "^Invalid sequence of objects$"),
    (lambda p, x, c1: p.chgobj(x, [1.0]), "ModelError", "^Invalid sequence of objects$"),
    (lambda p, x, c1: p.chgobj([_other_var(nv)], [1.0]), "ModelError",
     "^Variable elsewhere not in problem$"),
    (lambda p, x, c1: p.chgobj([c1], [1.0]), "ModelError", "^Invalid variable object c1$"),
    (lambda p, x, c1: p.chgrhs([x], [1.0]), "ModelError", "^Invalid constraint object x$"),
    (lambda p, x, c1: p.chgrhs([nv.constraint(x <= 1, name="new")], [1.0]), "ModelError",
     "^Constraint new not in problem$"),
    (lambda p, x, c1: p.chgobj([np.int16(1)], [1.0]), "ModelError", "Invalid variable object"),
    *[(lambda p, x, c1, dtype=dtype: p.chgobj(np.array([1, 0], dtype=dtype), [1.0, 2.0]),
       "ModelError", "Invalid variable object")
      for dtype in (np.int8, np.int16, np.uint32, np.float64, np.bool_)],
    (lambda p, x, c1: p.chgobj([0], ["one"]), "TypeError", "real number"),
    (lambda p, x, c1: p.chgbounds([0], [3], [1.0]), "ModelError", "^Invalid object 3$"),
    (lambda p, x, c1: p.chgobj(["nosuchcolumn"], [1.0]), "SolverError", "nosuchcolumn"),
    (lambda p, x, c1: p.chgobj([3], [1.0]), "SolverError", "not a valid column"),
    (lambda p, x, c1: p.chgobj([-2], [1.0]), "SolverError", "not a valid column"),
    (lambda p, x, c1: p.chgobj([0, 1], [1.0, float("nan")]), "SolverError",
     r"objcoef\[1\] is NaN"),
    # A float where an integer belongs leaves the message to the library's last error.
    (lambda p, x, c1: p.setindicators([0], [2], [1.0]), "SolverError", None),
    (lambda p, x, c1: p.chgbounds([0], ["U"]), "InterfaceError", "^Must provide argument bndval$"),
    (lambda p, x, c1: p.chgmcoef([0]), "InterfaceError",
     "^Must provide arguments colind, rowcoef$"),
    (lambda p, x, c1: p.chgobj(colind=[0], objcoefs=[1]), "TypeError", "objcoefs"),
    (lambda p, x, c1: p.getlb(None, "nosuchcolumn"), "SolverError", "nosuchcolumn"),
    (lambda p, x, c1: p.getlb((), 0, 1), "ModelError", "^Unexpected argument to conv_arr2obj$"),
    # Changes of the model
    (lambda p, x, c1: p.chgcoef(c1, "nosuch", 1.0), "SolverError", "nosuch"),
    (lambda p, x, c1: p.chgcoef(x, x, 1.0), "ModelError", "^Invalid constraint object x$"),
    (lambda p, x, c1: p.chgcoef(c1, x), "InterfaceError", "^Must provide argument coef$"),
    (lambda p, x, c1: p.addqmatrix(c1, [x], [x, x], [1]), "ModelError", "expected 1, found 2"),
    (lambda p, x, c1: p.addqmatrix(5, [x], [x], [1]), "SolverError", "row"),
    (lambda p, x, c1: p.chgqrowcoeff(c1, x, 9, 1.0), "SolverError", "column"),
    (lambda p, x, c1: p.addgencons([0], [x], [0, 0, 0], [x]), "ModelError", "expected 1"),
    (lambda p, x, c1: p.addgencons([0], [x], [0], [x]), "SolverError", "resultant"),
    (lambda p, x, c1: p.addpwlcons([x], ["y"], [0], [0, 1], [0]), "ModelError", "expected 2"),
    (lambda p, x, c1: p.setindicators([c1], [x], [2]), "SolverError", "complement"),
    (lambda p, x, c1: p.loaddelayedrows([7]), "SolverError", "not a valid row"),
    (lambda p, x, c1: p.loadsecurevecs([0], [x, x]), "ModelError", "expected 1, found 2"),
    (lambda p, x, c1: p.delgencons([0]), "SolverError", "general constraint"),
]


@pytest.mark.parametrize("call, exc, message", BAD)
def test_bad_arguments_raise_and_change_nothing(nv, tmp_path, collect_cycles, call, exc,
                                                message):
    p, (x, _, _), (c1, _) = small_problem()
    before = picture(p, tmp_path)
    with pytest.raises(getattr(nv, exc, None) or getattr(builtins, exc),
                       match=message) as info:
        call(p, x, c1)
    assert type(info.value).__name__ == exc
    assert picture(p, tmp_path) == before


def test_deleted_objects_are_no_longer_found(nv, tmp_path):
    p, (x, y, z), (c1, c2) = small_problem()
    p.delVariable(x)
    p.delConstraint(c2)
    before = picture(p, tmp_path)
    with pytest.raises(nv.ModelError, match="^Variable x not in problem$"):
        p.chgobj([y, x], [1, 2])
    with pytest.raises(nv.ModelError, match="^Constraint .* not in problem$"):
        p.chgrhs([c2], [1])
    assert picture(p, tmp_path) == before
    p.chgobj([y, z], [1, 2])    # the survivors moved down and are still found
    assert p.getlb(None, z, z) == [0.0]


def test_bound_queries_fill_a_list_or_return_a_new_one_and_legacy_keywords(nv):
    p, (x, y, z), _ = small_problem()
    p.chgbounds(mindex=[x], qbtype=["U"], bnd=[3])
    p.chgbounds(colind=[y], bndtype=["U"], bndval=[2])
    assert p.getub(None, 0, 1) == [3.0, 2.0]
    p.chgbounds([0, 1, 2], ["L"] * 3, [1, 2, 3])
    assert p.getlb(None) == [1.0, 2.0, 3.0]
    mine = ["a", "b", "c", "d", "e"]
    keep = mine
    assert p.getlb(mine, "y", z) is None
    assert keep is mine and mine == [2.0, 3.0]
    assert p.getub(mine, 0, 0) is None and mine == [3.0]
    short = []
    assert p.getlb(lb=short, first=x) is None and short == [1.0, 2.0, 3.0]
    assert p.getlb(None, 2, 1) is None
    assert p.getIndexFromName(2, "z") == 2
    assert p.getIndexFromName(1, "c2") == 1
    with pytest.raises(nv.SolverError):
        p.getIndexFromName(1, "x")


INF = 1e20


class Lp:
    """min -3x - 2y  s.t.  c1: x + y <= 4,  c2: x + 3y <= 9,  x in [0, 3], y >= 0.
    Optimum x = 3 (at its bound), y = 1, objective -11; basis: c2's slack and y."""

    def __init__(self):
        self.x = nv.var(lb=0, ub=3, name="x")
        self.y = nv.var(name="y")
        self.c1 = nv.constraint(self.x + self.y <= 4, name="c1")
        self.c2 = nv.constraint(self.x + 3 * self.y <= 9, name="c2")
        self.p = nv.problem(self.x, self.y, self.c1, self.c2, -3 * self.x - 2 * self.y)
        self.p.solve()


@pytest.fixture
def lp():
    return Lp()


def close(got, want, tol=1e-9):
    return len(got) == len(want) and all(abs(g - w) <= tol * max(1, abs(w)) for g, w in zip(got, want))


def test_ranges_by_hand_in_place_new_and_legacy(lp):
    lo, up = [0.0] * 5, ["old"]
    assert lp.p.objsa([lp.x, "y"], lo, up) is None
    assert close(lo, [-INF, -3]) and close(up, [-2, 0])
    # No output lists: new ones come back; the legacy keyword names the same argument.
    lo, up = lp.p.rhssa(mindex=[lp.c1, 1])
    assert close(lo, [3, 6]) and close(up, [5, INF])
    lblo, lbup, ublo, ubup = lp.p.bndsa([lp.x, lp.y])
    assert close(lblo, [-INF, -INF]) and close(lbup, [3, 1])
    assert close(ublo, [1.5, 1]) and close(ubup, [4, INF])
    only = []
    assert lp.p.bndsa([0], ublower=only) is None and close(only, [1.5])


def test_basis_solves_pivots_and_condition(lp):
    # B = [[0, 1], [1, 3]] (c2's slack, then y): B^-1 (1, 2) = (-1, 1); y'B = (1, 2) at y = (-1, 1).
    v = [1, 2]
    assert lp.p.ftran(v) is None and close(v, [-1, 1])
    assert close(lp.p.btran((1, 2)), [-1, 1])
    assert lp.p.basisstability(0, 1, 0) == pytest.approx(16)
    # x (combined index rows + 0) leaves its upper bound: c2's slack stops it at 1.5, its own
    # lower bound at 3; after the first pivot the objective is -9.5.
    out, steps = ["old"] * 4, []
    assert lp.p.getpivots(2, out, steps, 5) == pytest.approx((-9.5, 2))
    assert out == [lp.c2, lp.x] and close(steps, [1.5, 3])


def test_strong_branching_and_dual_ranges_leave_the_problem_alone(lp):
    before = lp_answers(lp.p)
    obj, st = [], []
    assert lp.p.strongbranch([lp.y] * 3, ["U", "L", "L"], [0, 2, 10], 100, obj, st) is None
    assert close(obj[:2], [-9, -10]) and st == [1, 1, 2]  # optimal, optimal, infeasible
    assert lp_answers(lp.p) == before
    assert lp.p.getub(None, 1, 1) == [INF]
    lo, hi = lp.p.estimaterowdualranges([lp.c1], 5, None, None)
    assert close(lo, [-3]) and close(hi, [0])
    assert lp_answers(lp.p) == before


@pytest.mark.parametrize("call, exc, message", [
    (lambda p, c: p.objsa([5], [], []), nv.SolverError, "out of range"),
    (lambda p, c: p.rhssa([c], (), []), nv.ModelError, "Unexpected argument to conv_arr2obj"),
    (lambda p, c: p.rhssa(lower=[]), nv.InterfaceError, "rowind"),
    (lambda p, c: p.ftran([1, 2, 3]), nv.ModelError,
     "Mismatched lengths in arguments: expected 2, found 3"),
    (lambda p, c: p.btran(None), nv.ModelError, "Invalid sequence of objects"),
    (lambda p, c: p.getpivots(3, [], [], 5), nv.SolverError, "basic"),
    (lambda p, c: p.strongbranch([0], ["X"], [1], 5, [], []), nv.SolverError, "bound type"),
    (lambda p, c: p.basisstability(0, 7, 0), nv.SolverError, "norm"),
    (lambda p, c: p.calcsolinfo([0, 0], None, 2), nv.SolverError, "duals"),
    (lambda p, c: p.calcslacks([0], None), nv.ModelError, "Mismatched lengths"),
])
def test_bad_input_is_refused_and_changes_nothing(lp, call, exc, message):
    before = lp_answers(lp.p)
    with pytest.raises(exc, match=message):
        call(lp.p, lp.c1)
    assert lp_answers(lp.p) == before


def test_refused_without_a_basis(lp):
    lp.p.chgobj([lp.x], [-1])
    with pytest.raises(nv.SolverError, match="No basis"):  # a change drops the basis
        lp.p.objsa([lp.x], [], [])
    fresh = nv.problem(nv.var(), name="unsolved")
    with pytest.raises(nv.SolverError, match="No basis"):
        fresh.ftran([])


def test_recomputed_answers_match_the_solve_on_afiro():
    p = read("afiro.mps")
    p.solve()
    x, slack, duals, djs = lp_answers(p)
    assert p.calcobjective(x) == pytest.approx(p.getObjVal(), rel=1e-9)
    assert close(p.calcslacks(x), slack, 1e-8)
    got = []
    assert p.calcreducedcosts(duals, None, got) is None and close(got, djs, 1e-8)
    assert p.calcsolinfo(x, duals, 0) < 1e-7 and p.calcsolinfo(x, duals, 2) < 1e-7
    # Moving one column 1 beyond its bound is a primal infeasibility of at least 1.
    x[0] = p.getub(None, 0, 0)[0] + 1 if p.getub(None, 0, 0)[0] < INF else p.getlb(None, 0, 0)[0] - 1
    assert p.calcsolinfo(x, None, 0) >= 1


def lp_answers(p):
    x, slack, duals, djs = [], [], [], []
    p.getlpsol(x, slack, duals, djs)
    return x, slack, duals, djs


def basis(p):
    rows, cols = [], []
    p.getbasis(rows, cols)
    return rows, cols


# (writer, reader) of each file kind that restores the starting point of a solve.
START_FILES = {
    "basis": (lambda p, f: p.writebasis(f), lambda p, f: p.readbasis(f)),
    "basis_all": (lambda p, f: p.writebasis(filename=f, flags="a"), lambda p, f: p.readbasis(f)),
    "binsol": (lambda p, f: p.writebinsol(f), lambda p, f: p.readbinsol(f)),
    "slxsol": (lambda p, f: p.writeslxsol(f, "sdr"), lambda p, f: p.readslxsol(f)),
}


@pytest.mark.parametrize("kind", sorted(START_FILES))
@pytest.mark.parametrize("instance", ["afiro.mps", "adlittle.mps"])
def test_fresh_copy_starts_at_the_optimum(tmp_path, kind, instance):
    write, read_back = START_FILES[kind]
    p = read(instance)
    p.lpoptimize()
    f = str(tmp_path / "start")
    write(p, f)
    q = read(instance)
    read_back(q, f)
    q.lpoptimize()
    assert q.attributes.lp_objective == pytest.approx(p.attributes.lp_objective, abs=1e-9)
    # A point without its basis may take a few pivots, and to another optimum when there are
    # several (adlittle).
    if kind != "slxsol":
        assert q.attributes.simplex_iterations == 0
        assert basis(q) == basis(p)
        assert lp_answers(q)[0] == pytest.approx(lp_answers(p)[0], abs=1e-7)


def test_save_restore_of_a_solved_mip(tmp_path):
    p = read("flugpl.mps")
    p.mipoptimize()
    x = []
    p.getmipsol(x)
    status, obj = p.attributes.mip_status, p.attributes.mip_objective
    f = str(tmp_path / "flugpl.svf")
    p.save(f)
    q = nv.problem()
    q.restore(f)
    # Answers as they were, and the modelling objects stand for the restored columns.
    assert (q.attributes.mip_status, q.attributes.mip_objective) == (status, obj)
    y = []
    q.getmipsol(y)
    assert y == x
    cols = q.getVariable(first=0)
    assert [q.getSolution(v) for v in cols] == x
    assert [v.name for v in cols] == [v.name for v in p.getVariable(first=0)]
    q.mipoptimize()
    assert q.attributes.mip_objective == pytest.approx(obj, rel=1e-9)


def test_save_without_a_name_uses_the_problem_name(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    p = read("afiro.mps")
    p.setprobname("plant")
    p.lpoptimize()
    p.save()
    assert (tmp_path / "plant.svf").exists()
    q = nv.problem()
    q.restore("plant")
    assert q.attributes.lp_objective == p.attributes.lp_objective
    p.writebasis()
    assert (tmp_path / "plant.bss").read_text().startswith("NAME plant\n")


def test_reports_name_every_column(tmp_path):
    p = read("afiro.mps")
    p.lpoptimize()
    p.writesol(str(tmp_path / "a.csv"))
    p.writeprtsol(str(tmp_path / "a.prt"))
    x = lp_answers(p)[0]
    lines = (tmp_path / "a.csv").read_text().splitlines()
    values = [float(line.split(",")[3]) for line in lines if line.startswith('"C"')]
    assert values == x
    report = (tmp_path / "a.prt").read_text()
    assert all(v.name in report for v in p.getVariable(first=0))


@pytest.mark.parametrize("call, exc, message", [
    (lambda p, d: p.readbasis(str(d / "missing.bss")), nv.SolverError, "cannot open"),
    (lambda p, d: p.readbinsol(str(d / "bad.bsol")), nv.SolverError, "not a binary solution"),
    (lambda p, d: p.writesol(str(d / "x.csv"), "q"), nv.SolverError, "unknown flag 'q'"),
    (lambda p, d: p.readbasis(), TypeError, "filename"),
    (lambda p, d: p.restore(str(d / "bad.bsol")), nv.SolverError, "not a problem snapshot"),
    (lambda p, d: p.readdirs(str(d / "bad.bsol")), nv.SolverError, "line 1"),
])
def test_bad_files_refused_changing_nothing(tmp_path, call, exc, message):
    (tmp_path / "bad.bsol").write_text("garbage\n")
    p = read("afiro.mps")
    p.lpoptimize()
    before = lp_answers(p), basis(p), len(p.getVariable(first=0))
    with pytest.raises(exc, match=message):
        call(p, tmp_path)
    assert (lp_answers(p), basis(p), len(p.getVariable(first=0))) == before


def test_writing_without_a_solution_fails():
    p = read("afiro.mps")
    for write in (p.writesol, p.writeprtsol, p.writebinsol):
        with pytest.raises(nv.SolverError, match="no solution is available"):
            write("never.txt")
    with pytest.raises(nv.SolverError, match="no basis"):
        p.writebasis("never.bss")
