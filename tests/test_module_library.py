"""Start and release of the solver library, checked mode, defaults and library errors, and the
environment's locks meeting finalisers that run the module again."""

import ctypes
import re

import numpy as np
import pytest

from conftest import run_child


def test_version_and_banner(nv):
    assert re.fullmatch(r"\d+\.\d+\.\d+", nv.getversion())
    banner = nv.getbanner()
    assert isinstance(banner, str) and nv.getversion() in banner


def arch_consistency(nv, engine):
    value = ctypes.c_int(-1)
    assert engine.NVRL_ge_getarchconsistency(ctypes.byref(value)) == 0
    return value.value


# setter: (keyword, value restored after the test, reader)
SWITCHES = {"setcheckedmode": ("checked_mode", True, lambda nv, engine: nv.getcheckedmode()),
            "setarchconsistency": ("ifArchConsistent", False, arch_consistency)}


@pytest.mark.parametrize("setter, value, expected", [
    ("setcheckedmode", True, True), ("setcheckedmode", False, False),
    # only the object True switches checking on
    ("setcheckedmode", 1, False), ("setcheckedmode", "yes", False),
    ("setcheckedmode", None, False),
    ("setarchconsistency", None, 0), ("setarchconsistency", False, 0),
    # any object but None and False switches it on, even 0
    ("setarchconsistency", True, 1), ("setarchconsistency", 0, 1),
    ("setarchconsistency", "", 1), ("setarchconsistency", "on", 1),
])
def test_switches_take_any_object(nv, engine, setter, value, expected):
    keyword, restore, read = SWITCHES[setter]
    try:
        assert getattr(nv, setter)(value) is None
        got = read(nv, engine)
        assert (got, type(got)) == (expected, type(expected))
        getattr(nv, setter)(**{keyword: not expected})  # keyword form, opposite state
        assert read(nv, engine) == (not expected)
    finally:
        getattr(nv, setter)(restore)


@pytest.mark.parametrize("call,fragment", [
    (lambda nv: nv.setcheckedmode(), "checked_mode"),      # the missing argument is named
    (lambda nv: nv.setcheckedmode(True, False), "at most 1"),
    (lambda nv: nv.setcheckedmode(checked=True), "checked_mode"),
    (lambda nv: nv.setarchconsistency(), "ifArchConsistent"),
    (lambda nv: nv.setdefaultcontrol(), "ipar"),
    (lambda nv: nv.setdefaultcontrol(5), "must be str"),
    (lambda nv: nv.var("x", 0, 1, 0, 0, 9), "at most 5"),
    (lambda nv: nv.vars(["a"], colour="red"), "colour"),
    (lambda nv: nv.sos([]), "weights"),
    (lambda nv: nv.constraint(sense="le"), "integer"),
])
def test_bad_arguments_raise_type_error(nv, call, fragment):
    with pytest.raises(TypeError, match=fragment):
        call(nv)


@pytest.mark.parametrize("name, message", [
    ("nosuchcontrol", None), ("NOSUCHCONTROL", None), ("x" * 1024, None),   # accepted
    ("MixedCase", "Control or attribute is neither all-lower nor all-upper case"),
    ("with-dash", "Control or attribute is neither all-lower nor all-upper case"),
    ("x" * 1025, "Control or attribute name is too long"),
])
def test_setdefaultcontrol_names(nv, name, message):
    if message is None:
        assert nv.setdefaultcontrol(name) is None
    else:
        with pytest.raises(nv.ModelError, match=f"^{re.escape(message)}$"):
            nv.setdefaultcontrol(name)


@pytest.fixture(scope="module")
def control_of_type(nv):
    """A control name for each value type, taken from the library's defaults."""
    names = {}
    for name, value in sorted(nv.controls.__dict__.items()):
        if name != "nslp_postsolve":
            names.setdefault(type(value), name)
    assert {int, float, str} <= set(names), names
    return names


@pytest.mark.parametrize("kind,value", [
    (int, 3), (int, np.int32(2)), (int, True),
    (float, 0.25), (float, 2), (float, np.float32(0.5)), (float, np.int64(4)),
    (str, "abc"),
])
def test_module_default_overrides_until_removed(nv, control_of_type, kind, value):
    name = control_of_type[kind]
    library_default = getattr(nv.controls, name)
    try:
        setattr(nv.controls, name.upper(), value)
        assert getattr(nv.controls, name) == getattr(nv.controls, name.upper()) == value
    finally:
        nv.setdefaultcontrol(name)
    assert getattr(nv.controls, name) == library_default


def test_module_defaults_reach_new_copied_and_reset_problems_until_removed(run_python):
    proc = run_python("""
        import nuvrel as nv
        nv.setOutputEnabled(False)
        old = nv.problem()
        before = nv.controls.miptol, nv.controls.threads
        nv.controls.threads = 3
        nv.controls.MIPTOL = 1e-7
        new = nv.problem()
        assert (new.controls.threads, new.controls.miptol) == (3, 1e-7)
        assert old.controls.threads == 0
        old.controls.threads = 2
        copy = old.copy()
        assert copy.controls.threads == 2   # the source's controls win in a copy
        old.reset()
        assert old.controls.threads == 3
        nv.setdefaults()
        assert (nv.controls.miptol, nv.controls.threads) == before
        fresh = nv.problem()
        assert fresh.controls.threads == 0
        # nslp_postsolve was seeded into the object's own values as well, so it still reads 1,
        # but new problems no longer get it
        print(nv.controls.nslp_postsolve, new.controls.nslp_postsolve,
              fresh.controls.nslp_postsolve)
    """)
    assert proc.stdout.split() == ["1", "1", "0"]


def test_counted_start_and_forced_release(run_python):
    # init() and free() force the start and the release but move the count by one each, so
    # balanced pairs always leave a working library behind. free() releases the library even
    # while a problem holds it; the problem's calls then fail, and since the problem's start
    # is still counted only a forced start brings the library back.
    proc = run_python("""
        import nuvrel
        nuvrel.setOutputEnabled(False)
        nuvrel.init(); nuvrel.init(); nuvrel.free(); nuvrel.free()
        print(nuvrel.getversion())
        x = nuvrel.var(ub=1)
        p = nuvrel.problem(x, -x)
        nuvrel.free()
        try:
            p.solve()
        except nuvrel.SolverError as e:
            print("SolverError", str(e) == p.getlasterror() != "")
        print(nuvrel.getversion())
        try:
            p.solve()
        except nuvrel.SolverError:
            print("still released")
        nuvrel.init()
        p.solve()
        print(p.getSolution(x))
    """)
    version, *failure, version_again, released, value = proc.stdout.splitlines()
    assert version == version_again and version
    assert failure == ["SolverError True"]
    assert (released, value) == ("still released", "1.0")


def test_release_of_a_library_never_started_reports_the_library_error(run_python):
    # Import fills the control tables but gives back the start it took for that.
    proc = run_python("""
        import nuvrel
        assert len(nuvrel.controls.__dict__) > 10
        try:
            nuvrel.free()                  # fails: nothing was started
        except nuvrel.InterfaceError as e:
            print(str(e))
        code, text = nuvrel.getlasterror()
        print(text)
        print(type(code).__name__, code != 0, nuvrel.getversion() != "")
    """)
    raised, last, code = proc.stdout.splitlines()
    assert raised and raised == last
    assert code == "int True True"


CYCLES = """
import gc, sys, threading
import nuvrel as nv
nv.setOutputEnabled(False)
x = nv.var()
p = nv.problem(x, x <= 1, x)
reads = []

class Finalised:
    # In a reference cycle, so that only the collector frees it.
    def __init__(self):
        self.me = self
    def __del__(self):
        reads.append(p.getControl("time_limit"))
        nv.controls.time_limit = 7.0          # the defaults lock
        p.getAttrib("rows")

# With threshold 1 and a fresh count, the collection falls on the next allocation of a
# collected object after the instance: the dictionary that getControl() builds while it holds
# the name-table lock.
gc.set_threshold(1)

def churn(rounds):
    for _ in range(rounds):
        gc.collect()
        Finalised()
        assert len(p.getControl()) > 10
        gc.collect()
        Finalised()
        assert len(p.getAttrib()) > 10

def read_controls(rounds):
    for _ in range(rounds):
        p.getControl()
        nv.problem()                           # defaults applied under their lock
"""


@pytest.mark.parametrize("threads", [1, 3])  # alone, and with threads using the same locks
def test_finalisers_reentering_the_module_under_its_locks(threads):
    out = run_child(CYCLES + f"""
workers = [threading.Thread(target=read_controls, args=(200,)) for _ in range({threads} - 1)]
for w in workers:
    w.start()
churn(40)
for w in workers:
    w.join()
gc.collect()
print(len(reads), set(reads) <= {{0.0, 7.0}})
""", timeout=30).stdout.split()
    assert int(out[0]) == 80
    assert out[1] == "True"
