// Keeping the problem's store cache (core/problem.h) in step with changes of the model.
#pragma once

#include "core/problem.h"

namespace nvrl {

// Records a change of the model. names_kept tells that the caller kept the name index in step
// with its change (or did not touch names), so the index survives the version bump. Never
// fails, so callers can make it their last step after a change that cannot fail either.
void commitChange(nvrl_problem_s *p, bool names_kept) noexcept;

}  // namespace nvrl
