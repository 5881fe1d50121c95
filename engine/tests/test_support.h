// Shared by the engine's tests: a started library with one problem per test, the last
// errors, typed attribute reads, and writers of small models straight into the store.
#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "core/ids.h"
#include "core/problem.h"
#include "nvrl.h"

namespace nvtest {

inline std::string lastError(NVRLprob prob) {
  char msg[NVRL_MAXMESSAGELEN] = {};
  NVRLgetlasterror(prob, nullptr, msg, sizeof msg, nullptr);
  return msg;
}

inline std::string slpError(NSLPprob slp) {
  char msg[NVRL_MAXMESSAGELEN] = {};
  NSLPgetlasterror(slp, nullptr, msg, sizeof msg, nullptr);
  return msg;
}

// An attribute of a nonlinear problem; a failed read is a test failure (and reads as -99/NaN).
inline int slpIntAttr(NSLPprob slp, int id) {
  int v = -99;
  EXPECT_EQ(0, NSLPgetintattrib(slp, id, &v)) << id;
  return v;
}

inline double slpDblAttr(NSLPprob slp, int id) {
  double v = NAN;
  EXPECT_EQ(0, NSLPgetdblattrib(slp, id, &v)) << id;
  return v;
}

inline std::string globalError() {
  char msg[1024] = {};
  EXPECT_EQ(0, NVRL_ge_getlasterror(nullptr, msg, sizeof msg, nullptr));
  return msg;
}

// A parameter's text as a test name: every character but letters and digits becomes '_'.
inline std::string testName(std::string text) {
  for (char &c : text)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return text;
}

// The instances of the shared data set with the outcome optima.csv records for each.
struct DataInstance {
  std::string file, kind, status;  // kind "lp" or "mip"; status "optimal", "infeasible", ...
  double objective = NAN;
};

inline std::vector<DataInstance> dataInstances() {
  std::vector<DataInstance> out;
  std::ifstream in(std::string(NVRL_DATA_DIR) + "/optima.csv");
  std::string line, obj;
  std::getline(in, line);  // header
  while (std::getline(in, line)) {
    if (line.empty()) continue;
    std::stringstream ss(line);
    DataInstance d;
    std::getline(ss, d.file, ',');
    std::getline(ss, d.kind, ',');
    std::getline(ss, d.status, ',');
    std::getline(ss, obj, ',');
    if (!obj.empty()) d.objective = std::stod(obj);
    out.push_back(d);
  }
  return out;
}

// A file generated from the registry (or its block between the lines `begin` and `end`) must
// be what the registry gives now; with NVRL_UPDATE_DOCS=1 it is rewritten instead.
inline void expectGenerated(const std::string &path, const std::string &expected,
                            const char *begin = nullptr, const char *end = nullptr) {
  std::stringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  std::string file = text.str();
  size_t from = 0, to = file.size();
  if (begin) {
    from = file.find(begin);
    to = file.find(end);
    ASSERT_NE(from, std::string::npos) << path << " lacks the line " << begin;
    ASSERT_NE(to, std::string::npos) << path << " lacks the line " << end;
    ASSERT_LT(from, to);
    from += std::strlen(begin);
  }
  if (const char *update = std::getenv("NVRL_UPDATE_DOCS"); update && *update == '1') {
    std::ofstream(path, std::ios::binary) << file.replace(from, to - from, expected);
    return;
  }
  EXPECT_TRUE(file.substr(from, to - from) == expected)
      << path << " differs from the registry; run with NVRL_UPDATE_DOCS=1 to regenerate it";
}

inline bool sameBits(const std::vector<double> &a, const std::vector<double> &b) {
  // An empty vector may hold no buffer, and memcmp must not see a null pointer even for 0 bytes.
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}
inline bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Each element of got within tol of want's; a failure names the element.
inline void expectNear(const std::vector<double> &want, const std::vector<double> &got,
                       double tol) {
  ASSERT_EQ(want.size(), got.size());
  for (size_t i = 0; i < want.size(); ++i) EXPECT_NEAR(want[i], got[i], tol) << "element " << i;
}

// Names parametrised tests after the label of their case.
inline auto byLabel = [](const auto &info) { return std::string(info.param.label); };

inline int intAttr(NVRLprob prob, int id) {
  int v = -1;
  EXPECT_EQ(NVRLgetintattrib(prob, id, &v), 0) << id << ": " << lastError(prob);
  return v;
}

inline double dblAttr(NVRLprob prob, int id) {
  double v = -1;
  EXPECT_EQ(NVRLgetdblattrib(prob, id, &v), 0) << id << ": " << lastError(prob);
  return v;
}

// Argument arrays written in the call: ints(0, 3) passes {0, 3} as a const int *. The array
// is a temporary, so it lives until the call returns.
template <class T, size_t N>
struct Args {
  T v[N];
  operator const T *() const { return v; }
};
template <class... V>
Args<int, sizeof...(V)> ints(V... v) { return {{static_cast<int>(v)...}}; }
template <class... V>
Args<double, sizeof...(V)> dbls(V... v) { return {{static_cast<double>(v)...}}; }
template <class... V>
Args<char, sizeof...(V)> chars(V... v) { return {{static_cast<char>(v)...}}; }
template <class... V>
Args<NVRLint64, sizeof...(V)> starts(V... v) { return {{static_cast<NVRLint64>(v)...}}; }

class ProblemTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(NVRLinit(nullptr), 0);
    ASSERT_EQ(NVRLcreateprob(&prob), 0);
  }
  void TearDown() override {
    NVRLdestroyprob(prob);
    NVRLfree();
  }

  // Both forms, so that tests may ask about this problem or any other.
  static std::string lastError(NVRLprob p) { return nvtest::lastError(p); }
  std::string lastError() const { return lastError(prob); }
  static int intAttr(NVRLprob p, int id) { return nvtest::intAttr(p, id); }
  int intAttr(int id) const { return intAttr(prob, id); }
  static double dblAttr(NVRLprob p, int id) { return nvtest::dblAttr(p, id); }
  double dblAttr(int id) const { return dblAttr(prob, id); }

  nvrl::Model &model() { return prob->model; }

  int col(double lb, double ub, double obj, char type = 'C', double limit = 0.0,
          std::string name = {}) {
    nvrl::Model &m = model();
    m.obj.push_back(obj);
    m.lb.push_back(lb);
    m.ub.push_back(ub);
    m.coltype.push_back(type);
    m.limit.push_back(limit);
    m.colnames.push_back(std::move(name));
    prob->modelChanged();
    return m.cols() - 1;
  }

  int row(char type, double rhs, std::vector<std::pair<int, double>> entries, double range = 0.0,
          std::string name = {}) {
    nvrl::Model &m = model();
    m.rowtype.push_back(type);
    m.rhs.push_back(rhs);
    m.range.push_back(range);
    m.rownames.push_back(std::move(name));
    m.indcol.push_back(-1);
    m.indcomp.push_back(0);
    nvrl::RowMatrix &A = m.A.rowsToChange();
    for (auto &[c, v] : entries) {
      A.col.push_back(c);
      A.val.push_back(v);
    }
    A.start.push_back(static_cast<int64_t>(A.col.size()));
    prob->modelChanged();
    return m.rows() - 1;
  }

  void maximise() {
    model().objsense = -1;
    prob->modelChanged();
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

  NVRLprob prob = nullptr;
};

// A nonlinear problem stacked on an optimiser problem, with both solvers started. load()
// gives the optimiser problem columns named x, y, z, ... and rows without coefficients.
class SlpHandleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(0, NVRLinit(nullptr));
    ASSERT_EQ(0, NSLPinit(nullptr));
    ASSERT_EQ(0, NVRLcreateprob(&prob_));
    ASSERT_EQ(0, NSLPcreateprob(&slp_, &prob_));
  }
  void TearDown() override {
    NSLPdestroyprob(slp_);
    NVRLdestroyprob(prob_);
    NSLPfree();
    NVRLfree();
  }
  void load(std::vector<char> rowtypes, std::vector<double> rhs, std::vector<double> lb,
            std::vector<double> ub) {
    const int ncols = static_cast<int>(lb.size()), nrows = static_cast<int>(rowtypes.size());
    std::vector<double> obj(ncols, 0.0);
    std::vector<int> start(ncols + 1, 0);
    ASSERT_EQ(0, NVRLloadlp(prob_, "t", ncols, nrows, rowtypes.data(), rhs.data(), nullptr,
                            obj.data(), start.data(), nullptr, nullptr, nullptr, lb.data(),
                            ub.data()));
    std::string names;
    for (int j = 0; j < ncols; ++j) names += std::string(1, char('x' + j)) + '\0';
    ASSERT_EQ(0, NVRLaddnames(prob_, 2, names.c_str(), 0, ncols - 1));
  }
  std::string error() const { return nvtest::slpError(slp_); }
  int intAttr(int id) {
    int v = -99;
    EXPECT_EQ(0, NSLPgetintattrib(slp_, id, &v)) << id << " " << error();
    return v;
  }
  NVRLprob prob_ = nullptr;
  NSLPprob slp_ = nullptr;
};

}  // namespace nvtest
