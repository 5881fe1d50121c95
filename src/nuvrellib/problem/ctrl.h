// Control objects (type ctrl): p.controls of a problem, and the module-level
// nuvrel.controls whose values become the defaults of new problems.
#pragma once

#include <Python.h>

struct ctrl_s {
  PyObject_HEAD
  PyObject *problem;  // owning problem (borrowed); null for the module-level object
  PyObject *dict;     // ctrl_table for a problem's object; own defaults for the module's
  int detached;       // 1 once the problem is gone (the object may outlive it)
};

extern PyTypeObject ctrl_type;

// A new ctrl object on problem (null: the module-level object with a new empty dictionary).
PyObject *ctrl_create(PyObject *problem);

// Marks a problem's ctrl object as belonging to no live problem.
void ctrl_detach(PyObject *ctrl);

// 0 when value suits a control of the given type (1 integer, 2 double, 3 string); else -1
// with ModelError set.
int check_setCtrl(long type, PyObject *value);
