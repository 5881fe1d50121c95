// The problem type nuvrel.problem: allocation, construction, copy, reset, name, destruction,
// and the assembly of its method table from the method families.
#include "problem/problem.h"

#include <structmember.h>

#include <array>
#include <cstring>
#include <utility>
#include <vector>

#include "module/alloc_buffer.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/output.h"
#include "module/pyref.h"
#include "nonlinear/user.h"
#include "problem/attr.h"
#include "problem/controls.h"
#include "problem/ctrl.h"
#include "problem/declaration.h"
#include "problem/method_families.h"

namespace {


inline problem_s *as_problem(PyObject *o) { return reinterpret_cast<problem_s *>(o); }

int create_lists_and_maps(problem_s *p) {
  p->vars = PyList_New(0);
  p->cons = PyList_New(0);
  p->sets = PyList_New(0);
  p->varmap = rowcolmap_new();
  p->conmap = rowcolmap_new();
  p->sosmap = rowcolmap_new();
  if (!p->vars || !p->cons || !p->sets || !p->varmap || !p->conmap || !p->sosmap) {
    PyErr_Clear();
    return nvo_model_error("Could not create problem maps");
  }
  return 0;
}

int create_ctrl_attr(problem_s *p) {
  p->controls = ctrl_create(reinterpret_cast<PyObject *>(p));
  if (p->controls == nullptr) return -1;
  p->attributes = attr_create(reinterpret_cast<PyObject *>(p));
  return p->attributes == nullptr ? -1 : 0;
}

// Creates the library handles; the nonlinear one stacked on the optimiser's when the
// nonlinear solver is available (with its automatic presolve off).
int create_handles(problem_s *p) {
  p->constant_col = INT32_MIN;
  if (NVRLcreateprob(&p->prob) != 0) {
    p->prob = nullptr;
    PyErr_SetString(nvpy_solver_exc, "Could not create optimization problem");
    return -1;
  }
  if (nslp_state(-1) == 1) {
    if (NSLPcreateprob(&p->slpprob, &p->prob) != 0) {
      p->slpprob = nullptr;
      return nvo_library_error(p);
    }
    if (NSLPsetintcontrol(p->slpprob, NSLP_CTRL_AUTO_PRESOLVE, 0) != 0)
      return nvo_library_error(p);
  }
  return 0;
}

// Each problem prints its own log lines; the global routine leaves them alone.
int register_printing(problem_s *p) {
  if (NVRLaddcbmessage(p->prob, nvr_py_print_prob, nullptr, 1) != 0) return nvo_library_error(p);
  if (p->slpprob != nullptr && NSLPsetcbmessage(p->slpprob, nvr_py_print_probNL, nullptr) != 0)
    return nvo_library_error(p);
  return 0;
}

// Loads an empty problem without the log line a load writes, keeping the user's setting.
int load_empty(problem_s *p, const char *name) {
  int loadlog = 0;
  if (NVRLgetintcontrol(p->prob, NVRL_CTRL_LOAD_LOG, &loadlog) != 0 ||
      NVRLsetintcontrol(p->prob, NVRL_CTRL_LOAD_LOG, 0) != 0)
    return nvo_library_error(p);
  int rc = NVRLloadlp(p->prob, name, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr, nullptr, nullptr, nullptr, nullptr);
  if (NVRLsetintcontrol(p->prob, NVRL_CTRL_LOAD_LOG, loadlog) != 0 || rc != 0)
    return nvo_library_error(p);
  return 0;
}

void destroy_handles(problem_s *p) {
  if (p->slpprob != nullptr) NSLPdestroyprob(p->slpprob);
  p->slpprob = nullptr;
  if (p->prob != nullptr) NVRLdestroyprob(p->prob);
  p->prob = nullptr;
}

// Replaces the three lists by empty ones and clears the maps.
int empty_lists_and_maps(problem_s *p) {
  PyRef vars(PyList_New(0)), cons(PyList_New(0)), sets(PyList_New(0));
  if (!vars || !cons || !sets) return -1;
  Py_XSETREF(p->vars, vars.release());
  Py_XSETREF(p->cons, cons.release());
  Py_XSETREF(p->sets, sets.release());
  rowcolmap_clear(p->varmap);
  rowcolmap_clear(p->conmap);
  rowcolmap_clear(p->sosmap);
  return 0;
}

// The ctrl and attr objects only borrow their problem; once it goes they must not reach it.
void detach_ctrl_attr(problem_s *p) {
  if (p->controls != nullptr) ctrl_detach(p->controls);
  if (p->attributes != nullptr) attr_detach(p->attributes);
}

// ----- Python-visible life cycle ----------------------------------------------------------

int problem_init(PyObject *self, PyObject *args, PyObject *kwargs) {
  problem_s *p = as_problem(self);
  static const char *kwlist[] = {"name", "sense", nullptr};
  const char *name = nullptr;
  int sense = 1;
  PyRef empty(PyTuple_New(0));
  if (!empty || !PyArg_ParseTupleAndKeywords(empty.get(), kwargs, "|$zi:problem",
                                             const_cast<char **>(kwlist), &name, &sense))
    return -1;
  if (sense != 1 && sense != -1) {
    return nvo_model_error("Invalid optimization sense");
  }
  if (p->prob != nullptr) {
    // __init__ called again on a live problem: start from scratch.
    return nvo_model_error("Problem is already initialized; use reset()");
  }
  if (p->vars == nullptr && create_lists_and_maps(p) != 0) return -1;
  if (turnNVRLon(0) != 0) return -1;
  p->last_run_nonlinear = 0;
  p->objtransfer_col = p->objtransfer_row = -1;
  p->n_nonlin_cons = p->nonlin_obj = 0;
  if (create_handles(p) != 0) return -1;
  if (load_empty(p, name != nullptr ? name : "noname") != 0) return -1;
  if (p->controls == nullptr && create_ctrl_attr(p) != 0) return -1;
  if (register_printing(p) != 0) return -1;
  if (problem_apply_defaults(p) != 0) return -1;
  return problem_add_elements(p, args, sense);
}

// Reports a failed destruction, where no exception can be raised. The library records it as
// a global error (the handle it refused is no problem of its own any more). The report names
// the type: the object itself, with no references left, must not be handed out.
void report_unraisable(PyObject *self) {
  setNvrlErrIfNull(nullptr, nullptr);
  PyErr_WriteUnraisable(reinterpret_cast<PyObject *>(Py_TYPE(self)));
}

// The problem holds Python objects that can lead back to it: a user function (a closure, a
// bound method) referring to its problem, a callback list, a constraint whose formula calls
// such a function. The user functions' objects are held by the library for the problem.
int problem_traverse(PyObject *self, visitproc visit, void *arg) {
  problem_s *p = as_problem(self);
  Py_VISIT(p->vars);
  Py_VISIT(p->cons);
  Py_VISIT(p->sets);
  Py_VISIT(p->userfuncs);
  Py_VISIT(p->userfunc_errors);  // an exception's traceback may reach the problem
  for (PyObject *list : p->callbacks) Py_VISIT(list);
  Py_VISIT(p->msjobs);
  if (p->userfuncs != nullptr && p->slpprob != nullptr) {
    const Py_ssize_t n = PyDict_GET_SIZE(p->userfuncs);
    for (Py_ssize_t i = 1; i <= n; ++i) {
      void *object = nullptr;
      if (NSLPgetuserfuncobject(p->slpprob, static_cast<int>(i), &object) != 0) break;
      Py_VISIT(static_cast<PyObject *>(object));
    }
  }
  return 0;
}

// Breaks the cycles through the problem; the library handles stay until deallocation. A
// problem without its lists answers as one never initialised. This and the deallocation slot
// release raw fields, each nulled before its release.
int problem_clear(PyObject *self) {
  problem_s *p = as_problem(self);
  {
    PendingError pending;
    nvo_userfuncs_release(p);
    Py_CLEAR(p->msjobs);
    pending.restore();
  }
  for (PyObject *&list : p->callbacks) Py_CLEAR(list);
  Py_CLEAR(p->vars);
  Py_CLEAR(p->cons);
  Py_CLEAR(p->sets);
  return 0;
}

void problem_dealloc(PyObject *self) {
  problem_s *p = as_problem(self);
  // Untracked first: the releases below can run a collection that must not see a
  // half-released problem.
  PyObject_GC_UnTrack(self);
  // Keep a pending exception (deallocation can happen while one propagates) out of the
  // library error reports below.
  PendingError pending;
  { EnvLock wait_for_library(nvr_py_env.mtx_lib); }
  if (p->prob != nullptr) NVRLremovecbmessage(p->prob, nvr_py_print_prob, nullptr);
  nvo_userfuncs_release(p);
  Py_CLEAR(p->msjobs);
  // A handle the library cannot destroy is lost either way; everything else is released.
  if (p->slpprob != nullptr && NSLPdestroyprob(p->slpprob) != 0) report_unraisable(self);
  p->slpprob = nullptr;
  if (p->prob != nullptr && NVRLdestroyprob(p->prob) != 0) report_unraisable(self);
  p->prob = nullptr;
  for (PyObject *&list : p->callbacks) Py_CLEAR(list);
  detach_ctrl_attr(p);
  Py_CLEAR(p->controls);
  Py_CLEAR(p->attributes);
  Py_CLEAR(p->vars);
  Py_CLEAR(p->cons);
  Py_CLEAR(p->sets);
  Py_CLEAR(p->userfuncs);
  rowcolmap_free(&p->varmap);
  rowcolmap_free(&p->conmap);
  rowcolmap_free(&p->sosmap);
  pending.restore();
  Py_TYPE(self)->tp_free(self);
}

PyObject *problem_name_string(problem_s *p) {
  int size = 0;
  if (p->prob == nullptr || NVRLgetintattrib(p->prob, NVRL_ATTR_PROBLEM_NAME_LENGTH, &size) != 0)
    return nvo_library_error(p);
  AllocBuffer<char> buffer;
  if (buffer.allocate(static_cast<size_t>(size > 0 ? size : 1)) != 0) return nullptr;
  buffer[0] = '\0';
  if (NVRLgetprobname(p->prob, buffer.data()) != 0) return nvo_library_error(p);
  return PyUnicode_FromString(buffer.data());
}

PyDoc_STRVAR(problem_name_doc,
             "name()\n\nThe name of the problem.\n\nExample: print(p.name())");

PyObject *problem_name(PyObject *self, PyObject *) {
  if (problem_ready(self) == nullptr) return nullptr;
  return setNvrlErrIfNull(self, problem_name_string(as_problem(self)));
}

// str(p) is the problem's name.
PyObject *problem_str(PyObject *self) { return problem_name(self, nullptr); }

PyDoc_STRVAR(problem_copy_doc,
             "copy()\n\nA new, independent problem with the same model, controls and callbacks.\n"
             "The copy shares the variable, constraint and set objects with this problem.\n\n"
             "Example: q = p.copy()");

PyObject *problem_copy(PyObject *self, PyObject *) {
  problem_s *src = problem_ready(self);
  if (src == nullptr) return nullptr;
  PyRef result(reinterpret_cast<PyObject *>(problem_new()));
  if (!result) return nullptr;
  problem_s *dst = as_problem(result.get());
  if (create_handles(dst) != 0 || register_printing(dst) != 0) return nullptr;
  if (problem_apply_defaults(dst) != 0) return nullptr;
  if (NVRLcopyprob(dst->prob, src->prob, "") != 0)
    return setNvrlErrIfNull(result.get(), nullptr);
  if (dst->slpprob != nullptr && src->slpprob != nullptr &&
      NSLPcopyprob(dst->slpprob, src->slpprob, "") != 0)
    return setNvrlErrIfNull(result.get(), nullptr);
  // The copied nonlinear problem calls the same user functions through the same objects.
  if (nvo_userfuncs_copy(dst, src) != 0) return nullptr;
  // The copied jobs point at the same objects: the copy holds its own references.
  if (src->msjobs != nullptr &&
      (dst->msjobs = PyList_GetSlice(src->msjobs, 0, PyList_GET_SIZE(src->msjobs))) == nullptr)
    return nullptr;
  // Without these the copy of a nonlinear problem would be solved as a linear one.
  dst->n_nonlin_cons = src->n_nonlin_cons;
  dst->nonlin_obj = src->nonlin_obj;
  dst->objtransfer_col = src->objtransfer_col;
  dst->objtransfer_row = src->objtransfer_row;
  if (NVRLcopycontrols(dst->prob, src->prob) != 0 ||
      (dst->slpprob != nullptr && src->slpprob != nullptr &&
       NSLPcopycontrols(dst->slpprob, src->slpprob) != 0))
    return setNvrlErrIfNull(result.get(), nullptr);
  rowcolmap_free(&dst->varmap);
  rowcolmap_free(&dst->conmap);
  rowcolmap_free(&dst->sosmap);
  if (rowcolmap_copy(&dst->varmap, src->varmap) != 0 ||
      rowcolmap_copy(&dst->conmap, src->conmap) != 0 ||
      rowcolmap_copy(&dst->sosmap, src->sosmap) != 0)
    return nullptr;
  PyObject *pairs[3][2] = {{dst->vars, src->vars}, {dst->cons, src->cons}, {dst->sets, src->sets}};
  for (auto &pair : pairs)
    if (PyList_SetSlice(pair[0], 0, 0, pair[1]) != 0) return nullptr;
  return result.release();
}

PyDoc_STRVAR(problem_reset_doc,
             "reset()\n\nEmpties the problem: no variables, constraints, sets or objective; the\n"
             "module's default controls are applied again. Callbacks are kept.\n\n"
             "Example: p.reset()");

PyObject *problem_reset(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (empty_lists_and_maps(p) != 0) return nullptr;
  if (p->prob != nullptr) {
    NVRLremovecbmessage(p->prob, nvr_py_print_prob, nullptr);
    // The new nonlinear problem has no user functions: they register again when used.
    nvo_userfuncs_release(p);
    Py_CLEAR(p->msjobs);
    destroy_handles(p);
    if (create_handles(p) != 0 || register_printing(p) != 0) return nullptr;
    if (NVRLsetprobname(p->prob, "") != 0) return setNvrlErrIfNull(self, nullptr);
    if (load_empty(p, "") != 0) return nullptr;
  }
  // After the handles are new, so that the defaults land on the problem that stays.
  if (problem_apply_defaults(p) != 0) return nullptr;
  Py_RETURN_NONE;
}

PyMemberDef problem_members[] = {
    {"controls", T_OBJECT_EX, offsetof(problem_s, controls), READONLY, "Problem's controls"},
    {"attributes", T_OBJECT_EX, offsetof(problem_s, attributes), READONLY,
     "Problem's attributes"},
    {nullptr, 0, 0, 0, nullptr},
};

// The table assembled from the families; it lives as long as the type.
std::vector<PyMethodDef> assembled_methods;

// Every method runs through a guard that passes its result to setNvrlErrIfNull: a message
// handler may raise during any library call a method makes, and a method that then returned
// its value beside the pending exception would give the interpreter's SystemError instead of
// the handler's error. Guard I calls the I-th method of the table.
constexpr size_t kMaxGuarded = 400;
PyCFunction guarded_methods[kMaxGuarded];

template <size_t I>
PyObject *guard(PyObject *self, PyObject *arg) {
  return setNvrlErrIfNull(self, guarded_methods[I](self, arg));
}

template <size_t I>
PyObject *guard_kw(PyObject *self, PyObject *args, PyObject *kwargs) {
  auto method = reinterpret_cast<PyCFunctionWithKeywords>(
      reinterpret_cast<void (*)()>(guarded_methods[I]));
  return setNvrlErrIfNull(self, method(self, args, kwargs));
}

template <size_t... I>
constexpr std::array<PyCFunction, sizeof...(I)> guards(std::index_sequence<I...>) {
  return {guard<I>...};
}

template <size_t... I>
constexpr std::array<PyCFunctionWithKeywords, sizeof...(I)> guards_kw(
    std::index_sequence<I...>) {
  return {guard_kw<I>...};
}

constexpr auto kGuards = guards(std::make_index_sequence<kMaxGuarded>());
constexpr auto kGuardsKw = guards_kw(std::make_index_sequence<kMaxGuarded>());

PyDoc_STRVAR(problem_doc,
             "problem(*elements, name=None, sense=1)\n\n"
             "An optimization problem. Positional elements may be variables, constraints,\n"
             "special ordered sets (also in nested lists, tuples, dictionaries or arrays),\n"
             "one objective expression and a name string.\n\n"
             "Example: p = nuvrel.problem(x, y, x + y <= 4, 3*x + 2*y, sense=nuvrel.maximize)");

const char NVRL_PY_getlasterror_doc[] =
    "Returns the last error message of the solver library for this problem.\n\n"
    "Example: print(p.getlasterror())";

PyObject *NVRL_PY_getlasterror(PyObject *self, PyObject *unused) {
  char msg[NVRL_MAXMESSAGELEN];
  std::memset(msg, 0, sizeof msg);
  PyObject *result = nullptr;
  auto *p = reinterpret_cast<problem_s *>(self);
  // Without a library problem there is nothing to ask (the fallback message says so); with
  // one, the usual entry check keeps a running solve's handle out of reach.
  if (p->prob != nullptr) {
    if (problem_ready(self) == nullptr) return nullptr;
    if (NVRLgetlasterror(p->prob, nullptr, msg, sizeof msg, nullptr) == 0)
      result = PyUnicode_FromString(msg);
  }
  return setNvrlErrIfNull(self, result);
}

// The optimiser's message first, the nonlinear solver's when the optimiser has none.
int problem_last_error(PyObject *owner, int *code, char *msg, int capacity) {
  if (!problem_check(owner)) return 0;
  problem_s *p = as_problem(owner);
  if (p->prob != nullptr) NVRLgetlasterror(p->prob, nullptr, msg, capacity, nullptr);
  if (msg[0] == '\0' && p->slpprob != nullptr && nslp_state(-1) == 1)
    NSLPgetlasterror(p->slpprob, code, msg, capacity, nullptr);
  return 1;
}

// After a failed call of the nonlinear solver, its own message first: the optimiser's last
// error may be an older one that has nothing to do with the call.
int problem_nonlinear_last_error(PyObject *owner, int *code, char *msg, int capacity) {
  if (!problem_check(owner)) return 0;
  if (NSLPgetlasterror(as_problem(owner)->slpprob, code, msg, capacity, nullptr) == 0 &&
      msg[0] != '\0')
    return 1;
  *code = 0;
  std::memset(msg, 0, static_cast<size_t>(capacity));
  return problem_last_error(owner, code, msg, capacity);
}

constexpr char kNoProblemError[] = "Unidentified error associated with optimization problem";

}  // namespace

const nvo_error_source problem_error_source = {problem_last_error, kNoProblemError};
const nvo_error_source problem_nonlinear_error_source = {problem_nonlinear_last_error,
                                                         kNoProblemError};

PyMethodDef problem_methods_lifecycle[] = {
    {"name", problem_name, METH_NOARGS, problem_name_doc},
    {"copy", problem_copy, METH_NOARGS, problem_copy_doc},
    {"reset", problem_reset, METH_NOARGS, problem_reset_doc},
    {"getlasterror", NVRL_PY_getlasterror, METH_NOARGS, NVRL_PY_getlasterror_doc},
    {nullptr, nullptr, 0, nullptr},
};

namespace {

// Handlers (by C function name, as problem_ready passes them) that may run while their
// problem is being solved, for callbacks of that solve. None yet: every other call would
// race the library on the problem's handles and lists.
constexpr const char *kUsableWhileSolving[] = {nullptr};

bool usable_while_solving(const char *method) {
  for (const char *name : kUsableWhileSolving)
    if (name != nullptr && method != nullptr && std::strcmp(name, method) == 0) return true;
  return false;
}

}  // namespace

problem_s *problem_ready_for(PyObject *self, const char *method) {
  problem_s *p = as_problem(self);
  if (p->prob == nullptr || p->vars == nullptr) {
    PyErr_SetString(nvpy_interf_exc, "The problem has not been initialized");
    return nullptr;
  }
  if (p->solving && !usable_while_solving(method)) {
    PyErr_SetString(nvpy_solver_exc,
                    "The problem is being solved; it cannot be changed or read until solve() "
                    "returns");
    return nullptr;
  }
  return p;
}

problem_s *problem_alloc() {
  PyObject *obj = PyType_GenericAlloc(&problem_type, 0);
  if (obj == nullptr) return nullptr;
  problem_s *p = as_problem(obj);
  p->last_run_nonlinear = 0;
  p->objtransfer_col = -1;
  p->objtransfer_row = -1;
  p->constant_col = INT32_MIN;
  return p;
}

problem_s *problem_new() {
  PyRef<problem_s> p(problem_alloc());
  if (!p) return nullptr;
  if (create_lists_and_maps(p.get()) != 0 || create_ctrl_attr(p.get()) != 0) return nullptr;
  return p.release();
}

int problem_build_method_table() {
  PyMethodDef *families[] = {problem_methods_lifecycle, problem_methods_objects,
                             problem_methods_solve,     problem_methods_controls,
                             problem_methods_solution,  problem_methods_files,
                             problem_methods_conversion, problem_methods_loading,
                             problem_methods_changes,    problem_methods_queries_matrix,
                             problem_methods_queries_solution,
                             problem_methods_repair,
                             problem_methods_tuning,
                             problem_methods_mip_solutions,
                             problem_methods_nl_loading, problem_methods_nl_queries,
                             problem_methods_nl_changes, problem_methods_nl_solving,
                             problem_methods_nl_multistart,
                             problem_methods_solver_ops,
                             problem_methods_solver_files,
                             problem_methods_directives,
                             problem_methods_iis,
                             problem_methods_sensitivity, problem_methods_recompute};
  assembled_methods.clear();
  for (PyMethodDef *family : families)
    for (PyMethodDef *m = family; m->ml_name != nullptr; ++m) assembled_methods.push_back(*m);
  if (assembled_methods.size() > kMaxGuarded) {
    PyErr_SetString(PyExc_RuntimeError, "More problem methods than method guards");
    return -1;
  }
  for (size_t i = 0; i < assembled_methods.size(); ++i) {
    PyMethodDef &m = assembled_methods[i];
    // Static and class methods have no problem; a fast call would need a guard of its own
    // signature (none is used).
    if (m.ml_flags & (METH_STATIC | METH_CLASS | METH_FASTCALL)) continue;
    guarded_methods[i] = m.ml_meth;
    m.ml_meth = m.ml_flags & METH_KEYWORDS
                    ? reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(kGuardsKw[i]))
                    : kGuards[i];
  }
  assembled_methods.push_back({nullptr, nullptr, 0, nullptr});
  problem_type.tp_methods = assembled_methods.data();
  return 0;
}

PyTypeObject problem_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.problem",
    .tp_basicsize = sizeof(problem_s),
    .tp_dealloc = problem_dealloc,
    .tp_str = problem_str,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC,
    .tp_doc = problem_doc,
    .tp_traverse = problem_traverse,
    .tp_clear = problem_clear,
    .tp_members = problem_members,
    .tp_init = problem_init,
    .tp_free = PyObject_GC_Del,
};
