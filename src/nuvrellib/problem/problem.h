// The problem object nuvrel.problem: the library handles, the modelling objects added to the
// problem with their identifier-to-index maps, its controls and attributes, the callback
// lists and the counters that tell whether the problem has become nonlinear.
#pragma once

#include <Python.h>

#include <cstdint>

#include "model/termmaps.h"
#include "module/errors.h"
#include "module/sigint.h"
#include "nvrl.h"

// One callback list per callback kind.
constexpr int NVO_N_CALLBACKS = 40;

struct problem_s {
  PyObject_HEAD
  NVRLprob prob;        // null until the problem is initialised
  NSLPprob slpprob;     // null when the nonlinear solver is not available
  PyObject *vars;       // list of var, index = column
  PyObject *cons;       // list of constraint, index = row
  PyObject *sets;       // list of sos, index = set
  PyObject *controls;   // ctrl object of this problem
  PyObject *attributes; // attr object of this problem
  rowcolmap *varmap;    // variable identifier -> column
  rowcolmap *conmap;    // constraint identifier -> row
  rowcolmap *sosmap;    // set identifier -> set index
  PyObject *callbacks[NVO_N_CALLBACKS];  // list of [problem, callable, data, priority]
  int32_t last_run_nonlinear;  // 1 when the last solving call was the nonlinear solver's
  int32_t n_nonlin_cons;    // flushed constraint batches with nonlinear coefficients
  int32_t nonlin_obj;       // 1 when the objective has a nonlinear part
  PyObject *userfuncs;      // dict of user functions, created on first use (or null)
  // The first exception a user function raised in the running solve (a list of at most one,
  // created with the first user function, or null); the functions' objects point at it.
  PyObject *userfunc_errors;
  // The objects given with multistart jobs, one per queuing call that passed one (or null).
  // The library keeps each as an opaque pointer; this list keeps it alive until the jobs
  // are cleared or the problem goes.
  PyObject *msjobs;
  int32_t objtransfer_col;  // auxiliary objective column of a nonlinear objective, or -1
  int32_t objtransfer_row;  // its row, or -1
  int32_t solving;          // 1 for the whole of an optimisation call on this problem
  int32_t constant_col;     // the nonlinear solver's constant column, cached by the
                            // formula conversion; INT32_MIN until read
};

extern PyTypeObject problem_type;

inline bool problem_check(PyObject *obj) { return PyObject_TypeCheck(obj, &problem_type); }

// A fresh object with null handles, -1 auxiliary indices and no lists or maps.
problem_s *problem_alloc();
// problem_alloc plus empty lists and maps and the ctrl and attr objects; null with an
// exception on failure.
problem_s *problem_new();

// The entry check of every method and accessor of a problem: self as a problem whose library
// problem exists and that is not being solved. Null with InterfaceError "The problem has not
// been initialized" for an object made without running __init__, or with SolverError while
// an optimisation call on it runs (from any thread, its own callbacks included) unless
// method is one of those usable during a solve (see problem.cpp). method names the caller;
// the problem_ready form passes the calling handler's name.
problem_s *problem_ready_for(PyObject *self, const char *method);
#define problem_ready(self) problem_ready_for((self), __func__)

// Marks p as being solved for the scope of an optimisation call; the caller has checked
// problem_ready and holds the interpreter lock at both ends.
class ProblemSolving {
 public:
  // nonlinear: the call is the nonlinear solver's, whose answers the getters then report
  // even for a problem without nonlinear parts.
  explicit ProblemSolving(problem_s *p, bool nonlinear = false) : p_(p) {
    p_->solving = 1;
    p_->last_run_nonlinear = nonlinear ? 1 : 0;
  }
  ~ProblemSolving() { p_->solving = 0; }
  ProblemSolving(const ProblemSolving &) = delete;
  ProblemSolving &operator=(const ProblemSolving &) = delete;

 private:
  problem_s *p_;
};

// Runs call(), a library call that may solve for long, the way every such call runs: the
// problem marked as solving (nonlinear: by the nonlinear solver), the interpreter's Ctrl-C
// handler set aside for the library's, and the interpreter released so that other threads
// go on. call must not touch Python objects. Returns what call returns; an exception that a
// handler raised meanwhile is pending for the caller to check.
template <typename Call>
int problem_run_released(problem_s *p, Call &&call, bool nonlinear = false) {
  int rc;
  ProblemSolving solving(p, nonlinear);
  setSigIntHandler();
  Py_BEGIN_ALLOW_THREADS
  rc = call();
  Py_END_ALLOW_THREADS
  resetSigIntHandler();
  return rc;
}

// How setNvrlErrIfNull reports a problem's error; registered at import.
extern const nvo_error_source problem_error_source;
// The same for a failed call of the nonlinear solver (with nvo_source_error): its own
// message first.
extern const nvo_error_source problem_nonlinear_error_source;

// Routing rule: true when the problem must be handled by the nonlinear solver.
inline bool problem_is_nonlinear(const problem_s *p) {
  return p->n_nonlin_cons > 0 || p->nonlin_obj != 0;
}
