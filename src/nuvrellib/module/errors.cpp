// Library errors as Python exceptions, and the module function getlasterror().
#include "module/errors.h"

#include <cstring>

#include "callbacks/branchobj.h"
#include "module/env.h"
#include "module/functions.h"
#include "nvrl.h"
#include "problem/problem.h"

namespace {

constexpr int kMessageSize = 512;

void raise_global(char *msg) {
  int code = 0;
  NVRL_ge_getlasterror(&code, msg, kMessageSize, nullptr);
  if (code == 0 && msg[0] == '\0')
    std::strcpy(msg, "Unidentified error associated with the global environment");
  PyErr_SetString(nvpy_interf_exc, msg);
}

void raise_problem(problem_s *p, char *msg) {
  int code = 0;
  if (p->prob != nullptr) NVRLgetlasterror(p->prob, msg);
  if (msg[0] == '\0' && p->slpprob != nullptr && nslp_state(-1) == 1)
    NSLPgetlasterror(p->slpprob, &code, msg);
  if (code == 0 && msg[0] == '\0')
    std::strcpy(msg, "Unidentified error associated with optimization problem");
  PyErr_SetString(nvpy_solver_exc, msg);
}

void raise_branchobj(PyObject *bo, char *msg) {
  int code = 0;
  branchobj_lasterror(bo, &code, msg, kMessageSize);
  if (code == 0 && msg[0] == '\0')
    std::strcpy(msg, "Unidentified error associated with a branching object");
  PyErr_SetString(nvpy_solver_exc, msg);
}

}  // namespace

PyObject *setNvrlErrIfNull(PyObject *owner, PyObject *result) {
  if (result != nullptr) return result;
  if (PyErr_Occurred()) return nullptr;  // the module's own error says more

  char msg[kMessageSize];
  std::memset(msg, 0, sizeof msg);
  if (owner == nullptr)
    raise_global(msg);
  else if (problem_check(owner))
    raise_problem(reinterpret_cast<problem_s *>(owner), msg);
  else if (branchobj_check(owner))
    raise_branchobj(owner, msg);
  else
    PyErr_SetString(nvpy_interf_exc, msg);
  return nullptr;
}

nvo_failure nvo_model_error(const char *msg) {
  if (!PyErr_Occurred()) PyErr_SetString(nvpy_model_exc, msg);
  return {};
}

nvo_failure nvo_library_error(PyObject *owner) {
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

const char NVRL_PY_getlasterror_doc[] =
    "Returns the last error message of the solver library for this problem.\n\n"
    "Example: print(p.getlasterror())";

PyObject *nvo_refuse_new(PyTypeObject *type, PyObject *, PyObject *) {
  return PyErr_Format(PyExc_TypeError, "cannot create '%s' instances", type->tp_name);
}

PyObject *NVRL_PY_getlasterror(PyObject *self, PyObject *unused) {
  char msg[NVRL_MAXMESSAGELEN];
  std::memset(msg, 0, sizeof msg);
  PyObject *result = nullptr;
  auto *p = reinterpret_cast<problem_s *>(self);
  // Without a library problem there is nothing to ask (the fallback message says so); with
  // one, the usual entry check keeps a running solve's handle out of reach.
  if (p->prob != nullptr) {
    if (problem_ready(self) == nullptr) return nullptr;
    if (NVRLgetlasterror(p->prob, msg) == 0) result = PyUnicode_FromString(msg);
  }
  return setNvrlErrIfNull(self, result);
}
