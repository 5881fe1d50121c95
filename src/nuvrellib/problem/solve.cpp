// Objective, solve and the outcome of a solve: setObjective, solve, getProbStatus,
// getProbStatusString, getObjVal.
#include "problem/solve.h"

#include <cmath>
#include <cstring>
#include <cstdio>
#include <algorithm>

#include "model/dispatch.h"
#include "model/walk.h"
#include "module/alloc_buffer.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/methods.h"
#include "module/numpy_api.h"
#include "module/pyref.h"
#include "nonlinear/convert.h"
#include "nonlinear/user.h"
#include "problem/con_batch.h"
#include "problem/method_families.h"

namespace {

// Row status bit of the auxiliary row that carries a nonlinear objective.
constexpr int kTransferRowStatus = 0x800;

bool nslp_usable(const problem_s *p) { return p->slpprob != nullptr && nslp_state(-1) == 1; }

int nonlinear_missing() {
  PyErr_SetString(nvpy_interf_exc, "The nonlinear solver is not available for this problem");
  return -1;
}

// Moves the map's indices above a deleted one down by one (the map spilled beforehand).
void close_gap(rowcolmap *map, int64_t deleted) {
  map->update_indices([&](int64_t &index) {
    if (index > deleted) --index;
    return true;
  });
}

// Removes the auxiliary row and column of a nonlinear objective with its formula.
int drop_objective_transfer(problem_s *p) {
  const int row = p->objtransfer_row, col = p->objtransfer_col;
  if (row < 0 || col < 0) return 0;
  // Renumbering needs the maps' runs spilled, and spilling may need memory: before any change.
  if (rowcolmap_spill(p->varmap) != 0 || rowcolmap_spill(p->conmap) != 0) return -1;
  if (nslp_usable(p)) {
    int n = 0;
    if (NSLPgetcoefs(p->slpprob, &n, nullptr, nullptr) != 0) return nvo_library_error(p);
    AllocBuffer<int> rows, cols;
    if (rows.allocate(static_cast<size_t>(n)) != 0 || cols.allocate(static_cast<size_t>(n)) != 0)
      return -1;
    if (n > 0 && NSLPgetcoefs(p->slpprob, &n, rows.data(), cols.data()) != 0)
      return nvo_library_error(p);
    int m = 0;
    for (int k = 0; k < n; ++k)
      if (rows[k] == row) {
        rows[m] = rows[k];
        cols[m++] = cols[k];
      }
    int status = 0;
    if ((m > 0 && NSLPdelcoefs(p->slpprob, m, rows.data(), cols.data()) != 0) ||
        NSLPgetrowstatus(p->slpprob, row, &status) != 0)
      return nvo_library_error(p);
    status &= ~kTransferRowStatus;
    if (NSLPchgrowstatus(p->slpprob, row, &status) != 0 ||
        NSLPdelvars(p->slpprob, 1, &col) != 0)
      return nvo_library_error(p);
  }
  if (NVRLdelcols(p->prob, 1, &col) != 0 || NVRLdelrows(p->prob, 1, &row) != 0)
    return nvo_library_error(p);
  // Objects added after the objective sat above the auxiliary row and column.
  close_gap(p->varmap, col);
  close_gap(p->conmap, row);
  p->objtransfer_col = p->objtransfer_row = -1;
  p->nonlin_obj = 0;
  return 0;
}

// The nonlinear part of an objective: the objective gets a free auxiliary column t with cost
// 1 and the auxiliary row formula - t = 0 carries the formula.
int add_objective_transfer(problem_s *p, nvo_nlcoefs *nl) {
  int row = 0, col = 0;
  if (NVRLgetintattrib(p->prob, NVRL_ATTR_ORIGINAL_ROWS, &row) != 0 ||
      NVRLgetintattrib(p->prob, NVRL_ATTR_ORIGINAL_COLUMNS, &col) != 0)
    return nvo_library_error(p);
  const char type = 'E';
  const double zero = 0.0, one = 1.0, minus_one = -1.0, lb = -NVRL_INFINITY, ub = NVRL_INFINITY;
  const NVRLint64 start = 0;
  if (NVRLaddrows64(p->prob, 1, 0, &type, &zero, nullptr, nullptr, nullptr, nullptr) != 0)
    return nvo_library_error(p);
  p->objtransfer_row = row;
  if (NVRLaddcols64(p->prob, 1, 1, &one, &start, &row, &minus_one, &lb, &ub) != 0)
    return nvo_library_error(p);
  p->objtransfer_col = col;
  p->nonlin_obj = 1;
  int status = 0;
  if (NVRLaddnames(p->prob, 1, "objtransferrow", row, row) != 0 ||
      NVRLaddnames(p->prob, 2, "objtransfercol", col, col) != 0 ||
      NSLPchgvar(p->slpprob, col, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                 nullptr, nullptr, nullptr, nullptr, nullptr) != 0 ||
      NSLPgetrowstatus(p->slpprob, row, &status) != 0)
    return nvo_library_error(p);
  status |= kTransferRowStatus;
  if (NSLPchgrowstatus(p->slpprob, row, &status) != 0) return nvo_library_error(p);
  nl->set_rows(0, row);
  if (nl->close_starts() != 0) return -1;
  if (NSLPaddcoefs(p->slpprob, static_cast<int>(nl->size()), nl->row.data(), nl->col.data(),
                   nl->factor.data(), nl->start.data(), 1, nl->tokens.types(),
                   nl->tokens.values()) != 0)
    return nvo_library_error(p);
  return 0;
}

// Zeroes the linear objective, its constant and the quadratic objective.
int clear_objective(problem_s *p) {
  int ncols = 0;
  if (NVRLgetintattrib(p->prob, NVRL_ATTR_ORIGINAL_COLUMNS, &ncols) != 0)
    return nvo_library_error(p);
  const int constant_col = -1;
  const double zero = 0.0;
  if (NVRLchgobj(p->prob, 1, &constant_col, &zero) != 0) return nvo_library_error(p);
  if (ncols == 0) return 0;
  AllocBuffer<int> cols;
  AllocBuffer<double> zeros;
  if (cols.allocate(static_cast<size_t>(ncols)) != 0 ||
      zeros.allocate(static_cast<size_t>(ncols), 0.0) != 0)
    return -1;
  for (int j = 0; j < ncols; ++j) cols[j] = j;
  if (NVRLchgobj(p->prob, ncols, cols.data(), zeros.data()) != 0) return nvo_library_error(p);

  NVRLint64 nq = 0;
  if (NVRLgetmqobj64(p->prob, nullptr, nullptr, nullptr, 0, &nq, 0, ncols - 1) != 0)
    return nvo_library_error(p);
  if (nq == 0) return 0;
  AllocBuffer<NVRLint64> start;
  AllocBuffer<int> other, col1, col2;
  AllocBuffer<double> value;
  if (start.allocate(static_cast<size_t>(ncols) + 1) != 0 ||
      other.allocate(static_cast<size_t>(nq)) != 0 || col1.allocate(static_cast<size_t>(nq)) != 0 ||
      col2.allocate(static_cast<size_t>(nq)) != 0 || value.allocate(static_cast<size_t>(nq)) != 0)
    return -1;
  if (NVRLgetmqobj64(p->prob, start.data(), other.data(), value.data(), nq, &nq, 0,
                     ncols - 1) != 0)
    return nvo_library_error(p);
  for (int j = 0; j < ncols; ++j)
    for (NVRLint64 k = start[j]; k < start[j + 1]; ++k) {
      col1[k] = other[k];
      col2[k] = j;
    }
  std::fill(value.begin(), value.end(), 0.0);
  if (NVRLchgmqobj64(p->prob, nq, col1.data(), col2.data(), value.data()) != 0)
    return nvo_library_error(p);
  return 0;
}

// The library's rule for objective coefficients (finite, below its infinity), checked before
// anything changes. 0, or -1 with SolverError set.
int objective_out_of_range(const nvo_converted &c) {
  auto bad = [](double v) { return !(std::fabs(v) < NVRL_INFINITY); };
  double value = c.constant;
  bool found = bad(value);
  for (size_t k = 0; !found && k < c.lin_coef.size(); ++k) found = bad(value = c.lin_coef[k]);
  for (size_t k = 0; !found && k < c.quad_coef.size(); ++k) found = bad(value = c.quad_coef[k]);
  if (!found) return 0;
  // The interpreter's formatting knows no floating-point conversions.
  char text[160];
  std::snprintf(text, sizeof text,
                "Objective coefficient %g is not a finite number below the infinity constant "
                "1e20; the objective is left as it was",
                value);
  PyErr_SetString(nvpy_solver_exc, text);
  return -1;
}

int int_attrib(problem_s *p, int id, int *value) {
  if (NVRLgetintattrib(p->prob, id, value) != 0) return nvo_library_error(p);
  return 0;
}

// True when the nonlinear solver answers for p: the problem is nonlinear, or its last solving
// call was the nonlinear solver's, and the solver is there. Without the solver the
// optimiser's values are reported.
bool answered_by_nslp(problem_s *p) {
  return (problem_is_nonlinear(p) || p->last_run_nonlinear != 0) && nslp_state(-1) == 1 &&
         p->slpprob != nullptr;
}

// The status number of the last solve, read as getProbStatus does; *mip tells whether the
// optimiser's MIP status was read.
int read_status(problem_s *p, int *status, bool *mip) {
  *mip = false;
  if (answered_by_nslp(p)) {
    if (NSLPgetintattrib(p->slpprob, NSLP_ATTR_STATUS, status) != 0)
      return nvo_library_error(p);
    return 0;
  }
  const int is_mip = problem_is_mip(p);
  if (is_mip < 0) return -1;
  *mip = is_mip != 0;
  return int_attrib(p, *mip ? NVRL_ATTR_MIP_STATUS : NVRL_ATTR_LP_STATUS, status);
}

// The name of a status number; a value outside a table gets the table's last name.
const char *status_name(int status, const char *const (&table)[10]) {
  return status >= 0 && status < 9 ? table[status] : table[9];
}

constexpr const char *kLpStatusNames[10] = {
    "lp_unstarted", "lp_optimal",        "lp_infeas",   "lp_cutoff",    "lp_unfinished",
    "lp_unbounded", "lp_cutoff_in_dual", "lp_unsolved", "lp_nonconvex", "lp_unknown"};
constexpr const char *kMipStatusNames[10] = {
    "mip_not_loaded", "mip_lp_not_optimal", "mip_lp_optimal", "mip_no_sol_found",
    "mip_solution",   "mip_infeas",         "mip_optimal",    "mip_unbounded",
    "mip_unknown",    "mip_unknown"};
// Value 1 is "nlp_solution" although the module constants also call it nlp_locally_optimal.
constexpr const char *kNlpStatusNames[10] = {
    "nlp_unstarted", "nlp_solution", "nlp_globally_optimal", "nlp_locally_infeasible",
    "nlp_infeasible", "nlp_unbounded", "nlp_unfinished", "nlp_unknown",
    "nlp_unknown",   "nlp_unknown"};

PyDoc_STRVAR(problem_setObjective_doc,
             "setObjective(objective, sense=nuvrel.minimize)\n\n"
             "Replaces the objective by a variable or a linear, quadratic or nonlinear\n"
             "expression, to be minimized (sense=nuvrel.minimize) or maximized\n"
             "(sense=nuvrel.maximize).\n\n"
             "Example: p.setObjective(3*x + 2*y - x*x, sense=nuvrel.maximize)");

PyObject *problem_setObjective(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"objective", "sense", nullptr};
  PyObject *objective = nullptr;
  int sense = 1;
  if (!PyArg_ParseTupleAndKeywords(args, kwargs, "O|i:setObjective", const_cast<char **>(kwlist),
                                   &objective, &sense))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr || problem_setObjective_obj(p, objective, sense) != 0) return nullptr;
  Py_RETURN_NONE;
}

}  // namespace

bool problem_run_nonlinear(problem_s *p, int (*call)(NSLPprob, const char *), const char *flags,
                           int *rc) {
  nvo_userfunc_error_discard(p->userfunc_errors);
  *rc = problem_run_released(p, [&] { return call(p->slpprob, flags); }, true);
  // A user function that raised stopped the solve: its exception is the answer.
  if (nvo_userfunc_error_raise(p->userfunc_errors) != 0) return false;
  return !PyErr_Occurred();  // else raised by a callback
}

namespace {

// The nonlinear path of solve: integer columns are kept integral by the 'g' flag.
PyObject *solve_nonlinear(problem_s *p, const char *flags, int is_mip) {
  char buffer[512];
  const size_t len = flags != nullptr ? std::min(std::strlen(flags), sizeof buffer - 1) : 0;
  std::memcpy(buffer, flags != nullptr ? flags : "", len);
  buffer[len] = '\0';
  if (is_mip && std::strchr(buffer, 'g') == nullptr) {
    if (len > 510) {
      PyErr_SetString(nvpy_solver_exc,
                      "Problem is mixed integer but the flag string is full; cannot add 'g' to "
                      "the flags");
      return nullptr;
    }
    buffer[len] = 'g';
    buffer[len + 1] = '\0';
  }
  int rc = 0;
  if (!problem_run_nonlinear(p, NSLPnlpoptimize, buffer, &rc)) return nullptr;
  if (rc != 0) return setNvrlErrIfNull(reinterpret_cast<PyObject *>(p), nullptr);
  Py_RETURN_NONE;
}

PyDoc_STRVAR(problem_solve_doc,
             "solve(flags=None)\n\n"
             "Solves the problem with the linear, mixed-integer or quadratic optimizer, or with\n"
             "the nonlinear solver when constraints or the objective are nonlinear. flags is an\n"
             "optional string of solver flags: 'p' primal simplex, 'd' dual simplex, 'b'\n"
             "barrier ('g' is added for a nonlinear problem with integer variables). Ctrl-C\n"
             "stops the solve with its best answer so far.\n\n"
             "Example: p.solve(); print(p.getProbStatusString(), p.getObjVal())");

PyObject *problem_solve(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = reinterpret_cast<problem_s *>(self);
  if (p->solving) {
    PyErr_SetString(nvpy_solver_exc, "The problem is already being solved");
    return nullptr;
  }
  if (problem_ready(self) == nullptr) return nullptr;
  static const char *kwlist[] = {"flags", nullptr};
  PyObject *flags_obj = Py_None;
  if (!PyArg_ParseTupleAndKeywords(args, kwargs, "|O:solve", const_cast<char **>(kwlist),
                                   &flags_obj))
    return nullptr;
  const int is_mip = problem_is_mip(p);
  if (is_mip < 0) return nullptr;
  const char *flags = nullptr;
  if (flags_obj != Py_None) {
    if (PyUnicode_Check(flags_obj)) {
      flags = PyUnicode_AsUTF8(flags_obj);
    } else if (PyBytes_Check(flags_obj)) {
      flags = PyBytes_AS_STRING(flags_obj);
    } else {
      PyErr_SetString(nvpy_interf_exc, "The optional 'flags' parameter should be a string");
      return nullptr;
    }
    if (flags == nullptr) return nullptr;
  }
  if (problem_is_nonlinear(p) && nslp_usable(p)) return solve_nonlinear(p, flags, is_mip);
  const int rc = problem_run_released(p, [&] {
    return is_mip ? NVRLmipoptimize(p->prob, flags) : NVRLlpoptimize(p->prob, flags);
  });
  if (PyErr_Occurred()) return nullptr;  // raised by a callback during the solve
  if (rc == 0) Py_RETURN_NONE;
  int status = 0;
  if (int_attrib(p, is_mip ? NVRL_ATTR_MIP_STATUS : NVRL_ATTR_LP_STATUS, &status) != 0)
    return nullptr;
  if (status == NVRL_LP_NONCONVEX) {
    PyErr_SetString(nvpy_solver_exc,
                    "The problem was determined to be nonconvex, and the optimizer cannot solve "
                    "it. Call nlpoptimize() to find a solution using SLP");
    return nullptr;
  }
  return setNvrlErrIfNull(self, nullptr);
}

PyDoc_STRVAR(problem_getProbStatus_doc,
             "getProbStatus()\n\nThe status of the last solve as a number (nuvrel.lp_optimal,\n"
             "nuvrel.mip_optimal, ...).\n\nExample: if p.getProbStatus() == nuvrel.lp_optimal: ...");

PyObject *problem_getProbStatus(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int status;
  bool mip;
  if (read_status(p, &status, &mip) != 0) return nullptr;
  return PyLong_FromLong(status);
}

PyDoc_STRVAR(problem_getProbStatusString_doc,
             "getProbStatusString()\n\nThe status of the last solve as a name ('lp_optimal',\n"
             "'mip_optimal', ...).\n\nExample: print(p.getProbStatusString())");

PyObject *problem_getProbStatusString(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int status;
  bool mip;
  if (read_status(p, &status, &mip) != 0) return nullptr;
  // The table follows the problem's content alone: a nonlinear problem names even an LP or
  // MIP status number from the nonlinear table.
  const auto &table = problem_is_nonlinear(p) ? kNlpStatusNames
                      : mip                   ? kMipStatusNames
                                              : kLpStatusNames;
  return PyUnicode_FromString(status_name(status, table));
}

PyDoc_STRVAR(problem_getObjVal_doc,
             "getObjVal()\n\nThe objective value of the last solve.\n\n"
             "Example: print(p.getObjVal())");

PyObject *problem_getObjVal(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  double value = 0.0;
  if (answered_by_nslp(p)) {
    if (NSLPgetdblattrib(p->slpprob, NSLP_ATTR_OBJECTIVE, &value) != 0)
      return setNvrlErrIfNull(self, nullptr);
    return PyFloat_FromDouble(value);
  }
  const int is_mip = problem_is_mip(p);
  if (is_mip < 0) return nullptr;
  if (NVRLgetdblattrib(p->prob, is_mip ? NVRL_ATTR_MIP_OBJECTIVE : NVRL_ATTR_LP_OBJECTIVE,
                       &value) != 0)
    return setNvrlErrIfNull(self, nullptr);
  return PyFloat_FromDouble(value);
}

}  // namespace

int problem_is_mip(problem_s *p) {
  for (int id : {NVRL_ATTR_DISCRETE_COLUMNS, NVRL_ATTR_SETS, NVRL_ATTR_GENERAL_CONSTRAINTS,
                 NVRL_ATTR_INDICATORS}) {
    int n = 0;
    if (int_attrib(p, id, &n) != 0) return -1;
    if (n != 0) return 1;
  }
  return 0;
}

int check_nl_unconstruct(problem_s *p) {
  if (!problem_is_nonlinear(p) || !nslp_usable(p)) return 0;
  int state = 0;
  if (NSLPgetintattrib(p->slpprob, NSLP_ATTR_STATE, &state) != 0) return nvo_library_error(p);
  if ((state & 1) != 0 && NSLPunconstruct(p->slpprob) != 0) return nvo_library_error(p);
  if ((state & (1 << 29)) != 0 && NSLPpostsolve(p->slpprob) != 0) return nvo_library_error(p);
  return 0;
}

int problem_setObjective_obj(problem_s *p, PyObject *obj, int sense) {
  if (sense != 1 && sense != -1) {
    return nvo_model_error("Invalid optimization sense");
  }
  PyRef<> objective = PyRef<>::borrow(obj);
  if (nvo_is_array(obj)) {
    const npy_intp size = PyArray_SIZE(reinterpret_cast<PyArrayObject *>(obj));
    if (size > 1) {
      return nvo_model_error("Only one objective can be set, passed a sequence or NumPy array");
    }
    // An empty array stays what it is and is refused below as no expression.
    if (size == 1) {
      objective = PyRef(nvo_array_first_item(obj));
      if (!objective) return -1;
    }
  }
  if (nvo_kind_noraise(objective.get()) < 0) {
    return nvo_model_error("Invalid object set as objective");
  }
  nvo_converted converted;
  nvo_nlcoefs nl;  // the nonlinear part, if any
  // Converted before anything changes, so that a refused objective leaves the old one.
  const nvo_nl_problem view = problem_nl_view(p);
  if (convertExpr(&view, objective.get(), &converted, &nl) != 0) return -1;
  if (nl.size() > 0 && !nslp_usable(p)) return nonlinear_missing();
  // The library refuses such coefficients, but only after the old objective has been cleared.
  if (objective_out_of_range(converted) != 0) return -1;
  if (check_nl_unconstruct(p) != 0) return -1;
  if (drop_objective_transfer(p) != 0) return -1;
  if (clear_objective(p) != 0) return -1;

  if (converted.constant != 0.0) {
    const int constant_col = -1;
    const double value = -converted.constant;
    if (NVRLchgobj(p->prob, 1, &constant_col, &value) != 0) return nvo_library_error(p);
  }
  const size_t nlin = converted.lin_col.size();
  if (nlin > 0) {
    if (NVRLchgobj(p->prob, static_cast<int>(nlin), converted.lin_col.data(),
                   converted.lin_coef.data()) != 0)
      return nvo_library_error(p);
  }
  const size_t nq = converted.quad_col1.size();
  if (nq > 0) {
    AllocBuffer<double> q;
    if (q.allocate(nq) != 0) return -1;
    for (size_t k = 0; k < nq; ++k)
      q[k] = nvo_obj_qcoef(converted.quad_col1[k], converted.quad_col2[k],
                           converted.quad_coef[k]);
    if (NVRLchgmqobj64(p->prob, static_cast<NVRLint64>(nq), converted.quad_col1.data(),
                       converted.quad_col2.data(), q.data()) != 0)
      return nvo_library_error(p);
  }
  if (nl.size() > 0 && add_objective_transfer(p, &nl) != 0) {
    // No half-made objective: whatever was added goes again.
    PyObject *type, *value, *traceback;
    PyErr_Fetch(&type, &value, &traceback);
    if (p->objtransfer_col < 0 && p->objtransfer_row >= 0)
      NVRLdelrows(p->prob, 1, &p->objtransfer_row);
    else
      drop_objective_transfer(p);
    PyErr_Clear();
    p->objtransfer_col = p->objtransfer_row = -1;
    p->nonlin_obj = 0;
    PyErr_Restore(type, value, traceback);
    return -1;
  }
  if (NVRLchgobjsense(p->prob, sense == 1 ? 1 : -1) != 0) return nvo_library_error(p);
  if (p->slpprob != nullptr && nslp_state(-1) == 1 &&
      NSLPsetdblcontrol(p->slpprob, NSLP_CTRL_OBJECTIVE_SENSE, sense == 1 ? 1.0 : -1.0) != 0)
    return nvo_library_error(p);
  return 0;
}

PyMethodDef problem_methods_solve[] = {
    {"setObjective", NVO_KW_METHOD(problem_setObjective), METH_VARARGS | METH_KEYWORDS,
     problem_setObjective_doc},
    {"solve", NVO_KW_METHOD(problem_solve), METH_VARARGS | METH_KEYWORDS, problem_solve_doc},
    {"getProbStatus", problem_getProbStatus, METH_NOARGS, problem_getProbStatus_doc},
    {"getProbStatusString", problem_getProbStatusString, METH_NOARGS,
     problem_getProbStatusString_doc},
    {"getObjVal", problem_getObjVal, METH_NOARGS, problem_getObjVal_doc},
    {nullptr, nullptr, 0, nullptr},
};
