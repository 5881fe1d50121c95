"""Reference counts and memory: building and dropping modelling objects and nonlinear trees (a
million nodes, converting and adding them, also when conversion fails, and evaluating them)
leaves object counts and memory flat, on success and on every error path."""

import sys

import numpy as np
import pytest

import nuvrel as nv
from conftest import object_count, rss_bytes, rss_grew_less_than


general = nv.expression._general


OPERATIONS = [
    lambda x, y, z, c: x + c,
    lambda x, y, z, c: c - x,
    lambda x, y, z, c: x + y - z,
    lambda x, y, z, c: c * x + y,
    lambda x, y, z, c: (c * x) * (c * y),
    lambda x, y, z, c: (c * x * y) / (c * x),
    lambda x, y, z, c: (x * y) / (x * y),
    lambda x, y, z, c: x * y + y * z - z * y,
    lambda x, y, z, c: (x + c) * (y - c),
    lambda x, y, z, c: (x + c * y) ** 2,
    lambda x, y, z, c: -(x + y * z) / c,
    lambda x, y, z, c: (x + y) * (nv.expression() + c),
    lambda x, y, z, c: str(c * x + y * z - c),
    lambda x, y, z, c: (x + y * z).extractQuadratic(),
    lambda x, y, z, c: (x + y * z).extractLinear(),
    lambda x, y, z, c: general("copy", x + y * z, c),
    lambda x, y, z, c: general("add", None, c * x),
    lambda x, y, z, c: x + np.array([c, c]),
    lambda x, y, z, c: x / np.array([c, c]),
    lambda x, y, z, c: c * x + y <= c,
    lambda x, y, z, c: (x * y == c).copy(),
    lambda x, y, z, c: nv.constraint(body=x + y, lb=c, ub=c + 1, name="r"),
    lambda x, y, z, c: nv.constraint(x <= c, name="taken"),
    # Error paths release what they took.
    lambda x, y, z, c: x / y,
    lambda x, y, z, c: x / 0,
    lambda x, y, z, c: x + "a",
    lambda x, y, z, c: (x * y) * z,
    lambda x, y, z, c: (x + y) / 0,
    lambda x, y, z, c: (x + y) * (y * z + c),
    lambda x, y, z, c: (x + c) ** np.array([c]),
    lambda x, y, z, c: x + c < y,
    lambda x, y, z, c: x <= x,
    lambda x, y, z, c: nv.constraint(body=x, lb=c + 1, ub=c, name="bad"),
    lambda x, y, z, c: nv.constraint(constraint=c, name="bad"),
    lambda x, y, z, c: nv.constraint(None, x, c, name="bad"),
    lambda x, y, z, c: general("mul", None, x + c),
    lambda x, y, z, c: (x * y + c) * 0.0 * x,
    lambda x, y, z, c: general("kind", c * x + "a"),
    # Sum, Prod and Dot walk their collections; what they take they give back.
    lambda x, y, z, c: nv.Sum(x, c * y, x * y, c),
    lambda x, y, z, c: nv.Sum({1: c * x, 2: None}),
    lambda x, y, z, c: nv.Sum(v for v in (x, y, c)),
    lambda x, y, z, c: nv.Sum(0, x + y, x),
    lambda x, y, z, c: nv.Prod([x + c, y]),
    lambda x, y, z, c: nv.Sum(np.array([c, c]), x),
    lambda x, y, z, c: nv.Sum(x, "a"),
    lambda x, y, z, c: nv.Prod(x, y, x),
    lambda x, y, z, c: nv.Dot(x, y),
    lambda x, y, z, c: nv.Sum(np.array([c]), np.array([c, c, c]), x),
    # Nonlinear trees.
    lambda x, y, z, c: x * nv.exp(y) + x ** 2 <= 1,
    lambda x, y, z, c: nv.Sum(nv.sin(v) for v in (x, y, x)) - 3,
    lambda x, y, z, c: str(nv.max(x, y, 2) / (x * y * x)),
    lambda x, y, z, c: general("copy", -(-nv.exp(x) * y * x), 3.0),
    lambda x, y, z, c: (nv.exp(x) + 1) - (nv.cos(y) + x) + (x + 1),
    lambda x, y, z, c: nv.sqrt(np.array([x, y, 4.0], dtype=object)),
    lambda x, y, z, c: 2 - nv.exp(x) >= 0,
    # and their error paths
    lambda x, y, z, c: nv.exp(x) / 0,
    lambda x, y, z, c: nv.min(x, "a"),
    lambda x, y, z, c: nv.exp(x) + "a",
    lambda x, y, z, c: nv.exp(x) ** np.array([1.0]),
]


def _in_place(x, y, z, c):
    e = nv.expression()
    e += c * x
    e += y * z
    e -= x
    e *= c
    e /= c
    e += e
    e -= e
    return e


def _in_place_cycle(x, y, z, c):
    # A sum that ends up holding itself: only the collector can free it.
    s = nv.exp(x) + y
    t = s * 2
    s += t
    return s


OPERATIONS += [_in_place, _in_place_cycle]


@pytest.mark.parametrize("op", OPERATIONS, ids=range(len(OPERATIONS)))
def test_operations_keep_reference_counts(op):
    x, y, z = nv.var(), nv.var(name="named"), nv.var(lb=0.5)
    c = float("2.5")  # an object of our own, not a shared constant
    watched = (x, y, z, c)

    def run():
        for _ in range(200):
            try:
                op(x, y, z, c)
            except (nv.ModelError, nv.InterfaceError):
                pass

    run()  # first call may fill caches (interned strings, numpy scalars)
    blocks = object_count()  # collects: some operations leave cycles
    counts = [sys.getrefcount(o) for o in watched]
    run()
    assert object_count() - blocks < 50
    assert [sys.getrefcount(o) for o in watched] == counts


def test_a_million_expressions_leave_no_trace():
    x, y = nv.var(), nv.var()
    c = float("1.5")
    x_refs, c_refs = sys.getrefcount(x), sys.getrefcount(c)
    objects, rss = object_count(), rss_bytes()
    for _ in range(250_000):
        e = c * x + y               # linear term, then an expression
        q = e * e                   # quadratic expression
        k = q <= c                  # constraint with a copied body
        e += q                      # in place
    del e, q, k
    assert sys.getrefcount(x) == x_refs and sys.getrefcount(c) == c_refs
    assert object_count() - objects < 100
    assert rss_grew_less_than(rss, 4 << 20)


def test_large_expression_is_released_entirely():
    xs = [nv.var() for _ in range(100_000)]
    first = xs[:10]
    refs = [sys.getrefcount(v) for v in first]
    objects = object_count()
    e = nv.expression()
    for i, v in enumerate(xs):
        e += (i + 1.0) * v
    e += xs[0] * xs[1]
    assert len(e.extractLinear()[0]) == len(xs)
    held = [sys.getrefcount(v) for v in first]
    assert held[0] == refs[0] + 2 and held[1] == refs[1] + 2 and held[2:] == [r + 1 for r in refs[2:]]
    del e
    assert [sys.getrefcount(v) for v in first] == refs
    assert object_count() - objects < 50


def test_variables_die_with_the_last_expression():
    base = nv.var._sidetable_sizes()
    e = nv.expression()
    for i in range(1000):
        e += nv.var(lb=0.5, name="v%d" % i) * (i + 1)
    assert nv.var._sidetable_sizes()[0] == base[0] + 1000
    del e
    assert nv.var._sidetable_sizes() == base


@pytest.fixture
def xyz():
    return nv.var(name="x", lb=-1, ub=1), nv.var(name="y", lb=-1, ub=1), nv.var(name="z")


def churn(x, y, z, rounds):
    # Four nodes a round: exp, product, the sum and a sine over a linear argument.
    for i in range(rounds):
        t = x * nv.exp(y) + z ** 2 + nv.sin(2 * x + i)
        del t


def test_a_million_nodes_leave_nothing(xyz):
    x, y, z = xyz
    churn(x, y, z, 1000)
    refs = [sys.getrefcount(v) for v in xyz]
    before, rss = object_count(), rss_bytes()
    churn(x, y, z, 250_000)
    assert object_count() - before < 100
    assert rss_grew_less_than(rss, 8 << 20)
    assert [sys.getrefcount(v) for v in xyz] == refs


def big_tree(x, y, z, n):
    total = 0
    for i in range(n):
        total += nv.sin(x + i) * nv.exp(y / (i + 1)) + nv.cos(z * i)
    return nv.log(1 + total ** 2)


@pytest.mark.parametrize("usable", [True, False])
def test_converting_and_dropping_problems(xyz, usable):
    x, y, z = xyz
    w = nv.var()  # never added: the conversion fails on it

    def once():
        p = nv.problem(x, y, z)
        body = big_tree(x, y, z, 200) + (0 if usable else nv.sin(w))
        try:
            p.addConstraint(body <= 10, x * nv.exp(y) <= 2)
            p.setObjective(body + x)
        except nv.ModelError:
            assert not usable
        nv.evaluate(body if usable else x, problem=p, solution=[0.1, 0.2, 0.3])
        del p, body

    for _ in range(3):
        once()
    refs = [sys.getrefcount(v) for v in (x, y, z, w)]
    before, rss = object_count(), rss_bytes()
    for _ in range(40):
        once()
    assert object_count() - before < 100
    assert rss_grew_less_than(rss, 8 << 20)
    assert [sys.getrefcount(v) for v in (x, y, z, w)] == refs
