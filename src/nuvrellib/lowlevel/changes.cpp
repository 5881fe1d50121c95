// Changing the matrix piecewise: the methods that take parallel arrays of indices and values,
// the single-element changes, and the additions of quadratic parts, general and
// piecewise-linear constraints and set names.
#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include "lowlevel/lowlevel.h"
#include "model/sos.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/methods.h"
#include "module/pyref.h"
#include "problem/method_families.h"
#include "problem/removal.h"

namespace {

// Converted argument arrays of one call, freed on every exit path.
struct Arrays {
  void *a[6] = {};
  int kind[6] = {};
  ~Arrays() {
    for (int i = 0; i < 6; ++i) conv_free(&a[i], kind[i]);
  }
  int convert(int i, problem_s *p, int64_t *count, PyObject *obj, int k) {
    kind[i] = k;
    return conv_obj2arr(p, count, obj, &a[i], k);
  }
};

// A method of parallel arrays: its name (for argument errors), its keywords (current and
// legacy, null when it has no legacy names), their kinds and the library call with the shared
// length.
struct ArrayMethod {
  const char *name;
  int nargs;
  const char *kw[4];
  const char *legacy[4];
  int kinds[3];
  int (*call)(NVRLprob, int n, void *const *a);
};

PyObject *array_method(PyObject *self, PyObject *args, PyObject *kwargs, const ArrayMethod &m) {
  PyObject *v[3] = {};
  static const char *formats[] = {"", "|O", "|OO", "|OOO"};
  const method_format format(formats[m.nargs], m.name);
  const char **kw = const_cast<const char **>(m.kw);
  const char **legacy = m.legacy[0] != nullptr ? const_cast<const char **>(m.legacy) : nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, format, kw, legacy, &v[0], &v[1], &v[2]) ||
      nvo_require_args(kw, v, m.nargs) != 0)
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  Arrays arrays;
  for (int i = 0; i < m.nargs; ++i)
    if (arrays.convert(i, p, &n, v[i], m.kinds[i]) != 0) return setNvrlErrIfNull(self, nullptr);
  if (n > INT_MAX) {
    PyErr_SetString(nvpy_interf_exc, "Too many entries for one call");
    return nullptr;
  }
  if (m.call(p->prob, n < 0 ? 0 : static_cast<int>(n), arrays.a) != 0)
    return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

template <typename T>
T *at(void *const *a, int i) {
  return static_cast<T *>(a[i]);
}

#define ARRAY_METHOD(name, nargs, kw, legacy, kinds, body)                               \
  PyObject *NVRL_PY_##name(PyObject *self, PyObject *args, PyObject *kwargs) {           \
    static const ArrayMethod m = {#name, nargs, kw, legacy, kinds,                        \
                                  +[](NVRLprob pr, int n, void *const *a) { return body; }}; \
    return array_method(self, args, kwargs, m);                                           \
  }
#define KW(...) {__VA_ARGS__, nullptr}
#define KINDS(...) {__VA_ARGS__}
#define NOLEGACY {nullptr}

ARRAY_METHOD(chgbounds, 3, KW("colind", "bndtype", "bndval"), KW("mindex", "qbtype", "bnd"),
             KINDS(CONV_COL, CONV_CHAR, CONV_DOUBLE),
             NVRLchgbounds(pr, n, at<int>(a, 0), at<char>(a, 1), at<double>(a, 2)))
ARRAY_METHOD(chgobj, 2, KW("colind", "objcoef"), KW("mindex", "obj"),
             KINDS(CONV_COL, CONV_DOUBLE), NVRLchgobj(pr, n, at<int>(a, 0), at<double>(a, 1)))
ARRAY_METHOD(chgrhs, 2, KW("rowind", "rhs"), KW("mindex", "rhs"), KINDS(CONV_ROW, CONV_DOUBLE),
             NVRLchgrhs(pr, n, at<int>(a, 0), at<double>(a, 1)))
ARRAY_METHOD(chgrhsrange, 2, KW("rowind", "rng"), KW("mindex", "rng"),
             KINDS(CONV_ROW, CONV_DOUBLE),
             NVRLchgrhsrange(pr, n, at<int>(a, 0), at<double>(a, 1)))
ARRAY_METHOD(chgrowtype, 2, KW("rowind", "rowtype"), KW("mindex", "qrtype"),
             KINDS(CONV_ROW, CONV_CHAR), NVRLchgrowtype(pr, n, at<int>(a, 0), at<char>(a, 1)))
ARRAY_METHOD(chgcoltype, 2, KW("colind", "coltype"), KW("mindex", "qctype"),
             KINDS(CONV_COL, CONV_CHAR), NVRLchgcoltype(pr, n, at<int>(a, 0), at<char>(a, 1)))
ARRAY_METHOD(chgglblimit, 2, KW("colind", "limit"), KW("mindex", "dlimit"),
             KINDS(CONV_COL, CONV_DOUBLE),
             NVRLchgglblimit(pr, n, at<int>(a, 0), at<double>(a, 1)))
ARRAY_METHOD(chgmcoef, 3, KW("rowind", "colind", "rowcoef"), KW("mrow", "mcol", "dval"),
             KINDS(CONV_ROW, CONV_COL, CONV_DOUBLE),
             NVRLchgmcoef(pr, n, at<int>(a, 0), at<int>(a, 1), at<double>(a, 2)))
ARRAY_METHOD(chgmqobj, 3, KW("objqcol1", "objqcol2", "objqcoef"), KW("mqcol1", "mqcol2", "dval"),
             KINDS(CONV_COL, CONV_COL, CONV_DOUBLE),
             NVRLchgmqobj64(pr, n, at<int>(a, 0), at<int>(a, 1), at<double>(a, 2)))
ARRAY_METHOD(setindicators, 3, KW("rowind", "colind", "complement"), NOLEGACY,
             KINDS(CONV_ROW, CONV_COL, CONV_INT),
             NVRLsetindicators(pr, n, at<int>(a, 0), at<int>(a, 1), at<int>(a, 2)))
// The shared length counts only the arrays given: either may be left out.
ARRAY_METHOD(loadsecurevecs, 2, KW("rowind", "colind"), KW("mrow", "mcol"),
             KINDS(CONV_ROW, CONV_COL),
             NVRLloadsecurevecs(pr, a[0] ? n : 0, a[1] ? n : 0, at<int>(a, 0), at<int>(a, 1)))
ARRAY_METHOD(loadmodelcuts, 1, KW("rowind"), NOLEGACY, KINDS(CONV_ROW),
             NVRLloadmodelcuts(pr, n, at<int>(a, 0)))
ARRAY_METHOD(loaddelayedrows, 1, KW("rowind"), NOLEGACY, KINDS(CONV_ROW),
             NVRLloaddelayedrows(pr, n, at<int>(a, 0)))
ARRAY_METHOD(delgencons, 1, KW("conind"), NOLEGACY, KINDS(CONV_ROW),
             NVRLdelgencons(pr, n, at<int>(a, 0)))
ARRAY_METHOD(delpwlcons, 1, KW("pwlind"), NOLEGACY, KINDS(CONV_ROW),
             NVRLdelpwlcons(pr, n, at<int>(a, 0)))

// ----- deletions of rows, columns and sets ----------------------------------------------------

// Deletes in the library, then drops the objects of the deleted items from the problem: those
// objects are no longer found in it, and the later ones move down.
PyObject *delete_items(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                       const char **kw, const char **legacy, int kind) {
  PyObject *v[1] = {};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("|O", name), kw, legacy, &v[0]) ||
      nvo_require_args(kw, v, 1) != 0)
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t n = -1;
  ConvArray<int> ind;
  if (ind.convert(p, &n, v[0], kind) != 0) return setNvrlErrIfNull(self, nullptr);
  if (n <= 0) Py_RETURN_NONE;
  const int count = static_cast<int>(n);
  const int rc = kind == CONV_ROW ? NVRLdelrows(p->prob, count, ind.get())
                 : kind == CONV_COL ? NVRLdelcols(p->prob, count, ind.get())
                                    : NVRLdelsets(p->prob, count, ind.get());
  if (rc != 0) return setNvrlErrIfNull(self, nullptr);
  // The library has refused repeated and invalid indices, so these are distinct and valid.
  std::vector<int64_t> doomed(ind.get(), ind.get() + count);
  std::sort(doomed.begin(), doomed.end());
  if (problem_forget_positions(p, kind, doomed) != 0) return nullptr;
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_delrows(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"rowind", nullptr}, *legacy[] = {"mindex", nullptr};
  return delete_items(self, args, kwargs, "delrows", kw, legacy, CONV_ROW);
}
PyObject *NVRL_PY_delcols(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"colind", nullptr}, *legacy[] = {"mindex", nullptr};
  return delete_items(self, args, kwargs, "delcols", kw, legacy, CONV_COL);
}
PyObject *NVRL_PY_delsets(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"setind", nullptr}, *legacy[] = {"mindex", nullptr};
  return delete_items(self, args, kwargs, "delsets", kw, legacy, CONV_SOS);
}

// ----- single elements -----------------------------------------------------------------------

// Parses nobj objects (all required) and, when with_value, a required number after them.
int parse_single(PyObject *args, PyObject *kwargs, const char *name, const char **kw, int nobj,
                 PyObject **v, double *value) {
  static const char *formats[] = {"|O", "|OO", "|OOO", "|OOOO"};
  const int total = nobj + (value != nullptr ? 1 : 0);
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format(formats[total - 1], name), kw, nullptr,
                                 &v[0], &v[1], &v[2], &v[3]) ||
      nvo_require_args(kw, v, total) != 0)
    return -1;
  if (value != nullptr) {
    *value = PyFloat_AsDouble(v[nobj]);
    if (*value == -1.0 && PyErr_Occurred()) return -1;
  }
  return 0;
}

PyObject *NVRL_PY_chgcoef(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"row", "col", "coef", nullptr};
  PyObject *v[4] = {};
  double coef;
  int row, col;
  if (parse_single(args, kwargs, "chgcoef", kw, 2, v, &coef) != 0) return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (ObjInt2int(v[0], p, &row, CONV_ROW) != 0 || ObjInt2int(v[1], p, &col, CONV_COL) != 0 ||
      NVRLchgcoef(p->prob, row, col, coef) != 0)
    return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_chgqobj(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"objqcol1", "objqcol2", "objqcoef", nullptr};
  PyObject *v[4] = {};
  double coef;
  int c1, c2;
  if (parse_single(args, kwargs, "chgqobj", kw, 2, v, &coef) != 0) return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (ObjInt2int(v[0], p, &c1, CONV_COL) != 0 || ObjInt2int(v[1], p, &c2, CONV_COL) != 0 ||
      NVRLchgqobj(p->prob, c1, c2, coef) != 0)
    return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_chgqrowcoeff(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"row", "rowqcol1", "rowqcol2", "rowqcoef", nullptr};
  PyObject *v[4] = {};
  double coef;
  int row, c1, c2;
  if (parse_single(args, kwargs, "chgqrowcoeff", kw, 3, v, &coef) != 0) return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (ObjInt2int(v[0], p, &row, CONV_ROW) != 0 || ObjInt2int(v[1], p, &c1, CONV_COL) != 0 ||
      ObjInt2int(v[2], p, &c2, CONV_COL) != 0 ||
      NVRLchgqrowcoeff(p->prob, row, c1, c2, coef) != 0)
    return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_delqmatrix(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"row", nullptr};
  PyObject *v[4] = {};
  int row;
  if (parse_single(args, kwargs, "delqmatrix", kw, 1, v, nullptr) != 0) return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (ObjInt2int(v[0], p, &row, CONV_ROW) != 0 || NVRLdelqmatrix(p->prob, row) != 0)
    return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_chgobjsense(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"objsense", nullptr};
  int sense = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "i:chgobjsense", kw, nullptr, &sense))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  const int s = sense == 1 ? 1 : -1;
  // The nonlinear solver keeps a sense of its own for the problems it solves.
  const int rc = problem_is_nonlinear(p) && p->slpprob != nullptr
                     ? NSLPsetdblcontrol(p->slpprob, NSLP_CTRL_OBJECTIVE_SENSE, s)
                     : NVRLchgobjsense(p->prob, s);
  if (rc != 0) return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

// ----- compound additions --------------------------------------------------------------------

PyObject *NVRL_PY_addqmatrix(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"row", "rowqcol1", "rowqcol2", "rowqcoef", nullptr};
  static const char *legacy[] = {"irow", "mqc1", "mqc2", "dqe", nullptr};
  PyObject *v[4] = {};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOOO:addqmatrix", kw, legacy, &v[0], &v[1], &v[2],
                                 &v[3]) ||
      nvo_require_args(kw, v, 4) != 0)
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int row;
  int64_t n = -1;
  Arrays arrays;
  if (ObjInt2int(v[0], p, &row, CONV_ROW) != 0 || arrays.convert(0, p, &n, v[1], CONV_COL) != 0 ||
      arrays.convert(1, p, &n, v[2], CONV_COL) != 0 ||
      arrays.convert(2, p, &n, v[3], CONV_DOUBLE) != 0 ||
      NVRLaddqmatrix64(p->prob, row, n < 0 ? 0 : n, at<int>(arrays.a, 0), at<int>(arrays.a, 1),
                       at<double>(arrays.a, 2)) != 0)
    return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

// Starts of n segments may come with or without the end of the last one (the library reads
// only the first n). The array must hold at least n entries.
int check_start_count(int64_t have, int64_t n) {
  if (have >= 0 && have != n && have != n + 1) {
    PyErr_Format(nvpy_model_exc, "Mismatched lengths in arguments: expected %lld, found %lld",
                 static_cast<long long>(n), static_cast<long long>(have));
    return -1;
  }
  return 0;
}

PyObject *NVRL_PY_addgencons(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"contype", "resultant", "colstart", "colind", "valstart", "val",
                             nullptr};
  PyObject *v[6] = {};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOOOOO:addgencons", kw, nullptr, &v[0], &v[1],
                                 &v[2], &v[3], &v[4], &v[5]) ||
      nvo_require_args(kw, v, 4) != 0)
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t ncons = -1, ncolstart = -1, ncols = -1, nvalstart = -1, nvals = -1;
  Arrays arrays;
  if (arrays.convert(0, p, &ncons, v[0], CONV_INT) != 0 ||
      arrays.convert(1, p, &ncons, v[1], CONV_COL) != 0 ||
      arrays.convert(2, p, &ncolstart, v[2], CONV_INT64) != 0 ||
      arrays.convert(3, p, &ncols, v[3], CONV_COL) != 0 ||
      arrays.convert(4, p, &nvalstart, v[4], CONV_INT64) != 0 ||
      arrays.convert(5, p, &nvals, v[5], CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  ncons = ncons < 0 ? 0 : ncons;
  if (check_start_count(ncolstart, ncons) != 0 || check_start_count(nvalstart, ncons) != 0)
    return nullptr;
  if (NVRLaddgencons64(p->prob, static_cast<int>(ncons), ncols < 0 ? 0 : ncols,
                       nvals < 0 ? 0 : nvals, at<int>(arrays.a, 0), at<int>(arrays.a, 1),
                       at<NVRLint64>(arrays.a, 2), at<int>(arrays.a, 3),
                       at<NVRLint64>(arrays.a, 4), at<double>(arrays.a, 5)) != 0)
    return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_addpwlcons(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"colind", "resultant", "start", "xval", "yval", nullptr};
  PyObject *v[5] = {};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOOOO:addpwlcons", kw, nullptr, &v[0], &v[1],
                                 &v[2], &v[3], &v[4]) ||
      nvo_require_args(kw, v, 5) != 0)
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int64_t npwl = -1, nstart = -1, npoints = -1;
  Arrays arrays;
  if (arrays.convert(0, p, &npwl, v[0], CONV_COL) != 0 ||
      arrays.convert(1, p, &npwl, v[1], CONV_COL) != 0 ||
      arrays.convert(2, p, &nstart, v[2], CONV_INT64) != 0 ||
      arrays.convert(3, p, &npoints, v[3], CONV_DOUBLE) != 0 ||
      arrays.convert(4, p, &npoints, v[4], CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  npwl = npwl < 0 ? 0 : npwl;
  if (check_start_count(nstart, npwl) != 0) return nullptr;
  if (NVRLaddpwlcons64(p->prob, static_cast<int>(npwl), npoints < 0 ? 0 : npoints,
                       at<int>(arrays.a, 0), at<int>(arrays.a, 1), at<NVRLint64>(arrays.a, 2),
                       at<double>(arrays.a, 3), at<double>(arrays.a, 4)) != 0)
    return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_addsetnames(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"names", "first", "last", nullptr};
  PyObject *names = nullptr;
  int first = 0, last = INT_MIN;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "O|ii:addsetnames", kw, nullptr, &names, &first,
                                 &last))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (!PyList_Check(names)) {
    PyErr_Format(nvpy_interf_exc, "Argument %s must be a list of strings", "names");
    return nullptr;
  }
  const Py_ssize_t n = PyList_GET_SIZE(names);
  if (last == INT_MIN) last = first + static_cast<int>(n) - 1;
  AllocBuffer<char> buffer;
  for (Py_ssize_t i = 0; i < n; ++i) {
    PyObject *name = PyList_GET_ITEM(names, i);
    Py_ssize_t len = 0;
    const char *text = PyUnicode_Check(name) ? PyUnicode_AsUTF8AndSize(name, &len) : nullptr;
    if (text == nullptr) {
      if (PyUnicode_Check(name)) return nullptr;
      PyErr_Format(nvpy_interf_exc, "Element %i of list is not a string: %S",
                   static_cast<int>(i), name);
      return nullptr;
    }
    if (buffer.append(text, static_cast<size_t>(len) + 1) != 0) return nullptr;
  }
  if (n != static_cast<int64_t>(last) - first + 1) {
    PyErr_Format(nvpy_interf_exc, "Size of list of strings does not match %s and %s arguments",
                 "first", "last");
    return nullptr;
  }
  const int64_t nsets = nvo_int_attrib(p, NVRL_ATTR_SETS);
  if (nsets < 0) return nullptr;
  if (first < 0 || first > last || last > nsets - 1) {
    PyErr_Format(nvpy_interf_exc,
                 "Arguments %s and %s must be such that 0 <= %s <= %s <= "
                 "problem.controls.sets - 1",
                 "first", "last", "first", "last");
    return nullptr;
  }
  if (NVRLaddsetnames(p->prob, buffer.data(), first, last) != 0)
    return setNvrlErrIfNull(self, nullptr);
  // The problem's sos objects carry the names the library now has.
  for (int k = first; k <= last && k < PyList_GET_SIZE(p->sets); ++k) {
    auto *s = reinterpret_cast<sos_s *>(PyList_GET_ITEM(p->sets, k));
    Py_XSETREF(s->name, Py_NewRef(PyList_GET_ITEM(names, k - first)));
  }
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_delindicators(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"first", "last", nullptr};
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  const int64_t rows = nvo_int_attrib(p, NVRL_ATTR_ROWS);
  if (rows < 0) return nullptr;
  int first = 0, last = static_cast<int>(rows) - 1;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|ii:delindicators", kw, nullptr, &first, &last))
    return nullptr;
  if (rows == 0) {
    PyErr_SetString(nvpy_interf_exc, "No rows in problem, cannot use delindicators()");
    return nullptr;
  }
  if (first < 0 || first > last || last >= rows) {
    PyErr_Format(nvpy_interf_exc,
                 "Arguments %s and %s must be such that %s <= %s and must be within the range "
                 "of rows",
                 "first", "last", "first", "last");
    return nullptr;
  }
  if (NVRLdelindicators(p->prob, first, last) != 0) return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

#define DOC(name, text) PyDoc_STRVAR(name##_doc, text);
DOC(chgbounds, "chgbounds(colind, bndtype, bndval)\n\nChanges column bounds: bndtype 'U' upper, "
               "'L' lower, 'B' both.\n\nExample: p.chgbounds([x, 'y', 3], ['U', 'L', 'B'], [1, 0, 5])")
DOC(chgobj, "chgobj(colind, objcoef)\n\nChanges objective coefficients (column -1: the negated "
            "objective constant).\n\nExample: p.chgobj([x, y], [1.0, -2.0])")
DOC(chgrhs, "chgrhs(rowind, rhs)\n\nChanges right-hand sides.\n\nExample: p.chgrhs([c1], [4])")
DOC(chgrhsrange, "chgrhsrange(rowind, rng)\n\nMakes rows range rows with the given ranges.\n\n"
                 "Example: p.chgrhsrange([0], [2.5])")
DOC(chgrowtype, "chgrowtype(rowind, rowtype)\n\nChanges row types ('L', 'G', 'E', 'R', 'N')."
                "\n\nExample: p.chgrowtype(['c1'], ['G'])")
DOC(chgcoltype, "chgcoltype(colind, coltype)\n\nChanges column types ('C', 'I', 'B', 'S', 'R', "
                "'P').\n\nExample: p.chgcoltype([x], ['I'])")
DOC(chgglblimit, "chgglblimit(colind, limit)\n\nChanges thresholds of semi-continuous, "
                 "semi-integer and partially integer columns.\n\nExample: p.chgcoltype([x], ['S']); p.chgglblimit([x], [2])")
DOC(chgmcoef, "chgmcoef(rowind, colind, rowcoef)\n\nChanges matrix coefficients (0 removes "
              "one).\n\nExample: p.chgmcoef([c1, c2], [x, x], [1, 0])")
DOC(chgmqobj, "chgmqobj(objqcol1, objqcol2, objqcoef)\n\nChanges quadratic objective entries."
              "\n\nExample: p.chgmqobj([x], [y], [2])")
DOC(setindicators, "setindicators(rowind, colind, complement)\n\nMakes rows indicator rows of "
                   "binary columns: complement 1 (column 1), -1 (column 0) or 0 (none).\n\n"
                   "Example: p.addVariable(z); p.setindicators([c1], [z], [1])")
DOC(loadsecurevecs, "loadsecurevecs(rowind, colind)\n\nMarks rows and columns that presolve must "
                    "keep.\n\nExample: p.loadsecurevecs([c1], [x])")
DOC(loadmodelcuts, "loadmodelcuts(rowind)\n\nMarks rows as model cuts; they are solved as "
                   "ordinary rows.\n\nExample: p.loadmodelcuts([c1, c2])")
DOC(loaddelayedrows, "loaddelayedrows(rowind)\n\nMarks rows as delayed rows; they are solved as "
                     "ordinary rows.\n\nExample: p.loaddelayedrows([c1])")
DOC(delgencons, "delgencons(conind)\n\nDeletes general constraints.\n\nExample: p.addgencons([nuvrel.gencons_max], [x1], [0], [x, y]); "
                "p.delgencons([0])")
DOC(delpwlcons, "delpwlcons(pwlind)\n\nDeletes piecewise-linear constraints.\n\n"
                "Example: p.addpwlcons([x], [x1], [0], [0, 10], [0, 5]); p.delpwlcons([0])")
DOC(chgcoef, "chgcoef(row, col, coef)\n\nChanges one matrix coefficient.\n\n"
             "Example: p.chgcoef(c1, x, 2.5)")
DOC(chgqobj, "chgqobj(objqcol1, objqcol2, objqcoef)\n\nChanges one quadratic objective entry."
             "\n\nExample: p.chgqobj(x, y, 1)")
DOC(chgqrowcoeff, "chgqrowcoeff(row, rowqcol1, rowqcol2, rowqcoef)\n\nChanges one entry of a "
                  "row's quadratic part.\n\nExample: p.chgqrowcoeff(c1, x, x, 2)")
DOC(delqmatrix, "delqmatrix(row)\n\nRemoves the quadratic part of a row.\n\n"
                "Example: p.delqmatrix(c1)")
DOC(chgobjsense, "chgobjsense(objsense)\n\n1 minimises, any other value maximises.\n\n"
                 "Example: p.chgobjsense(nuvrel.maximize)")
DOC(addqmatrix, "addqmatrix(row, rowqcol1, rowqcol2, rowqcoef)\n\nAdds terms to the quadratic "
                "part of a row.\n\nExample: p.addqmatrix(c1, [x, x], [x, y], [1, 2])")
DOC(addgencons, "addgencons(contype, resultant, colstart, colind, valstart=None, val=None)\n\n"
                "Adds general constraints resultant = contype(columns, values).\n\n"
                "Example: p.addgencons([nuvrel.gencons_max], [x1], [0], [x, y])")
DOC(addpwlcons, "addpwlcons(colind, resultant, start, xval, yval)\n\nAdds piecewise-linear "
                "constraints resultant = f(column) through the points (xval, yval).\n\n"
                "Example: p.addpwlcons([x], [y], [0], [0, 1, 2], [0, 1, 4])")
DOC(addsetnames, "addsetnames(names, first=0, last=first+len(names)-1)\n\nNames special "
                 "ordered sets first..last.\n\nExample: p.addSOS(nuvrel.sos([x1, x2], [1, 2]), "
                 "nuvrel.sos([x2, x3], [1, 2])); p.addsetnames(['s1', 's2'], 0, 1)")
DOC(delrows, "delrows(rowind)\n\nDeletes rows (indices, names or constraints); their constraints "
             "leave the problem.\n\nExample: p.delrows([c1, 'c2'])")
DOC(delcols, "delcols(colind)\n\nDeletes columns (indices, names or variables); their variables "
             "leave the problem.\n\nExample: p.delcols([x, 3])")
DOC(delsets, "delsets(setind)\n\nDeletes special ordered sets (indices or sets).\n\n"
             "Example: p.addSOS(nuvrel.sos([x1, x2], [1, 2])); p.delsets([0])")
DOC(delindicators, "delindicators(first=0, last=ROWS-1)\n\nTurns indicator rows first..last "
                   "back into ordinary rows.\n\nExample: p.delindicators(0, 1)")

}  // namespace

#define ENTRY(name) \
  {#name, NVO_KW_METHOD(NVRL_PY_##name), METH_VARARGS | METH_KEYWORDS, name##_doc}

PyMethodDef problem_methods_changes[] = {
    ENTRY(chgbounds),     ENTRY(chgobj),        ENTRY(chgrhs),          ENTRY(chgrhsrange),
    ENTRY(chgrowtype),    ENTRY(chgcoltype),    ENTRY(chgglblimit),     ENTRY(chgmcoef),
    ENTRY(chgmqobj),      ENTRY(setindicators), ENTRY(loadsecurevecs),  ENTRY(loadmodelcuts),
    ENTRY(loaddelayedrows), ENTRY(delgencons),  ENTRY(delpwlcons),      ENTRY(chgcoef),
    ENTRY(chgqobj),       ENTRY(chgqrowcoeff),  ENTRY(delqmatrix),      ENTRY(chgobjsense),
    ENTRY(addqmatrix),    ENTRY(addgencons),    ENTRY(addpwlcons),      ENTRY(addsetnames),
    ENTRY(delindicators), ENTRY(delrows),       ENTRY(delcols),         ENTRY(delsets),
    {nullptr, nullptr, 0, nullptr},
};
