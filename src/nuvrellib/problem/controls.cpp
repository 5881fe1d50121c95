// Controls and attributes of a problem by name: single typed reads and writes, the module
// defaults applied to a problem, and the methods getControl, setControl and getAttrib.
#include "problem/controls.h"

#include <cstring>
#include <string>

#include "module/env.h"
#include "module/errors.h"
#include "module/numpy_api.h"
#include "module/pyref.h"
#include "module/scalars.h"
#include "module/casing.h"
#include "problem/ctrl.h"
#include "problem/method_families.h"

namespace {

// Reported as -1 by getControl()/getAttrib() without being read: the random seed and the
// nonlinear solver's constant column.
constexpr int kUnreadIds[] = {NVRL_CTRL_RANDOM_SEED, NSLP_ATTR_CONSTANT_COLUMN};

PyObject *nonlinear_missing() {
  PyErr_SetString(nvpy_interf_exc, "The nonlinear solver is not available for this problem");
  return nullptr;
}

bool is_unread(int id) {
  for (int unread : kUnreadIds)
    if (id == unread) return true;
  return false;
}

// Parses a name-table entry (id, type, kind). 0, or -1 with an exception set.
int parse_entry(PyObject *entry, int *id, int *type, int *kind) {
  if (!PyTuple_Check(entry) || !PyArg_ParseTuple(entry, "iii", id, type, kind)) {
    PyErr_Clear();
    PyErr_SetString(nvpy_interf_exc, "Incorrect control name in initialization");
    return -1;
  }
  return 0;
}

// The entry for name in table (borrowed) or null; the caller holds the name-table mutex.
// On null an exception is set: the case rule's, or InterfaceError unknown_msg.
PyObject *lookup(PyObject *table, PyObject *name, const char *unknown_msg) {
  if (table == nullptr) {
    PyErr_SetString(nvpy_interf_exc, unknown_msg);
    return nullptr;
  }
  PyObject *entry = PyDict_GetItem_LowerCaseKey(table, name);
  if (entry == nullptr && !PyErr_Occurred()) PyErr_SetString(nvpy_interf_exc, unknown_msg);
  return entry;
}

PyObject *value_of_entry(problem_s *p, PyObject *entry, int is_control) {
  int id, type, kind;
  if (parse_entry(entry, &id, &type, &kind) != 0) return nullptr;
  return problem_getInfo_single(p, id, type, is_control, kind);
}

// getControl()/getAttrib(): every name of the table with its current value.
PyObject *all_values(problem_s *p, PyObject *table, int is_control) {
  PyRef result(PyDict_New());
  if (!result) return nullptr;
  PyObject *name, *entry;
  Py_ssize_t pos = 0;
  while (PyDict_Next(table, &pos, &name, &entry)) {
    int id, type, kind;
    if (parse_entry(entry, &id, &type, &kind) != 0) return nullptr;
    PyRef value(is_unread(id) ? PyLong_FromLong(-1)
                              : problem_getInfo_single(p, id, type, is_control, kind));
    if (!value || PyDict_SetItem(result.get(), name, value.get()) != 0) return nullptr;
  }
  return result.release();
}

PyObject *problem_getInfo(problem_s *p, PyObject *args, int is_control) {
  const char *unknown = is_control ? "Requested value of an unknown control"
                                   : "Requested value of an unknown attribute";
  Py_ssize_t nargs = PyTuple_GET_SIZE(args);
  if (nargs == 0) {
    // A copy of the table, so that the values are read with no lock held and whatever a
    // finaliser does to the table meanwhile cannot pull entries from under the loop.
    PyRef table;
    {
      EnvLock lock(nvr_py_env.mtx_names);
      PyObject *shared = is_control ? nvr_py_env.ctrl_table : nvr_py_env.attr_table;
      table.reset(shared != nullptr ? PyDict_Copy(shared) : PyDict_New());
    }
    return table ? all_values(p, table.get(), is_control) : nullptr;
  }
  EnvLock lock(nvr_py_env.mtx_names);
  PyObject *table = is_control ? nvr_py_env.ctrl_table : nvr_py_env.attr_table;

  PyObject *names = args;
  if (nargs == 1) {
    PyObject *arg = PyTuple_GET_ITEM(args, 0);
    if (PyUnicode_Check(arg)) {
      PyObject *entry = lookup(table, arg, unknown);
      return entry != nullptr ? value_of_entry(p, entry, is_control) : nullptr;
    }
    if (!PyList_Check(arg) && !PyTuple_Check(arg)) {
      PyErr_SetString(nvpy_interf_exc, is_control
                                           ? "getControl requires a name or a list of names"
                                           : "getAttrib requires a name or a list of names");
      return nullptr;
    }
    names = arg;
  }
  PyRef result(PyDict_New());
  if (!result) return nullptr;
  for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(names); ++i) {
    PyObject *name = PySequence_Fast_GET_ITEM(names, i);
    if (!PyUnicode_Check(name)) {
      PyErr_SetString(nvpy_model_exc, is_control ? "Bad control request" : "Bad attribute request");
      return nullptr;
    }
    PyObject *entry = lookup(table, name, unknown);
    if (entry == nullptr) return nullptr;
    PyRef value(value_of_entry(p, entry, is_control));
    if (!value || PyDict_SetItem(result.get(), name, value.get()) != 0) return nullptr;
  }
  return result.release();
}

PyDoc_STRVAR(problem_getControl_doc,
             "getControl(*names)\n\n"
             "Values of controls: with no argument a dictionary of all controls, with one name\n"
             "its value, with a list or tuple of names a dictionary of those.\n\n"
             "Example: p.getControl('time_limit'); p.getControl(['miptol', 'threads'])");

PyObject *problem_getControl(PyObject *self, PyObject *args) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  return setNvrlErrIfNull(self, problem_getInfo(p, args, 1));
}

PyDoc_STRVAR(problem_getAttrib_doc,
             "getAttrib(*names)\n\n"
             "Values of attributes: with no argument a dictionary of all attributes, with one\n"
             "name its value, with a list or tuple of names a dictionary of those.\n\n"
             "Example: p.getAttrib('columns')");

PyObject *problem_getAttrib(PyObject *self, PyObject *args) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  return setNvrlErrIfNull(self, problem_getInfo(p, args, 0));
}

PyDoc_STRVAR(problem_setControl_doc,
             "setControl(name, value) or setControl({name: value, ...})\n\n"
             "Sets one control, or every control of a dictionary.\n\n"
             "Example: p.setControl('time_limit', 10); p.setControl({'miptol': 1e-6})");

PyObject *problem_setControl(PyObject *self, PyObject *args) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  Py_ssize_t nargs = PyTuple_GET_SIZE(args);
  if (nargs == 0) {
    return nvo_model_error("setControl requires at least one argument of type dictionary or two "
                           "elements: parameter, value");
  }
  if (nargs > 2) {
    return nvo_model_error("setControl: arguments mismatch");
  }
  if (nargs == 2) {
    if (problem_setControl_byname(p, PyTuple_GET_ITEM(args, 0), PyTuple_GET_ITEM(args, 1)) != 0)
      return setNvrlErrIfNull(self, nullptr);
    Py_RETURN_NONE;
  }
  PyObject *dict = PyTuple_GET_ITEM(args, 0);
  if (!PyDict_Check(dict)) {
    return nvo_model_error("Single argument to setControl must be a dictionary");
  }
  PyObject *name, *value;
  Py_ssize_t pos = 0;
  while (PyDict_Next(dict, &pos, &name, &value))
    if (problem_setControl_byname(p, name, value) != 0) return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

}  // namespace

PyObject *problem_getInfo_single(problem_s *p, int id, int type, int is_control, int kind) {
  if (p->prob == nullptr) {
    PyErr_SetString(nvpy_interf_exc, "The problem has not been initialized");
    return nullptr;
  }
  int rc = 0;
  if (kind == NVO_KIND_OPTIMISER) {
    switch (type) {
      case NVO_TYPE_INT: {
        NVRLint64 v = 0;
        rc = is_control ? NVRLgetintcontrol64(p->prob, id, &v)
                        : NVRLgetintattrib64(p->prob, id, &v);
        return rc == 0 ? PyLong_FromLongLong(v) : nullptr;
      }
      case NVO_TYPE_DOUBLE: {
        double v = 0;
        rc = is_control ? NVRLgetdblcontrol(p->prob, id, &v) : NVRLgetdblattrib(p->prob, id, &v);
        return rc == 0 ? PyFloat_FromDouble(v) : nullptr;
      }
      default: {
        char v[NVRL_MAXNAMELEN + 1];
        std::memset(v, 0, sizeof v);
        rc = is_control ? NVRLgetstrcontrol(p->prob, id, v) : NVRLgetstrattrib(p->prob, id, v);
        return rc == 0 ? PyUnicode_FromString(v) : nullptr;
      }
    }
  }
  if (p->slpprob == nullptr) return nonlinear_missing();
  switch (type) {
    case NVO_TYPE_INT: {
      int v = 0;
      rc = is_control ? NSLPgetintcontrol(p->slpprob, id, &v)
                      : NSLPgetintattrib(p->slpprob, id, &v);
      return rc == 0 ? PyLong_FromLong(v) : nullptr;
    }
    case NVO_TYPE_DOUBLE: {
      double v = 0;
      rc = is_control ? NSLPgetdblcontrol(p->slpprob, id, &v)
                      : NSLPgetdblattrib(p->slpprob, id, &v);
      return rc == 0 ? PyFloat_FromDouble(v) : nullptr;
    }
    default: {
      char v[NVRL_MAXNAMELEN + 1];
      std::memset(v, 0, sizeof v);
      rc = is_control ? NSLPgetstrcontrol(p->slpprob, id, v)
                      : NSLPgetstrattrib(p->slpprob, id, v);
      return rc == 0 ? PyUnicode_FromString(v) : nullptr;
    }
  }
}

int problem_setControl_single(problem_s *p, int id, int type, int kind, PyObject *value) {
  if (check_setCtrl(type, value) != 0) return -1;
  if (p->prob == nullptr) {
    PyErr_SetString(nvpy_interf_exc, "The problem has not been initialized");
    return -1;
  }
  if (kind != NVO_KIND_OPTIMISER && p->slpprob == nullptr) {
    nonlinear_missing();
    return -1;
  }
  int rc;
  if (type == NVO_TYPE_INT) {
    long long v;
    if (nvo_integer_value(value, &v) != 0) return -1;
    if (kind == NVO_KIND_OPTIMISER) {
      rc = NVRLsetintcontrol64(p->prob, id, v);
    } else {
      if (!nvo_fits_int(v)) {
        return nvo_model_error("Control value is out of the range of integers");
      }
      rc = NSLPsetintcontrol(p->slpprob, id, static_cast<int>(v));
    }
  } else if (type == NVO_TYPE_DOUBLE) {
    double v = PyFloat_AsDouble(value);
    if (v == -1.0 && PyErr_Occurred()) return -1;
    rc = kind == NVO_KIND_OPTIMISER ? NVRLsetdblcontrol(p->prob, id, v)
                                    : NSLPsetdblcontrol(p->slpprob, id, v);
  } else {
    const char *v = PyUnicode_AsUTF8(value);
    if (v == nullptr) return -1;
    rc = kind == NVO_KIND_OPTIMISER ? NVRLsetstrcontrol(p->prob, id, v)
                                    : NSLPsetstrcontrol(p->slpprob, id, v);
  }
  if (rc != 0) {
    return nvo_library_error(reinterpret_cast<PyObject *>(p));
  }
  return 0;
}

int problem_apply_defaults(problem_s *p) {
  // Setting a control can run Python code (a value's __index__, a finaliser), which may
  // change the defaults: work on a copy, with no lock held while setting.
  PyRef defaults;
  {
    EnvLock lock(nvr_py_env.mtx_defaults);
    if (nvr_py_env.default_controls == nullptr) return 0;
    defaults.reset(PyDict_Copy(nvr_py_env.default_controls));
  }
  if (!defaults) return -1;
  PyObject *name, *value;
  Py_ssize_t pos = 0;
  while (PyDict_Next(defaults.get(), &pos, &name, &value)) {
    PyRef entry;
    {
      EnvLock lock(nvr_py_env.mtx_names);
      if (nvr_py_env.ctrl_table != nullptr)
        entry = PyRef<>::borrow(PyDict_GetItem_LowerCaseKey(nvr_py_env.ctrl_table, name));
    }
    if (!entry && PyErr_Occurred()) return -1;
    int id, type, kind;
    if (!entry || parse_entry(entry.get(), &id, &type, &kind) != 0) {
      PyErr_Clear();
      PyErr_SetString(nvpy_interf_exc, "Incorrect control name in initialization");
      return -1;
    }
    if (problem_setControl_single(p, id, type, kind, value) != 0) return -1;
  }
  return 0;
}

PyObject *problem_getInfo_byname(problem_s *p, PyObject *name, int is_control) {
  PyRef entry;
  {
    EnvLock lock(nvr_py_env.mtx_names);
    entry = PyRef<>::borrow(
        lookup(is_control ? nvr_py_env.ctrl_table : nvr_py_env.attr_table, name,
               is_control ? "Incorrect control name" : "Incorrect attribute name"));
  }
  if (!entry) return nullptr;
  return setNvrlErrIfNull(reinterpret_cast<PyObject *>(p),
                          value_of_entry(p, entry.get(), is_control));
}

int problem_setControl_byname(problem_s *p, PyObject *name, PyObject *value) {
  if (!PyUnicode_Check(name)) {
    return nvo_model_error("Bad control request");
  }
  PyRef entry;
  {
    EnvLock lock(nvr_py_env.mtx_names);
    entry = PyRef<>::borrow(lookup(nvr_py_env.ctrl_table, name, "Incorrect control name"));
  }
  if (!entry) return -1;
  int id, type, kind;
  if (!PyArg_ParseTuple(entry.get(), "iii", &id, &type, &kind)) return -1;
  return problem_setControl_single(p, id, type, kind, value);
}

PyMethodDef problem_methods_controls[] = {
    {"getControl", problem_getControl, METH_VARARGS, problem_getControl_doc},
    {"setControl", problem_setControl, METH_VARARGS, problem_setControl_doc},
    {"getAttrib", problem_getAttrib, METH_VARARGS, problem_getAttrib_doc},
    {nullptr, nullptr, 0, nullptr},
};
