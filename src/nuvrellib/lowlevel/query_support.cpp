#include "lowlevel/query_support.h"

#include "module/env.h"
#include "module/errors.h"
#include "module/pyref.h"

namespace query {

nvo_failure interface_error(const char *msg) {
  PyErr_SetString(nvpy_interf_exc, msg);
  return nvo_failure();
}

int outputs_are_lists(std::initializer_list<PyObject *> outs) {
  for (PyObject *o : outs)
    if (wanted(o) && !PyList_Check(o))
      return nvo_model_error("Unexpected argument to conv_arr2obj");
  return 0;
}

int count(problem_s *p, int attrib, int64_t *value) {
  *value = nvo_int_attrib(p, attrib);
  return *value < 0 ? -1 : 0;
}

int rows(problem_s *p, int64_t *value) { return count(p, NVRL_ATTR_ROWS, value); }
int cols(problem_s *p, int64_t *value) { return count(p, NVRL_ATTR_COLUMNS, value); }

int index(problem_s *p, PyObject *obj, int kind, int *out) {
  if (ObjInt2int(obj, p, out, kind) != 0) {
    // A failed name look-up leaves only the library's message.
    if (!PyErr_Occurred()) nvo_library_error(p);
    return -1;
  }
  return 0;
}

int range(problem_s *p, PyObject *first, PyObject *last, int kind, int64_t n,
          const char *empty_msg, int *f, int *l) {
  *f = 0;
  *l = static_cast<int>(n - 1);
  if (wanted(first) && index(p, first, kind, f) != 0) return -1;
  if (wanted(last) && index(p, last, kind, l) != 0) return -1;
  if (static_cast<int64_t>(*l) - *f + 1 < 1) return interface_error(empty_msg);
  return 0;
}

PyObject *fill(problem_s *p, int64_t n, const void *array, PyObject *out, int kind) {
  // The slot owns a reference: the conversion releases a None it replaces.
  PyObject *slot = Py_NewRef(out != nullptr ? out : Py_None);
  const int rc = conv_arr2obj(p, n, array, &slot, kind);
  PyRef list(slot);
  return rc != 0 ? nullptr : list.release();
}

int fill_in_place(problem_s *p, int64_t n, const void *array, PyObject *out, int kind) {
  if (!wanted(out)) return 0;
  return PyRef(fill(p, n, array, out, kind)) ? 0 : -1;
}

PyObject *filled_or_new(problem_s *p, int64_t n, const void *array, PyObject *out, int kind) {
  PyRef list(fill(p, n, array, out, kind));
  if (!list || !wanted(out)) return list.release();
  Py_RETURN_NONE;
}

}  // namespace query
