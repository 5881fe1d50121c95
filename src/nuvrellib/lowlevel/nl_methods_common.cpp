// What the nonlinear solver's method families share: the entry check, index and count
// conversions, the error path, the routing count and the guarded optimisation call.
#include <climits>

#include "module/env.h"
#include "module/errors.h"
#include "lowlevel/conv.h"
#include "lowlevel/nl_methods.h"
#include "problem/solve.h"
#include "nvrl.h"

problem_s *nvo_nl_ready(PyObject *self, const char *method) {
  problem_s *p = problem_ready_for(self, method);
  if (p == nullptr) return nullptr;
  if (p->slpprob == nullptr || nslp_state(-1) != 1) {
    PyErr_SetString(nvpy_interf_exc, "The nonlinear solver is not available for this problem");
    return nullptr;
  }
  return p;
}

int nvo_nl_index(problem_s *p, PyObject *obj, int kind, int *out) {
  if (ObjInt2int(obj, p, out, kind) != 0) {
    setNvrlErrIfNull(reinterpret_cast<PyObject *>(p), nullptr);
    return -1;
  }
  return 0;
}

int nvo_nl_fits(int64_t n) {
  if (n <= INT_MAX) return 0;
  PyErr_SetString(nvpy_interf_exc, "Too many entries for one call");
  return -1;
}

PyObject *nvo_nl_fail(problem_s *p) {
  return nvo_source_error(problem_nonlinear_error_source, p);
}

int nvo_nl_recount(problem_s *p) {
  int rows = 0, coefs = 0;
  if (NSLPgetintattrib(p->slpprob, NSLP_ATTR_NONLINEAR_ROWS, &rows) != 0 ||
      NSLPgetintattrib(p->slpprob, NSLP_ATTR_COEFFICIENTS, &coefs) != 0) {
    nvo_nl_fail(p);
    return -1;
  }
  p->n_nonlin_cons = rows + coefs;
  return 0;
}

PyObject *nvo_nl_run_guarded(problem_s *p, int (*call)(NSLPprob, const char *),
                             const char *flags) {
  int rc = 0;
  if (!problem_run_nonlinear(p, call, flags, &rc)) return nullptr;
  if (rc != 0) return nvo_nl_fail(p);
  Py_RETURN_NONE;
}
