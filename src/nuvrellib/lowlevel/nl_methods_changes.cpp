// Changes and deletions of the nonlinear solver's data through the methods of nuvrel.problem:
// column settings, tolerance sets, row statuses and weights, step types, cascade limits,
// derivative estimates and coefficients (token or text formulas).
#include "lowlevel/conv.h"
#include "module/scalars.h"
#include "module/args.h"
#include "module/methods.h"
#include "lowlevel/nl_methods.h"
#include "nvrl.h"

namespace {

// A value given or None: the library takes a null pointer for "leave it as it is".
template <typename T>
int optional_value(PyObject *obj, T *out, bool *given) {
  *given = obj != nullptr && obj != Py_None;
  if (!*given) return 0;
  if constexpr (sizeof(T) == sizeof(double)) {
    *out = PyFloat_AsDouble(obj);
    if (*out == -1.0 && PyErr_Occurred()) return -1;
  } else {
    if (!nvo_is_integer(obj)) {
      PyErr_Format(PyExc_TypeError, "an integer is required, not %.100s", Py_TYPE(obj)->tp_name);
      return -1;
    }
    long long v;
    if (nvo_integer_value(obj, &v) != 0) return -1;
    if (!nvo_fits_int(v)) {
      PyErr_SetString(PyExc_OverflowError, "integer out of range");
      return -1;
    }
    *out = static_cast<T>(v);
  }
  return 0;
}

// Parses one index array and converts it: the deletions.
PyObject *index_array(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                      const char *kwname, int kind, int (*call)(NSLPprob, int, const int *)) {
  const char *kw[] = {kwname, nullptr};
  PyObject *obj = nullptr;
  problem_s *p = NL_ARGS(method_format("|O", name), kw, &obj, 1, &obj);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<int> ind;
  if (ind.convert(p, &n, obj, kind) != 0) return setNvrlErrIfNull(self, nullptr);
  if (nvo_nl_fits(n) != 0) return nullptr;
  if (call(p->slpprob, n < 0 ? 0 : static_cast<int>(n), ind.get()) != 0) return nvo_nl_fail(p);
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_delvars(PyObject *self, PyObject *args, PyObject *kwargs) {
  return index_array(self, args, kwargs, "delvars", "colind", CONV_COL, NSLPdelvars);
}
PyObject *NSLP_PY_deltolsets(PyObject *self, PyObject *args, PyObject *kwargs) {
  return index_array(self, args, kwargs, "deltolsets", "tolind", CONV_INT, NSLPdeltolsets);
}

PyObject *NSLP_PY_delcoefs(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"rowind", "colind", nullptr};
  PyObject *v[2] = {};
  problem_s *p = NL_ARGS("|OO:delcoefs", kw, v, 2, &v[0], &v[1]);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<int> row, col;
  if (row.convert(p, &n, v[0], CONV_ROW) != 0 || col.convert(p, &n, v[1], CONV_COL) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (nvo_nl_fits(n) != 0) return nullptr;
  if (NSLPdelcoefs(p->slpprob, n < 0 ? 0 : static_cast<int>(n), row.get(), col.get()) != 0)
    return nvo_nl_fail(p);
  if (nvo_nl_recount(p) != 0) return nullptr;
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_chgtolset(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"tolset", "status", "tols", nullptr};
  int tolset = 0;
  PyObject *status_obj = Py_None, *tols_obj = Py_None;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "i|OO:chgtolset", kw, nullptr, &tolset, &status_obj,
                                 &tols_obj))
    return nullptr;
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  int status = 0;
  bool has_status = false;
  if (optional_value(status_obj, &status, &has_status) != 0) return nullptr;
  int64_t n = NSLP_TOLSET_SIZE;
  ConvArray<double> tols;
  if (tols.convert(p, &n, tols_obj, CONV_DOUBLE) != 0) return setNvrlErrIfNull(self, nullptr);
  if (NSLPchgtolset(p->slpprob, tolset, has_status ? &status : nullptr, tols.get()) != 0)
    return nvo_nl_fail(p);
  Py_RETURN_NONE;
}

// row (or col) and one number: status, weight, cascade limit.
template <typename T>
PyObject *index_value(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                      const char *k1, const char *k2, int kind,
                      int (*call)(NSLPprob, int, const T *)) {
  const char *kw[] = {k1, k2, nullptr};
  PyObject *v[2] = {};
  problem_s *p = NL_ARGS(method_format("|OO", name), kw, v, 2, &v[0], &v[1]);
  if (p == nullptr) return nullptr;
  int index = 0;
  T value{};
  bool given = false;
  if (nvo_nl_index(p, v[0], kind, &index) != 0 || optional_value(v[1], &value, &given) != 0)
    return nullptr;
  if (call(p->slpprob, index, given ? &value : nullptr) != 0) return nvo_nl_fail(p);
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_chgrowstatus(PyObject *self, PyObject *args, PyObject *kwargs) {
  return index_value<int>(self, args, kwargs, "chgrowstatus", "row", "status", CONV_ROW,
                          NSLPchgrowstatus);
}
PyObject *NSLP_PY_chgrowwt(PyObject *self, PyObject *args, PyObject *kwargs) {
  return index_value<double>(self, args, kwargs, "chgrowwt", "row", "weight", CONV_ROW,
                             NSLPchgrowwt);
}

PyObject *NSLP_PY_chgcascadenlimit(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"col", "limit", nullptr};
  PyObject *col_obj = nullptr;
  int limit = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "Oi:chgcascadenlimit", kw, nullptr, &col_obj,
                                 &limit))
    return nullptr;
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  int col = 0;
  if (nvo_nl_index(p, col_obj, CONV_COL, &col) != 0) return nullptr;
  if (NSLPchgcascadenlimit(p->slpprob, col, limit) != 0) return nvo_nl_fail(p);
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_chgdeltatype(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"varind", "deltatypes", "values", nullptr};
  PyObject *v[3] = {};
  problem_s *p = NL_ARGS("|OOO:chgdeltatype", kw, v, 2, &v[0], &v[1], &v[2]);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<int> col, types;
  ConvArray<double> values;
  if (col.convert(p, &n, v[0], CONV_COL) != 0 || types.convert(p, &n, v[1], CONV_INT) != 0 ||
      values.convert(p, &n, v[2], CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (nvo_nl_fits(n) != 0) return nullptr;
  if (NSLPchgdeltatype(p->slpprob, n < 0 ? 0 : static_cast<int>(n), col.get(), types.get(),
                       values.get()) != 0)
    return nvo_nl_fail(p);
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_chgdf(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"col", "row", "value", nullptr};
  PyObject *v[3] = {nullptr, nullptr, Py_None};
  problem_s *p = NL_ARGS("|OOO:chgdf", kw, v, 2, &v[0], &v[1], &v[2]);
  if (p == nullptr) return nullptr;
  int col = 0, row = 0;
  double value = 0.0;
  bool given = false;
  if (nvo_nl_index(p, v[0], CONV_COL, &col) != 0 || nvo_nl_index(p, v[1], CONV_ROW, &row) != 0 ||
      optional_value(v[2], &value, &given) != 0)
    return nullptr;
  if (NSLPchgdf(p->slpprob, col, row, given ? &value : nullptr) != 0) return nvo_nl_fail(p);
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_chgccoef(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"row", "col", "factor", "formula", nullptr};
  PyObject *v[4] = {nullptr, nullptr, Py_None, Py_None};
  problem_s *p = NL_ARGS("|OOOO:chgccoef", kw, v, 2, &v[0], &v[1], &v[2], &v[3]);
  if (p == nullptr) return nullptr;
  int row = 0, col = 0;
  double factor = 1.0;
  bool has_factor = false;
  if (nvo_nl_index(p, v[0], CONV_ROW, &row) != 0 || nvo_nl_index(p, v[1], CONV_COL, &col) != 0 ||
      optional_value(v[2], &factor, &has_factor) != 0)
    return nullptr;
  const char *formula = nullptr;
  if (v[3] != Py_None) {
    if (PyUnicode_Check(v[3])) {
      formula = PyUnicode_AsUTF8(v[3]);
    } else if (PyBytes_Check(v[3])) {
      formula = PyBytes_AS_STRING(v[3]);
    } else {
      PyErr_SetString(nvpy_interf_exc, "The formula must be a string");
      return nullptr;
    }
    if (formula == nullptr) return nullptr;
  }
  if (NSLPchgccoef(p->slpprob, row, col, has_factor ? &factor : nullptr, formula) != 0)
    return nvo_nl_fail(p);
  if (nvo_nl_recount(p) != 0) return nullptr;
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_chgnlcoef(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"row", "col", "factor", "parsed", "type", "value", nullptr};
  PyObject *v[6] = {nullptr, nullptr, Py_None, Py_None, Py_None, Py_None};
  int parsed = 1;
  problem_s *p = NL_ARGS("|OOOiOO:chgnlcoef", kw, v, 2, &v[0], &v[1], &v[2], &parsed, &v[4], &v[5]);
  if (p == nullptr) return nullptr;
  int row = 0, col = 0;
  double factor = 1.0;
  bool has_factor = false;
  if (nvo_nl_index(p, v[0], CONV_ROW, &row) != 0 || nvo_nl_index(p, v[1], CONV_COL, &col) != 0 ||
      optional_value(v[2], &factor, &has_factor) != 0)
    return nullptr;
  int64_t n = -1;
  ConvArray<int> type;
  ConvArray<double> value;
  if (type.convert(p, &n, v[4], CONV_INT) != 0 || value.convert(p, &n, v[5], CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (type.given() != value.given()) {
    PyErr_SetString(nvpy_interf_exc, "Token types and values must be given together");
    return nullptr;
  }
  bool ended = !type.given();
  for (int64_t k = 0; k < n && !ended; ++k) ended = type[k] == NSLP_TOK_EOF;
  if (!ended) {
    PyErr_SetString(nvpy_interf_exc, "The formula has no end token (type 0)");
    return nullptr;
  }
  // factor None stands for 1.0 (the library's reading of a null factor).
  if (NSLPchgcoef(p->slpprob, row, col, has_factor ? &factor : nullptr, parsed, type.get(),
                  value.get()) != 0)
    return nvo_nl_fail(p);
  if (nvo_nl_recount(p) != 0) return nullptr;
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_chgvar(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"colindex", "detrow",  "initstepbound", "stepbound",
                             "penalty",  "damp",    "initvalue",     "value",
                             "tolset",   "history", "converged",     "vartype",
                             nullptr};
  PyObject *v[12] = {};
  problem_s *p = NL_ARGS("|OOOOOOOOOOOO:chgvar", kw, v, 1, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5],
                         &v[6], &v[7], &v[8], &v[9], &v[10], &v[11]);
  if (p == nullptr) return nullptr;
  int col = 0;
  if (nvo_nl_index(p, v[0], CONV_COL, &col) != 0) return nullptr;
  // detrow is a row: an index, a name or a constraint, as everywhere else.
  int ints[5] = {};  // detrow, tolset, history, converged, vartype
  bool has_int[5] = {};
  double dbls[6] = {};  // initstepbound, stepbound, penalty, damp, initvalue, value
  bool has_dbl[6] = {};
  has_int[0] = v[1] != nullptr && v[1] != Py_None;
  if (has_int[0] && nvo_nl_index(p, v[1], CONV_ROW, &ints[0]) != 0) return nullptr;
  for (int i = 0; i < 6; ++i)
    if (optional_value(v[2 + i], &dbls[i], &has_dbl[i]) != 0) return nullptr;
  for (int i = 1; i < 5; ++i)
    if (optional_value(v[7 + i], &ints[i], &has_int[i]) != 0) return nullptr;
  auto ip = [&](int i) { return has_int[i] ? &ints[i] : nullptr; };
  auto dp = [&](int i) { return has_dbl[i] ? &dbls[i] : nullptr; };
  if (NSLPchgvar(p->slpprob, col, ip(0), dp(0), dp(1), dp(2), dp(3), dp(4), dp(5), ip(1), ip(2),
                 ip(3), ip(4)) != 0)
    return nvo_nl_fail(p);
  Py_RETURN_NONE;
}

}  // namespace

PyMethodDef problem_methods_nl_changes[] = {
    NL_ENTRY(delvars,
             "delvars(colind)\n\nResets the nonlinear settings of the columns colind to the\n"
             "defaults (the columns stay).\n\nExample: p.delvars([x, y])"),
    NL_ENTRY(deltolsets,
             "deltolsets(tolind)\n\nDeletes tolerance sets (numbers 1, 2, ...); later sets move\n"
             "down, columns of a deleted set get none.\n\n"
             "Example: p.loadtolsets([1e-6, 0, 0, 0, 0, 0]); p.deltolsets([1])"),
    NL_ENTRY(delcoefs,
             "delcoefs(rowind, colind)\n\nDeletes the nonlinear coefficients (rowind[k],\n"
             "colind[k]).\n\nExample: p.chgccoef(c1, -1, 1.0, 'x*y'); p.delcoefs([c1], [-1])"),
    NL_ENTRY(chgtolset,
             "chgtolset(tolset, status=None, tols=None)\n\nChanges tolerance set tolset: the\n"
             "bitmap of its active entries and/or its 6 values (None: unchanged).\n\n"
             "Example: p.addtolsets([1e-6, 0, 0, 0, 0, 0])\n"
             "p.chgtolset(1, 1, [1e-8, 0, 0, 0, 0, 0])"),
    NL_ENTRY(chgrowstatus,
             "chgrowstatus(row, status)\n\nSets the nonlinear solver's status bits of row.\n\n"
             "Example: p.chgrowstatus(c1, 0)"),
    NL_ENTRY(chgdeltatype,
             "chgdeltatype(varind, deltatypes, values=None)\n\nStep types of columns: 0\n"
             "adaptive, 1 fixed (values: the bound), 2 relative (values times max(1, |x|)),\n"
             "3 frozen.\n\nExample: p.chgdeltatype([x], [1], [0.5])"),
    NL_ENTRY(chgcascadenlimit,
             "chgcascadenlimit(col, limit)\n\nThe column's Newton iteration limit for cascading\n"
             "(0: the control's).\n\nExample: p.chgcascadenlimit(x, 50)"),
    NL_ENTRY(chgccoef,
             "chgccoef(row, col, factor=None, formula=None)\n\nSets coefficient (row, col) to\n"
             "factor (None: 1.0) times the formula given as text (None: keep the formula),\n"
             "adding it when absent.\n\nExample: p.chgccoef(c1, -1, 1.0, 'x^2 + sin(y)')"),
    NL_ENTRY(chgrowwt,
             "chgrowwt(row, weight)\n\nThe row's weight in the penalty of row violations.\n\n"
             "Example: p.chgrowwt(c1, 10.0)"),
    NL_ENTRY(chgdf,
             "chgdf(col, row, value=None)\n\nSets the derivative estimate of row by col (None:\n"
             "removes it).\n\nExample: p.chgdf(x, c1, 1.0)"),
    NL_ENTRY(chgnlcoef,
             "chgnlcoef(row, col, factor=None, parsed=1, type=None, value=None)\n\nSets\n"
             "coefficient (row, col) to factor (None: 1.0) times the formula given by its\n"
             "token types and values (ended by token type 0; None keeps the formula), adding\n"
             "it when absent.\n\nExample: p.chgnlcoef(0, x, 2.0, 1, [10, 0], [1, 0])"),
    NL_ENTRY(chgvar,
             "chgvar(colindex, detrow=None, initstepbound=None, stepbound=None, penalty=None,\n"
             "damp=None, initvalue=None, value=None, tolset=None, history=None,\n"
             "converged=None, vartype=None)\n\nChanges the nonlinear settings of one column;\n"
             "None leaves a setting as it is.\n\nExample: p.chgvar(x, initvalue=1.5)"),
    {nullptr, nullptr, 0, nullptr},
};
