// The module constants (variable types, senses, statuses, codes of the library).
#pragma once

#include <Python.h>

// Adds the constants to module in table order. 0 on success, -1 with an exception set.
int nvo_add_constants(PyObject *module);
