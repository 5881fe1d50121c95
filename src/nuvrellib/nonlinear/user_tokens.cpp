// Placeholder until user functions and piecewise-linear functions can be converted.
#include "nonlinear/user_tokens.h"

#include "module/errors.h"

int nvo_user_tokens(problem_s *, PyObject *, nvo_tokens *, int) {
  return nvo_model_error(
      "User functions and piecewise-linear functions cannot be converted yet");
}

int nvo_user_value(PyObject *, const double *, Py_ssize_t, double, double *) {
  return nvo_model_error(
      "User functions and piecewise-linear functions cannot be evaluated yet");
}
