// The classification and depth rule shared by every walk over nested structures, and the leaf
// walk of the problem's add methods and its constructor.
#include "model/walk.h"

#include "model/constraint.h"
#include "model/dispatch.h"
#include "model/sos.h"
#include "model/var.h"
#include "module/env.h"

const nvo_depth_limit nvo_walk_limit = {NVO_MAX_NESTING, &nvpy_model_exc,
                                        "Maximum recursion (inclusion) level reached"};
const nvo_depth_limit nvo_eval_limit = {
    NVO_MAX_FORMULA_DEPTH, &PyExc_RuntimeError,
    "Evaluation of expression exceeded recursion depth limit"};

namespace {

// The kinds left once numbers, modelling objects and arrays are ruled out.
nvo_node text_or_container(PyObject *obj) {
  if (PyUnicode_Check(obj) || PyBytes_Check(obj)) return NVO_NODE_TEXT;
  if (PyTuple_Check(obj)) return NVO_NODE_TUPLE;
  if (PyList_Check(obj)) return NVO_NODE_LIST;
  if (PyDict_Check(obj)) return NVO_NODE_DICT;
  if (PySequence_Check(obj)) return NVO_NODE_SEQUENCE;
  if (PyIter_Check(obj)) return NVO_NODE_ITERATOR;
  if (Py_TYPE(obj)->tp_iter != nullptr) return NVO_NODE_ITERABLE;
  return NVO_NODE_OTHER;
}

}  // namespace

nvo_node nvo_node_of(PyObject *obj) {
  if (var_check(obj) || constraint_check(obj) || sos_check(obj)) return NVO_NODE_ITEM;
  if (nvo_is_array(obj)) return NVO_NODE_ARRAY;
  if (nvo_kind_noraise(obj) >= 0) return NVO_NODE_ITEM;
  return text_or_container(obj);
}

nvo_node nvo_node_of_other(PyObject *obj) {
  if (constraint_check(obj) || sos_check(obj)) return NVO_NODE_ITEM;
  return text_or_container(obj);
}

PyObject *nvo_items_iter(PyObject *container, nvo_node node) {
  if (node != NVO_NODE_ARRAY) return PyObject_GetIter(container);
  PyRef flat(PyObject_GetAttrString(container, "flat"));
  return flat ? PyObject_GetIter(flat.get()) : nullptr;
}

namespace {

int walk_container(PyObject *obj, nvo_node node, const nvo_leaf_visitor &visit, int depth);

// Leaves, the common case, are visited here without a call of their own.
inline int walk_level(PyObject *obj, const nvo_leaf_visitor &visit, int depth) {
  const nvo_node node = nvo_node_of(obj);
  return nvo_walk_opens(node) ? walk_container(obj, node, visit, depth) : visit(obj);
}

int walk_container(PyObject *obj, nvo_node node, const nvo_leaf_visitor &visit, int depth) {
  if (nvo_check_depth(nvo_walk_limit, depth) != 0) return -1;
  return nvo_for_each_item(obj, node, [&visit, depth](PyObject *item) {
    return walk_level(item, visit, depth + 1);
  });
}

}  // namespace

int nvo_walk(PyObject *obj, const nvo_leaf_visitor &visit) { return walk_level(obj, visit, 0); }

int nvo_walk_args(PyObject *args, const nvo_leaf_visitor &visit) {
  for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(args); ++i)
    if (nvo_walk(PyTuple_GET_ITEM(args, i), visit) != 0) return -1;
  return 0;
}

PyObject *nvo_array_first_item(PyObject *array) {
  PyRef it(nvo_items_iter(array, NVO_NODE_ARRAY));
  if (!it) return nullptr;
  PyObject *item = PyIter_Next(it.get());
  if (item == nullptr && !PyErr_Occurred()) PyErr_SetString(nvpy_model_exc, "Empty array");
  return item;
}
