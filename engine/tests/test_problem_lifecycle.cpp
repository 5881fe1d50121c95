// Problem life cycle: creation and destruction, copies, the problem name, the last error and
// per-problem message callbacks.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "test_store_support.h"

namespace {

using nvtest::globalError;
using nvtest::lastError;

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

std::vector<std::string> tags() {
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
  g_calls.clear();
  char a[] = "a", b[] = "b", c[] = "c";
  ASSERT_EQ(0, NVRLaddcbmessage(prob, recordCb, a, 0));
  ASSERT_EQ(0, NVRLaddcbmessage(prob, recordCb, b, 2));
  ASSERT_EQ(0, NVRLaddcbmessage(prob, selfRemovingCb, c, 1));
  ASSERT_EQ(0, NVRLsetintcontrol(prob, nvrl::id::kThreads, 2));
  ASSERT_EQ(0, NVRLdumpcontrols(prob));
  EXPECT_EQ((std::vector<std::string>{"b", "c", "a"}), tags());
  EXPECT_EQ(prob, g_probseen);
  EXPECT_EQ("threads = 2", g_calls[0].msg);

  g_calls.clear();
  ASSERT_EQ(0, NVRLdumpcontrols(prob));
  EXPECT_EQ((std::vector<std::string>{"b", "a"}), tags());

  ASSERT_EQ(0, NVRLremovecbmessage(prob, recordCb, b));
  g_calls.clear();
  ASSERT_EQ(0, NVRLdumpcontrols(prob));
  EXPECT_EQ((std::vector<std::string>{"a"}), tags());

  ASSERT_EQ(0, NVRLaddcbmessage(prob, recordCb, b, 0));
  ASSERT_EQ(0, NVRLremovecbmessage(prob, nullptr, nullptr));
  g_calls.clear();
  ASSERT_EQ(0, NVRLdumpcontrols(prob));
  EXPECT_TRUE(g_calls.empty());

  EXPECT_NE(0, NVRLaddcbmessage(prob, nullptr, a, 0));
  EXPECT_EQ("NVRLaddcbmessage: null callback", lastError(prob));
  EXPECT_TRUE(prob->msgcbs.empty());
}

TEST_F(Lifecycle, LastErrorIsBoundedAndNeedsAValidHandle) {
  std::string long_name(NVRL_MAXNAMELEN + 600, 'q');
  ASSERT_NE(0, NVRLgetcontrolinfo(prob, long_name.c_str(), nullptr, nullptr, nullptr));
  char msg[NVRL_MAXMESSAGELEN + 16];
  std::memset(msg, 'z', sizeof msg);
  ASSERT_EQ(0, NVRLgetlasterror(prob, msg));
  EXPECT_EQ(static_cast<size_t>(NVRL_MAXMESSAGELEN - 1), std::strlen(msg));
  EXPECT_EQ('z', msg[NVRL_MAXMESSAGELEN]);

  EXPECT_NE(0, NVRLgetlasterror(prob, nullptr));
  EXPECT_NE(0, NVRLgetlasterror(nullptr, msg));
}
