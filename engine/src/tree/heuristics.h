// Primal heuristics on a node's relaxation point: rounding (every entity rounded or switched
// to its nearest side, then the continuous part solved again), diving (one entity at a time
// bounded toward its rounding or toward the incumbent, with one step back when a dive runs
// into infeasibility) and a neighbourhood search (a small depth-first search with the integer
// columns fixed where the relaxation point agrees with the incumbent).
#pragma once

#include <functional>
#include <vector>

#include "tree/branching.h"
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
  // Branching choices for the neighbourhood search.
  const Pseudocosts &pc;
  // The incumbent's point, or null.
  const std::vector<double> *incumbent;
};

// Each returns true when it found a new incumbent.
bool roundingHeuristic(HeuristicContext &hc, const Node &node, const std::vector<double> &x);
// guided: toward the incumbent's values (fractional diving without an incumbent).
bool divingHeuristic(HeuristicContext &hc, const Node &node, const Relaxation &start,
                     bool guided = false);
// Up to maxNodes relaxations below `node` with the integer columns fixed where x and the
// incumbent agree; nothing is tried when fewer than minFixedShare of the node's free integer
// columns would be fixed (the neighbourhood would be nearly the whole node).
// lo/up: the node's column bounds.
bool neighbourhoodSearch(HeuristicContext &hc, const Node &node, const std::vector<double> &lo,
                         const std::vector<double> &up, const std::vector<double> &x,
                         int maxNodes, double minFixedShare = 0.3);

}  // namespace nvrl::tree
