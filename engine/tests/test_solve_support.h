// Shared helpers of the solver tests: a started library per test with a quiet log, and the
// model builders of test_support.h (which write the store directly, so the tests depend
// only on the store's layout).
#pragma once

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <vector>

#include "test_support.h"

namespace solvetest {

// A small deterministic generator for the randomised tests: the same instances on every
// platform and standard library (std::uniform_real_distribution is not portable).
class Rng {
 public:
  explicit Rng(uint64_t seed, uint64_t salt = 1) : s_(seed * 2654435761ULL + salt) {}
  double uniform(double lo, double hi) {
    s_ = s_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return lo + (hi - lo) * static_cast<double>(s_ >> 11) / 9007199254740992.0;
  }
  int integer(int lo, int hi) { return lo + static_cast<int>(uniform(0, hi - lo + 1 - 1e-9)); }

 private:
  uint64_t s_;
};

class SolveTest : public nvtest::ProblemTest {
 protected:
  void SetUp() override {
    ProblemTest::SetUp();
    NVRLsetintcontrol(prob, nvrl::id::kLogLevel, 0);
  }

  // Quadratic part of a row, as the C API's triplets give it: (i, j, v) with i != j is the
  // term 2v*x_i*x_j, (i, i, v) the term v*x_i^2.
  void qrow(int r, std::vector<std::tuple<int, int, double>> entries) {
    for (auto &[i, j, v] : entries) model().qrows[r][{std::min(i, j), std::max(i, j)}] = v;
    prob->modelChanged();
  }
  // Quadratic objective entries: (i, j, v), i != j: v*x_i*x_j; (i, i, v): v/2*x_i^2.
  void qobj(std::vector<std::tuple<int, int, double>> entries) {
    for (auto &[i, j, v] : entries) model().qobj[{std::min(i, j), std::max(i, j)}] = v;
    prob->modelChanged();
  }
  // Rosen-Suzuki (Hock-Schittkowski 43): a convex quadratic objective and three convex
  // quadratic 'L' rows on four free columns; optimum -44 at (0, 1, 2, -1).
  void rosenSuzuki() {
    const double kFree = 1e20;
    const double c[] = {-5, -5, -21, 7};
    for (int j = 0; j < 4; ++j) col(-kFree, kFree, c[j]);
    qobj({{0, 0, 2}, {1, 1, 2}, {2, 2, 4}, {3, 3, 2}});
    int r = row('L', 8, {{0, 1}, {1, -1}, {2, 1}, {3, -1}});
    qrow(r, {{0, 0, 1}, {1, 1, 1}, {2, 2, 1}, {3, 3, 1}});
    r = row('L', 10, {{0, -1}, {3, -1}});
    qrow(r, {{0, 0, 1}, {1, 1, 2}, {2, 2, 1}, {3, 3, 2}});
    r = row('L', 5, {{0, 2}, {1, -1}, {3, -1}});
    qrow(r, {{0, 0, 2}, {1, 1, 1}, {2, 2, 1}});
  }

  std::vector<double> mipSolution() {
    std::vector<double> x(model().cols());
    EXPECT_EQ(NVRLgetmipsol(prob, x.data(), nullptr), 0) << lastError();
    return x;
  }
};

}  // namespace solvetest
