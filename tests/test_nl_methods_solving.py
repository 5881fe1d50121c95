"""The nonlinear methods that steer, check and inspect a solve: tolerance sets and step bounds
against the iteration count, the optimality check of a converged and a perturbed point, point
evaluation, row and column information, and engine refusals. Multistart: the best of the jobs is
kept, jobs carry their own controls, the objects given with jobs are held exactly as long as the
jobs, and the global search."""

import gc
import math
import sys
import weakref

import pytest

import nuvrel as nv



def curved(start=(1.0, 1.0)):
    """min exp(x0) + x0 + 2 x1 on x0^2 + x1^2 <= 5 (free columns), built from token
    formulas; optimum -4.6726 at (-1.2162, -1.8764)."""
    p = nv.problem()
    p.loadproblem("curved", ["L"], [5.0], None, [1.0, 2.0], [0, 0, 0], None, [], [],
                  [-nv.infinity] * 2, [nv.infinity] * 2)
    p.loadcoefs([-1, 0], [-1, -1], None, [0, 4], 1,
                [22, 10, 12, 0, 10, 1, 31, 10, 1, 31, 31, 0],
                [0, 0, EXP, 0, 0, 2, 2, 1, 2, 2, 5, 0])
    p.loadvars([0, 1], initvalue=list(start))
    # Stationarity as tight as it goes, so that the step test decides when a solve ends.
    p.controls.nslp_optimality_tolerance = 1e-12
    return p


EXP = 16
OPTIMUM, POINT = -4.672635, [-1.216222, -1.876380]


def solve(p, flags=""):
    p.nlpoptimize(flags)
    assert p.getObjVal() == pytest.approx(OPTIMUM, abs=1e-5)
    return p.attributes.nslp_iterations


def test_tolerance_sets_and_step_bounds_change_the_iterations():
    n0 = solve(curved())
    # The same entry tight and loose: the loose set ends the solve sooner, by its step test,
    # and each column reports the entry that passed it.
    iterations = []
    for tol in (1e-13, 0.1):
        p = curved()
        p.loadtolsets([tol, 0, 0, 0, 0, 0])
        p.loadvars([0, 1], tolindex=[1, 1], initvalue=[1.0, 1.0])
        iterations.append(solve(p))
    assert iterations[1] < iterations[0]
    assert [p.getvar(j)[9] for j in (0, 1)] == [1, 1]
    # A fixed step bound of 0.05: x1 travels 2.876 from its start, at most 0.05 an iteration.
    p = curved()
    p.chgdeltatype([0, 1], [1, 1], [0.05, 0.05])
    n2 = solve(p)
    assert n2 >= 2.876 / 0.05 and n2 > n0
    assert (p.getcolinfo(0, 6), p.getcolinfo(0, 7)) == (1, 0.05)
    assert abs(p.getcolinfo(1, 3)) <= 0.05 + 1e-12
    # An initial step bound through loadvars: without a fixed type it adapts, from 0.01.
    p = curved()
    p.loadvars([0, 1], initvalue=[1.0, 1.0], stepbound=[0.01, 0.01])
    assert solve(p) > n0


def test_kkt_check_of_converged_and_perturbed_points():
    p = curved()
    solve(p)
    valid, *measures = p.validatekkt(0, 0, 0, 1e-5)
    assert valid and max(measures) <= 1e-5
    assert p.attributes.nslp_kkt_valid == 1
    sol = p.getslpsol()
    assert sol == pytest.approx(POINT, abs=1e-5)
    p.chgvar(0, value=sol[0] - 0.05)
    valid, stationarity, _, feasibility = p.validatekkt(0, 0, 0, 1e-5)
    assert not valid and stationarity > 1e-2 and feasibility > 1e-2
    assert p.attributes.nslp_kkt_valid == 0
    # validatevector looks at a point without changing anything.
    assert p.validatevector([0.5, 0.5]) == pytest.approx((0.0, 0.0, math.exp(0.5) + 1.5))
    assert p.validatevector([2.0, 2.0])[0] == pytest.approx(3.0)
    assert p.getvar(0)[6] == pytest.approx(sol[0] - 0.05)


def test_answers_and_items_after_a_solve():
    p = curved()
    solve(p)
    row = p.getConstraint(first=0)[0]
    x, y = p.getVariable(first=0)
    xs, slack, duals, djs = [], [], [], []
    assert p.getslpsol(xs, slack, duals, djs) is None
    assert len(xs) == len(djs) == 2 and len(slack) == len(duals) == 1
    assert p.getrowinfo(row, 1) == pytest.approx(slack[0], abs=1e-9)
    assert p.getrowinfo(row, 2) == pytest.approx(duals[0], abs=1e-9)
    assert p.getrowinfo(row, 7) == 1 and isinstance(p.getrowinfo(row, 7), int)
    assert p.getcolinfo(x, 1) == pytest.approx(xs[0], abs=1e-12)
    # The derivative of the row by x at the answer is 2x.
    assert p.getdf(x, row) == pytest.approx(2 * xs[0], rel=1e-6)
    p.chgdf(x, row, 7.0)
    assert p.getdf(x, row) == 7.0
    p.chgdf(x, row)  # removed again
    assert p.getdf(x, row) == pytest.approx(2 * xs[0], rel=1e-6)
    p.chgrowwt(row, 4.0)
    assert p.getrowwt(row) == 4.0
    p.setcurrentiv()
    assert p.getvar(y)[5] == pytest.approx(xs[1])
    p.reinitialize()
    with pytest.raises(nv.SolverError):
        p.getslpsol()


def test_steps_of_a_solve_run_one_by_one(capfd):
    p = curved(start=(3.0, 3.0))
    nv.setOutputEnabled(True)
    try:
        for step in ("construct", "updatelinearization", "scaling", "validate", "cascadeorder",
                     "cascade", "unconstruct", "presolve"):
            getattr(p, step)()
        # The start violates the row by 13: the one failure of the check.
        assert p.attributes.nslp_validation_failures == 1
        assert p.attributes.nslp_validation_index_a == pytest.approx(13.0)
        p.validaterow(0)
        solve(p)
        p.fixpenalties()
        p.printevalinfo()
        p.printmemory()
    finally:
        nv.setOutputEnabled(False)
    assert capfd.readouterr().out.count("\n") >= 8


@pytest.mark.parametrize("call,match", [
    (lambda p: p.nlpoptimize("q"), "flag"),
    (lambda p: p.validatekkt(7, 0, 0, 1e-6), "mode"),
    (lambda p: p.validatekkt(0, 1, 0, 1e-6), "multipliers"),
    (lambda p: p.fixpenalties(), "solve"),
    (lambda p: p.gettolset(3), "3"),
    (lambda p: p.chgtolset(1, 1 << 9, None), "status|bit"),
    (lambda p: p.getrowinfo(0, 99), "item"),
    (lambda p: p.validatevector([math.nan, 0]), "finite"),
    (lambda p: p.chgdeltatype([0], [9], [1.0]), "type"),
])
def test_engine_refusals_are_solver_errors(call, match):
    p = curved()
    p.loadtolsets([1e-3, 0, 0, 0, 0, 0])
    before = (p.gettolset(1), p.getvar(0), p.getcolinfo(0, 6), p.attributes.nslp_status)
    with pytest.raises(nv.SolverError, match=match):
        call(p)
    assert (p.gettolset(1), p.getvar(0), p.getcolinfo(0, 6), p.attributes.nslp_status) == before


def test_getters_report_the_solver_that_ran_last():
    # A quadratic objective without nonlinear coefficients, solved by either solver:
    # min (x - 1)^2 + 3 = x^2 - 2x + 4 on 0 <= x <= 5.
    p = nv.problem()
    x = nv.var(lb=0, ub=5)
    p.addVariable(x)
    p.setObjective(x * x - 2 * x + 4)
    p.nlpoptimize()
    assert p.getObjVal() == pytest.approx(3.0, abs=1e-7)
    assert p.getSolution(x) == pytest.approx(1.0, abs=1e-6)
    # The optimiser then answers a changed model; the nonlinear run's answer is stale.
    p.chgbounds([x], ["L"], [2.0])
    p.lpoptimize()
    assert p.getObjVal() == pytest.approx(4.0, abs=1e-7)
    assert p.getSolution(x) == pytest.approx(2.0, abs=1e-6)


def double_well():
    """min (x^2 - 4)^2 + x on [-3, 3]: local minima near 1.97 (f ~ 1.97) and -2.03
    (f ~ -2.03). The base solve starts at 2.5 and finds the worse one."""
    x = nv.var(lb=-3, ub=3, name="x")
    p = nv.problem(x, name="well")
    p.setObjective((x * x - 4) ** 2 + x)
    p.loadvars([x], initvalue=[2.5])
    return p, x


def test_three_jobs_keep_the_best():
    base, x = double_well()
    base.nlpoptimize()
    assert base.getslpsol()[0] == pytest.approx(1.97, abs=0.02)

    p, x = double_well()
    for start in (3.0, 1.0, -2.5):
        p.msaddjob(f"from {start}", [x], [start], {"nslp_iteration_limit": 200})
    p.nlpoptimize()
    assert p.attributes.nslp_multistart_jobs_run == 3
    assert p.getslpsol()[0] == pytest.approx(-2.03, abs=0.02)
    assert p.getObjVal() < base.getObjVal() - 3.5
    # The jobs stay queued until cleared: without them the base solve's answer comes back.
    p.msclear()
    p.nlpoptimize()
    assert p.getObjVal() == pytest.approx(base.getObjVal(), abs=1e-6)


def test_job_controls_are_in_force_for_the_job_only():
    p, x = double_well()
    # One iteration cannot reach the far well from 2.5 even when it starts there.
    p.msaddjob("short", [x], [-2.5], {12100: 1})
    p.nlpoptimize()
    assert p.getslpsol()[0] == pytest.approx(1.97, abs=0.02)
    assert p.controls.nslp_iteration_limit != 1
    with pytest.raises(nv.InterfaceError, match="Unknown control"):
        p.msaddjob("bad", [x], [0.0], {"no_such_control": 1})
    with pytest.raises(nv.InterfaceError, match="integer"):
        p.msaddjob("bad", [x], [0.0], {"nslp_iteration_limit": 2.5})


@pytest.mark.parametrize("add", [
    lambda p, x, o: p.msaddjob("job", [x], [1.0], None, o),
    lambda p, x, o: p.msaddcustompreset("custom", 0, 2, [x], [1.0], None, o),
    lambda p, x, o: p.msaddpreset("preset", 0, 2, o),
])
def test_job_objects_are_held_while_queued(add):
    p, x = double_well()
    obj = object()
    start = sys.getrefcount(obj)
    add(p, x, obj)
    add(p, x, obj)
    assert sys.getrefcount(obj) == start + 2
    p.msclear()
    assert sys.getrefcount(obj) == start
    add(p, x, obj)
    q = p.copy()
    assert sys.getrefcount(obj) == start + 2
    del p
    gc.collect()
    assert sys.getrefcount(obj) == start + 1
    q.reset()
    assert sys.getrefcount(obj) == start


def test_refused_job_takes_no_reference():
    p, x = double_well()
    obj = object()
    start = sys.getrefcount(obj)
    with pytest.raises(nv.SolverError):
        p.msaddjob("twice", [x, x], [1.0, 2.0], None, obj)
    with pytest.raises(nv.SolverError):
        p.msaddpreset("ipm", 4, 2, obj)
    assert sys.getrefcount(obj) == start
    p.nlpoptimize()
    assert p.attributes.nslp_multistart_jobs_run == 0


def test_job_object_cycle_is_collected():
    p, x = double_well()

    class Job:
        pass

    job = Job()
    job.problem = p  # problem -> job object -> problem
    p.msaddjob("cycle", [x], [1.0], None, job)
    gone = weakref.ref(job)
    del p, job
    gc.collect()
    assert gone() is None


def test_globalsol_finds_the_far_well():
    p, x = double_well()
    p.controls.nslp_global_starts = 8
    p.globalsol()
    assert p.getslpsol()[0] == pytest.approx(-2.03, abs=0.02)
    assert p.attributes.nslp_multistart_jobs_run >= 8
