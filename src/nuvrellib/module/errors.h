// Turning a failed library call into a Python exception.
#pragma once

#include <Python.h>

// Called on every result just before a Python-visible function returns it. A non-null
// result is returned unchanged; a null one without a pending exception gets one carrying the
// library's last error for owner (a problem, a branching object, or null for the global
// environment). A pending exception is never replaced. Returns result.
PyObject *setNvrlErrIfNull(PyObject *owner, PyObject *result);

// The creation slot of types whose objects only the module makes (from library handles or
// for a problem): a TypeError, as constructing one would leave it unusable.
PyObject *nvo_refuse_new(PyTypeObject *type, PyObject *args, PyObject *kwargs);

// Module function getlasterror(): (code, message) of the global environment.
PyObject *nuvrelmod_getlasterror(PyObject *self, PyObject *unused);

// Method problem.getlasterror(): the problem's last library error message.
PyObject *NVRL_PY_getlasterror(PyObject *self, PyObject *unused);
extern const char NVRL_PY_getlasterror_doc[];
