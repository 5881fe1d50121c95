#include "tree/propagation.h"

#include <algorithm>
#include <cmath>

namespace nvrl::tree {

namespace {

// Bounds at or beyond this count as infinite, as HiGHS counts them.
constexpr double kHuge = 1e20;
// Continuous bounds beyond this are not worth deriving: they only add round-off.
constexpr double kMaxDerived = 1e9;
// A derived bound on an integer column is rounded after this much slack.
constexpr double kIntSlack = 1e-6;

}  // namespace

Propagator::Propagator(const LoweredModel &L, std::vector<char> roundable, double feastol)
    : roundable_(std::move(roundable)),
      feastol_(std::fmax(feastol, 1e-9)),
      a_start_(L.a_start),
      a_index_(L.a_index),
      a_value_(L.a_value),
      row_lo_(L.row_lo),
      row_up_(L.row_up) {
  if (!L.hasHessian()) {
    for (int j = 0; j < L.cols(); ++j)
      if (L.cost[j] != 0.0) {
        a_index_.push_back(j);
        a_value_.push_back(L.sense * L.cost[j]);
      }
    if (static_cast<int>(a_index_.size()) > a_start_.back()) {
      objective_row_ = static_cast<int>(row_lo_.size());
      a_start_.push_back(static_cast<int>(a_index_.size()));
      row_lo_.push_back(-kHuge);
      row_up_.push_back(kHuge);
      objective_shift_ = L.sense * L.offset;
    }
  }
  const int n = L.cols(), m = static_cast<int>(row_lo_.size());
  col_start_.assign(n + 1, 0);
  for (int j : a_index_) ++col_start_[j + 1];
  for (int j = 0; j < n; ++j) col_start_[j + 1] += col_start_[j];
  col_rows_.resize(a_index_.size());
  std::vector<int> fill(col_start_.begin(), col_start_.end() - 1);
  for (int i = 0; i < m; ++i)
    for (int k = a_start_[i]; k < a_start_[i + 1]; ++k) col_rows_[fill[a_index_[k]]++] = i;
  queued_.assign(m, 0);
  marked_.assign(n, 0);
}

void Propagator::setObjectiveLimit(double limit) {
  if (objective_row_ >= 0 && std::fabs(limit) < kHuge)
    row_up_[objective_row_] = limit - objective_shift_;
}

bool Propagator::objectiveInForce() const {
  return objective_row_ >= 0 && row_up_[objective_row_] < kHuge;
}

// Narrows one bound of column j to v (or less, after rounding and slack); false when the
// column's range becomes empty.
bool Propagator::tighten(int j, bool upper, double v, std::vector<double> &lo,
                         std::vector<double> &up) {
  if (std::isnan(v) || std::fabs(v) >= kHuge) return true;
  const bool integer = roundable_[j] != 0;
  if (!integer && std::fabs(v) > kMaxDerived) return true;
  double &b = upper ? up[j] : lo[j];
  const double other = upper ? lo[j] : up[j];
  if (integer) {
    v = upper ? std::floor(v + kIntSlack) : std::ceil(v - kIntSlack);
  } else {
    // Round-off in the activities must not cut off feasible points: give a little back.
    const double slack = 1e-9 * std::fmax(1.0, std::fabs(v));
    v = upper ? v + slack : v - slack;
  }
  // Only worthwhile changes: continuous bounds creeping by tiny steps would cost many row
  // visits for nothing.
  const double gain = upper ? b - v : v - b;
  const double need = integer ? kIntSlack : 1e-3 * std::fmax(1.0, std::fabs(b));
  if (std::fabs(b) < kHuge && !(gain > need)) return true;
  const double tol = integer ? kIntSlack : feastol_ * std::fmax(1.0, std::fabs(other));
  if (upper ? v < other - tol : v > other + tol) return false;
  b = upper ? std::fmax(v, other) : std::fmin(v, other);
  pending_.push_back(j);
  if (!marked_[j]) {
    marked_[j] = 1;
    changed_.push_back(j);
  }
  return true;
}

bool Propagator::row(int i, std::vector<double> &lo, std::vector<double> &up, int64_t &work) {
  const int begin = a_start_[i], end = a_start_[i + 1];
  const double rlo = row_lo_[i], rup = row_up_[i];
  const bool hasLo = rlo > -kHuge, hasUp = rup < kHuge;
  if (!hasLo && !hasUp) return true;
  work += 2 * (end - begin);
  double minAct = 0.0, maxAct = 0.0, mag = 0.0;
  int minInf = 0, maxInf = 0;
  for (int k = begin; k < end; ++k) {
    const double a = a_value_[k], l = lo[a_index_[k]], u = up[a_index_[k]];
    const double forMin = a > 0 ? l : u, forMax = a > 0 ? u : l;
    if (std::fabs(forMin) >= kHuge) ++minInf; else { minAct += a * forMin; mag += std::fabs(a * forMin); }
    if (std::fabs(forMax) >= kHuge) ++maxInf; else { maxAct += a * forMax; mag += std::fabs(a * forMax); }
  }
  const double roundoff = 1e-12 * mag;
  if (hasUp && minInf == 0 && minAct > rup + feastol_ * std::fmax(1.0, std::fabs(rup)) + roundoff)
    return false;
  if (hasLo && maxInf == 0 && maxAct < rlo - feastol_ * std::fmax(1.0, std::fabs(rlo)) - roundoff)
    return false;
  const bool fromUp = hasUp && minInf <= 1, fromLo = hasLo && maxInf <= 1;
  if (!fromUp && !fromLo) return true;
  for (int k = begin; k < end; ++k) {
    const int j = a_index_[k];
    const double a = a_value_[k], l = lo[j], u = up[j];
    const double forMin = a > 0 ? l : u, forMax = a > 0 ? u : l;
    // The others' least activity bounds a * x_j from above by the row's upper bound, their
    // greatest from below by its lower bound; with one infinite term only its column gains.
    if (fromUp) {
      const bool ownInf = std::fabs(forMin) >= kHuge;
      if (minInf == 0 || ownInf) {
        const double rest = ownInf ? minAct : minAct - a * forMin;
        const double v = (rup + roundoff - rest) / a;
        if (!tighten(j, a > 0, v, lo, up)) return false;
      }
    }
    if (fromLo) {
      const bool ownInf = std::fabs(forMax) >= kHuge;
      if (maxInf == 0 || ownInf) {
        const double rest = ownInf ? maxAct : maxAct - a * forMax;
        const double v = (rlo - roundoff - rest) / a;
        if (!tighten(j, a < 0, v, lo, up)) return false;
      }
    }
  }
  return true;
}

bool Propagator::run(std::vector<double> &lo, std::vector<double> &up,
                     const std::vector<int> &seeds, bool allRows, int64_t workLimit,
                     std::vector<BoundChange> &changes) {
  queue_.clear();
  changed_.clear();
  auto enqueueRowsOf = [&](int j) {
    for (int k = col_start_[j]; k < col_start_[j + 1]; ++k) {
      const int r = col_rows_[k];
      if (!queued_[r]) {
        queued_[r] = 1;
        queue_.push_back(r);
      }
    }
  };
  bool feasible = true;
  pending_.clear();
  if (allRows) {
    for (int j = 0; j < static_cast<int>(lo.size()) && feasible; ++j) {
      if (roundable_[j]) {
        // Fractional bounds of integer columns are rounded first.
        const double l = std::ceil(lo[j] - kIntSlack), u = std::floor(up[j] + kIntSlack);
        if (std::fabs(lo[j]) < kHuge && l != lo[j]) feasible = tighten(j, false, l, lo, up);
        if (feasible && std::fabs(up[j]) < kHuge && u != up[j]) feasible = tighten(j, true, u, lo, up);
      }
      if (lo[j] > up[j]) feasible = false;
    }
    for (int i = 0; i < static_cast<int>(row_lo_.size()); ++i) {
      queued_[i] = 1;
      queue_.push_back(i);
    }
  } else {
    for (int j : seeds) enqueueRowsOf(j);
    if (objective_row_ >= 0 && row_up_[objective_row_] < kHuge && !queued_[objective_row_]) {
      queued_[objective_row_] = 1;
      queue_.push_back(objective_row_);
    }
  }
  int64_t work = 0;
  size_t head = 0;
  while (feasible && head < queue_.size()) {
    const int i = queue_[head++];
    queued_[i] = 0;
    if (work > workLimit) continue;  // leaves the flags clean for the next run
    pending_.clear();
    feasible = row(i, lo, up, work);
    // The row itself too: rounding may have moved its activities further.
    for (int j : pending_) enqueueRowsOf(j);
  }
  for (size_t h = head; h < queue_.size(); ++h) queued_[queue_[h]] = 0;
  for (int j : changed_) {
    marked_[j] = 0;
    changes.push_back({j, lo[j], up[j]});
  }
  return feasible;
}

}  // namespace nvrl::tree
