// nuvrel.expression: constant + linear terms + quadratic terms over variables.
#pragma once

#include <Python.h>

#include "model/termmaps.h"

struct expression_s {
  PyObject_HEAD
  double constant;
  linmap *lin;      // NULL until a linear term is added
  quadmap *quad;    // NULL until a quadratic term is added
  indexset *qvars;  // identifiers of every variable ever seen in a quadratic term
};

extern PyTypeObject expression_type;

inline bool expression_check(PyObject *obj) { return Py_TYPE(obj) == &expression_type; }
// Constant: neither a linear nor a quadratic part has been created.
inline bool expression_is_const(PyObject *obj) {
  auto *e = reinterpret_cast<expression_s *>(obj);
  return e->lin == nullptr && e->quad == nullptr;
}

// A new empty expression (constant 0). New reference or NULL.
PyObject *expression_base();

// Amending an expression in place: 0, or -1 with ModelError set.
int expression_setLinTerm(PyObject *expr, PyObject *var, double coef);
int expression_addToLinTerm(PyObject *expr, PyObject *var, double coef);
// expression_addToLinTerm for each of n terms in order (variables borrowed).
int expression_addLinTerms(PyObject *expr, const linmap_entry *terms, Py_ssize_t n);
// Both accumulate into the pair ordered by identifier.
int expression_setQuadTerm(PyObject *expr, PyObject *x, PyObject *y, double coef);
int expression_addToQuadTerm(PyObject *expr, PyObject *x, PyObject *y, double coef);

// Adds factor * obj (a number, variable, term or expression) into expr itself: cancelling
// terms vanish. 0, or -1 with an exception set.
int expression_accumulate(PyObject *expr, PyObject *obj, double factor);

// A new expression equal to factor * obj for a number, variable, term or expression.
PyObject *expression_copy(PyObject *obj, double factor);

// (variables, coefficients) and (first variables, second variables, coefficients) lists.
PyObject *convert_linmap_double_list(const linmap *map);
PyObject *convert_quadmap_triple_list(const quadmap *map);

// 1 with *type and *value when obj is a number (type 0) or a constant expression (type 4).
int isObjectConst(PyObject *obj, int *type, double *value);
// c * obj at the lowest kind (variable, term, expression); *type receives the result's kind.
PyObject *multiply_by_const_expr(PyObject *obj, int *type, double c);

// Operators (either operand may be the expression).
PyObject *expression_add(PyObject *a, PyObject *b);
PyObject *expression_sub(PyObject *a, PyObject *b);
PyObject *expression_mul(PyObject *a, PyObject *b);
PyObject *expression_div(PyObject *a, PyObject *b);
PyObject *expression_pow(PyObject *a, PyObject *b, PyObject *mod);
PyObject *expression_or(PyObject *a, PyObject *b);
PyObject *expression_and(PyObject *a, PyObject *b);
PyObject *expression_neg(PyObject *a);
PyObject *expression_abs(PyObject *a);
// In-place forms: an expression on the left is amended and returned.
PyObject *expression_iadd(PyObject *a, PyObject *b);
PyObject *expression_isub(PyObject *a, PyObject *b);
PyObject *expression_imul(PyObject *a, PyObject *b);
PyObject *expression_idiv(PyObject *a, PyObject *b);
PyObject *expression_ipow(PyObject *a, PyObject *b, PyObject *mod);
