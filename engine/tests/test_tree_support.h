// Shared by the tree search tests: the hand-derived MIQPs with their optima.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "test_solve_support.h"

namespace treetest {

class TreeTest : public solvetest::SolveTest {
 public:  // the builders are named in test parameters

  // Binary knapsack, weights (5, 4, 3, 2) within 9, minimising sum q_i/2 x_i^2 + x_0 x_2 - c'x
  // with q = (4, 4, 2, 2), c = (12, 10, 7, 4). On binaries x^2 = x, so the items are worth
  // (10, 8, 6, 3) and items 0 and 2 together lose 1: {0, 1} (weight 9) gives -18, against
  // {1, 2, 3} -17 and {0, 2} -15.
  void quadraticKnapsack() {
    const double c[] = {12, 10, 7, 4}, w[] = {5, 4, 3, 2};
    std::vector<std::pair<int, double>> row;
    for (int j = 0; j < 4; ++j) {
      col(0, 1, -c[j], 'B');
      row.push_back({j, w[j]});
    }
    this->row('L', 9, row);
    qobj({{0, 0, 4}, {1, 1, 4}, {2, 2, 2}, {3, 3, 2}, {0, 2, 1}});
  }

  // Minimum variance over four uncorrelated assets (variances 1, 2, 4, 8, returns 1, 2, 3, 4),
  // fully invested, return at least 2.5, at most two assets held. Per pair the best split
  // puts the return row at its bound: {1, 2} (0-based) gives 2(1/2)^2 + 4(1/2)^2 = 1.5, the
  // next best {1, 3} 1.625; pairs with asset 0 reach 2.25 at best.
  void cardinalityPortfolio() {
    const double var[] = {1, 2, 4, 8}, mu[] = {1, 2, 3, 4};
    std::vector<std::pair<int, double>> budget, ret, card;
    for (int j = 0; j < 4; ++j) {
      col(0, 1, 0);
      budget.push_back({j, 1});
      ret.push_back({j, mu[j]});
    }
    for (int j = 0; j < 4; ++j) {
      const int z = col(0, 1, 0, 'B');
      row('L', 0, {{j, 1}, {z, -1}});
      card.push_back({z, 1});
    }
    row('E', 1, budget);
    row('G', 2.5, ret);
    row('L', 2, card);
    qobj({{0, 0, 2 * var[0]}, {1, 1, 2 * var[1]}, {2, 2, 2 * var[2]}, {3, 3, 2 * var[3]}});
  }

  // y interpolates f = (0, 2, 3, 3.5) at x = (0, 1, 2, 3) through an SOS2 of weights; s is
  // semi-continuous (0 or 3 <= s <= 5); x + s >= 3.5; minimise y + s^2/2. s = 0 is infeasible
  // (x <= 3); for 3 <= s <= 3.5, x = 3.5 - s on the first segment costs s^2/2 + 7 - 2s, least
  // at s = 3: 5.5 with x = 0.5, y = 1; s > 3.5 costs more than 6. The relaxation mixes the
  // first and last weights (the chord lies under the concave f) and takes s = 7/6.
  // Columns: weights 0..3, x 4, y 5, s 6.
  void setAndSemiContinuous() {
    const double t[] = {0, 1, 2, 3}, f[] = {0, 2, 3, 3.5};
    std::vector<std::pair<int, double>> sum, xr, yr;
    for (int k = 0; k < 4; ++k) {
      col(0, 1, 0);
      sum.push_back({k, 1});
      xr.push_back({k, -t[k]});
      yr.push_back({k, -f[k]});
    }
    const int x = col(0, 3, 0), y = col(0, 10, 1), s = col(0, 5, 0, 'S', 3);
    xr.push_back({x, 1});
    yr.push_back({y, 1});
    row('E', 1, sum);
    row('E', 0, xr);
    row('E', 0, yr);
    row('G', 3.5, {{x, 1}, {s, 1}});
    qobj({{s, s, 1}});
    model().sets.push_back({'2', {0, 1, 2, 3}, {1, 2, 3, 4}});
    model().setnames.push_back("");
    prob->modelChanged();
  }

  // Turns the model into its maximisation twin: same optimum point, objective negated.
  void flipSense() {
    for (double &c : model().obj) c = -c;
    for (auto &[key, v] : model().qobj) v = -v;
    maximise();
  }
};

// The benchmark's cardinality-constrained portfolio at a size whose optimum can be enumerated:
// n assets x with holdings z; variance of a 3-factor model with specific risk (scaled to an
// objective of order 1e-3, where an absolute gap of 1e-6 is a relative 1e-3), full
// investment, a return floor, at most k assets, x_i in [0.02 z_i, z_i].
struct Portfolio {
  int n, k;
  std::vector<std::vector<double>> cov;
  std::vector<double> mu;
  double floor;
};

inline constexpr double kMinHolding = 0.02;

inline Portfolio makePortfolio(uint64_t seed, int n, int k) {
  solvetest::Rng r(seed, 7);
  Portfolio p{n, k, std::vector<std::vector<double>>(n, std::vector<double>(n)), {}, 0.0};
  std::vector<std::vector<double>> load(n, std::vector<double>(3));
  for (auto &l : load)
    for (double &v : l) v = r.uniform(-0.25, 0.25);
  for (int i = 0; i < n; ++i) {
    const double specific = std::pow(r.uniform(0.05, 0.25), 2);
    for (int j = 0; j < n; ++j) {
      for (int f = 0; f < 3; ++f) p.cov[i][j] += load[i][f] * load[j][f];
      if (i == j) p.cov[i][j] += specific;
      p.cov[i][j] *= 0.2;
    }
    p.mu.push_back(r.uniform(0.02, 0.15));
  }
  std::vector<double> sorted = p.mu;
  std::sort(sorted.rbegin(), sorted.rend());
  double mean = 0.0;
  for (double m : p.mu) mean += m / n;
  p.floor = 0.6 * sorted[k - 1] + 0.4 * mean;
  return p;
}

class PortfolioTest : public TreeTest {
 protected:
  // Columns x_0..x_{n-1}, then z_0..z_{n-1}.
  void build(const Portfolio &p) {
    std::vector<std::pair<int, double>> budget, ret, card;
    for (int i = 0; i < p.n; ++i) {
      col(0, 1, 0);
      budget.push_back({i, 1});
      ret.push_back({i, p.mu[i]});
    }
    for (int i = 0; i < p.n; ++i) {
      const int z = col(0, 1, 0, 'B');
      row('L', 0, {{i, 1}, {z, -1}});
      row('G', 0, {{i, 1}, {z, -kMinHolding}});
      card.push_back({z, 1});
    }
    row('E', 1, budget);
    row('G', p.floor, ret);
    row('L', p.k, card);
    std::vector<std::tuple<int, int, double>> q;
    for (int i = 0; i < p.n; ++i)
      for (int j = i; j < p.n; ++j) q.push_back({i, j, i == j ? 2 * p.cov[i][i] : 2 * p.cov[i][j]});
    qobj(q);
  }

  // Least variance over every set of at most k assets held (the holdings fixed, each a QP);
  // NAN when none is feasible.
  double enumerate(const Portfolio &p) {
    NVRLprob q = nullptr;
    EXPECT_EQ(NVRLcreateprob(&q), 0);
    NVRLsetintcontrol(q, nvrl::id::kLogLevel, 0);
    double best = NAN;
    for (uint32_t held = 1; held < (1u << p.n); ++held) {
      if (__builtin_popcount(held) > p.k) continue;
      q->model = model();
      for (int i = 0; i < p.n; ++i) {
        const double v = (held >> i) & 1u ? 1.0 : 0.0;
        q->model.coltype[p.n + i] = 'C';
        q->model.lb[p.n + i] = q->model.ub[p.n + i] = v;
      }
      q->modelChanged();
      EXPECT_EQ(NVRLlpoptimize(q, ""), 0) << lastError(q);
      if (intAttr(q, nvrl::id::kLpStatus) != NVRL_LP_OPTIMAL) continue;
      const double v = dblAttr(q, nvrl::id::kLpObjVal);
      if (std::isnan(best) || v < best) best = v;
    }
    NVRLdestroyprob(q);
    return best;
  }
};

}  // namespace treetest
