// A model loaded by columns is kept column-wise until something asks for its rows. Whatever
// is asked or changed first, it must answer as the same model built row by row does; and a
// refused load must leave it as it was, rows never built or not.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "test_io_support.h"
#include "test_store_support.h"

namespace storetest {
namespace {

constexpr int kRows = 7, kCols = 9;
const char kRowType[kRows] = {'L', 'G', 'E', 'R', 'L', 'G', 'N'};
// x = 0 satisfies every row, and the columns are bounded: each LP has an optimum.
const double kRhs[kRows] = {8, -3, 0, 6, 5, -9, 0};
const double kRange[kRows] = {0, 0, 0, 8, 0, 0, 0};

// Column-wise entries in scrambled row order, with explicit zeros, repeats that sum and pairs
// that cancel; `sum` is what the store must hold, by (row, column). Values are multiples of
// 1/4, so sums are exact in any order.
struct ColumnInput {
  std::vector<NVRLint64> start{0};
  std::vector<int> idx;
  std::vector<double> val;
  std::map<std::pair<int, int>, double> sum;
};

ColumnInput scrambledColumns(unsigned seed, int first_col = 0) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> row(0, kRows - 1), kind(0, 9), len(0, 6);
  ColumnInput in;
  for (int j = 0; j < kCols; ++j) {
    std::vector<std::pair<int, double>> col;
    for (int k = len(rng); k > 0; --k) {
      const int r = row(rng), what = kind(rng);
      col.push_back({r, what == 0 ? 0.0 : what * 0.75 - 3.0});
      if (what == 1) col.push_back({r, 2.25});   // cancels the 0.75 - 3.0 above
      if (what == 2) col.push_back({r, 1.0});    // sums with it
    }
    std::shuffle(col.begin(), col.end(), rng);
    for (auto [r, v] : col) {
      in.idx.push_back(r);
      in.val.push_back(v);
      in.sum[{r, first_col + j}] += v;
    }
    in.start.push_back(static_cast<NVRLint64>(in.idx.size()));
  }
  return in;
}

const double kObj[kCols] = {-1, 0, 1, -1, 0, 1, -1, 0, 1};
const double kUb[kCols] = {1, 2, 3, 4, 5, 6, 7, 8, 9};

int loadColumns(NVRLprob p, const ColumnInput &in) {
  return NVRLloadlp64(p, "cols", kCols, kRows, kRowType, kRhs, kRange, kObj, in.start.data(),
                      nullptr, in.idx.data(), in.val.data(), nullptr, kUb);
}

// The same model, loaded without a matrix and given its rows (columns ascending) afterwards.
int loadRows(NVRLprob p, const ColumnInput &in) {
  if (int rc = NVRLloadlp64(p, "cols", kCols, 0, nullptr, nullptr, nullptr, kObj, nullptr, nullptr,
                            nullptr, nullptr, nullptr, kUb))
    return rc;
  std::vector<NVRLint64> start(kRows + 1, 0);
  std::vector<int> col;
  std::vector<double> val;
  for (const auto &[rc, v] : in.sum) {  // ordered by row, then column
    if (v == 0.0) continue;
    ++start[rc.first + 1];
    col.push_back(rc.second);
    val.push_back(v);
  }
  for (int r = 0; r < kRows; ++r) start[r + 1] += start[r];
  return NVRLaddrows64(p, kRows, start.back(), kRowType, kRhs, kRange, start.data(), col.data(),
                       val.data());
}

std::vector<double> coefficients(NVRLprob p) {
  const int nr = intAttr(p, nvrl::id::kRows), nc = intAttr(p, nvrl::id::kCols);
  std::vector<double> all;
  for (int r = 0; r < nr; ++r)
    for (int c = 0; c < nc; ++c) {
      double v = NAN;
      EXPECT_EQ(NVRLgetcoef(p, r, c, &v), 0) << lastError(p);
      all.push_back(v);
    }
  return all;
}

// What a change or a query does to both problems first.
struct FirstStep {
  const char *label;
  int (*apply)(NVRLprob);
};

void PrintTo(const FirstStep &s, std::ostream *os) { *os << s.label; }

int solveLp(NVRLprob p) {
  return NVRLlpoptimize(p, "");
}

const FirstStep kFirstSteps[] = {
    {"Nothing", +[](NVRLprob) { return 0; }},
    // Rows built before the column view is asked for: both forms are held from then on.
    {"RowsQueried", +[](NVRLprob p) { return rows(p, 0, kRows - 1).start.empty() ? 1 : 0; }},
    {"CoefficientsChanged",
     +[](NVRLprob p) {
       // One entry set, one new, one removed by a zero (the last given for a pair wins).
       return NVRLchgmcoef(p, 4, ints(0, 6, 3, 6), ints(8, 0, 2, 0), dbls(1.5, 2, 0, -7.25));
     }},
    {"RowsAdded",
     +[](NVRLprob p) {
       return NVRLaddrows64(p, 2, 4, chars('G', 'L'), dbls(-1, 9), nullptr, starts(0, 3),
                            ints(8, 0, 4, 2), dbls(1, -2, 3, 4.5));
     }},
    {"ColumnsAdded",
     +[](NVRLprob p) {
       const ColumnInput more = scrambledColumns(5, kCols);
       return NVRLaddcols64(p, kCols, more.start.back(), nullptr, more.start.data(),
                            more.idx.data(), more.val.data(), nullptr, nullptr);
     }},
    {"RowsDeleted", +[](NVRLprob p) { return NVRLdelrows(p, 2, ints(4, 1)); }},
    {"ColumnsDeleted", +[](NVRLprob p) { return NVRLdelcols(p, 3, ints(5, 0, 7)); }},
    {"Solved", solveLp},  // straight after the load, before any query builds the rows
};

class ColumnLoaded : public iotest::FileTest, public ::testing::WithParamInterface<FirstStep> {
 protected:
  void SetUp() override {
    iotest::FileTest::SetUp();
    ASSERT_EQ(NVRLcreateprob(&byrows), 0);
  }
  void TearDown() override {
    NVRLdestroyprob(byrows);
    iotest::FileTest::TearDown();
  }
  std::string written(NVRLprob p, const char *leaf, const char *flags) {
    const std::string file = path(leaf);
    EXPECT_EQ(NVRLwriteprob(p, file.c_str(), flags), 0) << lastError(p);
    return iotest::readBytes(file);
  }

  NVRLprob byrows = nullptr;
};

TEST_P(ColumnLoaded, AnswersAsTheModelBuiltByRows) {
  for (unsigned seed : {1u, 2u, 3u}) {
    SCOPED_TRACE(seed);
    const ColumnInput in = scrambledColumns(seed);
    ASSERT_EQ(loadColumns(prob, in), 0) << lastError(prob);
    ASSERT_EQ(loadRows(byrows, in), 0) << lastError(byrows);
    ASSERT_EQ(GetParam().apply(prob), 0) << lastError(prob);
    ASSERT_EQ(GetParam().apply(byrows), 0) << lastError(byrows);
    if (GetParam().apply == solveLp) {  // the answers of a model that was never asked for its rows
      std::vector<double> x(kCols), y(kCols);
      ASSERT_EQ(NVRLgetlpsol(prob, x.data(), nullptr, nullptr, nullptr), 0) << lastError(prob);
      ASSERT_EQ(NVRLgetlpsol(byrows, y.data(), nullptr, nullptr, nullptr), 0) << lastError(byrows);
      EXPECT_EQ(x, y);
    }

    // The snapshot asks for the columns first, then the rows (sorted), and checks one against
    // the other; the raw rows must agree too, each row's columns ascending.
    EXPECT_TRUE(snapshot(prob) == snapshot(byrows));
    const int nr = intAttr(prob, nvrl::id::kRows);
    EXPECT_EQ(rows(prob, 0, nr - 1), rows(byrows, 0, nr - 1));
    EXPECT_EQ(coefficients(prob), coefficients(byrows));
    EXPECT_EQ(intAttr(prob, nvrl::id::kElems), intAttr(byrows, nvrl::id::kElems));
    EXPECT_EQ(written(prob, "c.mps", ""), written(byrows, "r.mps", ""));
    EXPECT_EQ(written(prob, "c.lp", "l"), written(byrows, "r.lp", "l"));

    ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError(prob);
    ASSERT_EQ(NVRLlpoptimize(byrows, ""), 0) << lastError(byrows);
    EXPECT_EQ(intAttr(prob, nvrl::id::kLpStatus), NVRL_LP_OPTIMAL);
    EXPECT_EQ(intAttr(byrows, nvrl::id::kLpStatus), NVRL_LP_OPTIMAL);
    EXPECT_EQ(dblAttr(prob, nvrl::id::kLpObjVal), dblAttr(byrows, nvrl::id::kLpObjVal));
  }
}

INSTANTIATE_TEST_SUITE_P(Store, ColumnLoaded, ::testing::ValuesIn(kFirstSteps), nvtest::byLabel);

// Bad entries found while the columns are copied: the message names the first bad entry,
// however many columns (and repeats) came before it.
struct BadEntry {
  const char *label;
  int at;  // entry of the scrambled input replaced
  int row;
  double val;
  const char *message;
};

void PrintTo(const BadEntry &b, std::ostream *os) { *os << b.label; }

const BadEntry kBadEntries[] = {
    {"RowBeyondTheLast", -1, kRows, 1.0, "is not a valid row index (the problem has 7 rows)"},
    {"NegativeRow", -1, -1, 1.0, "is not a valid row index (the problem has 7 rows)"},
    {"NaNCoefficient", -1, 0, NAN, "is NaN"},
    {"InfiniteCoefficient", -1, 0, 1e20, "is at or beyond the infinity constant 1e20"},
    // Two bad entries: the earlier one is named.
    {"FirstOfTwo", 3, kRows + 5, 1.0, "rowind[3] = 12 is not a valid row index"},
};

class RefusedColumnLoad : public StoreTest, public ::testing::WithParamInterface<BadEntry> {};

TEST_P(RefusedColumnLoad, NamesTheEntryAndKeepsTheModel) {
  const BadEntry &b = GetParam();
  const ColumnInput good = scrambledColumns(6);
  NVRLprob twin = nullptr;
  ASSERT_EQ(NVRLcreateprob(&twin), 0);
  ASSERT_EQ(loadColumns(twin, good), 0) << lastError(twin);
  for (bool rows_built : {false, true}) {
    SCOPED_TRACE(rows_built);
    ASSERT_EQ(loadColumns(prob, good), 0) << lastError(prob);
    if (rows_built) rows(prob, 0, kRows - 1);
    ColumnInput bad = good;
    const int last = static_cast<int>(bad.idx.size()) - 1;
    bad.idx[last] = b.row;
    bad.val[last] = b.val;
    if (b.at >= 0) bad.idx[b.at] = b.row;
    EXPECT_NE(loadColumns(prob, bad), 0);
    const std::string where =
        b.at >= 0 ? "" : (b.row < 0 || b.row >= kRows ? "rowind[" : "rowcoef[") +
                             std::to_string(last) + "]";
    EXPECT_NE(lastError(prob).find(where), std::string::npos) << lastError(prob);
    EXPECT_NE(lastError(prob).find(b.message), std::string::npos) << lastError(prob);
    EXPECT_TRUE(snapshot(prob) == snapshot(twin));
  }
  NVRLdestroyprob(twin);
}

INSTANTIATE_TEST_SUITE_P(Store, RefusedColumnLoad, ::testing::ValuesIn(kBadEntries),
                         nvtest::byLabel);

}  // namespace
}  // namespace storetest
