// The nonlinear solver's solve (NSLPnlpoptimize, NSLPgetslpsol) on problems with published
// optima, and how it ends: limits, interrupts, infeasibility, unboundedness, evaluation errors.
#include <cmath>
#include <string>
#include <vector>

#include "test_nslp_support.h"

using nslptest::F;
using nslptest::NslpTest;

namespace {

constexpr double kFree = 1e20;

// Test problems solved from their own starts: the published optimum and optimal point.
class KnownOptimum : public NslpTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(KnownOptimum, ReachesThePublishedOptimum) {
  const std::string file = nslptest::nlpFile(GetParam());
  const nslptest::Published pub = nslptest::published(file);
  ASSERT_EQ(0, NSLPreadprob(slp, file.c_str(), "")) << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_EQ(NVRL_STOP_NONE, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_NEAR(pub.optimum, objective(), 1e-5 * std::max(1.0, std::fabs(pub.optimum)));
  const std::vector<double> sol = x();
  for (int j = 0; j < model().cols(); ++j)
    EXPECT_NEAR(pub.solution.at(model().colnames[j]), sol[j], 1e-4) << model().colnames[j];
  // The slack is the full nonlinear activity's: it vanishes on the equality rows.
  const std::vector<double> slack = slacks();
  for (int i = 0; i < model().rows(); ++i)
    if (model().rowtype[i] == 'E') EXPECT_NEAR(0.0, slack[i], 1e-6) << i;
}

// Rosenbrock's function, equality rows with quadratic and formula terms, inequalities.
INSTANTIATE_TEST_SUITE_P(Published, KnownOptimum,
                         ::testing::Values("hs001", "hs006", "hs007", "hs043", "hs071"));

TEST_F(NslpTest, MaximisesInTheSenseOfTheControl) {
  // max x0 + x1  s.t.  x0^2 + x1^2 <= 2: at (1, 1), with multiplier 1/2 on the row.
  const int a = col(-kFree, kFree, 1), b = col(-kFree, kFree, 1);
  const int r = row('L', 2.0, {});
  qrow(r, {{a, a, 1.0}, {b, b, 1.0}});
  model().objsense = -1;
  ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_OBJECTIVE_SENSE, -1.0));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(2.0, objective(), 1e-6);
  std::vector<double> sol(2), duals(1), djs(2);
  ASSERT_EQ(0, NSLPgetslpsol(slp, sol.data(), nullptr, duals.data(), djs.data()));
  EXPECT_NEAR(1.0, sol[0], 1e-5);
  EXPECT_NEAR(1.0, sol[1], 1e-5);
  // As for a maximising LP: objective gradient = dual * row gradient at the optimum.
  EXPECT_NEAR(0.5, duals[0], 1e-5);
  EXPECT_NEAR(0.0, djs[0], 1e-5);
  EXPECT_NEAR(0.0, djs[1], 1e-5);
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
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_GLOBALLY_OPTIMAL, status());
  EXPECT_EQ(1, intAttr(NSLP_ATTR_ITERATIONS));
  std::vector<double> duals(2), djs(2);
  ASSERT_EQ(0, NSLPgetslpsol(slp, nullptr, nullptr, duals.data(), djs.data()));
  ASSERT_EQ(0, NVRLlpoptimize(prob, ""));
  std::vector<double> lpduals(2), lpdjs(2);
  double lpobj = 0;
  ASSERT_EQ(0, NVRLgetlpsol(prob, nullptr, nullptr, lpduals.data(), lpdjs.data()));
  ASSERT_EQ(0, NVRLgetdblattrib(prob, NVRL_ATTR_LP_OBJECTIVE, &lpobj));
  EXPECT_NEAR(lpobj, objective(), 1e-9);
  for (int i = 0; i < 2; ++i) {
    EXPECT_NEAR(lpduals[i], duals[i], 1e-9);
    EXPECT_NEAR(lpdjs[i], djs[i], 1e-9);
  }
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
}

INSTANTIATE_TEST_SUITE_P(
    Statuses, NoOptimum,
    ::testing::Values(Unsolvable{"far_from_the_disc", NSLP_NLP_LOCALLY_INFEASIBLE},
                      Unsolvable{"contradictory_linear_rows", NSLP_NLP_INFEASIBLE},
                      Unsolvable{"unbounded", NSLP_NLP_UNBOUNDED}),
    [](const ::testing::TestParamInfo<Unsolvable> &i) { return std::string(i.param.name); });

// Rosenbrock from (-1.2, 1), whose objective there is 24.2.
class Stops : public NslpTest {
 protected:
  void rosenbrock() {
    const int a = col(-kFree, kFree, 0), b = col(-kFree, kFree, 0);
    formulaObjective(F().k(1).x(a).sub().k(2).pow().k(100).x(b).x(a).k(2).pow().sub().k(2)
                         .pow().mul().add());
    start(a, -1.2);
    start(b, 1.0);
  }
  static double rosenbrockAt(const std::vector<double> &v) {
    return (1 - v[0]) * (1 - v[0]) + 100 * std::pow(v[1] - v[0] * v[0], 2);
  }
};

TEST_F(Stops, IterationLimitKeepsTheBestPoint) {
  rosenbrock();
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, 3));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_UNFINISHED, status());
  EXPECT_EQ(NVRL_STOP_ITERLIMIT, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_EQ(3, intAttr(NSLP_ATTR_ITERATIONS));
  const std::vector<double> sol = x();
  // The point kept improves on the start (the objective sits in the transfer column).
  EXPECT_LT(rosenbrockAt(sol), 24.2);
  EXPECT_LT(objective(), 24.2);
  EXPECT_NEAR(sol[2], objective(), 1e-12);
}

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

TEST_F(Stops, InterruptFromTheMessageCallbackStopsAtTheNextIteration) {
  rosenbrock();
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
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
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
  ASSERT_EQ(0, optimize("g")) << slpError();
  EXPECT_EQ(NSLP_NLP_GLOBALLY_OPTIMAL, status());
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
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
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
    ASSERT_EQ(0, optimize()) << slpError();
    EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  }
  // The problem stays usable: read anew, it solves to its optimum.
  ASSERT_EQ(0, NSLPreadprob(slp, nslptest::nlpFile("hs071").c_str(), "")) << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
}

INSTANTIATE_TEST_SUITE_P(Sizes, ReloadBeneath, ::testing::Values(1, 3, 6));

}  // namespace
