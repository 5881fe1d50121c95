// The nonlin type.
#include "nonlinear/nonlin.h"

#include "module/errors.h"

PyDoc_STRVAR(nonlin_doc,
             "A nonlinear expression: an operator (sin, exp, power, user function, ...)\n"
             "applied to numbers, variables and expressions.");

static void nonlin_dealloc(PyObject *self) {
  Py_CLEAR(reinterpret_cast<nonlin_s *>(self)->args);
  Py_TYPE(self)->tp_free(self);
}

PyTypeObject nonlin_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.nonlin",
    .tp_basicsize = sizeof(nonlin_s),
    .tp_dealloc = nonlin_dealloc,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
    .tp_doc = nonlin_doc,
    .tp_new = nvo_refuse_new,
};
