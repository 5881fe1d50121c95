// Optimisation flags and the problem's controls, translated into HiGHS options.
#pragma once

#include <string>

#include "core/problem.h"

namespace nvrl {

enum class LpAlgorithm { Default, Primal, Dual, Barrier };

struct SolveFlags {
  LpAlgorithm algorithm = LpAlgorithm::Default;
};

// Letters: 'p' primal simplex, 'd' dual simplex, 'b' barrier, 'n' network (dual simplex).
// A null or empty string gives the defaults. Unknown letters fail with a message in `err`.
bool parseSolveFlags(const char *flags, SolveFlags &out, std::string &err);

// The objective cutoff of p: true with its value when one is set (|cutoff| < 1e20).
bool cutoffInForce(const nvrl_problem_s *p, double &cutoff);

// Whether an objective value meets the cutoff in the objective's sense (minimising: at most
// the cutoff, maximising: at least), allowing for rounding in the objective's computation.
bool meetsCutoff(double objective, double cutoff, int objsense);

// Sets the HiGHS options of one run from the controls of p and the flags. Flags choose the
// LP algorithm ahead of the LP algorithm control.
void applyControls(void *highs, const nvrl_problem_s *p, const SolveFlags &flags, bool mip,
                   bool quadratic);

}  // namespace nvrl
