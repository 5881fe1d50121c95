// Low-level queries of the answers of a solve: solution vectors, single values, bases,
// infeasibilities, rays and the pivot order; and loading a starting point or a basis.
#include "lowlevel/queries_solution.h"

#include "lowlevel/query_support.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/methods.h"

namespace {

using query::done;
using query::wanted;

// --- solution vectors ---------------------------------------------------------------------

using SolReader = int (*)(NVRLprob, double *, double *, double *, double *);

// The four solution vectors of one library reader into the lists given (x and djs: one per
// column, slack and duals: one per row). Lists not given are not read.
int read_solution(problem_s *p, SolReader reader, int *status, PyObject *x, PyObject *slack,
                  PyObject *duals, PyObject *djs) {
  if (query::outputs_are_lists({x, slack, duals, djs}) != 0) return -1;
  int64_t nrows = 0, ncols = 0;
  if (query::rows(p, &nrows) != 0 || query::cols(p, &ncols) != 0) return -1;
  AllocBuffer<double> bx, bslack, bduals, bdjs;
  if (query::room_for(x, bx, ncols) != 0 || query::room_for(slack, bslack, nrows) != 0 ||
      query::room_for(duals, bduals, nrows) != 0 || query::room_for(djs, bdjs, ncols) != 0)
    return -1;
  int rc;
  if (status != nullptr)
    rc = NVRLgetlastbarsol(p->prob, bx.data(), bslack.data(), bduals.data(), bdjs.data(), status);
  else
    rc = reader(p->prob, bx.data(), bslack.data(), bduals.data(), bdjs.data());
  if (rc != 0) return nvo_library_error(p);
  if (query::fill_in_place(p, ncols, bx.data(), x, CONV_DOUBLE) != 0 ||
      query::fill_in_place(p, nrows, bslack.data(), slack, CONV_DOUBLE) != 0 ||
      query::fill_in_place(p, nrows, bduals.data(), duals, CONV_DOUBLE) != 0 ||
      query::fill_in_place(p, ncols, bdjs.data(), djs, CONV_DOUBLE) != 0)
    return -1;
  return 0;
}

const char *kw_sol[] = {"x", "slack", "duals", "djs", nullptr};
const char *kw_sol_alt[] = {"x", "slack", "dual", "dj", nullptr};

PyObject *solution_method(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                          SolReader reader, bool barrier) {
  problem_s *p = problem_ready_for(self, name);
  if (p == nullptr) return nullptr;
  PyObject *x = nullptr, *slack = nullptr, *duals = nullptr, *djs = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("|OOOO", name), kw_sol, kw_sol_alt, &x,
                                 &slack, &duals, &djs))
    return nullptr;
  int status = 0;
  if (read_solution(p, reader, barrier ? &status : nullptr, x, slack, duals, djs) != 0)
    return done(p, nullptr);
  return barrier ? PyLong_FromLong(status) : query::none();
}

PyObject *NVRL_PY_getlpsol(PyObject *self, PyObject *args, PyObject *kwargs) {
  return solution_method(self, args, kwargs, "getlpsol", NVRLgetlpsol, false);
}

PyObject *NVRL_PY_getpresolvesol(PyObject *self, PyObject *args, PyObject *kwargs) {
  return solution_method(self, args, kwargs, "getpresolvesol", NVRLgetpresolvesol, false);
}

PyObject *NVRL_PY_getlastbarsol(PyObject *self, PyObject *args, PyObject *kwargs) {
  return solution_method(self, args, kwargs, "getlastbarsol", nullptr, true);
}

int getmipsol4(NVRLprob prob, double *x, double *slack, double *, double *) {
  return NVRLgetmipsol(prob, x, slack);
}

PyObject *NVRL_PY_getmipsol(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"x", "slack", nullptr};
  PyObject *x = nullptr, *slack = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OO:getmipsol", kw, nullptr, &x, &slack))
    return nullptr;
  if (read_solution(p, getmipsol4, nullptr, x, slack, nullptr, nullptr) != 0)
    return done(p, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_loadlpsol(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  PyObject *x = nullptr, *slack = nullptr, *duals = nullptr, *djs = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOOO:loadlpsol", kw_sol, nullptr, &x, &slack,
                                 &duals, &djs))
    return nullptr;
  int64_t nrows = 0, ncols = 0;
  if (query::rows(p, &nrows) != 0 || query::cols(p, &ncols) != 0) return nullptr;
  // Each vector must cover all columns (rows): the counts are the lengths required.
  int64_t nx = ncols, nslack = nrows, nduals = nrows, ndjs = ncols;
  ConvArray<double> ax, aslack, aduals, adjs;
  if (ax.convert(p, &nx, x, CONV_DOUBLE) != 0 ||
      aslack.convert(p, &nslack, slack, CONV_DOUBLE) != 0 ||
      aduals.convert(p, &nduals, duals, CONV_DOUBLE) != 0 ||
      adjs.convert(p, &ndjs, djs, CONV_DOUBLE) != 0)
    return done(p, nullptr);
  int status = 0;
  if (NVRLloadlpsol(p->prob, ax.get(), aslack.get(), aduals.get(), adjs.get(), &status) != 0)
    return done(p, nullptr);
  Py_RETURN_NONE;
}

// --- infeasibilities ----------------------------------------------------------------------

using InfeasReader = int (*)(NVRLprob, int *, int *, int *, int *, int *, int *, int *, int *);

PyObject *infeas_method(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                        InfeasReader reader) {
  problem_s *p = problem_ready_for(self, name);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"x", "slack", "duals", "djs", nullptr};
  PyObject *x = nullptr, *slack = nullptr, *duals = nullptr, *djs = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("|OOOO", name), kw, nullptr, &x,
                                 &slack, &duals, &djs))
    return nullptr;
  if (query::outputs_are_lists({x, slack, duals, djs}) != 0) return nullptr;
  int npv = 0, nps = 0, nds = 0, ndv = 0;
  if (reader(p->prob, &npv, &nps, &nds, &ndv, nullptr, nullptr, nullptr, nullptr) != 0)
    return done(p, nullptr);
  AllocBuffer<int> mx, mslack, mdual, mdj;
  if (query::room_for(x, mx, npv) != 0 || query::room_for(slack, mslack, nps) != 0 ||
      query::room_for(duals, mdual, nds) != 0 || query::room_for(djs, mdj, ndv) != 0)
    return nullptr;
  if (reader(p->prob, &npv, &nps, &nds, &ndv, mx.data(), mslack.data(), mdual.data(),
             mdj.data()) != 0)
    return done(p, nullptr);
  if (query::fill_in_place(p, npv, mx.data(), x, CONV_COL) != 0 ||
      query::fill_in_place(p, nps, mslack.data(), slack, CONV_ROW) != 0 ||
      query::fill_in_place(p, nds, mdual.data(), duals, CONV_ROW) != 0 ||
      query::fill_in_place(p, ndv, mdj.data(), djs, CONV_COL) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_getinfeas(PyObject *self, PyObject *args, PyObject *kwargs) {
  return infeas_method(self, args, kwargs, "getinfeas", NVRLgetinfeas);
}

PyObject *NVRL_PY_getscaledinfeas(PyObject *self, PyObject *args, PyObject *kwargs) {
  return infeas_method(self, args, kwargs, "getscaledinfeas", NVRLgetscaledinfeas);
}

// --- bases ----------------------------------------------------------------------------------

const char *kw_basis[] = {"rowstat", "colstat", nullptr};
const char *kw_basis_alt[] = {"rstatus", "cstatus", nullptr};

// One integer per row and one per column (a basis, the presolve map) into two optional lists.
PyObject *get_row_col_ints(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                           const char **kw, const char **kw_alt,
                           int (*reader)(NVRLprob, int *, int *)) {
  problem_s *p = problem_ready_for(self, name);
  if (p == nullptr) return nullptr;
  PyObject *rowstat = nullptr, *colstat = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("|OO", name), kw, kw_alt, &rowstat,
                                 &colstat))
    return nullptr;
  if (query::outputs_are_lists({rowstat, colstat}) != 0) return nullptr;
  int64_t nrows = 0, ncols = 0;
  if (query::rows(p, &nrows) != 0 || query::cols(p, &ncols) != 0) return nullptr;
  AllocBuffer<int> rs, cs;
  if (query::room_for(rowstat, rs, nrows) != 0 || query::room_for(colstat, cs, ncols) != 0)
    return nullptr;
  if (reader(p->prob, rs.data(), cs.data()) != 0) return done(p, nullptr);
  if (query::fill_in_place(p, nrows, rs.data(), rowstat, CONV_INT) != 0 ||
      query::fill_in_place(p, ncols, cs.data(), colstat, CONV_INT) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

PyObject *load_basis(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                     int (*loader)(NVRLprob, const int *, const int *)) {
  problem_s *p = problem_ready_for(self, name);
  if (p == nullptr) return nullptr;
  PyObject *rowstat = nullptr, *colstat = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("OO", name), kw_basis, kw_basis_alt,
                                 &rowstat, &colstat))
    return nullptr;
  int64_t nrows = 0, ncols = 0;
  if (query::rows(p, &nrows) != 0 || query::cols(p, &ncols) != 0) return nullptr;
  ConvArray<int> rs, cs;
  if (rs.convert(p, &nrows, rowstat, CONV_INT) != 0 ||
      cs.convert(p, &ncols, colstat, CONV_INT) != 0)
    return done(p, nullptr);
  if (loader(p->prob, rs.get(), cs.get()) != 0) return done(p, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_getbasis(PyObject *self, PyObject *args, PyObject *kwargs) {
  return get_row_col_ints(self, args, kwargs, "getbasis", kw_basis, kw_basis_alt, NVRLgetbasis);
}
PyObject *NVRL_PY_getpresolvebasis(PyObject *self, PyObject *args, PyObject *kwargs) {
  return get_row_col_ints(self, args, kwargs, "getpresolvebasis", kw_basis, kw_basis_alt,
                          NVRLgetpresolvebasis);
}
PyObject *NVRL_PY_loadbasis(PyObject *self, PyObject *args, PyObject *kwargs) {
  return load_basis(self, args, kwargs, "loadbasis", NVRLloadbasis);
}
PyObject *NVRL_PY_loadpresolvebasis(PyObject *self, PyObject *args, PyObject *kwargs) {
  return load_basis(self, args, kwargs, "loadpresolvebasis", NVRLloadpresolvebasis);
}

// --- single values ------------------------------------------------------------------------

// A column and a row given as ints, names or objects, checked against the problem's counts;
// -1 for an argument that is None (not fetched).
int col_and_row(problem_s *p, PyObject *col, PyObject *row, int *c, int *r) {
  *c = *r = -1;
  if (wanted(col) && query::index(p, col, CONV_COL, c) != 0) return -1;
  if (wanted(row) && query::index(p, row, CONV_ROW, r) != 0) return -1;
  int64_t ncols = 0, nrows = 0;
  if (query::count(p, NVRL_ATTR_ORIGINAL_COLUMNS, &ncols) != 0 ||
      query::count(p, NVRL_ATTR_ORIGINAL_ROWS, &nrows) != 0)
    return -1;
  if ((wanted(col) && (*c < 0 || *c >= ncols)) || (wanted(row) && (*r < 0 || *r >= nrows)))
    return query::interface_error("Invalid row or column index");
  return 0;
}

// A value that was fetched as a float, None otherwise.
PyObject *value_or_none(bool fetched, double v) {
  if (fetched) return PyFloat_FromDouble(v);
  Py_RETURN_NONE;
}

const char *kw_colrow[] = {"col", "row", nullptr};
const char *kw_colrow_alt[] = {"column", "row", nullptr};

// The ready problem and the (col, row) of a solution value query, each index -1 where not
// given; null with an exception set.
problem_s *solval_args(PyObject *self, PyObject *args, PyObject *kwargs, const char *name, int *c,
                       int *r) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  PyObject *col = nullptr, *row = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("OO", name), kw_colrow, kw_colrow_alt,
                                 &col, &row) ||
      col_and_row(p, col, row, c, r) != 0)
    return nullptr;
  return p;
}

PyObject *NVRL_PY_getlpsolval(PyObject *self, PyObject *args, PyObject *kwargs) {
  int c = -1, r = -1;
  problem_s *p = solval_args(self, args, kwargs, "getlpsolval", &c, &r);
  if (p == nullptr) return nullptr;
  double x = 0, slack = 0, dual = 0, dj = 0;
  if (NVRLgetlpsolval(p->prob, c, r, &x, &slack, &dual, &dj) != 0) return done(p, nullptr);
  return Py_BuildValue("(NNNN)", value_or_none(c >= 0, x), value_or_none(r >= 0, slack),
                       value_or_none(r >= 0, dual), value_or_none(c >= 0, dj));
}

PyObject *NVRL_PY_getmipsolval(PyObject *self, PyObject *args, PyObject *kwargs) {
  int c = -1, r = -1;
  problem_s *p = solval_args(self, args, kwargs, "getmipsolval", &c, &r);
  if (p == nullptr) return nullptr;
  double x = 0, slack = 0;
  if (NVRLgetmipsolval(p->prob, c, r, &x, &slack) != 0) return done(p, nullptr);
  return Py_BuildValue("(NN)", value_or_none(c >= 0, x), value_or_none(r >= 0, slack));
}

PyObject *NVRL_PY_getbasisval(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"row", "col", nullptr};
  static const char *kw_alt[] = {"row", "column", nullptr};
  PyObject *row = nullptr, *col = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OO:getbasisval", kw, kw_alt, &row, &col))
    return nullptr;
  int r = -1, c = -1;
  if ((wanted(row) && query::index(p, row, CONV_ROW, &r) != 0) ||
      (wanted(col) && query::index(p, col, CONV_COL, &c) != 0))
    return nullptr;
  int rowstat = 0, colstat = 0;
  if (NVRLgetbasisval(p->prob, r, c, &rowstat, &colstat) != 0) return done(p, nullptr);
  return Py_BuildValue("(ii)", rowstat, colstat);
}

// --- pivot order, presolve map, rays --------------------------------------------------------

PyObject *NVRL_PY_getpivotorder(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"pivotorder", nullptr};
  PyObject *out = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|O:getpivotorder", kw, nullptr, &out))
    return nullptr;
  if (query::outputs_are_lists({out}) != 0) return nullptr;
  int64_t nrows = 0;
  if (query::rows(p, &nrows) != 0) return nullptr;
  AllocBuffer<int> pivots;
  if (pivots.allocate(static_cast<size_t>(nrows)) != 0) return nullptr;
  if (NVRLgetpivotorder(p->prob, pivots.data()) != 0) return done(p, nullptr);
  return query::filled_or_new(p, nrows, pivots.data(), out, CONV_ROWCOL);
}

PyObject *NVRL_PY_getpresolvemap(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"rowmap", "colmap", nullptr};
  return get_row_col_ints(self, args, kwargs, "getpresolvemap", kw, nullptr, NVRLgetpresolvemap);
}

PyObject *NVRL_PY_getunbvec(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int seq = -1;
  if (NVRLgetunbvec(p->prob, &seq) != 0) return done(p, nullptr);
  return PyLong_FromLong(seq);
}

using RayReader = int (*)(NVRLprob, double *, int *);

// The ray (one entry per column for a primal ray, per row for a dual one) into the caller's
// list; a problem without such a ray leaves the list empty.
PyObject *get_ray(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                  RayReader reader, int attrib) {
  problem_s *p = problem_ready_for(self, name);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"ray", nullptr};
  PyObject *out = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("|O", name), kw, nullptr, &out))
    return nullptr;
  if (!wanted(out))
    return query::interface_error("Must provide argument to retrieve (primal or dual) ray");
  if (query::outputs_are_lists({out}) != 0) return nullptr;
  int64_t n = 0;
  if (query::count(p, attrib, &n) != 0) return nullptr;
  AllocBuffer<double> ray;
  if (ray.allocate(static_cast<size_t>(n)) != 0) return nullptr;
  int has = 0;
  if (reader(p->prob, ray.data(), &has) != 0) return done(p, nullptr);
  if (query::fill_in_place(p, has ? n : 0, ray.data(), out, CONV_DOUBLE) != 0) return nullptr;
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_getprimalray(PyObject *self, PyObject *args, PyObject *kwargs) {
  return get_ray(self, args, kwargs, "getprimalray", NVRLgetprimalray, NVRL_ATTR_COLUMNS);
}
PyObject *NVRL_PY_getdualray(PyObject *self, PyObject *args, PyObject *kwargs) {
  return get_ray(self, args, kwargs, "getdualray", NVRLgetdualray, NVRL_ATTR_ROWS);
}

PyObject *has_ray(PyObject *self, const char *name, RayReader reader) {
  problem_s *p = problem_ready_for(self, name);
  if (p == nullptr) return nullptr;
  int has = 0;
  if (reader(p->prob, nullptr, &has) != 0) return done(p, nullptr);
  return PyBool_FromLong(has);
}

PyObject *NVRL_PY_hasprimalray(PyObject *self, PyObject *) {
  return has_ray(self, "hasprimalray", NVRLgetprimalray);
}
PyObject *NVRL_PY_hasdualray(PyObject *self, PyObject *) {
  return has_ray(self, "hasdualray", NVRLgetdualray);
}

#define KW(name, doc) {#name, NVO_KW_METHOD(NVRL_PY_##name), METH_VARARGS | METH_KEYWORDS, doc}
#define NOARGS(name, doc) {#name, NVRL_PY_##name, METH_NOARGS, doc}

}  // namespace

PyMethodDef problem_methods_queries_solution[] = {
    KW(getlpsol, "getlpsol(x=None, slack=None, duals=None, djs=None)\n\n"
                 "Fills the lists given with the last LP solution: values and reduced costs\n"
                 "(one per column), slacks and duals (one per row).\n\n"
                 "Example: xs, duals = [], []; p.getlpsol(xs, None, duals)"),
    KW(getpresolvesol, "getpresolvesol(x=None, slack=None, duals=None, djs=None)\n\n"
                       "getlpsol for the presolved problem.\n\n"
                       "Example: xs = []; p.getpresolvesol(xs)"),
    KW(getlastbarsol, "getlastbarsol(x=None, slack=None, duals=None, djs=None) -> int\n\n"
                      "Fills the lists given with the answer of the last barrier solve and\n"
                      "returns its status."),
    KW(getmipsol, "getmipsol(x=None, slack=None)\n\n"
                  "Fills the lists given with the last MIP solution's values and slacks.\n\n"
                  "Example: xs = []; p.getmipsol(xs)"),
    KW(loadlpsol, "loadlpsol(x=None, slack=None, duals=None, djs=None)\n\n"
                  "Loads a starting point for the next LP solve (full vectors).\n\n"
                  "Example: xs = []; p.getlpsol(xs); p.loadlpsol(xs)"),
    KW(getinfeas, "getinfeas(x=None, slack=None, duals=None, djs=None)\n\n"
                  "Fills the lists given with the primal infeasible columns and rows and the\n"
                  "dual infeasible rows and columns of the current solution.\n\n"
                  "Example: cols, rows = [], []; p.getinfeas(cols, rows)"),
    KW(getscaledinfeas, "getscaledinfeas(x=None, slack=None, duals=None, djs=None)\n\n"
                        "getinfeas for the scaled problem.\n\n"
                        "Example: cols, rows = [], []; p.getscaledinfeas(cols, rows)"),
    KW(getbasis, "getbasis(rowstat=None, colstat=None)\n\n"
                 "Fills the lists given with the basis statuses of the rows and columns.\n\n"
                 "Example: rows, cols = [], []; p.getbasis(rows, cols)"),
    KW(getpresolvebasis, "getpresolvebasis(rowstat=None, colstat=None)\n\n"
                         "getbasis for the presolved problem.\n\n"
                         "Example: rows, cols = [], []; p.getpresolvebasis(rows, cols)"),
    KW(loadbasis, "loadbasis(rowstat, colstat)\n\n"
                  "Loads a basis (one status per row and per column) for the next solve.\n\n"
                  "Example: rows, cols = [], []; p.getbasis(rows, cols); p.loadbasis(rows, cols)"),
    KW(loadpresolvebasis, "loadpresolvebasis(rowstat, colstat)\n\n"
                          "loadbasis for the presolved problem.\n\n"
                          "Example: rows, cols = [], []; p.getbasis(rows, cols)\n"
                          "         p.loadpresolvebasis(rows, cols)"),
    KW(getlpsolval, "getlpsolval(col, row) -> (x, slack, dual, dj)\n\n"
                    "One column's value and reduced cost and one row's slack and dual; None\n"
                    "for either argument skips it.\n\n"
                    "Example: value, slack, dual, dj = p.getlpsolval(x, c1)"),
    KW(getmipsolval, "getmipsolval(col, row) -> (x, slack)\n\n"
                     "One column's value and one row's slack in the last MIP solution.\n\n"
                     "Example: value, _ = p.getmipsolval(x, None)"),
    KW(getbasisval, "getbasisval(row, col) -> (rowstat, colstat)\n\n"
                    "The basis status of one row and one column.\n\n"
                    "Example: rowstat, colstat = p.getbasisval(c1, x)"),
    KW(getpivotorder, "getpivotorder(pivotorder=None)\n\n"
                      "The basic variables, as constraints and variables, in pivot order.\n\n"
                      "Example: basic = p.getpivotorder()"),
    KW(getpresolvemap, "getpresolvemap(rowmap=None, colmap=None)\n\n"
                       "Fills the lists given with the original index of each row and column\n"
                       "of the presolved problem.\n\n"
                       "Example: rowmap, colmap = [], []; p.getpresolvemap(rowmap, colmap)"),
    NOARGS(getunbvec, "getunbvec() -> int\n\n"
                      "The column along which the last LP solve found the problem unbounded,\n"
                      "or -1.\n\n"
                      "Example: p.getunbvec()"),
    KW(getprimalray, "getprimalray(ray)\n\n"
                     "Fills ray with a primal ray proving unboundedness (empty without one).\n\n"
                     "Example: ray = []; p.getprimalray(ray)"),
    KW(getdualray, "getdualray(ray)\n\n"
                   "Fills ray with a dual ray proving infeasibility (empty without one).\n\n"
                   "Example: ray = []; p.getdualray(ray)"),
    NOARGS(hasprimalray, "hasprimalray() -> bool\n\n"
                         "Whether the last LP solve left a primal ray.\n\n"
                         "Example: p.hasprimalray()"),
    NOARGS(hasdualray, "hasdualray() -> bool\n\nWhether the last LP solve left a dual ray.\n\n"
                       "Example: p.hasdualray()"),
    {nullptr, nullptr, 0, nullptr},
};
