// Problems with quadratic rows are solved by the nonlinear solver, which lives in the layer
// above this one; it registers its entry here when the library is loaded.
#pragma once

#include "core/problem.h"
#include "solve/highs_options.h"

namespace nvrl {

// Solves p (quadratic rows present, every row and the objective convex) and fills p->sol as
// the optimiser's own solves do; mip: keep the integer columns integral. Returns 0 or a
// failure recorded on p.
using QuadraticRowSolver = int (*)(nvrl_problem_s *p, const SolveFlags &flags, bool mip);

void setQuadraticRowSolver(QuadraticRowSolver solver);
QuadraticRowSolver quadraticRowSolver();

}  // namespace nvrl
