// The library: its global environment, the registry of controls and attributes, and the ids
// the header publishes.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cmath>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/registry.h"
#include "test_support.h"

using nvtest::globalError;
using nvrl::ParamInfo;
using nvrl::ParamKind;
using nvrl::ParamOwner;
using nvrl::ParamType;

// ---- The global environment: counted start and release, version and banner, global switches,
// the global last error, global message handlers and object type names.
namespace {

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

// Any failing environment call produces one global error line: the tags of the handlers that
// saw it, in order (g_seen keeps the lines).
std::vector<std::string> tagsOfAGlobalLine() {
  g_seen.clear();
  EXPECT_NE(0, NVRLgetversion(nullptr));
  std::vector<std::string> tags;
  for (const Seen &s : g_seen) tags.push_back(s.tag);
  return tags;
}

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
  const std::string msg = nvtest::lastError(prob);
  EXPECT_NE(std::string::npos, msg.find("not started")) << msg;

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

TEST_F(EnvironmentStarted, GlobalHandlersRunInPriorityOrder) {
  char a[] = "a", b[] = "b", c[] = "c", d[] = "d";
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(recordingHandler, a, 1));
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(recordingHandler, b, 5));
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(recordingHandler, c, 1));
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(recordingHandler, d, -3));
  EXPECT_EQ((std::vector<std::string>{"b", "a", "c", "d"}), tagsOfAGlobalLine());
  ASSERT_FALSE(g_seen.empty());
  EXPECT_EQ("NVRLenv", g_seen[0].type);
  EXPECT_EQ(NVRL_MSG_ERROR, g_seen[0].msgtype);
  EXPECT_EQ("NVRLgetversion: null output buffer", g_seen[0].msg);

  // Removal by data only, then by handler only.
  ASSERT_EQ(0, NVRL_ge_removecbmsghandler(nullptr, a));
  EXPECT_EQ((std::vector<std::string>{"b", "c", "d"}), tagsOfAGlobalLine());
  ASSERT_EQ(0, NVRL_ge_removecbmsghandler(recordingHandler, nullptr));
  EXPECT_TRUE(tagsOfAGlobalLine().empty());

  EXPECT_NE(0, NVRL_ge_addcbmsghandler(nullptr, a, 0));
  EXPECT_EQ("NVRL_ge_addcbmsghandler: null handler", globalError());
}

TEST_F(EnvironmentStarted, GlobalHandlersMayRemoveThemselvesAndOthersWhileCalled) {
  char self[] = "self", later[] = "later", last[] = "last";
  g_victim = later;
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(selfRemovingHandler, self, 10));
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(removesOtherHandler, last, 9));
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(recordingHandler, later, 1));
  // "later" was removed by "last" before its turn.
  EXPECT_EQ((std::vector<std::string>{"self", "last"}), tagsOfAGlobalLine());
  EXPECT_EQ((std::vector<std::string>{"last"}), tagsOfAGlobalLine());
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

// ---- The registry of controls and attributes, typed access through the optimiser's functions,
// computed attributes, the published list and the generated reference docs/controls.md.
namespace {

using Controls = nvtest::ProblemTest;

// Numbers the module relies on, with the meaning it relies on.
struct Expected {
  std::vector<int> ids;
  ParamType type;
  ParamKind kind;
  ParamOwner owner;
};

constexpr auto kInt = ParamType::Int, kDbl = ParamType::Double;
constexpr auto kAttr = ParamKind::Attribute, kCtrl = ParamKind::Control;
constexpr auto kOpt = ParamOwner::Optimiser, kNl = ParamOwner::Nonlinear;
const Expected kRequired[] = {
    {{1001, 1004, 1010, 1011, 1018, 1019, 1028, 1032, 1124, 1158, 1194, 1214, 1325, 1327},
     kInt, kAttr, kOpt},
    {{2001, 2003}, kDbl, kAttr, kOpt},
    {{8035, 22013}, kInt, kCtrl, kOpt},
    {{7006}, kDbl, kCtrl, kOpt},
    {{11999, 12000, 12013, 12016, 12026, 12044, 12062}, kInt, kAttr, kNl},
    {{12179}, kDbl, kAttr, kNl},
    {{12415, 12416}, kInt, kCtrl, kNl},
    {{12146}, kDbl, kCtrl, kNl},
};

std::vector<const ParamInfo *> entries(bool controls, ParamOwner owner) {
  std::vector<const ParamInfo *> out;
  for (const ParamInfo &p : nvrl::paramTable())
    if (p.isControl() == controls && p.owner == owner) out.push_back(&p);
  return out;
}

}  // namespace

TEST(Registry, RequiredIdsExistWithTheirMeaning) {
  for (const Expected &e : kRequired)
    for (int id : e.ids) {
      const ParamInfo *p = nvrl::findParam(id);
      ASSERT_NE(nullptr, p) << id;
      EXPECT_EQ(e.type, p->type) << p->name;
      EXPECT_EQ(e.kind, p->kind) << p->name;
      EXPECT_EQ(e.owner, p->owner) << p->name;
    }
}

TEST(Registry, EntriesAreUniqueWellFormedInTheirRangesAndDefaultsInBounds) {
  std::set<int> ids;
  std::set<std::string> names;
  for (const ParamInfo &p : nvrl::paramTable()) {
    EXPECT_TRUE(ids.insert(p.id).second) << "duplicate id " << p.id;
    EXPECT_TRUE(names.insert(p.name).second) << "duplicate name " << p.name;
    for (const char *c = p.name; *c; ++c)
      EXPECT_TRUE(std::islower(static_cast<unsigned char>(*c)) ||
                  std::isdigit(static_cast<unsigned char>(*c)) || *c == '_')
          << p.name;
    bool nonlinear_range = p.id >= 11999 && p.id <= 12999;
    EXPECT_EQ(nonlinear_range, p.isNonlinear()) << p.id << " " << p.name;
    EXPECT_GT(std::string(p.doc).size(), 10u) << p.name;
    EXPECT_EQ(nvrl::findParamByName(p.name), &p);
    if (!p.isControl()) continue;  // a control's default lies within its bounds
    if (p.isIntegral()) {
      EXPECT_TRUE(nvrl::checkIntValue(p, p.idef).empty()) << p.name;
      EXPECT_LE(p.ilo, p.ihi) << p.name;
    } else if (p.type == ParamType::Double) {
      EXPECT_TRUE(nvrl::checkDblValue(p, p.ddef).empty()) << p.name;
    }
    if (p.type == ParamType::Int) {
      EXPECT_TRUE(p.ihi <= INT32_MAX && p.ilo >= INT32_MIN) << p.name;
    }
  }
  EXPECT_EQ(std::string("nslp_postsolve"), nvrl::findParam(12416)->name);
  EXPECT_EQ(std::string("miptol"), nvrl::findParam(nvrl::id::kMipTol)->name);
}

TEST_F(Controls, EveryControlReadsItsDefaultAndAcceptsItsBoundsOnly) {
  for (const ParamInfo *p : entries(true, ParamOwner::Optimiser)) {
    SCOPED_TRACE(p->name);
    if (p->isIntegral()) {
      NVRLint64 v = -12345;
      ASSERT_EQ(0, NVRLgetintcontrol64(prob, p->id, &v));
      EXPECT_EQ(p->idef, v);
      ASSERT_EQ(0, NVRLsetintcontrol64(prob, p->id, p->ihi));
      ASSERT_EQ(0, NVRLsetintcontrol64(prob, p->id, p->ilo));
      if (p->ilo > INT64_MIN) {
        EXPECT_NE(0, NVRLsetintcontrol64(prob, p->id, p->ilo - 1));
        EXPECT_NE(std::string::npos, lastError().find("outside the range")) << lastError();
      }
      if (p->ihi < INT64_MAX) {
        EXPECT_NE(0, NVRLsetintcontrol64(prob, p->id, p->ihi + 1));
      }
      ASSERT_EQ(0, NVRLgetintcontrol64(prob, p->id, &v));
      EXPECT_EQ(p->ilo, v);  // failed sets changed nothing
    } else if (p->type == ParamType::Double) {
      double v = -12345;
      ASSERT_EQ(0, NVRLgetdblcontrol(prob, p->id, &v));
      EXPECT_EQ(p->ddef, v);
      ASSERT_EQ(0, NVRLsetdblcontrol(prob, p->id, p->dlo));
      if (p->dlo > -1e300) {
        EXPECT_NE(0, NVRLsetdblcontrol(prob, p->id, p->dlo - std::fabs(p->dlo) - 1));
      }
      if (p->dhi < 1e300) {
        EXPECT_NE(0, NVRLsetdblcontrol(prob, p->id, p->dhi * 2 + 1));
      }
      EXPECT_NE(0, NVRLsetdblcontrol(prob, p->id, std::nan("")));
      ASSERT_EQ(0, NVRLgetdblcontrol(prob, p->id, &v));
      EXPECT_EQ(p->dlo, v);
    } else {
      char v[NVRL_MAXNAMELEN];
      ASSERT_EQ(0, NVRLgetstrcontrol(prob, p->id, v));
      EXPECT_STREQ(p->sdef, v);
      std::string longest(NVRL_MAXNAMELEN - 1, 's');
      ASSERT_EQ(0, NVRLsetstrcontrol(prob, p->id, longest.c_str()));
      EXPECT_NE(0, NVRLsetstrcontrol(prob, p->id, (longest + "s").c_str()));
      EXPECT_NE(0, NVRLsetstrcontrol(prob, p->id, nullptr));
      ASSERT_EQ(0, NVRLgetstrcontrol(prob, p->id, v));
      EXPECT_EQ(longest, v);
    }
  }
}

struct BadCall {
  const char *what;
  int (*call)(NVRLprob);
  const char *message;
};

const BadCall kBadCalls[] = {
    {"unknown id", [](NVRLprob p) { int v; return NVRLgetintcontrol(p, 4242, &v); },
     "NVRLgetintcontrol: unknown control id 4242"},
    {"double read as int", [](NVRLprob p) { int v; return NVRLgetintcontrol(p, 7001, &v); },
     "NVRLgetintcontrol: 7001 (time_limit) is a double control, not an integer one"},
    {"int set as double", [](NVRLprob p) { return NVRLsetdblcontrol(p, 8003, 2.0); },
     "NVRLsetdblcontrol: 8003 (threads) is an integer control, not a double one"},
    {"string read as double", [](NVRLprob p) { double v; return NVRLgetdblcontrol(p, 6001, &v); },
     "NVRLgetdblcontrol: 6001 (mps_rhs_name) is a string control, not a double one"},
    {"attribute as control", [](NVRLprob p) { return NVRLsetintcontrol(p, 1001, 3); },
     "NVRLsetintcontrol: 1001 (rows) is an attribute, not a control"},
    {"control as attribute", [](NVRLprob p) { int v; return NVRLgetintattrib(p, 8003, &v); },
     "NVRLgetintattrib: 8003 (threads) is a control, not an attribute"},
    {"nonlinear id", [](NVRLprob p) { return NVRLsetintcontrol(p, 12416, 1); },
     "NVRLsetintcontrol: 12416 (nslp_postsolve) belongs to the nonlinear solver; use the NSLP "
     "functions"},
    {"out of range", [](NVRLprob p) { return NVRLsetintcontrol(p, 8005, 9); },
     "NVRLsetintcontrol: 8005 (lp_algorithm): value 9 is outside the range [1, 4]"},
    {"negative tolerance", [](NVRLprob p) { return NVRLsetdblcontrol(p, 7006, -1.0); },
     "NVRLsetdblcontrol: 7006 (miptol): value -1 is outside the range [1e-10, 0.5]"},
    {"null output", [](NVRLprob p) { return NVRLgetdblattrib(p, 2001, nullptr); },
     "NVRLgetdblattrib: null value pointer"},
    {"null string", [](NVRLprob p) { return NVRLgetstrcontrol(p, 6001, nullptr); },
     "NVRLgetstrcontrol: null value pointer"},
    {"unknown name",
     [](NVRLprob p) { return NVRLgetcontrolinfo(p, "no_such", nullptr, nullptr, nullptr); },
     "NVRLgetcontrolinfo: no control or attribute of the optimiser is named 'no_such'"},
    {"nonlinear name",
     [](NVRLprob p) {
       return NVRLgetcontrolinfo(p, "nslp_postsolve", nullptr, nullptr, nullptr);
     },
     "NVRLgetcontrolinfo: no control or attribute of the optimiser is named 'nslp_postsolve'"},
    {"copy from no problem", [](NVRLprob p) { return NVRLcopycontrols(p, nullptr); },
     "NVRLcopycontrols: invalid source problem"},
};

class BadControlCalls : public Controls, public ::testing::WithParamInterface<BadCall> {};

TEST_P(BadControlCalls, FailWithAPreciseMessageAndChangeNothing) {
  ASSERT_EQ(0, NVRLsetintcontrol(prob, nvrl::id::kLpAlgorithm, 3));
  ASSERT_EQ(0, NVRLsetdblcontrol(prob, nvrl::id::kMipTol, 1e-7));
  nvrl::ControlValues before = prob->controls;
  EXPECT_NE(0, GetParam().call(prob));
  EXPECT_EQ(GetParam().message, lastError());
  EXPECT_EQ(before.ints, prob->controls.ints);
  EXPECT_EQ(before.dbls, prob->controls.dbls);
  EXPECT_EQ(before.strs, prob->controls.strs);
}
INSTANTIATE_TEST_SUITE_P(Registry, BadControlCalls, ::testing::ValuesIn(kBadCalls),
                         [](const auto &info) { return nvtest::testName(info.param.what); });

TEST_F(Controls, WideIntegersNeedThe64BitFunctions) {
  const NVRLint64 big = NVRLint64{1} << 40;
  ASSERT_EQ(0, NVRLsetintcontrol64(prob, nvrl::id::kNodeLimit, big));
  int small = 7;
  EXPECT_NE(0, NVRLgetintcontrol(prob, nvrl::id::kNodeLimit, &small));
  EXPECT_EQ(7, small);
  EXPECT_EQ("NVRLgetintcontrol: 8001 (node_limit) holds 1099511627776, which needs "
            "NVRLgetintcontrol64",
            lastError());
  NVRLint64 wide = 0;
  ASSERT_EQ(0, NVRLgetintcontrol64(prob, nvrl::id::kNodeLimit, &wide));
  EXPECT_EQ(big, wide);
  // A 32-bit control is out of range for a 64-bit value beyond it.
  EXPECT_NE(0, NVRLsetintcontrol64(prob, nvrl::id::kThreads, big));
  // 32-bit access to a 64-bit control works while the value fits.
  ASSERT_EQ(0, NVRLsetintcontrol(prob, nvrl::id::kNodeLimit, 12));
  ASSERT_EQ(0, NVRLgetintcontrol(prob, nvrl::id::kNodeLimit, &small));
  EXPECT_EQ(12, small);
}

TEST_F(Controls, EveryAttributeIsComputedOnAnEmptyProblem) {
  for (const ParamInfo *p : entries(false, ParamOwner::Optimiser)) {
    SCOPED_TRACE(p->name);
    if (p->isIntegral()) {
      NVRLint64 v = -1;
      EXPECT_EQ(0, NVRLgetintattrib64(prob, p->id, &v)) << lastError();
      int v32 = -1;
      EXPECT_EQ(0, NVRLgetintattrib(prob, p->id, &v32)) << lastError();
      EXPECT_EQ(v, v32);
    } else if (p->type == ParamType::Double) {
      double v;
      EXPECT_EQ(0, NVRLgetdblattrib(prob, p->id, &v)) << lastError();
    } else {
      char v[NVRL_MAXNAMELEN];
      EXPECT_EQ(0, NVRLgetstrattrib(prob, p->id, v)) << lastError();
    }
  }
}

TEST_F(Controls, AttributesFollowTheStore) {
  nvrl::Model &m = prob->model;
  m.name = "abc";
  m.obj = {1, 1, 1, 1, 1, 1, 1};
  m.lb.assign(7, 0);
  m.ub.assign(7, 1);
  m.coltype = {'C', 'I', 'B', 'S', 'R', 'P', 'C'};
  m.limit.assign(7, 0);
  m.rowtype = {'L', 'L', 'E'};
  m.rhs = {1, 1, 1};
  m.range = {0, 0, 0};
  m.A.assignRows(nvrl::RowMatrix{{0, 1, 2, 2}, {0, 1}, {1, 1}});
  m.indcol = {2, -1, 2};
  m.indcomp = {1, 0, -1};
  m.gencons.resize(2);
  m.pwlcons.resize(1);
  m.sets.resize(2);
  m.colnames.assign(7, "");
  m.colnames[3] = std::string(17, 'x');  // 17 characters: 3 units of 8

  using namespace nvrl::id;
  const std::pair<int, int> expected[] = {
      {kRows, 3}, {kOriginalRows, 3}, {kCols, 7},       {kOriginalCols, 7},  {kSpareRows, 0},
      {kSets, 2}, {kOriginalSets, 2}, {kElems, 2},      {kMipEnts, 5},       {kIndicators, 2},
      {kPwlCons, 1}, {kGenConsAndPwl, 3}, {kNamelength, 3}, {kProbNameLength, 4}};
  for (auto [id, value] : expected) EXPECT_EQ(value, intAttr(id)) << id;

  // Default names count too, so that a name buffer sized by name_length always suffices.
  m.colnames.assign(7, "");
  EXPECT_EQ(1, intAttr(kNamelength));  // "C7"
  m.rownames.assign(3, std::string(8, 'r'));
  EXPECT_EQ(1, intAttr(kNamelength));
  m.rownames[1] += "r";
  EXPECT_EQ(2, intAttr(kNamelength));

  // The largest violation of the last solve's point, over bounds and rows.
  prob->sol.have_point = true;
  prob->sol.x = {0, 1, 1, 0, 0, 0, 1.25};
  prob->sol.slack = {0.5, -0.125, 0.0};  // row 1 ('L') is violated by 0.125
  double worst = -1;
  ASSERT_EQ(0, NVRLgetdblattrib(prob, kMaxPrimalInfeas, &worst));
  EXPECT_DOUBLE_EQ(0.25, worst);  // column 6 exceeds its upper bound 1 by 0.25
  prob->sol.x[6] = 1;
  ASSERT_EQ(0, NVRLgetdblattrib(prob, kMaxPrimalInfeas, &worst));
  EXPECT_DOUBLE_EQ(0.125, worst);
}

TEST_F(Controls, PublishedListMatchesTheRegistry) {
  const NVRLcaentry *list = nullptr;
  ASSERT_EQ(0, NVRLgetcalist_c(prob, &list));
  size_t n = 0;
  for (const NVRLcaentry *e = list; e->type != -1; ++e, ++n) {
    const ParamInfo *p = nvrl::findParam(e->id);
    ASSERT_NE(nullptr, p) << e->id;
    EXPECT_STREQ(p->name, e->name);
    EXPECT_EQ(static_cast<int>(p->type), e->type);
    EXPECT_EQ(p->isControl(), (e->flags & NVRL_CAFLAG_CONTROL) != 0) << e->name;
    int typeflag = p->isIntegral() ? NVRL_CAFLAG_INT
                   : p->type == ParamType::Double ? NVRL_CAFLAG_DOUBLE
                                                  : NVRL_CAFLAG_STRING;
    EXPECT_EQ(typeflag, e->flags & 7) << e->name;
    EXPECT_EQ(ParamOwner::Optimiser, p->owner);
  }
  EXPECT_EQ(entries(true, ParamOwner::Optimiser).size() +
                entries(false, ParamOwner::Optimiser).size(),
            n);
  EXPECT_NE(0, NVRLgetcalist_c(prob, nullptr));
}

TEST_F(Controls, LookupByNameIgnoresCase) {
  int id = 0, type = 0, iscontrol = -1;
  ASSERT_EQ(0, NVRLgetcontrolinfo(prob, "MIPTOL", &id, &type, &iscontrol));
  EXPECT_EQ(nvrl::id::kMipTol, id);
  EXPECT_EQ(NVRL_TYPE_DOUBLE, type);
  EXPECT_EQ(1, iscontrol);
  ASSERT_EQ(0, NVRLgetcontrolinfo(prob, "Rows", &id, &type, &iscontrol));
  EXPECT_EQ(nvrl::id::kRows, id);
  EXPECT_EQ(0, iscontrol);
}

TEST_F(Controls, DefaultsCopiesAndDumps) {
  ASSERT_EQ(0, NVRLsetintcontrol(prob, nvrl::id::kThreads, 4));
  ASSERT_EQ(0, NVRLsetdblcontrol(prob, nvrl::id::kTimeLimit, 2.5));
  ASSERT_EQ(0, NVRLsetstrcontrol(prob, nvrl::id::kMpsRhsName, "RHS2"));
  ASSERT_EQ(0, NVRLsetintcontrol(prob, nvrl::id::kPresolve, 1));  // equal to its default

  static std::vector<std::string> lines;
  lines.clear();
  auto cb = [](NVRLprob, void *, const char *msg, int len, int) { lines.emplace_back(msg, len); };
  ASSERT_EQ(0, NVRLaddcbmessage(prob, cb, nullptr, 0));
  ASSERT_EQ(0, NVRLdumpcontrols(prob));
  EXPECT_EQ((std::vector<std::string>{"mps_rhs_name = RHS2", "time_limit = 2.5", "threads = 4"}),
            lines);

  NVRLprob other;
  ASSERT_EQ(0, NVRLcreateprob(&other));
  ASSERT_EQ(0, NVRLcopycontrols(other, prob));
  ASSERT_EQ(0, NVRLsetintcontrol(prob, nvrl::id::kThreads, 8));
  int threads = 0;
  ASSERT_EQ(0, NVRLgetintcontrol(other, nvrl::id::kThreads, &threads));
  EXPECT_EQ(4, threads);
  char rhs[NVRL_MAXNAMELEN];
  ASSERT_EQ(0, NVRLgetstrcontrol(other, nvrl::id::kMpsRhsName, rhs));
  EXPECT_STREQ("RHS2", rhs);

  ASSERT_EQ(0, NVRLsetdefaults(other));
  ASSERT_EQ(0, NVRLgetintcontrol(other, nvrl::id::kThreads, &threads));
  EXPECT_EQ(0, threads);
  ASSERT_EQ(0, NVRLgetintcontrol(prob, nvrl::id::kThreads, &threads));
  EXPECT_EQ(8, threads);
  NVRLdestroyprob(other);

  lines.clear();
  ASSERT_EQ(0, NVRLsetdefaults(prob));
  ASSERT_EQ(0, NVRLdumpcontrols(prob));
  EXPECT_TRUE(lines.empty());
}

// docs/controls.md is generated from the registry; regenerate with NVRL_UPDATE_DOCS=1.
TEST(ControlsDoc, MatchesTheRegistry) {
  nvtest::expectGenerated(std::string(NVRL_SOURCE_DIR) + "/docs/controls.md",
                          nvrl::controlsMarkdown());
}

// ---- The id constants of nvrl.h are generated from the registry; these tests keep the two in step
// and check that the published names are usable C identifiers.
namespace {

// The id block of nvrl.h is rewritten from the registry with NVRL_UPDATE_DOCS=1.
TEST(HeaderIds, MatchTheRegistry) {
  nvtest::expectGenerated(std::string(NVRL_SOURCE_DIR) + "/engine/include/nvrl.h",
                          nvrl::idDefines(), nvrl::kIdsBegin, nvrl::kIdsEnd);
}

TEST(HeaderIds, NamesAreDistinctIdentifiersThatKeepTheirPrefix) {
  std::set<std::string> names;
  for (const nvrl::ParamInfo &p : nvrl::paramTable()) {
    const std::string name = nvrl::publishedIdName(p);
    EXPECT_TRUE(names.insert(name).second) << name << " is published twice";
    for (char c : name)
      EXPECT_TRUE(std::isupper(static_cast<unsigned char>(c)) ||
                  std::isdigit(static_cast<unsigned char>(c)) || c == '_')
          << p.name << " gives the name " << name;
    // NSLP_ replaces the "nslp_" of nonlinear names; an entry without it would break the
    // pattern that users derive names by.
    if (p.isNonlinear()) EXPECT_EQ(0u, std::string(p.name).rfind("nslp_", 0)) << p.name;
  }
}

}  // namespace
