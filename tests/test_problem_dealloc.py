"""A problem whose library handles cannot be destroyed still releases everything it holds when
it goes, and the library's refusal is reported as unraisable. The handles are destroyed
behind the problem's back through the library's C interface (read from the object's first
fields), which makes the destroy calls of deallocation fail; the faulty code crashed here."""

import pytest


@pytest.mark.parametrize("destroyed, messages", [
    ("slp", ["Invalid or destroyed nonlinear problem handle"]),
    ("both", ["Invalid or destroyed nonlinear problem handle",
              "Invalid or destroyed problem handle"]),
])
def test_failed_destroy_releases_the_problem_and_reports(run_python, destroyed, messages):
    out = run_python(f"""
        import ctypes, gc, sys
        import nuvrel as nv
        nv.setOutputEnabled(False)
        eng = ctypes.CDLL("libnvrl.so")
        eng.NVRLdestroyprob.argtypes = [ctypes.c_void_p]
        eng.NSLPdestroyprob.argtypes = [ctypes.c_void_p]
        reports = []
        sys.unraisablehook = lambda u: reports.append(
            (u.exc_type.__name__, str(u.exc_value), u.object))
        x = nv.var()
        c = x <= 1
        p = nv.problem(x, c, x)
        handle = {{name: ctypes.c_void_p.from_address(id(p) + off).value
                  for name, off in (("prob", 16), ("slp", 24))}}
        assert handle["slp"], "needs the nonlinear solver's handle"
        held = sys.getrefcount(x), sys.getrefcount(c)
        assert eng.NSLPdestroyprob(handle["slp"]) == 0
        if {destroyed!r} == "both":
            assert eng.NVRLdestroyprob(handle["prob"]) == 0
        del p
        gc.collect()
        # The problem's references to its variable and constraint are gone with it.
        print(held[0] - sys.getrefcount(x), held[1] - sys.getrefcount(c))
        for kind, message, obj in reports:
            print(kind, obj is nv.problem, message, sep="|")
        """).stdout.splitlines()
    assert out[0].split() == ["1", "1"]
    assert out[1:] == [f"InterfaceError|True|{m}" for m in messages]
