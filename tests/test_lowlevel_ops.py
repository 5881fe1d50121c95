"""Low-level solver operations: the optimisation calls (a handler's exception raised after the
library returns), the log file and message codes, controls, renaming, interruption, and
branching directives loaded, read back, written and honoured by the tree search."""

import pytest

import nuvrel as nv
from conftest import read_problem


pytestmark = pytest.mark.usefixtures("quiet")


DIRECTIVES_UNUSED = 1002  # the warning that a MIP solved by HiGHS ignores directives


def small_mip():
    x = nv.var(vartype=nv.integer, ub=4, name="x")
    p = nv.problem(x, 2 * x <= 5, x, sense=nv.maximize, name="tiny")
    return p, x


@pytest.mark.parametrize("method", ["lpoptimize", "mipoptimize"])
def test_handler_exception_propagates_after_the_solve(method):
    p, x = small_mip()
    p.controls.log_level = 1
    calls = []

    def handler(obj, data, thread, msg, length, msgtype):
        calls.append(msg)
        raise ValueError("from the handler")

    nv.addcbmsghandler(handler, None, 0)
    try:
        with pytest.raises(ValueError, match="from the handler"):
            getattr(p, method)()
    finally:
        nv.removecbmsghandler(handler, None)
    assert calls, "the handler ran during the solve"
    # The solve itself finished: its answers are there.
    assert p.attributes.lp_status == nv.lp_optimal or p.attributes.mip_status == nv.mip_optimal


def test_optimize_flags():
    p = read_problem("afiro.mps")
    p.lpoptimize("p")
    primal = p.attributes.lp_objective
    p.lpoptimize(flags="d")
    assert p.attributes.lp_objective == pytest.approx(primal)
    with pytest.raises(nv.SolverError, match="flag"):
        p.lpoptimize("z")
    with pytest.raises(TypeError):
        p.mipoptimize(3)


def test_log_file_and_message_status(tmp_path):
    p, x = small_mip()
    p.loaddirs([x], [1])
    p.controls.log_level = 1
    log = tmp_path / "run.log"
    p.setlogfile(str(log))
    p.mipoptimize()
    assert "tree search only" in log.read_text()
    assert p.getmessagestatus(DIRECTIVES_UNUSED) == 1
    p.setmessagestatus(errcode=DIRECTIVES_UNUSED, status=0)  # the legacy keyword
    assert p.getmessagestatus(msgcode=DIRECTIVES_UNUSED) == 0
    log.write_text("")
    p.mipoptimize()
    text = log.read_text()
    assert "nuvrel optimiser" in text and "tree search only" not in text
    p.setlogfile("")
    p.setmessagestatus(DIRECTIVES_UNUSED, 1)
    p.mipoptimize()
    assert log.read_text() == text, "nothing is appended once the file is closed"
    with pytest.raises(nv.SolverError, match="status 2"):
        p.setmessagestatus(DIRECTIVES_UNUSED, 2)
    with pytest.raises(nv.SolverError, match="cannot open"):
        p.setlogfile(str(tmp_path / "no" / "such.log"))


def test_controls_name_and_interrupt_reason():
    p, _ = small_mip()
    q, _ = small_mip()
    q.controls.feasibility_tolerance = 1e-4
    p.copycontrols(q)
    assert p.controls.feasibility_tolerance == 1e-4
    p.setdefaults()
    assert p.controls.feasibility_tolerance == 1e-6
    with pytest.raises(nv.InterfaceError, match="A problem must be passed for copying controls"):
        p.copycontrols("q")
    p.setprobname("renamed")
    assert p.name() == "renamed"
    # The stop reason is checked.
    with pytest.raises(nv.SolverError):
        p.interrupt(0)
    for reason in [2**31, -2**31 - 1, 2**63 - 1]:  # not cut to an int (one would be valid)
        with pytest.raises(nv.InterfaceError, match=f"Invalid stop reason {reason}: it is out"):
            p.interrupt(reason)
    p.interrupt(9)  # outside a solve: the next solve starts afresh
    p.mipoptimize()
    assert p.attributes.mip_status == nv.mip_optimal


def half_knapsack(n=9):
    """max sum x over n binaries with 2 sum x <= n, y = sum x an integer column added last:
    branching on y settles it at once, branching on the x first has to enumerate."""
    x = [nv.var(vartype=nv.binary, name=f"x{j}") for j in range(n)]
    y = nv.var(vartype=nv.integer, ub=n, name="y")
    p = nv.problem(x, y, nv.Sum(2 * v for v in x) <= n, y == nv.Sum(x), nv.Sum(x),
                   sense=nv.maximize)
    return p, x, y


def dirs(p):
    out = [], [], [], [], []
    p.getdirs(*out)
    return out


def test_directives_round_trip(tmp_path):
    p, x, y = half_knapsack(5)
    p.loaddirs([y, "x3", 0], [0, 7, 900], ["D", "U", "N"], [1.5, -1, 0.25], [2, -1, 3])
    expected = ([x[0], x[3], y], [900, 7, 0], ["N", "U", "D"], [0.25, -1.0, 1.5],
                [3.0, -1.0, 2.0])
    assert dirs(p) == expected
    f = str(tmp_path / "d.dir")
    p.writedirs(f)
    p.loaddirs([])
    stale = [1, 2]
    p.getdirs(stale, None, None, None, None)
    assert stale == []
    p.readdirs(f)
    assert dirs(p) == expected
    # Only the lists asked for are filled; None skips one.
    cols, prios = ["stale"] * 5, []
    p.getdirs(cols, prios, None, None, None)
    assert (cols, prios) == (expected[0], expected[1])
    # Directions alone, merged into what is there.
    p.loadbranchdirs([x[0], x[1]], [1, -1])
    got = dirs(p)
    assert got[0] == [x[0], x[1], x[3], y]
    assert got[2] == ["U", "D", "U", "D"]
    assert got[1] == [900, 500, 7, 0]
    p.loadpresolvedirs([x[2]], [3])
    assert dirs(p)[:3] == ([x[2]], [3], ["N"])


@pytest.mark.parametrize("call, exc, message", [
    (lambda p, x, y: p.getdirs(None, None, None, None, None), nv.InterfaceError,
     "Must provide arguments \\(as lists\\) to getdirs"),
    (lambda p, x, y: p.loaddirs([y, y], [1, 2]), nv.SolverError, "more than one directive"),
    (lambda p, x, y: p.loaddirs([y], [1], ["Q"]), nv.SolverError, "direction 'Q'"),
    (lambda p, x, y: p.loaddirs([y], [1, 2]), nv.ModelError, "Mismatched lengths"),
    (lambda p, x, y: p.loaddirs([nv.var()], [1]), nv.ModelError, "not in problem"),
    (lambda p, x, y: p.loadbranchdirs([y]), nv.InterfaceError, "Must provide argument dir"),
])
def test_bad_directives_change_nothing(call, exc, message):
    p, x, y = half_knapsack(3)
    p.loaddirs([x[1]], [4], ["U"])
    before = dirs(p)
    with pytest.raises(exc, match=message):
        call(p, x, y)
    assert dirs(p) == before


def test_priorities_steer_the_tree_search():
    p, x, y = half_knapsack()
    p.controls.tree_search = 1
    p.controls.tree_cut_rounds = 0  # cover cuts close this knapsack at the root either way
    nodes = {}
    for prio in (0, 1000):
        p.loaddirs([y], [prio])
        p.mipoptimize()
        assert p.attributes.mip_objective == pytest.approx(4)
        nodes[prio] = p.attributes.nodes
    assert nodes[0] <= 3 < nodes[1000]
