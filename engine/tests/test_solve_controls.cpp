// Controls that change how a solve ends: cutoff, node and solution limits, iteration limits.
#include <algorithm>
#include <string>
#include <vector>

#include "test_solve_support.h"

namespace solvetest {
namespace {

using nvrl::id::kLpStatus;
using nvrl::id::kMipStatus;
using nvrl::id::kStopStatus;

// A 0-1 knapsack whose optimum a dynamic programme gives: maximise the value (sense -1) or
// minimise its negation (sense 1), so the optimum is +-best. The cutoff is placed relative to
// the optimum: `beyond` > 0 asks for more than the optimum can give.
class KnapsackCutoff : public SolveTest, public ::testing::WithParamInterface<int> {
 protected:
  void buildKnapsack(int sense) {
    const int n = 24;
    uint64_t seed = 99;
    auto next = [&](int lo, int hi) {
      seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
      return lo + static_cast<int>((seed >> 33) % static_cast<uint64_t>(hi - lo + 1));
    };
    std::vector<int> w(n), v(n);
    int total = 0;
    for (int j = 0; j < n; ++j) {
      w[j] = next(5, 40);
      v[j] = next(5, 60);
      total += w[j];
    }
    const int cap = total / 3;
    std::vector<int> best(cap + 1, 0);
    for (int j = 0; j < n; ++j)
      for (int c = cap; c >= w[j]; --c) best[c] = std::max(best[c], best[c - w[j]] + v[j]);
    std::vector<std::pair<int, double>> e;
    for (int j = 0; j < n; ++j) e.push_back({col(0, 1, sense > 0 ? -v[j] : v[j], 'B'), w[j]});
    row('L', cap, e);
    if (sense < 0) maximise();
    optimum = sense > 0 ? -best[cap] : best[cap];
  }

  // The cutoff `beyond` units better than the optimum in the objective's sense.
  double cutoffBeyond(int sense, double beyond) { return optimum + (sense > 0 ? -beyond : beyond); }

  void expectVerdict(double beyond, const char *what) {
    const bool meets = beyond <= 0;
    EXPECT_EQ(intAttr(kMipStatus), meets ? NVRL_MIP_OPTIMAL : NVRL_MIP_INFEAS) << what;
    EXPECT_EQ(intAttr(kStopStatus), NVRL_STOP_NONE) << what;
    EXPECT_EQ(intAttr(nvrl::id::kSolStatus), meets ? 1 : 0) << what;
    std::vector<double> x(model().cols());
    if (meets) {
      EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), optimum, 1e-6) << what;
      ASSERT_EQ(NVRLgetmipsol(prob, x.data(), nullptr), 0) << what << ": " << lastError();
      double val = 0;
      for (int j = 0; j < model().cols(); ++j) val += model().obj[j] * x[j];
      EXPECT_NEAR(val, optimum, 1e-6) << what;
    } else {
      EXPECT_EQ(dblAttr(nvrl::id::kMipObjVal), 0.0) << what;
      EXPECT_NE(NVRLgetmipsol(prob, x.data(), nullptr), 0) << what;
    }
  }

  double optimum = 0;
};

TEST_P(KnapsackCutoff, KeepsOnlySolutionsThatMeetItAcrossResolves) {
  const int sense = GetParam();
  buildKnapsack(sense);
  // Above, at, just inside and below the optimum, then above again: each re-solve must
  // forget what the previous cutoff allowed.
  for (double beyond : {1.0, 0.0, -0.5, -15.0, 0.5, 40.0, 0.0}) {
    NVRLsetdblcontrol(prob, nvrl::id::kCutoff, cutoffBeyond(sense, beyond));
    ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
    expectVerdict(beyond, ("cutoff beyond the optimum by " + std::to_string(beyond)).c_str());
  }
  NVRLsetdblcontrol(prob, nvrl::id::kCutoff, sense > 0 ? 1e20 : -1e20);  // none
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  expectVerdict(-1, "no cutoff");
}

// The LP relaxation: an optimum beyond the cutoff is reported as such, with no solution,
// and the optimum kept as the best bound.
TEST_P(KnapsackCutoff, LpOptimumBeyondTheCutoff) {
  const int sense = GetParam();
  buildKnapsack(sense);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  const double lpopt = dblAttr(nvrl::id::kLpObjVal);
  NVRLsetdblcontrol(prob, nvrl::id::kCutoff, lpopt + (sense > 0 ? -0.01 : 0.01));
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_CUTOFF);
  EXPECT_EQ(intAttr(kStopStatus), NVRL_STOP_NONE);
  EXPECT_EQ(intAttr(nvrl::id::kSolStatus), 0);
  EXPECT_EQ(dblAttr(nvrl::id::kLpObjVal), 0.0);
  EXPECT_NEAR(dblAttr(nvrl::id::kBestBound), lpopt, 1e-9);
  std::vector<double> x(model().cols());
  EXPECT_NE(NVRLgetlpsol(prob, x.data(), nullptr, nullptr, nullptr), 0);
  NVRLsetdblcontrol(prob, nvrl::id::kCutoff, lpopt);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(kLpStatus), NVRL_LP_OPTIMAL);
  EXPECT_NEAR(dblAttr(nvrl::id::kLpObjVal), lpopt, 1e-9);
}

INSTANTIATE_TEST_SUITE_P(Solve, KnapsackCutoff, ::testing::Values(1, -1),
                         [](const auto &info) { return info.param > 0 ? "min" : "max"; });

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
