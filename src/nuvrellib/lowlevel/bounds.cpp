// getIndexFromName and the column bound queries getlb/getub: the pattern of every query that
// fills a list the caller passes or returns a new one.
#include "lowlevel/conv.h"
#include "lowlevel/query_support.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/errors.h"
#include "module/methods.h"
#include "problem/method_families.h"

namespace {

PyDoc_STRVAR(getIndexFromName_doc,
             "getIndexFromName(type, name)\n\n"
             "The index of the row (type 1) or column (type 2) with the given name.\n\n"
             "Example: j = p.getIndexFromName(2, 'x')");

PyObject *NVRL_PY_getIndexFromName(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"type", "name", nullptr};
  int type = 0;
  const char *name = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "is:getIndexFromName", kwlist, nullptr, &type,
                                 &name))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int index = -1;
  PyObject *result = nullptr;
  if (NVRLgetindex(p->prob, type, name, &index) == 0) result = PyLong_FromLong(index);
  return setNvrlErrIfNull(self, result);
}

using BoundQuery = int (*)(NVRLprob, double[], int, int);

PyObject *bound_query(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                      const char **kwlist, BoundQuery query) {
  PyObject *out = Py_None, *first_obj = nullptr, *last_obj = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("O|OO", name), kwlist, nullptr, &out,
                                 &first_obj, &last_obj))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  const int64_t cols = nvo_int_attrib(p, NVRL_ATTR_COLUMNS);
  if (cols < 0) return nullptr;
  int first = 0, last = static_cast<int>(cols) - 1;
  if (first_obj != nullptr && first_obj != Py_None &&
      ObjInt2int(first_obj, p, &first, CONV_COL) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (last_obj != nullptr && last_obj != Py_None &&
      ObjInt2int(last_obj, p, &last, CONV_COL) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (static_cast<int64_t>(last) + 1 - first < 1) Py_RETURN_NONE;
  AllocBuffer<double> values;
  if (values.allocate(static_cast<size_t>(query::room(first, last, cols))) != 0) return nullptr;
  if (query(p->prob, values.data(), first, last) != 0) return setNvrlErrIfNull(self, nullptr);
  PyObject *slot = out == Py_None ? nullptr : out;
  if (conv_arr2obj(p, static_cast<int64_t>(values.size()), values.data(), &slot, CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (out == Py_None) return slot;  // the new list
  Py_RETURN_NONE;
}

PyDoc_STRVAR(getlb_doc,
             "getlb(lb, first=0, last=COLS-1)\n\n"
             "Lower bounds of columns first..last (indices, names or variables). With lb None\n"
             "a new list is returned; with a list it is filled in place and None returned.\n\n"
             "Example: bounds = p.getlb(None); L = []; p.getlb(L, x, y)");

PyObject *NVRL_PY_getlb(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"lb", "first", "last", nullptr};
  return bound_query(self, args, kwargs, "getlb", kwlist, NVRLgetlb);
}

PyDoc_STRVAR(getub_doc,
             "getub(ub, first=0, last=COLS-1)\n\n"
             "Upper bounds of columns first..last, as getlb.\n\n"
             "Example: bounds = p.getub(None, 0, 4)");

PyObject *NVRL_PY_getub(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"ub", "first", "last", nullptr};
  return bound_query(self, args, kwargs, "getub", kwlist, NVRLgetub);
}

}  // namespace

PyMethodDef problem_methods_conversion[] = {
    {"getIndexFromName", NVO_KW_METHOD(NVRL_PY_getIndexFromName), METH_VARARGS | METH_KEYWORDS,
     getIndexFromName_doc},
    {"getlb", NVO_KW_METHOD(NVRL_PY_getlb), METH_VARARGS | METH_KEYWORDS, getlb_doc},
    {"getub", NVO_KW_METHOD(NVRL_PY_getub), METH_VARARGS | METH_KEYWORDS, getub_doc},
    {nullptr, nullptr, 0, nullptr},
};
