// Every instance of the shared test set, read from its file and solved, against the optimum
// recorded in optima.csv.
#include <cmath>
#include <thread>

#include "test_solve_support.h"

namespace solvetest {
namespace {

using nvtest::DataInstance;

class DataSet : public SolveTest, public ::testing::WithParamInterface<DataInstance> {};

TEST_P(DataSet, SolvesToTheRecordedOptimum) {
  const DataInstance &inst = GetParam();
  const std::string path = std::string(NVRL_DATA_DIR) + "/" + inst.file;
  ASSERT_EQ(NVRLreadprob(prob, path.c_str(), ""), 0) << lastError();
  const bool mip = inst.kind == "mip";
  ASSERT_EQ(mip ? NVRLmipoptimize(prob, "") : NVRLlpoptimize(prob, ""), 0) << lastError();
  if (mip) {
    const int st = intAttr(nvrl::id::kMipStatus);
    if (inst.status == "optimal") {
      ASSERT_EQ(st, NVRL_MIP_OPTIMAL);
      const double obj = dblAttr(nvrl::id::kMipObjVal);
      EXPECT_LE(std::fabs(obj - inst.objective), 1e-4 * std::max(1.0, std::fabs(inst.objective)))
          << obj;
      // The reported solution reproduces the objective (auxiliary columns excluded).
      const auto x = mipSolution();
      double val = model().objconst;
      for (int j = 0; j < model().cols(); ++j) val += model().obj[j] * x[j];
      EXPECT_NEAR(val, obj, 1e-6 * std::max(1.0, std::fabs(obj)));
    } else {
      EXPECT_EQ(st, inst.status == "infeasible" ? NVRL_MIP_INFEAS : NVRL_MIP_UNBOUNDED);
    }
    return;
  }
  const int st = intAttr(nvrl::id::kLpStatus);
  if (inst.status == "optimal") {
    ASSERT_EQ(st, NVRL_LP_OPTIMAL);
    const double obj = dblAttr(nvrl::id::kLpObjVal);
    EXPECT_LE(std::fabs(obj - inst.objective), 1e-6 * std::max(1.0, std::fabs(inst.objective)))
        << obj;
    int npv = -1, nps = -1, nds = -1, ndv = -1;
    ASSERT_EQ(NVRLgetinfeas(prob, &npv, &nps, &nds, &ndv, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(npv + nps, 0);
  } else if (inst.status == "infeasible") {
    EXPECT_EQ(st, NVRL_LP_INFEAS);
    EXPECT_EQ(intAttr(nvrl::id::kHasDualRay), 1);
  } else {
    EXPECT_EQ(st, NVRL_LP_UNBOUNDED);
    EXPECT_EQ(intAttr(nvrl::id::kHasPrimalRay), 1);
    int seq = -1;
    ASSERT_EQ(NVRLgetunbvec(prob, &seq), 0);
    EXPECT_GE(seq, 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Solve, DataSet, ::testing::ValuesIn(nvtest::dataInstances()),
                         [](const auto &info) { return nvtest::testName(info.param.file); });

// Problems are independent: two threads solving two instances at once both reach their optima.
TEST(DataSetConcurrency, TwoProblemsSolveAtOnce) {
  ASSERT_EQ(NVRLinit(nullptr), 0);
  auto solve = [](const char *file, double *obj) {
    NVRLprob p = nullptr;
    if (NVRLcreateprob(&p) != 0) return;
    NVRLsetintcontrol(p, nvrl::id::kLogLevel, 0);
    const std::string path = std::string(NVRL_DATA_DIR) + "/" + file;
    if (NVRLreadprob(p, path.c_str(), "") == 0 && NVRLmipoptimize(p, "") == 0)
      NVRLgetdblattrib(p, nvrl::id::kMipObjVal, obj);
    NVRLdestroyprob(p);
  };
  double a = 0, b = 0;
  std::thread t1(solve, "p0548.mps", &a), t2(solve, "lseu.mps", &b);
  t1.join();
  t2.join();
  EXPECT_NEAR(a, 8691, 1e-6);
  EXPECT_NEAR(b, 1120, 1e-6);
  NVRLfree();
}

}  // namespace
}  // namespace solvetest
