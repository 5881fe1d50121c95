// Objective, solve and status of a problem.
#pragma once

#include <Python.h>

#include "problem/problem.h"

// Sets obj (a modelling expression) as p's objective with sense 1 or -1.
// 0, or -1 with an exception set.
int problem_setObjective_obj(problem_s *p, PyObject *obj, int sense);
// 1 when p has integer-like columns, sets, general or indicator constraints, 0 when not,
// -1 with an exception set when an attribute cannot be read.
int problem_is_mip(problem_s *p);
// Runs call(p->slpprob, flags), one of the nonlinear solver's solving calls, with the
// interpreter released and Ctrl-C handed to the library; *rc is the library's return. false
// when a user function or a callback raised: that exception is pending and is the answer.
bool problem_run_nonlinear(problem_s *p, int (*call)(NSLPprob, const char *), const char *flags,
                           int *rc);
// Returns the nonlinear solver's working problem to the user's problem before a change.
// 0, or -1 with an exception set.
int check_nl_unconstruct(problem_s *p);
