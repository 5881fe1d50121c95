// The array element types npvar, npexpr and npconstraint (numpy user dtypes whose elements
// are modelling objects).
#pragma once

#include <Python.h>

// Imports numpy's C interface and registers the element types with their casts and
// element-wise loops, storing them in nvr_py_env.npvar/npexpr/npconstraint.
// 0 on success, -1 with an exception set.
int setAltNumOps(PyObject *module);
