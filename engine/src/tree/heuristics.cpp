#include "tree/heuristics.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tree/branching.h"

namespace nvrl::tree {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr int kMaxDiveDepth = 200;

bool usable(const Relaxation &r) {
  return r.status == Relaxation::Optimal || r.status == Relaxation::Unverified;
}

}  // namespace

bool roundingHeuristic(HeuristicContext &hc, const Node &node, const std::vector<double> &x) {
  const Entities &e = hc.entities;
  const std::vector<double> &lo = hc.solver.lower(), &up = hc.solver.upper();
  std::vector<BoundChange> fix = node.changes;
  std::vector<char> special(e.integer.size(), 0);
  for (const SemiColumn &s : e.semis) {
    special[s.col] = 1;
    if (x[s.col] < 0.5 * s.threshold)
      fix.push_back({s.col, -kInf, 0.0});
    else
      fix.push_back({s.col, s.threshold, kInf});
  }
  for (const PartialColumn &pc : e.partials) {
    special[pc.col] = 1;
    if (x[pc.col] < pc.limit) {
      const double v = std::clamp(std::round(x[pc.col]), lo[pc.col], up[pc.col]);
      fix.push_back({pc.col, v, v});
    }
  }
  for (size_t j = 0; j < e.integer.size(); ++j)
    if (e.integer[j] && !special[j]) {
      const double v = std::clamp(std::round(x[j]), std::ceil(lo[j] - hc.inttol),
                                  std::floor(up[j] + hc.inttol));
      fix.push_back({static_cast<int>(j), v, v});
    }
  for (const OrderedSet &s : e.sets) {
    // Keep the heaviest member (type 1) or the heaviest pair of neighbours (type 2).
    const int k = static_cast<int>(s.cols.size());
    const int width = s.type == '2' ? 2 : 1;
    int best = 0;
    double bestMass = -1.0;
    for (int t = 0; t + width <= k; ++t) {
      double mass = 0.0;
      for (int u = t; u < t + width; ++u) mass += std::fabs(x[s.cols[u]]);
      if (mass > bestMass) {
        bestMass = mass;
        best = t;
      }
    }
    for (int t = 0; t < k; ++t)
      if (t < best || t >= best + width) fix.push_back({s.cols[t], 0.0, 0.0});
  }
  const double left = hc.seconds_left();
  if (left <= 0.0) return false;
  const Relaxation r = hc.solver.solve(fix, left);
  if (!usable(r) || !violations(e, r.x, hc.inttol, hc.feastol).empty()) return false;
  return hc.offer(r.x, 'R');
}

bool divingHeuristic(HeuristicContext &hc, const Node &node, const Relaxation &start) {
  const Entities &e = hc.entities;
  Node current = node;
  Relaxation r = start;
  for (int depth = 0; depth < kMaxDiveDepth; ++depth) {
    if (!usable(r) || r.value >= hc.value_limit()) return false;
    const std::vector<Candidate> cands = violations(e, r.x, hc.inttol, hc.feastol);
    if (cands.empty()) return hc.offer(r.x, 'D');
    // The entity closest to satisfied is the one whose rounding costs least.
    int pick = 0;
    double closest = kInf;
    for (int k = 0; k < static_cast<int>(cands.size()); ++k) {
      const Candidate &c = cands[k];
      double dist = kInf;
      if (c.kind == Candidate::Integer || c.kind == Candidate::Partial)
        dist = std::fabs(c.value - std::round(c.value));
      else if (c.kind == Candidate::Semi)
        dist = std::min(c.value, c.limit - c.value) / c.limit;
      else
        dist = 0.5;
      if (dist < closest) {
        closest = dist;
        pick = k;
      }
    }
    Children ch = makeChildren(current, {}, cands[pick], e, r.x, r.value, hc.feastol);
    current = std::move(ch.node[ch.first]);
    if (!hc.propagate(current)) return false;
    const double left = hc.seconds_left();
    if (left <= 0.0) return false;
    r = hc.solver.solve(current.changes, left);
  }
  return false;
}

}  // namespace nvrl::tree
