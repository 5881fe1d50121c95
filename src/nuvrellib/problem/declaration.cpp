// Processing the positional elements of the problem constructor: each element is walked and
// handled by the kind of its leaves.
#include "problem/declaration.h"

#include "model/constraint.h"
#include "model/dispatch.h"
#include "model/sos.h"
#include "model/var.h"
#include "model/walk.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/numpy_api.h"
#include "module/pyref.h"
#include "problem/objects.h"
#include "problem/solve.h"

namespace {

enum LeafKind {
  LEAF_OTHER = -1,
  LEAF_VAR = 0,
  LEAF_CONSTRAINT = 1,
  LEAF_SOS = 2,
  LEAF_EXPRESSION = 3,
  LEAF_STRING = 4,
};

LeafKind classify(PyObject *leaf) {
  if (var_check(leaf)) return LEAF_VAR;
  if (constraint_check(leaf)) return LEAF_CONSTRAINT;
  if (sos_check(leaf)) return LEAF_SOS;
  if (PyUnicode_Check(leaf) || PyBytes_Check(leaf)) return LEAF_STRING;
  int kind = nvo_kind_noraise(leaf);
  if (kind >= NVO_KIND_LINTERM) return LEAF_EXPRESSION;
  return LEAF_OTHER;
}

// The kind shared by every leaf of element (LEAF_OTHER when they differ), and the last leaf.
// -1 with an exception when the walk fails; 1 when there were no leaves.
int classify_element(PyObject *element, LeafKind *kind, PyRef<> *last_leaf) {
  bool first = true;
  *kind = LEAF_OTHER;
  int rc = nvo_walk(element, [&](PyObject *leaf) {
    LeafKind k = classify(leaf);
    if (first) {
      *kind = k;
      first = false;
    } else if (k != *kind) {
      *kind = LEAF_OTHER;
    }
    *last_leaf = PyRef<>::borrow(leaf);
    return 0;
  });
  if (rc != 0) return nvo_model_error("Error declaring problem");
  return first ? 1 : 0;
}

bool is_objective_object(PyObject *obj) {
  int kind = nvo_kind_noraise(obj);
  return kind >= NVO_KIND_VAR && kind <= NVO_KIND_NONLIN && !constraint_check(obj);
}

int set_objective_element(problem_s *p, PyObject *element, bool *have_objective, int sense) {
  PyRef<> obj = PyRef<>::borrow(element);
  if (nvo_is_array(element)) {
    if (PyArray_SIZE(reinterpret_cast<PyArrayObject *>(element)) > 1) {
      return nvo_model_error("Only one objective can be set, but a sequence or NumPy array of "
                             "expressions was passed");
    }
    obj = PyRef(nvo_array_first_item(element));
    if (!obj) return -1;
  }
  if (!is_objective_object(obj.get())) {
    return nvo_model_error("Incorrect way of defining an objective function (it should not be in "
                           "an aggregate structure)");
  }
  if (*have_objective) {
    return nvo_model_error("At most one expression can be used as an objective function");
  }
  *have_objective = true;
  return problem_setObjective_obj(p, obj.get(), sense);
}

// Calls an add method with the element as its one argument; a generator has been consumed
// by the classifying walk, so the last leaf seen goes first.
int add_element(PyObject *self, PyObject *element, PyObject *last_leaf,
                PyObject *(*method)(PyObject *, PyObject *, PyObject *)) {
  PyRef args(PyGen_Check(element) ? PyTuple_Pack(2, last_leaf, element)
                                  : PyTuple_Pack(1, element));
  if (!args) return -1;
  PyRef result(method(self, args.get(), nullptr));
  return result ? 0 : -1;
}

}  // namespace

int problem_add_elements(problem_s *p, PyObject *elements, int sense) {
  PyObject *self = reinterpret_cast<PyObject *>(p);
  bool have_name = false, have_objective = false;
  for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(elements); ++i) {
    PyObject *element = PyTuple_GET_ITEM(elements, i);
    if (PyUnicode_Check(element) || PyBytes_Check(element)) {
      if (have_name) {
        return nvo_model_error("More than one string passed in problem declaration");
      }
      have_name = true;
      const char *name =
          PyBytes_Check(element) ? PyBytes_AS_STRING(element) : PyUnicode_AsUTF8(element);
      if (name == nullptr) return -1;
      if (NVRLsetprobname(p->prob, name) != 0) {
        return nvo_library_error(self);
      }
      continue;
    }
    LeafKind kind;
    PyRef last_leaf;
    int rc = classify_element(element, &kind, &last_leaf);
    if (rc < 0) return -1;
    if (rc > 0) continue;  // an empty structure adds nothing
    int64_t column;
    if (kind == LEAF_VAR && var_check(element) &&
        rowcolmap_get(p->varmap, var_id(element), &column) == 0)
      kind = LEAF_EXPRESSION;  // a variable given again is the objective
    switch (kind) {
      case LEAF_VAR:
        rc = add_element(self, element, last_leaf.get(), problem_addVariable);
        break;
      case LEAF_CONSTRAINT:
        rc = add_element(self, element, last_leaf.get(), problem_addConstraint);
        break;
      case LEAF_SOS:
        rc = add_element(self, element, last_leaf.get(), problem_addSOS);
        break;
      case LEAF_EXPRESSION:
        rc = set_objective_element(p, element, &have_objective, sense);
        break;
      default:
        PyErr_SetString(nvpy_model_exc,
                        "Erroneous problem declaration; argument contained object that was "
                        "not a variable, constraint, or expression");
        rc = -1;
    }
    if (rc != 0) return -1;
  }
  return 0;
}
