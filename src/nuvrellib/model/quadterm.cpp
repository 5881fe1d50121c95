// nuvrel.quadterm: a coefficient times two variables (or one squared). Immutable; the pair is
// kept ordered by identifier so that x*y and y*x are the same term.
#include "model/quadterm.h"

#include <algorithm>

#include "model/dispatch.h"
#include "model/expression.h"
#include "model/linterm.h"
#include "model/var.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/pyref.h"

static inline quadterm_s *as_quad(PyObject *o) { return reinterpret_cast<quadterm_s *>(o); }

PyObject *quadterm_fill(PyObject *x, PyObject *y, double c) {
  if (c == 0.0) return PyFloat_FromDouble(0.0);
  if (var_id(y) < var_id(x)) std::swap(x, y);
  quadterm_s *t = PyObject_New(quadterm_s, &quadterm_type);
  if (t == nullptr) return nullptr;
  t->coef = c;
  t->var1 = Py_NewRef(x);
  t->var2 = Py_NewRef(y);
  return reinterpret_cast<PyObject *>(t);
}

PyObject *quadterm_copy(PyObject *t, double f) {
  if (!quadterm_check(t)) return nvo_model_error("Invalid object being copied");
  return quadterm_fill(as_quad(t)->var1, as_quad(t)->var2, f * as_quad(t)->coef);
}

// The deallocation slot releases the term's own fields; the vars are never null here.
static void quadterm_dealloc(PyObject *self) {
  Py_DECREF(as_quad(self)->var1);
  Py_DECREF(as_quad(self)->var2);
  Py_TYPE(self)->tp_free(self);
}

static PyObject *quadterm_str(PyObject *self) {
  quadterm_s *t = as_quad(self);
  std::string s;
  if (t->coef != 1.0) nvo_append_number(s, "%g*", t->coef);
  if (!nvo_append_var_name(s, t->var1)) return nullptr;
  if (t->var1 == t->var2) {
    s += "**2";
  } else {
    s += '*';
    if (!nvo_append_var_name(s, t->var2)) return nullptr;
  }
  return PyUnicode_FromStringAndSize(s.data(), static_cast<Py_ssize_t>(s.size()));
}

static bool same_pair(PyObject *a, PyObject *b) {
  return as_quad(a)->var1 == as_quad(b)->var1 && as_quad(a)->var2 == as_quad(b)->var2;
}

// a + s*b with at least one quadratic term among the operands.
static PyObject *quadterm_alg_sum(PyObject *a, PyObject *b, double s) {
  int op = s > 0 ? NVO_OP_ADD : NVO_OP_SUB;
  if (nvo_is_array(a) || nvo_is_array(b)) return nvo_array_binop(op, a, b);
  int ka = nvo_kind_noraise(a), kb = nvo_kind_noraise(b);
  if (ka == NVO_KIND_INVALID || kb == NVO_KIND_INVALID)
    return nvo_model_error("Invalid operands in sum with quadratic term");
  int top = std::max(ka, kb);
  if (top != NVO_KIND_QUADTERM) return nvo_kind_binop(top, op, a, b);
  if (ka == NVO_KIND_QUADTERM && kb == NVO_KIND_QUADTERM && same_pair(a, b))
    return quadterm_fill(as_quad(a)->var1, as_quad(a)->var2,
                         as_quad(a)->coef + s * as_quad(b)->coef);
  if (ka == NVO_KIND_NUMBER && nvo_number_value(a) == 0.0) return quadterm_copy(b, s);
  if (kb == NVO_KIND_NUMBER && nvo_number_value(b) == 0.0) return quadterm_copy(a, 1.0);
  PyRef e(expression_base());
  if (!e || expression_accumulate(e.get(), a, 1.0) < 0 ||
      expression_accumulate(e.get(), b, s) < 0)
    return nvo_model_error("Error adding expressions");
  return e.release();
}

PyObject *quadterm_add(PyObject *a, PyObject *b) { return quadterm_alg_sum(a, b, 1.0); }
PyObject *quadterm_sub(PyObject *a, PyObject *b) { return quadterm_alg_sum(a, b, -1.0); }

PyObject *quadterm_mul(PyObject *a, PyObject *b) {
  if (nvo_is_array(a) || nvo_is_array(b)) return nvo_array_binop(NVO_OP_MUL, a, b);
  int ka = nvo_kind_noraise(a), kb = nvo_kind_noraise(b);
  if (ka == NVO_KIND_INVALID || kb == NVO_KIND_INVALID)
    return nvo_model_error("Invalid operands in multiplication");
  int top = std::max(ka, kb);
  if (top == NVO_KIND_EXPRESSION) return expression_mul(a, b);
  if (top != NVO_KIND_QUADTERM) return nvo_kind_binop(top, NVO_OP_MUL, a, b);
  if (ka == NVO_KIND_NUMBER) return quadterm_copy(b, nvo_number_value(a));
  if (kb == NVO_KIND_NUMBER) return quadterm_copy(a, nvo_number_value(b));
  // Degree three or four.
  return nvo_nonlinear_binary(NVO_OP_MUL, a, b);
}

// The variable left of the pair (p, q) once v is cancelled from it, or NULL if v is in neither.
static PyObject *cancel_from_pair(PyObject *p, PyObject *q, PyObject *v) {
  if (v == p) return q;
  if (v == q) return p;
  return nullptr;
}

// The nonlinear division (c*x) / z, for c*x what is left of a dividend after cancelling.
static PyObject *divide_remainder(PyObject *x, double c, PyObject *z) {
  PyRef dividend(x != nullptr ? linterm_fill(x, c) : PyFloat_FromDouble(c));
  if (!dividend) return nullptr;
  return nvo_nonlinear_binary(NVO_OP_DIV, dividend.get(), z);
}

// The quadratic term a*x*y divided by b.
static PyObject *quadterm_divided(PyObject *a, PyObject *b, int kb) {
  quadterm_s *t = as_quad(a);
  int type;
  double c;
  if (isObjectConst(b, &type, &c)) {
    if (c == 0.0) return nvo_model_error("Division by zero of a bilinear term");
    return quadterm_fill(t->var1, t->var2, t->coef / c);
  }
  if (kb == NVO_KIND_VAR || kb == NVO_KIND_LINTERM) {
    PyObject *z = kb == NVO_KIND_VAR ? b : reinterpret_cast<linterm_s *>(b)->var;
    double d = kb == NVO_KIND_VAR ? 1.0 : reinterpret_cast<linterm_s *>(b)->coef;
    if (d == 0.0) return nvo_model_error("Division by zero of a bilinear term");
    if (PyObject *rest = cancel_from_pair(t->var1, t->var2, z))
      return linterm_fill(rest, t->coef / d);
  }
  if (kb == NVO_KIND_QUADTERM) {
    quadterm_s *u = as_quad(b);
    if (same_pair(a, b)) return PyFloat_FromDouble(t->coef / u->coef);
    // One variable in common: cancel it and divide what is left of each side.
    for (PyObject *shared : {u->var1, u->var2}) {
      PyObject *rest = cancel_from_pair(t->var1, t->var2, shared);
      if (rest == nullptr) continue;
      PyObject *divisor = shared == u->var1 ? u->var2 : u->var1;
      return divide_remainder(rest, t->coef / u->coef, divisor);
    }
  }
  if (kb == NVO_KIND_EXPRESSION) return expression_div(a, b);
  return nvo_nonlinear_binary(NVO_OP_DIV, a, b);
}

// A variable or linear term a*x divided by the quadratic term b*u*v: x cancels against u or v,
// leaving the number a/b divided by the other variable.
static PyObject *divided_by_quadterm(PyObject *a, int ka, PyObject *b) {
  quadterm_s *u = as_quad(b);
  PyObject *x = ka == NVO_KIND_VAR ? a : reinterpret_cast<linterm_s *>(a)->var;
  double coef = ka == NVO_KIND_VAR ? 1.0 : reinterpret_cast<linterm_s *>(a)->coef;
  if (u->coef == 0.0)
    return nvo_model_error(ka == NVO_KIND_VAR ? "Division by zero of a variable"
                                              : "Division by zero of a linear term");
  if (PyObject *rest = cancel_from_pair(u->var1, u->var2, x))
    return divide_remainder(nullptr, coef / u->coef, rest);
  return nvo_nonlinear_binary(NVO_OP_DIV, a, b);
}

PyObject *quadterm_div(PyObject *a, PyObject *b) {
  if (nvo_is_array(a) || nvo_is_array(b)) return nvo_array_binop(NVO_OP_DIV, a, b);
  int ka = nvo_kind_noraise(a), kb = nvo_kind_noraise(b);
  if (ka == NVO_KIND_INVALID || kb == NVO_KIND_INVALID)
    return nvo_model_error("Invalid operands in division");
  if (ka == NVO_KIND_QUADTERM) return quadterm_divided(a, b, kb);
  if (ka > NVO_KIND_QUADTERM) return nvo_kind_binop(ka, NVO_OP_DIV, a, b);
  if (kb == NVO_KIND_QUADTERM && (ka == NVO_KIND_VAR || ka == NVO_KIND_LINTERM))
    return divided_by_quadterm(a, ka, b);
  // A number divided by a quadratic term is not polynomial.
  return nvo_nonlinear_binary(NVO_OP_DIV, a, b);
}

// a*x*y ** n: 1.0, a copy of the term, or a nonlinear power.
static PyObject *quadterm_number_power(PyObject *t, PyObject *exponent, double n) {
  if (n == 0.0) return PyFloat_FromDouble(1.0);
  if (n == 1.0) return quadterm_copy(t, 1.0);
  return nvo_nonlinear_binary(NVO_OP_POW, t, exponent);
}

PyObject *quadterm_pow(PyObject *a, PyObject *b, PyObject *mod) {
  return nvo_term_pow(a, b, mod, NVO_KIND_QUADTERM, quadterm_number_power);
}

PyObject *quadterm_or(PyObject *a, PyObject *b) { return nvo_term_logical(NVO_OP_OR, a, b); }
PyObject *quadterm_and(PyObject *a, PyObject *b) { return nvo_term_logical(NVO_OP_AND, a, b); }
PyObject *quadterm_neg(PyObject *t) { return quadterm_copy(t, -1.0); }
PyObject *quadterm_abs(PyObject *t) { return nvo_nonlinear_unary(NVO_OP_ABS, t); }

static PyObject *quadterm_extractLinear(PyObject *, PyObject *) {
  return Py_BuildValue("([],[])");
}

static PyObject *quadterm_extractQuadratic(PyObject *self, PyObject *) {
  quadterm_s *t = as_quad(self);
  return Py_BuildValue("([O],[O],[d])", t->var1, t->var2, t->coef);
}

PyDoc_STRVAR(quadterm_extractLinear_doc,
             "extractLinear() -> ([], [])\n\n"
             "A quadratic term has no linear part: two empty lists.");
PyDoc_STRVAR(quadterm_extractQuadratic_doc,
             "extractQuadratic() -> (variables1, variables2, coefficients)\n\n"
             "The term as three one-element lists: first variable, second variable,\n"
             "coefficient (the variable created first comes first).");

static PyMethodDef quadterm_methods[] = {
    {"extractLinear", quadterm_extractLinear, METH_NOARGS, quadterm_extractLinear_doc},
    {"extractQuadratic", quadterm_extractQuadratic, METH_NOARGS,
     quadterm_extractQuadratic_doc},
    {nullptr, nullptr, 0, nullptr},
};

static PyNumberMethods quadterm_as_number = {
    .nb_add = quadterm_add,
    .nb_subtract = quadterm_sub,
    .nb_multiply = quadterm_mul,
    .nb_power = quadterm_pow,
    .nb_negative = quadterm_neg,
    .nb_positive = general_pos,
    .nb_absolute = quadterm_abs,
    .nb_and = quadterm_and,
    .nb_or = quadterm_or,
    .nb_inplace_add = quadterm_add,
    .nb_inplace_subtract = quadterm_sub,
    .nb_inplace_multiply = quadterm_mul,
    .nb_inplace_power = quadterm_pow,
    .nb_true_divide = quadterm_div,
    .nb_inplace_true_divide = quadterm_div,
};

// Terms only come out of arithmetic: a term without its variables would be invalid.
static PyObject *quadterm_new(PyTypeObject *type, PyObject *, PyObject *) {
  return PyErr_Format(PyExc_TypeError, "cannot create '%s' instances", type->tp_name);
}

PyDoc_STRVAR(quadterm_doc,
             "A coefficient times two variables, the result of expressions such as 2*x*y\n"
             "or x**2.\n\n"
             "Quadratic terms are immutable; arithmetic on them returns new objects.");

PyTypeObject quadterm_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.quadterm",
    .tp_basicsize = sizeof(quadterm_s),
    .tp_dealloc = quadterm_dealloc,
    .tp_as_number = &quadterm_as_number,
    .tp_str = quadterm_str,
    .tp_flags = Py_TPFLAGS_DEFAULT,
    .tp_doc = quadterm_doc,
    .tp_richcompare = make_constraint,
    .tp_methods = quadterm_methods,
    .tp_new = quadterm_new,
};
