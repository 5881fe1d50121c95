"""Module-level message handlers called on a thread the library runs without a Python thread
state of its own. Such threads are started here with the C library's pthread_create on an
engine function that records a global error (destroying a null problem), which every global
handler receives."""


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
