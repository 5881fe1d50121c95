// Turning a failed library call into a Python exception.
#pragma once

#include <Python.h>

// The one way to fail with an exception: nvo_model_error for a modelling error,
// nvo_library_error for a failed library call, each called where the failure is found. The
// value they return is the failure value of either convention, so an error exit is one line:
// `return nvo_model_error("...");` in a function returning an object (null) or a status (-1).
struct nvo_failure {
  operator PyObject *() const { return nullptr; }
  operator int() const { return -1; }
};

// Raises ModelError msg, unless an exception is already pending: that one is nearer the cause
// and is kept.
nvo_failure nvo_model_error(const char *msg);

// Raises type msg with the pending exception (which must be set) as its cause, as `raise ...
// from` does: the caller's error names what failed, the cause says why.
nvo_failure nvo_error_from_pending(PyObject *type, const char *msg);

// Raises the library's last error for owner (a problem, a branching object, or null for the
// global environment), as setNvrlErrIfNull does for a null result.
nvo_failure nvo_library_error(PyObject *owner);
template <typename Owner>
nvo_failure nvo_library_error(Owner *owner) {
  return nvo_library_error(reinterpret_cast<PyObject *>(owner));
}

// Called on every result just before a Python-visible function returns it. A non-null
// result is returned unchanged, unless an exception is pending (raised by a message handler
// during the call): the result then gives way to it. A null one without a pending exception
// gets one carrying the library's last error for owner (a problem, a branching object, or
// null for the global environment). A pending exception is never replaced.
PyObject *setNvrlErrIfNull(PyObject *owner, PyObject *result);

// A kind of object that owns library handles (a problem, a branching object). The layers that
// define such objects sit above this one, so each registers its kind at import.
struct nvo_error_source {
  // 1 when owner is of this kind, with its last library error in msg (capacity bytes, zeroed
  // on entry) and its code in *code; 0 when owner is of another kind.
  int (*last_error)(PyObject *owner, int *code, char *msg, int capacity);
  const char *fallback;  // the message when the library has none
};
// source must live as long as the module.
void nvo_register_error_source(const nvo_error_source *source);

// Raises owner's last error as source reads it, for a failure whose message is better found
// in another order than the registered one (a call of the nonlinear solver asks it first).
// A pending exception is kept.
nvo_failure nvo_source_error(const nvo_error_source &source, PyObject *owner);
template <typename Owner>
nvo_failure nvo_source_error(const nvo_error_source &source, Owner *owner) {
  return nvo_source_error(source, reinterpret_cast<PyObject *>(owner));
}

// The creation slot of types whose objects only the module makes (from library handles or
// for a problem): a TypeError, as constructing one would leave it unusable.
PyObject *nvo_refuse_new(PyTypeObject *type, PyObject *args, PyObject *kwargs);

// Module function getlasterror(): (code, message) of the global environment.
PyObject *nuvrelmod_getlasterror(PyObject *self, PyObject *unused);
