"""Linear parts built from terms in any order of variables: each coefficient is the sum of its
terms in the order they were added (a sum of exactly 0 removes the variable until a later term
brings it back), the terms come out in creation order, every variable is held once, and terms
in reverse or random order build in O(n log n): the large cases here would take minutes if an
out-of-order term moved the entries after it."""

import random
import sys

import numpy as np
import pytest

import nuvrel as nv
from conftest import same_objects

N = 300_000


def sequential(terms):
    """{index: coefficient} as adding the terms one at a time gives it."""
    acc = {}
    for i, c in terms:
        s = acc.get(i, 0.0) + c
        if s == 0.0:
            acc.pop(i, None)
        else:
            acc[i] = s
    return acc


def reverse(n):
    return [(i, 1.0 + i % 7) for i in reversed(range(n))]


def passes(n):
    # Per even variable 1 + 1e-16 + 1e-16 is 1.0 when summed in order, and not when the two
    # small terms are combined first; every fifth then cancels, every tenth comes back as 0.25.
    rev = range(n - 1, -1, -1)
    return ([(i, 1.0) for i in rev if i % 2 == 0] + [(i, 1e-16) for i in rev]
            + [(i, 1e-16) for i in rev] + [(i, -1.0) for i in rev if i % 5 == 0]
            + [(i, 0.25) for i in rev if i % 10 == 0])


def triples(n):
    return [(i, c) for i in range(n - 1, -1, -1) for c in (1.0, 1e-16, 1e-16)]


def forward_triples(n):
    # Increasing order with repeats: no longer a sorted run once a key comes twice.
    return [(i, c) for i in range(n) for c in (1.0, 1e-16, 1e-16)]


def shuffled(n):
    rng = random.Random(7)
    terms = [(i, rng.choice((0.5, -0.5, 1.0, 3.0, 1e-17))) for i in range(n) for _ in range(2)]
    rng.shuffle(terms)
    return terms


def both_ends(n):
    return [t for i in range(n // 2) for t in ((i, 1.0), (n - 1 - i, -2.0))]


def by_dot(xs, terms):
    idx = np.fromiter((i for i, _ in terms), dtype=np.intp, count=len(terms))
    coefs = np.fromiter((c for _, c in terms), dtype=float, count=len(terms))
    return nv.Dot(coefs, xs[idx])


def by_sum(xs, terms):
    return nv.Sum([c * xs[i] for i, c in terms])


def check(e, xs, expected):
    vs, cs = e.extractLinear()
    keys = sorted(expected)
    assert same_objects(vs, [xs[i] for i in keys])
    assert cs == [expected[i] for i in keys]


@pytest.fixture(scope="module")
def many():
    xs = nv.vars(N, name=None)
    return xs, list(xs)


@pytest.mark.parametrize("make", [reverse, passes, triples, forward_triples, shuffled, both_ends])
@pytest.mark.parametrize("build", [by_dot, by_sum])
def test_out_of_order_terms(many, make, build):
    arr, xs = many
    terms = make(N)
    check(build(arr if build is by_dot else xs, terms), xs, sequential(terms))


@pytest.mark.parametrize("seed", [1, 2, 3])
def test_reads_between_amendments(seed):
    # Reads come between runs of terms, so that they meet maps with pending terms and with
    # removed entries in the middle; scaling and copies take part too.
    rng = random.Random(seed)
    xs = [nv.var() for _ in range(3000)]
    e, ref = nv.expression(), {}
    for step in range(40):
        terms = [(rng.randrange(len(xs)) if rng.random() < 0.5 else rng.randrange(100),
                  rng.choice((1.0, -1.0, 2.0, 0.5, -0.25))) for _ in range(rng.choice((10, 300)))]
        if step % 3 == 0:
            terms.sort(reverse=True)
        for i, c in terms:
            e += c * xs[i]
        ref = sequential(list(ref.items()) + terms)
        if step % 4 == 1:
            e *= 2.0
            ref = {i: 2.0 * c for i, c in ref.items()}
        if step % 5 == 2:
            copy = e + 0  # shares the linear part until amended
            copy += xs[0]
            check(copy, xs, sequential(list(ref.items()) + [(0, 1.0)]))
        check(e, xs, ref)


@pytest.mark.parametrize("read", [True, False])
def test_each_variable_is_held_once(read):
    xs = [nv.var() for _ in range(5000)]
    watched = xs[::250]
    base = [sys.getrefcount(v) for v in watched]
    e = nv.Sum([c * x for x in reversed(xs) for c in (1.0, 2.0)])
    e -= nv.Sum(xs[:2500])
    if read:
        assert len(e.extractLinear()[0]) == len(xs)
        assert [sys.getrefcount(v) for v in watched] == [b + 1 for b in base]
    del e
    assert [sys.getrefcount(v) for v in watched] == base


def test_cancelled_quadratic_terms_release_their_variables():
    x0 = nv.var()
    xs = [nv.var() for _ in range(1000)]
    base = sys.getrefcount(x0)
    q = nv.Sum([x0 * x for x in reversed(xs)] + [-1.0 * x0 * x for x in reversed(xs)])
    assert sys.getrefcount(x0) == base
    assert q.extractQuadratic() == ([], [], [])


@pytest.mark.parametrize("expression_share", [1 / 3, 1 / 60])
def test_dot_over_mixed_elements_sums_in_order(expression_share):
    # Variables, linear terms and expressions in one object array: the products of each kind
    # reach the map by different paths, which must still add them in the array's order. Rare
    # expressions leave long runs of the others, which go into the map together.
    rng = random.Random(5)
    xs = [nv.var() for _ in range(400)]
    elems, parts = [], []
    for _ in range(3000):
        i, j = rng.sample(range(len(xs)), 2)
        kind = 2 if rng.random() < expression_share else rng.randrange(2)
        if kind == 0:
            elems.append(xs[i])
            parts.append([(i, 1.0)])
        elif kind == 1:
            k = rng.choice((3.0, 1e-16))
            elems.append(k * xs[i])
            parts.append([(i, k)])
        else:
            elems.append(xs[i] + 1e-16 * xs[j])
            parts.append(sorted([(i, 1.0), (j, 1e-16)]))
    coefs = [rng.choice((1.0, -1.0, 1e-16, 2.5)) for _ in elems]
    arr = np.empty(len(elems), dtype=object)
    arr[:] = elems
    terms = [(i, c * k) for c, p in zip(coefs, parts) for i, k in p]
    check(nv.Dot(np.array(coefs), arr), xs, sequential(terms))
