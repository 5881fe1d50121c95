// Reading and writing problem files. Reading rebuilds the modelling objects of what was read:
// one var per column (name, bounds, type, threshold), one constraint per row (name and bounds;
// the coefficients stay in the library) and one sos per set (name, type, members, weights).
#include "problem/files.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "model/constraint.h"
#include "model/sos.h"
#include "model/termmaps.h"
#include "model/var.h"
#include "module/alloc_buffer.h"
#include "module/allocator.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/methods.h"
#include "module/pyref.h"
#include "problem/problem.h"

namespace {


constexpr int kNameRows = 1;
constexpr int kNameCols = 2;
constexpr int kNameSets = 3;

// Names are fetched this many at a time, so that a large problem needs no buffer for all
// of its names at once.
constexpr int kNameBlock = 256;

inline problem_s *as_problem(PyObject *o) { return reinterpret_cast<problem_s *>(o); }

bool nslp_usable(const problem_s *p) { return p->slpprob != nullptr && nslp_state(-1) == 1; }

// The names of the rows, columns or sets of a problem, read in blocks as the items are
// visited in increasing order.
class NameReader {
 public:
  NameReader(problem_s *p, int type, int count, int slot)
      : p_(p), type_(type), count_(count), slot_(slot) {}

  // A new reference to the name of item i, or null with an exception set.
  PyObject *name(int i) {
    if (i % kNameBlock == 0 && fetch(i) != 0) return nullptr;
    const char *s = next_;
    size_t len = std::strlen(s);
    next_ += len + 1;
    return PyUnicode_DecodeUTF8(s, static_cast<Py_ssize_t>(len), "surrogateescape");
  }

 private:
  int fetch(int first) {
    int last = first + kNameBlock - 1;
    if (last > count_ - 1) last = count_ - 1;
    if (names_.allocate(static_cast<size_t>(last - first + 1) * slot_) != 0) return -1;
    if (NVRLgetnames(p_->prob, type_, names_.data(), first, last) != 0)
      return nvo_library_error(p_);
    next_ = names_.data();
    return 0;
  }

  problem_s *p_;
  int type_, count_, slot_;
  AllocBuffer<char> names_;
  const char *next_ = nullptr;
};

struct ReadCounts {
  int cols = 0, rows = 0, sets = 0;
  int name_slot = 1;  // bytes per name, terminator included
};

int read_counts(problem_s *p, ReadCounts *c) {
  int namelen = 0;
  if (NVRLgetintattrib(p->prob, NVRL_ATTR_ORIGINAL_COLUMNS, &c->cols) != 0 ||
      NVRLgetintattrib(p->prob, NVRL_ATTR_ORIGINAL_ROWS, &c->rows) != 0 ||
      NVRLgetintattrib(p->prob, NVRL_ATTR_ORIGINAL_SETS, &c->sets) != 0 ||
      NVRLgetintattrib(p->prob, NVRL_ATTR_NAME_LENGTH, &namelen) != 0)
    return nvo_library_error(p);
  c->name_slot = 8 * namelen + 1;
  return 0;
}

// Replaces a pending failure of object creation (not of the library) with msg.
PyObject *creation_failed(const char *msg) {
  PyErr_Clear();
  return nvo_model_error(msg);
}

long vartype_of_coltype(char t) {
  switch (t) {
    case 'B': return VARTYPE_BINARY;
    case 'I': return VARTYPE_INTEGER;
    case 'S': return VARTYPE_SEMICONTINUOUS;
    case 'R': return VARTYPE_SEMIINTEGER;
    case 'P': return VARTYPE_PARTIALLYINTEGER;
    default: return VARTYPE_CONTINUOUS;
  }
}

// A new list with one var per column of the library problem.
PyObject *build_vars(problem_s *p, const ReadCounts &c) {
  int n = c.cols;
  AllocBuffer<double> lb, ub, limit;
  AllocBuffer<char> types;
  if (lb.allocate(n) != 0 || ub.allocate(n) != 0 || limit.allocate(n) != 0 ||
      types.allocate(n) != 0)
    return nullptr;
  if (n > 0 && (NVRLgetlb(p->prob, lb.data(), 0, n - 1) != 0 ||
                NVRLgetub(p->prob, ub.data(), 0, n - 1) != 0 ||
                NVRLgetcoltype(p->prob, types.data(), 0, n - 1) != 0 ||
                NVRLgetglblimit(p->prob, limit.data(), 0, n - 1) != 0)) {
    nvo_library_error(p);
    return nullptr;
  }

  PyRef list(PyList_New(n));
  if (!list) return nullptr;
  NameReader names(p, kNameCols, n, c.name_slot);
  for (int j = 0; j < n; ++j) {
    PyRef name(names.name(j));
    if (!name) return nullptr;
    long vartype = vartype_of_coltype(types[j]);
    bool has_limit = vartype == VARTYPE_SEMICONTINUOUS || vartype == VARTYPE_SEMIINTEGER ||
                     vartype == VARTYPE_PARTIALLYINTEGER;
    PyObject *v = var_create(name.get(), lb[j], ub[j], has_limit ? limit[j] : -NVO_INFINITY,
                             vartype);
    if (v == nullptr) return creation_failed("Could not read problem");
    PyList_SET_ITEM(list.get(), j, v);
  }
  return list.release();
}

// A new list with one constraint (no body) per row of the library problem.
PyObject *build_constraints(problem_s *p, const ReadCounts &c) {
  int n = c.rows;
  AllocBuffer<double> rhs, range;
  AllocBuffer<char> types;
  if (rhs.allocate(n) != 0 || range.allocate(n) != 0 || types.allocate(n) != 0) return nullptr;
  if (n > 0 && (NVRLgetrhs(p->prob, rhs.data(), 0, n - 1) != 0 ||
                NVRLgetrhsrange(p->prob, range.data(), 0, n - 1) != 0 ||
                NVRLgetrowtype(p->prob, types.data(), 0, n - 1) != 0)) {
    nvo_library_error(p);
    return nullptr;
  }

  PyRef list(PyList_New(n));
  if (!list) return nullptr;
  NameReader names(p, kNameRows, n, c.name_slot);
  for (int i = 0; i < n; ++i) {
    PyRef name(names.name(i));
    if (!name) return nullptr;
    double lo, up;
    constraint_bounds_of_row(types[i], rhs[i], range[i], &lo, &up);
    auto con = PyRef<constraint_s>::steal(constraint_base());
    if (!con) return creation_failed("Cannot read constraint from problem");
    uint64_t *rec = &con->rec;
    if (set_con_lbound(rec, lo) != 0 || set_con_ubound(rec, up) != 0 ||
        set_con_name(rec, name.get()) != 0)
      return creation_failed("Cannot read constraint from problem");
    PyList_SET_ITEM(list.get(), i, con.release_obj());
  }
  return list.release();
}

// A new list with one sos per set of the library problem; members are taken from vars, the
// variables just built for the columns.
PyObject *build_sets(problem_s *p, const ReadCounts &c, PyObject *vars) {
  int n = c.sets;
  PyRef list(PyList_New(n));
  if (!list || n == 0) return list.release();

  NVRLint64 nelems = 0;
  if (NVRLgetsets64(p->prob, nullptr, nullptr, nullptr, nullptr, 0, &nelems, 0, n - 1) != 0) {
    nvo_library_error(p);
    return nullptr;
  }
  AllocBuffer<char> settype;
  AllocBuffer<NVRLint64> start;
  AllocBuffer<int> colind;
  AllocBuffer<double> refval;
  if (settype.allocate(n) != 0 || start.allocate(n + 1) != 0 || colind.allocate(nelems) != 0 ||
      refval.allocate(nelems) != 0)
    return nullptr;
  if (NVRLgetsets64(p->prob, settype.data(), start.data(), colind.data(), refval.data(), nelems,
                    &nelems, 0, n - 1) != 0) {
    nvo_library_error(p);
    return nullptr;
  }
  start[n] = nelems;

  NameReader names(p, kNameSets, n, c.name_slot);
  for (int k = 0; k < n; ++k) {
    PyRef name(names.name(k));
    if (!name) return nullptr;
    Py_ssize_t size = static_cast<Py_ssize_t>(start[k + 1] - start[k]);
    PyRef members(PyList_New(size));
    PyRef weights(PyList_New(size));
    if (!members || !weights) return creation_failed("Cannot read SOS from problem");
    for (Py_ssize_t e = 0; e < size; ++e) {
      NVRLint64 at = start[k] + e;
      int col = colind[at];
      if (col < 0 || col >= PyList_GET_SIZE(vars))
        return creation_failed("Cannot read SOS from problem");
      PyList_SET_ITEM(members.get(), e, Py_NewRef(PyList_GET_ITEM(vars, col)));
      PyObject *w = PyFloat_FromDouble(refval[at]);
      if (w == nullptr) return creation_failed("Cannot read SOS from problem");
      PyList_SET_ITEM(weights.get(), e, w);
    }
    PyObject *s = sos_create(members.get(), weights.get(), settype[k] == '2' ? 2 : 1, name.get());
    if (s == nullptr) return creation_failed("Cannot read SOS from problem");
    PyList_SET_ITEM(list.get(), k, s);
  }
  return list.release();
}

// Appends the objects of built to target and maps each identifier to its position in
// built. On failure, target and map are restored and -1 returned with an exception set.
template <typename IdOf>
int append_objects(PyObject *target, rowcolmap *map, PyObject *built, IdOf id_of) {
  Py_ssize_t before = PyList_GET_SIZE(target);
  Py_ssize_t n = PyList_GET_SIZE(built);
  Py_ssize_t done = 0;
  for (; done < n; ++done) {
    PyObject *obj = PyList_GET_ITEM(built, done);
    if (PyList_Append(target, obj) != 0 || rowcolmap_set(map, id_of(obj), done) != 0) break;
  }
  if (done == n) return 0;
  // Last first, so that a run of the map is taken apart from its top (see rowcolmap.h).
  for (Py_ssize_t k = std::min(done, n - 1); k >= 0; --k)
    rowcolmap_del(map, id_of(PyList_GET_ITEM(built, k)));
  PyList_SetSlice(target, before, PyList_GET_SIZE(target), nullptr);
  return -1;
}

int read_nonlinear_counts(problem_s *p) {
  if (!nslp_usable(p)) return 0;
  int rows = 0, coefs = 0;
  if (NSLPgetintattrib(p->slpprob, NSLP_ATTR_NONLINEAR_ROWS, &rows) != 0 ||
      NSLPgetintattrib(p->slpprob, NSLP_ATTR_COEFFICIENTS, &coefs) != 0)
    return nvo_library_error(p);
  p->n_nonlin_cons = rows + coefs;
  return 0;
}

// The library reads the file; the nonlinear solver gets a second chance at it.
int read_file(problem_s *p, const char *filename, const char *options) {
  if (NVRLreadprob(p->prob, filename, options) == 0) return 0;
  if (nslp_usable(p) && NSLPreadprob(p->slpprob, filename, options) == 0)
    return 0;
  return nvo_library_error(p);
}

}  // namespace

PyObject *problem_read(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"filename", "options", nullptr};
  const char *filename = nullptr;
  const char *options = "";
  if (!PyArg_ParseTupleAndKeywords(args, kwargs, "s|s:read", const_cast<char **>(kwlist), &filename,
                                   &options))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;

  if (read_file(p, filename, options) != 0) return nullptr;
  if (problem_objects_from_library(p) != 0) return nullptr;
  Py_RETURN_NONE;
}

int problem_objects_from_library(problem_s *p) {
  ReadCounts counts;
  if (read_counts(p, &counts) != 0) return -1;
  PyRef vars(build_vars(p, counts));
  if (!vars) return -1;
  PyRef cons(build_constraints(p, counts));
  if (!cons) return -1;
  PyRef sets(build_sets(p, counts, vars.get()));
  if (!sets) return -1;
  if (read_nonlinear_counts(p) != 0) return -1;

  if (append_objects(p->vars, p->varmap, vars.get(), [](PyObject *o) { return var_id(o); }) != 0)
    return -1;
  if (append_objects(p->cons, p->conmap, cons.get(), [](PyObject *o) { return con_id(o); }) !=
      0)
    return -1;
  if (append_objects(p->sets, p->sosmap, sets.get(),
                     [](PyObject *o) { return static_cast<uint64_t>(sos_id(o)); }) != 0)
    return -1;
  return 0;
}

PyObject *problem_write(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"filename", "flags", nullptr};
  const char *filename = nullptr;
  const char *flags = "";
  if (!PyArg_ParseTupleAndKeywords(args, kwargs, "s|s:write", const_cast<char **>(kwlist),
                                   &filename, &flags))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;

  // The nonlinear solver writes nonlinear problems, and linear ones when asked with 'g'.
  bool by_nslp = problem_is_nonlinear(p) || std::strchr(flags, 'g') != nullptr;
  if (by_nslp && !nslp_usable(p)) {
    PyErr_SetString(nvpy_solver_exc,
                    "The nonlinear solver is not available to write the problem");
    return nullptr;
  }
  int rc = by_nslp ? NSLPwriteprob(p->slpprob, filename, flags)
                   : NVRLwriteprob(p->prob, filename, flags);
  if (rc != 0) return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyDoc_STRVAR(problem_read_doc,
             "read(filename, options='')\n\n"
             "Reads a problem from an MPS or LP file into this (empty) problem and creates a\n"
             "variable for each column, a constraint for each row and a set for each special\n"
             "ordered set, with the names, bounds and types of the file. options: 'l' forces the\n"
             "LP format, 'm' the MPS format; otherwise the file's extension decides.\n\n"
             "Example: p = nuvrel.problem(); p.read('model.mps'); p.solve()");

PyDoc_STRVAR(problem_write_doc,
             "write(filename, flags='')\n\n"
             "Writes the problem to a file: flags 'l' gives the LP format, otherwise MPS.\n"
             "A file name without extension gets '.mps' or '.lp'.\n\n"
             "Example: p.write('model.lp', 'l')");

PyMethodDef problem_methods_files[] = {
    {"read", NVO_KW_METHOD(problem_read), METH_VARARGS | METH_KEYWORDS, problem_read_doc},
    {"write", NVO_KW_METHOD(problem_write), METH_VARARGS | METH_KEYWORDS, problem_write_doc},
    {nullptr, nullptr, 0, nullptr},
};
