// The poolcut type.
#include "callbacks/poolcut.h"

#include "module/errors.h"

PyDoc_STRVAR(poolcut_doc, "A handle on a cut in the solver's cut pool.");

static void poolcut_dealloc(PyObject *self) { Py_TYPE(self)->tp_free(self); }

PyTypeObject poolcut_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.poolcut",
    .tp_basicsize = sizeof(poolcut_s),
    .tp_dealloc = poolcut_dealloc,
    .tp_flags = Py_TPFLAGS_DEFAULT,
    .tp_doc = poolcut_doc,
    .tp_new = nvo_refuse_new,
};
