// Reading a solved problem's values back by object: primal values, slacks, duals and reduced
// costs, for nothing (all values), one object, index or name, or nested structures of them.
#include "problem/solution.h"

#include "model/constraint.h"
#include "problem/evaluate.h"
#include "model/sos.h"
#include "model/termmaps.h"
#include "model/var.h"
#include "model/walk.h"
#include "module/alloc_buffer.h"
#include "module/allocator.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/methods.h"
#include "module/pyref.h"
#include "module/scalars.h"
#include "problem/solve.h"

namespace {


// Name types of NVRLgetindex.
constexpr int kNameRows = 1;
constexpr int kNameCols = 2;

// Raises SolverError msg unless a more precise exception is pending. Returns -1.
int solver_error(const char *msg) {
  if (!PyErr_Occurred()) PyErr_SetString(nvpy_solver_exc, msg);
  return -1;
}

int nslp_getslpsol(NSLPprob slp, double *x, double *slack, double *duals, double *djs) {
  return NSLPgetslpsol(slp, x, slack, duals, djs);
}

// --- readers: each fills one array of n doubles -----------------------------------------

using Reader = int (*)(problem_s *p, bool use_nslp, double *values);

// One of the row or column vectors that come with a solution besides the primal values.
enum class SolutionPart { slack, duals, reduced_costs };

// Reads part into out from the nonlinear solver or from the optimiser's LP or MIP solution.
// A MIP has slacks but refuses duals and reduced costs with mip_refusal. failure is the
// message of a failing library read.
int read_solution_part(problem_s *p, bool use_nslp, SolutionPart part, double *out,
                       const char *mip_refusal, const char *failure) {
  double *slack = part == SolutionPart::slack ? out : nullptr;
  double *duals = part == SolutionPart::duals ? out : nullptr;
  double *djs = part == SolutionPart::reduced_costs ? out : nullptr;
  if (use_nslp)
    return nslp_getslpsol(p->slpprob, nullptr, slack, duals, djs) != 0 ? solver_error(failure) : 0;
  int is_mip = problem_is_mip(p);
  if (is_mip < 0) return -1;
  if (is_mip && mip_refusal != nullptr) return solver_error(mip_refusal);
  int rc = is_mip ? NVRLgetmipsol(p->prob, nullptr, slack)
                  : NVRLgetlpsol(p->prob, nullptr, slack, duals, djs);
  return rc != 0 ? solver_error(failure) : 0;
}

int read_slacks(problem_s *p, bool use_nslp, double *slack) {
  return read_solution_part(p, use_nslp, SolutionPart::slack, slack, nullptr,
                            "Could not get constraints' slack");
}

int read_duals(problem_s *p, bool use_nslp, double *duals) {
  return read_solution_part(p, use_nslp, SolutionPart::duals, duals,
                            "Cannot retrieve dual variables in a MIP",
                            "Could not get dual solution");
}

int read_reduced_costs(problem_s *p, bool use_nslp, double *djs) {
  return read_solution_part(p, use_nslp, SolutionPart::reduced_costs, djs,
                            "Cannot retrieve reduced cost in a MIP",
                            "Could not retrieve reduced costs");
}

// --- shaping the result -----------------------------------------------------------------

// A name or a plain object is one value; what the leaf walk opens is walked.
bool is_single(PyObject *obj) { return !nvo_walk_opens(nvo_node_of(obj)); }

int index_out_of_range() {
  return nvo_model_error("Index out of range");
}

// The row (rows true) or column index of one leaf, checked against n. 0 and *index, or -1
// with an exception set (none for a negative integer).
int object_index(PyObject *obj, problem_s *p, bool rows, int n, int64_t *index) {
  const rowcolmap *map = nullptr;
  uint64_t id = 0;
  if (!rows && var_check(obj)) {
    map = p->varmap;
    id = var_id(obj);
  } else if (rows && constraint_check(obj)) {
    map = p->conmap;
    id = con_id(obj);
  } else if (rows && sos_check(obj)) {
    map = p->sosmap;
    id = static_cast<uint64_t>(sos_id(obj));
  }
  if (map != nullptr) {
    if (rowcolmap_get(map, id, index) != 0 || *index >= n) return index_out_of_range();
    return 0;
  }

  if (PyUnicode_Check(obj) || PyBytes_Check(obj)) {
    const char *name =
        PyUnicode_Check(obj) ? PyUnicode_AsUTF8(obj) : PyBytes_AsString(obj);
    if (name == nullptr) return -1;
    int found = -1;
    if (NVRLgetindex(p->prob, rows ? kNameRows : kNameCols, name, &found) != 0 || found >= n)
      return index_out_of_range();
    *index = found;
    return 0;
  }

  if (nvo_is_integer(obj)) {
    long long value;
    int overflow = 0;
    if (nvo_integer_value(obj, &value, &overflow) != 0) return -1;
    // Only the upper end is checked. A negative index fails the call with no message of
    // its own: the method's setNvrlErrIfNull then reports the library's last error.
    if (overflow > 0 || (overflow == 0 && value >= n)) return index_out_of_range();
    if (overflow < 0 || value < 0) return -1;
    *index = value;
    return 0;
  }

  return nvo_model_error("Incorrect object(s) passed: need index, variable, constraint, or SOS");
}

// Shapes n values for args: nothing gives all values as a list, one single object one float,
// anything else a flat list with one float per leaf in walk order.
PyObject *problem_getVector(problem_s *p, PyObject *args, int n, const double *values,
                            bool rows) {
  Py_ssize_t nargs = PyTuple_GET_SIZE(args);
  if (nargs == 0) {
    PyRef list(PyList_New(n));
    if (!list) return nullptr;
    for (int i = 0; i < n; ++i) {
      PyObject *v = PyFloat_FromDouble(values[i]);
      if (v == nullptr) return nullptr;
      PyList_SET_ITEM(list.get(), i, v);
    }
    return list.release();
  }

  if (nargs == 1 && is_single(PyTuple_GET_ITEM(args, 0))) {
    int64_t index = 0;
    if (object_index(PyTuple_GET_ITEM(args, 0), p, rows, n, &index) != 0) return nullptr;
    return PyFloat_FromDouble(values[index]);
  }

  PyRef list(PyList_New(0));
  if (!list) return nullptr;
  int rc = nvo_walk_args(args, [&](PyObject *leaf) {
    int64_t index = 0;
    if (object_index(leaf, p, rows, n, &index) != 0) return -1;
    PyRef v(PyFloat_FromDouble(values[index]));
    if (!v) return -1;
    return PyList_Append(list.get(), v.get());
  });
  return rc == 0 ? list.release() : nullptr;
}

// Shared body of the four methods: reads the vector with reader and shapes it for args.
PyObject *problem_getResult(problem_s *p, PyObject *args, bool rows, Reader reader) {
  int use = use_nslp_solution(p);
  if (use < 0) return nullptr;
  int n = 0;
  if (problem_solution_length(p, use != 0, rows, &n) != 0) return nullptr;
  AllocBuffer<double> values;
  if (values.allocate(n) != 0) return nullptr;
  if (reader(p, use != 0, values.data()) != 0) return nullptr;
  return problem_getVector(p, args, n, values.data(), rows);
}

}  // namespace

int use_nslp_solution(problem_s *p) {
  if (p->slpprob == nullptr || nslp_state(-1) != 1) return 0;
  // After the optimiser ran last, a status left by an earlier nonlinear run is stale.
  return problem_is_nonlinear(p) || p->last_run_nonlinear != 0 ? 1 : 0;
}

int problem_solution_length(problem_s *p, bool use_nslp, bool rows, int *n) {
  int rc = use_nslp ? NSLPgetintattrib(p->slpprob, rows ? NSLP_ATTR_ROWS : NSLP_ATTR_COLUMNS, n)
                    : NVRLgetintattrib(p->prob,
                                       rows ? NVRL_ATTR_ORIGINAL_ROWS : NVRL_ATTR_ORIGINAL_COLUMNS, n);
  return rc != 0 ? nvo_library_error(p) : 0;
}

int problem_read_primal_values(problem_s *p, bool use_nslp, double *x) {
  if (use_nslp)
    return nslp_getslpsol(p->slpprob, x, nullptr, nullptr, nullptr) != 0 ? nvo_library_error(p) : 0;
  int is_mip = problem_is_mip(p);
  if (is_mip < 0) return -1;
  int rc = is_mip ? NVRLgetmipsol(p->prob, x, nullptr)
                  : NVRLgetlpsol(p->prob, x, nullptr, nullptr, nullptr);
  return rc != 0 ? nvo_library_error(p) : 0;
}

PyObject *problem_getSolution(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kwlist[] = {"flatten", nullptr};
  PyObject *flatten_arg = nullptr;
  PyRef no_positional(PyTuple_New(0));
  if (!no_positional || !PyArg_ParseTupleAndKeywords(no_positional.get(), kwargs, "|$O:getSolution",
                                                     const_cast<char **>(kwlist), &flatten_arg))
    return nullptr;
  int flatten = nvo_flag_truth(flatten_arg);
  if (flatten < 0) return nullptr;

  if (PyTuple_GET_SIZE(args) == 0 || flatten)
    return setNvrlErrIfNull(self,
                            problem_getResult(p, args, false, problem_read_primal_values));

  // Objects and structures of them: evaluated at the solution, in the shape given.
  int use = use_nslp_solution(p);
  if (use < 0) return nullptr;
  int length = 0;
  Py_ssize_t columns = 0;
  if (problem_solution_length(p, use != 0, false, &length) != 0 ||
      nvo_eval_problem_columns(p, &columns) != 0)
    return nullptr;
  AllocBuffer<double> x;
  if (x.allocate(columns > length ? static_cast<int>(columns) : length) != 0) return nullptr;
  if (problem_read_primal_values(p, use != 0, x.data()) != 0) return nullptr;
  nvo_eval_context ctx;
  ctx.problem = p;
  ctx.values = x.data();
  ctx.n = columns;
  return setNvrlErrIfNull(self, scan_args_expressions(args, &ctx, 1));
}

PyObject *problem_getSlack(PyObject *self, PyObject *args) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  return setNvrlErrIfNull(self, problem_getResult(p, args, true, read_slacks));
}

PyObject *problem_getDual(PyObject *self, PyObject *args) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  return setNvrlErrIfNull(self, problem_getResult(p, args, true, read_duals));
}

PyObject *problem_getRCost(PyObject *self, PyObject *args) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  return setNvrlErrIfNull(self, problem_getResult(p, args, false, read_reduced_costs));
}

PyDoc_STRVAR(problem_getSolution_doc,
             "getSolution(*args, flatten=False)\n\n"
             "Values of the last solution. With no argument, a list with one value per\n"
             "variable. With one variable, index or name, its value. With expressions or\n"
             "structures of objects (lists, tuples, dictionaries, arrays), their values in the\n"
             "same shape; flatten=True gives a flat list of the values of the leaves instead.\n\n"
             "Example: p.getSolution(x), p.getSolution({'a': x, 'b': x + 2*y})");

PyDoc_STRVAR(problem_getSlack_doc,
             "getSlack(*args)\n\n"
             "Slacks of the constraints in the last solution: all of them as a list, one value\n"
             "for one constraint, index or name, or a flat list for a structure of them.\n\n"
             "Example: p.getSlack(c1), p.getSlack('c1'), p.getSlack([c1, c2])");

PyDoc_STRVAR(problem_getDual_doc,
             "getDual(*args)\n\n"
             "Dual values of the constraints in the last LP solution, shaped as for\n"
             "getSlack. Not available for a problem with integer variables or sets.\n\n"
             "Example: p.getDual(c1)");

PyDoc_STRVAR(problem_getRCost_doc,
             "getRCost(*args)\n\n"
             "Reduced costs of the variables in the last LP solution: all of them as a list,\n"
             "one value for one variable, index or name, or a flat list for a structure of\n"
             "them. Not available for a problem with integer variables or sets.\n\n"
             "Example: p.getRCost(x)");

PyMethodDef problem_methods_solution[] = {
    {"getSolution", NVO_KW_METHOD(problem_getSolution),
     METH_VARARGS | METH_KEYWORDS, problem_getSolution_doc},
    {"getSlack", problem_getSlack, METH_VARARGS, problem_getSlack_doc},
    {"getDual", problem_getDual, METH_VARARGS, problem_getDual_doc},
    {"getRCost", problem_getRCost, METH_VARARGS, problem_getRCost_doc},
    {nullptr, nullptr, 0, nullptr},
};
