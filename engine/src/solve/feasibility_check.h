// Settles a MIP that HiGHS leaves "infeasible or unbounded": such a MIP (rational data, an
// unbounded relaxation) is unbounded exactly when it has a feasible point.
#pragma once

#include "solve/lowered_model.h"

namespace nvrl {

// Solves the lowered model with a zero objective on a HiGHS instance of its own, so that the
// caller's instance keeps the run being answered. `like` is the caller's HiGHS instance, whose
// thread count and time limit are reused. 1 when a feasible point exists, 0 when none does,
// -1 when the search ended without telling (a time limit).
int feasiblePoint(const LoweredModel &L, void *like);

}  // namespace nvrl
