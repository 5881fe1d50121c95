// Analysis of solved and infeasible problems: sensitivity, infeasible sets, repair and tuning.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "interfaces/highs_c_api.h"
#include "test_io_support.h"
#include "test_solve_support.h"
#include "test_support.h"

using nvrl::id::kLpObjVal;
using nvrl::id::kLpStatus;
using nvrl::id::kPresolve;
using nvrl::id::kSimplexIter;
using nvtest::ProblemTest;

// ---- Ranging, basis solves, pivots, strong branching and the basis condition: on a small LP whose
// answers are derived by hand, and on afiro and adlittle by re-solving with perturbed data.
namespace solvetest {
namespace {

constexpr double kInf = 1e20;

// min sense*(-3x - 2y)  s.t.  r0: x + y <= 4,  r1: x + 3y <= 9,  0 <= x <= 3,  y >= 0.
// Optimum x = 3 (at its upper bound), y = 1, objective -11; r0 is tight, r1 has slack 3.
// Basis: r1's slack and y. Dual of r0 is -2, reduced cost of x is -1 (both times sense).
//   cost of x: x leaves its bound once its cost passes -2: [-inf, -2].
//   cost of y: y = 4 - x - s0, so d_x = -1 - t and d_s0 = 2 - t stay of the right sign for
//   t in [-1, 2]: [-3, 0].
//   rhs of r0: y = rhs - 3 >= 0 and 3 + 3y <= 9: [3, 5]; rhs of r1: down to its activity 6.
//   upper bound of x: y = 4 - u >= 0 and u + 3(4 - u) <= 9: [1.5, 4].
class HandLp : public SolveTest, public ::testing::WithParamInterface<int> {};

void expectRange(double lo, double up, double wantLo, double wantUp, const char *what) {
  EXPECT_NEAR(lo, wantLo, 1e-9 * std::max(1.0, std::fabs(wantLo))) << what;
  EXPECT_NEAR(up, wantUp, 1e-9 * std::max(1.0, std::fabs(wantUp))) << what;
}

TEST_P(HandLp, RangesBasisSolvesPivotsAndStrongBranching) {
  const int sense = GetParam();
  col(0, 3, -3.0 * sense);
  col(0, kInf, -2.0 * sense);
  row('L', 4, {{0, 1}, {1, 1}});
  row('L', 9, {{0, 1}, {1, 3}});
  if (sense < 0) maximise();
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  ASSERT_EQ(intAttr(kLpStatus), NVRL_LP_OPTIMAL);
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
  } cases[] = {{0, 0, 0, 16},      {0, 1, 0, 16}, {1, 1, 0, 4}, {2, 0, 0, 4},
               {2, 1, 1, 4.0 / 3}, {1, 0, 1, 4},  {1, 1, 1, 6}};
  for (const Case &c : cases) {
    double value = -1;
    ASSERT_EQ(NVRLbasisstability(prob, c.type, c.norm, c.scaled, &value), 0) << lastError();
    EXPECT_NEAR(value, c.want, 1e-9) << c.type << " " << c.norm << " " << c.scaled;
  }
  double value = 0;
  EXPECT_NE(NVRLbasisstability(prob, 3, 0, 0, &value), 0);
  EXPECT_NE(NVRLbasisstability(prob, 0, 2, 0, &value), 0);
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

  // Moves a datum now at c (a copy: the changes write into the model) to points inside and
  // beyond its range [lo, up] through change, except those skip names; inside, the objective
  // moves by slope times the change. Then puts c back.
  void checkRange(const std::string &what, double c, double lo, double up, double slope,
                  const std::function<int(double)> &change,
                  const std::function<bool(double)> &skip = nullptr) {
    for (bool in : {true, false}) {
      for (double v : in ? inside(c, lo, up) : beyond(c, lo, up)) {
        if (skip && skip(v)) continue;
        ASSERT_EQ(change(v), 0) << what << ": " << lastError();
        in ? checkInside(v - c, slope, what) : checkBeyond(what);
      }
    }
    ASSERT_EQ(change(c), 0);
    ASSERT_EQ(resolve(), 0);
  }

  // Every stride-th cost or rhs against the range the query gives for it.
  using RangeQuery = int (*)(NVRLprob, int, const int[], double[], double[]);
  using Change = int (*)(NVRLprob, int, const int[], const double[]);
  void checkRanges(int count, const std::string &item, RangeQuery query, Change change,
                   const std::vector<double> &data, const std::vector<double> &slope) {
    for (int k = 0; k < count; k += GetParam().stride) {
      double lo, up;
      ASSERT_EQ(query(prob, 1, &k, &lo, &up), 0) << lastError();
      ASSERT_LE(lo, data[k]);
      ASSERT_GE(up, data[k]);
      checkRange(item + std::to_string(k), data[k], lo, up, slope[k],
                 [&](double v) { return change(prob, 1, &k, &v); });
    }
  }

  int m = 0, n = 0;
  double obj0 = 0;
  std::vector<int> rowstat, colstat;
  std::vector<double> x, duals, djs;
};

TEST_P(RangingData, CostAndRhsRanges) {
  checkRanges(n, "cost of column ", NVRLobjsa, NVRLchgobj, model().obj, x);
  checkRanges(m, "rhs of row ", NVRLrhssa, NVRLchgrhs, model().rhs, duals);
}

TEST_P(RangingData, BoundRanges) {
  for (int j = 0; j < n; j += GetParam().stride) {
    double r[4];
    ASSERT_EQ(NVRLbndsa(prob, 1, &j, r, r + 1, r + 2, r + 3), 0) << lastError();
    const double lb = model().lb[j], ub = model().ub[j];
    for (int b = 0; b < 2; ++b) {
      const double cur = b == 0 ? lb : ub;
      const char type = "LU"[b];
      if (std::fabs(cur) >= kInf) continue;
      // A bound the value sits on moves the objective by the reduced cost; others not at all.
      const bool onIt = std::fabs(x[j] - cur) < 1e-9 && colstat[j] != NVRL_BASIS_BASIC;
      checkRange(
          std::string(b ? "upper" : "lower") + " bound of column " + std::to_string(j), cur,
          r[2 * b], r[2 * b + 1], onIt ? djs[j] : 0.0,
          [&](double v) { return NVRLchgbounds(prob, 1, &j, &type, &v); },
          // A crossing pair of bounds is refused anyway.
          [&](double v) { return b == 0 ? v > ub : v < lb; });
    }
  }
}

// ftran and btran against the basis matrix written out from the pivot order.
TEST_P(RangingData, BasisSolvesAndRecomputedAnswers) {
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
    const nvrl::RowMatrix &mdA = md.A.rows();
    for (int i = 0; i < m; ++i)
      for (int64_t e = mdA.start[i]; e < mdA.start[i + 1]; ++e)
        if (mdA.col[e] == j) B[i][k] += mdA.val[e];
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
  // The recomputed answers at the solve's own vectors are the solve's answers.
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

INSTANTIATE_TEST_SUITE_P(Sensitivity, RangingData,
                         ::testing::Values(Perturbed{"afiro", "afiro.mps", 1},
                                           Perturbed{"adlittle", "adlittle.mps", 5}),
                         nvtest::byLabel);

// ---- Irreducible infeasible sets: sets known by construction, the shared data's infeasible
// instances and infeasible variants of its LPs, a MIP. Every set is checked with HiGHS
// directly, on a model built here from the store: the set is infeasible and each member is
// needed.

struct Member {
  bool col;
  int index;
  char type;
  double mult;
  bool isolated = false;  // after NVRLiisisolations
  bool operator<(const Member &o) const {
    return std::tie(col, index, type) < std::tie(o.col, o.index, o.type);
  }
};

std::vector<Member> membersOf(NVRLprob prob, int k) {
  int r = 0, c = 0;
  EXPECT_EQ(NVRLgetiisdata(prob, k, &r, &c, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr, nullptr),
            0);
  std::vector<int> ri(r), ci(c);
  std::vector<char> rt(r), ct(c), riso(r), ciso(c);
  std::vector<double> du(r), dj(c);
  EXPECT_EQ(NVRLgetiisdata(prob, k, &r, &c, ri.data(), ci.data(), rt.data(), ct.data(),
                           du.data(), dj.data(), riso.data(), ciso.data()),
            0);
  std::vector<Member> out;
  for (int i = 0; i < r; ++i) out.push_back({false, ri[i], rt[i], du[i], riso[i] != 0});
  for (int j = 0; j < c; ++j) out.push_back({true, ci[j], ct[j], dj[j], ciso[j] != 0});
  return out;
}

// The value of a member's side in the model.
double sideValue(const nvrl::Model &m, const Member &u) {
  if (u.col) return u.type == 'L' ? m.lb[u.index] : m.ub[u.index];
  const char t = m.rowtype[u.index];
  const double rhs = m.rhs[u.index];
  return t == 'R' && u.type == 'G' ? rhs - m.range[u.index] : rhs;
}

// A row-wise model solved by HiGHS itself; the store's infinite bounds and sides become HiGHS's.
struct HighsLp {
  using Entries = std::vector<std::pair<int, double>>;
  std::vector<double> cost, lo, up, rlo, rup, val;
  std::vector<HighsInt> start{0}, index, integrality;  // integrality empty: none

  static double side(double v) { return v >= 1e20 ? INFINITY : v <= -1e20 ? -INFINITY : v; }
  void addCol(double c, double l, double u) {
    cost.push_back(c);
    lo.push_back(side(l));
    up.push_back(side(u));
  }
  void addRow(double l, double u, const Entries &e) {
    for (auto &[c, v] : e) index.push_back(c), val.push_back(v);
    start.push_back(static_cast<HighsInt>(index.size()));
    rlo.push_back(side(l));
    rup.push_back(side(u));
  }
  // The entries of the store's row i.
  static Entries entries(const nvrl::Model &m, int i) {
    Entries e;
    const nvrl::RowMatrix &A = m.A.rows();
    for (int64_t k = A.start[i]; k < A.start[i + 1]; ++k) e.push_back({A.col[k], A.val[k]});
    return e;
  }
  // The least and the most activity the store's row i allows.
  static std::pair<double, double> sides(const nvrl::Model &m, int i) {
    const char t = m.rowtype[i];
    const double rhs = m.rhs[i];
    return {t == 'L' ? -INFINITY : t == 'R' ? rhs - m.range[i] : rhs, t == 'G' ? INFINITY : rhs};
  }
  // The model status, and the objective in obj when given.
  HighsInt solve(HighsInt sense, double *obj = nullptr) const {
    void *h = Highs_create();
    Highs_setBoolOptionValue(h, "output_flag", false);
    Highs_setDoubleOptionValue(h, "time_limit", 60.0);
    Highs_passModel(h, static_cast<HighsInt>(cost.size()), static_cast<HighsInt>(rlo.size()),
                    static_cast<HighsInt>(index.size()), 0, kHighsMatrixFormatRowwise,
                    kHighsHessianFormatTriangular, sense, 0.0, cost.data(), lo.data(), up.data(),
                    rlo.data(), rup.data(), start.data(), index.data(), val.data(), nullptr,
                    nullptr, nullptr, integrality.empty() ? nullptr : integrality.data());
    Highs_run(h);
    const HighsInt st = Highs_getModelStatus(h);
    if (obj) *obj = Highs_getObjectiveValue(h);
    Highs_destroy(h);
    return st;
  }
};

// 1 when the members other than `skip` admit a point, 0 when HiGHS proves they do not, -1
// when HiGHS cannot tell. Integrality of integer and binary columns is kept when mip.
int feasibleWithout(const nvrl::Model &m, const std::vector<Member> &set, int skip, bool mip) {
  HighsLp lp;
  for (int j = 0; j < m.cols(); ++j) {
    lp.addCol(0.0, -INFINITY, INFINITY);
    if (mip) lp.integrality.push_back(m.coltype[j] == 'I' || m.coltype[j] == 'B');
  }
  for (size_t k = 0; k < set.size(); ++k) {
    if (static_cast<int>(k) == skip) continue;
    const Member &u = set[k];
    const double v = sideValue(m, u);
    if (u.col)
      (u.type == 'L' ? lp.lo : lp.up)[u.index] = v;
    else
      lp.addRow(u.type == 'L' ? -INFINITY : v, u.type == 'G' ? INFINITY : v,
                HighsLp::entries(m, u.index));
  }
  const HighsInt st = lp.solve(kHighsObjSenseMinimize);
  if (st == kHighsModelStatusOptimal || st == kHighsModelStatusModelEmpty) return 1;
  if (st == kHighsModelStatusInfeasible) return 0;
  return -1;
}

// The set is infeasible and removing any one member leaves a feasible rest. Each removal is a
// solve from scratch, so a set of more than 150 members is checked on 150 of them spread
// evenly over the rows and bounds.
void expectIrreducible(const nvrl::Model &m, const std::vector<Member> &set, bool mip) {
  ASSERT_FALSE(set.empty());
  EXPECT_EQ(feasibleWithout(m, set, -1, mip), 0) << "the set is not infeasible";
  const size_t step = std::max<size_t>(1, (set.size() + 149) / 150);
  for (size_t k = 0; k < set.size(); k += step) {
    EXPECT_EQ(feasibleWithout(m, set, static_cast<int>(k), mip), 1)
        << "member " << k << " (" << (set[k].col ? "bound" : "row") << " " << set[k].index
        << " " << set[k].type << ") is not needed";
  }
}

// The multipliers certify infeasibility: y'A + d' = 0 on every column, and the sum of
// multiplier times side is positive, each side used in the direction its type allows.
void expectCertificate(const nvrl::Model &m, const std::vector<Member> &set) {
  std::vector<double> combo(m.cols(), 0.0);
  double total = 0.0, scale = 0.0;
  for (const Member &u : set) {
    ASSERT_NE(u.mult, 0.0) << "member without multiplier";
    const double v = sideValue(m, u);
    const bool lower = u.col ? u.type == 'L' : u.type == 'G';
    if (u.type != 'E') {
      EXPECT_EQ(u.mult > 0, lower) << "multiplier of the wrong sign";
    }
    total += u.mult * v;
    scale = std::max(scale, std::fabs(u.mult * v));
    if (u.col) {
      combo[u.index] += u.mult;
    } else {
      const nvrl::RowMatrix &mA = m.A.rows();
      for (int64_t e = mA.start[u.index]; e < mA.start[u.index + 1]; ++e)
        combo[mA.col[e]] += u.mult * mA.val[e];
    }
  }
  double big = 0.0;
  for (const Member &u : set) big = std::max(big, std::fabs(u.mult));
  for (int j = 0; j < m.cols(); ++j) EXPECT_NEAR(combo[j], 0.0, 1e-7 * std::max(1.0, big)) << j;
  EXPECT_GT(total, 1e-9 * std::max(1.0, scale));
}

class Iis : public SolveTest {
 protected:
  int first(int mode = 1) {
    int status = -1;
    EXPECT_EQ(NVRLiisfirst(prob, mode, &status), 0) << lastError();
    return status;
  }
  int count() {
    int k = -1;
    EXPECT_EQ(NVRLiisstatus(prob, &k, nullptr, nullptr, nullptr, nullptr), 0);
    return k;
  }
  // Set 1 written as MPS (flags as given) reads into a fresh problem that is infeasible, with
  // rows rows unless -1.
  void expectWrittenSetInfeasible(const std::string &stem, const char *flags, bool mip,
                                  int rows = -1) {
    const std::string file = ::testing::TempDir() + stem;
    ASSERT_EQ(NVRLiiswrite(prob, 1, file.c_str(), 1, flags), 0) << lastError();
    NVRLprob back = nullptr;
    ASSERT_EQ(NVRLcreateprob(&back), 0);
    NVRLsetintcontrol(back, nvrl::id::kLogLevel, 0);
    EXPECT_EQ(NVRLreadprob(back, (file + ".mps").c_str(), ""), 0) << lastError(back);
    if (rows >= 0) EXPECT_EQ(intAttr(back, nvrl::id::kRows), rows);
    EXPECT_EQ(mip ? NVRLmipoptimize(back, "") : NVRLlpoptimize(back, ""), 0);
    EXPECT_EQ(intAttr(back, mip ? nvrl::id::kMipStatus : kLpStatus),
              mip ? NVRL_MIP_INFEAS : NVRL_LP_INFEAS);
    NVRLdestroyprob(back);
    std::remove((file + ".mps").c_str());
  }
};

using Key = std::set<std::tuple<bool, int, char>>;
Key keys(const std::vector<Member> &v) {
  Key out;
  for (auto &u : v) out.insert({u.col, u.index, u.type});
  return out;
}

// ---- sets known by construction ------------------------------------------------------------

// Each case: rows (type, rhs, range, entries on two free columns) and the sets iisall must
// find, as sets of (row, side).
struct KnownCase {
  const char *name;
  std::vector<std::tuple<char, double, double, std::vector<std::pair<int, double>>>> rows;
  std::vector<Key> sets;
  std::vector<std::vector<int>> isolatedRows;  // per set, the rows flagged isolated
};

class IisKnown : public Iis, public ::testing::WithParamInterface<KnownCase> {};

TEST_P(IisKnown, IisallFindsExactlyTheSetsWithTheirIsolations) {
  const KnownCase &c = GetParam();
  col(-1e20, 1e20, 0), col(-1e20, 1e20, 0);
  for (auto &[t, rhs, range, e] : c.rows) row(t, rhs, e, range);
  ASSERT_EQ(NVRLiisall(prob), 0) << lastError();
  ASSERT_EQ(count(), static_cast<int>(c.sets.size()) + 1);
  std::vector<Key> found;
  for (int k = 1; k < count(); ++k) {
    const auto set = membersOf(prob, k);
    expectIrreducible(model(), set, false);
    expectCertificate(model(), set);
    found.push_back(keys(set));
  }
  std::sort(found.begin(), found.end());
  std::vector<Key> want = c.sets;
  std::sort(want.begin(), want.end());
  EXPECT_EQ(found, want);

  // Isolations of each set: flagged rows are those in no other set.
  for (int k = 1; k < count(); ++k) {
    ASSERT_EQ(NVRLiisisolations(prob, k), 0);
    const auto set = membersOf(prob, k);
    const size_t pos = std::find(c.sets.begin(), c.sets.end(), keys(set)) - c.sets.begin();
    ASSERT_LT(pos, c.sets.size());
    std::vector<int> flagged;
    for (const Member &u : set)
      if (!u.col && u.isolated) flagged.push_back(u.index);
    std::sort(flagged.begin(), flagged.end());
    EXPECT_EQ(flagged, c.isolatedRows[pos]);
  }
  int status = -1;
  ASSERT_EQ(NVRLiisnext(prob, &status), 0);
  EXPECT_EQ(status, NVRL_IIS_NO_MORE);
}

INSTANTIATE_TEST_SUITE_P(
    Sets, IisKnown,
    ::testing::Values(
        KnownCase{"Disjoint",
                  {{'G', 3, 0, {{0, 1}}}, {'L', 1, 0, {{0, 1}}},
                   {'G', 5, 0, {{1, 1}}}, {'L', 2, 0, {{1, 1}}}},
                  {{{false, 0, 'G'}, {false, 1, 'L'}}, {{false, 2, 'G'}, {false, 3, 'L'}}},
                  {{0, 1}, {2, 3}}},
        KnownCase{"SharedMember",
                  {{'L', 1, 0, {{0, 1}}}, {'G', 2, 0, {{0, 1}}}, {'G', 3, 0, {{0, 1}}}},
                  {{{false, 0, 'L'}, {false, 1, 'G'}}, {{false, 0, 'L'}, {false, 2, 'G'}}},
                  {{1}, {2}}},
        // A range row enters by the side that matters, an equality row as 'E'.
        KnownCase{"RangeAndEquality",
                  {{'R', 1, 1, {{0, 1}, {1, 1}}}, {'E', 5, 0, {{0, 1}, {1, 1}}},
                   {'G', 0, 0, {{0, 1}}}, {'G', 0, 0, {{1, 1}}}},
                  {{{false, 0, 'L'}, {false, 1, 'E'}}},
                  {{0, 1}}},
        KnownCase{"ChainOfThree",
                  {{'G', 1, 0, {{0, 1}, {1, -1}}}, {'G', 1, 0, {{1, 1}}},
                   {'L', 1.5, 0, {{0, 1}}}},
                  {{{false, 0, 'G'}, {false, 1, 'G'}, {false, 2, 'L'}}},
                  {{0, 1, 2}}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(Iis, FeasibleProblemHasNothingAndModeZeroStopsAtTheInitialSubsystem) {
  const int x = col(0, 4, 1);
  row('L', 3, {{x, 1}});
  EXPECT_EQ(first(), NVRL_IIS_FEASIBLE);
  EXPECT_EQ(count(), 1);
  int status = -1;
  ASSERT_EQ(NVRLiisnext(prob, &status), 0);
  EXPECT_EQ(status, NVRL_IIS_FEASIBLE);

  row('G', 5, {{x, 1}});  // beyond the upper bound 4
  EXPECT_EQ(first(0), NVRL_IIS_FOUND);
  EXPECT_EQ(count(), 1);  // the initial subsystem only
  EXPECT_FALSE(membersOf(prob, 0).empty());
}

// ---- a MIP ---------------------------------------------------------------------------------

TEST_F(Iis, IntegerInfeasibilityIsFoundWithIntegralityKept) {
  // 2x + 2y = 3 has no integer point although its relaxation is feasible; x + y <= 10 and
  // the bounds are not needed.
  const int x = col(0, 10, 1, 'I'), y = col(0, 10, 1, 'I');
  row('E', 3, {{x, 2}, {y, 2}});
  row('L', 10, {{x, 1}, {y, 1}});
  ASSERT_EQ(first(), NVRL_IIS_FOUND);
  const auto set = membersOf(prob, 1);
  EXPECT_EQ(keys(set), (Key{{false, 0, 'E'}}));
  expectIrreducible(model(), set, true);

  expectWrittenSetInfeasible("iis_mip", nullptr, true);
}

// ---- the shared data -----------------------------------------------------------------------

// How an instance is made infeasible: as it is (already infeasible), by a row bounding the
// objective one unit (or 0.1%) beyond its optimum, or by moving the rhs of the binding row
// with the largest dual past the range of activity that the other rows and bounds allow.
enum class Variant { AsIs, ObjectiveCut, RhsMoved };

struct DataCase {
  std::string file;
  Variant variant;
};

class IisData : public Iis, public ::testing::WithParamInterface<DataCase> {
 protected:
  void objectiveCut(double optimum) {
    const nvrl::Model &m = model();
    std::vector<std::pair<int, double>> e;
    for (int j = 0; j < m.cols(); ++j)
      if (m.obj[j] != 0) e.push_back({j, m.obj[j]});
    const double margin = std::max(1.0, 1e-3 * std::fabs(optimum));
    const double target = optimum - m.objconst;
    if (m.objsense > 0)
      row('L', target - margin, e);
    else
      row('G', target + margin, e);
  }

  // The most activity of row r over the other rows and the bounds for a 'G' row, the least
  // for an 'L' or 'E' row; false when unbounded.
  bool activityLimit(int r, double &limit) {
    const nvrl::Model &m = model();
    HighsLp lp;
    for (int j = 0; j < m.cols(); ++j) lp.addCol(0.0, m.lb[j], m.ub[j]);
    for (auto &[c, v] : HighsLp::entries(m, r)) lp.cost[c] = v;
    for (int i = 0; i < m.rows(); ++i) {
      if (i == r || m.rowtype[i] == 'N') continue;
      const auto [l, u] = HighsLp::sides(m, i);
      lp.addRow(l, u, HighsLp::entries(m, i));
    }
    return lp.solve(m.rowtype[r] == 'G' ? kHighsObjSenseMaximize : kHighsObjSenseMinimize,
                    &limit) == kHighsModelStatusOptimal;
  }

  // Moves the rhs of the binding 'L', 'G' or 'E' row with the largest dual past its limit
  // (an 'E' row below its least activity).
  bool moveRhs() {
    if (NVRLlpoptimize(prob, "") != 0) return false;
    const nvrl::Model &m = model();
    std::vector<double> duals(m.rows());
    if (NVRLgetlpsol(prob, nullptr, nullptr, duals.data(), nullptr) != 0) return false;
    std::vector<int> order;
    for (int i = 0; i < m.rows(); ++i)
      if (std::strchr("LGE", m.rowtype[i]) && std::fabs(duals[i]) > 1e-7)
        order.push_back(i);
    std::sort(order.begin(), order.end(),
              [&](int a, int b) { return std::fabs(duals[a]) > std::fabs(duals[b]); });
    for (int r : order) {
      double limit = 0.0;
      if (!activityLimit(r, limit)) continue;
      const double margin = std::max(1.0, 1e-2 * std::fabs(limit));
      const double rhs = m.rowtype[r] == 'G' ? limit + margin : limit - margin;
      return NVRLchgrhs(prob, 1, &r, &rhs) == 0;
    }
    return false;
  }
};

TEST_P(IisData, SetIsInfeasibleEveryMemberIsNeededAndItsFileReadsBackInfeasible) {
  const DataCase &c = GetParam();
  ASSERT_EQ(NVRLreadprob(prob, iotest::dataFile(c.file).c_str(), ""), 0) << lastError();
  if (c.variant == Variant::ObjectiveCut) {
    double optimum = NAN;
    for (auto &inst : nvtest::dataInstances())
      if (inst.file == c.file) optimum = inst.objective;
    ASSERT_FALSE(std::isnan(optimum));
    objectiveCut(optimum);
  } else if (c.variant == Variant::RhsMoved) {
    ASSERT_TRUE(moveRhs()) << "no binding row with a finite activity limit";
  }
  ASSERT_EQ(first(), NVRL_IIS_FOUND);
  const auto set = membersOf(prob, 1);
  expectIrreducible(model(), set, false);
  expectCertificate(model(), set);
  int count = 0;
  std::vector<int> rows(2), cols(2), num(2);
  std::vector<double> sum(2);
  ASSERT_EQ(NVRLiisstatus(prob, &count, rows.data(), cols.data(), sum.data(), num.data()), 0);
  EXPECT_EQ(rows[1] + cols[1], static_cast<int>(set.size()));
  EXPECT_GT(sum[1], 0.0);
  EXPECT_GE(num[1], 1);

  // MPS: some of these column names cannot be written in LP format.
  expectWrittenSetInfeasible("iis_" + nvtest::testName(c.file), "", false, rows[1]);
}

// Every LP with a moved rhs; the objective cut too for the smaller ones (on the large ones its
// IIS spans most of the problem, which makes a long test and adds little).
std::vector<DataCase> dataCases() {
  const std::set<std::string> cut = {"afiro.mps", "adlittle.mps", "avgas.mps", "blending.mps",
                                     "sctest.mps", "israel.mps", "e226.mps"};
  std::vector<DataCase> out;
  for (auto &inst : nvtest::dataInstances()) {
    if (inst.kind != "lp") continue;
    if (inst.status == "infeasible") out.push_back({inst.file, Variant::AsIs});
    if (inst.status == "optimal") {
      out.push_back({inst.file, Variant::RhsMoved});
      if (cut.count(inst.file)) out.push_back({inst.file, Variant::ObjectiveCut});
    }
  }
  return out;
}

std::string dataCaseName(const ::testing::TestParamInfo<DataCase> &info) {
  static const char *suffix[] = {"", "_cut", "_rhs"};
  return nvtest::testName(info.param.file) + suffix[static_cast<int>(info.param.variant)];
}

INSTANTIATE_TEST_SUITE_P(Shared, IisData, ::testing::ValuesIn(dataCases()), dataCaseName);

TEST_F(Iis, IisnextOnGalenetNeverRepeatsASet) {
  ASSERT_EQ(NVRLreadprob(prob, iotest::dataFile("galenet.mps").c_str(), ""), 0);
  ASSERT_EQ(NVRLiisall(prob), 0) << lastError();
  ASSERT_GE(count(), 2);
  std::set<Key> seen;
  for (int k = 1; k < count(); ++k) {
    const auto set = membersOf(prob, k);
    expectIrreducible(model(), set, false);
    EXPECT_TRUE(seen.insert(keys(set)).second) << "set " << k << " repeats an earlier one";
  }
}

// ---- Repairing infeasibility: hand-derived relaxations, the total violation against an elastic LP
// solved by HiGHS directly, and refusals that change nothing.

class RepairTest : public ProblemTest {
 protected:
  std::vector<double> rhs() { return model().rhs; }
  void solveFeasible() {
    ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
    EXPECT_EQ(intAttr(NVRL_ATTR_MIP_STATUS), NVRL_MIP_OPTIMAL);
  }
  // x + y <= 2 and x + y >= 5 with x, y in [0, 10]; objective max y.
  void twoRows() {
    col(0, 10, 0);
    col(0, 10, -1);
    row('L', 2, {{0, 1}, {1, 1}});
    row('G', 5, {{0, 1}, {1, 1}});
  }
};

// Hand-derived relaxations of small models: the rhs after the repair, and the repaired problem
// solves to an optimum.
struct HandCase {
  const char *label;
  char penalty;
  double lepref, gepref;
  bool countModel;              // 3x >= 30, x <= 1, x <= 2 instead of the two rows
  std::vector<double> rhs;      // expected
};

class RepairHand : public RepairTest, public ::testing::WithParamInterface<HandCase> {};

TEST_P(RepairHand, RelaxesAsDerived) {
  const HandCase &c = GetParam();
  if (c.countModel) {
    col(0, 20, 0);
    row('G', 30, {{0, 3}});
    row('L', 1, {{0, 1}});
    row('L', 2, {{0, 1}});
  } else {
    twoRows();
  }
  int status = -1;
  ASSERT_EQ(NVRLrepairinfeas(prob, &status, c.penalty, 'n', ' ', c.lepref, c.gepref, 0, 0, 0), 0)
      << lastError();
  EXPECT_EQ(status, NVRL_REPAIR_OPTIMAL);
  nvtest::expectNear(c.rhs, rhs(), 1e-5);
  // The repair's point is the problem's solution, feasible for the new rows.
  EXPECT_EQ(intAttr(NVRL_ATTR_SOLUTION_AVAILABLE), 1);
  EXPECT_LT(dblAttr(NVRL_ATTR_MAX_PRIMAL_INFEASIBILITY), 1e-6);
  solveFeasible();
}

INSTANTIATE_TEST_SUITE_P(
    Penalties, RepairHand,
    ::testing::Values(
        // The >= side is half as dear (preference 2): it takes the whole violation of 3.
        HandCase{"sum", 's', 1, 2, false, {2, 2}},
        // Squares with equal weights split the violation evenly.
        HandCase{"squares", 'q', 1, 1, false, {3.5, 3.5}},
        // The sum raises both upper rows to 10 (17 in all, against 27 for the single row);
        // the count relaxes the single row instead.
        HandCase{"sum_of_three", 's', 1, 1, true, {30, 10, 10}},
        HandCase{"count", 'c', 1, 1, true, {3, 1, 2}}),
    nvtest::byLabel);

// x in [0, 1] with x >= 5: the upper bound is cheaper to move but may move by 2 at most, so
// the row takes the other 2.
TEST_F(RepairTest, RelaxationLimitsCapTheBounds) {
  col(0, 1, 0);
  row('G', 5, {{0, 1}});
  const double inf = NVRL_INFINITY;
  for (double limit : {2.0, inf}) {
    SCOPED_TRACE(limit);
    model().rhs = {5};
    model().ub = {1};
    prob->modelChanged();
    int status = -1;
    ASSERT_EQ(NVRLrepairweightedinfeasbounds(prob, &status, nvtest::dbls(0), nvtest::dbls(0.5),
                                             nvtest::dbls(0), nvtest::dbls(1), nvtest::dbls(0),
                                             nvtest::dbls(inf), nvtest::dbls(0),
                                             nvtest::dbls(limit), 'n', 0, ""),
              0)
        << lastError();
    EXPECT_EQ(status, NVRL_REPAIR_OPTIMAL);
    EXPECT_NEAR(model().ub[0], limit == inf ? 5 : 3, 1e-7);
    EXPECT_NEAR(model().rhs[0], limit == inf ? 5 : 3, 1e-7);
    solveFeasible();
  }
}

// Phase 2 maximises y among relaxations within (1+delta) of the least penalty (1.5): with
// delta 0 only the >= row moves and y = 2; with delta 1 the penalty may reach 3, which pays for
// raising the <= row by 3 and y = 5.
TEST_F(RepairTest, PhaseTwoOptimisesWithinThePenaltyBudget) {
  for (auto [delta, y] : {std::pair{0.0, 2.0}, std::pair{1.0, 5.0}}) {
    SCOPED_TRACE(delta);
    model() = nvrl::Model();
    prob->modelChanged();
    twoRows();
    int status = -1;
    ASSERT_EQ(NVRLrepairweightedinfeas(prob, &status, nvtest::dbls(1, 1), nvtest::dbls(2, 2),
                                       nullptr, nullptr, 'o', delta, "s"),
              0)
        << lastError();
    EXPECT_EQ(status, NVRL_REPAIR_OPTIMAL);
    EXPECT_EQ(intAttr(NVRL_ATTR_MIP_STATUS), NVRL_MIP_OPTIMAL);
    double x[2];
    ASSERT_EQ(NVRLgetmipsol(prob, x, nullptr), 0);
    EXPECT_NEAR(x[1], y, 1e-5);
    EXPECT_NEAR(dblAttr(NVRL_ATTR_MIP_OBJECTIVE), -y, 1e-5);
  }
}

TEST_F(RepairTest, RowsStayOnBadInputWithNothingRelaxableAndWithTheKeepFlag) {
  twoRows();
  const double nan = std::nan("");
  int status = -7;
  const struct {
    const char *what;
    std::function<int()> call;
  } cases[] = {
      {"penalty type 'x'", [&] { return NVRLrepairinfeas(prob, &status, 'x', 'n', ' ', 1, 1, 1, 1, 0); }},
      {"unknown flag 'q'", [&] { return NVRLrepairinfeas(prob, &status, 's', 'n', 'q', 1, 1, 1, 1, 0); }},
      {"delta", [&] { return NVRLrepairinfeas(prob, &status, 's', 'o', ' ', 1, 1, 1, 1, -1); }},
      {"finite", [&] { return NVRLrepairinfeas(prob, &status, 's', 'n', ' ', nan, 1, 1, 1, 0); }},
      {"lepref[1]", [&] {
         return NVRLrepairweightedinfeas(prob, &status, nvtest::dbls(1, nan), nullptr, nullptr,
                                         nullptr, 'n', 0, "");
       }},
      {"lerelax[1]", [&] {
         return NVRLrepairweightedinfeasbounds(prob, &status, nullptr, nullptr, nullptr, nullptr,
                                               nvtest::dbls(1, -1), nvtest::dbls(1, 1),
                                               nvtest::dbls(1, 1), nvtest::dbls(1, 1), 'n', 0, "");
       }},
      {"null relaxation array", [&] {
         return NVRLrepairweightedinfeasbounds(prob, &status, nullptr, nullptr, nullptr, nullptr,
                                               nullptr, nvtest::dbls(1, 1), nvtest::dbls(1, 1),
                                               nvtest::dbls(1, 1), 'n', 0, "");
       }},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_NE(c.call(), 0);
    EXPECT_NE(lastError().find(c.what), std::string::npos) << lastError();
  }
  EXPECT_EQ(status, -7);
  EXPECT_EQ(rhs(), (std::vector<double>{2, 5}));
  EXPECT_EQ(model().ub, (std::vector<double>{10, 10}));
  // Nothing relaxable is no error, and leaves the problem as it was.
  ASSERT_EQ(NVRLrepairinfeas(prob, &status, 's', 'n', ' ', 0, -1, 1, 1, 0), 0) << lastError();
  EXPECT_EQ(status, NVRL_REPAIR_INFEASIBLE);
  EXPECT_EQ(rhs(), (std::vector<double>{2, 5}));
  EXPECT_EQ(model().ub, (std::vector<double>{10, 10}));
  // With 'k' the rows stay; the point's slacks show the violation.
  ASSERT_EQ(NVRLrepairinfeas(prob, &status, 's', 'n', 'k', 1, 2, 0, 0, 0), 0) << lastError();
  EXPECT_EQ(rhs(), (std::vector<double>{2, 5}));
  double slack[2];
  ASSERT_EQ(NVRLgetmipsol(prob, nullptr, slack), 0);
  EXPECT_NEAR(slack[1], 3, 1e-7);  // rhs 5 minus activity 2
}

// The least total violation of an infeasible LP, from an elastic LP solved by HiGHS itself:
// every row gets an elastic column for each direction its type allows, every finite bound
// becomes a row with its own elastic column, and the elastic columns' sum is minimised.
double elasticOptimum(const nvrl::Model &m) {
  HighsLp lp;
  for (int j = 0; j < m.cols(); ++j) lp.addCol(0.0, -INFINITY, INFINITY);
  // The row l <= e'x <= u with an elastic column for each finite side: +1 relaxes l, -1 u.
  const auto addElastic = [&](double l, double u, HighsLp::Entries e) {
    for (double sign : {1.0, -1.0}) {
      if (std::fabs(sign > 0 ? l : u) >= NVRL_INFINITY) continue;
      e.push_back({static_cast<int>(lp.cost.size()), sign});
      lp.addCol(1.0, 0.0, INFINITY);
    }
    lp.addRow(l, u, e);
  };
  for (int i = 0; i < m.rows(); ++i) {
    if (m.rowtype[i] == 'N') continue;
    const auto [l, u] = HighsLp::sides(m, i);
    addElastic(l, u, HighsLp::entries(m, i));
  }
  for (int j = 0; j < m.cols(); ++j) {
    if (m.lb[j] > -NVRL_INFINITY) addElastic(m.lb[j], INFINITY, {{j, 1.0}});
    if (m.ub[j] < NVRL_INFINITY) addElastic(-INFINITY, m.ub[j], {{j, 1.0}});
  }
  double obj = NAN;
  EXPECT_EQ(lp.solve(kHighsObjSenseMinimize, &obj), kHighsModelStatusOptimal);
  return obj;
}

// The rhs, range and bound movements of a repair, summed.
double totalMovement(const nvrl::Model &before, const nvrl::Model &after) {
  double t = 0;
  for (int i = 0; i < before.rows(); ++i) {
    const double drhs = after.rhs[i] - before.rhs[i];
    if (before.rowtype[i] == 'R') t += std::fabs(drhs) + std::fabs(after.range[i] - before.range[i] - drhs);
    else t += std::fabs(drhs);
  }
  for (int j = 0; j < before.cols(); ++j)
    t += std::fabs(after.lb[j] - before.lb[j]) + std::fabs(after.ub[j] - before.ub[j]);
  return t;
}

struct Instance {
  const char *label;
  const char *file;
  int row;        // -1: infeasible as it is; else this row's rhs moves by shift
  double shift;
};

class RepairData : public RepairTest, public ::testing::WithParamInterface<Instance> {};

TEST_P(RepairData, TotalViolationMatchesTheElasticLp) {
  const Instance &in = GetParam();
  ASSERT_EQ(NVRLreadprob(prob, iotest::dataFile(in.file).c_str(), ""), 0) << lastError();
  NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
  if (in.row >= 0) {
    const double r = model().rhs[in.row] + in.shift;
    ASSERT_EQ(NVRLchgrhs(prob, 1, &in.row, &r), 0);
  }
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  ASSERT_EQ(intAttr(NVRL_ATTR_LP_STATUS), NVRL_LP_INFEAS) << "the instance must be infeasible";
  const double expected = elasticOptimum(model());
  EXPECT_GT(expected, 1e-6);
  const nvrl::Model before = model();
  const int rows = before.rows(), cols = before.cols();
  std::vector<double> ones_r(rows, 1.0), ones_c(cols, 1.0);
  int status = -1;
  ASSERT_EQ(NVRLrepairweightedinfeas(prob, &status, ones_r.data(), ones_r.data(), ones_c.data(),
                                     ones_c.data(), 'n', 0, ""),
            0)
      << lastError();
  EXPECT_EQ(status, NVRL_REPAIR_OPTIMAL);
  EXPECT_NEAR(totalMovement(before, model()), expected, 1e-6 * (1 + expected));
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  EXPECT_EQ(intAttr(NVRL_ATTR_LP_STATUS), NVRL_LP_OPTIMAL) << "the repaired problem is feasible";
}

INSTANTIATE_TEST_SUITE_P(Data, RepairData,
                         ::testing::Values(Instance{"galenet", "galenet.mps", -1, 0},
                                           Instance{"klein1", "klein1.mps", -1, 0},
                                           Instance{"afiro", "afiro.mps", 0, -1000},
                                           Instance{"sctest", "sctest.mps", 1, -1000},
                                           Instance{"adlittle", "adlittle.mps", 2, -1000}),
                         nvtest::byLabel);

// ---- The tuner: which combination wins, its time limits, and method files.

// The "name value" lines of a method file, comments dropped.
std::string withoutComments(const std::string &text) {
  std::istringstream in(text);
  std::string line, out;
  while (std::getline(in, line))
    if (!line.empty() && line[0] != '#') out += line + "\n";
  return out;
}

class TuneTest : public ProblemTest {
 protected:
  void SetUp() override {
    ProblemTest::SetUp();
    path = ::testing::TempDir() + "nvrl_tune_" +
           nvtest::testName(::testing::UnitTest::GetInstance()->current_test_info()->name()) +
           ".txt";
  }
  void TearDown() override {
    std::remove(path.c_str());
    ProblemTest::TearDown();
  }
  void readData(const char *file) {
    ASSERT_EQ(NVRLreadprob(prob, iotest::dataFile(file).c_str(), ""), 0) << lastError();
    NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
  }
  void writeFile(const std::string &text) { std::ofstream(path, std::ios::binary) << text; }
  int64_t intControl(int id) {
    NVRLint64 v = -1;
    EXPECT_EQ(NVRLgetintcontrol64(prob, id, &v), 0) << lastError();
    return v;
  }
  std::string path;
};

// After a tune the method file holds the winner alone, and the problem's controls are its.
TEST_F(TuneTest, WinnerIsAppliedAndWrittenAndAFinishedRunBeatsAStoppedOne) {
  readData("afiro.mps");
  ASSERT_EQ(NVRLtune(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(NVRL_ATTR_LP_STATUS), NVRL_LP_UNSTARTED) << "tune leaves no answers";
  ASSERT_EQ(NVRLtunerwritemethod(prob, path.c_str()), 0) << lastError();
  std::istringstream in(withoutComments(iotest::readBytes(path)));
  std::string word;
  int combinations = 0;
  while (in >> word) {
    if (word == "combination") {
      ++combinations;
      continue;
    }
    int64_t value;
    in >> value;
    int id = 0, type = 0;
    ASSERT_EQ(NVRLgetcontrolinfo(prob, word.c_str(), &id, &type, nullptr), 0) << word;
    EXPECT_EQ(intControl(id), value) << word;
  }
  EXPECT_EQ(combinations, 1);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  EXPECT_NEAR(dblAttr(NVRL_ATTR_LP_OBJECTIVE), -464.753142857, 1e-6);

  // A run cut short by an iteration limit loses to one that finishes, whichever comes first;
  // the loser's limit does not stay on the problem. Without presolve, so that the limited run
  // cannot finish before its first iteration.
  const std::string slow = "combination\npresolve 0\nlp_algorithm 3\nlp_iteration_limit 1\n";
  const std::string fine = "combination\npresolve 0\nlp_algorithm 2\n";
  for (const std::string &text : {slow + fine, fine + slow}) {
    NVRLsetintcontrol(prob, NVRL_CTRL_LP_ALGORITHM, 1);
    writeFile("# two combinations\n" + text);
    ASSERT_EQ(NVRLtunerreadmethod(prob, path.c_str()), 0) << lastError();
    ASSERT_EQ(NVRLtune(prob, ""), 0) << lastError();
    EXPECT_EQ(intControl(NVRL_CTRL_LP_ALGORITHM), 2);
    EXPECT_EQ(intControl(NVRL_CTRL_LP_ITERATION_LIMIT), 0);
  }
}

// A MIP that cannot be closed quickly: the tuner's limits end it, and its own time limit
// does not stay on the problem.
TEST_F(TuneTest, TimeLimitsBoundAMipTune) {
  buildMarketSplit();
  NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
  NVRLsetdblcontrol(prob, NVRL_CTRL_TUNER_RUN_TIME_LIMIT, 0.2);
  NVRLsetdblcontrol(prob, NVRL_CTRL_TUNER_TIME_LIMIT, 0.5);
  const auto t0 = std::chrono::steady_clock::now();
  ASSERT_EQ(NVRLtune(prob, ""), 0) << lastError();
  const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  EXPECT_LT(secs, 5.0);
  double tl = -1;
  NVRLgetdblcontrol(prob, NVRL_CTRL_TIME_LIMIT, &tl);
  EXPECT_EQ(tl, 0.0);
  // The stopped runs were ranked by their gap; one of the default combinations won.
  ASSERT_EQ(NVRLtunerwritemethod(prob, path.c_str()), 0);
  const std::string won = withoutComments(iotest::readBytes(path));
  const std::vector<std::string> defaults = {"combination\n", "combination\npresolve 0\n",
                                             "combination\nmip_heuristic_effort 0\n",
                                             "combination\nmip_heuristic_effort 0.29999999999999999\n",
                                             "combination\ntree_search 1\n"};
  EXPECT_NE(std::find(defaults.begin(), defaults.end(), won), defaults.end()) << won;
}

struct BadMethod {
  const char *label;
  const char *text;
  const char *message;
};

class TuneBadMethod : public TuneTest, public ::testing::WithParamInterface<BadMethod> {};

TEST_P(TuneBadMethod, RefusedAndThePreviousMethodKept) {
  readData("afiro.mps");
  writeFile("combination\npresolve 0\n");
  ASSERT_EQ(NVRLtunerreadmethod(prob, path.c_str()), 0) << lastError();
  writeFile(GetParam().text);
  EXPECT_NE(NVRLtunerreadmethod(prob, path.c_str()), 0);
  EXPECT_NE(lastError().find(GetParam().message), std::string::npos) << lastError();
  ASSERT_EQ(NVRLtunerwritemethod(prob, path.c_str()), 0);
  EXPECT_EQ(withoutComments(iotest::readBytes(path)), "combination\npresolve 0\n");
}

INSTANTIATE_TEST_SUITE_P(
    Files, TuneBadMethod,
    ::testing::Values(BadMethod{"unknown", "combination\nno_such_control 1\n", "no_such_control"},
                      BadMethod{"string", "mps_rhs_name x\n", "not a numerical control"},
                      BadMethod{"range", "presolve 2\n", "line 1: presolve 2"},
                      BadMethod{"fraction", "combination\n\npresolve 0.5\n", "line 3"},
                      BadMethod{"empty", "# nothing\n", "no combination"}),
    nvtest::byLabel);

}  // namespace
}  // namespace solvetest
