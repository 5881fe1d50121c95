"""Start and release of the solver library, checked mode, defaults and library errors."""

import ctypes
import re

import numpy as np

import pytest


def test_version_and_banner(nv):
    assert re.fullmatch(r"\d+\.\d+\.\d+", nv.getversion())
    banner = nv.getbanner()
    assert isinstance(banner, str) and nv.getversion() in banner


@pytest.mark.parametrize("value,expected", [
    (True, True),
    (False, False),
    (1, False),          # only the object True switches checking on
    ("yes", False),
    (None, False),
])
def test_setcheckedmode_only_true_switches_on(nv, value, expected):
    try:
        assert nv.setcheckedmode(value) is None
        assert nv.getcheckedmode() is expected
        nv.setcheckedmode(checked_mode=not expected)  # keyword form, opposite state
        assert nv.getcheckedmode() is (not expected)
    finally:
        nv.setcheckedmode(True)


def arch_consistency(engine):
    value = ctypes.c_int(-1)
    assert engine.NVRL_ge_getarchconsistency(ctypes.byref(value)) == 0
    return value.value


@pytest.mark.parametrize("value,expected", [
    (None, 0), (False, 0),
    (True, 1), (0, 1), ("", 1), ("on", 1),   # any object but None and False, even 0
])
def test_setarchconsistency_only_none_and_false_switch_off(nv, engine, value, expected):
    try:
        assert nv.setarchconsistency(value) is None
        assert arch_consistency(engine) == expected
        nv.setarchconsistency(ifArchConsistent=not expected)
        assert arch_consistency(engine) == (not expected)
    finally:
        nv.setarchconsistency(False)


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


@pytest.mark.parametrize("name", ["nosuchcontrol", "NOSUCHCONTROL", "x" * 1024])
def test_setdefaultcontrol_accepts_unknown_names(nv, name):
    assert nv.setdefaultcontrol(name) is None


@pytest.mark.parametrize("name,message", [
    ("MixedCase", "Control or attribute is neither all-lower nor all-upper case"),
    ("with-dash", "Control or attribute is neither all-lower nor all-upper case"),
    ("x" * 1025, "Control or attribute name is too long"),
])
def test_setdefaultcontrol_rejects_bad_names(nv, name, message):
    with pytest.raises(nv.ModelError, match=f"^{re.escape(message)}$"):
        nv.setdefaultcontrol(name)


def test_module_controls_reject_unknown_and_bad_names(nv):
    with pytest.raises(nv.InterfaceError, match="^Incorrect control name$"):
        nv.controls.nosuchcontrol
    with pytest.raises(nv.InterfaceError, match="^Incorrect control name$"):
        nv.controls.nosuchcontrol = 3
    with pytest.raises(nv.ModelError, match="neither all-lower nor all-upper"):
        nv.controls.Nslp_Postsolve
    with pytest.raises(nv.ModelError, match="^Bad control request$"):
        type(nv.controls).__getattribute__(nv.controls, 1)


@pytest.fixture(scope="module")
def control_of_type(nv):
    """A control name for each value type, taken from the library's defaults."""
    names = {}
    for name, value in sorted(nv.controls.__dict__.items()):
        if name != "nslp_postsolve":
            names.setdefault(type(value), name)
    assert {int, float, str} <= set(names), names
    return names


def test_control_names_in_either_case(nv, control_of_type):
    for name in control_of_type.values():
        assert getattr(nv.controls, name) == getattr(nv.controls, name.upper())


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
        assert getattr(nv.controls, name) == value
    finally:
        nv.setdefaultcontrol(name)
    assert getattr(nv.controls, name) == library_default


@pytest.mark.parametrize("kind,value,message", [
    (int, "3", "Cannot set non-integer value to an integer control"),
    (int, 1.5, "Cannot set non-integer value to an integer control"),
    (float, "x", "Cannot set non-numerical value to a floating-point control"),
    (float, None, "Cannot set non-numerical value to a floating-point control"),
    (str, 5, "Cannot set non-string value to a string control"),
])
def test_module_default_must_suit_the_control_type(nv, control_of_type, kind, value,
                                                   message):
    name = control_of_type[kind]
    before = getattr(nv.controls, name)
    with pytest.raises(nv.ModelError, match=f"^{re.escape(message)}$"):
        setattr(nv.controls, name, value)
    assert getattr(nv.controls, name) == before


def test_setdefaults_removes_every_module_default(run_python):
    proc = run_python("""
        import nuvrel
        before = nuvrel.controls.miptol, nuvrel.controls.threads
        nuvrel.controls.miptol = before[0] * 10
        nuvrel.controls.threads = before[1] + 3
        nuvrel.setOutputEnabled(False)
        seeded = nuvrel.problem()
        nuvrel.setdefaults()
        print((nuvrel.controls.miptol, nuvrel.controls.threads) == before)
        # nslp_postsolve was seeded into the object's own values as well, so it still reads 1,
        # but new problems no longer get it
        print(nuvrel.controls.nslp_postsolve)
        fresh = nuvrel.problem()
        print(seeded.controls.nslp_postsolve, fresh.controls.nslp_postsolve)
    """)
    assert proc.stdout.split() == ["True", "1", "1", "0"]


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


def test_problem_getlasterror_on_a_problem_without_library_handle(nv):
    # Allocated but never initialised: there is no library problem to ask.
    p = nv.problem.__new__(nv.problem)
    with pytest.raises(nv.SolverError,
                       match="^Unidentified error associated with optimization problem$"):
        p.getlasterror()
