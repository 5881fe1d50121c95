// Adding modelling objects to a problem: variables and constraints (objects.cpp), special
// ordered sets and indicator constraints (entities.cpp).
#pragma once

#include <Python.h>

// args is a tuple of (possibly nested) objects; kwargs is ignored.
PyObject *problem_addVariable(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *problem_addConstraint(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *problem_addSOS(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *problem_addIndicator(PyObject *self, PyObject *args);

extern const char problem_addSOS_doc[], problem_addIndicator_doc[];
