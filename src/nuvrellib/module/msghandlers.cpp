// User message handlers of the global environment. Each registration is a [msghandler, data]
// list kept in msg_handlers; the list itself is the user data registered with the library,
// so the library hands it back with every message.
#include "module/errors.h"
#include "module/functions.h"
#include "module/env.h"
#include "module/opaque.h"
#include "module/output.h"
#include "module/pyref.h"

namespace {

// Whether entry is still one of msg_handlers; the caller holds the interpreter lock. Compared
// by address only: an entry that is no longer listed may already be freed.
bool is_listed(PyObject *entry) {
  EnvLock lock(nvr_py_env.mtx_msg);
  PyObject *list = nvr_py_env.msg_handlers;
  if (list == nullptr) return false;
  for (Py_ssize_t i = 0; i < PyList_GET_SIZE(list); ++i)
    if (PyList_GET_ITEM(list, i) == entry) return true;
  return false;
}

}  // namespace

int wrapper_msghandler(NVRLobject obj, void *cbdata, void *thread, const char *msg, int len,
                       int msgtype) {
  // A library worker thread has no Python thread state of its own: the one made for this
  // message goes with it, and nobody would ever see an exception left on it.
  const bool own_state = PyGILState_GetThisThreadState() != nullptr;
  PyGILState_STATE gil = PyGILState_Ensure();
  int result = 0;
  auto *entry = static_cast<PyObject *>(cbdata);
  PyRef handler;  // the handler called, named in a report of its exception
  if (PyErr_Occurred()) {
    // An earlier handler raised and nobody has reported it yet: stay quiet until they do.
  } else if (entry != nullptr && !is_listed(entry)) {
    // Another thread removed the handler while this message waited for the interpreter lock;
    // the library had already picked it, but its entry may be freed: do not touch it.
  } else if (entry == nullptr || !PyList_Check(entry) || PyList_GET_SIZE(entry) != 2) {
    PyErr_SetString(nvpy_interf_exc, "Incorrect general environment message handler detected");
    result = -1;
  } else {
    handler = PyRef<>::borrow(PyList_GET_ITEM(entry, 0));
    PyRef<> data = PyRef<>::borrow(PyList_GET_ITEM(entry, 1));
    PyRef pyobj(nvrlobject_create(obj));
    PyRef pythread(voidstar_create(thread));
    if (pyobj && pythread) {
      PyRef args(Py_BuildValue("(OOOsll)", pyobj.get(), data.get(), pythread.get(), msg,
                               static_cast<long>(len), static_cast<long>(msgtype)));
      // A handler's exception stays pending and surfaces when the library call returns
      // (on the thread that made it).
      if (args) PyRef(PyObject_CallObject(handler.get(), args.get()));
    }
  }
  if (!own_state && PyErr_Occurred()) {
    PyErr_WriteUnraisable(handler.get());
  }
  handler.reset();
  PyGILState_Release(gil);
  return result;
}

namespace {

// Removes entry from msg_handlers if it is still there.
void forget_entry(PyObject *entry) {
  EnvLock lock(nvr_py_env.mtx_msg);
  PyObject *list = nvr_py_env.msg_handlers;
  for (Py_ssize_t i = PyList_GET_SIZE(list) - 1; i >= 0; --i)
    if (PyList_GET_ITEM(list, i) == entry) {
      PySequence_DelItem(list, i);
      break;
    }
}

// Removes the registrations matching (handler, data), None matching anything, from the library
// and from msg_handlers. 0, or -1 with an exception set.
int remove_msghandlers(PyObject *handler, PyObject *data) {
  PyRef snapshot;
  {
    EnvLock lock(nvr_py_env.mtx_msg);
    snapshot.reset(PyList_GetSlice(nvr_py_env.msg_handlers, 0, PY_SSIZE_T_MAX));
  }
  if (!snapshot) return -1;
  Py_ssize_t count = PyList_GET_SIZE(snapshot.get());
  if (count == 0) {
    if (handler == Py_None) return 0;
    PyErr_SetString(nvpy_interf_exc, "Cannot remove callback from an empty set");
    return -1;
  }
  bool found = false;
  for (Py_ssize_t i = count - 1; i >= 0; --i) {
    PyObject *entry = PyList_GET_ITEM(snapshot.get(), i);
    if (!PyList_Check(entry) || PyList_GET_SIZE(entry) != 2) {
      PyErr_SetString(nvpy_interf_exc, "Incorrect data stored in callback");
      return -1;
    }
    if ((handler != Py_None && PyList_GET_ITEM(entry, 0) != handler) ||
        (data != Py_None && PyList_GET_ITEM(entry, 1) != data))
      continue;
    if (NVRL_ge_removecbmsghandler(wrapper_msghandler, entry) != 0) {
      return nvo_library_error(nullptr);
    }
    forget_entry(entry);
    found = true;
  }
  if (!found) {
    PyErr_SetString(nvpy_interf_exc, "Callback not found");
    return -1;
  }
  return 0;
}

}  // namespace

const char nuvrelmod_addcbmsghandler_doc[] =
    "Purpose:\n"
    "  Adds a handler that receives every message of the solver library, of all problems\n"
    "  and of the global environment.\n\n"
    "Synopsis:\n"
    "  nuvrel.addcbmsghandler(msghandler, data, priority)\n\n"
    "Arguments:\n"
    "  msghandler: called as msghandler(obj, data, thread, msg, len, msgtype), where obj is\n"
    "              the library object the message comes from, msg the text, len its length\n"
    "              and msgtype the kind of message (1 information, 2 debug, 3 warning,\n"
    "              4 error).\n"
    "  data:       any object, passed back to the handler (may be None).\n"
    "  priority:   handlers of higher priority are called first.\n\n"
    "Example:\n"
    "  def log(obj, data, thread, msg, len, msgtype):\n"
    "      data.append(msg)\n"
    "  lines = []\n"
    "  nuvrel.addcbmsghandler(log, lines, 0)\n";

PyObject *nuvrelmod_addcbmsghandler(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"msghandler", "data", "priority", nullptr};
  PyObject *handler = nullptr, *data = nullptr;
  long priority = 0;
  if (!PyArg_ParseTupleAndKeywords(args, kwargs, "OOl:addcbmsghandler", const_cast<char **>(kwlist),
                                   &handler, &data, &priority)) {
    PyErr_Clear();
    PyErr_SetString(nvpy_interf_exc,
                    "Incorrect arguments in addcbmsghandler. Must provide correct list of three "
                    "arguments");
    return nullptr;
  }
  PyRef entry(Py_BuildValue("[OO]", handler, data));
  if (!entry) return nullptr;
  {
    EnvLock lock(nvr_py_env.mtx_msg);
    if (PyList_Append(nvr_py_env.msg_handlers, entry.get()) != 0) return nullptr;
  }
  if (turnNVRLon(0) != 0 ||
      NVRL_ge_addcbmsghandler(wrapper_msghandler, entry.get(), static_cast<int>(priority)) != 0) {
    nvo_library_error(nullptr);
    // Keep the list in step with the library: what is not registered is not listed.
    PendingError pending;
    forget_entry(entry.get());
    return nullptr;
  }
  Py_RETURN_NONE;
}

const char nuvrelmod_removecbmsghandler_doc[] =
    "Purpose:\n"
    "  Removes message handlers added with addcbmsghandler.\n\n"
    "Synopsis:\n"
    "  nuvrel.removecbmsghandler(msghandler, data)\n\n"
    "Arguments:\n"
    "  msghandler: the handler to remove, or None for any handler.\n"
    "  data:       the data it was added with, or None for any data.\n\n"
    "Example:\n"
    "  def log(obj, data, thread, msg, len, msgtype):\n"
    "      print(msg)\n"
    "  nuvrel.addcbmsghandler(log, None, 0)\n"
    "  nuvrel.removecbmsghandler(log, None)\n";

PyObject *nuvrelmod_removecbmsghandler(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"msghandler", "data", nullptr};
  PyObject *handler = nullptr, *data = nullptr;
  if (!PyArg_ParseTupleAndKeywords(args, kwargs, "OO:removecbmsghandler",
                                   const_cast<char **>(kwlist), &handler, &data)) {
    PyErr_Clear();
    PyErr_SetString(nvpy_interf_exc,
                    "Incorrect arguments in removecbmsghandler. Must provide correct list of two "
                    "arguments");
    return nullptr;
  }
  if (turnNVRLon(0) != 0) return nullptr;
  if (remove_msghandlers(handler, data) != 0) return setNvrlErrIfNull(nullptr, nullptr);
  Py_RETURN_NONE;
}
