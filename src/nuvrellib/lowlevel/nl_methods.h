// Shared pieces of the nonlinear solver's methods of nuvrel.problem (nl_methods_*.cpp): the
// argument parsing and entry check, index and count conversions, the error path and the
// count that keeps the modelling layer in step with coefficients given through these methods.
#pragma once

#include <Python.h>

#include <cstdint>

#include "module/args.h"
#include "module/methods.h"
#include "problem/problem.h"

// The entry check of every nonlinear method: self ready (problem_ready_for) and holding a
// nonlinear problem, else InterfaceError. Null with an exception set on failure.
problem_s *nvo_nl_ready(PyObject *self, const char *method);
#define NL_READY(self) nvo_nl_ready((self), __func__)

// The opening of a method taking (self, args, kwargs): parses its arguments by format into
// the pointers after `required`, raises one error naming every missing one among the first
// `required` of kw (their objects in v, parsed as optional "O" for that), then runs the entry
// check. The problem, or null with an exception set.
#define NL_ARGS(format, kw, v, required, ...)                                        \
  (nvo_ParseTupleAndKeywords(args, kwargs, format, kw, nullptr, __VA_ARGS__) &&      \
           nvo_require_args(kw, v, required) == 0                                      \
       ? NL_READY(self)                                                                \
       : nullptr)

// A method table entry for NSLP_PY_<name>, taking keywords.
#define NL_ENTRY(name, doc) \
  {#name, NVO_KW_METHOD(NSLP_PY_##name), METH_VARARGS | METH_KEYWORDS, doc}

// One index argument (kind CONV_ROW, CONV_COL, ...) converted as the low-level methods do:
// 0, or -1 with an exception set.
int nvo_nl_index(problem_s *p, PyObject *obj, int kind, int *out);

// The library takes int counts: 0 when n fits, else -1 with InterfaceError "Too many entries
// for one call".
int nvo_nl_fits(int64_t n);

// Raises SolverError with the nonlinear problem's last message (an exception already pending
// is kept). Returns null, for `return nvo_nl_fail(p);`.
PyObject *nvo_nl_fail(problem_s *p);

// After a change of coefficients: the problem is routed to the nonlinear solver while it holds
// any (the modelling layer's solve and answers look at the count). 0, or -1 with an exception.
int nvo_nl_recount(problem_s *p);

// Runs an optimisation call of the nonlinear solver without the interpreter lock, with the
// problem marked as being solved and the SIGINT guard in place; a user function's exception
// is raised again. Returns None, or null with an exception set.
PyObject *nvo_nl_run_guarded(problem_s *p, int (*call)(NSLPprob, const char *),
                             const char *flags);
