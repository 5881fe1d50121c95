// Deleting variables, constraints and sets from a problem, looking them up by position, and
// the position of an object.
#pragma once

#include <Python.h>

PyObject *problem_delVariable(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *problem_delConstraint(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *problem_delSOS(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *problem_getVariable(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *problem_getConstraint(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *problem_getSOS(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *problem_getIndex(PyObject *self, PyObject *obj);

extern const char problem_delVariable_doc[], problem_delConstraint_doc[], problem_delSOS_doc[],
    problem_getVariable_doc[], problem_getConstraint_doc[], problem_getSOS_doc[],
    problem_getIndex_doc[];
