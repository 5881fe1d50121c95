// Counted start and release of the solver library. Starting is lazy (the first user starts
// it); releasing happens only through free() and module teardown.

#include "module/env.h"
#include "module/errors.h"
#include "module/output.h"
#include "nvrl.h"

namespace {

// Adds delta to the start count and returns the new count.
int32_t bump_refcount(int32_t delta) {
  EnvLock lock(nvr_py_env.mtx_lib);
  nvr_py_env.lib_refcount += delta;
  return nvr_py_env.lib_refcount;
}

bool name_tables_empty() {
  EnvLock lock(nvr_py_env.mtx_names);
  return nvr_py_env.attr_table == nullptr || PyDict_Size(nvr_py_env.attr_table) == 0;
}

}  // namespace

int (*nvo_fill_name_tables)(int require) = nullptr;

int nslp_state(int newval) {
  EnvLock lock(nvr_py_env.mtx_lib);
  int current = nvr_py_env.nslp_available;
  if (newval >= 0) nvr_py_env.nslp_available = newval;
  return current;
}

int turnNVRLon(int force) {
  if (bump_refcount(1) > 1 && !force) return 0;

  if (NVRLinit(nullptr) != 0) {
    bump_refcount(-1);
    return nvo_library_error(nullptr);
  }
  // A forced start of a running library must not register the print routine twice, or every
  // global line would be printed twice.
  NVRL_ge_removecbmsghandler(nvr_py_print, nullptr);
  NVRL_ge_addcbmsghandler(nvr_py_print, nullptr, 1);

  int result = 0;
  if (nslp_state(-1) != 0) {
    int rc = NSLPinit(nullptr);
    if (rc == 0) {
      nslp_state(1);
    } else if (rc == NSLP_NOT_AVAILABLE) {
      nslp_state(0);
    } else {
      PyErr_SetString(nvpy_interf_exc, "Error initializing NSLP environment");
      result = -1;
    }
  }

  if (name_tables_empty() && nvo_fill_name_tables != nullptr && nvo_fill_name_tables(1) != 0)
    result = -1;
  return result;
}

int turnNVRLoff(int force) {
  if (bump_refcount(-1) != 0 && !force) return 0;

  if (nslp_state(-1) != 0 && NSLPfree() != 0) {
    return nvo_library_error(nullptr);
  }
  NVRL_ge_removecbmsghandler(nvr_py_print, nullptr);
  if (NVRLfree() != 0) {
    return nvo_library_error(nullptr);
  }
  return 0;
}
