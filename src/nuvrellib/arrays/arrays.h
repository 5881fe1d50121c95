// numpy arrays of modelling objects: the three element types "variable", "expression" and
// "constraint" (one object reference per element), their casts, the element-wise loops and the
// array products.
#pragma once

#include "module/numpy_api.h"

// Indices into the loop table's type list.
enum nvo_elem_index {
  NVO_ELEM_DOUBLE = 0, NVO_ELEM_VAR = 1, NVO_ELEM_EXPR = 2, NVO_ELEM_CON = 3, NVO_ELEM_OBJECT = 4,
  NVO_ELEM_COUNT = 5
};

// Registered type numbers (-1 until registration) and the descriptors (borrowed; numpy keeps
// registered descriptors for the life of the process).
extern int nvo_typenum[NVO_ELEM_COUNT];
extern PyArray_Descr *nvo_descr[NVO_ELEM_COUNT];

// Registers the three element types and the casts between them, storing the descriptors in
// the environment. 0, or -1 with an exception set.
int nvo_register_element_types();
// Registers the element-wise ufunc loops on numpy's ufuncs (numpy is the numpy module).
int nvo_register_ufunc_loops(PyObject *numpy);

// 1 when descr is one of the element types (any of them if which < 0, else that index).
int nvo_is_elem_descr(const PyArray_Descr *descr, int which = -1);
// A new array (every element null, read as None) of the given element type.
PyObject *nvo_new_elem_array(int which, int nd, const npy_intp *dims);

// Reads the reference stored at p (possibly unaligned); borrowed, may be null.
inline PyObject *nvo_elem_load(const char *p) {
  PyObject *o;
  __builtin_memcpy(&o, p, sizeof o);
  return o;
}
// Stores obj at p, taking the reference given and releasing the one stored before. Array
// elements are raw memory that numpy hands over, so the count is kept by hand here.
inline void nvo_elem_store(char *p, PyObject *owned) {
  PyObject *old = nvo_elem_load(p);
  __builtin_memcpy(p, &owned, sizeof owned);
  Py_XDECREF(old);
}

// Array product as numpy's dot product, with the sums built in place as modelling objects.
// a may be None (b alone must then be an array); out may be null. New reference or NULL.
PyObject *tensor_mult(PyObject *a, PyObject *b, PyObject *out);
// A cumulated result element (number, numpy scalar, zero-dimensional array or modelling
// object) as a float or modelling object. New reference or NULL.
PyObject *convert_const_to_expr(PyObject *obj);

// The matmul loops for arrays of modelling objects (gufunc signature (n,k),(k,m)->(n,m)).
void nvo_matmul_loop(char **args, const npy_intp *dims, const npy_intp *steps, void *data);

// Fills the modelling layer's hook table (module/element_types.h).
void arrays_install();
