// Case rule for control and attribute names.
#include "module/casing.h"

#include <cstring>

#include "module/env.h"
#include "module/errors.h"
#include "module/pyref.h"

namespace {

constexpr size_t kMaxNameLength = 1024;

}  // namespace

int to_lowercase_all(const char *name, std::string *out) {
  size_t len = std::strlen(name);
  if (len > kMaxNameLength) {
    return nvo_model_error("Control or attribute name is too long");
  }
  bool has_lower = false, has_upper = false, has_other = false;
  for (size_t i = 0; i < len; ++i) {
    char c = name[i];
    if (c >= 'a' && c <= 'z')
      has_lower = true;
    else if (c >= 'A' && c <= 'Z')
      has_upper = true;
    else if (!((c >= '0' && c <= '9') || c == '_'))
      has_other = true;
  }
  if (has_other || (has_lower && has_upper)) {
    return nvo_model_error("Control or attribute is neither all-lower nor all-upper case");
  }
  out->assign(name, len);
  if (has_upper)
    for (char &c : *out)
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return 0;
}

PyObject *to_lowercase_all_obj(PyObject *name) {
  const char *text = PyUnicode_AsUTF8(name);
  if (text == nullptr) return nullptr;
  std::string lower;
  if (to_lowercase_all(text, &lower) != 0) return nullptr;
  return PyUnicode_FromStringAndSize(lower.data(), static_cast<Py_ssize_t>(lower.size()));
}

PyObject *PyDict_GetItem_LowerCaseKey(PyObject *dict, PyObject *key) {
  PyRef lower(to_lowercase_all_obj(key));
  if (!lower) return nullptr;
  return PyDict_GetItemWithError(dict, lower.get());
}

