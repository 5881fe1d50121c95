// The folding module functions nuvrel.Sum, nuvrel.Prod and nuvrel.Dot: they combine any number
// of objects (separate arguments or one list, tuple, dictionary, generator, array or other
// iterable) into one result, amending a private accumulator in place so that a sum of n terms
// costs O(n log n) map operations rather than n copies.
#pragma once

#include <Python.h>

// Sum(t1, t2, ...): always a modelling object or array (numbers give a constant expression,
// no elements an empty one). Nested lists, tuples, dictionaries and iterators are opened.
PyObject *nuvrelmod_Sum(PyObject *self, PyObject *args);
// Prod(t1, t2, ...): the product; 0.0 for no elements. Nested collections are opened.
PyObject *nuvrelmod_Prod(PyObject *self, PyObject *args);
// Dot(t1, t2, ..., out=None): the array product of the factors in turn; 0.0 for no factors.
PyObject *nuvrelmod_Dot(PyObject *self, PyObject *args, PyObject *kwargs);

extern const char nuvrelmod_Sum_doc[], nuvrelmod_Prod_doc[], nuvrelmod_Dot_doc[];
