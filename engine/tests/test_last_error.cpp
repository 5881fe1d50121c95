// The three last-error getters (global, problem, nonlinear problem) share one contract: a
// bounded, terminated copy, the full length for a retry, optional outputs, and a failure that
// writes nothing for a bad buffer size or handle. Every case runs against each getter.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "nvrl.h"
#include "test_support.h"

namespace {

enum class Source { Global, Problem, Nonlinear };
struct Case {
  const char *label;
  Source source;
};

class LastError : public ::testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    ASSERT_EQ(0, NVRLinit(nullptr));
    ASSERT_EQ(0, NVRLcreateprob(&prob));
    if (source() != Source::Nonlinear) return;
    if (NSLPinit(nullptr) != 0) GTEST_SKIP() << "the nonlinear solver is not available";
    slp_started = true;
    ASSERT_EQ(0, NSLPcreateprob(&slp, &prob));
  }
  void TearDown() override {
    if (slp) NSLPdestroyprob(slp);
    if (slp_started) NSLPfree();
    if (prob) NVRLdestroyprob(prob);
    NVRLfree();
  }

  Source source() const { return GetParam().source; }
  const char *getterName() const {
    switch (source()) {
      case Source::Global: return "NVRL_ge_getlasterror";
      case Source::Problem: return "NVRLgetlasterror";
      case Source::Nonlinear: return "NSLPgetlasterror";
    }
    return "";
  }

  // The getter of this case, on the given handle (ignored by the global one).
  int getFrom(void *handle, int *code, char *msg, int maxbytes, int *nbytes) const {
    switch (source()) {
      case Source::Global: return NVRL_ge_getlasterror(code, msg, maxbytes, nbytes);
      case Source::Problem:
        return NVRLgetlasterror(static_cast<NVRLprob>(handle), code, msg, maxbytes, nbytes);
      case Source::Nonlinear:
        return NSLPgetlasterror(static_cast<NSLPprob>(handle), code, msg, maxbytes, nbytes);
    }
    return -1;
  }
  void *handle() const {
    return source() == Source::Nonlinear ? static_cast<void *>(slp) : static_cast<void *>(prob);
  }
  int get(int *code, char *msg, int maxbytes, int *nbytes) const {
    return getFrom(handle(), code, msg, maxbytes, nbytes);
  }

  // The whole message, read as a caller would: length first, then a buffer that fits.
  std::string whole() const {
    int nbytes = 0;
    EXPECT_EQ(0, get(nullptr, nullptr, 0, &nbytes));
    EXPECT_GE(nbytes, 1);
    std::string text(static_cast<size_t>(nbytes), 'z');
    EXPECT_EQ(0, get(nullptr, text.data(), nbytes, nullptr));
    EXPECT_EQ('\0', text.back());
    return text.substr(0, std::strlen(text.c_str()));
  }

  // Makes this case's source fail; returns a part of the message it must then hold. The
  // problem's is longer than NVRL_MAXMESSAGELEN, so that only a retry can read it whole.
  std::string fail() {
    switch (source()) {
      case Source::Global:
        EXPECT_NE(0, NVRLgetversion(nullptr));
        return "NVRLgetversion: null output buffer";
      case Source::Problem: {
        const std::string name(NVRL_MAXMESSAGELEN + 100, 'q');
        EXPECT_NE(0, NVRLgetcontrolinfo(prob, name.c_str(), nullptr, nullptr, nullptr));
        return name;
      }
      case Source::Nonlinear:
        EXPECT_NE(0, NSLPinterrupt(slp, 0));
        return "NSLPinterrupt: reason 0";
    }
    return "";
  }

  NVRLprob prob = nullptr;
  NSLPprob slp = nullptr;
  bool slp_started = false;
};

TEST_P(LastError, CopyIsCutAndTerminatedAndTheFullLengthAllowsARetry) {
  const std::string part = fail();
  const std::string text = whole();
  EXPECT_NE(std::string::npos, text.find(part)) << text;

  int code = 0, nbytes = 0;
  char small[16];
  std::memset(small, 'z', sizeof small);
  ASSERT_EQ(0, get(&code, small, 8, &nbytes));
  EXPECT_NE(0, code);
  EXPECT_EQ(static_cast<int>(text.size()) + 1, nbytes);
  EXPECT_EQ(text.substr(0, 7), std::string(small));
  EXPECT_EQ(std::string(8, 'z'), std::string(small + 8, 8));  // nothing past maxbytes
}

TEST_P(LastError, OutputsAreOptionalAndReadingKeepsTheError) {
  fail();
  const std::string text = whole();
  EXPECT_EQ(0, get(nullptr, nullptr, 0, nullptr));
  EXPECT_EQ(0, get(nullptr, nullptr, -1, nullptr));  // no buffer, nothing to bound
  char untouched[] = "abc";
  int nbytes = 0;
  EXPECT_EQ(0, get(nullptr, untouched, 0, &nbytes));
  EXPECT_STREQ("abc", untouched);
  EXPECT_EQ(static_cast<int>(text.size()) + 1, nbytes);
  EXPECT_EQ(text, whole());
}

TEST_P(LastError, NegativeSizeFailsWritingNothing) {
  fail();
  const std::string text = whole();
  char untouched[] = "abc";
  int code = -5, nbytes = -5;
  EXPECT_EQ(1, get(&code, untouched, -1, &nbytes));
  EXPECT_STREQ("abc", untouched);
  EXPECT_EQ(-5, code);
  EXPECT_EQ(-5, nbytes);
  EXPECT_EQ(std::string(getterName()) + ": negative buffer size -1", nvtest::globalError());
  // The object's own error is not replaced by the failed read.
  if (source() != Source::Global) EXPECT_EQ(text, whole());
}

// The problem getters: a fresh object's empty error, and handles they refuse.
class HandleLastError : public LastError {};

TEST_P(HandleLastError, FreshObjectHasNoError) {
  int code = -1, nbytes = 0;
  char msg[8] = "abc";
  ASSERT_EQ(0, get(&code, msg, sizeof msg, &nbytes));
  EXPECT_EQ(0, code);
  EXPECT_STREQ("", msg);
  EXPECT_EQ(1, nbytes);
}

TEST_P(HandleLastError, NullDeadOrForeignHandleFailsWritingNothing) {
  const std::string kind = source() == Source::Nonlinear ? "nonlinear problem" : "problem";
  char untouched[] = "abc";
  int code = -5, nbytes = -5;
  EXPECT_EQ(1, getFrom(nullptr, &code, untouched, sizeof untouched, &nbytes));
  EXPECT_EQ("Null " + kind + " handle", nvtest::globalError());

  // A handle of the other kind.
  NVRLprob other = nullptr;
  ASSERT_EQ(0, NVRLcreateprob(&other));
  NSLPprob other_slp = nullptr;
  if (source() == Source::Problem) {
    if (NSLPinit(nullptr) == 0) {
      slp_started = true;
      ASSERT_EQ(0, NSLPcreateprob(&other_slp, &other));
      EXPECT_EQ(1, getFrom(other_slp, &code, untouched, sizeof untouched, &nbytes));
      EXPECT_EQ("Invalid or destroyed problem handle", nvtest::globalError());
      NSLPdestroyprob(other_slp);
    }
  } else {
    EXPECT_EQ(1, getFrom(other, &code, untouched, sizeof untouched, &nbytes));
    EXPECT_EQ("Invalid or destroyed nonlinear problem handle", nvtest::globalError());
  }
  NVRLdestroyprob(other);

  void *dead = handle();
  if (source() == Source::Nonlinear) {
    ASSERT_EQ(0, NSLPdestroyprob(slp));
    slp = nullptr;
  } else {
    ASSERT_EQ(0, NVRLdestroyprob(prob));
    prob = nullptr;
  }
  EXPECT_EQ(1, getFrom(dead, &code, untouched, sizeof untouched, &nbytes));
  EXPECT_EQ("Invalid or destroyed " + kind + " handle", nvtest::globalError());
  EXPECT_STREQ("abc", untouched);
  EXPECT_EQ(-5, code);
  EXPECT_EQ(-5, nbytes);
}

const Case kAll[] = {{"global", Source::Global},
                     {"problem", Source::Problem},
                     {"nonlinear", Source::Nonlinear}};
const Case kHandles[] = {{"problem", Source::Problem}, {"nonlinear", Source::Nonlinear}};

INSTANTIATE_TEST_SUITE_P(Getters, LastError, ::testing::ValuesIn(kAll), nvtest::byLabel);
INSTANTIATE_TEST_SUITE_P(Getters, HandleLastError, ::testing::ValuesIn(kHandles),
                         nvtest::byLabel);

}  // namespace
