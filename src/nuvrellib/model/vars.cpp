// nuvrel.vars(*indices, name=, lb=, ub=, threshold=, vartype=): an indexed collection of new
// variables, one per element of the Cartesian product of the index sets.
#include <Python.h>

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "model/array_names.h"
#include "model/dispatch.h"
#include "model/var.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/numpy_api.h"
#include "module/object_slab.h"
#include "module/pyref.h"
#include "module/scalars.h"

namespace {

constexpr const char *DEFAULT_PREFIX = "x";
constexpr double BOUND_TOLERANCE = 1e-6;

const char *const MSG_INVALID_INDEX =
    "Invalid index: a call to nuvrel.vars() must have a tuple of lists, sets, iterable "
    "objects, or integer numbers as its arguments";
const char *const MSG_NOT_POSITIVE =
    "Invalid index: integer argument to nuvrel.vars() must be positive (it is equivalent to "
    "range(k))";
const char *const MSG_EMPTY = "Invalid index: empty dimension in creation of variables";
const char *const MSG_NO_MEMORY = "Not enough memory to create variables with nuvrel.vars()";
const char *const MSG_TOO_MANY =
    "No memory to create variables. Consider restricting one or more index "
    "sets/lists/ranges in the index argument to nuvrel.vars()";

// Fewer bytes than any variable of the collection costs (object, dictionary slot, key).
constexpr Py_ssize_t MIN_BYTES_PER_VARIABLE = 64;

// True when a collection of this many variables cannot fit in physical memory: refusing it
// up front beats being stopped by the system halfway through.
bool exceeds_memory(Py_ssize_t total) {
  const long pages = sysconf(_SC_PHYS_PAGES), page_size = sysconf(_SC_PAGE_SIZE);
  if (pages <= 0 || page_size <= 0) return false;
  const double bytes = static_cast<double>(pages) * static_cast<double>(page_size);
  return static_cast<double>(total) * MIN_BYTES_PER_VARIABLE > bytes;
}

// One index set: its elements and the text each contributes to the variable names.
struct dimension {
  PyRef<> elements;                  // list (for an integer argument made only once sizes pass)
  Py_ssize_t count = 0;            // number of elements
  std::vector<std::string> texts;  // parallel to elements (only filled when names are made)
};

// Reads one positional argument as a non-empty index set. An integer k keeps only its count
// (huge values saturate and are refused by the size checks before anything is built).
int read_dimension(PyObject *arg, dimension *dim) {
  if (nvo_is_integer(arg)) {
    long long k;
    int overflow = 0;
    if (nvo_integer_value(arg, &k, &overflow) != 0) return -1;
    if (overflow != 0) k = overflow < 0 ? LLONG_MIN : LLONG_MAX;
    if (k < 1) return nvo_model_error(MSG_NOT_POSITIVE);
    dim->count = k;
    return 0;
  }
  PyRef it(PyObject_GetIter(arg));
  if (!it) {
    if (!PyErr_ExceptionMatches(PyExc_TypeError)) return -1;
    PyErr_Clear();
    return nvo_model_error(MSG_INVALID_INDEX);
  }
  dim->elements = PyRef(PySequence_List(it.get()));
  if (!dim->elements) return -1;
  dim->count = PyList_GET_SIZE(dim->elements.get());
  if (dim->count == 0) return nvo_model_error(MSG_EMPTY);
  return 0;
}

// The elements 0..k-1 of an integer argument, once the collection's size has been accepted.
int fill_range(dimension *dim) {
  if (dim->elements) return 0;
  PyRef range(PyObject_CallFunction(reinterpret_cast<PyObject *>(&PyRange_Type), "n",
                                    dim->count));
  if (!range) return -1;
  dim->elements = PyRef(PySequence_List(range.get()));
  return dim->elements ? 0 : -1;
}

// The text of one index element inside a name: integers (numpy's included) as "%ld", other
// numbers as "%g", strings as they are, anything else as its str() without blanks.
int element_text(PyObject *elem, std::string *out) {
  const bool number = nvo_is_number(elem);
  if (number && nvo_is_integer(elem)) {
    long long v;
    int overflow = 0;
    if (nvo_integer_value(elem, &v, &overflow) != 0) return -1;
    if (!overflow) {
      char buf[32];
      std::snprintf(buf, sizeof buf, "%lld", v);
      *out = buf;
      return 0;
    }
  } else if (number) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%g", nvo_number_value(elem));
    *out = buf;
    return 0;
  }
  PyRef<> text(PyUnicode_Check(elem) ? PyRef<>::borrow(elem) : PyRef<>(PyObject_Str(elem)));
  const char *utf8 = text ? PyUnicode_AsUTF8(text.get()) : nullptr;
  if (utf8 == nullptr) {
    PyErr_Clear();
    return nvo_model_error("Element of index tuple in vars() cannot be represented");
  }
  out->assign(utf8);
  if (!PyUnicode_Check(elem)) std::erase(*out, ' ');
  return 0;
}

// prefix(t1,t2,...) cut at the name length limit (in characters).
PyObject *make_name(const std::string &prefix, const std::vector<dimension> &dims,
                    const std::vector<Py_ssize_t> &pos) {
  std::string s = prefix;
  s += '(';
  for (size_t d = 0; d < dims.size(); ++d) {
    if (d) s += ',';
    s += dims[d].texts[pos[d]];
  }
  s += ')';
  return array_name_object(s, false);
}

// The key of one combination: the element itself for one index set, else the tuple.
PyObject *make_key(const std::vector<dimension> &dims, const std::vector<Py_ssize_t> &pos) {
  if (dims.size() == 1) return Py_NewRef(PyList_GET_ITEM(dims[0].elements.get(), pos[0]));
  PyObject *key = PyTuple_New(static_cast<Py_ssize_t>(dims.size()));
  if (key == nullptr) return nullptr;
  for (size_t d = 0; d < dims.size(); ++d) {
    PyObject *e = PyList_GET_ITEM(dims[d].elements.get(), pos[d]);
    PyTuple_SET_ITEM(key, static_cast<Py_ssize_t>(d), Py_NewRef(e));
  }
  return key;
}

// Replaces a pending MemoryError by the module's own message.
void restate_memory_error() {
  if (PyErr_ExceptionMatches(PyExc_MemoryError)) {
    PyErr_Clear();
    PyErr_SetString(nvpy_model_exc, MSG_NO_MEMORY);
  }
}

// The array form: every index set a count, the variables in C order with consecutive
// identifiers, so that their names can come from one pattern.
PyObject *make_var_array(const std::vector<dimension> &dims, const std::string &prefix,
                         bool named, double lb, double ub, double threshold, long vartype) {
  std::vector<npy_intp> shape;
  for (const dimension &dim : dims) shape.push_back(dim.count);
  // A new reference to the descriptor: the constructor steals it.
  auto *descr = reinterpret_cast<PyArray_Descr *>(Py_NewRef(nvr_py_env.npvar));
  // The element type needs initialisation, so numpy zero-fills: every reference starts null.
  PyRef arr(PyArray_NewFromDescr(&PyArray_Type, descr, static_cast<int>(shape.size()),
                                 shape.data(), nullptr, nullptr, 0, nullptr));
  if (!arr) {
    restate_memory_error();
    return nullptr;
  }
  char *data = PyArray_BYTES(reinterpret_cast<PyArrayObject *>(arr.get()));
  const npy_intp total = PyArray_SIZE(reinterpret_cast<PyArrayObject *>(arr.get()));
  const uint64_t first_id = var_reserve_ids(static_cast<uint64_t>(total));
  array_name_pattern *pattern = nullptr;
  if (named) {
    std::vector<Py_ssize_t> counts(shape.begin(), shape.end());
    pattern = array_names_new(prefix, counts, first_id);
    if (pattern == nullptr) {
      restate_memory_error();
      return nullptr;
    }
  }
  // The default threshold 0 needs no table entry: a threshold flag without an entry reads 0
  // (boundmap_get), which saves a tree node per variable of a large array.
  const bool zero_threshold = threshold == 0.0 && !std::signbit(threshold);
  const uint64_t extra_bits = (zero_threshold ? VAR_THOLD_ENTRY : 0) |
                              (pattern != nullptr ? VAR_NAME_PATTERN : 0);
  const double stored_threshold = zero_threshold ? -NVO_INFINITY : threshold;
  slab_untraced_scope untraced;
  for (npy_intp i = 0; i < total; ++i) {
    PyObject *v = var_create_with_id(first_id + static_cast<uint64_t>(i), nullptr, lb, ub,
                                     stored_threshold, vartype);
    if (v == nullptr) {
      if (pattern != nullptr) array_names_unused(pattern);
      restate_memory_error();
      return nullptr;
    }
    reinterpret_cast<var_s *>(v)->rec |= extra_bits;
    if (pattern != nullptr) array_names_use(pattern);
    // A fresh array: the slot holds no reference to release.
    __builtin_memcpy(data + i * static_cast<npy_intp>(sizeof v), &v, sizeof v);
  }
  return arr.release();
}

}  // namespace

PyObject *nuvrelmod_vars(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"name", "lb", "ub", "threshold", "vartype", nullptr};
  PyObject *prefix_obj = nullptr;
  // The threshold defaults to 0 here, unlike var()'s -infinity.
  double lb = 0.0, ub = NVO_INFINITY, threshold = 0.0;
  long vartype = VARTYPE_CONTINUOUS;

  // Every positional argument is an index set, so the keywords are parsed on their own.
  PyRef no_args(PyTuple_New(0));
  if (!no_args) return nullptr;
  if (!nvo_ParseTupleAndKeywords(no_args.get(), kwargs, "|Odddl:vars", kwlist, nullptr, &prefix_obj,
                                 &lb, &ub, &threshold, &vartype))
    return nullptr;

  if (lb > ub + BOUND_TOLERANCE) {
    nvo_model_error("Variables have empty feasible set: lower bound > upper bound");
    return nullptr;
  }
  // Names are prefixed with "x" unless the prefix is given as None or "", which keeps the
  // variables' default names.
  std::string prefix = DEFAULT_PREFIX;
  if (prefix_obj == Py_None) {
    prefix.clear();
  } else if (prefix_obj != nullptr) {
    if (!PyUnicode_Check(prefix_obj)) {
      nvo_model_error("Invalid variable name (must be a string)");
      return nullptr;
    }
    const char *utf8 = PyUnicode_AsUTF8(prefix_obj);
    if (utf8 == nullptr) return nullptr;
    prefix = utf8;
  }
  const bool named = !prefix.empty();

  const Py_ssize_t ndims = PyTuple_GET_SIZE(args);
  if (ndims == 0) {
    nvo_model_error(MSG_INVALID_INDEX);
    return nullptr;
  }
  bool all_integers = true;
  for (Py_ssize_t d = 0; d < ndims; ++d)
    all_integers = all_integers && nvo_is_integer(PyTuple_GET_ITEM(args, d));

  std::vector<dimension> dims(static_cast<size_t>(ndims));
  Py_ssize_t total = 1;
  for (Py_ssize_t d = 0; d < ndims; ++d) {
    dimension &dim = dims[static_cast<size_t>(d)];
    if (read_dimension(PyTuple_GET_ITEM(args, d), &dim) < 0) return nullptr;
    const Py_ssize_t n = dim.count;
    if (total > PY_SSIZE_T_MAX / n) {
      nvo_model_error(MSG_TOO_MANY);
      return nullptr;
    }
    total *= n;
  }
  var_binary_bounds(vartype, &lb, &ub);
  if (exceeds_memory(total)) {
    nvo_model_error(MSG_TOO_MANY);
    return nullptr;
  }
  // The array form names its variables from a pattern, without element lists or texts.
  if (all_integers) return make_var_array(dims, prefix, named, lb, ub, threshold, vartype);
  for (dimension &dim : dims) {
    if (fill_range(&dim) < 0) {
      restate_memory_error();
      return nullptr;
    }
  }
  if (named) {
    for (dimension &dim : dims) {
      const Py_ssize_t n = PyList_GET_SIZE(dim.elements.get());
      dim.texts.resize(static_cast<size_t>(n));
      for (Py_ssize_t i = 0; i < n; ++i)
        if (element_text(PyList_GET_ITEM(dim.elements.get(), i), &dim.texts[i]) < 0)
          return nullptr;
    }
  }

  PyRef result(PyDict_New());
  if (!result) return nullptr;
  std::vector<Py_ssize_t> pos(static_cast<size_t>(ndims), 0);
  for (Py_ssize_t count = 0; count < total; ++count) {
    PyRef key(make_key(dims, pos));
    if (!key) {
      restate_memory_error();
      return nullptr;
    }
    int present = PyDict_Contains(result.get(), key.get());
    if (present < 0) {
      // An element that cannot be hashed cannot form a key.
      if (PyErr_ExceptionMatches(PyExc_TypeError)) {
        PyErr_Clear();
        nvo_model_error("Bad index tuple in vars()");
      }
      return nullptr;
    }
    if (present) {
      PyErr_Format(nvpy_model_exc,
                   "Duplicate entry in vars: <%S>. Check arguments for duplicate entries in one "
                   "or more of the lists",
                   key.get());
      return nullptr;
    }
    PyRef name;
    if (named) {
      name = PyRef(make_name(prefix, dims, pos));
      if (!name) {
        restate_memory_error();
        return nullptr;
      }
    }
    PyRef v(var_create(name.get(), lb, ub, threshold, vartype));
    if (!v || PyDict_SetItem(result.get(), key.get(), v.get()) < 0) {
      restate_memory_error();
      return nullptr;
    }
    // Advance the odometer, last index fastest.
    for (Py_ssize_t d = ndims - 1; d >= 0; --d) {
      if (++pos[static_cast<size_t>(d)] < dims[static_cast<size_t>(d)].count) break;
      pos[static_cast<size_t>(d)] = 0;
    }
  }
  return result.release();
}
