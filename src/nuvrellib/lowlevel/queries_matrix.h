// Low-level queries of the model: matrix rows and columns, bounds, types, names, objective,
// quadratic data, sets, indicators, general and piecewise-linear constraints.
#pragma once

#include <Python.h>

extern PyMethodDef problem_methods_queries_matrix[];
