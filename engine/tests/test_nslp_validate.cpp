// Validation of points (NSLPvalidate, NSLPvalidaterow, NSLPvalidatevector), the optimality
// check NSLPvalidatekkt, and the reports NSLPprintevalinfo and NSLPprintmemory. Bad input is in
// the bad-input table.
#include <cmath>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "nslp/formula.h"
#include "test_nslp_support.h"

using nslptest::F;
using nslptest::NslpTest;

namespace {

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
  void solveConverged() {
    ASSERT_EQ(0, optimize()) << slpError();
    ASSERT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
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
  solveConverged();
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
    ASSERT_NO_FATAL_FAILURE(solveConverged());
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
  ASSERT_NO_FATAL_FAILURE(solveConverged());
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
  ASSERT_NO_FATAL_FAILURE(solveConverged());
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
  solveConverged();
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
