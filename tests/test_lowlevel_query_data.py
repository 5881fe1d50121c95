"""Every instance of the shared data read, queried completely through the low-level queries,
reloaded from those answers with loadproblem and solved to the same optimum; the reloaded
problem answers every query as the original does."""

import pytest
from conftest import data_instances, read_problem, solve_status

import nuvrel as nv

pytestmark = pytest.mark.usefixtures("quiet")


def _positions(objects):
    """Object -> index, by identity (the queries hand back the problem's own objects)."""
    return {id(o): i for i, o in enumerate(objects)}


def query_all(p):
    """The whole model through the low-level queries, indices as plain ints."""
    nrows, ncols = p.attributes.rows, p.attributes.columns
    rowpos = _positions(p.getConstraint(first=0, last=nrows - 1)) if nrows else {}
    colpos = _positions(p.getVariable(first=0, last=ncols - 1)) if ncols else {}
    rows = lambda objs: [rowpos[id(o)] for o in objs]  # noqa: E731
    cols = lambda objs: [colpos[id(o)] for o in objs]  # noqa: E731
    d = {"sense": p.attributes.objective_sense, "constant": p.attributes.objective_constant}
    d["rowtype"] = p.getrowtype() if nrows else []
    d["rhs"], d["rng"] = [], []
    if nrows:
        p.getrhs(d["rhs"])
        p.getrhsrange(d["rng"])
    d["obj"] = p.getobj() if ncols else []
    d["lb"] = p.getlb(None) if ncols else []
    d["ub"] = p.getub(None) if ncols else []
    start, rowind, rowcoef = [], [], []
    if ncols:
        p.getcols(start, rowind, rowcoef)
    d["start"], d["rowind"], d["rowcoef"] = start, rows(rowind), rowcoef
    # The rows' view of the same matrix must agree with the columns'.
    if nrows:
        rstart, colind, colcoef = [], [], []
        p.getrows(rstart, colind, colcoef)
        by_rows = {(i, c): v for i in range(nrows)
                   for c, v in zip(cols(colind[rstart[i]:rstart[i + 1]]),
                                   colcoef[rstart[i]:rstart[i + 1]])}
        by_cols = {(r, j): v for j in range(ncols)
                   for r, v in zip(d["rowind"][start[j]:start[j + 1]],
                                   rowcoef[start[j]:start[j + 1]])}
        assert by_rows == by_cols
    q1, q2, qv = [], [], []
    if ncols:
        qstart, qcol, qval = [], [], []
        p.getmqobj(qstart, qcol, qval)
        for j in range(ncols):
            for k in range(qstart[j], qstart[j + 1]):
                q1.append(colpos[id(qcol[k])])
                q2.append(j)
                qv.append(qval[k])
    d["objq"] = (q1, q2, qv)
    qrows = rows(p.getqrows())
    counts, r1, r2, rv = [], [], [], []
    for r in qrows:
        a, b, v = [], [], []
        p.getqrowqmatrixtriplets(r, a, b, v)
        counts.append(len(v))
        r1 += cols(a)
        r2 += cols(b)
        rv += v
    d["qrows"] = (qrows, counts, r1, r2, rv)
    g = [[] for _ in range(7)]
    p.getglobal(*g)
    g[5] = cols(g[5])
    d["global"] = g
    d["colnames"] = p.getnamelist(2) if ncols else []
    d["rownames"] = p.getnamelist(1) if nrows else []
    return d


def reload(d):
    q = nv.problem()
    g = d["global"]
    q.loadproblem("reloaded", d["rowtype"], d["rhs"], d["rng"], d["obj"], d["start"], None,
                  d["rowind"], d["rowcoef"], d["lb"], d["ub"], *d["objq"], *d["qrows"],
                  g[0], g[1], g[2], g[3], g[4], g[5], g[6], d["colnames"], d["rownames"])
    q.chgobjsense(nv.minimize if d["sense"] > 0 else nv.maximize)
    if d["constant"]:
        q.chgobj([-1], [-d["constant"]])  # column -1 is the objective's constant, negated
    return q


def optimum(p):
    status = solve_status(p)
    return status, (p.getObjVal() if status in ("lp_optimal", "mip_optimal") else None)


@pytest.mark.parametrize("row", data_instances())
def test_instance_queried_reloaded_and_solved(row):
    p = read_problem(row["file"])
    before = query_all(p)
    q = reload(before)
    assert query_all(q) == before
    status, obj = optimum(q)
    assert optimum(p) == (status, obj)
    if row["status"] == "optimal":
        assert obj == pytest.approx(float(row["objective"]), rel=1e-6, abs=1e-6)
