// The nonlinear test problems of tests/data/nlp (Hock-Schittkowski problems and small
// quadratically constrained and mixed-integer ones) solved from their own starting points
// against the optimum each file states.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "nslp/slp_problem.h"
#include "test_nslp_support.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> problemFiles() {
  std::vector<std::string> names;
  const fs::path dir = fs::path(NVRL_SOURCE_DIR) / "engine" / "tests" / "data" / "nlp";
  for (const auto &e : fs::directory_iterator(dir))
    if (e.path().extension() == ".mps") names.push_back(e.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

class NlpDataFile : public nslptest::SlpPairTest<std::string> {};

// Files the solver does not settle yet, with what it does instead (skipped, so that they show
// in every run's summary; remove an entry once its file passes).
const std::map<std::string, std::string> kNotYet = {
    {"hs002", "ends at 4.9412, HS 2's other local minimum (as Ipopt does from this start)"},
    {"hs013", "degenerate optimum (no constraint qualification): ends at 0.99981 (Ipopt at "
              "0.9946)"},
};

TEST_P(NlpDataFile, ReachesTheStatedOptimum) {
  if (auto it = kNotYet.find(GetParam()); it != kNotYet.end()) GTEST_SKIP() << it->second;
  const fs::path file =
      fs::path(NVRL_SOURCE_DIR) / "engine" / "tests" / "data" / "nlp" / (GetParam() + ".mps");
  double optimum = NAN, tolerance = 1e-6;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line);
    std::string star, key;
    words >> star >> key;
    if (star == "*" && key == "optimum") words >> optimum >> key >> tolerance;
  }
  ASSERT_FALSE(std::isnan(optimum)) << "no optimum comment in " << file;
  ASSERT_EQ(0, NSLPreadprob(slp, file.c_str(), "")) << file;
  bool integers = false;
  for (char t : prob->model.coltype) integers = integers || t != 'C';
  char msg[NVRL_MAXMESSAGELEN] = {};
  const int rc = NSLPnlpoptimize(slp, integers ? "g" : "");
  NSLPgetlasterror(slp, nullptr, msg);
  ASSERT_EQ(0, rc) << msg;
  int status = -1;
  double obj = NAN;
  ASSERT_EQ(0, NSLPgetintattrib(slp, NSLP_ATTR_STATUS, &status));
  ASSERT_EQ(0, NSLPgetdblattrib(slp, NSLP_ATTR_OBJECTIVE, &obj));
  EXPECT_TRUE(status == NSLP_NLP_LOCALLY_OPTIMAL || status == NSLP_NLP_GLOBALLY_OPTIMAL)
      << "status " << status;
  EXPECT_NEAR(optimum, obj, std::max(1e-5, 10 * tolerance) * std::max(1.0, std::fabs(optimum)));
}

INSTANTIATE_TEST_SUITE_P(Published, NlpDataFile, ::testing::ValuesIn(problemFiles()),
                         [](const ::testing::TestParamInfo<std::string> &i) { return i.param; });

}  // namespace
