// Shared pieces of the nonlinear solver's methods of nuvrel.problem (nl_methods_*.cpp): the
// entry check, the error path and the count that keeps the modelling layer in step with
// coefficients given through these methods.
#pragma once

#include <Python.h>

#include "problem/problem.h"

// The entry check of every nonlinear method: self ready (problem_ready_for) and holding a
// nonlinear problem, else InterfaceError. Null with an exception set on failure.
problem_s *nvo_nl_ready(PyObject *self, const char *method);
#define NL_READY(self) nvo_nl_ready((self), __func__)

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
