// What an object counts as: integers, numbers and flags.
#include "module/scalars.h"

#include <cmath>

#include "module/numpy_api.h"

// numpy's API table is imported when the module loads; the null checks keep these tests
// safe for objects seen before that (they then count as plain Python objects).

bool nvo_is_integer(PyObject *obj) {
  return PyLong_Check(obj) || (PyArray_API != nullptr && PyArray_IsScalar(obj, Integer));
}

bool nvo_is_int_or_long(PyObject *obj) {
  if (PyLong_Check(obj)) return true;
  return PyArray_API != nullptr && (PyArray_IsScalar(obj, Int) || PyArray_IsScalar(obj, Long));
}

int nvo_integer_value(PyObject *obj, long long *out, int *overflow) {
  int sign = 0;
  // Objects other than ints are read through their __index__.
  const long long v = PyLong_AsLongLongAndOverflow(obj, &sign);
  if (v == -1 && PyErr_Occurred()) return -1;
  if (sign != 0 && overflow == nullptr) {
    PyErr_SetString(PyExc_OverflowError, "Python int too large to convert to C long");
    return -1;
  }
  if (overflow != nullptr) *overflow = sign;
  *out = v;
  return 0;
}

int nvo_is_numpy_number(PyObject *obj) {
  if (PyArray_API == nullptr) return 0;
  return PyArray_IsScalar(obj, Float) || PyArray_IsScalar(obj, Double) ||
         PyArray_IsScalar(obj, Int) || PyArray_IsScalar(obj, Long);
}

double nvo_number_value(PyObject *obj) {
  if (PyFloat_Check(obj)) return PyFloat_AS_DOUBLE(obj);
  if (PyLong_Check(obj)) {
    double v = PyLong_AsDouble(obj);
    if (v == -1.0 && PyErr_Occurred()) {
      // An integer beyond the double range counts as infinite.
      PyErr_Clear();
      long long unused;
      int overflow = 0;
      nvo_integer_value(obj, &unused, &overflow);
      return overflow < 0 ? -HUGE_VAL : HUGE_VAL;
    }
    return v;
  }
  double v = PyFloat_AsDouble(obj);
  if (v == -1.0 && PyErr_Occurred()) {
    PyErr_Clear();
    return NAN;
  }
  return v;
}

bool nvo_is_real_scalar(PyObject *obj) {
  if (PyFloat_Check(obj) || PyLong_Check(obj)) return true;
  return PyArray_API != nullptr &&
         (PyArray_IsScalar(obj, Integer) || PyArray_IsScalar(obj, Floating));
}

bool nvo_is_numpy_scalar(PyObject *obj) {
  return PyArray_API != nullptr && (PyArray_IsScalar(obj, Number) || PyArray_IsScalar(obj, Bool));
}

bool nvo_is_flag(PyObject *obj) {
  if (PyLong_Check(obj)) return true;
  return PyArray_API != nullptr && (PyArray_IsScalar(obj, Integer) || PyArray_IsScalar(obj, Bool));
}
