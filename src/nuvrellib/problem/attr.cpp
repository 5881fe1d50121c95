// The attr type: p.attributes.<name> reads an attribute of the problem from the library.
#include "problem/attr.h"

#include "module/errors.h"

#include "module/env.h"
#include "module/pyref.h"
#include "problem/controls.h"
#include "problem/problem.h"

PyDoc_STRVAR(attr_doc,
             "Attributes of a problem: read-only results and sizes, read as attributes,\n"
             "for example p.attributes.columns.");

PyObject *attr_create(PyObject *problem) {
  auto a = PyRef<attr_s>::steal(PyType_GenericAlloc(&attr_type, 0));
  if (!a) return nullptr;
  a->problem = problem;
  a->dict = Py_XNewRef(nvr_py_env.attr_table);
  if (a->dict == nullptr) a->dict = PyDict_New();
  if (a->dict == nullptr) return nullptr;
  return a.release_obj();
}

void attr_detach(PyObject *attr) { reinterpret_cast<attr_s *>(attr)->detached = 1; }

// The deallocation slot releases the object's own field.
static void attr_dealloc(PyObject *self) {
  Py_CLEAR(reinterpret_cast<attr_s *>(self)->dict);
  Py_TYPE(self)->tp_free(self);
}

static PyObject *attr_get(PyObject *self, PyObject *name) {
  auto *a = reinterpret_cast<attr_s *>(self);
  if (!PyUnicode_Check(name)) {
    return nvo_model_error("Bad attribute request");
  }
  if (PyUnicode_CompareWithASCIIString(name, "__dict__") == 0) return Py_NewRef(a->dict);
  if (PyUnicode_CompareWithASCIIString(name, "__class__") == 0)
    return Py_NewRef(reinterpret_cast<PyObject *>(Py_TYPE(self)));
  if (a->detached || a->problem == nullptr) {
    PyErr_SetString(nvpy_interf_exc, "The problem of these attributes no longer exists");
    return nullptr;
  }
  problem_s *p = problem_ready_for(a->problem, "attributes");
  return p != nullptr ? problem_getInfo_byname(p, name, 0) : nullptr;
}

static int attr_set(PyObject *self, PyObject *name, PyObject *value) {
  PyErr_SetString(nvpy_interf_exc, "Attributes are read-only");
  return -1;
}

PyTypeObject attr_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.attr",
    .tp_basicsize = sizeof(attr_s),
    .tp_dealloc = attr_dealloc,
    .tp_getattro = attr_get,
    .tp_setattro = attr_set,
    .tp_flags = Py_TPFLAGS_DEFAULT,
    .tp_doc = attr_doc,
    .tp_new = nvo_refuse_new,
};
