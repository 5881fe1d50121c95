// The formula tokens and values of the two node kinds that need more than an operator code:
// user functions, registered with the problem's nonlinear solver as they are converted, and
// piecewise-linear functions.
#include "nonlinear/user_tokens.h"

#include "module/errors.h"
#include "module/pyref.h"
#include "nonlinear/convert.h"
#include "nonlinear/nonlin.h"
#include "nonlinear/user.h"

namespace {

// The library's pwl function (internal function number).
constexpr int kPwlFunction = 35;

// The operands of node, last first, from operand index `last` down to `first`.
int operands_reversed(const nvo_nl_problem *p, PyObject *items, Py_ssize_t first,
                      nvo_tokens *tokens, int depth) {
  for (Py_ssize_t i = PySequence_Fast_GET_SIZE(items) - 1; i >= first; --i)
    if (nvo_formula_operand(p, PySequence_Fast_GET_ITEM(items, i), tokens, depth) != 0)
      return -1;
  return 0;
}

bool is_sequence(PyObject *args) {
  return args != nullptr && (PyTuple_Check(args) || PyList_Check(args));
}

}  // namespace

int nvo_user_tokens(const nvo_nl_problem *p, PyObject *node, nvo_tokens *tokens, int depth) {
  const int op = nonlin_op_of(node);
  PyObject *args = reinterpret_cast<nonlin_s *>(node)->args;
  if (op == NL_PWL) {
    if (!is_sequence(args)) return nvo_model_error("Invalid piecewise linear function");
    if (tokens->emit(NVO_TOK_DEL, 0) != 0 || operands_reversed(p, args, 0, tokens, depth - 1) != 0)
      return -1;
    return tokens->emit(NVO_TOK_IFUN, kPwlFunction);
  }
  if (!is_sequence(args) || PySequence_Fast_GET_SIZE(args) < 1 ||
      !PyCallable_Check(PySequence_Fast_GET_ITEM(args, 0)))
    return nvo_model_error("First argument of a user() operator must be the function itself");
  int index = 0;
  if (createUserFunction(p, args, &index, op == NL_USER2) != 0) return -1;
  if (tokens->emit(NVO_TOK_DEL, 0) != 0 || operands_reversed(p, args, 1, tokens, depth - 1) != 0)
    return -1;
  return tokens->emit(NVO_TOK_UFUN, index);
}

namespace {

// The pwl through the breakpoints (x[i], y[i]) at t, as the solver computes it: linear
// between breakpoints, the first and last pieces extended beyond them, the left value at a
// jump.
int pwl_value(const double *bp, Py_ssize_t k, double t, double *result) {
  auto x = [bp](Py_ssize_t i) { return bp[2 * i]; };
  auto y = [bp](Py_ssize_t i) { return bp[2 * i + 1]; };
  if (k < 1) return nvo_model_error("Invalid piecewise linear function");
  if (k == 1) return *result = y(0), 0;
  Py_ssize_t seg = -1;
  if (t < x(0)) {
    if (x(1) > x(0)) seg = 0;
  } else {
    for (Py_ssize_t i = 0; i + 1 < k && seg < 0; ++i)
      if (x(i) < x(i + 1) && t <= x(i + 1)) seg = i;
    if (seg < 0 && x(k - 1) > x(k - 2)) seg = k - 2;
  }
  if (seg < 0)
    return nvo_model_error("A piecewise linear function cannot be extended beyond a vertical "
                           "step at its end");
  const double w = x(seg + 1) - x(seg);
  *result = y(seg) + (y(seg + 1) - y(seg)) * ((t - x(seg)) / w);
  return 0;
}

}  // namespace

int nvo_user_value(PyObject *node, const double *values, Py_ssize_t nvalues, double,
                   double *result) {
  if (nonlin_op_of(node) == NL_PWL) {
    if (nvalues < 1 || nvalues % 2 == 0)
      return nvo_model_error("Invalid piecewise linear function");
    return pwl_value(values + 1, (nvalues - 1) / 2, values[0], result);
  }
  PyObject *args = reinterpret_cast<nonlin_s *>(node)->args;
  if (!is_sequence(args) || PySequence_Fast_GET_SIZE(args) < 1 ||
      !PyCallable_Check(PySequence_Fast_GET_ITEM(args, 0)))
    return nvo_model_error("First argument of a user() operator must be the function itself");
  PyRef<> inputs(PyTuple_New(nvalues));
  if (!inputs) return -1;
  for (Py_ssize_t i = 0; i < nvalues; ++i) {
    PyObject *v = PyFloat_FromDouble(values[i]);
    if (v == nullptr) return -1;
    PyTuple_SET_ITEM(inputs.get(), i, v);
  }
  PyRef<> r(PyObject_Call(PySequence_Fast_GET_ITEM(args, 0), inputs.get(), nullptr));
  if (!r) return -1;
  return nvo_user_result_value(r.get(), result);
}
