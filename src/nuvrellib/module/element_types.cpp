// Registration of the array element types.
#include "module/element_types.h"

#include "module/numpy_api.h"
#include "module/pyref.h"

nvo_array_hooks nvo_arrays = {};

int setAltNumOps(PyObject *module) {
  if (nvo_import_numpy() != 0) return -1;
  PyRef numpy(PyImport_ImportModule("numpy"));
  if (!numpy) return -1;
  if (nvo_arrays.register_types == nullptr) {
    PyErr_SetString(PyExc_ImportError, "the array element types were not installed");
    return -1;
  }
  return nvo_arrays.register_types(numpy.get());
}
