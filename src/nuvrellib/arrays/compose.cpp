// A module function applied element by element to an array (nuvrel.sin(x) for an array x).
#include "arrays/arrays.h"
#include "module/errors.h"
#include "module/pyref.h"

PyObject *vector_compose_op(PyObject *arr_obj, PyObject *(*fn)(int, PyObject *), int op) {
  constexpr const char kCannotIterate[] = "Cannot iterate on sequence of arguments";
  if (!PyArray_Check(arr_obj)) return nvo_model_error(kCannotIterate);
  auto *arr = reinterpret_cast<PyArrayObject *>(arr_obj);
  PyArray_Descr *d = PyArray_DESCR(arr);
  // Functions of modelling objects are nodes, which only an expression array may hold; a
  // function of numbers keeps the numbers' own type where it can (object arrays stay object).
  PyArray_Descr *res_descr;
  if (nvo_is_elem_descr(d))
    res_descr = nvo_descr[NVO_ELEM_EXPR];
  else if (d->type_num == NPY_OBJECT)
    res_descr = d;
  else
    res_descr = nvo_descr[NVO_ELEM_DOUBLE];
  Py_INCREF(res_descr);
  PyRef res(PyArray_NewFromDescr(&PyArray_Type, res_descr, PyArray_NDIM(arr), PyArray_DIMS(arr),
                                 nullptr, nullptr, 0, nullptr));
  if (!res) return nullptr;
  auto *out = reinterpret_cast<PyArrayObject *>(res.get());
  PyRef src_it(PyArray_IterNew(arr_obj)), dst_it(PyArray_IterNew(res.get()));
  if (!src_it || !dst_it) return nullptr;
  auto *si = reinterpret_cast<PyArrayIterObject *>(src_it.get());
  auto *di = reinterpret_cast<PyArrayIterObject *>(dst_it.get());
  while (si->index < si->size) {
    PyRef item(PyArray_GETITEM(arr, static_cast<const char *>(PyArray_ITER_DATA(si))));
    PyRef v(item ? fn(op, item.get()) : nullptr);
    if (!v || PyArray_SETITEM(out, static_cast<char *>(PyArray_ITER_DATA(di)), v.get()) < 0) {
      // A failure of the function itself keeps its message; one of the walk gets ours.
      if (!PyErr_Occurred()) nvo_model_error(kCannotIterate);
      return nullptr;
    }
    PyArray_ITER_NEXT(si);
    PyArray_ITER_NEXT(di);
  }
  return res.release();
}
