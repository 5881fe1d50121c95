"""Low-level queries of the model and of a solve's answers: what each returns on a small model
built through the modelling layer, the list-filling rules, ranges given as ints, names and
objects, and bad input."""

import pytest

import nuvrel as nv
from conftest import SANITIZED, solve_status

pytestmark = pytest.mark.usefixtures("quiet")

INF = 1e20


class Model:
    """A problem with its modelling objects as attributes; methods go to the problem."""

    def __init__(self, problem, **objects):
        self.__dict__.update(objects, problem=problem)

    def __getattr__(self, name):
        return getattr(self.problem, name)


@pytest.fixture
def m():
    """max 3x + 2y + z  s.t.  c1: x + y <= 4,  c2: x + 3y + 2z >= 2,  c3: 1 <= y + z <= 5,
    x in [0, 3], y integer in [0, 10], z in [0, inf)."""
    x = nv.var(lb=0, ub=3, name="x")
    y = nv.var(lb=0, ub=10, vartype=nv.integer, name="y")
    z = nv.var(name="z")
    c1 = nv.constraint(x + y <= 4, name="c1")
    c2 = nv.constraint(x + 3 * y + 2 * z >= 2, name="c2")
    c3 = nv.constraint(body=y + z, lb=1, ub=5, name="c3")
    p = nv.problem(x, y, z, c1, c2, c3, 3 * x + 2 * y + z, sense=nv.maximize)
    return Model(p, x=x, y=y, z=z, c1=c1, c2=c2, c3=c3)


def test_matrix_rows_and_columns_come_back_as_objects(m):
    start, ind, val = [], [], []
    assert m.getrows(start, ind, val, 100, 0, 2) is None
    assert start == [0, 2, 5, 7]
    rows = [dict(zip(ind[start[i]:start[i + 1]], val[start[i]:start[i + 1]])) for i in range(3)]
    assert rows == [{m.x: 1, m.y: 1}, {m.x: 1, m.y: 3, m.z: 2}, {m.y: 1, m.z: 1}]
    # Columns, with first and last given as a name and an object, by legacy-free keywords.
    start, ind, val = [], [], []
    m.getcols(start=start, rowind=ind, rowcoef=val, maxcoefs=10, first="y", last=m.z)
    assert start == [0, 3, 5]
    assert list(zip(ind, val)) == [(m.c1, 1), (m.c2, 3), (m.c3, 1), (m.c2, 2), (m.c3, 1)]
    # The legacy keywords of getrows name the same arguments.
    s2, i2, v2 = [], [], []
    m.getrows(mstart=s2, mclind=i2, dmatval=v2, maxcoefs=100, first=m.c2, last="c2")
    assert (s2, i2, v2) == ([0, 3], [m.x, m.y, m.z], [1.0, 3.0, 2.0])


def test_room_given_limits_entries_and_lists_end_at_that_length(m):
    start, ind, val = [9] * 6, ["old"] * 8, ["old"] * 8
    keep = ind
    m.getcols(start, ind, val, 2, 1, 1)  # column y has three entries
    assert ind is keep and ind == [m.c1, m.c2] and val == [1.0, 3.0]
    assert start == [0, 2]
    # Only the starts: no entries read.
    start = []
    m.getrows(start, None, None, 0, 1, 2)
    assert start == [0, 3, 5]


@pytest.mark.parametrize("method, expected", [
    ("getobj", [3.0, 2.0, 1.0]),
    ("getcoltype", ["C", "I", "C"]),
    ("getrowtype", ["L", "G", "R"]),
    ("getrhs", [4.0, 2.0, 5.0]),
    ("getrhsrange", [0.0, 0.0, 4.0]),
    ("getlb", [0.0, 0.0, 0.0]),
    ("getub", [3.0, 10.0, INF]),
])
def test_dense_queries_fill_a_list_or_return_one(m, method, expected):
    out = ["stale"] * 5
    assert getattr(m, method)(out) is None
    assert out == expected
    out = []
    getattr(m, method)(out, 1, 1)
    assert out == expected[1:2]
    if method not in ("getrhs", "getrhsrange"):
        assert getattr(m, method)(None) == expected


@pytest.mark.parametrize("call, message", [
    (lambda p: p.getrows([], [], [], 100, 2, 1), "Empty range of columns requested"),
    (lambda p: p.getcols([], [], [], 100, "z", "x"), "Empty range of columns requested"),
    (lambda p: p.getmqobj([], [], [], 100, 2, 0), "Empty range of columns requested"),
    (lambda p: p.getobj([], 2, 1), "Empty range of columns requested"),
    (lambda p: p.getcoltype([], 1, 0), "Empty or invalid range of columns requested"),
    (lambda p: p.getrowtype([], 2, 1), "Empty range of rows requested"),
    (lambda p: p.getrhs([], "c3", "c1"), "Empty range of rows requested"),
    (lambda p: p.getrhs(), "Must provide argument: rng or rhs"),
    (lambda p: p.getrhsrange(None), "Must provide argument: rng or rhs"),
    (lambda p: p.getgencons([], []), "Empty range of general constraints requested"),
    (lambda p: p.getpwlcons([], []), "Empty range of piecewise linear constraints requested"),
    (lambda p: p.getnamelist(4), "Argument type must be 1 (rows), 2 (columns), or 3 (sets)"),
    (lambda p: p.getnamelist(3), "No names for type chosen"),
    (lambda p: p.getnamelist(2, 1, 3), "Arguments first and last must be such that 0 <= first"
                                       " <= last and both must be within the number of rows,"
                                       " columns, or sets"),
    (lambda p: p.getlpsolval(3, None), "Invalid row or column index"),
    (lambda p: p.getmipsolval(None, -1), "Invalid row or column index"),
    (lambda p: p.getprimalray(), "Must provide argument to retrieve (primal or dual) ray"),
])
def test_messages_of_bad_ranges_and_missing_lists(m, call, message):
    with pytest.raises(nv.InterfaceError) as err:
        call(m.problem)
    assert str(err.value) == message


@pytest.mark.parametrize("call", [
    lambda p, out: p.getrows(out, [], [], 10),
    lambda p, out: p.getrows([], [], out, 10),
    lambda p, out: p.getlpsol([], out),
    lambda p, out: p.getbasis([], out),
    lambda p, out: p.getinfeas([], [], out),
    lambda p, out: p.getglobal([], out),
])
def test_output_that_is_not_a_list_fails_before_any_list_is_filled(m, call):
    m.solve()
    first = ["untouched"]
    with pytest.raises(nv.ModelError, match="Unexpected argument to conv_arr2obj"):
        call(m, (1, 2))
    assert first == ["untouched"]
    with pytest.raises(nv.ModelError, match="Unexpected argument to conv_arr2obj"):
        m.getrows(first, {}, [], 10)
    assert first == ["untouched"]


@pytest.mark.parametrize("first, last, error", [
    ("nosuchname", 1, nv.SolverError),      # the library's failed look-up
    (0, nv.var(), nv.ModelError),           # a variable of no problem
    (nv.constraint(nv.var() <= 1), 1, nv.ModelError),  # a constraint where columns are wanted
    (0, 7, nv.SolverError),                 # beyond the last column: the library refuses
])
def test_bad_first_or_last(m, first, last, error):
    out = ["untouched"]
    with pytest.raises(error):
        m.getobj(out, first, last)
    assert out == ["untouched"]


def test_huge_ranges_and_room_cost_nothing_before_the_library_answers(run_python):
    # Each call names a range or room of up to 2**31-1 entries on a problem of two columns:
    # the library's own refusal (or the small answer) must come back, not a MemoryError from
    # allocating for the range first. The child's address space is limited to make such an
    # allocation fail for certain (not under the address sanitizer, whose shadow memory needs
    # far more address space than that from the start).
    limit = "" if SANITIZED else "resource.setrlimit(resource.RLIMIT_AS, (2 << 30, 2 << 30))"
    proc = run_python(f"""
        import resource
        {limit}
        import nuvrel as nv
        nv.setOutputEnabled(False)
        B = 2**31 - 1
        x, y = nv.var(ub=10), nv.var(ub=5)
        p = nv.problem(x, y, x + y <= 3, -x - 2 * y)
        p.lpoptimize()
        q = nv.problem(x, y, nv.sin(x) + x * y <= 0.5, x)
        (row,), (col,) = q.getcoefs()
        calls = [lambda: p.getlb(None, 0, B), lambda: p.getub([], -B, 1),
                 lambda: p.getobj(None, 0, B), lambda: p.getcoltype(None, 1, B),
                 lambda: p.getindicators([], [], 0, B),
                 lambda: p.presolverow('L', [0, 1], [1.0, 1.0], 1.0, B, [], []),
                 lambda: p.getpivots(1, [], [], B), lambda: q.getcoefformula(row, col, 1, B)]
        for call in calls:
            try:
                result = call()
                print("answer", result if isinstance(result, tuple) else "")
            except Exception as e:
                print(type(e).__name__, str(e).split(":")[0])
    """)
    assert proc.stdout.splitlines() == [
        "SolverError NVRLgetlb", "SolverError NVRLgetub", "SolverError NVRLgetobj",
        "SolverError NVRLgetcoltype", "SolverError NVRLgetindicators", "answer (1.0, 0)",
        "answer (-3.0, 2)", "answer (1.0, [22, 10, 12, 0], [0.0, 0.0, 27.0, 0.0])"]


def test_solution_vectors_bases_and_single_values(m):
    x = ["untouched"]
    with pytest.raises(nv.SolverError):
        m.getmipsol(x)  # before any solve the library has nothing
    assert x == ["untouched"]
    m.solve()
    m.getmipsol(x)
    assert x == pytest.approx([3.0, 1.0, 4.0])
    slack = [None] * 9
    m.getmipsol(slack=slack)
    assert slack == pytest.approx([0.0, 2.0 - 14.0, 0.0])
    assert m.getmipsolval(m.z, "c2") == pytest.approx((4.0, -12.0))
    assert m.getmipsolval(None, m.c3) == (None, pytest.approx(0.0))
    assert m.getlpsol() is None


def test_lp_answers_basis_and_presolve_views_agree():
    x = nv.var(name="x")
    y = nv.var(name="y")
    r1 = nv.constraint(x + y <= 4, name="r1")
    r2 = nv.constraint(x + 3 * y <= 6, name="r2")
    r3 = nv.constraint(x <= 100, name="r3")
    p = nv.problem(x, y, r1, r2, r3, -x - 2 * y)
    p.solve()
    lp = [[], [], [], []]
    pre = [[], [], [], []]
    p.getlpsol(*lp)
    p.getpresolvesol(x=pre[0], slack=pre[1], dual=pre[2], dj=pre[3])  # legacy keywords
    assert lp == pre
    assert lp[0] == pytest.approx([3, 1]) and lp[2] == pytest.approx([-0.5, -0.5, 0])
    assert p.getlpsolval("y", r1) == pytest.approx((1, 0, -0.5, 0))
    rows, cols = [], []
    p.getbasis(rstatus=rows, cstatus=cols)
    assert rows[2] == 1 and rows[:2] != [1, 1] and cols == [1, 1]
    basis = (list(rows), cols)
    assert p.getbasisval(r3, y) == (1, 1)
    assert p.getpivotorder() == [r3, x, y]
    rowmap, colmap = [], []
    p.getpresolvemap(rowmap, colmap)
    assert (rowmap, colmap) == ([0, 1, 2], [0, 1])
    # A loaded basis is read back; one of the wrong length changes nothing.
    with pytest.raises(nv.ModelError, match="Mismatched lengths"):
        p.loadbasis([1, 1], [0, 0])
    p.getpresolvebasis(rows, cols)
    assert (rows, cols) == basis
    p.loadpresolvebasis([1, 1, 1], [0, 0])
    p.getbasis(rows, cols)
    assert (rows, cols) == ([1, 1, 1], [0, 0])


def test_infeasibilities_rays_and_truncation():
    x = nv.var(name="x")
    y = nv.var(name="y")
    a = nv.constraint(x + y <= 1, name="a")
    b = nv.constraint(x + y >= 3, name="b")
    p = nv.problem(x, y, a, b, x + y)
    p.controls.presolve = 0  # so that the simplex leaves its infeasible point
    assert solve_status(p) == "lp_infeas"
    assert p.hasdualray() and not p.hasprimalray()
    ray = ["old"] * 7
    p.getdualray(ray)
    assert len(ray) == 2 and ray[0] * ray[1] < 0  # the two rows combine into 0 <= -2
    ray = ["old"]
    p.getprimalray(ray)
    assert ray == []
    lists = [list(range(10)) for _ in range(4)]
    p.getinfeas(*lists)
    npv, nps = len(lists[0]), len(lists[1])
    assert npv + nps >= 1 and all(isinstance(c, nv.constraint) for c in lists[1])
    assert all(isinstance(v, nv.var) for v in lists[0])
    assert len(lists[2]) + len(lists[3]) == 0  # the point is dual feasible


def test_names_quadratics_sets_and_global_entities():
    x, y, z = (nv.var(name=n, ub=5) for n in "xyz")
    q = nv.constraint(x * x + 2 * x * y + y * y <= 4, name="q")
    lin = nv.constraint(x + z >= 1, name="lin")
    s = nv.sos([x, y, z], [1, 2, 3], type=1, name="s1")
    p = nv.problem(x, y, z, q, lin, s, x * x + 3 * y * z + z)
    assert p.getnamelist(2) == ["x", "y", "z"]
    assert p.getnamelist(1, 1, 1) == ["lin"]
    assert p.getqrows() == [q]
    assert p.getcoef("lin", z) == 1.0 and p.getcoef(q, z) == 0.0
    assert p.getqrowcoeff(q, x, y) == p.getqrowcoeff(q, "y", "x") == 1.0
    c1, c2, v = [], [], []
    p.getqrowqmatrixtriplets(q, c1, c2, v)
    assert sorted(zip(c1, c2, v), key=lambda t: (t[0].name, t[1].name)) == \
        [(x, x, 1.0), (x, y, 1.0), (y, y, 1.0)]
    start, ind, val = [], [], []
    p.getqrowqmatrix(q, start, ind, val, 10, 0, 2)
    assert start == [0, 1, 3, 3] and ind == [x, x, y] and val == [1.0, 1.0, 1.0]
    start, ind, val = [], [], []
    p.getmqobj(start, ind, val, 10)
    assert start == [0, 1, 1, 2] and ind == [x, y] and val == [2.0, 3.0]
    g = [[] for _ in range(7)]
    p.getglobal(*g)
    assert g == [[], [], [], ["1"], [0, 3], [x, y, z], [1.0, 2.0, 3.0]]
    colind, comp = ["old"], ["old"]
    p.getindicators(colind, comp)
    assert (colind, comp) == ([-1, -1], [0, 0])
