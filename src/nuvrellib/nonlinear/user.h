// User functions (nonlinear nodes whose values come from a Python callable during a
// nonlinear solve) and piecewise-linear functions given as a dictionary of intervals.
#pragma once

#include <Python.h>

#include "nvrl.h"

struct problem_s;
struct nvo_nl_problem;

// Module functions user(*args, derivatives=False) and pwl(dict).
PyObject *nuvrelmod_user(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *nuvrelmod_pwl(PyObject *self, PyObject *arg);
extern const char nuvrelmod_user_doc[], nuvrelmod_pwl_doc[];

// Registers the callable args[0] of a user-function node with p's nonlinear problem (once per
// problem: a callable already registered gets its index again, from the problem's dictionary
// of them) and puts its 1-based library index into *index. 0, or -1 with an exception set.
int createUserFunction(const nvo_nl_problem *p, PyObject *args, int *index,
                       bool with_derivatives);

// The library holds one reference to each registered function's object; these hand them over
// when p's nonlinear problem is copied (the copy's library shares the objects), and drop them
// when that problem goes away or is replaced. Defined with the problem object.
int nvo_userfuncs_copy(problem_s *dst, const problem_s *src);
void nvo_userfuncs_release(problem_s *p);

// The value in what a user function returned: the number, or element 0 of a tuple. 0, or
// -1 with an exception set.
int nvo_user_result_value(PyObject *result, double *value);

// What the library calls: forward to the Python callable kept as the function's object.
extern "C" double nvpy_generic_user_function_no_derivative(const double *values, void *context);
extern "C" double nvpy_generic_user_function_with_derivative(const double *values, void *context,
                                                             const double *deltas,
                                                             double *results);

// An exception raised by a user function stops the solve; it is kept in errors, the owning
// problem's list (see nvo_nl_problem), until the solve returns. Discards what a previous call
// left (before a solve), or raises it again unchanged: 0 when there was none, -1 with it set.
// errors may be null (no user function registered).
void nvo_userfunc_error_discard(PyObject *errors);
int nvo_userfunc_error_raise(PyObject *errors);

// A copied problem's own function object for object (one of the source's): the same callable
// and index, the copy's errors list. A new reference, or null with an exception.
PyObject *nvo_userfunc_object_for(PyObject *object, PyObject *errors);
