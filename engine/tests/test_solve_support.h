// Shared helpers of the solver tests: a started library per test and a tiny model builder
// that writes the store directly (so the tests depend only on the store's layout).
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "core/ids.h"
#include "core/problem.h"
#include "nvrl.h"

namespace solvetest {

class SolveTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(NVRLinit(nullptr), 0);
    ASSERT_EQ(NVRLcreateprob(&prob), 0);
    NVRLsetintcontrol(prob, nvrl::id::kLogLevel, 0);
  }
  void TearDown() override {
    NVRLdestroyprob(prob);
    NVRLfree();
  }

  nvrl::Model &model() { return prob->model; }

  int col(double lb, double ub, double obj, char type = 'C', double limit = 0.0) {
    nvrl::Model &m = model();
    m.obj.push_back(obj);
    m.lb.push_back(lb);
    m.ub.push_back(ub);
    m.coltype.push_back(type);
    m.limit.push_back(limit);
    m.colnames.emplace_back();
    prob->modelChanged();
    return m.cols() - 1;
  }

  int row(char type, double rhs, std::vector<std::pair<int, double>> entries, double range = 0.0) {
    nvrl::Model &m = model();
    m.rowtype.push_back(type);
    m.rhs.push_back(rhs);
    m.range.push_back(range);
    m.rownames.emplace_back();
    m.indcol.push_back(-1);
    m.indcomp.push_back(0);
    for (auto &[c, v] : entries) {
      m.A.col.push_back(c);
      m.A.val.push_back(v);
    }
    m.A.start.push_back(static_cast<int64_t>(m.A.col.size()));
    prob->modelChanged();
    return m.rows() - 1;
  }

  // A market-split instance (4 rows, 30 binaries): sum_j a_ij x_j + s_i - t_i = b_i with
  // b_i = floor(sum_j a_ij / 2), minimise the total deviation s + t. x = 0 is feasible at
  // once, while closing the gap takes branch and bound far longer than these tests allow.
  void buildMarketSplit() {
    const int m = 4, n = 30;
    uint64_t seed = 12345;
    auto next = [&]() {
      seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
      return static_cast<int>((seed >> 33) % 100);
    };
    std::vector<std::vector<int>> a(m, std::vector<int>(n));
    for (auto &r : a)
      for (int &v : r) v = next();
    for (int j = 0; j < n; ++j) col(0, 1, 0, 'B');
    for (int i = 0; i < m; ++i) {
      const int s = col(0, 1e20, 1), t = col(0, 1e20, 1);
      std::vector<std::pair<int, double>> e;
      int sum = 0;
      for (int j = 0; j < n; ++j) {
        e.push_back({j, double(a[i][j])});
        sum += a[i][j];
      }
      e.push_back({s, 1});
      e.push_back({t, -1});
      row('E', sum / 2, e);
    }
  }

  void maximise() {
    model().objsense = -1;
    prob->modelChanged();
  }

  std::string lastError() {
    char msg[NVRL_MAXMESSAGELEN] = {0};
    NVRLgetlasterror(prob, msg);
    return msg;
  }

  int intAttr(int id) {
    int v = -1;
    EXPECT_EQ(NVRLgetintattrib(prob, id, &v), 0);
    return v;
  }
  double dblAttr(int id) {
    double v = 0;
    EXPECT_EQ(NVRLgetdblattrib(prob, id, &v), 0);
    return v;
  }

  std::vector<double> mipSolution() {
    std::vector<double> x(model().cols());
    EXPECT_EQ(NVRLgetmipsol(prob, x.data(), nullptr), 0) << lastError();
    return x;
  }

  NVRLprob prob = nullptr;
};

}  // namespace solvetest
