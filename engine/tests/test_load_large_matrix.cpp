// Matrices large enough for the store's two-pass (blocked) transposition, next to small ones
// that take the direct path: loaded, added as columns and added as rows, the rows the store
// reports must be the sums of the entries given, without zeros, for every shape.
#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "test_store_support.h"

namespace storetest {
namespace {

// Column-wise input with repeated entries, explicit zeros and pairs that cancel.
struct ColumnInput {
  int nrows = 0, ncols = 0;
  std::vector<NVRLint64> start{0};
  std::vector<int> rowind;
  std::vector<double> coef;
};

ColumnInput randomColumns(int nrows, int ncols, int per_col, unsigned seed) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> row(0, nrows - 1), kind(0, 19), value(-3, 3);
  ColumnInput in;
  in.nrows = nrows;
  in.ncols = ncols;
  for (int j = 0; j < ncols; ++j) {
    for (int k = 0; k < per_col; ++k) {
      const int r = row(rng);
      const int what = kind(rng);
      in.rowind.push_back(r);
      if (what == 0) {
        in.coef.push_back(0.0);  // an explicit zero
      } else if (what == 1) {
        in.coef.push_back(2.5);  // a pair that cancels
        in.rowind.push_back(r);
        in.coef.push_back(-2.5);
      } else if (what == 2) {
        in.coef.push_back(1.0);  // a repeat that sums
        in.rowind.push_back(r);
        in.coef.push_back(value(rng) + 0.5);
      } else {
        in.coef.push_back(value(rng) + 0.25);
      }
    }
    in.start.push_back(static_cast<NVRLint64>(in.rowind.size()));
  }
  return in;
}

// The rows of `in` (its columns shifted by first_col) as the store must hold them.
Sparse expectedRows(const ColumnInput &in, int first_col = 0) {
  std::map<std::pair<int, int>, double> sum;
  for (int j = 0; j < in.ncols; ++j)
    for (NVRLint64 e = in.start[j]; e < in.start[j + 1]; ++e)
      sum[{in.rowind[e], first_col + j}] += in.coef[e];
  Sparse s;
  s.start.assign(in.nrows + 1, 0);
  for (const auto &[rc, v] : sum) {
    if (v == 0.0) continue;
    ++s.start[rc.first + 1];
    s.idx.push_back(rc.second);
    s.val.push_back(v);
  }
  for (int r = 0; r < in.nrows; ++r) s.start[r + 1] += s.start[r];
  return s;
}

// The store's rows with each row's entries in column order (their order is not specified).
Sparse sortedRows(NVRLprob prob, int nrows) {
  Sparse s = rows(prob, 0, nrows - 1);
  for (int r = 0; r < nrows; ++r) {
    std::vector<std::pair<int, double>> entries;
    for (NVRLint64 k = s.start[r]; k < s.start[r + 1]; ++k)
      entries.emplace_back(s.idx[k], s.val[k]);
    std::sort(entries.begin(), entries.end());
    for (size_t k = 0; k < entries.size(); ++k) {
      s.idx[s.start[r] + k] = entries[k].first;
      s.val[s.start[r] + k] = entries[k].second;
    }
  }
  return s;
}

struct Shape {
  const char *label;
  int nrows, ncols, per_col;
};

// The direct path; blocks of some thousand rows; blocks of 65536 rows, the most that a row's
// 16-bit place in its block can tell apart; and few rows, one per block, each block far
// larger than intended.
const Shape kShapes[] = {
    {"small", 300, 200, 4},
    {"blocked", 40000, 30000, 8},
    {"many_rows", 1000000, 14000, 10},
    {"few_rows", 5, 40000, 6},
};

void PrintTo(const Shape &s, std::ostream *os) { *os << s.label; }

class LargeMatrix : public StoreTest, public ::testing::WithParamInterface<Shape> {};

TEST_P(LargeMatrix, LoadedRowsAreTheSumsOfTheColumnsGiven) {
  const Shape &sh = GetParam();
  const ColumnInput in = randomColumns(sh.nrows, sh.ncols, sh.per_col, 7);
  const std::vector<char> rowtype(sh.nrows, 'L');
  ASSERT_EQ(NVRLloadlp64(prob, "big", sh.ncols, sh.nrows, rowtype.data(), nullptr, nullptr,
                         nullptr, in.start.data(), nullptr, in.rowind.data(), in.coef.data(),
                         nullptr, nullptr),
            0)
      << lastError(prob);
  const Sparse want = expectedRows(in);
  EXPECT_EQ(sortedRows(prob, sh.nrows), want);
  EXPECT_EQ(intAttr(prob, nvrl::id::kElems), static_cast<int>(want.idx.size()));
}

TEST_P(LargeMatrix, AddedColumnsAndRowsJoinTheLoadedOnes) {
  const Shape &sh = GetParam();
  const ColumnInput first = randomColumns(sh.nrows, sh.ncols, sh.per_col, 11);
  const ColumnInput more = randomColumns(sh.nrows, sh.ncols / 2 + 1, sh.per_col, 13);
  const std::vector<char> rowtype(sh.nrows, 'G');
  ASSERT_EQ(NVRLloadlp64(prob, "big", sh.ncols, sh.nrows, rowtype.data(), nullptr, nullptr,
                         nullptr, first.start.data(), nullptr, first.rowind.data(),
                         first.coef.data(), nullptr, nullptr),
            0)
      << lastError(prob);
  ASSERT_EQ(NVRLaddcols64(prob, more.ncols, more.start.back(), nullptr, more.start.data(),
                          more.rowind.data(), more.coef.data(), nullptr, nullptr),
            0)
      << lastError(prob);
  // The rows again, given row-wise as new rows over all columns: the store holds them twice.
  ColumnInput all = first;
  all.ncols = first.ncols + more.ncols;
  for (int j = 0; j < more.ncols; ++j) {
    all.rowind.insert(all.rowind.end(), more.rowind.begin() + more.start[j],
                      more.rowind.begin() + more.start[j + 1]);
    all.coef.insert(all.coef.end(), more.coef.begin() + more.start[j],
                    more.coef.begin() + more.start[j + 1]);
    all.start.push_back(static_cast<NVRLint64>(all.rowind.size()));
  }
  const Sparse want = expectedRows(all);
  ASSERT_EQ(sortedRows(prob, sh.nrows), want);
  const std::vector<char> newtype(sh.nrows, 'L');
  const std::vector<double> rhs(sh.nrows, 1.0);
  ASSERT_EQ(NVRLaddrows64(prob, sh.nrows, want.start.back(), newtype.data(), rhs.data(),
                          nullptr, want.start.data(), want.idx.data(), want.val.data()),
            0)
      << lastError(prob);
  const Sparse twice = sortedRows(prob, 2 * sh.nrows);
  EXPECT_EQ(twice.start.back(), 2 * want.start.back());
  for (int half = 0; half < 2; ++half) {
    const NVRLint64 base = half * want.start.back();
    for (int r = 0; r < sh.nrows; ++r)
      ASSERT_EQ(twice.start[half * sh.nrows + r], base + want.start[r]) << "row " << r;
    EXPECT_TRUE(std::equal(want.idx.begin(), want.idx.end(), twice.idx.begin() + base));
    EXPECT_TRUE(std::equal(want.val.begin(), want.val.end(), twice.val.begin() + base));
  }
}

INSTANTIATE_TEST_SUITE_P(Store, LargeMatrix, ::testing::ValuesIn(kShapes),
                         [](const ::testing::TestParamInfo<Shape> &i) { return i.param.label; });

}  // namespace
}  // namespace storetest
