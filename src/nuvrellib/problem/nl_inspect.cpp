// A view of the nonlinear coefficients a problem holds, for tests and diagnostics.
#include <Python.h>

#include "module/pyref.h"
#include "problem/problem.h"

// Entry for tests and diagnostics, reached through the extension's exported symbols (not a
// method): the nonlinear coefficients the library holds for problem, as a list of (row,
// column, factor, [(type, value), ...]) in the library's order, formulas in parsed form. Read
// through the methods getcoefs and getcoefformula, so that both views agree.
extern "C" __attribute__((visibility("default"))) PyObject *nvo_nl_coefs_py(PyObject *problem) {
  if (!problem_check(problem)) {
    PyErr_SetString(PyExc_TypeError, "a nuvrel.problem is needed");
    return nullptr;
  }
  problem_s *p = problem_ready_for(problem, "nl_coefs");
  if (p == nullptr) return nullptr;
  if (p->slpprob == nullptr) return PyList_New(0);
  PyRef<> coefs(PyObject_CallMethod(problem, "getcoefs", nullptr));
  PyObject *rows = nullptr, *cols = nullptr;
  if (!coefs || !PyArg_ParseTuple(coefs.get(), "O!O!", &PyList_Type, &rows, &PyList_Type, &cols))
    return nullptr;
  const Py_ssize_t n = PyList_GET_SIZE(rows);
  PyRef result(PyList_New(n));
  if (!result) return nullptr;
  for (Py_ssize_t k = 0; k < n; ++k) {
    PyObject *row = PyList_GET_ITEM(rows, k), *col = PyList_GET_ITEM(cols, k);
    PyRef<> formula(PyObject_CallMethod(problem, "getcoefformula", "OO", row, col));
    PyObject *factor = nullptr, *types = nullptr, *values = nullptr;
    if (!formula || !PyArg_ParseTuple(formula.get(), "OO!O!", &factor, &PyList_Type, &types,
                                      &PyList_Type, &values))
      return nullptr;
    const Py_ssize_t ntok = PyList_GET_SIZE(types);
    PyRef tokens(PyList_New(ntok));
    if (!tokens) return nullptr;
    for (Py_ssize_t i = 0; i < ntok; ++i) {
      PyObject *token = PyTuple_Pack(2, PyList_GET_ITEM(types, i), PyList_GET_ITEM(values, i));
      if (token == nullptr) return nullptr;
      PyList_SET_ITEM(tokens.get(), i, token);
    }
    PyObject *item = Py_BuildValue("(OOON)", row, col, factor, tokens.release());
    if (item == nullptr) return nullptr;
    PyList_SET_ITEM(result.get(), k, item);
  }
  return result.release();
}
