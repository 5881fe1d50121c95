// Linear solves through the store: answers, sign conventions, statuses, rays, warm starts and
// bases.
#include <cmath>
#include <vector>

#include "test_solve_support.h"

namespace solvetest {
namespace {

using nvrl::id::kLpObjVal;
using nvrl::id::kLpStatus;
using nvrl::id::kSimplexIter;

class LpSolve : public SolveTest {
 protected:
  int x = -1, y = -1;
};

// min -x - 2y + 10  s.t.  c0: x + y <= 4,  c1: x + 3y <= 6,  free row n: x - y,  x, y >= 0.
// Vertices: (4,0): -4, (0,2): -4, (3,1): -5, so x = 3, y = 1, objective 10 - 5 = 5; both
// rows tight, the vertex is not degenerate. With x and y basic their reduced costs vanish:
// -1 = y0 + y1, -2 = y0 + 3y1  ->  y0 = y1 = -0.5. Maximising the negated costs gives the
// same point, objective 15 and duals +0.5: duals are d(objective)/d(rhs) in either sense.
class SmallLp : public LpSolve, public ::testing::WithParamInterface<int> {};

TEST_P(SmallLp, AnswersAndDualSigns) {
  const int sense = GetParam();
  x = col(0, 1e20, -1.0 * sense);
  y = col(0, 1e20, -2.0 * sense);
  row('L', 4, {{x, 1}, {y, 1}});
  row('L', 6, {{x, 1}, {y, 3}});
  row('N', 0, {{x, 1}, {y, -1}});
  model().objconst = 10;
  if (sense < 0) maximise();
  ASSERT_EQ(NVRLlpoptimize(prob, sense > 0 ? "" : nullptr), 0) << lastError();
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_OPTIMAL);
  EXPECT_NEAR(dblAttr(kLpObjVal), 10 - 5 * sense, 1e-9);
  double xs[2], slack[3], duals[3], djs[2];
  ASSERT_EQ(NVRLgetlpsol(prob, xs, slack, duals, djs), 0);
  const double dual = -0.5 * sense;
  const std::vector<double> want[] = {{3, 1}, {0, 0, -2}, {dual, dual, 0}, {0, 0}};
  const double *got[] = {xs, slack, duals, djs};  // slack is rhs - activity
  for (int v = 0; v < 4; ++v)
    for (size_t k = 0; k < want[v].size(); ++k) EXPECT_NEAR(got[v][k], want[v][k], 1e-9) << v;
  EXPECT_EQ(duals[2], 0.0);  // the free row's dual is exactly zero
  int npv = -1, nps = -1, nds = -1, ndv = -1;
  ASSERT_EQ(NVRLgetinfeas(prob, &npv, &nps, &nds, &ndv, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(npv + nps + nds + ndv, 0);
  // Bad flags fail and keep the answer.
  EXPECT_NE(NVRLlpoptimize(prob, "pz"), 0);
  EXPECT_NE(lastError().find("'z'"), std::string::npos) << lastError();
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_OPTIMAL);
  EXPECT_NEAR(dblAttr(kLpObjVal), 10 - 5 * sense, 1e-9);
}

INSTANTIATE_TEST_SUITE_P(Solve, SmallLp, ::testing::Values(1, -1),
                         [](const auto &info) { return info.param > 0 ? "min" : "max"; });

TEST_F(LpSolve, RangeAndEqualityRows) {
  // min x + y  s.t.  2 <= x - y <= 5 (range row, rhs 5, range 3), x + 2y = 4
  // with x, y >= 0: from x + 2y = 4, x = 4 - 2y; objective 4 - y, so y as large as possible:
  // x - y = 4 - 3y >= 2 -> y <= 2/3. Optimum y = 2/3, x = 8/3, objective 10/3.
  x = col(0, 1e20, 1);
  y = col(0, 1e20, 1);
  row('R', 5, {{x, 1}, {y, -1}}, 3);
  row('E', 4, {{x, 1}, {y, 2}});
  for (const char *flags : {"", "p", "d", "b"}) {
    ASSERT_EQ(NVRLlpoptimize(prob, flags), 0) << flags << ": " << lastError();
    EXPECT_NEAR(dblAttr(kLpObjVal), 10.0 / 3, 1e-7) << flags;
    double slack[2];
    ASSERT_EQ(NVRLgetlpsol(prob, nullptr, slack, nullptr, nullptr), 0);
    EXPECT_NEAR(slack[0], 3.0, 1e-7) << flags;  // activity 2 at the bottom of the range
    EXPECT_NEAR(slack[1], 0.0, 1e-7) << flags;
  }
}

TEST_F(LpSolve, InfeasibleLpHasDualRay) {
  // x + y <= 1 and x + y >= 3 cannot both hold.
  x = col(0, 1e20, 1);
  y = col(0, 1e20, 1);
  row('L', 1, {{x, 1}, {y, 1}});
  row('G', 3, {{x, 1}, {y, 1}});
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_INFEAS);
  int has = 0;
  double ray[2];
  ASSERT_EQ(NVRLgetdualray(prob, ray, &has), 0);
  ASSERT_EQ(has, 1);
  // A Farkas certificate combines the two rows with opposite signs.
  EXPECT_LT(ray[0] * ray[1], 0.0);
}

TEST_F(LpSolve, UnboundedLpHasPrimalRay) {
  // min -x - y s.t. x - y <= 1: x = y + 1 grows without limit.
  x = col(0, 1e20, -1);
  y = col(0, 1e20, -1);
  row('L', 1, {{x, 1}, {y, -1}});
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_UNBOUNDED);
  int has = 0, seq = -2;
  double ray[2];
  ASSERT_EQ(NVRLgetprimalray(prob, ray, &has), 0);
  ASSERT_EQ(has, 1);
  EXPECT_LT(-ray[0] - ray[1], 0.0);  // the objective decreases along the ray
  EXPECT_LE(ray[0] - ray[1], 1e-9);  // and the row stays satisfied
  ASSERT_EQ(NVRLgetunbvec(prob, &seq), 0);
  EXPECT_TRUE(seq == 0 || seq == 1);
}

TEST_F(LpSolve, NoAnswersBeforeASolveAndEmptyProblems) {
  double xs[2];
  int rs[3], cs[2];
  EXPECT_NE(NVRLgetlpsol(prob, xs, nullptr, nullptr, nullptr), 0);
  EXPECT_NE(NVRLgetbasis(prob, rs, cs), 0);
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_UNSTARTED);
  // Nothing but the objective constant; then columns without rows.
  model().objconst = 7;
  prob->modelChanged();
  for (bool mip : {false, true}) {
    ASSERT_EQ(mip ? NVRLmipoptimize(prob, "") : NVRLlpoptimize(prob, ""), 0) << lastError();
    EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_OPTIMAL);
    EXPECT_NEAR(dblAttr(kLpObjVal), 7, 1e-12);
  }
  col(-1, 2, 3);
  col(0, 5, -1, 'I');
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL);
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), 7 - 3 - 5, 1e-9);
}

// A transportation problem with enough structure to need a few dozen simplex iterations.
class WarmStart : public SolveTest {
 protected:
  static constexpr int S = 12, D = 15;
  void build() {
    for (int i = 0; i < S; ++i)
      for (int j = 0; j < D; ++j) col(0, 1e20, 1 + (i * 7 + j * 13) % 17);
    for (int i = 0; i < S; ++i) {
      std::vector<std::pair<int, double>> e;
      for (int j = 0; j < D; ++j) e.push_back({i * D + j, 1});
      row('L', 40 + (i * 5) % 11, e);
    }
    for (int j = 0; j < D; ++j) {
      std::vector<std::pair<int, double>> e;
      for (int i = 0; i < S; ++i) e.push_back({i * D + j, 1});
      row('G', 20 + (j * 3) % 7, e);
    }
    NVRLsetintcontrol(prob, nvrl::id::kPresolve, 0);
  }
};

// A small change keeps HiGHS's basis: the re-solve needs far fewer pivots than the first.
class WarmChange : public WarmStart, public ::testing::WithParamInterface<char> {};

TEST_P(WarmChange, ReusesTheBasis) {
  build();
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  const int cold = intAttr(kSimplexIter);
  const double obj1 = dblAttr(kLpObjVal);
  ASSERT_GT(cold, 10);
  std::vector<double> xs(S * D);
  ASSERT_EQ(NVRLgetlpsol(prob, xs.data(), nullptr, nullptr, nullptr), 0);
  int used = 0;
  while (xs[used] < 1e-6) ++used;
  switch (GetParam()) {
    case 'b': model().ub[used] = 0; break;        // forbid a used route
    case 'c': model().obj[used] += 5; break;      // make it dearer
    case 'r': model().rhs[S] += 3; break;         // raise one demand
    case 'k': model().objconst = 100; break;      // only the constant: no pivot at all
  }
  prob->modelChanged();
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  ASSERT_EQ(intAttr(kLpStatus), NVRL_LP_OPTIMAL);
  if (GetParam() == 'k') {
    EXPECT_EQ(intAttr(kSimplexIter), 0);
    EXPECT_NEAR(dblAttr(kLpObjVal), obj1 + 100, 1e-7);
  } else {
    EXPECT_LT(intAttr(kSimplexIter), cold / 2);
    EXPECT_GE(dblAttr(kLpObjVal), obj1 - 1e-9);  // every change makes the optimum dearer
  }
}

INSTANTIATE_TEST_SUITE_P(Solve, WarmChange, ::testing::Values('b', 'c', 'r', 'k'));

TEST_F(WarmStart, LoadedBasisRestartsAtTheOptimum) {
  build();
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  const double obj = dblAttr(kLpObjVal);
  std::vector<int> rs(S + D), cs(S * D);
  ASSERT_EQ(NVRLgetbasis(prob, rs.data(), cs.data()), 0);
  int basic = 0;
  for (int s : rs) basic += s == NVRL_BASIS_BASIC;
  for (int s : cs) basic += s == NVRL_BASIS_BASIC;
  EXPECT_EQ(basic, S + D);  // one basic variable per row

  // A fresh problem with the same model solves from what `load` gives it.
  const auto iterationsFrom = [&](bool presolve, auto load) {
    NVRLprob p = nullptr;
    EXPECT_EQ(NVRLcreateprob(&p), 0);
    NVRLsetintcontrol(p, nvrl::id::kLogLevel, 0);
    if (!presolve) NVRLsetintcontrol(p, nvrl::id::kPresolve, 0);
    p->model = model();
    p->modelChanged();
    EXPECT_EQ(load(p), 0) << lastError(p);
    EXPECT_EQ(NVRLlpoptimize(p, ""), 0) << lastError(p);
    EXPECT_NEAR(dblAttr(p, kLpObjVal), obj, 1e-9);
    const int iterations = intAttr(p, kSimplexIter);
    NVRLdestroyprob(p);
    return iterations;
  };
  // From the loaded basis no pivot is needed; from the optimal point, far fewer.
  std::vector<double> x(S * D), slack(S + D);
  ASSERT_EQ(NVRLgetlpsol(prob, x.data(), slack.data(), nullptr, nullptr), 0);
  const auto basis = [&](NVRLprob p) { return NVRLloadbasis(p, rs.data(), cs.data()); };
  const auto point = [&](NVRLprob p) {
    int status = -1;
    return NVRLloadlpsol(p, x.data(), slack.data(), nullptr, nullptr, &status);
  };
  EXPECT_EQ(iterationsFrom(false, basis), 0);
  EXPECT_LT(iterationsFrom(true, point), intAttr(kSimplexIter) / 2);
  rs[0] = 7;
  EXPECT_NE(NVRLloadbasis(prob, rs.data(), cs.data()), 0);
}

// A solution is a point HiGHS calls feasible; any other point it leaves is no answer: no
// solution, objective 0, though the infeasibility queries still see it.
TEST_F(LpSolve, InfeasibleLpReportsNoSolutionOrObjective) {
  x = col(0, 1e20, 1);
  row('G', 5, {});  // 0 >= 5
  model().objconst = 7;
  prob->modelChanged();
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_INFEAS);
  EXPECT_EQ(intAttr(nvrl::id::kSolStatus), 0);
  EXPECT_EQ(dblAttr(kLpObjVal), 0.0);
  double v = -1, sl = -1;
  EXPECT_NE(NVRLgetlpsol(prob, &v, nullptr, nullptr, nullptr), 0);
  EXPECT_NE(NVRLgetlpsolval(prob, 0, 0, &v, &sl, nullptr, nullptr), 0);
  int npv = -1, nps = -1;
  int bad[1] = {-1};
  ASSERT_EQ(NVRLgetinfeas(prob, &npv, &nps, nullptr, nullptr, nullptr, bad, nullptr, nullptr), 0)
      << lastError();
  EXPECT_EQ(nps, 1);
  EXPECT_EQ(bad[0], 0);
}

// Stopped early without presolve, the dual simplex leaves a basic point that is not yet
// primal feasible; it must not be offered as a solution.
class StoppedLp : public WarmStart, public ::testing::WithParamInterface<bool> {};

TEST_P(StoppedLp, OffersOnlyAFeasiblePoint) {
  const bool mipCall = GetParam();
  // From x = 0 every demand row of the transportation problem is violated, and the dual
  // simplex needs more than 5 iterations to meet all 15.
  build();
  NVRLsetintcontrol64(prob, nvrl::id::kLpIterLimit, 5);
  ASSERT_EQ(mipCall ? NVRLmipoptimize(prob, "d") : NVRLlpoptimize(prob, "d"), 0) << lastError();
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_UNFINISHED);
  EXPECT_EQ(intAttr(nvrl::id::kStopStatus), NVRL_STOP_ITERLIMIT);
  ASSERT_GT(dblAttr(nvrl::id::kMaxPrimalInfeas), 1e-3);  // the point HiGHS left is infeasible
  EXPECT_EQ(intAttr(nvrl::id::kSolStatus), 0);
  EXPECT_EQ(dblAttr(kLpObjVal), 0.0);
  EXPECT_EQ(dblAttr(nvrl::id::kMipObjVal), 0.0);
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_NO_SOL_FOUND);
  std::vector<double> v(model().cols());
  EXPECT_NE(NVRLgetlpsol(prob, v.data(), nullptr, nullptr, nullptr), 0);
  EXPECT_NE(NVRLgetmipsol(prob, v.data(), nullptr), 0);
}

INSTANTIATE_TEST_SUITE_P(Solve, StoppedLp, ::testing::Bool(),
                         [](const auto &info) { return info.param ? "mip_call" : "lp_call"; });

}  // namespace
}  // namespace solvetest
