"""Ctrl-C during a long solve stops it with the ctrl-c stop reason and its best answer so far,
and leaves the interpreter as it was."""


def test_sigint_stops_a_long_mip_and_the_interpreter_goes_on(run_python):
    out = run_python(
        """
        import os, random, signal, threading, time
        import nuvrel as nv
        nv.setOutputEnabled(False)
        # A multi-dimensional knapsack that takes HiGHS far longer than a few seconds to
        # close with gap 0 (measured: unfinished after 20 s).
        rng = random.Random(7)
        n, m = 200, 30
        x = [nv.var(vartype=nv.binary) for _ in range(n)]
        p = nv.problem(x)
        for i in range(m):
            w = [rng.randint(20, 80) for _ in range(n)]
            p.addConstraint(nv.Sum(wj * xj for wj, xj in zip(w, x)) <= sum(w) // 2)
        p.setObjective(nv.Sum(rng.randint(10, 100) * xj for xj in x), sense=nv.maximize)
        p.controls.mip_relative_gap = 0.0
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
        try:
            os.kill(os.getpid(), signal.SIGINT)
            time.sleep(1)
            print("keyboard interrupt missing")
        except KeyboardInterrupt:
            print("keyboard interrupt")
        y = nv.var(ub=2)
        q = nv.problem(y, y, sense=nv.maximize)
        q.solve()
        print("after", q.getObjVal())
        """
    ).stdout
    lines = dict(l.split(" ", 1) for l in out.splitlines())
    assert float(lines["elapsed"]) < 20
    stop, ctrlc = lines["stop"].split()
    assert stop == ctrlc == "2"
    assert lines["status"] in ("mip_solution", "mip_no_sol_found")
    assert lines["keyboard"] == "interrupt"
    assert float(lines["after"]) == 2.0
