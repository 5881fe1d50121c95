// The references a problem holds to the objects of the user functions registered with its
// nonlinear solver.
#include <Python.h>

#include "nonlinear/user.h"
#include "nvrl.h"
#include "problem/problem.h"

int nvo_userfuncs_copy(problem_s *dst, const problem_s *src) {
  if (src->userfuncs == nullptr || PyDict_GET_SIZE(src->userfuncs) == 0 ||
      dst->slpprob == nullptr)
    return 0;
  PyObject *copy = PyDict_Copy(src->userfuncs);
  if (copy == nullptr) return -1;
  Py_XSETREF(dst->userfuncs, copy);
  const Py_ssize_t n = PyDict_GET_SIZE(copy);
  for (Py_ssize_t i = 1; i <= n; ++i) {
    void *object = nullptr;
    if (NSLPgetuserfuncobject(dst->slpprob, static_cast<int>(i), &object) != 0) break;
    // The library holds each user object as a plain pointer that owns one reference; the
    // copied problem's pointers need their own.
    Py_XINCREF(static_cast<PyObject *>(object));
  }
  return 0;
}

void nvo_userfuncs_release(problem_s *p) {
  if (p->userfuncs != nullptr && p->slpprob != nullptr) {
    const Py_ssize_t n = PyDict_GET_SIZE(p->userfuncs);
    for (Py_ssize_t i = 1; i <= n; ++i) {
      void *object = nullptr;
      if (NSLPgetuserfuncobject(p->slpprob, static_cast<int>(i), &object) != 0) break;
      // Cleared first: releasing the object may run Python code that reaches the problem.
      NSLPsetuserfuncobject(p->slpprob, static_cast<int>(i), nullptr);
      Py_XDECREF(static_cast<PyObject *>(object));
    }
  }
  Py_CLEAR(p->userfuncs);
  nvo_userfunc_error_discard(p->slpprob);
}
