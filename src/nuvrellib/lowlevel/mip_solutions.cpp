// MIP solutions given by the user and the solver operations on the last answer: loadmipsol,
// addmipsol, refinemipsol, crossoverlpsol, fixglobals, postsolve, scale, presolverow.
#include <algorithm>
#include <climits>
#include <cstdint>

#include "lowlevel/conv.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/errors.h"
#include "module/methods.h"
#include "problem/method_families.h"

namespace {

// Library calls that may solve (an LP, a QP or a small MIP) run with the interpreter lock
// released, under the interrupt guard of the optimisation calls.
template <class Call>
int solving_call(problem_s *p, Call &&call) {
  return problem_run_released(p, call);
}

// A full vector of column values: COLS doubles.
int column_values(problem_s *p, PyObject *obj, ConvArray<double> &out) {
  const int64_t cols = nvo_int_attrib(p, NVRL_ATTR_COLUMNS);
  if (cols < 0) return -1;
  int64_t n = cols;
  return out.convert(p, &n, obj, CONV_DOUBLE);
}

PyDoc_STRVAR(loadmipsol_doc,
             "loadmipsol(x)\n\n"
             "Checks the full solution x (one value per column) and, when it is feasible and\n"
             "better than the current MIP solution, makes it the problem's MIP solution. Returns\n"
             "0 loaded, 1 infeasible, 2 feasible but not better.\n\n"
             "Example: status = p.loadmipsol([1, 3, 0, 0, 0])");

PyObject *NVRL_PY_loadmipsol(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"x", nullptr};
  PyObject *x = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|O:loadmipsol", kwlist, nullptr, &x))
    return nullptr;
  if (x == nullptr || x == Py_None) {
    PyErr_SetString(nvpy_interf_exc, "Must provide argument dsol");
    return nullptr;
  }
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  ConvArray<double> values;
  if (column_values(p, x, values) != 0) return setNvrlErrIfNull(self, nullptr);
  int status = 0;
  if (solving_call(p, [&] { return NVRLloadmipsol(p->prob, values.get(), &status); }) != 0)
    return setNvrlErrIfNull(self, nullptr);
  return PyLong_FromLong(status);
}

PyDoc_STRVAR(addmipsol_doc,
             "addmipsol(solval, colind=None, name=None)\n\n"
             "Gives a solution for the next MIP solve to start from: values of the columns\n"
             "colind (indices, names or variables), or of all columns when colind is None. A\n"
             "partial solution is completed by solving for the other columns.\n\n"
             "Example: p.addmipsol([1, 1], [x, y], 'guess')");

PyObject *NVRL_PY_addmipsol(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"solval", "colind", "name", nullptr};
  static const char *legacy[] = {"mipsolval", "mipsolcol", "solname", nullptr};
  PyObject *solval = nullptr, *colind = Py_None;
  const char *name = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "O|Os:addmipsol", kwlist, legacy, &solval, &colind,
                                 &name))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<double> values;
  ConvArray<int> cols;
  if (values.convert(p, &n, solval, CONV_DOUBLE) != 0 || cols.convert(p, &n, colind, CONV_COL) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (n > INT_MAX) {
    PyErr_SetString(nvpy_interf_exc, "Too many entries for one call");
    return nullptr;
  }
  if (NVRLaddmipsol(p->prob, n < 0 ? 0 : static_cast<int>(n), values.get(), cols.get(), name) != 0)
    return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyDoc_STRVAR(refinemipsol_doc,
             "refinemipsol(options, flags, solution, refined_solution)\n\n"
             "Keeps the integer decisions of the MIP solution `solution` and solves the\n"
             "continuous columns again; the list refined_solution is filled with the result.\n"
             "options 1 also makes it the problem's MIP solution when better. Returns 0 refined,\n"
             "1 no feasible point with these integer decisions, 2 no answer in time.\n\n"
             "Example: r = []; status = p.refinemipsol(0, '', [1, 3, 0, 0, 0], r)");

PyObject *NVRL_PY_refinemipsol(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"options", "flags", "solution", "refined_solution", nullptr};
  int options = 0;
  const char *flags = nullptr;
  PyObject *solution = nullptr, *refined = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "isOO:refinemipsol", kwlist, nullptr, &options,
                                 &flags, &solution, &refined))
    return nullptr;
  if (!PyList_Check(refined)) {
    PyErr_SetString(nvpy_interf_exc, "refined_solution must be a list, to be filled in place");
    return nullptr;
  }
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  ConvArray<double> values;
  if (column_values(p, solution, values) != 0) return setNvrlErrIfNull(self, nullptr);
  if (!values.given()) {
    nvo_PyErr_MissingArgsRange(kwlist, 2, 3);
    return nullptr;
  }
  AllocBuffer<double> out;
  if (out.allocate(static_cast<size_t>(values.size())) != 0) return nullptr;
  int status = 0;
  if (solving_call(p, [&] {
        return NVRLrefinemipsol(p->prob, options, flags, values.get(), out.data(), &status);
      }) != 0)
    return setNvrlErrIfNull(self, nullptr);
  PyObject *slot = refined;
  if (conv_arr2obj(p, values.size(), out.data(), &slot, CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  return PyLong_FromLong(status);
}

PyDoc_STRVAR(crossoverlpsol_doc,
             "crossoverlpsol()\n\n"
             "Crosses the last LP solution (from a barrier run without crossover) over to a\n"
             "basic one. Returns 0 done, 1 already basic, 2 crossover failed.\n\n"
             "Example: status = p.crossoverlpsol()");

PyObject *NVRL_PY_crossoverlpsol(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int status = 0;
  if (solving_call(p, [&] { return NVRLcrossoverlpsol(p->prob, &status); }) != 0)
    return setNvrlErrIfNull(self, nullptr);
  return PyLong_FromLong(status);
}

PyDoc_STRVAR(fixglobals_doc,
             "fixglobals(options)\n\n"
             "Fixes the integer, semi-continuous and partially integer columns and the zero set\n"
             "members at their values in the current MIP solution; options 1 rounds values\n"
             "that are not integral, 0 refuses them.\n\n"
             "Example: p.loadmipsol([1, 3, 0, 0, 0]); p.fixglobals(1)");

PyObject *NVRL_PY_fixglobals(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"options", nullptr};
  int options = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "i:fixglobals", kwlist, nullptr, &options))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (NVRLfixglobals(p->prob, options) != 0) return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyDoc_STRVAR(postsolve_doc,
             "postsolve()\n\n"
             "Returns the problem to its original form. The library never keeps a presolved\n"
             "form, so there is nothing to undo.\n\n"
             "Example: p.postsolve()");

PyObject *NVRL_PY_postsolve(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (NVRLpostsolve(p->prob) != 0) return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyDoc_STRVAR(scale_doc,
             "scale(rowscale=None, colscale=None)\n\n"
             "Checks scale factors given as power-of-two exponents, one per row and one per\n"
             "column (each -64 to 64). The problem is scaled by HiGHS at each solve, so the\n"
             "factors change nothing.\n\n"
             "Example: p.scale([0, 1], [0, 0, -1, 0, 0])");

PyObject *NVRL_PY_scale(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"rowscale", "colscale", nullptr};
  PyObject *rows = Py_None, *cols = Py_None;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OO:scale", kwlist, nullptr, &rows, &cols))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t nr = nvo_int_attrib(p, NVRL_ATTR_ROWS), nc = nvo_int_attrib(p, NVRL_ATTR_COLUMNS);
  if (nr < 0 || nc < 0) return nullptr;
  ConvArray<int> rs, cs;
  if (rs.convert(p, &nr, rows, CONV_INT) != 0 || cs.convert(p, &nc, cols, CONV_INT) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (NVRLscale(p->prob, rs.get(), cs.get()) != 0) return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyDoc_STRVAR(presolverow_doc,
             "presolverow(rowtype, origcolind, origrowcoef, origrhs, maxcoefs, colind, rowcoef)\n\n"
             "The row origrowcoef x[origcolind] (rowtype 'L', 'G' or 'E') origrhs in the\n"
             "presolved problem's columns: the lists colind and rowcoef are filled with its\n"
             "entries (fixed columns move into the right-hand side). Returns (rhs, status):\n"
             "status 0, or 1 when the row has more than maxcoefs entries (lists untouched).\n\n"
             "Example: ci, rc = [], []; rhs, status = p.presolverow('L', [0, 1], [1, 2], 4, 10, ci, rc)");

PyObject *NVRL_PY_presolverow(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"rowtype",  "origcolind", "origrowcoef", "origrhs",
                                 "maxcoefs", "colind",     "rowcoef",     nullptr};
  char rowtype = 0;
  PyObject *origcols = nullptr, *origcoefs = nullptr, *colind = nullptr, *rowcoef = nullptr;
  double origrhs = 0.0;
  int maxcoefs = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "COOdiOO:presolverow", kwlist, nullptr, &rowtype,
                                 &origcols, &origcoefs, &origrhs, &maxcoefs, &colind, &rowcoef))
    return nullptr;
  if (!PyList_Check(colind) || !PyList_Check(rowcoef)) {
    PyErr_SetString(nvpy_interf_exc, "colind and rowcoef must be lists, to be filled in place");
    return nullptr;
  }
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<int> cols;
  ConvArray<double> coefs;
  if (cols.convert(p, &n, origcols, CONV_COL) != 0 ||
      coefs.convert(p, &n, origcoefs, CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (n > INT_MAX) {
    PyErr_SetString(nvpy_interf_exc, "Too many entries for one call");
    return nullptr;
  }
  AllocBuffer<int> outcols;
  AllocBuffer<double> outcoefs;
  // The presolved row has at most one entry per column given: room beyond that (maxcoefs may
  // be anything up to 2**31-1) would never be written.
  const size_t room = static_cast<size_t>(std::max<int64_t>(1, std::min<int64_t>(maxcoefs, n)));
  if (outcols.allocate(room) != 0 || outcoefs.allocate(room) != 0) return nullptr;
  int ncoefs = 0, status = 0;
  double rhs = 0.0;
  if (NVRLpresolverow(p->prob, rowtype, n < 0 ? 0 : static_cast<int>(n), cols.get(), coefs.get(),
                      origrhs, maxcoefs, &ncoefs, outcols.data(), outcoefs.data(), &rhs,
                      &status) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (status == 0) {
    PyObject *slot = colind;
    if (conv_arr2obj(p, ncoefs, outcols.data(), &slot, CONV_COL) != 0) return nullptr;
    slot = rowcoef;
    if (conv_arr2obj(p, ncoefs, outcoefs.data(), &slot, CONV_DOUBLE) != 0) return nullptr;
  }
  return Py_BuildValue("(di)", rhs, status);
}

}  // namespace

PyMethodDef problem_methods_mip_solutions[] = {
    {"loadmipsol", NVO_KW_METHOD(NVRL_PY_loadmipsol), METH_VARARGS | METH_KEYWORDS, loadmipsol_doc},
    {"addmipsol", NVO_KW_METHOD(NVRL_PY_addmipsol), METH_VARARGS | METH_KEYWORDS, addmipsol_doc},
    {"refinemipsol", NVO_KW_METHOD(NVRL_PY_refinemipsol), METH_VARARGS | METH_KEYWORDS,
     refinemipsol_doc},
    {"crossoverlpsol", NVRL_PY_crossoverlpsol, METH_NOARGS, crossoverlpsol_doc},
    {"fixglobals", NVO_KW_METHOD(NVRL_PY_fixglobals), METH_VARARGS | METH_KEYWORDS, fixglobals_doc},
    {"postsolve", NVRL_PY_postsolve, METH_NOARGS, postsolve_doc},
    {"scale", NVO_KW_METHOD(NVRL_PY_scale), METH_VARARGS | METH_KEYWORDS, scale_doc},
    {"presolverow", NVO_KW_METHOD(NVRL_PY_presolverow), METH_VARARGS | METH_KEYWORDS,
     presolverow_doc},
    {nullptr, nullptr, 0, nullptr},
};
