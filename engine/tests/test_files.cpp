// Files of answers and of whole problems: bases, solution reports and files, and snapshots.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/registry.h"
#include "lp_data/snapshot.h"
#include "solve/solution_files.h"
#include "test_io_support.h"

using iotest::dataFile;
using iotest::readBytes;
using iotest::sameBits;
using iotest::writeBytes;
using nvtest::DataInstance;
namespace snap = nvrl::snap;

// ---- Basis files, solution reports, binary solution files, the log file and message codes:
// what is written reads back into a fresh copy of the problem with the same answers, and
// faulty files are refused with a message, changing nothing.
namespace {

class FilesTest : public iotest::QuietFileTest {
 protected:
  void TearDown() override {
    if (fresh) NVRLdestroyprob(fresh);
    FileTest::TearDown();
  }
  void solve(const char *file, bool mip = false) {
    ASSERT_EQ(0, NVRLreadprob(prob, dataFile(file).c_str(), "")) << lastError();
    ASSERT_EQ(0, mip ? NVRLmipoptimize(prob, "") : NVRLlpoptimize(prob, "")) << lastError();
  }
  // A second problem holding the same model without answers.
  void makeFresh(const char *file) {
    ASSERT_EQ(0, NVRLcreateprob(&fresh));
    NVRLsetintcontrol(fresh, NVRL_CTRL_LOG_LEVEL, 0);
    ASSERT_EQ(0, NVRLreadprob(fresh, dataFile(file).c_str(), "")) << lastError(fresh);
  }
  static std::pair<std::vector<int>, std::vector<int>> basis(NVRLprob p) {
    std::vector<int> r(p->model.rows()), c(p->model.cols());
    EXPECT_EQ(0, NVRLgetbasis(p, r.data(), c.data())) << lastError(p);
    return {r, c};
  }
  NVRLprob fresh = nullptr;
};

struct Kind {
  const char *label;
  const char *leaf;
  int (*write)(NVRLprob, const char *, const char *);
  int (*read)(NVRLprob, const char *, const char *);
};

class FileRoundTrip : public FilesTest,
                      public ::testing::WithParamInterface<std::tuple<Kind, const char *>> {};

// The file restores the optimal basis in a fresh copy: it reports the same basis at once, and
// its solve starts at the optimum (no simplex iteration) with the same objective and point.
TEST_P(FileRoundTrip, FreshCopyStartsAtTheOptimum) {
  const auto &[kind, instance] = GetParam();
  solve(instance);
  const auto before = basis(prob);
  std::vector<double> x(prob->model.cols());
  ASSERT_EQ(0, NVRLgetlpsol(prob, x.data(), nullptr, nullptr, nullptr));
  const std::string file = path(kind.leaf);
  ASSERT_EQ(0, kind.write(prob, file.c_str(), "")) << lastError();
  makeFresh(instance);
  ASSERT_EQ(0, kind.read(fresh, file.c_str(), "")) << lastError(fresh);
  EXPECT_EQ(before, basis(fresh));
  ASSERT_EQ(0, NVRLlpoptimize(fresh, "")) << lastError(fresh);
  EXPECT_EQ(0, intAttr(fresh, NVRL_ATTR_SIMPLEX_ITERATIONS));
  EXPECT_NEAR(dblAttr(NVRL_ATTR_LP_OBJECTIVE), dblAttr(fresh, NVRL_ATTR_LP_OBJECTIVE), 1e-9);
  std::vector<double> y(x.size());
  ASSERT_EQ(0, NVRLgetlpsol(fresh, y.data(), nullptr, nullptr, nullptr));
  for (size_t j = 0; j < x.size(); ++j) EXPECT_NEAR(x[j], y[j], 1e-9) << j;
}

INSTANTIATE_TEST_SUITE_P(
    Files, FileRoundTrip,
    ::testing::Combine(::testing::Values(Kind{"basis", "b.bss", NVRLwritebasis, NVRLreadbasis},
                                         Kind{"basisall", "b.bss",
                                              [](NVRLprob p, const char *f, const char *) {
                                                return NVRLwritebasis(p, f, "a");
                                              },
                                              NVRLreadbasis},
                                         Kind{"binsol", "s.bsol", NVRLwritebinsol, NVRLreadbinsol}),
                       ::testing::Values("afiro.mps", "adlittle.mps")),
    [](const auto &info) {
      std::string n = std::string(std::get<0>(info.param).label) + "_" + std::get<1>(info.param);
      return n.substr(0, n.find('.'));
    });

// A superbasic column, a free column and a non-square basis survive the extensions of the
// basis format.
TEST_F(FilesTest, UnusualBasesReadBack) {
  const int a = col(0, 4, 1, 'C', 0, "a");
  const int f = col(-1e20, 1e20, 0, 'C', 0, "free col");
  const int u = col(-1e20, 3, 0);
  row('L', 5, {{a, 1}, {f, 1}}, 0, "r1");
  row('G', 1, {{f, 1}, {u, 1}}, 0, "r2");
  const std::vector<int> rows = {NVRL_BASIS_SUPERBASIC, NVRL_BASIS_NONBASIC_UPPER};
  const std::vector<int> cols = {NVRL_BASIS_SUPERBASIC, NVRL_BASIS_BASIC, NVRL_BASIS_BASIC};
  ASSERT_EQ(0, NVRLloadbasis(prob, rows.data(), cols.data())) << lastError();
  ASSERT_EQ(0, NVRLwritebasis(prob, path("u.bss").c_str(), "")) << lastError();
  std::vector<int> r0(2, -1), c0(3, -1);
  const std::vector<int> other_r = {1, 1}, other_c = {0, 0, 0};
  ASSERT_EQ(0, NVRLloadbasis(prob, other_r.data(), other_c.data()));
  ASSERT_EQ(0, NVRLreadbasis(prob, path("u.bss").c_str(), "")) << lastError() << readBytes(path("u.bss"));
  ASSERT_EQ(0, NVRLgetbasis(prob, r0.data(), c0.data()));
  EXPECT_EQ(rows, r0) << readBytes(path("u.bss"));
  EXPECT_EQ(cols, c0) << readBytes(path("u.bss"));
}

// The text reports give every answer: the comma-separated file to full precision. A binary
// solution of another problem's size is refused.
TEST_F(FilesTest, ReportsHoldTheAnswersAndBinarySolutionsFitTheirProblem) {
  solve("afiro.mps");
  const nvrl::SolveState &s = prob->sol;
  ASSERT_EQ(0, NVRLwritesol(prob, path("a.csv").c_str(), "")) << lastError();
  std::istringstream in(readBytes(path("a.csv")));
  std::string line;
  int cols = 0, rows = 0;
  while (std::getline(in, line)) {
    std::vector<std::string> f;
    std::stringstream ls(line);
    for (std::string w; std::getline(ls, w, ',');) f.push_back(w);
    if (f[0] == "\"C\"") {
      const int j = std::stoi(f[1]);
      EXPECT_EQ(s.x[j], std::strtod(f[3].c_str(), nullptr)) << line;
      EXPECT_EQ(s.djs[j], std::strtod(f[4].c_str(), nullptr)) << line;
      ++cols;
    } else if (f[0] == "\"R\"") {
      const int i = std::stoi(f[1]);
      EXPECT_EQ(s.slack[i], std::strtod(f[4].c_str(), nullptr)) << line;
      EXPECT_EQ(s.duals[i], std::strtod(f[5].c_str(), nullptr)) << line;
      ++rows;
    } else {
      EXPECT_EQ("\"H\"", f[0]);
      EXPECT_EQ("\"AFIRO\"", f[1]);
    }
  }
  EXPECT_EQ(prob->model.cols(), cols);
  EXPECT_EQ(prob->model.rows(), rows);
  ASSERT_EQ(0, NVRLwriteprtsol(prob, path("a.prt").c_str(), "x")) << lastError();
  const std::string prt = readBytes(path("a.prt"));
  EXPECT_NE(std::string::npos, prt.find("Objective: -464.7531429")) << prt;
  EXPECT_EQ(std::string::npos, prt.find("Rows (")) << "flag x: columns only";
  ASSERT_EQ(0, NVRLwritebinsol(prob, path("a.bsol").c_str(), "")) << lastError();
  makeFresh("adlittle.mps");
  EXPECT_NE(0, NVRLreadbinsol(fresh, path("a.bsol").c_str(), ""));
  EXPECT_NE(std::string::npos, lastError(fresh).find("the problem has")) << lastError(fresh);
}

// A malformed file of bases, binary solutions, directives or solutions is refused naming the
// file and the fault, and the problem keeps its answers, basis, directives and starting point.
struct Bad {
  const char *label;
  int (*read)(NVRLprob, const char *, const char *);
  const char *text;
  const char *message;
};

class BadFile : public FilesTest, public ::testing::WithParamInterface<Bad> {};

TEST_P(BadFile, RefusedChangingNothing) {
  const Bad &b = GetParam();
  const int x = col(0, 4, 1, 'C', 0, "x");
  const int y = col(0, 4, 1, 'I', 0, "y");
  row('G', 1, {{x, 1}, {y, 1}}, 0, "r");
  ASSERT_EQ(0, NVRLlpoptimize(prob, "")) << lastError();
  const auto before = basis(prob);
  const int col1 = 1, prio = 7;
  ASSERT_EQ(0, NVRLloaddirs(prob, 1, &col1, &prio, "D", nullptr, nullptr));
  const std::string file = writeText("bad", b.text);
  EXPECT_NE(0, b.read(prob, file.c_str(), ""));
  EXPECT_NE(std::string::npos, lastError().find(b.message)) << lastError();
  EXPECT_NE(std::string::npos, lastError().find(file)) << lastError();
  EXPECT_EQ(NVRL_LP_OPTIMAL, intAttr(NVRL_ATTR_LP_STATUS));
  EXPECT_EQ(before, basis(prob));
  ASSERT_EQ(1u, prob->model.directives.size());
  EXPECT_EQ(7, prob->model.directives[0].priority);
}

int readDirs(NVRLprob p, const char *f, const char *) { return NVRLreaddirs(p, f); }

INSTANTIATE_TEST_SUITE_P(
    Files, BadFile,
    ::testing::Values(
        Bad{"BasisUnknownCode", NVRLreadbasis, "NAME t\n XX x r\nENDATA\n", "line 2: unknown status code 'XX'"},
        Bad{"BasisUnknownRow", NVRLreadbasis, "NAME t\n XU x nope\nENDATA\n", "line 2: unknown row 'nope'"},
        Bad{"BasisTwice", NVRLreadbasis, "NAME t\n XL x r\n UL x\nENDATA\n", "line 3: 'x' is given a status twice"},
        Bad{"BasisCut", NVRLreadbasis, "NAME t\n XU x r\n", "without ENDATA"},
        Bad{"BasisFields", NVRLreadbasis, "NAME t\n XU x\nENDATA\n", "line 2: XU takes a column and a row"},
        Bad{"BinsolForeign", NVRLreadbinsol, "NAME t\n", "not a binary solution file"},
        Bad{"BinsolTruncated", NVRLreadbinsol, "NVRLBSOL\x01", "truncated"},
        Bad{"DirsDirection", readDirs, "DIRECTIVES\n y 3 Q\nENDATA\n", "line 2: direction 'Q'"},
        Bad{"DirsPriority", readDirs, "DIRECTIVES\n y 2.5 U\nENDATA\n", "line 2: priority '2.5'"},
        Bad{"DirsColumn", readDirs, "DIRECTIVES\n z 3 U\nENDATA\n", "line 2: unknown column 'z'"},
        Bad{"DirsRepeated", readDirs, "DIRECTIVES\n y 3 U\n y 4 D\nENDATA\n", "line 3: column 'y' is repeated"},
        Bad{"DirsCut", readDirs, "DIRECTIVES\n y 3 U\n", "without ENDATA"},
        Bad{"SlxUnknownColumn", NVRLreadslxsol, "COLUMNS value\n    x  1\n    w  2\nEND\n", "line 3: unknown column 'w'"},
        Bad{"SlxRepeatedColumn", NVRLreadslxsol, "COLUMNS value\n    x  1\n    x  2\nEND\n", "line 3: column 'x' is repeated"},
        Bad{"SlxNotANumber", NVRLreadslxsol, "COLUMNS value\n    x  1e\nEND\n", "line 2: '1e' is not a finite number"},
        Bad{"SlxNan", NVRLreadslxsol, "COLUMNS value\n    x  nan\nEND\n", "line 2: 'nan' is not a finite number"},
        Bad{"SlxMissingEnd", NVRLreadslxsol, "COLUMNS value\n    x  1\n", "ends without END"},
        Bad{"SlxUnknownField", NVRLreadslxsol, "COLUMNS value price\n", "line 1: unknown field 'price'"},
        Bad{"SlxNoValueField", NVRLreadslxsol, "COLUMNS reducedcost\n", "line 1: COLUMNS must list the field 'value'"},
        Bad{"SlxTooFewNumbers", NVRLreadslxsol, "COLUMNS value reducedcost\n    x  1\nEND\n", "line 2: expected a name and 2 numbers"},
        Bad{"SlxUnknownKeyword", NVRLreadslxsol, "COLUMNS value\nx  1\nEND\n", "line 2: unknown keyword 'x'"},
        Bad{"SlxDataBeforeColumns", NVRLreadslxsol, "NAME t\n    x  1\nEND\n", "line 2: a data line outside"},
        Bad{"SlxRowsBeforeColumns", NVRLreadslxsol, "ROWS slack\n    r  1\nEND\n", "line 1: ROWS is out of place"},
        Bad{"SlxUnknownRow", NVRLreadslxsol, "COLUMNS value\n    x  1\nROWS slack\n    d  0\nEND\n", "line 4: unknown row 'd'"},
        Bad{"SlxAfterEnd", NVRLreadslxsol, "COLUMNS value\n    x  1\nEND\nEND\n", "line 4: text after END"},
        Bad{"SlxOpenQuote", NVRLreadslxsol, "COLUMNS value\n    \"x  1\nEND\n", "line 2: a quoted name has no closing quote"},
        Bad{"SlxNoColumns", NVRLreadslxsol, "END\n", "no COLUMNS section"}),
    [](const auto &info) { return std::string(info.param.label); });

// Log lines reach the log file; a suppressed code keeps its line out of it until shown again.
TEST_F(FilesTest, LogFileAndMessageStatus) {
  const int x = col(0, 4, -1, 'I', 0, "x");
  row('L', 2.5, {{x, 1}}, 0, "r");
  const int j = 0;
  ASSERT_EQ(0, NVRLloaddirs(prob, 1, &j, nullptr, nullptr, nullptr, nullptr));
  NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 1);
  const std::string log = path("run.log");
  ASSERT_EQ(0, NVRLsetlogfile(prob, log.c_str())) << lastError();
  const auto warned = [&] {
    const std::string text = readBytes(log);
    return text.find("Branching directives are used by the engine's tree search only") !=
           std::string::npos;
  };
  ASSERT_EQ(0, NVRLmipoptimize(prob, "")) << lastError();
  EXPECT_NE(std::string::npos, readBytes(log).find("nuvrel optimiser")) << readBytes(log);
  EXPECT_TRUE(warned());
  int status = -1;
  ASSERT_EQ(0, NVRLsetmessagestatus(prob, NVRL_MSGCODE_DIRECTIVES_UNUSED, 0));
  ASSERT_EQ(0, NVRLgetmessagestatus(prob, NVRL_MSGCODE_DIRECTIVES_UNUSED, &status));
  EXPECT_EQ(0, status);
  ASSERT_EQ(0, NVRLsetlogfile(prob, path("run2.log").c_str()));
  ASSERT_EQ(0, NVRLmipoptimize(prob, "")) << lastError();
  EXPECT_EQ(std::string::npos,
            readBytes(path("run2.log")).find("Branching directives are used"));
  ASSERT_EQ(0, NVRLsetmessagestatus(prob, NVRL_MSGCODE_DIRECTIVES_UNUSED, 1));
  ASSERT_EQ(0, NVRLsetlogfile(prob, nullptr));
  ASSERT_EQ(0, NVRLmipoptimize(prob, ""));
  EXPECT_EQ(std::string::npos,
            readBytes(path("run2.log")).find("Branching directives are used"))
      << "no file after the log file was closed";
  EXPECT_NE(0, NVRLsetmessagestatus(prob, 0, 0));
  EXPECT_NE(0, NVRLsetmessagestatus(prob, 5, 2));
  EXPECT_NE(0, NVRLsetlogfile(prob, path("no/such/dir/x.log").c_str()));
}

// ---- Solution files (NVRLwriteslxsol, NVRLreadslxsol): what is written reads back bit for bit,
// and reading gives the next solve its start (faulty files are in the bad-file table above).

using SolutionFileTest = FilesTest;

class SolutionFileFlags : public SolutionFileTest,
                          public ::testing::WithParamInterface<const char *> {};

TEST_P(SolutionFileFlags, ReadsBackBitForBit) {
  solve("afiro.mps", false);
  const std::string flags = GetParam();
  const std::string file = path("afiro.slx");
  ASSERT_EQ(0, NVRLwriteslxsol(prob, file.c_str(), flags.c_str())) << lastError();
  const std::string text = readBytes(file);
  EXPECT_EQ(0u, text.find("* nuvrel solution\nNAME AFIRO\nOBJECTIVE -464.7531428571")) << text;
  const nvrl::solfile::Values v = nvrl::solfile::parse(prob, text);
  const nvrl::SolveState &s = prob->sol;
  EXPECT_TRUE(sameBits(v.x, s.x));
  const auto has = [&](char f) { return flags.find(f) != std::string::npos; };
  EXPECT_TRUE(sameBits(v.slack, has('s') ? s.slack : std::vector<double>()));
  EXPECT_TRUE(sameBits(v.duals, has('d') ? s.duals : std::vector<double>()));
  EXPECT_TRUE(sameBits(v.djs, has('r') ? s.djs : std::vector<double>()));
  // Reading it back is accepted and leaves the answers in place.
  EXPECT_EQ(0, NVRLreadslxsol(prob, file.c_str(), "")) << lastError();
  EXPECT_EQ(NVRL_LP_OPTIMAL, intAttr(NVRL_ATTR_LP_STATUS));
}

INSTANTIATE_TEST_SUITE_P(Flags, SolutionFileFlags, ::testing::Values("", "s", "d", "r", "sdr"));

TEST_F(SolutionFileTest, NamesWithBlanksAndQuotesReadBack) {
  const int a = col(0, 4, -1, 'C', 0, "a b");
  const int q = col(0, 4, -2, 'C', 0, "\"q\"");
  const int u = col(0, 4, -3);  // unnamed: written as its default name
  row('L', 5, {{a, 1}, {q, 1}, {u, 1}}, 0, "cap row");
  ASSERT_EQ(0, NVRLlpoptimize(prob, "")) << lastError();
  ASSERT_EQ(0, NVRLwriteslxsol(prob, path("n.slx").c_str(), "s"));
  const std::string text = readBytes(path("n.slx"));
  EXPECT_NE(text.find("\"a b\""), std::string::npos) << text;
  EXPECT_NE(text.find("\"\"\"q\"\"\""), std::string::npos) << text;
  EXPECT_NE(text.find(" C3 "), std::string::npos) << text;
  const nvrl::solfile::Values v = nvrl::solfile::parse(prob, text);
  EXPECT_TRUE(sameBits(v.x, prob->sol.x));
  EXPECT_TRUE(sameBits(v.slack, prob->sol.slack));
}

// The file's solution is the MIP's first incumbent: with a limit of one solution, the solve
// ends at once with it, where on its own it stops at a worse one.
TEST_F(SolutionFileTest, AReadSolutionStartsTheNextMipSolve) {
  solve("p0548.mps", true);
  const double optimum = dblAttr(NVRL_ATTR_MIP_OBJECTIVE);
  ASSERT_EQ(0, NVRLwriteslxsol(prob, path("opt.slx").c_str(), ""));

  makeFresh("p0548.mps");
  NVRLsetintcontrol(fresh, NVRL_CTRL_SOLUTION_LIMIT, 1);
  ASSERT_EQ(0, NVRLmipoptimize(fresh, ""));
  const double alone = dblAttr(fresh, NVRL_ATTR_MIP_OBJECTIVE);
  ASSERT_EQ(0, NVRLreadprob(fresh, dataFile("p0548.mps").c_str(), ""));
  ASSERT_EQ(0, NVRLreadslxsol(fresh, path("opt.slx").c_str(), "")) << lastError(fresh);
  ASSERT_EQ(0, NVRLmipoptimize(fresh, ""));
  const double started = dblAttr(fresh, NVRL_ATTR_MIP_OBJECTIVE);
  EXPECT_GT(alone, optimum + 1);
  EXPECT_NEAR(optimum, started, 1e-6 * std::fabs(optimum));
}

TEST_F(SolutionFileTest, WritingNeedsTheAnswersItIsAskedFor) {
  col(0, 1, 1);
  EXPECT_NE(0, NVRLwriteslxsol(prob, path("a.slx").c_str(), ""));
  EXPECT_EQ("NVRLwriteslxsol: no solution is available", lastError());
  solve("small_mip.mps", true);
  EXPECT_EQ(0, NVRLwriteslxsol(prob, path("a.slx").c_str(), "s")) << lastError();
  EXPECT_NE(0, NVRLwriteslxsol(prob, path("a.slx").c_str(), "d"));
  EXPECT_NE(lastError().find("no duals"), std::string::npos) << lastError();
  EXPECT_NE(0, NVRLwriteslxsol(prob, path("a.slx").c_str(), "sq"));
  EXPECT_NE(lastError().find("unknown flag 'q'"), std::string::npos) << lastError();
  EXPECT_NE(0, NVRLwriteslxsol(prob, "", ""));
  EXPECT_NE(0, NVRLwriteslxsol(nullptr, path("a.slx").c_str(), ""));
  EXPECT_NE(0, NVRLreadslxsol(prob, path("a.slx").c_str(), "s"));
  EXPECT_NE(lastError().find("unknown flag 's'"), std::string::npos) << lastError();
  EXPECT_NE(0, NVRLreadslxsol(prob, path("none.slx").c_str(), ""));
  EXPECT_NE(lastError().find("cannot open"), std::string::npos) << lastError();
}

// ---- Problem snapshots (NVRLsave, NVRLsaveas, NVRLrestore): solved data sets come back with the
// same attributes and answers in another problem, every kind of model data survives, and
// damaged or foreign files are refused without touching the problem.

// Every attribute of the optimiser, read through the C API, as text (bit-exact for doubles).
std::map<std::string, std::string> attributes(NVRLprob p) {
  std::map<std::string, std::string> out;
  for (const nvrl::ParamInfo &info : nvrl::paramTable()) {
    if (info.isControl() || info.isNonlinear()) continue;
    std::ostringstream v;
    if (info.isIntegral()) {
      NVRLint64 i = 0;
      v << NVRLgetintattrib64(p, info.id, &i) << ':' << i;
    } else if (info.type == nvrl::ParamType::Double) {
      double d = 0;
      uint64_t bits = 0;
      v << NVRLgetdblattrib(p, info.id, &d);
      std::memcpy(&bits, &d, sizeof bits);
      v << ':' << bits;
    } else {
      char s[NVRL_MAXNAMELEN + 1] = {};
      v << NVRLgetstrattrib(p, info.id, s) << ':' << s;
    }
    out[info.name] = v.str();
  }
  return out;
}

// The answers as the query functions give them: return codes and flags, bases, values.
struct Answers {
  std::vector<int> codes, rowstat, colstat;
  std::vector<std::vector<double>> values;
};

Answers answers(NVRLprob p) {
  const size_t n = p->model.cols(), m = p->model.rows();
  std::vector<double> x(n), slack(m), duals(m), djs(n), mx(n), mslack(m), pray(n), dray(m);
  Answers a{{}, std::vector<int>(m), std::vector<int>(n), {}};
  int unb = -2, has_pray = -1, has_dray = -1;
  a.codes = {NVRLgetlpsol(p, x.data(), slack.data(), duals.data(), djs.data()),
             NVRLgetmipsol(p, mx.data(), mslack.data()),
             NVRLgetbasis(p, a.rowstat.data(), a.colstat.data()),
             NVRLgetunbvec(p, &unb),
             NVRLgetprimalray(p, pray.data(), &has_pray),
             NVRLgetdualray(p, dray.data(), &has_dray)};
  a.codes.insert(a.codes.end(), {unb, has_pray, has_dray});
  a.values = {x, slack, duals, djs, mx, mslack, pray, dray};
  return a;
}

void expectSameAnswers(const Answers &a, const Answers &b) {
  EXPECT_EQ(a.codes, b.codes);
  EXPECT_EQ(a.rowstat, b.rowstat);
  EXPECT_EQ(a.colstat, b.colstat);
  for (size_t k = 0; k < a.values.size(); ++k) EXPECT_TRUE(sameBits(a.values[k], b.values[k])) << k;
}

// What expectSameModel leaves out: general and piecewise-linear constraints, the order of
// entries within rows and names as stored (empty or not).
void expectIdenticalModel(const nvrl::Model &a, const nvrl::Model &b) {
  iotest::expectSameModel(a, b);
  EXPECT_EQ(a.A.rows().start, b.A.rows().start);
  EXPECT_EQ(a.A.rows().col, b.A.rows().col);
  EXPECT_TRUE(sameBits(a.A.rows().val, b.A.rows().val));
  EXPECT_EQ(a.rownames, b.rownames);
  EXPECT_EQ(a.colnames, b.colnames);
  EXPECT_EQ(a.setnames, b.setnames);
  const auto gen = [](const nvrl::GeneralConstraint &g) {
    return std::tie(g.type, g.resultant, g.cols, g.vals);
  };
  const auto pwl = [](const nvrl::PwlConstraint &p) {
    return std::tie(p.col, p.resultant, p.x, p.y);
  };
  ASSERT_EQ(a.gencons.size(), b.gencons.size());
  for (size_t k = 0; k < a.gencons.size(); ++k) EXPECT_EQ(gen(a.gencons[k]), gen(b.gencons[k]));
  ASSERT_EQ(a.pwlcons.size(), b.pwlcons.size());
  for (size_t k = 0; k < a.pwlcons.size(); ++k) EXPECT_EQ(pwl(a.pwlcons[k]), pwl(b.pwlcons[k]));
}

// Snapshots are restored into the fresh problem.
class SnapshotTest : public FilesTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(FilesTest::SetUp());
    ASSERT_EQ(0, NVRLcreateprob(&fresh));
  }
  static double dblCtl(NVRLprob p, int id) {
    double v = -1;
    EXPECT_EQ(0, NVRLgetdblcontrol(p, id, &v));
    return v;
  }
};

// ----- Round trips of the data sets ------------------------------------------------------

std::vector<DataInstance> mpsDataSets() {
  std::vector<DataInstance> sets;
  for (const DataInstance &d : nvtest::dataInstances())
    if (d.file.size() > 4 && d.file.substr(d.file.size() - 4) == ".mps") sets.push_back(d);
  return sets;
}

class SnapshotDataSet : public SnapshotTest, public ::testing::WithParamInterface<DataInstance> {};

TEST_P(SnapshotDataSet, RestoredProblemAnswersAsTheSolvedOne) {
  const DataInstance &d = GetParam();
  ASSERT_EQ(0, NVRLreadprob(prob, dataFile(d.file).c_str(), "")) << lastError();
  NVRLsetdblcontrol(prob, NVRL_CTRL_MIPTOL, 1e-7);
  NVRLsetstrcontrol(prob, NVRL_CTRL_MPS_RHS_NAME, "rhs set");
  const int rc = d.kind == "mip" ? NVRLmipoptimize(prob, "") : NVRLlpoptimize(prob, "");
  const auto attrsBefore = attributes(prob);
  const Answers before = answers(prob);
  const std::string file = path("saved.svf");
  ASSERT_EQ(0, NVRLsaveas(prob, file.c_str())) << lastError();

  NVRLsetintcontrol(fresh, NVRL_CTRL_LOG_LEVEL, 0);
  ASSERT_EQ(0, NVRLrestore(fresh, path("saved").c_str(), "")) << lastError(fresh);
  expectIdenticalModel(prob->model, fresh->model);
  EXPECT_EQ(attributes(fresh), attrsBefore);
  expectSameAnswers(before, answers(fresh));
  double miptol = 0;
  char rhsname[NVRL_MAXNAMELEN] = {};
  NVRLgetdblcontrol(fresh, NVRL_CTRL_MIPTOL, &miptol);
  NVRLgetstrcontrol(fresh, NVRL_CTRL_MPS_RHS_NAME, rhsname);
  EXPECT_EQ(1e-7, miptol);
  EXPECT_STREQ("rhs set", rhsname);

  // The next solve reaches the same verdict; an LP starts from the saved optimal basis.
  if (rc != 0) return;
  const int rc2 = d.kind == "mip" ? NVRLmipoptimize(fresh, "") : NVRLlpoptimize(fresh, "");
  ASSERT_EQ(0, rc2) << lastError(fresh);
  EXPECT_EQ(intAttr(prob, NVRL_ATTR_LP_STATUS), intAttr(fresh, NVRL_ATTR_LP_STATUS));
  EXPECT_EQ(intAttr(prob, NVRL_ATTR_MIP_STATUS), intAttr(fresh, NVRL_ATTR_MIP_STATUS));
  if (d.kind == "lp" && intAttr(prob, NVRL_ATTR_LP_STATUS) == NVRL_LP_OPTIMAL) {
    EXPECT_EQ(0, intAttr(fresh, NVRL_ATTR_SIMPLEX_ITERATIONS));
    EXPECT_NEAR(dblAttr(prob, NVRL_ATTR_LP_OBJECTIVE), dblAttr(fresh, NVRL_ATTR_LP_OBJECTIVE),
                1e-9 * (1 + std::fabs(dblAttr(prob, NVRL_ATTR_LP_OBJECTIVE))));
  }
}

INSTANTIATE_TEST_SUITE_P(Data, SnapshotDataSet, ::testing::ValuesIn(mpsDataSets()),
                         [](const auto &i) {
                           return nvtest::testName(i.param.file.substr(0, i.param.file.size() - 4));
                         });

// ----- Model data the data sets lack -----------------------------------------------------

TEST_F(SnapshotTest, EveryKindOfModelDataSurvives) {
  const int x = col(-2, 5, 1.5, 'C', 0, "x y");  // a name with a blank
  const int b = col(0, 1, -1, 'B');               // unnamed
  const int s = col(0, 10, 0.25, 'S', 2.5, "semi");
  const int z = col(-1e20, 1e20, 0, 'P', 3, "z");
  row('L', 4, {{x, 1}, {b, 2}}, 0, "r1");
  row('R', 7, {{s, -0.0}, {z, 1e-300}}, 3);  // -0 and a tiny value, bit for bit
  row('N', 0, {{x, 1}});
  maximise();
  model().objconst = -0.125;
  model().qobj[{0, 2}] = 0.5;
  model().qrows[0][{0, 0}] = 2;
  model().sets.push_back({'2', {x, s, z}, {1, 2, 3}});
  model().setnames.push_back("sos");
  model().indcol[1] = b;
  model().indcomp[1] = -1;
  model().gencons.push_back({NVRL_GENCONS_MAX, z, {x, s}, {1.5}});
  model().pwlcons.push_back({x, s, {0, 1, 2}, {0, 4, 5}});
  model().name = "every kind";

  ASSERT_EQ(0, NVRLsaveas(prob, path("all.bin").c_str())) << lastError();
  ASSERT_EQ(0, NVRLrestore(fresh, path("all.bin").c_str(), nullptr)) << lastError(fresh);
  expectIdenticalModel(prob->model, fresh->model);
  EXPECT_EQ(std::signbit(fresh->model.A.rows().val[2]), true);
}

// NVRLsave names the file after the problem and NVRLrestore finds it; the flags leave out the
// answers ('n') or keep the problem's own controls ('c'); a failed save keeps the earlier file.
TEST_F(SnapshotTest, SaveRestoreAndTheirFlags) {
  solve("afiro.mps");
  NVRLsetdblcontrol(prob, NVRL_CTRL_TIME_LIMIT, 30);
  char cwd[4096];
  ASSERT_NE(nullptr, getcwd(cwd, sizeof cwd));
  ASSERT_EQ(0, chdir(dir.c_str()));
  const int saved = NVRLsave(prob);
  const bool written = std::filesystem::exists(dir / "AFIRO.svf");
  const int restored = NVRLrestore(fresh, "AFIRO", "");
  const std::string err = lastError(fresh);
  ASSERT_EQ(0, chdir(cwd));
  EXPECT_EQ(0, saved) << lastError();
  EXPECT_TRUE(written);
  EXPECT_EQ(0, restored) << err;
  EXPECT_EQ("AFIRO", fresh->model.name);
  EXPECT_EQ(dblAttr(prob, NVRL_ATTR_LP_OBJECTIVE), dblAttr(fresh, NVRL_ATTR_LP_OBJECTIVE));

  NVRLsetdblcontrol(fresh, NVRL_CTRL_TIME_LIMIT, 5);
  ASSERT_EQ(0, NVRLrestore(fresh, path("AFIRO").c_str(), "n")) << lastError(fresh);
  EXPECT_EQ(30, dblCtl(fresh, NVRL_CTRL_TIME_LIMIT));
  EXPECT_EQ(NVRL_LP_UNSTARTED, intAttr(fresh, NVRL_ATTR_LP_STATUS));
  EXPECT_NE(0, NVRLgetlpsol(fresh, std::vector<double>(fresh->model.cols()).data(), nullptr,
                            nullptr, nullptr));
  EXPECT_NE(0, NVRLgetbasis(fresh, nullptr, nullptr));
  expectIdenticalModel(prob->model, fresh->model);
  NVRLsetdblcontrol(fresh, NVRL_CTRL_TIME_LIMIT, 5);
  ASSERT_EQ(0, NVRLrestore(fresh, path("AFIRO").c_str(), "c")) << lastError(fresh);
  EXPECT_EQ(5, dblCtl(fresh, NVRL_CTRL_TIME_LIMIT));
  EXPECT_EQ(NVRL_LP_OPTIMAL, intAttr(fresh, NVRL_ATTR_LP_STATUS));

  const std::string good = readBytes(path("AFIRO.svf"));
  // A directory where the temporary file goes makes the write fail before the rename.
  std::filesystem::create_directories(path("AFIRO.svf.part"));
  EXPECT_NE(0, NVRLsaveas(prob, path("AFIRO.svf").c_str()));
  EXPECT_EQ(good, readBytes(path("AFIRO.svf")));
}

// ----- Bad files and bad arguments -------------------------------------------------------

// FNV-1a over the file before its checksum, as the writer computes it, so that a test can
// forge files that pass the checksum.
std::string resealed(std::string bytes) {
  uint64_t h = 1469598103934665603ULL;
  for (size_t k = 0; k + 8 < bytes.size(); ++k) {
    h ^= static_cast<unsigned char>(bytes[k]);
    h *= 1099511628211ULL;
  }
  for (int k = 0; k < 8; ++k) bytes[bytes.size() - 8 + k] = static_cast<char>(h >> (8 * k));
  return bytes;
}

struct Damage {
  const char *label;
  std::function<std::string(const std::string &)> apply;
  const char *message;
};

using Transform = std::function<std::string(const std::string &)>;

// The byte at `at` (counted from the end when negative) xor-ed with `bits`.
Transform xorByte(long at, char bits) {
  return [=](std::string f) {
    f[at < 0 ? f.size() + at : at] ^= bits;
    return f;
  };
}

// The byte at `at` set to `value`; a resealed file carries the checksum of its new contents.
Transform setByte(size_t at, char value, bool reseal) {
  return [=](std::string f) {
    f[at] = value;
    return reseal ? resealed(f) : f;
  };
}

const Damage kDamages[] = {
    {"empty", [](const std::string &) { return std::string(); }, "not a problem snapshot"},
    {"cut_in_magic", [](const std::string &f) { return f.substr(0, 5); }, "not a problem snapshot"},
    {"cut_in_header", [](const std::string &f) { return f.substr(0, 20); }, "truncated"},
    {"cut_in_half", [](const std::string &f) { return f.substr(0, f.size() / 2); }, "truncated"},
    {"last_byte_missing", [](const std::string &f) { return f.substr(0, f.size() - 1); },
     "truncated"},
    {"byte_appended", [](const std::string &f) { return f + '\0'; }, "corrupt: bytes after"},
    {"payload_byte_flipped", xorByte(-100, 0x10), "corrupt: the checksum"},
    {"checksum_flipped", xorByte(-1, 1), "corrupt: the checksum"},
    {"text_mode_line_ends", setByte(5, '\n', false), "not a problem snapshot"},  // a text copy
    {"newer_format", setByte(8, 2, true), "written in snapshot format 2"},
    {"unknown_kind", setByte(12, 7, true), "corrupt: unknown snapshot kind 7"},
    {"nonlinear_kind", setByte(12, 2, true), "restore it with NSLPrestore"},
    {"an_mps_file", [](const std::string &) { return readBytes(dataFile("afiro.mps")); },
     "not a problem snapshot"},
};

class SnapshotDamage : public SnapshotTest, public ::testing::WithParamInterface<Damage> {};

// The problem restored into keeps its model, answers and controls.
TEST_P(SnapshotDamage, IsRefusedAndChangesNothing) {
  solve("afiro.mps");
  ASSERT_EQ(0, NVRLsaveas(prob, path("good.svf").c_str()));
  writeBytes(path("bad.svf"), GetParam().apply(readBytes(path("good.svf"))));

  row('E', 1, {{0, 1}});
  NVRLsetdblcontrol(prob, NVRL_CTRL_TIME_LIMIT, 9);
  const nvrl::Model model = prob->model;
  const auto attrs = attributes(prob);
  EXPECT_NE(0, NVRLrestore(prob, path("bad").c_str(), ""));
  EXPECT_NE(lastError().find(GetParam().message), std::string::npos) << lastError();
  EXPECT_NE(lastError().find("bad.svf"), std::string::npos) << lastError();
  expectIdenticalModel(model, prob->model);
  EXPECT_EQ(attrs, attributes(prob));
  EXPECT_EQ(9, dblCtl(prob, NVRL_CTRL_TIME_LIMIT));
}

INSTANTIATE_TEST_SUITE_P(Files, SnapshotDamage, ::testing::ValuesIn(kDamages), nvtest::byLabel);

// Files that pass the checksum but whose contents could not belong to any problem: the
// reader's checks stop them before the queries would read out of bounds.
void writeForged(const std::string &path, const nvrl::Model &m, const nvrl::SolveState &s,
                 const nvrl::ControlValues &c) {
  snap::Writer w;
  snap::writeProblem(w, m, s, c);
  writeBytes(path, snap::wrap(snap::Kind::Optimiser, w.bytes()));
}

struct Forged {
  const char *label;
  std::function<void(nvrl::Model &, nvrl::SolveState &)> spoil;
  const char *message;
};

const Forged kForged[] = {
    {"matrix_column_out_of_range", [](auto &m, auto &) { m.A.rowsToChange().col[0] = m.cols(); },
     "a matrix entry has a column out of range"},
    {"row_starts_not_spanning", [](auto &m, auto &) { m.A.rowsToChange().start.back() -= 1; }, "do not span"},
    {"unknown_column_type", [](auto &m, auto &) { m.coltype[1] = 'Q'; }, "unknown type"},
    {"bounds_missing", [](auto &m, auto &) { m.ub.pop_back(); }, "the upper bounds has"},
    {"quadratic_below_diagonal", [](auto &m, auto &) { m.qobj[{3, 1}] = 1; }, "below the diagonal"},
    {"indicator_without_column", [](auto &m, auto &) { m.indcomp[0] = 1; }, "indicator"},
    {"solution_too_short", [](auto &, auto &s) { s.x.pop_back(); }, "the solution has"},
    {"basis_status_invalid", [](auto &, auto &s) { s.colstat[0] = 9; }, "basis status"},
    {"sense_not_a_sense", [](auto &m, auto &) { m.objsense = 0; }, "objective sense"},
};

class SnapshotForged : public SnapshotTest, public ::testing::WithParamInterface<Forged> {};

TEST_P(SnapshotForged, IsRefusedAsCorrupt) {
  solve("afiro.mps");
  nvrl::Model m = prob->model;
  nvrl::SolveState s = prob->sol;
  GetParam().spoil(m, s);
  writeForged(path("forged.svf"), m, s, prob->controls);
  const nvrl::Model before = fresh->model;
  EXPECT_NE(0, NVRLrestore(fresh, path("forged").c_str(), ""));
  EXPECT_NE(lastError(fresh).find("corrupt"), std::string::npos) << lastError(fresh);
  EXPECT_NE(lastError(fresh).find(GetParam().message), std::string::npos) << lastError(fresh);
  expectIdenticalModel(before, fresh->model);
}

INSTANTIATE_TEST_SUITE_P(Files, SnapshotForged, ::testing::ValuesIn(kForged), nvtest::byLabel);

TEST_F(SnapshotTest, UnknownControlsAreSkippedAndBadOnesRefused) {
  solve("afiro.mps");
  nvrl::ControlValues c;
  c.dbls[NVRL_CTRL_TIME_LIMIT] = 12;
  c.ints[-5] = 3;  // no such control: written under an empty name, skipped on reading
  writeForged(path("c.svf"), prob->model, prob->sol, c);
  ASSERT_EQ(0, NVRLrestore(fresh, path("c").c_str(), "")) << lastError(fresh);
  EXPECT_EQ(12, dblCtl(fresh, NVRL_CTRL_TIME_LIMIT));

  c.ints.clear();
  c.dbls[NVRL_CTRL_FEASIBILITY_TOLERANCE] = 5;  // beyond its range
  writeForged(path("d.svf"), prob->model, prob->sol, c);
  EXPECT_NE(0, NVRLrestore(fresh, path("d").c_str(), ""));
  EXPECT_NE(lastError(fresh).find("control feasibility_tolerance"), std::string::npos)
      << lastError(fresh);
}

TEST_F(SnapshotTest, BadArgumentsFailWithAMessage) {
  EXPECT_NE(0, NVRLsaveas(nullptr, path("x").c_str()));
  EXPECT_NE(0, NVRLsave(nullptr));
  EXPECT_NE(0, NVRLrestore(nullptr, "x", ""));
  EXPECT_NE(0, NVRLsaveas(prob, nullptr));
  EXPECT_EQ("NVRLsaveas: no file name given", lastError());
  EXPECT_NE(0, NVRLsaveas(prob, ""));
  EXPECT_NE(0, NVRLsaveas(prob, path("no/such/dir/x.svf").c_str()));
  EXPECT_NE(lastError().find("cannot open"), std::string::npos) << lastError();
  ASSERT_EQ(0, NVRLsaveas(prob, path("e.svf").c_str()));
  EXPECT_NE(0, NVRLrestore(prob, path("e").c_str(), "cq"));
  EXPECT_NE(lastError().find("unknown flag 'q'"), std::string::npos) << lastError();
  EXPECT_NE(0, NVRLrestore(prob, path("missing").c_str(), ""));
  EXPECT_NE(lastError().find("missing.svf"), std::string::npos) << lastError();
}

// Replacing through a temporary file must not replace what the name stands for: the file a
// symbolic link names is written and the link kept; a pipe (like a device) is written into.
TEST_F(SnapshotTest, LinksAndPipesAreWrittenThroughNotReplaced) {
  writeBytes(path("real.txt"), "old");
  std::filesystem::create_symlink("real.txt", path("link.txt"));
  snap::writeFileReplacing(path("link.txt"), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(path("link.txt")));
  EXPECT_EQ("new", readBytes(path("real.txt")));

  ASSERT_EQ(0, mkfifo(path("pipe").c_str(), 0600));
  const int reader = open(path("pipe").c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  snap::writeFileReplacing(path("pipe"), "abc");
  EXPECT_TRUE(std::filesystem::is_fifo(path("pipe")));
  char got[8] = {};
  EXPECT_EQ(3, read(reader, got, sizeof got));
  EXPECT_STREQ("abc", got);
  close(reader);
}

}  // namespace
