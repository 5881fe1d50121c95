"""Low-level solver operations: the optimisation calls (a handler's exception raised after the
library returns), the log file and message codes, controls, renaming and interruption."""

import pytest

import nuvrel as nv
from conftest import SHARED_DATA

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
    p = nv.problem()
    p.read(str(SHARED_DATA / "afiro.mps"))
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


def test_controls_and_name():
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


def test_interrupt_reason_checked():
    p, _ = small_mip()
    with pytest.raises(nv.SolverError):
        p.interrupt(0)
    p.interrupt(9)  # outside a solve: the next solve starts afresh
    p.mipoptimize()
    assert p.attributes.mip_status == nv.mip_optimal
