// Modelling objects for rows and columns that reach the library through the low-level
// interface, and the names and types those rows and columns get in the library.
#include <string>

#include "lowlevel/conv.h"
#include "model/constraint.h"
#include "model/var.h"
#include "module/alloc_buffer.h"
#include "module/collector_pause.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/pyref.h"

namespace {

int var_type_of(char c, long *type) {
  switch (c) {
    case 'C': *type = VARTYPE_CONTINUOUS; return 0;
    case 'B': *type = VARTYPE_BINARY; return 0;
    case 'I': *type = VARTYPE_INTEGER; return 0;
    case 'S': *type = VARTYPE_SEMICONTINUOUS; return 0;
    case 'R': *type = VARTYPE_SEMIINTEGER; return 0;
    case 'P': *type = VARTYPE_PARTIALLYINTEGER; return 0;
    default: return nvo_model_error("Incorrect variable type");
  }
}

// A name list as a fast sequence of n items (null when not given). names must be a list or
// tuple; msg is raised when its length is not n.
int name_sequence(PyObject *names, int64_t n, const char *msg, PyRef<> *out) {
  if (names == nullptr || names == Py_None) return 0;
  if (!PyList_Check(names) && !PyTuple_Check(names)) return nvo_model_error(msg);
  if (PySequence_Fast_GET_SIZE(names) != n) return nvo_model_error(msg);
  *out = PyRef<>::borrow(names);
  return 0;
}

// The character type of each new column from a type list or the typed-column description.
int column_types(const nvo_new_columns &cols, int64_t first, AllocBuffer<char> *types,
                 AllocBuffer<double> *limits) {
  const int64_t n = cols.n;
  if (types->allocate(static_cast<size_t>(n), 'C') != 0 ||
      limits->allocate(static_cast<size_t>(n), -NVO_INFINITY) != 0)
    return -1;
  if (cols.types != nullptr) {
    for (int64_t i = 0; i < n; ++i) (*types)[i] = cols.types[i];
    return 0;
  }
  for (int64_t k = 0; k < cols.nentities; ++k) {
    const int64_t j = cols.entind[k] - first;
    if (j < 0 || j >= n) continue;  // the library refuses the load
    (*types)[j] = cols.coltype[k];
    if (cols.limit != nullptr) (*limits)[j] = cols.limit[k];
  }
  return 0;
}

// The names of a batch, NUL-separated, for one library call. what names the items in the
// message for a name that is not text.
int name_buffer(PyObject *names, int n, const char *what, AllocBuffer<char> *buffer) {
  for (int i = 0; i < n; ++i) {
    PyObject *name = PySequence_Fast_GET_ITEM(names, i);
    const char *text = nullptr;
    Py_ssize_t len = 0;
    if (PyUnicode_Check(name)) {
      text = PyUnicode_AsUTF8AndSize(name, &len);
    } else if (PyBytes_Check(name)) {
      text = PyBytes_AS_STRING(name);
      len = PyBytes_GET_SIZE(name);
    }
    if (text == nullptr || std::char_traits<char>::length(text) != static_cast<size_t>(len)) {
      PyErr_Clear();
      PyErr_Format(nvpy_model_exc, "Erroneous name for %s %d", what, i);
      return -1;
    }
    if (buffer->append(text, static_cast<size_t>(len) + 1) != 0) return -1;
  }
  return 0;
}

}  // namespace

void nvo_drop_added_objects(PyObject *list, rowcolmap *map, int64_t keep, bool columns) {
  PendingError pending;
  const Py_ssize_t size = PyList_GET_SIZE(list);
  // From the end: a batch's identifiers leave its run in the map one by one from the top.
  for (Py_ssize_t i = size - 1; i >= static_cast<Py_ssize_t>(keep); --i) {
    PyObject *obj = PyList_GET_ITEM(list, i);
    rowcolmap_del(map, columns ? var_id(obj) : con_id(obj));
  }
  if (keep < size && PyList_SetSlice(list, static_cast<Py_ssize_t>(keep), size, nullptr) != 0)
    PyErr_Clear();
}

namespace {

// Creates the objects of n new rows or columns with make(i, id) (a new reference or null with
// an exception), enters them into map at indices first .. first+n-1 and appends them all to
// *list in one step, so that the list grows once; a null *list becomes the list of the new
// objects (a load's fresh list, which then needs no copy). On failure list and map are left
// as they were.
template <class Make>
int add_objects(PyRef<> *list, rowcolmap *map, int64_t first, int64_t n, bool columns,
                Make make) {
  if (n == 0) {
    if (!*list) *list = PyRef<>::steal(PyList_New(0));
    return *list ? 0 : -1;
  }
  PyRef fresh(PyList_New(static_cast<Py_ssize_t>(n)));
  if (!fresh) return -1;
  // The new objects cannot be part of a cycle while the batch is made, and the list that
  // holds them is reachable from nothing else until it is complete.
  CollectorPause pause;
  PyObject_GC_UnTrack(fresh.get());
  // Reserved identifiers are consecutive, so the map takes the batch as one run.
  const uint64_t id0 = columns ? var_reserve_ids(static_cast<uint64_t>(n))
                               : con_reserve_ids(static_cast<uint64_t>(n));
  int rc = 0;
  for (int64_t i = 0; i < n; ++i) {
    PyObject *obj = make(i, id0 + static_cast<uint64_t>(i));
    if (obj == nullptr) {
      rc = -1;
      break;
    }
    PyList_SET_ITEM(fresh.get(), i, obj);
  }
  PyObject_GC_Track(fresh.get());
  if (rc != 0) return -1;  // the fresh list releases the objects made (unfilled slots are null)
  if (rowcolmap_enter_consecutive(map, id0, first, n) != 0) {
    PyErr_Clear();
    if (columns) return nvo_model_error("Could not amend variable map");
    PyErr_SetString(nvpy_interf_exc, "Internal error -- Could not amend constraint map");
    return -1;
  }
  if (!*list) {
    *list = std::move(fresh);
    return 0;
  }
  const Py_ssize_t size = PyList_GET_SIZE(list->get());
  if (PyList_SetSlice(list->get(), size, size, fresh.get()) != 0) {
    PendingError pending;
    // From the top of the run down, which never needs memory.
    for (int64_t i = n - 1; i >= 0; --i) rowcolmap_del(map, id0 + static_cast<uint64_t>(i));
    return -1;
  }
  return 0;
}

}  // namespace

int addColsAsVariables(problem_s *p, PyRef<> *vars, rowcolmap *varmap, PyObject *names,
                       int64_t first, const nvo_new_columns &cols) {
  PyRef<> name_seq;
  if (name_sequence(names, cols.n, "Incorrect length of variable name list", &name_seq) != 0)
    return -1;
  AllocBuffer<char> types;
  AllocBuffer<double> limits;
  if (column_types(cols, first, &types, &limits) != 0) return -1;
  return add_objects(vars, varmap, first, cols.n, true, [&](int64_t i, uint64_t id) {
    long vartype;
    if (var_type_of(types[i], &vartype) != 0) return static_cast<PyObject *>(nullptr);
    double lb = cols.lb != nullptr ? cols.lb[i] : 0.0;
    double ub = cols.ub != nullptr ? cols.ub[i] : NVO_INFINITY;
    // A binary column's bounds are narrowed by the library; its var says the same.
    var_binary_bounds(vartype, &lb, &ub);
    PyObject *name = name_seq ? PySequence_Fast_GET_ITEM(name_seq.get(), i) : nullptr;
    return var_create_with_id(id, name, lb, ub,
                              limits[i] > -NVO_INFINITY ? limits[i] : -NVO_INFINITY, vartype);
  });
}

int addRowsAsConstraints(problem_s *p, PyRef<> *cons, rowcolmap *conmap, PyObject *names,
                         int64_t first, int64_t n, const char *rowtype, const double *rhs,
                         const double *range) {
  PyRef<> name_seq;
  if (name_sequence(names, n, "Incorrect length of constraint name list", &name_seq) != 0)
    return -1;
  return add_objects(cons, conmap, first, n, false, [&](int64_t i, uint64_t id) {
    auto con = PyRef<constraint_s>::steal(constraint_base_with_id(id));
    if (!con) return static_cast<PyObject *>(nullptr);
    if (rowtype != nullptr) {
      double lo, up;
      constraint_bounds_of_row(rowtype[i], rhs != nullptr ? rhs[i] : 0.0,
                               range != nullptr ? range[i] : 0.0, &lo, &up);
      if (set_con_lbound(&con->rec, lo) != 0 || set_con_ubound(&con->rec, up) != 0)
        return static_cast<PyObject *>(nullptr);
    }
    if (name_seq && set_con_name(&con->rec, PySequence_Fast_GET_ITEM(name_seq.get(), i)) != 0)
      return static_cast<PyObject *>(nullptr);
    return con.release_obj();
  });
}

// Names go to the library in one call for the batch: either all are set or none.
int setAddedRowsNames(problem_s *p, PyObject *names, int first, int n) {
  if (names == nullptr || names == Py_None || n == 0) return 0;
  AllocBuffer<char> buffer;
  if (name_buffer(names, n, "constraint", &buffer) != 0) return -1;
  if (NVRLaddnames(p->prob, 1, buffer.data(), first, first + n - 1) != 0)
    return nvo_library_error(p);
  return 0;
}

int setAddedColsNamesTypes(problem_s *p, PyObject *names, const char *types, int first, int n) {
  if (n == 0) return 0;
  if (names != nullptr && names != Py_None) {
    AllocBuffer<char> buffer;
    if (name_buffer(names, n, "variable", &buffer) != 0) return -1;
    if (NVRLaddnames(p->prob, 2, buffer.data(), first, first + n - 1) != 0)
      return nvo_library_error(p);
  }
  if (types == nullptr) return 0;
  AllocBuffer<int> indices;
  if (indices.allocate(static_cast<size_t>(n)) != 0) {
    PyErr_Clear();
    PyErr_Format(PyExc_RuntimeError, "Cannot allocate %d columns", n);
    return -1;
  }
  for (int i = 0; i < n; ++i) indices[i] = first + i;
  if (NVRLchgcoltype(p->prob, n, indices.data(), types) != 0) return nvo_library_error(p);
  return 0;
}
