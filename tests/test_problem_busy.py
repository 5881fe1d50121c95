"""A problem being solved cannot be reached: not from another thread while solve() has released
the interpreter lock, and not from a message handler of that solve. Calls are refused with
SolverError, a second solve too, and the solve's answers are those of the unchanged model.
Ctrl-C during a long solve (a MIP, a nonlinear model) stops it with its best answer so far and
leaves the interpreter as it was.

The faulty code crashed or corrupted the heap here, so every solve runs in a child interpreter."""

import json
import textwrap

import pytest

from conftest import HARD_KNAPSACK, run_child


BUSY = "The problem is being solved; it cannot be changed or read until solve() returns"
ALREADY = "The problem is already being solved"

# The answers after a busy solve are checked against the model as it was built.
KNAPSACK = HARD_KNAPSACK + """
p.controls.time_limit = TIME_LIMIT

def model_intact():
    # Same sizes, and the answer is a solution of the model as it was built.
    sol = p.getSolution()
    assert (p.attributes.columns, p.attributes.rows) == (n, m), (p.attributes.columns, p.attributes.rows)
    assert len(sol) == n
    for w, c in zip(W, cap):
        assert sum(wj * v for wj, v in zip(w, sol)) <= c + 1e-6
    value = sum(pj * v for pj, v in zip(profit, sol))
    assert abs(value - p.getObjVal()) < 1e-6 * max(1.0, value), (value, p.getObjVal())
    assert p.getProbStatusString() in ("mip_solution", "mip_optimal")
    return True
"""

# Each call reaches the problem in a different way; label -> statement with p, x, rows, path.
CALLS = {
    "reset": "p.reset()",
    "reset_through_type": "nv.problem.reset(p)",
    "read": "p.read(path)",
    "write": "p.write(path + '.busy.lp')",
    "delVariable": "p.delVariable(x[0])",
    "delConstraint": "p.delConstraint(rows[0])",
    "addVariable": "p.addVariable(nv.var())",
    "addConstraint": "p.addConstraint(x[0] + x[1] <= 1)",
    "addSOS": "p.addSOS(nv.sos([x[0], x[1]], [1, 2]))",
    "setObjective": "p.setObjective(x[0])",
    "copy": "p.copy()",
    "name": "p.name()",
    "str": "str(p)",
    "getControl_all": "p.getControl()",
    "getControl": "p.getControl('time_limit')",
    "setControl": "p.setControl('time_limit', 5.0)",
    "getAttrib": "p.getAttrib('columns')",
    "controls_get": "p.controls.time_limit",
    "controls_set": "setattr(p.controls, 'time_limit', 5.0)",
    "attributes_get": "p.attributes.columns",
    "getSolution": "p.getSolution()",
    "getSlack": "p.getSlack()",
    "getObjVal": "p.getObjVal()",
    "getProbStatus": "p.getProbStatus()",
    "getProbStatusString": "p.getProbStatusString()",
    "getIndex": "p.getIndex(x[0])",
    "getVariable": "p.getVariable(0)",
    "getlasterror": "p.getlasterror()",
    "solve": "p.solve()",
}


def child_json(code):
    """The JSON object a child interpreter prints last."""
    return json.loads(run_child(code).stdout.strip().splitlines()[-1])


@pytest.fixture(scope="module")
def from_other_thread(tmp_path_factory):
    """One solve in a thread while the main thread makes every call of CALLS."""
    path = str(tmp_path_factory.mktemp("busy") / "small.lp")
    code = KNAPSACK.replace("TIME_LIMIT", "1.5") + f"""
path = {path!r}
q = nv.problem(nv.var(ub=1), name="small")
q.write(path)
calls = {CALLS!r}
errors = []
th = threading.Thread(target=lambda: errors.append(None) if p.solve() is None else None)
th.start()
# Wait until the solve has marked the problem.
deadline = time.time() + 10
while True:
    try:
        p.getProbStatus()
    except nv.SolverError:
        break
    if not th.is_alive() or time.time() > deadline:
        print(json.dumps({{"never_busy": True}}))
        sys.exit(0)
outcome = {{}}
for label, stmt in calls.items():
    try:
        exec(stmt)
        outcome[label] = ["returned", "", th.is_alive()]
    except Exception as e:
        outcome[label] = [type(e).__name__, str(e), th.is_alive()]
th.join()
outcome["solve_returned"] = errors == [None]
outcome["intact"] = model_intact()
print(json.dumps(outcome))
"""
    return child_json(code)


@pytest.mark.parametrize("label", sorted(CALLS))
def test_calls_from_another_thread_are_refused_while_solving(from_other_thread, label):
    assert "never_busy" not in from_other_thread
    kind, message, still_solving = from_other_thread[label]
    assert still_solving, "the solve ended before the call could be checked"
    assert kind == "SolverError"
    assert message == (ALREADY if label == "solve" else BUSY)


def test_solve_ends_normally_with_the_unchanged_model(from_other_thread):
    assert from_other_thread["solve_returned"]
    assert from_other_thread["intact"]


HANDLER_CALLS = ["reset", "read", "delVariable", "delConstraint", "getControl_all", "solve"]


@pytest.mark.parametrize("route", ["global_handler", "problem_printing"])
@pytest.mark.parametrize("label", HANDLER_CALLS)
def test_calls_from_a_message_handler_during_the_solve(tmp_path, route, label):
    """The handler runs on the solving thread; its refused call surfaces from solve() (the
    module-level handlers) or is reported as unraisable (a stream of the problem's printing),
    and either way the model stays as it was."""
    path = str(tmp_path / "small.lp")
    code = KNAPSACK.replace("TIME_LIMIT", "0.5") + f"""
path = {path!r}
nv.problem(nv.var(ub=1), name="small").write(path)
stmt = {CALLS[label]!r}
seen = []
reported = []
sys.unraisablehook = lambda u: reported.append([u.exc_type.__name__, str(u.exc_value)])
def call_once():
    if seen:
        return
    try:
        exec(stmt)
        seen.append(["returned", ""])
    except Exception as e:
        seen.append([type(e).__name__, str(e)])
        raise

if {route!r} == "global_handler":
    nv.addcbmsghandler(lambda *args: call_once(), None, 0)
else:
    class Out:
        def write(self, text):
            call_once()
            return len(text)
        def flush(self):
            pass
    real = sys.stdout
    nv.setOutputEnabled(True)
    sys.stdout = Out()
try:
    p.solve()
    raised = ["returned", ""]
except Exception as e:
    raised = [type(e).__name__, str(e)]
if {route!r} == "problem_printing":
    sys.stdout = real
    nv.setOutputEnabled(False)
print(json.dumps({{"seen": seen, "raised": raised, "reported": reported,
                  "cols": p.attributes.columns,
                  "rows": p.attributes.rows}}))
"""
    out = child_json(code)
    expected = ALREADY if label == "solve" else BUSY
    assert out["seen"] == [["SolverError", expected]]
    if route == "global_handler":
        assert out["raised"] == ["SolverError", expected]
        assert out["reported"] == []
    else:
        assert out["raised"] == ["returned", ""]
        assert out["reported"] == [["SolverError", expected]]
    assert (out["cols"], out["rows"]) == (200, 30)


@pytest.mark.parametrize("mip", [False, True])
def test_failed_solve_raises_solver_error_with_the_library_message(nv, mip):
    x = nv.var(ub=1, vartype=nv.integer if mip else nv.continuous)
    p = nv.problem(x, x)
    with pytest.raises(nv.SolverError, match="^Unknown optimisation flag 'z'") as info:
        p.solve("z")
    assert str(info.value) == p.getlasterror()


# Long solves Ctrl-C stops after a second: the hard knapsack, and a nonconvex nonlinear model
# whose solve takes many seconds of short iterations (the solver stops at the next one). Each
# kind: (model, attribute with the stop reason, time limit of the test, statuses it may end
# with, the length of the point it keeps: the nonlinear one has the objective's column too).
LONG_SOLVES = {
    "mip": (HARD_KNAPSACK + """
p.controls.mip_absolute_gap = 0.0
p.controls.time_limit = 60.0
""", "stop_status", 20, ("mip_solution", "mip_no_sol_found"), None),
    "nonlinear": ("""
import random, threading, time
import nuvrel as nv
nv.setOutputEnabled(False)
rng = random.Random(3)
n = 400
x = [nv.var(lb=-10, ub=10) for _ in range(n)]
rows = [nv.sin(x[i]) * x[(i + 1) % n] + x[(i + 7) % n] ** 2 <= 1 + rng.random() for i in range(n)]
p = nv.problem(x, rows)
p.setObjective(nv.Sum(nv.cos(xi) * xi + 0.01 * xi * xi for xi in x))
""", "nslp_stop_status", 30, ("nlp_unfinished",), 401),
}


@pytest.mark.parametrize("kind", sorted(LONG_SOLVES))
def test_sigint_stops_a_long_solve_and_the_interpreter_goes_on(run_python, kind):
    model, stop_attribute, limit, statuses, point = LONG_SOLVES[kind]
    out = run_python(model + textwrap.dedent(
        f"""
        import os, signal
        # A runner started in the background hands its children SIGINT ignored; the test is
        # about the interpreter's handler, so install it.
        signal.signal(signal.SIGINT, signal.default_int_handler)
        threading.Timer(1.0, lambda: os.kill(os.getpid(), signal.SIGINT)).start()
        start = time.time()
        p.solve()
        elapsed = time.time() - start
        print("elapsed", elapsed)
        print("stop", p.attributes.{stop_attribute}, nv.stop_ctrlc)
        print("status", p.getProbStatusString())
        print("point", {'len(p.getSolution())' if point else None})
        # The interpreter's own handler is back: the next SIGINT is a KeyboardInterrupt.
        print("handler", signal.getsignal(signal.SIGINT) is signal.default_int_handler)
        try:
            signal.raise_signal(signal.SIGINT)
            time.sleep(1)
            print("keyboard interrupt missing")
        except KeyboardInterrupt:
            print("keyboard interrupt")
        y = nv.var(ub=2)
        q = nv.problem(y, y, sense=nv.maximize)
        q.solve()
        print("after", q.getObjVal())
        """)
    ).stdout
    lines = dict(l.split(" ", 1) for l in out.splitlines())
    assert float(lines["elapsed"]) < limit
    stop, ctrlc = lines["stop"].split()
    assert stop == ctrlc == "2"
    assert lines["status"] in statuses
    assert lines["point"] == str(point)
    assert lines["handler"] == "True"
    assert lines["keyboard"] == "interrupt"
    assert float(lines["after"]) == 2.0
