// Output and message routing: printing the library's log lines to the interpreter's standard
// output, the global output switch, and user message handlers of the global environment.
#pragma once

#include <Python.h>

#include "nvrl.h"

// Returns output_enabled; when newval >= 0 also stores it.
int output_state(int newval);

// Prints msg and a newline to sys.stdout when output is enabled. Safe from any thread.
int nvr_py_print_general(const char *msg);

// Global message routine registered while the library is started. Lines of problems are
// left to the per-problem routines so that they are not printed twice.
int nvr_py_print(NVRLobject obj, void *cbdata, void *thread, const char *msg, int len,
                 int msgtype);
// Per-problem message routines (optimiser and nonlinear solver).
void nvr_py_print_prob(NVRLprob prob, void *cbdata, const char *msg, int len, int msgtype);
void nvr_py_print_probNL(NSLPprob prob, void *cbdata, const char *msg, int len, int msgtype);

// Trampoline registered with the library for each user handler; cbdata is the
// [msghandler, data] list.
int wrapper_msghandler(NVRLobject obj, void *cbdata, void *thread, const char *msg, int len,
                       int msgtype);

PyObject *nuvrelmod_setOutputEnabled(PyObject *self, PyObject *flag);
PyObject *nuvrelmod_getOutputEnabled(PyObject *self, PyObject *unused);
PyObject *nuvrelmod_addcbmsghandler(PyObject *self, PyObject *args, PyObject *kwargs);
PyObject *nuvrelmod_removecbmsghandler(PyObject *self, PyObject *args, PyObject *kwargs);
