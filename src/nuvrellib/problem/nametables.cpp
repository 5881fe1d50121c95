// Filling of the control and attribute name tables from the library's own lists. The module
// holds no list of names: whatever the library reports is what Python users can name.
#include "problem/nametables.h"

#include <cstring>
#include <string>

#include "module/env.h"
#include "module/pyref.h"
#include "nvrl.h"
#include "problem/ctrl.h"

namespace {

constexpr size_t kMaxListedName = 128;

enum ParKind { KIND_OPTIMISER = 0, KIND_NONLINEAR = 1, KIND_NONLINEAR_IPM = 2 };
enum ParType { TYPE_SKIP = 0, TYPE_INT = 1, TYPE_DOUBLE = 2, TYPE_STRING = 3 };

// The temporary problems that the current values are read from, released on every exit.
struct TemporaryProblems {
  NVRLprob prob = nullptr;
  NSLPprob slp = nullptr;
  ~TemporaryProblems() {
    if (slp != nullptr) NSLPdestroyprob(slp);
    if (prob != nullptr) NVRLdestroyprob(prob);
  }
};

// Control or attribute and type of one list entry; TYPE_SKIP for entries that are neither.
ParType getParType(const NVRLcaentry &entry, int kind, NSLPprob slp, bool *is_control,
                   int *id) {
  *id = entry.id;
  if (kind == KIND_OPTIMISER) {
    *is_control = (entry.flags & NVRL_CAFLAG_CONTROL) != 0;
    if (entry.flags & NVRL_CAFLAG_INT) return TYPE_INT;
    if (entry.flags & NVRL_CAFLAG_DOUBLE) return TYPE_DOUBLE;
    return TYPE_STRING;
  }
  int flags = 0;
  if (NSLPcontrolcode(slp, entry.name, id, &flags) != 0) return TYPE_SKIP;
  *is_control = (flags & NSLP_CCFLAG_CONTROL) != 0;
  if (flags & NSLP_CCFLAG_SKIP) return TYPE_SKIP;
  if (flags & NSLP_CCFLAG_INT) return TYPE_INT;
  if (flags & NSLP_CCFLAG_DOUBLE) return TYPE_DOUBLE;
  if (flags & NSLP_CCFLAG_STRING) return TYPE_STRING;
  return TYPE_SKIP;
}

// The control's current value in the temporary problems; null (no exception) on failure.
PyObject *read_control(const TemporaryProblems &tmp, int kind, ParType type, int entry_type,
                       int id) {
  bool optimiser = kind == KIND_OPTIMISER;
  switch (type) {
    case TYPE_INT: {
      if (optimiser && entry_type == NVRL_TYPE_INT64) {
        NVRLint64 v = 0;
        return NVRLgetintcontrol64(tmp.prob, id, &v) == 0 ? PyLong_FromLongLong(v) : nullptr;
      }
      int v = 0;
      int rc = optimiser ? NVRLgetintcontrol(tmp.prob, id, &v) : NSLPgetintcontrol(tmp.slp, id, &v);
      return rc == 0 ? PyLong_FromLong(v) : nullptr;
    }
    case TYPE_DOUBLE: {
      double v = 0;
      int rc = optimiser ? NVRLgetdblcontrol(tmp.prob, id, &v) : NSLPgetdblcontrol(tmp.slp, id, &v);
      return rc == 0 ? PyFloat_FromDouble(v) : nullptr;
    }
    case TYPE_STRING: {
      char v[NVRL_MAXNAMELEN + 1];
      std::memset(v, 0, sizeof v);
      int rc = optimiser ? NVRLgetstrcontrol(tmp.prob, id, v) : NSLPgetstrcontrol(tmp.slp, id, v);
      return rc == 0 ? PyUnicode_FromString(v) : nullptr;
    }
    default:
      return nullptr;
  }
}

int store_entry(PyObject *table, const std::string &name, int id, ParType type, int kind) {
  PyRef info(Py_BuildValue("(iii)", id, static_cast<int>(type), kind));
  if (!info) return -1;
  return PyDict_SetItemString(table, name.c_str(), info.get());
}

// Adds the entries of one list. 0 or -1 with an exception set.
int add_list(const NVRLcaentry *list, int kind, const TemporaryProblems &tmp,
             PyObject *defaults) {
  for (const NVRLcaentry *entry = list; entry->type != -1; ++entry) {
    if (entry->type == NVRL_TYPE_NOTDEFINED || entry->name == nullptr) continue;
    bool is_control = false;
    int id = 0;
    ParType type = getParType(*entry, kind, tmp.slp, &is_control, &id);
    if (type == TYPE_SKIP) continue;

    std::string name(entry->name, strnlen(entry->name, kMaxListedName));
    for (char &c : name)
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');

    if (!is_control) {
      if (store_entry(nvr_py_env.attr_table, name, id, type, kind) != 0) return -1;
      continue;
    }
    PyRef value(read_control(tmp, kind, type, entry->type, id));
    if (!value) {
      if (!PyErr_Occurred())
        PyErr_SetString(PyExc_RuntimeError, "Erroneous control value/type in initialization");
      return -1;
    }
    if (store_entry(nvr_py_env.ctrl_table, name, id, type, kind) != 0 ||
        PyDict_SetItemString(defaults, name.c_str(), value.get()) != 0)
      return -1;
  }
  return 0;
}

// Reads every list into the tables; the caller holds the name-table mutex.
int fill_from_library(bool nonlinear) {
  TemporaryProblems tmp;
  if (NVRLcreateprob(&tmp.prob) != 0 || (nonlinear && NSLPcreateprob(&tmp.slp, &tmp.prob) != 0)) {
    PyErr_SetString(PyExc_RuntimeError, "Could not create temporary problem");
    return -1;
  }
  const NVRLcaentry *lists[3] = {nullptr, nullptr, nullptr};
  bool ok = NVRLgetcalist_c(tmp.prob, &lists[KIND_OPTIMISER]) == 0;
  if (ok && nonlinear)
    ok = NSLPgetcalist(tmp.slp, &lists[KIND_NONLINEAR]) == 0 &&
         NSLPgetIPMcalist(tmp.slp, &lists[KIND_NONLINEAR_IPM]) == 0;
  if (!ok) {
    PyErr_SetString(PyExc_RuntimeError, "Could not get control/attribute list from Nuvrel");
    return -1;
  }
  PyObject *defaults = reinterpret_cast<ctrl_s *>(nvr_py_env.controls)->dict;
  for (int kind = KIND_OPTIMISER; kind <= KIND_NONLINEAR_IPM; ++kind)
    if (lists[kind] != nullptr && add_list(lists[kind], kind, tmp, defaults) != 0) return -1;
  return 0;
}

}  // namespace

int ctrl_attr_fill_typeobj(int require) {
  if (NVRLinit(nullptr) != 0) {
    if (!require) return 0;  // import goes on; the first start fills the tables
    PyErr_SetString(PyExc_RuntimeError, "Error initializing optimization environment");
    return -1;
  }
  bool nslp_started = false;
  if (nslp_state(-1) != 0) {
    int rc = NSLPinit(nullptr);
    if (rc == 0) {
      nslp_started = true;
      nslp_state(1);
    } else if (rc == NSLP_NOT_AVAILABLE) {
      nslp_state(0);
    }
  }

  int result;
  {
    EnvLock lock(nvr_py_env.mtx_names);
    result = fill_from_library(nslp_started);
  }

  bool released = (!nslp_started || NSLPfree() == 0);
  released = (NVRLfree() == 0) && released;
  if (!released && result == 0) {
    PyErr_SetString(PyExc_RuntimeError, "Error initializing optimization environment");
    result = -1;
  }
  return result;
}
