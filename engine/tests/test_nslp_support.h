// Shared helpers of the nonlinear solver's tests: an optimiser problem with a nonlinear
// problem on it, built by writing the store directly, and formulas written as token lists.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "nslp/slp_problem.h"
#include "test_solve_support.h"

namespace nslptest {

// A fresh optimiser and nonlinear problem pair with silent logs, for tests parametrised over
// the nonlinear test data.
template <typename Param>
class SlpPairTest : public ::testing::TestWithParam<Param> {
 protected:
  void SetUp() override {
    ASSERT_EQ(0, NVRLinit(nullptr));
    ASSERT_EQ(0, NSLPinit(nullptr));
    ASSERT_EQ(0, NVRLcreateprob(&prob));
    ASSERT_EQ(0, NSLPcreateprob(&slp, &prob));
    NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
    NSLPsetintcontrol(slp, NSLP_CTRL_LOG_LEVEL, 0);
  }
  void TearDown() override {
    NSLPdestroyprob(slp);
    NVRLdestroyprob(prob);
    NSLPfree();
    NVRLfree();
  }
  std::string error() {
    char msg[NVRL_MAXMESSAGELEN] = {};
    NSLPgetlasterror(slp, nullptr, msg);
    return msg;
  }
  NVRLprob prob = nullptr;
  NSLPprob slp = nullptr;
};

// A formula in reverse-Polish form: F().x(0).k(2).pow() is x0^2; functions take their
// argument-list marker first: F().args().x(0).fn(NSLP_FN_LN) is ln(x0).
struct F {
  std::vector<nvrl::SlpToken> t;
  F &x(int c) { return push(NSLP_TOK_COL, c); }
  F &k(double v) { return push(NSLP_TOK_CON, v); }
  F &op(int o) { return push(NSLP_TOK_OP, o); }
  F &pow() { return op(NSLP_OP_EXPONENT); }
  F &mul() { return op(NSLP_OP_MULTIPLY); }
  F &add() { return op(NSLP_OP_PLUS); }
  F &sub() { return op(NSLP_OP_MINUS); }
  F &args() { return push(NSLP_TOK_DEL, 0); }
  F &fn(int f) { return push(NSLP_TOK_IFUN, f); }
  std::vector<nvrl::SlpToken> done() const {
    auto r = t;
    r.push_back({NSLP_TOK_EOF, 0});
    return r;
  }

 private:
  F &push(int type, double v) {
    t.push_back({type, v});
    return *this;
  }
};

class NslpTest : public solvetest::SolveTest {
 protected:
  void SetUp() override {
    solvetest::SolveTest::SetUp();
    ASSERT_EQ(0, NSLPinit(nullptr));
    ASSERT_EQ(0, NSLPcreateprob(&slp, &prob));
    NSLPsetintcontrol(slp, NSLP_CTRL_LOG_LEVEL, 0);
    // NSLP_TEST_LOG=1 shows the solver's log while a test is being investigated.
    if (std::getenv("NSLP_TEST_LOG")) {
      NSLPsetintcontrol(slp, NSLP_CTRL_LOG_LEVEL, std::atoi(std::getenv("NSLP_TEST_LOG")));
      NSLPsetcbmessage(slp, printLine, nullptr);
    }
  }
  static void printLine(NSLPprob, void *, const char *msg, int len, int) {
    std::fprintf(stderr, "%.*s\n", len, msg);
  }
  void TearDown() override {
    NSLPdestroyprob(slp);
    NSLPfree();
    solvetest::SolveTest::TearDown();
  }

  // Adds factor * formula to row (col -1) or factor * x[col] * formula.
  void coef(int row, int col, double factor, const F &f) {
    slp->data.coefs.push_back({row, col, factor, f.done()});
  }
  // The objective as a formula: minimise t with row  formula - t = 0.
  int formulaObjective(const F &f) {
    const int t = col(-1e20, 1e20, 1.0);
    const int r = row('E', 0.0, {{t, -1.0}});
    coef(r, -1, 1.0, f);
    return t;
  }
  void start(int c, double v) {
    if (static_cast<int>(slp->data.columns.size()) <= c) slp->data.columns.resize(c + 1);
    slp->data.columns[c].has_initial = true;
    slp->data.columns[c].initial = v;
  }

  int optimize(const char *flags = "") { return NSLPnlpoptimize(slp, flags); }
  int status() { return intAttr(NSLP_ATTR_STATUS); }
  int intAttr(int id) {
    int v = -99;
    EXPECT_EQ(0, NSLPgetintattrib(slp, id, &v));
    return v;
  }
  double objective() {
    double v = NAN;
    EXPECT_EQ(0, NSLPgetdblattrib(slp, NSLP_ATTR_OBJECTIVE, &v));
    return v;
  }
  std::vector<double> x() {
    std::vector<double> v(model().cols());
    EXPECT_EQ(0, NSLPgetslpsol(slp, v.data(), nullptr, nullptr, nullptr)) << slpError();
    return v;
  }
  std::string slpError() {
    char msg[NVRL_MAXMESSAGELEN] = {};
    NSLPgetlasterror(slp, nullptr, msg);
    return msg;
  }

  NSLPprob slp = nullptr;
};

}  // namespace nslptest
