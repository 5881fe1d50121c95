// The branching object type nuvrel.branchobj. Creation from Python and the branching methods
// come with the branching callbacks; here is the type itself.
#include "callbacks/branchobj.h"

#include <cstring>

#include "module/errors.h"

PyDoc_STRVAR(branchobj_doc,
             "A branching object: a set of branches that the solver explores at a node.\n"
             "Branching objects are handed to and returned by branching callbacks.");

static void branchobj_dealloc(PyObject *self) { Py_TYPE(self)->tp_free(self); }

int branchobj_lasterror(PyObject *self, int *code, char *msg, int capacity) {
  // A branching object without a library object has no error of its own to report.
  *code = 0;
  if (capacity > 0) msg[0] = '\0';
  return 0;
}

namespace {

int branchobj_error(PyObject *owner, int *code, char *msg, int capacity) {
  if (!branchobj_check(owner)) return 0;
  branchobj_lasterror(owner, code, msg, capacity);
  return 1;
}

}  // namespace

const nvo_error_source branchobj_error_source = {
    branchobj_error, "Unidentified error associated with a branching object"};

PyTypeObject branchobj_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.branchobj",
    .tp_basicsize = sizeof(branchobj_s),
    .tp_dealloc = branchobj_dealloc,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
    .tp_doc = branchobj_doc,
};
