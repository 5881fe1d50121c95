#include "tree/heuristics.h"

#include <algorithm>
#include <cmath>
#include <limits>


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

namespace {

// Distance of a candidate from being satisfied, in [0, 1/2]-like units: the dive bounds the
// one that costs least to settle.
double settleDistance(const Candidate &c) {
  if (c.kind == Candidate::Integer || c.kind == Candidate::Partial)
    return std::fabs(c.value - std::round(c.value));
  if (c.kind == Candidate::Semi) return std::min(c.value, c.limit - c.value) / c.limit;
  return 0.5;
}

}  // namespace

bool divingHeuristic(HeuristicContext &hc, const Node &node, const Relaxation &start, bool guided) {
  const Entities &e = hc.entities;
  const std::vector<double> *inc = guided ? hc.incumbent : nullptr;
  Node current = node, other;
  bool haveOther = false, backtrackLeft = true;
  Relaxation r = start;
  // Propagates and solves n into r; false when time is up.
  auto solveNode = [&](Node &n) {
    if (!hc.propagate(n)) {
      r = Relaxation();  // infeasible
      return true;
    }
    const double left = hc.seconds_left();
    if (left <= 0.0) return false;
    r = hc.solver.solve(n.changes, left);
    return true;
  };
  for (int depth = 0; depth < kMaxDiveDepth; ++depth) {
    if (!usable(r) || r.value >= hc.value_limit()) {
      // One step back per dive: the other side of the choice that failed.
      if (!haveOther) return false;
      haveOther = backtrackLeft = false;
      current = std::move(other);
      if (!solveNode(current)) return false;
      continue;
    }
    const std::vector<Candidate> cands = violations(e, r.x, hc.inttol, hc.feastol);
    if (cands.empty()) return hc.offer(r.x, 'D');
    int pick = 0;
    double closest = kInf;
    for (int k = 0; k < static_cast<int>(cands.size()); ++k) {
      const Candidate &c = cands[k];
      // Guided: the column nearest to its incumbent value.
      const double dist = inc && c.kind != Candidate::Set
                              ? std::fabs(c.value - (*inc)[c.index])
                              : settleDistance(c);
      if (dist < closest) {
        closest = dist;
        pick = k;
      }
    }
    Children ch = makeChildren(current, {}, cands[pick], e, r.x, r.value, hc.feastol);
    int first = ch.first;
    if (inc && cands[pick].kind != Candidate::Set) {
      const double target = (*inc)[cands[pick].index];
      first = cands[pick].kind == Candidate::Semi ? (target > hc.feastol ? 1 : 0)
                                                  : (target > cands[pick].value ? 1 : 0);
    }
    if (backtrackLeft) {
      other = std::move(ch.node[1 - first]);
      haveOther = true;
    }
    current = std::move(ch.node[first]);
    if (!solveNode(current)) return false;
  }
  return false;
}

bool neighbourhoodSearch(HeuristicContext &hc, const Node &node, const std::vector<double> &lo,
                         const std::vector<double> &up, const std::vector<double> &x,
                         int maxNodes, double minFixedShare) {
  if (hc.incumbent == nullptr) return false;
  const Entities &e = hc.entities;
  const std::vector<double> &inc = *hc.incumbent;
  std::vector<char> special(e.integer.size(), 0);
  for (const SemiColumn &s : e.semis) special[s.col] = 1;
  for (const PartialColumn &pc : e.partials) special[pc.col] = 1;
  Node sub = node;
  int free = 0, fixed = 0;
  for (size_t j = 0; j < e.integer.size(); ++j) {
    if (!e.integer[j] || special[j] || lo[j] == up[j]) continue;
    ++free;
    if (std::fabs(x[j] - inc[j]) <= hc.inttol) {
      const double v = std::round(inc[j]);
      sub.changes.push_back({static_cast<int>(j), v, v});
      ++fixed;
    }
  }
  if (free == 0 || fixed < minFixedShare * free) return false;
  std::vector<Node> stack;
  stack.push_back(std::move(sub));
  bool found = false;
  for (int solved = 0; !stack.empty() && solved < maxNodes;) {
    Node n = std::move(stack.back());
    stack.pop_back();
    if (n.bound >= hc.value_limit() || !hc.propagate(n)) continue;
    const double left = hc.seconds_left();
    if (left <= 0.0) break;
    const Relaxation r = hc.solver.solve(n.changes, left);
    ++solved;
    if (!usable(r) || r.value >= hc.value_limit()) continue;
    const std::vector<Candidate> cands = violations(e, r.x, hc.inttol, hc.feastol);
    if (cands.empty()) {
      found = hc.offer(r.x, 'N') || found;
      continue;
    }
    const double value = r.status == Relaxation::Optimal ? std::fmax(r.value, n.bound) : n.bound;
    Children ch = makeChildren(n, {}, cands[selectCandidate(cands, hc.pc)], e, r.x, value,
                               hc.feastol, &hc.pc);
    stack.push_back(std::move(ch.node[1 - ch.first]));
    stack.push_back(std::move(ch.node[ch.first]));
  }
  return found;
}

}  // namespace nvrl::tree
