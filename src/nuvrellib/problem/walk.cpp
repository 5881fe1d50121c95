// The nested-structure walk shared by the problem's add methods and its constructor.
#include "problem/walk.h"

#include "model/constraint.h"
#include "model/dispatch.h"
#include "model/sos.h"
#include "model/var.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/pyref.h"

namespace {

// Modelling objects, numbers and strings are never opened, even when they could be iterated.
bool is_leaf(PyObject *obj) {
  if (var_check(obj) || constraint_check(obj) || sos_check(obj)) return true;
  if (PyUnicode_Check(obj) || PyBytes_Check(obj)) return true;
  if (nvo_is_array(obj)) return false;
  if (nvo_kind_noraise(obj) >= 0) return true;
  if (PyList_Check(obj) || PyTuple_Check(obj) || PyDict_Check(obj)) return false;
  return !(PyIter_Check(obj) || PySequence_Check(obj));
}

int walk_level(PyObject *obj, const nvo_leaf_visitor &visit, int depth);

int walk_iterable(PyObject *iterable, const nvo_leaf_visitor &visit, int depth) {
  PyRef it(PyObject_GetIter(iterable));
  if (!it) return -1;
  for (;;) {
    PyRef item(PyIter_Next(it.get()));
    if (!item) return PyErr_Occurred() ? -1 : 0;
    if (walk_level(item.get(), visit, depth + 1) != 0) return -1;
  }
}

int walk_level(PyObject *obj, const nvo_leaf_visitor &visit, int depth) {
  if (is_leaf(obj)) return visit(obj);
  if (depth >= NVO_MAX_WALK_DEPTH) {
    return nvo_model_error("Maximum recursion (inclusion) level reached");
  }
  if (PyList_Check(obj) || PyTuple_Check(obj)) {
    // Index access: the visitor may not change the sequence, and this avoids an iterator.
    PyRef<> seq = PyRef<>::borrow(obj);
    for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(seq.get()); ++i)
      if (walk_level(PySequence_Fast_GET_ITEM(seq.get(), i), visit, depth + 1) != 0) return -1;
    return 0;
  }
  if (PyDict_Check(obj)) {
    PyRef values(PyDict_Values(obj));
    if (!values) return -1;
    return walk_level(values.get(), visit, depth);
  }
  if (nvo_is_array(obj)) {
    PyRef flat(PyObject_GetAttrString(obj, "flat"));
    if (!flat) return -1;
    return walk_iterable(flat.get(), visit, depth);
  }
  return walk_iterable(obj, visit, depth);
}

}  // namespace

int nvo_walk(PyObject *obj, const nvo_leaf_visitor &visit) { return walk_level(obj, visit, 0); }

int nvo_walk_args(PyObject *args, const nvo_leaf_visitor &visit) {
  for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(args); ++i)
    if (nvo_walk(PyTuple_GET_ITEM(args, i), visit) != 0) return -1;
  return 0;
}

PyObject *nvo_array_first_item(PyObject *array) {
  PyRef flat(PyObject_GetAttrString(array, "flat"));
  if (!flat) return nullptr;
  PyRef it(PyObject_GetIter(flat.get()));
  if (!it) return nullptr;
  PyObject *item = PyIter_Next(it.get());
  if (item == nullptr && !PyErr_Occurred()) PyErr_SetString(nvpy_model_exc, "Empty array");
  return item;
}
