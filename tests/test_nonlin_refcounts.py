"""Reference counts and memory of nonlinear trees: building and dropping a million nodes,
converting and adding them (also when conversion fails), and evaluating them leave object
counts and memory flat."""

import sys

import pytest
from conftest import object_count, rss_bytes

import nuvrel as nv


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
    assert rss_bytes() - rss < 8 << 20
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
    assert rss_bytes() - rss < 8 << 20
    assert [sys.getrefcount(v) for v in (x, y, z, w)] == refs
