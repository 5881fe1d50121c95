// Out of memory at every allocation of a call: the global allocation functions of this test
// binary fail the N-th allocation on the injecting thread while an injection is active, and
// each call is swept over N = 1, 2, ... until it gets through without a failure. Every failed
// run must return an error saying "out of memory" and leave the model exactly as it was;
// afterwards the problem works normally. Built as its own binary, since it replaces the
// allocation functions of the whole process.
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "test_store_support.h"

namespace {

thread_local bool t_injecting = false;
thread_local long t_countdown = 0;
thread_local bool t_triggered = false;
thread_local long t_allocations = 0;  // made under the injection

bool failThisAllocation() {
  if (!t_injecting || t_triggered) return false;
  ++t_allocations;
  if (--t_countdown > 0) return false;
  t_triggered = true;
  return true;
}

void *allocate(std::size_t n, std::size_t align, bool nothrow) {
  if (failThisAllocation()) {
    if (nothrow) return nullptr;
    throw std::bad_alloc();
  }
  if (n == 0) n = 1;
  void *p = align > alignof(std::max_align_t)
                ? std::aligned_alloc(align, (n + align - 1) / align * align)
                : std::malloc(n);
  if (!p && !nothrow) throw std::bad_alloc();
  return p;
}

// Fails the n-th allocation made on this thread while alive (n >= 1).
class Injection {
 public:
  explicit Injection(long n) {
    t_countdown = n;
    t_triggered = false;
    t_allocations = 0;
    t_injecting = true;
  }
  ~Injection() { t_injecting = false; }
  bool triggered() const { return t_triggered; }
  long allocations() const { return t_allocations; }
};

}  // namespace

void *operator new(std::size_t n) { return allocate(n, 0, false); }
void *operator new[](std::size_t n) { return allocate(n, 0, false); }
void *operator new(std::size_t n, const std::nothrow_t &) noexcept {
  return allocate(n, 0, true);
}
void *operator new[](std::size_t n, const std::nothrow_t &) noexcept {
  return allocate(n, 0, true);
}
void *operator new(std::size_t n, std::align_val_t a) {
  return allocate(n, static_cast<std::size_t>(a), false);
}
void *operator new[](std::size_t n, std::align_val_t a) {
  return allocate(n, static_cast<std::size_t>(a), false);
}
void *operator new(std::size_t n, std::align_val_t a, const std::nothrow_t &) noexcept {
  return allocate(n, static_cast<std::size_t>(a), true);
}
void *operator new[](std::size_t n, std::align_val_t a, const std::nothrow_t &) noexcept {
  return allocate(n, static_cast<std::size_t>(a), true);
}
void operator delete(void *p) noexcept { std::free(p); }
void operator delete[](void *p) noexcept { std::free(p); }
void operator delete(void *p, std::size_t) noexcept { std::free(p); }
void operator delete[](void *p, std::size_t) noexcept { std::free(p); }
void operator delete(void *p, const std::nothrow_t &) noexcept { std::free(p); }
void operator delete[](void *p, const std::nothrow_t &) noexcept { std::free(p); }
void operator delete(void *p, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void *p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void *p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void *p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete(void *p, std::align_val_t, const std::nothrow_t &) noexcept { std::free(p); }
void operator delete[](void *p, std::align_val_t, const std::nothrow_t &) noexcept {
  std::free(p);
}

namespace storetest {
namespace {

using nvtest::globalError;

bool saysOutOfMemory(const std::string &msg, const char *fn) {
  return msg.find(fn) != std::string::npos && msg.find("out of memory") != std::string::npos;
}

// max x + y  s.t.  x + 2y <= 4,  3x + y <= 6,  x, y >= 0: optimum 2.8 at (1.6, 1.2); with x
// and y integer the optimum is 2.
void loadSmallLp(NVRLprob p) {
  ASSERT_EQ(NVRLloadlp(p, "small", 2, 2, chars('L', 'L'), dbls(4, 6), nullptr, dbls(1, 1),
                       ints(0, 2, 4), nullptr, ints(0, 1, 0, 1), dbls(1, 3, 2, 1), dbls(0, 0),
                       dbls(1e20, 1e20)),
            0)
      << lastError(p);
  ASSERT_EQ(NVRLchgobjsense(p, -1), 0);
  ASSERT_EQ(NVRLsetintcontrol(p, nvrl::id::kLogLevel, 0), 0);
  ASSERT_EQ(NVRLsetintcontrol(p, nvrl::id::kThreads, 1), 0);
}

void makeIntegral(NVRLprob p) { ASSERT_EQ(NVRLchgcoltype(p, 2, ints(0, 1), chars('I', 'I')), 0); }

std::string g_mps, g_lp, g_written, g_svf, g_slx;

// One entry point under test: `call` is what runs with allocations failing, `prepare` builds
// the problem it starts from (outside any injection; the rich model unless given), `after`
// checks a problem that has been through a failed run still works.
class AllocFailure;
void rich(AllocFailure &t);
struct Case {
  const char *label;
  const char *fn;  // the entry point named in the message
  std::function<int(AllocFailure &)> call;
  std::function<void(AllocFailure &)> prepare = rich;
  std::function<void(AllocFailure &)> after = nullptr;
  long ends = 400;  // see allocationsToFail()
};

class AllocFailure : public StoreTest, public ::testing::WithParamInterface<Case> {
 protected:
  static void SetUpTestSuite() {
    ASSERT_EQ(NVRLinit(nullptr), 0);
    NVRLprob p = nullptr;
    ASSERT_EQ(NVRLcreateprob(&p), 0);
    loadSmallLp(p);
    makeIntegral(p);
    // ctest runs each case in its own process, several at once: each needs its own files.
    const std::string stem = ::testing::TempDir() + "alloc_" + std::to_string(getpid());
    g_mps = stem + "_small.mps";
    g_lp = stem + "_small.lp";
    g_written = stem + "_written.lp";
    g_svf = stem + "_saved.svf";
    g_slx = stem + "_solution.slx";
    ASSERT_EQ(NVRLwriteprob(p, g_mps.c_str(), ""), 0);
    ASSERT_EQ(NVRLwriteprob(p, g_lp.c_str(), "l"), 0);
    NVRLdestroyprob(p);
    NVRLfree();
  }
  static void TearDownTestSuite() {
    std::remove(g_mps.c_str());
    std::remove(g_lp.c_str());
    std::remove(g_written.c_str());
    std::remove(g_svf.c_str());
    std::remove(g_slx.c_str());
  }

  void TearDown() override {
    if (other) NVRLdestroyprob(other);
    StoreTest::TearDown();
  }

 public:
  using StoreTest::prob;
  void rich() { buildRichModel(); }
  NVRLprob other = nullptr;
};

// The allocations to fail: all of them for a call that makes a few hundred; for a solve,
// which makes thousands inside HiGHS, all of the engine's own before and after the run and a
// sample of those in between.
std::vector<long> allocationsToFail(long total, long kEnds) {
  const long kSamples = kEnds / 4;
  std::vector<long> ns;
  if (total <= 2 * kEnds + kSamples) {
    for (long n = 1; n <= total; ++n) ns.push_back(n);
    return ns;
  }
  for (long n = 1; n <= kEnds; ++n) ns.push_back(n);
  for (long k = 1; k < kSamples; ++k) ns.push_back(kEnds + k * (total - 2 * kEnds) / kSamples);
  for (long n = total - kEnds + 1; n <= total; ++n) ns.push_back(n);
  return ns;
}

TEST_P(AllocFailure, EveryFailedAllocationLeavesTheProblemAsItWas) {
  const Case &c = GetParam();
  auto fresh = [&] {
    NVRLdestroyprob(prob);
    ASSERT_EQ(NVRLcreateprob(&prob), 0);
    ASSERT_NO_FATAL_FAILURE(c.prepare(*this));
  };
  // A clean run first, counting the allocations.
  ASSERT_NO_FATAL_FAILURE(fresh());
  long total;
  {
    Injection count(LONG_MAX);
    ASSERT_EQ(c.call(*this), 0) << lastError(prob);
    total = count.allocations();
  }
  ASSERT_GT(total, 0);

  long failures = 0;
  for (long n : allocationsToFail(total, c.ends)) {
    ASSERT_NO_FATAL_FAILURE(fresh());
    const Snapshot before = snapshot(prob);
    int rc;
    bool triggered;
    {
      Injection inject(n);
      rc = c.call(*this);
      triggered = inject.triggered();
    }
    if (!triggered || rc == 0) continue;  // a solve's count varies; HiGHS absorbs some failures
    ++failures;
    // Creation calls have no problem to record the failure on.
    const bool global = std::string(c.fn).find("createprob") != std::string::npos;
    const std::string msg = global ? globalError() : lastError(prob);
    ASSERT_TRUE(saysOutOfMemory(msg, c.fn)) << "allocation " << n << ": " << msg;
    ASSERT_TRUE(snapshot(prob) == before) << "allocation " << n << " changed the model";
    if (c.after) ASSERT_NO_FATAL_FAILURE(c.after(*this)) << "after allocation " << n;
  }
  EXPECT_GT(failures, 0);
  // And a normal call on a fresh problem still succeeds.
  ASSERT_NO_FATAL_FAILURE(fresh());
  EXPECT_EQ(c.call(*this), 0) << lastError(prob);
  if (c.after) c.after(*this);
}

// The problem still solves to the right optimum.
void solvesRight(AllocFailure &t, bool mip, double expected) {
  NVRLprob p = t.prob;
  ASSERT_EQ(mip ? NVRLmipoptimize(p, "") : NVRLlpoptimize(p, ""), 0) << lastError(p);
  double obj = 0;
  ASSERT_EQ(NVRLgetdblattrib(p, mip ? nvrl::id::kMipObjVal : nvrl::id::kLpObjVal, &obj), 0);
  EXPECT_NEAR(obj, expected, 1e-7);
}

void rich(AllocFailure &t) { t.rich(); }

// The rich model with a fifth column that nothing but the matrix and the quadratic objective
// use, so that it can be deleted.
void richPlusColumn(AllocFailure &t) {
  rich(t);
  ASSERT_EQ(NVRLaddcols64(t.prob, 1, 2, dbls(1), starts(0, 2), ints(0, 2), dbls(7, 8), dbls(0),
                          dbls(3)),
            0);
  ASSERT_EQ(NVRLchgqobj(t.prob, 0, 4, 0.5), 0);
  ASSERT_EQ(NVRLchgqobj(t.prob, 4, 4, 1.0), 0);
}

void small(AllocFailure &t) { loadSmallLp(t.prob); }

std::vector<Case> cases() {
  const auto lpAfter = [](AllocFailure &t) { solvesRight(t, false, 2.8); };
  return {
      {"createprob", "NVRLcreateprob",
       [](AllocFailure &) {
         NVRLprob q = nullptr;
         const int rc = NVRLcreateprob(&q);
         if (rc == 0) NVRLdestroyprob(q);
         return rc;
       }},
      {"copyprob", "NVRLcopyprob",
       [](AllocFailure &t) { return NVRLcopyprob(t.prob, t.other, "copied"); },
       [](AllocFailure &t) {
         rich(t);
         if (!t.other) {
           ASSERT_EQ(NVRLcreateprob(&t.other), 0);
           loadSmallLp(t.other);
         }
       }},
      {"loadlp64", "NVRLloadlp64",
       [](AllocFailure &t) {
         return NVRLloadlp64(t.prob, "loaded", 2, 2, chars('L', 'R'), dbls(4, 6), dbls(0, 2),
                             dbls(1, 1), starts(0, 2, 4), nullptr, ints(0, 1, 0, 1),
                             dbls(1, 3, 2, 1), dbls(0, 0), dbls(5, 5));
       }},
      {"addrows64", "NVRLaddrows64",
       [](AllocFailure &t) {
         return NVRLaddrows64(t.prob, 2, 3, chars('G', 'R'), dbls(1, 9), dbls(0, 3),
                              starts(0, 2, 3), ints(0, 3, 1), dbls(1, 2, 3));
       }},
      {"addcols64", "NVRLaddcols64",
       [](AllocFailure &t) {
         return NVRLaddcols64(t.prob, 2, 3, dbls(4, 5), starts(0, 2, 3), ints(0, 2, 1),
                              dbls(1, 2, 3), dbls(0, -1), dbls(1, 1));
       }},
      {"delrows", "NVRLdelrows",
       [](AllocFailure &t) { return NVRLdelrows(t.prob, 2, ints(2, 0)); }},
      {"delcols", "NVRLdelcols", [](AllocFailure &t) { return NVRLdelcols(t.prob, 1, ints(4)); },
       richPlusColumn},
      {"chgcoef", "NVRLchgcoef", [](AllocFailure &t) { return NVRLchgcoef(t.prob, 1, 0, 9.0); }},
      {"chgmqobj", "NVRLchgmqobj",  // drops (0,1), adds three entries
       [](AllocFailure &t) {
         return NVRLchgmqobj(t.prob, 4, ints(0, 2, 3, 1), ints(1, 2, 1, 3), dbls(0, 4, 5, 6));
       }},
      {"addqmatrix", "NVRLaddqmatrix64",  // row 2 has no quadratic part yet
       [](AllocFailure &t) {
         return NVRLaddqmatrix64(t.prob, 2, 3, ints(0, 2, 0), ints(1, 3, 1), dbls(1, 2, 3));
       }},
      {"addnames", "NVRLaddnames",
       [](AllocFailure &t) { return NVRLaddnames(t.prob, 1, "first\0cap\0third", 0, 2); }},
      {"readprob_mps", "NVRLreadprob",
       [](AllocFailure &t) { return NVRLreadprob(t.prob, g_mps.c_str(), ""); }},
      {"readprob_lp", "NVRLreadprob",
       [](AllocFailure &t) { return NVRLreadprob(t.prob, g_lp.c_str(), ""); }},
      {"writeprob", "NVRLwriteprob",
       [](AllocFailure &t) { return NVRLwriteprob(t.prob, g_written.c_str(), "l"); }, small},
      {"loadbasis", "NVRLloadbasis",
       [](AllocFailure &t) { return NVRLloadbasis(t.prob, ints(0, 0), ints(1, 1)); }, small,
       lpAfter},
      {"loadlpsol", "NVRLloadlpsol",
       [](AllocFailure &t) {
         int status = -1;
         return NVRLloadlpsol(t.prob, dbls(1, 1), dbls(1, 2), nullptr, nullptr, &status);
       },
       small, lpAfter},
      {"restore", "NVRLrestore",  // the rich model over the small one
       [](AllocFailure &t) { return NVRLrestore(t.prob, g_svf.c_str(), ""); },
       [](AllocFailure &t) {
         rich(t);
         ASSERT_EQ(NVRLsaveas(t.prob, g_svf.c_str()), 0) << lastError(t.prob);
         small(t);
       }},
      {"readslxsol", "NVRLreadslxsol",
       [](AllocFailure &t) { return NVRLreadslxsol(t.prob, g_slx.c_str(), ""); },
       [](AllocFailure &t) {
         small(t);
         ASSERT_EQ(NVRLlpoptimize(t.prob, ""), 0);
         ASSERT_EQ(NVRLwriteslxsol(t.prob, g_slx.c_str(), "sdr"), 0);
       },
       lpAfter},
      {"lpoptimize", "NVRLlpoptimize", [](AllocFailure &t) { return NVRLlpoptimize(t.prob, ""); },
       small, lpAfter},
      {"mipoptimize", "NVRLmipoptimize",
       [](AllocFailure &t) { return NVRLmipoptimize(t.prob, ""); },
       [](AllocFailure &t) {
         small(t);
         makeIntegral(t.prob);
       },
       [](AllocFailure &t) { solvesRight(t, true, 2.0); },
       80},  // a MIP solve takes long enough to sample more thinly
      {"nslp_createprob", "NSLPcreateprob",
       [](AllocFailure &t) {
         NSLPprob slp = nullptr;
         const int rc = NSLPcreateprob(&slp, &t.prob);
         t_injecting = false;  // the clean-up is not under test
         if (rc == 0) NSLPdestroyprob(slp);
         NSLPfree();
         return rc;
       },
       [](AllocFailure &t) {
         small(t);
         ASSERT_EQ(NSLPinit(nullptr), 0);
       }},
  };
}

INSTANTIATE_TEST_SUITE_P(EntryPoints, AllocFailure, ::testing::ValuesIn(cases()), nvtest::byLabel);

}  // namespace
}  // namespace storetest
