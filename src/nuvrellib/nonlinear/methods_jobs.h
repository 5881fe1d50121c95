// The Python objects given with multistart jobs. The library keeps each as an opaque pointer;
// the owner (a problem) holds one reference per queuing call that passed one, so that the
// pointer stays valid until the jobs are cleared or the owner goes. Keyed by the owner's
// address, so that the problem layer above can release them without this layer knowing it.
// Used only with the interpreter lock held.
#pragma once

#include <Python.h>

// Takes a reference to object for owner. 0, or -1 with an exception set.
int nvo_msjobs_keep(const void *owner, PyObject *object);
// Gives back the reference taken last (a refused job). Keeps a pending exception.
void nvo_msjobs_drop_last(const void *owner);
// Drops every reference owner holds (jobs cleared, owner reset or gone). Keeps a pending
// exception.
void nvo_msjobs_release(const void *owner);
// dst's library jobs are copies of src's: dst takes its own references. 0, or -1 with an
// exception set.
int nvo_msjobs_copy(const void *dst, const void *src);
// Visits owner's objects for the cycle collector.
int nvo_msjobs_traverse(const void *owner, visitproc visit, void *arg);
// The number of objects owner holds.
Py_ssize_t nvo_msjobs_count(const void *owner);
