// The tree search on hand-derived MIQPs, its limits and interrupts, and what it reports.
#include <cmath>
#include <string>

#include "test_tree_support.h"

namespace treetest {
namespace {

struct HandCase {
  const char *label;
  void (TreeTest::*build)();
  double optimum;
  std::vector<std::pair<int, double>> at;  // columns of the optimum point
};

class HandMiqp : public TreeTest,
                 public ::testing::WithParamInterface<std::tuple<HandCase, bool>> {};

TEST_P(HandMiqp, ReachesTheOptimumInEitherSense) {
  const auto &[c, maximising] = GetParam();
  (this->*c.build)();
  if (maximising) flipSense();
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  const double sign = maximising ? -1.0 : 1.0;
  ASSERT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL);
  EXPECT_EQ(intAttr(nvrl::id::kStopStatus), NVRL_STOP_NONE);
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), sign * c.optimum, 1e-6);
  // The bound is proven within the default relative gap.
  EXPECT_NEAR(dblAttr(nvrl::id::kBestBound), sign * c.optimum, 1e-4 * std::fabs(c.optimum) + 1e-6);
  EXPECT_GE(intAttr(nvrl::id::kSolutions), 1);
  EXPECT_GE(intAttr(nvrl::id::kNodes), 1);
  const auto x = mipSolution();
  for (auto [j, v] : c.at) EXPECT_NEAR(x[j], v, 1e-5) << "column " << j;
  std::vector<double> slack(model().rows());
  ASSERT_EQ(NVRLgetmipsol(prob, nullptr, slack.data()), 0);
  for (int i = 0; i < model().rows(); ++i) {
    const char t = model().rowtype[i];
    if (t == 'L' || t == 'E') { EXPECT_GE(slack[i], -1e-6) << "row " << i; }
    if (t == 'G' || t == 'E') { EXPECT_LE(slack[i], 1e-6) << "row " << i; }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Tree, HandMiqp,
    ::testing::Combine(
        ::testing::Values(
            HandCase{"knapsack", &TreeTest::quadraticKnapsack, -18, {{0, 1}, {1, 1}, {2, 0}, {3, 0}}},
            HandCase{"portfolio", &TreeTest::cardinalityPortfolio, 1.5,
                     {{0, 0}, {1, 0.5}, {2, 0.5}, {3, 0}}},
            HandCase{"sos2_semicontinuous", &TreeTest::setAndSemiContinuous, 5.5,
                     {{0, 0.5}, {1, 0.5}, {2, 0}, {3, 0}, {4, 0.5}, {5, 1}, {6, 3}}}),
        ::testing::Bool()),
    [](const auto &info) {
      return std::string(std::get<0>(info.param).label) +
             (std::get<1>(info.param) ? "_max" : "_min");
    });

// The same search on a linear MIP, when forced, agrees with HiGHS's MIP solver; and the
// nonconvex objective still ends with the nonconvex status before any search.
TEST_F(TreeTest, ForcedSearchAgreesWithHighsOnTheKnapsackWithoutItsQuadraticPart) {
  quadraticKnapsack();
  model().qobj.clear();
  prob->modelChanged();
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  const double highs = dblAttr(nvrl::id::kMipObjVal);
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kTreeSearch, 1), 0);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL);
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), highs, 1e-9);
  EXPECT_NEAR(highs, -22, 1e-9);  // 12 + 10 (weight 9) against 10 + 7 + 4
}

TEST_F(TreeTest, NonconvexObjectiveWithIntegersEndsWithTheNonconvexStatus) {
  quadraticKnapsack();
  model().qobj[{1, 1}] = -4;  // a negative diagonal when minimising
  prob->modelChanged();
  EXPECT_NE(NVRLmipoptimize(prob, ""), 0);
  EXPECT_NE(lastError().find("not convex"), std::string::npos) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_LP_NONCONVEX);
}

TEST_F(TreeTest, InfeasibleAndCutOffMiqps) {
  quadraticKnapsack();
  row('G', 13, {{0, 5}, {1, 4}, {2, 3}, {3, 2}});  // weight >= 13 against <= 9
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_INFEAS);
  EXPECT_EQ(intAttr(nvrl::id::kSolStatus), 0);
  model().rowtype.back() = 'N';
  prob->modelChanged();
  // Nothing beats -18; a cutoff at -18 keeps it, one below it leaves nothing.
  ASSERT_EQ(NVRLsetdblcontrol(prob, nvrl::id::kCutoff, -18), 0);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL);
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), -18, 1e-9);
  ASSERT_EQ(NVRLsetdblcontrol(prob, nvrl::id::kCutoff, -18.5), 0);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_INFEAS);
  EXPECT_EQ(intAttr(nvrl::id::kSolStatus), 0);
}

// ---- limits and interrupts -------------------------------------------------------------

// The market split with a quadratic penalty on its deviations: solutions come at once
// (x = 0 is one), the proof takes far more nodes than any limit here allows.
class TreeLimits : public TreeTest {
 protected:
  void SetUp() override {
    TreeTest::SetUp();
    buildMarketSplit();
    std::vector<std::tuple<int, int, double>> q;
    for (int j = 30; j < model().cols(); ++j) q.push_back({j, j, 0.01});
    qobj(q);
  }

  // The best solution is kept: readable, integral, with the reported objective.
  void expectSolutionKept() {
    ASSERT_EQ(intAttr(nvrl::id::kSolStatus), 1);
    const auto x = mipSolution();
    for (int j = 0; j < 30; ++j) EXPECT_NEAR(x[j], std::round(x[j]), 1e-5);
    double obj = 0.0;
    for (int j = 0; j < model().cols(); ++j) obj += model().obj[j] * x[j];
    for (const auto &[key, v] : model().qobj) obj += 0.5 * v * x[key.first] * x[key.first];
    EXPECT_NEAR(obj, dblAttr(nvrl::id::kMipObjVal), 1e-6);
    EXPECT_LE(dblAttr(nvrl::id::kBestBound), obj + 1e-9);
  }
};

struct LimitCase {
  const char *label;
  int control;
  double value;
  int stop;
};

class TreeLimit : public TreeLimits, public ::testing::WithParamInterface<LimitCase> {};

TEST_P(TreeLimit, StopsWithTheLimitsReasonAndKeepsTheBestSolution) {
  const LimitCase &c = GetParam();
  if (c.control == nvrl::id::kTimeLimit)
    ASSERT_EQ(NVRLsetdblcontrol(prob, c.control, c.value), 0);
  else
    ASSERT_EQ(NVRLsetintcontrol(prob, c.control, static_cast<int>(c.value)), 0);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kStopStatus), c.stop);
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_SOLUTION);
  if (c.control == nvrl::id::kNodeLimit) {
    EXPECT_EQ(intAttr(nvrl::id::kNodes), c.value);
  }
  if (c.control == nvrl::id::kSolutionLimit) {
    EXPECT_EQ(intAttr(nvrl::id::kSolutions), c.value);
  }
  EXPECT_GT(dblAttr(nvrl::id::kMipRelGapAttr), 0.0);
  expectSolutionKept();
}

INSTANTIATE_TEST_SUITE_P(Tree, TreeLimit,
                         ::testing::Values(LimitCase{"nodes", nvrl::id::kNodeLimit, 20,
                                                     NVRL_STOP_NODELIMIT},
                                           LimitCase{"solutions", nvrl::id::kSolutionLimit, 2,
                                                     NVRL_STOP_SOLLIMIT},
                                           LimitCase{"time", nvrl::id::kTimeLimit, 0.3,
                                                     NVRL_STOP_TIMELIMIT}),
                         nvtest::byLabel);

// NVRLinterrupt from a message callback at the first new incumbent's log line stops the
// search at the next node with the given reason, keeping that incumbent.
TEST_F(TreeLimits, InterruptFromTheLogStopsAtTheNextNode) {
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kLogLevel, 1), 0);
  struct Seen {
    std::vector<std::string> lines;
    bool sent = false;
  } seen;
  auto cb = [](NVRLprob p, void *data, const char *msg, int len, int) {
    auto *s = static_cast<Seen *>(data);
    if (!msg) return;
    s->lines.emplace_back(msg, len);
    const std::string &l = s->lines.back();
    // Incumbent lines carry a mark: '*' at a node, 'R' rounding, 'D' diving.
    if (!s->sent && l.size() > 2 && l[0] == ' ' && (l[1] == '*' || l[1] == 'R' || l[1] == 'D')) {
      s->sent = true;
      NVRLinterrupt(p, 12);
    }
  };
  ASSERT_EQ(NVRLaddcbmessage(prob, cb, &seen, 0), 0);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  ASSERT_TRUE(seen.sent);
  EXPECT_EQ(intAttr(nvrl::id::kStopStatus), 12);
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_SOLUTION);
  expectSolutionKept();
  // The log names the search and closes with the stop.
  bool header = false;
  for (const auto &l : seen.lines) header = header || l.find("Tree search on QP") != std::string::npos;
  EXPECT_TRUE(header);
  EXPECT_NE(seen.lines.back().find("Search stopped"), std::string::npos) << seen.lines.back();
}

// A time limit shorter than the root solve leaves no solution: status 3.
TEST_F(TreeLimits, TimeLimitBeforeAnySolutionLeavesNone) {
  ASSERT_EQ(NVRLsetdblcontrol(prob, nvrl::id::kTimeLimit, 1e-9), 0);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_NO_SOL_FOUND);
  EXPECT_EQ(intAttr(nvrl::id::kStopStatus), NVRL_STOP_TIMELIMIT);
  EXPECT_EQ(intAttr(nvrl::id::kSolStatus), 0);
  std::vector<double> x(model().cols());
  EXPECT_NE(NVRLgetmipsol(prob, x.data(), nullptr), 0);
}

}  // namespace
}  // namespace treetest
