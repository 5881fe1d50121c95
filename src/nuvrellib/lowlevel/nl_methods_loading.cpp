// Loading and adding nonlinear data through the methods of nuvrel.problem: column settings,
// tolerance sets, derivative estimates and coefficients given as token formulas. Each load
// form replaces every item of its kind, the add form adds to them; the pair shares one body.

#include "lowlevel/conv.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/methods.h"
#include "lowlevel/nl_methods.h"
#include "nvrl.h"

namespace {

PyObject *vars_body(PyObject *self, PyObject *args, PyObject *kwargs, const char *name, bool load) {
  static const char *kw[] = {"colindex", "vartype",  "detrow",    "seqnum",
                             "tolindex", "initvalue", "stepbound", nullptr};
  PyObject *v[7] = {};
  problem_s *p = NL_ARGS(method_format("|OOOOOOO", name), kw, v, 1, &v[0], &v[1], &v[2], &v[3],
                         &v[4], &v[5], &v[6]);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<int> col, vartype, detrow, seqnum, tolindex;
  ConvArray<double> initvalue, stepbound;
  if (col.convert(p, &n, v[0], CONV_COL) != 0 || vartype.convert(p, &n, v[1], CONV_INT) != 0 ||
      detrow.convert(p, &n, v[2], CONV_ROW) != 0 || seqnum.convert(p, &n, v[3], CONV_INT) != 0 ||
      tolindex.convert(p, &n, v[4], CONV_INT) != 0 ||
      initvalue.convert(p, &n, v[5], CONV_DOUBLE) != 0 ||
      stepbound.convert(p, &n, v[6], CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (nvo_nl_fits(n) != 0) return nullptr;
  const int count = n < 0 ? 0 : static_cast<int>(n);
  const int rc = (load ? NSLPloadvars : NSLPaddvars)(
      p->slpprob, count, col.get(), vartype.get(), detrow.get(), seqnum.get(), tolindex.get(),
      initvalue.get(), stepbound.get());
  if (rc != 0) return nvo_nl_fail(p);
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_loadvars(PyObject *self, PyObject *args, PyObject *kwargs) {
  return vars_body(self, args, kwargs, "loadvars", true);
}
PyObject *NSLP_PY_addvars(PyObject *self, PyObject *args, PyObject *kwargs) {
  return vars_body(self, args, kwargs, "addvars", false);
}

PyObject *tolsets_body(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                       bool load) {
  static const char *kw[] = {"tol", nullptr};
  PyObject *tol = nullptr;
  problem_s *p = NL_ARGS(method_format("|O", name), kw, &tol, 1, &tol);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<double> tols;
  if (tols.convert(p, &n, tol, CONV_DOUBLE) != 0) return setNvrlErrIfNull(self, nullptr);
  if (n < 0) n = 0;
  if (n % NSLP_TOLSET_SIZE != 0) {
    PyErr_Format(nvpy_interf_exc,
                 "Tolerance sets take %d values each: %lld values given", NSLP_TOLSET_SIZE,
                 static_cast<long long>(n));
    return nullptr;
  }
  if (nvo_nl_fits(n) != 0) return nullptr;
  const int nsets = static_cast<int>(n / NSLP_TOLSET_SIZE);
  if ((load ? NSLPloadtolsets : NSLPaddtolsets)(p->slpprob, nsets, tols.get()) != 0)
    return nvo_nl_fail(p);
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_loadtolsets(PyObject *self, PyObject *args, PyObject *kwargs) {
  return tolsets_body(self, args, kwargs, "loadtolsets", true);
}
PyObject *NSLP_PY_addtolsets(PyObject *self, PyObject *args, PyObject *kwargs) {
  return tolsets_body(self, args, kwargs, "addtolsets", false);
}

PyObject *dfs_body(PyObject *self, PyObject *args, PyObject *kwargs, const char *name, bool load) {
  static const char *kw[] = {"colindex", "rowindex", "value", nullptr};
  PyObject *v[3] = {};
  problem_s *p = NL_ARGS(method_format("|OOO", name), kw, v, 3, &v[0], &v[1], &v[2]);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<int> col, row;
  ConvArray<double> value;
  if (col.convert(p, &n, v[0], CONV_COL) != 0 || row.convert(p, &n, v[1], CONV_ROW) != 0 ||
      value.convert(p, &n, v[2], CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (nvo_nl_fits(n) != 0) return nullptr;
  const int count = n < 0 ? 0 : static_cast<int>(n);
  if ((load ? NSLPloaddfs : NSLPadddfs)(p->slpprob, count, col.get(), row.get(), value.get()) !=
      0)
    return nvo_nl_fail(p);
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_loaddfs(PyObject *self, PyObject *args, PyObject *kwargs) {
  return dfs_body(self, args, kwargs, "loaddfs", true);
}
PyObject *NSLP_PY_adddfs(PyObject *self, PyObject *args, PyObject *kwargs) {
  return dfs_body(self, args, kwargs, "adddfs", false);
}

PyObject *coefs_body(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                     bool load) {
  static const char *kw[] = {"rowindex", "colindex", "factor", "fstart",
                             "parsed",   "type",     "value",  nullptr};
  PyObject *v[7] = {};
  int parsed = 1;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("|OOOOiOO", name), kw, nullptr, &v[0],
                                 &v[1], &v[2], &v[3], &parsed, &v[5], &v[6]))
    return nullptr;
  v[4] = Py_None;  // parsed has its default
  if (nvo_require_args(kw, v, 7) != 0) return nullptr;
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  int64_t n = -1, ntok = -1, nstart = -1;
  ConvArray<int> row, col, start, type;
  ConvArray<double> factor, value;
  if (row.convert(p, &n, v[0], CONV_ROW) != 0 || col.convert(p, &n, v[1], CONV_COL) != 0 ||
      factor.convert(p, &n, v[2], CONV_DOUBLE) != 0 ||
      start.convert(p, &nstart, v[3], CONV_INT) != 0 ||
      type.convert(p, &ntok, v[5], CONV_INT) != 0 ||
      value.convert(p, &ntok, v[6], CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (n < 0) n = 0;
  if (ntok < 0) ntok = 0;
  if (nstart < 0) nstart = 0;
  if (nvo_nl_fits(n) != 0 || nvo_nl_fits(ntok) != 0) return nullptr;
  // fstart holds one start per coefficient; the end of the last formula may be given too.
  if (nstart != n && nstart != n + 1) {
    PyErr_Format(nvpy_model_exc, "Mismatched lengths in arguments: expected %d, found %d",
                 static_cast<int>(n), static_cast<int>(nstart));
    return nullptr;
  }
  AllocBuffer<int> starts;
  if (starts.allocate(static_cast<size_t>(n) + 1) != 0) return nullptr;
  for (int64_t k = 0; k < n; ++k) starts[k] = start[k];
  starts[n] = nstart == n + 1 ? start[n] : static_cast<int>(ntok);
  for (int64_t k = 0; k <= n; ++k)
    if (starts[k] < 0 || starts[k] > ntok || (k > 0 && starts[k] < starts[k - 1])) {
      PyErr_Format(nvpy_interf_exc,
                   "Formula start %d of coefficient %d is outside the %d tokens given",
                   starts[k], static_cast<int>(k), static_cast<int>(ntok));
      return nullptr;
    }
  const int rc = (load ? NSLPloadcoefs : NSLPaddcoefs)(
      p->slpprob, static_cast<int>(n), row.get(), col.get(), factor.get(), starts.data(),
      parsed, type.get(), value.get());
  if (rc != 0) return nvo_nl_fail(p);
  if (nvo_nl_recount(p) != 0) return nullptr;
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_loadcoefs(PyObject *self, PyObject *args, PyObject *kwargs) {
  return coefs_body(self, args, kwargs, "loadcoefs", true);
}
PyObject *NSLP_PY_addcoefs(PyObject *self, PyObject *args, PyObject *kwargs) {
  return coefs_body(self, args, kwargs, "addcoefs", false);
}

// One text for both forms of a pair, each saying how it treats the items held.
#define DOC_PAIR(load, add, sig, text, example)                                  \
  const char load##_doc[] =                                                      \
      #load sig "\n\n" text "\nReplaces every item of its kind.\n\nExample: " example; \
  const char add##_doc[] =                                                       \
      #add sig "\n\n" text "\nAdds to the items held.\n\nExample: " example;

DOC_PAIR(loadvars, addvars,
         "(colindex, vartype=None, detrow=None, seqnum=None, tolindex=None, initvalue=None, "
         "stepbound=None)",
         "Nonlinear settings of the columns colindex (indices, names or variables): type\n"
         "(kept for the caller), determining row (-1 none), cascade sequence number,\n"
         "tolerance set (0 none), initial value and initial step bound. Each other argument\n"
         "is a sequence as long as colindex, or None to leave that setting alone.",
         "p.loadvars([x, y], initvalue=[1.0, 2.0])")
DOC_PAIR(loadtolsets, addtolsets, "(tol)",
         "Tolerance sets from tol, 6 values per set (absolute and relative step, objective\n"
         "and row impact); a value > 0 is an active test, <= 0 is off. Sets are numbered 1,\n"
         "2, ... in order.",
         "p.loadtolsets([1e-6, 0, 0, 0, 0, 0])")
DOC_PAIR(loaddfs, adddfs, "(colindex, rowindex, value)",
         "Derivative estimates: value[k] stands for d row[k] / d col[k] (row -1 the objective)\n"
         "until a solve accepts its first step.",
         "p.loaddfs([x], [c1], [1.0])")
DOC_PAIR(loadcoefs, addcoefs, "(rowindex, colindex, factor, fstart, parsed, type, value)",
         "Nonlinear coefficients: coefficient k on (rowindex[k], colindex[k]) (row -1 the\n"
         "objective, column -1 the constant column) is factor[k] (factor None: all 1.0)\n"
         "times the formula in type/value[fstart[k] ...], tokens in reverse Polish order\n"
         "(parsed=1) or in written order (parsed=0), each formula ended by token type 0.\n"
         "fstart may also hold the end of the last formula.",
         "p.loadcoefs([0], [x], None, [0], 1, [10, 0], [1, 0])")

}  // namespace

PyMethodDef problem_methods_nl_loading[] = {
    NL_ENTRY(loadvars, loadvars_doc),
    NL_ENTRY(addvars, addvars_doc),
    NL_ENTRY(loadtolsets, loadtolsets_doc),
    NL_ENTRY(addtolsets, addtolsets_doc),
    NL_ENTRY(loaddfs, loaddfs_doc),
    NL_ENTRY(adddfs, adddfs_doc),
    NL_ENTRY(loadcoefs, loadcoefs_doc),
    NL_ENTRY(addcoefs, addcoefs_doc),
    {nullptr, nullptr, 0, nullptr},
};
