// Holds numpy's C API tables for the whole extension and imports them.
#define NVRL_NUMPY_IMPORT_UNIT
#include "module/numpy_api.h"

int nvo_import_numpy() {
  // numpy's import routines look for numpy._core first and fall back to numpy.core (1.x);
  // they also check the binary and feature versions against those compiled for.
  if (_import_array() < 0) return -1;
  if (_import_umath() < 0) return -1;
  return 0;
}
