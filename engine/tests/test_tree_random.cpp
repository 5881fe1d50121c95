// Randomised cross-checks of the tree search: small convex MIQPs against the enumeration of
// their integer assignments (each one a QP solved by HiGHS), and linear MIPs with sets and
// semi-continuous columns, branched natively, against HiGHS's MIP solver on their
// reformulation.
#include <cmath>
#include <cstdint>

#include "test_solve_support.h"

namespace solvetest {
namespace {

constexpr int kInts = 3, kConts = 2;
constexpr int kIntLo = -2, kIntHi = 2;
constexpr double kSemiThreshold = 1.0, kSemiUp = 3.0;

class TreeRandomMiqp : public SolveTest, public ::testing::WithParamInterface<int> {
 protected:
  // Columns: kInts integers in [-2, 2], kConts continuous in [-4, 4], and with `semi` one
  // semi-continuous column (0 or 1..3). Q = B'B + 0.05 I, two '<=' rows that x = 0 meets and
  // one '>=' row that some instances cannot meet.
  void build(Rng &r, bool semi, bool maximising) {
    for (int j = 0; j < kInts; ++j) col(kIntLo, kIntHi, 0, 'I');
    for (int j = 0; j < kConts; ++j) col(-4, 4, 0);
    if (semi) col(0, kSemiUp, 0, 'S', kSemiThreshold);
    const int n = model().cols();
    std::vector<std::vector<double>> b(n, std::vector<double>(n));
    for (auto &rowv : b)
      for (double &v : rowv) v = r.uniform(-1, 1);
    const double sign = maximising ? -1.0 : 1.0;
    for (int i = 0; i < n; ++i)
      for (int j = i; j < n; ++j) {
        double q = i == j ? 0.05 : 0.0;
        for (int k = 0; k < n; ++k) q += b[k][i] * b[k][j];
        model().qobj[{i, j}] = sign * q;
      }
    for (int j = 0; j < n; ++j) model().obj[j] = sign * r.uniform(-3, 3);
    if (maximising) maximise();
    for (int i = 0; i < 3; ++i) {
      std::vector<std::pair<int, double>> e;
      for (int j = 0; j < n; ++j) e.push_back({j, static_cast<double>(r.integer(-2, 2))});
      if (i < 2)
        row('L', r.uniform(0, 4), e);
      else
        row('G', r.uniform(1, 7), e);
    }
    prob->modelChanged();
  }

  // Best objective over every integer assignment (and semi-continuous side), each solved as
  // a QP; NAN when none is feasible.
  double enumerate(bool semi) {
    NVRLprob q = nullptr;
    EXPECT_EQ(NVRLcreateprob(&q), 0);
    NVRLsetintcontrol(q, nvrl::id::kLogLevel, 0);
    const nvrl::Model &m = model();
    double best = NAN;
    const int span = kIntHi - kIntLo + 1;
    int combos = 1;
    for (int j = 0; j < kInts; ++j) combos *= span;
    for (int c = 0; c < combos * (semi ? 2 : 1); ++c) {
      q->model = m;
      for (char &t : q->model.coltype) t = 'C';
      int code = c;
      for (int j = 0; j < kInts; ++j) {
        q->model.lb[j] = q->model.ub[j] = kIntLo + code % span;
        code /= span;
      }
      if (semi) {
        const int s = kInts + kConts;
        if (code == 0) q->model.ub[s] = 0.0;
        else q->model.lb[s] = kSemiThreshold;
      }
      q->modelChanged();
      EXPECT_EQ(NVRLlpoptimize(q, ""), 0) << lastError(q);
      if (intAttr(q, nvrl::id::kLpStatus) != NVRL_LP_OPTIMAL) continue;
      const double v = dblAttr(q, nvrl::id::kLpObjVal);
      if (std::isnan(best) || m.objsense * v < m.objsense * best) best = v;
    }
    NVRLdestroyprob(q);
    return best;
  }
};

TEST_P(TreeRandomMiqp, MatchesTheEnumeratedOptimum) {
  const int seed = GetParam();
  Rng r(seed);
  const bool semi = seed % 2 == 0, maximising = seed % 3 == 0;
  build(r, semi, maximising);
  const double expected = enumerate(semi);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  if (std::isnan(expected)) {
    EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_INFEAS);
    return;
  }
  ASSERT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL);
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), expected, 1e-4 * std::max(1.0, std::fabs(expected)));
  // The proven bound is on the optimum's side of it.
  const double sense = model().objsense;
  EXPECT_LE(sense * dblAttr(nvrl::id::kBestBound),
            sense * expected + 1e-6 * std::max(1.0, std::fabs(expected)));
}

INSTANTIATE_TEST_SUITE_P(Tree, TreeRandomMiqp, ::testing::Range(1, 25));

class TreeRandomMip : public SolveTest, public ::testing::WithParamInterface<int> {};

// Four integers in [0, 3], an SOS1 of three continuous columns in [0, 5], a semi-continuous
// column (0 or 2..6), three random rows; HiGHS's MIP solver reformulates what the search
// branches on natively.
TEST_P(TreeRandomMip, ForcedSearchAgreesWithHighsMipSolver) {
  Rng r(1000 + GetParam());
  for (int j = 0; j < 4; ++j) col(0, 3, r.uniform(-5, 5), 'I');
  for (int j = 0; j < 3; ++j) col(0, 5, r.uniform(-5, 5));
  col(0, 6, r.uniform(-5, 5), 'S', 2);
  for (int i = 0; i < 3; ++i) {
    std::vector<std::pair<int, double>> e;
    for (int j = 0; j < 8; ++j) e.push_back({j, r.uniform(-3, 3)});
    row(i == 2 ? 'G' : 'L', r.uniform(i == 2 ? -2 : 1, 8), e);
  }
  model().sets.push_back({'1', {4, 5, 6}, {1, 2, 3}});
  model().setnames.push_back("");
  if (GetParam() % 2) maximise();
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  const int highsStatus = intAttr(nvrl::id::kMipStatus);
  const double highs = dblAttr(nvrl::id::kMipObjVal);
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kTreeSearch, 1), 0);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  ASSERT_EQ(intAttr(nvrl::id::kMipStatus), highsStatus);
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), highs, 1e-4 * std::max(1.0, std::fabs(highs)));
  if (highsStatus != NVRL_MIP_OPTIMAL) return;
  // The search's point respects the set and the semi-continuous column itself.
  const auto x = mipSolution();
  int nonzero = 0;
  for (int j = 4; j < 7; ++j) nonzero += std::fabs(x[j]) > 1e-6;
  EXPECT_LE(nonzero, 1);
  EXPECT_TRUE(std::fabs(x[7]) <= 1e-6 || x[7] >= 2 - 1e-6) << x[7];
}

INSTANTIATE_TEST_SUITE_P(Tree, TreeRandomMip, ::testing::Range(1, 21));

}  // namespace
}  // namespace solvetest
