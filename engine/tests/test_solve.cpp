// Solving through the store: linear and quadratic solves, reformulated entities, controls that
// end a solve, interrupts, presolved answers and the shared data set.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <signal.h>
#include <string>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

#include "test_solve_support.h"

using nvrl::id::kLpObjVal;
using nvrl::id::kLpStatus;
using nvrl::id::kSimplexIter;
using nvrl::id::kMipStatus;
using nvrl::id::kMipObjVal;
using nvrl::id::kStopStatus;
using nvrl::id::kPresolve;
using nvtest::chars;
using nvtest::dbls;
using nvtest::ints;
using nvtest::starts;
using nvtest::DataInstance;

// ---- Linear solves through the store: answers, sign conventions, statuses, rays, warm starts and
// bases.
namespace solvetest {
namespace {

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

// ---- Quadratic objectives: the store's convention, convexity in the objective's sense, and
// integer columns. (The data set's qptestnw.lp, solved to its optimum, checks that a diagonal
// entry v is the term v/2 x^2; quadratic rows are in test_nslp_solve.cpp.)

using QpSolve = SolveTest;

// x1^2 + x2^2 + x1*x2 - 3x1 (triplets (0,0,2), (1,1,2), (0,1,1)) over free x: the gradient
// 2x1 + x2 - 3 = 0, x1 + 2x2 = 0 gives (2, -1) and the value -3. Maximising the negation gives
// +3. Read with the off-diagonal doubled (2*x1*x2) the optimum would be unbounded instead.
TEST_F(QpSolve, OffDiagonalEntriesAreWholeTerms) {
  for (int sense : {1, -1}) {
    model() = nvrl::Model();
    const int x1 = col(-1e20, 1e20, -3.0 * sense), x2 = col(-1e20, 1e20, 0);
    qobj({{x1, x1, 2.0 * sense}, {x2, x2, 2.0 * sense}, {x1, x2, 1.0 * sense}});
    if (sense < 0) maximise();
    ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
    EXPECT_NEAR(dblAttr(kLpObjVal), -3.0 * sense, 1e-6) << sense;
  }
}

// (triplets, sense, convex in that sense)
using QCase = std::tuple<std::vector<std::tuple<int, int, double>>, int, bool>;
class Convexity : public QpSolve, public ::testing::WithParamInterface<QCase> {};

TEST_P(Convexity, NonconvexObjectivesEndWithStatus8) {
  const auto &[entries, sense, convex] = GetParam();
  for (int j = 0; j < 3; ++j) col(-10, 10, 1);
  row('L', 5, {{0, 1}, {1, 1}, {2, 1}});
  qobj(entries);
  if (sense < 0) maximise();
  // The MIP call on a continuous problem takes the same path.
  for (bool mip : {false, true}) {
    const int rc = mip ? NVRLmipoptimize(prob, "") : NVRLlpoptimize(prob, "");
    if (convex) {
      EXPECT_EQ(rc, 0) << lastError();
      EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_OPTIMAL);
    } else {
      EXPECT_NE(rc, 0);
      EXPECT_EQ(intAttr(mip ? kMipStatus : kLpStatus), NVRL_LP_NONCONVEX);
      EXPECT_NE(lastError().find("not convex"), std::string::npos) << lastError();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Solve, Convexity,
    ::testing::Values(
        // (x1 + x2)^2 / 2: singular but semidefinite
        QCase{{{0, 0, 1}, {1, 1, 1}, {0, 1, 1}}, 1, true},
        // positive diagonals hiding a negative eigenvalue: [[1,2],[2,1]]
        QCase{{{0, 0, 1}, {1, 1, 1}, {0, 1, 2}}, 1, false},
        // a saddle with no diagonal at all
        QCase{{{0, 1, 1}}, 1, false},
        // concave is fine when maximising, not when minimising
        QCase{{{0, 0, -2}, {2, 2, -1}}, -1, true}, QCase{{{0, 0, -2}, {2, 2, -1}}, 1, false},
        QCase{{{0, 0, 2}}, -1, false},
        // all-ones (rank one, semidefinite), and the same with one diagonal lowered by 1e-3,
        // which makes it indefinite
        QCase{{{0, 0, 1}, {1, 1, 1}, {2, 2, 1}, {0, 1, 1}, {0, 2, 1}, {1, 2, 1}}, 1, true},
        QCase{{{0, 0, 1}, {1, 1, 1 - 1e-3}, {2, 2, 1}, {0, 1, 1}, {0, 2, 1}, {1, 2, 1}}, 1, false},
        // tridiagonal positive definite
        QCase{{{0, 0, 2}, {1, 1, 2}, {2, 2, 2}, {0, 1, -1}, {1, 2, -1}}, 1, true}));

TEST_F(QpSolve, WithIntegerColumnsTheTreeSearchSolvesAndTheRelaxationIsAQp) {
  const int x = col(0, 10, 1, 'I'), y = col(0, 10, 1);
  row('G', 1, {{x, 1}, {y, 1}});
  qobj({{x, x, 2}});
  // A quadratic objective with integer columns goes to the tree search (x = 0, y = 1) ...
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(NVRL_ATTR_MIP_STATUS), NVRL_MIP_OPTIMAL);
  EXPECT_NEAR(dblAttr(NVRL_ATTR_MIP_OBJECTIVE), 1.0, 1e-6);
  // ... and the relaxation is an ordinary QP: min x^2 + x + y with x + y >= 1 -> x = 0, y = 1.
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_NEAR(dblAttr(kLpObjVal), 1.0, 1e-6);
}

// ---- Entities that the engine reformulates for HiGHS, each on a small model whose optimum is
// derived by hand in the comment of its case.

constexpr double kInf = 1e20;

class Reformulation : public SolveTest {
 protected:
  // Solves as a MIP and returns the objective; fails the test when not optimal.
  double solveMip() {
    EXPECT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
    EXPECT_EQ(intAttr(kMipStatus), NVRL_MIP_OPTIMAL);
    return dblAttr(kMipObjVal);
  }
  void addSet(char type, std::vector<int> cols, std::vector<double> refs) {
    model().sets.push_back({type, std::move(cols), std::move(refs)});
    model().setnames.emplace_back();
    prob->modelChanged();
  }
  void addGeneral(int type, int resultant, std::vector<int> cols, std::vector<double> vals = {}) {
    model().gencons.push_back({type, resultant, std::move(cols), std::move(vals)});
    prob->modelChanged();
  }
  void addPwl(int x, int r, std::vector<double> xs, std::vector<double> ys) {
    model().pwlcons.push_back({x, r, std::move(xs), std::move(ys)});
    prob->modelChanged();
  }
  void setIndicator(int row, int col, int comp) {
    model().indcol[row] = col;
    model().indcomp[row] = comp;
    prob->modelChanged();
  }
};

// ---- semi-continuous and semi-integer -------------------------------------------------------
// min x  s.t.  x + y >= rhs,  0 <= y <= 1,  x in {0} or [limit, 10] (integer for 'R').
// rhs 2.5 forces x >= 1.5, so x jumps to the threshold (2 for S; 3 for R with limit 2.5);
// rhs 0.5 lets x stay 0 with y = 0.5. The threshold may come as the limit or as the lower
// bound (as files give it).
using SemiCase = std::tuple<char, double, double, double, double>;  // type, lb, limit, rhs, x
class SemiColumns : public Reformulation, public ::testing::WithParamInterface<SemiCase> {};

TEST_P(SemiColumns, TakeZeroOrAtLeastTheThreshold) {
  const auto [type, lb, limit, rhs, expected] = GetParam();
  const int x = col(lb, 10, 1, type, limit);
  const int y = col(0, 1, 0);
  row('G', rhs, {{x, 1}, {y, 1}});
  EXPECT_NEAR(solveMip(), expected, 1e-7);
  EXPECT_NEAR(mipSolution()[x], expected, 1e-7);
  // The relaxation ignores the threshold: x = rhs - 1 (or 0).
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_NEAR(dblAttr(nvrl::id::kLpObjVal), std::max(0.0, rhs - 1), 1e-7);
  EXPECT_EQ(intAttr(kMipStatus), NVRL_MIP_LP_OPTIMAL);  // the MIP itself is not solved
}

INSTANTIATE_TEST_SUITE_P(Solve, SemiColumns,
                         ::testing::Values(SemiCase{'S', 0, 2, 2.5, 2}, SemiCase{'S', 2, 0, 2.5, 2},
                                           SemiCase{'S', 0, 2, 0.5, 0}, SemiCase{'R', 0, 2.5, 2.5, 3},
                                           SemiCase{'R', 2.5, 2.5, 0.5, 0}));

// ---- partially integer ----------------------------------------------------------------------
// min x  s.t.  x >= rhs,  x in [0, 10], integer below the limit 3.5, continuous from 3.5 up:
// rhs 1.2 -> 2; 2.7 -> 3; 3.2 -> 3.5 (nothing between 3 and 3.5); 4.3 -> 4.3.
class PartiallyInteger : public Reformulation,
                         public ::testing::WithParamInterface<std::pair<double, double>> {};

TEST_P(PartiallyInteger, IsIntegerBelowTheLimitOnly) {
  const auto [rhs, expected] = GetParam();
  const int x = col(0, 10, 1, 'P', 3.5);
  row('G', rhs, {{x, 1}});
  EXPECT_NEAR(solveMip(), expected, 1e-7);
}

INSTANTIATE_TEST_SUITE_P(Solve, PartiallyInteger,
                         ::testing::Values(std::pair{1.2, 2.0}, std::pair{2.7, 3.0},
                                           std::pair{3.2, 3.5}, std::pair{4.3, 4.3}));

// ---- special ordered sets -------------------------------------------------------------------
// max 3x1 + x2 + 3x3  s.t.  x1 + x2 + x3 <= 10,  0 <= xi <= 4.
// No set: x1 = x3 = 4, x2 = 2 -> 26. SOS1: one non-zero -> 12. SOS2 (order x1, x2, x3 by
// reference value): two neighbours, (x1, x2) or (x2, x3) -> 12 + 4 = 16. Members are stored
// out of order to check that adjacency follows the reference values.
class Sets : public Reformulation, public ::testing::WithParamInterface<std::pair<char, double>> {};

TEST_P(Sets, LimitTheNonZeroMembers) {
  const auto [type, expected] = GetParam();
  const int x1 = col(0, 4, 3), x2 = col(0, 4, 1), x3 = col(0, 4, 3);
  row('L', 10, {{x1, 1}, {x2, 1}, {x3, 1}});
  maximise();
  if (type != '0') addSet(type, {x3, x1, x2}, {3, 1, 2});
  EXPECT_NEAR(solveMip(), expected, 1e-7);
  const auto v = mipSolution();
  int nonzero = 0;
  for (double xv : v) nonzero += std::fabs(xv) > 1e-7;
  if (type == '1') EXPECT_EQ(nonzero, 1);
  if (type == '2') EXPECT_GT(v[x2], 1e-7);  // the middle member is always one of the two
}

INSTANTIATE_TEST_SUITE_P(Solve, Sets,
                         ::testing::Values(std::pair{'0', 26.0}, std::pair{'1', 12.0},
                                           std::pair{'2', 16.0}));

// ---- indicators -----------------------------------------------------------------------------
// Binary z, 0 <= x <= 10. Row "x <= 2" holds when z = 1 (comp 1); objective max x + c*z:
// z = 0 gives 10, z = 1 gives 2 + c, so c = 5 -> 10 and c = 9 -> 11.
// Row "x >= 6" holding when z = 0 (comp -1), min x + c*z: z = 0 -> 6, z = 1 -> c:
// c = 7 -> 6, c = 4 -> 4.
using IndicatorCase = std::tuple<char, double, int, double, int, double>;  // type rhs comp c sense opt
class Indicators : public Reformulation, public ::testing::WithParamInterface<IndicatorCase> {};

TEST_P(Indicators, HoldOnlyWhenSwitchedOn) {
  const auto [type, rhs, comp, c, sense, expected] = GetParam();
  const int x = col(0, 10, 1);
  const int z = col(0, 1, c, 'B');
  const int r = row(type, rhs, {{x, 1}});
  setIndicator(r, z, comp);
  if (sense < 0) maximise();
  EXPECT_NEAR(solveMip(), expected, 1e-7);
}

INSTANTIATE_TEST_SUITE_P(Solve, Indicators,
                         ::testing::Values(IndicatorCase{'L', 2, 1, 5, -1, 10},
                                           IndicatorCase{'L', 2, 1, 9, -1, 11},
                                           IndicatorCase{'G', 6, -1, 7, 1, 6},
                                           IndicatorCase{'G', 6, -1, 4, 1, 4}));

// ---- general constraints --------------------------------------------------------------------
TEST_F(Reformulation, MaxOfColumnsAndAConstant) {
  // r = max(x1, x2, 3), x1 in [0,5], x2 in [1,4], x1 + x2 >= 7, min r: r >= (x1 + x2)/2 >= 3.5,
  // reached at x1 = x2 = 3.5.
  const int x1 = col(0, 5, 0), x2 = col(1, 4, 0), r = col(-kInf, kInf, 1);
  row('G', 7, {{x1, 1}, {x2, 1}});
  addGeneral(NVRL_GENCONS_MAX, r, {x1, x2}, {3});
  EXPECT_NEAR(solveMip(), 3.5, 1e-7);
}

TEST_F(Reformulation, MinOfColumnsAndAConstant) {
  // r = min(x1, x2, 2.5), xi in [0,5], x1 + x2 <= 4, max r: r <= (x1 + x2)/2 <= 2 -> 2.
  const int x1 = col(0, 5, 0), x2 = col(0, 5, 0), r = col(-kInf, kInf, 1);
  row('L', 4, {{x1, 1}, {x2, 1}});
  addGeneral(NVRL_GENCONS_MIN, r, {x1, x2}, {2.5});
  maximise();
  EXPECT_NEAR(solveMip(), 2, 1e-7);
}

TEST_F(Reformulation, AndOrOfBinaries) {
  // r = b1 AND b2, max r - 0.4 b1 - 0.4 b2: r = 1 needs both -> 0.2 beats 0.
  const int b1 = col(0, 1, -0.4, 'B'), b2 = col(0, 1, -0.4, 'B'), r = col(0, 1, 1, 'B');
  addGeneral(NVRL_GENCONS_AND, r, {b1, b2});
  maximise();
  EXPECT_NEAR(solveMip(), 0.2, 1e-7);
  // Same objective with r = b1 OR b2: r = 1 needs only one of them -> 0.6.
  model().gencons[0].type = NVRL_GENCONS_OR;
  prob->modelChanged();
  EXPECT_NEAR(solveMip(), 0.6, 1e-7);
}

// r = |x| with x in [-5, 3]: max r -> 5; max r with x >= -1 -> 3; min r with x <= -2 -> 2.
// The auxiliary columns and rows never show: counts and answer vectors keep the user's sizes.
using AbsCase = std::tuple<int, char, double, double>;  // sense, row type, rhs, optimum
class Absolute : public Reformulation, public ::testing::WithParamInterface<AbsCase> {};

TEST_P(Absolute, EqualsTheMagnitudeInAnswersOfTheUserSizes) {
  const auto [sense, type, rhs, expected] = GetParam();
  const int x = col(-5, 3, 0), r = col(-kInf, kInf, 1);
  row(type, rhs, {{x, 1}});
  addGeneral(NVRL_GENCONS_ABS, r, {x});
  if (sense < 0) maximise();
  EXPECT_NEAR(solveMip(), expected, 1e-7);
  EXPECT_EQ(intAttr(nvrl::id::kCols), 2);
  EXPECT_EQ(intAttr(nvrl::id::kRows), 1);
  std::vector<double> xs(3, -99.0), slack(2, -99.0);
  ASSERT_EQ(NVRLgetmipsol(prob, xs.data(), slack.data()), 0);
  EXPECT_NEAR(xs[r], std::fabs(xs[x]), 1e-7);
  EXPECT_EQ(xs[2], -99.0);
  EXPECT_EQ(slack[1], -99.0);
  EXPECT_NEAR(slack[0], rhs - xs[x], 1e-9);
}

INSTANTIATE_TEST_SUITE_P(Solve, Absolute,
                         ::testing::Values(AbsCase{-1, 'G', -10, 5}, AbsCase{-1, 'G', -1, 3},
                                           AbsCase{1, 'L', -2, 2}));

// ---- piecewise-linear -----------------------------------------------------------------------
// r = f(x) through (0,0), (2,4), (3,1), (5,5) (not concave):
// max r with x <= 4: f(2) = 4 beats f(4) = 3 (a convex hull would claim 4.67) -> 4.
// min r with x >= 2.5: f(3) = 1 -> 1.  max r unrestricted: f(5) = 5.
using PwlCase = std::tuple<int, char, double, double>;  // sense, row type on x, rhs, optimum
class Piecewise : public Reformulation, public ::testing::WithParamInterface<PwlCase> {};

TEST_P(Piecewise, FollowsTheBreakpoints) {
  const auto [sense, type, rhs, expected] = GetParam();
  const int x = col(-kInf, kInf, 0), r = col(-kInf, kInf, 1);
  row(type, rhs, {{x, 1}});
  addPwl(x, r, {0, 2, 3, 5}, {0, 4, 1, 5});
  if (sense < 0) maximise();
  EXPECT_NEAR(solveMip(), expected, 1e-7);
}

INSTANTIATE_TEST_SUITE_P(Solve, Piecewise,
                         ::testing::Values(PwlCase{-1, 'L', 4, 4}, PwlCase{1, 'G', 2.5, 1},
                                           PwlCase{-1, 'L', 100, 5}));

TEST_F(Reformulation, PiecewiseJumpTakesOneSideNotBetween) {
  // f through (0,0), (1,1), (1,3), (2,3): at x = 1 the value is 1 or 3. With x = 1 and
  // r <= 2.5, max r is 1 (a vertical segment would allow 2.5).
  const int x = col(1, 1, 0), r = col(-kInf, kInf, 1);
  row('L', 2.5, {{r, 1}});
  addPwl(x, r, {0, 1, 1, 2}, {0, 1, 3, 3});
  maximise();
  EXPECT_NEAR(solveMip(), 1, 1e-7);
}

// Entities the reformulation cannot express are refused before the solve, naming why.
class Refused;
struct RefusedCase {
  const char *label;
  void (*build)(Refused &);
  const char *words;
};

class Refused : public Reformulation, public ::testing::WithParamInterface<RefusedCase> {
 public:
  using Reformulation::addGeneral;
  using Reformulation::addSet;
  using Reformulation::col;
  using Reformulation::row;
  using Reformulation::setIndicator;
};

TEST_P(Refused, BeforeTheSolveNamingWhy) {
  GetParam().build(*this);
  EXPECT_NE(NVRLmipoptimize(prob, ""), 0);
  EXPECT_NE(lastError().find(GetParam().words), std::string::npos) << lastError();
  EXPECT_EQ(intAttr(kMipStatus), NVRL_MIP_NOT_LOADED);
}

INSTANTIATE_TEST_SUITE_P(
    Solve, Refused,
    ::testing::Values(
        RefusedCase{"semi_continuous_without_upper_bound",
                    [](Refused &t) { t.row('G', 1, {{t.col(0, kInf, 1, 'S', 2), 1}}); },
                    "infinite"},
        RefusedCase{"set_member_without_upper_bound",
                    [](Refused &t) {
                      t.addSet('1', {t.col(0, kInf, 1), t.col(0, 4, 1)}, {1, 2});
                    },
                    "infinite bound"},
        RefusedCase{"indicator_row_unbounded",
                    [](Refused &t) {
                      const int x = t.col(0, kInf, -1), z = t.col(0, 1, 0, 'B');
                      t.setIndicator(t.row('L', 2, {{x, 1}}), z, 1);
                    },
                    "unbounded"},
        RefusedCase{"indicator_switch_not_binary",
                    [](Refused &t) {
                      const int x = t.col(0, 10, -1), z = t.col(0, 1, 0);
                      t.setIndicator(t.row('L', 2, {{x, 1}}), z, 1);
                    },
                    "not binary"},
        RefusedCase{"logical_operand_not_binary",
                    [](Refused &t) {
                      t.addGeneral(NVRL_GENCONS_OR, t.col(0, 1, 1, 'B'), {t.col(0, 2, 0, 'I')});
                    },
                    "binary"},
        RefusedCase{"abs_of_unbounded_column",
                    [](Refused &t) {
                      t.addGeneral(NVRL_GENCONS_ABS, t.col(-kInf, kInf, 1), {t.col(-kInf, 3, 0)});
                    },
                    "infinite bound"}), nvtest::byLabel);

// ---- Controls that change how a solve ends: cutoff, node and solution limits, iteration limits.

// A 0-1 knapsack whose optimum a dynamic programme gives: maximise the value (sense -1) or
// minimise its negation (sense 1), so the optimum is +-best. The cutoff is placed relative to
// the optimum: `beyond` > 0 asks for more than the optimum can give.
class KnapsackCutoff : public SolveTest, public ::testing::WithParamInterface<int> {
 protected:
  void buildKnapsack(int sense) {
    const int n = 24;
    uint64_t seed = 99;
    auto next = [&](int lo, int hi) {
      seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
      return lo + static_cast<int>((seed >> 33) % static_cast<uint64_t>(hi - lo + 1));
    };
    std::vector<int> w(n), v(n);
    int total = 0;
    for (int j = 0; j < n; ++j) {
      w[j] = next(5, 40);
      v[j] = next(5, 60);
      total += w[j];
    }
    const int cap = total / 3;
    std::vector<int> best(cap + 1, 0);
    for (int j = 0; j < n; ++j)
      for (int c = cap; c >= w[j]; --c) best[c] = std::max(best[c], best[c - w[j]] + v[j]);
    std::vector<std::pair<int, double>> e;
    for (int j = 0; j < n; ++j) e.push_back({col(0, 1, sense > 0 ? -v[j] : v[j], 'B'), w[j]});
    row('L', cap, e);
    if (sense < 0) maximise();
    optimum = sense > 0 ? -best[cap] : best[cap];
  }

  // The cutoff `beyond` units better than the optimum in the objective's sense.
  double cutoffBeyond(int sense, double beyond) { return optimum + (sense > 0 ? -beyond : beyond); }

  void expectVerdict(double beyond, const char *what) {
    const bool meets = beyond <= 0;
    EXPECT_EQ(intAttr(kMipStatus), meets ? NVRL_MIP_OPTIMAL : NVRL_MIP_INFEAS) << what;
    EXPECT_EQ(intAttr(kStopStatus), NVRL_STOP_NONE) << what;
    EXPECT_EQ(intAttr(nvrl::id::kSolStatus), meets ? 1 : 0) << what;
    std::vector<double> x(model().cols());
    if (meets) {
      EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), optimum, 1e-6) << what;
      ASSERT_EQ(NVRLgetmipsol(prob, x.data(), nullptr), 0) << what << ": " << lastError();
      double val = 0;
      for (int j = 0; j < model().cols(); ++j) val += model().obj[j] * x[j];
      EXPECT_NEAR(val, optimum, 1e-6) << what;
    } else {
      EXPECT_EQ(dblAttr(nvrl::id::kMipObjVal), 0.0) << what;
      EXPECT_NE(NVRLgetmipsol(prob, x.data(), nullptr), 0) << what;
    }
  }

  double optimum = 0;
};

TEST_P(KnapsackCutoff, KeepsOnlySolutionsThatMeetItAcrossResolvesAndInTheLp) {
  const int sense = GetParam();
  buildKnapsack(sense);
  // Above, at, just inside and below the optimum, then above again: each re-solve must
  // forget what the previous cutoff allowed.
  for (double beyond : {1.0, 0.0, -0.5, -15.0, 0.5, 40.0, 0.0}) {
    NVRLsetdblcontrol(prob, nvrl::id::kCutoff, cutoffBeyond(sense, beyond));
    ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
    expectVerdict(beyond, ("cutoff beyond the optimum by " + std::to_string(beyond)).c_str());
  }
  NVRLsetdblcontrol(prob, nvrl::id::kCutoff, sense > 0 ? 1e20 : -1e20);  // none
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  expectVerdict(-1, "no cutoff");

  // The LP relaxation: an optimum beyond the cutoff is reported as such, with no solution,
  // and the optimum kept as the best bound.
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  const double lpopt = dblAttr(nvrl::id::kLpObjVal);
  NVRLsetdblcontrol(prob, nvrl::id::kCutoff, lpopt + (sense > 0 ? -0.01 : 0.01));
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_CUTOFF);
  EXPECT_EQ(intAttr(kStopStatus), NVRL_STOP_NONE);
  EXPECT_EQ(intAttr(nvrl::id::kSolStatus), 0);
  EXPECT_EQ(dblAttr(nvrl::id::kLpObjVal), 0.0);
  EXPECT_NEAR(dblAttr(nvrl::id::kBestBound), lpopt, 1e-9);
  std::vector<double> x(model().cols());
  EXPECT_NE(NVRLgetlpsol(prob, x.data(), nullptr, nullptr, nullptr), 0);
  NVRLsetdblcontrol(prob, nvrl::id::kCutoff, lpopt);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_OPTIMAL);
  EXPECT_NEAR(dblAttr(nvrl::id::kLpObjVal), lpopt, 1e-9);
}

INSTANTIATE_TEST_SUITE_P(Solve, KnapsackCutoff, ::testing::Values(1, -1),
                         [](const auto &info) { return info.param > 0 ? "min" : "max"; });

class Limits : public SolveTest {};

TEST_F(Limits, NodeAndSolutionLimitsStopTheSearch) {
  buildMarketSplit();
  NVRLsetintcontrol64(prob, nvrl::id::kNodeLimit, 1);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0);
  EXPECT_EQ(intAttr(kStopStatus), NVRL_STOP_NODELIMIT);
  EXPECT_NE(intAttr(kMipStatus), NVRL_MIP_OPTIMAL);

  NVRLsetintcontrol64(prob, nvrl::id::kNodeLimit, 0);
  NVRLsetintcontrol(prob, nvrl::id::kSolutionLimit, 1);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0);
  EXPECT_EQ(intAttr(kStopStatus), NVRL_STOP_SOLLIMIT);
  EXPECT_EQ(intAttr(kMipStatus), NVRL_MIP_SOLUTION);
  EXPECT_GE(intAttr(nvrl::id::kSolutions), 1);
}

// Log level 0 silences the solve completely; level 1 gives the banner, size and final lines.
struct Lines {
  std::vector<std::string> text;
  int complaints = 0;  // errors and warnings
  static void add(NVRLprob, void *d, const char *msg, int len, int type) {
    static_cast<Lines *>(d)->text.emplace_back(msg, len);
    if (type == NVRL_MSG_ERROR || type == NVRL_MSG_WARNING) ++static_cast<Lines *>(d)->complaints;
  }
};

TEST_F(Limits, LogLevelControlsTheLogAndThreadsCanChangeBetweenSolves) {
  buildMarketSplit();
  Lines lines;
  NVRLaddcbmessage(prob, Lines::add, &lines, 0);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  EXPECT_TRUE(lines.text.empty());
  NVRLsetintcontrol(prob, nvrl::id::kLogLevel, 1);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  ASSERT_GT(lines.text.size(), 3u);
  EXPECT_NE(lines.text.front().find("solving LP"), std::string::npos) << lines.text.front();
  EXPECT_NE(lines.text[1].find("4 rows, 38 columns"), std::string::npos) << lines.text[1];
  EXPECT_NE(lines.text.back().find("Optimal solution found"), std::string::npos);
  for (const auto &l : lines.text) EXPECT_EQ(l.find('\n'), std::string::npos);

  // HiGHS fixes its thread pool when it starts; a new count must still take effect quietly.
  NVRLsetintcontrol64(prob, nvrl::id::kNodeLimit, 20);
  for (int threads : {0, 2, 1, 0}) {
    NVRLsetintcontrol(prob, nvrl::id::kThreads, threads);
    ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
    EXPECT_EQ(intAttr(kStopStatus), NVRL_STOP_NODELIMIT);
  }
  EXPECT_EQ(lines.complaints, 0);
}

// ---- Solves that end early: a time limit and SIGINT (NVRLinterrupt from a message callback is in
// test_problem.cpp). Each keeps the best solution found so far.

class EarlyStop : public SolveTest {
 protected:
  // Checks the common outcome: stopped with the given reason, a solution kept.
  void expectStoppedWithSolution(int reason) {
    EXPECT_EQ(intAttr(kStopStatus), reason);
    EXPECT_EQ(intAttr(kMipStatus), NVRL_MIP_SOLUTION);
    EXPECT_GE(intAttr(nvrl::id::kSolutions), 1);
    const auto x = mipSolution();
    // The kept solution satisfies the rows (within the integrality tolerance times the
    // coefficients, which reach 99).
    std::vector<double> slack(model().rows());
    ASSERT_EQ(NVRLgetmipsol(prob, nullptr, slack.data()), 0);
    for (double s : slack) EXPECT_NEAR(s, 0.0, 1e-3);
    EXPECT_GT(dblAttr(nvrl::id::kMipObjVal), dblAttr(nvrl::id::kBestBound) - 1e-9);
  }

  double timedSolve() {
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  }
};

TEST_F(EarlyStop, TimeLimitKeepsTheIncumbent) {
  buildMarketSplit();
  NVRLsetdblcontrol(prob, nvrl::id::kTimeLimit, 1.0);
  const double secs = timedSolve();
  EXPECT_LT(secs, 3.0);
  expectStoppedWithSolution(NVRL_STOP_TIMELIMIT);
}

std::atomic<int> g_outerSigints{0};
void outerHandler(int) { ++g_outerSigints; }

TEST_F(EarlyStop, SigintStopsTheSolveAndTheOldHandlerReturns) {
  buildMarketSplit();
  NVRLsetdblcontrol(prob, nvrl::id::kTimeLimit, 20.0);
  struct sigaction mine {}, before {}, after {};
  mine.sa_handler = outerHandler;
  sigemptyset(&mine.sa_mask);
  ASSERT_EQ(sigaction(SIGINT, &mine, &before), 0);
  std::thread timer([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    kill(getpid(), SIGINT);
  });
  const double secs = timedSolve();
  timer.join();
  sigaction(SIGINT, nullptr, &after);
  sigaction(SIGINT, &before, nullptr);
  EXPECT_EQ(after.sa_handler, &outerHandler);
  EXPECT_EQ(g_outerSigints.load(), 0);  // the solve's handler took it
  EXPECT_LT(secs, 10.0);
  expectStoppedWithSolution(NVRL_STOP_CTRLC);
}

// ---- Answers for the presolved problem, the barrier's last answer, the pivot order and the
// global entities read in one call.

class PresolvedAnswers : public SolveTest {
 protected:
  // min -x - 2y  s.t.  x + y <= 4,  x + 3y <= 6,  x, y >= 0: optimum (3, 1), both rows tight.
  void smallLp() {
    col(0, 1e20, -1);
    col(0, 1e20, -2);
    row('L', 4, {{0, 1}, {1, 1}});
    row('L', 6, {{0, 1}, {1, 3}});
  }
  struct Answers {
    std::vector<double> x = std::vector<double>(2), slack = std::vector<double>(2),
                        duals = std::vector<double>(2), djs = std::vector<double>(2);
  };
};

TEST_F(PresolvedAnswers, PresolvedSolutionBasisAndMapAreTheProblemsOwn) {
  smallLp();
  Answers pre;
  EXPECT_NE(NVRLgetpresolvesol(prob, pre.x.data(), nullptr, nullptr, nullptr), 0);
  int none[2];
  EXPECT_NE(NVRLgetpresolvebasis(prob, none, nullptr), 0);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  Answers lp;
  ASSERT_EQ(NVRLgetlpsol(prob, lp.x.data(), lp.slack.data(), lp.duals.data(), lp.djs.data()), 0);
  ASSERT_EQ(NVRLgetpresolvesol(prob, pre.x.data(), pre.slack.data(), pre.duals.data(),
                               pre.djs.data()), 0) << lastError();
  EXPECT_EQ(pre.x, lp.x);
  EXPECT_EQ(pre.slack, lp.slack);
  EXPECT_EQ(pre.duals, lp.duals);
  EXPECT_EQ(pre.djs, lp.djs);
  EXPECT_NEAR(pre.x[0], 3, 1e-9);
  EXPECT_NEAR(pre.x[1], 1, 1e-9);

  int rs[2], cs[2], prs[2], pcs[2];
  ASSERT_EQ(NVRLgetbasis(prob, rs, cs), 0);
  ASSERT_EQ(NVRLgetpresolvebasis(prob, prs, pcs), 0) << lastError();
  EXPECT_EQ(std::vector<int>(prs, prs + 2), std::vector<int>(rs, rs + 2));
  EXPECT_EQ(std::vector<int>(pcs, pcs + 2), std::vector<int>(cs, cs + 2));

  int rowmap[2] = {-5, -5}, colmap[2] = {-5, -5};
  ASSERT_EQ(NVRLgetpresolvemap(prob, rowmap, colmap), 0);
  EXPECT_EQ(std::vector<int>(rowmap, rowmap + 2), (std::vector<int>{0, 1}));
  EXPECT_EQ(std::vector<int>(colmap, colmap + 2), (std::vector<int>{0, 1}));

  // A loaded presolve basis is the basis the next query and solve see; a bad one changes
  // nothing.
  EXPECT_NE(NVRLloadpresolvebasis(prob, ints(1, 7), ints(0, 0)), 0);
  ASSERT_EQ(NVRLgetbasis(prob, rs, cs), 0);
  EXPECT_EQ(std::vector<int>(rs, rs + 2), std::vector<int>(prs, prs + 2));
  ASSERT_EQ(NVRLloadpresolvebasis(prob, ints(1, 1), ints(0, 0)), 0) << lastError();
  ASSERT_EQ(NVRLgetbasis(prob, rs, cs), 0);
  EXPECT_EQ(std::vector<int>(rs, rs + 2), (std::vector<int>{1, 1}));
  EXPECT_EQ(std::vector<int>(cs, cs + 2), (std::vector<int>{0, 0}));
}

TEST_F(PresolvedAnswers, LastBarrierSolutionOnlyAfterABarrierSolve) {
  smallLp();
  NVRLsetintcontrol(prob, kPresolve, 0);  // so that the barrier has work to do
  Answers bar;
  int status = -1;
  EXPECT_NE(NVRLgetlastbarsol(prob, bar.x.data(), nullptr, nullptr, nullptr, &status), 0);
  ASSERT_EQ(NVRLlpoptimize(prob, "d"), 0) << lastError();
  EXPECT_NE(NVRLgetlastbarsol(prob, bar.x.data(), nullptr, nullptr, nullptr, &status), 0);
  EXPECT_NE(lastError().find("barrier"), std::string::npos) << lastError();

  ASSERT_EQ(NVRLlpoptimize(prob, "b"), 0) << lastError();
  ASSERT_EQ(NVRLgetlastbarsol(prob, bar.x.data(), bar.slack.data(), bar.duals.data(),
                              bar.djs.data(), &status), 0) << lastError();
  EXPECT_EQ(status, NVRL_LP_OPTIMAL);
  Answers lp;
  ASSERT_EQ(NVRLgetlpsol(prob, lp.x.data(), lp.slack.data(), lp.duals.data(), lp.djs.data()), 0);
  EXPECT_EQ(bar.x, lp.x);
  EXPECT_EQ(bar.duals, lp.duals);
  EXPECT_NEAR(bar.x[0], 3, 1e-7);
  EXPECT_NEAR(bar.duals[0], -0.5, 1e-7);

  // A change to the model drops it with the other answers.
  ASSERT_EQ(NVRLchgobj(prob, 1, ints(0), dbls(-3)), 0);
  EXPECT_NE(NVRLgetlastbarsol(prob, nullptr, nullptr, nullptr, nullptr, &status), 0);
}

TEST_F(PresolvedAnswers, PivotOrderListsTheBasicVariables) {
  smallLp();
  row('L', 100, {{0, 1}});  // slack basic at the optimum
  int pivots[3] = {-9, -9, -9};
  EXPECT_NE(NVRLgetpivotorder(prob, pivots), 0);  // no basis yet
  ASSERT_EQ(NVRLlpoptimize(prob, "p"), 0) << lastError();
  EXPECT_NE(NVRLgetpivotorder(prob, nullptr), 0);
  ASSERT_EQ(NVRLgetpivotorder(prob, pivots), 0) << lastError();
  // Both columns (3 + 0, 3 + 1) and the third row's slack.
  EXPECT_EQ(std::vector<int>(pivots, pivots + 3), (std::vector<int>{2, 3, 4}));

  // A loaded basis with too few basic variables is refused and writes nothing.
  ASSERT_EQ(NVRLloadbasis(prob, ints(0, 0, 1), ints(0, 0)), 0);
  pivots[0] = -9;
  EXPECT_NE(NVRLgetpivotorder(prob, pivots), 0);
  EXPECT_EQ(pivots[0], -9);
}

TEST_F(PresolvedAnswers, GlobalEntitiesInOneCall) {
  col(0, 1, 0);             // 0 continuous
  col(0, 1, 0, 'B');        // 1
  col(0, 10, 0, 'S', 2.5);  // 2
  col(0, 5, 0, 'I');        // 3
  ASSERT_EQ(NVRLaddsets64(prob, 2, 5, chars('1', '2'), starts(0, 2), ints(0, 1, 1, 2, 3),
                          dbls(1, 2, 1, 2, 3)), 0) << lastError();
  int nent = -1, nsets = -1;
  NVRLint64 nmem = -1;
  ASSERT_EQ(NVRLgetglobal64(prob, &nent, &nsets, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, &nmem), 0) << lastError();
  ASSERT_EQ(nent, 3);
  ASSERT_EQ(nsets, 2);
  ASSERT_EQ(nmem, 5);
  std::vector<char> ctype(3), stype(2);
  std::vector<int> cind(3), members(5);
  std::vector<double> limit(3), refs(5);
  std::vector<NVRLint64> start(3);
  ASSERT_EQ(NVRLgetglobal64(prob, nullptr, nullptr, ctype.data(), cind.data(), limit.data(),
                            stype.data(), start.data(), members.data(), refs.data(), nullptr), 0);
  EXPECT_EQ(std::string(ctype.begin(), ctype.end()), "BSI");
  EXPECT_EQ(cind, (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(limit, (std::vector<double>{0, 2.5, 0}));
  EXPECT_EQ(std::string(stype.begin(), stype.end()), "12");
  EXPECT_EQ(start, (std::vector<NVRLint64>{0, 2, 5}));
  EXPECT_EQ(members, (std::vector<int>{0, 1, 1, 2, 3}));
  EXPECT_EQ(refs, (std::vector<double>{1, 2, 1, 2, 3}));
}

// ---- Every instance of the shared test set, read from its file and solved, against the optimum
// recorded in optima.csv.

class DataSet : public SolveTest, public ::testing::WithParamInterface<DataInstance> {};

TEST_P(DataSet, SolvesToTheRecordedOptimum) {
  const DataInstance &inst = GetParam();
  const std::string path = std::string(NVRL_DATA_DIR) + "/" + inst.file;
  ASSERT_EQ(NVRLreadprob(prob, path.c_str(), ""), 0) << lastError();
  const bool mip = inst.kind == "mip";
  ASSERT_EQ(mip ? NVRLmipoptimize(prob, "") : NVRLlpoptimize(prob, ""), 0) << lastError();
  if (mip) {
    const int st = intAttr(nvrl::id::kMipStatus);
    if (inst.status == "optimal") {
      ASSERT_EQ(st, NVRL_MIP_OPTIMAL);
      const double obj = dblAttr(nvrl::id::kMipObjVal);
      EXPECT_LE(std::fabs(obj - inst.objective), 1e-4 * std::max(1.0, std::fabs(inst.objective)))
          << obj;
      // The reported solution reproduces the objective (auxiliary columns excluded).
      const auto x = mipSolution();
      double val = model().objconst;
      for (int j = 0; j < model().cols(); ++j) val += model().obj[j] * x[j];
      EXPECT_NEAR(val, obj, 1e-6 * std::max(1.0, std::fabs(obj)));
    } else {
      EXPECT_EQ(st, inst.status == "infeasible" ? NVRL_MIP_INFEAS : NVRL_MIP_UNBOUNDED);
    }
    return;
  }
  const int st = intAttr(nvrl::id::kLpStatus);
  if (inst.status == "optimal") {
    ASSERT_EQ(st, NVRL_LP_OPTIMAL);
    const double obj = dblAttr(nvrl::id::kLpObjVal);
    EXPECT_LE(std::fabs(obj - inst.objective), 1e-6 * std::max(1.0, std::fabs(inst.objective)))
        << obj;
    int npv = -1, nps = -1, nds = -1, ndv = -1;
    ASSERT_EQ(NVRLgetinfeas(prob, &npv, &nps, &nds, &ndv, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(npv + nps, 0);
  } else if (inst.status == "infeasible") {
    EXPECT_EQ(st, NVRL_LP_INFEAS);
    EXPECT_EQ(intAttr(nvrl::id::kHasDualRay), 1);
  } else {
    EXPECT_EQ(st, NVRL_LP_UNBOUNDED);
    EXPECT_EQ(intAttr(nvrl::id::kHasPrimalRay), 1);
    int seq = -1;
    ASSERT_EQ(NVRLgetunbvec(prob, &seq), 0);
    EXPECT_GE(seq, 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Solve, DataSet, ::testing::ValuesIn(nvtest::dataInstances()),
                         [](const auto &info) { return nvtest::testName(info.param.file); });

// Problems are independent: two threads solving two instances at once both reach their optima.
TEST(DataSetConcurrency, TwoProblemsSolveAtOnce) {
  ASSERT_EQ(NVRLinit(nullptr), 0);
  auto solve = [](const char *file, double *obj) {
    NVRLprob p = nullptr;
    if (NVRLcreateprob(&p) != 0) return;
    NVRLsetintcontrol(p, nvrl::id::kLogLevel, 0);
    const std::string path = std::string(NVRL_DATA_DIR) + "/" + file;
    if (NVRLreadprob(p, path.c_str(), "") == 0 && NVRLmipoptimize(p, "") == 0)
      NVRLgetdblattrib(p, nvrl::id::kMipObjVal, obj);
    NVRLdestroyprob(p);
  };
  double a = 0, b = 0;
  std::thread t1(solve, "p0548.mps", &a), t2(solve, "lseu.mps", &b);
  t1.join();
  t2.join();
  EXPECT_NEAR(a, 8691, 1e-6);
  EXPECT_NEAR(b, 1120, 1e-6);
  NVRLfree();
}

}  // namespace
}  // namespace solvetest
