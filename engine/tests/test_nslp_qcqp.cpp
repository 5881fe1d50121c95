// Problems with quadratic rows through the linear and mixed-integer optimiser: convex ones are
// solved (checked against the optimality conditions, or by enumeration for a MIQCQP), a
// nonconvex row ends with the nonconvex status.
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "test_nslp_support.h"

using solvetest::SolveTest;

namespace {

constexpr double kFree = 1e20;

class Qcqp : public SolveTest {
 protected:
  // Activity of row i and its gradient, from the store's own conventions.
  double activity(int i, const std::vector<double> &x, std::vector<double> *grad) const {
    const nvrl::Model &m = prob->model;
    if (grad) grad->assign(m.cols(), 0.0);
    double a = 0;
    for (int64_t e = m.A.start[i]; e < m.A.start[i + 1]; ++e) {
      a += m.A.val[e] * x[m.A.col[e]];
      if (grad) (*grad)[m.A.col[e]] += m.A.val[e];
    }
    auto q = m.qrows.find(i);
    if (q != m.qrows.end())
      for (const auto &[ij, v] : q->second) {
        const auto [r, c] = ij;
        const double w = r == c ? v : 2 * v;  // x'Qx
        a += w * x[r] * x[c];
        if (grad) {
          (*grad)[r] += w * x[c];
          (*grad)[c] += w * x[r];
        }
      }
    return a;
  }
  double objectiveAt(const std::vector<double> &x, std::vector<double> &grad) const {
    const nvrl::Model &m = prob->model;
    double f = m.objconst;
    grad = m.obj;
    for (int j = 0; j < m.cols(); ++j) f += m.obj[j] * x[j];
    for (const auto &[ij, v] : m.qobj) {
      const auto [r, c] = ij;
      f += (r == c ? 0.5 : 1.0) * v * x[r] * x[c];  // c'x + 1/2 x'Qx
      grad[r] += v * x[c];
      if (r != c) grad[c] += v * x[r];
    }
    return f;
  }

  // The optimality conditions of the answer of NVRLlpoptimize: feasibility, slack = rhs -
  // activity, stationarity (djs = objective gradient - sum duals * row gradients, zero off
  // the bounds), the duals' signs and complementarity.
  void expectKkt() {
    const nvrl::Model &m = prob->model;
    const int n = m.cols(), r = m.rows();
    std::vector<double> x(n), slack(r), duals(r), djs(n), g, rg;
    ASSERT_EQ(0, NVRLgetlpsol(prob, x.data(), slack.data(), duals.data(), djs.data()));
    double objval = 0;
    ASSERT_EQ(0, NVRLgetdblattrib(prob, NVRL_ATTR_LP_OBJECTIVE, &objval));
    EXPECT_NEAR(objectiveAt(x, g), objval, 1e-7 * std::max(1.0, std::fabs(objval)));
    for (int i = 0; i < r; ++i) {
      const double a = activity(i, x, &rg);
      EXPECT_NEAR(m.rhs[i] - a, slack[i], 1e-7) << "row " << i;
      const double tol = 1e-6;
      if (m.rowtype[i] == 'L') EXPECT_LE(a, m.rhs[i] + tol) << i;
      if (m.rowtype[i] == 'G') EXPECT_GE(a, m.rhs[i] - tol) << i;
      if (m.rowtype[i] == 'E') EXPECT_NEAR(m.rhs[i], a, tol) << i;
      // Sign as in an LP: minimising, a binding 'L' row has a dual <= 0, a 'G' row >= 0.
      const double signedDual = m.objsense * duals[i];
      if (m.rowtype[i] == 'L') EXPECT_LE(signedDual, 1e-7) << i;
      if (m.rowtype[i] == 'G') EXPECT_GE(signedDual, -1e-7) << i;
      EXPECT_NEAR(0.0, duals[i] * slack[i], 1e-6) << "complementarity of row " << i;
      for (int j = 0; j < n; ++j) g[j] -= duals[i] * rg[j];
    }
    for (int j = 0; j < n; ++j) {
      EXPECT_NEAR(g[j], djs[j], 1e-5) << "column " << j;
      const bool atBound = std::fabs(x[j] - m.lb[j]) < 1e-7 || std::fabs(x[j] - m.ub[j]) < 1e-7;
      if (!atBound) EXPECT_NEAR(0.0, djs[j], 1e-5) << "column " << j << " is off its bounds";
    }
  }
};

struct Convex {
  const char *name;
  double fstar;
};

class ConvexQcqp : public Qcqp, public ::testing::WithParamInterface<Convex> {
 protected:
  void build(const std::string &name) {
    if (name == "rosen_suzuki") {
      rosenSuzuki();
    } else if (name == "maximise_over_a_disc") {
      // max x + 2y  s.t.  x^2 + y^2 <= 5: at (1, 2), objective 5.
      col(-kFree, kFree, 1);
      col(-kFree, kFree, 2);
      model().objsense = -1;
      const int r = row('L', 5, {});
      qrow(r, {{0, 0, 1}, {1, 1, 1}});
    } else if (name == "concave_g_row_and_bounds") {
      // min -x - y  s.t.  4 - (x - 1)^2 - 2 y^2 >= 0 written as -x^2 + 2x - 2y^2 >= -3,
      // with x <= 2: the bound and the row are both binding.
      col(0, 2, -1);
      col(0, kFree, -1);
      const int r = row('G', -3, {{0, 2}});
      qrow(r, {{0, 0, -1}, {1, 1, -2}});
    }
  }
};

TEST_P(ConvexQcqp, SolvedThroughTheOptimiserWithOptimalityConditions) {
  build(GetParam().name);
  ASSERT_EQ(0, NVRLlpoptimize(prob, "")) << lastError();
  EXPECT_EQ(NVRL_LP_OPTIMAL, intAttr(NVRL_ATTR_LP_STATUS));
  EXPECT_NEAR(GetParam().fstar, dblAttr(NVRL_ATTR_LP_OBJECTIVE), 1e-6);
  expectKkt();
}

INSTANTIATE_TEST_SUITE_P(
    Convex, ConvexQcqp,
    ::testing::Values(Convex{"rosen_suzuki", -44.0}, Convex{"maximise_over_a_disc", 5.0},
                      // x = 2 (bound), 2y^2 = 3: y = sqrt(1.5)
                      Convex{"concave_g_row_and_bounds", -2.0 - std::sqrt(1.5)}),
    [](const ::testing::TestParamInfo<Convex> &i) { return std::string(i.param.name); });

TEST_F(Qcqp, InfeasibleConvexRowsGiveTheInfeasibleStatus) {
  col(-kFree, kFree, 1);
  col(-kFree, kFree, 1);
  const int r = row('L', 1, {});
  qrow(r, {{0, 0, 1}, {1, 1, 1}});
  row('G', 3, {{0, 1}, {1, 1}});
  EXPECT_EQ(0, NVRLlpoptimize(prob, ""));
  EXPECT_EQ(NVRL_LP_INFEAS, intAttr(NVRL_ATTR_LP_STATUS));
}

struct Nonconvex {
  const char *name;
  bool mip;
};

class NonconvexQcqp : public Qcqp, public ::testing::WithParamInterface<Nonconvex> {};

TEST_P(NonconvexQcqp, EndsWithTheNonconvexStatus) {
  const std::string name = GetParam().name;
  col(-10, 10, 1);
  col(-10, 10, 1, GetParam().mip ? 'I' : 'C');
  if (name == "psd_g_row") {
    qrow(row('G', 1, {}), {{0, 0, 1}, {1, 1, 1}});
  } else if (name == "equality_row") {
    qrow(row('E', 1, {}), {{0, 0, 1}, {1, 1, 1}});
  } else if (name == "indefinite_l_row") {
    qrow(row('L', 1, {}), {{0, 1, 0.5}});  // x*y <= 1
  } else if (name == "nonconvex_objective") {
    qrow(row('L', 1, {}), {{0, 0, 1}, {1, 1, 1}});
    qobj({{0, 0, -1}});
  }
  const int rc = GetParam().mip ? NVRLmipoptimize(prob, "") : NVRLlpoptimize(prob, "");
  EXPECT_NE(0, rc);
  EXPECT_NE(std::string::npos, lastError().find("not convex")) << lastError();
  EXPECT_EQ(NVRL_LP_NONCONVEX, GetParam().mip ? intAttr(NVRL_ATTR_MIP_STATUS) : intAttr(NVRL_ATTR_LP_STATUS));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, NonconvexQcqp,
    ::testing::Values(Nonconvex{"psd_g_row", false}, Nonconvex{"equality_row", false},
                      Nonconvex{"indefinite_l_row", false}, Nonconvex{"nonconvex_objective", false},
                      Nonconvex{"indefinite_l_row", true}),
    [](const ::testing::TestParamInfo<Nonconvex> &i) {
      return std::string(i.param.name) + (i.param.mip ? "_mip" : "");
    });

TEST_F(Qcqp, SmallMiqcqpMatchesEnumeration) {
  // min -3x - 2y + z  s.t.  x^2 + y^2 - z <= 5, x + 2y <= 7; x, y integers in [0, 3], z >= 0.
  const int x = col(0, 3, -3, 'I'), y = col(0, 3, -2, 'I'), z = col(0, kFree, 1);
  qrow(row('L', 5, {{z, -1}}), {{x, x, 1}, {y, y, 1}});
  row('L', 7, {{x, 1}, {y, 2}});
  double best = std::numeric_limits<double>::infinity();
  for (int a = 0; a <= 3; ++a)
    for (int b = 0; b <= 3; ++b) {
      if (a + 2 * b > 7) continue;
      const double zz = std::max(0.0, double(a * a + b * b - 5));
      best = std::min(best, -3.0 * a - 2.0 * b + zz);
    }
  ASSERT_EQ(0, NVRLmipoptimize(prob, "")) << lastError();
  EXPECT_EQ(NVRL_MIP_OPTIMAL, intAttr(NVRL_ATTR_MIP_STATUS));
  double obj = NAN;
  ASSERT_EQ(0, NVRLgetdblattrib(prob, NVRL_ATTR_MIP_OBJECTIVE, &obj));
  EXPECT_NEAR(best, obj, 1e-6);
  std::vector<double> sol(3);
  ASSERT_EQ(0, NVRLgetmipsol(prob, sol.data(), nullptr));
  EXPECT_NEAR(std::round(sol[x]), sol[x], 1e-6);
  EXPECT_NEAR(std::round(sol[y]), sol[y], 1e-6);
  EXPECT_NEAR(-3 * sol[x] - 2 * sol[y] + sol[z], obj, 1e-6);
}

}  // namespace
