// Ranging, basis solves, the pivot ratio test, strong branching and the basis condition, from
// the basis of the last LP solve.
//
// Outputs follow one rule: the output lists the caller gives are filled in place and None is
// returned; when none is given, the results come back as new lists (a tuple of them when
// there are several).
#include <algorithm>
#include <climits>
#include <initializer_list>
#include <vector>

#include "lowlevel/conv.h"
#include "lowlevel/query_support.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/errors.h"
#include "module/methods.h"
#include "module/pyref.h"
#include "problem/method_families.h"

namespace {

using query::wanted;

struct Out {
  PyObject *list;
  const void *data;
  int kind;
  int64_t n;
};

PyObject *give(problem_s *p, std::initializer_list<Out> outs) {
  bool any = false;
  for (const Out &o : outs) any = any || wanted(o.list);
  if (any) {
    for (const Out &o : outs)
      if (query::fill_in_place(p, o.n, o.data, o.list, o.kind) != 0) return nullptr;
    return query::none();
  }
  if (outs.size() == 1) return query::fill(p, outs.begin()->n, outs.begin()->data, nullptr,
                                           outs.begin()->kind);
  PyRef<> tuple(PyTuple_New(static_cast<Py_ssize_t>(outs.size())));
  if (!tuple) return nullptr;
  Py_ssize_t i = 0;
  for (const Out &o : outs) {
    PyObject *list = query::fill(p, o.n, o.data, nullptr, o.kind);
    if (list == nullptr) return nullptr;
    PyTuple_SET_ITEM(tuple.obj(), i++, list);
  }
  return tuple.release_obj();
}

// An index array (rows or columns) of at most INT_MAX entries; 0 or -1.
int indices(problem_s *p, PyObject *obj, int kind, ConvArray<int> &arr, int64_t *n) {
  *n = -1;
  if (arr.convert(p, n, obj, kind) != 0) return -1;
  if (*n < 0) *n = 0;
  if (*n > INT_MAX) {
    PyErr_SetString(nvpy_interf_exc, "Too many entries for one call");
    return -1;
  }
  return 0;
}

// objsa and rhssa: one index array in, two ranges out.
PyObject *two_ranges(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                     const char **kw, const char **legacy, int kind,
                     int (*call)(NVRLprob, int, const int *, double *, double *)) {
  PyObject *ind = nullptr, *lower = nullptr, *upper = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("|OOO", name), kw, legacy, &ind,
                                 &lower, &upper))
    return nullptr;
  PyObject *given[] = {ind};
  if (nvo_require_args(kw, given, 1) != 0) return nullptr;
  problem_s *p = problem_ready_for(self, name);
  if (p == nullptr) return nullptr;
  if (query::outputs_are_lists({lower, upper}) != 0) return nullptr;
  ConvArray<int> idx;
  int64_t n;
  if (indices(p, ind, kind, idx, &n) != 0) return setNvrlErrIfNull(self, nullptr);
  AllocBuffer<double> lo, up;
  if (lo.allocate(n) != 0 || up.allocate(n) != 0) return nullptr;
  if (call(p->prob, static_cast<int>(n), idx.get(), lo.data(), up.data()) != 0)
    return query::done(p, nullptr);
  return query::done(p, give(p, {{lower, lo.data(), CONV_DOUBLE, n},
                                  {upper, up.data(), CONV_DOUBLE, n}}));
}

PyObject *NVRL_PY_objsa(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"colind", "lower", "upper", nullptr};
  static const char *legacy[] = {"mindex", "lower", "upper", nullptr};
  return two_ranges(self, args, kwargs, "objsa", kw, legacy, CONV_COL, NVRLobjsa);
}

PyObject *NVRL_PY_rhssa(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"rowind", "lower", "upper", nullptr};
  static const char *legacy[] = {"mindex", "lower", "upper", nullptr};
  return two_ranges(self, args, kwargs, "rhssa", kw, legacy, CONV_ROW, NVRLrhssa);
}

PyObject *NVRL_PY_bndsa(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"colind", "lblower", "lbupper", "ublower", "ubupper", nullptr};
  PyObject *ind = nullptr, *o[4] = {};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "O|OOOO:bndsa", kw, nullptr, &ind, &o[0], &o[1],
                                 &o[2], &o[3]))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (query::outputs_are_lists({o[0], o[1], o[2], o[3]}) != 0) return nullptr;
  ConvArray<int> idx;
  int64_t n;
  if (indices(p, ind, CONV_COL, idx, &n) != 0) return setNvrlErrIfNull(self, nullptr);
  AllocBuffer<double> r[4];
  for (auto &b : r)
    if (b.allocate(n) != 0) return nullptr;
  if (NVRLbndsa(p->prob, static_cast<int>(n), idx.get(), r[0].data(), r[1].data(), r[2].data(),
                r[3].data()) != 0)
    return query::done(p, nullptr);
  return query::done(p, give(p, {{o[0], r[0].data(), CONV_DOUBLE, n},
                                  {o[1], r[1].data(), CONV_DOUBLE, n},
                                  {o[2], r[2].data(), CONV_DOUBLE, n},
                                  {o[3], r[3].data(), CONV_DOUBLE, n}}));
}

// ftran and btran: vec (one number per row) is solved in place when it is a list; another
// sequence is left alone and the result returned as a new list.
PyObject *basis_solve(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                      int (*call)(NVRLprob, double *)) {
  static const char *kw[] = {"vec", nullptr};
  PyObject *vec = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("O", name), kw, nullptr, &vec))
    return nullptr;
  problem_s *p = problem_ready_for(self, name);
  if (p == nullptr) return nullptr;
  int64_t nrows = 0;
  if (query::rows(p, &nrows) != 0) return query::done(p, nullptr);
  ConvArray<double> v;
  int64_t n = nrows;
  if (vec == Py_None) return nvo_model_error("Invalid sequence of objects");
  if (v.convert(p, &n, vec, CONV_DOUBLE) != 0) return setNvrlErrIfNull(self, nullptr);
  AllocBuffer<double> work;
  if (work.allocate(nrows) != 0) return nullptr;
  for (int64_t i = 0; i < nrows; ++i) work.data()[i] = v[i];
  if (call(p->prob, work.data()) != 0) return query::done(p, nullptr);
  if (PyList_Check(vec)) {
    if (query::fill_in_place(p, nrows, work.data(), vec, CONV_DOUBLE) != 0) return nullptr;
    return query::none();
  }
  return query::done(p, query::fill(p, nrows, work.data(), nullptr, CONV_DOUBLE));
}

PyObject *NVRL_PY_ftran(PyObject *self, PyObject *args, PyObject *kwargs) {
  return basis_solve(self, args, kwargs, "ftran", NVRLftran);
}

PyObject *NVRL_PY_btran(PyObject *self, PyObject *args, PyObject *kwargs) {
  return basis_solve(self, args, kwargs, "btran", NVRLbtran);
}

// Re-solving analyses run without the interpreter lock, under the interrupt guard.
template <typename F>
int unlocked(problem_s *p, F &&f) {
  return problem_run_released(p, f);
}

PyObject *NVRL_PY_strongbranch(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"colind", "bndtype", "bndval", "iterlim", "objval", "status",
                             nullptr};
  PyObject *cols = nullptr, *types = nullptr, *vals = nullptr, *objval = nullptr,
           *status = nullptr;
  int iterlim = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OOOiOO:strongbranch", kw, nullptr, &cols, &types,
                                 &vals, &iterlim, &objval, &status))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (query::outputs_are_lists({objval, status}) != 0) return nullptr;
  ConvArray<int> idx;
  ConvArray<char> bt;
  ConvArray<double> bv;
  int64_t n;
  if (indices(p, cols, CONV_COL, idx, &n) != 0 || bt.convert(p, &n, types, CONV_CHAR) != 0 ||
      bv.convert(p, &n, vals, CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (n > 0 && (!bt.given() || !bv.given()))
    return nvo_model_error("Must provide bound types and values for every column");
  AllocBuffer<double> obj;
  AllocBuffer<int> st;
  if (obj.allocate(n) != 0 || st.allocate(n) != 0) return nullptr;
  NVRLprob prob = p->prob;
  const int count = static_cast<int>(n);
  if (unlocked(p, [&] {
        return NVRLstrongbranch(prob, count, idx.get(), bt.get(), bv.get(), iterlim, obj.data(),
                                st.data());
      }) != 0)
    return query::done(p, nullptr);
  return query::done(p, give(p, {{objval, obj.data(), CONV_DOUBLE, n},
                                  {status, st.data(), CONV_INT, n}}));
}

PyObject *NVRL_PY_estimaterowdualranges(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"rowind", "iterlim", "mindual", "maxdual", nullptr};
  PyObject *rows = nullptr, *mindual = nullptr, *maxdual = nullptr;
  int iterlim = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OiOO:estimaterowdualranges", kw, nullptr, &rows,
                                 &iterlim, &mindual, &maxdual))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (query::outputs_are_lists({mindual, maxdual}) != 0) return nullptr;
  ConvArray<int> idx;
  int64_t n;
  if (indices(p, rows, CONV_ROW, idx, &n) != 0) return setNvrlErrIfNull(self, nullptr);
  AllocBuffer<double> lo, hi;
  if (lo.allocate(n) != 0 || hi.allocate(n) != 0) return nullptr;
  NVRLprob prob = p->prob;
  const int count = static_cast<int>(n);
  if (unlocked(p, [&] {
        return NVRLestimaterowdualranges(prob, count, idx.get(), iterlim, lo.data(), hi.data());
      }) != 0)
    return query::done(p, nullptr);
  return query::done(p, give(p, {{mindual, lo.data(), CONV_DOUBLE, n},
                                  {maxdual, hi.data(), CONV_DOUBLE, n}}));
}

PyObject *NVRL_PY_basisstability(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"type", "norm", "scaled", nullptr};
  int type = 0, norm = 0, scaled = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "iii:basisstability", kw, nullptr, &type, &norm,
                                 &scaled))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  double value = 0.0;
  if (NVRLbasisstability(p->prob, type, norm, scaled, &value) != 0)
    return query::done(p, nullptr);
  return PyFloat_FromDouble(value);
}

PyObject *NVRL_PY_getpivots(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"enter", "outlist", "x", "maxpivots", nullptr};
  PyObject *enter = nullptr, *outlist = nullptr, *x = nullptr;
  int maxpiv = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OOOi:getpivots", kw, nullptr, &enter, &outlist, &x,
                                 &maxpiv))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (query::outputs_are_lists({outlist, x}) != 0) return nullptr;
  int in = -1;
  if (ObjInt2int(enter, p, &in, CONV_ROWCOL) != 0) return setNvrlErrIfNull(self, nullptr);
  if (maxpiv < 0) return nvo_model_error("The maximum number of pivots must not be negative");
  // The pivots are leaving basic variables and the entering one: room beyond those (maxpivots
  // may be anything up to 2**31-1) would never be written.
  int64_t nrows = 0;
  if (query::rows(p, &nrows) != 0) return nullptr;
  const size_t room = static_cast<size_t>(std::min<int64_t>(maxpiv, nrows + 1));
  AllocBuffer<int> out;
  AllocBuffer<double> ratio;
  if (out.allocate(room) != 0 || ratio.allocate(room) != 0) return nullptr;
  double dobj = 0.0;
  int npiv = 0;
  if (NVRLgetpivots(p->prob, in, out.data(), ratio.data(), &dobj, &npiv, maxpiv) != 0)
    return query::done(p, nullptr);
  if (query::fill_in_place(p, npiv, out.data(), outlist, CONV_ROWCOL) != 0 ||
      query::fill_in_place(p, npiv, ratio.data(), x, CONV_DOUBLE) != 0)
    return nullptr;
  return Py_BuildValue("(di)", dobj, npiv);
}

#define KW(name, doc) {#name, NVO_KW_METHOD(NVRL_PY_##name), METH_VARARGS | METH_KEYWORDS, doc}

}  // namespace

PyMethodDef problem_methods_sensitivity[] = {
    KW(objsa, "objsa(colind, lower=None, upper=None)\n\n"
              "For each column, the range of its objective coefficient over which the optimal\n"
              "basis stays optimal.\n\n"
              "Example: lo, up = [], []; p.objsa([x, y], lo, up)"),
    KW(rhssa, "rhssa(rowind, lower=None, upper=None)\n\n"
              "For each row, the range of its right-hand side over which the optimal basis\n"
              "stays optimal.\n\n"
              "Example: lo, up = p.rhssa([c1, c2])"),
    KW(bndsa, "bndsa(colind, lblower=None, lbupper=None, ublower=None, ubupper=None)\n\n"
              "For each column, the ranges of its lower and of its upper bound over which the\n"
              "optimal basis stays optimal.\n\n"
              "Example: lblo, lbup, ublo, ubup = p.bndsa([x])"),
    KW(ftran, "ftran(vec)\n\n"
              "Solves B z = vec with the basis matrix B (vec: one number per row); z is\n"
              "indexed by basis position (see getpivotorder). A list is overwritten, another\n"
              "sequence gives a new list.\n\n"
              "Example: v = [1.0, 0.0]; p.ftran(v)"),
    KW(btran, "btran(vec)\n\n"
              "Solves y'B = vec' with the basis matrix B (vec indexed by basis position); y is\n"
              "indexed by row. A list is overwritten, another sequence gives a new list.\n\n"
              "Example: v = [1.0, 0.0]; p.btran(v)"),
    KW(strongbranch, "strongbranch(colind, bndtype, bndval, iterlim, objval, status)\n\n"
                     "For each candidate bound change, the objective and LP status after at\n"
                     "most iterlim dual simplex iterations from the optimal basis. The problem\n"
                     "is left unchanged.\n\n"
                     "Example: obj, st = [], []; p.strongbranch([x, x], ['U', 'L'], [0, 1], 50, obj, st)"),
    KW(estimaterowdualranges, "estimaterowdualranges(rowind, iterlim, mindual, maxdual)\n\n"
                              "Estimates the smallest and largest dual value of each row as its\n"
                              "right-hand side moves, following at most iterlim basis changes\n"
                              "each way.\n\n"
                              "Example: lo, hi = [], []; p.estimaterowdualranges([c1], 10, lo, hi)"),
    KW(basisstability, "basisstability(type, norm, scaled) -> float\n\n"
                       "type 0 the basis's condition number, 1 the norm of its inverse, 2 its\n"
                       "norm; norm 0 infinity, 1 one-norm; scaled non-zero scales its columns\n"
                       "first.\n\n"
                       "Example: p.basisstability(0, 1, 0)"),
    KW(getpivots, "getpivots(enter, outlist, x, maxpivots) -> (objective, count)\n\n"
                  "The ratio test of a nonbasic variable entering the basis: the basic\n"
                  "variables that would leave, in outlist, with their step lengths in x, at most\n"
                  "maxpivots of them; returns the objective after the first pivot and their\n"
                  "number. enter is an index of the combined row-and-column numbering.\n\n"
                  "Example: out, steps = [], []; p.getpivots(p.attributes.rows + 1, out, steps, 5)"),
    {nullptr, nullptr, 0, nullptr},
};
