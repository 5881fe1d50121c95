// Solves that end early: a time limit and SIGINT (NVRLinterrupt from a message callback is in
// test_problem_busy.cpp). Each keeps the best solution found so far.
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "test_solve_support.h"

namespace solvetest {
namespace {

using nvrl::id::kMipStatus;
using nvrl::id::kStopStatus;

class EarlyStop : public SolveTest {
 protected:
  // Checks the common outcome: stopped with the given reason, a solution kept.
  void expectStoppedWithSolution(int reason) {
    EXPECT_EQ(intAttr(kStopStatus), reason);
    EXPECT_EQ(intAttr(kMipStatus), NVRL_MIP_SOLUTION);
    EXPECT_GE(intAttr(nvrl::id::kSolutions), 1);
    const auto x = mipSolution();
    // The kept solution satisfies the rows (within the integrality tolerance times the
    // coefficients, which reach 99).
    std::vector<double> slack(model().rows());
    ASSERT_EQ(NVRLgetmipsol(prob, nullptr, slack.data()), 0);
    for (double s : slack) EXPECT_NEAR(s, 0.0, 1e-3);
    EXPECT_GT(dblAttr(nvrl::id::kMipObjVal), dblAttr(nvrl::id::kBestBound) - 1e-9);
  }

  double timedSolve() {
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  }
};

TEST_F(EarlyStop, TimeLimitKeepsTheIncumbent) {
  buildMarketSplit();
  NVRLsetdblcontrol(prob, nvrl::id::kTimeLimit, 1.0);
  const double secs = timedSolve();
  EXPECT_LT(secs, 3.0);
  expectStoppedWithSolution(NVRL_STOP_TIMELIMIT);
}

std::atomic<int> g_outerSigints{0};
void outerHandler(int) { ++g_outerSigints; }

TEST_F(EarlyStop, SigintStopsTheSolveAndTheOldHandlerReturns) {
  buildMarketSplit();
  NVRLsetdblcontrol(prob, nvrl::id::kTimeLimit, 20.0);
  struct sigaction mine {}, before {}, after {};
  mine.sa_handler = outerHandler;
  sigemptyset(&mine.sa_mask);
  ASSERT_EQ(sigaction(SIGINT, &mine, &before), 0);
  std::thread timer([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    kill(getpid(), SIGINT);
  });
  const double secs = timedSolve();
  timer.join();
  sigaction(SIGINT, nullptr, &after);
  sigaction(SIGINT, &before, nullptr);
  EXPECT_EQ(after.sa_handler, &outerHandler);
  EXPECT_EQ(g_outerSigints.load(), 0);  // the solve's handler took it
  EXPECT_LT(secs, 10.0);
  expectStoppedWithSolution(NVRL_STOP_CTRLC);
}

}  // namespace
}  // namespace solvetest
