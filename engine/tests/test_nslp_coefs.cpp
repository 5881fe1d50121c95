// Nonlinear coefficients through the C API: add, replace, delete, read as tokens and text,
// evaluate, and bad input that changes nothing.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "core/ids.h"
#include "nslp/slp_problem.h"
#include "nvrl.h"
#include "test_support.h"

namespace {

const int CON = NSLP_TOK_CON, COL = NSLP_TOK_COL, OP = NSLP_TOK_OP, IFUN = NSLP_TOK_IFUN,
          DEL = NSLP_TOK_DEL, END = NSLP_TOK_EOF;

// Formulas in reverse Polish, concatenated, with their starts.
struct Batch {
  std::vector<int> rows, cols, start{0}, type;
  std::vector<double> factor, value;
  Batch &add(int row, int col, double f, std::vector<std::pair<int, double>> toks) {
    rows.push_back(row), cols.push_back(col), factor.push_back(f);
    for (auto &t : toks) type.push_back(t.first), value.push_back(t.second);
    start.push_back(int(type.size()));
    return *this;
  }
  int n() const { return int(rows.size()); }
};

class SlpCoefs : public nvtest::SlpHandleTest {
 protected:
  void SetUp() override {
    SlpHandleTest::SetUp();
    load({'L', 'G'}, {1, 2}, {1, -3, -1e20}, {5, -1, 1e20});  // x, y, z; rows r0, r1
  }
  int add(const Batch &b, int parsed = 1) {
    return NSLPaddcoefs(slp_, b.n(), b.rows.data(), b.cols.data(), b.factor.data(),
                        b.start.data(), parsed, b.type.data(), b.value.data());
  }
  // Everything the coefficients hold, as text, to compare before and after a failed call.
  std::string snapshot() {
    std::string s;
    for (const nvrl::SlpCoefficient &c : slp_->data.coefs) {
      s += std::to_string(c.row) + "," + std::to_string(c.col) + "," + std::to_string(c.factor);
      for (const nvrl::SlpToken &t : c.formula)
        s += " " + std::to_string(t.type) + ":" + std::to_string(t.value);
      s += "\n";
    }
    return s;
  }
  std::vector<std::pair<int, int>> places() {
    int n = -1;
    EXPECT_EQ(0, NSLPgetcoefs(slp_, &n, nullptr, nullptr));
    std::vector<int> r(n), c(n);
    EXPECT_EQ(0, NSLPgetcoefs(slp_, &n, r.data(), c.data()));
    std::vector<std::pair<int, int>> out;
    for (int k = 0; k < n; ++k) out.push_back({r[k], c[k]});
    return out;
  }
  std::string text(int row, int col, double *factor = nullptr) {
    char buf[256];
    EXPECT_EQ(0, NSLPgetccoef(slp_, row, col, factor, buf, sizeof buf)) << error();
    return buf;
  }
  double evaluate(int row, int col) {
    double v = NAN;
    EXPECT_EQ(0, NSLPevaluatecoef(slp_, row, col, &v)) << error();
    return v;
  }
  int attr(int id) {
    int v = -99;
    EXPECT_EQ(0, NSLPgetintattrib(slp_, id, &v));
    return v;
  }
};

TEST_F(SlpCoefs, AddKeepsOnePerPlaceInOrder) {
  Batch b;
  b.add(1, 0, 2.0, {{COL, 1}, {END, 0}})                           // 2*x*y
      .add(0, 2, 1.0, {{COL, 0}, {CON, 2}, {OP, NSLP_OP_EXPONENT}, {END, 0}})  // z*x^2
      .add(-1, -1, 3.0, {{DEL, 0}, {COL, 0}, {IFUN, NSLP_FN_LN}, {END, 0}})     // 3*ln(x)
      .add(1, 0, 4.0, {{COL, 2}, {END, 0}});  // the same place again: this one stays
  ASSERT_EQ(0, add(b)) << error();
  EXPECT_EQ((std::vector<std::pair<int, int>>{{-1, -1}, {0, 2}, {1, 0}}), places());
  EXPECT_EQ(3, attr(nvrl::id::kSlpCoefs));
  EXPECT_EQ(3, attr(nvrl::id::kSlpNonlinearRows));
  double f = 0;
  EXPECT_EQ("z", text(1, 0, &f));
  EXPECT_EQ(4.0, f);

  // A second call merges: (0, 2) is replaced, (0, 1) slots in between.
  Batch c;
  c.add(0, 2, -1.0, {{COL, 1}, {OP, NSLP_OP_UMINUS}, {END, 0}}).add(0, 1, 1.0, {{CON, 7}, {END, 0}});
  ASSERT_EQ(0, add(c)) << error();
  EXPECT_EQ((std::vector<std::pair<int, int>>{{-1, -1}, {0, 1}, {0, 2}, {1, 0}}), places());
  EXPECT_EQ("-y", text(0, 2, &f));
  EXPECT_EQ(-1.0, f);
  EXPECT_EQ(-1, attr(nvrl::id::kSlpConstantCol));

  // Load replaces everything; delete takes what it names.
  Batch d;
  d.add(1, 2, 1.0, {{COL, 0}, {END, 0}}).add(0, 0, 1.0, {{COL, 1}, {END, 0}});
  ASSERT_EQ(0, NSLPloadcoefs(slp_, d.n(), d.rows.data(), d.cols.data(), nullptr, d.start.data(),
                             1, d.type.data(), d.value.data()))
      << error();
  EXPECT_EQ((std::vector<std::pair<int, int>>{{0, 0}, {1, 2}}), places());
  int r[] = {1, 1}, cc[] = {2, 2};
  ASSERT_EQ(0, NSLPdelcoefs(slp_, 2, r, cc)) << error();
  EXPECT_EQ((std::vector<std::pair<int, int>>{{0, 0}}), places());
}

TEST_F(SlpCoefs, FormulaInBothTokenFormsAndAsText) {
  ASSERT_EQ(0, NSLPchgccoef(slp_, 0, -1, nullptr, "max(x, 2)*(y - z)^2 + pwl(x, 0, 0, 1, 2)"))
      << error();
  EXPECT_EQ("max(x, 2)*(y - z)^2 + pwl(x, 0, 0, 1, 2)", text(0, -1));

  int n = 0;
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 1, 0, &n, nullptr, nullptr));
  std::vector<int> pt(n);
  std::vector<double> pv(n);
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 1, n, &n, pt.data(), pv.data()));
  EXPECT_EQ(END, pt.back());
  EXPECT_EQ(OP, pt[n - 2]);  // the sum is last
  EXPECT_EQ(NSLP_OP_PLUS, pv[n - 2]);
  EXPECT_NE(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 1, n - 1, &n, pt.data(), pv.data()));
  EXPECT_NE(std::string::npos, error().find("more than maxtypes"));

  int m = 0;
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 0, 0, &m, nullptr, nullptr));
  std::vector<int> ut(m);
  std::vector<double> uv(m);
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 0, m, &m, ut.data(), uv.data()));
  EXPECT_EQ(NSLP_TOK_LB, ut[7]);  // max ( x , 2 ) * ( ...: the bracket the difference needs
  // Both forms, and the text, mean the same formula: x = 1, y = -1, z = 0 -> 2*1 + 2.
  double vp = 0, vu = 0;
  ASSERT_EQ(0, NSLPevaluateformula(slp_, 1, pt.data(), pv.data(), &vp)) << error();
  ASSERT_EQ(0, NSLPevaluateformula(slp_, 0, ut.data(), uv.data(), &vu)) << error();
  EXPECT_EQ(4.0, vp);
  EXPECT_EQ(vp, vu);
  EXPECT_EQ(vp, evaluate(0, -1));
  // Reading the written form back gives the stored tokens.
  ASSERT_EQ(0, NSLPchgcoef(slp_, 1, 1, nullptr, 0, ut.data(), uv.data())) << error();
  std::vector<int> again(n);
  std::vector<double> againv(n);
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 1, 1, nullptr, 1, n, &n, again.data(), againv.data()));
  EXPECT_EQ(pt, again);
  EXPECT_EQ(pv, againv);

  char small[8];
  EXPECT_NE(0, NSLPgetccoef(slp_, 0, -1, nullptr, small, sizeof small));
  EXPECT_NE(std::string::npos, error().find("needs 41 bytes")) << error();
}

TEST_F(SlpCoefs, ChangeFactorOnlyAndEvaluateAtTheCurrentPoint) {
  double two = 2.0;
  ASSERT_EQ(0, NSLPchgccoef(slp_, 1, 0, &two, "exp(z) - y*x")) << error();
  EXPECT_EQ(2.0 * (1 + 1), evaluate(1, 0));  // x = 1 (lower bound), y = -1 (upper), z = 0
  double half = 0.5;
  ASSERT_EQ(0, NSLPchgcoef(slp_, 1, 0, &half, 1, nullptr, nullptr)) << error();
  ASSERT_EQ(0, NSLPchgccoef(slp_, 1, 0, &half, nullptr)) << error();
  EXPECT_EQ("exp(z) - y*x", text(1, 0));
  EXPECT_EQ(0.5 * 2, evaluate(1, 0));
  // An initial value moves the current point.
  slp_->data.columns.resize(3);
  slp_->data.columns[2].has_initial = true;
  slp_->data.columns[2].initial = std::log(3.0);
  EXPECT_NEAR(0.5 * (3 + 1), evaluate(1, 0), 1e-15);
}

TEST_F(SlpCoefs, EvaluationOutsideTheDomainFails) {
  ASSERT_EQ(0, NSLPchgccoef(slp_, 0, 0, nullptr, "ln(y)")) << error();
  double v = 123;
  EXPECT_NE(0, NSLPevaluatecoef(slp_, 0, 0, &v));
  EXPECT_NE(std::string::npos, error().find("ln of a non-positive number (-1)")) << error();
  EXPECT_EQ(123, v);
  int t[] = {CON, CON, OP, END};
  double val[] = {1, 0, NSLP_OP_DIVIDE, 0};
  EXPECT_NE(0, NSLPevaluateformula(slp_, 1, t, val, &v));
  EXPECT_NE(std::string::npos, error().find("division by zero")) << error();
  // A column a formula uses cannot be deleted, so the formula keeps its columns.
  ASSERT_EQ(0, NSLPchgccoef(slp_, 1, -1, nullptr, "x + z")) << error();
  int z = 2;
  EXPECT_NE(0, NVRLdelcols(prob_, 1, &z));
  EXPECT_EQ(0, NSLPevaluatecoef(slp_, 1, -1, &v)) << error();
}

// Every bad call fails with a message and leaves the coefficients as they were.
struct BadCall {
  const char *name;
  std::function<int(NSLPprob)> call;
  const char *message;
};

class SlpCoefsBad : public SlpCoefs, public ::testing::WithParamInterface<BadCall> {};

TEST_P(SlpCoefsBad, ChangesNothing) {
  ASSERT_EQ(0, NSLPchgccoef(slp_, 0, 1, nullptr, "x + 1")) << error();
  ASSERT_EQ(0, NSLPchgccoef(slp_, -1, -1, nullptr, "sin(z)")) << error();
  std::string before = snapshot();
  EXPECT_NE(0, GetParam().call(slp_));
  EXPECT_NE(std::string::npos, error().find(GetParam().message)) << error();
  EXPECT_EQ(before, snapshot());
}

int addOne(NSLPprob s, int row, int col, double factor, std::vector<int> t,
           std::vector<double> v, int start0 = 0, int parsed = 1) {
  int rows[] = {0, row}, cols[] = {2, col}, start[] = {0, 2, 2 + start0 + int(t.size())};
  double factors[] = {1, factor};
  std::vector<int> ty{COL, END};
  std::vector<double> va{0, 0};
  ty.insert(ty.end(), t.begin(), t.end());
  va.insert(va.end(), v.begin(), v.end());
  // The first coefficient is good: a failure must not keep it either.
  return NSLPaddcoefs(s, 2, rows, cols, factors, start, parsed, ty.data(), va.data());
}

INSTANTIATE_TEST_SUITE_P(
    Calls, SlpCoefsBad,
    ::testing::Values(
        BadCall{"row_high", [](NSLPprob s) { return addOne(s, 2, 0, 1, {CON, END}, {1, 0}); },
                "coefficient 1: row 2 is out of range (-1 to 1)"},
        BadCall{"row_low", [](NSLPprob s) { return addOne(s, -2, 0, 1, {CON, END}, {1, 0}); },
                "row -2 is out of range"},
        BadCall{"col_high", [](NSLPprob s) { return addOne(s, 0, 3, 1, {CON, END}, {1, 0}); },
                "column 3 is out of range (-1 to 2)"},
        BadCall{"factor_nan", [](NSLPprob s) { return addOne(s, 0, 0, NAN, {CON, END}, {1, 0}); },
                "factor nan is not finite"},
        BadCall{"unbalanced",
                [](NSLPprob s) { return addOne(s, 0, 0, 1, {CON, CON, END}, {1, 2, 0}); },
                "coefficient 1 (row 0, column 0): unbalanced formula"},
        BadCall{"formula_column",
                [](NSLPprob s) { return addOne(s, 0, 0, 1, {COL, END}, {3, 0}); },
                "column 3 is out of range (-1 to 2) at token 0"},
        BadCall{"no_end_in_range",
                [](NSLPprob s) { return addOne(s, 0, 0, 1, {CON, END}, {1, 0}, -1); },
                "without an end token"},
        BadCall{"starts_decrease",
                [](NSLPprob s) { return addOne(s, 0, 0, 1, {CON, END}, {1, 0}, -3); },
                "not non-decreasing"},
        BadCall{"unparsed_error",
                [](NSLPprob s) { return addOne(s, 0, 0, 1, {NSLP_TOK_LB, CON, END}, {0, 1, 0}, 0, 0); },
                "opening bracket without a closing one"},
        BadCall{"negative_count",
                [](NSLPprob s) {
                  return NSLPaddcoefs(s, -1, nullptr, nullptr, nullptr, nullptr, 1, nullptr,
                                      nullptr);
                },
                "negative coefficient count"},
        BadCall{"null_arrays",
                [](NSLPprob s) {
                  int r = 0;
                  return NSLPloadcoefs(s, 1, &r, &r, nullptr, nullptr, 1, nullptr, nullptr);
                },
                "null row, column, formula start or token array"},
        BadCall{"load_bad",
                [](NSLPprob s) {
                  int r = 0, c = 0, st[] = {0, 2}, t[] = {OP, END};
                  double v[] = {NSLP_OP_UMINUS, 0};
                  return NSLPloadcoefs(s, 1, &r, &c, nullptr, st, 1, t, v);
                },
                "operator lacks operands"},
        BadCall{"text_syntax",
                [](NSLPprob s) { return NSLPchgccoef(s, 0, 1, nullptr, "x + * y"); },
                "operator where an operand is expected at character 5"},
        BadCall{"text_unknown_column",
                [](NSLPprob s) { return NSLPchgccoef(s, 0, 1, nullptr, "x + w"); },
                "unknown column 'w'"},
        BadCall{"chg_token",
                [](NSLPprob s) {
                  int t[] = {CON, 77, END};
                  double v[] = {1, 0, 0};
                  return NSLPchgcoef(s, 0, 1, nullptr, 1, t, v);
                },
                "unknown token type 77"},
        BadCall{"chg_factor_missing",
                [](NSLPprob s) {
                  double f = 2;
                  return NSLPchgcoef(s, 1, 1, &f, 1, nullptr, nullptr);
                },
                "no coefficient at row 1, column 1"},
        BadCall{"chg_factor_inf",
                [](NSLPprob s) {
                  double f = INFINITY;
                  return NSLPchgccoef(s, 0, 1, &f, nullptr);
                },
                "not finite"},
        BadCall{"del_missing",
                [](NSLPprob s) {
                  int r[] = {0, 1}, c[] = {1, 1};
                  return NSLPdelcoefs(s, 2, r, c);
                },
                "coefficient 1: no coefficient at row 1, column 1"},
        BadCall{"get_missing",
                [](NSLPprob s) {
                  char buf[64];
                  return NSLPgetccoef(s, 1, 2, nullptr, buf, sizeof buf);
                },
                "no coefficient at row 1, column 2"},
        BadCall{"evaluate_missing",
                [](NSLPprob s) {
                  double v;
                  return NSLPevaluatecoef(s, 0, 0, &v);
                },
                "no coefficient at row 0, column 0"}),
    [](const ::testing::TestParamInfo<BadCall> &i) { return std::string(i.param.name); });

}  // namespace
