// PyRef: a tiny owning pointer for PyObject references, so that every early return releases
// what the function took.
#pragma once

#include <Python.h>

#include <utility>

class PyRef {
 public:
  PyRef() = default;
  // Takes ownership of a new reference (may be null).
  explicit PyRef(PyObject *owned) : p_(owned) {}
  static PyRef borrow(PyObject *borrowed) {
    Py_XINCREF(borrowed);
    return PyRef(borrowed);
  }
  PyRef(const PyRef &o) : p_(o.p_) { Py_XINCREF(p_); }
  PyRef(PyRef &&o) noexcept : p_(o.p_) { o.p_ = nullptr; }
  PyRef &operator=(PyRef o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }
  ~PyRef() { Py_XDECREF(p_); }

  PyObject *get() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }
  // Hands the reference to the caller.
  PyObject *release() {
    PyObject *r = p_;
    p_ = nullptr;
    return r;
  }
  void reset(PyObject *owned = nullptr) {
    PyObject *old = p_;
    p_ = owned;
    Py_XDECREF(old);
  }

 private:
  PyObject *p_ = nullptr;
};
