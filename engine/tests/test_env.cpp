// The global environment: counted start and release, version and banner, global switches,
// the global last error, global message handlers and object type names.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "test_support.h"

namespace {

using nvtest::globalError;

// Releases every outstanding start (other suites may hold some) and gives them back at the
// end, so that a test can observe the library in its not-started state.
class Drained {
 public:
  Drained() {
    while (NVRLfree() == 0) ++held_;
  }
  ~Drained() {
    while (NVRLfree() == 0) {
    }
    for (int i = 0; i < held_; ++i) NVRLinit(nullptr);
  }

 private:
  int held_ = 0;
};

class EnvironmentStarted : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0, NVRLinit(nullptr)); }
  void TearDown() override { NVRLfree(); }
};

struct Seen {
  std::string tag;
  std::string msg;
  std::string type;
  int msgtype;
};
std::vector<Seen> g_seen;

int recordingHandler(NVRLobject obj, void *data, void *, const char *msg, int len, int msgtype) {
  const char *type = "?";
  NVRLgetobjecttypename(obj, &type);
  g_seen.push_back({static_cast<const char *>(data), std::string(msg, len), type, msgtype});
  return 0;
}

int selfRemovingHandler(NVRLobject obj, void *data, void *thread, const char *msg, int len,
                        int msgtype) {
  recordingHandler(obj, data, thread, msg, len, msgtype);
  NVRL_ge_removecbmsghandler(selfRemovingHandler, data);
  return 0;
}

void *g_victim = nullptr;
int removesOtherHandler(NVRLobject obj, void *data, void *thread, const char *msg, int len,
                        int msgtype) {
  recordingHandler(obj, data, thread, msg, len, msgtype);
  NVRL_ge_removecbmsghandler(nullptr, g_victim);
  return 0;
}

std::vector<std::string> tagsSeen() {
  std::vector<std::string> tags;
  for (const Seen &s : g_seen) tags.push_back(s.tag);
  return tags;
}

// Any failing environment call produces one global error line.
void emitGlobalLine() { ASSERT_NE(0, NVRLgetversion(nullptr)); }

}  // namespace

TEST(Environment, VersionAndBanner) {
  char version[NVRL_MAXVERSIONLEN] = {};
  ASSERT_EQ(0, NVRLgetversion(version));
  EXPECT_STREQ("0.1.0", version);

  char banner[NVRL_MAXBANNERLEN] = {};
  ASSERT_EQ(0, NVRLgetbanner(banner));
  std::string b = banner;
  EXPECT_EQ(0u, b.find("libnvrl 0.1.0")) << b;
  size_t h = b.find("HiGHS ");
  ASSERT_NE(std::string::npos, h) << b;
  EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(b[h + 6]))) << b;
  EXPECT_EQ(std::string::npos, b.find('\n'));

  EXPECT_NE(0, NVRLgetbanner(nullptr));
  EXPECT_EQ("NVRLgetbanner: null output buffer", globalError());
}

TEST(Environment, CountedStartAndRelease) {
  Drained drained;
  NVRLprob prob = nullptr;
  EXPECT_NE(0, NVRLcreateprob(&prob));
  EXPECT_EQ(nullptr, prob);
  EXPECT_NE(std::string::npos, globalError().find("not started"));
  EXPECT_NE(0, NVRLfree());
  EXPECT_EQ("NVRLfree: the library is not started", globalError());

  ASSERT_EQ(0, NVRLinit(nullptr));
  ASSERT_EQ(0, NVRLinit("ignored/path"));
  ASSERT_EQ(0, NVRLfree());
  // One start is still outstanding.
  ASSERT_EQ(0, NVRLcreateprob(&prob));
  ASSERT_EQ(0, NVRLdestroyprob(prob));
  ASSERT_EQ(0, NVRLfree());
  EXPECT_NE(0, NVRLcreateprob(&prob));
}

TEST(Environment, ReleasedLibraryRefusesProblemCallsButLetsThemGo) {
  Drained drained;
  ASSERT_EQ(0, NVRLinit(nullptr));
  NVRLprob prob;
  ASSERT_EQ(0, NVRLcreateprob(&prob));
  ASSERT_EQ(0, NVRLsetprobname(prob, "kept"));
  ASSERT_EQ(0, NVRLfree());

  EXPECT_NE(0, NVRLsetprobname(prob, "changed"));
  char msg[NVRL_MAXMESSAGELEN];
  ASSERT_EQ(0, NVRLgetlasterror(prob, msg));
  EXPECT_NE(std::string::npos, std::string(msg).find("not started")) << msg;

  ASSERT_EQ(0, NVRLinit(nullptr));
  char name[64];
  ASSERT_EQ(0, NVRLgetprobname(prob, name));
  EXPECT_STREQ("kept", name);
  ASSERT_EQ(0, NVRLfree());
  EXPECT_EQ(0, NVRLremovecbmessage(prob, nullptr, nullptr));
  EXPECT_EQ(0, NVRLdestroyprob(prob));
}

TEST(Environment, NonlinearSolverStartIsCountedAndNeedsTheLibrary) {
  Drained drained;
  EXPECT_NE(0, NSLPinit(nullptr));
  EXPECT_NE(std::string::npos, globalError().find("NVRLinit"));
  ASSERT_EQ(0, NVRLinit(nullptr));
  ASSERT_EQ(0, NSLPinit(nullptr));
  ASSERT_EQ(0, NSLPinit(nullptr));
  EXPECT_EQ(0, NSLPfree());
  EXPECT_EQ(0, NSLPfree());
  EXPECT_NE(0, NSLPfree());
  EXPECT_EQ("NSLPfree: the nonlinear solver is not started", globalError());
  // Releasing the library releases the nonlinear solver with it.
  ASSERT_EQ(0, NSLPinit(nullptr));
  ASSERT_EQ(0, NVRLfree());
  EXPECT_NE(0, NSLPfree());
}

TEST(Environment, ConcurrentStartsAndProblemsKeepTheCount) {
  Drained drained;
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) {
        NVRLprob p;
        if (NVRLinit(nullptr) != 0 || NVRLcreateprob(&p) != 0) {
          ++failures;
          continue;
        }
        if (NVRLsetprobname(p, "t") != 0 || NVRLdestroyprob(p) != 0 || NVRLfree() != 0)
          ++failures;
      }
    });
  for (auto &t : threads) t.join();
  EXPECT_EQ(0, failures.load());
  EXPECT_NE(0, NVRLfree());  // every start was matched
}

TEST(Environment, SwitchesRoundTrip) {
  int v = -1;
  ASSERT_EQ(0, NVRLgetcheckedmode(&v));
  EXPECT_EQ(1, v);  // on by default
  for (int set : {0, 7, 0}) {
    ASSERT_EQ(0, NVRLsetcheckedmode(set));
    ASSERT_EQ(0, NVRLgetcheckedmode(&v));
    EXPECT_EQ(set != 0, v);
    ASSERT_EQ(0, NVRL_ge_setarchconsistency(set));
    ASSERT_EQ(0, NVRL_ge_getarchconsistency(&v));
    EXPECT_EQ(set != 0, v);
  }
  NVRLsetcheckedmode(1);
  EXPECT_NE(0, NVRLgetcheckedmode(nullptr));
  EXPECT_EQ("NVRLgetcheckedmode: null output pointer", globalError());
}

TEST(Environment, GlobalLastErrorTruncatesAndReportsItsLength) {
  ASSERT_NE(0, NVRLgetversion(nullptr));
  const std::string full = "NVRLgetversion: null output buffer";
  int code = 0, nbytes = 0;
  char small[8];
  ASSERT_EQ(0, NVRL_ge_getlasterror(&code, small, sizeof small, &nbytes));
  EXPECT_NE(0, code);
  EXPECT_EQ(full.substr(0, 7), small);
  EXPECT_EQ(static_cast<int>(full.size()) + 1, nbytes);
  // Every output is optional.
  EXPECT_EQ(0, NVRL_ge_getlasterror(nullptr, nullptr, 0, nullptr));
  EXPECT_NE(0, NVRL_ge_getlasterror(nullptr, small, -1, nullptr));
}

TEST_F(EnvironmentStarted, GlobalHandlersRunInPriorityOrder) {
  g_seen.clear();
  char a[] = "a", b[] = "b", c[] = "c", d[] = "d";
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(recordingHandler, a, 1));
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(recordingHandler, b, 5));
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(recordingHandler, c, 1));
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(recordingHandler, d, -3));
  emitGlobalLine();
  EXPECT_EQ((std::vector<std::string>{"b", "a", "c", "d"}), tagsSeen());
  ASSERT_FALSE(g_seen.empty());
  EXPECT_EQ("NVRLenv", g_seen[0].type);
  EXPECT_EQ(NVRL_MSG_ERROR, g_seen[0].msgtype);
  EXPECT_EQ("NVRLgetversion: null output buffer", g_seen[0].msg);

  // Removal by data only, then by handler only.
  ASSERT_EQ(0, NVRL_ge_removecbmsghandler(nullptr, a));
  g_seen.clear();
  emitGlobalLine();
  EXPECT_EQ((std::vector<std::string>{"b", "c", "d"}), tagsSeen());
  ASSERT_EQ(0, NVRL_ge_removecbmsghandler(recordingHandler, nullptr));
  g_seen.clear();
  emitGlobalLine();
  EXPECT_TRUE(g_seen.empty());

  EXPECT_NE(0, NVRL_ge_addcbmsghandler(nullptr, a, 0));
  EXPECT_EQ("NVRL_ge_addcbmsghandler: null handler", globalError());
}

TEST_F(EnvironmentStarted, GlobalHandlersMayRemoveThemselvesAndOthersWhileCalled) {
  g_seen.clear();
  char self[] = "self", later[] = "later", last[] = "last";
  g_victim = later;
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(selfRemovingHandler, self, 10));
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(removesOtherHandler, last, 9));
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(recordingHandler, later, 1));
  emitGlobalLine();
  // "later" was removed by "last" before its turn.
  EXPECT_EQ((std::vector<std::string>{"self", "last"}), tagsSeen());
  g_seen.clear();
  emitGlobalLine();
  EXPECT_EQ((std::vector<std::string>{"last"}), tagsSeen());
  ASSERT_EQ(0, NVRL_ge_removecbmsghandler(nullptr, nullptr));
}

TEST_F(EnvironmentStarted, ProblemLinesReachGlobalHandlersAsProblemObjects) {
  g_seen.clear();
  char tag[] = "g";
  NVRLprob prob;
  ASSERT_EQ(0, NVRLcreateprob(&prob));
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(recordingHandler, tag, 0));
  // A failed call is not logged; a control dump is.
  EXPECT_NE(0, NVRLsetprobname(prob, nullptr));
  EXPECT_TRUE(g_seen.empty());
  ASSERT_EQ(0, NVRLsetdblcontrol(prob, nvrl::id::kTimeLimit, 5.0));
  ASSERT_EQ(0, NVRLdumpcontrols(prob));
  ASSERT_EQ(0, NVRL_ge_removecbmsghandler(recordingHandler, tag));
  ASSERT_FALSE(g_seen.empty());
  EXPECT_EQ("NVRLprob", g_seen[0].type);
  bool dumped = false;
  for (const auto &line : g_seen) dumped = dumped || line.msg.find("time_limit") != std::string::npos;
  EXPECT_TRUE(dumped);
  NVRLdestroyprob(prob);
}

TEST_F(EnvironmentStarted, ObjectTypeNames) {
  NVRLprob prob;
  ASSERT_EQ(0, NVRLcreateprob(&prob));
  const char *name = nullptr;
  ASSERT_EQ(0, NVRLgetobjecttypename(reinterpret_cast<NVRLobject>(prob), &name));
  EXPECT_STREQ("NVRLprob", name);
  ASSERT_EQ(0, NSLPinit(nullptr));
  NSLPprob slp;
  ASSERT_EQ(0, NSLPcreateprob(&slp, &prob));
  ASSERT_EQ(0, NVRLgetobjecttypename(reinterpret_cast<NVRLobject>(slp), &name));
  EXPECT_STREQ("NSLPprob", name);
  ASSERT_EQ(0, NSLPdestroyprob(slp));
  ASSERT_EQ(0, NSLPfree());

  EXPECT_NE(0, NVRLgetobjecttypename(reinterpret_cast<NVRLobject>(prob), nullptr));
  EXPECT_NE(0, NVRLgetobjecttypename(nullptr, &name));
  EXPECT_EQ("NVRLgetobjecttypename: null object handle", globalError());
  ASSERT_EQ(0, NVRLdestroyprob(prob));
  name = "unchanged";
  EXPECT_NE(0, NVRLgetobjecttypename(reinterpret_cast<NVRLobject>(prob), &name));
  EXPECT_STREQ("unchanged", name);
  EXPECT_EQ("NVRLgetobjecttypename: invalid or destroyed object handle", globalError());
}
