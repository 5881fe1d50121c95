// Nonlinear problem files: every test problem reads into the store with the meaning the
// plain-Python checker gives it (its published optimal point is feasible and gives its
// optimum), writes and reads back exactly, and faulty files fail naming the line while
// leaving both problems as they were.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "nslp/formula.h"
#include "nslp/slp_problem.h"
#include "test_io_support.h"
#include "test_nslp_support.h"

namespace {

namespace fs = std::filesystem;

class NlFile : public iotest::FileTest {
 protected:
  void SetUp() override {
    iotest::FileTest::SetUp();
    ASSERT_EQ(NSLPinit(nullptr), 0);
    ASSERT_EQ(NSLPcreateprob(&slp, &prob), 0);
  }
  void TearDown() override {
    NSLPdestroyprob(slp);
    NSLPfree();
    iotest::FileTest::TearDown();
  }
  std::string slpError() const {
    char msg[NVRL_MAXMESSAGELEN] = {};
    NSLPgetlasterror(slp, nullptr, msg);
    return msg;
  }
  void read(const std::string &file) {
    ASSERT_EQ(NSLPreadprob(slp, file.c_str(), ""), 0) << slpError();
  }

  NSLPprob slp = nullptr;
};

// The coefficients and initial values, which a file holds.
void expectSameCoefficients(const nvrl::SlpData &a, const nvrl::SlpData &b) {
  nslptest::expectSameCoefficients(a, b);
  auto initial = [](const nvrl::SlpData &d) {
    std::map<int, double> out;
    for (size_t j = 0; j < d.columns.size(); ++j)
      if (d.columns[j].has_initial) out[static_cast<int>(j)] = d.columns[j].initial;
    return out;
  };
  EXPECT_EQ(initial(a), initial(b));
}

// Objective and row activities of the problem as stored, at x.
void evaluate(const nvrl::Model &m, const nvrl::SlpData &d, const std::vector<double> &x,
              double &obj, std::vector<double> &act) {
  obj = m.objconst;
  for (int j = 0; j < m.cols(); ++j) obj += m.obj[j] * x[j];
  for (auto [ij, v] : m.qobj)
    obj += ij.first == ij.second ? 0.5 * v * x[ij.first] * x[ij.first]
                                 : v * x[ij.first] * x[ij.second];
  act.assign(static_cast<size_t>(m.rows()), 0.0);
  for (int i = 0; i < m.rows(); ++i)
    for (int64_t k = m.A.start[i]; k < m.A.start[i + 1]; ++k) act[i] += m.A.val[k] * x[m.A.col[k]];
  for (const auto &[row, q] : m.qrows)
    for (auto [ij, v] : q) act[row] += (ij.first == ij.second ? 1 : 2) * v * x[ij.first] * x[ij.second];
  const nvrl::FormulaScope scope{m.cols(), nullptr};
  nvrl::FormulaWorkspace ws;
  for (const nvrl::SlpCoefficient &c : d.coefs) {
    double v = 0;
    ASSERT_TRUE(nvrl::FormulaTape(c.formula, scope).value(x.data(), v, ws)) << ws.error;
    v *= c.factor * (c.col >= 0 ? x[c.col] : 1.0);
    (c.row < 0 ? obj : act[c.row]) += v;
  }
}

TEST_F(NlFile, EveryTestProblemMeansWhatItsCommentsSay) {
  const std::vector<std::string> stems = nslptest::nlpStems();
  ASSERT_GE(stems.size(), 36u);
  for (const std::string &stem : stems) {
    SCOPED_TRACE(stem);
    const std::string file = nslptest::nlpFile(stem);
    read(file);
    const nvrl::Model &m = prob->model;
    const nvrl::SlpData &d = slp->data;
    for (size_t k = 1; k < d.coefs.size(); ++k)
      EXPECT_LT(std::pair(d.coefs[k - 1].row, d.coefs[k - 1].col),
                std::pair(d.coefs[k].row, d.coefs[k].col));
    const nslptest::Published pub = nslptest::published(file);
    std::vector<double> x(static_cast<size_t>(m.cols()));
    for (int j = 0; j < m.cols(); ++j) {
      ASSERT_TRUE(pub.solution.count(m.colnames[j])) << m.colnames[j];
      x[j] = pub.solution.at(m.colnames[j]);
    }
    double obj;
    std::vector<double> act;
    evaluate(m, d, x, obj, act);
    EXPECT_NEAR(obj, pub.optimum, 1e-6 * std::max(1.0, std::fabs(pub.optimum)));
    for (int i = 0; i < m.rows(); ++i) {
      const double tol = 1e-6 * std::max(1.0, std::fabs(m.rhs[i]));
      const char t = m.rowtype[i];
      if (t == 'L' || t == 'E' || t == 'R') EXPECT_LE(act[i], m.rhs[i] + tol) << m.rownames[i];
      if (t == 'G' || t == 'E') EXPECT_GE(act[i], m.rhs[i] - tol) << m.rownames[i];
      if (t == 'R') EXPECT_GE(act[i], m.rhs[i] - m.range[i] - tol) << m.rownames[i];
    }
  }
}

TEST_F(NlFile, EveryTestProblemWritesAndReadsBackExactly) {
  for (const std::string &stem : nslptest::nlpStems()) {
    SCOPED_TRACE(stem);
    read(nslptest::nlpFile(stem));
    const nvrl::Model model = prob->model;
    const nvrl::SlpData data = slp->data;
    const std::string out = path("out.mps");
    ASSERT_EQ(NSLPwriteprob(slp, out.c_str(), ""), 0) << slpError();
    read(out);
    iotest::expectSameModel(model, prob->model);
    expectSameCoefficients(data, slp->data);
  }
}

TEST_F(NlFile, ReadingStartsTheNonlinearDataAfresh) {
  read(nslptest::nlpFile("hs071"));
  slp->data.columns[0].penalty = 7;
  slp->state.iterations = 3;
  read(nslptest::nlpFile("hs035"));  // quadratic objective, no nonlinear coefficients
  EXPECT_TRUE(slp->data.coefs.empty());
  EXPECT_EQ(slp->data.columns[0].penalty, 0);
  EXPECT_EQ(slp->state.iterations, 0);
}

// A small problem; each bad case replaces one line of it.
const char *kGood =
    "NAME small\n"                      // 1
    "ROWS\n"                            // 2
    " N  obj\n"                         // 3
    " L  c1\n"                          // 4
    "COLUMNS\n"                         // 5
    "    x  obj  1\n"                   // 6
    "    y  c1  1\n"                    // 7
    "RHS\n"                             // 8
    "    rhs  c1  4\n"                  // 9
    "NLCOEFFICIENTS\n"                  // 10
    "    obj  =  2  sin(x)*y^2\n"       // 11
    "    c1  x  1.5  exp(y) / (1 + x)\n"  // 12
    "INITIALVALUES\n"                   // 13
    "    x  0.5\n"                      // 14
    "ENDATA\n";                         // 15

std::string replaceLine(const std::string &text, int line, const std::string &with) {
  std::istringstream in(text);
  std::string out, l;
  for (int n = 1; std::getline(in, l); ++n) out += (n == line ? with : l) + "\n";
  return out;
}

struct BadCase {
  const char *label;
  int line;
  const char *with;
  int error_line;
  const char *message;
};

std::ostream &operator<<(std::ostream &os, const BadCase &c) { return os << c.label; }

class NlBadFile : public NlFile, public ::testing::WithParamInterface<BadCase> {};

TEST_F(NlFile, SmallFileReads) {
  read(writeText("small.mps", kGood));
  const nvrl::SlpData &d = slp->data;
  ASSERT_EQ(d.coefs.size(), 2u);
  EXPECT_EQ(std::tuple(-1, -1, 2.0), std::tuple(d.coefs[0].row, d.coefs[0].col, d.coefs[0].factor));
  EXPECT_EQ(std::tuple(0, 0, 1.5), std::tuple(d.coefs[1].row, d.coefs[1].col, d.coefs[1].factor));
  ASSERT_EQ(d.columns.size(), 2u);
  EXPECT_TRUE(d.columns[0].has_initial);
  EXPECT_EQ(d.columns[0].initial, 0.5);
  EXPECT_FALSE(d.columns[1].has_initial);
}

TEST_P(NlBadFile, FailsNamingTheLineAndChangesNothing) {
  const BadCase &c = GetParam();
  read(nslptest::nlpFile("hs104"));  // ranges, bounds, six coefficients, initial values
  const nvrl::Model model = prob->model;
  const nvrl::SlpData data = slp->data;
  slp->state.iterations = 5;

  const std::string file = writeText("bad.mps", replaceLine(kGood, c.line, c.with));
  ASSERT_NE(NSLPreadprob(slp, file.c_str(), ""), 0);
  const std::string err = slpError();
  EXPECT_NE(err.find("bad.mps:" + std::to_string(c.error_line) + ": "), std::string::npos) << err;
  EXPECT_NE(err.find(c.message), std::string::npos) << err;
  EXPECT_EQ(lastError(), err);  // where callers that tried NVRLreadprob first look
  iotest::expectSameModel(model, prob->model);
  expectSameCoefficients(data, slp->data);
  EXPECT_EQ(slp->state.iterations, 5);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, NlBadFile,
    ::testing::Values(
        BadCase{"unknown_row", 11, "    c9  =  2  x", 11, "unknown row name 'c9'"},
        BadCase{"unknown_column", 12, "    c1  z  1  x", 12, "unknown column name 'z'"},
        BadCase{"unknown_name_in_formula", 12, "    c1  x  1  x + z", 12, "formula"},
        BadCase{"formula_syntax", 12, "    c1  x  1  exp(y", 12, "formula"},
        BadCase{"formula_operator_missing", 11, "    obj  =  1  x y", 11, "formula"},
        BadCase{"no_formula", 12, "    c1  x  1", 12, "expects a row name"},
        BadCase{"bad_factor", 12, "    c1  x  one  x", 12, "invalid factor 'one'"},
        BadCase{"duplicate", 12, "    obj  =  1  x", 12, "second nonlinear coefficient"},
        BadCase{"section_before_columns", 5, "NLCOEFFICIENTS", 5, "must come after COLUMNS"},
        BadCase{"initial_unknown_column", 14, "    z  1", 14, "unknown column name 'z'"},
        BadCase{"initial_twice", 15, "    x  2\nENDATA", 15, "second initial value"},
        BadCase{"initial_bad_number", 14, "    x  1.5.5", 14, "invalid number"}),
    [](const auto &info) { return std::string(info.param.label); });

TEST_F(NlFile, OptimiserReadRefusesNonlinearSections) {
  const std::string file = writeText("small.mps", kGood);
  const nvrl::Model before = prob->model;
  ASSERT_NE(NVRLreadprob(prob, file.c_str(), ""), 0);
  EXPECT_NE(lastError().find("small.mps:10: section NLCOEFFICIENTS"), std::string::npos)
      << lastError();
  EXPECT_NE(lastError().find("NSLPreadprob"), std::string::npos);
  iotest::expectSameModel(before, prob->model);
}

TEST_F(NlFile, WriterRefusesColumnNamesThatFormulasCannotHold) {
  read(writeText("small.mps", kGood));
  ASSERT_EQ(NVRLaddnames(prob, 2, "y-1", 1, 1), 0) << lastError();
  const std::string out = path("out.mps");
  ASSERT_NE(NSLPwriteprob(slp, out.c_str(), ""), 0);
  EXPECT_NE(slpError().find("cannot be written"), std::string::npos) << slpError();
  EXPECT_FALSE(fs::exists(out));
}

TEST_F(NlFile, LpFilesHoldOnlyLinearProblems) {
  // Callers route a linear problem through this writer with 'g', and try this reader after
  // NVRLreadprob, with the same flags.
  const std::string lp = writeText("lin.lp", "min\n obj: x + 2 y\nst\n c1: x + y >= 1\nend\n");
  read(writeText("small.mps", kGood));
  ASSERT_EQ(NSLPreadprob(slp, lp.c_str(), ""), 0) << slpError();
  EXPECT_EQ(prob->model.cols(), 2);
  EXPECT_TRUE(slp->data.coefs.empty());
  EXPECT_TRUE(slp->data.columns.empty());
  ASSERT_EQ(NSLPwriteprob(slp, path("out").c_str(), "lg"), 0) << slpError();
  ASSERT_EQ(NSLPreadprob(slp, path("out.lp").c_str(), "l"), 0) << slpError();
  EXPECT_EQ(prob->model.cols(), 2);

  read(writeText("small.mps", kGood));
  EXPECT_NE(NSLPwriteprob(slp, path("nl").c_str(), "l"), 0);
  EXPECT_NE(slpError().find("LP files cannot hold nonlinear"), std::string::npos) << slpError();
  EXPECT_FALSE(fs::exists(path("nl.lp")));
  EXPECT_NE(NSLPwriteprob(slp, path("nl").c_str(), "x"), 0);
  ASSERT_EQ(NSLPwriteprob(slp, path("nl").c_str(), "g"), 0) << slpError();
  EXPECT_TRUE(fs::exists(path("nl.mps")));
}

}  // namespace
