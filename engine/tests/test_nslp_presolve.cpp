// Presolve and postsolve of the nonlinear problem: what is folded, that the user's problem and
// the answers stay in the user's terms, stale forms, and Hock-Schittkowski problems with a
// column fixed at its published solution solved with and without presolve.
#include <cmath>
#include <string>
#include <vector>

#include "nslp/slp_presolve.h"
#include "test_nslp_support.h"

namespace {

using nslptest::F;

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
    for (int64_t e = pm.A.start[r]; e < pm.A.start[r + 1]; ++e)
      if (pm.A.col[e] == c) return pm.A.val[e];
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

TEST_F(Presolve, DeletingRowsOrColumnsDropsTheForm) {
  build();
  const int extra = row('L', 1, {{0, 1}});
  ASSERT_EQ(0, NSLPpresolve(slp));
  ASSERT_TRUE(presolved());
  ASSERT_EQ(0, NVRLdelrows(prob, 1, &extra)) << lastError();
  EXPECT_FALSE(presolved());
  EXPECT_FALSE(slp->data.presolved);
  EXPECT_EQ(5, intAttr(NSLP_ATTR_COEFFICIENTS));
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
    int status = -1, fixed = -1;
    NSLPgetintattrib(slp, NSLP_ATTR_STATUS, &status);
    NSLPgetdblattrib(slp, NSLP_ATTR_OBJECTIVE, &objs[autoPresolve]);
    NSLPgetintattrib(slp, NSLP_ATTR_PRESOLVE_FIXED_COLUMNS, &fixed);
    EXPECT_TRUE(status == NSLP_NLP_LOCALLY_OPTIMAL || status == NSLP_NLP_GLOBALLY_OPTIMAL)
        << status;
    if (autoPresolve) {
      EXPECT_EQ(1, fixed);
    }
    EXPECT_NEAR(optimum, objs[autoPresolve], 1e-5 * std::max(1.0, std::fabs(optimum)));
  }
  EXPECT_NEAR(objs[0], objs[1], 1e-6 * std::max(1.0, std::fabs(optimum)));
}

INSTANTIATE_TEST_SUITE_P(Published, FixedColumnHs,
                         ::testing::Values("hs006", "hs010", "hs014", "hs023", "hs029", "hs043",
                                           "hs065", "hs071", "hs078", "hs100"),
                         [](const ::testing::TestParamInfo<std::string> &i) { return i.param; });

}  // namespace
