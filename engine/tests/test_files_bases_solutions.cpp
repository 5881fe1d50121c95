// Basis files, solution reports, binary solution files, the log file and message codes:
// what is written reads back into a fresh copy of the problem with the same answers, and
// faulty files are refused with a message, changing nothing.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "test_io_support.h"

namespace {

using iotest::dataFile;
using iotest::readBytes;

class FilesTest : public iotest::FileTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(FileTest::SetUp());
    NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
  }
  void TearDown() override {
    if (fresh) NVRLdestroyprob(fresh);
    FileTest::TearDown();
  }
  void solve(const char *file) {
    ASSERT_EQ(0, NVRLreadprob(prob, dataFile(file).c_str(), "")) << lastError();
    ASSERT_EQ(0, NVRLlpoptimize(prob, "")) << lastError();
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

// The text reports give every answer: the comma-separated file to full precision.
TEST_F(FilesTest, ReportsHoldTheAnswers) {
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
}

// A malformed file is refused naming the fault, and the problem keeps its basis, directives
// and starting point.
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
        Bad{"DirsCut", readDirs, "DIRECTIVES\n y 3 U\n", "without ENDATA"}),
    [](const auto &info) { return std::string(info.param.label); });

// A binary solution of another problem's size is refused.
TEST_F(FilesTest, BinarySolutionOfAnotherSizeRefused) {
  solve("afiro.mps");
  ASSERT_EQ(0, NVRLwritebinsol(prob, path("a.bsol").c_str(), "")) << lastError();
  makeFresh("adlittle.mps");
  EXPECT_NE(0, NVRLreadbinsol(fresh, path("a.bsol").c_str(), ""));
  EXPECT_NE(std::string::npos, lastError(fresh).find("the problem has")) << lastError(fresh);
}

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

}  // namespace
