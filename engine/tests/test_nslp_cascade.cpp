// Determining rows and cascading: the order, the Newton solve per column and its failures,
// the solve's cascading of trial points on a pooling problem, and deletions.
#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "nslp/slp_cascade.h"
#include "nslp/slp_loop.h"
#include "test_nslp_support.h"

namespace {

using nslptest::F;
using nslptest::getVar;
using nslptest::setVar;
using nslptest::VarIn;
using nslptest::VarOut;

class Cascade : public nslptest::NslpTest {
 protected:
  void determine(int c, int r) { ASSERT_EQ(0, setVar(slp, c, &VarIn::detrow, r)) << slpError(); }
  int detRow(int c) { return getVar(slp, c, &VarOut::detrow); }
  std::vector<int> order() {
    int n = -1;
    EXPECT_EQ(0, NSLPgetcascadeorder(slp, &n, nullptr, 0)) << slpError();
    std::vector<int> o(std::max(n, 0));
    EXPECT_EQ(0, NSLPgetcascadeorder(slp, nullptr, o.data(), n));
    return o;
  }

  // Haverly's first pooling problem, minimising cost (optimum -400): crudes A (3% sulphur,
  // cost 6) and B (1%, 16) are blended in a pool of quality q; crude C (2%, 10) goes
  // straight to the products X (at most 100, price 9, at most 2.5%) and Y (at most 200,
  // price 15, at most 1.5%). q is determined by the pool's sulphur balance (row 1).
  struct Pool {
    int fa, fb, xp, yp, cx, cy, q, balance;
  };
  Pool haverly() {
    Pool p;
    p.fa = col(0, 1e20, 6);
    p.fb = col(0, 1e20, 16);
    p.xp = col(0, 1e20, -9);
    p.yp = col(0, 1e20, -15);
    p.cx = col(0, 1e20, 1);
    p.cy = col(0, 1e20, -5);
    p.q = col(1, 3, 0);
    row('E', 0, {{p.fa, 1}, {p.fb, 1}, {p.xp, -1}, {p.yp, -1}});
    p.balance = row('E', 0, {{p.fa, -3}, {p.fb, -1}});
    coef(p.balance, p.xp, 1.0, F().x(p.q));
    coef(p.balance, p.yp, 1.0, F().x(p.q));
    row('L', 100, {{p.xp, 1}, {p.cx, 1}});
    row('L', 200, {{p.yp, 1}, {p.cy, 1}});
    int r = row('L', 0, {{p.xp, -2.5}, {p.cx, -0.5}});
    coef(r, p.xp, 1.0, F().x(p.q));
    r = row('L', 0, {{p.yp, -1.5}, {p.cy, 0.5}});
    coef(r, p.yp, 1.0, F().x(p.q));
    const std::pair<int, double> start[] = {{p.fa, 40}, {p.fb, 60}, {p.xp, 50},
                                            {p.yp, 50}, {p.cx, 10}, {p.cy, 10}, {p.q, 2.5}};
    for (auto [c, v] : start) this->start(c, v);
    return p;
  }
};

TEST_F(Cascade, TheOrderFollowsTheRowsThenSequenceNumbersThenIndices) {
  // Columns 0..4; 1 is defined from 3's row value, 3 from 4, and 0 and 2 from nothing
  // determined. Sequence numbers alone would give 4 3 2 1 0.
  for (int j = 0; j < 5; ++j) col(-10, 10, 0);
  const int r0 = row('E', 1, {{0, 1}});
  const int r1 = row('E', 2, {{1, 1}, {3, 1}});
  const int r2 = row('E', 3, {{2, 1}});
  const int r3 = row('E', 4, {{3, 1}});
  coef(r3, 4, 1.0, F().x(4));  // 3 depends on 4 through a formula
  const int r4 = row('E', 5, {{4, 2}});
  const int cols[] = {0, 1, 2, 3, 4}, rows[] = {r0, r1, r2, r3, r4}, seq[] = {5, 4, 3, 2, 1};
  ASSERT_EQ(0, NSLPloadvars(slp, 5, cols, nullptr, rows, seq, nullptr, nullptr, nullptr))
      << slpError();
  ASSERT_EQ(0, NSLPcascadeorder(slp));
  EXPECT_EQ((std::vector<int>{4, 3, 2, 1, 0}), order());
  EXPECT_EQ(5, intAttr(NSLP_ATTR_CASCADE_COLUMNS));

  // Equal sequence numbers: the dependencies, then the index.
  const int same[] = {0, 0, 0, 0, 0};
  ASSERT_EQ(0, NSLPaddvars(slp, 5, cols, nullptr, nullptr, same, nullptr, nullptr, nullptr));
  ASSERT_EQ(0, NSLPcascadeorder(slp));
  EXPECT_EQ((std::vector<int>{0, 2, 4, 3, 1}), order());

  // Cascading the start solves the chain in one pass: 4 first, then 3 from it, then 1.
  ASSERT_EQ(0, NSLPcascade(slp)) << slpError();
  EXPECT_DOUBLE_EQ(1.0, value(0));
  EXPECT_DOUBLE_EQ(3.0, value(2));
  EXPECT_NEAR(2.5, value(4), 1e-12);
  EXPECT_NEAR(4.0 - 2.5 * 2.5, value(3), 1e-9);
  EXPECT_NEAR(2.0 - (4.0 - 2.5 * 2.5), value(1), 1e-9);
  EXPECT_EQ(0, intAttr(NSLP_ATTR_CASCADE_FAILURES));
}

TEST_F(Cascade, ACycleIsBrokenAtItsFirstColumnAndReported) {
  // Rows that read each other's determined column: 1 <-> 2, and 0 behind 1.
  for (int j = 0; j < 3; ++j) col(-10, 10, 0);
  const int r0 = row('E', 1, {{0, 1}, {1, 1}});
  const int r1 = row('E', 2, {{1, 1}, {2, 1}});
  const int r2 = row('E', 3, {{2, 1}, {1, -1}});
  captureLog(1);
  const int cols[] = {0, 1, 2}, rows[] = {r0, r1, r2}, seq[] = {0, 7, 3};
  ASSERT_EQ(0, NSLPloadvars(slp, 3, cols, nullptr, rows, seq, nullptr, nullptr, nullptr));
  ASSERT_EQ(0, NSLPcascadeorder(slp));
  EXPECT_EQ((std::vector<int>{2, 1, 0}), order());
  EXPECT_EQ(1u, logged("columns 2, 1 depend on each other").size());
  // The same data gives the same order every time.
  ASSERT_EQ(0, NSLPcascadeorder(slp));
  EXPECT_EQ((std::vector<int>{2, 1, 0}), order());
}

// The refusals (a row without the column) are in the bad-input table.
TEST_F(Cascade, AFormulaRowCanDetermineAColumnAndMinusOneUndoes) {
  const int a = col(0, 10, 0), b = col(0, 10, 0), c = col(0, 10, 0);
  const int linear = row('E', 1, {{a, 1}});
  const int formula = row('E', 1, {{b, 1}});
  coef(formula, -1, 1.0, F().x(c).x(c).mul());  // c occurs only inside the formula
  determine(c, formula);
  determine(a, linear);
  EXPECT_EQ(formula, detRow(c));
  determine(a, -1);
  EXPECT_EQ(-1, detRow(a));
}

// A failed cascade leaves the column where it was and is counted.
TEST_F(Cascade, AFailedColumnKeepsItsValue) {
  struct Case {
    const char *what;
    double ub;
    double otherStart;
    int limit;
  };
  const Case cases[] = {
      {"the bound is in the way", 1.0, 1.0, 0},
      {"no derivative at the point", 10.0, 0.0, 0},
      {"the iteration limit", 10.0, 1.0, 1},
  };
  for (const Case &k : cases) {
    SCOPED_TRACE(k.what);
    NSLPdestroyprob(slp);
    NVRLdestroyprob(prob);
    ASSERT_EQ(0, NVRLcreateprob(&prob));
    ASSERT_EQ(0, NSLPcreateprob(&slp, &prob));
    NSLPsetintcontrol(slp, NSLP_CTRL_LOG_LEVEL, 0);
    // exp(q) * y = 5 defines q; from q = 0 Newton needs several steps.
    const int q = col(0, k.ub, 0), y = col(0, 10, 0);
    const int r = row('E', 5, {});
    coef(r, y, 1.0, F().args().x(q).fn(NSLP_FN_EXP));
    start(q, 0.0);
    start(y, k.otherStart);
    determine(q, r);
    if (k.limit) {
      ASSERT_EQ(0, NSLPchgcascadenlimit(slp, q, k.limit));
    }
    ASSERT_EQ(0, NSLPcascade(slp)) << slpError();
    EXPECT_EQ(0.0, value(q));
    EXPECT_EQ(1, intAttr(NSLP_ATTR_CASCADE_FAILURES));
  }
  // With the column's own limit back at the control's default it converges.
  ASSERT_EQ(0, NSLPchgcascadenlimit(slp, 0, 0));
  ASSERT_EQ(0, NSLPcascade(slp));
  EXPECT_NEAR(std::log(5.0), value(0), 1e-12);
  EXPECT_EQ(0, intAttr(NSLP_ATTR_CASCADE_FAILURES));
}

TEST_F(Cascade, AnInequalityRowIsMovedOnlyToItsNearerBound) {
  const int a = col(-10, 10, 0), b = col(-10, 10, 0);
  const int r = row('L', 4, {{b, 1}});
  coef(r, -1, 1.0, F().x(a).x(a).mul());  // a^2 + b <= 4
  determine(a, r);
  start(b, 0.0);
  start(a, 1.0);
  ASSERT_EQ(0, NSLPcascade(slp));
  EXPECT_EQ(1.0, value(a));  // holds already: untouched
  ASSERT_EQ(0, setVar(slp, a, &VarIn::value, 3.0));
  ASSERT_EQ(0, NSLPcascade(slp));
  EXPECT_NEAR(2.0, value(a), 1e-9);
}

TEST_F(Cascade, EveryAcceptedPointSatisfiesTheDeterminingRowAndTheOptimumIsReached) {
  const Pool p = haverly();
  determine(p.q, p.balance);
  ASSERT_EQ(0, optimize()) << slpError();
  ASSERT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(-400.0, objective(), 1e-5 * 400);
  const int withCascade = intAttr(NSLP_ATTR_ITERATIONS);
  // The point kept when the iteration limit stops the solve is the last accepted one.
  for (int limit = 1; limit <= withCascade; ++limit) {
    SCOPED_TRACE(limit);
    NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, limit);
    ASSERT_EQ(0, optimize()) << slpError();
    const std::vector<double> xs = x();
    // rhs 0: the slack is minus the row's activity.
    EXPECT_NEAR(0.0, slacks()[p.balance], 1e-9 * std::max(1.0, 3 * xs[p.fa] + xs[p.fb]));
  }
  NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, 1000);
  NSLPsetintcontrol(slp, NSLP_CTRL_CASCADE, 0);
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_NEAR(-400.0, objective(), 1e-5 * 400);
  const int without = intAttr(NSLP_ATTR_ITERATIONS);
  EXPECT_LT(withCascade, without);
}

TEST_F(Cascade, TheLoopReportsEachColumnThroughItsHooks) {
  const int a = col(0, 10, 0), b = col(0, 60, 0);
  const int r = row('E', 4, {});
  coef(r, -1, 1.0, F().x(a).x(a).mul());
  const int s = row('E', 100, {});
  coef(s, -1, 1.0, F().x(b).x(b).mul());
  nvrl::SlpModel M(model(), slp->data, 1);
  nvrl::SlpCascade c;
  c.order = {a, b};
  c.row = {r, s};
  c.limit = {30, 1};  // b cannot reach 10 from 1 in one step
  struct Seen {
    int starts = 0, ends = 0, failures = -1;
    std::vector<std::pair<int, bool>> cols;
  } seen;
  nvrl::SlpHooks hooks;
  hooks.data = &seen;
  hooks.cascadeStart = [](void *d) { ++static_cast<Seen *>(d)->starts; };
  hooks.cascadeColumn = [](void *d, int col, bool ok) {
    static_cast<Seen *>(d)->cols.push_back({col, ok});
  };
  hooks.cascadeEnd = [](void *d, int failures) {
    ++static_cast<Seen *>(d)->ends;
    static_cast<Seen *>(d)->failures = failures;
  };
  std::vector<double> x{1.0, 1.0};
  int logged = 0;
  EXPECT_EQ(1, nvrl::cascadePoint(M, c, x, &hooks, [&](const std::string &) { ++logged; }));
  EXPECT_EQ(1, seen.starts);
  EXPECT_EQ(1, seen.ends);
  EXPECT_EQ(1, seen.failures);
  EXPECT_EQ((std::vector<std::pair<int, bool>>{{a, true}, {b, false}}), seen.cols);
  EXPECT_EQ(1, logged);
  EXPECT_NEAR(2.0, x[a], 1e-12);
  EXPECT_EQ(1.0, x[b]);
}

TEST_F(Cascade, AFormulaThatCannotBeCompiledFailsTheCascade) {
  col(0, 1, 0);
  const int r = row('E', 0, {});
  // A user function index never defined.
  slp->data.coefs.push_back({r, -1, 1.0, {{NSLP_TOK_DEL, 0}, {NSLP_TOK_COL, 0},
                                          {NSLP_TOK_UFUN, 9}, {NSLP_TOK_EOF, 0}}});
  EXPECT_NE(0, NSLPcascade(slp));
  EXPECT_TRUE(slp->state.x.empty());
}

}  // namespace
