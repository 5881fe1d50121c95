// Operand classification, the generic operators, number arithmetic and the operators of
// nuvrel.var. Every operator keeps its result at the lowest kind that can hold it.
#include "model/dispatch.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "model/expression.h"
#include "model/linterm.h"
#include "model/quadterm.h"
#include "model/var.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/numpy_api.h"
#include "module/pyref.h"

// --- classification ------------------------------------------------------------------------

int nvo_is_array(PyObject *obj) { return PyArray_API != nullptr && PyArray_Check(obj); }

int nvo_kind_noraise(PyObject *obj) {
  PyTypeObject *t = Py_TYPE(obj);
  if (t == &expression_type) return NVO_KIND_EXPRESSION;
  if (t == &linterm_type) return NVO_KIND_LINTERM;
  if (t == &var_type) return NVO_KIND_VAR;
  if (t == &quadterm_type) return NVO_KIND_QUADTERM;
  if (nvo_is_number(obj)) return NVO_KIND_NUMBER;
  if (PyObject_TypeCheck(obj, &var_type)) return NVO_KIND_VAR;
  if (PyObject_TypeCheck(obj, &nonlin_type)) return NVO_KIND_NONLIN;
  return NVO_KIND_INVALID;
}

int getExprType(PyObject *obj) {
  int kind = nvo_kind_noraise(obj);
  if (kind == NVO_KIND_INVALID)
    PyErr_Format(nvpy_model_exc, "Invalid object in operation: <%S>", obj);
  return kind;
}

// --- numpy arrays and nonlinear results ----------------------------------------------------

static bool is_inplace(int op) { return op >= NVO_OP_IADD && op <= NVO_OP_IPOW; }

static int plain_op(int op) { return is_inplace(op) ? op - NVO_OP_IADD : op; }

PyObject *nvo_array_binop(int op, PyObject *a, PyObject *b) {
  bool inplace = is_inplace(op);
  op = plain_op(op);
  if (nvo_is_array(a)) {
    switch (op) {
      case NVO_OP_ADD: return inplace ? PyNumber_InPlaceAdd(a, b) : PyNumber_Add(a, b);
      case NVO_OP_SUB:
        return inplace ? PyNumber_InPlaceSubtract(a, b) : PyNumber_Subtract(a, b);
      case NVO_OP_MUL:
        return inplace ? PyNumber_InPlaceMultiply(a, b) : PyNumber_Multiply(a, b);
      case NVO_OP_DIV:
        return inplace ? PyNumber_InPlaceTrueDivide(a, b) : PyNumber_TrueDivide(a, b);
      case NVO_OP_POW:
        return inplace ? PyNumber_InPlacePower(a, b, Py_None) : PyNumber_Power(a, b, Py_None);
      case NVO_OP_OR: return PyNumber_Or(a, b);
      case NVO_OP_AND: return PyNumber_And(a, b);
    }
  } else if (op == NVO_OP_DIV) {
    // Divide through the reciprocal so that each element scales the operand.
    PyRef one(PyFloat_FromDouble(1.0));
    if (!one) return nullptr;
    PyRef recip(PyNumber_TrueDivide(one.get(), b));
    if (!recip) return nullptr;
    return PyNumber_Multiply(recip.get(), a);
  } else {
    // The array's reflected operator keeps a on the left of every element-wise operation and
    // cannot come back to the slot that called us.
    static const char *const names[] = {"__radd__", "__rsub__", "__rmul__", nullptr,
                                        "__rpow__", "__ror__",  "__rand__"};
    static PyObject *interned[7];
    if (op >= 0 && op <= NVO_OP_AND && names[op] != nullptr) {
      if (interned[op] == nullptr) interned[op] = PyUnicode_InternFromString(names[op]);
      if (interned[op] == nullptr) return nullptr;
      return PyObject_CallMethodOneArg(b, interned[op], a);
    }
  }
  return nvo_model_error("Invalid object in operation");
}

nvo_nonlinear_ops nvo_nonlinear = {};

PyObject *nvo_nonlinear_binary(int op, PyObject *a, PyObject *b) {
  return nvo_nonlinear.binary(op, a, b);
}

PyObject *nvo_nonlinear_unary(int op, PyObject *a) { return nvo_nonlinear.unary(op, a); }

// --- per-kind operator tables --------------------------------------------------------------

// pow(a, b, m) has no meaning for modelling objects: true (with ModelError set) for a modulus.
static bool modulus_refused(PyObject *mod) {
  if (mod == nullptr || mod == Py_None) return false;
  PyErr_SetString(nvpy_model_exc, "Invalid operands in exponentiation");
  return true;
}

PyObject *nvo_kind_binop(int kind, int op, PyObject *a, PyObject *b) {
  bool inplace = is_inplace(op);
  int p = plain_op(op);
  switch (kind) {
    case NVO_KIND_VAR:
      switch (p) {
        case NVO_OP_ADD: return var_add(a, b);
        case NVO_OP_SUB: return var_sub(a, b);
        case NVO_OP_MUL: return var_mul(a, b);
        case NVO_OP_DIV: return inplace ? var_idiv(a, b) : var_div(a, b);
        case NVO_OP_POW: return var_pow(a, b, Py_None);
        default: break;
      }
      break;
    case NVO_KIND_LINTERM:
      switch (p) {
        case NVO_OP_ADD: return linterm_add(a, b);
        case NVO_OP_SUB: return linterm_sub(a, b);
        case NVO_OP_MUL: return linterm_mul(a, b);
        case NVO_OP_DIV: return linterm_div(a, b);
        case NVO_OP_POW: return linterm_pow(a, b, Py_None);
        case NVO_OP_OR: return linterm_or(a, b);
        case NVO_OP_AND: return linterm_and(a, b);
        default: break;
      }
      break;
    case NVO_KIND_QUADTERM:
      switch (p) {
        case NVO_OP_ADD: return quadterm_add(a, b);
        case NVO_OP_SUB: return quadterm_sub(a, b);
        case NVO_OP_MUL: return quadterm_mul(a, b);
        case NVO_OP_DIV: return quadterm_div(a, b);
        case NVO_OP_POW: return quadterm_pow(a, b, Py_None);
        case NVO_OP_OR: return quadterm_or(a, b);
        case NVO_OP_AND: return quadterm_and(a, b);
        default: break;
      }
      break;
    case NVO_KIND_EXPRESSION:
      switch (p) {
        case NVO_OP_ADD: return inplace ? expression_iadd(a, b) : expression_add(a, b);
        case NVO_OP_SUB: return inplace ? expression_isub(a, b) : expression_sub(a, b);
        case NVO_OP_MUL: return inplace ? expression_imul(a, b) : expression_mul(a, b);
        case NVO_OP_DIV: return inplace ? expression_idiv(a, b) : expression_div(a, b);
        case NVO_OP_POW:
          return inplace ? expression_ipow(a, b, Py_None) : expression_pow(a, b, Py_None);
        case NVO_OP_OR: return expression_or(a, b);
        case NVO_OP_AND: return expression_and(a, b);
        default: break;
      }
      break;
    case NVO_KIND_NONLIN: return nvo_nonlinear_binary(op, a, b);
    case NVO_KIND_NUMBER:
    case NVO_KIND_INVALID:
      switch (p) {
        case NVO_OP_ADD: return constant_add(a, b);
        case NVO_OP_SUB: return constant_sub(a, b);
        case NVO_OP_MUL: return constant_mul(a, b);
        case NVO_OP_DIV: return constant_div(a, b);
        case NVO_OP_POW: return constant_pow(a, b);
        case NVO_OP_OR: return constant_or(a, b);
        case NVO_OP_AND: return constant_and(a, b);
        default: break;
      }
      break;
  }
  if (kind == NVO_KIND_VAR && (p == NVO_OP_OR || p == NVO_OP_AND))
    return nvo_nonlinear_binary(op, a, b);
  return nvo_model_error("Invalid object in operation");
}

// --- generic operators ---------------------------------------------------------------------

static PyObject *array_generic(int op, PyObject *a, PyObject *b) {
  // The interpreter's operator lets numpy's element loops do the work.
  switch (op) {
    case NVO_OP_ADD: return PyNumber_Add(a, b);
    case NVO_OP_SUB: return PyNumber_Subtract(a, b);
    case NVO_OP_MUL: return PyNumber_Multiply(a, b);
    case NVO_OP_DIV: return PyNumber_TrueDivide(a, b);
    case NVO_OP_POW: return PyNumber_Power(a, b, Py_None);
    case NVO_OP_OR: return PyNumber_Or(a, b);
    case NVO_OP_AND: return PyNumber_And(a, b);
    case NVO_OP_IADD: return PyNumber_InPlaceAdd(a, b);
    case NVO_OP_ISUB: return PyNumber_InPlaceSubtract(a, b);
    case NVO_OP_IMUL: return PyNumber_InPlaceMultiply(a, b);
    case NVO_OP_IDIV: return PyNumber_InPlaceTrueDivide(a, b);
    case NVO_OP_IPOW: return PyNumber_InPlacePower(a, b, Py_None);
  }
  return nullptr;
}

static PyObject *general_binop(int op, PyObject *a, PyObject *b) {
  // None is an empty accumulator, so that a summation or product can start from it. Division
  // has no such rule; in-place division and power take b as it is, not its reciprocal or power.
  if (a == Py_None && op != NVO_OP_DIV)
    return general_copy(b, op == NVO_OP_SUB || op == NVO_OP_ISUB ? -1.0 : 1.0);
  if (b == Py_None) return Py_NewRef(a);
  if (nvo_is_array(b)) return array_generic(op, a, b);
  int kind = std::max(nvo_kind_noraise(a), nvo_kind_noraise(b));
  return nvo_kind_binop(kind, op, a, b);
}

PyObject *general_add(PyObject *a, PyObject *b) { return general_binop(NVO_OP_ADD, a, b); }
PyObject *general_sub(PyObject *a, PyObject *b) { return general_binop(NVO_OP_SUB, a, b); }
PyObject *general_mul(PyObject *a, PyObject *b) { return general_binop(NVO_OP_MUL, a, b); }
PyObject *general_div(PyObject *a, PyObject *b) { return general_binop(NVO_OP_DIV, a, b); }
PyObject *general_pow(PyObject *a, PyObject *b) { return general_binop(NVO_OP_POW, a, b); }
PyObject *general_or(PyObject *a, PyObject *b) { return general_binop(NVO_OP_OR, a, b); }
PyObject *general_and(PyObject *a, PyObject *b) { return general_binop(NVO_OP_AND, a, b); }
PyObject *general_iadd(PyObject *a, PyObject *b) { return general_binop(NVO_OP_IADD, a, b); }
PyObject *general_isub(PyObject *a, PyObject *b) { return general_binop(NVO_OP_ISUB, a, b); }
PyObject *general_imul(PyObject *a, PyObject *b) { return general_binop(NVO_OP_IMUL, a, b); }
PyObject *general_idiv(PyObject *a, PyObject *b) { return general_binop(NVO_OP_IDIV, a, b); }
PyObject *general_ipow(PyObject *a, PyObject *b) { return general_binop(NVO_OP_IPOW, a, b); }

PyObject *general_neg(PyObject *a) {
  switch (nvo_kind_noraise(a)) {
    case NVO_KIND_VAR: return var_neg(a);
    case NVO_KIND_EXPRESSION: return expression_neg(a);
    case NVO_KIND_LINTERM: return linterm_neg(a);
    case NVO_KIND_QUADTERM: return quadterm_neg(a);
    case NVO_KIND_NONLIN: return nvo_nonlinear_unary(NVO_OP_NEG, a);
    case NVO_KIND_NUMBER: return constant_neg(a);
  }
  if (nvo_is_array(a)) return PyNumber_Negative(a);
  getExprType(a);
  return nullptr;
}

PyObject *general_pos(PyObject *a) {
  int kind = nvo_kind_noraise(a);
  if (kind > NVO_KIND_NUMBER) return Py_NewRef(a);
  if (kind == NVO_KIND_NUMBER || nvo_is_array(a)) return PyNumber_Positive(a);
  getExprType(a);
  return nullptr;
}

PyObject *general_abs(PyObject *a) {
  switch (nvo_kind_noraise(a)) {
    case NVO_KIND_VAR: return var_abs(a);
    case NVO_KIND_EXPRESSION: return expression_abs(a);
    case NVO_KIND_LINTERM: return linterm_abs(a);
    case NVO_KIND_QUADTERM: return quadterm_abs(a);
    case NVO_KIND_NONLIN: return nvo_nonlinear_unary(NVO_OP_ABS, a);
    case NVO_KIND_NUMBER: return PyNumber_Absolute(a);
  }
  if (nvo_is_array(a)) return PyNumber_Absolute(a);
  getExprType(a);
  return nullptr;
}

PyObject *general_sqr(PyObject *a) {
  PyRef two(PyFloat_FromDouble(2.0));
  if (!two) return nullptr;
  switch (nvo_kind_noraise(a)) {
    case NVO_KIND_NONLIN: return nvo_nonlinear_binary(NVO_OP_POW, a, two.get());
    case NVO_KIND_EXPRESSION: return expression_pow(a, two.get(), Py_None);
    case NVO_KIND_QUADTERM: return quadterm_pow(a, two.get(), Py_None);
    case NVO_KIND_LINTERM: return linterm_pow(a, two.get(), Py_None);
    case NVO_KIND_NUMBER: return constant_pow(a, two.get());
    case NVO_KIND_VAR: return var_pow(a, two.get(), Py_None);
  }
  if (nvo_is_array(a)) return PyNumber_Power(a, two.get(), Py_None);
  getExprType(a);
  return nullptr;
}

PyObject *general_copy(PyObject *obj, double factor) {
  PyObject *res = nullptr;
  if (nvo_is_array(obj)) {
    if (factor == 1.0) return PyArray_NewCopy(reinterpret_cast<PyArrayObject *>(obj), NPY_ANYORDER);
    PyRef f(PyFloat_FromDouble(factor));
    if (!f) return nullptr;
    return PyNumber_Multiply(obj, f.get());
  }
  switch (nvo_kind_noraise(obj)) {
    case NVO_KIND_NUMBER:
      if (factor == 1.0) return Py_NewRef(obj);
      return PyFloat_FromDouble(nvo_number_value(obj) * factor);
    case NVO_KIND_LINTERM: res = linterm_copy(obj, factor); break;
    case NVO_KIND_VAR: res = var_copy(obj, factor); break;
    case NVO_KIND_QUADTERM: res = quadterm_copy(obj, factor); break;
    case NVO_KIND_EXPRESSION: res = expression_copy(obj, factor); break;
    case NVO_KIND_NONLIN:
      // A failed node copy has said why.
      return nvo_nonlinear.copy(obj, factor);
  }
  if (res == nullptr) return nvo_model_error("Invalid object being copied");
  return res;
}

// --- numbers --------------------------------------------------------------------------------

// Both operands as doubles; -1 with the classification error for a non-number.
static int two_numbers(PyObject *a, PyObject *b, double *va, double *vb) {
  if (!nvo_is_number(a)) return getExprType(a), -1;
  if (!nvo_is_number(b)) return getExprType(b), -1;
  *va = nvo_number_value(a);
  *vb = nvo_number_value(b);
  return 0;
}

static bool either_array(PyObject *a, PyObject *b) { return nvo_is_array(a) || nvo_is_array(b); }

// Numbers with an array operand: numpy's operators do the work. Sums and products take the
// operands as (b, a); subtracting or dividing by an array goes through -b or 1.0/b.
static PyObject *constant_array_op(int op, PyObject *a, PyObject *b) {
  switch (op) {
    case NVO_OP_ADD: return PyNumber_Add(b, a);
    case NVO_OP_MUL: return PyNumber_Multiply(b, a);
    case NVO_OP_SUB: {
      if (!nvo_is_array(b)) return PyNumber_Subtract(a, b);
      PyRef negated(PyNumber_Negative(b));
      return negated ? PyNumber_Add(negated.get(), a) : nullptr;
    }
    case NVO_OP_DIV: return nvo_array_binop(NVO_OP_DIV, a, b);
    case NVO_OP_OR: return PyNumber_Or(a, b);
    case NVO_OP_AND: return PyNumber_And(a, b);
  }
  return nvo_model_error("Invalid object in operation");
}

PyObject *constant_add(PyObject *a, PyObject *b) {
  if (either_array(a, b)) return constant_array_op(NVO_OP_ADD, a, b);
  double x, y;
  if (two_numbers(a, b, &x, &y) < 0) return nullptr;
  return PyFloat_FromDouble(x + y);
}

PyObject *constant_sub(PyObject *a, PyObject *b) {
  if (either_array(a, b)) return constant_array_op(NVO_OP_SUB, a, b);
  double x, y;
  if (two_numbers(a, b, &x, &y) < 0) return nullptr;
  return PyFloat_FromDouble(x - y);
}

PyObject *constant_mul(PyObject *a, PyObject *b) {
  if (either_array(a, b)) return constant_array_op(NVO_OP_MUL, a, b);
  double x, y;
  if (two_numbers(a, b, &x, &y) < 0) return nullptr;
  return PyFloat_FromDouble(x * y);
}

PyObject *constant_div(PyObject *a, PyObject *b) {
  if (either_array(a, b)) return constant_array_op(NVO_OP_DIV, a, b);
  double x, y;
  if (two_numbers(a, b, &x, &y) < 0) return nullptr;
  return PyFloat_FromDouble(x / y);  // a zero divisor follows floating-point rules
}

PyObject *constant_pow(PyObject *a, PyObject *b) {
  if (nvo_is_array(a)) return nvo_array_binop(NVO_OP_POW, a, b);
  if (nvo_is_array(b)) {
    return nvo_model_error("Cannot obtain a power with a vector as an exponent");
  }
  double x, y;
  if (two_numbers(a, b, &x, &y) < 0) return nullptr;
  return PyFloat_FromDouble(std::pow(x, y));
}

PyObject *constant_neg(PyObject *a) {
  if (nvo_is_array(a)) return PyNumber_Negative(a);
  if (!nvo_is_number(a)) return getExprType(a), nullptr;
  return PyFloat_FromDouble(-nvo_number_value(a));
}

PyObject *constant_or(PyObject *a, PyObject *b) {
  if (either_array(a, b)) return constant_array_op(NVO_OP_OR, a, b);
  double x, y;
  if (two_numbers(a, b, &x, &y) < 0) return nullptr;
  return PyFloat_FromDouble(x == 0.0 && y == 0.0 ? 0.0 : 1.0);
}

PyObject *constant_and(PyObject *a, PyObject *b) {
  if (either_array(a, b)) return constant_array_op(NVO_OP_AND, a, b);
  double x, y;
  if (two_numbers(a, b, &x, &y) < 0) return nullptr;
  return PyFloat_FromDouble(x != 0.0 && y != 0.0 ? 1.0 : 0.0);
}

// --- variables ------------------------------------------------------------------------------

PyObject *term_plus_constant(PyObject *x, double cx, double constant, const char *failure) {
  auto e = PyRef<expression_s>::steal(expression_base());
  if (!e || expression_addToLinTerm(e.obj(), x, cx) < 0) return nvo_model_error(failure);
  e->constant = constant;
  return e.release_obj();
}

static const char *const kVarSumFailure = "Could not allocate an object of type Variable";

// cx*x + cy*y for two different variables.
static PyObject *var_plus_var(PyObject *x, double cx, PyObject *y, double cy) {
  PyRef e(expression_base());
  if (!e || expression_addToLinTerm(e.get(), x, cx) < 0 ||
      expression_addToLinTerm(e.get(), y, cy) < 0)
    return nvo_model_error("Could not allocate an object of type Variable");
  return e.release();
}

static PyObject *var_sum(PyObject *a, PyObject *b, double s) {
  int op = s > 0 ? NVO_OP_ADD : NVO_OP_SUB;
  if (either_array(a, b)) return nvo_array_binop(op, a, b);
  const char *invalid = s > 0 ? "Invalid operands in addition" : "Invalid object in subtraction";
  if (var_check(a)) {
    int kb = nvo_kind_noraise(b);
    switch (kb) {
      case NVO_KIND_NUMBER: {
        double c = nvo_number_value(b);
        if (c == 0.0) return Py_NewRef(a);
        return term_plus_constant(a, 1.0, s * c, kVarSumFailure);
      }
      case NVO_KIND_VAR:
        if (a == b) return s > 0 ? linterm_fill(a, 2.0) : PyFloat_FromDouble(0.0);
        return var_plus_var(a, 1.0, b, s);
      case NVO_KIND_INVALID: return nvo_model_error(invalid);
      default: return nvo_kind_binop(kb, op, a, b);
    }
  }
  int ka = nvo_kind_noraise(a);
  switch (ka) {
    // A number on the left always gives an expression, even 0 + x.
    case NVO_KIND_NUMBER: return term_plus_constant(b, s, nvo_number_value(a), kVarSumFailure);
    case NVO_KIND_INVALID:
    case NVO_KIND_VAR: return nvo_model_error(invalid);
    default: return nvo_kind_binop(ka, op, a, b);
  }
}

PyObject *var_add(PyObject *a, PyObject *b) { return var_sum(a, b, 1.0); }
PyObject *var_sub(PyObject *a, PyObject *b) { return var_sum(a, b, -1.0); }
PyObject *var_iadd(PyObject *a, PyObject *b) { return var_sum(a, b, 1.0); }
PyObject *var_isub(PyObject *a, PyObject *b) { return var_sum(a, b, -1.0); }

PyObject *var_mul(PyObject *a, PyObject *b) {
  if (either_array(a, b)) return nvo_array_binop(NVO_OP_MUL, a, b);
  PyObject *x = var_check(a) ? a : b;
  PyObject *other = x == a ? b : a;
  int ko = nvo_kind_noraise(other);
  switch (ko) {
    case NVO_KIND_NUMBER: {
      double c = nvo_number_value(other);
      if (c == 1.0) return Py_NewRef(x);
      return linterm_fill(x, c);
    }
    case NVO_KIND_VAR: return quadterm_fill(a, b, 1.0);
    case NVO_KIND_INVALID: return nvo_model_error("Invalid operands in multiplication");
    default: return nvo_kind_binop(ko, NVO_OP_MUL, a, b);
  }
}

PyObject *var_imul(PyObject *a, PyObject *b) { return var_mul(a, b); }

PyObject *var_div(PyObject *a, PyObject *b) {
  if (either_array(a, b)) return nvo_array_binop(NVO_OP_DIV, a, b);
  if (var_check(a)) {
    int kb = nvo_kind_noraise(b);
    switch (kb) {
      case NVO_KIND_NUMBER: {
        double c = nvo_number_value(b);
        if (c == 0.0) return nvo_model_error("Division of variable by zero");
        if (c == 1.0) return Py_NewRef(a);
        return linterm_fill(a, 1.0 / c);
      }
      case NVO_KIND_VAR:
        if (a == b) return PyFloat_FromDouble(1.0);
        return nvo_nonlinear_binary(NVO_OP_DIV, a, b);
      case NVO_KIND_INVALID: return nvo_model_error("Invalid operands in division");
      default: return nvo_nonlinear_binary(NVO_OP_DIV, a, b);
    }
  }
  int ka = nvo_kind_noraise(a);
  switch (ka) {
    case NVO_KIND_NUMBER:
      if (nvo_number_value(a) == 0.0) return PyFloat_FromDouble(0.0);
      return nvo_nonlinear_binary(NVO_OP_DIV, a, b);
    case NVO_KIND_INVALID:
    case NVO_KIND_VAR: return nvo_model_error("Invalid operands in division");
    default: return nvo_kind_binop(ka, NVO_OP_DIV, a, b);
  }
}

PyObject *var_idiv(PyObject *a, PyObject *b) {
  if (var_check(a) && nvo_is_number(b)) {
    double c = nvo_number_value(b);
    if (c == 1.0) return Py_NewRef(a);
    if (c == 0.0) return nvo_model_error("Division by zero");
  }
  return var_div(a, b);
}

PyObject *var_pow(PyObject *a, PyObject *b, PyObject *mod) {
  if (modulus_refused(mod)) return nullptr;
  if (var_check(a)) {
    if (nvo_is_array(b)) {
      return nvo_model_error("Cannot obtain a power with a vector as an exponent");
    }
    int kb = nvo_kind_noraise(b);
    if (kb == NVO_KIND_NUMBER) {
      double n = nvo_number_value(b);
      if (n == 1.0) return Py_NewRef(a);
      if (n == 0.0) return PyFloat_FromDouble(1.0);
      if (n == 2.0) return quadterm_fill(a, a, 1.0);
      return nvo_nonlinear_binary(NVO_OP_POW, a, b);
    }
    if (kb == NVO_KIND_INVALID) return nvo_model_error("Invalid operands in exponentiation");
    return nvo_nonlinear_binary(NVO_OP_POW, a, b);
  }
  if (nvo_is_array(a)) return nvo_array_binop(NVO_OP_POW, a, b);
  int ka = nvo_kind_noraise(a);
  switch (ka) {
    case NVO_KIND_NUMBER:
      if (nvo_number_value(a) == 1.0) return PyFloat_FromDouble(1.0);
      return nvo_nonlinear_binary(NVO_OP_POW, a, b);
    case NVO_KIND_INVALID:
    case NVO_KIND_VAR: return nvo_model_error("Invalid operands in exponentiation");
    default: return nvo_kind_binop(ka, NVO_OP_POW, a, b);
  }
}

PyObject *var_ipow(PyObject *a, PyObject *b, PyObject *mod) { return var_pow(a, b, mod); }

PyObject *var_neg(PyObject *a) { return linterm_fill(a, -1.0); }

PyObject *var_abs(PyObject *a) { return nvo_nonlinear_unary(NVO_OP_ABS, a); }

// --- diagnostics -----------------------------------------------------------------------------

PyObject *nvo_general_py(PyObject *, PyObject *args) {
  const char *name = nullptr;
  PyObject *a = nullptr, *b = nullptr;
  if (!PyArg_ParseTuple(args, "sO|O:_general", &name, &a, &b)) return nullptr;
  struct binary_entry {
    const char *name;
    PyObject *(*fn)(PyObject *, PyObject *);
  };
  static const binary_entry binaries[] = {
      {"add", general_add},   {"sub", general_sub},   {"mul", general_mul},
      {"div", general_div},   {"pow", general_pow},   {"or", general_or},
      {"and", general_and},   {"iadd", general_iadd}, {"isub", general_isub},
      {"imul", general_imul}, {"idiv", general_idiv}, {"ipow", general_ipow},
  };
  struct unary_entry {
    const char *name;
    PyObject *(*fn)(PyObject *);
  };
  static const unary_entry unaries[] = {
      {"neg", general_neg}, {"pos", general_pos}, {"abs", general_abs}, {"sqr", general_sqr}};
  for (const auto &e : binaries)
    if (strcmp(name, e.name) == 0) {
      if (b == nullptr) return PyErr_Format(PyExc_TypeError, "_general('%s') takes two operands", name);
      return e.fn(a, b);
    }
  for (const auto &e : unaries)
    if (strcmp(name, e.name) == 0) return e.fn(a);
  if (strcmp(name, "kind") == 0) {
    int kind = getExprType(a);
    return kind < 0 ? nullptr : PyLong_FromLong(kind);
  }
  if (strcmp(name, "copy") == 0) {
    double f = b != nullptr ? PyFloat_AsDouble(b) : 1.0;
    if (f == -1.0 && PyErr_Occurred()) return nullptr;
    return general_copy(a, f);
  }
  return PyErr_Format(PyExc_ValueError, "unknown operation '%s'", name);
}
