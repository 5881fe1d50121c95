// The structural evaluator: a shape-keeping walk over tuples, dictionaries, arrays and
// sequences, and the value of one modelling object at a vector of column values.
#include "problem/evaluate.h"

#include "model/expression.h"
#include "model/dispatch.h"
#include "model/linterm.h"
#include "model/quadterm.h"
#include "model/termmaps.h"
#include "model/var.h"
#include "model/walk.h"
#include "module/alloc_buffer.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/numpy_api.h"
#include "module/pyref.h"
#include "module/scalars.h"
#include "nonlinear/nonlin.h"
#include "nonlinear/user_tokens.h"
#include "problem/solution.h"

#include <cmath>

namespace {


constexpr const char kNotIdentified[] =
    "Object does not belong to problem or cannot be identified within expression";


// The value of a variable in the context: 0 and *value, or -1 with ModelError.
int variable_value(PyObject *var, const nvo_eval_context *ctx, double *value) {
  if (ctx->var_values != nullptr) {
    PyObject *v = PyDict_GetItemWithError(ctx->var_values, var);
    if (v != nullptr) {
      const double d = PyFloat_AsDouble(v);
      if (d == -1.0 && PyErr_Occurred()) return -1;
      *value = d;
      return 0;
    }
    if (PyErr_Occurred()) return -1;
  }
  int64_t col;
  if (ctx->problem == nullptr || ctx->problem->varmap == nullptr ||
      rowcolmap_get(ctx->problem->varmap, var_id(var), &col) != 0 || col < 0 || col >= ctx->n)
    return nvo_model_error(kNotIdentified);
  *value = ctx->values[col];
  return 0;
}

int linear_value(const linmap *lin, const nvo_eval_context *ctx, double *sum) {
  if (lin == nullptr) return 0;
  for (const auto &[v, coef] : *lin) {
    double xv;
    if (variable_value(reinterpret_cast<PyObject *>(const_cast<var_s *>(v)), ctx, &xv) < 0)
      return -1;
    *sum += coef * xv;
  }
  return 0;
}

int expression_value(const expression_s *e, const nvo_eval_context *ctx, double *value) {
  double sum = e->constant;
  if (linear_value(e->lin, ctx, &sum) < 0) return -1;
  if (e->quad != nullptr) {
    for (const auto &[v1, inner] : *e->quad) {
      double x1;
      if (variable_value(reinterpret_cast<PyObject *>(const_cast<var_s *>(v1)), ctx, &x1) < 0)
        return -1;
      double inner_sum = 0.0;
      if (linear_value(inner, ctx, &inner_sum) < 0) return -1;
      sum += x1 * inner_sum;
    }
  }
  *value = sum;
  return 0;
}

PyObject *column_value(const nvo_eval_context *ctx, long long col) {
  if (col < 0 || col >= ctx->n) {
    PyErr_SetString(nvpy_interf_exc,
                    "Call to nuvrel.problem.getSolution() contains an out-of-range index");
    return nullptr;
  }
  return PyFloat_FromDouble(ctx->values[col]);
}

PyObject *integer_leaf(PyObject *obj, const nvo_eval_context *ctx) {
  long long col;
  int overflow = 0;
  if (nvo_integer_value(obj, &col, &overflow) != 0) return nullptr;
  if (overflow != 0) col = -1;  // out of range either way
  return column_value(ctx, col);
}

PyObject *name_leaf(PyObject *obj, const nvo_eval_context *ctx) {
  const char *name = PyUnicode_Check(obj) ? PyUnicode_AsUTF8(obj) : PyBytes_AsString(obj);
  if (name == nullptr) return nullptr;
  auto *owner = reinterpret_cast<PyObject *>(ctx->problem);
  if (ctx->problem == nullptr || ctx->problem->prob == nullptr)
    return setNvrlErrIfNull(owner, nullptr);
  int col = -1;
  if (NVRLgetindex(ctx->problem->prob, 2, name, &col) != 0) return setNvrlErrIfNull(owner, nullptr);
  return column_value(ctx, col);
}

bool is_evaluable_dtype(PyArray_Descr *descr) {
  const nvr_py_env_t &env = nvr_py_env;
  for (PyObject *t : {env.npvar, env.npexpr, env.npconstraint})
    if (t != nullptr && t != Py_None &&
        PyArray_EquivTypes(descr, reinterpret_cast<PyArray_Descr *>(t)))
      return true;
  const int num = descr->type_num;
  return PyTypeNum_ISINTEGER(num) || PyTypeNum_ISFLOAT(num) || PyTypeNum_ISBOOL(num);
}

// A float array of obj's shape holding each element's value.
PyObject *array_value(PyObject *obj, const nvo_eval_context *ctx, int depth) {
  auto *arr = reinterpret_cast<PyArrayObject *>(obj);
  if (!is_evaluable_dtype(PyArray_DESCR(arr))) {
    PyErr_SetString(nvpy_interf_exc,
                    "nuvrel.evaluate() requires one or more Python objects;\nNumPy arrays must "
                    "be of dtype nuvrel.npvar, nuvrel.npexpr, or nuvrel.npconstraint.");
    return nullptr;
  }
  PyRef result(PyArray_SimpleNew(PyArray_NDIM(arr), PyArray_DIMS(arr), NPY_DOUBLE));
  if (!result) {
    PyErr_Clear();
    return nvo_model_error("Could not initialize result of the evaluation of a NumPy array");
  }
  // The fresh result is C-contiguous, so the source's elements in C order fill it in turn.
  auto *out = static_cast<double *>(PyArray_DATA(reinterpret_cast<PyArrayObject *>(result.get())));
  PyRef iter(PyArray_IterNew(obj));
  if (!iter) return nullptr;
  auto *it = reinterpret_cast<PyArrayIterObject *>(iter.get());
  for (npy_intp i = 0; it->index < it->size; ++i) {
    PyRef elem(PyArray_GETITEM(arr, static_cast<const char *>(PyArray_ITER_DATA(it))));
    if (!elem) return nullptr;
    if (evaluate_object(elem.get(), ctx, depth + 1, &out[i]) < 0) return nullptr;
    PyArray_ITER_NEXT(it);
  }
  return result.release();
}

PyObject *tuple_value(PyObject *obj, const nvo_eval_context *ctx, int has_problem, int depth) {
  const Py_ssize_t n = PyTuple_GET_SIZE(obj);
  PyRef result(PyTuple_New(n));
  if (!result) return nullptr;
  for (Py_ssize_t i = 0; i < n; ++i) {
    PyObject *v = evaluate_structure(PyTuple_GET_ITEM(obj, i), ctx, has_problem, depth + 1);
    if (v == nullptr) return nullptr;
    PyTuple_SET_ITEM(result.get(), i, v);
  }
  return result.release();
}

PyObject *dict_value(PyObject *obj, const nvo_eval_context *ctx, int has_problem, int depth) {
  PyRef result(PyDict_New());
  if (!result) return nullptr;
  // The items are taken as a list first, so the walk does not rely on the dictionary
  // staying unchanged while values are computed.
  PyRef items(PyDict_Items(obj));
  if (!items) return nullptr;
  for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items.get()); ++i) {
    PyObject *pair = PyList_GET_ITEM(items.get(), i);
    PyRef v(evaluate_structure(PyTuple_GET_ITEM(pair, 1), ctx, has_problem, depth + 1));
    if (!v || PyDict_SetItem(result.get(), PyTuple_GET_ITEM(pair, 0), v.get()) < 0)
      return nullptr;
  }
  return result.release();
}

PyObject *sequence_value(PyObject *obj, const nvo_eval_context *ctx, int has_problem,
                         int depth) {
  const Py_ssize_t n = PySequence_Size(obj);
  if (n < 0) {
    PyErr_Clear();
    return nvo_model_error("Cannot evaluate type of sequence");
  }
  PyRef result(PyList_New(n));
  if (!result) return nullptr;
  for (Py_ssize_t i = 0; i < n; ++i) {
    PyRef item(PySequence_GetItem(obj, i));
    if (!item) {
      PyErr_Clear();
      return nvo_model_error("Cannot evaluate type of sequence");
    }
    PyObject *v = evaluate_structure(item.get(), ctx, has_problem, depth + 1);
    if (v == nullptr) return nullptr;
    PyList_SET_ITEM(result.get(), i, v);
  }
  return result.release();
}

// The evaluation tolerance handed to piecewise-linear nodes: the module's default "miptol"
// when one has been set.
double evaluation_tolerance() {
  double tol = 5e-6;
  EnvLock lock(nvr_py_env.mtx_defaults);
  PyObject *defaults = nvr_py_env.default_controls;
  if (defaults != nullptr && PyDict_Check(defaults)) {
    PyObject *v = PyDict_GetItemString(defaults, "miptol");
    if (v != nullptr && nvo_is_number(v)) tol = nvo_number_value(v);
  }
  return tol;
}

int node_value(PyObject *node, const nvo_eval_context *ctx, int depth, double *value);

// The operands of an n-ary node evaluated in order; skip_first leaves out a user function's
// callable.
int operand_values(PyObject *args, const nvo_eval_context *ctx, int depth, bool skip_first,
                   AllocBuffer<double> *out) {
  if (!PyList_Check(args) && !PyTuple_Check(args)) return nvo_model_error("Unknown nonlinear type");
  const Py_ssize_t n = PySequence_Fast_GET_SIZE(args);
  const Py_ssize_t first = skip_first ? 1 : 0;
  if (out->allocate(static_cast<size_t>(n > first ? n - first : 0)) != 0) return -1;
  for (Py_ssize_t i = first; i < n; ++i)
    if (evaluate_object(PySequence_Fast_GET_ITEM(args, i), ctx, depth + 1, &(*out)[i - first]) <
        0)
      return -1;
  return 0;
}

double apply_unary(int op, double a) {
  switch (op) {
    case NL_NEG: return -a;
    case NL_EXP: return std::exp(a);
    case NL_LOG: return std::log(a);
    case NL_LOG10: return std::log10(a);
    case NL_SIN: return std::sin(a);
    case NL_COS: return std::cos(a);
    case NL_TAN: return std::tan(a);
    case NL_ASIN: return std::asin(a);
    case NL_ACOS: return std::acos(a);
    case NL_ATAN: return std::atan(a);
    case NL_ABS: return std::fabs(a);
    case NL_SIGN: return a < 0 ? -1.0 : a > 0 ? 1.0 : 0.0;
    case NL_ERF: return std::erf(a);
    case NL_ERFC: return std::erfc(a);
    default: return std::sqrt(a);  // NL_SQRT
  }
}

int node_value(PyObject *node, const nvo_eval_context *ctx, int depth, double *value) {
  // The same bound as for nested structures keeps the recursion off the end of the stack.
  if (nvo_check_depth(nvo_eval_limit, depth) != 0) return -1;
  const int op = nonlin_op_of(node);
  PyObject *args = reinterpret_cast<nonlin_s *>(node)->args;
  if (args == nullptr || op < 0 || op >= NL_OP_COUNT) return nvo_model_error("Unknown nonlinear type");
  switch (op) {
    case NL_SUM:
    case NL_PROD:
    case NL_MIN:
    case NL_MAX:
    case NL_AND:
    case NL_OR: {
      AllocBuffer<double> v;
      if (operand_values(args, ctx, depth, false, &v) != 0) return -1;
      const size_t n = v.size();
      double r = op == NL_SUM ? 0.0 : op == NL_PROD ? 1.0 : n > 0 ? v[0] : 0.0;
      for (size_t i = op == NL_SUM || op == NL_PROD ? 0 : 1; i < n; ++i) {
        switch (op) {
          case NL_SUM: r += v[i]; break;
          case NL_PROD: r *= v[i]; break;
          // And and or of 0/1 values are their minimum and maximum, as the solver reads them.
          case NL_MIN: case NL_AND: r = std::fmin(r, v[i]); break;
          default: r = std::fmax(r, v[i]); break;
        }
      }
      *value = r;
      return 0;
    }
    case NL_MINUS:
    case NL_DIV:
    case NL_POW: {
      if (!PyTuple_Check(args) || PyTuple_GET_SIZE(args) != 2)
        return nvo_model_error("Unknown nonlinear type");
      double a, b;
      if (evaluate_object(PyTuple_GET_ITEM(args, 0), ctx, depth + 1, &a) < 0 ||
          evaluate_object(PyTuple_GET_ITEM(args, 1), ctx, depth + 1, &b) < 0)
        return -1;
      if (op == NL_DIV && b == 0.0)
        return nvo_model_error("Division by zero in evaluation of expression containing fraction");
      *value = op == NL_MINUS ? a - b : op == NL_DIV ? a / b : std::pow(a, b);
      return 0;
    }
    case NL_PWL:
    case NL_USER:
    case NL_USER2: {
      AllocBuffer<double> v;
      if (operand_values(args, ctx, depth, op != NL_PWL, &v) != 0) return -1;
      return nvo_user_value(node, v.data(), static_cast<Py_ssize_t>(v.size()),
                            evaluation_tolerance(), value);
    }
    default: {
      double a;
      if (evaluate_object(args, ctx, depth + 1, &a) < 0) return -1;
      *value = apply_unary(op, a);
      return 0;
    }
  }
}

}  // namespace

int nvo_eval_problem_columns(problem_s *p, Py_ssize_t *n) {
  int cols = 0;
  const bool nslp = problem_is_nonlinear(p) && p->slpprob != nullptr;
  const int rc = nslp ? NSLPgetintattrib(p->slpprob, NSLP_ATTR_COLUMNS, &cols)
                      : NVRLgetintattrib(p->prob, NVRL_ATTR_ORIGINAL_COLUMNS, &cols);
  if (rc != 0) {
    return nvo_library_error(reinterpret_cast<PyObject *>(p));
  }
  *n = cols;
  return 0;
}

int evaluate_object(PyObject *obj, const nvo_eval_context *ctx, int depth, double *value) {
  switch (nvo_kind_noraise(obj)) {
    case NVO_KIND_NUMBER:
      *value = nvo_number_value(obj);
      return 0;
    case NVO_KIND_VAR:
      return variable_value(obj, ctx, value);
    case NVO_KIND_LINTERM: {
      auto *t = reinterpret_cast<linterm_s *>(obj);
      double x;
      if (variable_value(t->var, ctx, &x) < 0) return -1;
      *value = t->coef * x;
      return 0;
    }
    case NVO_KIND_QUADTERM: {
      auto *t = reinterpret_cast<quadterm_s *>(obj);
      double x1, x2;
      if (variable_value(t->var1, ctx, &x1) < 0 || variable_value(t->var2, ctx, &x2) < 0)
        return -1;
      *value = t->coef * x1 * x2;
      return 0;
    }
    case NVO_KIND_EXPRESSION:
      return expression_value(reinterpret_cast<expression_s *>(obj), ctx, value);
    case NVO_KIND_NONLIN:
      return node_value(obj, ctx, depth, value);
    default:
      return nvo_model_error("Evaluation of object of incorrect type");
  }
}

PyObject *evaluate_structure(PyObject *obj, const nvo_eval_context *ctx, int has_problem,
                             int depth) {
  if (nvo_check_depth(nvo_eval_limit, depth) != 0) return nullptr;
  const nvo_node node = nvo_node_of(obj);
  if (node == NVO_NODE_TUPLE) return tuple_value(obj, ctx, has_problem, depth);
  if (node == NVO_NODE_DICT) return dict_value(obj, ctx, has_problem, depth);
  if (node == NVO_NODE_ARRAY) return array_value(obj, ctx, depth);
  if (has_problem && nvo_is_integer(obj)) return integer_leaf(obj, ctx);
  if (has_problem && node == NVO_NODE_TEXT) return name_leaf(obj, ctx);
  // Without a problem a string is a sequence like any other: its characters are walked in
  // turn, so a non-empty one ends in the depth limit.
  if (node == NVO_NODE_LIST || node == NVO_NODE_SEQUENCE || node == NVO_NODE_TEXT)
    return sequence_value(obj, ctx, has_problem, depth);
  double value;
  if (evaluate_object(obj, ctx, depth, &value) < 0) return nullptr;
  return PyFloat_FromDouble(value);
}

PyObject *scan_args_expressions(PyObject *args, const nvo_eval_context *ctx, int has_problem) {
  const Py_ssize_t n = PyTuple_GET_SIZE(args);
  if (n == 0) return nullptr;
  if (n == 1)
    return evaluate_structure(PyTuple_GET_ITEM(args, 0), ctx, has_problem, 0);
  PyRef result(PyTuple_New(n));
  if (!result) return nullptr;
  for (Py_ssize_t i = 0; i < n; ++i) {
    PyObject *v = evaluate_structure(PyTuple_GET_ITEM(args, i), ctx, has_problem, 0);
    if (v == nullptr) return nullptr;
    PyTuple_SET_ITEM(result.get(), i, v);
  }
  return result.release();
}

namespace {

// Column values from a list or a one-dimensional array into *out.
int values_from_sequence(PyObject *solution, AllocBuffer<double> *out) {
  PyRef array(PyArray_FROMANY(solution, NPY_DOUBLE, 1, 1, NPY_ARRAY_CARRAY_RO));
  if (!array) return -1;
  auto *arr = reinterpret_cast<PyArrayObject *>(array.get());
  const npy_intp n = PyArray_DIM(arr, 0);
  if (out->allocate(static_cast<size_t>(n)) != 0) return -1;
  const auto *data = static_cast<const double *>(PyArray_DATA(arr));
  for (npy_intp i = 0; i < n; ++i) (*out)[i] = data[i];
  return 0;
}

// The problem's current solution, as getSolution reads it.
int values_from_problem(problem_s *p, AllocBuffer<double> *out) {
  const int use = use_nslp_solution(p);
  if (use < 0) return -1;
  int n = 0;
  if (problem_solution_length(p, use != 0, false, &n) != 0) return -1;
  if (out->allocate(static_cast<size_t>(n)) != 0) return -1;
  return problem_read_primal_values(p, use != 0, out->data());
}

}  // namespace

const char nuvrelmod_evaluate_doc[] =
    "evaluate(*expressions, problem=None, solution=None)\n\n"
    "The values of variables, expressions and nonlinear expressions (or of tuples, lists,\n"
    "dictionaries and arrays of them, returned in the same shape) at a point: solution is a\n"
    "dictionary variable -> value, or a list or one-dimensional array of values by column of\n"
    "problem; with problem alone, the problem's current solution.\n\n"
    "Example: nuvrel.evaluate(x * nuvrel.exp(y), solution={x: 1, y: 0})";

PyObject *nuvrelmod_evaluate(PyObject *self, PyObject *args, PyObject *kwargs) {
  PyObject *problem = nullptr, *solution = nullptr, *expressions = nullptr;
  if (kwargs != nullptr) {
    static const char *kwlist[] = {"expressions", "problem", "solution", nullptr};
    PyRef none(PyTuple_New(0));
    if (!none || !PyArg_ParseTupleAndKeywords(none.get(), kwargs, "|OOO:evaluate",
                                              const_cast<char **>(kwlist), &expressions, &problem,
                                              &solution))
      return nullptr;
  }
  if (problem == Py_None) problem = nullptr;
  if (solution == Py_None) solution = nullptr;
  if (problem == nullptr && solution == nullptr) {
    PyErr_SetString(nvpy_interf_exc,
                    "nuvrel.evaluate() requires at least of the two arguments \"solution\" and "
                    "\"problem\".\nSee the documentation of nuvrel.evaluate for details.");
    return nullptr;
  }
  if (problem != nullptr && !problem_check(problem))
    return nvo_model_error("Argument \"problem\" must be an nuvrel.problem object");
  problem_s *p = nullptr;
  if (problem != nullptr && (p = problem_ready_for(problem, "evaluate")) == nullptr)
    return nullptr;

  nvo_eval_context ctx;
  ctx.problem = p;
  AllocBuffer<double> columns;
  if (solution != nullptr && PyDict_Check(solution)) {
    ctx.var_values = solution;
  } else if (solution != nullptr) {
    const bool sequence = PyList_Check(solution) ||
                          (nvo_is_array(solution) &&
                           PyArray_NDIM(reinterpret_cast<PyArrayObject *>(solution)) == 1);
    if (!sequence)
      return nvo_model_error(
          "Argument \"solution\" must be a dictionary, a list, or a one-dimensional NumPy "
          "array.\nSee the documentation for nuvrel.evaluate");
    if (p == nullptr)
      return nvo_model_error(
          "Argument \"problem\" is necessary when passing a list or NumPy array of variable "
          "values");
    if (values_from_sequence(solution, &columns) != 0) return nullptr;
  } else if (values_from_problem(p, &columns) != 0) {
    return setNvrlErrIfNull(problem, nullptr);
  }
  if (ctx.var_values == nullptr) {
    ctx.values = columns.data();
    ctx.n = static_cast<Py_ssize_t>(columns.size());
  }
  PyRef packed;
  if (expressions != nullptr) {
    if (PyTuple_GET_SIZE(args) > 0) {
      PyErr_SetString(nvpy_interf_exc,
                      "nuvrel.evaluate() takes the expressions either as arguments or as "
                      "\"expressions\"");
      return nullptr;
    }
    packed = PyRef(PyTuple_Pack(1, expressions));
    if (!packed) return nullptr;
    args = packed.get();
  }
  PyObject *result = scan_args_expressions(args, &ctx, p != nullptr);
  if (result == nullptr && !PyErr_Occurred()) Py_RETURN_NONE;
  return result;
}
