// Queries of the nonlinear solver's data and answers through the methods of nuvrel.problem:
// column settings, tolerance sets, the last solve's vectors, row weights and statuses,
// derivatives, coefficients and their formulas (tokens or text), and formula values.
#include <utility>

#include "lowlevel/conv.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/methods.h"
#include "lowlevel/nl_methods.h"
#include "lowlevel/query_support.h"
#include "module/pyref.h"
#include "nvrl.h"

namespace {

// A method of one index (row or column) that reads one number.
template <typename T>
PyObject *one_index_query(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                          const char *kwname, int kind, int (*call)(NSLPprob, int, T *)) {
  const char *kw[] = {kwname, nullptr};
  PyObject *obj = nullptr;
  problem_s *p = NL_ARGS(method_format("|O", name), kw, &obj, 1, &obj);
  if (p == nullptr) return nullptr;
  int index = 0;
  if (nvo_nl_index(p, obj, kind, &index) != 0) return nullptr;
  T value{};
  if (call(p->slpprob, index, &value) != 0) return nvo_nl_fail(p);
  if constexpr (sizeof(T) == sizeof(double)) return PyFloat_FromDouble(value);
  else return PyLong_FromLong(value);
}

PyObject *NSLP_PY_getrowwt(PyObject *self, PyObject *args, PyObject *kwargs) {
  return one_index_query<double>(self, args, kwargs, "getrowwt", "row", CONV_ROW, NSLPgetrowwt);
}
PyObject *NSLP_PY_getrowstatus(PyObject *self, PyObject *args, PyObject *kwargs) {
  return one_index_query<int>(self, args, kwargs, "getrowstatus", "row", CONV_ROW,
                              NSLPgetrowstatus);
}

// Parses two required arguments into a (first kind, second kind) pair of indices.
int two_indices(PyObject *self, PyObject *args, PyObject *kwargs, const char *name, const char *k1,
                const char *k2, int kind1, int kind2, problem_s **p, int *i1, int *i2) {
  const char *kw[] = {k1, k2, nullptr};
  PyObject *v[2] = {};
  *p = NL_ARGS(method_format("|OO", name), kw, v, 2, &v[0], &v[1]);
  if (*p == nullptr) return -1;
  if (nvo_nl_index(*p, v[0], kind1, i1) != 0 || nvo_nl_index(*p, v[1], kind2, i2) != 0)
    return -1;
  return 0;
}

PyObject *NSLP_PY_getdf(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p;
  int col = 0, row = 0;
  if (two_indices(self, args, kwargs, "getdf", "col", "row", CONV_COL, CONV_ROW, &p, &col, &row) !=
      0)
    return nullptr;
  double value = 0.0;
  if (NSLPgetdf(p->slpprob, col, row, &value) != 0) return nvo_nl_fail(p);
  return PyFloat_FromDouble(value);
}

PyObject *NSLP_PY_evaluatecoef(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p;
  int row = 0, col = 0;
  if (two_indices(self, args, kwargs, "evaluatecoef", "row", "col", CONV_ROW, CONV_COL, &p, &row,
                  &col) != 0)
    return nullptr;
  double value = 0.0;
  if (NSLPevaluatecoef(p->slpprob, row, col, &value) != 0) return nvo_nl_fail(p);
  return PyFloat_FromDouble(value);
}

PyObject *NSLP_PY_getvar(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"col", nullptr};
  PyObject *obj = nullptr;
  problem_s *p = NL_ARGS("|O:getvar", kw, &obj, 1, &obj);
  if (p == nullptr) return nullptr;
  int col = 0;
  if (nvo_nl_index(p, obj, CONV_COL, &col) != 0) return nullptr;
  int detrow = 0, tolset = 0, history = 0, converged = 0, vartype = 0;
  double initstepbound = 0, stepbound = 0, penalty = 0, damp = 0, initvalue = 0, value = 0;
  if (NSLPgetvar(p->slpprob, col, &detrow, &initstepbound, &stepbound, &penalty, &damp,
                 &initvalue, &value, &tolset, &history, &converged, &vartype) != 0)
    return nvo_nl_fail(p);
  return Py_BuildValue("(idddddd" "iiii)", detrow, initstepbound, stepbound, penalty, damp,
                       initvalue, value, tolset, history, converged, vartype);
}

PyObject *NSLP_PY_gettolset(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"tolset", "tols", nullptr};
  int tolset = 0;
  PyObject *tols = Py_None;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "i|O:gettolset", kw, nullptr, &tolset, &tols))
    return nullptr;
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  int status = 0;
  double values[NSLP_TOLSET_SIZE] = {};
  if (NSLPgettolset(p->slpprob, tolset, &status, values) != 0) return nvo_nl_fail(p);
  PyObject *list = query::fill(p, NSLP_TOLSET_SIZE, values, tols, CONV_DOUBLE);
  if (list == nullptr) return nullptr;
  return Py_BuildValue("(iN)", status, list);
}

PyObject *NSLP_PY_getslpsol(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"x", "slack", "duals", "djs", nullptr};
  PyObject *v[4] = {Py_None, Py_None, Py_None, Py_None};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOOO:getslpsol", kw, nullptr, &v[0], &v[1], &v[2],
                                 &v[3]))
    return nullptr;
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  const int64_t rows = nvo_int_attrib(p, NVRL_ATTR_ORIGINAL_ROWS);
  const int64_t cols = rows < 0 ? -1 : nvo_int_attrib(p, NVRL_ATTR_ORIGINAL_COLUMNS);
  if (rows < 0 || cols < 0) return nullptr;
  // x is always read: with no list for it, a new one is the result.
  const bool want[4] = {true, v[1] != Py_None, v[2] != Py_None, v[3] != Py_None};
  const int64_t size[4] = {cols, rows, rows, cols};
  AllocBuffer<double> out[4];
  for (int i = 0; i < 4; ++i)
    if (want[i] && out[i].allocate(static_cast<size_t>(size[i])) != 0) return nullptr;
  if (NSLPgetslpsol(p->slpprob, out[0].data(), want[1] ? out[1].data() : nullptr,
                    want[2] ? out[2].data() : nullptr, want[3] ? out[3].data() : nullptr) != 0)
    return nvo_nl_fail(p);
  PyRef<> result;
  for (int i = 0; i < 4; ++i) {
    if (!want[i]) continue;
    PyRef<> list(query::fill(p, size[i], out[i].data(), v[i], CONV_DOUBLE));
    if (!list) return nullptr;
    if (i == 0 && v[0] == Py_None) result = std::move(list);
  }
  if (result) return result.release();
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_getcoefs(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"rowind", "colind", nullptr};
  PyObject *v[2] = {Py_None, Py_None};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OO:getcoefs", kw, nullptr, &v[0], &v[1]))
    return nullptr;
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  int n = 0;
  if (NSLPgetcoefs(p->slpprob, &n, nullptr, nullptr) != 0) return nvo_nl_fail(p);
  AllocBuffer<int> rows, cols;
  if (rows.allocate(static_cast<size_t>(n)) != 0 || cols.allocate(static_cast<size_t>(n)) != 0)
    return nullptr;
  if (n > 0 && NSLPgetcoefs(p->slpprob, &n, rows.data(), cols.data()) != 0)
    return nvo_nl_fail(p);
  PyRef<> rowlist(query::fill(p, n, rows.data(), v[0], CONV_INT));
  if (!rowlist) return nullptr;
  PyRef<> collist(query::fill(p, n, cols.data(), v[1], CONV_INT));
  if (!collist) return nullptr;
  return Py_BuildValue("(NN)", rowlist.release(), collist.release());
}

PyObject *NSLP_PY_getcoefformula(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"row", "col", "parsed", "maxtypes", nullptr};
  PyObject *v[2] = {};
  int parsed = 1, maxtypes = -1;
  problem_s *p = NL_ARGS("|OOii:getcoefformula", kw, v, 2, &v[0], &v[1], &parsed, &maxtypes);
  if (p == nullptr) return nullptr;
  int row = 0, col = 0;
  if (nvo_nl_index(p, v[0], CONV_ROW, &row) != 0 || nvo_nl_index(p, v[1], CONV_COL, &col) != 0)
    return nullptr;
  int ntok = 0;
  double factor = 0.0;
  // The formula's own length is asked first: without maxtypes it is the room needed, and room
  // beyond it (maxtypes may be anything up to 2**31-1) would never be written.
  if (maxtypes != 0) {
    if (NSLPgetcoefformula(p->slpprob, row, col, nullptr, parsed, 0, &ntok, nullptr, nullptr) !=
        0)
      return nvo_nl_fail(p);
    if (maxtypes < 0 || maxtypes > ntok) maxtypes = ntok;
  }
  AllocBuffer<int> types;
  AllocBuffer<double> values;
  if (types.allocate(static_cast<size_t>(maxtypes)) != 0 ||
      values.allocate(static_cast<size_t>(maxtypes)) != 0)
    return nullptr;
  if (NSLPgetcoefformula(p->slpprob, row, col, &factor, parsed, maxtypes, &ntok, types.data(),
                         values.data()) != 0)
    return nvo_nl_fail(p);
  PyRef<> tlist(query::fill(p, ntok, types.data(), nullptr, CONV_INT));
  if (!tlist) return nullptr;
  PyRef<> vlist(query::fill(p, ntok, values.data(), nullptr, CONV_DOUBLE));
  if (!vlist) return nullptr;
  return Py_BuildValue("(dNN)", factor, tlist.release(), vlist.release());
}

PyObject *NSLP_PY_getccoef(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"row", "col", "maxbytes", nullptr};
  PyObject *v[2] = {};
  int maxbytes = -1;
  problem_s *p = NL_ARGS("|OOi:getccoef", kw, v, 2, &v[0], &v[1], &maxbytes);
  if (p == nullptr) return nullptr;
  int row = 0, col = 0;
  if (nvo_nl_index(p, v[0], CONV_ROW, &row) != 0 || nvo_nl_index(p, v[1], CONV_COL, &col) != 0)
    return nullptr;
  double factor = 0.0;
  AllocBuffer<char> text;
  if (maxbytes >= 0) {
    if (text.allocate(static_cast<size_t>(maxbytes)) != 0) return nullptr;
    if (NSLPgetccoef(p->slpprob, row, col, &factor, text.data(), maxbytes) != 0)
      return nvo_nl_fail(p);
    return Py_BuildValue("(ds)", factor, text.data());
  }
  // Without maxbytes the buffer grows until the text fits; another failure repeats at every
  // size and is reported from the last attempt.
  constexpr int kLargest = 1 << 26;
  for (int size = 1024;; size *= 2) {
    if (text.allocate(static_cast<size_t>(size)) != 0) return nullptr;
    if (NSLPgetccoef(p->slpprob, row, col, &factor, text.data(), size) == 0)
      return Py_BuildValue("(ds)", factor, text.data());
    if (size >= kLargest) return nvo_nl_fail(p);
  }
}

PyObject *NSLP_PY_evaluateformula(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"parsed", "type", "values", nullptr};
  int parsed = 1;
  PyObject *v[3] = {Py_None, nullptr, nullptr};  // parsed is an int, parsed apart
  problem_s *p = NL_ARGS("i|OO:evaluateformula", kw, v, 3, &parsed, &v[1], &v[2]);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<int> type;
  ConvArray<double> value;
  if (type.convert(p, &n, v[1], CONV_INT) != 0 || value.convert(p, &n, v[2], CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  // The library reads up to the end token: a formula without one is refused here.
  bool ended = false;
  for (int64_t k = 0; k < n && !ended; ++k) ended = type[k] == NSLP_TOK_EOF;
  if (!ended) {
    PyErr_SetString(nvpy_interf_exc, "The formula has no end token (type 0)");
    return nullptr;
  }
  double result = 0.0;
  if (NSLPevaluateformula(p->slpprob, parsed, type.get(), value.get(), &result) != 0)
    return nvo_nl_fail(p);
  return PyFloat_FromDouble(result);
}

// Items of the row and column information queries whose value is an integer.
bool int_item(bool row, int item) {
  return row ? (item == NSLP_ROWINFO_PENALTYITERATIONS || item == NSLP_ROWINFO_NONLINEARCOEFS)
             : (item == NSLP_COLINFO_CONVERGED || item == NSLP_COLINFO_DELTATYPE ||
                item == NSLP_COLINFO_NONLINEARCOEFS);
}

PyObject *info_body(PyObject *self, PyObject *args, PyObject *kwargs, const char *name, bool row) {
  static const char *rkw[] = {"rowindex", "infotype", nullptr};
  static const char *ckw[] = {"colindex", "infotype", nullptr};
  const char **kw = row ? rkw : ckw;
  PyObject *obj = nullptr;
  int item = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("Oi", name), kw, nullptr, &obj, &item))
    return nullptr;
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  int index = 0;
  if (nvo_nl_index(p, obj, row ? CONV_ROW : CONV_COL, &index) != 0) return nullptr;
  // Room for either type; the item says which the library writes.
  union {
    int i;
    double d;
  } info{};
  const int rc = row ? NSLPgetrowinfo(p->slpprob, item, index, &info)
                     : NSLPgetcolinfo(p->slpprob, item, index, &info);
  if (rc != 0) return nvo_nl_fail(p);
  if (int_item(row, item)) return PyLong_FromLong(info.i);
  return PyFloat_FromDouble(info.d);
}

PyObject *NSLP_PY_getrowinfo(PyObject *self, PyObject *args, PyObject *kwargs) {
  return info_body(self, args, kwargs, "getrowinfo", true);
}
PyObject *NSLP_PY_getcolinfo(PyObject *self, PyObject *args, PyObject *kwargs) {
  return info_body(self, args, kwargs, "getcolinfo", false);
}

}  // namespace

PyMethodDef problem_methods_nl_queries[] = {
    NL_ENTRY(getvar,
             "getvar(col)\n\nThe nonlinear settings of column col as the tuple (detrow,\n"
             "initstepbound, stepbound, penalty, damp, initvalue, value, tolset, history,\n"
             "converged, vartype).\n\nExample: detrow, *_ = p.getvar(x)"),
    NL_ENTRY(gettolset,
             "gettolset(tolset, tols=None)\n\nTolerance set number tolset (1, 2, ...) as the\n"
             "tuple (status, tols): the bitmap of its active entries and its 6 values; a list\n"
             "given as tols is filled and returned.\n\n"
             "Example: p.loadtolsets([1e-6, 0, 0, 0, 0, 0]); status, tols = p.gettolset(1)"),
    NL_ENTRY(getslpsol,
             "getslpsol(x=None, slack=None, duals=None, djs=None)\n\nThe last nonlinear solve's\n"
             "answer: values (columns), slacks and duals (rows), reduced costs (columns). Each\n"
             "list given is filled; with x None a new list of the values is returned, else\n"
             "None.\n\nExample: p.nlpoptimize(); values = p.getslpsol()"),
    NL_ENTRY(getrowwt,
             "getrowwt(row)\n\nThe weight of row in the penalty of row violations.\n\n"
             "Example: w = p.getrowwt(c1)"),
    NL_ENTRY(getrowstatus,
             "getrowstatus(row)\n\nThe nonlinear solver's status bits of row.\n\n"
             "Example: s = p.getrowstatus(0)"),
    NL_ENTRY(getdf,
             "getdf(col, row)\n\nThe derivative estimate of row by col when one is set, else\n"
             "the derivative at the current point.\n\nExample: d = p.getdf(x, c1)"),
    NL_ENTRY(getcoefs,
             "getcoefs(rowind=None, colind=None)\n\nThe nonlinear coefficients held, as the\n"
             "tuple (rowind, colind) of row and column indices ordered by row, then column\n"
             "(-1: the objective row, the constant column); lists given are filled.\n\n"
             "Example: rows, cols = p.getcoefs()"),
    NL_ENTRY(getcoefformula,
             "getcoefformula(row, col, parsed=1, maxtypes=None)\n\nCoefficient (row, col) as\n"
             "the tuple (factor, type, value): its factor and the token types and values of\n"
             "its formula, in reverse Polish order (parsed=1) or written order (parsed=0),\n"
             "end token included. maxtypes limits the tokens read (None: all).\n\n"
             "Example: p.chgccoef(c1, x, 2.0, 'y^2')\n"
             "factor, types, values = p.getcoefformula(c1, x)"),
    NL_ENTRY(getccoef,
             "getccoef(row, col, maxbytes=None)\n\nCoefficient (row, col) as the tuple\n"
             "(factor, formula), the formula as text. maxbytes limits the text's length with\n"
             "its terminator (None: no limit).\n\n"
             "Example: p.chgccoef(c1, -1, 1.0, 'exp(x)'); factor, text = p.getccoef(c1, -1)"),
    NL_ENTRY(evaluateformula,
             "evaluateformula(parsed, type, values)\n\nThe value of the formula given by its\n"
             "token types and values (ended by token type 0) at the current point.\n\n"
             "Example: p.evaluateformula(1, [10, 10, 31, 0], [0, 1, 3, 0])"),
    NL_ENTRY(evaluatecoef,
             "evaluatecoef(row, col)\n\nThe value factor * formula of coefficient (row, col) at\n"
             "the current point.\n\n"
             "Example: p.chgccoef(c1, -1, 1.0, 'x*y'); v = p.evaluatecoef(c1, -1)"),
    NL_ENTRY(getrowinfo,
             "getrowinfo(rowindex, infotype)\n\nOne item of information on a row (slack 1,\n"
             "dual 2, penalty weight 3, penalty iterations 4, largest penalty 5, total\n"
             "penalty 6, nonlinear coefficients 7), an int or a float by item.\n\n"
             "Example: p.getrowinfo(c1, 1)"),
    NL_ENTRY(getcolinfo,
             "getcolinfo(colindex, infotype)\n\nOne item of information on a column (value 1,\n"
             "reduced cost 2, step 3, step bound 4, converged 5, step type 6, step type value\n"
             "7, nonlinear coefficients 8), an int or a float by item.\n\n"
             "Example: p.getcolinfo(x, 4)"),
    {nullptr, nullptr, 0, nullptr},
};
