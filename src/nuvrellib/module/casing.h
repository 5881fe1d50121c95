// The case rule for control and attribute names: all-lower names are used as they are,
// all-upper names are lower-cased, anything else is an error. Every dictionary access by such
// a name goes through these functions, so NAME and name are one name.
#pragma once

#include <Python.h>

#include <string>

// 0 with the name to use in *out, or -1 with ModelError set.
int to_lowercase_all(const char *name, std::string *out);
// The same for a str object: a new reference to the lower-case str, or null with an exception.
PyObject *to_lowercase_all_obj(PyObject *name);

// Borrowed value or null; on null, PyErr_Occurred() tells an error from a missing key.
PyObject *PyDict_GetItem_LowerCaseKey(PyObject *dict, PyObject *key);
