"""Seconds for nuvrel.Sum over linear terms.

Run with the package importable, e.g.
    PYTHONPATH=build/<name>/stage python benchmarks/sum_terms.py [--terms 1000000]

Builds the terms first (not timed), then times one Sum over a list of them and one over a
generator, and checks the result has one linear coefficient per variable. Target: under 1 s
for 1,000,000 terms.
"""
import argparse
import gc
import time

import nuvrel


def timed(label, fn, target):
    gc.collect()
    t0 = time.perf_counter()
    result = fn()
    dt = time.perf_counter() - t0
    print("%-46s %8.3f s  (target < %.1f s: %s)" % (label, dt, target,
                                                    "met" if dt < target else "MISSED"))
    return result


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--terms", type=int, default=1_000_000)
    args = ap.parse_args()
    n = args.terms
    target = n / 1_000_000

    xs = [nuvrel.var() for _ in range(n)]
    terms = [(1.0 + (i % 7)) * x for i, x in enumerate(xs)]

    e = timed("Sum of %d linear terms (list)" % n, lambda: nuvrel.Sum(terms), target)
    coefs = e.extractLinear()[1]
    if len(coefs) != n:
        raise SystemExit("wrong result: %d coefficients for %d terms" % (len(coefs), n))
    timed("Sum of %d linear terms (generator)" % n,
          lambda: nuvrel.Sum(t for t in terms), target)


if __name__ == "__main__":
    main()
