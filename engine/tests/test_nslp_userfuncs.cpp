// User functions through the C API: definition, names, addresses, objects, the call
// description a function reads, values and derivatives in formulas, and failures of a call
// (bad definitions are in the bad-input table).
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "nslp/formula.h"
#include "nslp/slp_problem.h"
#include "nvrl.h"
#include "test_support.h"

namespace {

// What the functions saw on their last call.
struct Seen {
  int ninputs = -1, derivatives = -1, results = -1, index = -1;
  NSLPprob slp = nullptr;
  void *object = nullptr;
  int calls = 0;
};
thread_local Seen seen;
int expoDerivativeCalls = 0;

void look(void *context) {
  void *info = nullptr;
  ASSERT_EQ(0, NSLPgetfuncobject(context, NSLP_FUNCOBJ_INFO, &info));
  ASSERT_EQ(0, NSLPgetfuncinfo(info, &seen.ninputs, &seen.derivatives, &seen.results, &seen.slp,
                               &seen.index));
  ASSERT_EQ(0, NSLPgetuserfuncobject(seen.slp, seen.index, &seen.object));
  ++seen.calls;
}

// a - 2*b^3 times the scale its object holds; values only.
double cubic(const double *x, void *context) {
  look(context);
  double scale = seen.object ? *static_cast<double *>(seen.object) : 1.0;
  return scale * (x[0] - 2 * x[1] * x[1] * x[1]);
}

// a*exp(b) with derivatives; gives the derivative by a only, so b's is differenced.
double expo(const double *x, void *context, const double *deltas, double *results) {
  look(context);
  if (deltas) ++expoDerivativeCalls;
  results[0] = x[0] * std::exp(x[1]);
  if (deltas && deltas[0] != 0) results[1] = std::exp(x[1]);
  return -1.0;  // ignored: the value travels in results[0]
}

// Fails for inputs above 1, as a values-only function (NaN) and with results (none set).
double failing(const double *x, void *) { return x[0] > 1 ? NAN : x[0]; }
double failingDeriv(const double *x, void *, const double *, double *results) {
  if (x[0] <= 1) results[0] = x[0];
  return 0;
}

class SlpUserFuncs : public nvtest::SlpHandleTest {
 protected:
  double scale_ = 2.0;

  void SetUp() override {
    SlpHandleTest::SetUp();
    load({'L'}, {1}, {0.5, 1.5, -1e20}, {5, 3, 1e20});
  }
  // The module's registration sequence; returns the index.
  int define(const char *name, bool derivatives, NSLPfuncaddress address, void *object) {
    int nameIdx = 0, linkIdx = 0;
    EXPECT_EQ(0, NSLPsetstring(slp_, &nameIdx, name));
    EXPECT_EQ(0, NSLPsetstring(slp_, &linkIdx, "DirectC"));
    int type[] = {NSLP_UFDEF_STRING, NSLP_UFDEF_ARGS, NSLP_UFDEF_CALL, NSLP_UFDEF_STRING, 0};
    double value[] = {double(nameIdx), 1.0,
                      derivatives ? double(NSLP_UFCALL_DERIVATIVES) : double(NSLP_UFCALL_VALUES),
                      double(linkIdx), 0};
    EXPECT_EQ(0, NSLPadduserfuncs(slp_, 1, type, value)) << error();
    int index = slp_->data.userfuncs.size();
    EXPECT_EQ(0, NSLPaddnames(slp_, NSLP_NAMES_USERFUNCS, name, index, index)) << error();
    EXPECT_EQ(0, NSLPchguserfuncaddress(slp_, index, address)) << error();
    EXPECT_EQ(0, NSLPsetuserfuncobject(slp_, index, object)) << error();
    return index;
  }
  double evaluate(const char *text) {
    EXPECT_EQ(0, NSLPchgccoef(slp_, 0, -1, nullptr, text)) << error();
    double v = NAN;
    EXPECT_EQ(0, NSLPevaluatecoef(slp_, 0, -1, &v)) << error();
    return v;
  }
};

TEST_F(SlpUserFuncs, CalledWithArgumentsInOrderAndTheirContext) {
  EXPECT_EQ(1, define("cubic", false, reinterpret_cast<NSLPfuncaddress>(cubic), &scale_));
  EXPECT_EQ(2, define("expo", true, reinterpret_cast<NSLPfuncaddress>(expo), nullptr));
  // Current point x = 0.5, y = 1.5 (lower bounds), z = 0.
  EXPECT_DOUBLE_EQ(2.0 * (1.5 - 2 * 0.125), evaluate("cubic(y, x)"));
  EXPECT_EQ(2, seen.ninputs);
  EXPECT_EQ(0, seen.derivatives);
  EXPECT_EQ(0, seen.results);
  EXPECT_EQ(slp_, seen.slp);
  EXPECT_EQ(1, seen.index);
  EXPECT_EQ(&scale_, seen.object);
  EXPECT_DOUBLE_EQ(0.5 * std::exp(1.5) + 1, evaluate("expo(x, y) + 1"));
  EXPECT_EQ(1, seen.results);
  EXPECT_EQ(2, seen.index);

  // The text form names them, and the parsed form puts their arguments last-first.
  char buf[128];
  ASSERT_EQ(0, NSLPchgccoef(slp_, 0, 1, nullptr, "cubic(z, expo(x, y))")) << error();
  ASSERT_EQ(0, NSLPgetccoef(slp_, 0, 1, nullptr, buf, sizeof buf)) << error();
  EXPECT_STREQ("cubic(z, expo(x, y))", buf);
  int n = 0, type[16];
  double value[16];
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, 1, nullptr, 1, 16, &n, type, value));
  std::vector<int> want{NSLP_TOK_DEL, NSLP_TOK_DEL, NSLP_TOK_COL, NSLP_TOK_COL,
                        NSLP_TOK_UFUN, NSLP_TOK_COL, NSLP_TOK_UFUN, NSLP_TOK_EOF};
  EXPECT_EQ(want, std::vector<int>(type, type + n));
  EXPECT_EQ(1, value[2]);  // expo's y first
  EXPECT_EQ(2, value[4]);
  EXPECT_EQ(2, value[5]);  // then cubic's z
}

TEST_F(SlpUserFuncs, GradientsOwnAndDifferenced) {
  define("cubic", false, reinterpret_cast<NSLPfuncaddress>(cubic), &scale_);
  define("expo", true, reinterpret_cast<NSLPfuncaddress>(expo), nullptr);
  nvrl::FormulaScope scope{3, &slp_->data.userfuncs};
  auto colIndex = [](const std::string &s) { return s == "x" ? 0 : s == "y" ? 1 : -1; };
  nvrl::FormulaTape tape(nvrl::parseFormulaText("cubic(x, y) + expo(y, x)", scope, colIndex),
                         scope);
  nvrl::FormulaWorkspace ws;
  double x[] = {0.7, 1.3, 0}, v, g[2];
  seen.calls = 0;
  expoDerivativeCalls = 0;
  ASSERT_TRUE(tape.gradient(x, v, g, ws)) << ws.error;
  EXPECT_DOUBLE_EQ(2 * (0.7 - 2 * std::pow(1.3, 3)) + 1.3 * std::exp(0.7), v);
  EXPECT_NEAR(2 + 1.3 * std::exp(0.7), g[0], 1e-8);        // expo's own by its b: differenced
  EXPECT_NEAR(-12 * 1.69 + std::exp(0.7), g[1], 1e-8);      // expo's own by its a
  EXPECT_EQ(1, expoDerivativeCalls);
  // one call each with derivatives, which also gives the value; 2 more per differenced input
  EXPECT_EQ(1 + 2 + 1 + 4, seen.calls);
}

TEST_F(SlpUserFuncs, FailuresStopEvaluation) {
  define("f1", false, reinterpret_cast<NSLPfuncaddress>(failing), nullptr);
  define("f2", true, reinterpret_cast<NSLPfuncaddress>(failingDeriv), nullptr);
  for (const char *text : {"f1(y)", "f2(y)"}) {
    ASSERT_EQ(0, NSLPchgccoef(slp_, 0, -1, nullptr, text)) << error();
    double v = 5;
    EXPECT_NE(0, NSLPevaluatecoef(slp_, 0, -1, &v)) << text;
    std::string name(text, 2);
    EXPECT_NE(std::string::npos, error().find("user function " + name + ": failed")) << error();
    EXPECT_EQ(5, v);
  }
  EXPECT_DOUBLE_EQ(0.5, evaluate("f1(x)"));
  EXPECT_DOUBLE_EQ(0.5, evaluate("f2(x)"));
  // Without an address a function cannot run.
  int name = 0, link = 0;
  NSLPsetstring(slp_, &name, "bare");
  NSLPsetstring(slp_, &link, "DirectC");
  int type[] = {NSLP_UFDEF_STRING, NSLP_UFDEF_CALL, NSLP_UFDEF_STRING, 0};
  double value[] = {double(name), NSLP_UFCALL_VALUES, double(link), 0};
  ASSERT_EQ(0, NSLPadduserfuncs(slp_, 1, type, value)) << error();
  ASSERT_EQ(0, NSLPchgccoef(slp_, 0, -1, nullptr, "bare(x)")) << error();
  double v;
  EXPECT_NE(0, NSLPevaluatecoef(slp_, 0, -1, &v));
  EXPECT_NE(std::string::npos, error().find("user function bare: has no function address"));
}

TEST_F(SlpUserFuncs, RepeatedNamesReadTheFirst) {
  define("same", false, reinterpret_cast<NSLPfuncaddress>(cubic), &scale_);
  define("same", false, reinterpret_cast<NSLPfuncaddress>(failing), nullptr);
  int s1 = 0, s2 = 0;
  NSLPsetstring(slp_, &s1, "same");
  NSLPsetstring(slp_, &s2, "same");
  EXPECT_EQ(s1, s2);  // one string kept once
  ASSERT_EQ(0, NSLPchgccoef(slp_, 0, -1, nullptr, "same(x, y)")) << error();
  int n = 0, type[8];
  double value[8];
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 1, 8, &n, type, value));
  EXPECT_EQ(1, value[3]);
  // A formula calling the second one has no text form.
  int t[] = {NSLP_TOK_DEL, NSLP_TOK_COL, NSLP_TOK_UFUN, NSLP_TOK_EOF};
  double v[] = {0, 0, 2, 0};
  ASSERT_EQ(0, NSLPchgcoef(slp_, 0, 0, nullptr, 1, t, v)) << error();
  char buf[64];
  EXPECT_NE(0, NSLPgetccoef(slp_, 0, 0, nullptr, buf, sizeof buf));
  EXPECT_NE(std::string::npos, error().find("cannot be written")) << error();
}

}  // namespace
