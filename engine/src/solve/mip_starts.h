// Solutions given by the user for a MIP (NVRLaddmipsol, NVRLloadmipsol, NVRLrefinemipsol):
// the given columns are fixed and what is left is solved on a HiGHS instance of its own, so
// that the problem's persistent instance keeps its model and basis.
#pragma once

#include <string>
#include <vector>

#include "core/problem.h"
#include "core/problem.h"
#include "solve/lowered_model.h"

namespace nvrl {

// Narrows column col of a lowered model to [lo, up].
struct ColumnFix {
  int col;
  double lo, up;
};

struct Completion {
  enum Status { Found, Infeasible, Unknown } status = Unknown;
  std::vector<double> x;  // the lowered model's columns, for Found
};

// A point of L within the fixes. Integer columns left free are settled by HiGHS's MIP solver
// on the linear part of the objective; with a Hessian the QP over the continuous columns then
// follows with those integers fixed, so the point is feasible but optimal only when no
// integer column was left free. `like`: a HiGHS instance whose thread count is reused (or
// null). seconds: time limit (infinite: none).
Completion completePoint(const LoweredModel &L, const std::vector<ColumnFix> &fixes, void *like,
                         double seconds);

// The fixes that a user solution makes on the user's columns: each given value fixes its
// column, integer-valued columns at the nearest integer. Fails (false, message in why) for an
// index out of range or a value that is not integral within inttol where it must be.
bool fixesOfSolution(const Model &m, const UserMipSolution &s, double inttol,
                     std::vector<ColumnFix> &fixes, std::string &why);

// The fixes that keep the integer decisions of a full user point x: integer and binary columns
// at their rounded values, semi-continuous columns off (at 0) or on (at least their
// threshold), partially integer columns below their limit at their rounded value, and set
// members that are zero at zero. Continuous values are left free.
std::vector<ColumnFix> integerDecisions(const Model &m, const std::vector<double> &x);

// A user solution completed into a full point of the user's columns, with its objective.
struct CompletedStart {
  std::string name;
  std::vector<double> x;        // user columns
  std::vector<double> lowered;  // the fully reformulated model's columns
  double objective = 0.0;
};

// Completes every solution given for p (taking them away) on the fully reformulated
// model, logging one line per solution; returns those that gave a feasible point.
std::vector<CompletedStart> completeStarts(nvrl_problem_s *p, void *like, bool log);

}  // namespace nvrl
