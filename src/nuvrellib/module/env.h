// The one process-wide environment record of the module and the type objects it publishes.
#pragma once

#include <Python.h>
#include <pthread.h>

#include <cstdint>

#include "model/maps.h"

struct nvr_py_env_t {
  uint64_t next_var_id;        // variable mutex
  uint64_t next_con_id;        // constraint mutex
  uint64_t next_sos_id;        // SOS mutex
  PyObject *controls;          // module-level ctrl object (no problem)
  PyObject *ctrl_table;        // dict: lower-case name -> (id, type, kind); name-table mutex
  PyObject *attr_table;        // dict: lower-case name -> (id, type, kind); name-table mutex
  PyObject *default_controls;  // dict: lower-case name -> value; defaults mutex
  PyObject *msg_handlers;      // list of [handler, data]; message-handler mutex
  int32_t nslp_available;      // -1 unknown, 1 available, 0 not; library mutex
  int32_t lib_refcount;        // library mutex
  int32_t output_enabled;      // output mutex
  boundmap *lboundmap, *uboundmap, *tholdmap;  // variable side tables
  boundmap *conlboundmap, *conuboundmap;       // constraint side tables
  namemap *varnamemap, *connamemap;
  PyObject *npvar, *npexpr, *npconstraint;     // array element types (dtype objects)
  pthread_mutex_t mtx_var, mtx_con, mtx_sos, mtx_names, mtx_defaults, mtx_msg, mtx_lib,
      mtx_output;
};

extern nvr_py_env_t nvr_py_env;

// Scoped lock over one of the environment's mutexes.
class EnvLock {
 public:
  explicit EnvLock(pthread_mutex_t &m) : m_(m) { pthread_mutex_lock(&m_); }
  ~EnvLock() { pthread_mutex_unlock(&m_); }
  EnvLock(const EnvLock &) = delete;
  EnvLock &operator=(const EnvLock &) = delete;

 private:
  pthread_mutex_t &m_;
};

// The fourteen type objects. Each is defined in the file of its type.
extern PyTypeObject var_type, sos_type, expression_type, constraint_type, ctrl_type, attr_type,
    problem_type, branchobj_type, poolcut_type, nvrlobject_type, voidstar_type, linterm_type,
    quadterm_type, nonlin_type;

// Exceptions (module globals created at import).
extern PyObject *nvpy_model_exc, *nvpy_interf_exc, *nvpy_solver_exc;

// Counted start and release of the library; 0 on success, -1 with a Python exception set.
int turnNVRLon(int force);
int turnNVRLoff(int force);
// Returns nslp_available; when newval >= 0 also stores it.
int nslp_state(int newval);
