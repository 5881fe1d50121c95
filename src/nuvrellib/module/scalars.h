// The tests that decide what a Python object counts as: integers, numbers and flags. Each
// rule the interface uses has exactly one function here, so that every argument of the same
// kind is read the same way.
#pragma once

#include <Python.h>

#include <climits>

// --- integers --------------------------------------------------------------------------

// A Python int (bools included, as 0 and 1) or a numpy integer scalar of any width: the
// integers that indices, counts and integer controls accept.
bool nvo_is_integer(PyObject *obj);

// A Python int (bools included) or a numpy C int or C long scalar: the integers that go into
// the library's index arrays. Other numpy widths are refused there, as they would have to be
// narrowed or widened silently.
bool nvo_is_int_or_long(PyObject *obj);

// The value of an integer: a Python int or any object with __index__ (numpy's integer
// scalars among them); other objects get the interpreter's TypeError. Every integer the
// module reads goes through here, so that they all convert and fail alike. A value beyond 64
// bits raises OverflowError, unless overflow is given: it then receives the value's sign (0
// when it fits) and *out is -1. 0, or -1 with an exception set.
int nvo_integer_value(PyObject *obj, long long *out, int *overflow = nullptr);

// Whether an integer fits the library's 32-bit ints (each caller says what is out of range).
inline bool nvo_fits_int(long long v) { return v >= INT_MIN && v <= INT_MAX; }

// --- numbers ---------------------------------------------------------------------------

// Plain numbers, the operands that arithmetic on modelling objects treats as constants: a
// Python float or int (or subclass) or a numpy float32, float64, intc or int_ scalar. Other
// numpy scalars are left to numpy's own operators.
// numpy's scalars among them are tested out of line; Python's own are the common case.
int nvo_is_numpy_number(PyObject *obj);
inline int nvo_is_number(PyObject *obj) {
  return PyFloat_Check(obj) || PyLong_Check(obj) || nvo_is_numpy_number(obj);
}
// The value of an object for which nvo_is_number is true; an int beyond the double range is
// an infinity of its sign. Never raises.
double nvo_number_value(PyObject *obj);

// Any real numeric scalar: a Python float or int or a numpy integer or floating scalar of any
// width (what a floating-point control accepts).
bool nvo_is_real_scalar(PyObject *obj);

// Any numpy numeric scalar, bools and complex numbers included: what an element of an array
// product may be when it is a constant (converted with float(), which refuses some of them).
bool nvo_is_numpy_scalar(PyObject *obj);

// --- flags -----------------------------------------------------------------------------
// Functions of the interface read their flags by different rules, each documented to users;
// the variants live here so that none is written twice.

// An object that may be read as an on/off flag by its integer value: a Python int or bool, or
// a numpy integer or bool scalar.
bool nvo_is_flag(PyObject *obj);
// On exactly for the object True (1 and other true values are off).
inline bool nvo_flag_is_true(PyObject *obj) { return obj == Py_True; }
// Off for None and False, on for every other object (0 included).
inline bool nvo_flag_not_off(PyObject *obj) { return obj != Py_None && obj != Py_False; }
// Python truth of an optional flag (null is false): 1 or 0, or -1 with an exception set.
inline int nvo_flag_truth(PyObject *obj) { return obj != nullptr ? PyObject_IsTrue(obj) : 0; }
