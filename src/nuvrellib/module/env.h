// The one process-wide environment record of the module and the type objects it publishes.
#pragma once

#include <Python.h>
#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "module/idpages.h"

// The side tables of the modelling layer. The record below holds them, so they are declared
// here; the functions over them (boundmap_get, namemap_set, ...) are in model/termmaps.h.
// identifier -> double (unusual bounds, thresholds)
using boundmap = idpages<double>;
// identifier -> Python name object (one strong reference held per entry)
using namemap = idpages<PyObject *>;

// A mutex of the environment record. It is re-entrant for the thread that holds it: a lock
// held while the module allocates can meet a finaliser (run by the garbage collector) that
// takes it again on the same thread. owner is the holding thread's marker, or null.
struct nvo_mutex {
  pthread_mutex_t mtx;
  std::atomic<const void *> owner;
  int depth;  // read and written by the owner only
};

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
  nvo_mutex mtx_var, mtx_con, mtx_sos, mtx_names, mtx_defaults, mtx_msg, mtx_lib, mtx_output;
};

extern nvr_py_env_t nvr_py_env;

// The calling thread's marker for nvo_mutex::owner.
inline thread_local char env_thread_marker_byte;
inline const void *env_thread_marker() { return &env_thread_marker_byte; }
// Waits for m when it is held by another thread, with the interpreter lock released if the
// caller holds it: the holder may need that lock before it can let go.
void env_lock_contended(nvo_mutex &m);

// Scoped lock over one of the environment's mutexes; re-entrant on the same thread.
class EnvLock {
 public:
  explicit EnvLock(nvo_mutex &m) : m_(m) {
    const void *self = env_thread_marker();
    if (m_.owner.load(std::memory_order_relaxed) == self) {
      ++m_.depth;
      return;
    }
    if (pthread_mutex_trylock(&m_.mtx) != 0) env_lock_contended(m_);
    m_.owner.store(self, std::memory_order_relaxed);
    m_.depth = 1;
  }
  ~EnvLock() {
    if (--m_.depth > 0) return;
    m_.owner.store(nullptr, std::memory_order_relaxed);
    pthread_mutex_unlock(&m_.mtx);
  }
  EnvLock(const EnvLock &) = delete;
  EnvLock &operator=(const EnvLock &) = delete;

 private:
  nvo_mutex &m_;
};

// Takes n consecutive ids from the counter next, guarded by m; returns the first.
inline uint64_t env_take_ids(nvo_mutex &m, uint64_t &next, uint64_t n) {
  EnvLock lock(m);
  const uint64_t first = next;
  next += n;
  return first;
}

// The fourteen type objects. Each is defined in the file of its type.
extern PyTypeObject var_type, sos_type, expression_type, constraint_type, ctrl_type, attr_type,
    problem_type, branchobj_type, poolcut_type, nvrlobject_type, voidstar_type, linterm_type,
    quadterm_type, nonlin_type;

// Exceptions (module globals created at import).
extern PyObject *nvpy_model_exc, *nvpy_interf_exc, *nvpy_solver_exc;

// Counted start and release of the library; 0 on success, -1 with a Python exception set.
int turnNVRLon(int force);
int turnNVRLoff(int force);
// Fills the control and attribute name tables; turnNVRLon calls it while they are empty. The
// tables are filled by the layer that knows controls and attributes (above this one), which
// sets this at import. 0, or -1 with an exception set.
extern int (*nvo_fill_name_tables)(int require);
// Returns nslp_available; when newval >= 0 also stores it.
int nslp_state(int newval);
