// Adding special ordered sets and indicator constraints to a problem.
#include <string>

#include "model/constraint.h"
#include "model/dispatch.h"
#include "model/expression.h"
#include "model/sos.h"
#include "model/var.h"
#include "model/walk.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/pyref.h"
#include "module/scalars.h"
#include "problem/con_batch.h"
#include "problem/objects.h"
#include "problem/problem.h"

namespace {



// Column of one member of a set: a variable of the problem or a column index.
int set_member_column(problem_s *p, PyObject *item, int *col) {
  if (var_check(item)) {
    int64_t c;
    if (rowcolmap_get(p->varmap, var_id(item), &c) != 0)
      return nvo_model_error("SOS contains variable that was not added to the problem");
    *col = static_cast<int>(c);
    return 0;
  }
  if (nvo_is_integer(item)) {
    long long c;
    if (nvo_integer_value(item, &c) != 0) return -1;
    *col = static_cast<int>(c);
    return 0;
  }
  return nvo_model_error("SOS indices must be passed as a list");
}

int problem_addSOS_single(problem_s *p, PyObject *set) {
  if (!sos_check(set)) return nvo_model_error("Object added is not a SOS");
  if (rowcolmap_has(p->sosmap, static_cast<uint64_t>(sos_id(set))))
    return nvo_model_error("SOS already added to problem");
  PyObject *indices = sos_indices(set), *weights = sos_weights(set);
  if (indices == nullptr || !PyList_Check(indices))
    return nvo_model_error("SOS indices must be passed as a list");
  if (weights == nullptr || !PyList_Check(weights))
    return nvo_model_error("SOS weights must be passed as a list");
  const Py_ssize_t n = PyList_GET_SIZE(indices);
  if (PyList_GET_SIZE(weights) < n)
    return nvo_model_error("SOS has fewer weights than indices");
  AllocBuffer<int> cols;
  AllocBuffer<double> refval;
  if (cols.allocate(static_cast<size_t>(n)) != 0 || refval.allocate(static_cast<size_t>(n)) != 0)
    return -1;
  for (Py_ssize_t i = 0; i < n; ++i) {
    if (set_member_column(p, PyList_GET_ITEM(indices, i), &cols[i]) != 0) return -1;
    refval[i] = PyFloat_AsDouble(PyList_GET_ITEM(weights, i));
    if (refval[i] == -1.0 && PyErr_Occurred()) return -1;
  }
  const char settype = sos_settype(set) == 2 ? '2' : '1';
  const NVRLint64 start[2] = {0, n};
  if (NVRLaddsets64(p->prob, 1, n, &settype, start, cols.data(), refval.data()) != 0)
    return nvo_library_error(p);
  int nsets = 0;
  if (NVRLgetintattrib(p->prob, NVRL_ATTR_ORIGINAL_SETS, &nsets) != 0)
    return nvo_library_error(p);
  if (PyList_Append(p->sets, set) != 0) return -1;
  if (rowcolmap_set(p->sosmap, static_cast<uint64_t>(sos_id(set)), nsets - 1) != 0) return -1;
  return 0;
}

// ----- indicators -------------------------------------------------------------------------

const char kIndicatorUsage[] =
    "Invalid declaration of indicator constraints.\n"
    "The problem.addIndicator function accepts either two constraints or one or more TUPLES of "
    "constraints,\n"
    "as in the following examples:\n\n"
    "p.addIndicator(z==1, 2*x + 4*y <= 4)\n\n"
    "p.addIndicator((y1==1, 2*x1 + 4*x2 <= 4),\n"
    "               (y2==1, 3*x1 -   x2 >= 2),\n"
    "               (y3==1, 2*x1 + 4*x2 <= 4))\n";

// The variable and coefficient of a condition's body.
int condition_variable(PyObject *body, PyObject **var, double *coef) {
  int kind = nvo_kind_noraise(body);
  if (kind == NVO_KIND_VAR) {
    *var = body;
    *coef = 1.0;
    return 0;
  }
  if (kind != NVO_KIND_EXPRESSION)
    return nvo_model_error(
        "Invalid indicator expression. Must be var==0 or var==1, where var is a binary "
        "variable");
  auto *e = reinterpret_cast<expression_s *>(body);
  if (e->constant != 0.0)
    return nvo_model_error("Invalid condition for indicator constraints: must be a variable");
  if (e->lin == nullptr || linmap_size(e->lin) != 1)
    return nvo_model_error(
        "Invalid condition for indicator constraints: there must be exactly one variable");
  if (e->quad != nullptr && quadmap_size(e->quad) > 0)
    return nvo_model_error(
        "Invalid condition for indicator constraints: it cannot contain a quadratic "
        "expression");
  const auto &entry = *e->lin->begin();
  *var = reinterpret_cast<PyObject *>(const_cast<var_s *>(entry.var));
  *coef = entry.coef;
  return 0;
}

int condition_flag(PyObject *condition, PyObject *var, double coef, int *flag) {
  if (coef != 1.0) return nvo_model_error("Indicator variable must have coefficient 1");
  const uint64_t word = reinterpret_cast<constraint_s *>(condition)->rec;
  const double lb = get_con_lbound(word), ub = get_con_ubound(word);
  if (lb == 0.0 && ub == 0.0) {
    *flag = -1;
    return 0;
  }
  if (lb == 1.0 && ub == 1.0) {
    *flag = 1;
    return 0;
  }
  PyRef name(get_var_name(reinterpret_cast<var_s *>(var)->rec));
  if (!name) return -1;
  PyErr_Format(nvpy_model_exc,
               "Invalid condition for indicator constraints: must be %S == 0 or %S == 1",
               name.get(), name.get());
  return -1;
}

int add_indicator_pair(problem_s *p, PyObject *condition, PyObject *enforced) {
  PyObject *body = reinterpret_cast<constraint_s *>(enforced)->body;
  int kind = body != nullptr ? nvo_kind_noraise(body) : -1;
  if (kind == NVO_KIND_NONLIN)
    return nvo_model_error("Nonlinear indicator constraints are not allowed");
  if (kind < 0) return nvo_model_error("Invalid constraint assigned to indicator");

  PyObject *cond_body = reinterpret_cast<constraint_s *>(condition)->body;
  PyObject *var = nullptr;
  double coef = 0.0;
  if (cond_body == nullptr || condition_variable(cond_body, &var, &coef) != 0) {
    if (!PyErr_Occurred())
      nvo_model_error("Invalid indicator expression. Must be var==0 or var==1, where var is a "
                  "binary variable");
    return -1;
  }
  int64_t column;
  if (rowcolmap_get(p->varmap, var_id(var), &column) != 0)
    return nvo_model_error("Indicator variable has not been added to problem yet");
  int flag = 0;
  if (condition_flag(condition, var, coef, &flag) != 0) return -1;

  con_batch batch;
  if (con_batch_check(p, enforced) != 0 || con_batch_queue(&batch, p, enforced) != 0) return -1;
  if (con_batch_flush(&batch, p) != 0) return -1;
  int64_t rows = problem_row_count(p);
  if (rows < 0) return -1;
  const int row = static_cast<int>(rows - 1), col = static_cast<int>(column);
  if (NVRLsetindicators(p->prob, 1, &row, &col, &flag) != 0) {
    nvo_library_error(p);
    NVRLdelrows(p->prob, 1, &row);  // no half-made indicator stays behind
    return -1;
  }
  if (PyList_Append(p->cons, enforced) != 0) return -1;
  if (rowcolmap_set(p->conmap, con_id(enforced), rows - 1) != 0)
    return nvo_model_error("Cannot add constraint to problem");
  return 0;
}

}  // namespace

const char problem_addSOS_doc[] =
    "addSOS(*sets)\n\n"
    "Adds special ordered sets (also in nested lists, tuples, dictionaries or arrays). Their\n"
    "variables must already belong to the problem.\n\n"
    "Example: s = nuvrel.sos([x1, x2, x3], [1, 2, 3], type=2); p.addSOS(s)";

PyObject *problem_addSOS(PyObject *self, PyObject *args, PyObject *kwargs) {
  if (nvo_no_keywords("addSOS", kwargs) != 0) return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (nvo_walk_args(args, [&](PyObject *leaf) { return problem_addSOS_single(p, leaf); }) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

const char problem_addIndicator_doc[] =
    "addIndicator(condition, constraint) or addIndicator((condition, constraint), ...)\n\n"
    "Adds constraints that must hold only when a binary variable takes a value: the\n"
    "condition is var == 1 or var == 0.\n\n"
    "Example: p.addVariable(z); p.addIndicator(z == 1, 2*x + 4*y <= 4)";

PyObject *problem_addIndicator(PyObject *self, PyObject *args) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  const Py_ssize_t n = PyTuple_GET_SIZE(args);
  if (n == 2 && constraint_check(PyTuple_GET_ITEM(args, 0)) &&
      constraint_check(PyTuple_GET_ITEM(args, 1))) {
    if (add_indicator_pair(p, PyTuple_GET_ITEM(args, 0), PyTuple_GET_ITEM(args, 1)) != 0)
      return nullptr;
    Py_RETURN_NONE;
  }
  // Every pair is checked before any is added.
  for (Py_ssize_t i = 0; i < n; ++i) {
    PyObject *pair = PyTuple_GET_ITEM(args, i);
    if (!PyTuple_Check(pair) || PyTuple_GET_SIZE(pair) != 2) {
      nvo_model_error(kIndicatorUsage);
      return nullptr;
    }
    if (!constraint_check(PyTuple_GET_ITEM(pair, 0)) ||
        !constraint_check(PyTuple_GET_ITEM(pair, 1))) {
      nvo_model_error("Invalid declaration of indicator constraints.");
      return nullptr;
    }
  }
  for (Py_ssize_t i = 0; i < n; ++i) {
    PyObject *pair = PyTuple_GET_ITEM(args, i);
    if (add_indicator_pair(p, PyTuple_GET_ITEM(pair, 0), PyTuple_GET_ITEM(pair, 1)) != 0)
      return nullptr;
  }
  Py_RETURN_NONE;
}
