// The module's mathematical functions: numbers are computed at once, arrays element by
// element, anything else becomes a node.
#include <cmath>

#include "model/dispatch.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/numpy_api.h"
#include "module/pyref.h"
#include "module/scalars.h"
#include "nonlinear/nonlin.h"

namespace {

double sign_of(double v) { return v < 0.0 ? -1.0 : v > 0.0 ? 1.0 : 0.0; }

double square_root(double v) {
  // The hardware instruction, with the library call deciding what a NaN result means.
  double r = __builtin_sqrt(v);
  return std::isnan(r) ? std::sqrt(v) : r;
}

double function_value(int op, double v) {
  switch (op) {
    case NL_EXP: return std::exp(v);
    case NL_LOG: return std::log(v);
    case NL_LOG10: return std::log10(v);
    case NL_SIN: return std::sin(v);
    case NL_COS: return std::cos(v);
    case NL_TAN: return std::tan(v);
    case NL_ASIN: return std::asin(v);
    case NL_ACOS: return std::acos(v);
    case NL_ATAN: return std::atan(v);
    case NL_ABS: return std::fabs(v);
    case NL_ERF: return std::erf(v);
    case NL_ERFC: return std::erfc(v);
    case NL_SQRT: return square_root(v);
    case NL_SIGN: return sign_of(v);
  }
  return NAN;
}

PyObject *unary_function(int op, PyObject *arg);

// op applied to every element of arr (vector_compose_op): a function of modelling objects is
// a node, which only an expression array may hold; numbers keep a float array and an object
// array stays an object array.
PyObject *map_array(int op, PyObject *arr_obj) {
  auto *arr = reinterpret_cast<PyArrayObject *>(arr_obj);
  PyArray_Descr *d = PyArray_DESCR(arr);
  const int t = d->type_num;
  // A new reference: the constructor steals it.
  PyArray_Descr *res_descr;
  if (t == NPY_OBJECT) {
    res_descr = reinterpret_cast<PyArray_Descr *>(Py_NewRef(d));
  } else if (PyTypeNum_ISNUMBER(t) || PyTypeNum_ISBOOL(t)) {
    res_descr = PyArray_DescrFromType(NPY_DOUBLE);
  } else {
    res_descr = reinterpret_cast<PyArray_Descr *>(Py_NewRef(nvr_py_env.npexpr));
  }
  PyRef res(PyArray_NewFromDescr(&PyArray_Type, res_descr,
                                 PyArray_NDIM(arr), PyArray_DIMS(arr), nullptr, nullptr, 0,
                                 nullptr));
  if (!res) return nullptr;
  auto *out = reinterpret_cast<PyArrayObject *>(res.get());
  PyRef src_it(PyArray_IterNew(arr_obj)), dst_it(PyArray_IterNew(res.get()));
  if (!src_it || !dst_it) return nullptr;
  auto *si = reinterpret_cast<PyArrayIterObject *>(src_it.get());
  auto *di = reinterpret_cast<PyArrayIterObject *>(dst_it.get());
  while (si->index < si->size) {
    PyRef item(PyArray_GETITEM(arr, static_cast<const char *>(PyArray_ITER_DATA(si))));
    PyRef v(item ? unary_function(op, item.get()) : nullptr);
    if (!v || PyArray_SETITEM(out, static_cast<char *>(PyArray_ITER_DATA(di)), v.get()) < 0) {
      // A failure of the function keeps its own message; one of the walk gets this one.
      if (!PyErr_Occurred()) nvo_model_error("Cannot iterate on sequence of arguments");
      return nullptr;
    }
    PyArray_ITER_NEXT(si);
    PyArray_ITER_NEXT(di);
  }
  return res.release();
}

PyObject *unary_function(int op, PyObject *arg) {
  if (nvo_is_number(arg)) return PyFloat_FromDouble(function_value(op, nvo_number_value(arg)));
  if (nvo_is_array(arg)) return map_array(op, arg);
  return nonlin_checked_args(arg, false, op);
}

// min, max, And, Or: several arguments or one sequence of them. empty is the value with no
// argument (NaN: none allowed).
PyObject *nary_function(int op, PyObject *args, const char *name, double empty) {
  PyRef items = PyRef<>::borrow(args);
  if (PyTuple_GET_SIZE(args) == 1) {
    PyObject *only = PyTuple_GET_ITEM(args, 0);
    if (nvo_kind_noraise(only) >= 0) return Py_NewRef(only);
    if (PyUnicode_Check(only) || PyBytes_Check(only) || !PySequence_Check(only))
      return PyErr_Format(nvpy_model_exc, "Incorrect argument for nuvrel.%s function", name);
    items = PyRef(PySequence_Tuple(only));
    if (!items) {
      PyErr_Clear();
      return PyErr_Format(nvpy_model_exc, "Incorrect argument for nuvrel.%s function", name);
    }
    if (PyTuple_GET_SIZE(items.get()) == 1) {
      PyObject *elem = PyTuple_GET_ITEM(items.get(), 0);
      if (nvo_kind_noraise(elem) < 0)
        return PyErr_Format(nvpy_model_exc, "Incorrect argument for nuvrel.%s function", name);
      return Py_NewRef(elem);
    }
  }
  if (PyTuple_GET_SIZE(items.get()) == 0) {
    if (!std::isnan(empty)) return PyFloat_FromDouble(empty);
    return PyErr_Format(nvpy_model_exc, "The function nuvrel.%s must have at least one argument",
                        name);
  }
  return nonlin_checked_args(items.get(), true, op);
}

}  // namespace

#define NONLIN_UNARY(name, op, text)                                                           \
  const char nuvrelmod_##name##_doc[] = text;                                                  \
  PyObject *nuvrelmod_##name(PyObject *, PyObject *arg) { return unary_function(op, arg); }

#define UNARY_DOC(word, what)                                                                  \
  "Purpose:\n"                                                                                 \
  "  " what "\n"                                                                               \
  "  A number gives a float at once, a NumPy array an array of the results element by\n"   \
  "  element, a variable or expression a nonlinear expression.\n\n"                            \
  "Synopsis:\n"                                                                                \
  "  y = nuvrel." word "(x)\n\n"                                                              \
  "Example:\n"                                                                                 \
  "  c = nuvrel." word "(x) + y <= 2\n"

NONLIN_UNARY(exp, NL_EXP, UNARY_DOC("exp", "The exponential of the argument."))
NONLIN_UNARY(log, NL_LOG, UNARY_DOC("log", "The natural logarithm of the argument."))
NONLIN_UNARY(log10, NL_LOG10, UNARY_DOC("log10", "The base-10 logarithm of the argument."))
NONLIN_UNARY(sin, NL_SIN, UNARY_DOC("sin", "The sine of the argument (radians)."))
NONLIN_UNARY(cos, NL_COS, UNARY_DOC("cos", "The cosine of the argument (radians)."))
NONLIN_UNARY(tan, NL_TAN, UNARY_DOC("tan", "The tangent of the argument (radians)."))
NONLIN_UNARY(asin, NL_ASIN, UNARY_DOC("asin", "The arc sine of the argument."))
NONLIN_UNARY(acos, NL_ACOS, UNARY_DOC("acos", "The arc cosine of the argument."))
NONLIN_UNARY(atan, NL_ATAN, UNARY_DOC("atan", "The arc tangent of the argument."))
NONLIN_UNARY(abs, NL_ABS, UNARY_DOC("abs", "The absolute value of the argument."))
NONLIN_UNARY(erf, NL_ERF, UNARY_DOC("erf", "The error function of the argument."))
NONLIN_UNARY(erfc, NL_ERFC, UNARY_DOC("erfc", "The complementary error function."))
NONLIN_UNARY(sqrt, NL_SQRT, UNARY_DOC("sqrt", "The square root of the argument."))
NONLIN_UNARY(sign, NL_SIGN,
             UNARY_DOC("sign", "The sign of the argument: -1.0, 0.0 or 1.0 for a number."))

#define NARY_DOC(word, what)                                                                   \
  "Purpose:\n"                                                                                 \
  "  " what "\n"                                                                               \
  "  Takes several arguments or one list, tuple or other sequence of them; a single\n"         \
  "  argument is returned as it is.\n\n"                                                       \
  "Synopsis:\n"                                                                                \
  "  y = nuvrel." word "(a, b, ...)\n"                                                        \
  "  y = nuvrel." word "([a, b, ...])\n\n"                                                    \
  "Example:\n"                                                                                 \
  "  c = nuvrel." word "(x, y, 2 * z) <= 1\n"

const char nuvrelmod_min_doc[] = NARY_DOC("min", "The minimum of the arguments.");
const char nuvrelmod_max_doc[] = NARY_DOC("max", "The maximum of the arguments.");
const char nuvrelmod_And_doc[] =
    NARY_DOC("And", "The logical and of 0/1-valued arguments (their minimum); 1.0 without one.");
const char nuvrelmod_Or_doc[] =
    NARY_DOC("Or", "The logical or of 0/1-valued arguments (their maximum); 0.0 without one.");

PyObject *nuvrelmod_min(PyObject *, PyObject *args) {
  return nary_function(NL_MIN, args, "min", NAN);
}
PyObject *nuvrelmod_max(PyObject *, PyObject *args) {
  return nary_function(NL_MAX, args, "max", NAN);
}
PyObject *nuvrelmod_And(PyObject *, PyObject *args) {
  return nary_function(NL_AND, args, "And", 1.0);
}
PyObject *nuvrelmod_Or(PyObject *, PyObject *args) { return nary_function(NL_OR, args, "Or", 0.0); }
