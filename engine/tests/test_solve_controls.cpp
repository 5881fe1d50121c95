// Controls that change how a solve ends: cutoff, node and solution limits, iteration limits.
#include <tuple>

#include "test_solve_support.h"

namespace solvetest {
namespace {

using nvrl::id::kLpStatus;
using nvrl::id::kMipStatus;
using nvrl::id::kStopStatus;

// max x + 2y  s.t.  x + y <= 4.5,  x + 3y <= 6.5,  x, y >= 0.
// Continuous optimum: y = 1, x = 3.5 -> 5.5. Integer optimum: (3, 1) or (5, 0)... (4, 0) -> 4,
// (3, 1) -> 5, (2, 1) -> 4, (0, 2) -> 4: so 5.
// A cutoff above the optimum leaves nothing good enough; one below it changes nothing.
using CutoffCase = std::tuple<bool, double, int>;  // MIP, cutoff, status
class Cutoff : public SolveTest, public ::testing::WithParamInterface<CutoffCase> {};

TEST_P(Cutoff, DiscardsAnswersWorseThanIt) {
  const auto [mip, cutoff, status] = GetParam();
  const char t = mip ? 'I' : 'C';
  const int x = col(0, 1e20, 1, t), y = col(0, 1e20, 2, t);
  row('L', 4.5, {{x, 1}, {y, 1}});
  row('L', 6.5, {{x, 1}, {y, 3}});
  maximise();
  NVRLsetdblcontrol(prob, nvrl::id::kCutoff, cutoff);
  ASSERT_EQ(mip ? NVRLmipoptimize(prob, "") : NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(mip ? kMipStatus : kLpStatus), status);
}

INSTANTIATE_TEST_SUITE_P(Solve, Cutoff,
                         ::testing::Values(CutoffCase{false, 6, NVRL_LP_CUTOFF},
                                           CutoffCase{false, 5, NVRL_LP_OPTIMAL},
                                           CutoffCase{true, 6, NVRL_MIP_INFEAS},
                                           CutoffCase{true, 4, NVRL_MIP_OPTIMAL}));

class Limits : public SolveTest {};

TEST_F(Limits, NodeAndSolutionLimitsStopTheSearch) {
  buildMarketSplit();
  NVRLsetintcontrol64(prob, nvrl::id::kNodeLimit, 1);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0);
  EXPECT_EQ(intAttr(kStopStatus), NVRL_STOP_NODELIMIT);
  EXPECT_NE(intAttr(kMipStatus), NVRL_MIP_OPTIMAL);

  NVRLsetintcontrol64(prob, nvrl::id::kNodeLimit, 0);
  NVRLsetintcontrol(prob, nvrl::id::kSolutionLimit, 1);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0);
  EXPECT_EQ(intAttr(kStopStatus), NVRL_STOP_SOLLIMIT);
  EXPECT_EQ(intAttr(kMipStatus), NVRL_MIP_SOLUTION);
  EXPECT_GE(intAttr(nvrl::id::kSolutions), 1);
}

TEST_F(Limits, IterationLimitLeavesTheLpUnfinished) {
  buildMarketSplit();
  NVRLsetintcontrol64(prob, nvrl::id::kLpIterLimit, 1);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_UNFINISHED);
  EXPECT_EQ(intAttr(kStopStatus), NVRL_STOP_ITERLIMIT);
}

// Log level 0 silences the solve completely; level 1 gives the banner, size and final lines.
struct Lines {
  std::vector<std::string> text;
  static void add(NVRLprob, void *d, const char *msg, int len, int) {
    static_cast<Lines *>(d)->text.emplace_back(msg, len);
  }
};

TEST_F(Limits, LogLevelControlsTheLog) {
  buildMarketSplit();
  Lines lines;
  NVRLaddcbmessage(prob, Lines::add, &lines, 0);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  EXPECT_TRUE(lines.text.empty());
  NVRLsetintcontrol(prob, nvrl::id::kLogLevel, 1);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  ASSERT_GT(lines.text.size(), 3u);
  EXPECT_NE(lines.text.front().find("solving LP"), std::string::npos) << lines.text.front();
  EXPECT_NE(lines.text[1].find("4 rows, 38 columns"), std::string::npos) << lines.text[1];
  EXPECT_NE(lines.text.back().find("Optimal solution found"), std::string::npos);
  for (const auto &l : lines.text) EXPECT_EQ(l.find('\n'), std::string::npos);
}

// HiGHS fixes its thread pool when it starts; a new count must still take effect quietly.
TEST_F(Limits, ThreadsCanChangeBetweenSolves) {
  buildMarketSplit();
  NVRLsetintcontrol64(prob, nvrl::id::kNodeLimit, 20);
  NVRLsetintcontrol(prob, nvrl::id::kLogLevel, 1);
  struct Complaints {
    int count = 0;
    static void add(NVRLprob, void *d, const char *, int, int type) {
      if (type == NVRL_MSG_ERROR || type == NVRL_MSG_WARNING) ++static_cast<Complaints *>(d)->count;
    }
  } complaints;
  NVRLaddcbmessage(prob, Complaints::add, &complaints, 0);
  for (int threads : {0, 2, 1, 0}) {
    NVRLsetintcontrol(prob, nvrl::id::kThreads, threads);
    ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
    EXPECT_EQ(intAttr(kStopStatus), NVRL_STOP_NODELIMIT);
  }
  EXPECT_EQ(complaints.count, 0);
}

}  // namespace
}  // namespace solvetest
