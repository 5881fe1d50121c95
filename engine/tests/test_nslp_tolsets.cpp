// Tolerance sets, step types, derivative estimates and item queries: each changes what a
// solve does (iterations, steps, the point reached). Bad input is in the bad-input table.
#include <cmath>
#include <string>
#include <vector>

#include "test_nslp_support.h"

using nslptest::F;
using nslptest::getVar;
using nslptest::NslpTest;
using nslptest::setVar;
using nslptest::VarIn;
using nslptest::VarOut;

namespace {

constexpr double kFree = 1e20;

class ColumnRules : public NslpTest {
 protected:
  // min x0 + 2 x1 + exp(x0)  s.t.  x0^2 + x1^2 <= 5 from (1, 1): the optimum is where
  // (1 + e^x0, 2) is parallel to (x0, x1), near (-1.216, -1.876), objective -4.672.
  void curved() {
    x0 = col(-kFree, kFree, 1);
    x1 = col(-kFree, kFree, 2);
    coef(-1, -1, 1.0, F().args().x(x0).fn(NSLP_FN_EXP));
    const int r = row('L', 5.0, {});
    coef(r, -1, 1.0, F().x(x0).k(2).pow().x(x1).k(2).pow().add());
    start(x0, 1.0);
    start(x1, 1.0);
  }
  int useSet(int tolset) {
    for (int c : {x0, x1}) EXPECT_EQ(0, setVar(slp, c, &VarIn::tolset, tolset)) << slpError();
    return tolset;
  }
  int converged(int c) { return getVar(slp, c, &VarOut::converged); }
  int tolsetOf(int c) { return getVar(slp, c, &VarOut::tolset); }
  double colInfo(int item, int c) {
    double v = NAN;
    EXPECT_EQ(0, NSLPgetcolinfo(slp, item, c, &v)) << slpError();
    return v;
  }
  int colInfoInt(int item, int c) {
    int v = -1;
    EXPECT_EQ(0, NSLPgetcolinfo(slp, item, c, &v)) << slpError();
    return v;
  }
  std::vector<double> set(int entry, double tol) {
    std::vector<double> t(NSLP_TOLSET_SIZE, 0.0);
    t[entry] = tol;
    return t;
  }
  int x0 = -1, x1 = -1;
};

// Each entry of a tolerance set, loose, ends the solve earlier than the same entry tight,
// both near the optimum; the columns report the entry that converged them.
class TolsetEntry : public ColumnRules, public ::testing::WithParamInterface<std::pair<int, double>> {};

TEST_P(TolsetEntry, ALooseSetEndsTheSolveSooner) {
  const auto [entry, loose] = GetParam();
  curved();
  // Stationarity as tight as it goes, so that the step test decides when a solve ends.
  ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_OPTIMALITY_TOLERANCE, 1e-12));
  ASSERT_EQ(0, optimize()) << slpError();
  const std::vector<double> best = NslpTest::x();
  const double bestObj = objective();
  EXPECT_NEAR(-4.672, bestObj, 1e-3);
  std::vector<double> both = set(entry, 1e-13);
  const std::vector<double> l = set(entry, loose);
  both.insert(both.end(), l.begin(), l.end());
  ASSERT_EQ(0, NSLPloadtolsets(slp, 2, both.data())) << slpError();
  int iterations[2];
  for (int tolset : {1, 2}) {
    useSet(tolset);
    ASSERT_EQ(0, optimize()) << slpError();
    EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
    EXPECT_NEAR(bestObj, objective(), 1e-3);
    for (int c : {x0, x1}) EXPECT_NEAR(best[c], NslpTest::x()[c], 1e-2) << "set " << tolset;
    iterations[tolset - 1] = intAttr(NSLP_ATTR_ITERATIONS);
  }
  EXPECT_LT(iterations[1], iterations[0]);
  // The loose solve ended by its step test: each column passed this entry.
  EXPECT_EQ(entry + 1, converged(x0));
  EXPECT_EQ(entry + 1, converged(x1));
}

INSTANTIATE_TEST_SUITE_P(Entries, TolsetEntry,
                         ::testing::Values(std::pair{NSLP_TOL_STEP_ABS, 0.1},
                                           std::pair{NSLP_TOL_STEP_REL, 0.1},
                                           std::pair{NSLP_TOL_OBJ_ABS, 0.2},
                                           std::pair{NSLP_TOL_OBJ_REL, 0.05},
                                           std::pair{NSLP_TOL_ROW_ABS, 0.4},
                                           std::pair{NSLP_TOL_ROW_REL, 0.08}));

TEST_F(ColumnRules, TolsetsAreNumberedChangedAndDeleted) {
  x0 = col(0, 1, 0);
  x1 = col(0, 1, 0);
  const double three[3 * NSLP_TOLSET_SIZE] = {1e-3, 0, 0, 0, 0, 0,  // set 1
                                              0, 2e-3, -1, 0, 0, 0,  // set 2
                                              0, 0, 0, 0, 0, 3e-3};  // set 3
  ASSERT_EQ(0, NSLPloadtolsets(slp, 3, three)) << slpError();
  int status = -1;
  double tols[NSLP_TOLSET_SIZE];
  ASSERT_EQ(0, NSLPgettolset(slp, 2, &status, tols));
  EXPECT_EQ(1 << NSLP_TOL_STEP_REL, status);
  EXPECT_EQ(-1.0, tols[2]);  // inactive entries keep their value
  // Status alone switches entries; an active entry needs a tolerance > 0.
  const int onlyObj = 1 << NSLP_TOL_OBJ_ABS;
  EXPECT_NE(0, NSLPchgtolset(slp, 2, &onlyObj, nullptr));  // its value is -1
  const double newTols[NSLP_TOLSET_SIZE] = {0, 0, 5e-4, 0, 0, 0};
  ASSERT_EQ(0, NSLPchgtolset(slp, 2, &onlyObj, newTols)) << slpError();
  ASSERT_EQ(0, NSLPgettolset(slp, 2, &status, tols));
  EXPECT_EQ(onlyObj, status);
  EXPECT_EQ(5e-4, tols[2]);

  useSet(3);
  ASSERT_EQ(0, setVar(slp, x0, &VarIn::tolset, 2));
  // Deleting set 2 moves set 3 down, and the column that used set 2 loses it.
  const int del[] = {2, 2};
  ASSERT_EQ(0, NSLPdeltolsets(slp, 2, del)) << slpError();
  EXPECT_EQ(0, tolsetOf(x0));
  EXPECT_EQ(2, tolsetOf(x1));
  ASSERT_EQ(0, NSLPgettolset(slp, 2, nullptr, tols));
  EXPECT_EQ(3e-3, tols[NSLP_TOL_ROW_REL]);
  EXPECT_NE(0, NSLPgettolset(slp, 3, &status, tols));
  // Reloading fewer sets than a column uses is refused; adding numbers the new sets on.
  EXPECT_NE(0, NSLPloadtolsets(slp, 1, three));
  ASSERT_EQ(0, NSLPaddtolsets(slp, 1, three + NSLP_TOLSET_SIZE)) << slpError();
  ASSERT_EQ(0, NSLPgettolset(slp, 3, &status, tols));
  EXPECT_EQ(1 << NSLP_TOL_STEP_REL, status);
}

// min (x - 10)^2 + (y - 3)^2 + ... from x = 1: the step type of x decides how fast it gets
// there. The lower bounds on the iterations follow from the step bounds alone.
struct StepCase {
  int type;
  double value;
  int minIterations, maxIterations;
};

class StepTypes : public ColumnRules, public ::testing::WithParamInterface<StepCase> {};

TEST_P(StepTypes, TheStepTypeBoundsEachStep) {
  const StepCase c = GetParam();
  x0 = col(-kFree, kFree, 0);
  coef(-1, -1, 1.0, F().x(x0).k(10).sub().k(2).pow());
  start(x0, 1.0);
  ASSERT_EQ(0, NSLPchgdeltatype(slp, 1, &x0, &c.type, &c.value)) << slpError();
  EXPECT_EQ(c.type, colInfoInt(NSLP_COLINFO_DELTATYPE, x0));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(10.0, NslpTest::x()[x0], 1e-5);
  const int it = intAttr(NSLP_ATTR_ITERATIONS);
  EXPECT_GE(it, c.minIterations);
  EXPECT_LE(it, c.maxIterations);
  const double bound = colInfo(NSLP_COLINFO_STEPBOUND, x0);
  if (c.type == NSLP_DELTA_FIXED) EXPECT_EQ(c.value, bound);
  if (c.type == NSLP_DELTA_RELATIVE) EXPECT_NEAR(c.value * 10.0, bound, 1e-3);
  EXPECT_LE(std::fabs(colInfo(NSLP_COLINFO_STEP, x0)), bound + 1e-12);
}

INSTANTIATE_TEST_SUITE_P(Types, StepTypes,
                         ::testing::Values(StepCase{NSLP_DELTA_ADAPTIVE, 0.0, 1, 5},
                                           // 9 / 0.1 steps
                                           StepCase{NSLP_DELTA_FIXED, 0.1, 90, 200},
                                           // 1.1^n >= 10
                                           StepCase{NSLP_DELTA_RELATIVE, 0.1, 25, 60}));

TEST_F(ColumnRules, FrozenColumnsKeepTheirStart) {
  // min (x - 5)^2 + (y - 3)^2 - z, z in [0, 10] linear; x and z frozen.
  x0 = col(-kFree, kFree, 0);
  x1 = col(-kFree, kFree, 0);
  const int z = col(0, 10, -1);
  coef(-1, -1, 1.0, F().x(x0).k(5).sub().k(2).pow().x(x1).k(3).sub().k(2).pow().add());
  start(x0, 1.0);
  start(z, 2.0);
  const int cols[] = {x0, z}, frozen[] = {NSLP_DELTA_FROZEN, NSLP_DELTA_FROZEN};
  ASSERT_EQ(0, NSLPchgdeltatype(slp, 2, cols, frozen, nullptr)) << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  const std::vector<double> sol = NslpTest::x();
  EXPECT_EQ(1.0, sol[x0]);
  EXPECT_NEAR(3.0, sol[x1], 1e-6);
  EXPECT_EQ(2.0, sol[z]);
  EXPECT_EQ(NSLP_CONVERGED_FROZEN, converged(x0));
  // Back to adaptive: both move.
  const int adaptive[] = {NSLP_DELTA_ADAPTIVE, NSLP_DELTA_ADAPTIVE};
  ASSERT_EQ(0, NSLPchgdeltatype(slp, 2, cols, adaptive, nullptr)) << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_NEAR(5.0, NslpTest::x()[x0], 1e-6);
  EXPECT_NEAR(10.0, NslpTest::x()[z], 1e-9);
}

// min x + y  s.t.  x*y >= 1 on [0, 10]^2 from (0, 0): the row's gradient is 0 there, so the
// linearisation cannot see how to reach the row.
class Estimates : public ColumnRules {
 protected:
  void build() {
    x0 = col(0, 10, 1);
    x1 = col(0, 10, 1);
    r = row('G', 1.0, {});
    coef(r, x0, 1.0, F().x(x1));
    lin = row('L', 50, {{x0, 1}, {x1, 1}});
  }
  int r = -1, lin = -1;
};

TEST_F(Estimates, AnEstimateLeavesAStartWithAZeroDerivative) {
  build();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_INFEASIBLE, status());
  // Only the row's penalty columns could meet the linearised row 0 >= 1, at every iteration;
  // the linear row never needed them.
  int iters = -1, linIters = -1;
  double most = -1, total = -1;
  ASSERT_EQ(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_PENALTYITERATIONS, r, &iters));
  ASSERT_EQ(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_PENALTYMAX, r, &most));
  ASSERT_EQ(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_PENALTYTOTAL, r, &total));
  ASSERT_EQ(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_PENALTYITERATIONS, lin, &linIters));
  EXPECT_EQ(intAttr(NSLP_ATTR_ITERATIONS), iters);
  EXPECT_NEAR(1.0, most, 1e-9);
  EXPECT_NEAR(iters, total, 1e-9);
  EXPECT_EQ(0, linIters);

  const int cols[] = {x0, x1}, rows[] = {r, r};
  const double ones[] = {1.0, 1.0};
  ASSERT_EQ(0, NSLPloaddfs(slp, 2, cols, rows, ones)) << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(2.0, objective(), 1e-6);
  for (double v : NslpTest::x()) EXPECT_NEAR(1.0, v, 1e-4);
}

TEST_F(ColumnRules, AnObjectiveEstimateLeavesAStationaryStart) {
  // max x*y (min -x*y) s.t. x + y <= 2 on [0, 2]^2 from (0, 0), where the gradient is 0.
  x0 = col(0, 2, 0);
  x1 = col(0, 2, 0);
  row('L', 2.0, {{x0, 1}, {x1, 1}});
  coef(-1, x0, -1.0, F().x(x1));
  // One linearisation: without estimates it sees a zero gradient, and only the solver's
  // check for saddle points nudges it off the start.
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, 1));
  ASSERT_EQ(0, optimize()) << slpError();
  const double nudged = -objective();
  EXPECT_GE(nudged, 0.0);
  EXPECT_LT(nudged, 0.01);
  // The estimates are in the objective's own sense.
  ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_OBJECTIVE_SENSE, -1.0));
  model().obj = {0.0, 0.0};
  slp->data.coefs.back().factor = 1.0;  // max x*y
  const int cols[] = {x0, x1}, rows[] = {-1, -1};
  const double ones[] = {1.0, 1.0};
  ASSERT_EQ(0, NSLPadddfs(slp, 2, cols, rows, ones)) << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  // With estimates the first linearisation already leads most of the way.
  EXPECT_GT(objective(), 100 * nudged);
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, 1000));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(1.0, objective(), 1e-6);
}

TEST_F(Estimates, GetdfGivesTheEstimateElseTheDerivativeHere) {
  build();
  start(x0, 2.0);
  start(x1, 3.0);
  auto df = [&](int c, int rr) {
    double v = NAN;
    EXPECT_EQ(0, NSLPgetdf(slp, c, rr, &v)) << slpError();
    return v;
  };
  EXPECT_EQ(3.0, df(x0, r));   // d(x*y)/dx = y
  EXPECT_EQ(1.0, df(x1, lin));  // a linear row's coefficient
  EXPECT_EQ(1.0, df(x1, -1));  // the objective's
  const double est = 7.5;
  ASSERT_EQ(0, NSLPchgdf(slp, x0, r, &est));
  EXPECT_EQ(7.5, df(x0, r));
  ASSERT_EQ(0, NSLPchgdf(slp, x0, r, nullptr));
  EXPECT_EQ(3.0, df(x0, r));
}

TEST_F(Estimates, ItemQueriesAgreeWithTheSolution) {
  build();
  start(x0, 2.0);
  start(x1, 2.0);
  ASSERT_EQ(0, optimize()) << slpError();
  std::vector<double> x(2), slack(2), duals(2), djs(2);
  ASSERT_EQ(0, NSLPgetslpsol(slp, x.data(), slack.data(), duals.data(), djs.data()));
  for (int i : {r, lin}) {
    double s = NAN, d = NAN, w = NAN;
    ASSERT_EQ(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_SLACK, i, &s));
    ASSERT_EQ(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_DUAL, i, &d));
    ASSERT_EQ(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_PENALTYWEIGHT, i, &w));
    EXPECT_NEAR(slack[i], s, 1e-12);
    EXPECT_EQ(duals[i], d);
    EXPECT_EQ(1.0, w);
  }
  for (int c : {x0, x1}) {
    EXPECT_EQ(x[c], colInfo(NSLP_COLINFO_VALUE, c));
    EXPECT_EQ(djs[c], colInfo(NSLP_COLINFO_REDUCEDCOST, c));
    EXPECT_GT(colInfo(NSLP_COLINFO_STEPBOUND, c), 0.0);
  }
  int n = -1;
  ASSERT_EQ(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_NONLINEARCOEFS, r, &n));
  EXPECT_EQ(1, n);
  ASSERT_EQ(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_NONLINEARCOEFS, lin, &n));
  EXPECT_EQ(0, n);
  // x0 multiplies the coefficient, x1 is in its formula.
  EXPECT_EQ(1, colInfoInt(NSLP_COLINFO_NONLINEARCOEFS, x0));
  EXPECT_EQ(1, colInfoInt(NSLP_COLINFO_NONLINEARCOEFS, x1));

  // Without a solve there are no multipliers; the slack is taken at the start.
  ASSERT_EQ(0, NSLPreinitialize(slp));
  double d = 0;
  EXPECT_NE(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_DUAL, r, &d));
  EXPECT_NE(0, NSLPgetcolinfo(slp, NSLP_COLINFO_REDUCEDCOST, x0, &d));
  ASSERT_EQ(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_SLACK, r, &d));
  EXPECT_EQ(1.0 - 4.0, d);
}

}  // namespace
