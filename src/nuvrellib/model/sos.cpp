// nuvrel.sos: a special ordered set of type 1 or 2. The object keeps the caller's lists as they
// are (mutating them changes the set); problem.addSOS checks the members when the set is added.
#include "model/sos.h"

#include <cstdint>

#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/pyref.h"
#include "module/scalars.h"

namespace {

inline sos_s *as_sos(PyObject *o) { return reinterpret_cast<sos_s *>(o); }

int64_t next_sos_id() {
  return static_cast<int64_t>(env_take_ids(nvr_py_env.mtx_sos, nvr_py_env.next_sos_id, 1));
}

PyObject *default_name(int64_t id) {
  return PyUnicode_FromFormat("sos%lld", static_cast<long long>(id));
}

int type_error() {
  return nvo_model_error("SOS type must be 1 or 2");
}

// Reads a set type from an integer object: 1 or 2, else ModelError. Non-integers (floats,
// strings, None) and integers too large for a long are refused with the same message.
int parse_type(PyObject *obj, int *type) {
  if (!nvo_is_integer(obj)) return type_error();
  long long t;
  int overflow = 0;
  if (nvo_integer_value(obj, &t, &overflow) != 0 || overflow != 0) {
    PyErr_Clear();
    return type_error();
  }
  if (static_cast<unsigned long long>(t) - 1ULL > 1ULL) return type_error();  // no signed overflow
  *type = static_cast<int>(t);
  return 0;
}

// Stores the fields, releasing what the object held before (a repeated __init__).
void sos_store(PyObject *self, int64_t id, PyObject *name, int type, PyObject *indices,
               PyObject *weights) {
  sos_s *s = as_sos(self);
  // Released when the function ends, after the new fields are in place: their finalisers may
  // look at this set.
  PyRef old_name(s->name), old_indices(s->indices), old_weights(s->weights);
  s->id = id;
  s->type = type;
  s->name = Py_XNewRef(name);
  s->indices = Py_XNewRef(indices);
  s->weights = Py_XNewRef(weights);
}

// Checks type and lists as the constructor does; 0 or -1 with ModelError set.
int check_fields(PyObject *indices, PyObject *weights) {
  // The weights are tested first, so a call with both wrong reports the weights.
  if (!PyList_Check(weights)) {
    return nvo_model_error("SOS weights must be passed as a list");
  }
  if (!PyList_Check(indices)) {
    return nvo_model_error("SOS indices must be passed as a list");
  }
  return 0;
}

}  // namespace

// --- construction ---------------------------------------------------------------------------

static PyObject *sos_new(PyTypeObject *type, PyObject *, PyObject *) {
  PyObject *self = type->tp_alloc(type, 0);
  if (self == nullptr) return nullptr;
  sos_s *s = as_sos(self);
  s->id = next_sos_id();
  s->type = 1;
  s->name = s->indices = s->weights = nullptr;
  return self;
}

static int sos_init(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"indices", "weights", "type", "name", nullptr};
  // Every set built from Python takes a second identifier here and keeps it. The fields are
  // committed only at the end, so a failed repeated __init__ leaves the set as it was.
  const int64_t id = next_sos_id();

  PyObject *indices = nullptr, *weights = nullptr, *type_obj = nullptr, *name_obj = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OO|OO:sos", kwlist, nullptr, &indices, &weights,
                                 &type_obj, &name_obj))
    return -1;

  // Any object given is the name, None included; only an absent name gets the default.
  PyRef<> name = name_obj != nullptr ? PyRef<>::borrow(name_obj) : PyRef<>(default_name(id));
  if (!name) return -1;

  int type = 1;
  if (type_obj != nullptr && parse_type(type_obj, &type) < 0) return -1;
  if (check_fields(indices, weights) < 0) return -1;

  sos_store(self, id, name.get(), type, indices, weights);
  return 0;
}

PyObject *sos_create(PyObject *indices, PyObject *weights, int type, PyObject *name) {
  if (static_cast<unsigned>(type) - 1U > 1U) {
    type_error();
    return nullptr;
  }
  if (check_fields(indices, weights) < 0) return nullptr;
  PyRef self(sos_new(&sos_type, nullptr, nullptr));
  if (!self) return nullptr;
  const int64_t id = as_sos(self.get())->id;
  PyRef<> name_ref = name != nullptr ? PyRef<>::borrow(name) : PyRef<>(default_name(id));
  if (!name_ref) return nullptr;
  sos_store(self.get(), id, name_ref.get(), type, indices, weights);
  return self.release();
}

// --- life cycle -----------------------------------------------------------------------------

static int sos_traverse(PyObject *self, visitproc visit, void *arg) {
  sos_s *s = as_sos(self);
  Py_VISIT(s->name);
  Py_VISIT(s->indices);
  Py_VISIT(s->weights);
  return 0;
}

// The collector's clear slot: each field is nulled before its release, since the
// release may come back to this set.
static int sos_clear(PyObject *self) {
  sos_s *s = as_sos(self);
  Py_CLEAR(s->indices);
  Py_CLEAR(s->weights);
  Py_CLEAR(s->name);
  return 0;
}

static void sos_dealloc(PyObject *self) {
  // A set may sit in its own indices list, so it takes part in cycle collection.
  PyObject_GC_UnTrack(self);
  sos_clear(self);
  Py_TYPE(self)->tp_free(self);
}

// --- printing, attributes, copy -------------------------------------------------------------

// An uninitialised set (allocated, never initialised) has no name object yet.
static PyObject *sos_get_name(PyObject *self, void *) {
  PyObject *name = as_sos(self)->name;
  if (name == nullptr) return default_name(as_sos(self)->id);
  return Py_NewRef(name);
}

// The name object itself, not converted: str() of a set named by a non-string object fails
// with the interpreter's own TypeError.
static PyObject *sos_str(PyObject *self) { return sos_get_name(self, nullptr); }

static PyObject *sos_copy(PyObject *self, PyObject *) {
  sos_s *src = as_sos(self);
  if (src->indices == nullptr || src->weights == nullptr) {
    return nvo_model_error("Cannot copy SOS: it has no indices or weights");
  }
  const Py_ssize_t n = PyList_GET_SIZE(src->indices);
  if (PyList_GET_SIZE(src->weights) < n) {
    return nvo_model_error("Cannot copy SOS: fewer weights than indices");
  }
  PyRef indices(PyList_New(n)), weights(PyList_New(n));
  if (!indices || !weights) return nullptr;
  // The members and weight objects are shared with the source; only the lists are new.
  for (Py_ssize_t i = 0; i < n; ++i) {
    PyList_SET_ITEM(indices.get(), i, Py_NewRef(PyList_GET_ITEM(src->indices, i)));
    PyList_SET_ITEM(weights.get(), i, Py_NewRef(PyList_GET_ITEM(src->weights, i)));
  }
  PyRef copy(sos_new(&sos_type, nullptr, nullptr));
  if (!copy) return nullptr;
  PyObject *src_name = src->name != nullptr ? src->name : Py_None;
  PyRef name(PyUnicode_FromFormat("sos%lld_copy_%S", static_cast<long long>(src->id), src_name));
  if (!name) return nullptr;
  sos_store(copy.get(), as_sos(copy.get())->id, name.get(), src->type, indices.get(),
            weights.get());
  return copy.release();
}

static PyObject *sos_get_type(PyObject *self, void *) {
  return PyLong_FromLong(as_sos(self)->type);
}

// indices and weights give the stored lists themselves (None for an uninitialised set).
static PyObject *sos_get_list(PyObject *list) {
  return Py_NewRef(list != nullptr ? list : Py_None);
}
static PyObject *sos_get_indices(PyObject *self, void *) {
  return sos_get_list(as_sos(self)->indices);
}
static PyObject *sos_get_weights(PyObject *self, void *) {
  return sos_get_list(as_sos(self)->weights);
}

PyDoc_STRVAR(sos_copy_doc,
             "copy() -> sos\n\n"
             "A new set of the same type over new lists holding the same variables and\n"
             "weights, named sos<identifier>_copy_<name> after this one.");

static PyMethodDef sos_methods[] = {
    {"copy", sos_copy, METH_NOARGS, sos_copy_doc},
    {nullptr, nullptr, 0, nullptr},
};

static PyGetSetDef sos_getset[] = {
    {"name", sos_get_name, nullptr, "Name of the set.", nullptr},
    {"type", sos_get_type, nullptr, "Type of the set, 1 or 2.", nullptr},
    {"indices", sos_get_indices, nullptr, "The list of variables of the set.", nullptr},
    {"weights", sos_get_weights, nullptr, "The list of weights, parallel to indices.", nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

PyDoc_STRVAR(sos_doc,
             "sos(indices, weights[, type[, name]])\n\n"
             "A special ordered set of type 1 (the default) or 2: a list of variables\n"
             "(indices) and a parallel list of weights that orders them. The lists are kept,\n"
             "not copied. Without a name the set is named sos<identifier>.\n\n"
             "Example: s = nuvrel.sos([x, y, z], [1, 2, 3], type=2, name='pieces')");

PyTypeObject sos_type = [] {
  PyTypeObject t{PyVarObject_HEAD_INIT(nullptr, 0)};
  t.tp_name = "nuvrel.sos";
  t.tp_basicsize = sizeof(sos_s);
  t.tp_dealloc = sos_dealloc;
  t.tp_str = sos_str;
  t.tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC;
  t.tp_doc = sos_doc;
  t.tp_traverse = sos_traverse;
  t.tp_clear = sos_clear;
  t.tp_methods = sos_methods;
  t.tp_getset = sos_getset;
  t.tp_init = sos_init;
  t.tp_alloc = PyType_GenericAlloc;
  t.tp_new = sos_new;
  t.tp_free = PyObject_GC_Del;
  return t;
}();
