// Quadratic objectives: the store's convention, convexity in the objective's sense, and the
// models the optimiser refuses. (The data set's qptestnw.lp, solved to its optimum, checks
// that a diagonal entry v is the term v/2 x^2.)
#include <tuple>

#include "test_solve_support.h"

namespace solvetest {
namespace {

using nvrl::id::kLpObjVal;
using nvrl::id::kLpStatus;
using nvrl::id::kMipStatus;

class QpSolve : public SolveTest {
 protected:
  void q(int i, int j, double v) {
    model().qobj[{std::min(i, j), std::max(i, j)}] = v;
    prob->modelChanged();
  }
};

// x1^2 + x2^2 + x1*x2 - 3x1 (triplets (0,0,2), (1,1,2), (0,1,1)) over free x: the gradient
// 2x1 + x2 - 3 = 0, x1 + 2x2 = 0 gives (2, -1) and the value -3. Maximising the negation gives
// +3. Read with the off-diagonal doubled (2*x1*x2) the optimum would be unbounded instead.
TEST_F(QpSolve, OffDiagonalEntriesAreWholeTerms) {
  for (int sense : {1, -1}) {
    model() = nvrl::Model();
    const int x1 = col(-1e20, 1e20, -3.0 * sense), x2 = col(-1e20, 1e20, 0);
    q(x1, x1, 2.0 * sense);
    q(x2, x2, 2.0 * sense);
    q(x1, x2, 1.0 * sense);
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
  for (const auto &[i, j, v] : entries) q(i, j, v);
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

TEST_F(QpSolve, RefusedModels) {
  const int x = col(0, 10, 1, 'I'), y = col(0, 10, 1);
  row('G', 1, {{x, 1}, {y, 1}});
  q(x, x, 2);
  // A quadratic objective with integer columns goes to the tree search (x = 0, y = 1) ...
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(NVRL_ATTR_MIP_STATUS), NVRL_MIP_OPTIMAL);
  EXPECT_NEAR(dblAttr(NVRL_ATTR_MIP_OBJECTIVE), 1.0, 1e-6);
  // ... and the relaxation is an ordinary QP: min x^2 + x + y with x + y >= 1 -> x = 0, y = 1.
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_NEAR(dblAttr(kLpObjVal), 1.0, 1e-6);
  // A nonconvex quadratic row (x + y + 2xy >= 1) ends with the nonconvex status.
  model().qrows[0][{x, y}] = 1;
  prob->modelChanged();
  EXPECT_NE(NVRLlpoptimize(prob, ""), 0);
  EXPECT_NE(lastError().find("not convex"), std::string::npos) << lastError();
  EXPECT_EQ(intAttr(NVRL_ATTR_LP_STATUS), NVRL_LP_NONCONVEX);
}

}  // namespace
}  // namespace solvetest
