"""Building and adding 100,000 nonlinear constraints through the modelling API.

Run with the package importable, e.g.
    PYTHONPATH=build/<name>/stage python benchmarks/nonlinear_build.py [--rows 100000]

Builds the constraints x[i] * nuvrel.exp(y[i]) + z[i] ** 2 <= 1, then converts and adds them
with one addConstraint call, and prints the seconds of each stage and their total (the target
is under 2 s in all), and the bytes per nonlinear node, measured with tracemalloc while the
nodes of a second set of the same trees are built.
"""
import argparse
import gc
import time
import tracemalloc

import nuvrel


def timed(label, fn):
    gc.collect()
    t0 = time.perf_counter()
    result = fn()
    dt = time.perf_counter() - t0
    print("%-44s %8.3f s" % (label, dt))
    return result, dt


def build(x, y, z):
    return [xi * nuvrel.exp(yi) + zi ** 2 <= 1 for xi, yi, zi in zip(x, y, z)]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rows", type=int, default=100_000)
    n = parser.parse_args().rows

    x = [nuvrel.var(lb=-1, ub=1) for _ in range(n)]
    y = [nuvrel.var(lb=-1, ub=1) for _ in range(n)]
    z = [nuvrel.var(lb=-1, ub=1) for _ in range(n)]
    p = nuvrel.problem()
    p.addVariable(x, y, z)

    cons, t_build = timed("build %d constraints" % n, lambda: build(x, y, z))
    _, t_add = timed("convert and add them (addConstraint)", lambda: p.addConstraint(cons))
    print("%-44s %8.3f s" % ("total", t_build + t_add))

    # Each row holds three nodes: exp(y), the product and the sum.
    nodes = [nuvrel.exp(yi) for yi in y[:1000]]
    del nodes
    gc.collect()
    tracemalloc.start()
    before = tracemalloc.get_traced_memory()[0]
    trees = [xi * nuvrel.exp(yi) + zi ** 2 for xi, yi, zi in zip(x, y, z)]
    used = tracemalloc.get_traced_memory()[0] - before
    tracemalloc.stop()
    count = 3 * len(trees)
    print("%-44s %8.1f" % ("bytes per node (with its operand containers)", used / count))
    rows = p.attributes.original_rows
    print("rows in the problem: %d" % rows)


if __name__ == "__main__":
    main()
