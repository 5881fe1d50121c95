// Shared helpers of the nonlinear solver's tests: an optimiser problem with a nonlinear
// problem on it, built by writing the store directly, formulas written as token lists, the
// test problems of engine/tests/data/nlp, and a bit-exact comparison of nonlinear data.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/registry.h"
#include "nslp/slp_problem.h"
#include "test_solve_support.h"

namespace nslptest {

// A test problem of engine/tests/data/nlp by its stem ("hs071").
inline std::string nlpFile(const std::string &stem) {
  return (std::filesystem::path(NVRL_SOURCE_DIR) / "engine" / "tests" / "data" / "nlp" /
          (stem + ".mps"))
      .string();
}

// The stems of every test problem, sorted.
inline std::vector<std::string> nlpStems() {
  std::vector<std::string> names;
  for (const auto &e : std::filesystem::directory_iterator(
           std::filesystem::path(NVRL_SOURCE_DIR) / "engine" / "tests" / "data" / "nlp"))
    if (e.path().extension() == ".mps") names.push_back(e.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

// The "* optimum value tolerance t" and "* solution name value ..." comments of a test problem.
struct Published {
  double optimum = NAN, tolerance = 1e-6;
  std::map<std::string, double> solution;
};

inline Published published(const std::string &file) {
  Published p;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line);
    std::string star, key, name;
    words >> star >> key;
    if (star == "*" && key == "optimum") words >> p.optimum >> key >> p.tolerance;
    if (star == "*" && key == "solution")
      for (double v; words >> name >> v;) p.solution[name] = v;
  }
  return p;
}

// The settings of NSLPchgvar and NSLPgetvar by name; those not named are passed as null.
template <typename I, typename D>
struct VarFields {
  I *detrow = nullptr;
  D *initstepbound = nullptr, *stepbound = nullptr, *penalty = nullptr, *damp = nullptr,
    *initvalue = nullptr, *value = nullptr;
  I *tolset = nullptr, *history = nullptr, *converged = nullptr, *vartype = nullptr;
};
using VarIn = VarFields<const int, const double>;
using VarOut = VarFields<int, double>;

inline int chgvar(NSLPprob s, int c, const VarIn &v) {
  return NSLPchgvar(s, c, v.detrow, v.initstepbound, v.stepbound, v.penalty, v.damp,
                    v.initvalue, v.value, v.tolset, v.history, v.converged, v.vartype);
}
inline int getvar(NSLPprob s, int c, const VarOut &v) {
  return NSLPgetvar(s, c, v.detrow, v.initstepbound, v.stepbound, v.penalty, v.damp,
                    v.initvalue, v.value, v.tolset, v.history, v.converged, v.vartype);
}
// One setting: setVar(slp, c, &VarIn::initvalue, 2.0), getVar(slp, c, &VarOut::detrow).
template <typename T>
int setVar(NSLPprob s, int c, const T *VarIn::*field, std::type_identity_t<T> v) {
  VarIn in;
  in.*field = &v;
  return chgvar(s, c, in);
}
template <typename T>
T getVar(NSLPprob s, int c, T *VarOut::*field) {
  T v = T(-99);
  VarOut out;
  out.*field = &v;
  EXPECT_EQ(0, getvar(s, c, out)) << "column " << c;
  return v;
}

// Every numeric nonlinear attribute by name as bits, so that NaN equals NaN, read through the
// C API; the presolved state bit is left out (a restored problem is not presolved).
inline std::map<std::string, uint64_t> attributes(NSLPprob s) {
  std::map<std::string, uint64_t> out;
  for (const nvrl::ParamInfo &info : nvrl::paramTable()) {
    if (info.isControl() || !info.isNonlinear() || info.type == nvrl::ParamType::String) continue;
    int i = 0;
    double d = 0;
    EXPECT_EQ(0, info.isIntegral() ? NSLPgetintattrib(s, info.id, &i)
                                   : NSLPgetdblattrib(s, info.id, &d))
        << info.name;
    if (info.isIntegral()) d = info.id == NSLP_ATTR_STATE ? i & ~(1 << 29) : i;
    std::memcpy(&out[info.name], &d, sizeof d);
  }
  return out;
}

using nvtest::sameBits;

inline void expectSameCoefficients(const nvrl::SlpData &a, const nvrl::SlpData &b) {
  ASSERT_EQ(a.coefs.size(), b.coefs.size());
  for (size_t k = 0; k < a.coefs.size(); ++k) {
    const nvrl::SlpCoefficient &u = a.coefs[k], &v = b.coefs[k];
    EXPECT_EQ(std::pair(u.row, u.col), std::pair(v.row, v.col)) << k;
    EXPECT_TRUE(sameBits(u.factor, v.factor)) << k;
    ASSERT_EQ(u.formula.size(), v.formula.size()) << k;
    for (size_t t = 0; t < u.formula.size(); ++t) {
      EXPECT_EQ(u.formula[t].type, v.formula[t].type) << k << "/" << t;
      EXPECT_TRUE(sameBits(u.formula[t].value, v.formula[t].value)) << k << "/" << t;
    }
  }
}

// Every field of the nonlinear data but the presolved form, bit-exact; user functions by
// name, inputs and derivatives (addresses are not data).
inline void expectSameData(const nvrl::SlpData &a, const nvrl::SlpData &b) {
  expectSameCoefficients(a, b);
  ASSERT_EQ(a.columns.size(), b.columns.size());
  for (size_t j = 0; j < a.columns.size(); ++j) {
    const nvrl::SlpColumn &u = a.columns[j], &v = b.columns[j];
    EXPECT_TRUE(sameBits({u.initial, u.init_step_bound, u.penalty, u.damping, u.step_bound,
                          u.delta_value},
                         {v.initial, v.init_step_bound, v.penalty, v.damping, v.step_bound,
                          v.delta_value}))
        << j;
    EXPECT_EQ(std::tuple(u.has_initial, u.det_row, u.tolset, u.vartype, u.cascade_limit,
                         u.history, u.converged, u.seqnum, u.delta_type),
              std::tuple(v.has_initial, v.det_row, v.tolset, v.vartype, v.cascade_limit,
                         v.history, v.converged, v.seqnum, v.delta_type))
        << j;
  }
  EXPECT_EQ(a.rowstatus, b.rowstatus);
  EXPECT_TRUE(sameBits(a.rowweight, b.rowweight));
  EXPECT_EQ(a.strings, b.strings);
  ASSERT_EQ(a.tolsets.size(), b.tolsets.size());
  for (size_t k = 0; k < a.tolsets.size(); ++k) {
    EXPECT_EQ(a.tolsets[k].status, b.tolsets[k].status);
    EXPECT_TRUE(sameBits(std::vector<double>(a.tolsets[k].tol.begin(), a.tolsets[k].tol.end()),
                         std::vector<double>(b.tolsets[k].tol.begin(), b.tolsets[k].tol.end())));
  }
  EXPECT_EQ(a.dfs, b.dfs);
  EXPECT_EQ(a.cascade_order, b.cascade_order);
  EXPECT_TRUE(sameBits(a.rowscale, b.rowscale));
  ASSERT_EQ(a.msjobs.size(), b.msjobs.size());
  for (size_t k = 0; k < a.msjobs.size(); ++k) {
    const nvrl::SlpMultistartJob &u = a.msjobs[k], &v = b.msjobs[k];
    EXPECT_EQ(std::tuple(u.description, u.preset, u.count, u.initial, u.intctls, u.dblctls),
              std::tuple(v.description, v.preset, v.count, v.initial, v.intctls, v.dblctls));
  }
  ASSERT_EQ(a.userfuncs.size(), b.userfuncs.size());
  for (int k = 1; k <= a.userfuncs.size(); ++k)
    EXPECT_EQ(std::tuple(a.userfuncs.at(k).name, a.userfuncs.at(k).inputs,
                         a.userfuncs.at(k).derivatives),
              std::tuple(b.userfuncs.at(k).name, b.userfuncs.at(k).inputs,
                         b.userfuncs.at(k).derivatives));
}

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
  std::string error() const { return nvtest::slpError(slp); }
  int intAttr(int id) { return nvtest::slpIntAttr(slp, id); }
  double dblAttr(int id) { return nvtest::slpDblAttr(slp, id); }
  NVRLprob prob = nullptr;
  NSLPprob slp = nullptr;
};

// A second optimiser and nonlinear problem pair with silent logs, destroyed with the object.
struct SecondPair {
  SecondPair() {
    EXPECT_EQ(0, NVRLcreateprob(&prob));
    EXPECT_EQ(0, NSLPcreateprob(&slp, &prob));
    NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
    NSLPsetintcontrol(slp, NSLP_CTRL_LOG_LEVEL, 0);
  }
  ~SecondPair() {
    NSLPdestroyprob(slp);
    NVRLdestroyprob(prob);
  }
  NVRLprob prob = nullptr;
  NSLPprob slp = nullptr;
};

// Defines a user function as the module does (strings for its name and linkage, one argument
// list, values or derivatives), names it and gives it its address and object; its index.
template <typename Fn>
int defineUserFunction(NSLPprob s, const char *name, bool derivatives, Fn *fn,
                       void *object = nullptr) {
  const NSLPfuncaddress address = reinterpret_cast<NSLPfuncaddress>(fn);
  int nameIdx = 0, linkIdx = 0;
  EXPECT_EQ(0, NSLPsetstring(s, &nameIdx, name));
  EXPECT_EQ(0, NSLPsetstring(s, &linkIdx, "DirectC"));
  int type[] = {NSLP_UFDEF_STRING, NSLP_UFDEF_ARGS, NSLP_UFDEF_CALL, NSLP_UFDEF_STRING, 0};
  double value[] = {double(nameIdx), 1.0,
                    derivatives ? double(NSLP_UFCALL_DERIVATIVES) : double(NSLP_UFCALL_VALUES),
                    double(linkIdx), 0};
  EXPECT_EQ(0, NSLPadduserfuncs(s, 1, type, value)) << nvtest::slpError(s);
  const int index = s->data.userfuncs.size();
  EXPECT_EQ(0, NSLPaddnames(s, NSLP_NAMES_USERFUNCS, name, index, index)) << nvtest::slpError(s);
  EXPECT_EQ(0, NSLPchguserfuncaddress(s, index, address)) << nvtest::slpError(s);
  EXPECT_EQ(0, NSLPsetuserfuncobject(s, index, object)) << nvtest::slpError(s);
  return index;
}

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
  // A solve that must succeed and end with the status want.
  void solve(int want = NSLP_NLP_LOCALLY_OPTIMAL, const char *flags = "") {
    ASSERT_EQ(0, optimize(flags)) << slpError();
    ASSERT_EQ(want, status());
  }
  int status() { return intAttr(NSLP_ATTR_STATUS); }
  int intAttr(int id) { return nvtest::slpIntAttr(slp, id); }
  double dblAttr(int id) { return nvtest::slpDblAttr(slp, id); }
  double objective() { return dblAttr(NSLP_ATTR_OBJECTIVE); }
  std::vector<double> x() {
    std::vector<double> v(model().cols());
    EXPECT_EQ(0, NSLPgetslpsol(slp, v.data(), nullptr, nullptr, nullptr)) << slpError();
    return v;
  }
  std::vector<double> slacks() {
    std::vector<double> v(model().rows());
    EXPECT_EQ(0, NSLPgetslpsol(slp, nullptr, v.data(), nullptr, nullptr)) << slpError();
    return v;
  }
  // The current point's value of column c.
  double value(int c) { return getVar(slp, c, &VarOut::value); }

  // Keeps the log's lines with their message types from now on (at level, when given).
  void captureLog(int level = -1) {
    if (level >= 0) NSLPsetintcontrol(slp, NSLP_CTRL_LOG_LEVEL, level);
    NSLPsetcbmessage(slp, keepLine, this);
  }
  static void keepLine(NSLPprob, void *self, const char *msg, int len, int type) {
    static_cast<NslpTest *>(self)->lines.push_back({type, std::string(msg, len)});
    if (std::getenv("NSLP_TEST_LOG")) printLine(nullptr, nullptr, msg, len, type);
  }
  // The kept lines containing text.
  std::vector<std::string> logged(const std::string &text) const {
    std::vector<std::string> out;
    for (const auto &[type, l] : lines)
      if (l.find(text) != std::string::npos) out.push_back(l);
    return out;
  }
  std::string slpError() const { return nvtest::slpError(slp); }

  NSLPprob slp = nullptr;
  std::vector<std::pair<int, std::string>> lines;
};

}  // namespace nslptest
