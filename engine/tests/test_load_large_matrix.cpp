// Column-wise input small enough for the direct transposition and large enough for the
// two-pass one over blocks of rows: the loaded rows, and the rows after adding as many
// columns again, must be the sums of the entries given, without zeros.
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "test_store_support.h"

namespace storetest {
namespace {

struct Shape {
  const char *label;
  int nrows, ncols, per_col;
};

void PrintTo(const Shape &s, std::ostream *os) { *os << s.label; }

// Columns with explicit zeros, repeats that sum and pairs that cancel; `sum` collects what
// the store must hold, by (row, column + first_col).
Sparse randomColumns(const Shape &sh, unsigned seed, int first_col,
                     std::map<std::pair<int, int>, double> &sum) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> row(0, sh.nrows - 1), kind(0, 9);
  Sparse in{{0}, {}, {}};
  auto add = [&](int r, int j, double v) {
    in.idx.push_back(r);
    in.val.push_back(v);
    sum[{r, first_col + j}] += v;
  };
  for (int j = 0; j < sh.ncols; ++j) {
    for (int k = 0; k < sh.per_col; ++k) {
      const int r = row(rng), what = kind(rng);
      add(r, j, what == 0 ? 0.0 : what == 1 ? 2.5 : what - 4.75);
      if (what == 1) add(r, j, -2.5);
      if (what == 2) add(r, j, 1.0);
    }
    in.start.push_back(static_cast<NVRLint64>(in.idx.size()));
  }
  return in;
}

Sparse rowsOf(const std::map<std::pair<int, int>, double> &sum, int nrows) {
  Sparse s{std::vector<NVRLint64>(nrows + 1, 0), {}, {}};
  for (const auto &[rc, v] : sum) {
    if (v == 0.0) continue;
    ++s.start[rc.first + 1];
    s.idx.push_back(rc.second);
    s.val.push_back(v);
  }
  for (int r = 0; r < nrows; ++r) s.start[r + 1] += s.start[r];
  return s;
}

class LargeMatrix : public StoreTest, public ::testing::WithParamInterface<Shape> {};

TEST_P(LargeMatrix, RowsAreTheSumsOfTheColumnsLoadedAndAdded) {
  const Shape &sh = GetParam();
  std::map<std::pair<int, int>, double> sum;
  const Sparse first = randomColumns(sh, 7, 0, sum);
  const std::vector<char> rowtype(sh.nrows, 'L');
  ASSERT_EQ(NVRLloadlp64(prob, "big", sh.ncols, sh.nrows, rowtype.data(), nullptr, nullptr,
                         nullptr, first.start.data(), nullptr, first.idx.data(),
                         first.val.data(), nullptr, nullptr),
            0)
      << lastError(prob);
  EXPECT_EQ(rows(prob, 0, sh.nrows - 1), rowsOf(sum, sh.nrows));
  const Sparse more = randomColumns(sh, 11, sh.ncols, sum);
  ASSERT_EQ(NVRLaddcols64(prob, sh.ncols, more.start.back(), nullptr, more.start.data(),
                          more.idx.data(), more.val.data(), nullptr, nullptr),
            0)
      << lastError(prob);
  EXPECT_EQ(rows(prob, 0, sh.nrows - 1), rowsOf(sum, sh.nrows));
}

// The direct path; blocks of some thousand rows; blocks of 65536 rows, the most that a row's
// 16-bit place in its block can tell apart; and few rows, one per block, each block far
// larger than intended.
INSTANTIATE_TEST_SUITE_P(Store, LargeMatrix,
                         ::testing::Values(Shape{"small", 300, 200, 4},
                                           Shape{"blocked", 40000, 30000, 8},
                                           Shape{"many_rows", 1000000, 14000, 10},
                                           Shape{"few_rows", 5, 40000, 6}),
                         [](const ::testing::TestParamInfo<Shape> &i) { return i.param.label; });

}  // namespace
}  // namespace storetest
