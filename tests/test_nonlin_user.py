"""User functions: building the nodes and their messages, and solves that call them."""

import gc
import math
import sys
import weakref

import pytest
import traceback

import nuvrel as nv


x, y = nv.var(name="x"), nv.var(name="y")
FIRST = "Invalid user function, must specify at least one argument (the user function itself)"


@pytest.mark.parametrize("build, text", [
    (lambda: nv.user(math.hypot, x, y, derivatives=True), "user (user, x, y)"),
    (lambda: nv.user(arguments=[math.hypot, x, nv.exp(y)]), "user (user, x, exp (y))"),
    (lambda: nv.user(math.hypot, x, 3) + y, "(user (user, x, 3) + y)"),
])
def test_nodes_print_the_callable_as_user(build, text):
    assert str(build()) == text


@pytest.mark.parametrize("call, exc, message", [
    (lambda: nv.user(), nv.ModelError, FIRST),
    (lambda: nv.user(x, y), nv.ModelError, FIRST),
    (lambda: nv.user(arguments=()), nv.ModelError, FIRST),
    (lambda: nv.user(math.hypot, [x, y]), nv.ModelError, "Invalid object in n-ary operation"),
    # only the first argument may be a callable
    (lambda: nv.user(math.hypot, math.hypot), nv.ModelError, "Invalid object in n-ary operation"),
    (lambda: nv.user(math.hypot, x, arguments=[math.hypot, x]), nv.InterfaceError,
     "user() takes the function and its arguments either positionally or as the keyword "
     "arguments, not both"),
    (lambda: nv.user(math.hypot, x, flag=True), TypeError, None),
])
def test_messages(call, exc, message):
    with pytest.raises(exc) as err:
        call()
    assert message is None or str(err.value) == message


OPT = -2 * math.sqrt(2)  # min x + y on the disc of radius 2


@pytest.fixture
def xy():
    return nv.var(lb=-10, ub=10, name="x"), nv.var(lb=-10, ub=10, name="y")


def hypot(a, b):
    return math.hypot(a, b)


class Hypot:
    def __call__(self, a, b):
        return math.hypot(a, b)


def disc(a, b):
    return a * a + b * b, 2 * a, 2 * b


def counted(f, calls):
    return lambda *args: calls.append(args) or f(*args)


@pytest.mark.parametrize("f, derivatives, radius", [
    (hypot, False, 2), (Hypot(), False, 2), (math.hypot, False, 2),
    (disc, True, 4),
    (lambda a, b: (a * a + b * b,), True, 4),  # derivatives left out are differenced
    (disc, False, 4),  # only the value of the tuple is used
])
def test_disc_model_reaches_its_optimum(xy, f, derivatives, radius):
    x, y = xy
    node = nv.user(f, x, y, derivatives=derivatives)
    p = nv.problem(x, y, node <= radius, x + y)
    p.solve()
    assert p.getObjVal() == pytest.approx(OPT, abs=1e-5)
    xs, ys = p.getSolution([x, y])
    assert (xs, ys) == pytest.approx((OPT / 2, OPT / 2), abs=1e-4)
    plain = math.hypot(xs, ys) if radius == 2 else xs * xs + ys * ys
    assert nv.evaluate(node, problem=p) == pytest.approx(plain, rel=1e-12)


def test_given_derivatives_replace_differences(xy):
    x, y = xy
    counts = []
    for derivatives in (False, True):
        calls = []
        p = nv.problem(x, y, nv.user(counted(disc, calls), x, y, derivatives=derivatives) <= 4,
                       x + y)
        p.solve()
        assert p.getObjVal() == pytest.approx(OPT, abs=1e-5)
        counts.append(len(calls))
    assert counts[1] < counts[0]  # each differenced derivative costs two calls


@pytest.mark.parametrize("ends", [(0, 5), (-1e20, 1e20)])
def test_pwl_objective_and_constraint(ends):
    x = nv.var(lb=0, ub=5, name="x")
    f = nv.pwl({(ends[0], 2): 3 - x, (2, ends[1]): 1 + 0.5 * (x - 2)})  # convex, kink at 2
    p = nv.problem(x, f)
    p.solve()
    assert (p.getObjVal(), p.getSolution(x)) == pytest.approx((1, 2), abs=1e-5)
    # a jump at 1: the largest x with cost <= 7 is 2
    cost = nv.pwl({(0, 1): 0, (1, 4): 5 + x})
    p = nv.problem(x, cost <= 7, x, sense=nv.maximize)
    p.solve()
    assert p.getSolution(x) == pytest.approx(2, abs=1e-5)
    values = [nv.evaluate(cost, solution={x: v}) for v in (0.5, 1, 3, 4)]
    assert values == pytest.approx([0, 0, 8, 9])


class Failure(Exception):
    pass


@pytest.mark.parametrize("derivatives", [False, True])
@pytest.mark.parametrize("returned, expected", [
    ("raise", Failure), (None, TypeError), ("text", TypeError), ((), ValueError)])
def test_a_failing_callable_stops_the_solve_with_its_exception(xy, derivatives, returned,
                                                               expected):
    x, y = xy
    calls, error = [], Failure("out of range")
    state = {"fail": True}

    def f(a, b):
        calls.append((a, b))
        if state["fail"] and returned == "raise":
            raise error
        return returned if state["fail"] else math.hypot(a, b)
    p = nv.problem(x, y, nv.user(f, x, y, derivatives=derivatives) <= 2, x + y)
    with pytest.raises(expected) as info:
        p.solve()
    assert len(calls) == 1  # not called again once it has failed
    if returned == "raise":
        assert info.value is error
        assert any(frame.name == "f" for frame in traceback.extract_tb(info.tb))
    state["fail"] = False  # the next solve starts afresh
    p.solve()
    assert p.getObjVal() == pytest.approx(OPT, abs=1e-5)


def test_callable_runs_clean_after_a_message_handler_raised_in_the_same_solve(run_python):
    # The handler's exception waits for the solve to return; the callable, run meanwhile,
    # must still be able to call into the interpreter, and the handler's error surfaces.
    proc = run_python("""
        import nuvrel as nv
        nv.setOutputEnabled(False)
        x = nv.var(ub=10, name="x")
        values = []
        p = nv.problem(x, x)

        def fail(*args):
            raise ValueError("from the handler")

        nv.addcbmsghandler(fail, None, 0)
        for _ in range(2):
            try:
                p.solve()
            except Exception as e:
                print(type(e).__name__, e, values[:1])
            p.addConstraint(nv.user(lambda v: (values.append(len([v])), v)[1], x) <= 5)
    """)
    assert proc.stdout.splitlines() == ["ValueError from the handler []",
                                        "ValueError from the handler [1]"]


def test_callable_registered_once_per_problem_and_released_with_it(xy):
    x, y = xy
    f = Hypot()
    cons = [nv.user(f, x, y) <= 2, nv.user(f, y, x) + x <= 3, nv.user(f, x, 2 * y) <= 5]
    built = sys.getrefcount(f)
    # one registration: the problem's dictionary and the solver's object (callable, index)
    p = nv.problem(x, y, cons, x + y)
    assert sys.getrefcount(f) == built + 2
    q = nv.problem(x, y, cons[0], x + y)
    assert sys.getrefcount(f) == built + 4
    p.solve()
    assert p.getObjVal() == pytest.approx(OPT, abs=1e-5)
    del p, q
    gc.collect()
    assert sys.getrefcount(f) == built


def test_copy_and_reset_keep_the_references_right(xy):
    x, y = xy
    f, g_calls = Hypot(), []
    base = sys.getrefcount(f)
    p = nv.problem(x, y, nv.user(f, x, y) <= 2, x + y)
    q = p.copy()
    del p
    gc.collect()
    # The copy's solver calls f through the original's registration, and a new callable
    # comes after it (calling f's row with g would fail on the argument count).
    q.addConstraint(nv.user(counted(lambda a: a, g_calls), x) <= 5)
    q.solve()
    assert q.getObjVal() == pytest.approx(OPT, abs=1e-5) and g_calls
    q.reset()
    assert sys.getrefcount(f) == base
    q.addVariable(x, y)
    q.addConstraint(nv.user(f, x, y) <= 2)
    q.setObjective(x + y)
    q.solve()
    assert q.getObjVal() == pytest.approx(OPT, abs=1e-5)
    del q
    gc.collect()
    assert sys.getrefcount(f) == base


@pytest.mark.parametrize("how", ["function", "bound method", "copy", "objective"])
def test_a_user_function_referring_to_its_problem_is_collected(xy, how):
    x, y = xy
    if how == "bound method":
        keeper = Hypot()   # the instance keeps the problem that calls its method
        f = keeper.__call__
    else:
        def f(a, b):
            return math.hypot(a, b)
        keeper = f
    ref = weakref.ref(keeper)
    if how == "objective":
        p = nv.problem(x, y, x + y >= 1, nv.user(f, x, y))
    else:
        p = nv.problem(x, y, nv.user(f, x, y) <= 2, x + y)
    keeper.problems = [p, p.copy()] if how == "copy" else [p]
    for q in keeper.problems:
        q.solve()
        assert q.getObjVal() == pytest.approx(math.sqrt(0.5) if how == "objective" else OPT, abs=1e-5)
    del f, p, q, keeper
    gc.collect()
    assert ref() is None
