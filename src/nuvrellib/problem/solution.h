// Reading a solved problem's values back by object: primal values (getSolution), slacks
// (getSlack), duals (getDual) and reduced costs (getRCost).
#pragma once

#include <Python.h>

#include "problem/problem.h"

// Which solution a read takes: the nonlinear solver's when the solver is available and the
// problem is nonlinear or was last solved by it; otherwise the optimiser's LP or MIP one.
// 1 or 0, or -1 with an exception set.
int use_nslp_solution(problem_s *p);

// The number of columns (rows when rows is true) of the solution that a read takes, for the
// solver chosen by use_nslp. 0 and *n, or -1 with an exception set.
int problem_solution_length(problem_s *p, bool use_nslp, bool rows, int *n);

// Fills x (at least n columns) with the current primal solution of p. 0, or -1 with an
// exception set.
int problem_read_primal_values(problem_s *p, bool use_nslp, double *x);

// Methods: getSolution(*args, flatten=False), getSlack(*args), getDual(*args),
// getRCost(*args).
PyObject *problem_getSolution(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *problem_getSlack(PyObject *self, PyObject *args);
PyObject *problem_getDual(PyObject *self, PyObject *args);
PyObject *problem_getRCost(PyObject *self, PyObject *args);
