// Nonlinear coefficients through the C API: add, replace, delete, read as tokens and text, and
// evaluate (bad input is in the bad-input table).
#include <gtest/gtest.h>

#include <cmath>
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

}  // namespace
