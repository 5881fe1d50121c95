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

// The power operator of a term type whose kind is term_kind. With the term as base and a number
// exponent n, number_power(term, exponent, n) gives the result; every other exponent of a known
// kind gives a nonlinear power. With the term as exponent: 1.0 for the base 1, a nonlinear power
// for any other base of a lower kind, and a base of a higher kind does its own power.
using nvo_term_number_power = PyObject *(*)(PyObject *term, PyObject *exponent, double n);
PyObject *nvo_term_pow(PyObject *a, PyObject *b, PyObject *mod, int term_kind,
                       nvo_term_number_power number_power);
// a | b or a & b with a term operand: element-wise with an array, otherwise a nonlinear node.
PyObject *nvo_term_logical(int op, PyObject *a, PyObject *b);

// Appends the text of var's name (str of the name object) to out; false with an exception set.
bool nvo_append_var_name(std::string &out, PyObject *var);
// Appends v formatted with the C format fmt ("%g", "%+g", ...).
void nvo_append_number(std::string &out, const char *fmt, double v);
