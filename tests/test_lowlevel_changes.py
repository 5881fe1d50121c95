"""Changing a loaded model through the low-level methods: each change must give exactly the
model that the modelling layer builds when asked for the changed model directly (compared by
the written file). Refused changes are in the table of bad arguments of test_lowlevel_methods."""

import pytest
from lowlevel_support import in_step, picture, small_problem, written

pytestmark = pytest.mark.usefixtures("quiet")


def model(nv, obj=lambda x, y, z: -x - y, c1=lambda x, y, z: x + 2 * y <= 8,
          c2=lambda x, y, z: x - z >= -3, ytype=None, ybounds=(0, 10), sense=None):
    """The small problem of lowlevel_support with some of its parts replaced."""
    x = nv.var(name="x", ub=10)
    y = nv.var(name="y", lb=ybounds[0], ub=ybounds[1], vartype=ytype or nv.continuous)
    z = nv.var(name="z", ub=10, vartype=nv.integer)
    rows = [nv.constraint(c1(x, y, z), name="c1"), nv.constraint(c2(x, y, z), name="c2")]
    return nv.problem(x, y, z, rows, obj(x, y, z), name="small", sense=sense or nv.minimize)


CHANGES = [
    ("objective", lambda nv, p, x, y, z, c1, c2: p.chgobj([x, "z", -1], [3, 1, -2]),
     lambda nv: model(nv, obj=lambda x, y, z: 3 * x - y + z + 2)),
    ("rhs", lambda nv, p, x, y, z, c1, c2: p.chgrhs([c1, 1], [5, -1]),
     lambda nv: model(nv, c1=lambda x, y, z: x + 2 * y <= 5, c2=lambda x, y, z: x - z >= -1)),
    ("row_type", lambda nv, p, x, y, z, c1, c2: p.chgrowtype(["c2"], ["E"]),
     lambda nv: model(nv, c2=lambda x, y, z: x - z == -3)),
    ("range", lambda nv, p, x, y, z, c1, c2: p.chgrhsrange([c1], [2]),
     lambda nv: model(nv, c1=lambda x, y, z: nv.constraint(body=x + 2 * y, lb=6, ub=8))),
    ("bounds_and_type",
     lambda nv, p, x, y, z, c1, c2: (p.chgbounds([y, y], ["L", "U"], [-1, 3]),
                                     p.chgcoltype([y], ["I"])),
     lambda nv: model(nv, ytype=nv.integer, ybounds=(-1, 3))),
    ("coefficients",
     lambda nv, p, x, y, z, c1, c2: (p.chgmcoef([c1, c2], [y, "y"], [0, 4]),
                                     p.chgcoef("c1", z, 5)),
     lambda nv: model(nv, c1=lambda x, y, z: x + 5 * z <= 8,
                      c2=lambda x, y, z: x + 4 * y - z >= -3)),
    ("quadratic_objective",
     lambda nv, p, x, y, z, c1, c2: (p.chgmqobj([x, y], [y, y], [1, 2]), p.chgqobj(x, x, 4)),
     lambda nv: model(nv, obj=lambda x, y, z: -x - y + x * y + y * y + 2 * x * x)),
    ("quadratic_rows",
     lambda nv, p, x, y, z, c1, c2: (p.addqmatrix(c1, [x, x], [x, y], [1, 1]),
                                     p.chgqrowcoeff("c1", y, y, 3), p.addqmatrix(c2, [z], [z], [1]),
                                     p.delqmatrix(1)),
     lambda nv: model(nv, c1=lambda x, y, z: x + 2 * y + x * x + 2 * x * y + 3 * y * y <= 8)),
    ("sense", lambda nv, p, x, y, z, c1, c2: p.chgobjsense(nv.maximize),
     lambda nv: model(nv, sense=nv.maximize)),
    ("marks_change_nothing",
     lambda nv, p, x, y, z, c1, c2: (p.loaddelayedrows([c1]), p.loadmodelcuts(["c2"]),
                                     p.loadsecurevecs([c1], [z]), p.loadsecurevecs(None, [x])),
     lambda nv: model(nv)),
]


@pytest.mark.parametrize("label, change, expected", CHANGES, ids=[c[0] for c in CHANGES])
def test_changes_give_the_model_built_directly(nv, tmp_path, label, change, expected):
    p, (x, y, z), (c1, c2) = small_problem()
    change(nv, p, x, y, z, c1, c2)
    want = expected(nv)
    assert written(p, tmp_path / "got.mps") == written(want, tmp_path / "want.mps")
    in_step(p)


def test_marked_rows_still_bind(nv):
    p, (x, y, z), (c1, c2) = small_problem()
    p.solve()
    unmarked = p.getObjVal()
    p.loaddelayedrows([c1, c2])
    p.loadmodelcuts([c1])
    p.solve()
    assert p.getObjVal() == pytest.approx(unmarked)
    assert p.getSlack(c1) == pytest.approx(0.0, abs=1e-9)


def test_entities_are_added_and_deleted(nv):
    p, (x, y, z), (c1, c2) = small_problem()
    w = nv.var(name="w", vartype=nv.binary)
    p.addVariable(w)
    p.setindicators([c1], [w], [1])
    assert p.attributes.indicators == 1
    p.delindicators()
    assert p.attributes.indicators == 0
    # z = max(x, y, 2); y = f(x) through (0, 0), (10, 5)
    p.addgencons([nv.gencons_max], [z], [0], [x, y], [0], [2.0])
    p.addpwlcons([x], [y], [0], [0, 10], [0, 5])
    # general_constraints counts the piecewise-linear ones too
    assert (p.attributes.general_constraints, p.attributes.pwl_constraints) == (2, 1)
    p.solve()
    xv, yv, zv = p.getSolution([x, y, z])
    assert yv == pytest.approx(xv / 2) and zv == pytest.approx(max(xv, yv, 2.0))
    p.delgencons([0])
    p.delpwlcons([0])
    assert (p.attributes.general_constraints, p.attributes.pwl_constraints) == (0, 0)


def test_set_names_follow_into_the_set_objects(nv, tmp_path):
    p, (x, y, z), _ = small_problem()
    s = nv.sos([x, y], [1, 2], name="first")
    p.addSOS(s, nv.sos([y, z], [1, 2]))
    p.addsetnames(["a", "b"], 0, 1)
    assert [t.name for t in p.getSOS(first=0)] == ["a", "b"]
    assert s.name == "a"
    before = picture(p, tmp_path)
    for call, message in [
        (lambda: p.addsetnames("ab", 0, 1), "^Argument names must be a list of strings$"),
        (lambda: p.addsetnames(["a", 3], 0, 1), "^Element 1 of list is not a string: 3$"),
        (lambda: p.addsetnames(["a"], 0, 1),
         "^Size of list of strings does not match first and last arguments$"),
        (lambda: p.addsetnames(["a", "b"], 1, 2),
         r"^Arguments first and last must be such that 0 <= first <= last <= "
         r"problem.controls.sets - 1$"),
        (lambda: p.delindicators(1, 0),
         "^Arguments first and last must be such that first <= last and must be within the "
         "range of rows$"),
        (lambda: p.delindicators(0, 2), "must be within the range of rows"),
    ]:
        with pytest.raises(nv.InterfaceError, match=message):
            call()
        assert picture(p, tmp_path) == before
    with pytest.raises(nv.InterfaceError, match="^No rows in problem, cannot use delindicators"):
        nv.problem().delindicators()
