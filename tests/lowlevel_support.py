"""Shared helpers of the low-level interface tests: a small problem built through the modelling
layer, and a full picture of a problem (its written LP file, its object lists and index maps)
so that a refused call can be shown to have changed nothing."""

import nuvrel as nv


def small_problem():
    """x, y, z in [0, 10] (z integer); rows c1: x + 2y <= 8, c2: x - z >= -3; min -x - y."""
    x = nv.var(name="x", ub=10)
    y = nv.var(name="y", ub=10)
    z = nv.var(name="z", ub=10, vartype=nv.integer)
    c1 = nv.constraint(x + 2 * y <= 8, name="c1")
    c2 = nv.constraint(x - z >= -3, name="c2")
    p = nv.problem(x, y, z, c1, c2, -x - y, name="small")
    return p, (x, y, z), (c1, c2)


def in_step(p):
    """The object lists and maps agree with the library: one object per row and column, each
    at its own position. Returns the lists."""
    cols = p.getVariable(first=0) if p.attributes.columns else []
    rows = p.getConstraint(first=0) if p.attributes.rows else []
    assert len(cols) == p.attributes.columns
    assert len(rows) == p.attributes.rows
    assert [p.getIndex(v) for v in cols] == list(range(len(cols)))
    assert [p.getIndex(c) for c in rows] == list(range(len(rows)))
    return cols, rows


def written(p, path):
    """The problem as an MPS file: its columns list their entries in row order, so two
    problems with the same model give the same text whatever order they were built in."""
    p.write(str(path), "")
    return path.read_text()


def picture(p, tmp_path, name="picture.mps"):
    """Everything a refused call must leave alone: the written model and the objects."""
    path = tmp_path / name
    text = written(p, path)
    cols, rows = in_step(p)
    sets = p.getSOS(first=0) if p.attributes.sets else []
    return text, [id(v) for v in cols], [id(c) for c in rows], [id(s) for s in sets]
