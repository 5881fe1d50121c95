"""Speed and size of the modelling objects.

Run with the package importable, e.g.
    PYTHONPATH=build/<name>/stage python benchmarks/modelling_objects.py [--scale 1.0]

Prints seconds for creating variables, for an in-place summation, for building constraints,
and the bytes held per plain variable.
"""
import argparse
import gc
import random
import sys
import time

import nuvrel


def timed(label, fn, target=None):
    gc.collect()
    t0 = time.perf_counter()
    result = fn()
    dt = time.perf_counter() - t0
    verdict = "" if target is None else ("  (target < %.1f s: %s)" % (target, "met" if dt < target else "MISSED"))
    print("%-58s %8.3f s%s" % (label, dt, verdict))
    return result


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--scale", type=float, default=1.0,
                    help="multiply every problem size by this factor (default 1.0)")
    args = ap.parse_args()
    n_vars = int(1_000_000 * args.scale)
    n_cons = int(100_000 * args.scale)
    terms_per_con = 10
    rng = random.Random(1)

    xs = timed("create %d variables" % n_vars, lambda: [nuvrel.var() for _ in range(n_vars)],
               target=0.5 if args.scale == 1.0 else None)
    coefs = [rng.uniform(1.0, 2.0) for _ in range(n_vars)]

    def inplace_sum():
        e = nuvrel.expression()
        for c, x in zip(coefs, xs):
            e += c * x
        return e

    e = timed("e += c[i]*x[i] over %d terms" % n_vars, inplace_sum,
              target=1.5 if args.scale == 1.0 else None)
    assert len(e.extractLinear()[0]) == n_vars
    del e

    # Row data as a model would hold it: ten (coefficient, variable) pairs per constraint.
    rows = []
    for _ in range(n_cons):
        picks = [rng.randrange(n_vars) for _ in range(terms_per_con)]
        rows.append(([coefs[j] for j in picks], [xs[j] for j in picks]))

    def build_constraints_inplace():
        cons = []
        for cs, vs in rows:
            body = nuvrel.expression()
            for c, v in zip(cs, vs):
                body += c * v
            cons.append(body <= 1.0)
        return cons

    def build_constraints_chained():
        cons = []
        for c, v in rows:
            cons.append(c[0] * v[0] + c[1] * v[1] + c[2] * v[2] + c[3] * v[3] + c[4] * v[4] +
                        c[5] * v[5] + c[6] * v[6] + c[7] * v[7] + c[8] * v[8] + c[9] * v[9]
                        <= 1.0)
        return cons

    cons = timed("%d constraints of %d terms (body += c*x)" % (n_cons, terms_per_con),
                 build_constraints_inplace, target=2.0 if args.scale == 1.0 else None)
    del cons
    cons = timed("%d constraints of %d terms (c0*x0 + ... + c9*x9)" % (n_cons, terms_per_con),
                 build_constraints_chained)
    del cons

    # Bytes per plain variable: the object itself plus its side-table entries (none for a
    # variable with default bounds, no threshold and the default name).
    before = nuvrel.var._sidetable_sizes()
    sample = [nuvrel.var() for _ in range(1000)]
    after = nuvrel.var._sidetable_sizes()
    extra_entries = sum(after) - sum(before)
    size = sys.getsizeof(sample[0])
    print("%-58s %8d B  (target <= 32: %s; side-table entries for 1000 vars: %d)"
          % ("bytes per plain variable", size, "met" if size <= 32 else "MISSED", extra_entries))


if __name__ == "__main__":
    main()
