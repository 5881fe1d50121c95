// Reading a finished HiGHS run back into the problem's SolveState, in the user's rows and
// columns (auxiliary rows and columns dropped).
#pragma once

#include "core/problem.h"
#include "solve/lowered_model.h"

namespace nvrl {

struct RunSummary {
  bool mip = false;              // solved as a MIP (global entities present)
  bool relaxation = false;       // the continuous relaxation of a problem with global entities
  int improving_solutions = 0;   // MIP solutions reported by HiGHS during the run
  double seconds = 0.0;
  // A HiGHS model status settled after the run (a verdict HiGHS could not give), or -1.
  int status_override = -1;
};

// Fills p->sol from the HiGHS instance after Highs_run.
void collectAnswers(nvrl_problem_s *p, void *highs, const LoweredModel &L, const RunSummary &run);

// The line that closes a solve's log.
std::string finalStatusLine(const SolveState &s);

}  // namespace nvrl
