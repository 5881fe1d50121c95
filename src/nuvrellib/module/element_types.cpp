// Registration of the array element types.
#include "module/element_types.h"

#include "arrays/arrays.h"
#include "module/numpy_api.h"
#include "module/pyref.h"

int setAltNumOps(PyObject *module) {
  if (nvo_import_numpy() != 0) return -1;
  PyRef numpy(PyImport_ImportModule("numpy"));
  if (!numpy) return -1;
  if (nvo_register_element_types() != 0) return -1;
  return nvo_register_ufunc_loops(numpy.get());
}
