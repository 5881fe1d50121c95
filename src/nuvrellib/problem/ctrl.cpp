// The ctrl type. Attribute access on the module-level object reads the module defaults first
// and then the library defaults kept in its own dictionary; setting stores a module default.
#include "problem/ctrl.h"

#include "module/errors.h"

#include "module/env.h"
#include "module/pyref.h"
#include "module/casing.h"
#include "module/scalars.h"
#include "problem/controls.h"
#include "problem/problem.h"

PyDoc_STRVAR(ctrl_doc,
             "Controls of a problem, or (nuvrel.controls) the default controls of new problems.\n"
             "Read and set them as attributes: nuvrel.controls.miptol = 1e-6.");

PyObject *ctrl_create(PyObject *problem) {
  auto c = PyRef<ctrl_s>::steal(PyType_GenericAlloc(&ctrl_type, 0));
  if (!c) return nullptr;
  c->problem = problem;
  if (problem == nullptr) {
    c->dict = PyDict_New();
  } else {
    c->dict = Py_XNewRef(nvr_py_env.ctrl_table);
  }
  if (c->dict == nullptr) return nullptr;
  return c.release_obj();
}

void ctrl_detach(PyObject *ctrl) { reinterpret_cast<ctrl_s *>(ctrl)->detached = 1; }

static bool ctrl_problem_gone(ctrl_s *c) {
  if (!c->detached) return false;
  PyErr_SetString(nvpy_interf_exc, "The problem of these controls no longer exists");
  return true;
}

// The deallocation slot releases the object's own field.
static void ctrl_dealloc(PyObject *self) {
  Py_CLEAR(reinterpret_cast<ctrl_s *>(self)->dict);
  Py_TYPE(self)->tp_free(self);
}

int check_setCtrl(long type, PyObject *value) {
  switch (type) {
    case 1:
      if (nvo_is_integer(value)) return 0;
      return nvo_model_error("Cannot set non-integer value to an integer control");
    case 2:
      if (nvo_is_real_scalar(value)) return 0;
      return nvo_model_error("Cannot set non-numerical value to a floating-point control");
    case 3:
      if (PyUnicode_Check(value)) return 0;
      return nvo_model_error("Cannot set non-string value to a string control");
    default:
      return nvo_model_error("setControl called with unknown ID");
  }
}

// The module-level object: module defaults first, then the library defaults.
static PyObject *module_controls_get(ctrl_s *self, PyObject *name) {
  PyRef value;
  {
    EnvLock lock(nvr_py_env.mtx_defaults);
    value = PyRef<>::borrow(PyDict_GetItem_LowerCaseKey(nvr_py_env.default_controls, name));
  }
  if (!value && !PyErr_Occurred())
    value = PyRef<>::borrow(PyDict_GetItem_LowerCaseKey(self->dict, name));
  if (!value && !PyErr_Occurred()) PyErr_SetString(nvpy_interf_exc, "Incorrect control name");
  return value.release();
}

static PyObject *ctrl_attr_get(PyObject *self, PyObject *name) {
  auto *c = reinterpret_cast<ctrl_s *>(self);
  if (!PyUnicode_Check(name)) {
    return nvo_model_error("Bad control request");
  }
  if (PyUnicode_CompareWithASCIIString(name, "__dict__") == 0) return Py_NewRef(c->dict);
  if (PyUnicode_CompareWithASCIIString(name, "__class__") == 0)
    return Py_NewRef(reinterpret_cast<PyObject *>(Py_TYPE(self)));
  if (c->problem == nullptr) return module_controls_get(c, name);
  if (ctrl_problem_gone(c)) return nullptr;
  problem_s *p = problem_ready_for(c->problem, "controls");
  return p != nullptr ? problem_getInfo_byname(p, name, 1) : nullptr;
}

// Setting a module default: the name must be a control and the value must suit its type.
static int module_controls_set(PyObject *name, PyObject *value) {
  PyRef lower(to_lowercase_all_obj(name));
  if (!lower) return -1;
  PyRef entry;
  {
    EnvLock lock(nvr_py_env.mtx_names);
    entry = PyRef<>::borrow(PyDict_GetItemWithError(nvr_py_env.ctrl_table, lower.get()));
  }
  if (!entry) {
    if (!PyErr_Occurred()) PyErr_SetString(nvpy_interf_exc, "Incorrect control name");
    return -1;
  }
  long long type = -1;
  if (PyTuple_Check(entry.get()) && PyTuple_GET_SIZE(entry.get()) >= 2 &&
      nvo_integer_value(PyTuple_GET_ITEM(entry.get(), 1), &type) != 0)
    return -1;
  if (check_setCtrl(type, value) != 0) return -1;
  EnvLock lock(nvr_py_env.mtx_defaults);
  return PyDict_SetItem(nvr_py_env.default_controls, lower.get(), value);
}

static int ctrl_set(PyObject *self, PyObject *name, PyObject *value) {
  auto *c = reinterpret_cast<ctrl_s *>(self);
  if (!PyUnicode_Check(name)) {
    return nvo_model_error("Bad control request");
  }
  if (value == nullptr) {
    PyErr_SetString(PyExc_AttributeError,
                    "Controls cannot be deleted; use setdefaultcontrol() for module defaults");
    return -1;
  }
  if (c->problem == nullptr) return module_controls_set(name, value);
  if (ctrl_problem_gone(c)) return -1;
  problem_s *p = problem_ready_for(c->problem, "controls");
  return p != nullptr ? problem_setControl_byname(p, name, value) : -1;
}

PyTypeObject ctrl_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.ctrl",
    .tp_basicsize = sizeof(ctrl_s),
    .tp_dealloc = ctrl_dealloc,
    .tp_getattro = ctrl_attr_get,
    .tp_setattro = ctrl_set,
    .tp_flags = Py_TPFLAGS_DEFAULT,
    .tp_doc = ctrl_doc,
    .tp_new = nvo_refuse_new,
};
