// Evaluating modelling objects, and structures of them, at a vector of column values, giving
// the result in the shape of what was passed: a tuple of objects gives a tuple of floats, a
// dictionary a dictionary with the same keys, an array an array of floats, a list a list.
#pragma once

#include <Python.h>

#include "problem/problem.h"

// Where the value of a variable comes from. A variable is looked up in var_values first when
// that dictionary is given (variable -> number); otherwise its column comes from the problem's
// varmap and its value from values[column]. Integer and name leaves are column references and
// need the problem.
struct nvo_eval_context {
  problem_s *problem = nullptr;     // or null
  const double *values = nullptr;   // n column values (may be null when n is 0)
  Py_ssize_t n = 0;
  PyObject *var_values = nullptr;   // dict variable -> value (borrowed), or null
};

// The number of columns the problem's values are indexed by: the nonlinear solver's column
// count when the problem is nonlinear and that solver has been started, the optimiser's
// otherwise. 0 and *n, or -1 with the library error set.
int nvo_eval_problem_columns(problem_s *p, Py_ssize_t *n);

// Evaluates the positional arguments args (a tuple): no argument gives null without an
// exception (nothing to evaluate), one argument its value or structure, several a tuple of
// them. has_problem enables integer and name leaves. Null with an exception on failure.
PyObject *scan_args_expressions(PyObject *args, const nvo_eval_context *ctx, int has_problem);

// The recursive shape walker under scan_args_expressions, for obj at depth (the number of
// containers around it, 0 for an argument; limited by nvo_eval_limit of model/walk.h). New
// reference or null.
PyObject *evaluate_structure(PyObject *obj, const nvo_eval_context *ctx, int has_problem,
                             int depth);

// The value of one number or modelling object at depth. 0 and *value, or -1 with an exception
// set.
int evaluate_object(PyObject *obj, const nvo_eval_context *ctx, int depth, double *value);

// The module function nuvrel.evaluate(*args, problem=None, solution=None).
PyObject *nuvrelmod_evaluate(PyObject *self, PyObject *args, PyObject *kwargs);
extern const char nuvrelmod_evaluate_doc[];
