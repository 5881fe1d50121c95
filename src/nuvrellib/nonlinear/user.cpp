// User functions: the module function user(), their registration with a problem's nonlinear
// solver, the entry points through which the solver calls the Python callable back, and the
// exceptions they keep for the solve.
#include "nonlinear/user.h"

#include "module/env.h"
#include "module/errors.h"
#include "module/pyref.h"
#include "module/scalars.h"
#include "nonlinear/convert.h"
#include "nonlinear/nonlin.h"
#include "nvrl.h"

namespace {

// The function object the library keeps for each user function is the tuple
// (callable, index, errors), where errors is the owning problem's list of exceptions raised by
// its user functions during a solve: at most one, the first, until the solve returns and
// raises it. Touched only with the interpreter lock held.
constexpr Py_ssize_t kCallable = 0, kIndex = 1, kErrors = 2;

// Takes the kept exception out of errors; null when none.
PyRef<> take_error(PyObject *errors) {
  if (errors == nullptr || PyList_GET_SIZE(errors) == 0) return PyRef<>();
  PendingError outer;  // whatever is being raised already is not ours to disturb
  PyRef<> kept = PyRef<>::borrow(PyList_GET_ITEM(errors, 0));
  if (PyList_SetSlice(errors, 0, PyList_GET_SIZE(errors), nullptr) != 0) PyErr_Clear();
  outer.restore();
  return kept;
}

// Keeps the exception being raised (the first one only) and asks the solve to stop: a failed
// user function has no value the solver could go on with.
void keep_error(NSLPprob slp, PyObject *errors) {
  PyRef<> error;
  {
    PendingError raised;
    error = PyRef<>(raised.take_value());  // with its traceback
  }
  if (error && PyList_GET_SIZE(errors) == 0) PyList_Append(errors, error.get());
  // Not even the exception could be kept: the solve still stops.
  PyErr_Clear();
  if (slp != nullptr) NSLPinterrupt(slp, NVRL_STOP_USER);
}

// x as a float into *out; 0, or -1 with an exception.
int as_double(PyObject *x, double *out) {
  *out = PyFloat_AsDouble(x);
  return *out == -1.0 && PyErr_Occurred() ? -1 : 0;
}

}  // namespace

int nvo_user_result_value(PyObject *result, double *value) {
  if (PyTuple_Check(result)) {
    if (PyTuple_GET_SIZE(result) == 0) {
      PyErr_SetString(PyExc_ValueError,
                      "A user function returned an empty tuple; it must return its value first");
      return -1;
    }
    result = PyTuple_GET_ITEM(result, 0);
  }
  return as_double(result, value);
}

namespace {

// The body of both entry points, with the interpreter lock held. -1.0 on failure.
double call_user_function(const double *values, void *context, const double *deltas,
                          double *results) {
  void *info = nullptr;
  int ninputs = 0, derivatives = 0, want_results = 0, index = 0;
  NSLPprob slp = nullptr;
  void *object = nullptr;
  if (NSLPgetfuncobject(context, NSLP_FUNCOBJ_INFO, &info) != 0 ||
      NSLPgetfuncinfo(info, &ninputs, &derivatives, &want_results, &slp, &index) != 0 ||
      NSLPgetuserfuncobject(slp, index, &object) != 0 || object == nullptr)
    return -1.0;
  PyObject *callable = PyTuple_GET_ITEM(static_cast<PyObject *>(object), kCallable);
  PyObject *errors = PyTuple_GET_ITEM(static_cast<PyObject *>(object), kErrors);
  // Once a call has failed the solve is stopping; the callable is not asked again.
  if (PyList_GET_SIZE(errors) != 0) return -1.0;

  PyRef inputs(PyTuple_New(ninputs > 0 ? ninputs : 0));
  if (!inputs) return keep_error(slp, errors), -1.0;
  for (int i = 0; i < ninputs; ++i) {
    PyObject *v = PyFloat_FromDouble(values[i]);
    if (v == nullptr) return keep_error(slp, errors), -1.0;
    PyTuple_SET_ITEM(inputs.get(), i, v);
  }
  PyRef result(PyObject_Call(callable, inputs.get(), nullptr));
  if (!result) return keep_error(slp, errors), -1.0;

  const bool tuple = PyTuple_Check(result.get());
  double value = 0.0;
  if (nvo_user_result_value(result.get(), &value) != 0) return keep_error(slp, errors), -1.0;
  const bool into_results = want_results != 0 && results != nullptr;
  if (into_results) results[0] = value;

  if (tuple && into_results && deltas != nullptr && ninputs > 0 && derivatives != 0) {
    // Element k is the derivative by input k; the library has room for ninputs of them.
    const Py_ssize_t m = PyTuple_GET_SIZE(result.get());
    for (Py_ssize_t k = 1; k < m && k <= ninputs; ++k) {
      const double delta = deltas[k - 1];
      if (delta == 0.0) continue;  // NaN is asked for too
      if (as_double(PyTuple_GET_ITEM(result.get(), k), &results[k]) != 0)
        return keep_error(slp, errors), -1.0;
    }
  }
  // A value written into results travels there; the return value is only read otherwise.
  return tuple && into_results ? 0.0 : value;
}

double nvpy_generic_user_function(const double *values, void *context, const double *deltas,
                                  double *results) {
  // The solver calls from any of its threads, without the interpreter lock.
  PyGILState_STATE gil = PyGILState_Ensure();
  double r;
  {
    // A message handler's exception raised earlier in this library call waits there for the
    // call to return; the callable must not run with it set (its first call into the
    // interpreter would fail with a SystemError).
    PendingError aside;
    r = call_user_function(values, context, deltas, results);
  }
  PyGILState_Release(gil);
  return r;
}

}  // namespace

extern "C" double nvpy_generic_user_function_no_derivative(const double *values, void *context) {
  return nvpy_generic_user_function(values, context, nullptr, nullptr);
}

extern "C" double nvpy_generic_user_function_with_derivative(const double *values, void *context,
                                                             const double *deltas,
                                                             double *results) {
  return nvpy_generic_user_function(values, context, deltas, results);
}

// ----- registration -----------------------------------------------------------------------

namespace {

// The library's name of a user function: a plain Python function's own, else a generic one.
PyRef<> function_name(PyObject *callable) {
  if (PyFunction_Check(callable)) {
    PyRef<> name(PyObject_GetAttrString(callable, "__name__"));
    if (name && PyUnicode_Check(name.get())) return name;
    if (!name) return name;
  }
  return PyRef<>(PyUnicode_FromString("user_function"));
}

// The library's steps after the definition: name, address, object. 0, or -1 with the
// library's error.
int complete_registration(const nvo_nl_problem *p, int index, const char *name, PyObject *callable,
                          bool with_derivatives) {
  NSLPprob slp = p->slpprob;
  NSLPfuncaddress address =
      with_derivatives
          ? reinterpret_cast<NSLPfuncaddress>(nvpy_generic_user_function_with_derivative)
          : reinterpret_cast<NSLPfuncaddress>(nvpy_generic_user_function_no_derivative);
  if (NSLPaddnames(slp, NSLP_NAMES_USERFUNCS, name, index, index) != 0 ||
      NSLPchguserfuncaddress(slp, index, address) != 0)
    return nvo_library_error(p->owner);
  PyRef<> index_obj(PyLong_FromLong(index));
  if (!index_obj) return -1;
  PyRef<> object(PyTuple_Pack(3, callable, index_obj.get(), *p->userfunc_errors));
  if (!object) return -1;
  if (NSLPsetuserfuncobject(slp, index, object.get()) != 0) return nvo_library_error(p->owner);
  object.release();  // the library's reference, released with the problem
  return 0;
}

}  // namespace

int createUserFunction(const nvo_nl_problem *p, PyObject *args, int *index, bool with_derivatives) {
  if (!(PyTuple_Check(args) || PyList_Check(args)) || PySequence_Fast_GET_SIZE(args) < 1 ||
      !PyCallable_Check(PySequence_Fast_GET_ITEM(args, 0)))
    return nvo_model_error(
        "Invalid user function, must specify at least one argument (the user function itself)");
  PyObject *callable = PySequence_Fast_GET_ITEM(args, 0);
  if (p->slpprob == nullptr) {
    PyErr_SetString(nvpy_solver_exc, "The nonlinear solver is not available");
    return -1;
  }
  if (*p->userfuncs == nullptr && (*p->userfuncs = PyDict_New()) == nullptr) return -1;
  if (*p->userfunc_errors == nullptr && (*p->userfunc_errors = PyList_New(0)) == nullptr)
    return -1;
  PyObject *known = PyDict_GetItemWithError(*p->userfuncs, callable);
  if (known != nullptr) {
    long long known_index;
    if (nvo_integer_value(known, &known_index) != 0) return -1;
    *index = static_cast<int>(known_index);
    return 0;
  }
  if (PyErr_Occurred()) return -1;  // an unhashable callable

  PyRef<> name_obj = function_name(callable);
  if (!name_obj) return -1;
  const char *name = PyUnicode_AsUTF8(name_obj.get());
  if (name == nullptr) return -1;
  const int new_index = static_cast<int>(PyDict_GET_SIZE(*p->userfuncs)) + 1;
  int name_string = 0, linkage_string = 0;
  if (NSLPsetstring(p->slpprob, &name_string, name) != 0 ||
      NSLPsetstring(p->slpprob, &linkage_string, "DirectC") != 0)
    return nvo_library_error(p->owner);
  const int types[] = {NSLP_UFDEF_STRING, NSLP_UFDEF_ARGS, NSLP_UFDEF_CALL, NSLP_UFDEF_STRING,
                       NSLP_TOK_EOF};
  const double values[] = {
      static_cast<double>(name_string), 1.0,
      with_derivatives ? double(NSLP_UFCALL_DERIVATIVES) : double(NSLP_UFCALL_VALUES),
      static_cast<double>(linkage_string), 0.0};
  if (NSLPadduserfuncs(p->slpprob, 1, types, values) != 0) return nvo_library_error(p->owner);

  PyRef<> index_obj(PyLong_FromLong(new_index));
  if (!index_obj) return -1;
  if (complete_registration(p, new_index, name, callable, with_derivatives) != 0) {
    // The library has the function now: its index stays taken, under a key no callable can
    // be, so that later registrations keep counting in step with the library.
    PendingError failure;
    PyRef<> placeholder(PyLong_FromLong(-new_index));
    if (placeholder) PyDict_SetItem(*p->userfuncs, placeholder.get(), index_obj.get());
    PyErr_Clear();
    failure.restore();
    return -1;
  }
  if (PyDict_SetItem(*p->userfuncs, callable, index_obj.get()) != 0) return -1;
  *index = new_index;
  return 0;
}

// ----- errors of a solve ------------------------------------------------------------------

void nvo_userfunc_error_discard(PyObject *errors) { take_error(errors); }

PyObject *nvo_userfunc_object_for(PyObject *object, PyObject *errors) {
  return PyTuple_Pack(3, PyTuple_GET_ITEM(object, kCallable), PyTuple_GET_ITEM(object, kIndex),
                      errors);
}

int nvo_userfunc_error_raise(PyObject *errors) {
  PyRef<> kept = take_error(errors);
  if (!kept) return 0;
  // The user's own exception, as raised: it replaces whatever the solve reported since.
  PyErr_Clear();
  PyObject *value = kept.release();
  PyErr_Restore(Py_NewRef(reinterpret_cast<PyObject *>(Py_TYPE(value))), value,
                PyException_GetTraceback(value));
  return -1;
}

// ----- user() -------------------------------------------------------------------------------

const char nuvrelmod_user_doc[] =
    "Purpose:\n"
    "  A function computed by Python code during a nonlinear solve. The first argument is\n"
    "  the callable, the others the expressions it takes. The callable receives their\n"
    "  values as floats and returns the function's value; with derivatives=True it may\n"
    "  return a tuple (value, d1, d2, ...) of the value and its partial derivatives by each\n"
    "  argument. An exception it raises stops the solve and is raised by solve().\n\n"
    "Synopsis:\n"
    "  f = nuvrel.user(callable, arg1, arg2, ..., derivatives=False)\n\n"
    "Example:\n"
    "  import math\n"
    "  def hyp(a, b):\n"
    "      return math.hypot(a, b)\n"
    "  p.addConstraint(nuvrel.user(hyp, x, y) <= 2)\n";

PyObject *nuvrelmod_user(PyObject *, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"arguments", "derivatives", nullptr};
  PyObject *arguments = nullptr, *derivatives_flag = nullptr;
  PyRef<> empty(PyTuple_New(0));
  if (!empty || !PyArg_ParseTupleAndKeywords(empty.get(), kwargs, "|$OO:user",
                                             const_cast<char **>(kwlist), &arguments,
                                             &derivatives_flag))
    return nullptr;
  const int derivatives = nvo_flag_truth(derivatives_flag);
  if (derivatives < 0) return nullptr;
  PyRef<> items = PyRef<>::borrow(args);
  if (arguments != nullptr) {
    if (PyTuple_GET_SIZE(args) != 0) {
      PyErr_SetString(nvpy_interf_exc,
                      "user() takes the function and its arguments either positionally or as "
                      "the keyword arguments, not both");
      return nullptr;
    }
    items = PyRef<>(PySequence_Tuple(arguments));
    if (!items) return nullptr;
  }
  if (PyTuple_GET_SIZE(items.get()) < 1 || !PyCallable_Check(PyTuple_GET_ITEM(items.get(), 0)))
    return nvo_model_error(
        "Invalid user function, must specify at least one argument (the user function itself)");
  return nonlin_checked_args(items.get(), true, derivatives ? NL_USER2 : NL_USER);
}
