// The tree search forced on every MIP of the shared data set reaches the recorded optimum.
#include <chrono>
#include <cmath>

#include "test_solve_support.h"

namespace solvetest {
namespace {

using nvtest::DataInstance;

std::vector<DataInstance> mipInstances() {
  std::vector<DataInstance> out;
  for (const DataInstance &d : nvtest::dataInstances())
    if (d.kind == "mip") out.push_back(d);
  return out;
}

class TreeDataSet : public SolveTest, public ::testing::WithParamInterface<DataInstance> {};

TEST_P(TreeDataSet, ForcedSearchReachesTheRecordedOptimum) {
  // p0548 takes the search 25 to 60 s (its root bound after the cover cuts is 5462 against
  // 8691); the others well under a second.
  const DataInstance &inst = GetParam();
  const std::string path = std::string(NVRL_DATA_DIR) + "/" + inst.file;
  ASSERT_EQ(NVRLreadprob(prob, path.c_str(), ""), 0) << lastError();
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kTreeSearch, 1), 0);
  const auto t0 = std::chrono::steady_clock::now();
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  RecordProperty("seconds", std::to_string(
      std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count()));
  ASSERT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL);
  const double obj = dblAttr(nvrl::id::kMipObjVal);
  EXPECT_LE(std::fabs(obj - inst.objective), 1e-4 * std::max(1.0, std::fabs(inst.objective)))
      << obj;
  // The point is the search's own: integral on the integer columns, rows satisfied.
  const auto x = mipSolution();
  const nvrl::Model &m = model();
  for (int j = 0; j < m.cols(); ++j)
    if (m.coltype[j] == 'I' || m.coltype[j] == 'B') {
      EXPECT_NEAR(x[j], std::round(x[j]), 1e-5) << "column " << j;
    }
  std::vector<double> slack(m.rows());
  ASSERT_EQ(NVRLgetmipsol(prob, nullptr, slack.data()), 0);
  for (int i = 0; i < m.rows(); ++i) {
    const double tol = 1e-5 * std::max(1.0, std::fabs(m.rhs[i]));
    const char t = m.rowtype[i];
    if (t == 'L' || t == 'E') { EXPECT_GE(slack[i], -tol) << "row " << i; }
    if (t == 'G' || t == 'E') { EXPECT_LE(slack[i], tol) << "row " << i; }
  }
}

INSTANTIATE_TEST_SUITE_P(Tree, TreeDataSet, ::testing::ValuesIn(mipInstances()),
                         [](const auto &info) { return nvtest::testName(info.param.file); });

}  // namespace
}  // namespace solvetest
