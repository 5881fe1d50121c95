// What the query methods share: counts read from the library, first/last ranges, and the
// output lists filled from library arrays through the conversion module.
#pragma once

#include <Python.h>

#include <cstdint>
#include <initializer_list>

#include "lowlevel/conv.h"
#include "module/alloc_buffer.h"
#include "problem/problem.h"

namespace query {

// An integer attribute of the problem's library problem (rows, columns, sets, ...).
// 0, or -1 with the library's error set.
int count(problem_s *p, int attrib, int64_t *value);
int rows(problem_s *p, int64_t *value);
int cols(problem_s *p, int64_t *value);

// The range first..last of a query over `n` items: a given first or last goes through the
// conversion of single objects with `kind` (so it may be an int, a name or an object);
// defaults are 0 and n-1. An empty range raises InterfaceError empty_msg. 0 or -1.
int range(problem_s *p, PyObject *first, PyObject *last, int kind, int64_t n,
          const char *empty_msg, int *f, int *l);

// The entries to make room for when asking the library for first..last of n items: the
// range's length when it lies within them, else one. The library refuses a range outside
// before writing anything, with its own message; a range like 0..2**31-1 must not cost
// gigabytes first.
inline int64_t room(int first, int last, int64_t n) {
  return first >= 0 && first <= last && last < n ? static_cast<int64_t>(last) - first + 1 : 1;
}

// One index given as an int, a name or an object (the conversion of single objects).
int index(problem_s *p, PyObject *obj, int kind, int *out);

// An output argument: null or None means "not wanted".
inline bool wanted(PyObject *out) { return out != nullptr && out != Py_None; }

// The caller's list out refilled in place (or a new list when out is null or None) with n
// items of array converted by kind: a new reference to it, or null with an exception set
// (out that is not a list: "Unexpected argument to conv_arr2obj").
PyObject *fill(problem_s *p, int64_t n, const void *array, PyObject *out, int kind);
// fill() into an output argument that is wanted; nothing for None. 0 or -1.
int fill_in_place(problem_s *p, int64_t n, const void *array, PyObject *out, int kind);
// The single-output pattern: the caller's list filled and None returned, or, for None, the
// new list returned. A new reference, or null.
PyObject *filled_or_new(problem_s *p, int64_t n, const void *array, PyObject *out, int kind);

// The buffer of an output argument: n items when the argument is wanted, none (null)
// otherwise. 0 or -1 (MemoryError).
template <typename T>
int room_for(PyObject *out, AllocBuffer<T> &buf, int64_t n) {
  if (!wanted(out)) return 0;
  return buf.allocate(static_cast<size_t>(n > 0 ? n : 0));
}

// Every wanted output argument is a list; otherwise ModelError "Unexpected argument to
// conv_arr2obj" before anything is read, so that no list is left half filled. 0 or -1.
int outputs_are_lists(std::initializer_list<PyObject *> outs);

// Raises InterfaceError msg; returns the failure value of either convention.
nvo_failure interface_error(const char *msg);

// The method's result: None after a library failure would be wrong, so every method returns
// through here with its owner's error when result is null.
inline PyObject *done(problem_s *p, PyObject *result) {
  return setNvrlErrIfNull(reinterpret_cast<PyObject *>(p), result);
}

inline PyObject *none() { Py_RETURN_NONE; }

}  // namespace query
