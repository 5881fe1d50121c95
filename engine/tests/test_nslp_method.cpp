// The nonlinear solver's method: the dense algebra of its second-order check, saddle points
// left behind, and a subproblem with a free column solved with a second-order term.
#include <cmath>
#include <ostream>
#include <vector>

#include "nslp/slp_curvature.h"
#include "test_nslp_support.h"

namespace nslptest {
namespace {

using Matrix = std::vector<double>;  // row-major

struct NullSpaceCase {
  const char *name;
  int m, n;
  Matrix A;
  int dimension;
  friend void PrintTo(const NullSpaceCase &c, std::ostream *os) { *os << c.name; }
};

class NullSpace : public ::testing::TestWithParam<NullSpaceCase> {};

TEST_P(NullSpace, OrthonormalAndAnnihilated) {
  const NullSpaceCase &c = GetParam();
  Matrix Z;
  const int k = nvrl::nullSpaceBasis(c.A, c.m, c.n, Z);
  ASSERT_EQ(c.dimension, k);
  for (int r = 0; r < c.m; ++r)
    for (int b = 0; b < k; ++b) {
      double s = 0;
      for (int i = 0; i < c.n; ++i) s += c.A[r * c.n + i] * Z[i * k + b];
      EXPECT_NEAR(0.0, s, 1e-12) << "row " << r << ", basis vector " << b;
    }
  for (int a = 0; a < k; ++a)
    for (int b = 0; b < k; ++b) {
      double s = 0;
      for (int i = 0; i < c.n; ++i) s += Z[i * k + a] * Z[i * k + b];
      EXPECT_NEAR(a == b ? 1.0 : 0.0, s, 1e-12);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Slp, NullSpace,
    ::testing::Values(NullSpaceCase{"NoRows", 0, 3, {}, 3},
                      NullSpaceCase{"OneRow", 1, 3, {1, 2, 3}, 2},
                      NullSpaceCase{"DependentRows", 3, 3, {1, 1, 0, 2, 2, 0, 0, 1, 1}, 1},
                      NullSpaceCase{"ZeroRow", 2, 2, {0, 0, 3, 4}, 1},
                      NullSpaceCase{"FullRank", 2, 2, {1, 0, 1, 1e-3}, 0}),
    [](const ::testing::TestParamInfo<NullSpaceCase> &i) { return i.param.name; });

TEST(SlpCurvature, SmallestEigenpairOfARotatedDiagonal) {
  // Q diag(3, -2, 0.5) Q' with Q a rotation in the first two axes and then the last two.
  const double c1 = std::cos(0.7), s1 = std::sin(0.7), c2 = std::cos(-1.1), s2 = std::sin(-1.1);
  const Matrix Q1 = {c1, -s1, 0, s1, c1, 0, 0, 0, 1}, Q2 = {1, 0, 0, 0, c2, -s2, 0, s2, c2};
  Matrix Q(9, 0.0), A(9, 0.0);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      for (int l = 0; l < 3; ++l) Q[i * 3 + j] += Q1[i * 3 + l] * Q2[l * 3 + j];
  const double d[] = {3, -2, 0.5};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      for (int l = 0; l < 3; ++l) A[i * 3 + j] += Q[i * 3 + l] * d[l] * Q[j * 3 + l];
  const Matrix original = A;
  std::vector<double> v;
  EXPECT_NEAR(-2.0, nvrl::smallestEigenpair(A, 3, v), 1e-12);
  // A v = -2 v for the original matrix, v of unit length.
  double norm = 0;
  for (int i = 0; i < 3; ++i) {
    double av = 0;
    for (int j = 0; j < 3; ++j) av += original[i * 3 + j] * v[j];
    EXPECT_NEAR(-2.0 * v[i], av, 1e-12);
    norm += v[i] * v[i];
  }
  EXPECT_NEAR(1.0, norm, 1e-12);
}

TEST(SlpCurvature, NegativeCurvatureOnlyWhereTheRowsAllowIt) {
  const Matrix H = {1, 0, 0, 0, -1, 0, 0, 0, 2};
  std::vector<double> d;
  double curvature = 0;
  // The row fixes the second coordinate: no downward direction is left.
  EXPECT_FALSE(nvrl::negativeCurvatureDirection(H, {0, 1, 0}, 1, 3, 1e-9, d, &curvature));
  // The row fixes the first: the second coordinate's axis curves down.
  ASSERT_TRUE(nvrl::negativeCurvatureDirection(H, {1, 0, 0}, 1, 3, 1e-9, d, &curvature));
  EXPECT_NEAR(-1.0, curvature, 1e-12);
  EXPECT_NEAR(1.0, std::fabs(d[1]), 1e-12);
  EXPECT_NEAR(0.0, d[0], 1e-12);
  // A curvature within the tolerance does not count.
  EXPECT_FALSE(nvrl::negativeCurvatureDirection(H, {1, 0, 0}, 1, 3, 2.0, d, &curvature));
}

// Problems whose start is a saddle point of the objective or of the Lagrangian: the gradient
// (of the Lagrangian) vanishes there, so a first-order method has no reason to move.
struct SaddleCase {
  const char *name;
  double optimum;
  friend void PrintTo(const SaddleCase &c, std::ostream *os) { *os << c.name; }
};

class SlpSaddle : public NslpTest, public ::testing::WithParamInterface<SaddleCase> {
 protected:
  void build(const std::string &which) {
    if (which == "Unconstrained") {
      // x^2 - y^2 + y^4/4 from (0, 0): minima at y = +-sqrt(2), value -1.
      const int a = col(-1e20, 1e20, 0.0), b = col(-1e20, 1e20, 0.0);
      start(a, 0.0);
      start(b, 0.0);
      formulaObjective(
          F().x(a).k(2).pow().x(b).k(2).pow().sub().k(0.25).x(b).k(4).pow().mul().add());
    } else if (which == "OnAnEquality") {
      // min x*y on x + y = 0 from (0, 0): x*y = -x^2, unbounded below within the bounds
      // [-2, 2]: the optimum -4 sits at a corner.
      const int a = col(-2, 2, 0.0), b = col(-2, 2, 0.0);
      start(a, 0.0);
      start(b, 0.0);
      row('E', 0.0, {{a, 1.0}, {b, 1.0}});
      formulaObjective(F().x(a).x(b).mul());
    } else {
      // min x3 on x1^2 + x2^2 + x3^2 >= 4, x1, x2 >= 0, from (0, 0, 3): the linearisations
      // keep x1 and x2 at 0 and end at (0, 0, 2); the optimum is x3 = 0 on the circle.
      const int a = col(0, 1e20, 0.0), b = col(0, 1e20, 0.0), c = col(0, 5, 1.0);
      start(a, 0.0);
      start(b, 0.0);
      start(c, 3.0);
      const int r = row('G', 4.0, {});
      coef(r, -1, 1.0, F().x(a).k(2).pow().x(b).k(2).pow().add().x(c).k(2).pow().add());
    }
  }
};

TEST_P(SlpSaddle, LeavesTheSaddleForALocalMinimum) {
  build(GetParam().name);
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(GetParam().optimum, objective(), 1e-6);
}

INSTANTIATE_TEST_SUITE_P(Slp, SlpSaddle,
                         ::testing::Values(SaddleCase{"Unconstrained", -1.0},
                                           SaddleCase{"OnAnEquality", -4.0},
                                           SaddleCase{"BoundTouched", 0.0}),
                         [](const ::testing::TestParamInfo<SaddleCase> &i) {
                           return std::string(i.param.name);
                         });

TEST_F(NslpTest, ALocalMinimumIsNotLeft) {
  // (x - 1)^2 (x + 1)^2 has minima at -1 and 1 and a maximum at 0; from 0.9 the solve ends at
  // 1, the nearer minimum, however its curvature is probed there.
  const int a = col(-1e20, 1e20, 0.0);
  start(a, 0.9);
  formulaObjective(F().x(a).k(1).sub().k(2).pow().x(a).k(1).add().k(2).pow().mul());
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(1.0, x()[a], 1e-4);
  EXPECT_NEAR(0.0, objective(), 1e-8);
}

// max x*y on the circle x^2 + y^2 = 8 from (0.5, 0.5): the first step overshoots the circle
// far enough that its correction pulls back to the start. Rejecting that step must shrink the
// step bounds by the step's length, not end the solve at once; the optimum is 4 at (2, 2).
class SlpOvershoot : public NslpTest, public ::testing::WithParamInterface<bool> {};

TEST_P(SlpOvershoot, ARejectedCorrectedStepKeepsItsStepBounds) {
  const int a = col(0.5, 1e20, 0.0), b = col(0.5, 1e20, 0.0);
  start(a, 0.5);
  start(b, 0.5);
  const int r = row('E', 8.0, {});
  coef(r, -1, 1.0, F().x(a).k(2).pow().x(b).k(2).pow().add());
  if (GetParam())  // -sqrt(x^2 y^2), which the same start reached as locally infeasible
    formulaObjective(F().args().x(a).k(2).pow().x(b).k(2).pow().mul().fn(NSLP_FN_SQRT).k(-1).mul());
  else
    formulaObjective(F().x(a).x(b).mul().k(-1).mul());
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(-4.0, objective(), 1e-6);
  EXPECT_NEAR(2.0, x()[a], 1e-5);
  EXPECT_NEAR(2.0, x()[b], 1e-5);
}

INSTANTIATE_TEST_SUITE_P(Slp, SlpOvershoot, ::testing::Bool());

}  // namespace
}  // namespace nslptest
