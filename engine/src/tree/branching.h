// Choosing what to branch on and building the two children: columns by pseudocosts once
// they are reliable (most fractional before), semi-continuous columns on zero against the
// threshold, special ordered sets by splitting their members around the weighted centre of
// the point's support.
#pragma once

#include <vector>

#include "tree/entities.h"
#include "tree/node_queue.h"

// The engine's tests drive the branching rules directly.
#ifndef NVRL_INTERNAL_API
#define NVRL_INTERNAL_API __attribute__((visibility("default")))
#endif

namespace nvrl::tree {

// Objective change per unit of distance, per column and direction, from the children solved
// so far; also the user's branching directives (priorities, preferred first branches and
// initial pseudocosts, used until a column's own observations exist).
class NVRL_INTERNAL_API Pseudocosts {
 public:
  explicit Pseudocosts(int cols, int reliability = 4);
  // Directive columns are the model's, which are the first columns of the lowered model.
  void setDirectives(const std::vector<BranchDirective> &dirs);
  int priority(int col) const { return priority_.empty() ? 0 : priority_[col]; }
  // 'U', 'D' or 'N'.
  char direction(int col) const { return dir_.empty() ? 'N' : dir_[col]; }
  // Reliable, or with initial estimates for both directions.
  bool informed(int col) const;
  void record(const BranchRecord &b, double childValue);
  bool reliable(int col) const;
  // Estimated change of branching col down by `down` and up by `up` (averages stand in for
  // directions not yet observed).
  double estimate(int col, int dir, double distance) const;

 private:
  std::vector<int> priority_;   // empty without directives
  std::vector<char> dir_;
  std::vector<double> initial_[2];  // negative: none; empty without directives
  std::vector<double> sum_[2];
  std::vector<int> count_[2];
  double total_[2] = {0.0, 0.0};
  int observations_[2] = {0, 0};
  int reliability_;
};

// The candidate to branch on: columns first (pseudocost product score when any candidate has
// reliable pseudocosts, most fractional otherwise), then semi-continuous columns (largest
// violation), then sets. Among columns only those of the best (smallest) directive priority
// compete.
NVRL_INTERNAL_API int selectCandidate(const std::vector<Candidate> &cands, const Pseudocosts &pc);

struct Children {
  Node node[2];
  int first = 0;  // the child to dive into
};

// The two children of `parent` for candidate c at the point x (parent's relaxation value
// `value`); children inherit the parent's bound changes plus `extra` (e.g. reduced-cost fixings).
// With pc, a column's preferred direction decides which child comes first.
NVRL_INTERNAL_API Children makeChildren(const Node &parent, const std::vector<BoundChange> &extra,
                      const Candidate &c, const Entities &e, const std::vector<double> &x,
                      double value, double feastol, const Pseudocosts *pc = nullptr);

}  // namespace nvrl::tree
