// The environment record, its mutexes and its containers.
#include "module/env.h"

#include "module/env_setup.h"

nvr_py_env_t nvr_py_env;

namespace {

nvo_mutex *const all_mutexes[] = {
    &nvr_py_env.mtx_var,      &nvr_py_env.mtx_con, &nvr_py_env.mtx_sos, &nvr_py_env.mtx_names,
    &nvr_py_env.mtx_defaults, &nvr_py_env.mtx_msg, &nvr_py_env.mtx_lib, &nvr_py_env.mtx_output,
};

void free_namemap(namemap *&map) {
  if (map == nullptr) return;
  // Each entry owns one reference (namemap_set takes it); the names go with the module.
  map->for_each([](uint64_t, PyObject *name) { Py_XDECREF(name); });
  delete map;
  map = nullptr;
}

void free_boundmap(boundmap *&map) {
  delete map;
  map = nullptr;
}

}  // namespace

void env_lock_contended(nvo_mutex &m) {
  // Only a thread whose own state is current holds the interpreter lock.
  if (PyGILState_GetThisThreadState() != nullptr && PyGILState_Check()) {
    Py_BEGIN_ALLOW_THREADS
    pthread_mutex_lock(&m.mtx);
    Py_END_ALLOW_THREADS
  } else {
    pthread_mutex_lock(&m.mtx);
  }
}

void init_mutexes() {
  for (nvo_mutex *m : all_mutexes) {
    pthread_mutex_init(&m->mtx, nullptr);
    m->owner.store(nullptr);
    m->depth = 0;
  }
}

void destroy_mutexes() {
  for (nvo_mutex *m : all_mutexes) pthread_mutex_destroy(&m->mtx);
}

int env_create_containers() {
  nvr_py_env_t &env = nvr_py_env;
  env.default_controls = PyDict_New();
  env.ctrl_table = PyDict_New();
  env.attr_table = PyDict_New();
  env.msg_handlers = PyList_New(0);
  if (!env.default_controls || !env.ctrl_table || !env.attr_table ||
      !env.msg_handlers)
    return -1;
  env.nslp_available = -1;
  env.lib_refcount = 0;
  env.output_enabled = 1;
  try {
    env.lboundmap = new boundmap;
    env.uboundmap = new boundmap;
    env.tholdmap = new boundmap;
    env.conlboundmap = new boundmap;
    env.conuboundmap = new boundmap;
    env.varnamemap = new namemap;
    env.connamemap = new namemap;
  } catch (const std::bad_alloc &) {
    PyErr_NoMemory();
    return -1;
  }
  return 0;
}

// Module teardown: the environment's objects are plain fields of a global record, nulled
// before their release so that code run by a release finds them gone, not dangling.
void env_release_containers() {
  nvr_py_env_t &env = nvr_py_env;
  Py_CLEAR(env.controls);
  Py_CLEAR(env.default_controls);
  Py_CLEAR(env.ctrl_table);
  Py_CLEAR(env.attr_table);
  Py_CLEAR(env.msg_handlers);
  free_boundmap(env.lboundmap);
  free_boundmap(env.uboundmap);
  free_boundmap(env.tholdmap);
  free_boundmap(env.conlboundmap);
  free_boundmap(env.conuboundmap);
  free_namemap(env.varnamemap);
  free_namemap(env.connamemap);
}
