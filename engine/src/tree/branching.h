// Choosing what to branch on and building the two children: columns by pseudocosts once
// they are reliable (most fractional before), semi-continuous columns on zero against the
// threshold, special ordered sets by splitting their members around the weighted centre of
// the point's support.
#pragma once

#include <vector>

#include "tree/entities.h"
#include "tree/node_queue.h"

namespace nvrl::tree {

// Objective change per unit of distance, per column and direction, from the children solved
// so far.
class Pseudocosts {
 public:
  explicit Pseudocosts(int cols, int reliability = 4);
  void record(const BranchRecord &b, double childValue);
  bool reliable(int col) const;
  // Estimated change of branching col down by `down` and up by `up` (averages stand in for
  // directions not yet observed).
  double estimate(int col, int dir, double distance) const;

 private:
  std::vector<double> sum_[2];
  std::vector<int> count_[2];
  double total_[2] = {0.0, 0.0};
  int observations_[2] = {0, 0};
  int reliability_;
};

// The candidate to branch on: columns first (pseudocost product score when any candidate has
// reliable pseudocosts, most fractional otherwise), then semi-continuous columns (largest
// violation), then sets.
int selectCandidate(const std::vector<Candidate> &cands, const Pseudocosts &pc);

struct Children {
  Node node[2];
  int first = 0;  // the child to dive into
};

// The two children of `parent` for candidate c at the point x (parent's relaxation value
// `value`); children inherit the parent's bound changes plus `extra` (e.g. reduced-cost fixings).
Children makeChildren(const Node &parent, const std::vector<BoundChange> &extra,
                      const Candidate &c, const Entities &e, const std::vector<double> &x,
                      double value, double feastol);

}  // namespace nvrl::tree
