// Repairing an infeasible problem: repairinfeas, repairweightedinfeas and
// repairweightedinfeasbounds. The library relaxes rows and bounds by solving a problem of its
// own, which may take as long as a solve: the interpreter lock is released meanwhile.
#include "lowlevel/conv.h"
#include "module/args.h"
#include "module/errors.h"
#include "module/methods.h"
#include "problem/method_families.h"

namespace {

// Runs a repair call with the lock released and Ctrl-C routed to the library; returns the
// status as an int, or null with the library's error (or a callback's exception).
template <typename Call>
PyObject *run_repair(PyObject *self, problem_s *p, Call call) {
  int status = -1;
  const int rc = problem_run_released(p, [&] { return call(&status); });
  if (rc != 0) return setNvrlErrIfNull(self, nullptr);
  if (PyErr_Occurred()) return nullptr;  // raised by a message handler
  return PyLong_FromLong(status);
}

// Preference or relaxation arrays, each checked against the number of rows or columns.
struct PerItem {
  ConvArray<double> arr[8];
  int convert(problem_s *p, PyObject *const *objs, int n) {
    const int64_t rows = nvo_int_attrib(p, NVRL_ATTR_ROWS);
    if (rows < 0) return -1;
    const int64_t cols = nvo_int_attrib(p, NVRL_ATTR_COLUMNS);
    if (cols < 0) return -1;
    for (int i = 0; i < n; ++i) {
      // Row arrays and column arrays alternate in pairs: le, ge (rows), lb, ub (columns).
      int64_t count = (i % 4) < 2 ? rows : cols;
      if (arr[i].convert(p, &count, objs[i], CONV_DOUBLE) != 0) return -1;
    }
    return 0;
  }
  const double *get(int i) const { return arr[i].get(); }
};

PyDoc_STRVAR(repairinfeas_doc,
             "repairinfeas(penalty, phase2, flags, lepref, gepref, lbpref, ubpref, delta)\n\n"
             "Relaxes rows and bounds until the problem is feasible, with one preference for\n"
             "every <= side, >= side, lower and upper bound (0: not relaxed; a larger\n"
             "preference relaxes more cheaply). penalty 's' sum, 'q' sum of squares, 'c'\n"
             "count; phase2 'n' none, 'o' optimise the objective within (1+delta) of the least\n"
             "penalty, 'f' within the least-penalty relaxation; flags 'k' keep the rows and\n"
             "bounds, 'r' log each relaxation, ' ' none. Returns the repair status (0 relaxed\n"
             "optimum, 1 infeasible, 2 unbounded, 3 stopped by a limit, 4 error).\n\n"
             "Example: status = p.repairinfeas('s', 'n', ' ', 1, 1, 0, 0, 0)");

PyObject *NVRL_PY_repairinfeas(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"penalty", "phase2", "flags", "lepref", "gepref",
                                 "lbpref",  "ubpref", "delta", nullptr};
  int penalty = 0, phase2 = 0, flags = 0;
  double lepref = 0, gepref = 0, lbpref = 0, ubpref = 0, delta = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "CCCddddd:repairinfeas", kwlist, nullptr, &penalty,
                                 &phase2, &flags, &lepref, &gepref, &lbpref, &ubpref, &delta))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  NVRLprob prob = p->prob;
  return run_repair(self, p, [&](int *status) {
    return NVRLrepairinfeas(prob, status, static_cast<char>(penalty), static_cast<char>(phase2),
                            static_cast<char>(flags), lepref, gepref, lbpref, ubpref, delta);
  });
}

PyDoc_STRVAR(repairweightedinfeas_doc,
             "repairweightedinfeas(lepref, gepref, lbpref, ubpref, phase2, delta, flags)\n\n"
             "repairinfeas with a preference per row (lepref, gepref) and per column (lbpref,\n"
             "ubpref); None relaxes nothing of that kind. flags may hold the penalty letter\n"
             "('s' by default, 'q', 'c') and 'k', 'r'. Returns the repair status.\n\n"
             "Example: p.repairweightedinfeas([1, 1], [1, 2], None, None, 'n', 0, '')");

PyObject *NVRL_PY_repairweightedinfeas(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"lepref", "gepref", "lbpref", "ubpref",
                                 "phase2", "delta",  "flags",  nullptr};
  PyObject *objs[4] = {};
  int phase2 = 0;
  double delta = 0;
  const char *flags = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OOOOCds:repairweightedinfeas", kwlist, nullptr,
                                 &objs[0], &objs[1], &objs[2], &objs[3], &phase2, &delta, &flags))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  PerItem a;
  if (a.convert(p, objs, 4) != 0) return setNvrlErrIfNull(self, nullptr);
  NVRLprob prob = p->prob;
  return run_repair(self, p, [&](int *status) {
    return NVRLrepairweightedinfeas(prob, status, a.get(0), a.get(1), a.get(2), a.get(3),
                                    static_cast<char>(phase2), delta, flags);
  });
}

PyDoc_STRVAR(repairweightedinfeasbounds_doc,
             "repairweightedinfeasbounds(lepref, gepref, lbpref, ubpref, lerelax, gerelax,\n"
             "                           lbrelax, ubrelax, phase2, delta, flags)\n\n"
             "repairweightedinfeas with each relaxation limited by lerelax, gerelax (per row)\n"
             "and lbrelax, ubrelax (per column); 1e20 means no limit. Returns the repair\n"
             "status.\n\n"
             "Example: p.repairweightedinfeasbounds([1, 1], [1, 1], None, [1] * 5, [1e20] * 2,\n"
             "                                      [1e20] * 2, [0] * 5, [2] * 5, 'n', 0, '')");

PyObject *NVRL_PY_repairweightedinfeasbounds(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"lepref",  "gepref",  "lbpref",  "ubpref", "lerelax", "gerelax",
                                 "lbrelax", "ubrelax", "phase2", "delta",  "flags",   nullptr};
  PyObject *objs[8] = {};
  int phase2 = 0;
  double delta = 0;
  const char *flags = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OOOOOOOOCds:repairweightedinfeasbounds", kwlist,
                                 nullptr, &objs[0], &objs[1], &objs[2], &objs[3], &objs[4],
                                 &objs[5], &objs[6], &objs[7], &phase2, &delta, &flags))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  PerItem a;
  if (a.convert(p, objs, 8) != 0) return setNvrlErrIfNull(self, nullptr);
  NVRLprob prob = p->prob;
  return run_repair(self, p, [&](int *status) {
    return NVRLrepairweightedinfeasbounds(prob, status, a.get(0), a.get(1), a.get(2), a.get(3),
                                          a.get(4), a.get(5), a.get(6), a.get(7),
                                          static_cast<char>(phase2), delta, flags);
  });
}

}  // namespace

#define ENTRY(name) \
  {#name, NVO_KW_METHOD(NVRL_PY_##name), METH_VARARGS | METH_KEYWORDS, name##_doc}

PyMethodDef problem_methods_repair[] = {
    ENTRY(repairinfeas),
    ENTRY(repairweightedinfeas),
    ENTRY(repairweightedinfeasbounds),
    {nullptr, nullptr, 0, nullptr},
};
