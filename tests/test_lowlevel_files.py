"""Low-level file methods: snapshots, solution files, basis files and directive files written
from one problem read back into a fresh copy give the same answers; bad input is refused and
changes nothing."""

import pytest

import nuvrel as nv
from conftest import SHARED_DATA

pytestmark = pytest.mark.usefixtures("quiet")


def read(name):
    p = nv.problem()
    p.read(str(SHARED_DATA / name))
    return p


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


@pytest.mark.parametrize(
    "call, exc, message",
    [
        (lambda p, d: p.readbasis(str(d / "missing.bss")), nv.SolverError, "cannot open"),
        (lambda p, d: p.readbinsol(str(d / "bad.bsol")), nv.SolverError, "not a binary solution"),
        (lambda p, d: p.writesol(str(d / "x.csv"), "q"), nv.SolverError, "unknown flag 'q'"),
        (lambda p, d: p.readbasis(), TypeError, "filename"),
        (lambda p, d: p.restore(str(d / "bad.bsol")), nv.SolverError, "not a problem snapshot"),
        (lambda p, d: p.readdirs(str(d / "bad.bsol")), nv.SolverError, "line 1"),
    ],
)
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
