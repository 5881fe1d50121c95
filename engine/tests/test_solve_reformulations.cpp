// Entities that the engine reformulates for HiGHS, each on a small model whose optimum is
// derived by hand in the comment of its case.
#include <cmath>
#include <tuple>

#include "test_solve_support.h"

namespace solvetest {
namespace {

using nvrl::id::kMipObjVal;
using nvrl::id::kMipStatus;

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
using AbsCase = std::tuple<int, char, double, double>;  // sense, row type, rhs, optimum
class Absolute : public Reformulation, public ::testing::WithParamInterface<AbsCase> {};

TEST_P(Absolute, EqualsTheMagnitude) {
  const auto [sense, type, rhs, expected] = GetParam();
  const int x = col(-5, 3, 0), r = col(-kInf, kInf, 1);
  row(type, rhs, {{x, 1}});
  addGeneral(NVRL_GENCONS_ABS, r, {x});
  if (sense < 0) maximise();
  EXPECT_NEAR(solveMip(), expected, 1e-7);
  EXPECT_NEAR(mipSolution()[r], std::fabs(mipSolution()[x]), 1e-7);
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

// Auxiliary columns and rows never show: counts and answer vectors keep the user's sizes.
TEST_F(Reformulation, AnswersHaveTheUserSizes) {
  const int x = col(-5, 3, 0), r = col(-kInf, kInf, 1);
  row('G', -1, {{x, 1}});
  addGeneral(NVRL_GENCONS_ABS, r, {x});
  maximise();
  solveMip();
  EXPECT_EQ(intAttr(nvrl::id::kCols), 2);
  EXPECT_EQ(intAttr(nvrl::id::kRows), 1);
  std::vector<double> xs(3, -99.0), slack(2, -99.0);
  ASSERT_EQ(NVRLgetmipsol(prob, xs.data(), slack.data()), 0);
  EXPECT_EQ(xs[2], -99.0);
  EXPECT_EQ(slack[1], -99.0);
  EXPECT_NEAR(slack[0], -1 - xs[0], 1e-9);
}

}  // namespace
}  // namespace solvetest
