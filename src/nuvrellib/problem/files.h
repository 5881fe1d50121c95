// Reading and writing problem files through the library. Reading also creates a var for
// every column, a constraint for every row and an sos for every set read, so that a problem
// read from a file can be used with the modelling methods like one built in Python.
#pragma once

#include <Python.h>

#include "problem/problem.h"

// Methods: read(filename, options="") and write(filename, flags="").
PyObject *problem_read(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *problem_write(PyObject *self, PyObject *args, PyObject *kwargs);

// Appends a var for every column, a constraint for every row and an sos for every set of the
// library problem to p's lists and maps (after a read, or a restore that replaced the model).
// 0, or -1 with an exception set.
int problem_objects_from_library(problem_s *p);
