// nuvrel.sos: a special ordered set of type 1 or 2, a list of variables (the indices) with a
// parallel list of weights that orders them. The object only checks the shape of what it was
// given and keeps the caller's lists; problem.addSOS validates the members when it adds the set.
#pragma once

#include <Python.h>

#include <cstdint>

struct sos_s {
  PyObject_HEAD
  int64_t id;         // serial number from next_sos_id; key of a problem's set map
  PyObject *name;     // the given name object, or "sos<id>"; strong reference
  int type;           // 1 or 2
  PyObject *indices;  // list of variables (the caller's list, not a copy); strong reference
  PyObject *weights;  // list of weights parallel to indices; strong reference
};

extern PyTypeObject sos_type;

inline bool sos_check(PyObject *obj) { return PyObject_TypeCheck(obj, &sos_type); }

// Accessors for the problem object. The caller guarantees that obj is an sos. The returned
// objects are borrowed; indices and weights are lists (or null for an object that was
// allocated but never initialised).
inline int64_t sos_id(const PyObject *obj) { return reinterpret_cast<const sos_s *>(obj)->id; }
inline int sos_settype(const PyObject *obj) { return reinterpret_cast<const sos_s *>(obj)->type; }
inline PyObject *sos_indices(const PyObject *obj) {
  return reinterpret_cast<const sos_s *>(obj)->indices;
}
inline PyObject *sos_weights(const PyObject *obj) {
  return reinterpret_cast<const sos_s *>(obj)->weights;
}

// Builds a set from internal creators (problem reading): the lists are stored as given (new
// references taken), name null gives "sos<id>". New reference or null with an exception set;
// the type is checked as in the constructor.
PyObject *sos_create(PyObject *indices, PyObject *weights, int type, PyObject *name);
