// Branching objects (nuvrel.branchobj): a Python handle on a library branching object.
#pragma once

#include <Python.h>

#include "module/errors.h"

struct branchobj_s {
  PyObject_HEAD
  void *bo;  // the library's branching object; null when none is attached
};

extern PyTypeObject branchobj_type;

inline bool branchobj_check(PyObject *obj) { return PyObject_TypeCheck(obj, &branchobj_type); }

// The branching object's last error message from the library into msg (capacity bytes,
// zero-terminated) and its code into *code. Returns 0.
int branchobj_lasterror(PyObject *self, int *code, char *msg, int capacity);

// How setNvrlErrIfNull reports a branching object's error; registered at import.
extern const nvo_error_source branchobj_error_source;
