// The root's cover cuts: on random knapsack rows (mixed signs, fixed and continuous columns,
// both row sides) every cut must hold at every integer point of the row and be violated at
// the point it was separated from.
#include <gtest/gtest.h>

#include <cmath>
#include <algorithm>
#include <random>

#include "test_lowered_support.h"
#include "tree/cuts.h"

namespace {

using nvrl::LoweredModel;
using nvrl::tree::Cut;
using loweredtest::activity;
using loweredtest::addCol;
using loweredtest::addRow;

class CoverCuts : public ::testing::TestWithParam<int> {};

TEST_P(CoverCuts, HoldAtEveryIntegerPointAndCutOffTheirPoint) {
  std::mt19937 rng(GetParam());
  std::uniform_int_distribution<int> weight(1, 9), sign(0, 3);
  const int nb = 7;  // binaries 0..6, a fixed binary 7, a continuous column 8 in [0, 2]
  LoweredModel L;
  for (int j = 0; j < nb; ++j) addCol(L, 0, 1, 1);
  addCol(L, 1, 1, 1);
  addCol(L, 0, 2, 0);
  std::vector<std::pair<int, double>> e;
  double total = 0.0;
  for (int j = 0; j < nb; ++j) {
    const double a = weight(rng) * (sign(rng) == 0 ? -1.0 : 1.0);
    e.push_back({j, a});
    total += std::fabs(a);
  }
  e.push_back({nb, 3.0});
  e.push_back({nb + 1, -1.5});
  const std::vector<std::pair<int, double>> knapsack = e;  // as "<= rhs"
  const bool lower_side = GetParam() % 2 == 0;
  const double rhs = std::floor(total / 2);
  // The same knapsack as "row <= rhs" or as "-row >= -rhs".
  if (lower_side) {
    for (auto &[j, a] : e) a = -a;
    addRow(L, -rhs, INFINITY, e);
  } else {
    addRow(L, -INFINITY, rhs, e);
  }
  const std::vector<double> lo = L.col_lo, up = L.col_up;

  // Every binary assignment that some value of the continuous column makes feasible.
  std::vector<std::vector<double>> feasible;
  for (int mask = 0; mask < (1 << nb); ++mask) {
    std::vector<double> x(nb + 2, 0.0);
    x[nb] = 1.0;
    for (int j = 0; j < nb; ++j) x[j] = (mask >> j) & 1;
    x[nb + 1] = 2;  // the continuous column where it helps most
    double act = 0.0;
    for (const auto &[j, a] : knapsack) act += a * x[j];
    if (act <= rhs + 1e-9) {
      feasible.push_back(x);
    }
  }

  // Points like the LP's: the knapsack filled in a random order, the first item that does
  // not fit taken in part (complemented items count as y = 1 - x).
  double room = rhs - 3.0 + 3.0;  // the fixed binary, the continuous column at 2
  for (int j = 0; j < nb; ++j)
    if (knapsack[j].second < 0) room -= knapsack[j].second;
  int separated = 0;
  for (int trial = 0; trial < 20; ++trial) {
    std::vector<int> order(nb);
    for (int j = 0; j < nb; ++j) order[j] = j;
    std::shuffle(order.begin(), order.end(), rng);
    std::vector<double> x(nb + 2, 0.0);
    double left = room;
    bool fractional = false;
    for (int j : order) {
      const double a = std::fabs(knapsack[j].second);
      const double y = std::clamp(left / a, 0.0, 1.0);
      fractional |= y > 1e-3 && y < 1.0;
      left -= a * y;
      x[j] = knapsack[j].second < 0 ? 1.0 - y : y;
    }
    x[nb] = 1.0;
    x[nb + 1] = 2.0;
    const std::vector<Cut> cuts = nvrl::tree::separateCovers(L, lo, up, x, 10);
    // Its items at 1 and the fractional one form a cover that the point violates.
    if (fractional) EXPECT_FALSE(cuts.empty()) << "trial " << trial;
    for (const Cut &c : cuts) {
      ++separated;
      EXPECT_GT(activity(c, x), c.rhs + 1e-4);
      for (const auto &p : feasible) ASSERT_LE(activity(c, p), c.rhs + 1e-9);
    }
  }
  // Some seeds make the row too loose for any cover (complemented items add room).
  double total_weight = 0.0;
  for (int j = 0; j < nb; ++j) total_weight += std::fabs(knapsack[j].second);
  if (total_weight > room) EXPECT_GT(separated, 0);
}

INSTANTIATE_TEST_SUITE_P(Random, CoverCuts, ::testing::Range(1, 13));

// Weights (2, 2, 2, 3) within 4 at y = (1/2, 1/2, 1/2, 1/3). The cover {0, 1, 2} gives
// y0 + y1 + y2 <= 2; with y3 = 1 the room left (1) holds none of the cover, so lifting gives
// y3 the coefficient 2: y0 + y1 + y2 + 2 y3 <= 2, violated (13/6). The extended cover
// (coefficient 1 on y3, 11/6) and the cover {0, 3} (5/6 against 1) are not. With x3 = 1 - y3
// (negative coefficient) the cut reads y0 + y1 + y2 - 2 x3 <= 0.
class LiftedCover : public ::testing::TestWithParam<bool> {};

TEST_P(LiftedCover, LiftsTheItemOutsideTheCover) {
  const bool complemented = GetParam();
  LoweredModel L;
  for (int j = 0; j < 4; ++j) addCol(L, 0, 1, 1);
  const double s = complemented ? -1.0 : 1.0;
  addRow(L, -INFINITY, complemented ? 1.0 : 4.0, {{0, 2}, {1, 2}, {2, 2}, {3, 3 * s}});
  const double y3 = 1.0 / 3.0;
  const std::vector<double> x = {0.5, 0.5, 0.5, complemented ? 1.0 - y3 : y3};
  const std::vector<Cut> cuts = nvrl::tree::separateCovers(L, L.col_lo, L.col_up, x, 10);
  ASSERT_EQ(cuts.size(), 1u);
  std::vector<double> coef(4, 0.0);
  for (size_t k = 0; k < cuts[0].index.size(); ++k) coef[cuts[0].index[k]] = cuts[0].value[k];
  EXPECT_EQ(coef, (std::vector<double>{1, 1, 1, 2 * s}));
  EXPECT_DOUBLE_EQ(cuts[0].rhs, complemented ? 0.0 : 2.0);
  EXPECT_NEAR(activity(cuts[0], x) - cuts[0].rhs, 1.0 / 6.0, 1e-12);
}

INSTANTIATE_TEST_SUITE_P(Tree, LiftedCover, ::testing::Bool());

}  // namespace
