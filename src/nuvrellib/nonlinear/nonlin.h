// Nonlinear expression nodes (nuvrel.nonlin): an operator with its operand(s).
#pragma once

#include <Python.h>

#include <cstdint>

struct nonlin_s {
  PyObject_HEAD
  PyObject *args;  // the operand(s), owned; null in a new node
  int32_t op;      // operator code; -1 in a new node
};

extern PyTypeObject nonlin_type;
