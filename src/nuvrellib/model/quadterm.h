// nuvrel.quadterm: a non-zero coefficient times two variables, the small result of x*y.
#pragma once

#include <Python.h>

struct quadterm_s {
  PyObject_HEAD
  double coef;
  PyObject *var1;  // identifier of var1 <= identifier of var2; x*x holds x twice
  PyObject *var2;
};

extern PyTypeObject quadterm_type;

inline bool quadterm_check(PyObject *obj) { return Py_TYPE(obj) == &quadterm_type; }

// c*x*y with the pair ordered by identifier: the float 0.0 for c == 0, else a new term.
PyObject *quadterm_fill(PyObject *x, PyObject *y, double c);
// f times the quadratic term t.
PyObject *quadterm_copy(PyObject *t, double f);

// Operators (either operand may be the quadratic term).
PyObject *quadterm_add(PyObject *a, PyObject *b);
PyObject *quadterm_sub(PyObject *a, PyObject *b);
PyObject *quadterm_mul(PyObject *a, PyObject *b);
PyObject *quadterm_div(PyObject *a, PyObject *b);
PyObject *quadterm_pow(PyObject *a, PyObject *b, PyObject *mod);
PyObject *quadterm_or(PyObject *a, PyObject *b);
PyObject *quadterm_and(PyObject *a, PyObject *b);
PyObject *quadterm_neg(PyObject *t);
PyObject *quadterm_abs(PyObject *t);
