// Shared helpers of the problem file tests: files in the test's temporary directory and
// exact comparison of whole models.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "test_support.h"

namespace iotest {

inline std::string dataFile(const std::string &name) {
  return std::string(NVRL_DATA_DIR) + "/" + name;
}

inline std::string readBytes(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

inline void writeBytes(const std::string &path, const std::string &bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

using nvtest::sameBits;

// A fresh directory of the running test's own, removed with the fixture. The process id keeps
// concurrent runs of the same test (several builds) apart.
class TestDir {
 public:
  explicit TestDir(const std::string &prefix) {
    const auto *info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string leaf = std::string(info->test_suite_name()) + "_" + info->name();
    std::replace(leaf.begin(), leaf.end(), '/', '_');
    dir = std::filesystem::path(::testing::TempDir()) /
          (prefix + std::to_string(getpid()) + "_" + leaf);
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
  }
  ~TestDir() { std::filesystem::remove_all(dir); }
  std::string path(const std::string &leaf) const { return (dir / leaf).string(); }

  std::filesystem::path dir;
};

class FileTest : public nvtest::ProblemTest, public TestDir {
 protected:
  FileTest() : TestDir("nvrl_io_") {}

  std::string writeText(const std::string &leaf, const std::string &text) const {
    std::string p = path(leaf);
    std::ofstream(p, std::ios::binary) << text;
    return p;
  }

  // Reads text given as a file of the given leaf name; fails the test on an error.
  const nvrl::Model &load(const std::string &leaf, const std::string &text) {
    std::string p = writeText(leaf, text);
    EXPECT_EQ(NVRLreadprob(prob, p.c_str(), ""), 0) << lastError();
    return prob->model;
  }
};

// A file test whose solves log nothing.
class QuietFileTest : public FileTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(FileTest::SetUp());
    NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
  }
};

inline void expectSameModel(const nvrl::Model &a, const nvrl::Model &b,
                            bool compare_problem_name = true);

// A file that must fail to read: the line it names and the start of its message.
struct Malformed {
  const char *label;
  const char *text;
  int line;
  const char *message;
};


// Reads `good` (as a file named leaf) and then the malformed text as a file of the same
// extension: the read fails naming the file and line, and the model stays as it was.
class MalformedTest : public FileTest, public ::testing::WithParamInterface<Malformed> {
 protected:
  void check(const std::string &leaf, const std::string &good) {
    const Malformed &c = GetParam();
    load(leaf, good);
    const nvrl::Model before = prob->model;
    std::string p = writeText("bad" + leaf.substr(leaf.rfind('.')), c.text);
    EXPECT_NE(NVRLreadprob(prob, p.c_str(), ""), 0);
    std::string expected = p + ":" + std::to_string(c.line) + ": " + c.message;
    EXPECT_EQ(lastError().substr(0, expected.size()), expected) << lastError();
    expectSameModel(before, prob->model);
  }
};

// Entries of each row sorted by column: the order within a row carries no meaning.
inline std::vector<std::vector<std::pair<int, double>>> rowsOf(const nvrl::Model &m) {
  std::vector<std::vector<std::pair<int, double>>> rows(static_cast<size_t>(m.rows()));
  const nvrl::RowMatrix &mA = m.A.rows();
  for (int i = 0; i < m.rows(); ++i) {
    for (int64_t k = mA.start[i]; k < mA.start[i + 1]; ++k)
      rows[i].push_back({mA.col[k], mA.val[k]});
    std::sort(rows[i].begin(), rows[i].end());
  }
  return rows;
}

inline std::string nameOr(const std::vector<std::string> &names, int i, char prefix) {
  return names[i].empty() ? prefix + std::to_string(i + 1) : names[i];
}

// Every part of two models must agree exactly (names with their defaults applied).
inline void expectSameModel(const nvrl::Model &a, const nvrl::Model &b,
                            bool compare_problem_name) {
  if (compare_problem_name) EXPECT_EQ(a.name, b.name);
  EXPECT_EQ(a.objsense, b.objsense);
  EXPECT_EQ(a.objconst, b.objconst);
  ASSERT_EQ(a.cols(), b.cols());
  ASSERT_EQ(a.rows(), b.rows());
  EXPECT_EQ(a.obj, b.obj);
  EXPECT_EQ(a.lb, b.lb);
  EXPECT_EQ(a.ub, b.ub);
  EXPECT_EQ(a.coltype, b.coltype);
  EXPECT_EQ(a.limit, b.limit);
  EXPECT_EQ(a.rowtype, b.rowtype);
  EXPECT_EQ(a.rhs, b.rhs);
  EXPECT_EQ(a.range, b.range);
  EXPECT_EQ(rowsOf(a), rowsOf(b));
  EXPECT_EQ(a.qobj, b.qobj);
  EXPECT_EQ(a.qrows, b.qrows);
  ASSERT_EQ(a.nsets(), b.nsets());
  for (int k = 0; k < a.nsets(); ++k) {
    EXPECT_EQ(a.sets[k].type, b.sets[k].type);
    EXPECT_EQ(a.sets[k].cols, b.sets[k].cols);
    EXPECT_EQ(a.sets[k].refs, b.sets[k].refs);
    EXPECT_EQ(nameOr(a.setnames, k, 'S'), nameOr(b.setnames, k, 'S'));
  }
  EXPECT_EQ(a.indcol, b.indcol);
  EXPECT_EQ(a.indcomp, b.indcomp);
  for (int i = 0; i < a.rows(); ++i)
    EXPECT_EQ(nameOr(a.rownames, i, 'R'), nameOr(b.rownames, i, 'R'));
  for (int j = 0; j < a.cols(); ++j)
    EXPECT_EQ(nameOr(a.colnames, j, 'C'), nameOr(b.colnames, j, 'C'));
}

// The same model up to the numbering of columns, which are matched by name; row names are
// not compared (LP files may leave rows unnamed where MPS files cannot).
inline void expectSameModelByColumnName(const nvrl::Model &a, const nvrl::Model &b) {
  ASSERT_EQ(a.cols(), b.cols());
  std::map<std::string, int> in_a;
  for (int j = 0; j < a.cols(); ++j) in_a[a.colnames[j]] = j;
  std::vector<int> to_a(b.cols());
  for (int j = 0; j < b.cols(); ++j) {
    ASSERT_TRUE(in_a.count(b.colnames[j])) << b.colnames[j];
    to_a[j] = in_a[b.colnames[j]];
  }
  // b with its columns renumbered as in a.
  nvrl::Model m = b;
  for (int j = 0; j < b.cols(); ++j) {
    const int k = to_a[j];
    std::tie(m.obj[k], m.lb[k], m.ub[k], m.coltype[k], m.limit[k], m.colnames[k]) =
        std::tie(b.obj[j], b.lb[j], b.ub[j], b.coltype[j], b.limit[j], b.colnames[j]);
  }
  for (int &j : m.A.rowsToChange().col) j = to_a[j];
  for (auto &s : m.sets)
    for (int &j : s.cols) j = to_a[j];
  for (int &j : m.indcol) j = j < 0 ? j : to_a[j];
  const auto renumber = [&](const nvrl::QMatrix &q) {
    nvrl::QMatrix out;
    for (auto [ij, v] : q) out[std::minmax(to_a[ij.first], to_a[ij.second])] = v;
    return out;
  };
  m.qobj = renumber(b.qobj);
  for (auto &[row, q] : m.qrows) q = renumber(q);
  m.name = a.name;
  m.rownames = a.rownames;
  expectSameModel(a, m);
}

}  // namespace iotest
