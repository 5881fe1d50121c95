// voidstar: an opaque native pointer, e.g. user data passed through the library and back.
// The object never owns the pointer.
#include "module/opaque.h"

#include "module/errors.h"

PyDoc_STRVAR(voidstar_doc, "An opaque native pointer handed over by the solver library.");

static void voidstar_dealloc(PyObject *self) { Py_TYPE(self)->tp_free(self); }

PyObject *voidstar_create(void *ptr) {
  PyObject *self = voidstar_type.tp_alloc(&voidstar_type, 0);
  if (self != nullptr) reinterpret_cast<voidstar_s *>(self)->ptr = ptr;
  return self;
}

PyTypeObject voidstar_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.voidstar",
    .tp_basicsize = sizeof(voidstar_s),
    .tp_dealloc = voidstar_dealloc,
    .tp_flags = Py_TPFLAGS_DEFAULT,
    .tp_doc = voidstar_doc,
    .tp_new = nvo_refuse_new,
};
