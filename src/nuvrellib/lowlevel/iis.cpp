// Low-level methods of irreducible infeasible sets: the searches, the sets' sizes and members
// (as the problem's own constraint and var objects), isolations and files.
#include "lowlevel/query_support.h"
#include "module/args.h"
#include "module/errors.h"
#include "module/methods.h"
#include "problem/method_families.h"

namespace {

using query::done;
using query::wanted;

// A search may take long: the interpreter is released, and Ctrl-C stops the search between
// two of its solves.
template <typename Call>
int search(problem_s *p, Call call) {
  return problem_run_released(p, call);
}

PyObject *NVRL_PY_iisall(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (search(p, [&] { return NVRLiisall(p->prob); }) != 0) return done(p, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_iisfirst(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"mode", nullptr};
  int mode = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "i:iisfirst", kw, nullptr, &mode)) return nullptr;
  int status = 0;
  if (search(p, [&] { return NVRLiisfirst(p->prob, mode, &status); }) != 0)
    return done(p, nullptr);
  return PyLong_FromLong(status);
}

PyObject *NVRL_PY_iisnext(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int status = 0;
  if (search(p, [&] { return NVRLiisnext(p->prob, &status); }) != 0) return done(p, nullptr);
  return PyLong_FromLong(status);
}

PyObject *NVRL_PY_iisclear(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (NVRLiisclear(p->prob) != 0) return done(p, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_iisisolations(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"iis", nullptr};
  int num = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "i:iisisolations", kw, nullptr, &num))
    return nullptr;
  if (NVRLiisisolations(p->prob, num) != 0) return done(p, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_iiswrite(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"iis", "filename", "filetype", "flags", nullptr};
  int num = 0, filetype = 0;
  const char *filename = nullptr, *flags = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "isis:iiswrite", kw, nullptr, &num, &filename,
                                 &filetype, &flags))
    return nullptr;
  if (NVRLiiswrite(p->prob, num, filename, filetype, flags) != 0) return done(p, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_iisstatus(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"nrows", "ncols", "suminfeas", "numinfeas", nullptr};
  PyObject *nrows = nullptr, *ncols = nullptr, *suminfeas = nullptr, *numinfeas = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "OOOO:iisstatus", kw, nullptr, &nrows, &ncols,
                                 &suminfeas, &numinfeas))
    return nullptr;
  if (query::outputs_are_lists({nrows, ncols, suminfeas, numinfeas}) != 0) return nullptr;
  int count = 0;
  if (NVRLiisstatus(p->prob, &count, nullptr, nullptr, nullptr, nullptr) != 0)
    return done(p, nullptr);
  AllocBuffer<int> rows, cols, num;
  AllocBuffer<double> sum;
  if (rows.allocate(count) != 0 || cols.allocate(count) != 0 || sum.allocate(count) != 0 ||
      num.allocate(count) != 0)
    return nullptr;
  if (NVRLiisstatus(p->prob, &count, rows.data(), cols.data(), sum.data(), num.data()) != 0)
    return done(p, nullptr);
  if (query::fill_in_place(p, count, rows.data(), nrows, CONV_INT) != 0 ||
      query::fill_in_place(p, count, cols.data(), ncols, CONV_INT) != 0 ||
      query::fill_in_place(p, count, sum.data(), suminfeas, CONV_DOUBLE) != 0 ||
      query::fill_in_place(p, count, num.data(), numinfeas, CONV_INT) != 0)
    return nullptr;
  // The library counts its initial subsystem as set 0; the sets proper follow it.
  return PyLong_FromLong(count - 1);
}

PyObject *NVRL_PY_getiisdata(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  static const char *kw[] = {"iis",   "rowind", "colind",        "contype",       "bndtype",
                             "duals", "djs",    "isolationrows", "isolationcols", nullptr};
  int num = 0;
  PyObject *rowind = nullptr, *colind = nullptr, *contype = nullptr, *bndtype = nullptr,
           *duals = nullptr, *djs = nullptr, *isorows = nullptr, *isocols = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "i|OOOOOOOO:getiisdata", kw, nullptr, &num, &rowind,
                                 &colind, &contype, &bndtype, &duals, &djs, &isorows, &isocols))
    return nullptr;
  if (query::outputs_are_lists({rowind, colind, contype, bndtype, duals, djs, isorows,
                                isocols}) != 0)
    return nullptr;
  int r = 0, c = 0;
  if (NVRLgetiisdata(p->prob, num, &r, &c, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                     nullptr, nullptr) != 0)
    return done(p, nullptr);
  AllocBuffer<int> brow, bcol;
  AllocBuffer<char> bctype, bbtype, bisor, bisoc;
  AllocBuffer<double> bduals, bdjs;
  if (query::room_for(rowind, brow, r) != 0 || query::room_for(colind, bcol, c) != 0 ||
      query::room_for(contype, bctype, r) != 0 || query::room_for(bndtype, bbtype, c) != 0 ||
      query::room_for(duals, bduals, r) != 0 || query::room_for(djs, bdjs, c) != 0 ||
      query::room_for(isorows, bisor, r) != 0 || query::room_for(isocols, bisoc, c) != 0)
    return nullptr;
  if (NVRLgetiisdata(p->prob, num, &r, &c, brow.data(), bcol.data(), bctype.data(),
                     bbtype.data(), bduals.data(), bdjs.data(), bisor.data(),
                     bisoc.data()) != 0)
    return done(p, nullptr);
  if (query::fill_in_place(p, r, brow.data(), rowind, CONV_ROW) != 0 ||
      query::fill_in_place(p, c, bcol.data(), colind, CONV_COL) != 0 ||
      query::fill_in_place(p, r, bctype.data(), contype, CONV_CHAR) != 0 ||
      query::fill_in_place(p, c, bbtype.data(), bndtype, CONV_CHAR) != 0 ||
      query::fill_in_place(p, r, bduals.data(), duals, CONV_DOUBLE) != 0 ||
      query::fill_in_place(p, c, bdjs.data(), djs, CONV_DOUBLE) != 0 ||
      query::fill_in_place(p, r, bisor.data(), isorows, CONV_BYTE) != 0 ||
      query::fill_in_place(p, c, bisoc.data(), isocols, CONV_BYTE) != 0)
    return nullptr;
  Py_RETURN_NONE;
}

#define KW(name, doc) {#name, NVO_KW_METHOD(NVRL_PY_##name), METH_VARARGS | METH_KEYWORDS, doc}
#define NOARGS(name, doc) {#name, NVRL_PY_##name, METH_NOARGS, doc}

}  // namespace

PyMethodDef problem_methods_iis[] = {
    NOARGS(iisall, "iisall()\n\n"
                   "Searches for every irreducible infeasible set (IIS) of rows and bounds,\n"
                   "within the controls iis_time_limit and iis_max_sets.\n\n"
                   "Example: p.iisall(); n = p.iisstatus([], [], [], [])"),
    KW(iisfirst, "iisfirst(mode) -> int\n\n"
                 "Starts a new search: mode 0 finds an infeasible subsystem only, mode 1 an\n"
                 "IIS. Returns the status: 0 found, 1 feasible, 3 approximate (time limit),\n"
                 "4 stopped by the time limit.\n\n"
                 "Example: status = p.iisfirst(1)"),
    NOARGS(iisnext, "iisnext() -> int\n\n"
                    "Searches for one further IIS; the status is 2 when there is none.\n\n"
                    "Example: while p.iisnext() == 0: pass"),
    NOARGS(iisclear, "iisclear()\n\nForgets the sets found.\n\nExample: p.iisclear()"),
    KW(iisisolations, "iisisolations(iis)\n\n"
                      "Marks the members of set iis that are in no other set found; read\n"
                      "them with getiisdata.\n\n"
                      "Example: p.chgrhs([c1], [-1]); p.iisfirst(1); p.iisisolations(1)"),
    KW(iiswrite, "iiswrite(iis, filename, filetype, flags)\n\n"
                 "Writes set iis as an infeasible problem of its own: filetype 0 LP, 1 MPS;\n"
                 "flags must be empty.\n\n"
                 "Example: p.chgrhs([c1], [-1]); p.iisfirst(1)\n"
                 "         p.iiswrite(1, 'conflict', 0, '')"),
    KW(iisstatus, "iisstatus(nrows, ncols, suminfeas, numinfeas) -> int\n\n"
                  "Fills the four lists with one entry per set, the initial subsystem (set 0)\n"
                  "first: rows, bounds, least total violation and violated members. Returns\n"
                  "the number of IIS found.\n\n"
                  "Example: r, c, s, n = [], [], [], []; count = p.iisstatus(r, c, s, n)"),
    KW(getiisdata, "getiisdata(iis, rowind=None, colind=None, contype=None, bndtype=None,\n"
                   "           duals=None, djs=None, isolationrows=None, isolationcols=None)\n\n"
                   "Fills the lists given with the members of set iis: constraints and\n"
                   "variables, row types ('L', 'G', 'E') and bound types ('L', 'U'), their\n"
                   "multipliers in a certificate of infeasibility, and isolation flags as\n"
                   "strings ('1': in no other set).\n\n"
                   "Example: p.chgrhs([c1], [-1]); p.iisfirst(1)\n"
                   "         rows, cols = [], []; p.getiisdata(1, rows, cols)"),
    {nullptr, nullptr, 0, nullptr},
};
