// Convex problems with integer columns (convex quadratic rows and objective, integer and
// binary columns): the extended cutting-plane method (Westerlund and Pettersson 1995). A
// MIP holds the linear rows and, for each nonlinear row, the tangent cuts collected so far;
// the objective's quadratic part is bounded by an epigraph column with its own cuts. Each
// round solves the MIP and cuts off its solution where it violates a row or underestimates
// the objective. Tangents of convex functions never cut off a feasible point, so the first
// MIP solution that satisfies every row is a global optimum.
#pragma once

#include "nslp/slp_loop.h"

namespace nvrl {

// p supplies the HiGHS options (its controls and flags) and sees nothing else of the run.
SlpOutcome runCuttingPlanes(const SlpModel &model, const SlpSettings &settings,
                            const nvrl_problem_s *p, const SolveFlags &flags,
                            const SlpEnvironment &env);

}  // namespace nvrl
