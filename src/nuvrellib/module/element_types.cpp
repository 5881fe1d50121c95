// Registration of the array element types.
#include "module/element_types.h"

#include "module/numpy_api.h"

int setAltNumOps(PyObject *module) {
  if (nvo_import_numpy() != 0) return -1;
  // The element types npvar, npexpr and npconstraint and their loops are registered here by
  // the array integration; until then nvr_py_env.npvar/npexpr/npconstraint stay null.
  return 0;
}
