"""Models with user functions and piecewise-linear functions solved to known optima; the
callable's errors, its registration per problem, and the references the problem keeps."""

import gc
import math
import sys
import traceback

import pytest

import nuvrel as nv

pytestmark = pytest.mark.usefixtures("collect_cycles")

ROOT2 = math.sqrt(2.0)


@pytest.fixture
def xy():
    return nv.var(lb=-10, ub=10, name="x"), nv.var(lb=-10, ub=10, name="y")


def hypot(a, b):
    return math.hypot(a, b)


class Hypot:
    def __call__(self, a, b):
        return math.hypot(a, b)

    def method(self, a, b):
        return math.hypot(a, b)


def disc_with_gradient(a, b):
    return a * a + b * b, 2 * a, 2 * b


def disc_value_only_tuple(a, b):
    # derivatives left out of the tuple are differenced
    return (a * a + b * b,)


def counting(f):
    calls = []

    def g(*args):
        calls.append(args)
        return f(*args)
    return g, calls


def solve_disc(xy, node, radius):
    """min x + y over node <= radius: -sqrt(2) each for the disc of radius 2."""
    x, y = xy
    p = nv.problem(x, y, node <= radius, x + y)
    p.solve()
    return p


@pytest.mark.parametrize("callable_, derivatives, radius", [
    (hypot, False, 2),
    (lambda a, b: math.hypot(a, b), False, 2),
    (Hypot(), False, 2),
    (Hypot().method, False, 2),
    (disc_with_gradient, True, 4),
    (disc_value_only_tuple, True, 4),
    (disc_with_gradient, False, 4),  # a tuple's value is used, its derivatives are not asked
])
def test_disc_model_reaches_its_optimum(xy, callable_, derivatives, radius):
    x, y = xy
    node = nv.user(callable_, x, y, derivatives=derivatives)
    p = solve_disc(xy, node, radius)
    assert p.getObjVal() == pytest.approx(-2 * ROOT2, abs=1e-5)
    xs, ys = p.getSolution([x, y])
    assert (xs, ys) == pytest.approx((-ROOT2, -ROOT2), abs=1e-4)
    # the node evaluates at the solution as plain Python does
    assert nv.evaluate(node, problem=p) == pytest.approx(
        math.hypot(xs, ys) if radius == 2 else xs * xs + ys * ys, rel=1e-12)


def test_given_derivatives_replace_differences(xy):
    x, y = xy
    counts = {}
    for derivatives in (False, True):
        f, calls = counting(disc_with_gradient)
        p = solve_disc(xy, nv.user(f, x, y, derivatives=derivatives), 4)
        assert p.getObjVal() == pytest.approx(-2 * ROOT2, abs=1e-5)
        counts[derivatives] = len(calls)
    # each differenced gradient costs two calls per input
    assert counts[True] < counts[False]


def test_user_function_inside_a_larger_tree(xy):
    # min x + 2y on the disc of radius 2, its edge written with the user function of scaled
    # arguments: -2*sqrt(5) at (-2, -4)/sqrt(5)
    x, y = xy
    edge = nv.user(hypot, 2 * x, 2 * y) / 2
    p = nv.problem(x, y, edge <= 2, x + 2 * y)
    p.solve()
    assert p.getObjVal() == pytest.approx(-2 * math.sqrt(5), abs=1e-5)
    xs, ys = p.getSolution([x, y])
    assert (xs, ys) == pytest.approx((-2 / math.sqrt(5), -4 / math.sqrt(5)), abs=1e-4)
    assert nv.evaluate(edge, problem=p) == pytest.approx(math.hypot(2 * xs, 2 * ys) / 2)


@pytest.mark.parametrize("intervals, optimum, at", [
    # convex with its kink at 2
    (lambda x: {(0, 2): 3 - x, (2, 5): 1 + 0.5 * (x - 2)}, 1.0, 2.0),
    # the same from infinite ends, the end pieces extended
    (lambda x: {(-1e20, 2): 3 - x, (2, 1e20): 1 + 0.5 * (x - 2)}, 1.0, 2.0),
])
def test_pwl_objective_reaches_its_optimum(intervals, optimum, at):
    x = nv.var(lb=0, ub=5, name="x")
    f = nv.pwl(intervals(x))
    p = nv.problem(x, f)
    p.solve()
    assert p.getObjVal() == pytest.approx(optimum, abs=1e-6)
    assert p.getSolution(x) == pytest.approx(at, abs=1e-5)
    assert nv.evaluate(f, problem=p) == pytest.approx(optimum, abs=1e-6)


def test_pwl_constraint_with_a_jump():
    # cost 0 up to 1, then 5 + x: the largest x with cost <= 7 is 2
    x = nv.var(lb=0, ub=4, name="x")
    cost = nv.pwl({(0, 1): 0, (1, 4): 5 + x})
    p = nv.problem(x, cost <= 7, x, sense=nv.maximize)
    p.solve()
    assert p.getSolution(x) == pytest.approx(2, abs=1e-5)
    for point, value in ((0.5, 0), (1, 0), (3, 8), (4, 9)):
        assert nv.evaluate(cost, solution={x: point}) == pytest.approx(value)


class Failure(Exception):
    pass


@pytest.mark.parametrize("derivatives", [False, True])
@pytest.mark.parametrize("returned", [None, "raise", "text", ()])
def test_a_failing_callable_stops_the_solve_with_its_exception(xy, derivatives, returned):
    x, y = xy
    calls = []
    error = Failure("out of range")

    def f(a, b):
        calls.append((a, b))
        if returned == "raise":
            raise error
        return returned
    p = nv.problem(x, y, nv.user(f, x, y, derivatives=derivatives) <= 2, x + y)
    expected = Failure if returned == "raise" else (TypeError if returned != () else ValueError)
    with pytest.raises(expected) as info:
        p.solve()
    assert len(calls) == 1  # not called again once it has failed
    if returned == "raise":
        assert info.value is error
        assert any(frame.name == "f" for frame in traceback.extract_tb(info.tb))


def test_problem_solves_again_after_a_failure(xy):
    x, y = xy
    state = {"fail": True}

    def f(a, b):
        if state["fail"]:
            raise Failure
        return math.hypot(a, b)
    p = nv.problem(x, y, nv.user(f, x, y) <= 2, x + y)
    with pytest.raises(Failure):
        p.solve()
    state["fail"] = False
    p.solve()
    assert p.getObjVal() == pytest.approx(-2 * ROOT2, abs=1e-5)


def test_callable_registered_once_per_problem_and_released_with_it(xy):
    x, y = xy
    f = Hypot()
    base = sys.getrefcount(f)
    nodes = [nv.user(f, x, y), nv.user(f, y, x), nv.user(f, x, 2 * y)]
    cons = [nodes[0] <= 2, nodes[1] + x <= 3, nodes[2] <= 5]
    built = sys.getrefcount(f)
    p = nv.problem(x, y, cons, x + y)
    # one registration: the problem's table and the solver's object (callable, index)
    assert sys.getrefcount(f) == built + 2
    q = nv.problem(x, y, cons[0], x + y)
    assert sys.getrefcount(f) == built + 4
    p.solve()
    assert p.getObjVal() == pytest.approx(-2 * ROOT2, abs=1e-5)
    del p, q
    gc.collect()
    assert sys.getrefcount(f) == built
    del nodes, cons
    gc.collect()
    assert sys.getrefcount(f) == base


def test_copy_and_reset_keep_the_references_right(xy):
    x, y = xy
    f = Hypot()
    g, g_calls = counting(lambda a: a)
    base = sys.getrefcount(f)
    p = nv.problem(x, y, nv.user(f, x, y) <= 2, x + y)
    q = p.copy()
    del p
    gc.collect()
    # The copy's solver calls f through the original's registration, and a new callable
    # comes after it (calling f's row with g would fail on the argument count).
    q.addConstraint(nv.user(g, x) <= 5)
    q.solve()
    assert q.getObjVal() == pytest.approx(-2 * ROOT2, abs=1e-5)
    assert g_calls
    q.reset()
    assert sys.getrefcount(f) == base
    q.addVariable(x, y)
    q.addConstraint(nv.user(f, x, y) <= 2)
    q.setObjective(x + y)
    q.solve()
    assert q.getObjVal() == pytest.approx(-2 * ROOT2, abs=1e-5)
    del q
    gc.collect()
    assert sys.getrefcount(f) == base
