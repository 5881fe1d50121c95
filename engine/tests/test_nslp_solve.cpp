// Nonlinear solving: the solve and its answers, cascading, methods, multistart, presolve,
// quadratic constraints, scaling, the step test, interrupts and the validation of answers.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <ostream>
#include <signal.h>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "nslp/formula.h"
#include "nslp/slp_cascade.h"
#include "nslp/slp_curvature.h"
#include "nslp/slp_loop.h"
#include "nslp/slp_presolve.h"
#include "nslp/slp_scaling.h"
#include "test_nslp_support.h"

using nslptest::defineUserFunction;
using nslptest::F;
using nslptest::getVar;
using nslptest::NslpTest;
using nslptest::setVar;
using nslptest::VarIn;
using nslptest::VarOut;
using solvetest::SolveTest;

// ---- The nonlinear solver's solve (NSLPnlpoptimize, NSLPgetslpsol) on problems with published
// optima, and how it ends: limits, interrupts, infeasibility, unboundedness, evaluation errors.
namespace {

constexpr double kFree = 1e20;

TEST_F(NslpTest, MaximisesInTheSenseOfTheControl) {
  // max x0 + x1  s.t.  x0^2 + x1^2 <= 2: at (1, 1), with multiplier 1/2 on the row.
  const int a = col(-kFree, kFree, 1), b = col(-kFree, kFree, 1);
  const int r = row('L', 2.0, {});
  qrow(r, {{a, a, 1.0}, {b, b, 1.0}});
  model().objsense = -1;
  ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_OBJECTIVE_SENSE, -1.0));
  solve();
  EXPECT_NEAR(2.0, objective(), 1e-6);
  std::vector<double> sol(2), duals(1), djs(2);
  ASSERT_EQ(0, NSLPgetslpsol(slp, sol.data(), nullptr, duals.data(), djs.data()));
  nvtest::expectNear({1.0, 1.0}, sol, 1e-5);
  // As for a maximising LP: objective gradient = dual * row gradient at the optimum.
  nvtest::expectNear({0.5, 0.0, 0.0}, {duals[0], djs[0], djs[1]}, 1e-5);
}

TEST_F(NslpTest, CoefficientsEvaluateAtTheLastSolution) {
  // min x0 s.t. x0 * exp(x0) >= 1: the root of x e^x = 1 (0.567143...), started at 2.
  const int a = col(-5, 5, 1);
  const int r = row('G', 1.0, {});
  ASSERT_EQ(0, NSLPchgccoef(slp, r, a, nullptr, "exp(C1)")) << slpError();
  ASSERT_EQ(0, nslptest::setVar(slp, a, &nslptest::VarIn::initvalue, 2.0)) << slpError();
  double v = 0;
  ASSERT_EQ(0, NSLPevaluatecoef(slp, r, a, &v)) << slpError();
  EXPECT_NEAR(std::exp(2.0), v, 1e-12);  // before a solve: at the initial value
  ASSERT_EQ(0, optimize()) << slpError();
  const double root = x()[a];
  EXPECT_NEAR(0.5671432904, root, 1e-6);
  ASSERT_EQ(0, NSLPevaluatecoef(slp, r, a, &v)) << slpError();
  EXPECT_NEAR(std::exp(root), v, 1e-12);
}

TEST_F(NslpTest, ProblemWithoutNonlinearDataMatchesTheLinearOptimiser) {
  const int a = col(0, 10, 1), b = col(0, 10, 2);
  row('G', 1, {{a, 1}, {b, 1}});
  row('L', 0.5, {{a, 1}, {b, -1}});
  solve(NSLP_NLP_GLOBALLY_OPTIMAL);
  EXPECT_EQ(1, intAttr(NSLP_ATTR_ITERATIONS));
  std::vector<double> duals(2), djs(2);
  ASSERT_EQ(0, NSLPgetslpsol(slp, nullptr, nullptr, duals.data(), djs.data()));
  ASSERT_EQ(0, NVRLlpoptimize(prob, ""));
  std::vector<double> lpduals(2), lpdjs(2);
  double lpobj = 0;
  ASSERT_EQ(0, NVRLgetlpsol(prob, nullptr, nullptr, lpduals.data(), lpdjs.data()));
  ASSERT_EQ(0, NVRLgetdblattrib(prob, NVRL_ATTR_LP_OBJECTIVE, &lpobj));
  EXPECT_NEAR(lpobj, objective(), 1e-9);
  nvtest::expectNear(lpduals, duals, 1e-9);
  nvtest::expectNear(lpdjs, djs, 1e-9);
}

struct Unsolvable {
  const char *name;
  int status;
};

class NoOptimum : public NslpTest, public ::testing::WithParamInterface<Unsolvable> {};

TEST_P(NoOptimum, EndsWithItsStatus) {
  const std::string name = GetParam().name;
  const int a = col(-kFree, kFree, 0), b = col(-kFree, kFree, 0);
  const int disc = row('L', 1.0, {});
  qrow(disc, {{a, a, 1.0}, {b, b, 1.0}});
  if (name == "far_from_the_disc") {
    row('G', 3.0, {{a, 1}, {b, 1}});  // the disc and the half-plane do not meet
  } else if (name == "contradictory_linear_rows") {
    row('G', 3.0, {{a, 1}, {b, 1}});
    row('L', 1.0, {{a, 1}, {b, 1}});
  } else if (name == "unbounded") {
    const int c = col(-kFree, kFree, -1);  // min -c with only c >= a: nothing stops it
    row('L', 0.0, {{a, 1}, {c, -1}});
  }
  optimize();
  EXPECT_EQ(GetParam().status, status()) << slpError();
  if (name != "far_from_the_disc") return;
  // Convex rows that do not meet: the optimiser beneath finds no point either.
  EXPECT_EQ(0, NVRLlpoptimize(prob, "")) << lastError();
  EXPECT_EQ(NVRL_LP_INFEAS, nvtest::intAttr(prob, NVRL_ATTR_LP_STATUS));
}

INSTANTIATE_TEST_SUITE_P(
    Statuses, NoOptimum,
    ::testing::Values(Unsolvable{"far_from_the_disc", NSLP_NLP_LOCALLY_INFEASIBLE},
                      Unsolvable{"contradictory_linear_rows", NSLP_NLP_INFEASIBLE},
                      Unsolvable{"unbounded", NSLP_NLP_UNBOUNDED}),
    [](const ::testing::TestParamInfo<Unsolvable> &i) { return std::string(i.param.name); });

struct InterruptOnFirstIteration {
  int lines = 0;
  static void cb(NSLPprob slp, void *data, const char *msg, int len, int) {
    auto *self = static_cast<InterruptOnFirstIteration *>(data);
    const std::string line(msg, len);
    // Iteration lines start with the iteration number.
    if (line.size() > 6 && line.compare(0, 6, "     1") == 0) NSLPinterrupt(slp, NVRL_STOP_USER);
    ++self->lines;
  }
};

// Rosenbrock from (-1.2, 1), whose objective there is 24.2, stopped by its iteration limit,
// then by an interrupt from the message callback.
TEST_F(NslpTest, IterationLimitAndInterruptFromTheMessageCallbackStopTheSolve) {
  const int a = col(-kFree, kFree, 0), b = col(-kFree, kFree, 0);
  formulaObjective(
      F().k(1).x(a).sub().k(2).pow().k(100).x(b).x(a).k(2).pow().sub().k(2).pow().mul().add());
  start(a, -1.2);
  start(b, 1.0);
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, 3));
  solve(NSLP_NLP_UNFINISHED);
  EXPECT_EQ(NVRL_STOP_ITERLIMIT, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_EQ(3, intAttr(NSLP_ATTR_ITERATIONS));
  const std::vector<double> sol = x();
  // The point kept improves on the start (the objective sits in the transfer column).
  EXPECT_LT((1 - sol[0]) * (1 - sol[0]) + 100 * std::pow(sol[1] - sol[0] * sol[0], 2), 24.2);
  EXPECT_LT(objective(), 24.2);
  EXPECT_NEAR(sol[2], objective(), 1e-12);

  // The interrupt stops the next solve at its first iteration.
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, 1000));
  InterruptOnFirstIteration handler;
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_LOG_LEVEL, 1));
  ASSERT_EQ(0, NSLPsetcbmessage(slp, InterruptOnFirstIteration::cb, &handler));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_GT(handler.lines, 0);
  EXPECT_EQ(NSLP_NLP_UNFINISHED, status());
  EXPECT_EQ(NVRL_STOP_USER, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_EQ(1, intAttr(NSLP_ATTR_ITERATIONS));
  EXPECT_EQ(NVRL_STOP_USER, intAttr(NSLP_ATTR_INTERRUPT_REASON));
  // A new solve starts afresh and runs to its end.
  ASSERT_EQ(0, NSLPsetcbmessage(slp, nullptr, nullptr));
  solve();
}

TEST_F(NslpTest, MixedIntegerConvexProblemMatchesEnumeration) {
  // min (x - 2.6)^2 + (y - 1.3)^2  s.t.  x^2 + y^2 <= 9, x and y integers in [0, 5].
  const int a = col(0, 5, -5.2, 'I'), b = col(0, 5, -2.6, 'I');
  model().objconst = 2.6 * 2.6 + 1.3 * 1.3;
  qobj({{a, a, 2.0}, {b, b, 2.0}});
  qrow(row('L', 9.0, {}), {{a, a, 1.0}, {b, b, 1.0}});
  double best = 1e9;
  for (int i = 0; i <= 5; ++i)
    for (int j = 0; j <= 5; ++j)
      if (i * i + j * j <= 9) best = std::min(best, std::pow(i - 2.6, 2) + std::pow(j - 1.3, 2));
  solve(NSLP_NLP_GLOBALLY_OPTIMAL, "g");
  EXPECT_NEAR(best, objective(), 1e-6);
  const std::vector<double> sol = x();
  EXPECT_NEAR(std::round(sol[a]), sol[a], 1e-6);
  // Without the flag the integrality is dropped, and the continuous optimum is better.
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_LT(objective(), best - 0.1);
}

TEST_F(NslpTest, TrialPointOutsideTheDomainIsRejectedAndTheSolveGoesOn) {
  // min 10x - ln(x) from x = 1: the first step crosses 0, where ln is not defined.
  const int a = col(-kFree, kFree, 0);
  formulaObjective(F().k(10).x(a).mul().args().x(a).fn(NSLP_FN_LN).sub());
  start(a, 1.0);
  captureLog(1);
  solve();
  EXPECT_NEAR(0.1, x()[a], 1e-5);
  EXPECT_NEAR(1.0 + std::log(10.0), objective(), 1e-7);
  EXPECT_FALSE(logged("rejected: ").empty()) << "no trial point was rejected";
}

TEST_F(NslpTest, AnswersNeedASolveAndAFormulaOutsideTheProblemIsRefused) {
  const int a = col(-kFree, kFree, 1);
  double v;
  EXPECT_NE(0, NSLPgetslpsol(slp, &v, nullptr, nullptr, nullptr));
  const int r = row('L', 1.0, {});
  coef(r, -1, 1.0, F().x(a + 5).k(2).pow());  // column 5 does not exist
  EXPECT_NE(0, optimize());
  EXPECT_NE(std::string::npos, slpError().find("NSLPnlpoptimize")) << slpError();
  EXPECT_EQ(NSLP_NLP_UNSTARTED, status());
}

// Reloading the optimiser problem beneath keeps the nonlinear data: with fewer columns the
// solve refuses it with a message instead of reading past the data; with more, it solves.
class ReloadBeneath : public NslpTest, public ::testing::WithParamInterface<int> {};

TEST_P(ReloadBeneath, SolveRefusesStaleCoefficientsOrSolves) {
  ASSERT_EQ(0, NSLPreadprob(slp, nslptest::nlpFile("hs071").c_str(), "")) << slpError();
  const int n = GetParam();  // columns of the new LP: fewer and more than hs071's four
  std::vector<double> obj(n, 1.0), lb(n, 1.0), ub(n, 5.0), coef(n, 1.0), rhs{1.0, 1.0};
  std::vector<int> start(n + 1), len(n, 1), ind(n, 0);
  for (int j = 0; j <= n; ++j) start[j] = j;
  for (int j = 0; j < n; ++j) ind[j] = j % 2;
  const char type[] = {'G', 'G'};
  ASSERT_EQ(0, NVRLloadlp(prob, "reloaded", n, 2, type, rhs.data(), nullptr, obj.data(),
                          start.data(), len.data(), ind.data(), coef.data(), lb.data(),
                          ub.data()));
  if (n < 4) {  // hs071's formulas read columns 0-3
    EXPECT_NE(0, optimize());
    EXPECT_NE(std::string::npos, slpError().find("a nonlinear coefficient cannot be used"))
        << slpError();
  } else {  // the added columns take default settings
    solve();
  }
  // The problem stays usable: read anew, it solves to its optimum.
  ASSERT_EQ(0, NSLPreadprob(slp, nslptest::nlpFile("hs071").c_str(), "")) << slpError();
  solve();
}

INSTANTIATE_TEST_SUITE_P(Sizes, ReloadBeneath, ::testing::Values(1, 3, 6));

// ---- Determining rows and cascading: the order, the Newton solve per column and its failures,
// the solve's cascading of trial points on a pooling problem, and deletions.

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
  ASSERT_NO_FATAL_FAILURE(solve());
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

// ---- The nonlinear solver's method: the dense algebra of its second-order check, saddle points
// left behind, overshooting steps, and step bounds below the step tolerance.

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

// Solves a first-order method or the step test could end too early, each reaching its local
// optimum (and its point, where unique):
// - starts at a saddle point of the objective or of the Lagrangian: the gradient (of the
//   Lagrangian) vanishes there, so a first-order method has no reason to move;
// - a start near a local minimum, which must not be left however its curvature is probed;
// - max x*y on the circle x^2 + y^2 = 8 from (0.5, 0.5): the first step overshoots the circle
//   far enough that its correction pulls back to the start. Rejecting that step must shrink
//   the step bounds by the step's length, not end the solve at once; the optimum is 4 at (2, 2);
// - min (x - 1)^2 from x = 0 with a step bound far below the step tolerance: every early step
//   is its bound, which is no sign of convergence; the bound doubles per good step until x
//   can reach 1.
struct LocalCase {
  const char *name;
  double optimum, objTol;     // the objective is not checked where optimum is NaN
  std::vector<double> point;  // the first columns at the optimum
  double pointTol = 0, stepBound = 0;
  friend void PrintTo(const LocalCase &c, std::ostream *os) { *os << c.name; }
};

class SlpLocalSolve : public NslpTest, public ::testing::WithParamInterface<LocalCase> {
 protected:
  void build(const std::string &which) {
    if (which == "SaddleUnconstrained") {
      // x^2 - y^2 + y^4/4 from (0, 0): minima at y = +-sqrt(2), value -1.
      const int a = col(-1e20, 1e20, 0.0), b = col(-1e20, 1e20, 0.0);
      start(a, 0.0);
      start(b, 0.0);
      formulaObjective(
          F().x(a).k(2).pow().x(b).k(2).pow().sub().k(0.25).x(b).k(4).pow().mul().add());
    } else if (which == "SaddleOnAnEquality") {
      // min x*y on x + y = 0 from (0, 0): x*y = -x^2, unbounded below within the bounds
      // [-2, 2]: the optimum -4 sits at a corner.
      const int a = col(-2, 2, 0.0), b = col(-2, 2, 0.0);
      start(a, 0.0);
      start(b, 0.0);
      row('E', 0.0, {{a, 1.0}, {b, 1.0}});
      formulaObjective(F().x(a).x(b).mul());
    } else if (which == "SaddleBoundTouched") {
      // min x3 on x1^2 + x2^2 + x3^2 >= 4, x1, x2 >= 0, from (0, 0, 3): the linearisations
      // keep x1 and x2 at 0 and end at (0, 0, 2); the optimum is x3 = 0 on the circle.
      const int a = col(0, 1e20, 0.0), b = col(0, 1e20, 0.0), c = col(0, 5, 1.0);
      start(a, 0.0);
      start(b, 0.0);
      start(c, 3.0);
      const int r = row('G', 4.0, {});
      coef(r, -1, 1.0, F().x(a).k(2).pow().x(b).k(2).pow().add().x(c).k(2).pow().add());
    } else if (which == "ALocalMinimumIsNotLeft") {
      // (x - 1)^2 (x + 1)^2 has minima at -1 and 1 and a maximum at 0; from 0.9 the solve
      // ends at 1, the nearer minimum.
      const int a = col(-1e20, 1e20, 0.0);
      start(a, 0.9);
      formulaObjective(F().x(a).k(1).sub().k(2).pow().x(a).k(1).add().k(2).pow().mul());
    } else if (which.rfind("Overshoot", 0) == 0) {
      const int a = col(0.5, 1e20, 0.0), b = col(0.5, 1e20, 0.0);
      start(a, 0.5);
      start(b, 0.5);
      const int r = row('E', 8.0, {});
      coef(r, -1, 1.0, F().x(a).k(2).pow().x(b).k(2).pow().add());
      // OvershootSqrt: -sqrt(x^2 y^2), which the same start reached as locally infeasible.
      if (which == "OvershootSqrt")
        formulaObjective(
            F().args().x(a).k(2).pow().x(b).k(2).pow().mul().fn(NSLP_FN_SQRT).k(-1).mul());
      else
        formulaObjective(F().x(a).x(b).mul().k(-1).mul());
    } else {  // SmallStepBound...: the control's initial step bound, or the column's own
      const int v = col(-1e20, 1e20, 0.0);
      formulaObjective(F().x(v).k(1).sub().k(2).pow());
      start(v, 0.0);
      const double bound = GetParam().stepBound;
      if (which == "SmallStepBoundColumn")
        ASSERT_EQ(0, setVar(slp, v, &VarIn::initstepbound, bound)) << slpError();
      else
        ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_INITIAL_STEP_BOUND, bound));
      ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_STEP_TOLERANCE, 1e-6));
    }
  }
};

TEST_P(SlpLocalSolve, EndsAtTheLocalOptimum) {
  const LocalCase &c = GetParam();
  ASSERT_NO_FATAL_FAILURE(build(c.name));
  solve();
  if (!std::isnan(c.optimum)) EXPECT_NEAR(c.optimum, objective(), c.objTol);
  const std::vector<double> sol = x();
  for (size_t j = 0; j < c.point.size(); ++j) EXPECT_NEAR(c.point[j], sol.at(j), c.pointTol) << j;
}

INSTANTIATE_TEST_SUITE_P(
    Slp, SlpLocalSolve,
    ::testing::Values(LocalCase{"SaddleUnconstrained", -1.0, 1e-6, {}},
                      LocalCase{"SaddleOnAnEquality", -4.0, 1e-6, {}},
                      LocalCase{"SaddleBoundTouched", 0.0, 1e-6, {}},
                      LocalCase{"ALocalMinimumIsNotLeft", 0.0, 1e-8, {1.0}, 1e-4},
                      LocalCase{"OvershootProduct", -4.0, 1e-6, {2.0, 2.0}, 1e-5},
                      LocalCase{"OvershootSqrt", -4.0, 1e-6, {2.0, 2.0}, 1e-5},
                      LocalCase{"SmallStepBoundControl", NAN, 0, {1.0}, 1e-5, 1e-7},
                      LocalCase{"SmallStepBoundControlTiny", NAN, 0, {1.0}, 1e-5, 1e-10},
                      LocalCase{"SmallStepBoundColumn", NAN, 0, {1.0}, 1e-5, 1e-8}),
    [](const auto &i) { return std::string(i.param.name); });

// ---- Multistart jobs and the global search: the best answer over several starts wins, a job's
// controls act for that job only, and presets generate their jobs reproducibly (bad jobs, presets
// and handles are in the bad-input table).

// x^4 - 4x^2 + x on [-3, 3]: local minima at x = 1.3470 (f = -2.6186) and, the global one,
// x = -1.4730 (f = -5.4442). With step bounds of 0.5 the solver stays in the basin it starts
// in: from x = 2 it ends in the worse minimum.
constexpr double kLocalX = 1.3469974, kLocalF = -2.6185560;
constexpr double kGlobalX = -1.4729976, kGlobalF = -5.4441921;
// The six-hump camel function on [-3, 3] x [-2, 2]: global minimum -1.031628 at
// (0.0898, -0.7126) and (-0.0898, 0.7126); a local one of -0.215464 at (1.7036, -0.7961).
constexpr double kCamelGlobal = -1.0316285, kCamelLocal = -0.2154638;  // to 1e-7

class Multistart : public NslpTest {
 protected:
  // The quartic, minimised (sense 1) or its negation maximised (sense -1).
  int quartic(int sense = 1, double x0 = 2.0) {
    const int x = col(-3, 3, 0);
    F f;
    f.x(x).k(4).pow().k(4).x(x).k(2).pow().mul().sub().x(x).add();
    if (sense < 0) f.k(-1).mul();
    formulaObjective(f);
    if (sense < 0) NSLPsetdblcontrol(slp, NSLP_CTRL_OBJECTIVE_SENSE, -1.0);
    NSLPsetdblcontrol(slp, NSLP_CTRL_INITIAL_STEP_BOUND, 0.5);
    start(x, x0);
    return x;
  }
  void camel() {
    const int a = col(-3, 3, 0), b = col(-2, 2, 0);
    formulaObjective(F().k(4).k(2.1).x(a).k(2).pow().mul().sub().k(1.0 / 3).x(a).k(4).pow()
                         .mul().add().x(a).k(2).pow().mul()
                         .x(a).x(b).mul().add()
                         .k(-4).k(4).x(b).k(2).pow().mul().add().x(b).k(2).pow().mul().add());
    start(a, 1.7);
    start(b, -0.8);
  }
  int addStart(double v, const char *desc = "start") {
    const int c = 0;
    return NSLPmsaddjob(slp, desc, 1, &c, &v, 0, nullptr, nullptr, 0, nullptr, nullptr, nullptr);
  }
  int queued() { return intAttr(NSLP_ATTR_MULTISTART_JOBS); }
  int jobsRun() { return intAttr(NSLP_ATTR_MULTISTART_JOBS_RUN); }
  int winner() { return intAttr(NSLP_ATTR_MULTISTART_WINNER); }
  double baseObjective() { return dblAttr(NSLP_ATTR_MULTISTART_BASE_OBJECTIVE); }
};

class MultistartSense : public Multistart, public ::testing::WithParamInterface<int> {};

TEST_P(MultistartSense, ThreeJobsFindTheGlobalOptimumTheSingleStartMisses) {
  const int sense = GetParam();
  const int xc = quartic(sense);
  ASSERT_NO_FATAL_FAILURE(solve());
  EXPECT_NEAR(sense * kLocalF, objective(), 1e-5);
  EXPECT_EQ(0, jobsRun());
  EXPECT_EQ(0, winner());
  const int alone = intAttr(NSLP_ATTR_ITERATIONS);

  // 2.5 and 0.5 lead to the local minimum, -2.5 to the global one.
  ASSERT_EQ(0, addStart(2.5)) << slpError();
  ASSERT_EQ(0, addStart(-2.5)) << slpError();
  ASSERT_EQ(0, addStart(0.5)) << slpError();
  EXPECT_EQ(3, queued());
  solve();
  EXPECT_EQ(3, jobsRun());
  EXPECT_EQ(2, winner());
  EXPECT_EQ(4, intAttr(NSLP_ATTR_MULTISTART_JOBS_OPTIMAL));
  EXPECT_NEAR(sense * kLocalF, baseObjective(), 1e-5);
  EXPECT_NEAR(sense * kGlobalF, objective(), 1e-5);
  EXPECT_NEAR(kGlobalX, x()[xc], 1e-4);
  EXPECT_GT(intAttr(NSLP_ATTR_ITERATIONS), alone);  // every solve's iterations count

  // The queue stays until cleared.
  ASSERT_EQ(0, optimize());
  EXPECT_EQ(3, jobsRun());
  EXPECT_NEAR(sense * kGlobalF, objective(), 1e-5);
  ASSERT_EQ(0, NSLPmsclear(slp));
  EXPECT_EQ(0, queued());
  ASSERT_EQ(0, optimize());
  EXPECT_EQ(0, jobsRun());
  EXPECT_NEAR(sense * kLocalF, objective(), 1e-5);
  EXPECT_NEAR(kLocalX, x()[xc], 1e-4);
}

INSTANTIATE_TEST_SUITE_P(Sense, MultistartSense, ::testing::Values(1, -1),
                         [](const auto &i) { return i.param > 0 ? "minimise" : "maximise"; });

TEST_F(Multistart, JobControlsActForTheJobOnlyAndAreRestored) {
  quartic();
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, 500));
  const int c = 0;
  const double v = -2.5;
  // One iteration from the global basin leaves the job unfinished: a locally optimal base
  // answer beats it whatever its objective.
  const int ids[] = {NSLP_CTRL_ITERATION_LIMIT, NVRL_CTRL_LP_ALGORITHM};
  const int vals[] = {1, 3};
  const int dids[] = {NSLP_CTRL_INITIAL_STEP_BOUND};
  const double dvals[] = {0.25};
  ASSERT_EQ(0, NSLPmsaddjob(slp, "limited", 1, &c, &v, 2, ids, vals, 1, dids, dvals, nullptr))
      << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(1, jobsRun());
  EXPECT_EQ(0, winner());
  EXPECT_NEAR(kLocalF, objective(), 1e-5);

  int iv = 0;
  double dv = 0;
  ASSERT_EQ(0, NSLPgetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, &iv));
  EXPECT_EQ(500, iv);
  ASSERT_EQ(0, NSLPgetdblcontrol(slp, NSLP_CTRL_INITIAL_STEP_BOUND, &dv));
  EXPECT_EQ(0.5, dv);
  ASSERT_EQ(0, NVRLgetintcontrol(prob, NVRL_CTRL_LP_ALGORITHM, &iv));
  EXPECT_EQ(1, iv);

  // The same job without the limit wins.
  ASSERT_EQ(0, NSLPmsclear(slp));
  ASSERT_EQ(0, NSLPmsaddjob(slp, "free", 1, &c, &v, 1, ids + 1, vals + 1, 1, dids, dvals,
                            nullptr));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(1, winner());
  EXPECT_NEAR(kGlobalF, objective(), 1e-5);
  // A null description is an empty one.
  const double one = 1.0;
  EXPECT_EQ(0, NSLPmsaddjob(slp, nullptr, 1, &c, &one, 0, nullptr, nullptr, 0, nullptr, nullptr,
                            nullptr));
  EXPECT_EQ(2, queued());
}

struct PresetCase {
  const char *name;
  int preset, maxjobs, queued;
  bool findsGlobal;  // the preset moves the start, and the quartic's global optimum is found
};

class MultistartPreset : public Multistart, public ::testing::WithParamInterface<PresetCase> {};

TEST_P(MultistartPreset, GeneratesItsJobs) {
  const PresetCase &pc = GetParam();
  quartic();
  ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_MULTISTART_PERTURBATION, 3.0));
  int token = 0;
  ASSERT_EQ(0, NSLPmsaddpreset(slp, pc.name, pc.preset, pc.maxjobs, &token)) << slpError();
  EXPECT_EQ(pc.queued, queued());
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(pc.queued, jobsRun());
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  if (pc.findsGlobal) {
    EXPECT_GT(winner(), 0);
    EXPECT_NEAR(kGlobalF, objective(), 1e-5);
  } else {
    // Control variations from the same start may not leave the basin; never worse.
    EXPECT_LE(objective(), kLocalF + 1e-6);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Presets, MultistartPreset,
    ::testing::Values(PresetCase{"initial", NSLP_MSSET_INITIALVALUES, 6, 6, true},
                      PresetCase{"filtered", NSLP_MSSET_INITIALFILTERED, 3, 3, true},
                      PresetCase{"perturbed", NSLP_MSSET_PERTURBATIONS, 10, 10, true},
                      PresetCase{"solvers", NSLP_MSSET_SOLVERS, 100, 4, false},
                      PresetCase{"basic", NSLP_MSSET_SLP_BASIC, 100, 8, false},
                      PresetCase{"extended", NSLP_MSSET_SLP_EXTENDED, 5, 5, false}),
    [](const auto &i) { return std::string(i.param.name); });

TEST_F(Multistart, CustomPresetAddsItsControlsToEveryJob) {
  quartic();
  // Random starts, each limited to one iteration: none can be locally optimal.
  const int ids[] = {NSLP_CTRL_ITERATION_LIMIT};
  const int vals[] = {1};
  ASSERT_EQ(0, NSLPmsaddcustompreset(slp, "one step", NSLP_MSSET_INITIALVALUES, 6, 0, nullptr,
                                     nullptr, 1, ids, vals, 0, nullptr, nullptr, nullptr))
      << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(6, jobsRun());
  EXPECT_EQ(1, intAttr(NSLP_ATTR_MULTISTART_JOBS_OPTIMAL));  // the base solve only
  EXPECT_EQ(0, winner());

  // A custom initial value overrides the preset's draw: every job starts at -2.5.
  ASSERT_EQ(0, NSLPmsclear(slp));
  const int c = 0;
  const double v = -2.5;
  ASSERT_EQ(0, NSLPmsaddcustompreset(slp, "fixed", NSLP_MSSET_SLP_BASIC, 2, 1, &c, &v, 0,
                                     nullptr, nullptr, 0, nullptr, nullptr, nullptr));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(1, winner());
  EXPECT_NEAR(kGlobalF, objective(), 1e-5);
}

TEST_F(Multistart, GlobalSearchFindsTheCamelMinimumReproducibly) {
  camel();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_NEAR(kCamelLocal, objective(), 1e-5);

  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_MULTISTART_SEED, 7));
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_GLOBAL_STARTS, 12));
  ASSERT_EQ(0, NSLPglobal(slp)) << slpError();
  EXPECT_NEAR(kCamelGlobal, objective(), 1e-5);
  EXPECT_EQ(12, jobsRun());
  const int first = winner();
  EXPECT_GT(first, 0);
  const std::vector<double> x1 = x();
  // The starts were for that solve only.
  EXPECT_EQ(0, queued());

  ASSERT_EQ(0, NSLPglobal(slp)) << slpError();
  EXPECT_EQ(first, winner());
  EXPECT_EQ(x1, x());  // same seed, same starts, same answer to the last bit

  ASSERT_EQ(0, optimize());
  EXPECT_EQ(0, jobsRun());
}

TEST_F(Multistart, InterruptEndsTheMultistartWithTheBestSoFar) {
  quartic();
  ASSERT_EQ(0, addStart(-2.5, "first"));
  ASSERT_EQ(0, addStart(2.5, "second"));
  ASSERT_EQ(0, addStart(0.5, "third"));
  // Interrupt when the first job's line is logged.
  NSLPsetintcontrol(slp, NSLP_CTRL_LOG_LEVEL, 1);
  NSLPsetcbmessage(
      slp,
      [](NSLPprob p, void *, const char *msg, int len, int) {
        if (std::string(msg, len).find("job 1 (first)") != std::string::npos)
          NSLPinterrupt(p, NVRL_STOP_USER);
      },
      nullptr);
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(1, jobsRun());
  EXPECT_EQ(NVRL_STOP_USER, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_EQ(1, winner());
  EXPECT_NEAR(kGlobalF, objective(), 1e-5);
}


// ---- Presolve and postsolve of the nonlinear problem: what is folded, that the user's problem and
// the answers stay in the user's terms, stale forms, and Hock-Schittkowski problems with a
// column fixed at its published solution solved with and without presolve.

constexpr int kPresolvedBit = 1 << 29;

class Presolve : public nslptest::NslpTest {
 protected:
  bool presolved() { return (intAttr(NSLP_ATTR_STATE) & kPresolvedBit) != 0; }
  void setAuto(int v) { NSLPsetintcontrol(slp, NSLP_CTRL_AUTO_PRESOLVE, v); }
  // min (x - 1)^2 + (y - 2)^2 + z^2 with c fixed at 2:
  //   row 0:  y * (c^2 + 1) + x >= 6        -> 5y + x >= 6, linear
  //   row 1:  x^2 * c + ln(c) * z^2 <= 4    -> 2x^2 + 0.693 z^2, still nonlinear
  //   row 2:  c * c * 0.25 + z = 1.5        -> z = 0.5 (a constant moves to the rhs)
  //   row 3:  c * x (a quadratic term)  + y <= 10 -> 2x + y <= 10
  struct Cols {
    int x, y, z, c;
  };
  Cols build() {
    Cols k;
    k.x = col(-10, 10, 0);
    k.y = col(-10, 10, 0);
    k.z = col(-10, 10, 0);
    k.c = col(2, 2, 0);
    formulaObjective(F().x(k.x).k(1).sub().k(2).pow().x(k.y).k(2).sub().k(2).pow().add()
                         .x(k.z).k(2).pow().add());
    int r = row('G', 6, {{k.x, 1}});
    coef(r, k.y, 1.0, F().x(k.c).k(2).pow().k(1).add());
    r = row('L', 4, {});
    coef(r, -1, 1.0, F().x(k.x).k(2).pow().x(k.c).mul());
    coef(r, k.z, 1.0, F().args().x(k.c).fn(NSLP_FN_LN).x(k.z).mul());
    r = row('E', 1.5, {{k.z, 1}});
    coef(r, k.c, 0.25, F().x(k.c));
    r = row('L', 10, {{k.y, 1}});
    qrow(r, {{k.c, k.x, 0.5}});
    return k;
  }
};

TEST_F(Presolve, FixedColumnsAreFoldedAndConstantFormulasBecomeLinear) {
  const Cols k = build();
  const std::vector<nvrl::SlpCoefficient> before = slp->data.coefs;
  ASSERT_EQ(5, intAttr(NSLP_ATTR_COEFFICIENTS));
  ASSERT_EQ(4, intAttr(NSLP_ATTR_NONLINEAR_ROWS));  // rows with formulas: 0 (objective), 1, 2, 3
  ASSERT_EQ(0, NSLPpresolve(slp)) << slpError();
  EXPECT_TRUE(presolved());
  EXPECT_EQ(1, intAttr(NSLP_ATTR_PRESOLVE_FIXED_COLUMNS));
  EXPECT_EQ(2, intAttr(NSLP_ATTR_PRESOLVE_LINEAR_COEFFICIENTS));
  EXPECT_EQ(3, intAttr(NSLP_ATTR_COEFFICIENTS));
  EXPECT_EQ(2, intAttr(NSLP_ATTR_NONLINEAR_ROWS));

  const nvrl::SlpPresolved &form = *slp->data.presolved;
  ASSERT_TRUE(form.model);
  const nvrl::Model &pm = *form.model;
  // Row 1 of the user's problem: 5y + x >= 6, linear now.
  auto entry = [&](int r, int c) {
    const nvrl::RowMatrix &pmA = pm.A.rows();
    for (int64_t e = pmA.start[r]; e < pmA.start[r + 1]; ++e)
      if (pmA.col[e] == c) return pmA.val[e];
    return 0.0;
  };
  EXPECT_DOUBLE_EQ(5.0, entry(1, k.y));
  EXPECT_DOUBLE_EQ(1.0, entry(1, k.x));
  // Row 3: 0.25 c * c = 1 moved to the right-hand side; row 4: 2x from the quadratic term.
  EXPECT_DOUBLE_EQ(0.5, pm.rhs[3]);
  EXPECT_DOUBLE_EQ(2.0, entry(4, k.x));
  EXPECT_TRUE(pm.qrows.empty());
  // Row 2 stays nonlinear, with c folded: x^2 * 2 and z * (ln 2 * z).
  int row2 = 0;
  for (const nvrl::SlpCoefficient &c : form.coefs) {
    if (c.row != 2) continue;
    ++row2;
    for (const nvrl::SlpToken &t : c.formula) {
      EXPECT_FALSE(t.type == NSLP_TOK_COL && t.value == k.c);
      EXPECT_NE(NSLP_TOK_IFUN, t.type);  // ln(2) is a constant now
    }
  }
  EXPECT_EQ(2, row2);
  // The user's problem is as it was.
  ASSERT_EQ(before.size(), slp->data.coefs.size());
  for (size_t q = 0; q < before.size(); ++q)
    EXPECT_EQ(before[q].formula.size(), slp->data.coefs[q].formula.size());
  EXPECT_EQ(1.5, model().rhs[3]);
  EXPECT_FALSE(model().qrows.empty());

  ASSERT_EQ(0, NSLPpostsolve(slp));
  EXPECT_FALSE(presolved());
  EXPECT_EQ(5, intAttr(NSLP_ATTR_COEFFICIENTS));
}

TEST_F(Presolve, AnswersAreTheSameWithAndWithoutPresolve) {
  build();
  setAuto(0);
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_FALSE(presolved());
  const double f0 = objective();
  const std::vector<double> x0 = x(), s0 = slacks();
  setAuto(1);
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_TRUE(presolved());
  EXPECT_NEAR(f0, objective(), 1e-7);
  const std::vector<double> x1 = x(), s1 = slacks();
  ASSERT_EQ(x0.size(), x1.size());
  for (size_t j = 0; j < x0.size(); ++j) EXPECT_NEAR(x0[j], x1[j], 1e-5) << j;
  for (size_t i = 0; i < s0.size(); ++i) EXPECT_NEAR(s0[i], s1[i], 1e-5) << i;
  // nslp_postsolve drops the form at the end of the solve.
  NSLPsetintcontrol(slp, NSLP_CTRL_POSTSOLVE, 1);
  ASSERT_EQ(0, optimize());
  EXPECT_FALSE(presolved());
}

TEST_F(Presolve, AStaleFormIsNotUsed) {
  const Cols k = build();
  setAuto(0);
  ASSERT_EQ(0, NSLPpresolve(slp));
  // c fixed at 1 instead of 2: row 1 becomes 2y + x >= 6 (binding: 0.2) and row 3 gives
  // z = 1.25 (1.5625), rather than the 0.25 of the form made for c = 2.
  const char both = 'B';
  const double one = 1.0;
  ASSERT_EQ(0, NVRLchgbounds(prob, 1, &k.c, &both, &one)) << lastError();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_FALSE(presolved());
  EXPECT_NEAR(1.7625, objective(), 1e-6);
  // A changed coefficient is noticed too.
  ASSERT_EQ(0, NSLPpresolve(slp));
  EXPECT_TRUE(nvrl::presolvedIsCurrent(slp));
  slp->data.coefs[1].factor = 3.0;
  EXPECT_FALSE(nvrl::presolvedIsCurrent(slp));
  // Deleting rows or columns drops the form.
  const int extra = row('L', 1, {{0, 1}});
  ASSERT_EQ(0, NSLPpresolve(slp));
  ASSERT_TRUE(presolved());
  ASSERT_EQ(0, NVRLdelrows(prob, 1, &extra)) << lastError();
  EXPECT_FALSE(presolved());
  EXPECT_FALSE(slp->data.presolved);
  EXPECT_EQ(5, intAttr(NSLP_ATTR_COEFFICIENTS));
}

TEST_F(Presolve, WhatCannotBeEvaluatedOrIsTheCallersIsLeftAlone) {
  // ln(c) with c fixed at 0 is not folded: the solve reports the row as it would have.
  const int x = col(0, 10, 1), c = col(0, 0, 0);
  const int r = row('L', 4, {});
  coef(r, x, 1.0, F().args().x(c).fn(NSLP_FN_LN));
  ASSERT_EQ(0, NSLPpresolve(slp));
  ASSERT_EQ(1u, slp->data.presolved->coefs.size());
  EXPECT_EQ(slp->data.coefs[0].formula.size(), slp->data.presolved->coefs[0].formula.size());
  EXPECT_EQ(0, intAttr(NSLP_ATTR_PRESOLVE_LINEAR_COEFFICIENTS));
}


// Hock-Schittkowski problems with their first column in a formula fixed at its published
// solution value: the optimum does not move, presolve folds that column away, and the solve
// reaches the same optimum with and without it.
class FixedColumnHs : public nslptest::SlpPairTest<std::string> {};

TEST_P(FixedColumnHs, SameOptimumWithAndWithoutPresolve) {
  const std::string file = nslptest::nlpFile(GetParam());
  const nslptest::Published pub = nslptest::published(file);
  const double optimum = pub.optimum;
  ASSERT_FALSE(std::isnan(optimum));
  double objs[2] = {NAN, NAN};
  for (int autoPresolve = 0; autoPresolve <= 1; ++autoPresolve) {
    SCOPED_TRACE(autoPresolve);
    ASSERT_EQ(0, NSLPreadprob(slp, file.c_str(), "")) << error();
    // The first column a formula reads.
    int fix = -1;
    for (const nvrl::SlpCoefficient &c : slp->data.coefs)
      for (const nvrl::SlpToken &t : c.formula)
        if (fix < 0 && t.type == NSLP_TOK_COL && t.value >= 0) fix = static_cast<int>(t.value);
    ASSERT_GE(fix, 0);
    const char both = 'B';
    const double at = pub.solution.at(prob->model.colnames[fix]);
    ASSERT_EQ(0, NVRLchgbounds(prob, 1, &fix, &both, &at));
    NSLPsetintcontrol(slp, NSLP_CTRL_AUTO_PRESOLVE, autoPresolve);
    ASSERT_EQ(0, NSLPnlpoptimize(slp, "")) << error();
    const int status = intAttr(NSLP_ATTR_STATUS);
    EXPECT_TRUE(status == NSLP_NLP_LOCALLY_OPTIMAL || status == NSLP_NLP_GLOBALLY_OPTIMAL)
        << status;
    if (autoPresolve) EXPECT_EQ(1, intAttr(NSLP_ATTR_PRESOLVE_FIXED_COLUMNS));
    objs[autoPresolve] = dblAttr(NSLP_ATTR_OBJECTIVE);
    EXPECT_NEAR(optimum, objs[autoPresolve], 1e-5 * std::max(1.0, std::fabs(optimum)));
  }
  EXPECT_NEAR(objs[0], objs[1], 1e-6 * std::max(1.0, std::fabs(optimum)));
}

INSTANTIATE_TEST_SUITE_P(Published, FixedColumnHs,
                         ::testing::Values("hs006", "hs010", "hs014", "hs023", "hs029", "hs043",
                                           "hs065", "hs071", "hs078", "hs100"),
                         [](const ::testing::TestParamInfo<std::string> &i) { return i.param; });

// ---- Problems with quadratic rows through the linear and mixed-integer optimiser: convex ones are
// solved (checked against the optimality conditions, or by enumeration for a MIQCQP), a
// nonconvex row ends with the nonconvex status.

class Qcqp : public SolveTest {
 protected:
  // Activity of row i and its gradient, from the store's own conventions.
  double activity(int i, const std::vector<double> &x, std::vector<double> *grad) const {
    const nvrl::Model &m = prob->model;
    if (grad) grad->assign(m.cols(), 0.0);
    double a = 0;
    const nvrl::RowMatrix &mA = m.A.rows();
    for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) {
      a += mA.val[e] * x[mA.col[e]];
      if (grad) (*grad)[mA.col[e]] += mA.val[e];
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

// ---- Row scale factors: their values, their use as penalty weights, and badly scaled
// Hock-Schittkowski problems solved with and without them.

class Scaling : public nslptest::NslpTest {
 protected:
  double factor(int r) {
    double f = NAN;
    EXPECT_EQ(0, NSLPgetrowscale(slp, r, &f)) << slpError();
    return f;
  }
};

TEST_F(Scaling, EachRowGetsThePowerOfTwoNearestItsLargestDerivative) {
  const int x = col(0.5, 10, 0), y = col(0, 10, 0);
  start(x, 1.0);
  const int big = row('L', 10, {{y, 1}});
  coef(big, -1, 1000.0, F().x(x).k(2).pow());  // 1000 x^2: derivative 2000 at x = 1
  const int small = row('G', 0, {{x, 0.001}, {y, -0.0005}});
  const int empty = row('N', 0, {});
  const int logs = row('L', 3, {});
  coef(logs, -1, 1.0, F().args().x(x).fn(NSLP_FN_LN));  // 1/x: 1 at x = 1
  EXPECT_EQ(1.0, factor(big));  // nothing kept yet
  ASSERT_EQ(0, NSLPscaling(slp)) << slpError();
  EXPECT_EQ(std::ldexp(1.0, -11), factor(big));
  EXPECT_EQ(std::ldexp(1.0, 10), factor(small));
  EXPECT_EQ(1.0, factor(empty));
  EXPECT_EQ(1.0, factor(logs));
  // At x = 4 the first row's derivative is 8000: the factors follow the current point.
  ASSERT_EQ(0, setVar(slp, x, &VarIn::value, 4.0));
  ASSERT_EQ(0, NSLPscaling(slp));
  EXPECT_EQ(std::ldexp(1.0, -13), factor(big));
  EXPECT_EQ(std::ldexp(1.0, 2), factor(logs));
}

// How the control uses the factors: 0 not at all, 1 the kept ones, 2 new ones at the start.
TEST_F(Scaling, TheControlDecidesWhichFactorsWeighTheRows) {
  const int x = col(0, 10, 0);
  start(x, 1.0);
  const int r = row('L', 10, {});
  coef(r, -1, 64.0, F().x(x).k(2).pow());  // derivative 128 at 1, 256 at 2
  ASSERT_EQ(0, NSLPscaling(slp));
  const double weight = 3.0;
  ASSERT_EQ(0, NSLPchgrowwt(slp, r, &weight));
  nvrl::SlpModel M(model(), slp->data, 1);
  const std::tuple<int, double, double> cases[] = {
      {0, 1.0, 3.0}, {1, 1.0, 3.0 / 128}, {2, 2.0, 3.0 / 256}};
  for (auto [mode, at, expected] : cases) {
    SCOPED_TRACE(mode);
    NSLPsetintcontrol(slp, NSLP_CTRL_SCALING, mode);
    nvrl::SlpSettings st;
    st.initial = {at};
    st.row_weight = slp->data.rowweight;
    nvrl::applyRowScaling(slp, M, st);
    ASSERT_EQ(1u, st.row_weight.size());
    EXPECT_DOUBLE_EQ(expected, st.row_weight[0]);
  }
  // Mode 2 keeps what it computed.
  EXPECT_EQ(1.0 / 256, factor(r));
}

TEST_F(Scaling, AFailureKeepsTheFactors) {
  const int x = col(0, 10, 0);
  start(x, 0.0);
  row('L', 1, {{x, 0.001}});
  ASSERT_EQ(0, NSLPscaling(slp));
  const double fb = factor(0);
  ASSERT_EQ(1024.0, fb);

  // ln(x) at x = 0 has no derivative: refused, the kept factors stay.
  const int r = row('L', 3, {});
  coef(r, -1, 1.0, F().args().x(x).fn(NSLP_FN_LN));
  EXPECT_NE(0, NSLPscaling(slp));
  EXPECT_EQ(fb, factor(0));
}

// Hock-Schittkowski problems with one row multiplied by a large or small factor (its linear
// part, formulas and bounds alike): with the rows scaled the solve reaches the published
// optimum, in no more iterations than without scaling, or where the solve without scaling
// settles elsewhere.
struct BadRow {
  const char *file;
  int row;
  double by;
};

class BadlyScaledHs : public nslptest::SlpPairTest<BadRow> {};

TEST_P(BadlyScaledHs, ScalingReachesTheOptimumInNoMoreIterations) {
  const BadRow p = GetParam();
  const std::string file = nslptest::nlpFile(p.file);
  const double optimum = nslptest::published(file).optimum;
  int iterations[2] = {0, 0};
  bool reached[2] = {false, false};
  for (int scaled = 0; scaled <= 1; ++scaled) {
    SCOPED_TRACE(scaled);
    ASSERT_EQ(0, NSLPreadprob(slp, file.c_str(), "")) << error();
    nvrl::Model &m = prob->model;
    ASSERT_LT(p.row, m.rows());
    nvrl::RowMatrix &A = m.A.rowsToChange();
    for (int64_t e = A.start[p.row]; e < A.start[p.row + 1]; ++e) A.val[e] *= p.by;
    m.rhs[p.row] *= p.by;
    m.range[p.row] *= std::fabs(p.by);
    for (nvrl::SlpCoefficient &c : slp->data.coefs)
      if (c.row == p.row) c.factor *= p.by;
    prob->modelChanged();
    NSLPsetintcontrol(slp, NSLP_CTRL_SCALING, scaled ? 2 : 0);
    ASSERT_EQ(0, NSLPnlpoptimize(slp, "")) << error();
    const int status = intAttr(NSLP_ATTR_STATUS);
    const double obj = dblAttr(NSLP_ATTR_OBJECTIVE);
    iterations[scaled] = intAttr(NSLP_ATTR_ITERATIONS);
    reached[scaled] = status == NSLP_NLP_LOCALLY_OPTIMAL &&
                      std::fabs(obj - optimum) <= 1e-5 * std::max(1.0, std::fabs(optimum));
    std::printf("%s row %d x %g, %s: status %d, objective %.10g, %d iterations\n", p.file,
                p.row, p.by, scaled ? "scaled" : "unscaled", status, obj, iterations[scaled]);
  }
  EXPECT_TRUE(reached[1]);
  EXPECT_TRUE(!reached[0] || iterations[1] <= iterations[0])
      << iterations[1] << " iterations scaled, " << iterations[0] << " unscaled";
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BadlyScaledHs,
    // Not every badly scaled row is helped: hs043 row 1 x 1e4 and hs100 row 2 x 1e4 take a
    // few more iterations scaled, and hs100 row 0 x 1e-4 reaches the optimum neither way
    // (docs/nonlinear_solver.md gives the figures).
    ::testing::Values(BadRow{"hs071", 0, 1e4}, BadRow{"hs071", 1, 1e-4},
                      BadRow{"hs065", 0, 1e-4}, BadRow{"hs078", 0, 1e4},
                      BadRow{"hs078", 1, 1e-4}, BadRow{"hs113", 0, 1e-4}),
    [](const ::testing::TestParamInfo<BadRow> &i) {
      return std::string(i.param.file) + "_row" + std::to_string(i.param.row) +
             (i.param.by < 1 ? "_small" : "_large");
    });


// ---- A nonlinear solve stopped by SIGINT: it ends unfinished with the Ctrl-C reason at the point
// it had reached, and the SIGINT handler that was there before the solve is back afterwards.

std::atomic<int> g_outerSigints{0};
void outerHandler(int) { ++g_outerSigints; }

// Rosenbrock's function as a values-only user function (its derivatives are differenced, so
// each iteration calls it several times); raises SIGINT on call number raiseAt.
int g_calls = 0, g_raiseAt = 0;
double rosenbrock(const double *x, void *) {
  if (++g_calls == g_raiseAt) raise(SIGINT);
  return (1 - x[0]) * (1 - x[0]) + 100 * (x[1] - x[0] * x[0]) * (x[1] - x[0] * x[0]);
}

class SlpInterrupt : public NslpTest {
 protected:
  void SetUp() override {
    NslpTest::SetUp();
    const int a = col(-1e20, 1e20, 0.0), b = col(-1e20, 1e20, 0.0);
    start(a, -1.2);
    start(b, 1.0);
    ASSERT_EQ(1, defineUserFunction(slp, "rosen", false, rosenbrock));
    g_calls = g_raiseAt = 0;
    F f;
    f.args().x(a).x(b);
    f.t.push_back({NSLP_TOK_UFUN, 1});
    formulaObjective(f);
  }
};

TEST_F(SlpInterrupt, SigintEndsTheSolveAtItsLastPointAndRestoresTheHandler) {
  // The full solve first, for its length.
  ASSERT_NO_FATAL_FAILURE(solve());
  const int fullIterations = intAttr(NSLP_ATTR_ITERATIONS);
  const int callsPerSolve = g_calls;
  ASSERT_GT(fullIterations, 6);

  struct sigaction mine {}, before {}, after {};
  mine.sa_handler = outerHandler;
  sigemptyset(&mine.sa_mask);
  ASSERT_EQ(0, sigaction(SIGINT, &mine, &before));
  g_outerSigints = 0;
  g_calls = 0;
  g_raiseAt = callsPerSolve / 2;
  ASSERT_EQ(0, optimize()) << slpError();
  sigaction(SIGINT, nullptr, &after);
  const int stopped = intAttr(NSLP_ATTR_ITERATIONS);
  EXPECT_EQ(NSLP_NLP_UNFINISHED, status());
  EXPECT_EQ(NVRL_STOP_CTRLC, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_GE(stopped, 1);
  EXPECT_LT(stopped, fullIterations);
  EXPECT_EQ(0, g_outerSigints.load());  // the solve's handler took it
  EXPECT_EQ(&outerHandler, after.sa_handler);
  const std::vector<double> interrupted = x();
  const double objInterrupted = objective();

  // The point kept is where the iterations had got to: the same solve stopped by its
  // iteration limit at the same count ends at the same point.
  g_calls = 0;
  g_raiseAt = 0;
  NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, stopped);
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NVRL_STOP_ITERLIMIT, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_EQ(interrupted, x());
  EXPECT_DOUBLE_EQ(objInterrupted, objective());
  EXPECT_LT(objInterrupted, 24.2);  // Rosenbrock's value at the start

  // Outside a solve, SIGINT reaches the handler that was there before.
  raise(SIGINT);
  EXPECT_EQ(1, g_outerSigints.load());
  sigaction(SIGINT, &before, nullptr);
}

TEST_F(NslpTest, AStopRequestInterruptsALongMixedIntegerSubproblem) {
  // A hard multi-dimensional knapsack (200 binaries, 30 rows) with one nonlinear row: each
  // linearisation is a MIP that takes far longer than the solve is allowed to run here.
  uint32_t seed = 7;
  auto next = [&](int lo, int hi) {
    seed = seed * 1664525u + 1013904223u;
    return lo + static_cast<int>((seed >> 8) % static_cast<uint32_t>(hi - lo + 1));
  };
  std::vector<int> xs;
  for (int j = 0; j < 200; ++j) xs.push_back(col(0, 1, -next(10, 100), 'B'));
  for (int i = 0; i < 30; ++i) {
    std::vector<std::pair<int, double>> w;
    double total = 0;
    for (int j : xs) {
      w.push_back({j, next(20, 80)});
      total += w.back().second;
    }
    row('L', std::floor(total / 2), w);
  }
  const int z = col(0, 1, -1.0);
  coef(row('L', 0.5, {}), -1, 1.0, F().x(z).k(2).pow());
  NVRLsetdblcontrol(prob, NVRL_CTRL_MIP_RELATIVE_GAP, 0.0);
  NSLPsetdblcontrol(slp, NSLP_CTRL_TIME_LIMIT, 60.0);
  const auto t0 = std::chrono::steady_clock::now();
  std::thread stopper([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    NSLPinterrupt(slp, NVRL_STOP_USER);
  });
  const int rc = optimize("g");
  stopper.join();
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  ASSERT_EQ(0, rc) << slpError();
  EXPECT_EQ(NVRL_STOP_USER, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_EQ(NSLP_NLP_UNFINISHED, status());
  EXPECT_LT(seconds, 10.0);
}


// ---- Validation of points (NSLPvalidate, NSLPvalidaterow, NSLPvalidatevector), the optimality
// check NSLPvalidatekkt, and the reports NSLPprintevalinfo and NSLPprintmemory. Bad input is in
// the bad-input table.

class SlpValidate : public NslpTest {
 protected:
  void SetUp() override {
    NslpTest::SetUp();
    captureLog();
  }
  int warnings() const {
    int n = 0;
    for (const auto &[type, l] : lines) n += type == NVRL_MSG_WARNING;
    return n;
  }
  // The numbers after label on the report line that starts with it.
  std::vector<double> reported(const std::string &label) const {
    std::vector<double> out;
    for (const auto &[type, l] : lines) {
      if (l.find_first_not_of(' ') != l.find(label)) continue;
      const char *p = l.c_str() + l.find(label) + label.size();
      while (*p) {
        char *end = nullptr;
        const double v = std::strtod(p, &end);
        if (end == p) {
          ++p;
          continue;
        }
        out.push_back(v);
        p = end;
      }
      return out;
    }
    ADD_FAILURE() << "no line starts with " << label;
    return out;
  }
  void userFunction(const char *name, bool derivatives, nvrl::UserFunctionCall call) {
    slp->data.userfuncs.add({name, -1, derivatives, std::move(call)});
  }

  // Hock-Schittkowski 71: min x0 x3 (x0 + x1 + x2) + x2  s.t.  x0 x1 x2 x3 >= 25,
  // sum x^2 = 40, 1 <= x <= 5; optimum 17.0140173 with x0 at its lower bound.
  void hs71() {
    for (int j = 0; j < 4; ++j) col(1, 5, 0);
    formulaObjective(F().x(0).x(3).mul().x(0).x(1).add().x(2).add().mul().x(2).add());
    const int r1 = row('G', 25.0, {});
    coef(r1, -1, 1.0, F().x(0).x(1).mul().x(2).mul().x(3).mul());
    const int r2 = row('E', 40.0, {});
    qrow(r2, {{0, 0, 1.0}, {1, 1, 1.0}, {2, 2, 1.0}, {3, 3, 1.0}});
    const double x0[] = {1, 5, 5, 1};
    for (int j = 0; j < 4; ++j) start(j, x0[j]);
  }
  void setValue(int col, double v) {
    ASSERT_EQ(0, nslptest::setVar(slp, col, &nslptest::VarIn::value, v)) << slpError();
  }
  int kkt(int mode, int respect, int update = 0, double target = 1e-6) {
    return NSLPvalidatekkt(slp, mode, respect, update, target);
  }
  struct Kkt {
    double stationarity, complementarity, feasibility;
    int valid;
  };
  Kkt kktResult() {
    return {dblAttr(NSLP_ATTR_KKT_STATIONARITY), dblAttr(NSLP_ATTR_KKT_COMPLEMENTARITY),
            dblAttr(NSLP_ATTR_KKT_FEASIBILITY), intAttr(NSLP_ATTR_KKT_VALID)};
  }
};

// ---- NSLPvalidate ---------------------------------------------------------------------

class SlpValidatePoint : public SlpValidate {
 protected:
  // At the start (x, y) = (2, 2):
  //   r0: x*y <= 1               violation 3, size 4: relative 0.75
  //   r1: x + y = 3              violation 1, size 3: relative 1/3
  //   r2: 1e6 x = 2e6 + 0.5      violation 0.5, size 2e6: relative 2.5e-7
  //   r3: x^2 - y >= 0           holds
  void build() {
    const int x = col(-10, 10, 0, 'C', 0, "x"), y = col(-10, 10, 0, 'C', 0, "y");
    const int r0 = row('L', 1, {}, 0, "prod");
    coef(r0, -1, 1.0, F().x(x).x(y).mul());
    row('E', 3, {{x, 1}, {y, 1}}, 0, "sum");
    row('E', 2e6 + 0.5, {{x, 1e6}}, 0, "big");
    const int r3 = row('G', 0, {{y, -1}}, 0, "curve");
    qrow(r3, {{x, x, 1}});
    start(x, 2);
    start(y, 2);
  }
};

TEST_F(SlpValidatePoint, MeasuresEveryRowAbsoluteAndRelative) {
  build();
  ASSERT_EQ(0, NSLPvalidate(slp)) << slpError();
  EXPECT_NEAR(3.0, dblAttr(NSLP_ATTR_VALIDATION_INDEX_A), 1e-12);
  EXPECT_NEAR(0.75, dblAttr(NSLP_ATTR_VALIDATION_INDEX_R), 1e-12);
  // The big row misses the absolute target but not the relative one: it passes.
  EXPECT_EQ(2, intAttr(NSLP_ATTR_VALIDATION_FAILURES));
  EXPECT_EQ(2, warnings());
  EXPECT_EQ(1u, logged("Row prod (0) misses").size());
  EXPECT_EQ(1u, logged("Row sum (1) misses").size());
  EXPECT_TRUE(logged("Row big").empty());
  EXPECT_EQ(1u, logged("Validation: largest violation 3.000e+00 (row prod)").size());

  // A relative target loose enough for the sum row leaves only the product row.
  ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_VALIDATION_TARGET_R, 0.5));
  lines.clear();
  ASSERT_EQ(0, NSLPvalidate(slp));
  EXPECT_EQ(1, intAttr(NSLP_ATTR_VALIDATION_FAILURES));
  EXPECT_EQ(1, warnings());

  // y = 12 is 2 beyond its bound 10 (relative 0.2); x^2 - y = -8 now fails too (8 / 12).
  ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_VALIDATION_TARGET_R, 1e-6));
  start(1, 12);
  ASSERT_EQ(0, NSLPvalidate(slp));
  EXPECT_EQ(1u, logged("Column y (1) misses the validation target").size());
  EXPECT_EQ(1u, logged("Row curve (3) misses").size());
  EXPECT_EQ(4, intAttr(NSLP_ATTR_VALIDATION_FAILURES));  // all but the big row
}

// ---- NSLPvalidaterow ------------------------------------------------------------------

TEST_F(SlpValidate, RowReportListsEveryTermWithValueAndDerivatives) {
  const int x = col(-10, 10, 0, 'C', 0, "x"), y = col(-10, 10, 0, 'C', 0, "y");
  // 3 x + 2 x y + 0.5 x * y^2  <= 20  at (2, 3): 6 + 12 + 9 = 27
  const int r = row('L', 20, {{x, 3}}, 0, "mixed");
  qrow(r, {{x, y, 1.0}});
  coef(r, x, 0.5, F().x(y).k(2).pow());
  start(x, 2);
  start(y, 3);
  ASSERT_EQ(0, NSLPvalidaterow(slp, r)) << slpError();
  EXPECT_EQ(1u, logged("Row mixed (0) at the current point: activity 27, bounds [-inf, 20], "
                       "violation 7.000e+00").size());
  EXPECT_EQ(1u, logged("term 1: linear    3 * x = 6, d/dx 3").size());
  EXPECT_EQ(1u, logged("term 2: quadratic 2 * x * y = 12, d/dx 6, d/dy 4").size());
  EXPECT_EQ(1u, logged("term 3: formula   0.5 * x * (y^2) = 9, d/dx 4.5, d/dy 6").size());
  EXPECT_EQ(1u, logged("2 formula derivatives checked against central differences, 0 "
                       "mismatches").size());
  EXPECT_EQ(0, intAttr(NSLP_ATTR_VALIDATION_DERIVATIVE_ERRORS));
}

// A user function of two arguments, u(a, b) = a^2 b, whose derivative by a is given right or
// off by a factor.
class SlpValidateDerivatives : public SlpValidate,
                               public ::testing::WithParamInterface<double> {};

TEST_P(SlpValidateDerivatives, WrongUserDerivativeIsReported) {
  const double skew = GetParam();
  userFunction("u", true, [skew](const double *a, int, double *v, double *g, std::string &) {
    *v = a[0] * a[0] * a[1];
    if (g) {
      g[0] = skew * 2 * a[0] * a[1];
      g[1] = a[0] * a[0];
    }
    return true;
  });
  const int x = col(-10, 10, 0), y = col(-10, 10, 0);
  const int r = row('E', 0, {});
  // Arguments of a user function go last-first in reverse Polish.
  F f;
  f.args().x(y).x(x);
  f.t.push_back({NSLP_TOK_UFUN, 1});
  coef(r, -1, 1.0, f);
  start(x, 1.5);
  start(y, -2);
  ASSERT_EQ(0, NSLPvalidaterow(slp, r)) << slpError();
  const int expected = skew == 1.0 ? 0 : 1;
  EXPECT_EQ(expected, intAttr(NSLP_ATTR_VALIDATION_DERIVATIVE_ERRORS));
  EXPECT_EQ(static_cast<size_t>(expected), logged("term 1 by C1: derivative").size());
  EXPECT_TRUE(logged("term 1 by C2").empty());
}

INSTANTIATE_TEST_SUITE_P(Skews, SlpValidateDerivatives, ::testing::Values(1.0, 1.001, -1.0));

// ---- NSLPvalidatevector ---------------------------------------------------------------

TEST_F(SlpValidatePoint, VectorIsEvaluatedWithoutChangingAnything) {
  build();
  // Without the contradicting rows the rest is solvable: x + y = 3, x y <= 1, x^2 >= y; this
  // fixes x at the larger root of x(3 - x) = 1.
  const double rhs2 = 1e6 * 2.6180339887498949;
  model().rhs[2] = rhs2;
  model().obj[0] = 1.0;  // objective x - y^3 (the formula on the objective row)
  coef(-1, -1, 1.0, F().x(1).k(3).pow().k(-1).mul());
  ASSERT_EQ(0, optimize()) << slpError();  // a point, answers and statistics to keep
  // The converged solution passes.
  ASSERT_EQ(0, NSLPvalidate(slp));
  EXPECT_LE(dblAttr(NSLP_ATTR_VALIDATION_INDEX_R), 1e-6);
  EXPECT_EQ(0, intAttr(NSLP_ATTR_VALIDATION_FAILURES));
  EXPECT_EQ(0, warnings());
  const nvrl::SlpState before = slp->state;
  const nvrl::SlpEvalStats evals = slp->evals.total;
  const int failures = intAttr(NSLP_ATTR_VALIDATION_FAILURES);
  lines.clear();

  // (1, 12): r0 12 - 1 = 11 (size 12), r1 13 - 3 = 10 (size 12), r2 rhs2 - 1e6 (size rhs2),
  // r3 1 - 12 = -11 -> 11 (size 12); y 2 above its bound 10 (relative 0.2).
  const double x[] = {1, 12};
  double suminf = NAN, scaled = NAN, obj = NAN;
  ASSERT_EQ(0, NSLPvalidatevector(slp, x, &suminf, &scaled, &obj)) << slpError();
  EXPECT_NEAR(11 + 10 + (rhs2 - 1e6) + 11 + 2, suminf, 1e-6);
  EXPECT_NEAR(11.0 / 12 + 10.0 / 12 + (rhs2 - 1e6) / rhs2 + 11.0 / 12 + 0.2, scaled, 1e-9);
  EXPECT_NEAR(1 - 1728, obj, 1e-9);
  // Outputs are optional.
  EXPECT_EQ(0, NSLPvalidatevector(slp, x, nullptr, nullptr, nullptr));

  EXPECT_EQ(before.x, slp->state.x);
  EXPECT_EQ(before.duals, slp->state.duals);
  EXPECT_EQ(before.objval, slp->state.objval);
  EXPECT_EQ(evals.formula_values, slp->evals.total.formula_values);
  EXPECT_EQ(failures, intAttr(NSLP_ATTR_VALIDATION_FAILURES));
  EXPECT_TRUE(lines.empty());
}

// ---- NSLPvalidatekkt ------------------------------------------------------------------

struct KktCase {
  int mode, respect;
};

class SlpKkt : public SlpValidate, public ::testing::WithParamInterface<KktCase> {};

TEST_P(SlpKkt, ConvergedSolutionIsValidAndPerturbedOneIsNot) {
  const KktCase c = GetParam();
  hs71();
  solve();
  ASSERT_EQ(0, kkt(c.mode, c.respect, 0, 1e-5)) << slpError();
  const Kkt good = kktResult();
  EXPECT_EQ(1, good.valid) << good.stationarity << " " << good.complementarity << " "
                           << good.feasibility;
  EXPECT_EQ(1u, logged("within the target").size());

  // Off the solution along x1: the equality row breaks and the gradient no longer balances.
  setValue(1, x()[1] + 0.01);
  ASSERT_EQ(0, kkt(c.mode, c.respect, 0, 1e-5)) << slpError();
  const Kkt bad = kktResult();
  EXPECT_EQ(0, bad.valid);
  EXPECT_GT(bad.feasibility, 1e-3);
  EXPECT_GT(bad.stationarity, 1e-4);
  EXPECT_EQ(1u, logged("beyond the target").size());
}

INSTANTIATE_TEST_SUITE_P(Modes, SlpKkt,
                         ::testing::Values(KktCase{NSLP_KKT_ABSOLUTE, 1},
                                           KktCase{NSLP_KKT_ABSOLUTE, 0},
                                           KktCase{NSLP_KKT_RELATIVE, 1},
                                           KktCase{NSLP_KKT_RELATIVE, 0}));

// min s x  s.t.  x^2 >= 1, 0 <= x <= 10, optimised in sense s (s x falls with x for s = 1,
// so x = 1 with multiplier 1/2; for s = -1 the user maximises -x, the same problem).
class SlpKktSense : public SlpValidate, public ::testing::WithParamInterface<int> {
 protected:
  void build() {
    const int sense = GetParam();
    const int c = col(0, 10, sense);
    const int r = row('G', 1, {});
    qrow(r, {{c, c, 1.0}});
    start(c, 3);
    ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_OBJECTIVE_SENSE, sense));
    ASSERT_NO_FATAL_FAILURE(solve());
    ASSERT_NEAR(1.0, x()[0], 1e-6);
  }
};

TEST_P(SlpKktSense, InteriorPerturbationBreaksComplementarityOrStationarity) {
  build();
  setValue(0, 1.5);  // feasible, the row no longer active
  // Keeping the solve's multiplier 1/2: stationarity holds where it was (1 - 1/2 * 2x = -0.5
  // now), and the multiplier sits on a row 1.25 away from its bound.
  ASSERT_EQ(0, kkt(NSLP_KKT_ABSOLUTE, 1)) << slpError();
  Kkt k = kktResult();
  EXPECT_NEAR(0.5, k.stationarity, 1e-5);
  EXPECT_NEAR(0.5 * 1.25, k.complementarity, 1e-5);
  EXPECT_NEAR(0.0, k.feasibility, 1e-12);
  EXPECT_EQ(0, k.valid);
  // Estimating afresh: nothing is active at 1.5, so the objective's gradient is unexplained.
  ASSERT_EQ(0, kkt(NSLP_KKT_ABSOLUTE, 0)) << slpError();
  k = kktResult();
  EXPECT_NEAR(1.0, k.stationarity, 1e-9);
  EXPECT_NEAR(0.0, k.complementarity, 1e-12);
  EXPECT_EQ(0, k.valid);
}

TEST_P(SlpKktSense, FittedMultipliersAreStoredWhenAsked) {
  build();
  std::vector<double> d0(1), dj0(1);
  ASSERT_EQ(0, NSLPgetslpsol(slp, nullptr, nullptr, d0.data(), dj0.data()));
  // Without updatemult the solve's multipliers stay.
  ASSERT_EQ(0, kkt(NSLP_KKT_RELATIVE, 0, 0));
  std::vector<double> d(1), dj(1);
  ASSERT_EQ(0, NSLPgetslpsol(slp, nullptr, nullptr, d.data(), dj.data()));
  EXPECT_EQ(d0, d);
  ASSERT_EQ(0, kkt(NSLP_KKT_RELATIVE, 0, 1));
  EXPECT_EQ(1, intAttr(NSLP_ATTR_KKT_VALID));
  ASSERT_EQ(0, NSLPgetslpsol(slp, nullptr, nullptr, d.data(), dj.data()));
  // grad (s x) = s = y * 2x at x = 1, in the user's sense: the dual is s/2 * s = 1/2.
  EXPECT_NEAR(0.5 * GetParam(), d[0], 1e-6);
  EXPECT_NEAR(d0[0], d[0], 1e-5);  // the solve's, in the same convention
  EXPECT_NEAR(0.0, dj[0], 1e-6);
}

INSTANTIATE_TEST_SUITE_P(Senses, SlpKktSense, ::testing::Values(1, -1));

// ---- NSLPprintevalinfo and NSLPprintmemory ---------------------------------------------

// hs71 with the row's product through a user function w(a, b, c, d) = a b c d: with
// derivatives of its own or differenced.
class SlpEvalInfo : public SlpValidate, public ::testing::WithParamInterface<bool> {
 protected:
  void build() {
    const bool derivatives = GetParam();
    userFunction("w", derivatives,
                 [this, derivatives](const double *a, int, double *v, double *g, std::string &) {
                   ++calls;
                   *v = a[0] * a[1] * a[2] * a[3];
                   if (g && derivatives)
                     for (int k = 0; k < 4; ++k) g[k] = *v / a[k];
                   return true;
                 });
    hs71();
    slp->data.coefs[1].formula.clear();  // the product row, after the objective's
    F f;
    f.args().x(3).x(2).x(1).x(0);
    f.t.push_back({NSLP_TOK_UFUN, 1});
    slp->data.coefs[1].formula = f.done();
  }
  int64_t calls = 0;
};

TEST_P(SlpEvalInfo, CountsEveryEvaluationOfEachSolveAndInTotal) {
  build();
  ASSERT_NO_FATAL_FAILURE(solve());
  const nvrl::SlpEvalStats first = slp->evals.last;
  EXPECT_EQ(calls, first.user_values + first.user_derivatives + first.user_differences);
  EXPECT_GT(first.user_derivatives, 0);
  if (GetParam())
    EXPECT_EQ(0, first.user_differences);
  else  // two calls per argument for each derivative evaluation
    EXPECT_EQ(8 * first.user_derivatives, first.user_differences);
  EXPECT_GT(first.formula_values, 0);
  EXPECT_GT(first.formula_gradients, 0);
  EXPECT_GT(first.eval_seconds, 0.0);
  EXPECT_LE(first.user_seconds, first.eval_seconds);

  ASSERT_EQ(0, NSLPreinitialize(slp));
  const int64_t before = calls;
  ASSERT_NO_FATAL_FAILURE(solve());
  const nvrl::SlpEvalStats second = slp->evals.last;
  EXPECT_EQ(calls - before, second.user_values + second.user_derivatives +
                                second.user_differences);
  ASSERT_EQ(0, NSLPprintevalinfo(slp)) << slpError();
  using V = std::vector<double>;
  EXPECT_EQ(V({1, 2}), reported("solves"));
  EXPECT_EQ(V({double(second.formula_values), double(first.formula_values +
                                                      second.formula_values)}),
            reported("formula evaluations (values)"));
  EXPECT_EQ(V({double(second.user_differences), double(first.user_differences +
                                                        second.user_differences)}),
            reported("user function calls (finite differences)"));
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutDerivatives, SlpEvalInfo, ::testing::Bool());

TEST_F(SlpValidate, MemoryReportAddsUpAndFollowsTheData) {
  hs71();
  // The byte count: the last number on the line (labels may hold a count).
  auto bytes = [&](const std::string &label) {
    const std::vector<double> v = reported(label);
    return v.empty() ? -1.0 : v.back();
  };
  ASSERT_EQ(0, NSLPprintmemory(slp)) << slpError();
  EXPECT_EQ(9u, lines.size());  // a heading, seven items and the total
  const char *labels[] = {"coefficients (2)", "coefficient tokens (", "user functions (0)",
                          "strings (0)", "column settings (", "row statuses and weights (",
                          "solution vectors (0 values)"};
  double sum = 0;
  for (const char *l : labels) sum += bytes(l);
  EXPECT_EQ(sum, bytes("total"));
  EXPECT_EQ(0.0, bytes("solution vectors (0 values)"));

  // A solve's vectors, then a further formula, show up.
  solve();
  lines.clear();
  ASSERT_EQ(0, NSLPprintmemory(slp));
  // x and djs over 5 columns (the objective's transfer column included), slack and duals
  // over 3 rows.
  EXPECT_GE(bytes("solution vectors (16 values)"), 16 * sizeof(double));
  const double tokens = bytes("coefficient tokens (");
  coef(2, -1, 1.0, F().x(0).x(1).mul().x(2).mul().x(3).mul().x(0).add());
  lines.clear();
  ASSERT_EQ(0, NSLPprintmemory(slp));
  EXPECT_GT(bytes("coefficient tokens ("), tokens);
  EXPECT_GT(bytes("coefficients (3)"), 0.0);
}

}  // namespace
