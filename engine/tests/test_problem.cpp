// Problems: their life cycle and the calls a problem being solved refuses.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "test_store_support.h"
#include "test_support.h"

using nvtest::globalError;
using nvtest::lastError;
using nvtest::ints;
using nvrl::id::kCols;
using nvrl::id::kLogLevel;
using nvrl::id::kMipStatus;
using nvrl::id::kRows;
using nvrl::id::kStopStatus;

// ---- Problem life cycle: creation and destruction, copies, the problem name, the last error and
// per-problem message callbacks.
namespace {

std::string probName(NVRLprob p) {
  int len = 0;
  EXPECT_EQ(0, NVRLgetintattrib(p, nvrl::id::kProbNameLength, &len));
  std::vector<char> buf(len, 'x');
  EXPECT_EQ(0, NVRLgetprobname(p, buf.data()));
  EXPECT_EQ('\0', buf[len - 1]);
  return buf.data();
}

using Lifecycle = storetest::StoreTest;

struct Call {
  std::string tag;
  std::string msg;
};
std::vector<Call> g_calls;
NVRLprob g_probseen = nullptr;

void recordCb(NVRLprob prob, void *data, const char *msg, int len, int) {
  g_probseen = prob;
  g_calls.push_back({static_cast<const char *>(data), std::string(msg, len)});
}

void selfRemovingCb(NVRLprob prob, void *data, const char *msg, int len, int type) {
  recordCb(prob, data, msg, len, type);
  NVRLremovecbmessage(prob, selfRemovingCb, data);
}

// The tags of the callbacks that saw the lines of a control dump, in order (g_calls keeps them).
std::vector<std::string> tagsOfADump(NVRLprob prob) {
  g_calls.clear();
  EXPECT_EQ(0, NVRLdumpcontrols(prob));
  std::vector<std::string> t;
  for (const Call &c : g_calls) t.push_back(c.tag);
  return t;
}

}  // namespace

TEST_F(Lifecycle, CreateRejectsNullAndDestroyedHandlesAreRefused) {
  EXPECT_NE(0, NVRLcreateprob(nullptr));
  EXPECT_EQ("NVRLcreateprob: null output pointer", globalError());

  NVRLprob other;
  ASSERT_EQ(0, NVRLcreateprob(&other));
  ASSERT_EQ(0, NVRLdestroyprob(other));
  // The stale pointer is recognised without being trusted: every family refuses it.
  EXPECT_NE(0, NVRLsetprobname(other, "x"));
  EXPECT_EQ("Invalid or destroyed problem handle", globalError());
  int v;
  EXPECT_NE(0, NVRLgetintattrib(other, nvrl::id::kRows, &v));
  EXPECT_NE(0, NVRLsetintcontrol(other, nvrl::id::kThreads, 2));
  EXPECT_NE(0, NVRLdestroyprob(other));
  EXPECT_NE(0, NVRLdestroyprob(nullptr));
  EXPECT_EQ("Null problem handle", globalError());
  EXPECT_NE(0, NVRLcopyprob(prob, other, nullptr));
  EXPECT_EQ("NVRLcopyprob: invalid source problem", lastError(prob));
}

TEST_F(Lifecycle, NameRoundTripAndLimits) {
  EXPECT_EQ("", probName(prob));
  ASSERT_EQ(0, NVRLsetprobname(prob, "diet"));
  EXPECT_EQ("diet", probName(prob));
  int len;
  ASSERT_EQ(0, NVRLgetintattrib(prob, nvrl::id::kProbNameLength, &len));
  EXPECT_EQ(5, len);

  std::string longest(NVRL_MAXNAMELEN, 'n');
  ASSERT_EQ(0, NVRLsetprobname(prob, longest.c_str()));
  EXPECT_EQ(longest, probName(prob));

  std::string too_long(NVRL_MAXNAMELEN + 1, 'n');
  EXPECT_NE(0, NVRLsetprobname(prob, too_long.c_str()));
  EXPECT_EQ("NVRLsetprobname: name of 1025 characters exceeds the limit of 1024",
            lastError(prob));
  EXPECT_EQ(longest, probName(prob));
  EXPECT_NE(0, NVRLsetprobname(prob, nullptr));
  EXPECT_EQ(longest, probName(prob));
  EXPECT_NE(0, NVRLgetprobname(prob, nullptr));
  EXPECT_EQ("NVRLgetprobname: null output buffer", lastError(prob));
}

TEST_F(Lifecycle, CopyTakesTheWholeStoreAndStaysIndependent) {
  buildRichModel();
  ASSERT_EQ(0, NVRLsetprobname(prob, "source"));
  ASSERT_EQ(0, NVRLsetintcontrol(prob, nvrl::id::kThreads, 3));
  ASSERT_EQ(0, NVRLaddcbmessage(prob, recordCb, nullptr, 0));

  NVRLprob copy;
  ASSERT_EQ(0, NVRLcreateprob(&copy));
  copy->sol.lpstatus = NVRL_LP_OPTIMAL;  // answers of an earlier solve must not survive
  ASSERT_EQ(0, NVRLcopyprob(copy, prob, ""));
  EXPECT_TRUE(storetest::snapshot(copy) == storetest::snapshot(prob));
  EXPECT_EQ("source", probName(copy));
  EXPECT_EQ(NVRL_LP_UNSTARTED, copy->sol.lpstatus);

  // Controls and callbacks stay behind.
  int threads;
  ASSERT_EQ(0, NVRLgetintcontrol(copy, nvrl::id::kThreads, &threads));
  EXPECT_EQ(0, threads);
  EXPECT_TRUE(copy->msgcbs.empty());

  // Changing either afterwards leaves the other alone.
  const nvrl::Model &c = copy->model;
  prob->model.obj[0] = 99;
  prob->model.colnames[0] = "changed";
  copy->model.rhs[1] = -7;
  EXPECT_EQ(1, c.obj[0]);
  EXPECT_EQ("x", c.colnames[0]);
  EXPECT_EQ(1, prob->model.rhs[1]);

  ASSERT_EQ(0, NVRLcopyprob(copy, prob, "renamed"));
  EXPECT_EQ("renamed", probName(copy));
  EXPECT_EQ("source", probName(prob));
  EXPECT_EQ(99, copy->model.obj[0]);

  // A bad name leaves the destination as it was.
  std::string too_long(NVRL_MAXNAMELEN + 1, 'n');
  prob->model.obj[0] = 5;
  EXPECT_NE(0, NVRLcopyprob(copy, prob, too_long.c_str()));
  EXPECT_EQ(99, copy->model.obj[0]);
  EXPECT_EQ("renamed", probName(copy));
  NVRLdestroyprob(copy);
}

TEST_F(Lifecycle, MessageCallbacksByPriorityAndRemoval) {
  char a[] = "a", b[] = "b", c[] = "c";
  ASSERT_EQ(0, NVRLaddcbmessage(prob, recordCb, a, 0));
  ASSERT_EQ(0, NVRLaddcbmessage(prob, recordCb, b, 2));
  ASSERT_EQ(0, NVRLaddcbmessage(prob, selfRemovingCb, c, 1));
  ASSERT_EQ(0, NVRLsetintcontrol(prob, nvrl::id::kThreads, 2));
  EXPECT_EQ((std::vector<std::string>{"b", "c", "a"}), tagsOfADump(prob));
  EXPECT_EQ(prob, g_probseen);
  ASSERT_FALSE(g_calls.empty());
  EXPECT_EQ("threads = 2", g_calls[0].msg);

  EXPECT_EQ((std::vector<std::string>{"b", "a"}), tagsOfADump(prob));
  ASSERT_EQ(0, NVRLremovecbmessage(prob, recordCb, b));
  EXPECT_EQ((std::vector<std::string>{"a"}), tagsOfADump(prob));
  ASSERT_EQ(0, NVRLaddcbmessage(prob, recordCb, b, 0));
  ASSERT_EQ(0, NVRLremovecbmessage(prob, nullptr, nullptr));
  EXPECT_TRUE(tagsOfADump(prob).empty());

  EXPECT_NE(0, NVRLaddcbmessage(prob, nullptr, a, 0));
  EXPECT_EQ("NVRLaddcbmessage: null callback", lastError(prob));
  EXPECT_TRUE(prob->msgcbs.empty());
}

// ---- A problem being solved refuses calls that would change or read it, from other threads and
// from the solve's own callbacks, except the few that are safe; afterwards everything works.
namespace {

std::string refusal(const char *fn) {
  return std::string(fn) +
         ": the problem is being solved; it cannot be changed or read until the solve returns";
}

class BusyProblem : public nvtest::ProblemTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(ProblemTest::SetUp());
    ASSERT_EQ(NVRLcreateprob(&other), 0);
    ASSERT_EQ(NVRLsetintcontrol(prob, kLogLevel, 0), 0);
    buildMarketSplit();
  }
  void TearDown() override {
    if (solver.joinable()) {
      NVRLinterrupt(prob, NVRL_STOP_USER);
      solver.join();
    }
    NVRLdestroyprob(other);
    ProblemTest::TearDown();  // the problem may have been destroyed by the test
  }

  // Starts the MIP solve on its own thread and waits until it runs: a query from this thread
  // is refused once the problem is marked as being solved.
  void startSolve() {
    started = std::chrono::steady_clock::now();
    solver = std::thread([this] { solve_rc = NVRLmipoptimize(prob, ""); });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    int v = 0;
    while (NVRLgetintattrib(prob, kRows, &v) == 0) {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the solve was never refused";
      std::this_thread::yield();
    }
  }

  // Stops the solve and checks that it ended as an interrupted solve with a solution that
  // satisfies the rows. The solve gets half a second first, so that it has found one.
  void stopSolve() {
    std::this_thread::sleep_until(started + std::chrono::milliseconds(500));
    ASSERT_EQ(NVRLinterrupt(prob, NVRL_STOP_USER), 0) << lastError(prob);
    solver.join();
    ASSERT_EQ(solve_rc, 0) << lastError(prob);
    EXPECT_EQ(intAttr(prob, kStopStatus), NVRL_STOP_USER);
    EXPECT_EQ(intAttr(prob, kMipStatus), NVRL_MIP_SOLUTION);
    std::vector<double> slack(4);
    ASSERT_EQ(NVRLgetmipsol(prob, nullptr, slack.data()), 0) << lastError(prob);
    // HiGHS accepts MIP solutions whose rows are off by up to the MIP tolerance.
    double miptol = 0;
    ASSERT_EQ(NVRLgetdblcontrol(prob, nvrl::id::kMipTol, &miptol), 0);
    for (double s : slack) EXPECT_LE(std::fabs(s), miptol * (1 + 1e-6));
  }

  NVRLprob other = nullptr;
  std::thread solver;
  std::chrono::steady_clock::time_point started;
  std::atomic<int> solve_rc{-1};
};

// A call that takes the busy problem; error_on_other: the refusal is recorded on the other
// problem (the destination of a copy).
struct BusyCall {
  const char *fn;
  std::function<int(NVRLprob busy, NVRLprob other)> run;
  bool error_on_other = false;
};

std::vector<BusyCall> callsOnABusyProblem(const std::string &file) {
  static const int first[] = {0};
  static const char rowtype[] = {'L'};
  static const double one[] = {1.0}, zero[] = {0.0};
  static const int start[] = {0, 1}, rowind[] = {0};
  return {
      {"NVRLgetintattrib",
       [](NVRLprob p, NVRLprob) {
         int v = 0;
         return NVRLgetintattrib(p, kCols, &v);
       }},
      {"NVRLgetmipsol",
       [](NVRLprob p, NVRLprob) {
         double x[64];
         return NVRLgetmipsol(p, x, nullptr);
       }},
      {"NVRLdelrows", [](NVRLprob p, NVRLprob) { return NVRLdelrows(p, 1, first); }},
      {"NVRLdelcols", [](NVRLprob p, NVRLprob) { return NVRLdelcols(p, 1, first); }},
      {"NVRLchgcoef", [](NVRLprob p, NVRLprob) { return NVRLchgcoef(p, 0, 0, 7.0); }},
      {"NVRLreadprob",
       [file](NVRLprob p, NVRLprob) { return NVRLreadprob(p, file.c_str(), ""); }},
      {"NVRLloadlp",
       [](NVRLprob p, NVRLprob) {
         return NVRLloadlp(p, "small", 1, 1, rowtype, one, nullptr, one, start, nullptr,
                           rowind, one, zero, one);
       }},
      {"NVRLsetintcontrol",
       [](NVRLprob p, NVRLprob) { return NVRLsetintcontrol(p, nvrl::id::kPresolve, 0); }},
      {"NVRLaddcbmessage",  // allowed from the solve's own callbacks only
       [](NVRLprob p, NVRLprob) {
         return NVRLaddcbmessage(p, [](NVRLprob, void *, const char *, int, int) {}, nullptr,
                                 0);
       }},
      {"NVRLlpoptimize", [](NVRLprob p, NVRLprob) { return NVRLlpoptimize(p, ""); }},
      {"NVRLmipoptimize", [](NVRLprob p, NVRLprob) { return NVRLmipoptimize(p, ""); }},
      {"NVRLcopyprob", [](NVRLprob p, NVRLprob o) { return NVRLcopyprob(p, o, "into"); }},
      {"NVRLcopyprob", [](NVRLprob p, NVRLprob o) { return NVRLcopyprob(o, p, "from"); },
       true},
      {"NVRLdestroyprob", [](NVRLprob p, NVRLprob) { return NVRLdestroyprob(p); }},
  };
}

TEST_F(BusyProblem, CallsFromAnotherThreadAreRefusedUntilTheSolveReturns) {
  const std::string file = ::testing::TempDir() + "busy_small_" + std::to_string(getpid()) + ".lp";
  ASSERT_EQ(NVRLwriteprob(prob, file.c_str(), "l"), 0) << lastError(prob);
  ASSERT_EQ(NVRLcopyprob(other, prob, "twin"), 0);
  const int rows = intAttr(prob, kRows), cols = intAttr(prob, kCols);

  ASSERT_NO_FATAL_FAILURE(startSolve());
  for (const BusyCall &call : callsOnABusyProblem(file)) {
    SCOPED_TRACE(call.fn);
    EXPECT_NE(call.run(prob, other), 0);
    EXPECT_EQ(lastError(call.error_on_other ? other : prob), refusal(call.fn));
  }
  // The calls that are safe during a solve still work from here.
  char msg[NVRL_MAXMESSAGELEN];
  EXPECT_EQ(NVRLgetlasterror(prob, nullptr, msg, sizeof msg, nullptr), 0);
  stopSolve();

  // Nothing was changed behind the solve's back.
  EXPECT_EQ(intAttr(prob, kRows), rows);
  EXPECT_EQ(intAttr(prob, kCols), cols);
  // Once the solve has returned, the same calls succeed (destroying the problem last).
  for (const BusyCall &call : callsOnABusyProblem(file)) {
    SCOPED_TRACE(call.fn);
    EXPECT_EQ(call.run(prob, other), 0) << lastError(prob);
  }
  prob = nullptr;  // destroyed by the last call
  std::remove(file.c_str());
}

TEST_F(BusyProblem, NonlinearHandlesOfABusyProblemAreRefused) {
  if (NSLPinit(nullptr) != 0) GTEST_SKIP() << "the nonlinear solver is not available";
  NSLPprob slp = nullptr;
  ASSERT_EQ(NSLPcreateprob(&slp, &prob), 0);
  ASSERT_NO_FATAL_FAILURE(startSolve());
  NSLPprob second = nullptr;
  EXPECT_NE(NSLPcreateprob(&second, &prob), 0);
  EXPECT_NE(NSLPdestroyprob(slp), 0);
  char msg[NVRL_MAXMESSAGELEN] = {};
  EXPECT_EQ(NSLPgetlasterror(slp, nullptr, msg, sizeof msg, nullptr), 0);
  EXPECT_EQ(std::string(msg), refusal("NSLPdestroyprob"));
  stopSolve();
  EXPECT_EQ(NSLPdestroyprob(slp), 0);
  NSLPfree();
}

// Runs inside the solve, on the solving thread: return codes and messages of the calls it
// makes once HiGHS itself logs (our banner and size lines come first).
struct CallbackProbe {
  std::atomic<int> lines{0};
  std::vector<int> codes;
  std::vector<std::string> errors;

  static void quiet(NVRLprob, void *, const char *, int, int) {}

  static void onMessage(NVRLprob prob, void *data, const char *, int, int) {
    auto *self = static_cast<CallbackProbe *>(data);
    if (++self->lines != 12) return;
    self->codes.push_back(NVRLdelrows(prob, 1, ints(0)));
    self->errors.push_back(lastError(prob));
    self->codes.push_back(NVRLlpoptimize(prob, ""));
    self->errors.push_back(lastError(prob));
    self->codes.push_back(NVRLaddcbmessage(prob, quiet, nullptr, 5));
    self->codes.push_back(NVRLremovecbmessage(prob, quiet, nullptr));
    self->codes.push_back(NVRLinterrupt(prob, NVRL_STOP_USER));
    self->codes.push_back(NVRLremovecbmessage(prob, onMessage, data));
  }
};

TEST_F(BusyProblem, TheSolvesOwnCallbacksMayOnlyManageCallbacksAndInterrupt) {
  ASSERT_EQ(NVRLsetintcontrol(prob, kLogLevel, 1), 0);
  ASSERT_EQ(NVRLsetdblcontrol(prob, nvrl::id::kTimeLimit, 20.0), 0);  // should the stop fail
  CallbackProbe probe;
  ASSERT_EQ(NVRLaddcbmessage(prob, CallbackProbe::onMessage, &probe, 0), 0);
  const auto t0 = std::chrono::steady_clock::now();
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError(prob);
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count(), 10.0);

  ASSERT_EQ(probe.codes.size(), 6u);
  EXPECT_NE(probe.codes[0], 0);
  EXPECT_NE(probe.codes[1], 0);
  EXPECT_EQ(probe.errors, (std::vector<std::string>{refusal("NVRLdelrows"),
                                                    refusal("NVRLlpoptimize")}));
  EXPECT_EQ(std::vector<int>(probe.codes.begin() + 2, probe.codes.end()),
            std::vector<int>(4, 0));
  // The callback removed itself: no more lines after the one it handled.
  EXPECT_EQ(probe.lines.load(), 12);
  EXPECT_EQ(intAttr(prob, kStopStatus), NVRL_STOP_USER);
  EXPECT_NE(intAttr(prob, kMipStatus), NVRL_MIP_OPTIMAL);
  EXPECT_EQ(intAttr(prob, kRows), 4);
  // The request does not linger: the next solve runs to its own limit.
  ASSERT_EQ(NVRLsetdblcontrol(prob, nvrl::id::kTimeLimit, 0.3), 0);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError(prob);
  EXPECT_EQ(intAttr(prob, kStopStatus), NVRL_STOP_TIMELIMIT);
  EXPECT_NE(NVRLinterrupt(prob, 0), 0);  // 0 is no reason to stop
  // And the problem can be changed again.
  EXPECT_EQ(NVRLdelrows(prob, 1, ints(0)), 0) << lastError(prob);
}

}  // namespace
