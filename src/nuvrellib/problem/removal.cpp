// Deleting variables, constraints and sets, reading them back by position, and getIndex.
#include "problem/removal.h"

#include <algorithm>
#include <vector>

#include "model/constraint.h"
#include "model/sos.h"
#include "model/var.h"
#include "model/walk.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/pyref.h"
#include "module/scalars.h"
#include "problem/problem.h"

namespace {

enum ObjectKind { KIND_CONSTRAINT = 0, KIND_VARIABLE = 1, KIND_SET = 2 };


PyObject *list_of(problem_s *p, ObjectKind kind) {
  return kind == KIND_CONSTRAINT ? p->cons : kind == KIND_VARIABLE ? p->vars : p->sets;
}

rowcolmap *map_of(problem_s *p, ObjectKind kind) {
  return kind == KIND_CONSTRAINT ? p->conmap : kind == KIND_VARIABLE ? p->varmap : p->sosmap;
}

// The identifier of obj when it is an object of the given kind.
bool object_id(PyObject *obj, ObjectKind kind, uint64_t *id) {
  if (kind == KIND_VARIABLE && var_check(obj)) {
    *id = var_id(obj);
    return true;
  }
  if (kind == KIND_CONSTRAINT && constraint_check(obj)) {
    *id = con_id(obj);
    return true;
  }
  if (kind == KIND_SET && sos_check(obj)) {
    *id = static_cast<uint64_t>(sos_id(obj));
    return true;
  }
  return false;
}

// The type an item must have exactly to be taken as an object of the problem, and the texts
// for such an object outside the problem and for an item of no usable kind.
struct KindTexts {
  PyTypeObject *type;
  const char *missing, *invalid;
};

KindTexts texts_of(ObjectKind kind) {
  switch (kind) {
    case KIND_CONSTRAINT:
      return {&constraint_type, "Constraint %S not in problem", "Invalid constraint object %S"};
    case KIND_VARIABLE:
      return {&var_type, "Variable %S not in problem", "Invalid variable object %S"};
    default:
      return {&sos_type, "SOS %S not in problem", "Invalid SOS object %S"};
  }
}

// One item given as an integer, a name or an object of the problem, as a 32-bit index.
// Integers are taken as they are (truncated to 32 bits); names are looked up among the rows
// for constraints and among the columns otherwise, sets included. 0, or -1 with an exception.
int item_index(problem_s *p, PyObject *item, ObjectKind kind, int *index) {
  if (nvo_is_int_or_long(item)) {
    long long value;
    if (nvo_integer_value(item, &value) != 0) return -1;
    *index = static_cast<int>(value);
    return 0;
  }
  if (PyUnicode_Check(item) || PyBytes_Check(item)) {
    const char *name = PyBytes_Check(item) ? PyBytes_AS_STRING(item) : PyUnicode_AsUTF8(item);
    if (name == nullptr) return -1;
    if (NVRLgetindex(p->prob, kind == KIND_CONSTRAINT ? 1 : 2, name, index) != 0) {
      return nvo_library_error(reinterpret_cast<PyObject *>(p));
    }
    return 0;
  }
  const KindTexts texts = texts_of(kind);
  uint64_t id;
  if (Py_TYPE(item) == texts.type && object_id(item, kind, &id)) {
    int64_t position;
    if (rowcolmap_get(map_of(p, kind), id, &position) != 0) {
      PyErr_Format(nvpy_model_exc, texts.missing, item);
      return -1;
    }
    *index = static_cast<int>(position);
    return 0;
  }
  PyErr_Format(nvpy_model_exc, texts.invalid, item);
  return -1;
}

// Position of one item in the problem's list; -1 with an exception set when there is none.
int64_t single_index(problem_s *p, PyObject *item, ObjectKind kind) {
  int index;
  if (item_index(p, item, kind, &index) != 0) return -1;
  if (index < 0 || index >= PyList_GET_SIZE(list_of(p, kind))) {
    nvo_model_error("Index out of bounds");
    return -1;
  }
  return index;
}

// Reads index/first/last. *single is set when index is one item (not a list).
// 0, or -1 with an exception set.
int parse_selection(problem_s *p, ObjectKind kind, PyObject *args, PyObject *kwargs,
                    const char *method, const char *range_msg, std::vector<int64_t> *indices,
                    bool *single) {
  static const char *kwlist[] = {"index", "first", "last", nullptr};
  PyObject *index = Py_None, *first_obj = Py_None, *last_obj = Py_None;
  if (!PyArg_ParseTupleAndKeywords(args, kwargs, method_format("|OOO", method),
                                   const_cast<char **>(kwlist), &index, &first_obj, &last_obj))
    return -1;
  const bool has_index = index != Py_None;
  const bool has_first = first_obj != Py_None, has_last = last_obj != Py_None;
  if (!has_index && !has_first && !has_last)
    return nvo_model_error("At least one parameter must be specified");
  if (has_index && (has_first || has_last))
    return nvo_model_error(
        "Parameters 'first' and 'last' cannot be specified if 'index' is also specified");
  const int64_t size = PyList_GET_SIZE(list_of(p, kind));
  *single = false;
  if (!has_index) {
    long long first = 0, last = size - 1;
    if (has_first && nvo_integer_value(first_obj, &first) != 0) return -1;
    if (has_last && nvo_integer_value(last_obj, &last) != 0) return -1;
    // Only given values can be negative; an omitted last on an empty list is out of range.
    if ((has_first && first < 0) || (has_last && last < 0))
      return nvo_model_error(
          "Parameters 'first' and 'last' must be both nonnegative when specified");
    if (first >= size || last >= size) return nvo_model_error(range_msg);
    if (first > last)
      return nvo_model_error("Parameter 'first' must be less than, or equal to, 'last'");
    for (long long i = first; i <= last; ++i) indices->push_back(i);
    return 0;
  }
  // A numpy array (a row of a variable array, say) is taken as the list of its elements.
  const nvo_node node = nvo_node_of(index);
  if (node == NVO_NODE_LIST || node == NVO_NODE_TUPLE || node == NVO_NODE_ARRAY) {
    return nvo_for_each_item(index, node, [&](PyObject *item) {
      int64_t k = single_index(p, item, kind);
      if (k < 0) return -1;
      indices->push_back(k);
      return 0;
    });
  }
  int64_t k = single_index(p, index, kind);
  if (k < 0) return -1;
  indices->push_back(k);
  *single = true;
  return 0;
}

// Removes the sorted, distinct positions from list in one pass.
int compact_list(PyObject *list, const std::vector<int64_t> &doomed) {
  if (doomed.size() == 1) return PySequence_DelItem(list, doomed[0]);
  Py_ssize_t size = PyList_GET_SIZE(list), kept = 0;
  size_t next = 0;
  for (Py_ssize_t i = 0; i < size; ++i) {
    if (next < doomed.size() && doomed[next] == i) {
      ++next;
      continue;
    }
    if (kept != i) {
      // PyList_SetItem takes the new reference and releases what was there.
      PyList_SetItem(list, kept, Py_NewRef(PyList_GET_ITEM(list, i)));
    }
    ++kept;
  }
  return PyList_SetSlice(list, kept, size, nullptr);
}

// Drops the entries of deleted positions and moves every other entry down by the number of
// deleted positions below it.
void renumber_map(rowcolmap *map, const std::vector<int64_t> &doomed) {
  map->update_indices([&](int64_t &index) {
    auto below = std::lower_bound(doomed.begin(), doomed.end(), index);
    if (below != doomed.end() && *below == index) return false;
    index -= below - doomed.begin();
    return true;
  });
}

}  // namespace

int problem_forget_positions(problem_s *p, int kind, const std::vector<int64_t> &doomed) {
  const ObjectKind k = static_cast<ObjectKind>(kind);
  if (doomed.empty()) return 0;
  // The map is made ready for renumbering first: it is the step that may need memory.
  if (rowcolmap_spill(map_of(p, k)) != 0 || compact_list(list_of(p, k), doomed) != 0) return -1;
  renumber_map(map_of(p, k), doomed);
  return 0;
}

namespace {

PyObject *delete_objects(PyObject *self, PyObject *args, PyObject *kwargs, const char *method,
                         ObjectKind kind) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  std::vector<int64_t> found;
  bool single;
  if (parse_selection(p, kind, args, kwargs, method,
                      "Parameters 'first' or 'last' are out of range", &found, &single) != 0)
    return nullptr;
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  if (found.empty()) Py_RETURN_NONE;
  AllocBuffer<int> ind;
  if (ind.allocate(found.size()) != 0) return nullptr;
  std::copy(found.begin(), found.end(), ind.begin());
  const int n = static_cast<int>(ind.size());
  int rc = kind == KIND_CONSTRAINT ? NVRLdelrows(p->prob, n, ind.data())
           : kind == KIND_VARIABLE ? NVRLdelcols(p->prob, n, ind.data())
                                   : NVRLdelsets(p->prob, n, ind.data());
  if (rc != 0) return setNvrlErrIfNull(self, nullptr);
  if (problem_forget_positions(p, kind, found) != 0) return nullptr;
  Py_RETURN_NONE;
}

PyObject *get_objects(PyObject *self, PyObject *args, PyObject *kwargs, const char *method,
                      ObjectKind kind) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  std::vector<int64_t> found;
  bool single;
  if (parse_selection(p, kind, args, kwargs, method,
                      "Parameters 'first' and 'last' are out of range", &found, &single) != 0)
    return nullptr;
  PyObject *list = list_of(p, kind);
  if (single) return Py_NewRef(PyList_GET_ITEM(list, found[0]));
  PyRef result(PyList_New(static_cast<Py_ssize_t>(found.size())));
  if (!result) return nullptr;
  for (size_t i = 0; i < found.size(); ++i)
    PyList_SET_ITEM(result.get(), i, Py_NewRef(PyList_GET_ITEM(list, found[i])));
  return result.release();
}

}  // namespace

#define SELECTION_DOC(verb, what, example)                                                 \
  verb "(index=None, first=None, last=None)\n\n" what                                      \
       " by position: index is one item or a list of items (objects of the problem,\n"     \
       "integer positions or names); first and last give a range of positions.\n\n"       \
       "Example: " example

const char problem_delVariable_doc[] =
    SELECTION_DOC("delVariable", "Deletes variables", "p.delVariable(first=2, last=4)");
const char problem_delConstraint_doc[] =
    SELECTION_DOC("delConstraint", "Deletes constraints", "p.delConstraint(index=[c1, c2])");
const char problem_delSOS_doc[] =
    SELECTION_DOC("delSOS", "Deletes special ordered sets", "p.addSOS(nuvrel.sos([x1, x2], [1, 2])); p.delSOS(index=0)");
const char problem_getVariable_doc[] =
    SELECTION_DOC("getVariable", "Returns variables", "x = p.getVariable(index=0)");
const char problem_getConstraint_doc[] =
    SELECTION_DOC("getConstraint", "Returns constraints", "rows = p.getConstraint(first=0, last=1)");
const char problem_getSOS_doc[] =
    SELECTION_DOC("getSOS", "Returns special ordered sets", "p.addSOS(nuvrel.sos([x1, x2], [1, 2])); s = p.getSOS(index=0)");

PyObject *problem_delVariable(PyObject *self, PyObject *args, PyObject *kwargs) {
  return delete_objects(self, args, kwargs, "delVariable", KIND_VARIABLE);
}
PyObject *problem_delConstraint(PyObject *self, PyObject *args, PyObject *kwargs) {
  return delete_objects(self, args, kwargs, "delConstraint", KIND_CONSTRAINT);
}
PyObject *problem_delSOS(PyObject *self, PyObject *args, PyObject *kwargs) {
  return delete_objects(self, args, kwargs, "delSOS", KIND_SET);
}
PyObject *problem_getVariable(PyObject *self, PyObject *args, PyObject *kwargs) {
  return get_objects(self, args, kwargs, "getVariable", KIND_VARIABLE);
}
PyObject *problem_getConstraint(PyObject *self, PyObject *args, PyObject *kwargs) {
  return get_objects(self, args, kwargs, "getConstraint", KIND_CONSTRAINT);
}
PyObject *problem_getSOS(PyObject *self, PyObject *args, PyObject *kwargs) {
  return get_objects(self, args, kwargs, "getSOS", KIND_SET);
}

const char problem_getIndex_doc[] =
    "getIndex(obj)\n\nThe position of a variable (column), constraint (row) or set in the\n"
    "problem.\n\nExample: col = p.getIndex(x)";

PyObject *problem_getIndex(PyObject *self, PyObject *obj) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  for (ObjectKind kind : {KIND_VARIABLE, KIND_CONSTRAINT, KIND_SET}) {
    uint64_t id;
    int64_t index;
    if (object_id(obj, kind, &id)) {
      if (rowcolmap_get(map_of(p, kind), id, &index) == 0) return PyLong_FromLongLong(index);
      break;
    }
  }
  return nvo_model_error("Incorrect object(s) passed: need variable, constraint, or SOS");
}
