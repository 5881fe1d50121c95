// Attribute objects (type attr): p.attributes of a problem, read-only results by name.
#pragma once

#include <Python.h>

struct attr_s {
  PyObject_HEAD
  PyObject *problem;  // owning problem (borrowed)
  PyObject *dict;     // shared reference to attr_table
  int detached;       // 1 once the problem is gone (the object may outlive it)
};

extern PyTypeObject attr_type;

// A new attr object on problem. New reference or null.
PyObject *attr_create(PyObject *problem);
// Marks it as belonging to no live problem.
void attr_detach(PyObject *attr);
