// Answers recomputed by the library from vectors the caller gives: the objective, slacks,
// reduced costs and measures of a solution's infeasibility.
#include "lowlevel/conv.h"
#include "lowlevel/query_support.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/errors.h"
#include "module/methods.h"
#include "problem/method_families.h"

namespace {

// A vector of exactly n numbers (one per column or per row); given is false for None.
int vector_of(problem_s *p, PyObject *obj, int64_t n, ConvArray<double> &arr) {
  int64_t count = n;
  return arr.convert(p, &count, obj, CONV_DOUBLE);
}

int dims(problem_s *p, int64_t *rows, int64_t *cols) {
  return query::rows(p, rows) != 0 || query::cols(p, cols) != 0 ? -1 : 0;
}

PyObject *NVRL_PY_calcobjective(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"solution", nullptr};
  PyObject *sol = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "O:calcobjective", kw, nullptr, &sol))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t nr, nc;
  if (dims(p, &nr, &nc) != 0) return query::done(p, nullptr);
  ConvArray<double> x;
  if (vector_of(p, sol, nc, x) != 0) return setNvrlErrIfNull(self, nullptr);
  if (!x.given()) return nvo_model_error("Must provide argument solution");
  double value = 0.0;
  if (NVRLcalcobjective(p->prob, x.get(), &value) != 0) return query::done(p, nullptr);
  return PyFloat_FromDouble(value);
}

PyObject *NVRL_PY_calcslacks(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"solution", "calculatedslacks", nullptr};
  PyObject *sol = nullptr, *out = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "O|O:calcslacks", kw, nullptr, &sol, &out))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (query::outputs_are_lists({out}) != 0) return nullptr;
  int64_t nr, nc;
  if (dims(p, &nr, &nc) != 0) return query::done(p, nullptr);
  ConvArray<double> x;
  if (vector_of(p, sol, nc, x) != 0) return setNvrlErrIfNull(self, nullptr);
  if (!x.given()) return nvo_model_error("Must provide argument solution");
  AllocBuffer<double> slacks;
  if (slacks.allocate(nr) != 0) return nullptr;
  if (NVRLcalcslacks(p->prob, x.get(), slacks.data()) != 0) return query::done(p, nullptr);
  return query::done(p, query::filled_or_new(p, nr, slacks.data(), out, CONV_DOUBLE));
}

PyObject *NVRL_PY_calcreducedcosts(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"duals", "solution", "djs", nullptr};
  PyObject *duals = nullptr, *sol = nullptr, *out = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OOO:calcreducedcosts", kw, nullptr, &duals, &sol,
                                 &out))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (query::outputs_are_lists({out}) != 0) return nullptr;
  int64_t nr, nc;
  if (dims(p, &nr, &nc) != 0) return query::done(p, nullptr);
  ConvArray<double> y, x;
  if (vector_of(p, duals, nr, y) != 0 || vector_of(p, sol, nc, x) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (!y.given()) return nvo_model_error("Must provide argument duals");
  AllocBuffer<double> djs;
  if (djs.allocate(nc) != 0) return nullptr;
  if (NVRLcalcreducedcosts(p->prob, y.get(), x.get(), djs.data()) != 0)
    return query::done(p, nullptr);
  return query::done(p, query::filled_or_new(p, nc, djs.data(), out, CONV_DOUBLE));
}

PyObject *NVRL_PY_calcsolinfo(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"solution", "dual", "property", nullptr};
  PyObject *sol = nullptr, *duals = nullptr;
  int property = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OOi:calcsolinfo", kw, nullptr, &sol, &duals,
                                 &property))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t nr, nc;
  if (dims(p, &nr, &nc) != 0) return query::done(p, nullptr);
  ConvArray<double> x, y;
  if (vector_of(p, sol, nc, x) != 0 || vector_of(p, duals, nr, y) != 0)
    return setNvrlErrIfNull(self, nullptr);
  double value = 0.0;
  if (NVRLcalcsolinfo(p->prob, x.get(), y.get(), property, &value) != 0)
    return query::done(p, nullptr);
  return PyFloat_FromDouble(value);
}

#define KW(name, doc) {#name, NVO_KW_METHOD(NVRL_PY_##name), METH_VARARGS | METH_KEYWORDS, doc}

}  // namespace

PyMethodDef problem_methods_recompute[] = {
    KW(calcobjective, "calcobjective(solution) -> float\n\n"
                      "The objective (constant and quadratic part included) at a solution.\n\n"
                      "Example: p.calcobjective([1.0, 2.0, 0.0, 0.0, 0.0])"),
    KW(calcslacks, "calcslacks(solution, calculatedslacks=None)\n\n"
                   "The slack (rhs - activity) of every row at a solution.\n\n"
                   "Example: s = []; p.calcslacks([1.0, 2.0, 0.0, 0.0, 0.0], s)"),
    KW(calcreducedcosts, "calcreducedcosts(duals, solution, djs)\n\n"
                         "The reduced cost of every column for the duals given (and the\n"
                         "solution, which quadratic problems need; None otherwise).\n\n"
                         "Example: duals, d = [], []; p.getlpsol(None, None, duals, None)\n"
                         "         p.calcreducedcosts(duals, None, d)"),
    KW(calcsolinfo, "calcsolinfo(solution, dual, property) -> float\n\n"
                    "A measure of a solution: property 0 (1) the largest absolute (relative)\n"
                    "primal infeasibility, 2 (3) the largest absolute (relative) dual\n"
                    "infeasibility, 4 the largest distance of an integer column from an integer.\n"
                    "dual may be None for 0, 1 and 4.\n\n"
                    "Example: sol = []; p.getlpsol(sol); p.calcsolinfo(sol, None, 0)"),
    {nullptr, nullptr, 0, nullptr},
};
