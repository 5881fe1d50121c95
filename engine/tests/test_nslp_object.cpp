// The nonlinear problem object: life cycle on top of an optimiser problem, its controls and
// attributes, lists, lookup by name, messages, copies and interrupts.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/ids.h"
#include "core/problem.h"
#include "core/registry.h"
#include "nslp/slp_problem.h"
#include "test_nslp_support.h"

using nvrl::ParamInfo;
using nvrl::ParamOwner;
using nvrl::ParamType;

namespace {

class Slp : public nvtest::SlpHandleTest {
 protected:
  int intAttr(int id) {
    int v = -99;
    EXPECT_EQ(0, NSLPgetintattrib(slp_, id, &v)) << id << " " << error();
    return v;
  }
};

std::vector<std::string> g_lines;
NSLPprob g_from = nullptr;
void slpCb(NSLPprob slp, void *data, const char *msg, int len, int) {
  g_from = slp;
  g_lines.push_back(std::string(static_cast<const char *>(data)) + ":" + std::string(msg, len));
}

int g_global_calls = 0;
std::string g_global_type;
int globalCb(NVRLobject obj, void *, void *, const char *, int, int) {
  const char *t = "?";
  NVRLgetobjecttypename(obj, &t);
  g_global_type = t;
  ++g_global_calls;
  return 0;
}

}  // namespace

TEST_F(Slp, AttributesOfAFreshObjectFollowTheProblemBeneath) {
  using namespace nvrl::id;
  EXPECT_EQ(0, intAttr(kSlpRows));
  EXPECT_EQ(0, intAttr(kSlpCols));
  EXPECT_EQ(-1, intAttr(kSlpConstantCol));
  EXPECT_EQ(0, intAttr(kSlpCoefs));
  EXPECT_EQ(0, intAttr(kSlpNonlinearRows));
  EXPECT_EQ(0, intAttr(kSlpNlpStatus));
  EXPECT_EQ(0, intAttr(kSlpStateBits));
  double obj = -1;
  ASSERT_EQ(0, NSLPgetdblattrib(slp_, kSlpObjVal, &obj));
  EXPECT_EQ(0.0, obj);

  prob_->model.rowtype = {'L', 'G'};
  prob_->model.obj = {1, 2, 3};
  EXPECT_EQ(2, intAttr(kSlpRows));
  EXPECT_EQ(3, intAttr(kSlpCols));

  slp_->data.coefs.push_back({0, 1, 2.0, {}});
  slp_->data.coefs.push_back({0, 2, 1.0, {}});
  slp_->data.coefs.push_back({1, 2, 1.0, {}});
  EXPECT_EQ(3, intAttr(kSlpCoefs));
  EXPECT_EQ(2, intAttr(kSlpNonlinearRows));
}

TEST_F(Slp, ControlsReadDefaultsAndRefuseBadValues) {
  for (const ParamInfo &p : nvrl::paramTable()) {
    if (!p.isNonlinear() || !p.isControl()) continue;
    SCOPED_TRACE(p.name);
    if (p.isIntegral()) {
      int v = -99;
      ASSERT_EQ(0, NSLPgetintcontrol(slp_, p.id, &v));
      EXPECT_EQ(p.idef, v);
      ASSERT_EQ(0, NSLPsetintcontrol(slp_, p.id, static_cast<int>(p.ihi)));
      EXPECT_NE(0, NSLPsetintcontrol(slp_, p.id, static_cast<int>(p.ilo) - 1));
      ASSERT_EQ(0, NSLPgetintcontrol(slp_, p.id, &v));
      EXPECT_EQ(p.ihi, v);
    } else if (p.type == ParamType::Double) {
      double v = -99;
      ASSERT_EQ(0, NSLPgetdblcontrol(slp_, p.id, &v));
      EXPECT_EQ(p.ddef, v);
      ASSERT_EQ(0, NSLPsetdblcontrol(slp_, p.id, p.dlo));
      if (p.dhi < 1e300) {
        EXPECT_NE(0, NSLPsetdblcontrol(slp_, p.id, p.dhi * 2 + 1));
      }
      ASSERT_EQ(0, NSLPgetdblcontrol(slp_, p.id, &v));
      EXPECT_EQ(p.dlo, v);
    }
  }
  ASSERT_EQ(0, NSLPsetdefaults(slp_));
  int post = -1;
  ASSERT_EQ(0, NSLPgetintcontrol(slp_, nvrl::id::kSlpPostsolve, &post));
  EXPECT_EQ(0, post);
}

TEST_F(Slp, ListsAndLookupByName) {
  const NVRLcaentry *main_list = nullptr, *ipm_list = nullptr;
  ASSERT_EQ(0, NSLPgetcalist(slp_, &main_list));
  ASSERT_EQ(0, NSLPgetIPMcalist(slp_, &ipm_list));
  size_t listed = 0;
  for (const NVRLcaentry *list : {main_list, ipm_list}) {
    for (const NVRLcaentry *e = list; e->type != -1; ++e, ++listed) {
      SCOPED_TRACE(e->name);
      EXPECT_GE(e->id, 11999);
      EXPECT_LE(e->id, 12999);
      int id = 0, flags = 0;
      ASSERT_EQ(0, NSLPcontrolcode(slp_, e->name, &id, &flags));
      EXPECT_EQ(e->id, id);
      EXPECT_EQ(e->flags, flags);
      EXPECT_EQ(0, flags & NSLP_CCFLAG_SKIP);
      const ParamInfo *p = nvrl::findParam(e->id);
      ASSERT_NE(nullptr, p);
      EXPECT_EQ(list == ipm_list, p->owner == ParamOwner::NonlinearIpm);
      EXPECT_EQ(p->isControl(), (flags & NSLP_CCFLAG_CONTROL) != 0);
    }
  }
  size_t registered = 0;
  for (const ParamInfo &p : nvrl::paramTable()) registered += p.isNonlinear() ? 1 : 0;
  EXPECT_EQ(registered, listed);
  EXPECT_GT(registered, 0u);

  int id = 0, flags = 0;
  ASSERT_EQ(0, NSLPcontrolcode(slp_, "NSLP_POSTSOLVE", &id, &flags));
  EXPECT_EQ(12416, id);
  EXPECT_EQ(NSLP_CCFLAG_INT | NSLP_CCFLAG_CONTROL, flags);
}

TEST_F(Slp, CopiesTakeDataOrControlsSeparately) {
  slp_->data.coefs.push_back({0, 0, 1.5, {{1, 2.0}}});
  slp_->state.iterations = 4;
  ASSERT_EQ(0, NSLPsetintcontrol(slp_, nvrl::id::kSlpIterLimit, 7));

  NVRLprob prob2;
  NSLPprob slp2;
  ASSERT_EQ(0, NVRLcreateprob(&prob2));
  ASSERT_EQ(0, NSLPcreateprob(&slp2, &prob2));
  ASSERT_EQ(0, NSLPmsaddjob(slp_, "job", 0, nullptr, nullptr, 0, nullptr, nullptr, 0, nullptr,
                            nullptr, nullptr));
  ASSERT_EQ(0, NSLPcopyprob(slp2, slp_, nullptr));
  nslptest::expectSameData(slp_->data, slp2->data);
  int v = 0;
  ASSERT_EQ(0, NSLPgetintattrib(slp2, nvrl::id::kSlpIterations, &v));
  EXPECT_EQ(4, v);
  ASSERT_EQ(0, NSLPgetintcontrol(slp2, nvrl::id::kSlpIterLimit, &v));
  EXPECT_EQ(1000, v);  // controls stay behind

  slp_->data.coefs[0].factor = -3;
  EXPECT_EQ(1.5, slp2->data.coefs[0].factor);
  EXPECT_EQ(prob2, slp2->prob);  // still stacked on its own problem

  ASSERT_EQ(0, NSLPcopycontrols(slp2, slp_));
  ASSERT_EQ(0, NSLPgetintcontrol(slp2, nvrl::id::kSlpIterLimit, &v));
  EXPECT_EQ(7, v);
  ASSERT_EQ(0, NSLPsetintcontrol(slp_, nvrl::id::kSlpIterLimit, 9));
  ASSERT_EQ(0, NSLPgetintcontrol(slp2, nvrl::id::kSlpIterLimit, &v));
  EXPECT_EQ(7, v);

  NSLPdestroyprob(slp2);
  NVRLdestroyprob(prob2);
}

TEST_F(Slp, MessagesGoToTheCallbackAndTheGlobalHandlers) {
  g_lines.clear();
  g_global_calls = 0;
  char first[] = "first", second[] = "second";
  ASSERT_EQ(0, NSLPsetcbmessage(slp_, slpCb, first));
  ASSERT_EQ(0, NSLPsetcbmessage(slp_, slpCb, second));  // replaces the first
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(globalCb, nullptr, 0));
  EXPECT_NE(0, NSLPinterrupt(slp_, -1));  // failures are not logged
  EXPECT_TRUE(g_lines.empty());
  slp_->log(NVRL_MSG_INFO, "iteration %d", 3);
  ASSERT_EQ(0, NVRL_ge_removecbmsghandler(globalCb, nullptr));
  EXPECT_EQ((std::vector<std::string>{"second:iteration 3"}), g_lines);
  EXPECT_EQ(slp_, g_from);
  EXPECT_EQ(1, g_global_calls);
  EXPECT_EQ("NSLPprob", g_global_type);

  ASSERT_EQ(0, NSLPsetcbmessage(slp_, nullptr, nullptr));
  g_lines.clear();
  slp_->log(NVRL_MSG_INFO, "iteration %d", 4);
  EXPECT_TRUE(g_lines.empty());
}

TEST_F(Slp, CreationAndHandlesAreChecked) {
  NSLPprob other = nullptr;
  EXPECT_NE(0, NSLPcreateprob(nullptr, &prob_));
  EXPECT_NE(0, NSLPcreateprob(&other, nullptr));
  NVRLprob null_prob = nullptr;
  EXPECT_NE(0, NSLPcreateprob(&other, &null_prob));
  EXPECT_EQ("Null problem handle", nvtest::globalError());
  EXPECT_EQ(nullptr, other);

  // An object whose problem has gone refuses work but can still be destroyed.
  NVRLprob beneath;
  ASSERT_EQ(0, NVRLcreateprob(&beneath));
  ASSERT_EQ(0, NSLPcreateprob(&other, &beneath));
  ASSERT_EQ(0, NVRLdestroyprob(beneath));
  int v;
  EXPECT_NE(0, NSLPgetintattrib(other, nvrl::id::kSlpRows, &v));
  char msg[NVRL_MAXMESSAGELEN];
  int code = 0;
  ASSERT_EQ(0, NSLPgetlasterror(other, &code, msg));
  EXPECT_STREQ("The optimiser problem beneath this nonlinear problem has been destroyed", msg);
  EXPECT_NE(0, code);
  ASSERT_EQ(0, NSLPdestroyprob(other));
  EXPECT_NE(0, NSLPdestroyprob(other));
  EXPECT_EQ("Invalid or destroyed nonlinear problem handle", nvtest::globalError());
  EXPECT_NE(0, NSLPsetdefaults(other));
  EXPECT_NE(0, NSLPgetlasterror(nullptr, &code, msg));

  // Handles of the other kind are refused in both directions.
  EXPECT_NE(0, NSLPsetdefaults(reinterpret_cast<NSLPprob>(prob_)));
  EXPECT_NE(0, NVRLsetdefaults(reinterpret_cast<NVRLprob>(slp_)));
}

TEST(SlpStart, ObjectsNeedAStartedNonlinearSolver) {
  ASSERT_EQ(0, NVRLinit(nullptr));
  NVRLprob prob;
  ASSERT_EQ(0, NVRLcreateprob(&prob));
  ASSERT_EQ(0, NSLPinit(nullptr));
  NSLPprob slp;
  ASSERT_EQ(0, NSLPcreateprob(&slp, &prob));
  // Release every start (other suites may hold some, besides ours) to observe the stopped
  // solver; the others' starts are given back at the end.
  int held = 0;
  while (NSLPfree() == 0) ++held;
  ASSERT_GE(held, 1);
  EXPECT_NE(0, NSLPsetdefaults(slp));
  NSLPprob other = nullptr;
  EXPECT_NE(0, NSLPcreateprob(&other, &prob));
  EXPECT_EQ(nullptr, other);
  // Destruction still works while stopped.
  EXPECT_EQ(0, NSLPdestroyprob(slp));
  for (int i = 0; i < held - 1; ++i) NSLPinit(nullptr);
  NVRLdestroyprob(prob);
  NVRLfree();
}
