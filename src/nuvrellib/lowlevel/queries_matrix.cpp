// Low-level queries of the model held by the library: matrix rows and columns, objective,
// types, right-hand sides, quadratic data, names, sets, indicators, general and
// piecewise-linear constraints. Range queries take first and last as ints, names or objects;
// indices come back as the problem's own var and constraint objects.
#include "lowlevel/queries_matrix.h"

#include <climits>
#include <cstring>

#include "lowlevel/query_support.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/methods.h"
#include "module/pyref.h"

namespace {

using query::done;
using query::wanted;

constexpr const char *kEmptyCols = "Empty range of columns requested";
constexpr const char *kEmptyRows = "Empty range of rows requested";

// Room for the entries of a sparse query: what maxcoefs allows of the total (all of them
// when maxcoefs is not given), never below 0.
int64_t entry_room(long long maxcoefs, bool given, int64_t total) {
  if (!given) return total;
  if (maxcoefs < 0) return 0;
  return maxcoefs < total ? maxcoefs : total;
}

// --- sparse range queries: getrows, getcols, getmqobj ---------------------------------------

using SparseReader = int (*)(NVRLprob, NVRLint64 *, int *, double *, NVRLint64, NVRLint64 *, int,
                             int);

struct SparseQuery {
  const char *name;
  const char **kw, **kw_alt;
  SparseReader reader;
  int range_kind;  // CONV_ROW or CONV_COL: what first and last are and count
  int index_kind;  // what the entries' indices are
};

PyObject *sparse_query(PyObject *self, PyObject *args, PyObject *kwargs, const SparseQuery &q) {
  problem_s *p = problem_ready_for(self, q.name);
  if (p == nullptr) return nullptr;
  PyObject *start = nullptr, *ind = nullptr, *val = nullptr, *first = nullptr, *last = nullptr;
  long long maxcoefs = LLONG_MIN;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("|OOOLOO", q.name), q.kw, q.kw_alt,
                                 &start, &ind, &val, &maxcoefs, &first, &last))
    return nullptr;
  if (query::outputs_are_lists({start, ind, val}) != 0) return nullptr;
  int64_t n = 0;
  if (query::count(p, q.range_kind == CONV_ROW ? NVRL_ATTR_ROWS : NVRL_ATTR_COLUMNS, &n) != 0)
    return nullptr;
  int f = 0, l = 0;
  if (query::range(p, first, last, q.range_kind, n, kEmptyCols, &f, &l) != 0) return nullptr;
  const int64_t count = static_cast<int64_t>(l) - f + 1;
  NVRLint64 total = 0;
  if (q.reader(p->prob, nullptr, nullptr, nullptr, 0, &total, f, l) != 0) return done(p, nullptr);
  const bool given = maxcoefs != LLONG_MIN;
  const int64_t room = entry_room(maxcoefs, given, total);
  AllocBuffer<NVRLint64> bstart;
  AllocBuffer<int> bind;
  AllocBuffer<double> bval;
  if (query::room_for(start, bstart, count + 1) != 0 || query::room_for(ind, bind, room) != 0 ||
      query::room_for(val, bval, room) != 0)
    return nullptr;
  NVRLint64 got = 0;
  if (q.reader(p->prob, bstart.data(), bind.data(), bval.data(), given ? maxcoefs : total, &got,
               f, l) != 0)
    return done(p, nullptr);
  if (query::fill_in_place(p, count + 1, bstart.data(), start, CONV_INT64) != 0 ||
      query::fill_in_place(p, room, bind.data(), ind, q.index_kind) != 0 ||
      query::fill_in_place(p, room, bval.data(), val, CONV_DOUBLE) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_getrows(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"start", "colind", "colcoef", "maxcoefs", "first", "last", nullptr};
  static const char *alt[] = {"mstart", "mclind", "dmatval", "maxcoefs", "first", "last", nullptr};
  return sparse_query(self, args, kwargs, {"getrows", kw, alt, NVRLgetrows64, CONV_ROW, CONV_COL});
}

PyObject *NVRL_PY_getcols(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"start", "rowind", "rowcoef", "maxcoefs", "first", "last", nullptr};
  return sparse_query(self, args, kwargs,
                      {"getcols", kw, nullptr, NVRLgetcols64, CONV_COL, CONV_ROW});
}

PyObject *NVRL_PY_getmqobj(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"start", "colind", "objqcoef", "maxcoefs", "first", "last", nullptr};
  return sparse_query(self, args, kwargs,
                      {"getmqobj", kw, nullptr, NVRLgetmqobj64, CONV_COL, CONV_COL});
}

// The quadratic part of one row over columns first..last; 32-bit starts and room.
PyObject *NVRL_PY_getqrowqmatrix(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"row", "start", "colind", "rowqcoef", "maxcoefs", "first", "last",
                             nullptr};
  PyObject *row = nullptr, *start = nullptr, *ind = nullptr, *val = nullptr, *first = nullptr,
           *last = nullptr;
  int maxcoefs = INT_MIN;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "O|OOOiOO:getqrowqmatrix", kw, nullptr, &row, &start,
                                 &ind, &val, &maxcoefs, &first, &last))
    return nullptr;
  if (query::outputs_are_lists({start, ind, val}) != 0) return nullptr;
  int r = 0;
  if (query::index(p, row, CONV_ROW, &r) != 0) return nullptr;
  int64_t n = 0;
  if (query::cols(p, &n) != 0) return nullptr;
  int f = 0, l = 0;
  if (query::range(p, first, last, CONV_COL, n, kEmptyCols, &f, &l) != 0) return nullptr;
  const int64_t count = static_cast<int64_t>(l) - f + 1;
  int total = 0;
  if (NVRLgetqrowqmatrix(p->prob, r, nullptr, nullptr, nullptr, 0, &total, f, l) != 0)
    return done(p, nullptr);
  const bool given = maxcoefs != INT_MIN;
  const int64_t room = entry_room(maxcoefs, given, total);
  AllocBuffer<int> bstart, bind;
  AllocBuffer<double> bval;
  if (query::room_for(start, bstart, count + 1) != 0 || query::room_for(ind, bind, room) != 0 ||
      query::room_for(val, bval, room) != 0)
    return nullptr;
  int got = 0;
  if (NVRLgetqrowqmatrix(p->prob, r, bstart.data(), bind.data(), bval.data(),
                         given ? maxcoefs : total, &got, f, l) != 0)
    return done(p, nullptr);
  if (query::fill_in_place(p, count + 1, bstart.data(), start, CONV_INT) != 0 ||
      query::fill_in_place(p, room, bind.data(), ind, CONV_COL) != 0 ||
      query::fill_in_place(p, room, bval.data(), val, CONV_DOUBLE) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

// --- dense range queries: one value per column or row ----------------------------------------

template <typename T>
using DenseReader = int (*)(NVRLprob, T *, int, int);

struct DenseQuery {
  const char *name;
  const char **kw, **kw_alt;
  bool rows;              // a range of rows, else of columns
  const char *empty_msg;
  bool list_required;     // without an output list: "Must provide argument: rng or rhs"
};

template <typename T>
PyObject *dense_query(PyObject *self, PyObject *args, PyObject *kwargs, const DenseQuery &q,
                      DenseReader<T> reader, int kind) {
  problem_s *p = problem_ready_for(self, q.name);
  if (p == nullptr) return nullptr;
  PyObject *out = nullptr, *first = nullptr, *last = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("|OOO", q.name), q.kw, q.kw_alt, &out,
                                 &first, &last))
    return nullptr;
  if (q.list_required && !wanted(out)) {
    PyErr_Format(nvpy_interf_exc, "Must provide argument: %s or %s", "rng", "rhs");
    return nullptr;
  }
  if (query::outputs_are_lists({out}) != 0) return nullptr;
  int64_t n = 0;
  if (query::count(p, q.rows ? NVRL_ATTR_ROWS : NVRL_ATTR_COLUMNS, &n) != 0) return nullptr;
  int f = 0, l = 0;
  if (query::range(p, first, last, q.rows ? CONV_ROW : CONV_COL, n, q.empty_msg, &f, &l) != 0)
    return nullptr;
  const int64_t count = query::room(f, l, n);
  AllocBuffer<T> values;
  if (values.allocate(static_cast<size_t>(count)) != 0) return nullptr;
  if (reader(p->prob, values.data(), f, l) != 0) return done(p, nullptr);
  return query::filled_or_new(p, count, values.data(), out, kind);
}

PyObject *NVRL_PY_getobj(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"objcoef", "first", "last", nullptr};
  return dense_query<double>(self, args, kwargs, {"getobj", kw, nullptr, false, kEmptyCols, false},
                             NVRLgetobj, CONV_DOUBLE);
}

PyObject *NVRL_PY_getcoltype(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"coltype", "first", "last", nullptr};
  return dense_query<char>(
      self, args, kwargs,
      {"getcoltype", kw, nullptr, false, "Empty or invalid range of columns requested", false},
      NVRLgetcoltype, CONV_CHAR);
}

PyObject *NVRL_PY_getrowtype(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"rowtype", "first", "last", nullptr};
  static const char *alt[] = {"qrtype", "first", "last", nullptr};
  return dense_query<char>(self, args, kwargs, {"getrowtype", kw, alt, true, kEmptyRows, false},
                           NVRLgetrowtype, CONV_CHAR);
}

PyObject *NVRL_PY_getrhs(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"rhs", "first", "last", nullptr};
  return dense_query<double>(self, args, kwargs, {"getrhs", kw, nullptr, true, kEmptyRows, true},
                             NVRLgetrhs, CONV_DOUBLE);
}

PyObject *NVRL_PY_getrhsrange(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"rng", "first", "last", nullptr};
  static const char *alt[] = {"range", "first", "last", nullptr};
  return dense_query<double>(self, args, kwargs,
                             {"getrhsrange", kw, alt, true, kEmptyRows, true}, NVRLgetrhsrange,
                             CONV_DOUBLE);
}

// --- indicators, general and piecewise-linear constraints -----------------------------------

PyObject *NVRL_PY_getindicators(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"colind", "complement", "first", "last", nullptr};
  PyObject *colind = nullptr, *comp = nullptr, *first = nullptr, *last = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOOO:getindicators", kw, nullptr, &colind, &comp,
                                 &first, &last))
    return nullptr;
  if (query::outputs_are_lists({colind, comp}) != 0) return nullptr;
  int64_t n = 0;
  if (query::rows(p, &n) != 0) return nullptr;
  int f = 0, l = 0;
  if (query::range(p, first, last, CONV_ROW, n, kEmptyRows, &f, &l) != 0) return nullptr;
  const int64_t count = query::room(f, l, n);
  AllocBuffer<int> bcol, bcomp;
  if (query::room_for(colind, bcol, count) != 0 || query::room_for(comp, bcomp, count) != 0)
    return nullptr;
  if (NVRLgetindicators(p->prob, bcol.data(), bcomp.data(), f, l) != 0) return done(p, nullptr);
  if (query::fill_in_place(p, count, bcol.data(), colind, CONV_COL) != 0 ||
      query::fill_in_place(p, count, bcomp.data(), comp, CONV_INT) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_getgencons(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"contype", "resultant", "colstart", "colind", "maxcols", "valstart",
                             "val", "maxvals", "first", "last", nullptr};
  PyObject *contype = nullptr, *resultant = nullptr, *colstart = nullptr, *colind = nullptr,
           *valstart = nullptr, *val = nullptr, *first = nullptr, *last = nullptr;
  long long maxcols = LLONG_MIN, maxvals = LLONG_MIN;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOOOLOOLOO:getgencons", kw, nullptr, &contype,
                                 &resultant, &colstart, &colind, &maxcols, &valstart, &val,
                                 &maxvals, &first, &last))
    return nullptr;
  if (query::outputs_are_lists({contype, resultant, colstart, colind, valstart, val}) != 0)
    return nullptr;
  // The library counts general and piecewise-linear constraints together.
  int64_t both = 0, pwl = 0;
  if (query::count(p, NVRL_ATTR_GENERAL_CONSTRAINTS, &both) != 0 ||
      query::count(p, NVRL_ATTR_PWL_CONSTRAINTS, &pwl) != 0)
    return nullptr;
  int f = 0, l = 0;
  if (query::range(p, first, last, CONV_INT, both - pwl,
                   "Empty range of general constraints requested", &f, &l) != 0)
    return nullptr;
  const int64_t count = static_cast<int64_t>(l) - f + 1;
  NVRLint64 ncols = 0, nvals = 0;
  if (NVRLgetgencons64(p->prob, nullptr, nullptr, nullptr, nullptr, 0, &ncols, nullptr, nullptr, 0,
                       &nvals, f, l) != 0)
    return done(p, nullptr);
  const int64_t colroom = entry_room(maxcols, maxcols != LLONG_MIN, ncols);
  const int64_t valroom = entry_room(maxvals, maxvals != LLONG_MIN, nvals);
  AllocBuffer<int> btype, bres, bcols;
  AllocBuffer<NVRLint64> bcolstart, bvalstart;
  AllocBuffer<double> bvals;
  if (query::room_for(contype, btype, count) != 0 ||
      query::room_for(resultant, bres, count) != 0 ||
      query::room_for(colstart, bcolstart, count + 1) != 0 ||
      query::room_for(colind, bcols, colroom) != 0 ||
      query::room_for(valstart, bvalstart, count + 1) != 0 ||
      query::room_for(val, bvals, valroom) != 0)
    return nullptr;
  if (NVRLgetgencons64(p->prob, btype.data(), bres.data(), bcolstart.data(), bcols.data(),
                       maxcols != LLONG_MIN ? maxcols : ncols, &ncols, bvalstart.data(),
                       bvals.data(), maxvals != LLONG_MIN ? maxvals : nvals, &nvals, f, l) != 0)
    return done(p, nullptr);
  if (query::fill_in_place(p, count, btype.data(), contype, CONV_INT) != 0 ||
      query::fill_in_place(p, count, bres.data(), resultant, CONV_COL) != 0 ||
      query::fill_in_place(p, count + 1, bcolstart.data(), colstart, CONV_INT64) != 0 ||
      query::fill_in_place(p, colroom, bcols.data(), colind, CONV_COL) != 0 ||
      query::fill_in_place(p, count + 1, bvalstart.data(), valstart, CONV_INT64) != 0 ||
      query::fill_in_place(p, valroom, bvals.data(), val, CONV_DOUBLE) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_getpwlcons(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"colind", "resultant", "start", "xval", "yval", "maxpoints",
                             "first", "last", nullptr};
  PyObject *colind = nullptr, *resultant = nullptr, *start = nullptr, *xval = nullptr,
           *yval = nullptr, *first = nullptr, *last = nullptr;
  long long maxpoints = LLONG_MIN;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOOOOLOO:getpwlcons", kw, nullptr, &colind,
                                 &resultant, &start, &xval, &yval, &maxpoints, &first, &last))
    return nullptr;
  if (query::outputs_are_lists({colind, resultant, start, xval, yval}) != 0) return nullptr;
  int64_t n = 0;
  if (query::count(p, NVRL_ATTR_PWL_CONSTRAINTS, &n) != 0) return nullptr;
  int f = 0, l = 0;
  if (query::range(p, first, last, CONV_INT, n,
                   "Empty range of piecewise linear constraints requested", &f, &l) != 0)
    return nullptr;
  const int64_t count = static_cast<int64_t>(l) - f + 1;
  NVRLint64 total = 0;
  if (NVRLgetpwlcons64(p->prob, nullptr, nullptr, nullptr, nullptr, nullptr, 0, &total, f, l) != 0)
    return done(p, nullptr);
  const bool given = maxpoints != LLONG_MIN;
  const int64_t room = entry_room(maxpoints, given, total);
  AllocBuffer<int> bcol, bres;
  AllocBuffer<NVRLint64> bstart;
  AllocBuffer<double> bx, by;
  if (query::room_for(colind, bcol, count) != 0 || query::room_for(resultant, bres, count) != 0 ||
      query::room_for(start, bstart, count + 1) != 0 || query::room_for(xval, bx, room) != 0 ||
      query::room_for(yval, by, room) != 0)
    return nullptr;
  if (NVRLgetpwlcons64(p->prob, bcol.data(), bres.data(), bstart.data(), bx.data(), by.data(),
                       given ? maxpoints : total, &total, f, l) != 0)
    return done(p, nullptr);
  if (query::fill_in_place(p, count, bcol.data(), colind, CONV_COL) != 0 ||
      query::fill_in_place(p, count, bres.data(), resultant, CONV_COL) != 0 ||
      query::fill_in_place(p, count + 1, bstart.data(), start, CONV_INT64) != 0 ||
      query::fill_in_place(p, room, bx.data(), xval, CONV_DOUBLE) != 0 ||
      query::fill_in_place(p, room, by.data(), yval, CONV_DOUBLE) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

// --- names ------------------------------------------------------------------------------------

PyObject *NVRL_PY_getnamelist(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"type", "first", "last", nullptr};
  int type = 0, first = INT_MIN, last = INT_MIN;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "i|ii:getnamelist", kw, nullptr, &type, &first,
                                 &last))
    return nullptr;
  int attrib;
  switch (type) {
    case 1: attrib = NVRL_ATTR_ROWS; break;
    case 2: attrib = NVRL_ATTR_COLUMNS; break;
    case 3: attrib = NVRL_ATTR_SETS; break;
    default:
      return query::interface_error("Argument type must be 1 (rows), 2 (columns), or 3 (sets)");
  }
  int64_t n = 0;
  if (query::count(p, attrib, &n) != 0) return nullptr;
  if (n == 0) return query::interface_error("No names for type chosen");
  if (first == INT_MIN) first = 0;
  if (last == INT_MIN) last = static_cast<int>(n - 1);
  if (first < 0 || first > last || last >= n) {
    PyErr_Format(nvpy_interf_exc,
                 "Arguments %s and %s must be such that 0 <= %s <= %s and both must be within "
                 "the number of rows, columns, or sets",
                 "first", "last", "first", "last");
    return nullptr;
  }
  int nbytes = 0;
  if (NVRLgetnamelist(p->prob, type, nullptr, 0, &nbytes, first, last) != 0)
    return done(p, nullptr);
  AllocBuffer<char> buf;
  if (buf.allocate(static_cast<size_t>(nbytes)) != 0) {
    PyErr_Clear();
    return query::interface_error(
        "Could not allocate enough memory for reading all names; please try with a smaller "
        "range");
  }
  if (NVRLgetnamelist(p->prob, type, buf.data(), nbytes, &nbytes, first, last) != 0)
    return done(p, nullptr);
  PyRef<> list(PyList_New(0));
  if (!list) return nullptr;
  const char *s = buf.data();
  for (int i = first; i <= last; ++i) {
    const size_t len = std::strlen(s);
    PyRef<> name(PyUnicode_DecodeUTF8(s, static_cast<Py_ssize_t>(len), "surrogateescape"));
    if (!name || PyList_Append(list.obj(), name.obj()) != 0) return nullptr;
    s += len + 1;
  }
  return list.release_obj();
}

// --- single coefficients and quadratic rows ----------------------------------------------------

PyObject *NVRL_PY_getcoef(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"row", "col", nullptr};
  static const char *alt[] = {"irow", "icol", nullptr};
  PyObject *row = nullptr, *col = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OO:getcoef", kw, alt, &row, &col)) return nullptr;
  int r = 0, c = 0;
  if (query::index(p, row, CONV_ROW, &r) != 0 || query::index(p, col, CONV_COL, &c) != 0)
    return nullptr;
  double coef = 0;
  if (NVRLgetcoef(p->prob, r, c, &coef) != 0) return done(p, nullptr);
  return PyFloat_FromDouble(coef);
}

PyObject *NVRL_PY_getqrowcoeff(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"row", "rowqcol1", "rowqcol2", nullptr};
  PyObject *row = nullptr, *c1 = nullptr, *c2 = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OOO:getqrowcoeff", kw, nullptr, &row, &c1, &c2))
    return nullptr;
  int r = 0, i = 0, j = 0;
  if (query::index(p, row, CONV_ROW, &r) != 0 || query::index(p, c1, CONV_COL, &i) != 0 ||
      query::index(p, c2, CONV_COL, &j) != 0)
    return nullptr;
  double coef = 0;
  if (NVRLgetqrowcoeff(p->prob, r, i, j, &coef) != 0) return done(p, nullptr);
  return PyFloat_FromDouble(coef);
}

PyObject *NVRL_PY_getqrowqmatrixtriplets(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"row", "rowqcol1", "rowqcol2", "rowqcoef", nullptr};
  PyObject *row = nullptr, *c1 = nullptr, *c2 = nullptr, *val = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "O|OOO:getqrowqmatrixtriplets", kw, nullptr, &row,
                                 &c1, &c2, &val))
    return nullptr;
  if (query::outputs_are_lists({c1, c2, val}) != 0) return nullptr;
  int r = 0;
  if (query::index(p, row, CONV_ROW, &r) != 0) return nullptr;
  int n = 0;
  if (NVRLgetqrowqmatrixtriplets(p->prob, r, &n, nullptr, nullptr, nullptr) != 0)
    return done(p, nullptr);
  AllocBuffer<int> b1, b2;
  AllocBuffer<double> bv;
  if (query::room_for(c1, b1, n) != 0 || query::room_for(c2, b2, n) != 0 ||
      query::room_for(val, bv, n) != 0)
    return nullptr;
  if (NVRLgetqrowqmatrixtriplets(p->prob, r, &n, b1.data(), b2.data(), bv.data()) != 0)
    return done(p, nullptr);
  if (query::fill_in_place(p, n, b1.data(), c1, CONV_COL) != 0 ||
      query::fill_in_place(p, n, b2.data(), c2, CONV_COL) != 0 ||
      query::fill_in_place(p, n, bv.data(), val, CONV_DOUBLE) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_getqrows(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"rowind", nullptr};
  PyObject *out = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|O:getqrows", kw, nullptr, &out)) return nullptr;
  if (query::outputs_are_lists({out}) != 0) return nullptr;
  int n = 0;
  if (NVRLgetqrows(p->prob, &n, nullptr) != 0) return done(p, nullptr);
  AllocBuffer<int> rows;
  if (rows.allocate(static_cast<size_t>(n)) != 0) return nullptr;
  if (NVRLgetqrows(p->prob, &n, rows.data()) != 0) return done(p, nullptr);
  return query::filled_or_new(p, n, rows.data(), out, CONV_ROW);
}

// --- global entities ---------------------------------------------------------------------------

PyObject *NVRL_PY_getglobal(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"coltype", "colind", "limit", "settype", "start", "setcols",
                             "refval", nullptr};
  PyObject *coltype = nullptr, *colind = nullptr, *limit = nullptr, *settype = nullptr,
           *start = nullptr, *setcols = nullptr, *refval = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOOOOOO:getglobal", kw, nullptr, &coltype, &colind,
                                 &limit, &settype, &start, &setcols, &refval))
    return nullptr;
  if (query::outputs_are_lists({coltype, colind, limit, settype, start, setcols, refval}) != 0)
    return nullptr;
  int nent = 0, nsets = 0;
  NVRLint64 nmem = 0;
  if (NVRLgetglobal64(p->prob, &nent, &nsets, nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr, nullptr, &nmem) != 0)
    return done(p, nullptr);
  AllocBuffer<char> bctype, bstype;
  AllocBuffer<int> bcind, bmem;
  AllocBuffer<double> blim, bref;
  AllocBuffer<NVRLint64> bstart;
  if (query::room_for(coltype, bctype, nent) != 0 || query::room_for(colind, bcind, nent) != 0 ||
      query::room_for(limit, blim, nent) != 0 || query::room_for(settype, bstype, nsets) != 0 ||
      query::room_for(start, bstart, nsets + 1) != 0 ||
      query::room_for(setcols, bmem, nmem) != 0 || query::room_for(refval, bref, nmem) != 0)
    return nullptr;
  if (NVRLgetglobal64(p->prob, &nent, &nsets, bctype.data(), bcind.data(), blim.data(),
                      bstype.data(), bstart.data(), bmem.data(), bref.data(), &nmem) != 0)
    return done(p, nullptr);
  if (query::fill_in_place(p, nent, bctype.data(), coltype, CONV_CHAR) != 0 ||
      query::fill_in_place(p, nent, bcind.data(), colind, CONV_INT) != 0 ||
      query::fill_in_place(p, nent, blim.data(), limit, CONV_DOUBLE) != 0 ||
      query::fill_in_place(p, nsets, bstype.data(), settype, CONV_CHAR) != 0 ||
      query::fill_in_place(p, nsets + 1, bstart.data(), start, CONV_INT64) != 0 ||
      query::fill_in_place(p, nmem, bmem.data(), setcols, CONV_COL) != 0 ||
      query::fill_in_place(p, nmem, bref.data(), refval, CONV_DOUBLE) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

#define KW(name, doc) {#name, NVO_KW_METHOD(NVRL_PY_##name), METH_VARARGS | METH_KEYWORDS, doc}

}  // namespace

PyMethodDef problem_methods_queries_matrix[] = {
    KW(getrows, "getrows(start, colind, colcoef, maxcoefs, first, last)\n\n"
                "Fills the lists given with matrix rows first..last: row starts, columns (as\n"
                "variables) and coefficients, at most maxcoefs entries.\n\n"
                "Example: s, c, v = [], [], []; p.getrows(s, c, v, 10, 'c1', c2)"),
    KW(getcols, "getcols(start, rowind, rowcoef, maxcoefs, first, last)\n\n"
                "Fills the lists given with matrix columns first..last: column starts, rows (as\n"
                "constraints) and coefficients, at most maxcoefs entries.\n\n"
                "Example: s, r, v = [], [], []; p.getcols(s, r, v, 10, x, 'y')"),
    KW(getmqobj, "getmqobj(start, colind, objqcoef, maxcoefs, first, last)\n\n"
                 "The quadratic objective's upper triangle for columns first..last, laid out\n"
                 "as getcols.\n\n"
                 "Example: s, c, v = [], [], []; p.getmqobj(s, c, v)"),
    KW(getqrowqmatrix, "getqrowqmatrix(row, start, colind, rowqcoef, maxcoefs, first, last)\n\n"
                       "The quadratic part of one row for columns first..last.\n\n"
                       "Example: s, c, v = [], [], []; p.getqrowqmatrix(c1, s, c, v)"),
    KW(getobj, "getobj(objcoef=None, first=0, last=cols-1)\n\n"
               "Objective coefficients: the list given is filled, or a new list returned.\n\n"
               "Example: costs = p.getobj(); p.getobj(costs, 0, 1)"),
    KW(getcoltype, "getcoltype(coltype=None, first=0, last=cols-1)\n\n"
                   "Column types as one-character strings.\n\n"
                   "Example: p.getcoltype(None, x, 'x3')"),
    KW(getrowtype, "getrowtype(rowtype=None, first=0, last=rows-1)\n\n"
                   "Row types as one-character strings.\n\n"
                   "Example: types = p.getrowtype()"),
    KW(getrhs, "getrhs(rhs, first=0, last=rows-1)\n\nFills rhs with right-hand sides.\n\n"
               "Example: rhs = []; p.getrhs(rhs, c1, c2)"),
    KW(getrhsrange, "getrhsrange(rng, first=0, last=rows-1)\n\nFills rng with row ranges.\n\n"
                    "Example: rng = []; p.getrhsrange(rng)"),
    KW(getindicators, "getindicators(colind, complement, first=0, last=rows-1)\n\n"
                      "Indicator variables (-1 for none) and complement flags of rows.\n\n"
                      "Example: cols, comp = [], []; p.getindicators(cols, comp)"),
    KW(getgencons, "getgencons(contype, resultant, colstart, colind, maxcols, valstart, val,\n"
                   "           maxvals, first, last)\n\nGeneral constraints first..last."),
    KW(getpwlcons, "getpwlcons(colind, resultant, start, xval, yval, maxpoints, first, last)\n\n"
                   "Piecewise-linear constraints first..last."),
    KW(getnamelist, "getnamelist(type, first=0, last=count-1) -> list of str\n\n"
                    "Names of rows (type 1), columns (2) or sets (3).\n\n"
                    "Example: p.getnamelist(2, 0, 1)"),
    KW(getcoef, "getcoef(row, col) -> float\n\nOne matrix coefficient.\n\n"
                "Example: p.getcoef(c1, 'x')"),
    KW(getqrowcoeff, "getqrowcoeff(row, rowqcol1, rowqcol2) -> float\n\n"
                     "One coefficient of a row's quadratic part.\n\n"
                     "Example: p.getqrowcoeff(c1, x, y)"),
    KW(getqrowqmatrixtriplets, "getqrowqmatrixtriplets(row, rowqcol1, rowqcol2, rowqcoef)\n\n"
                               "A row's quadratic part as triplets.\n\n"
                               "Example: a, b, v = [], [], []\n"
                               "         p.getqrowqmatrixtriplets(c1, a, b, v)"),
    KW(getqrows, "getqrows(rowind=None)\n\nThe rows that have a quadratic part.\n\n"
                 "Example: p.getqrows()"),
    KW(getglobal, "getglobal(coltype, colind, limit, settype, start, setcols, refval)\n\n"
                  "Typed columns (type, index, limit) and special ordered sets (type, starts,\n"
                  "members, reference values).\n\n"
                  "Example: types, cols, limits = [], [], []; p.getglobal(types, cols, limits)"),
    {nullptr, nullptr, 0, nullptr},
};
