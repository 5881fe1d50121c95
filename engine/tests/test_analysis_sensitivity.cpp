// Ranging, basis solves, pivots, strong branching and the basis condition: on a small LP whose
// answers are derived by hand, and on afiro and adlittle by re-solving with perturbed data.
#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "test_io_support.h"
#include "test_solve_support.h"

namespace solvetest {
namespace {

using nvrl::id::kLpObjVal;
using nvrl::id::kLpStatus;
using nvrl::id::kPresolve;
using nvrl::id::kSimplexIter;

constexpr double kInf = 1e20;

// min sense*(-3x - 2y)  s.t.  r0: x + y <= 4,  r1: x + 3y <= 9,  0 <= x <= 3,  y >= 0.
// Optimum x = 3 (at its upper bound), y = 1, objective -11; r0 is tight, r1 has slack 3.
// Basis: r1's slack and y. Dual of r0 is -2, reduced cost of x is -1 (both times sense).
//   cost of x: x leaves its bound once its cost passes -2: [-inf, -2].
//   cost of y: y = 4 - x - s0, so d_x = -1 - t and d_s0 = 2 - t stay of the right sign for
//   t in [-1, 2]: [-3, 0].
//   rhs of r0: y = rhs - 3 >= 0 and 3 + 3y <= 9: [3, 5]; rhs of r1: down to its activity 6.
//   upper bound of x: y = 4 - u >= 0 and u + 3(4 - u) <= 9: [1.5, 4].
class HandLp : public SolveTest, public ::testing::WithParamInterface<int> {
 protected:
  void build() {
    sense = GetParam();
    col(0, 3, -3.0 * sense);
    col(0, kInf, -2.0 * sense);
    row('L', 4, {{0, 1}, {1, 1}});
    row('L', 9, {{0, 1}, {1, 3}});
    if (sense < 0) maximise();
    ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
    ASSERT_EQ(intAttr(kLpStatus), NVRL_LP_OPTIMAL);
  }
  int sense = 1;
};

void expectRange(double lo, double up, double wantLo, double wantUp, const char *what) {
  EXPECT_NEAR(lo, wantLo, 1e-9 * std::max(1.0, std::fabs(wantLo))) << what;
  EXPECT_NEAR(up, wantUp, 1e-9 * std::max(1.0, std::fabs(wantUp))) << what;
}

TEST_P(HandLp, RangesByHand) {
  build();
  double lo[2], up[2];
  ASSERT_EQ(NVRLobjsa(prob, 2, nvtest::ints(0, 1), lo, up), 0) << lastError();
  // Maximising the negated costs mirrors the cost ranges.
  if (sense > 0) {
    expectRange(lo[0], up[0], -kInf, -2, "cost x");
    expectRange(lo[1], up[1], -3, 0, "cost y");
  } else {
    expectRange(lo[0], up[0], 2, kInf, "cost x");
    expectRange(lo[1], up[1], 0, 3, "cost y");
  }
  ASSERT_EQ(NVRLrhssa(prob, 2, nvtest::ints(0, 1), lo, up), 0) << lastError();
  expectRange(lo[0], up[0], 3, 5, "rhs r0");
  expectRange(lo[1], up[1], 6, kInf, "rhs r1");
  double lbl[2], lbu[2], ubl[2], ubu[2];
  ASSERT_EQ(NVRLbndsa(prob, 2, nvtest::ints(0, 1), lbl, lbu, ubl, ubu), 0) << lastError();
  expectRange(ubl[0], ubu[0], 1.5, 4, "ub x");
  expectRange(lbl[0], lbu[0], -kInf, 3, "lb x");
  expectRange(lbl[1], lbu[1], -kInf, 1, "lb y");
  expectRange(ubl[1], ubu[1], 1, kInf, "ub y");
}

TEST_P(HandLp, PivotsStrongBranchingAndDualRanges) {
  build();
  // x (combined index 2) leaves its upper bound: y = 1 + t, slack of r1 = 3 - 2t, so r1's
  // slack stops it at 1.5 (the vertex (1.5, 2.5), objective -9.5); x reaches 0 at 3.
  int out[3] = {-1, -1, -1}, npiv = -1;
  double ratio[3] = {}, dobj = 0;
  ASSERT_EQ(NVRLgetpivots(prob, 2, out, ratio, &dobj, &npiv, 3), 0) << lastError();
  ASSERT_EQ(npiv, 2);
  EXPECT_EQ(out[0], 1);
  EXPECT_NEAR(ratio[0], 1.5, 1e-9);
  EXPECT_EQ(out[1], 2);
  EXPECT_NEAR(ratio[1], 3, 1e-9);
  EXPECT_NEAR(dobj, -9.5 * sense, 1e-9);
  ASSERT_EQ(NVRLgetpivots(prob, 2, out, ratio, &dobj, &npiv, 1), 0);
  EXPECT_EQ(npiv, 1);
  EXPECT_NE(NVRLgetpivots(prob, 3, out, ratio, &dobj, &npiv, 3), 0);  // y is basic
  EXPECT_NE(lastError().find("basic"), std::string::npos) << lastError();

  // Branches: y <= 0 gives x = 3 (-9); y >= 2 gives x = 2 (-10); y >= 10 is infeasible.
  double x0[2], obj[3];
  int st[3];
  ASSERT_EQ(NVRLgetlpsol(prob, x0, nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(NVRLstrongbranch(prob, 3, nvtest::ints(1, 1, 1), nvtest::chars('U', 'L', 'L'),
                             nvtest::dbls(0, 2, 10), 100, obj, st),
            0)
      << lastError();
  EXPECT_EQ(st[0], NVRL_LP_OPTIMAL);
  EXPECT_NEAR(obj[0], -9 * sense, 1e-9);
  EXPECT_EQ(st[1], NVRL_LP_OPTIMAL);
  EXPECT_NEAR(obj[1], -10 * sense, 1e-9);
  EXPECT_EQ(st[2], NVRL_LP_INFEAS);
  // The problem's answers and bounds are those of before.
  double x1[2], ub;
  ASSERT_EQ(NVRLgetlpsol(prob, x1, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(x0[0], x1[0]);
  EXPECT_EQ(x0[1], x1[1]);
  ASSERT_EQ(NVRLgetub(prob, &ub, 1, 1), 0);
  EXPECT_EQ(ub, kInf);
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_OPTIMAL);

  // r0's dual is -2 on [3, 5], 0 above 5 (r0 slack), -3 below 3 (x basic, y = 0).
  double mn = 0, mx = 0;
  ASSERT_EQ(NVRLestimaterowdualranges(prob, 1, nvtest::ints(0), 5, &mn, &mx), 0) << lastError();
  EXPECT_NEAR(mn, sense > 0 ? -3 : 0, 1e-7);
  EXPECT_NEAR(mx, sense > 0 ? 0 : 3, 1e-7);
  ASSERT_EQ(NVRLestimaterowdualranges(prob, 1, nvtest::ints(0), 0, &mn, &mx), 0);
  EXPECT_NEAR(mn, -2 * sense, 1e-9);
  EXPECT_NEAR(mx, -2 * sense, 1e-9);
}

TEST_P(HandLp, BasisSolvesAndCondition) {
  build();
  // Pivot order: r1's slack, then y: B = [[0, 1], [1, 3]], B^-1 = [[-3, 1], [1, 0]].
  double v[2] = {1, 2};
  ASSERT_EQ(NVRLftran(prob, v), 0) << lastError();
  EXPECT_NEAR(v[0], -1, 1e-12);
  EXPECT_NEAR(v[1], 1, 1e-12);
  double w[2] = {1, 2};  // y'B = (1, 2): y1 = 1, y0 + 3 y1 = 2
  ASSERT_EQ(NVRLbtran(prob, w), 0) << lastError();
  EXPECT_NEAR(w[0], -1, 1e-12);
  EXPECT_NEAR(w[1], 1, 1e-12);
  // ||B|| = ||B^-1|| = 4 in both norms. Scaling divides y's column by 3 and multiplies the
  // inverse's second row by 3: [[-3, 1], [3, 0]].
  struct Case {
    int type, norm, scaled;
    double want;
  } cases[] = {{0, 0, 0, 16}, {0, 1, 0, 16}, {1, 1, 0, 4}, {2, 0, 0, 4}, {2, 1, 1, 4.0 / 3},
               {1, 0, 1, 4}, {1, 1, 1, 6}};
  for (const Case &c : cases) {
    double value = -1;
    ASSERT_EQ(NVRLbasisstability(prob, c.type, c.norm, c.scaled, &value), 0) << lastError();
    EXPECT_NEAR(value, c.want, 1e-9) << c.type << " " << c.norm << " " << c.scaled;
  }
  double value = 0;
  EXPECT_NE(NVRLbasisstability(prob, 3, 0, 0, &value), 0);
  EXPECT_NE(NVRLbasisstability(prob, 0, 2, 0, &value), 0);
}

INSTANTIATE_TEST_SUITE_P(Sensitivity, HandLp, ::testing::Values(1, -1),
                         [](const auto &info) { return info.param > 0 ? "min" : "max"; });

class SensitivityRefusals : public SolveTest {};

TEST_F(SensitivityRefusals, NoBasisChangedProblemReformulationAndBadIndices) {
  col(0, 3, -3);
  col(0, kInf, -2);
  row('L', 4, {{0, 1}, {1, 1}});
  double lo, up, v[1] = {1};
  EXPECT_NE(NVRLobjsa(prob, 1, nvtest::ints(0), &lo, &up), 0);
  EXPECT_NE(lastError().find("No basis"), std::string::npos) << lastError();
  EXPECT_NE(NVRLftran(prob, v), 0);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  EXPECT_NE(NVRLobjsa(prob, 1, nvtest::ints(2), &lo, &up), 0);
  EXPECT_NE(NVRLrhssa(prob, 1, nvtest::ints(-1), &lo, &up), 0);
  EXPECT_NE(NVRLstrongbranch(prob, 1, nvtest::ints(0), nvtest::chars('X'), nvtest::dbls(1), 5,
                             &lo, nullptr),
            0);
  ASSERT_EQ(NVRLchgobj(prob, 1, nvtest::ints(0), nvtest::dbls(-1)), 0);
  EXPECT_NE(NVRLobjsa(prob, 1, nvtest::ints(0), &lo, &up), 0);  // a change drops the basis
  EXPECT_NE(lastError().find("No basis"), std::string::npos) << lastError();
  // A free row is not handed to HiGHS: the basis is not the problem's own.
  row('N', 0, {{0, 1}});
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  EXPECT_NE(NVRLrhssa(prob, 1, nvtest::ints(0), &lo, &up), 0);
  EXPECT_NE(lastError().find("reformulation"), std::string::npos) << lastError();
}

// The ranges of afiro and adlittle against re-solves: started from the optimal basis with
// data moved inside a range, the simplex must stop at once with the objective the range's
// linear change predicts; moved beyond it, the old basis must no longer be optimal.
struct Perturbed {
  const char *label;
  const char *file;
  int stride;  // every stride-th row and column is checked
};
void PrintTo(const Perturbed &p, std::ostream *os) { *os << p.label; }

class RangingData : public SolveTest, public ::testing::WithParamInterface<Perturbed> {
 protected:
  void SetUp() override {
    SolveTest::SetUp();
    ASSERT_EQ(NVRLreadprob(prob, iotest::dataFile(GetParam().file).c_str(), ""), 0)
        << lastError();
    NVRLsetintcontrol(prob, kPresolve, 0);
    ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
    ASSERT_EQ(intAttr(kLpStatus), NVRL_LP_OPTIMAL);
    m = model().rows();
    n = model().cols();
    rowstat.resize(m);
    colstat.resize(n);
    x.resize(n);
    duals.resize(m);
    djs.resize(n);
    ASSERT_EQ(NVRLgetbasis(prob, rowstat.data(), colstat.data()), 0);
    ASSERT_EQ(NVRLgetlpsol(prob, x.data(), nullptr, duals.data(), djs.data()), 0);
    obj0 = dblAttr(kLpObjVal);
  }

  // Re-solves from the optimal basis; returns the simplex iterations.
  int resolve() {
    EXPECT_EQ(NVRLloadbasis(prob, rowstat.data(), colstat.data()), 0) << lastError();
    EXPECT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
    return intAttr(kSimplexIter);
  }

  // Inside: at 0 iterations with objective obj0 + slope * delta. Beyond: iterations needed.
  void checkInside(double delta, double slope, const std::string &what) {
    const int it = resolve();
    EXPECT_EQ(it, 0) << what << " moved by " << delta;
    if (it == 0) {
      EXPECT_NEAR(dblAttr(kLpObjVal), obj0 + slope * delta, 1e-6 * (1 + std::fabs(obj0)))
          << what;
    }
  }
  void checkBeyond(const std::string &what) {
    const int it = resolve();
    EXPECT_TRUE(it > 0 || intAttr(kLpStatus) != NVRL_LP_OPTIMAL) << what;
  }

  // Points near the ends of a range [lo, up] around v, inside and just beyond its finite ends.
  static std::vector<double> inside(double v, double lo, double up) {
    std::vector<double> pts;
    if (up > v) pts.push_back(up < kInf ? v + 0.98 * (up - v) : v + 100 * (1 + std::fabs(v)));
    if (lo < v) pts.push_back(lo > -kInf ? v - 0.98 * (v - lo) : v - 100 * (1 + std::fabs(v)));
    return pts;
  }
  static std::vector<double> beyond(double v, double lo, double up) {
    std::vector<double> pts;
    if (up < kInf) pts.push_back(up + 0.01 * (1 + std::fabs(up - v)) + 1e-4 * std::fabs(up));
    if (lo > -kInf) pts.push_back(lo - 0.01 * (1 + std::fabs(v - lo)) - 1e-4 * std::fabs(lo));
    return pts;
  }

  int m = 0, n = 0;
  double obj0 = 0;
  std::vector<int> rowstat, colstat;
  std::vector<double> x, duals, djs;
};

TEST_P(RangingData, CostRanges) {
  for (int j = 0; j < n; j += GetParam().stride) {
    double lo, up;
    ASSERT_EQ(NVRLobjsa(prob, 1, &j, &lo, &up), 0) << lastError();
    const double c = model().obj[j];
    ASSERT_LE(lo, c);
    ASSERT_GE(up, c);
    const std::string what = "cost of column " + std::to_string(j);
    for (double v : inside(c, lo, up)) {
      ASSERT_EQ(NVRLchgobj(prob, 1, &j, &v), 0);
      checkInside(v - c, x[j], what);
    }
    for (double v : beyond(c, lo, up)) {
      ASSERT_EQ(NVRLchgobj(prob, 1, &j, &v), 0);
      checkBeyond(what);
    }
    ASSERT_EQ(NVRLchgobj(prob, 1, &j, &c), 0);
    ASSERT_EQ(resolve(), 0);
  }
}

TEST_P(RangingData, RhsRanges) {
  for (int i = 0; i < m; i += GetParam().stride) {
    double lo, up;
    ASSERT_EQ(NVRLrhssa(prob, 1, &i, &lo, &up), 0) << lastError();
    const double b = model().rhs[i];
    ASSERT_LE(lo, b);
    ASSERT_GE(up, b);
    const std::string what = "rhs of row " + std::to_string(i);
    for (double v : inside(b, lo, up)) {
      ASSERT_EQ(NVRLchgrhs(prob, 1, &i, &v), 0);
      checkInside(v - b, duals[i], what);
    }
    for (double v : beyond(b, lo, up)) {
      ASSERT_EQ(NVRLchgrhs(prob, 1, &i, &v), 0);
      checkBeyond(what);
    }
    ASSERT_EQ(NVRLchgrhs(prob, 1, &i, &b), 0);
    ASSERT_EQ(resolve(), 0);
  }
}

TEST_P(RangingData, BoundRanges) {
  for (int j = 0; j < n; j += GetParam().stride) {
    double r[4];
    ASSERT_EQ(NVRLbndsa(prob, 1, &j, r, r + 1, r + 2, r + 3), 0) << lastError();
    const double lb = model().lb[j], ub = model().ub[j];
    const char types[2] = {'L', 'U'};
    for (int b = 0; b < 2; ++b) {
      const double cur = b == 0 ? lb : ub;
      if (std::fabs(cur) >= kInf) continue;
      const std::string what = std::string(b ? "upper" : "lower") + " bound of column " +
                               std::to_string(j);
      // A bound the value sits on moves the objective by the reduced cost; others not at all.
      const bool onIt = std::fabs(x[j] - cur) < 1e-9 && colstat[j] != NVRL_BASIS_BASIC;
      for (double v : inside(cur, r[2 * b], r[2 * b + 1])) {
        if (b == 0 ? v > ub : v < lb) continue;  // a crossing pair of bounds is refused anyway
        ASSERT_EQ(NVRLchgbounds(prob, 1, &j, &types[b], &v), 0) << lastError();
        checkInside(v - cur, onIt ? djs[j] : 0.0, what);
      }
      for (double v : beyond(cur, r[2 * b], r[2 * b + 1])) {
        if (b == 0 ? v > ub : v < lb) continue;
        ASSERT_EQ(NVRLchgbounds(prob, 1, &j, &types[b], &v), 0) << lastError();
        checkBeyond(what);
      }
      ASSERT_EQ(NVRLchgbounds(prob, 1, &j, &types[b], &cur), 0);
      ASSERT_EQ(resolve(), 0);
    }
  }
}

// ftran and btran against the basis matrix written out from the pivot order.
TEST_P(RangingData, BasisSolvesInvertTheBasisMatrix) {
  std::vector<int> piv(m);
  ASSERT_EQ(NVRLgetpivotorder(prob, piv.data()), 0) << lastError();
  std::vector<std::vector<double>> B(m, std::vector<double>(m, 0.0));  // B[row][position]
  const nvrl::Model &md = model();
  for (int k = 0; k < m; ++k) {
    if (piv[k] < m) {
      B[piv[k]][k] = 1.0;
      continue;
    }
    const int j = piv[k] - m;
    for (int i = 0; i < m; ++i)
      for (int64_t e = md.A.start[i]; e < md.A.start[i + 1]; ++e)
        if (md.A.col[e] == j) B[i][k] += md.A.val[e];
  }
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> U(-1, 1);
  std::vector<double> v(m), w(m);
  for (double &e : v) e = U(rng);
  w = v;
  ASSERT_EQ(NVRLftran(prob, w.data()), 0) << lastError();
  for (int i = 0; i < m; ++i) {
    double s = 0;
    for (int k = 0; k < m; ++k) s += B[i][k] * w[k];
    EXPECT_NEAR(s, v[i], 1e-8) << "row " << i;
  }
  w = v;
  ASSERT_EQ(NVRLbtran(prob, w.data()), 0) << lastError();
  for (int k = 0; k < m; ++k) {
    double s = 0;
    for (int i = 0; i < m; ++i) s += B[i][k] * w[i];
    EXPECT_NEAR(s, v[k], 1e-8) << "position " << k;
  }
}

// Answers recomputed from given vectors. Rosen-Suzuki's optimum (0, 1, 2, -1) with the duals
// -1, 0, -2 (in the engine's sign: the objective's gradient minus the duals times the rows'
// gradients vanishes there); its rows' slacks are 0, 1 and 0 and its objective -44.
class Recompute : public SolveTest {};

TEST_F(Recompute, QuadraticProblemAtItsOptimum) {
  rosenSuzuki();
  const double x[] = {0, 1, 2, -1}, good[] = {-1, 0, -2}, bad[] = {1, 0, 2};
  double obj = 0, slack[3], dj[4];
  ASSERT_EQ(NVRLcalcobjective(prob, x, &obj), 0) << lastError();
  EXPECT_NEAR(obj, -44, 1e-12);
  ASSERT_EQ(NVRLcalcslacks(prob, x, slack), 0);
  EXPECT_NEAR(slack[0], 0, 1e-12);
  EXPECT_NEAR(slack[1], 1, 1e-12);
  EXPECT_NEAR(slack[2], 0, 1e-12);
  ASSERT_EQ(NVRLcalcreducedcosts(prob, good, x, dj), 0);
  for (double d : dj) EXPECT_NEAR(d, 0, 1e-12);
  EXPECT_NE(NVRLcalcreducedcosts(prob, good, nullptr, dj), 0);  // needs the point
  // With the duals' signs flipped: reduced costs (-10, -6, -26, 10) on free columns, and the
  // tight rows' duals point the wrong way by 1 and 2.
  struct Case {
    int property;
    const double *duals;
    double want;
  } cases[] = {{NVRL_SOLINFO_ABSDUALINFEAS, good, 0},   {NVRL_SOLINFO_ABSDUALINFEAS, bad, 26},
               {NVRL_SOLINFO_RELDUALINFEAS, bad, 2},    {NVRL_SOLINFO_ABSPRIMALINFEAS, bad, 0},
               {NVRL_SOLINFO_MAXMIPFRACTIONAL, bad, 0}};
  for (const Case &c : cases) {
    double v = -1;
    ASSERT_EQ(NVRLcalcsolinfo(prob, x, c.duals, c.property, &v), 0) << lastError();
    EXPECT_NEAR(v, c.want, 1e-12) << c.property;
  }
  double v;
  EXPECT_NE(NVRLcalcsolinfo(prob, x, nullptr, NVRL_SOLINFO_ABSDUALINFEAS, &v), 0);
  EXPECT_NE(NVRLcalcsolinfo(prob, x, good, 5, &v), 0);
}

// x in [0, 3], y integer >= 0;  r0: x + y <= 4,  r1: 1 <= x - y <= 2 (ranged).  At (4, 1.25)
// x is 1 above its bound (relative 1/4), r0 1.25 above its rhs (1.25/5) and r1 0.75 above
// (0.75/3); y is 0.25 from an integer.
TEST_F(Recompute, PrimalInfeasibilityAndFractionality) {
  col(0, 3, 1);
  col(0, kInf, 1, 'I');
  row('L', 4, {{0, 1}, {1, 1}});
  row('R', 2, {{0, 1}, {1, -1}}, 1);
  const double x[] = {4, 1.25};
  const std::pair<int, double> cases[] = {{NVRL_SOLINFO_ABSPRIMALINFEAS, 1.25},
                                          {NVRL_SOLINFO_RELPRIMALINFEAS, 0.25},
                                          {NVRL_SOLINFO_MAXMIPFRACTIONAL, 0.25}};
  for (auto [property, want] : cases) {
    double v = -1;
    ASSERT_EQ(NVRLcalcsolinfo(prob, x, nullptr, property, &v), 0) << lastError();
    EXPECT_NEAR(v, want, 1e-12) << property;
  }
  double slack[2];
  ASSERT_EQ(NVRLcalcslacks(prob, x, slack), 0);
  EXPECT_NEAR(slack[0], -1.25, 1e-12);
  EXPECT_NEAR(slack[1], -0.75, 1e-12);
}

// On the data: the recomputed answers at the solve's own vectors are the solve's answers.
TEST_P(RangingData, RecomputedAnswersMatchTheSolve) {
  std::vector<double> slack(m), s2(m), d2(n);
  ASSERT_EQ(NVRLgetlpsol(prob, nullptr, slack.data(), nullptr, nullptr), 0);
  ASSERT_EQ(NVRLcalcslacks(prob, x.data(), s2.data()), 0);
  ASSERT_EQ(NVRLcalcreducedcosts(prob, duals.data(), nullptr, d2.data()), 0);
  for (int i = 0; i < m; ++i) EXPECT_NEAR(s2[i], slack[i], 1e-9 * (1 + std::fabs(slack[i])));
  for (int j = 0; j < n; ++j) EXPECT_NEAR(d2[j], djs[j], 1e-9 * (1 + std::fabs(djs[j])));
  double obj = 0, pinf = -1, dinf = -1;
  ASSERT_EQ(NVRLcalcobjective(prob, x.data(), &obj), 0);
  EXPECT_NEAR(obj, obj0, 1e-9 * std::fabs(obj0));
  ASSERT_EQ(NVRLcalcsolinfo(prob, x.data(), duals.data(), NVRL_SOLINFO_ABSPRIMALINFEAS, &pinf), 0);
  ASSERT_EQ(NVRLcalcsolinfo(prob, x.data(), duals.data(), NVRL_SOLINFO_ABSDUALINFEAS, &dinf), 0);
  EXPECT_LT(pinf, 1e-6);
  EXPECT_LT(dinf, 1e-6);
}

INSTANTIATE_TEST_SUITE_P(Sensitivity, RangingData,
                         ::testing::Values(Perturbed{"afiro", "afiro.mps", 1},
                                           Perturbed{"adlittle", "adlittle.mps", 5}),
                         nvtest::byLabel);

}  // namespace
}  // namespace solvetest
