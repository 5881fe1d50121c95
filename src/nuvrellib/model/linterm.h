// nuvrel.linterm: a non-zero coefficient times one variable, the small result of 3*x.
#pragma once

#include <Python.h>

#include <string>

struct linterm_s {
  PyObject_HEAD
  double coef;
  PyObject *var;  // a nuvrel.var, one strong reference
};

extern PyTypeObject linterm_type;

inline bool linterm_check(PyObject *obj) { return Py_TYPE(obj) == &linterm_type; }

// c*var: the float 0.0 for c == 0, otherwise a new linear term.
PyObject *linterm_fill(PyObject *var, double c);
// f times the linear term t.
PyObject *linterm_copy(PyObject *t, double f);

// Operators (either operand may be the linear term; the pow forms take the slot's modulus).
PyObject *linterm_add(PyObject *a, PyObject *b);
PyObject *linterm_sub(PyObject *a, PyObject *b);
PyObject *linterm_mul(PyObject *a, PyObject *b);
PyObject *linterm_div(PyObject *a, PyObject *b);
PyObject *linterm_pow(PyObject *a, PyObject *b, PyObject *mod);
PyObject *linterm_or(PyObject *a, PyObject *b);
PyObject *linterm_and(PyObject *a, PyObject *b);
PyObject *linterm_neg(PyObject *t);
PyObject *linterm_abs(PyObject *t);

// Appends the text of var's name (str of the name object) to out; false with an exception set.
bool nvo_append_var_name(std::string &out, PyObject *var);
// Appends v formatted with the C format fmt ("%g", "%+g", ...).
void nvo_append_number(std::string &out, const char *fmt, double v);
