// Row scale factors of the nonlinear solver, and their use as penalty weights in a solve.
#pragma once

#include <string>
#include <vector>

#include "nslp/slp_loop.h"
#include "nslp/slp_model.h"
#include "nslp/slp_problem.h"

namespace nvrl {

// One factor per row of M: 1 / (largest |derivative| of the row at x), rounded to a power of
// two within 2^-30 .. 2^30; 1 for a row without derivatives. False, with err set, where a
// row cannot be differentiated at x.
bool rowScaleFactors(const SlpModel &M, const std::vector<double> &x, std::vector<double> &f,
                     std::string &err);

// Multiplies st's row weights by the factors the control nslp_scaling asks for: none, those
// NSLPscaling kept, or factors computed at st's starting point (and kept).
NVRL_INTERNAL_API void applyRowScaling(nslp_problem_s *s, const SlpModel &M, SlpSettings &st);

}  // namespace nvrl
