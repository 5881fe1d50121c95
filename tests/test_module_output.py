"""The output switch, the printing of the library's messages and the global message
handlers."""

import ctypes

import numpy as np
import pytest

BAD_FLAG = "Incorrect argument in setOutputEnabled: should be True or False"
GLOBAL_PRINT = "_Z12nvr_py_printP13nvrl_object_sPvS1_PKcii"


@pytest.mark.parametrize("flag,expected", [
    (False, False), (True, True), (0, False), (5, True), (-1, True),
    (np.int32(0), False), (np.int64(3), True), (np.bool_(False), False), (np.bool_(True), True),
])
def test_output_switch(nv, output_switch, flag, expected):
    nv.setOutputEnabled(not expected)
    assert nv.setOutputEnabled(flag) is None
    assert nv.getOutputEnabled() is expected


@pytest.mark.parametrize("flag", ["no", 1.0, None, [1], np.float64(1.0)])
def test_output_switch_rejects_non_integers(nv, output_switch, flag):
    nv.setOutputEnabled(True)
    # The function returns None with the error set, which the interpreter reports as a
    # SystemError caused by the module's own error.
    with pytest.raises(SystemError) as info:
        nv.setOutputEnabled(flag)
    cause = info.value.__cause__
    assert isinstance(cause, nv.ModelError) and str(cause) == BAD_FLAG
    assert nv.getOutputEnabled() is True


@pytest.mark.parametrize("call,message", [
    (lambda nv: nv.addcbmsghandler(print),
     "Incorrect arguments in addcbmsghandler. Must provide correct list of three arguments"),
    (lambda nv: nv.addcbmsghandler(print, None, "high"),
     "Incorrect arguments in addcbmsghandler. Must provide correct list of three arguments"),
    (lambda nv: nv.addcbmsghandler(print, None, 0, 1),
     "Incorrect arguments in addcbmsghandler. Must provide correct list of three arguments"),
    (lambda nv: nv.removecbmsghandler(print),
     "Incorrect arguments in removecbmsghandler. Must provide correct list of two arguments"),
    (lambda nv: nv.removecbmsghandler(),
     "Incorrect arguments in removecbmsghandler. Must provide correct list of two arguments"),
])
def test_message_handler_argument_errors(nv, call, message):
    with pytest.raises(nv.InterfaceError) as info:
        call(nv)
    assert str(info.value) == message


def test_message_handler_registration_and_removal(run_python):
    # In a fresh interpreter so that no other test's handlers are around.
    proc = run_python("""
        import nuvrel

        def f(*a): pass
        def g(*a): pass
        d1, d2 = [], []

        def outcome(call):
            try:
                call()
                return "ok"
            except nuvrel.InterfaceError as e:
                return str(e)

        print(outcome(lambda: nuvrel.removecbmsghandler(None, None)))   # empty, wildcard
        print(outcome(lambda: nuvrel.removecbmsghandler(f, None)))      # empty, named
        nuvrel.addcbmsghandler(f, d1, 0)
        nuvrel.addcbmsghandler(f, d2, 5)
        nuvrel.addcbmsghandler(msghandler=g, data=d1, priority=1)
        print(outcome(lambda: nuvrel.removecbmsghandler(g, d2)))        # no such pair
        print(outcome(lambda: nuvrel.removecbmsghandler(f, None)))      # both f entries
        print(outcome(lambda: nuvrel.removecbmsghandler(f, d1)))        # already gone
        print(outcome(lambda: nuvrel.removecbmsghandler(None, d1)))     # g by its data
        print(outcome(lambda: nuvrel.removecbmsghandler(g, None)))      # list now empty
    """)
    assert proc.stdout.splitlines() == [
        "ok",
        "Cannot remove callback from an empty set",
        "Callback not found",
        "ok",
        "Callback not found",
        "ok",
        "Cannot remove callback from an empty set",
    ]


def test_handlers_receive_library_messages_and_their_errors_surface(run_python):
    # A release of a library that is no longer started fails, and the library reports the
    # failure to the global handlers as an error message (type 4) before the call returns.
    proc = run_python("""
        import nuvrel
        seen = []

        def record(obj, data, thread, msg, length, msgtype):
            data.append((type(obj).__name__, type(thread).__name__, msg, length, msgtype))

        nuvrel.addcbmsghandler(record, seen, 0)
        nuvrel.free()                      # releases the start made by addcbmsghandler
        message = None
        try:
            nuvrel.free()                  # nothing left to release
        except nuvrel.InterfaceError as e:
            message = str(e)
        print("error:", message)
        for entry in seen:
            print(entry)
        assert seen and seen[-1][2] == message and seen[-1][3] == len(message)

        def fail(*args):
            raise ValueError("from the handler")

        later = []
        nuvrel.addcbmsghandler(fail, None, 10)          # called first
        nuvrel.addcbmsghandler(record, later, 0)
        try:
            for _ in range(5):             # release until the library has nothing left
                nuvrel.free()
        except ValueError as e:
            print("surfaced:", e)
        print("later handler skipped:", later == [])

        # A raising handler does not stop a solve: it ends with its answer, then the error
        # surfaces.
        nuvrel.removecbmsghandler(None, None)
        nuvrel.setOutputEnabled(False)
        nuvrel.addcbmsghandler(fail, None, 0)
        x = nuvrel.var(ub=1)
        p = nuvrel.problem(x, -x)
        try:
            p.solve()
        except ValueError as e:
            print("solve surfaced:", e, p.getSolution(x))
    """)
    out = proc.stdout.splitlines()
    assert out[0].startswith("error: ") and len(out[0]) > len("error: ")
    assert out[1].startswith("('nvrlobject', 'voidstar', ") and out[1].endswith(", 4)")
    assert out[-3:] == ["surfaced: from the handler", "later handler skipped: True",
                        "solve surfaced: from the handler 1.0"]


@pytest.fixture
def library_problems(nv, engine):
    """An optimiser problem and the nonlinear problem stacked on it, made in the library."""
    nv.getversion()  # the library is started
    prob, slp = ctypes.c_void_p(), ctypes.c_void_p()
    assert engine.NVRLcreateprob(ctypes.byref(prob)) == 0
    assert engine.NSLPcreateprob(ctypes.byref(slp), ctypes.byref(prob)) == 0
    yield {"NVRLprob": prob, "NSLPprob": slp}
    engine.NSLPdestroyprob(slp)
    engine.NVRLdestroyprob(prob)


@pytest.mark.parametrize("kind", ["NVRLprob", "NSLPprob"])
def test_global_routine_leaves_problem_lines_to_the_problems(nv, native, library_problems,
                                                             capsys, output_switch, kind):
    # Lines of both kinds of problem also reach the problem's own routine: printing them
    # here as well would show them twice.
    nv.setOutputEnabled(True)
    getattr(native, GLOBAL_PRINT)(library_problems[kind], None, None, b"line", 4, 1)
    assert capsys.readouterr().out == ""


def test_global_lines_are_printed_once_after_a_forced_start(nv, engine, capsys, output_switch):
    nv.setOutputEnabled(True)
    nv.init()  # a forced start of the running library must not register the printer again
    capsys.readouterr()
    assert engine.NVRLgetversion(None) != 0  # reported as an error line of the environment
    assert capsys.readouterr().out == nv.getlasterror()[1] + "\n"


@pytest.mark.parametrize("enabled,expected", [(True, "line one\nafter\n"), (False, "after\n")])
def test_printing_follows_the_output_switch(run_python, enabled, expected):
    proc = run_python(f"""
        import ctypes, sys
        import nuvrel
        # CDLL releases the interpreter lock for the call, as a library worker thread would
        # run without it: the routine must take the lock itself.
        lib = ctypes.CDLL(nuvrel.nuvrellib.__file__)
        nuvrel.setOutputEnabled({enabled})
        lib._Z20nvr_py_print_generalPKc(b"line one")
        print("after")
    """)
    assert proc.stdout == expected


def test_handler_entry_removed_before_its_message_arrives_is_left_alone(nv, native):
    # A message the library had already picked for a handler can reach the wrapper after
    # another thread removed that handler; its entry (no longer listed) must not be used.
    calls = []
    stale = [lambda *args: calls.append(args), None]
    wrapper = getattr(native, "_Z18wrapper_msghandlerP13nvrl_object_sPvS1_PKcii")
    wrapper.argtypes = [ctypes.c_void_p, ctypes.py_object, ctypes.c_void_p, ctypes.c_char_p,
                        ctypes.c_int, ctypes.c_int]
    wrapper.restype = ctypes.c_int
    assert wrapper(None, stale, None, b"late line", 9, 1) == 0
    assert calls == []
