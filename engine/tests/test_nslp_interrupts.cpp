// A nonlinear solve stopped by SIGINT: it ends unfinished with the Ctrl-C reason at the point
// it had reached, and the SIGINT handler that was there before the solve is back afterwards.
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <thread>
#include <vector>

#include "test_nslp_support.h"

namespace nslptest {
namespace {

std::atomic<int> g_outerSigints{0};
void outerHandler(int) { ++g_outerSigints; }

// Rosenbrock's function as a values-only user function (its derivatives are differenced, so
// each iteration calls it several times); raises SIGINT on call number raiseAt.
int g_calls = 0, g_raiseAt = 0;
double rosenbrock(const double *x, void *) {
  if (++g_calls == g_raiseAt) raise(SIGINT);
  return (1 - x[0]) * (1 - x[0]) + 100 * (x[1] - x[0] * x[0]) * (x[1] - x[0] * x[0]);
}

class SlpInterrupt : public NslpTest {
 protected:
  void SetUp() override {
    NslpTest::SetUp();
    const int a = col(-1e20, 1e20, 0.0), b = col(-1e20, 1e20, 0.0);
    start(a, -1.2);
    start(b, 1.0);
    int name = 0, linkage = 0;
    ASSERT_EQ(0, NSLPsetstring(slp, &name, "rosen"));
    ASSERT_EQ(0, NSLPsetstring(slp, &linkage, "DirectC"));
    int type[] = {NSLP_UFDEF_STRING, NSLP_UFDEF_ARGS, NSLP_UFDEF_CALL, NSLP_UFDEF_STRING, 0};
    double value[] = {double(name), 1.0, double(NSLP_UFCALL_VALUES), double(linkage), 0};
    ASSERT_EQ(0, NSLPadduserfuncs(slp, 1, type, value)) << slpError();
    ASSERT_EQ(0, NSLPchguserfuncaddress(slp, 1, reinterpret_cast<NSLPfuncaddress>(rosenbrock)))
        << slpError();
    g_calls = g_raiseAt = 0;
    F f;
    f.args().x(a).x(b);
    f.t.push_back({NSLP_TOK_UFUN, 1});
    formulaObjective(f);
  }
};

TEST_F(SlpInterrupt, SigintEndsTheSolveAtItsLastPointAndRestoresTheHandler) {
  // The full solve first, for its length.
  ASSERT_EQ(0, optimize()) << slpError();
  ASSERT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  const int fullIterations = intAttr(NSLP_ATTR_ITERATIONS);
  const int callsPerSolve = g_calls;
  ASSERT_GT(fullIterations, 6);

  struct sigaction mine {}, before {}, after {};
  mine.sa_handler = outerHandler;
  sigemptyset(&mine.sa_mask);
  ASSERT_EQ(0, sigaction(SIGINT, &mine, &before));
  g_outerSigints = 0;
  g_calls = 0;
  g_raiseAt = callsPerSolve / 2;
  ASSERT_EQ(0, optimize()) << slpError();
  sigaction(SIGINT, nullptr, &after);
  const int stopped = intAttr(NSLP_ATTR_ITERATIONS);
  EXPECT_EQ(NSLP_NLP_UNFINISHED, status());
  EXPECT_EQ(NVRL_STOP_CTRLC, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_GE(stopped, 1);
  EXPECT_LT(stopped, fullIterations);
  EXPECT_EQ(0, g_outerSigints.load());  // the solve's handler took it
  EXPECT_EQ(&outerHandler, after.sa_handler);
  const std::vector<double> interrupted = x();
  const double objInterrupted = objective();

  // The point kept is where the iterations had got to: the same solve stopped by its
  // iteration limit at the same count ends at the same point.
  g_calls = 0;
  g_raiseAt = 0;
  NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, stopped);
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NVRL_STOP_ITERLIMIT, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_EQ(interrupted, x());
  EXPECT_DOUBLE_EQ(objInterrupted, objective());
  EXPECT_LT(objInterrupted, 24.2);  // Rosenbrock's value at the start

  // Outside a solve, SIGINT reaches the handler that was there before.
  raise(SIGINT);
  EXPECT_EQ(1, g_outerSigints.load());
  sigaction(SIGINT, &before, nullptr);
}

TEST_F(NslpTest, AStopRequestInterruptsALongMixedIntegerSubproblem) {
  // A hard multi-dimensional knapsack (200 binaries, 30 rows) with one nonlinear row: each
  // linearisation is a MIP that takes far longer than the solve is allowed to run here.
  uint32_t seed = 7;
  auto next = [&](int lo, int hi) {
    seed = seed * 1664525u + 1013904223u;
    return lo + static_cast<int>((seed >> 8) % static_cast<uint32_t>(hi - lo + 1));
  };
  std::vector<int> xs;
  for (int j = 0; j < 200; ++j) xs.push_back(col(0, 1, -next(10, 100), 'B'));
  for (int i = 0; i < 30; ++i) {
    std::vector<std::pair<int, double>> w;
    double total = 0;
    for (int j : xs) {
      w.push_back({j, next(20, 80)});
      total += w.back().second;
    }
    row('L', std::floor(total / 2), w);
  }
  const int z = col(0, 1, -1.0);
  coef(row('L', 0.5, {}), -1, 1.0, F().x(z).k(2).pow());
  NVRLsetdblcontrol(prob, NVRL_CTRL_MIP_RELATIVE_GAP, 0.0);
  NSLPsetdblcontrol(slp, NSLP_CTRL_TIME_LIMIT, 60.0);
  const auto t0 = std::chrono::steady_clock::now();
  std::thread stopper([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    NSLPinterrupt(slp, NVRL_STOP_USER);
  });
  const int rc = optimize("g");
  stopper.join();
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  ASSERT_EQ(0, rc) << slpError();
  EXPECT_EQ(NVRL_STOP_USER, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_EQ(NSLP_NLP_UNFINISHED, status());
  EXPECT_LT(seconds, 10.0);
}

}  // namespace
}  // namespace nslptest
