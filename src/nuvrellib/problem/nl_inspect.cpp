// A view of the nonlinear coefficients a problem holds, for tests and diagnostics.
#include <Python.h>

#include "module/alloc_buffer.h"
#include "module/errors.h"
#include "module/pyref.h"
#include "nvrl.h"
#include "problem/problem.h"

// Entry for tests and diagnostics, reached through the extension's exported symbols (not a
// method): the nonlinear coefficients the library holds for problem, as a list of (row,
// column, factor, [(type, value), ...]) in the library's order, formulas in parsed form.
extern "C" __attribute__((visibility("default"))) PyObject *nvo_nl_coefs_py(PyObject *problem) {
  if (!problem_check(problem)) {
    PyErr_SetString(PyExc_TypeError, "a nuvrel.problem is needed");
    return nullptr;
  }
  problem_s *p = problem_ready_for(problem, "nl_coefs");
  if (p == nullptr) return nullptr;
  if (p->slpprob == nullptr) return PyList_New(0);
  int n = 0;
  if (NSLPgetcoefs(p->slpprob, &n, nullptr, nullptr) != 0) return setNvrlErrIfNull(problem, nullptr);
  AllocBuffer<int> rows, cols;
  if (rows.allocate(static_cast<size_t>(n)) != 0 || cols.allocate(static_cast<size_t>(n)) != 0)
    return nullptr;
  if (n > 0 && NSLPgetcoefs(p->slpprob, &n, rows.data(), cols.data()) != 0)
    return setNvrlErrIfNull(problem, nullptr);
  PyRef result(PyList_New(0));
  if (!result) return nullptr;
  for (int k = 0; k < n; ++k) {
    int ntok = 0;
    double factor = 0.0;
    AllocBuffer<int> types;
    AllocBuffer<double> values;
    if (NSLPgetcoefformula(p->slpprob, rows[k], cols[k], &factor, 1, 0, &ntok, nullptr,
                           nullptr) != 0 ||
        types.allocate(static_cast<size_t>(ntok)) != 0 ||
        values.allocate(static_cast<size_t>(ntok)) != 0 ||
        NSLPgetcoefformula(p->slpprob, rows[k], cols[k], &factor, 1, ntok, &ntok, types.data(),
                           values.data()) != 0)
      return setNvrlErrIfNull(problem, nullptr);
    PyRef tokens(PyList_New(ntok));
    if (!tokens) return nullptr;
    for (int i = 0; i < ntok; ++i) {
      PyObject *token = Py_BuildValue("(id)", types[i], values[i]);
      if (token == nullptr) return nullptr;
      PyList_SET_ITEM(tokens.get(), i, token);
    }
    PyRef item(Py_BuildValue("(iidN)", rows[k], cols[k], factor, tokens.release()));
    if (!item || PyList_Append(result.get(), item.get()) != 0) return nullptr;
  }
  return result.release();
}
