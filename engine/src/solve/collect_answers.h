// Reading a finished HiGHS run back into the problem's SolveState, in the user's rows and
// columns (auxiliary rows and columns dropped).
#pragma once

#include <string>
#include <vector>

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

// slack = rhs - activity of every user row at the user's columns x.
void userSlacks(const Model &m, const std::vector<double> &x, std::vector<double> &slack);
// The objective at the user's columns x, constant and quadratic part included.
double userObjective(const Model &m, const std::vector<double> &x);

// The line that closes a solve's log.
std::string finalStatusLine(const SolveState &s);

}  // namespace nvrl
