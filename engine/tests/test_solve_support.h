// Shared helpers of the solver tests: a started library per test with a quiet log, and the
// model builders of test_support.h (which write the store directly, so the tests depend
// only on the store's layout).
#pragma once

#include <vector>

#include "test_support.h"

namespace solvetest {

class SolveTest : public nvtest::ProblemTest {
 protected:
  void SetUp() override {
    ProblemTest::SetUp();
    NVRLsetintcontrol(prob, nvrl::id::kLogLevel, 0);
  }

  std::vector<double> mipSolution() {
    std::vector<double> x(model().cols());
    EXPECT_EQ(NVRLgetmipsol(prob, x.data(), nullptr), 0) << lastError();
    return x;
  }
};

}  // namespace solvetest
