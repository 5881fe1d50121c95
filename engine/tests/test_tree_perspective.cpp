// Perspective cuts of the tree search: which columns qualify, the diagonal split (the Hessian
// left must stay positive semidefinite, and the epigraph model must price every feasible point
// as the original does), cuts that hold at every feasible point of random instances, and
// searches on small portfolios against the enumeration of their holdings, with the cuts off,
// at the root and at the nodes.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "interfaces/highs_c_api.h"
#include "nslp/slp_curvature.h"
#include "solve/highs_session.h"
#include "test_lowered_support.h"
#include "test_tree_support.h"
#include "tree/perspective.h"

namespace {

using nvrl::LoweredModel;
using nvrl::tree::Cut;
using loweredtest::activity;
using loweredtest::addCol;
using loweredtest::addRow;
using nvrl::tree::OnOffColumn;

constexpr double kInf = std::numeric_limits<double>::infinity();

// A dense symmetric matrix (minimisation form, objective 1/2 x'Hx) into L's Hessian, in the
// objective sense of L.
void setHessian(LoweredModel &L, const std::vector<std::vector<double>> &h) {
  const int n = L.cols();
  L.q_start.clear();
  L.q_index.clear();
  L.q_value.clear();
  for (int j = 0; j < n; ++j) {
    L.q_start.push_back(static_cast<int>(L.q_index.size()));
    for (int i = j; i < n; ++i)
      if (h[i][j] != 0.0) {
        L.q_index.push_back(i);
        L.q_value.push_back(L.sense * h[i][j]);
      }
  }
}

std::vector<std::vector<double>> denseHessian(const LoweredModel &L) {
  const int n = L.cols();
  std::vector<std::vector<double>> h(n, std::vector<double>(n, 0.0));
  for (int j = 0; j < n; ++j) {
    const int end = j + 1 < n ? L.q_start[j + 1] : static_cast<int>(L.q_index.size());
    for (int k = L.q_start[j]; k < end; ++k) {
      h[L.q_index[k]][j] += L.q_value[k];
      if (L.q_index[k] != j) h[j][L.q_index[k]] += L.q_value[k];
    }
  }
  return h;
}

// Least eigenvalue of a small dense symmetric matrix, by the nonlinear solver's Jacobi routine
// (which its own tests check against a known spectrum).
double leastEigenvalue(const std::vector<std::vector<double>> &h) {
  std::vector<double> a, v;
  for (const auto &row : h) a.insert(a.end(), row.begin(), row.end());
  return nvrl::smallestEigenpair(a, static_cast<int>(h.size()), v);
}

// Objective of L at x in L's own sense: c'x + 1/2 x'Hx.
double objective(const LoweredModel &L, const std::vector<double> &x) {
  const auto h = denseHessian(L);
  double v = 0.0;
  for (int i = 0; i < L.cols(); ++i) {
    v += L.cost[i] * x[i];
    for (int j = 0; j < L.cols(); ++j) v += 0.5 * x[i] * h[i][j] * x[j];
  }
  return v;
}

// Which columns qualify: z = 0 must pin x to 0 through two-column rows and x's bounds, z must
// be binary, x continuous with a quadratic cost.
TEST(PerspectiveColumns, OnlyColumnsThatTheirBinaryPinsToZero) {
  LoweredModel L;
  // 0/1: 0.5 z <= x <= 3 z, as two rows.
  int x = addCol(L, 0, 10, 0), z = addCol(L, 0, 1, 1);
  addRow(L, -kInf, 0, {{x, 1}, {z, -3}});
  addRow(L, 0, kInf, {{x, 1}, {z, -0.5}});
  // 2/3: -x + 2z >= 0, z first in the row; x >= 0 from its bound.
  x = addCol(L, 0, kInf, 0), z = addCol(L, 0, 1, 1);
  addRow(L, 0, kInf, {{z, 2}, {x, -1}});
  // 4/5: x <= z + 0.5 leaves x up to 0.5 with z = 0.
  x = addCol(L, 0, 5, 0), z = addCol(L, 0, 1, 1);
  addRow(L, -kInf, 0.5, {{x, 1}, {z, -1}});
  // 6/7: x may go negative with z = 0.
  x = addCol(L, -1, 5, 0), z = addCol(L, 0, 1, 1);
  addRow(L, -kInf, 0, {{x, 1}, {z, -5}});
  // 8/9: the switch is integer in [0, 2], not binary.
  x = addCol(L, 0, 5, 0), z = addCol(L, 0, 2, 1);
  addRow(L, -kInf, 0, {{x, 1}, {z, -5}});
  // 10/11: no quadratic cost on x.
  x = addCol(L, 0, 5, 0), z = addCol(L, 0, 1, 1);
  addRow(L, -kInf, 0, {{x, 1}, {z, -5}});
  // 12/13: a three-column row does not link.
  x = addCol(L, 0, 5, 0), z = addCol(L, 0, 1, 1);
  const int w = addCol(L, 0, 1, 0);
  addRow(L, -kInf, 0, {{x, 1}, {z, -5}, {w, 1}});
  std::vector<std::vector<double>> h(L.cols(), std::vector<double>(L.cols(), 0.0));
  for (int j : {0, 2, 4, 6, 8, 12}) h[j][j] = 1.0;
  setHessian(L, h);

  const auto cols = nvrl::tree::findOnOffColumns(L);
  ASSERT_EQ(cols.size(), 2u);
  EXPECT_EQ(cols[0].x, 0);
  EXPECT_EQ(cols[0].z, 1);
  EXPECT_DOUBLE_EQ(cols[0].lo1, 0.5);
  EXPECT_DOUBLE_EQ(cols[0].up1, 3.0);
  EXPECT_EQ(cols[1].x, 2);
  EXPECT_EQ(cols[1].z, 3);
  EXPECT_DOUBLE_EQ(cols[1].lo1, 0.0);
  EXPECT_DOUBLE_EQ(cols[1].up1, 2.0);
}

// Random instances: n switched columns (each x_j in [l_j z_j, u_j z_j], some binaries shared)
// and a few free continuous columns, Hessian B'B + diag(s) with some s_j = 0, either sense.
struct Instance {
  LoweredModel L;
  std::vector<double> lo1, up1;  // per switched column
  std::vector<int> zOf;          // per switched column: its binary
  int switched = 0;
};

Instance randomInstance(int seed) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  Instance in;
  LoweredModel &L = in.L;
  L.sense = seed % 2 ? 1 : -1;
  in.switched = 3 + seed % 4;
  const int frees = 2;
  for (int j = 0; j < in.switched; ++j) addCol(L, seed % 3 == 0 ? -2.0 : 0.0, 4, 0);
  for (int j = 0; j < frees; ++j) addCol(L, -3, 3, 0);
  // Binaries: the last switched column shares the first one's.
  std::vector<int> zs;
  for (int j = 0; j + 1 < in.switched; ++j) zs.push_back(addCol(L, 0, 1, 1));
  for (int j = 0; j < in.switched; ++j) {
    const int z = j + 1 < in.switched ? zs[j] : zs[0];
    const double lo = seed % 3 == 0 ? -1.0 - 2 * u(rng) : 0.5 * u(rng), up = 0.5 + 3 * u(rng);
    addRow(L, -kInf, 0, {{j, 1}, {z, -up}});
    addRow(L, 0, kInf, {{j, 1}, {z, -lo}});
    in.lo1.push_back(std::fmax(lo, L.col_lo[j]));
    in.up1.push_back(up);
    in.zOf.push_back(z);
  }
  const int n = L.cols(), m = in.switched + frees, rank = 1 + seed % 3;
  std::vector<std::vector<double>> b(rank, std::vector<double>(m));
  for (auto &r : b)
    for (double &v : r) v = 2 * u(rng) - 1;
  std::vector<std::vector<double>> h(n, std::vector<double>(n, 0.0));
  for (int i = 0; i < m; ++i)
    for (int j = 0; j < m; ++j) {
      for (int k = 0; k < rank; ++k) h[i][j] += b[k][i] * b[k][j];
      // The second switched column has no specific part: only the factors price it.
      if (i == j && i != 1) h[i][j] += 0.1 + u(rng);
    }
  for (double &c : L.cost) c = L.sense * (2 * u(rng) - 1);
  setHessian(L, h);
  return in;
}

class PerspectiveRandom : public ::testing::TestWithParam<int> {};

TEST_P(PerspectiveRandom, SplitStaysConvexAndCutsHoldAtEveryFeasiblePoint) {
  Instance in = randomInstance(GetParam());
  const LoweredModel &L = in.L;
  auto cols = nvrl::tree::findOnOffColumns(L);
  ASSERT_EQ(static_cast<int>(cols.size()), in.switched);
  ASSERT_TRUE(nvrl::tree::splitDiagonal(L, cols));
  const LoweredModel P = nvrl::tree::withEpigraphs(L, cols);
  ASSERT_EQ(P.cols(), L.cols() + static_cast<int>(cols.size()));

  // What is left of the Hessian (minimisation form) stays positive semidefinite.
  auto h = denseHessian(P);
  double scale = 0.0;
  for (auto &r : h)
    for (double &v : r) {
      v *= L.sense;
      scale = std::fmax(scale, std::fabs(v));
    }
  EXPECT_GE(leastEigenvalue(h), -1e-12 * scale);
  for (const OnOffColumn &c : cols) {
    EXPECT_GT(c.d, 0.0);
    EXPECT_LE(2 * c.d, c.q * (1 + 1e-12));
  }

  std::mt19937 rng(1000 + GetParam());
  std::uniform_real_distribution<double> u(0.0, 1.0);
  // Feasible points of the original: each binary 0 or 1, its columns in their range when on.
  auto feasible = [&]() {
    std::vector<double> x(P.cols(), 0.0);
    for (int j = 0; j + 1 < in.switched; ++j) x[in.zOf[j]] = u(rng) < 0.5 ? 0.0 : 1.0;
    for (int j = 0; j < in.switched; ++j) {
      const double z = x[in.zOf[j]];
      // Often at the ends of the range, where a cut would fail first.
      const double s = u(rng) < 0.3 ? std::round(u(rng)) : u(rng);
      x[j] = z * (in.lo1[j] + s * (in.up1[j] - in.lo1[j]));
    }
    for (int j = in.switched; j < in.switched + 2; ++j) x[j] = -3 + 6 * u(rng);
    for (const OnOffColumn &c : cols) x[c.t] = x[c.x] * x[c.x];
    return x;
  };
  // The epigraph model prices each feasible point with t = x^2 as the original does.
  for (int k = 0; k < 20; ++k) {
    const std::vector<double> x = feasible();
    const std::vector<double> xl(x.begin(), x.begin() + L.cols());
    EXPECT_NEAR(objective(P, x), objective(L, xl), 1e-9 * (1 + std::fabs(objective(L, xl))));
  }
  // Cuts from arbitrary points, z outside [0, 1] and tiny ones included.
  std::vector<Cut> cuts;
  for (int k = 0; k < 40; ++k) {
    std::vector<double> p(P.cols(), 0.0);
    for (int j = 0; j < P.cols(); ++j) p[j] = -2 + 8 * u(rng);
    for (int z : in.zOf) p[z] = k % 4 == 0 ? 1e-7 * u(rng) : -0.1 + 1.2 * u(rng);
    for (const OnOffColumn &c : cols) p[c.t] = 0.0;
    for (Cut &c : nvrl::tree::separatePerspective(cols, p, -kInf, 1000)) cuts.push_back(std::move(c));
  }
  ASSERT_GT(cuts.size(), 40u);
  for (int k = 0; k < 200; ++k) {
    const std::vector<double> x = feasible();
    for (const Cut &c : cuts) {
      double size = 0.0;
      for (size_t e = 0; e < c.index.size(); ++e) size += std::fabs(c.value[e] * x[c.index[e]]);
      ASSERT_LE(activity(c, x), 1e-12 * (1 + size)) << "a cut removes a feasible point";
    }
  }
  // In the relaxation no cut goes above the perspective x^2 / z, and the cut made at a point
  // reaches it there: the strongest such cut.
  for (int k = 0; k < 200; ++k) {
    std::vector<double> x = feasible();
    for (int j = 0; j + 1 < in.switched; ++j) x[in.zOf[j]] = 0.01 + 0.99 * u(rng);
    for (int j = 0; j < in.switched; ++j) {
      const double z = x[in.zOf[j]];
      x[j] = z * (in.lo1[j] + u(rng) * (in.up1[j] - in.lo1[j]));
    }
    for (const OnOffColumn &c : cols) x[c.t] = x[c.x] * x[c.x] / x[c.z];
    // Cuts are scaled: in units of t (whose coefficient is -1 before scaling).
    for (const Cut &c : cuts) ASSERT_LE(activity(c, x) / -c.value[2], 1e-9);
    for (const OnOffColumn &c : cols) x[c.t] = 0.0;
    for (const Cut &c : nvrl::tree::separatePerspective(cols, x, -kInf, 1000)) {
      const int t = c.index[2];
      const OnOffColumn &on = *std::find_if(cols.begin(), cols.end(),
                                            [&](const OnOffColumn &o) { return o.t == t; });
      const double perspective = x[on.x] * x[on.x] / x[on.z];
      EXPECT_NEAR(activity(c, x) / -c.value[2], perspective, 1e-9 * (1 + perspective));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Tree, PerspectiveRandom, ::testing::Range(1, 13));

// The Lagrangian bound of a relaxation with perspective cuts, from whatever answer HiGHS
// holds (stopped after one or a few iterations, or optimal): never above the objective of a
// feasible point (t = x^2), and at HiGHS's optimum close to its value.
TEST_P(PerspectiveRandom, LagrangianBoundHoldsForAnyAnswer) {
  Instance in = randomInstance(GetParam());
  auto cols = nvrl::tree::findOnOffColumns(in.L);
  ASSERT_TRUE(nvrl::tree::splitDiagonal(in.L, cols));
  const LoweredModel P = nvrl::tree::withEpigraphs(in.L, cols);
  std::mt19937 rng(2000 + GetParam());
  std::uniform_real_distribution<double> u(0.0, 1.0);
  // A relaxation point (z fractional, x at the perspective's reach) to cut at.
  std::vector<double> at(P.cols(), 0.0);
  for (int z : in.zOf) at[z] = 0.2 + 0.6 * u(rng);
  for (int j = 0; j < in.switched; ++j) at[j] = at[in.zOf[j]] * in.up1[j] * u(rng);
  const std::vector<Cut> cuts = nvrl::tree::separatePerspective(cols, at, -kInf, 1000);
  for (const HighsInt limit : {HighsInt{1}, HighsInt{3}, HighsInt{1000000}}) {
    void *h = Highs_create();
    Highs_setBoolOptionValue(h, "output_flag", 0);
    Highs_setIntOptionValue(h, "qp_iteration_limit", limit);
    std::vector<HighsInt> astart(P.a_start.begin(), P.a_start.end()), aidx(P.a_index.begin(), P.a_index.end());
    std::vector<HighsInt> qstart(P.q_start.begin(), P.q_start.end()), qidx(P.q_index.begin(), P.q_index.end());
    ASSERT_NE(Highs_passModel(h, P.cols(), P.rows(), static_cast<HighsInt>(P.a_value.size()),
                              static_cast<HighsInt>(P.q_value.size()), kHighsMatrixFormatRowwise,
                              kHighsHessianFormatTriangular,
                              P.sense == 1 ? kHighsObjSenseMinimize : kHighsObjSenseMaximize,
                              P.offset, P.cost.data(), P.col_lo.data(), P.col_up.data(),
                              P.row_lo.data(), P.row_up.data(), astart.data(), aidx.data(),
                              P.a_value.data(), qstart.data(), qidx.data(), P.q_value.data(),
                              nullptr),
              kHighsStatusError);
    for (const Cut &c : cuts) {
      std::vector<HighsInt> idx(c.index.begin(), c.index.end());
      ASSERT_NE(Highs_addRow(h, -kInf, c.rhs, static_cast<HighsInt>(idx.size()), idx.data(),
                             c.value.data()),
                kHighsStatusError);
    }
    Highs_run(h);
    const double bound = nvrl::tree::lagrangianBound(h, cols);
    SCOPED_TRACE("qp_iteration_limit " + std::to_string(limit));
    for (int k = 0; k < 300; ++k) {
      std::vector<double> x(P.cols(), 0.0);
      for (int j = 0; j + 1 < in.switched; ++j) x[in.zOf[j]] = u(rng) < 0.5 ? 0.0 : 1.0;
      for (int j = 0; j < in.switched; ++j)
        x[j] = x[in.zOf[j]] * (in.lo1[j] + u(rng) * (in.up1[j] - in.lo1[j]));
      for (int j = in.switched; j < in.switched + 2; ++j) x[j] = -3 + 6 * u(rng);
      for (const OnOffColumn &c : cols) x[c.t] = x[c.x] * x[c.x];
      const double v = P.sense * objective(P, x);
      ASSERT_LE(bound, v + 1e-9 * (1 + std::fabs(v))) << "the bound is above a feasible point";
    }
    if (limit == 1000000 && Highs_getModelStatus(h) == kHighsModelStatusOptimal) {
      const double value = P.sense * Highs_getObjectiveValue(h);
      EXPECT_LE(bound, value + 1e-9 * (1 + std::fabs(value)));
      EXPECT_GE(bound, value - 1e-5 * (1 + std::fabs(value))) << "a bound far weaker than the answer";
    }
    Highs_destroy(h);
  }
}


// On a factor model (a few factors and specific risk on every asset) the split recovers
// most of the specific risk, which is what the perspective can strengthen; a uniform
// share of the diagonal would stop at the smallest ratio of specific to total variance.
TEST(PerspectiveSplit, RecoversMostOfTheSpecificRisk) {
  const treetest::Portfolio p = treetest::makePortfolio(3, 40, 8);
  LoweredModel L;
  for (int i = 0; i < p.n; ++i) addCol(L, 0, 1, 0);
  for (int i = 0; i < p.n; ++i) {
    const int z = addCol(L, 0, 1, 1);
    addRow(L, -kInf, 0, {{i, 1}, {z, -1}});
  }
  std::vector<std::vector<double>> h(L.cols(), std::vector<double>(L.cols(), 0.0));
  for (int i = 0; i < p.n; ++i)
    for (int j = 0; j < p.n; ++j) h[i][j] = 2 * p.cov[i][j];
  setHessian(L, h);
  auto cols = nvrl::tree::findOnOffColumns(L);
  ASSERT_EQ(static_cast<int>(cols.size()), p.n);
  ASSERT_TRUE(nvrl::tree::splitDiagonal(L, cols));
  ASSERT_EQ(static_cast<int>(cols.size()), p.n);
  // makePortfolio's specific variance of asset i is 0.2 s_i, s_i drawn after the 3n loadings
  // (and before each asset's return).
  solvetest::Rng r(3, 7);
  for (int i = 0; i < p.n * 3; ++i) r.uniform(0, 1);
  double split = 0.0, specific = 0.0;
  for (int i = 0; i < p.n; ++i) {
    specific += 0.2 * std::pow(r.uniform(0.05, 0.25), 2);
    r.uniform(0.02, 0.15);
    split += cols[i].d;  // d x^2 of the objective x'cov x
  }
  // The split keeps a tenth back for the QP solver's sake.
  EXPECT_GT(split, 0.8 * specific) << split << " of " << specific;
}

}  // namespace

namespace treetest {
namespace {

struct Searched {
  int seed;
  int perspective;  // the control
  bool maximising;
};

class PerspectiveSearch : public PortfolioTest, public ::testing::WithParamInterface<Searched> {};

// The log lines of a problem's solves, from the message callback.
struct LogLines {
  std::vector<std::string> lines;
  explicit LogLines(NVRLprob prob) {
    NVRLsetintcontrol(prob, nvrl::id::kLogLevel, 1);
    auto cb = [](NVRLprob, void *data, const char *msg, int len, int) {
      if (msg) static_cast<LogLines *>(data)->lines.emplace_back(msg, len);
    };
    EXPECT_EQ(NVRLaddcbmessage(prob, cb, this, 0), 0);
  }
  // The last line containing text ("" when none does).
  std::string find(const std::string &text) const {
    std::string found;
    for (const std::string &l : lines)
      if (l.find(text) != std::string::npos) found = l;
    return found;
  }
  std::string all() const {
    std::string s;
    for (const std::string &l : lines) s += l + "\n";
    return s;
  }
};

// The search with the cuts off, at the root and at the nodes finds the enumerated optimum and
// never reports a bound above it; with the cuts on, the log shows they were made.
TEST_P(PerspectiveSearch, MatchesTheEnumeratedOptimum) {
  const Searched c = GetParam();
  const Portfolio p = makePortfolio(c.seed, 12, 3);
  build(p);
  const double optimum = enumerate(p);
  ASSERT_FALSE(std::isnan(optimum));
  if (c.maximising) flipSense();
  const double sign = c.maximising ? -1.0 : 1.0;
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kTreePerspective, c.perspective), 0);
  ASSERT_EQ(NVRLsetdblcontrol(prob, nvrl::id::kMipRelGap, 1e-7), 0);
  ASSERT_EQ(NVRLsetdblcontrol(prob, nvrl::id::kMipAbsGap, 0), 0);
  const LogLines log(prob);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  ASSERT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL) << log.all();
  const double obj = sign * dblAttr(nvrl::id::kMipObjVal), bound = sign * dblAttr(nvrl::id::kBestBound);
  EXPECT_LE(obj - optimum, 1e-7 * optimum + 1e-12);
  EXPECT_GE(obj, optimum - 1e-9);
  EXPECT_LE(bound, optimum + 1e-12) << "the bound cuts off the optimum";
  // The answer is on the user's columns: x in its range, the variance recomputed from it.
  const std::vector<double> x = mipSolution();
  ASSERT_EQ(static_cast<int>(x.size()), 2 * p.n);
  double variance = 0.0;
  for (int i = 0; i < p.n; ++i)
    for (int j = 0; j < p.n; ++j) variance += x[i] * p.cov[i][j] * x[j];
  EXPECT_NEAR(variance, obj, 1e-9 * obj);
  const std::string made = log.find("switched off by binaries");
  if (c.perspective == 0) {
    EXPECT_EQ(made, "");
  } else {
    EXPECT_NE(made.find(std::to_string(p.n) + " columns"), std::string::npos) << made;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Tree, PerspectiveSearch,
    ::testing::Values(Searched{1, 0, false}, Searched{1, 1, false}, Searched{1, 2, false},
                      Searched{2, 0, false}, Searched{2, 2, false}, Searched{3, 1, false},
                      Searched{3, 2, true}, Searched{4, 2, false}, Searched{5, 2, true},
                      Searched{6, -1, false}, Searched{7, -1, true}),
    [](const auto &info) {
      const int mode = info.param.perspective;
      return "seed" + std::to_string(info.param.seed) + "_mode" +
             (mode < 0 ? "auto" : std::to_string(mode)) + (info.param.maximising ? "_max" : "");
    });

// Left to choose, the search uses the perspective where the switched-off columns' quadratic
// terms carry the objective, and not where a charge per asset held outweighs them; either way
// it ends at the optimum the search without the cuts finds.
class AutomaticPerspective : public PortfolioTest, public ::testing::WithParamInterface<double> {};

TEST_P(AutomaticPerspective, FollowsTheObjectivesWeight) {
  const double charge = GetParam();
  const Portfolio p = makePortfolio(8, 12, 3);
  build(p);
  for (int i = 0; i < p.n; ++i) {
    const int z = p.n + i;
    ASSERT_EQ(NVRLchgobj(prob, 1, &z, &charge), 0);
  }
  ASSERT_EQ(NVRLsetdblcontrol(prob, nvrl::id::kMipRelGap, 1e-8), 0);
  ASSERT_EQ(NVRLsetdblcontrol(prob, nvrl::id::kMipAbsGap, 0), 0);
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kTreePerspective, 0), 0);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  ASSERT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL);
  const double without = dblAttr(nvrl::id::kMipObjVal);

  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kTreePerspective, -1), 0);
  const LogLines log(prob);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  ASSERT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL) << log.all();
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), without, 1e-7 * without);
  EXPECT_EQ(log.find("switched off by binaries").empty(), charge > 0.0) << log.all();
  EXPECT_EQ(log.find("not used").empty(), charge == 0.0) << log.all();
}

INSTANTIATE_TEST_SUITE_P(Tree, AutomaticPerspective, ::testing::Values(0.0, 0.05));

// The epigraph columns live on the problem's HiGHS instance only for the search: afterwards
// it holds what it held before, and a search without the cuts on that instance (the model
// unchanged, so nothing is passed again) gives the same answer as the first one did.
TEST_F(PortfolioTest, TheSearchLeavesHighsAsItWas) {
  const Portfolio p = makePortfolio(2, 10, 3);
  build(p);
  ASSERT_EQ(NVRLsetdblcontrol(prob, nvrl::id::kMipAbsGap, 0), 0);
  ASSERT_EQ(NVRLsetdblcontrol(prob, nvrl::id::kMipRelGap, 1e-8), 0);
  const nvrl::HighsSession *s = nullptr;
  auto shape = [&]() {
    s = prob->highs.get();
    return std::vector<HighsInt>{Highs_getNumCol(s->handle()), Highs_getNumRow(s->handle()),
                                 Highs_getHessianNumNz(s->handle())};
  };
  std::vector<double> obj;
  std::vector<std::vector<HighsInt>> shapes;
  for (int perspective : {0, 2, 0}) {
    ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kTreePerspective, perspective), 0);
    ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
    ASSERT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL);
    obj.push_back(dblAttr(nvrl::id::kMipObjVal));
    shapes.push_back(shape());
    EXPECT_TRUE(s->loaded()) << "the session had to give up its model";
  }
  EXPECT_EQ(shapes[1], shapes[0]);
  EXPECT_EQ(shapes[2], shapes[0]);
  EXPECT_EQ(shapes[0][0], s->lowered().cols());
  for (double v : obj) EXPECT_NEAR(v, obj[0], 1e-7 * obj[0]);
}

}  // namespace
}  // namespace treetest
