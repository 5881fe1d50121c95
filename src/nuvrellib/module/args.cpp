// Keyword parsing with two accepted keyword lists, and the missing-argument messages.
#include "module/args.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "module/env.h"
#include "module/pyref.h"

int nvo_ParseTupleAndKeywords(PyObject *args, PyObject *kwargs, const char *format,
                              const char **kwlist, const char **kwlist_alt, ...) {
  va_list outputs;
  va_start(outputs, kwlist_alt);
  va_list outputs_again;
  va_copy(outputs_again, outputs);

  int ok = PyArg_VaParseTupleAndKeywords(args, kwargs, format, const_cast<char **>(kwlist),
                                         outputs);
  if (!ok && kwlist_alt != nullptr) {
    // The primary list failed: try the legacy names, and report the primary list's error if
    // they fail too, since that is the list users are told about.
    PendingError primary;
    ok = PyArg_VaParseTupleAndKeywords(args, kwargs, format, const_cast<char **>(kwlist_alt),
                                       outputs_again);
    if (ok) primary.discard();
  }
  va_end(outputs_again);
  va_end(outputs);
  return ok;
}

method_format::method_format(const char *format, const char *name) {
  snprintf(text_, sizeof text_, "%s:%s", format, name);
}

namespace {

constexpr size_t kMaxMessage = 255;

void raise_missing(const char *const *names, int count) {
  std::string msg = count == 1 ? "Must provide argument" : "Must provide arguments";
  for (int i = 0; i < count; ++i) {
    msg += i == 0 ? " " : ", ";
    msg += names[i];
  }
  if (msg.size() > kMaxMessage) msg.resize(kMaxMessage);
  PyErr_SetString(nvpy_interf_exc, msg.c_str());
}

}  // namespace

int nvo_no_keywords(const char *name, PyObject *kwargs) {
  if (kwargs == nullptr || !PyDict_Check(kwargs) || PyDict_GET_SIZE(kwargs) == 0) return 0;
  PyErr_Format(PyExc_TypeError, "%s() takes no keyword arguments", name);
  return -1;
}

void nvo_PyErr_MissingArgsRange(const char **kwlist, int first, int last) {
  raise_missing(kwlist + first, last - first);
}

int nvo_require_args(const char **kwlist, PyObject *const *values, int nrequired) {
  constexpr int kMaxNames = 64;
  const char *names[kMaxNames];
  int count = 0;
  for (int i = 0; i < nrequired && count < kMaxNames; ++i)
    if (values[i] == nullptr) names[count++] = kwlist[i];
  if (count == 0) return 0;
  raise_missing(names, count);
  return -1;
}
