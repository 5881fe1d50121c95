// Primal heuristics on a node's relaxation point: rounding (every entity rounded or switched
// to its nearest side, then the continuous part solved again) and fractional diving (the
// least fractional entity bounded toward its rounding, repeatedly, without backtracking).
#pragma once

#include <functional>
#include <vector>

#include "tree/entities.h"
#include "tree/relaxation.h"

namespace nvrl::tree {

struct HeuristicContext {
  const Entities &entities;
  RelaxationSolver &solver;
  double inttol, feastol;
  // Offered every point that satisfies the entities; returns true when it became the incumbent.
  std::function<bool(const std::vector<double> &x, char source)> offer;
  // Seconds left for one more relaxation (infinite: no limit); <= 0 or a pending interrupt
  // ends a heuristic.
  std::function<double()> seconds_left;
  // Relaxation values at or above this cannot improve on the incumbent.
  std::function<double()> value_limit;
  // Tightens a node's bounds by propagation (adding changes); false when it is infeasible.
  std::function<bool(Node &)> propagate;
};

// Both return true when they found a new incumbent.
bool roundingHeuristic(HeuristicContext &hc, const Node &node, const std::vector<double> &x);
bool divingHeuristic(HeuristicContext &hc, const Node &node, const Relaxation &start);

}  // namespace nvrl::tree
