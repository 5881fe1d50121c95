"""Multistart through the methods: the best of the jobs is kept, jobs carry their own
controls, the objects given with jobs are held exactly as long as the jobs, and the global
search."""

import ctypes
import gc
import sys
import weakref

import pytest

import nuvrel as nv
import nuvrel.nuvrellib as lib

pytestmark = pytest.mark.usefixtures("collect_cycles")


def _kept_objects(p):
    fn = ctypes.PyDLL(lib.__file__).nvo_msjobs_count_py
    fn.restype, fn.argtypes = ctypes.c_ssize_t, [ctypes.py_object]
    return fn(p)


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
    assert sys.getrefcount(obj) == start + 2 and _kept_objects(p) == 2
    p.msclear()
    assert sys.getrefcount(obj) == start and _kept_objects(p) == 0
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
    assert sys.getrefcount(obj) == start and _kept_objects(p) == 0
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
