// Branching directives from Python: loading them (for the problem or its presolved form),
// setting branch directions alone, and reading them back.
#include <climits>

#include "lowlevel/lowlevel.h"
#include "lowlevel/query_support.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/errors.h"
#include "module/methods.h"
#include "problem/method_families.h"

namespace {

using LoadDirs = int (*)(NVRLprob, int, const int *, const int *, const char *, const double *,
                         const double *);

PyObject *load_dirs(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                    LoadDirs call) {
  static const char *kw[] = {"colind", "priority", "dir", "uppseudo", "downpseudo", nullptr};
  PyObject *v[5] = {};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("O|OOOO", name), kw, nullptr, &v[0],
                                 &v[1], &v[2], &v[3], &v[4]))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<int> cols, prio;
  ConvArray<char> dir;
  ConvArray<double> up, down;
  if (cols.convert(p, &n, v[0], CONV_COL) != 0 || prio.convert(p, &n, v[1], CONV_INT) != 0 ||
      dir.convert(p, &n, v[2], CONV_CHAR) != 0 || up.convert(p, &n, v[3], CONV_DOUBLE) != 0 ||
      down.convert(p, &n, v[4], CONV_DOUBLE) != 0)
    return query::done(p, nullptr);
  if (n < 0) n = 0;  // colind None: no directives
  if (n > INT_MAX) return query::interface_error("Too many directives");
  if (call(p->prob, static_cast<int>(n), cols.get(), prio.get(), dir.get(), up.get(),
           down.get()) != 0)
    return query::done(p, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_loaddirs(PyObject *self, PyObject *args, PyObject *kwargs) {
  return load_dirs(self, args, kwargs, "loaddirs", NVRLloaddirs);
}

PyObject *NVRL_PY_loadpresolvedirs(PyObject *self, PyObject *args, PyObject *kwargs) {
  return load_dirs(self, args, kwargs, "loadpresolvedirs", NVRLloadpresolvedirs);
}

PyObject *NVRL_PY_loadbranchdirs(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"colind", "dir", nullptr};
  PyObject *v[2] = {};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OO:loadbranchdirs", kw, nullptr, &v[0], &v[1]) ||
      nvo_require_args(kw, v, 2) != 0)
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<int> cols, dir;
  if (cols.convert(p, &n, v[0], CONV_COL) != 0 || dir.convert(p, &n, v[1], CONV_INT) != 0)
    return query::done(p, nullptr);
  if (n < 0) n = 0;
  if (n > INT_MAX) return query::interface_error("Too many directives");
  if (NVRLloadbranchdirs(p->prob, static_cast<int>(n), cols.get(), dir.get()) != 0)
    return query::done(p, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_getdirs(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"indices", "prios", "branchdirs", "uppseudo", "downpseudo", nullptr};
  PyObject *out[5] = {};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OOOOO:getdirs", kw, nullptr, &out[0], &out[1],
                                 &out[2], &out[3], &out[4]))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  bool any = false;
  for (PyObject *o : out) any = any || query::wanted(o);
  if (!any) return query::interface_error("Must provide arguments (as lists) to getdirs");
  if (query::outputs_are_lists({out[0], out[1], out[2], out[3], out[4]}) != 0) return nullptr;
  int n = 0;
  if (NVRLgetdirs(p->prob, &n, nullptr, nullptr, nullptr, nullptr, nullptr) != 0)
    return query::done(p, nullptr);
  if (n == 0) {  // no arrays to fill from: the lists are emptied here
    for (PyObject *o : out)
      if (query::wanted(o) && PyList_SetSlice(o, 0, PyList_GET_SIZE(o), nullptr) != 0)
        return nullptr;
    Py_RETURN_NONE;
  }
  AllocBuffer<int> cols, prio;
  AllocBuffer<char> dir;
  AllocBuffer<double> up, down;
  if (query::room_for(out[0], cols, n) != 0 || query::room_for(out[1], prio, n) != 0 ||
      query::room_for(out[2], dir, n) != 0 || query::room_for(out[3], up, n) != 0 ||
      query::room_for(out[4], down, n) != 0)
    return nullptr;
  if (NVRLgetdirs(p->prob, &n, cols.data(), prio.data(), dir.data(), up.data(), down.data()) != 0)
    return query::done(p, nullptr);
  if (query::fill_in_place(p, n, cols.data(), out[0], CONV_COL) != 0 ||
      query::fill_in_place(p, n, prio.data(), out[1], CONV_INT) != 0 ||
      query::fill_in_place(p, n, dir.data(), out[2], CONV_CHAR) != 0 ||
      query::fill_in_place(p, n, up.data(), out[3], CONV_DOUBLE) != 0 ||
      query::fill_in_place(p, n, down.data(), out[4], CONV_DOUBLE) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

#define KWM(name, doc) {#name, NVO_KW_METHOD(NVRL_PY_##name), METH_VARARGS | METH_KEYWORDS, doc}

}  // namespace

PyMethodDef problem_methods_directives[] = {
    KWM(loaddirs, "loaddirs(colind, priority=None, dir=None, uppseudo=None, downpseudo=None)\n\n"
                  "Replaces the branching directives of the tree search: priorities (0..1000, "
                  "smaller first), first branches ('U', 'D', 'N') and initial pseudocosts.\n\n"
                  "Example: p.loaddirs([x, y], [1, 2], ['U', 'D'])"),
    KWM(loadpresolvedirs, "loadpresolvedirs(colind, priority=None, dir=None, uppseudo=None, "
                          "downpseudo=None)\n\nloaddirs for the presolved problem, which is the "
                          "problem itself.\n\nExample: p.loadpresolvedirs([x], [1])"),
    KWM(loadbranchdirs, "loadbranchdirs(colind, dir)\n\nSets the first branch of columns: "
                        "dir > 0 up, < 0 down, 0 the search's choice.\n\nExample: "
                        "p.loadbranchdirs([x, y], [1, -1])"),
    KWM(getdirs, "getdirs(indices, prios, branchdirs, uppseudo, downpseudo)\n\nFills the lists "
                 "given (None for those not wanted) with the directives.\n\nExample: "
                 "cols, prio = [], []; p.getdirs(cols, prio, None, None, None)"),
    {nullptr, nullptr, 0, nullptr},
};
