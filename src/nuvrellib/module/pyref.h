// Owning pointers for the module's references, so that every early return releases what the
// function took and keeps what it must.
//
// PyRef<T> owns one strong reference to a Python object; T is PyObject or an object struct
// that starts with PyObject_HEAD (PyRef<problem_s> needs no casts). It is move-only: a copy
// would be a hidden INCREF, so sharing is written out with borrow().
//
// PendingError owns the exception being raised, taken out of the interpreter so that cleanup
// code can call into Python; it puts it back when it goes, unless it was handed on.
#pragma once

#include <Python.h>

template <class T = PyObject>
class PyRef {
 public:
  PyRef() = default;
  // Takes ownership of a new reference (may be null).
  explicit PyRef(T *owned) : p_(owned) {}
  // A new reference to borrowed (may be null).
  static PyRef borrow(T *borrowed) {
    Py_XINCREF(as_object(borrowed));
    return PyRef(borrowed);
  }
  // Takes ownership of a new reference to an object whose struct is T, given as the creation
  // functions return it, as a plain object pointer (may be null).
  static PyRef steal(PyObject *owned) { return PyRef(reinterpret_cast<T *>(owned)); }
  PyRef(const PyRef &) = delete;
  PyRef &operator=(const PyRef &) = delete;
  PyRef(PyRef &&o) noexcept : p_(o.p_) { o.p_ = nullptr; }
  PyRef &operator=(PyRef &&o) noexcept {
    if (this != &o) reset(o.release());
    return *this;
  }
  ~PyRef() { Py_XDECREF(as_object(p_)); }

  T *get() const { return p_; }
  T *operator->() const { return p_; }
  // The reference as a plain object pointer, for the C API (still owned here).
  PyObject *obj() const { return as_object(p_); }
  explicit operator bool() const { return p_ != nullptr; }
  // Hands the reference to the caller.
  T *release() {
    T *r = p_;
    p_ = nullptr;
    return r;
  }
  // The same as a plain object pointer.
  PyObject *release_obj() { return as_object(release()); }
  // Releases the reference held and takes owned. The old one goes last: its destructor may
  // run Python code that looks at this pointer.
  void reset(T *owned = nullptr) {
    T *old = p_;
    p_ = owned;
    Py_XDECREF(as_object(old));
  }

 private:
  static PyObject *as_object(T *p) { return reinterpret_cast<PyObject *>(p); }
  T *p_ = nullptr;
};

class PendingError {
 public:
  // Takes the current exception (none is fine) out of the interpreter.
  PendingError() { PyErr_Fetch(&type_, &value_, &traceback_); }
  PendingError(const PendingError &) = delete;
  PendingError &operator=(const PendingError &) = delete;
  // Puts the exception back, replacing whatever was raised meanwhile.
  ~PendingError() { restore(); }

  explicit operator bool() const { return type_ != nullptr; }
  PyObject *type() const { return type_; }
  // Puts the exception back now (once; later calls do nothing).
  void restore() {
    if (type_ == nullptr && value_ == nullptr && traceback_ == nullptr) return;
    PyErr_Restore(type_, value_, traceback_);
    type_ = value_ = traceback_ = nullptr;
  }
  // The exception object, normalised (borrowed; still owned here): to chain another to it.
  PyObject *value() {
    PyErr_NormalizeException(&type_, &value_, &traceback_);
    return value_;
  }
  // Hands the exception object, with its traceback attached, to the caller (a new reference,
  // null when there was none); nothing is put back.
  PyObject *take_value() {
    PyObject *v = value();
    if (v != nullptr && traceback_ != nullptr) PyException_SetTraceback(v, traceback_);
    value_ = nullptr;
    discard();
    return v;
  }
  // Drops the exception: the caller has dealt with it.
  void discard() {
    Py_CLEAR(type_);
    Py_CLEAR(value_);
    Py_CLEAR(traceback_);
  }

 private:
  PyObject *type_ = nullptr, *value_ = nullptr, *traceback_ = nullptr;
};
