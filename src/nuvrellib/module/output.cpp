// Printing the library's log lines to the interpreter's standard output, and the global
// output switch.
#include "module/output.h"

#include <cstring>

#include "module/env.h"
#include "module/errors.h"
#include "module/functions.h"
#include "module/numpy_api.h"
#include "module/pyref.h"
#include "module/scalars.h"

int output_state(int newval) {
  EnvLock lock(nvr_py_env.mtx_output);
  int current = nvr_py_env.output_enabled;
  if (newval >= 0) nvr_py_env.output_enabled = newval;
  return current;
}

namespace {

// Writes text to sys.stdout. The interpreter's own formatted writing would silently drop an
// exception raised by the stream (a user's object may try anything there, even calls on the
// problem being solved): it is reported as unraisable instead, with any exception that was
// pending before left as it was.
void write_stdout(const char *msg) {
  PendingError pending;
  PyObject *out = PySys_GetObject("stdout");  // borrowed
  if (out == nullptr || out == Py_None) {
    PySys_FormatStdout("%s\n", msg);
  } else {
    PyRef line(PyUnicode_FromFormat("%s\n", msg));
    PyRef result(line ? PyObject_CallMethod(out, "write", "O", line.get()) : nullptr);
    if (!result) PyErr_WriteUnraisable(out);
  }
}

}  // namespace

int nvr_py_print_general(const char *msg) {
  if (msg == nullptr || !output_state(-1)) return 0;
  // Library worker threads call this without the interpreter lock.
  PyGILState_STATE gil = PyGILState_Ensure();
  write_stdout(msg);
  PyGILState_Release(gil);
  return 0;
}

int nvr_py_print(NVRLobject obj, void *cbdata, void *thread, const char *msg, int len,
                 int msgtype) {
  const char *type_name = nullptr;
  // Lines of a problem (optimiser or nonlinear solver) reach that problem's own routine as
  // well; printing them here would double them.
  if (NVRLgetobjecttypename(obj, &type_name) == 0 && type_name != nullptr &&
      (std::strcmp(type_name, "NVRLprob") == 0 || std::strcmp(type_name, "NSLPprob") == 0))
    return 0;
  return nvr_py_print_general(msg);
}

void nvr_py_print_prob(NVRLprob prob, void *cbdata, const char *msg, int len, int msgtype) {
  nvr_py_print_general(msg);
}

void nvr_py_print_probNL(NSLPprob prob, void *cbdata, const char *msg, int len, int msgtype) {
  nvr_py_print_general(msg);
}

const char nuvrelmod_setOutputEnabled_doc[] =
    "Purpose:\n"
    "  Switches the printing of the solver's messages to standard output on or off, for\n"
    "  every problem. Message handlers still receive the messages.\n\n"
    "Synopsis:\n"
    "  nuvrel.setOutputEnabled(flag)\n\n"
    "Arguments:\n"
    "  flag: True to print, False to stay silent.\n\n"
    "Example:\n"
    "  nuvrel.setOutputEnabled(False)\n";

PyObject *nuvrelmod_setOutputEnabled(PyObject *self, PyObject *flag) {
  if (nvo_is_flag(flag)) {
    int on = nvo_flag_truth(flag);
    if (on < 0) return nullptr;
    output_state(on ? 1 : 0);
  } else {
    // The caller gets the SystemError of a result returned with an exception set, caused by
    // the ModelError, as scripts expect. It is raised here rather than left to the
    // interpreter: a call site that has run often enough is specialised and no longer checks,
    // and the ModelError would then surface later, at an unrelated line.
    PyErr_SetString(nvpy_model_exc,
                    "Incorrect argument in setOutputEnabled: should be True or False");
    return nvo_error_from_pending(
        PyExc_SystemError,
        "<built-in function setOutputEnabled> returned a result with an exception set");
  }
  Py_RETURN_NONE;
}

const char nuvrelmod_getOutputEnabled_doc[] =
    "Purpose:\n"
    "  Tells whether the solver's messages are printed to standard output.\n\n"
    "Synopsis:\n"
    "  on = nuvrel.getOutputEnabled()\n\n"
    "Arguments:\n"
    "  None.\n\n"
    "Example:\n"
    "  if not nuvrel.getOutputEnabled():\n"
    "      nuvrel.setOutputEnabled(True)\n";

PyObject *nuvrelmod_getOutputEnabled(PyObject *self, PyObject *unused) {
  return PyBool_FromLong(output_state(-1));
}
