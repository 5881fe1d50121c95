"""Time to build array models: prints seconds per step and bytes per array element.

Run with the package on the path, e.g. PYTHONPATH=build/NAME/stage python benchmarks/arrays_build.py
"""

import gc
import sys
import time
import tracemalloc

import numpy as np

import nuvrel as nv


def timed(label, fn):
    gc.collect()
    start = time.perf_counter()
    result = fn()
    print(f"{label:48s} {time.perf_counter() - start:8.3f} s")
    return result


def bytes_per_element(build, count):
    """Traced allocation growth while the result is alive, per element of the result."""
    gc.collect()
    tracemalloc.start()
    before = tracemalloc.get_traced_memory()[0]
    result = build()
    after = tracemalloc.get_traced_memory()[0]
    tracemalloc.stop()
    del result
    return (after - before) / count


def main():
    rng = np.random.default_rng(0)
    n = 1000
    timed("vars(1000, 1000)", lambda: nv.vars(n, n))
    timed("vars(1000, 1000, name=None)", lambda: nv.vars(n, n, name=None))

    A = rng.random((n, n))
    b = np.ones(n)
    x = nv.vars(n, name=None)
    timed("A @ x <= b, dense 1000 x 1000", lambda: A @ x <= b)

    timed("Dot(A[i], x) <= b[i] row by row, dense", lambda: [nv.Dot(A[i], x) <= b[i] for i in range(n)])

    # 10,000 x 10,000 at 1%: a million nonzeros. The dense matrix would take 800 MB, so each
    # row is made dense (with its zeros) in one reused buffer just before it is used.
    m, per_row = 10_000, 100
    cols = np.stack([rng.choice(m, per_row, replace=False) for _ in range(m)])
    vals = rng.random((m, per_row)) + 0.5
    xs = nv.vars(m, name=None)
    rhs = np.ones(m)

    def sparse_rows():
        row = np.zeros(m)
        rows = []
        for i in range(m):
            row[:] = 0.0
            row[cols[i]] = vals[i]
            rows.append(nv.Dot(row, xs) <= rhs[i])
        return rows

    timed("Dot(row, x) <= b_i, 10000 x 10000, 1e6 nonzeros", sparse_rows)

    x2, y2 = nv.vars(100, 50, name=None), nv.vars(100, 50, name=None)
    timed("2 * x + y >= 0, 100 x 50", lambda: 2 * x2 + y2 >= 0)

    X, Y = nv.vars(n, n, name=None), nv.vars(n, n, name=None)
    timed("3 * x + 2 * y - 1, 1,000,000 elements", lambda: 3 * X + 2 * Y - 1)

    print(f"{'bytes per element, vars(100, 1000, name=None)':48s} "
          f"{bytes_per_element(lambda: nv.vars(100, 1000, name=None), 100_000):8.1f}")
    print(f"{'bytes per element, vars(100, 1000) (named)':48s} "
          f"{bytes_per_element(lambda: nv.vars(100, 1000), 100_000):8.1f}")
    xs = nv.vars(100, 1000, name=None)
    print(f"{'bytes per element, 2 * x + 1':48s} "
          f"{bytes_per_element(lambda: 2 * xs + 1, 100_000):8.1f}")
    print(f"{'bytes per element, x <= 1':48s} "
          f"{bytes_per_element(lambda: xs <= 1, 100_000):8.1f}")
    print(f"numpy {np.__version__}, Python {sys.version.split()[0]}")


if __name__ == "__main__":
    main()
