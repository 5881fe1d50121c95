// Deleting variables, constraints and sets from a problem, looking them up by position, and
// the position of an object.
#pragma once

#include <Python.h>

#include <cstdint>
#include <vector>

#include "problem/problem.h"

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

// After the library has deleted rows (kind 0), columns (1) or sets (2) at the sorted,
// distinct positions doomed: drops their objects from the problem's list and map and moves
// the later ones down. 0, or -1 with an exception set.
int problem_forget_positions(problem_s *p, int kind, const std::vector<int64_t> &doomed);
