#include "model/array_names.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <map>
#include <memory>
#include <new>

#include "module/env.h"
#include "module/pyref.h"

struct array_name_pattern {
  uint64_t first_id, count, users;
  std::string prefix;  // with the opening parenthesis
  bool ascii;
  std::vector<Py_ssize_t> dims;
};

namespace {

constexpr Py_ssize_t MAX_NAME_LENGTH = 2500;

// The patterns by first identifier. Allocated once and never destroyed: a variable may be
// released during interpreter shutdown, after static destructors would have run.
std::map<uint64_t, std::unique_ptr<array_name_pattern>> &patterns() {
  static auto *all = new std::map<uint64_t, std::unique_ptr<array_name_pattern>>;
  return *all;
}
Py_ssize_t live_names = 0;
// The pattern found last: an array's variables are named and released one after another.
array_name_pattern *last_found = nullptr;

array_name_pattern *pattern_of(uint64_t id) {
  if (last_found != nullptr && id - last_found->first_id < last_found->count) return last_found;
  auto &all = patterns();
  auto it = all.upper_bound(id);
  if (it == all.begin()) return nullptr;
  array_name_pattern *p = std::prev(it)->second.get();
  if (id - p->first_id >= p->count) return nullptr;
  last_found = p;
  return p;
}

void erase_pattern(array_name_pattern *p) {
  if (last_found == p) last_found = nullptr;
  patterns().erase(p->first_id);
}

}  // namespace

PyObject *array_name_object(const std::string &text, bool ascii) {
  if (!ascii) {
    PyRef name(PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()),
                                    "replace"));
    if (!name || PyUnicode_GET_LENGTH(name.get()) <= MAX_NAME_LENGTH) return name.release();
    return PyUnicode_Substring(name.get(), 0, MAX_NAME_LENGTH);
  }
  // ASCII text becomes a str by one copy, without decoding.
  const Py_ssize_t len = std::min(static_cast<Py_ssize_t>(text.size()), MAX_NAME_LENGTH);
  PyObject *name = PyUnicode_New(len, 127);
  if (name != nullptr) std::memcpy(PyUnicode_1BYTE_DATA(name), text.data(), len);
  return name;
}

array_name_pattern *array_names_new(const std::string &prefix, const std::vector<Py_ssize_t> &dims,
                                    uint64_t first_id) {
  try {
    auto p = std::make_unique<array_name_pattern>();
    p->first_id = first_id;
    p->count = 1;
    for (Py_ssize_t k : dims) p->count *= static_cast<uint64_t>(k);
    p->users = 0;
    p->prefix = prefix + '(';
    p->ascii = true;
    for (unsigned char c : prefix) p->ascii = p->ascii && c < 0x80;
    p->dims = dims;
    array_name_pattern *raw = p.get();
    patterns().emplace(first_id, std::move(p));
    return raw;
  } catch (const std::bad_alloc &) {
    PyErr_NoMemory();
    return nullptr;
  }
}

void array_names_use(array_name_pattern *pattern) {
  ++pattern->users;
  ++live_names;
}

void array_names_unused(array_name_pattern *pattern) {
  if (pattern->users == 0) erase_pattern(pattern);
}

namespace {

// Writes the name of element id - first_id of p (its indices in C order, last index fastest).
void write_name(const array_name_pattern *p, uint64_t id, std::string *text) {
  const size_t nd = p->dims.size();
  // Room on the stack for any numpy array's dimensions; more only if a pattern ever has them.
  uint64_t small[64];
  std::vector<uint64_t> large(nd > 64 ? nd : 0);
  uint64_t *pos = nd > 64 ? large.data() : small;
  uint64_t rest = id - p->first_id;
  for (size_t d = nd; d-- > 0;) {
    const auto k = static_cast<uint64_t>(p->dims[d]);
    pos[d] = rest % k;
    rest /= k;
  }
  text->assign(p->prefix);
  char digits[24];
  for (size_t d = 0; d < nd; ++d) {
    if (d) *text += ',';
    const auto r = std::to_chars(digits, digits + sizeof digits, pos[d]);
    text->append(digits, r.ptr);
  }
  *text += ')';
}

}  // namespace

PyObject *array_names_get(uint64_t id) {
  const array_name_pattern *p = pattern_of(id);
  if (p == nullptr) {
    PyErr_SetString(nvpy_interf_exc, "Internal error in variable name");
    return nullptr;
  }
  std::string text;
  write_name(p, id, &text);
  return array_name_object(text, p->ascii);
}

bool array_names_ascii_text(uint64_t id, std::string *text) {
  const array_name_pattern *p = pattern_of(id);
  if (p == nullptr || !p->ascii) return false;
  write_name(p, id, text);
  return static_cast<Py_ssize_t>(text->size()) <= MAX_NAME_LENGTH;
}

void array_names_release(uint64_t id) {
  array_name_pattern *p = pattern_of(id);
  if (p == nullptr) return;
  --live_names;
  if (--p->users == 0) erase_pattern(p);
}

Py_ssize_t array_names_live() { return live_names; }
