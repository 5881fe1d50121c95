// The one place where numpy's C API headers are included. Every file of the extension that
// uses numpy includes this header; only module/numpy_import.cpp defines
// NVRL_NUMPY_IMPORT_UNIT before including it, so the API table lives there.
#pragma once

#include <Python.h>

#define PY_ARRAY_UNIQUE_SYMBOL nuvrellib_ARRAY_API
#define PY_UFUNC_UNIQUE_SYMBOL nuvrellib_UFUNC_API
#define NPY_NO_DEPRECATED_API NPY_1_7_API_VERSION
#ifndef NVRL_NUMPY_IMPORT_UNIT
#define NO_IMPORT_ARRAY
#define NO_IMPORT_UFUNC
#endif
#include <numpy/arrayobject.h>
#include <numpy/ufuncobject.h>

// Imports numpy's array and ufunc C interfaces (numpy 2 layout, falling back to numpy 1.x).
// 0 on success, -1 with an exception set.
int nvo_import_numpy();
