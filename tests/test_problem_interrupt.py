"""Ctrl-C during a long solve stops it with the ctrl-c stop reason and its best answer so far,
and leaves the interpreter as it was."""

import textwrap

from conftest import HARD_KNAPSACK


def test_sigint_stops_a_long_mip_and_the_interpreter_goes_on(run_python):
    out = run_python(HARD_KNAPSACK + textwrap.dedent(
        """
        import os, signal
        # A runner started in the background hands its children SIGINT ignored; the test is
        # about the interpreter's handler, so install it.
        signal.signal(signal.SIGINT, signal.default_int_handler)
        p.controls.mip_absolute_gap = 0.0
        p.controls.time_limit = 60.0
        threading.Timer(1.0, lambda: os.kill(os.getpid(), signal.SIGINT)).start()
        start = time.time()
        p.solve()
        elapsed = time.time() - start
        print("elapsed", elapsed)
        print("stop", p.attributes.stop_status, nv.stop_ctrlc)
        print("status", p.getProbStatusString())
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
    assert float(lines["elapsed"]) < 20
    stop, ctrlc = lines["stop"].split()
    assert stop == ctrlc == "2"
    assert lines["status"] in ("mip_solution", "mip_no_sol_found")
    assert lines["handler"] == "True"
    assert lines["keyboard"] == "interrupt"
    assert float(lines["after"]) == 2.0
