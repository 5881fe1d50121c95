"""Loading whole problems from arrays and adding rows and columns: the library gets the model
the arrays describe, the problem gets a var per column and a constraint per row, and a refused
call leaves both as they were."""

import random

import numpy as np
import pytest
from conftest import same_objects
from lowlevel_support import in_step, picture, small_problem, written
from test_lowlevel_query_data import query_all

pytestmark = pytest.mark.usefixtures("quiet")


# One row, two columns: loadproblem's positional arguments after the name.
LOAD_ARGS = dict(rowtype=["L"], rhs=[4], rng=None, objcoef=[1, 2], start=[0, 1, 2], collen=None,
                 rowind=[0, 0], rowcoef=[1, 1], lb=[0, 0], ub=[1, 1])


def load_args(**changed):
    return tuple(dict(LOAD_ARGS, **changed).values())


def test_loadproblem_replaces_the_model_and_its_objects(nv):
    p, (x, y, z), (c1, c2) = small_problem()
    p.loadproblem("p", *load_args(ub=[10, 10]))
    cols, rows = in_step(p)
    assert len(cols) == 2 and len(rows) == 1
    assert not any(v is old for v in cols for old in (x, y, z))
    with pytest.raises(nv.ModelError, match="Variable x not in problem"):
        p.chgobj([x], [1])
    assert p.name() == "p"
    p.chgobjsense(nv.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(8.0)
    assert p.getSolution(cols) == pytest.approx([0.0, 4.0])


# Optional groups that are given in part. Positions past ub are keywords.
INCOMPLETE = [
    (dict(objqcol1=[0], objqcol2=[0]), "quadratic objective component"),
    (dict(objqcoef=[1.0]), "quadratic objective component"),
    (dict(qrowind=[0], nrowqcoefs=[1], rowqcol1=[0], rowqcol2=[0]), "quadratic rows component"),
    (dict(limit=[1.0]), "global entities"),
    (dict(entind=[0]), "global entities"),
    (dict(coltype=["I"]), "global entities"),
    (dict(settype=["1"], setstart=[0], setind=[0]), "SOS"),
]


# (loadproblem's arguments after the name, keywords, exception, message)
BAD_LOADS = [
    # Indices of loadproblem are plain integers, never names or objects.
    (load_args(rowind=["c1", 0]), {}, "SolverError", None),
    (load_args(rhs=[4, 5]), {}, "ModelError", "expected 1, found 2"),
    (load_args(start=[0, 1]), {}, "InterfaceError", "start needs 3 entries, found 2"),
    (load_args(start=[0, 1, 3]), {}, "InterfaceError", "outside the 2 entries"),
    (load_args(start=[0, 1], collen=[1, 2]), {}, "InterfaceError",
     "Column 1 has its coefficients outside"),
    (load_args(rowind=[0, 3]), {}, "SolverError", "row"),
    (load_args(), dict(colnames=["a"]), "ModelError", "^Incorrect length of variable name list$"),
    (load_args(), dict(coltype=["X"], entind=[0]), "ModelError", "^Incorrect variable type$"),
    (load_args(), dict(qrowind=[0], nrowqcoefs=[2], rowqcol1=[0], rowqcol2=[0], rowqcoef=[1.0]),
     "InterfaceError", "do not add up"),
    ((["L"], [4]), {}, "InterfaceError",
     "^Must provide arguments rng, objcoef, start, collen, rowind, rowcoef, lb, ub$"),
]


def _random_model(rng, ncols, nrows):
    """Columns (name, lb, ub, type), rows (name, type, rhs, range, {col: coef}), objective."""
    cols = []
    for j in range(ncols):
        kind = rng.choice("CCCIB")
        lb = float(rng.randint(-3, 0))
        ub = 1.0 if kind == "B" else float(rng.randint(1, 6))
        cols.append((f"x{j}", 0.0 if kind == "B" else lb, ub, kind))
    rows = []
    for i in range(nrows):
        coefs = {j: float(rng.choice([-3, -2, -1, 1, 2, 4]))
                 for j in rng.sample(range(ncols), rng.randint(1, ncols))}
        rows.append((f"r{i}", rng.choice("LGER"), float(rng.randint(-4, 8)),
                     float(rng.randint(1, 5)), coefs))
    obj = [float(rng.randint(-5, 5)) or 1.0 for _ in range(ncols)]
    return cols, rows, obj


def _by_modelling_layer(nv, cols, rows, obj):
    vtype = {"C": nv.continuous, "I": nv.integer, "B": nv.binary}
    xs = [nv.var(name=n, lb=lb, ub=ub, vartype=vtype[t]) for n, lb, ub, t in cols]
    p = nv.problem(name="rand")
    p.addVariable(xs)
    for name, t, rhs, rng_, coefs in rows:
        body = nv.Sum(c * xs[j] for j, c in coefs.items())
        lb, ub = {"L": (-nv.infinity, rhs), "G": (rhs, nv.infinity), "E": (rhs, rhs),
                  "R": (rhs - rng_, rhs)}[t]
        p.addConstraint(nv.constraint(body=body, lb=lb, ub=ub, name=name))
    p.setObjective(nv.Sum(c * x for c, x in zip(obj, xs)))
    return p


def _column_arrays(cols, rows):
    start, rowind, coef = [0], [], []
    for j in range(len(cols)):
        for i, row in enumerate(rows):
            if j in row[4]:
                rowind.append(i)
                coef.append(row[4][j])
        start.append(len(rowind))
    return start, rowind, coef


def _by_loadproblem(nv, cols, rows, obj, as_numpy):
    start, rowind, coef = _column_arrays(cols, rows)
    arr = (lambda a, t=None: np.array(a, dtype=t)) if as_numpy else (lambda a, t=None: a)
    ents = [j for j, c in enumerate(cols) if c[3] != "C"]
    p = nv.problem(name="other")
    p.loadproblem("rand", arr([r[1] for r in rows]), arr([r[2] for r in rows]),
                  arr([r[3] if r[1] == "R" else 0.0 for r in rows]), arr(obj),
                  arr(start, np.int64), None, arr(rowind, np.int32), arr(coef),
                  arr([c[1] for c in cols]), arr([c[2] for c in cols]),
                  coltype=[cols[j][3] for j in ents] or None, entind=ents or None,
                  colnames=[c[0] for c in cols], rownames=[r[0] for r in rows])
    return p


def _by_additions(nv, cols, rows, obj):
    start, rowind, coef = _column_arrays(cols, rows)
    p = nv.problem(name="rand")
    p.addcols(obj, [0] * (len(cols) + 1), [], [], [c[1] for c in cols], [c[2] for c in cols],
              names=[c[0] for c in cols], types=[c[3] for c in cols])
    rstart, colind, rcoef = [0], [], []
    for r in rows:
        colind += [f"x{j}" for j in r[4]]
        rcoef += list(r[4].values())
        rstart.append(len(colind))
    p.addrows([r[1] for r in rows], [r[2] for r in rows], rstart, colind, rcoef,
              range=[r[3] if r[1] == "R" else 0.0 for r in rows], names=[r[0] for r in rows])
    return p


@pytest.mark.parametrize("seed", range(6))
def test_three_ways_of_building_give_the_same_model_and_optimum(nv, tmp_path, seed):
    rng = random.Random(seed)
    cols, rows, obj = _random_model(rng, rng.randint(2, 7), rng.randint(1, 6))
    built = [_by_modelling_layer(nv, cols, rows, obj),
             _by_loadproblem(nv, cols, rows, obj, as_numpy=seed % 2 == 0),
             _by_additions(nv, cols, rows, obj)]
    texts, answers, outcomes = [], [], []
    for k, p in enumerate(built):
        texts.append(written(p, tmp_path / f"m{k}.mps"))
        answers.append(query_all(p))
        vars_, rows_ = in_step(p)
        assert [v.name for v in vars_] == [c[0] for c in cols]
        assert [c.name for c in rows_] == [r[0] for r in rows]
        p.solve()
        status = p.getProbStatus()
        outcomes.append((status, round(p.getObjVal(), 6) if status in (1, 6) else None))
    assert texts[1] == texts[0] and texts[2] == texts[0]
    assert answers[1] == answers[0] and answers[2] == answers[0]
    assert outcomes[1] == outcomes[0] and outcomes[2] == outcomes[0]


def _directly(nv, quad_obj=False, quad_row=False, entities=False, sets=False):
    """min -x - 2y (+ x^2 + y^2) with the row x + y <= 3 (+ x^2), x integer and y
    semi-continuous with threshold 1.5, an SOS1 over (x, y): through the modelling layer."""
    x = nv.var(name="x", lb=-5, ub=5, vartype=nv.integer if entities else nv.continuous)
    y = (nv.var(name="y", ub=4, threshold=1.5, vartype=nv.semicontinuous) if entities
         else nv.var(name="y", ub=4))
    row = x + y + (x * x if quad_row else 0) <= 3
    p = nv.problem(x, y, nv.constraint(row, name="r"), name="g")
    p.setObjective(-x - 2 * y + (x * x + y * y if quad_obj else 0))
    if sets:
        p.addSOS(nv.sos([x, y], [1, 2]))
    return p


def _loaded(nv, quad_obj=False, quad_row=False, entities=False, sets=False):
    extra = {}
    if quad_obj:
        extra.update(objqcol1=[0, 1], objqcol2=[0, 1], objqcoef=[2.0, 2.0])
    if quad_row:
        extra.update(qrowind=[0], nrowqcoefs=[1], rowqcol1=[0], rowqcol2=[0], rowqcoef=[1.0])
    if entities:
        extra.update(coltype=["I", "S"], entind=[0, 1], limit=[0.0, 1.5])
    if sets:
        extra.update(settype=["1"], setstart=[0, 2], setind=[0, 1], refval=[1.0, 2.0])
    p = nv.problem()
    p.loadproblem("g", ["L"], [3], None, [-1, -2], [0, 1, 2], None, [0, 0], [1, 1], [-5, 0],
                  [5, 4], colnames=["x", "y"], rownames=["r"], **extra)
    return p


@pytest.mark.parametrize("groups", [
    dict(), dict(quad_obj=True), dict(entities=True), dict(sets=True),
    dict(entities=True, sets=True), dict(quad_obj=True, entities=True),
    dict(quad_row=True), dict(quad_row=True, quad_obj=True), dict(quad_row=True, sets=True),
], ids=["lp", "qp", "global", "sets", "global_sets", "qglobal", "qcqp", "qcqp_qobj",
        "qcqp_global"])
def test_every_load_variant_gives_the_model_built_directly(nv, tmp_path, groups):
    p = _loaded(nv, **groups)
    assert written(p, tmp_path / "got.mps") == written(_directly(nv, **groups),
                                                       tmp_path / "want.mps")
    (x, y), _ = in_step(p)
    if groups.get("entities"):
        assert [x.vartype, y.vartype, y.threshold] == [nv.integer, nv.semicontinuous, 1.5]
    if groups.get("sets"):
        (s,) = p.getSOS(first=0)
        assert same_objects(s.indices, [x, y]) and s.weights == [1.0, 2.0]


def test_a_loaded_mip_solves_to_its_optimum(nv):
    """max x + 2y on x + y <= 3, x integer, y in {0} or [1.5, 4], at most one of them
    non-zero: y = 3 alone beats x = 3 alone."""
    p = _loaded(nv, entities=True, sets=True)
    p.chgobjsense(nv.maximize)
    p.chgobj([0, 1], [1, 2])
    p.solve()
    assert p.getObjVal() == pytest.approx(6.0)
    assert p.getSolution(p.getVariable(first=0)) == pytest.approx([0.0, 3.0])


def test_addrows_and_addcols_create_named_objects(nv):
    p, (x, y, z), (c1, c2) = small_problem()
    p.addcols([1.0, 0.0], [0, 2, 3], [c1, "c2", 0], [1.0, 1.0, 3.0], [0, 0], [2, 1],
              names=["u", "w"], types=["I", "B"])
    p.addrows(["G", "R"], [1, 5], [0, 1, 3], ["u", y, x], [1.0, 1.0, -1.0], range=[0, 2],
              names=["c3", "c4"])
    cols, rows = in_step(p)
    u, w = cols[3:]
    c3, c4 = rows[2:]
    assert [u.name, w.name, c3.name, c4.name] == ["u", "w", "c3", "c4"]
    assert [u.vartype, w.vartype] == [nv.integer, nv.binary]
    assert (c3.lb, c3.ub, c4.lb, c4.ub) == (1.0, nv.infinity, 3.0, 5.0)
    p.chgcoef(c4, u, 2.0)    # the new objects work as indices at once
    p.addrows([], [], None, None, None)    # nothing to add
    after_cols, after_rows = in_step(p)
    assert same_objects(after_cols, cols) and same_objects(after_rows, rows)


def test_repeated_names_load_and_the_first_holder_is_found(nv):
    # As in a file: the library keeps repeated names, and a look-up finds the first holder.
    p = nv.problem()
    p.loadproblem("rep", *load_args(rowtype=["L", "G"], rhs=[4, 1], rowind=[0, 1]),
                  colnames=["a", "a"], rownames=["r", "r"])
    cols, rows = in_step(p)
    assert [v.name for v in cols] == ["a", "a"] and [c.name for c in rows] == ["r", "r"]
    assert (p.getIndex(cols[1]), p.getIndex(rows[1])) == (1, 1)
    p.delVariable("a")
    assert [p.getIndex(v) for v in p.getVariable(first=0, last=0)] == [0]
    assert p.getVariable(0) is cols[1]


# (call on the small problem, exception, message)
BAD_ADDITIONS = [
    (lambda p: p.addrows(["L"], [1], [0, 1], [7], [1.0], names=["r"]), "SolverError",
     "not a valid column"),
    (lambda p: p.addrows(["L", "L"], [1, 1], [0, 1], [0], [1.0]), "ModelError",
     "expected 3, found 2"),
    # The library refuses the name after it has added the row.
    (lambda p: p.addrows(["L"], [1], [0, 1], [0], [1.0], names=["r" * 1025]), "SolverError",
     "1025 characters long"),
    (lambda p: p.addrows(["L"], [1], [0, 2], [0], [1.0]), "ModelError", "expected 2, found 1"),
    (lambda p: p.addrows(["Q"], [1], [0, 0], [], []), "SolverError", "rowtype"),
    (lambda p: p.addcols([1], [0, 1], [5], [1.0], [0], [1]), "SolverError", "row"),
    (lambda p: p.addcols([1], [0, 0], [], [], [0], [1], names=["x" * 1025]), "SolverError",
     "1025 characters long"),
    (lambda p: p.addcols([1], [0, 0], [], [], [0], [1], names=["a", "b"]), "ModelError",
     "^Incorrect length of variable name list$"),
    (lambda p: p.addcols([1], [0, 0], [], [], [0], [1], types=["X"]), "ModelError",
     "^Incorrect variable type$"),
    # The second column fails after the first one's object was made.
    (lambda p: p.addcols([1, 2], [0, 0, 0], [], [], [0, 0], [1, 1], types=["I", "X"]),
     "ModelError", "^Incorrect variable type$"),
    (lambda p: p.addcols([1], [0, 0], [], [], [0], [1], names=[3]), "ModelError",
     "^Erroneous name for variable 0$"),
]


def named_in_step(p):
    """in_step, and each object has the name of the row or column at its position."""
    cols, rows = in_step(p)
    assert [v.name for v in cols] == (p.getnamelist(2) if cols else [])
    assert [c.name for c in rows] == (p.getnamelist(1) if rows else [])
    return cols, rows


def test_random_edits_keep_objects_and_library_in_step(nv, tmp_path):
    rng = random.Random(11)
    p, _, _ = small_problem()
    serial = iter(range(10**6))
    for step in range(120):
        cols, rows = named_in_step(p)
        # Made after everything in the problem: the identifiers just above its last block.
        with pytest.raises(nv.ModelError, match="not in problem"):
            p.chgrhs([nv.var() <= 1], [0.0])
        with pytest.raises(nv.ModelError, match="not in problem"):
            p.chgobj([nv.var()], [1.0])
        action = "load" if step == 60 else rng.choice(
            ["addrows", "addcols", "delrow", "delcol", "chg", "bad", "model"])
        if action == "addrows" and cols:
            k = rng.randint(0, 3)
            picks = [rng.choice(cols) for _ in range(k)]
            members = list({id(v): v for v in picks}.values())
            p.addrows(["L"] * k, [1.0] * k, [0] * k + [len(members)] if k else None,
                      members, [1.0] * len(members),
                      names=[f"r{next(serial)}" for _ in range(k)])
        elif action == "addcols":
            k = rng.randint(0, 3)
            p.addcols([0.5] * k, [0] * (k + 1), [], [], [0] * k, [3] * k,
                      names=[f"v{next(serial)}" for _ in range(k)])
        elif action == "delrow" and rows:
            doomed = rng.sample(rows, min(len(rows), 2))
            if step % 2:
                p.delrows([doomed[0]] + [p.getIndex(c) for c in doomed[1:]])
            else:
                p.delConstraint(doomed)
            with pytest.raises(nv.ModelError, match="not in problem"):
                p.chgrhs(doomed[:1], [0.0])
        elif action == "delcol" and cols:
            doomed = rng.choice(cols)
            if step % 2:
                p.delcols([doomed.name])
            else:
                p.delVariable(doomed)
        elif action == "chg" and cols and rows:
            p.chgcoef(rng.choice(rows), rng.choice(cols), float(rng.randint(1, 4)))
            p.chgbounds([rng.choice(cols)], ["U"], [float(rng.randint(1, 9))])
        elif action == "bad":
            before = picture(p, tmp_path)
            with pytest.raises((nv.SolverError, nv.ModelError)):
                p.addrows(["L"], [1.0], [0, 1], [len(cols) + 5], [1.0])
            assert picture(p, tmp_path) == before
        elif action == "model" and cols:
            # Objects entered one by one between the blocks of additions and loads.
            v = nv.var(name=f"v{next(serial)}")
            p.addVariable(v, nv.var())  # a given name and a default one
            p.addConstraint(nv.constraint(v + rng.choice(cols) <= 2, name=f"r{next(serial)}"),
                            v <= 3)  # and one with its default name
        elif action == "load":
            p.loadproblem("again", ["G"], [1], None, [1.0], [0, 1], None, [0], [1.0], [0], [4],
                          colnames=[f"v{next(serial)}"], rownames=[f"r{next(serial)}"])
    named_in_step(p)
    p.solve()


def test_legacy_keyword_names_build_the_same_model(nv, tmp_path):
    current, legacy = nv.problem(name="k"), nv.problem(name="k")
    current.loadproblem(probname="k", rowtype=["L"], rhs=[4], rng=None, objcoef=[1, 2],
                        start=[0, 1, 2], collen=None, rowind=[0, 0], rowcoef=[1, 1], lb=[0, 0],
                        ub=[5, 5], coltype=["I"], entind=[1])
    legacy.loadproblem(probname="k", qrtypes=["L"], rhs=[4], range=None, obj=[1, 2],
                       mstart=[0, 1, 2], mnel=None, mrwind=[0, 0], dmatval=[1, 1], dlb=[0, 0],
                       dub=[5, 5], qgtype=["I"], mgcols=[1])
    current.addrows(rowtype=["G"], rhs=[1], start=[0, 1], colind=[0], rowcoef=[2.0])
    legacy.addrows(qrtype=["G"], rhs=[1], mstart=[0, 1], mclind=[0], dmatval=[2.0])
    current.addcols(objcoef=[3], start=[0, 1], rowind=[1], rowcoef=[1.0], lb=[0], ub=[1])
    legacy.addcols(objx=[3], mstart=[0, 1], mrwind=[1], dmatval=[1.0], bdl=[0], bdu=[1])
    assert written(current, tmp_path / "a.mps") == written(legacy, tmp_path / "b.mps")
    assert len(in_step(legacy)[0]) == 3


# ----- numpy arrays in every memory layout ----------------------------------------------------

def _laid_out(values, dtype, layout):
    """values as a one-dimensional numpy array of dtype in the given memory layout."""
    a = np.array(values, dtype=dtype)
    if layout == "swapped":
        return a.astype(a.dtype.newbyteorder())
    if layout == "strided":
        return np.repeat(a, 2)[::2]
    if layout == "reversed":
        return a[::-1].copy()[::-1]
    if layout == "readonly":
        a.flags.writeable = False
        return a
    if layout == "unaligned":
        return np.frombuffer(b"\0" + a.tobytes(), dtype=a.dtype, offset=1)
    return a


LAYOUTS = ["native", "swapped", "strided", "reversed", "readonly", "unaligned"]
# Rows r0: x0 + 2x2 <= 4, r1: 3x0 - x1 >= -1, r2: 1 <= x1 + x2 <= 5; min x0 - 2x1 + 0.5x2.
LOAD = dict(rowtype=["L", "G", "R"], rhs=[4.0, -1.0, 5.0], rng=[0.0, 0.0, 4.0],
            objcoef=[1.0, -2.0, 0.5], start=[0, 2, 4, 6], rowind=[0, 1, 1, 2, 0, 2],
            rowcoef=[1.0, 3.0, -1.0, 1.0, 2.0, 1.0], lb=[0.0, -1.0, 0.0], ub=[3.0, 2.0, 1e20])
LOAD_TYPES = dict(rhs=np.float64, rng=np.float64, objcoef=np.float64, start=np.int64,
                  rowind=np.int32, rowcoef=np.float64, lb=np.float64, ub=np.float64)


def _load(p, arrays):
    p.loadproblem("lay", arrays["rowtype"], arrays["rhs"], arrays["rng"], arrays["objcoef"],
                  arrays["start"], None, arrays["rowind"], arrays["rowcoef"], arrays["lb"],
                  arrays["ub"])


@pytest.mark.parametrize("layout", LAYOUTS)
@pytest.mark.parametrize("rowtype_dtype", ["U1", "S1"])
def test_loadproblem_reads_numpy_arrays_in_any_layout(nv, tmp_path, layout, rowtype_dtype):
    want = nv.problem()
    _load(want, LOAD)
    arrays = {k: _laid_out(v, LOAD_TYPES.get(k, rowtype_dtype), layout) for k, v in LOAD.items()}
    kept = {k: a.copy() for k, a in arrays.items()}
    got = nv.problem()
    _load(got, arrays)
    assert written(got, tmp_path / "got.mps") == written(want, tmp_path / "want.mps")
    assert all(np.array_equal(arrays[k], kept[k]) for k in arrays)    # read, never written
    # The library keeps its own copy: the caller's arrays are theirs again at once.
    for a in arrays.values():
        if a.flags.writeable:
            a[...] = a[0]
    assert written(got, tmp_path / "after.mps") == written(want, tmp_path / "want.mps")
    got.solve()
    assert got.getObjVal() == pytest.approx(-11 / 3)  # x = (1/3, 2, 0)


@pytest.mark.parametrize("layout", LAYOUTS)
def test_addrows_and_addcols_read_numpy_arrays_in_any_layout(nv, tmp_path, layout):
    built = []
    for lay in (lambda v, t: v), (lambda v, t: _laid_out(v, t, layout)):
        p, _, _ = small_problem()
        p.addrows(lay(["G", "R"], "S1"), lay([1.0, 5.0], np.float64), lay([0, 1, 3], np.int64),
                  lay([2, 0, 1], np.int32), lay([1.0, -1.0, 2.5], np.float64),
                  range=lay([0.0, 2.0], np.float64))
        p.addcols(lay([1.0, 0.0], np.float64), lay([0, 2, 3], np.int64),
                  lay([0, 3, 1], np.int32), lay([1.0, 1.0, 3.0], np.float64),
                  lay([0.0, -2.0], np.float64), lay([2.0, 1.0], np.float64))
        in_step(p)
        built.append(written(p, tmp_path / f"{len(built)}.mps"))
    assert built[1] == built[0]


@pytest.mark.parametrize("name, dtype", [
    ("rhs", np.int32), ("rhs", np.float32), ("lb", np.bool_), ("rowcoef", np.int64),
    ("start", np.int32), ("rowind", np.int64), ("rowind", object),
])
def test_other_numeric_dtypes_are_converted(nv, tmp_path, name, dtype):
    want, got = nv.problem(), nv.problem()
    values = dict(LOAD, lb=[0.0, 1.0, 0.0], rowcoef=[1, 3, -1, 1, 2, 1])
    _load(want, values)
    _load(got, dict(values, **{name: np.array(values[name], dtype=dtype)}))
    assert written(got, tmp_path / "got.mps") == written(want, tmp_path / "want.mps")


@pytest.mark.parametrize("call, exc, message", [
    # The matrix arrays are nonsense: the check of an optional group given in part comes first.
    *[(lambda p, extra=extra: p.loadproblem("q", ["L"], [1], None, [1.0], "nonsense", None, [0],
                                            [1.0], [0], [1], **extra),
       "InterfaceError", f"^Incomplete list of parameters specified for the {group}$")
      for extra, group in INCOMPLETE],
    *[(lambda p, args=args, kwargs=kwargs: p.loadproblem("bad", *args, **kwargs), exc, message)
      for args, kwargs, exc, message in BAD_LOADS],
    *BAD_ADDITIONS,
    # Indices take integer objects only: floats, narrow and unsigned integers are refused, as
    # each of their items would be.
    *[(lambda p, name=name, dtype=dtype: _load(p, dict(LOAD, **{name: np.array(LOAD[name],
                                                                               dtype=dtype)})),
       "SolverError", None)
      for name, dtype in [("rowind", np.float64), ("rowind", np.int16), ("rowind", np.uint32),
                          ("start", np.float64), ("start", np.uint64)]],
])
def test_refused_loads_and_additions_change_nothing(nv, tmp_path, collect_cycles, call, exc,
                                                    message):
    p, _, _ = small_problem()
    before = picture(p, tmp_path)
    with pytest.raises(getattr(nv, exc), match=message):
        call(p)
    assert picture(p, tmp_path) == before
