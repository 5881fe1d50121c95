// Two opaque handle types: voidstar (any native pointer, e.g. user data passed through the
// library) and nvrlobject (a library object that is not a problem, as handed to message
// handlers). Neither owns what it points at.
#pragma once

#include <Python.h>

#include "nvrl.h"

extern PyTypeObject voidstar_type, nvrlobject_type;

struct voidstar_s {
  PyObject_HEAD
  void *ptr;
};

struct nvrlobject_s {
  PyObject_HEAD
  NVRLobject obj;
};

// New references; null with an exception set on failure.
PyObject *voidstar_create(void *ptr);
PyObject *nvrlobject_create(NVRLobject obj);
// A cut-pool handle (nuvrel.poolcut, defined in callbacks/): declared here so that the
// argument conversion of the low-level layer can read and make one.
struct poolcut_s {
  PyObject_HEAD
  void *cut;  // the library's cut handle
};
