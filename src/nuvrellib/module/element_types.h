// The array element types npvar, npexpr and npconstraint (numpy user dtypes whose elements
// are modelling objects).
#pragma once

#include <Python.h>

// Imports numpy's C interface and registers the element types with their casts and
// element-wise loops, storing them in nvr_py_env.npvar/npexpr/npconstraint.
// 0 on success, -1 with an exception set.
int setAltNumOps(PyObject *module);

// The array layer sits above the modelling layer, which reaches it through this table; the
// array layer fills it at import (before setAltNumOps runs).
struct nvo_array_hooks {
  // Registers the element types, casts and loops (numpy is the numpy module).
  int (*register_types)(PyObject *numpy);
  // The array product of Dot: a may be None for the first factor; out may be null.
  PyObject *(*tensor_mult)(PyObject *a, PyObject *b, PyObject *out);
};
extern nvo_array_hooks nvo_arrays;
