// Loading a whole problem from arrays (loadproblem) and adding rows and columns (addrows,
// addcols), keeping a var for every column and a constraint for every row.
#include <string>

#include "lowlevel/lowlevel.h"
#include "model/constraint.h"
#include "model/sos.h"
#include "model/var.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/methods.h"
#include "module/pyref.h"
#include "problem/method_families.h"

int nvo_check_starts(const int64_t *start, int64_t n, int64_t total, const char *what) {
  for (int64_t i = 0; i < n; ++i) {
    if (start[i] < 0 || start[i] > total) {
      PyErr_Format(nvpy_interf_exc,
                   "Start %lld of the %s is %lld, outside the %lld entries of its arrays",
                   static_cast<long long>(i), what, static_cast<long long>(start[i]),
                   static_cast<long long>(total));
      return -1;
    }
  }
  return 0;
}

void nvo_undo_added(problem_s *p, int64_t first, bool columns) {
  PendingError pending;
  const int64_t now = nvo_int_attrib(p, columns ? NVRL_ATTR_ORIGINAL_COLUMNS
                                                : NVRL_ATTR_ORIGINAL_ROWS);
  if (now > first) {
    AllocBuffer<int> extra;
    if (extra.allocate(static_cast<size_t>(now - first)) == 0) {
      for (int64_t j = first; j < now; ++j) extra[j - first] = static_cast<int>(j);
      const int n = static_cast<int>(now - first);
      columns ? NVRLdelcols(p->prob, n, extra.data()) : NVRLdelrows(p->prob, n, extra.data());
    }
  }
  PyErr_Clear();
  nvo_drop_added_objects(columns ? p->vars : p->cons, columns ? p->varmap : p->conmap, first,
                         columns);
}

namespace {

// Names that the library would refuse after the load has replaced the model, found before:
// one that is not text, or longer than the library allows. A name may repeat, as in a file
// (a look-up by name finds the first holder). 0, or -1 with an exception.
int check_new_names(PyObject *names, const char *what) {
  if (names == nullptr || names == Py_None) return 0;
  if (!PyList_Check(names) && !PyTuple_Check(names)) {
    PyErr_Format(nvpy_interf_exc, "The %s names must be a list of strings", what);
    return -1;
  }
  for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(names); ++i) {
    PyObject *name = PySequence_Fast_GET_ITEM(names, i);
    Py_ssize_t len = 0;
    const char *text = nullptr;
    if (PyUnicode_Check(name)) text = PyUnicode_AsUTF8AndSize(name, &len);
    else if (PyBytes_Check(name)) text = PyBytes_AS_STRING(name), len = PyBytes_GET_SIZE(name);
    if (text == nullptr) {
      PyErr_Clear();
      PyErr_Format(nvpy_model_exc, "Erroneous name for %s %d", what, static_cast<int>(i));
      return -1;
    }
    if (len > NVRL_MAXNAMELEN) {
      PyErr_Format(nvpy_interf_exc, "The name of %s %d is longer than %d characters", what,
                   static_cast<int>(i), NVRL_MAXNAMELEN);
      return -1;
    }
  }
  return 0;
}

// One sos per loaded set, its members taken from vars.
PyObject *build_sets(int nsets, const char *settype, const int64_t *setstart, const int *setind,
                     const double *refval, PyObject *vars) {
  PyRef list(PyList_New(nsets));
  if (!list) return nullptr;
  for (int k = 0; k < nsets; ++k) {
    const int64_t b = setstart[k], e = setstart[k + 1];
    PyRef members(PyList_New(static_cast<Py_ssize_t>(e - b)));
    PyRef weights(PyList_New(static_cast<Py_ssize_t>(e - b)));
    if (!members || !weights) return nullptr;
    for (int64_t i = b; i < e; ++i) {
      PyObject *w = PyFloat_FromDouble(refval[i]);
      if (w == nullptr) return nullptr;
      PyList_SET_ITEM(members.get(), i - b, Py_NewRef(PyList_GET_ITEM(vars, setind[i])));
      PyList_SET_ITEM(weights.get(), i - b, w);
    }
    PyObject *s = sos_create(members.get(), weights.get(), settype[k] == '2' ? 2 : 1, nullptr);
    if (s == nullptr) return nullptr;
    PyList_SET_ITEM(list.get(), k, s);
  }
  return list.release();
}

// Replaces the problem's objects by the loaded ones (the load has succeeded).
int adopt_objects(problem_s *p, PyRef<> *vars, rowcolmap *varmap, PyRef<> *cons,
                  rowcolmap *conmap, PyRef<> *sets) {
  std::swap(*p->varmap, *varmap);
  std::swap(*p->conmap, *conmap);
  rowcolmap_clear(p->sosmap);
  for (Py_ssize_t k = 0; k < PyList_GET_SIZE(sets->get()); ++k)
    if (rowcolmap_set(p->sosmap, static_cast<uint64_t>(sos_id(PyList_GET_ITEM(sets->get(), k))),
                      k) != 0)
      return -1;
  Py_SETREF(p->vars, vars->release());
  Py_SETREF(p->cons, cons->release());
  Py_SETREF(p->sets, sets->release());
  // The objective's auxiliary row and column went with the old model.
  p->objtransfer_col = p->objtransfer_row = -1;
  p->nonlin_obj = 0;
  if (p->slpprob != nullptr && nslp_state(-1) == 1) {
    int rows = 0, coefs = 0;
    if (NSLPgetintattrib(p->slpprob, NSLP_ATTR_NONLINEAR_ROWS, &rows) == 0 &&
        NSLPgetintattrib(p->slpprob, NSLP_ATTR_COEFFICIENTS, &coefs) == 0)
      p->n_nonlin_cons = rows + coefs;
  }
  return 0;
}

enum LoadArg {
  L_PROBNAME, L_ROWTYPE, L_RHS, L_RNG, L_OBJCOEF, L_START, L_COLLEN, L_ROWIND, L_ROWCOEF, L_LB,
  L_UB, L_OBJQCOL1, L_OBJQCOL2, L_OBJQCOEF, L_QROWIND, L_NROWQCOEFS, L_ROWQCOL1, L_ROWQCOL2,
  L_ROWQCOEF, L_COLTYPE, L_ENTIND, L_LIMIT, L_SETTYPE, L_SETSTART, L_SETIND, L_REFVAL,
  L_COLNAMES, L_ROWNAMES, L_COUNT
};

const char *kLoadKw[] = {"probname", "rowtype", "rhs", "rng", "objcoef", "start", "collen",
                         "rowind", "rowcoef", "lb", "ub", "objqcol1", "objqcol2", "objqcoef",
                         "qrowind", "nrowqcoefs", "rowqcol1", "rowqcol2", "rowqcoef",
                         "coltype", "entind", "limit", "settype", "setstart", "setind",
                         "refval", "colnames", "rownames", nullptr};
const char *kLoadKwLegacy[] = {"probname", "qrtypes", "rhs", "range", "obj", "mstart", "mnel",
                               "mrwind", "dmatval", "dlb", "dub", "mqcol1", "mqcol2", "dqe",
                               "qcrows", "qcnquads", "qcmqcol1", "qcmqcol2", "qcdqval",
                               "qgtype", "mgcols", "dlim", "qstype", "msstart", "mscols",
                               "dref", "colnames", "rownames", nullptr};

inline bool given(PyObject *o) { return o != nullptr && o != Py_None; }

PyDoc_STRVAR(loadproblem_doc,
             "loadproblem(probname, rowtype, rhs, rng, objcoef, start, collen, rowind, rowcoef,\n"
             "            lb, ub, objqcol1=None, objqcol2=None, objqcoef=None, qrowind=None,\n"
             "            nrowqcoefs=None, rowqcol1=None, rowqcol2=None, rowqcoef=None,\n"
             "            coltype=None, entind=None, limit=None, settype=None, setstart=None,\n"
             "            setind=None, refval=None, colnames=None, rownames=None)\n\n"
             "Replaces the problem by the one given as arrays (lists, tuples or numpy arrays;\n"
             "indices are plain integers): rows by type, right-hand side and range, columns\n"
             "by objective coefficient and bounds, the matrix column-wise (start, optional\n"
             "collen, rowind, rowcoef), and optionally a quadratic objective, quadratic rows,\n"
             "integer and other global columns, special ordered sets and names. A var is\n"
             "created for every column and a constraint for every row.\n\n"
             "Example: p.loadproblem('p', ['L'], [4], None, [1, 2], [0, 1, 2], None, [0, 0],\n"
             "                       [1, 1], [0, 0], [10, 10])");

PyObject *NVRL_PY_loadproblem(PyObject *self, PyObject *args, PyObject *kwargs) {
  const char *probname = nullptr;
  PyObject *a[L_COUNT] = {};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|sOOOOOOOOOOOOOOOOOOOOOOOOOOO:loadproblem", kLoadKw,
                                 kLoadKwLegacy, &probname, &a[1], &a[2], &a[3], &a[4], &a[5], &a[6],
                                 &a[7], &a[8], &a[9], &a[10], &a[11], &a[12], &a[13], &a[14],
                                 &a[15], &a[16], &a[17], &a[18], &a[19], &a[20], &a[21], &a[22],
                                 &a[23], &a[24], &a[25], &a[26], &a[27]))
    return nullptr;
  a[L_PROBNAME] = probname != nullptr ? Py_None : nullptr;
  if (nvo_require_args(kLoadKw, a, L_UB + 1) != 0) return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;

  // Each optional group is given whole or not at all.
  auto count_given = [&](int from, int to) {
    int n = 0;
    for (int i = from; i <= to; ++i) n += given(a[i]);
    return n;
  };
  const int nq = count_given(L_OBJQCOL1, L_OBJQCOEF), nqr = count_given(L_QROWIND, L_ROWQCOEF);
  const int nsetargs = count_given(L_SETTYPE, L_REFVAL);
  const char *incomplete = nullptr;
  if (nq != 0 && nq != 3)
    incomplete = "Incomplete list of parameters specified for the quadratic objective component";
  else if (nqr != 0 && nqr != 5)
    incomplete = "Incomplete list of parameters specified for the quadratic rows component";
  else if (given(a[L_COLTYPE]) ? !given(a[L_ENTIND])
                               : (given(a[L_ENTIND]) || given(a[L_LIMIT])))
    incomplete = "Incomplete list of parameters specified for the global entities";
  else if (nsetargs != 0 && nsetargs != 4)
    incomplete = "Incomplete list of parameters specified for the SOS";
  if (incomplete != nullptr) {
    PyErr_SetString(nvpy_interf_exc, incomplete);
    return nullptr;
  }

  int64_t nrows = -1, ncols = -1, nstart = -1, nnz = -1, nobjq = -1, nqrows = -1, nqterms = -1,
          nent = -1, nsets = -1, nsetstart = -1, nsetelems = -1;
  ConvArray<char> rowtype, coltype, settype;
  ConvArray<double> rhs, rng, obj, rowcoef, lb, ub, objqcoef, rowqcoef, limit, refval;
  ConvArray<int64_t> start, nrowqcoefs, setstart;
  ConvArray<int> collen, rowind, objqcol1, objqcol2, qrowind, rowqcol1, rowqcol2, entind, setind;
  // Arrays that only the library reads are taken in place when they can be; those checked
  // here first (starts, lengths, counts) or indexed here afterwards (set members) are copies,
  // which no finalizer run by a later allocation can change after their check.
  if (rowtype.view(p, &nrows, a[L_ROWTYPE], CONV_CHAR) != 0 ||
      rhs.view(p, &nrows, a[L_RHS], CONV_DOUBLE) != 0 ||
      rng.view(p, &nrows, a[L_RNG], CONV_DOUBLE) != 0 ||
      obj.view(p, &ncols, a[L_OBJCOEF], CONV_DOUBLE) != 0 ||
      start.convert(p, &nstart, a[L_START], CONV_INT64) != 0 ||
      collen.convert(p, &ncols, a[L_COLLEN], CONV_INT) != 0 ||
      rowind.view(p, &nnz, a[L_ROWIND], CONV_INT) != 0 ||
      rowcoef.view(p, &nnz, a[L_ROWCOEF], CONV_DOUBLE) != 0 ||
      lb.view(p, &ncols, a[L_LB], CONV_DOUBLE) != 0 ||
      ub.view(p, &ncols, a[L_UB], CONV_DOUBLE) != 0 ||
      objqcol1.view(p, &nobjq, a[L_OBJQCOL1], CONV_INT) != 0 ||
      objqcol2.view(p, &nobjq, a[L_OBJQCOL2], CONV_INT) != 0 ||
      objqcoef.view(p, &nobjq, a[L_OBJQCOEF], CONV_DOUBLE) != 0 ||
      qrowind.view(p, &nqrows, a[L_QROWIND], CONV_INT) != 0 ||
      nrowqcoefs.convert(p, &nqrows, a[L_NROWQCOEFS], CONV_INT64) != 0 ||
      rowqcol1.view(p, &nqterms, a[L_ROWQCOL1], CONV_INT) != 0 ||
      rowqcol2.view(p, &nqterms, a[L_ROWQCOL2], CONV_INT) != 0 ||
      rowqcoef.view(p, &nqterms, a[L_ROWQCOEF], CONV_DOUBLE) != 0 ||
      coltype.view(p, &nent, a[L_COLTYPE], CONV_CHAR) != 0 ||
      entind.view(p, &nent, a[L_ENTIND], CONV_INT) != 0 ||
      limit.view(p, &nent, a[L_LIMIT], CONV_DOUBLE) != 0 ||
      settype.view(p, &nsets, a[L_SETTYPE], CONV_CHAR) != 0 ||
      setstart.view(p, &nsetstart, a[L_SETSTART], CONV_INT64) != 0 ||
      setind.convert(p, &nsetelems, a[L_SETIND], CONV_INT) != 0 ||
      refval.view(p, &nsetelems, a[L_REFVAL], CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  nrows = nrows < 0 ? 0 : nrows;
  if (ncols < 0) ncols = start.given() ? (collen.given() ? nstart : nstart - 1) : 0;
  if (ncols < 0) ncols = 0;
  nnz = nnz < 0 ? 0 : nnz;

  // The library cannot see the lengths of the arrays: every start must lie inside them.
  if (start.given()) {
    if (nstart < ncols + (collen.given() ? 0 : 1)) {
      PyErr_Format(nvpy_interf_exc, "Argument start needs %lld entries, found %lld",
                   static_cast<long long>(ncols + (collen.given() ? 0 : 1)),
                   static_cast<long long>(nstart));
      return nullptr;
    }
    if (nvo_check_starts(start.get(), collen.given() ? ncols : ncols + 1, nnz, "columns") != 0)
      return nullptr;
    for (int64_t j = 0; collen.given() && j < ncols; ++j) {
      if (collen[j] < 0 || start[j] + collen[j] > nnz) {
        PyErr_Format(nvpy_interf_exc,
                     "Column %lld has its coefficients outside the %lld entries of rowind",
                     static_cast<long long>(j), static_cast<long long>(nnz));
        return nullptr;
      }
    }
  } else if (nnz > 0 || collen.given()) {
    PyErr_SetString(nvpy_interf_exc, "Coefficients given without column starts");
    return nullptr;
  }
  if (qrowind.given()) {
    int64_t total = 0;
    for (int64_t k = 0; k < nqrows; ++k) {
      if (nrowqcoefs[k] < 0) break;
      total += nrowqcoefs[k];
    }
    if (total != nqterms) {
      PyErr_SetString(nvpy_interf_exc,
                      "The counts in nrowqcoefs do not add up to the quadratic row terms given");
      return nullptr;
    }
  }
  AllocBuffer<int64_t> setbounds;
  if (settype.given()) {
    // Sets are given by their starts, with or without the end of the last one.
    if (nsetstart != nsets && nsetstart != nsets + 1) {
      PyErr_Format(nvpy_interf_exc, "Argument setstart needs %lld entries, found %lld",
                   static_cast<long long>(nsets + 1), static_cast<long long>(nsetstart));
      return nullptr;
    }
    if (setbounds.allocate(static_cast<size_t>(nsets + 1)) != 0) return nullptr;
    for (int64_t k = 0; k < nsets; ++k) setbounds[k] = setstart[k];
    setbounds[nsets] = nsetstart == nsets + 1 ? setstart[nsets] : nsetelems;
    if (nvo_check_starts(setbounds.data(), nsets + 1, nsetelems, "sets") != 0) return nullptr;
  }
  if (check_new_names(a[L_COLNAMES], "variable") != 0 ||
      check_new_names(a[L_ROWNAMES], "constraint") != 0)
    return nullptr;

  // The objects of the new model, built aside so that a failure keeps the old ones.
  PyRef<> vars, cons;
  rowcolmap newvarmap, newconmap;
  nvo_new_columns cols;
  cols.n = ncols;
  cols.lb = lb.get();
  cols.ub = ub.get();
  cols.nentities = coltype.given() ? nent : 0;
  cols.entind = entind.get();
  cols.coltype = coltype.get();
  cols.limit = limit.get();
  if (addColsAsVariables(p, &vars, &newvarmap, a[L_COLNAMES], 0, cols) != 0 ||
      addRowsAsConstraints(p, &cons, &newconmap, a[L_ROWNAMES], 0, nrows, rowtype.get(),
                           rhs.get(), rng.get()) != 0)
    return nullptr;

  const int nr = static_cast<int>(nrows), nc = static_cast<int>(ncols);
  const bool global = coltype.given() || settype.given();
  const int ne = coltype.given() ? static_cast<int>(nent) : 0;
  const int ns = settype.given() ? static_cast<int>(nsets) : 0;
  const int64_t nqo = objqcol1.given() ? nobjq : 0;
  int rc;
  if (qrowind.given()) {
    rc = global ? NVRLloadqcqpglobal64(p->prob, probname, nc, nr, rowtype.get(), rhs.get(),
                                       rng.get(), obj.get(), start.get(), collen.get(),
                                       rowind.get(), rowcoef.get(), lb.get(), ub.get(), nqo,
                                       objqcol1.get(), objqcol2.get(), objqcoef.get(),
                                       static_cast<int>(nqrows), qrowind.get(), nrowqcoefs.get(),
                                       rowqcol1.get(), rowqcol2.get(), rowqcoef.get(), ne, ns,
                                       coltype.get(), entind.get(), limit.get(), settype.get(),
                                       setbounds.data(), setind.get(), refval.get())
                : NVRLloadqcqp64(p->prob, probname, nc, nr, rowtype.get(), rhs.get(), rng.get(),
                                 obj.get(), start.get(), collen.get(), rowind.get(),
                                 rowcoef.get(), lb.get(), ub.get(), nqo, objqcol1.get(),
                                 objqcol2.get(), objqcoef.get(), static_cast<int>(nqrows),
                                 qrowind.get(), nrowqcoefs.get(), rowqcol1.get(),
                                 rowqcol2.get(), rowqcoef.get());
  } else if (objqcol1.given()) {
    rc = global ? NVRLloadqglobal64(p->prob, probname, nc, nr, rowtype.get(), rhs.get(),
                                    rng.get(), obj.get(), start.get(), collen.get(),
                                    rowind.get(), rowcoef.get(), lb.get(), ub.get(), nqo,
                                    objqcol1.get(), objqcol2.get(), objqcoef.get(), ne, ns,
                                    coltype.get(), entind.get(), limit.get(), settype.get(),
                                    setbounds.data(), setind.get(), refval.get())
                : NVRLloadqp64(p->prob, probname, nc, nr, rowtype.get(), rhs.get(), rng.get(),
                               obj.get(), start.get(), collen.get(), rowind.get(),
                               rowcoef.get(), lb.get(), ub.get(), nqo, objqcol1.get(),
                               objqcol2.get(), objqcoef.get());
  } else if (global) {
    rc = NVRLloadglobal64(p->prob, probname, nc, nr, rowtype.get(), rhs.get(), rng.get(),
                          obj.get(), start.get(), collen.get(), rowind.get(), rowcoef.get(),
                          lb.get(), ub.get(), ne, ns, coltype.get(), entind.get(), limit.get(),
                          settype.get(), setbounds.data(), setind.get(), refval.get());
  } else {
    rc = NVRLloadlp64(p->prob, probname, nc, nr, rowtype.get(), rhs.get(), rng.get(), obj.get(),
                      start.get(), collen.get(), rowind.get(), rowcoef.get(), lb.get(),
                      ub.get());
  }
  if (rc != 0) return setNvrlErrIfNull(self, nullptr);

  // The load has replaced the model: from here on the objects must follow it.
  PyRef sets(settype.given() ? build_sets(ns, settype.get(), setbounds.data(), setind.get(),
                                          refval.get(), vars.get())
                             : PyList_New(0));
  if (!sets) return nullptr;
  if (adopt_objects(p, &vars, &newvarmap, &cons, &newconmap, &sets) != 0) return nullptr;
  if (setAddedColsNamesTypes(p, a[L_COLNAMES], nullptr, 0, nc) != 0 ||
      setAddedRowsNames(p, a[L_ROWNAMES], 0, nr) != 0)
    return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

// ----- addrows / addcols ---------------------------------------------------------------------

PyDoc_STRVAR(addrows_doc,
             "addrows(rowtype, rhs, start, colind, rowcoef, range=None, names=None)\n\n"
             "Appends rows given row-wise: row i has the coefficients start[i] ..\n"
             "start[i+1]-1 of colind (indices, names or variables) and rowcoef; start has one\n"
             "entry more than rowtype. A constraint is created for every new row.\n\n"
             "Example: p.addrows(['L', 'G'], [4, 1], [0, 2, 3], [x, y, 'x1'], [1, 1, 2])");

PyObject *NVRL_PY_addrows(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"rowtype", "rhs", "start", "colind", "rowcoef", "range",
                                 "names", nullptr};
  static const char *kwlegacy[] = {"qrtype", "rhs", "mstart", "mclind", "dmatval", "range",
                                   "names", nullptr};
  PyObject *a[7] = {};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOOOOOO:addrows", kwlist, kwlegacy, &a[0], &a[1],
                                 &a[2], &a[3], &a[4], &a[5], &a[6]) ||
      nvo_require_args(kwlist, a, 5) != 0)
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t nrows = -1;
  ConvArray<char> rowtype;
  ConvArray<int64_t> start;
  ConvArray<double> rhs, range, rowcoef;
  ConvArray<int> colind;
  if (rowtype.view(p, &nrows, a[0], CONV_CHAR) != 0) return setNvrlErrIfNull(self, nullptr);
  if (nrows < 0) nrows = 0;
  int64_t ncoefs = 0;
  if (nrows != 0) {
    int64_t nstart = nrows + 1;
    if (start.view(p, &nstart, a[2], CONV_INT64) != 0) return setNvrlErrIfNull(self, nullptr);
    if (start.given()) ncoefs = start[nrows];
  }
  int64_t n = nrows;
  if (rhs.view(p, &n, a[1], CONV_DOUBLE) != 0 || range.view(p, &n, a[5], CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (ncoefs != 0) {
    int64_t m = ncoefs;
    if (colind.view(p, &m, a[3], CONV_COL) != 0 ||
        rowcoef.view(p, &m, a[4], CONV_DOUBLE) != 0)
      return setNvrlErrIfNull(self, nullptr);
    if (!colind.given() || !rowcoef.given()) {
      PyErr_SetString(nvpy_interf_exc, "Coefficients announced by start but not given");
      return nullptr;
    }
  }
  const int64_t first = nvo_int_attrib(p, NVRL_ATTR_ORIGINAL_ROWS);
  if (first < 0) return nullptr;
  PyRef<> cons = PyRef<>::borrow(p->cons);
  if (addRowsAsConstraints(p, &cons, p->conmap, a[6], first, nrows, rowtype.get(), rhs.get(),
                           range.get()) != 0)
    return nullptr;
  if (NVRLaddrows64(p->prob, static_cast<int>(nrows), ncoefs, rowtype.get(), rhs.get(),
                    range.get(), start.get(), colind.get(), rowcoef.get()) != 0) {
    nvo_library_error(p);
    nvo_undo_added(p, first, false);
    return nullptr;
  }
  if (setAddedRowsNames(p, a[6], static_cast<int>(first), static_cast<int>(nrows)) != 0) {
    nvo_undo_added(p, first, false);
    return nullptr;
  }
  Py_RETURN_NONE;
}

PyDoc_STRVAR(addcols_doc,
             "addcols(objcoef, start, rowind, rowcoef, lb, ub, names=None, types=None)\n\n"
             "Appends columns given column-wise: column j has the coefficients start[j] ..\n"
             "start[j+1]-1 of rowind (indices, names or constraints) and rowcoef; start has\n"
             "one entry more than objcoef. types holds one of 'C', 'B', 'I', 'S', 'R', 'P' per\n"
             "column. A var is created for every new column.\n\n"
             "Example: p.addcols([1, 2], [0, 1, 3], [c1, c1, 'c2'], [1, 2, 3], [0, 0], [1, 5])");

PyObject *NVRL_PY_addcols(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"objcoef", "start", "rowind", "rowcoef", "lb", "ub",
                                 "names", "types", nullptr};
  static const char *kwlegacy[] = {"objx", "mstart", "mrwind", "dmatval", "bdl", "bdu",
                                   "names", "types", nullptr};
  PyObject *a[8] = {};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOOOOOOO:addcols", kwlist, kwlegacy, &a[0], &a[1],
                                 &a[2], &a[3], &a[4], &a[5], &a[6], &a[7]) ||
      nvo_require_args(kwlist, a, 6) != 0)
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t ncols = -1;
  ConvArray<double> obj, rowcoef, lb, ub;
  ConvArray<int64_t> start;
  ConvArray<int> rowind;
  ConvArray<char> types;
  if (obj.view(p, &ncols, a[0], CONV_DOUBLE) != 0) return setNvrlErrIfNull(self, nullptr);
  if (ncols < 0) ncols = 0;
  int64_t nstart = ncols + 1, ncoefs = 0;
  if (ncols != 0) {
    // A copy: checked here before the library reads it.
    if (start.convert(p, &nstart, a[1], CONV_INT64) != 0) return setNvrlErrIfNull(self, nullptr);
    if (start.given()) ncoefs = start[ncols];
  }
  int64_t m = ncoefs, n = ncols;
  if ((ncoefs != 0 && (rowind.view(p, &m, a[2], CONV_ROW) != 0 ||
                       rowcoef.view(p, &m, a[3], CONV_DOUBLE) != 0)) ||
      lb.view(p, &n, a[4], CONV_DOUBLE) != 0 || ub.view(p, &n, a[5], CONV_DOUBLE) != 0 ||
      types.view(p, &n, a[7], CONV_CHAR) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (ncoefs != 0 && (!rowind.given() || !rowcoef.given())) {
    PyErr_SetString(nvpy_interf_exc, "Coefficients announced by start but not given");
    return nullptr;
  }
  if (start.given() && nvo_check_starts(start.get(), ncols, ncoefs, "columns") != 0)
    return nullptr;
  const int64_t first = nvo_int_attrib(p, NVRL_ATTR_ORIGINAL_COLUMNS);
  if (first < 0) return nullptr;
  nvo_new_columns cols;
  cols.n = ncols;
  cols.lb = lb.get();
  cols.ub = ub.get();
  cols.types = types.get();
  PyRef<> vars = PyRef<>::borrow(p->vars);
  if (addColsAsVariables(p, &vars, p->varmap, a[6], first, cols) != 0) return nullptr;
  if (NVRLaddcols64(p->prob, static_cast<int>(ncols), ncoefs, obj.get(), start.get(),
                    rowind.get(), rowcoef.get(), lb.get(), ub.get()) != 0) {
    nvo_library_error(p);
    nvo_undo_added(p, first, true);
    return nullptr;
  }
  if (setAddedColsNamesTypes(p, a[6], types.get(), static_cast<int>(first),
                             static_cast<int>(ncols)) != 0) {
    nvo_undo_added(p, first, true);
    return nullptr;
  }
  Py_RETURN_NONE;
}

}  // namespace

PyMethodDef problem_methods_loading[] = {
    {"loadproblem", NVO_KW_METHOD(NVRL_PY_loadproblem), METH_VARARGS | METH_KEYWORDS,
     loadproblem_doc},
    {"addrows", NVO_KW_METHOD(NVRL_PY_addrows), METH_VARARGS | METH_KEYWORDS, addrows_doc},
    {"addcols", NVO_KW_METHOD(NVRL_PY_addcols), METH_VARARGS | METH_KEYWORDS, addcols_doc},
    {nullptr, nullptr, 0, nullptr},
};
