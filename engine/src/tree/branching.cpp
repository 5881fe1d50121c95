#include "tree/branching.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace nvrl::tree {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kEps = 1e-6;

double fractionality(double v) {
  const double f = v - std::floor(v);
  return std::min(f, 1.0 - f);
}

Node child(const Node &parent, const std::vector<BoundChange> &extra, double value) {
  Node n;
  n.changes.reserve(parent.changes.size() + extra.size() + 1);
  n.changes = parent.changes;
  n.settled = parent.propagated ? parent.changes.size() : 0;
  n.changes.insert(n.changes.end(), extra.begin(), extra.end());
  n.bound = value;
  n.depth = parent.depth + 1;
  return n;
}

}  // namespace

Pseudocosts::Pseudocosts(int cols, int reliability) : reliability_(reliability) {
  for (int d = 0; d < 2; ++d) {
    sum_[d].assign(cols, 0.0);
    count_[d].assign(cols, 0);
  }
}

void Pseudocosts::record(const BranchRecord &b, double childValue) {
  if (b.col < 0 || b.distance <= 0.0 || !std::isfinite(childValue)) return;
  const double gain = std::max(0.0, childValue - b.parent_value) / b.distance;
  sum_[b.dir][b.col] += gain;
  ++count_[b.dir][b.col];
  total_[b.dir] += gain;
  ++observations_[b.dir];
}

void Pseudocosts::setDirectives(const std::vector<BranchDirective> &dirs) {
  const size_t cols = sum_[0].size();
  priority_.assign(cols, dirs.empty() ? 0 : kDefaultDirectivePriority);
  dir_.assign(cols, 'N');
  for (int d = 0; d < 2; ++d) initial_[d].assign(cols, -1.0);
  for (const BranchDirective &d : dirs) {
    if (d.col < 0 || static_cast<size_t>(d.col) >= cols) continue;
    priority_[d.col] = d.priority;
    dir_[d.col] = d.dir;
    initial_[0][d.col] = d.down;
    initial_[1][d.col] = d.up;
  }
}

bool Pseudocosts::informed(int col) const {
  return reliable(col) ||
         (!initial_[0].empty() && initial_[0][col] >= 0.0 && initial_[1][col] >= 0.0);
}

bool Pseudocosts::reliable(int col) const {
  return count_[0][col] >= reliability_ && count_[1][col] >= reliability_;
}

double Pseudocosts::estimate(int col, int dir, double distance) const {
  if (count_[dir][col] > 0) return distance * sum_[dir][col] / count_[dir][col];
  if (!initial_[dir].empty() && initial_[dir][col] >= 0.0) return distance * initial_[dir][col];
  if (observations_[dir] > 0) return distance * total_[dir] / observations_[dir];
  return distance;
}

int selectCandidate(const std::vector<Candidate> &cands, const Pseudocosts &pc) {
  bool anyReliable = false;
  int topPriority = std::numeric_limits<int>::max();
  for (const Candidate &c : cands)
    if (c.kind == Candidate::Integer || c.kind == Candidate::Partial)
      topPriority = std::min(topPriority, pc.priority(c.index));
  for (const Candidate &c : cands)
    if ((c.kind == Candidate::Integer || c.kind == Candidate::Partial) &&
        pc.priority(c.index) == topPriority)
      anyReliable = anyReliable || pc.informed(c.index);
  int best = -1;
  double bestScore = -kInf;
  for (int k = 0; k < static_cast<int>(cands.size()); ++k) {
    const Candidate &c = cands[k];
    if (c.kind != Candidate::Integer && c.kind != Candidate::Partial) continue;
    if (pc.priority(c.index) != topPriority) continue;
    const double down = c.value - std::floor(c.value);
    const double up =
        (c.kind == Candidate::Partial ? std::min(std::ceil(c.value), c.limit) : std::ceil(c.value)) -
        c.value;
    const double score =
        anyReliable ? std::max(pc.estimate(c.index, 0, down), kEps) *
                          std::max(pc.estimate(c.index, 1, up), kEps)
                    : fractionality(c.value);
    if (score > bestScore) {
      bestScore = score;
      best = k;
    }
  }
  if (best >= 0) return best;
  for (int k = 0; k < static_cast<int>(cands.size()); ++k) {
    const Candidate &c = cands[k];
    if (c.kind != Candidate::Semi) continue;
    const double score = std::min(c.value, c.limit - c.value) / c.limit;
    if (score > bestScore) {
      bestScore = score;
      best = k;
    }
  }
  if (best >= 0) return best;
  return cands.empty() ? -1 : 0;  // sets: the first violated one
}

Children makeChildren(const Node &parent, const std::vector<BoundChange> &extra,
                      const Candidate &c, const Entities &e, const std::vector<double> &x,
                      double value, double feastol, const Pseudocosts *pc) {
  Children ch;
  for (Node &n : ch.node) n = child(parent, extra, value);
  switch (c.kind) {
    case Candidate::Integer:
    case Candidate::Partial: {
      const double down = std::floor(c.value);
      const double up =
          c.kind == Candidate::Partial ? std::min(std::ceil(c.value), c.limit) : std::ceil(c.value);
      ch.node[0].changes.push_back({c.index, -kInf, down});
      ch.node[1].changes.push_back({c.index, up, kInf});
      ch.node[0].branch = {c.index, 0, c.value - down, value};
      ch.node[1].branch = {c.index, 1, up - c.value, value};
      ch.first = c.value - down >= 0.5 ? 1 : 0;
      break;
    }
    case Candidate::Semi:
      ch.node[0].changes.push_back({c.index, -kInf, 0.0});
      ch.node[1].changes.push_back({c.index, c.limit, kInf});
      ch.first = c.value >= 0.5 * c.limit ? 1 : 0;
      break;
    case Candidate::Set: {
      const OrderedSet &s = e.sets[c.index];
      int first, last;
      setSupport(s, x, feastol, first, last);
      double wsum = 0.0, wpos = 0.0;
      for (int t = first; t <= last; ++t) {
        const double w = std::fabs(x[s.cols[t]]);
        wsum += w;
        wpos += w * t;
      }
      const double centre = wsum > 0.0 ? wpos / wsum : 0.5 * (first + last);
      // Left keeps the members up to split, right those from split (type 2) or after it
      // (type 1); each child excludes one end of the current support.
      int split;
      if (s.type == '2')
        split = std::clamp(static_cast<int>(std::lround(centre)), first + 1, last - 1);
      else
        split = std::clamp(static_cast<int>(std::floor(centre)), first, last - 1);
      const int rightFrom = s.type == '2' ? split : split + 1;
      double leftMass = 0.0;
      for (int t = 0; t < static_cast<int>(s.cols.size()); ++t) {
        if (t > split) ch.node[0].changes.push_back({s.cols[t], 0.0, 0.0});
        if (t < rightFrom) ch.node[1].changes.push_back({s.cols[t], 0.0, 0.0});
        if (t <= split) leftMass += std::fabs(x[s.cols[t]]);
      }
      ch.first = leftMass >= 0.5 * wsum ? 0 : 1;
      break;
    }
  }
  if (pc && c.kind != Candidate::Set && pc->direction(c.index) != 'N')
    ch.first = pc->direction(c.index) == 'U' ? 1 : 0;
  return ch;
}

}  // namespace nvrl::tree
