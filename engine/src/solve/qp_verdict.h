// Checks of a QP that HiGHS's QP solver calls optimal. That solver can end with "optimal" at a
// point that is not (a huge point of an unbounded QP, or a finite point where a column off its
// bounds still has a gradient), so the answer is verified before it is reported.
#pragma once

#include "solve/lowered_model.h"

namespace nvrl {

// True when HiGHS's primal and dual answer satisfy the optimality conditions of the convex QP:
// column duals equal c + Qx - A'y, and every row and column dual has the sign its position
// allows (zero off the bounds).
bool qpAnswerHolds(const LoweredModel &L, void *highs);

// A convex quadratic bounded on a polyhedron attains its minimum, so a QP with a feasible point
// is unbounded exactly when a direction d with Qd = 0 improves the linear cost and stays in the
// recession cone of the rows and bounds. Solves that LP (d limited to [-1, 1]) on a HiGHS
// instance of its own; `like` is the caller's instance, whose thread count is reused. False
// at once when every column is bounded on both sides.
bool qpHasImprovingRay(const LoweredModel &L, void *like);

}  // namespace nvrl
