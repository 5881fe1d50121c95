"""Branching directives through the low-level methods: loaded, read back as objects, written
and read through a file, and honoured by the tree search."""

import pytest

import nuvrel as nv

pytestmark = pytest.mark.usefixtures("quiet")


def half_knapsack(n=9):
    """max sum x over n binaries with 2 sum x <= n, y = sum x an integer column added last:
    branching on y settles it at once, branching on the x first has to enumerate."""
    x = [nv.var(vartype=nv.binary, name=f"x{j}") for j in range(n)]
    y = nv.var(vartype=nv.integer, ub=n, name="y")
    p = nv.problem(x, y, nv.Sum(2 * v for v in x) <= n, y == nv.Sum(x), nv.Sum(x),
                   sense=nv.maximize)
    return p, x, y


def dirs(p):
    out = [], [], [], [], []
    p.getdirs(*out)
    return out


def test_directives_round_trip(tmp_path):
    p, x, y = half_knapsack(5)
    p.loaddirs([y, "x3", 0], [0, 7, 900], ["D", "U", "N"], [1.5, -1, 0.25], [2, -1, 3])
    expected = ([x[0], x[3], y], [900, 7, 0], ["N", "U", "D"], [0.25, -1.0, 1.5],
                [3.0, -1.0, 2.0])
    assert dirs(p) == expected
    f = str(tmp_path / "d.dir")
    p.writedirs(f)
    p.loaddirs([])
    stale = [1, 2]
    p.getdirs(stale, None, None, None, None)
    assert stale == []
    p.readdirs(f)
    assert dirs(p) == expected
    # Only the lists asked for are filled; None skips one.
    cols, prios = ["stale"] * 5, []
    p.getdirs(cols, prios, None, None, None)
    assert (cols, prios) == (expected[0], expected[1])
    # Directions alone, merged into what is there.
    p.loadbranchdirs([x[0], x[1]], [1, -1])
    got = dirs(p)
    assert got[0] == [x[0], x[1], x[3], y]
    assert got[2] == ["U", "D", "U", "D"]
    assert got[1] == [900, 500, 7, 0]
    p.loadpresolvedirs([x[2]], [3])
    assert dirs(p)[:3] == ([x[2]], [3], ["N"])


@pytest.mark.parametrize(
    "call, exc, message",
    [
        (lambda p, x, y: p.getdirs(None, None, None, None, None), nv.InterfaceError,
         "Must provide arguments \\(as lists\\) to getdirs"),
        (lambda p, x, y: p.loaddirs([y, y], [1, 2]), nv.SolverError, "more than one directive"),
        (lambda p, x, y: p.loaddirs([y], [1], ["Q"]), nv.SolverError, "direction 'Q'"),
        (lambda p, x, y: p.loaddirs([y], [1, 2]), nv.ModelError, "Mismatched lengths"),
        (lambda p, x, y: p.loaddirs([nv.var()], [1]), nv.ModelError, "not in problem"),
        (lambda p, x, y: p.loadbranchdirs([y]), nv.InterfaceError, "Must provide argument dir"),
    ],
)
def test_bad_directives_change_nothing(call, exc, message):
    p, x, y = half_knapsack(3)
    p.loaddirs([x[1]], [4], ["U"])
    before = dirs(p)
    with pytest.raises(exc, match=message):
        call(p, x, y)
    assert dirs(p) == before


def test_priorities_steer_the_tree_search():
    p, x, y = half_knapsack()
    p.controls.tree_search = 1
    p.controls.tree_cut_rounds = 0  # cover cuts close this knapsack at the root either way
    nodes = {}
    for prio in (0, 1000):
        p.loaddirs([y], [prio])
        p.mipoptimize()
        assert p.attributes.mip_objective == pytest.approx(4)
        nodes[prio] = p.attributes.nodes
    assert nodes[0] <= 3 < nodes[1000]
