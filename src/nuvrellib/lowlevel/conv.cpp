// Conversion of Python arguments to the library's arrays and back.
#include "lowlevel/conv.h"

#include <cmath>
#include <cstring>

#include "model/constraint.h"
#include "model/sos.h"
#include "model/var.h"
#include "module/alloc_buffer.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/numpy_api.h"
#include "module/opaque.h"
#include "module/pyref.h"
#include "module/scalars.h"

namespace {

size_t element_width(int kind) {
  switch (kind) {
    case CONV_INT64: return sizeof(int64_t);
    case CONV_DOUBLE: return sizeof(double);
    case CONV_CHAR:
    case CONV_BYTE: return 1;
    case CONV_STRING: return sizeof(char *);
    case CONV_CUT:
    case CONV_OBJECT: return sizeof(void *);
    default: return sizeof(int);  // rows, columns, sets, int32
  }
}

int invalid_object(PyObject *obj) {
  PyErr_Format(nvpy_model_exc, "Invalid object %S", obj);
  return -1;
}

// A copy of the text of a str (UTF-8, else ASCII) or bytes object, from the module allocator.
int copy_string(PyObject *obj, char **out) {
  PyRef temp;
  const char *text = nullptr;
  Py_ssize_t len = 0;
  if (PyUnicode_Check(obj)) {
    text = PyUnicode_AsUTF8AndSize(obj, &len);
    if (text == nullptr) {
      PyErr_Clear();
      temp = PyRef(PyUnicode_AsASCIIString(obj));
      if (!temp) return -1;
      text = PyBytes_AS_STRING(temp.get());
      len = PyBytes_GET_SIZE(temp.get());
    }
  } else if (PyBytes_Check(obj)) {
    text = PyBytes_AS_STRING(obj);
    len = PyBytes_GET_SIZE(obj);
  } else {
    return invalid_object(obj);
  }
  if (nvo_MemoryAllocator_Alloc_Untyped(nvo_MemoryAllocator_DefaultHeap,
                                        static_cast<size_t>(len) + 1, out) != 0) {
    PyErr_NoMemory();
    return -1;
  }
  std::memcpy(*out, text, static_cast<size_t>(len) + 1);
  return 0;
}

// Converts one element into slot i of array. Kinds 3 and 4 fail without an exception of
// their own for a non-integer (the caller reports the library's error).
int convert_element(problem_s *p, PyObject *item, void *array, int64_t i, int kind) {
  switch (kind) {
    case CONV_ROW:
    case CONV_COL:
    case CONV_SOS:
      return ObjInt2int(item, p, static_cast<int *>(array) + i, kind);
    case CONV_INT:
    case CONV_INT64: {
      long long v;
      if (!nvo_is_int_or_long(item) || nvo_integer_value(item, &v) != 0) return -1;
      if (kind == CONV_INT)
        static_cast<int *>(array)[i] = static_cast<int>(v);
      else
        static_cast<int64_t *>(array)[i] = v;
      return 0;
    }
    case CONV_DOUBLE: {
      double v = PyFloat_AsDouble(item);
      if (v == -1.0 && PyErr_Occurred()) return -1;
      static_cast<double *>(array)[i] = v;
      return 0;
    }
    case CONV_CHAR: {
      if (!PyUnicode_Check(item) || PyUnicode_GET_LENGTH(item) < 1) return invalid_object(item);
      static_cast<char *>(array)[i] = static_cast<char>(PyUnicode_READ_CHAR(item, 0));
      return 0;
    }
    case CONV_BYTE: {
      long long v;
      if (nvo_integer_value(item, &v) != 0) return -1;
      static_cast<char *>(array)[i] = static_cast<char>(v);
      return 0;
    }
    case CONV_STRING:
      return copy_string(item, static_cast<char **>(array) + i);
    case CONV_CUT:
      if (!PyObject_TypeCheck(item, &poolcut_type)) return invalid_object(item);
      static_cast<void **>(array)[i] = reinterpret_cast<poolcut_s *>(item)->cut;
      return 0;
    case CONV_OBJECT:
      if (!PyObject_TypeCheck(item, &nvrlobject_type)) return invalid_object(item);
      static_cast<void **>(array)[i] = reinterpret_cast<nvrlobject_s *>(item)->obj;
      return 0;
    default:
      return invalid_object(item);
  }
}

int check_length(int64_t *count, int64_t length) {
  if (count != nullptr && *count >= 0 && *count != length) {
    PyErr_Format(nvpy_model_exc, "Mismatched lengths in arguments: expected %lld, found %lld",
                 static_cast<long long>(*count), static_cast<long long>(length));
    return -1;
  }
  return 0;
}

int allocate(void **out, int64_t n, int kind) {
  const size_t bytes = static_cast<size_t>(n > 0 ? n : 1) * element_width(kind);
  if (nvo_MemoryAllocator_Alloc_Untyped(nvo_MemoryAllocator_DefaultHeap, bytes, out) != 0) {
    PyErr_NoMemory();
    return -1;
  }
  // Strings start null so that a partial conversion frees only what it copied.
  if (kind == CONV_STRING) std::memset(*out, 0, bytes);
  return 0;
}

// Whether a numpy array's element type can be copied into the kind without visiting its
// items as Python objects: exactly the integer widths and numbers the item-by-item path
// would accept, so both paths agree.
bool array_fits(PyArrayObject *a, int kind) {
  if (PyArray_NDIM(a) != 1) return false;
  const int t = PyArray_TYPE(a);
  switch (kind) {
    case CONV_ROW:
    case CONV_COL:
    case CONV_SOS:
    case CONV_INT:
    case CONV_INT64:
      return t == NPY_INT || t == NPY_LONG;
    case CONV_DOUBLE:
      return PyTypeNum_ISBOOL(t) || PyTypeNum_ISINTEGER(t) || PyTypeNum_ISFLOAT(t);
    case CONV_CHAR:
      return (t == NPY_STRING && PyArray_ITEMSIZE(a) == 1) ||
             (t == NPY_UNICODE && PyArray_ITEMSIZE(a) == 4);
    default:
      return false;
  }
}

// Copies a fitting numpy array (see array_fits) into a new array of n elements.
int copy_numpy(PyArrayObject *a, void **out, int64_t n, int kind) {
  // A contiguous, aligned array in native byte order, of the target type for numbers (the
  // array itself when it already is). The raw copies below read the elements as they lie, so
  // a byte-swapped array must be put in native order first.
  PyArray_Descr *descr =
      kind == CONV_DOUBLE  ? PyArray_DescrFromType(NPY_DOUBLE)
      : kind == CONV_INT64 ? PyArray_DescrFromType(NPY_INT64)
                           : PyArray_DescrNewByteorder(PyArray_DESCR(a), NPY_NATIVE);
  if (descr == nullptr) return -1;
  PyRef contiguous(PyArray_FromAny(reinterpret_cast<PyObject *>(a), descr, 1, 1,
                                   NPY_ARRAY_IN_ARRAY | NPY_ARRAY_FORCECAST, nullptr));
  if (!contiguous) return -1;
  auto *c = reinterpret_cast<PyArrayObject *>(contiguous.get());
  if (allocate(out, n, kind) != 0) return -1;
  const char *src = static_cast<const char *>(PyArray_DATA(c));
  if (kind == CONV_DOUBLE || kind == CONV_INT64) {
    std::memcpy(*out, src, static_cast<size_t>(n) * element_width(kind));
  } else if (kind == CONV_CHAR) {
    char *dst = static_cast<char *>(*out);
    if (PyArray_TYPE(c) == NPY_STRING) {
      std::memcpy(dst, src, static_cast<size_t>(n));
    } else {
      const uint32_t *codes = reinterpret_cast<const uint32_t *>(src);
      for (int64_t i = 0; i < n; ++i) dst[i] = static_cast<char>(codes[i]);
    }
  } else {
    // 32-bit indices and integers: C ints copy as they are, C longs truncate like a single
    // integer object does.
    int *dst = static_cast<int *>(*out);
    if (PyArray_TYPE(c) == NPY_INT) {
      std::memcpy(dst, src, static_cast<size_t>(n) * sizeof(int));
    } else {
      const long *values = reinterpret_cast<const long *>(src);
      for (int64_t i = 0; i < n; ++i) dst[i] = static_cast<int>(values[i]);
    }
  }
  return 0;
}

// The iterator path: grows by doubling from 256; the shrink rule at the end is the
// program's own (keeps spare room unless log2(n+1) is in the upper half of its unit step).
int convert_iterator(problem_s *p, int64_t *count, PyObject *iter, void **out, int kind) {
  int64_t capacity = 256;
  if (allocate(out, capacity, kind) != 0) return -1;
  int64_t n = 0;
  for (;;) {
    PyRef item(PyIter_Next(iter));
    if (!item) {
      if (PyErr_Occurred()) return -1;
      break;
    }
    if (n > 255 && (n & (n - 1)) == 0 && n >= capacity) {
      const size_t bytes = static_cast<size_t>(2 * n) * element_width(kind);
      if (nvo_MemoryAllocator_Realloc_Untyped(nvo_MemoryAllocator_DefaultHeap, out, bytes) != 0) {
        PyErr_NoMemory();
        return -1;
      }
      if (kind == CONV_STRING)
        std::memset(static_cast<char **>(*out) + capacity, 0,
                    static_cast<size_t>(2 * n - capacity) * sizeof(char *));
      capacity = 2 * n;
    }
    if (convert_element(p, item.get(), *out, n, kind) != 0) {
      if (kind == CONV_STRING) conv_free(out, kind, capacity);
      return -1;
    }
    ++n;
  }
  if (n >= 1) {
    const double l = std::log2(static_cast<double>(n + 1));
    if (l + 0.5 > std::ceil(l)) {
      const size_t bytes = static_cast<size_t>(n) * element_width(kind);
      nvo_MemoryAllocator_Realloc_Untyped(nvo_MemoryAllocator_DefaultHeap, out, bytes);
    }
  }
  if (check_length(count, n) != 0) {
    if (kind == CONV_STRING) conv_free(out, kind, n);
    return -1;
  }
  if (count != nullptr) *count = n;
  return 0;
}

int convert(problem_s *p, int64_t *count, PyObject *obj, void **out, int kind) {
  if (kind == CONV_ROWCOL) {
    PyErr_SetString(nvpy_model_exc, "Invalid sequence of objects");
    return -1;
  }
  const bool is_list = PyList_Check(obj), is_tuple = PyTuple_Check(obj);
  if (!is_list && !is_tuple && PyIter_Check(obj)) return convert_iterator(p, count, obj, out, kind);
  if (!is_list && !is_tuple && !PySequence_Check(obj)) {
    PyErr_SetString(nvpy_model_exc, "Invalid sequence of objects");
    return -1;
  }
  if (!is_list && !is_tuple && PyArray_API != nullptr && PyArray_Check(obj)) {
    auto *a = reinterpret_cast<PyArrayObject *>(obj);
    if (array_fits(a, kind)) {
      const int64_t n = PyArray_DIM(a, 0);
      if (check_length(count, n) != 0) return -1;
      if (copy_numpy(a, out, n, kind) != 0) return -1;
      if (count != nullptr) *count = n;
      return 0;
    }
  }
  PyRef fast;
  PyObject *seq = obj;
  if (!is_list && !is_tuple) {
    fast = PyRef(PySequence_Fast(obj, "Unable to scan sequence"));
    if (!fast) {
      PyErr_SetString(nvpy_model_exc, "Unable to scan sequence");
      return -1;
    }
    seq = fast.get();
  }
  const int64_t n = PySequence_Fast_GET_SIZE(seq);
  if (check_length(count, n) != 0) return -1;
  if (allocate(out, n, kind) != 0) return -1;
  // A list may change size while its items are converted (names call into the library, not
  // into Python, but __float__ may): the size is read again each step.
  for (int64_t i = 0; i < n && i < PySequence_Fast_GET_SIZE(seq); ++i) {
    // Held while converted: the item's own methods may drop it from the list.
    PyRef item = PyRef<>::borrow(PySequence_Fast_GET_ITEM(seq, i));
    int rc = convert_element(p, item.get(), *out, i, kind);
    if (rc != 0) {
      if (kind == CONV_STRING) conv_free(out, kind, n);
      return -1;
    }
  }
  if (n != PySequence_Fast_GET_SIZE(seq)) {
    if (kind == CONV_STRING) conv_free(out, kind, n);
    PyErr_SetString(nvpy_model_exc, "Unable to scan sequence");
    return -1;
  }
  if (count != nullptr) *count = n;
  return 0;
}

PyObject *poolcut_wrap(void *cut) {
  poolcut_s *obj = PyObject_New(poolcut_s, &poolcut_type);
  if (obj != nullptr) obj->cut = cut;
  return reinterpret_cast<PyObject *>(obj);
}

// The Python item for element i of array; null with an exception set.
PyObject *back_item(problem_s *p, const void *array, int64_t i, int kind) {
  switch (kind) {
    case CONV_ROW:
    case CONV_COL: {
      const int index = static_cast<const int *>(array)[i];
      if (index < 0) return PyLong_FromLong(-1);
      PyObject *list = kind == CONV_ROW ? p->cons : p->vars;
      if (index >= PyList_GET_SIZE(list)) return nullptr;
      return Py_NewRef(PyList_GET_ITEM(list, index));
    }
    case CONV_ROWCOL: {
      const int index = static_cast<const int *>(array)[i];
      if (index < 0) return PyLong_FromLong(-1);
      return convSeqToRowCol(p, index);
    }
    case CONV_INT: return PyLong_FromLong(static_cast<const int *>(array)[i]);
    case CONV_INT64: return PyLong_FromLongLong(static_cast<const int64_t *>(array)[i]);
    case CONV_DOUBLE: return PyFloat_FromDouble(static_cast<const double *>(array)[i]);
    case CONV_CHAR: {
      const char c = static_cast<const char *>(array)[i];
      return PyUnicode_FromStringAndSize(&c, 1);
    }
    case CONV_BYTE:
      // Digits, not an int: kept for the callers that read these as text.
      return PyUnicode_FromFormat("%d", static_cast<int>(static_cast<const signed char *>(array)[i]));
    case CONV_STRING: {
      const char *s = static_cast<char *const *>(array)[i];
      return s != nullptr ? PyUnicode_FromString(s) : nullptr;
    }
    case CONV_CUT: return poolcut_wrap(static_cast<void *const *>(array)[i]);
    case CONV_OBJECT:
      return nvrlobject_create(static_cast<NVRLobject>(static_cast<void *const *>(array)[i]));
    default: return nullptr;
  }
}

int wrong_item(int kind) {
  if (!PyErr_Occurred())
    PyErr_Format(nvpy_interf_exc, "Wrong item returned from API call, type %d", kind);
  return -1;
}

}  // namespace

int64_t nvo_int_attrib(problem_s *p, int attrib) {
  int value = 0;
  if (NVRLgetintattrib(p->prob, attrib, &value) != 0) return nvo_library_error(p);
  return value;
}

void conv_free(void **array, int kind, int64_t n) {
  if (*array != nullptr && kind == CONV_STRING) {
    char **strings = static_cast<char **>(*array);
    for (int64_t i = 0; i < n; ++i)
      nvo_MemoryAllocator_Free_Untyped(nvo_MemoryAllocator_DefaultHeap, &strings[i]);
  }
  nvo_MemoryAllocator_Free_Untyped(nvo_MemoryAllocator_DefaultHeap, array);
}

int conv_obj_view(PyObject *obj, int64_t *count, int kind, const void **data,
                  PyObject **owner) {
  *data = nullptr;
  *owner = nullptr;
  if (obj == nullptr || PyArray_API == nullptr || !PyArray_Check(obj)) return 0;
  auto *a = reinterpret_cast<PyArrayObject *>(obj);
  if (PyArray_NDIM(a) != 1 || PyArray_DIM(a, 0) < 1 || !PyArray_IS_C_CONTIGUOUS(a) ||
      !PyArray_ISALIGNED(a) || !PyArray_ISNOTSWAPPED(a))
    return 0;
  // Exactly the types whose elements the copy would take over unchanged.
  const int t = PyArray_TYPE(a);
  const int itemsize = static_cast<int>(PyArray_ITEMSIZE(a));
  bool same = false;
  switch (kind) {
    case CONV_ROW:
    case CONV_COL:
    case CONV_SOS:
    case CONV_INT: same = t == NPY_INT && itemsize == sizeof(int); break;
    case CONV_INT64: same = t == NPY_LONG && itemsize == sizeof(int64_t); break;
    case CONV_DOUBLE: same = t == NPY_DOUBLE; break;
    case CONV_CHAR: same = t == NPY_STRING && itemsize == 1; break;
    default: break;
  }
  if (!same) return 0;
  const int64_t n = PyArray_DIM(a, 0);
  if (check_length(count, n) != 0) return -1;
  if (count != nullptr) *count = n;
  *data = PyArray_DATA(a);
  *owner = Py_NewRef(obj);
  return 1;
}

int conv_obj2arr(problem_s *p, int64_t *count, PyObject *obj, void **out, int kind) {
  if (out == nullptr) return -1;
  *out = nullptr;
  if (obj == nullptr || obj == Py_None) return 0;
  if (convert(p, count, obj, out, kind) != 0) {
    nvo_MemoryAllocator_Free_Untyped(nvo_MemoryAllocator_DefaultHeap, out);
    return -1;
  }
  return 0;
}

int ObjInt2int(PyObject *obj, problem_s *p, int *index, int kind) {
  if (nvo_is_int_or_long(obj)) {
    long long v;
    if (nvo_integer_value(obj, &v) != 0) return -1;
    *index = static_cast<int>(v);
    return 0;
  }
  if (PyUnicode_Check(obj) || PyBytes_Check(obj)) {
    const char *name = PyBytes_Check(obj) ? PyBytes_AS_STRING(obj) : PyUnicode_AsUTF8(obj);
    if (name == nullptr) return -1;
    if (NVRLgetindex(p->prob, kind == CONV_ROW ? 1 : 2, name, index) != 0)
      return nvo_library_error(p);
    return 0;
  }
  int64_t position;
  if (Py_TYPE(obj) == &var_type && (kind == CONV_COL || kind == CONV_ROWCOL)) {
    if (rowcolmap_get(p->varmap, var_id(obj), &position) != 0) {
      PyErr_Format(nvpy_model_exc, "Variable %S not in problem", obj);
      return -1;
    }
    if (kind == CONV_ROWCOL) {
      const int64_t rows = nvo_int_attrib(p, NVRL_ATTR_ROWS);
      if (rows < 0) return -1;
      const int64_t spare = nvo_int_attrib(p, NVRL_ATTR_SPARE_ROWS);
      if (spare < 0) return -1;
      // A subtraction, as this interface has always done, not the offset of the numbering.
      position -= rows + spare;
    }
    *index = static_cast<int>(position);
    return 0;
  }
  if (Py_TYPE(obj) == &constraint_type && (kind == CONV_ROW || kind == CONV_ROWCOL)) {
    if (rowcolmap_get(p->conmap, con_id(obj), &position) != 0) {
      PyErr_Format(nvpy_model_exc, "Constraint %S not in problem", obj);
      return -1;
    }
    *index = static_cast<int>(position);
    return 0;
  }
  if (Py_TYPE(obj) == &sos_type && kind == CONV_SOS) {
    if (rowcolmap_get(p->sosmap, static_cast<uint64_t>(sos_id(obj)), &position) != 0) {
      PyErr_Format(nvpy_model_exc, "SOS %S not in problem", obj);
      return -1;
    }
    *index = static_cast<int>(position);
    return 0;
  }
  const char *msg = kind == CONV_COL   ? "Invalid variable object %S"
                    : kind == CONV_ROW ? "Invalid constraint object %S"
                    : kind == CONV_SOS ? "Invalid SOS object %S"
                                       : "Invalid object %S";
  PyErr_Format(nvpy_model_exc, msg, obj);
  return -1;
}

int conv_arr2obj(problem_s *p, int64_t n, const void *array, PyObject **list_slot, int kind) {
  if (array == nullptr) return 0;
  if (kind == CONV_SOS || kind < 0 || kind > CONV_ROWCOL) return wrong_item(kind);
  PyObject *list = *list_slot;
  if (list == nullptr || list == Py_None) {
    PyRef fresh(PyList_New(static_cast<Py_ssize_t>(n)));
    if (!fresh) return -1;
    for (int64_t i = 0; i < n; ++i) {
      PyObject *item = back_item(p, array, i, kind);
      if (item == nullptr) return wrong_item(kind);
      PyList_SET_ITEM(fresh.get(), i, item);
    }
    PyRef replaced(list);  // the slot's reference (None or null), given up for the new list
    *list_slot = fresh.release();
    return 0;
  }
  if (!PyList_Check(list)) {
    PyErr_SetString(nvpy_model_exc, "Unexpected argument to conv_arr2obj");
    return -1;
  }
  if (PyList_GET_SIZE(list) > n &&
      PyList_SetSlice(list, static_cast<Py_ssize_t>(n), PyList_GET_SIZE(list), nullptr) != 0)
    return -1;
  const int64_t before = PyList_GET_SIZE(list);
  const int64_t replaced = before < n ? before : n;
  for (int64_t i = 0; i < replaced; ++i) {
    PyObject *item = back_item(p, array, i, kind);
    if (item == nullptr) return wrong_item(kind);
    PyList_SetItem(list, static_cast<Py_ssize_t>(i), item);  // takes the reference
  }
  if (n == replaced) return 0;
  // The rest goes in as one slice: appending a million items one at a time costs several
  // regrowths of the list.
  PyRef tail(PyList_New(static_cast<Py_ssize_t>(n - replaced)));
  if (!tail) return -1;
  for (int64_t i = replaced; i < n; ++i) {
    PyObject *item = back_item(p, array, i, kind);
    if (item == nullptr) return wrong_item(kind);
    PyList_SET_ITEM(tail.get(), static_cast<Py_ssize_t>(i - replaced), item);
  }
  return PyList_SetSlice(list, static_cast<Py_ssize_t>(before), static_cast<Py_ssize_t>(before),
                         tail.get());
}

PyObject *convSeqToRowCol(problem_s *p, int index) {
  const int64_t rows = nvo_int_attrib(p, NVRL_ATTR_ROWS);
  if (rows < 0) return nullptr;
  const int64_t spare = nvo_int_attrib(p, NVRL_ATTR_SPARE_ROWS);
  if (spare < 0) return nullptr;
  PyObject *item = index >= rows + spare
                       ? PyList_GetItem(p->vars, static_cast<Py_ssize_t>(index - rows - spare))
                       : PyList_GetItem(p->cons, index);
  return Py_XNewRef(item);
}
