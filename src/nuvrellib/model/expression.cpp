// nuvrel.expression: a constant, a linear part and a quadratic part. The parts are created on
// the first term that needs them, so a constant expression holds no maps at all.
#include "model/expression.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "model/dispatch.h"
#include "model/linterm.h"
#include "model/quadterm.h"
#include "model/var.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/object_slab.h"
#include "module/pyref.h"

static inline expression_s *as_expr(PyObject *o) { return reinterpret_cast<expression_s *>(o); }
static inline PyObject *as_obj(const var_s *v) {
  return reinterpret_cast<PyObject *>(const_cast<var_s *>(v));
}

PyObject *expression_base() {
  static object_slab slab(sizeof(expression_s));
  auto *e = reinterpret_cast<expression_s *>(slab_object_new(slab, &expression_type));
  if (e == nullptr) return nullptr;
  e->constant = 0.0;
  e->lin = nullptr;
  e->quad = nullptr;
  e->qvars = nullptr;
  return reinterpret_cast<PyObject *>(e);
}

static PyObject *expression_new(PyTypeObject *, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {nullptr};
  if (!PyArg_ParseTupleAndKeywords(args, kwargs, ":expression", const_cast<char **>(kwlist)))
    return nullptr;
  return expression_base();
}

static void expression_dealloc(PyObject *self) {
  expression_s *e = as_expr(self);
  linmap_free(&e->lin);
  quadmap_free(&e->quad);
  indexset_free(&e->qvars);
  Py_TYPE(self)->tp_free(self);
}

// --- amending -------------------------------------------------------------------------------

// Every amendment of the linear part comes through here, which also ends a sharing of it.
static int ensure_lin(expression_s *e) {
  if (e->lin == nullptr) e->lin = linmap_new();
  else if (e->lin->sharers > 0 && linmap_own(&e->lin) < 0) return -1;
  return e->lin != nullptr ? 0 : -1;
}

// Creates the quadratic part and its variable set together.
static int ensure_quad(expression_s *e) {
  if (e->quad == nullptr) e->quad = quadmap_new();
  if (e->qvars == nullptr) e->qvars = indexset_new();
  return e->quad != nullptr && e->qvars != nullptr ? 0 : -1;
}

int expression_setLinTerm(PyObject *expr, PyObject *var, double coef) {
  expression_s *e = as_expr(expr);
  if (e->lin == nullptr && coef == 0.0) return 0;
  if (ensure_lin(e) < 0 || linmap_set(e->lin, var, coef) < 0)
    return nvo_model_error("Error amending expression");
  return 0;
}

int expression_addToLinTerm(PyObject *expr, PyObject *var, double coef) {
  if (coef == 0.0) return 0;
  expression_s *e = as_expr(expr);
  if (ensure_lin(e) < 0 || linmap_add(e->lin, var, coef) < 0)
    return nvo_model_error("Error amending linear expression");
  return 0;
}

int expression_addLinTerms(PyObject *expr, const linmap_entry *terms, Py_ssize_t n) {
  // As for single terms, zero coefficients alone leave an expression without a linear part.
  Py_ssize_t first = 0;
  while (first < n && terms[first].coef == 0.0) ++first;
  if (first == n) return 0;
  expression_s *e = as_expr(expr);
  if (ensure_lin(e) < 0 || linmap_add_terms(e->lin, terms + first, n - first) < 0)
    return nvo_model_error("Error amending linear expression");
  return 0;
}

int expression_setQuadTerm(PyObject *expr, PyObject *x, PyObject *y, double coef) {
  expression_s *e = as_expr(expr);
  if (var_id(y) < var_id(x)) std::swap(x, y);
  if (ensure_quad(e) < 0) return nvo_model_error("Cannot amend quadratic expression");
  if (indexset_add(e->qvars, static_cast<int64_t>(var_id(x))) < 0 ||
      indexset_add(e->qvars, static_cast<int64_t>(var_id(y))) < 0 ||
      quadmap_add(e->quad, x, y, coef) < 0)
    return nvo_model_error("Error setting quadratic expression");
  return 0;
}

int expression_addToQuadTerm(PyObject *expr, PyObject *x, PyObject *y, double coef) {
  if (coef == 0.0) return 0;
  expression_s *e = as_expr(expr);
  if (var_id(y) < var_id(x)) std::swap(x, y);
  if (ensure_quad(e) < 0 || indexset_add(e->qvars, static_cast<int64_t>(var_id(x))) < 0 ||
      indexset_add(e->qvars, static_cast<int64_t>(var_id(y))) < 0 ||
      quadmap_add(e->quad, x, y, coef) < 0)
    return nvo_model_error("Cannot amend quadratic expression");
  return 0;
}

// Adds factor * (the terms and constant of src) into e; src is not e.
static int accumulate_expression(expression_s *e, const expression_s *src, double f) {
  e->constant += f * src->constant;
  if (src->lin != nullptr) {
    if (e->lin == nullptr && f == 1.0) {
      e->lin = linmap_share(src->lin);  // copied when either is amended
    } else {
      if (ensure_lin(e) < 0) return -1;
      for (const auto &[v, c] : *src->lin)
        if (linmap_add(e->lin, as_obj(v), f * c) < 0) return -1;
    }
  }
  if (src->quad != nullptr) {
    if (ensure_quad(e) < 0) return -1;
    if (src->qvars != nullptr)
      for (int64_t id : *src->qvars)
        if (indexset_add(e->qvars, id) < 0) return -1;
    for (const auto &[v1, inner] : *src->quad)
      for (const auto &[v2, c] : *inner)
        if (quadmap_add(e->quad, as_obj(v1), as_obj(v2), f * c) < 0) return -1;
  }
  return 0;
}

int expression_accumulate(PyObject *expr, PyObject *obj, double f) {
  if (f == 0.0) return 0;
  expression_s *e = as_expr(expr);
  switch (nvo_kind_noraise(obj)) {
    case NVO_KIND_NUMBER: e->constant += f * nvo_number_value(obj); return 0;
    case NVO_KIND_VAR: return expression_addToLinTerm(expr, obj, f);
    case NVO_KIND_LINTERM: {
      auto *t = reinterpret_cast<linterm_s *>(obj);
      return expression_addToLinTerm(expr, t->var, f * t->coef);
    }
    case NVO_KIND_QUADTERM: {
      auto *t = reinterpret_cast<quadterm_s *>(obj);
      return expression_addToQuadTerm(expr, t->var1, t->var2, f * t->coef);
    }
    case NVO_KIND_EXPRESSION: {
      if (obj == expr) {
        // Adding an expression to itself must not walk a map while amending it.
        PyRef copy(expression_copy(obj, 1.0));
        if (!copy) return -1;
        return expression_accumulate(expr, copy.get(), f);
      }
      if (accumulate_expression(e, as_expr(obj), f) < 0)
        return nvo_model_error("Error adding expressions");
      return 0;
    }
    case NVO_KIND_NONLIN:
      // An expression cannot hold a node; callers that may see one build a node sum.
      nvo_model_error("Error adding expressions");
      return -1;
    default: getExprType(obj); return -1;
  }
}

// --- copies ---------------------------------------------------------------------------------

// A new expression with e's parts scaled by f.
static PyObject *scaled_expression(const expression_s *src, double f) {
  PyRef res(expression_base());
  if (!res) return nullptr;
  expression_s *e = as_expr(res.get());
  e->constant = f * src->constant;
  if (std::fabs(f - 1.0) <= 1e-15) {
    // The linear part is shared until one of the two expressions changes.
    e->lin = linmap_share(src->lin);
    if (quadmap_copy(&e->quad, src->quad) < 0 ||
        indexset_copy(&e->qvars, src->qvars) < 0)
      return nvo_model_error("Cannot copy expression");
    return res.release();
  }
  // linmap_set drops a product that underflows to zero.
  if (src->lin != nullptr) {
    if (ensure_lin(e) < 0) return nvo_model_error("Cannot copy expression");
    for (const auto &[v, c] : *src->lin)
      if (linmap_set(e->lin, as_obj(v), f * c) < 0) return nvo_model_error("Cannot copy expression");
  }
  if (src->quad != nullptr) {
    if ((e->quad = quadmap_new()) == nullptr || indexset_copy(&e->qvars, src->qvars) < 0)
      return nvo_model_error("Cannot copy expression");
    if (e->qvars == nullptr && (e->qvars = indexset_new()) == nullptr)
      return nvo_model_error("Cannot copy expression");
    for (const auto &[v1, inner] : *src->quad)
      for (const auto &[v2, c] : *inner)
        if (quadmap_add(e->quad, as_obj(v1), as_obj(v2), f * c) < 0)
          return nvo_model_error("Cannot copy expression");
  }
  return res.release();
}

PyObject *expression_copy(PyObject *obj, double f) {
  // A zero factor gives the empty expression whatever obj is: no maps, so it is constant.
  if (f == 0.0) return expression_base();
  int kind = nvo_kind_noraise(obj);
  if (kind == NVO_KIND_EXPRESSION) return scaled_expression(as_expr(obj), f);
  if (kind == NVO_KIND_NONLIN) return nvo_nonlinear.copy(obj, f);
  PyRef res(expression_base());
  if (!res) return nullptr;
  expression_s *e = as_expr(res.get());
  switch (kind) {
    case NVO_KIND_NUMBER: e->constant = f * nvo_number_value(obj); break;
    case NVO_KIND_LINTERM: {
      auto *t = reinterpret_cast<linterm_s *>(obj);
      if (expression_setLinTerm(res.get(), t->var, f * t->coef) < 0) {
        PyErr_Clear();
        return nvo_model_error("Cannot copy linear term into expression");
      }
      break;
    }
    case NVO_KIND_QUADTERM: {
      auto *t = reinterpret_cast<quadterm_s *>(obj);
      if (expression_setQuadTerm(res.get(), t->var1, t->var2, f * t->coef) < 0) {
        PyErr_Clear();
        return nvo_model_error("Cannot copy quadratic term into expression");
      }
      break;
    }
    case NVO_KIND_VAR:
      if (expression_setLinTerm(res.get(), obj, f) < 0) {
        PyErr_Clear();
        return nvo_model_error("Cannot copy expression");
      }
      break;
    default: getExprType(obj); return nullptr;
  }
  return res.release();
}

// --- conversions ----------------------------------------------------------------------------

PyObject *convert_linmap_double_list(const linmap *map) {
  Py_ssize_t n = map != nullptr ? static_cast<Py_ssize_t>(map->size()) : 0;
  PyRef vars(PyList_New(n)), coefs(PyList_New(n));
  if (!vars || !coefs) return nullptr;
  Py_ssize_t i = 0;
  if (map != nullptr) {
    for (const auto &[v, c] : *map) {
      PyObject *f = PyFloat_FromDouble(c);
      if (f == nullptr) return nullptr;
      PyList_SET_ITEM(vars.get(), i, Py_NewRef(as_obj(v)));
      PyList_SET_ITEM(coefs.get(), i, f);
      ++i;
    }
  }
  return PyTuple_Pack(2, vars.get(), coefs.get());
}

PyObject *convert_quadmap_triple_list(const quadmap *map) {
  PyRef first(PyList_New(0)), second(PyList_New(0)), coefs(PyList_New(0));
  if (!first || !second || !coefs) return nullptr;
  if (map != nullptr) {
    for (const auto &[v1, inner] : *map) {
      for (const auto &[v2, c] : *inner) {
        PyRef f(PyFloat_FromDouble(c));
        if (!f || PyList_Append(first.get(), as_obj(v1)) < 0 ||
            PyList_Append(second.get(), as_obj(v2)) < 0 || PyList_Append(coefs.get(), f.get()) < 0)
          return nullptr;
      }
    }
  }
  return PyTuple_Pack(3, first.get(), second.get(), coefs.get());
}

int isObjectConst(PyObject *obj, int *type, double *value) {
  if (nvo_is_number(obj)) {
    *type = NVO_KIND_NUMBER;
    *value = nvo_number_value(obj);
    return 1;
  }
  if (expression_check(obj) && expression_is_const(obj)) {
    *type = NVO_KIND_EXPRESSION;
    *value = as_expr(obj)->constant;
    return 1;
  }
  return 0;
}

PyObject *multiply_by_const_expr(PyObject *obj, int *type, double c) {
  PyObject *res = nullptr;
  switch (nvo_kind_noraise(obj)) {
    case NVO_KIND_NUMBER: res = PyFloat_FromDouble(c * nvo_number_value(obj)); break;
    case NVO_KIND_VAR: res = c == 1.0 ? Py_NewRef(obj) : linterm_fill(obj, c); break;
    case NVO_KIND_LINTERM: res = linterm_copy(obj, c); break;
    case NVO_KIND_QUADTERM: res = quadterm_copy(obj, c); break;
    case NVO_KIND_EXPRESSION: res = expression_copy(obj, c); break;
    case NVO_KIND_NONLIN: res = nvo_nonlinear.copy(obj, c); break;
    default: break;
  }
  if (res == nullptr) return nvo_model_error("Error multiplying expressions");
  *type = nvo_kind_noraise(res);
  return res;
}

// --- sums -----------------------------------------------------------------------------------

// Kinds of both operands, raising the classification error for an unknown one.
static int classify(PyObject *a, PyObject *b, int *ka, int *kb) {
  *ka = getExprType(a);
  if (*ka < 0) return -1;
  *kb = getExprType(b);
  return *kb < 0 ? -1 : 0;
}

// Sums and products name no operand when one is of no known kind.
static PyObject *invalid_operand() { return nvo_model_error("Invalid object in operation"); }

// a + s*b where at least one operand is an expression.
static PyObject *expression_alg_sum(PyObject *a, PyObject *b, double s) {
  int op = s > 0 ? NVO_OP_ADD : NVO_OP_SUB;
  if (nvo_is_array(a) || nvo_is_array(b)) return nvo_array_binop(op, a, b);
  int ka = nvo_kind_noraise(a), kb = nvo_kind_noraise(b);
  if (ka < 0 || kb < 0) return invalid_operand();
  if (ka == NVO_KIND_NONLIN || kb == NVO_KIND_NONLIN) return nvo_nonlinear_binary(op, a, b);
  // Start from a copy of the expression operand (the larger one) and add the other.
  if (kb == NVO_KIND_EXPRESSION && ka != NVO_KIND_EXPRESSION) {
    PyRef res(expression_copy(b, s));
    if (!res) return nullptr;
    if (expression_accumulate(res.get(), a, 1.0) < 0)
      return nvo_model_error("Error adding expressions");
    return res.release();
  }
  PyRef res(expression_copy(a, 1.0));
  if (!res) return nullptr;
  if (expression_accumulate(res.get(), b, s) < 0)
    return nvo_model_error("Error adding expressions");
  return res.release();
}

PyObject *expression_add(PyObject *a, PyObject *b) { return expression_alg_sum(a, b, 1.0); }
PyObject *expression_sub(PyObject *a, PyObject *b) { return expression_alg_sum(a, b, -1.0); }

// a += s*b: an expression on the left is amended and returned, which keeps long
// summations linear in their length.
static PyObject *expression_incremental_alg_sum(PyObject *a, PyObject *b, double s) {
  if (a == Py_None) return general_copy(b, s);
  if (!expression_check(a) || nvo_is_array(b)) return expression_alg_sum(a, b, s);
  if (linterm_check(b)) {
    // The hot path of e += c*x.
    auto *t = reinterpret_cast<linterm_s *>(b);
    if (expression_addToLinTerm(a, t->var, s * t->coef) < 0) return nullptr;
    return Py_NewRef(a);
  }
  int kb = nvo_kind_noraise(b);
  if (kb < 0) return invalid_operand();
  if (kb == NVO_KIND_NONLIN) return nvo_nonlinear_binary(s > 0 ? NVO_OP_ADD : NVO_OP_SUB, a, b);
  if (expression_accumulate(a, b, s) < 0) return nvo_model_error("Error adding expressions");
  return Py_NewRef(a);
}

PyObject *expression_iadd(PyObject *a, PyObject *b) {
  return expression_incremental_alg_sum(a, b, 1.0);
}
PyObject *expression_isub(PyObject *a, PyObject *b) {
  return expression_incremental_alg_sum(a, b, -1.0);
}

// --- products -------------------------------------------------------------------------------

static bool has_terms(const linmap *m) { return m != nullptr && !m->empty(); }
static bool has_terms(const quadmap *m) { return m != nullptr && !m->empty(); }

// The expression e (no quadratic part) times l*x.
static PyObject *linear_times_variable(const expression_s *e, PyObject *x, double l) {
  PyRef res(expression_base());
  if (!res) return nullptr;
  if (e->constant != 0.0 && expression_addToLinTerm(res.get(), x, e->constant * l) < 0) {
    PyErr_Clear();
    return nvo_model_error("Cannot create linear term for expression");
  }
  if (e->lin != nullptr) {
    for (const auto &[v, c] : *e->lin) {
      if (expression_addToQuadTerm(res.get(), as_obj(v), x, c * l) < 0) {
        PyErr_Clear();
        return nvo_model_error("Cannot create quadratic term in expression");
      }
    }
  }
  return res.release();
}

// The product of two expressions without quadratic parts.
static PyObject *linear_times_linear(const expression_s *a, const expression_s *b) {
  PyRef res(expression_base());
  if (!res) return nullptr;
  expression_s *r = as_expr(res.get());
  r->constant = a->constant * b->constant;
  const char *linmsg = "Cannot create linear term in expression";
  if (b->constant != 0.0 && a->lin != nullptr)
    for (const auto &[v, c] : *a->lin)
      if (expression_addToLinTerm(res.get(), as_obj(v), b->constant * c) < 0)
        return PyErr_Clear(), nvo_model_error(linmsg);
  if (a->constant != 0.0 && b->lin != nullptr)
    for (const auto &[v, c] : *b->lin)
      if (expression_addToLinTerm(res.get(), as_obj(v), a->constant * c) < 0)
        return PyErr_Clear(), nvo_model_error(linmsg);
  if (has_terms(a->lin) && has_terms(b->lin))
    for (const auto &[va, ca] : *a->lin)
      for (const auto &[vb, cb] : *b->lin)
        if (expression_addToQuadTerm(res.get(), as_obj(va), as_obj(vb), ca * cb) < 0)
          return PyErr_Clear(), nvo_model_error("Cannot create quadratic term in expression");
  return res.release();
}

PyObject *expression_mul(PyObject *a, PyObject *b) {
  if (nvo_is_array(a) || nvo_is_array(b)) return nvo_array_binop(NVO_OP_MUL, a, b);
  if (nvo_is_number(a)) return expression_copy(b, nvo_number_value(a));
  if (nvo_is_number(b)) return expression_copy(a, nvo_number_value(b));
  int type;
  if (expression_check(a) && expression_is_const(a))
    return multiply_by_const_expr(b, &type, as_expr(a)->constant);
  if (expression_check(b) && expression_is_const(b))
    return multiply_by_const_expr(a, &type, as_expr(b)->constant);
  int ka = nvo_kind_noraise(a), kb = nvo_kind_noraise(b);
  if (ka == NVO_KIND_EXPRESSION && kb == NVO_KIND_EXPRESSION) {
    expression_s *ea = as_expr(a), *eb = as_expr(b);
    bool la = has_terms(ea->lin), qa = has_terms(ea->quad);
    bool lb = has_terms(eb->lin), qb = has_terms(eb->quad);
    if ((qa && (lb || qb)) || (la && qb)) return nvo_nonlinear_binary(NVO_OP_MUL, a, b);
    if (qb) return expression_copy(b, ea->constant);
    if (qa) return expression_copy(a, eb->constant);
    return linear_times_linear(ea, eb);
  }
  PyObject *e = ka == NVO_KIND_EXPRESSION ? a : b;
  PyObject *o = e == a ? b : a;
  int ko = e == a ? kb : ka;
  if (ko == NVO_KIND_VAR || ko == NVO_KIND_LINTERM) {
    if (as_expr(e)->quad != nullptr) return nvo_nonlinear_binary(NVO_OP_MUL, a, b);
    if (ko == NVO_KIND_VAR) return linear_times_variable(as_expr(e), o, 1.0);
    auto *t = reinterpret_cast<linterm_s *>(o);
    return linear_times_variable(as_expr(e), t->var, t->coef);
  }
  if (ko == NVO_KIND_NONLIN || ko == NVO_KIND_QUADTERM)
    return nvo_nonlinear_binary(NVO_OP_MUL, a, b);
  return invalid_operand();
}

PyObject *expression_div(PyObject *a, PyObject *b) {
  if (nvo_is_array(a) || nvo_is_array(b)) return nvo_array_binop(NVO_OP_DIV, a, b);
  int ka, kb;
  if (classify(a, b, &ka, &kb) < 0) return nullptr;
  int type;
  double c;
  if (ka == NVO_KIND_EXPRESSION && isObjectConst(b, &type, &c)) {
    if (c == 0.0) return nvo_model_error("Division by zero");
    return expression_copy(a, 1.0 / c);
  }
  return nvo_nonlinear_binary(NVO_OP_DIV, a, b);
}

// Multiplies the constant and every coefficient of e by c in place; coefficients that
// underflow to zero are removed, as zero coefficients are never stored.
static int scale_in_place(expression_s *e, double c) {
  e->constant *= c;
  if (e->lin != nullptr) {
    if (linmap_own(&e->lin) < 0) return nvo_model_error("Could not modify linear part in multiplication");
    linmap_scale(e->lin, c);
  }
  if (e->quad != nullptr) quadmap_scale(e->quad, c);
  return 0;
}

PyObject *expression_imul(PyObject *a, PyObject *b) {
  int type;
  double c;
  if (expression_check(a) && !nvo_is_array(b) && isObjectConst(b, &type, &c)) {
    if (c == 0.0) return PyFloat_FromDouble(0.0);
    if (c == 1.0) return Py_NewRef(a);
    if (scale_in_place(as_expr(a), c) < 0) return nullptr;
    return Py_NewRef(a);
  }
  return expression_mul(a, b);
}

PyObject *expression_idiv(PyObject *a, PyObject *b) {
  int type;
  double c;
  if (expression_check(a) && !nvo_is_array(b) && isObjectConst(b, &type, &c)) {
    if (c == 0.0) return nvo_model_error("Division by zero");
    if (c == 1.0) return Py_NewRef(a);
    if (scale_in_place(as_expr(a), 1.0 / c) < 0) return nullptr;
    return Py_NewRef(a);
  }
  return expression_div(a, b);
}

// --- powers and the rest -------------------------------------------------------------------

PyObject *expression_pow(PyObject *a, PyObject *b, PyObject *mod) {
  if (mod != nullptr && mod != Py_None) return nvo_model_error("Invalid operands in exponentiation");
  if (nvo_is_array(b)) return nvo_model_error("Cannot obtain a power with a vector as an exponent");
  if (nvo_is_array(a)) return nvo_array_binop(NVO_OP_POW, a, b);
  int ka, kb;
  if (classify(a, b, &ka, &kb) < 0) return nullptr;
  if (ka == NVO_KIND_EXPRESSION && kb == NVO_KIND_NUMBER) {
    double n = nvo_number_value(b);
    if (n == 0.0) return PyFloat_FromDouble(1.0);
    if (n == 1.0) return expression_copy(a, 1.0);
    if (n == 2.0) return expression_mul(a, a);
    return nvo_nonlinear_binary(NVO_OP_POW, a, b);
  }
  if (ka == NVO_KIND_NUMBER && nvo_number_value(a) == 1.0) return PyFloat_FromDouble(1.0);
  return nvo_nonlinear_binary(NVO_OP_POW, a, b);
}

PyObject *expression_ipow(PyObject *a, PyObject *b, PyObject *mod) {
  if (nvo_is_array(b)) return nvo_model_error("Cannot obtain a power with a vector as an exponent");
  if (expression_check(a) && nvo_is_number(b) && (mod == nullptr || mod == Py_None)) {
    double n = nvo_number_value(b);
    if (n == 1.0) return Py_NewRef(a);
    if (n == 0.0) return PyFloat_FromDouble(1.0);
  }
  return expression_pow(a, b, mod);
}

static PyObject *logical(int op, PyObject *a, PyObject *b) {
  if (nvo_is_array(a) || nvo_is_array(b)) return nvo_array_binop(op, a, b);
  return nvo_nonlinear_binary(op, a, b);
}

PyObject *expression_or(PyObject *a, PyObject *b) { return logical(NVO_OP_OR, a, b); }
PyObject *expression_and(PyObject *a, PyObject *b) { return logical(NVO_OP_AND, a, b); }
PyObject *expression_neg(PyObject *a) { return expression_copy(a, -1.0); }
PyObject *expression_abs(PyObject *a) { return nvo_nonlinear_unary(NVO_OP_ABS, a); }

// --- printing -------------------------------------------------------------------------------

// Appends one term: the first piece has no sign of its own ("  x", " - x", " 3 x"), later
// pieces do (" + x", " - x", " +3 x").
static void append_coef(std::string &s, double c, bool first) {
  if (c == 1.0) s += first ? "  " : " + ";
  else if (c == -1.0) s += " - ";
  else {
    nvo_append_number(s, first ? " %g" : " %+g", c);
    s += ' ';
  }
}

static PyObject *expression_str(PyObject *self) {
  expression_s *e = as_expr(self);
  std::string s;
  bool first = true;
  if (e->constant != 0.0) {
    nvo_append_number(s, "%g", e->constant);
    first = false;
  }
  if (e->lin != nullptr) {
    for (const auto &[v, c] : *e->lin) {
      if (c == 0.0) continue;
      append_coef(s, c, first);
      first = false;
      if (!nvo_append_var_name(s, as_obj(v))) return nullptr;
    }
  }
  if (e->quad != nullptr) {
    for (const auto &[v1, inner] : *e->quad) {
      for (const auto &[v2, c] : *inner) {
        if (c == 0.0) continue;
        append_coef(s, c, first);
        first = false;
        if (!nvo_append_var_name(s, as_obj(v1))) return nullptr;
        if (v1 == v2) {
          s += "**2";
        } else {
          s += '*';
          if (!nvo_append_var_name(s, as_obj(v2))) return nullptr;
        }
      }
    }
  }
  if (first) return PyUnicode_FromString("0");
  return PyUnicode_FromStringAndSize(s.data(), static_cast<Py_ssize_t>(s.size()));
}

// --- type -----------------------------------------------------------------------------------

static PyObject *expression_extractLinear(PyObject *self, PyObject *) {
  return convert_linmap_double_list(as_expr(self)->lin);
}

static PyObject *expression_extractQuadratic(PyObject *self, PyObject *) {
  return convert_quadmap_triple_list(as_expr(self)->quad);
}

PyDoc_STRVAR(expression_extractLinear_doc,
             "extractLinear() -> (variables, coefficients)\n\n"
             "The linear part as two lists, in the order in which the variables were created.");
PyDoc_STRVAR(expression_extractQuadratic_doc,
             "extractQuadratic() -> (variables1, variables2, coefficients)\n\n"
             "The quadratic part as three lists; each pair appears once, the variable\n"
             "created first leading.");

PyDoc_STRVAR(expression_general_doc,
             "_general(name, a[, b]) -> result\n\n"
             "The generic operator `name` applied to a (and b), as the array loops and\n"
             "summations use it (for diagnostics and tests).");

static PyMethodDef expression_methods[] = {
    {"extractLinear", expression_extractLinear, METH_NOARGS, expression_extractLinear_doc},
    {"extractQuadratic", expression_extractQuadratic, METH_NOARGS,
     expression_extractQuadratic_doc},
    {"_general", nvo_general_py, METH_VARARGS | METH_STATIC, expression_general_doc},
    {nullptr, nullptr, 0, nullptr},
};

static PyNumberMethods expression_as_number = {
    .nb_add = expression_add,
    .nb_subtract = expression_sub,
    .nb_multiply = expression_mul,
    .nb_power = expression_pow,
    .nb_negative = expression_neg,
    .nb_positive = general_pos,
    .nb_absolute = expression_abs,
    .nb_and = expression_and,
    .nb_or = expression_or,
    .nb_inplace_add = expression_iadd,
    .nb_inplace_subtract = expression_isub,
    .nb_inplace_multiply = expression_imul,
    .nb_inplace_power = expression_ipow,
    .nb_true_divide = expression_div,
    .nb_inplace_true_divide = expression_idiv,
};

PyDoc_STRVAR(expression_doc,
             "expression()\n\n"
             "A linear or quadratic function of variables: a constant, linear terms and\n"
             "quadratic terms. Arithmetic on variables and terms produces expressions;\n"
             "expression() gives an empty one (the constant 0) to accumulate into with +=.\n\n"
             "Example:\n"
             "  e = 2*x + 3*y - 1\n"
             "  e += x*y");

PyTypeObject expression_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.expression",
    .tp_basicsize = sizeof(expression_s),
    .tp_dealloc = expression_dealloc,
    .tp_as_number = &expression_as_number,
    .tp_str = expression_str,
    .tp_flags = Py_TPFLAGS_DEFAULT,
    .tp_doc = expression_doc,
    .tp_richcompare = make_constraint,
    .tp_methods = expression_methods,
    .tp_new = expression_new,
    .tp_free = slab_object_free,
};
