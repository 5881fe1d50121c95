// Library errors as Python exceptions, and the module function getlasterror().
#include "module/errors.h"

#include <cstring>

#include "module/env.h"
#include "module/functions.h"
#include "module/pyref.h"
#include "nvrl.h"

namespace {

constexpr int kMessageSize = 512;

// The global environment is read like the registered kinds, but is asked only for a null
// owner.
int global_last_error(PyObject *, int *code, char *msg, int capacity) {
  NVRL_ge_getlasterror(code, msg, capacity, nullptr);
  return 1;
}
const nvo_error_source global_error_source = {
    global_last_error, "Unidentified error associated with the global environment"};

// The one place where a library's last error becomes an exception (of class exc). False,
// with nothing raised, when owner is not of source's kind.
bool raise_last_error(const nvo_error_source &source, PyObject *owner, PyObject *exc) {
  char msg[kMessageSize];
  std::memset(msg, 0, sizeof msg);
  int code = 0;
  if (source.last_error(owner, &code, msg, kMessageSize) == 0) return false;
  if (code == 0 && msg[0] == '\0') std::strcpy(msg, source.fallback);
  PyErr_SetString(exc, msg);
  return true;
}

// The kinds of object with a last error of their own, registered at import by the layers
// that define them (those sit above this one). Two today: problems and branching objects.
constexpr int kMaxErrorSources = 4;
const nvo_error_source *error_sources[kMaxErrorSources];
int n_error_sources = 0;

}  // namespace

void nvo_register_error_source(const nvo_error_source *source) {
  // A retried import registers again.
  for (int i = 0; i < n_error_sources; ++i)
    if (error_sources[i] == source) return;
  if (n_error_sources < kMaxErrorSources) error_sources[n_error_sources++] = source;
}

PyObject *setNvrlErrIfNull(PyObject *owner, PyObject *result) {
  if (result != nullptr) {
    if (!PyErr_Occurred()) return result;
    // A message handler raised during the library call: its exception is the answer, and a
    // result returned beside it would be the interpreter's SystemError.
    Py_DECREF(result);
    return nullptr;
  }
  if (PyErr_Occurred()) return nullptr;  // the module's own error says more
  if (owner == nullptr) {
    raise_last_error(global_error_source, nullptr, nvpy_interf_exc);
    return nullptr;
  }
  for (int i = 0; i < n_error_sources; ++i)
    if (raise_last_error(*error_sources[i], owner, nvpy_solver_exc)) return nullptr;
  // An owner of no registered kind has no message to give.
  PyErr_SetString(nvpy_interf_exc, "");
  return nullptr;
}

nvo_failure nvo_model_error(const char *msg) {
  if (!PyErr_Occurred()) PyErr_SetString(nvpy_model_exc, msg);
  return {};
}

nvo_failure nvo_error_from_pending(PyObject *type, const char *msg) {
  PyObject *cause = PendingError().take_value();
  PyErr_SetString(type, msg);
  PendingError raised;
  PyException_SetCause(raised.value(), cause);  // takes the reference to cause
  return {};
}

nvo_failure nvo_library_error(PyObject *owner) {
  setNvrlErrIfNull(owner, nullptr);
  return {};
}

nvo_failure nvo_source_error(const nvo_error_source &source, PyObject *owner) {
  if (!PyErr_Occurred() && !raise_last_error(source, owner, nvpy_solver_exc))
    setNvrlErrIfNull(owner, nullptr);
  return {};
}

const char nuvrelmod_getlasterror_doc[] =
    "Purpose:\n"
    "  Returns the last error of the solver library's global environment.\n\n"
    "Synopsis:\n"
    "  (code, message) = nuvrel.getlasterror()\n\n"
    "Arguments:\n"
    "  None.\n\n"
    "Example:\n"
    "  code, msg = nuvrel.getlasterror()\n"
    "  if code:\n"
    "      print('last library error:', msg)\n";

PyObject *nuvrelmod_getlasterror(PyObject *self, PyObject *unused) {
  PyObject *result = nullptr;
  if (turnNVRLon(0) == 0) {
    int code = 0;
    char msg[1024];
    std::memset(msg, 0, sizeof msg);
    if (NVRL_ge_getlasterror(&code, msg, sizeof msg, nullptr) == 0)
      result = Py_BuildValue("(is)", code, msg);
  }
  return setNvrlErrIfNull(nullptr, result);
}

PyObject *nvo_refuse_new(PyTypeObject *type, PyObject *, PyObject *) {
  return PyErr_Format(PyExc_TypeError, "cannot create '%s' instances", type->tp_name);
}
