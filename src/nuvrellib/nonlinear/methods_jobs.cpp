// The Python objects given with multistart jobs, held for their owners.
#include "nonlinear/methods_jobs.h"

#include <unordered_map>

#include "module/pyref.h"

namespace {

// Owner -> list of its job objects (one entry per queuing call that passed one).
std::unordered_map<const void *, PyObject *> &job_objects() {
  static auto *table = new std::unordered_map<const void *, PyObject *>();
  return *table;
}

}  // namespace

int nvo_msjobs_keep(const void *owner, PyObject *object) {
  auto &table = job_objects();
  auto it = table.find(owner);
  if (it == table.end()) {
    PyObject *list = PyList_New(0);
    if (list == nullptr) return -1;
    it = table.emplace(owner, list).first;
  }
  return PyList_Append(it->second, object);
}

void nvo_msjobs_drop_last(const void *owner) {
  auto it = job_objects().find(owner);
  if (it == job_objects().end()) return;
  PendingError pending;
  const Py_ssize_t n = PyList_GET_SIZE(it->second);
  if (n > 0) PyList_SetSlice(it->second, n - 1, n, nullptr);
}

void nvo_msjobs_release(const void *owner) {
  auto &table = job_objects();
  auto it = table.find(owner);
  if (it == table.end()) return;
  PyObject *list = it->second;
  table.erase(it);
  // Releasing the objects can run Python code: the table is consistent before it does.
  PendingError pending;
  Py_DECREF(list);
}

int nvo_msjobs_copy(const void *dst, const void *src) {
  auto it = job_objects().find(src);
  if (it == job_objects().end()) return 0;
  PyObject *list = PyList_GetSlice(it->second, 0, PyList_GET_SIZE(it->second));
  if (list == nullptr) return -1;
  nvo_msjobs_release(dst);
  job_objects()[dst] = list;
  return 0;
}

int nvo_msjobs_traverse(const void *owner, visitproc visit, void *arg) {
  auto it = job_objects().find(owner);
  if (it != job_objects().end()) Py_VISIT(it->second);
  return 0;
}

Py_ssize_t nvo_msjobs_count(const void *owner) {
  auto it = job_objects().find(owner);
  return it == job_objects().end() ? 0 : PyList_GET_SIZE(it->second);
}
