// Cut-pool handles (nuvrel.poolcut): a Python handle on a cut stored in the library's cut pool.
#pragma once

#include <Python.h>

struct poolcut_s {
  PyObject_HEAD
  void *cut;  // the library's cut handle
};

extern PyTypeObject poolcut_type;
