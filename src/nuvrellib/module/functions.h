// The module functions of the runtime (environment, version, checked mode, defaults, output,
// message handlers) and their docstrings, for the module's method table.
#pragma once

#include <Python.h>

#include "module/errors.h"
#include "module/output.h"

PyObject *nuvrelmod_init(PyObject *self, PyObject *unused);
PyObject *nuvrelmod_free(PyObject *self, PyObject *unused);
PyObject *nuvrelmod_getversion(PyObject *self, PyObject *unused);
PyObject *nuvrelmod_getbanner(PyObject *self, PyObject *unused);
PyObject *nuvrelmod_getcheckedmode(PyObject *self, PyObject *unused);
PyObject *nuvrelmod_setcheckedmode(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *nuvrelmod_setarchconsistency(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *nuvrelmod_setdefaultcontrol(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *nuvrelmod_setdefaults(PyObject *self, PyObject *unused);

extern const char nuvrelmod_init_doc[], nuvrelmod_free_doc[], nuvrelmod_getversion_doc[],
    nuvrelmod_getbanner_doc[], nuvrelmod_getcheckedmode_doc[], nuvrelmod_setcheckedmode_doc[],
    nuvrelmod_setarchconsistency_doc[], nuvrelmod_setdefaultcontrol_doc[],
    nuvrelmod_setdefaults_doc[], nuvrelmod_getlasterror_doc[], nuvrelmod_setOutputEnabled_doc[],
    nuvrelmod_getOutputEnabled_doc[], nuvrelmod_addcbmsghandler_doc[],
    nuvrelmod_removecbmsghandler_doc[], nuvrelmod_vars_doc[];
