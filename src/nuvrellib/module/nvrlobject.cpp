// nvrlobject: a library object that is not a problem, as handed to message handlers. The
// Python object does not own the library object.
#include "module/opaque.h"

#include "module/errors.h"

PyDoc_STRVAR(nvrlobject_doc,
             "A solver library object (the global environment, a branching object, ...)\n"
             "as passed to message handlers.");

static void nvrlobject_dealloc(PyObject *self) { Py_TYPE(self)->tp_free(self); }

PyObject *nvrlobject_create(NVRLobject obj) {
  PyObject *self = nvrlobject_type.tp_alloc(&nvrlobject_type, 0);
  if (self != nullptr) reinterpret_cast<nvrlobject_s *>(self)->obj = obj;
  return self;
}

PyTypeObject nvrlobject_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.nvrlobject",
    .tp_basicsize = sizeof(nvrlobject_s),
    .tp_dealloc = nvrlobject_dealloc,
    .tp_flags = Py_TPFLAGS_DEFAULT,
    .tp_doc = nvrlobject_doc,
    .tp_new = nvo_refuse_new,
};
