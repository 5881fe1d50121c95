// The positional elements of problem(...): name, variables, constraints, sets, objective.
#pragma once

#include <Python.h>

#include "problem/problem.h"

// Adds the elements of the constructor's argument tuple in order. 0, or -1 with an exception.
int problem_add_elements(problem_s *p, PyObject *elements, int sense);
