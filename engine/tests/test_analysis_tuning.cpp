// The tuner: which combination wins, its time limits, and method files.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "test_support.h"

namespace {

using nvtest::ProblemTest;

std::string slurp(const std::string &path) {
  std::stringstream s;
  s << std::ifstream(path, std::ios::binary).rdbuf();
  return s.str();
}

// The "name value" lines of a method file, comments dropped.
std::string withoutComments(const std::string &text) {
  std::istringstream in(text);
  std::string line, out;
  while (std::getline(in, line))
    if (!line.empty() && line[0] != '#') out += line + "\n";
  return out;
}

class TuneTest : public ProblemTest {
 protected:
  void SetUp() override {
    ProblemTest::SetUp();
    path = ::testing::TempDir() + "nvrl_tune_" +
           nvtest::testName(::testing::UnitTest::GetInstance()->current_test_info()->name()) +
           ".txt";
  }
  void TearDown() override {
    std::remove(path.c_str());
    ProblemTest::TearDown();
  }
  void readData(const char *file) {
    ASSERT_EQ(NVRLreadprob(prob, (std::string(NVRL_DATA_DIR) + "/" + file).c_str(), ""), 0)
        << lastError();
    NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
  }
  void writeFile(const std::string &text) { std::ofstream(path, std::ios::binary) << text; }
  int64_t intControl(int id) {
    NVRLint64 v = -1;
    EXPECT_EQ(NVRLgetintcontrol64(prob, id, &v), 0) << lastError();
    return v;
  }
  std::string path;
};

// After a tune the method file holds the winner alone, and the problem's controls are its.
TEST_F(TuneTest, WinnerIsAppliedAndWrittenForAnLp) {
  readData("afiro.mps");
  ASSERT_EQ(NVRLtune(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(NVRL_ATTR_LP_STATUS), NVRL_LP_UNSTARTED) << "tune leaves no answers";
  ASSERT_EQ(NVRLtunerwritemethod(prob, path.c_str()), 0) << lastError();
  std::istringstream in(withoutComments(slurp(path)));
  std::string word;
  int combinations = 0;
  while (in >> word) {
    if (word == "combination") {
      ++combinations;
      continue;
    }
    int64_t value;
    in >> value;
    int id = 0, type = 0;
    ASSERT_EQ(NVRLgetcontrolinfo(prob, word.c_str(), &id, &type, nullptr), 0) << word;
    EXPECT_EQ(intControl(id), value) << word;
  }
  EXPECT_EQ(combinations, 1);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  EXPECT_NEAR(dblAttr(NVRL_ATTR_LP_OBJECTIVE), -464.753142857, 1e-6);
}

// A run cut short by an iteration limit loses to one that finishes, whichever comes first;
// the loser's limit does not stay on the problem.
TEST_F(TuneTest, FinishedRunBeatsOneStoppedByALimit) {
  readData("afiro.mps");
  // Without presolve, so that the limited run cannot finish before its first iteration.
  const std::string slow = "combination\npresolve 0\nlp_algorithm 3\nlp_iteration_limit 1\n";
  const std::string fine = "combination\npresolve 0\nlp_algorithm 2\n";
  for (const std::string &text : {slow + fine, fine + slow}) {
    NVRLsetintcontrol(prob, NVRL_CTRL_LP_ALGORITHM, 1);
    writeFile("# two combinations\n" + text);
    ASSERT_EQ(NVRLtunerreadmethod(prob, path.c_str()), 0) << lastError();
    ASSERT_EQ(NVRLtune(prob, ""), 0) << lastError();
    EXPECT_EQ(intControl(NVRL_CTRL_LP_ALGORITHM), 2);
    EXPECT_EQ(intControl(NVRL_CTRL_LP_ITERATION_LIMIT), 0);
  }
}

// A MIP that cannot be closed quickly: the tuner's limits end it, and its own time limit
// does not stay on the problem.
TEST_F(TuneTest, TimeLimitsBoundAMipTune) {
  buildMarketSplit();
  NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
  NVRLsetdblcontrol(prob, NVRL_CTRL_TUNER_RUN_TIME_LIMIT, 0.2);
  NVRLsetdblcontrol(prob, NVRL_CTRL_TUNER_TIME_LIMIT, 0.5);
  const auto t0 = std::chrono::steady_clock::now();
  ASSERT_EQ(NVRLtune(prob, ""), 0) << lastError();
  const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  EXPECT_LT(secs, 5.0);
  double tl = -1;
  NVRLgetdblcontrol(prob, NVRL_CTRL_TIME_LIMIT, &tl);
  EXPECT_EQ(tl, 0.0);
  // The stopped runs were ranked by their gap; one of the default combinations won.
  ASSERT_EQ(NVRLtunerwritemethod(prob, path.c_str()), 0);
  const std::string won = withoutComments(slurp(path));
  const std::vector<std::string> defaults = {"combination\n", "combination\npresolve 0\n",
                                             "combination\nmip_heuristic_effort 0\n",
                                             "combination\nmip_heuristic_effort 0.29999999999999999\n",
                                             "combination\ntree_search 1\n"};
  EXPECT_NE(std::find(defaults.begin(), defaults.end(), won), defaults.end()) << won;
}

struct BadMethod {
  const char *label;
  const char *text;
  const char *message;
};

class TuneBadMethod : public TuneTest, public ::testing::WithParamInterface<BadMethod> {};

TEST_P(TuneBadMethod, RefusedAndThePreviousMethodKept) {
  readData("afiro.mps");
  writeFile("combination\npresolve 0\n");
  ASSERT_EQ(NVRLtunerreadmethod(prob, path.c_str()), 0) << lastError();
  writeFile(GetParam().text);
  EXPECT_NE(NVRLtunerreadmethod(prob, path.c_str()), 0);
  EXPECT_NE(lastError().find(GetParam().message), std::string::npos) << lastError();
  ASSERT_EQ(NVRLtunerwritemethod(prob, path.c_str()), 0);
  EXPECT_EQ(withoutComments(slurp(path)), "combination\npresolve 0\n");
}

INSTANTIATE_TEST_SUITE_P(
    Files, TuneBadMethod,
    ::testing::Values(BadMethod{"unknown", "combination\nno_such_control 1\n", "no_such_control"},
                      BadMethod{"string", "mps_rhs_name x\n", "not a numerical control"},
                      BadMethod{"range", "presolve 2\n", "line 1: presolve 2"},
                      BadMethod{"fraction", "combination\n\npresolve 0.5\n", "line 3"},
                      BadMethod{"empty", "# nothing\n", "no combination"}),
    nvtest::byLabel);

}  // namespace
