// The engine's branch and bound on HiGHS relaxations. Each node goes through a fixed cycle:
// select (best bound, or the next node of the current dive), bound (prune against the
// incumbent and the cutoff), solve the relaxation, heuristics, branch.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "core/problem.h"
#include "solve/highs_session.h"

namespace nvrl::tree {

// How the search ended, in minimisation form; the answers are read from it.
struct Outcome {
  enum End { Finished, Stopped, Unbounded } end = Finished;
  int stop_reason = 0;          // NVRL_STOP_..., for Stopped (0: no verdict on a node)
  bool have_incumbent = false;
  std::vector<double> x;        // lowered columns
  double value = 0.0;           // incumbent (minimisation form)
  double bound = 0.0;           // proven lower bound (minimisation form)
  int64_t nodes = 0, iterations = 0;
  int solutions = 0;
};

// Runs the search; registered as the solve layer's tree search.
int runTreeSearch(nvrl_problem_s *p, HighsSession &session,
                  std::chrono::steady_clock::time_point start, bool log);

}  // namespace nvrl::tree
