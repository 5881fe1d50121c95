// Controls and attributes of a problem read and set by name: the typed library calls behind
// p.controls, p.attributes, getControl, setControl, getAttrib, and the module defaults.
#pragma once

#include <Python.h>

#include "problem/problem.h"

// Solver kinds of a name-table entry.
enum { NVO_KIND_OPTIMISER = 0, NVO_KIND_NSLP = 1, NVO_KIND_NSLP_IPM = 2 };
// Value types of a name-table entry.
enum { NVO_TYPE_INT = 1, NVO_TYPE_DOUBLE = 2, NVO_TYPE_STRING = 3 };

// The current value of one control or attribute: a new reference, or null with an exception.
PyObject *problem_getInfo_single(problem_s *p, int id, int type, int is_control, int kind);
// Sets one control after checking the value's type. 0, or -1 with an exception set.
int problem_setControl_single(problem_s *p, int id, int type, int kind, PyObject *value);

// Applies every module default control to p (name-table mutex, then defaults mutex).
// 0, or -1 with an exception set.
int problem_apply_defaults(problem_s *p);

// Reads or sets a control or attribute of p by name, for p.controls and p.attributes.
// Unknown names raise InterfaceError "Incorrect control name" / "Incorrect attribute name".
PyObject *problem_getInfo_byname(problem_s *p, PyObject *name, int is_control);
int problem_setControl_byname(problem_s *p, PyObject *name, PyObject *value);
