// The search's log lines and its answers in the problem's SolveState.
#pragma once

#include <chrono>
#include <string>

#include "core/problem.h"
#include "solve/lowered_model.h"
#include "tree/search.h"

namespace nvrl::tree {

// Progress lines: one every kNodesPerLine nodes (or every few seconds on slow nodes) and one
// at every new incumbent, through the problem's message callbacks.
class SearchLog {
 public:
  static constexpr int64_t kNodesPerLine = 100;

  SearchLog(nvrl_problem_s *p, bool on, int sense, std::chrono::steady_clock::time_point start);
  void header(const LoweredModel &L, int integers, size_t semis, size_t partials, size_t sets);
  // mark: ' ' periodic, '*' solution at a node, 'R' rounding, 'D' diving, 'N' neighbourhood
  // search, 'U' the user's.
  void line(char mark, int64_t nodes, size_t open, bool haveIncumbent, double incumbent,
            double bound);
  bool on() const { return on_; }
  // Whether a periodic line is due.
  bool due(int64_t nodes) const;

 private:
  nvrl_problem_s *p_;
  bool on_;
  int sense_;
  std::chrono::steady_clock::time_point start_, last_;
  int64_t last_nodes_ = 0;
};

// Relative gap as the attributes report it: |incumbent - bound| / |incumbent|.
double relativeGap(double incumbent, double bound);

// Fills p->sol from the outcome (user rows and columns, user sense).
void storeAnswers(nvrl_problem_s *p, const LoweredModel &L, const Outcome &o, double seconds);

}  // namespace nvrl::tree
