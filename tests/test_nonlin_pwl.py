"""Piecewise-linear functions: the breakpoints built from a dictionary of intervals, and the
messages for dictionaries that do not describe one."""

import math

import pytest

import nuvrel as nv

x = nv.var(name="x")
y = nv.var(name="y")


def points(node):
    """The breakpoints of a pwl node as printed: [(x0, y0), (x1, y1), ...]."""
    text = str(node)
    assert text.startswith("pwl (x, ") and text.endswith(")")
    values = [float(v) for v in text[len("pwl (x, "):-1].split(", ")]
    return list(zip(values[::2], values[1::2]))


@pytest.mark.parametrize("intervals, expected", [
    # continuous at 1: the shared point once
    ({(0, 1): x, (1, 2): 2 * x - 1}, [(0, 0), (1, 1), (2, 3)]),
    # given out of order
    ({(1, 2): 2 * x - 1, (0, 1): x}, [(0, 0), (1, 1), (2, 3)]),
    # a gap keeps the points on both sides
    ({(0, 1): x, (2, 3): x}, [(0, 0), (1, 1), (2, 2), (3, 3)]),
    # a jump: a vertical step at 1
    ({(None, x): None, (0, 1): 0, (1, 2): 5}, [(0, 0), (1, 0), (1, 5), (2, 5)]),
    # closer than the tolerance: one point
    ({(0, 1): x, (1 + 1e-7, 2): x}, [(0, 0), (1, 1), (2, 2)]),
    # a jump just above the tolerance is kept
    ({(0, 1): x, (1, 2): x + 1e-5}, [(0, 0), (1, 1), (1, 1 + 1e-5), (2, 2 + 1e-5)]),
    # infinite left end: moved 0.88 before the right one
    ({(-1e20, 0): x}, [(-0.88, -0.88), (0, 0)]),
    ({(-math.inf, 1): 3 * x}, [(0.12, 0.36), (1, 3)]),
    # infinite right end: moved 0.88 after the left one
    ({(0, 1e20): 2 * x + 1}, [(0, 1), (0.88, 2.76)]),
    # every kind of linear value: term, expression with a constant, a negative slope
    ({(0, 2): 3 + 0.5 * x, (2, 4): -2 * x + 8}, [(0, 3), (2, 4), (4, 0)]),
    ({(0, 1): x, (None, x): 0}, [(0, 0), (1, 1)]),
])
def test_breakpoints(intervals, expected):
    flat = [v for point in expected for v in point]
    assert [v for point in points(nv.pwl(intervals)) for v in point] == pytest.approx(flat)


MSG_DICT = ("Function nuvrel.pwl only accepts a dictionary; a call must be for example "
            "nuvrel.pwl({(1,4): 2*x+1, (4,6): 4*x+5, ...})")
MSG_TWO = "All keys in the dictionary argument of nuvrel.pwl must be two-tuples; <%s> is not"
MSG_NUM = ("All keys in the dictionary argument of nuvrel.pwl must be two-tuples with two "
           "constant numbers: [a,b] such that a<b; <%s> is not")
MSG_LIN = ("Expression %s not suitable for a piecewise linear function; it must be a constant "
           "or a linear function")
MSG_ONE = ("Expression %s not suitable for a piecewise linear function; it must contain one "
           "variable only")
MSG_NOVAR = ("No variable specified for this piecewise linear function: %s; Are all values "
             "constant? If so, add a key-value pair (None: x) to the dictionary with the "
             "variable associated to the piecewise linear")


@pytest.mark.parametrize("arg, message", [
    ([((0, 1), x)], MSG_DICT),
    ({1: x}, MSG_TWO % "1"),
    ({(0, 1, 2): x}, MSG_TWO % "(0, 1, 2)"),
    ({(None, 3): x}, "Tuple (None, Obj) must have an nuvrel.var() object as Obj, found <3>"),
    ({(1, 1): x}, MSG_NUM % "(1, 1)"),
    ({(2, 1): x}, MSG_NUM % "(2, 1)"),
    ({(0, "a"): x}, MSG_NUM % "(0, 'a')"),
    ({(math.nan, 1): x}, MSG_NUM % "(nan, 1)"),
    ({(0, 1): x * x}, MSG_LIN % "x**2"),
    ({(0, 1): nv.exp(x)}, MSG_LIN % "exp (x)"),
    ({(0, 1): "x"}, MSG_LIN % "x"),
    ({(0, 1): x + y}, MSG_ONE % (x + y)),
    ({(0, 1): x, (1, 2): 2 * y},
     "Expression in [1,2] interval contains variable y while another variable has been used "
     "in the same function"),
    ({(0, 1): 1, (1, 2): 2}, MSG_NOVAR % "{(0, 1): 1, (1, 2): 2}"),
    ({}, MSG_NOVAR % "{}"),
    ({(0, 2): x, (1, 3): x},
     "Interval [0.0,2.0] overlaps with [1.0,3.0] in piecewise linear function"),
    ({(0, 2): x, (0, 1): x},
     "Interval [0.0,2.0] overlaps with [0.0,1.0] in piecewise linear function"),
])
def test_messages(arg, message):
    with pytest.raises(nv.ModelError) as err:
        nv.pwl(arg)
    assert str(err.value) == message
