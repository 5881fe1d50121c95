// Conversion between the Python arguments of the low-level methods and the library's C arrays
// of indices, numbers, characters, strings and handles. Every low-level method converts its
// arguments here, so that a sequence of indices, names or modelling objects means the same
// thing to every method.
#pragma once

#include <Python.h>

#include <cstdint>

#include "module/allocator.h"
#include "module/pyref.h"
#include "problem/problem.h"

// Element kinds: what one element of the converted array is.
enum nvo_conv_kind : int {
  CONV_ROW = 0,     // int32 row index: int, row name or constraint of the problem
  CONV_COL = 1,     // int32 column index: int, column name or var of the problem
  CONV_SOS = 2,     // int32 set index: int, name (among the columns) or sos of the problem
  CONV_INT = 3,     // int32: integer objects only
  CONV_INT64 = 4,   // int64: integer objects only
  CONV_DOUBLE = 5,  // double: anything float() accepts
  CONV_CHAR = 6,    // char: a one-character str
  CONV_BYTE = 7,    // char holding a small int (truncated, unchecked)
  CONV_STRING = 8,  // char *: a copy of a str (UTF-8) or bytes, NUL-terminated
  CONV_CUT = 9,     // void *: the handle of a poolcut
  CONV_OBJECT = 10, // void *: the pointer of an nvrlobject
  CONV_ROWCOL = 11, // int32 index in the combined row-and-column numbering (single objects)
};

// Converts a list, tuple, iterator or other sequence (numpy arrays included) into a new
// array of the given kind, allocated with the module allocator; *out is set to null first.
// None (or null) leaves *out null and *count untouched: the argument was not given.
// count may be null; otherwise a value >= 0 on entry is the length required (a mismatch
// fails with "Mismatched lengths in arguments: expected %d, found %d"), a negative one
// means unknown, and on success it receives the length. Iterators need a count.
// numpy arrays whose element type already fits are copied without visiting their items.
// 0, or -1 with an exception set (or, for a non-integer in a CONV_INT/CONV_INT64 array, no
// exception: the caller reports through setNvrlErrIfNull); *out is then null.
int conv_obj2arr(problem_s *p, int64_t *count, PyObject *obj, void **out, int kind);

// One integer, name, var, constraint or sos as a 32-bit index of the given kind. 0, or -1
// with an exception set.
int ObjInt2int(PyObject *obj, problem_s *p, int *index, int kind);

// Puts n items converted from array into the list at *list_slot: a null or None slot gets a
// new list (the None is released), a caller's list is refilled in place and ends with
// exactly n items. A null array leaves the slot alone. 0, or -1 with an exception set (a
// caller's list may then be partly refilled).
int conv_arr2obj(problem_s *p, int64_t n, const void *array, PyObject **list_slot, int kind);

// The constraint (below ROWS+SPAREROWS) or var for an index of the combined numbering; a new
// reference, or null with an exception set.
PyObject *convSeqToRowCol(problem_s *p, int index);

// Frees an array of conv_obj2arr. CONV_STRING arrays own their n strings too.
void conv_free(void **array, int kind = CONV_INT, int64_t n = 0);

// The data of a numpy array that already holds the kind's C elements as they are: one
// dimension, at least one element, native byte order, aligned and contiguous, of exactly the
// kind's element type (C int for 32-bit kinds, 64-bit C long for CONV_INT64, double, or
// one-byte strings for CONV_CHAR). 1 with *data and a new reference to the array in *owner;
// 0 when the object has to be converted (a copy) instead; -1 with an exception when its
// length does not match count (count as for conv_obj2arr, and set on success).
int conv_obj_view(PyObject *obj, int64_t *count, int kind, const void **data,
                  PyObject **owner);

// An owned converted array, freed on every exit path. The element type must match the kind.
// Or a view of a numpy array's own data (see view), which holds a reference to the array.
template <typename T>
class ConvArray {
 public:
  ConvArray() = default;
  ConvArray(const ConvArray &) = delete;
  ConvArray &operator=(const ConvArray &) = delete;
  ~ConvArray() { release(); }

  // conv_obj2arr into this array (replacing what it held).
  int convert(problem_s *p, int64_t *count, PyObject *obj, int kind) {
    release();
    kind_ = kind;
    int64_t local = count != nullptr ? *count : -1;
    int rc = conv_obj2arr(p, &local, obj, reinterpret_cast<void **>(&data_), kind);
    if (rc == 0 && data_ != nullptr) {
      n_ = local;
      if (count != nullptr) *count = local;
    } else {
      n_ = 0;
    }
    return rc;
  }

  // The array's elements in place when they are already what the kind takes (a large load
  // then copies nothing), else as convert. A view may be read-only memory: only for
  // arguments that are read, never written.
  int view(problem_s *p, int64_t *count, PyObject *obj, int kind) {
    release();
    const void *data = nullptr;
    PyObject *owner = nullptr;
    int64_t local = count != nullptr ? *count : -1;
    const int rc = conv_obj_view(obj, &local, kind, &data, &owner);
    if (rc <= 0) return rc < 0 ? -1 : convert(p, count, obj, kind);
    data_ = static_cast<T *>(const_cast<void *>(data));
    owner_ = owner;
    kind_ = kind;
    n_ = local;
    if (count != nullptr) *count = local;
    return 0;
  }

  T *get() const { return data_; }
  bool given() const { return data_ != nullptr; }
  int64_t size() const { return n_; }
  T &operator[](int64_t i) const { return data_[i]; }

 private:
  void release() {
    if (owner_ != nullptr) {
      data_ = nullptr;
      Py_CLEAR(owner_);
    } else {
      conv_free(reinterpret_cast<void **>(&data_), kind_, n_);
    }
    n_ = 0;
  }

  T *data_ = nullptr;
  PyObject *owner_ = nullptr;  // the viewed array, or null when data_ is owned
  int kind_ = CONV_INT;
  int64_t n_ = 0;
};

// ----- modelling objects for rows and columns added through the low-level interface --------

// What the library has been (or is about to be) told about a batch of new columns.
struct nvo_new_columns {
  int64_t n = 0;                  // number of new columns
  const double *lb = nullptr;     // n bounds each, or null for [0, +inf)
  const double *ub = nullptr;
  const char *types = nullptr;    // n type characters, or null (all 'C')
  // Or the typed-column description of a load: nentities entries (entind[k], coltype[k],
  // limit[k]); limit may be null.
  int64_t nentities = 0;
  const int *entind = nullptr;
  const char *coltype = nullptr;
  const double *limit = nullptr;
};

// Creates one var per new column (named from names when given, a sequence of n names) and
// appends them to *vars (a null *vars becomes the list of them), entering each in varmap under
// first + its position. On failure the entries made are removed again and -1 is returned with
// an exception set.
int addColsAsVariables(problem_s *p, PyRef<> *vars, rowcolmap *varmap, PyObject *names,
                       int64_t first, const nvo_new_columns &cols);

// Creates n constraints (named from names when given) for rows first..first+n-1, appends them
// to cons and enters them in conmap. rowtype, rhs and range (each n entries, any may be null)
// give the constraints their bounds. A null *cons becomes the list of them. On failure the
// entries made are removed and -1 is returned with an exception set.
int addRowsAsConstraints(problem_s *p, PyRef<> *cons, rowcolmap *conmap, PyObject *names,
                         int64_t first, int64_t n, const char *rowtype = nullptr,
                         const double *rhs = nullptr, const double *range = nullptr);

// Drops the objects of list beyond its first keep items and their map entries. Keeps a
// pending exception.
void nvo_drop_added_objects(PyObject *list, rowcolmap *map, int64_t keep, bool columns);

// Names rows (setAddedRowsNames) or columns (setAddedColsNamesTypes, which also sets the
// types of the columns from n type characters) first..first+n-1 in the library, all in one
// call. names (a list or tuple of n names) and types may be null. 0, or -1 with an exception
// set; the library is then unchanged.
int setAddedRowsNames(problem_s *p, PyObject *names, int first, int n);
int setAddedColsNamesTypes(problem_s *p, PyObject *names, const char *types, int first, int n);

// Integer attributes read at each use (never cached), -1 with an exception on failure.
int64_t nvo_int_attrib(problem_s *p, int attrib);
