// nuvrel.linterm: a coefficient times one variable. Immutable; operators return new objects
// and leave this shape as soon as a result needs more than one variable.
#include "model/linterm.h"

#include <algorithm>
#include <cstdio>

#include "model/dispatch.h"
#include "model/expression.h"
#include "model/quadterm.h"
#include "model/var.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/object_slab.h"
#include "module/pyref.h"

static inline linterm_s *as_lin(PyObject *o) { return reinterpret_cast<linterm_s *>(o); }

bool nvo_append_var_name(std::string &out, PyObject *var) {
  PyRef name(get_var_name(reinterpret_cast<var_s *>(var)->rec));
  if (!name) return false;
  PyRef text(PyObject_Str(name.get()));
  if (!text) return false;
  Py_ssize_t len = 0;
  const char *utf8 = PyUnicode_AsUTF8AndSize(text.get(), &len);
  if (utf8 == nullptr) return false;
  out.append(utf8, static_cast<size_t>(len));
  return true;
}

void nvo_append_number(std::string &out, const char *fmt, double v) {
  char buf[64];
  int n = snprintf(buf, sizeof buf, fmt, v);
  if (n > 0) out.append(buf, static_cast<size_t>(std::min<int>(n, sizeof buf - 1)));
}

PyObject *linterm_fill(PyObject *var, double c) {
  if (c == 0.0) return PyFloat_FromDouble(0.0);
  static object_slab slab(sizeof(linterm_s));
  auto *t = reinterpret_cast<linterm_s *>(slab_object_new(slab, &linterm_type));
  if (t == nullptr) return nullptr;
  t->coef = c;
  t->var = Py_NewRef(var);
  return reinterpret_cast<PyObject *>(t);
}

PyObject *linterm_copy(PyObject *t, double f) {
  if (!linterm_check(t)) {
    return nvo_model_error("Linterm copy using an invalid object");
  }
  return linterm_fill(as_lin(t)->var, f * as_lin(t)->coef);
}

// The deallocation slot releases the term's own field; the var is never null here.
static void linterm_dealloc(PyObject *self) {
  Py_DECREF(as_lin(self)->var);
  Py_TYPE(self)->tp_free(self);
}

static PyObject *linterm_str(PyObject *self) {
  std::string s;
  if (as_lin(self)->coef != 1.0) nvo_append_number(s, "%g*", as_lin(self)->coef);
  if (!nvo_append_var_name(s, as_lin(self)->var)) return nullptr;
  return PyUnicode_FromStringAndSize(s.data(), static_cast<Py_ssize_t>(s.size()));
}

// a + s*b with at least one linear term among the operands.
static PyObject *linterm_alg_sum(PyObject *a, PyObject *b, double s) {
  int op = s > 0 ? NVO_OP_ADD : NVO_OP_SUB;
  if (nvo_is_array(a) || nvo_is_array(b)) return nvo_array_binop(op, a, b);
  int ka = nvo_kind_noraise(a), kb = nvo_kind_noraise(b);
  if (ka == NVO_KIND_INVALID || kb == NVO_KIND_INVALID)
    return nvo_model_error("Invalid operands in sum");
  int top = std::max(ka, kb);
  if (top != NVO_KIND_LINTERM) return nvo_kind_binop(top, op, a, b);

  // Reduce both operands to (variable, coefficient) or a number.
  PyObject *xa = nullptr, *xb = nullptr;
  double ca = 0, cb = 0;
  if (ka == NVO_KIND_LINTERM) xa = as_lin(a)->var, ca = as_lin(a)->coef;
  else if (ka == NVO_KIND_VAR) xa = a, ca = 1.0;
  else ca = nvo_number_value(a);
  if (kb == NVO_KIND_LINTERM) xb = as_lin(b)->var, cb = s * as_lin(b)->coef;
  else if (kb == NVO_KIND_VAR) xb = b, cb = s;
  else cb = s * nvo_number_value(b);

  if (xa != nullptr && xb != nullptr) {
    if (xa == xb) return linterm_fill(xa, ca + cb);
    PyRef e(expression_base());
    if (!e || expression_addToLinTerm(e.get(), xa, ca) < 0 ||
        expression_addToLinTerm(e.get(), xb, cb) < 0)
      return nvo_model_error(ka == kb ? "Error creating expression as sum of two linear terms"
                                      : "Error creating expression as sum of linear term and "
                                        "variable");
    return e.release();
  }
  // One side is a number: (x, cx) and constant k.
  PyObject *x = xa != nullptr ? xa : xb;
  double cx = xa != nullptr ? ca : cb;
  double k = xa != nullptr ? cb : ca;
  if (k == 0.0) return linterm_fill(x, cx);
  return term_plus_constant(x, cx, k, "Error creating expression");
}

PyObject *linterm_add(PyObject *a, PyObject *b) { return linterm_alg_sum(a, b, 1.0); }
PyObject *linterm_sub(PyObject *a, PyObject *b) { return linterm_alg_sum(a, b, -1.0); }

PyObject *linterm_mul(PyObject *a, PyObject *b) {
  if (nvo_is_array(a) || nvo_is_array(b)) return nvo_array_binop(NVO_OP_MUL, a, b);
  int ka = nvo_kind_noraise(a), kb = nvo_kind_noraise(b);
  if (ka == NVO_KIND_INVALID || kb == NVO_KIND_INVALID)
    return nvo_model_error("Invalid operands in product of linear terms");
  int top = std::max(ka, kb);
  if (top != NVO_KIND_LINTERM) return nvo_kind_binop(top, NVO_OP_MUL, a, b);
  PyObject *t = ka == NVO_KIND_LINTERM ? a : b;
  PyObject *o = t == a ? b : a;
  int ko = t == a ? kb : ka;
  linterm_s *lt = as_lin(t);
  switch (ko) {
    case NVO_KIND_NUMBER: return linterm_fill(lt->var, lt->coef * nvo_number_value(o));
    case NVO_KIND_VAR: return quadterm_fill(lt->var, o, lt->coef);
    default: return quadterm_fill(lt->var, as_lin(o)->var, lt->coef * as_lin(o)->coef);
  }
}

PyObject *linterm_div(PyObject *a, PyObject *b) {
  if (nvo_is_array(a) || nvo_is_array(b)) return nvo_array_binop(NVO_OP_DIV, a, b);
  int ka = nvo_kind_noraise(a), kb = nvo_kind_noraise(b);
  if (ka == NVO_KIND_INVALID || kb == NVO_KIND_INVALID)
    return nvo_model_error("Invalid operands in product of linear terms");
  if (ka == NVO_KIND_LINTERM) {
    linterm_s *lt = as_lin(a);
    int type;
    double c;
    if (isObjectConst(b, &type, &c)) {
      if (c == 0.0) return nvo_model_error("Division by zero");
      return linterm_fill(lt->var, lt->coef / c);
    }
    if (kb == NVO_KIND_LINTERM && as_lin(b)->var == lt->var) {
      if (as_lin(b)->coef == 0.0) return nvo_model_error("Division by zero");
      return PyFloat_FromDouble(lt->coef / as_lin(b)->coef);
    }
    if (kb == NVO_KIND_VAR && b == lt->var) return PyFloat_FromDouble(lt->coef);
    if (kb == NVO_KIND_QUADTERM) return quadterm_div(a, b);
    if (kb == NVO_KIND_EXPRESSION) return expression_div(a, b);
    return nvo_nonlinear_binary(NVO_OP_DIV, a, b);
  }
  if (ka > NVO_KIND_LINTERM) return nvo_kind_binop(ka, NVO_OP_DIV, a, b);
  // A number or variable divided by a linear term.
  return nvo_nonlinear_binary(NVO_OP_DIV, a, b);
}

PyObject *nvo_term_pow(PyObject *a, PyObject *b, PyObject *mod, int term_kind,
                       nvo_term_number_power number_power) {
  if (mod != nullptr && mod != Py_None)
    return nvo_model_error("Invalid operands in exponentiation");
  if (nvo_kind_noraise(a) == term_kind) {
    if (nvo_is_array(b))
      return nvo_model_error("Cannot obtain a power with a vector as an exponent");
    int kb = nvo_kind_noraise(b);
    if (kb == NVO_KIND_INVALID) return nvo_model_error("Invalid operands in exponentiation");
    if (kb == NVO_KIND_NUMBER) return number_power(a, b, nvo_number_value(b));
    return nvo_nonlinear_binary(NVO_OP_POW, a, b);
  }
  if (nvo_is_array(a)) return nvo_array_binop(NVO_OP_POW, a, b);
  int ka = nvo_kind_noraise(a);
  if (ka == NVO_KIND_INVALID) return nvo_model_error("Invalid operands in exponentiation");
  if (ka > term_kind) return nvo_kind_binop(ka, NVO_OP_POW, a, b);
  if (ka == NVO_KIND_NUMBER && nvo_number_value(a) == 1.0) return PyFloat_FromDouble(1.0);
  return nvo_nonlinear_binary(NVO_OP_POW, a, b);
}

PyObject *nvo_term_logical(int op, PyObject *a, PyObject *b) {
  if (nvo_is_array(a) || nvo_is_array(b)) return nvo_array_binop(op, a, b);
  return nvo_nonlinear_binary(op, a, b);
}

// a*x ** n: 1.0, the term itself, the square a^2*x*x, or a nonlinear power.
static PyObject *linterm_number_power(PyObject *t, PyObject *exponent, double n) {
  if (n == 0.0) return PyFloat_FromDouble(1.0);
  if (n == 1.0) return Py_NewRef(t);
  if (n == 2.0) {
    const double c = as_lin(t)->coef;
    return quadterm_fill(as_lin(t)->var, as_lin(t)->var, c * c);
  }
  return nvo_nonlinear_binary(NVO_OP_POW, t, exponent);
}

PyObject *linterm_pow(PyObject *a, PyObject *b, PyObject *mod) {
  return nvo_term_pow(a, b, mod, NVO_KIND_LINTERM, linterm_number_power);
}

PyObject *linterm_or(PyObject *a, PyObject *b) { return nvo_term_logical(NVO_OP_OR, a, b); }
PyObject *linterm_and(PyObject *a, PyObject *b) { return nvo_term_logical(NVO_OP_AND, a, b); }
PyObject *linterm_neg(PyObject *t) { return linterm_fill(as_lin(t)->var, -as_lin(t)->coef); }
PyObject *linterm_abs(PyObject *t) { return nvo_nonlinear_unary(NVO_OP_ABS, t); }

static PyObject *linterm_extractLinear(PyObject *self, PyObject *) {
  return Py_BuildValue("([O],[d])", as_lin(self)->var, as_lin(self)->coef);
}

static PyObject *linterm_extractQuadratic(PyObject *, PyObject *) {
  return Py_BuildValue("([],[],[])");
}

PyDoc_STRVAR(linterm_extractLinear_doc,
             "extractLinear() -> (variables, coefficients)\n\n"
             "The term as a list holding its variable and a list holding its coefficient.");
PyDoc_STRVAR(linterm_extractQuadratic_doc,
             "extractQuadratic() -> ([], [], [])\n\n"
             "A linear term has no quadratic part: three empty lists.");

static PyMethodDef linterm_methods[] = {
    {"extractLinear", linterm_extractLinear, METH_NOARGS, linterm_extractLinear_doc},
    {"extractQuadratic", linterm_extractQuadratic, METH_NOARGS, linterm_extractQuadratic_doc},
    {nullptr, nullptr, 0, nullptr},
};

static PyNumberMethods linterm_as_number = {
    .nb_add = linterm_add,
    .nb_subtract = linterm_sub,
    .nb_multiply = linterm_mul,
    .nb_power = linterm_pow,
    .nb_negative = linterm_neg,
    .nb_positive = general_pos,
    .nb_absolute = linterm_abs,
    .nb_and = linterm_and,
    .nb_or = linterm_or,
    .nb_inplace_add = linterm_add,
    .nb_inplace_subtract = linterm_sub,
    .nb_inplace_multiply = linterm_mul,
    .nb_inplace_power = linterm_pow,
    .nb_true_divide = linterm_div,
    .nb_inplace_true_divide = linterm_div,
};

// Terms only come out of arithmetic: a term without its variables would be invalid.
static PyObject *linterm_new(PyTypeObject *type, PyObject *, PyObject *) {
  return PyErr_Format(PyExc_TypeError, "cannot create '%s' instances", type->tp_name);
}

PyDoc_STRVAR(linterm_doc,
             "A coefficient times a variable, the result of expressions such as 3*x.\n\n"
             "Linear terms are immutable; arithmetic on them returns new objects.");

PyTypeObject linterm_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.linterm",
    .tp_basicsize = sizeof(linterm_s),
    .tp_dealloc = linterm_dealloc,
    .tp_as_number = &linterm_as_number,
    .tp_str = linterm_str,
    .tp_flags = Py_TPFLAGS_DEFAULT,
    .tp_doc = linterm_doc,
    .tp_richcompare = make_constraint,
    .tp_methods = linterm_methods,
    .tp_new = linterm_new,
    .tp_free = slab_object_free,
};
