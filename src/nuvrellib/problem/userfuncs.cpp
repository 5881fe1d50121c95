// The references a problem holds to the objects of the user functions registered with its
// nonlinear solver.
#include <Python.h>

#include "module/pyref.h"
#include "nonlinear/user.h"
#include "nvrl.h"
#include "problem/problem.h"

int nvo_userfuncs_copy(problem_s *dst, const problem_s *src) {
  if (src->userfuncs == nullptr || PyDict_GET_SIZE(src->userfuncs) == 0 ||
      dst->slpprob == nullptr)
    return 0;
  // The copied library points at the source's objects, which it does not own: each entry gets
  // an object of the copy's own (so that the copy's solves keep their exceptions on the copy),
  // or none when that cannot be made.
  const int n = static_cast<int>(PyDict_GET_SIZE(src->userfuncs));
  PyRef<> copy(PyDict_Copy(src->userfuncs));
  PyRef<> errors(copy ? PyList_New(0) : nullptr);
  int i = 1;
  if (errors) {
    // dst is a new problem (see copy()): it holds no user functions of its own yet.
    dst->userfuncs = copy.release();
    dst->userfunc_errors = errors.release();
    for (; i <= n; ++i) {
      void *shared = nullptr;
      if (NSLPgetuserfuncobject(dst->slpprob, i, &shared) != 0) break;
      PyObject *own = shared == nullptr ? nullptr
                                        : nvo_userfunc_object_for(static_cast<PyObject *>(shared),
                                                                  dst->userfunc_errors);
      if (shared != nullptr && own == nullptr) break;
      NSLPsetuserfuncobject(dst->slpprob, i, own);  // owns the new reference
    }
  }
  for (int j = i; j <= n; ++j) NSLPsetuserfuncobject(dst->slpprob, j, nullptr);
  return i > n ? 0 : -1;
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
  nvo_userfunc_error_discard(p->userfunc_errors);
  Py_CLEAR(p->userfunc_errors);
}
