"""The output switch, the printing of the library's messages and the global message handlers,
also when the library calls them on a native thread without a Python thread state."""

import numpy as np
import pytest


BAD_FLAG = "Incorrect argument in setOutputEnabled: should be True or False"


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
    # A SystemError caused by the module's own error, as for a result returned with an
    # exception set, at the call itself also once the call site is warm (the interpreter
    # specialises a call after a few runs and its fast path does not check results).
    for _ in range(20):
        with pytest.raises(SystemError) as info:
            nv.setOutputEnabled(flag)
        cause = info.value.__cause__
        assert isinstance(cause, nv.ModelError) and str(cause) == BAD_FLAG
    assert nv.getOutputEnabled() is True


ADD = "Incorrect arguments in addcbmsghandler. Must provide correct list of three arguments"
REMOVE = "Incorrect arguments in removecbmsghandler. Must provide correct list of two arguments"


@pytest.mark.parametrize("call, message", [
    (lambda nv: nv.addcbmsghandler(print), ADD),
    (lambda nv: nv.addcbmsghandler(print, None, "high"), ADD),
    (lambda nv: nv.addcbmsghandler(print, None, 0, 1), ADD),
    (lambda nv: nv.removecbmsghandler(print), REMOVE),
    (lambda nv: nv.removecbmsghandler(), REMOVE),
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
    empty, missing = "Cannot remove callback from an empty set", "Callback not found"
    assert proc.stdout.splitlines() == ["ok", empty, missing, "ok", missing, "ok", empty]


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


def test_handler_error_in_a_method_with_a_result_surfaces_as_itself(run_python):
    # Methods that write messages and then return a value: the handler's exception must win
    # over the value (a value returned with an exception set is the interpreter's SystemError).
    proc = run_python("""
        import nuvrel
        nuvrel.setOutputEnabled(False)
        x = nuvrel.var(ub=1, name="x")
        c = nuvrel.sin(x) <= 0.5
        p = nuvrel.problem(x, -x, c)
        p.solve()

        def fail(*args):
            raise ValueError("from the handler")

        for name, args in [("printmemory", ()), ("printevalinfo", ()), ("validate", ()),
                           ("scaling", ()), ("cascade", ()), ("validaterow", (c,))]:
            nuvrel.addcbmsghandler(fail, None, 0)
            try:
                getattr(p, name)(*args)
                print(name, "no error")
            except ValueError as e:
                print(name, e)
            nuvrel.removecbmsghandler(fail, None)
            getattr(p, name)(*args)    # and nothing is left pending for the next call
    """)
    assert proc.stdout.splitlines() == [
        f"{name} from the handler" for name in
        ["printmemory", "printevalinfo", "validate", "scaling", "cascade", "validaterow"]]


def test_global_lines_are_printed_once_after_a_forced_start(nv, engine, capsys, output_switch):
    nv.setOutputEnabled(True)
    nv.init()  # a forced start of the running library must not register the printer again
    capsys.readouterr()
    assert engine.NVRLgetversion(None) != 0  # reported as an error line of the environment
    assert capsys.readouterr().out == nv.getlasterror()[1] + "\n"


@pytest.mark.parametrize("enabled", [True, False])
def test_solve_log_follows_the_output_switch_and_is_printed_once(nv, capsys, output_switch,
                                                                 enabled):
    nv.setOutputEnabled(enabled)
    x = nv.var(ub=1, vartype=nv.integer)
    p = nv.problem(x, x <= 0.5, -x, name="printed_once")
    capsys.readouterr()
    p.solve()
    out = capsys.readouterr().out
    # The library hands each line to both the problem's and the global printer: only one
    # may print it.
    lines = [line for line in out.splitlines() if "printed_once" in line]
    assert bool(out) == bool(lines) == enabled and len(set(lines)) == len(lines)


def test_handler_exception_on_a_native_thread_is_reported_and_handler_keeps_working(
        run_python):
    out = run_python("""
        import ctypes, sys
        import nuvrel as nv
        nv.setOutputEnabled(False)
        libc = ctypes.CDLL(None)
        eng = ctypes.CDLL("libnvrl.so")
        calls = []
        def handler(obj, data, thread, msg, length, msgtype):
            calls.append(msg)
            if len(calls) == 1:
                raise ValueError("first message refused")
        reports = []
        sys.unraisablehook = lambda u: reports.append(
            (u.exc_type.__name__, str(u.exc_value), u.object is handler))
        nv.addcbmsghandler(handler, None, 0)
        start = ctypes.cast(eng.NVRLdestroyprob, ctypes.c_void_p)
        for _ in range(2):
            tid = ctypes.c_ulong()
            assert libc.pthread_create(ctypes.byref(tid), None, start, None) == 0
            assert libc.pthread_join(tid, None) == 0
        print(calls)
        print(reports)
        """).stdout.splitlines()
    assert out[0] == str(["Null problem handle"] * 2)
    assert out[1] == str([("ValueError", "first message refused", True)])
