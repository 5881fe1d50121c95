// Adding and deleting rows and columns: appended data, repeated entries, and deletions that
// shift every structure referring to rows and columns.
#include <cmath>
#include <string>
#include <vector>

#include "test_store_support.h"

namespace storetest {
namespace {

// Callers may pass nrows or nrows+1 starts: the last row always ends at ncoefs.
class AddRowsStarts : public StoreTest, public ::testing::WithParamInterface<bool> {};

TEST_P(AddRowsStarts, AppendRowsSummingRepeats) {
  buildRichModel();
  const Sparse old_rows = rows(prob, 0, 2);
  const bool closing_start = GetParam();
  const char rowtype[] = {'E', 'R'};
  const double rhs[] = {7, 9}, range[] = {0, 3};
  std::vector<NVRLint64> start = {0, 3};
  if (closing_start) start.push_back(5);
  const int colind[] = {3, 0, 3, 1, 2};
  const double coef[] = {1, 2, 1.5, -1, 0};
  ASSERT_EQ(NVRLaddrows64(prob, 2, 5, rowtype, rhs, range, start.data(), colind, coef), 0)
      << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.nrows, 5);
  const Sparse added = rows(prob, 3, 4);
  EXPECT_EQ(added, (Sparse{{0, 2, 3}, {3, 0, 1}, {2.5, 2, -1}}));
  EXPECT_EQ(s.rowtype[3], 'E');
  EXPECT_EQ(s.range[4], 3);
  EXPECT_EQ(s.indcomp[3] + s.indcomp[4], 0);
  EXPECT_EQ(s.rownames[3], "R4");
  EXPECT_EQ(s.rownames[4], "R5");
  EXPECT_EQ(rows(prob, 0, 2), old_rows);
}

INSTANTIATE_TEST_SUITE_P(Store, AddRowsStarts, ::testing::Bool());

// Building a model one row and one column at a time is the common case (its speed is in
// benchmarks/engine_store.py): many small appends keep every row and column in place.
TEST_F(StoreTest, AddingOneRowOrColumnAtATime) {
  constexpr int kCount = 3000;
  const double zero[] = {0.0}, one[] = {1.0};
  const NVRLint64 start[] = {0};
  for (int j = 0; j < kCount; ++j)
    ASSERT_EQ(NVRLaddcols64(prob, 1, 0, one, start, nullptr, nullptr, zero, one), 0);
  const char rowtype[] = {'L'};
  for (int i = 0; i < kCount; ++i) {
    ASSERT_EQ(NVRLaddrows64(prob, 1, 1, rowtype, one, nullptr, start, ints(i), one), 0);
  }
  EXPECT_EQ(intAttr(prob, nvrl::id::kRows), kCount);
  EXPECT_EQ(rows(prob, kCount - 1, kCount - 1).idx, std::vector<int>{kCount - 1});
  EXPECT_EQ(rows(prob, 1234, 1234).idx, std::vector<int>{1234});
}

TEST_F(StoreTest, AddColumnsWithoutCoefficients) {
  ASSERT_EQ(NVRLaddcols64(prob, 3, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0)
      << lastError(prob);
  EXPECT_EQ(intAttr(prob, nvrl::id::kCols), 3);
  EXPECT_EQ(intAttr(prob, nvrl::id::kElems), 0);
}

TEST_F(StoreTest, MatrixQueriesStopAtTheRoomGiven) {
  const char rowtype[] = {'L', 'L', 'L', 'L', 'L'};
  const double rhs[5] = {};
  const NVRLint64 start[] = {0, 5};
  const int rowind[] = {4, 3, 2, 1, 0};
  const double coef[] = {5, 4, 3, 2, 1};
  ASSERT_EQ(NVRLloadlp64(prob, "p", 1, 5, rowtype, rhs, nullptr, nullptr, start, nullptr, rowind,
                         coef, nullptr, nullptr),
            0);
  NVRLint64 s[2], n = 0;
  int r[2] = {-1, -1};
  double v[2];
  ASSERT_EQ(NVRLgetcols64(prob, s, r, v, 2, &n, 0, 0), 0);
  EXPECT_EQ(n, 5);
  EXPECT_EQ(s[1], 2);
  EXPECT_EQ(r[0], 0);  // rows come back ascending
  EXPECT_EQ(v[1], 2);
  NVRLint64 rs[4];
  ASSERT_EQ(NVRLgetrows64(prob, rs, r, v, 1, &n, 1, 3), 0);
  EXPECT_EQ(n, 3);
  EXPECT_EQ(std::vector<NVRLint64>(rs, rs + 4), (std::vector<NVRLint64>{0, 1, 1, 1}));
  EXPECT_EQ(v[0], 2);
}

TEST_F(StoreTest, DeletingARowShiftsMatrixNamesQuadraticsAndIndicators) {
  buildRichModel();
  ASSERT_EQ(NVRLdelrows(prob, 1, ints(0)), 0) << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.nrows, 2);
  EXPECT_EQ(s.rowtype, (std::vector<char>{'G', 'R'}));
  EXPECT_EQ(s.rhs, (std::vector<double>{1, 10}));
  EXPECT_EQ(s.byrow.idx, (std::vector<int>{1, 2, 0, 3}));
  EXPECT_TRUE(s.qrowind.empty());  // the quadratic part went with row 0
  EXPECT_EQ(s.indcol, (std::vector<int>{2, -1}));
  EXPECT_EQ(s.rownames, (std::vector<std::string>{"need", "R2"}));
  int index = -1;
  ASSERT_EQ(NVRLgetindex(prob, 1, "need", &index), 0);
  EXPECT_EQ(index, 0);
  EXPECT_NE(NVRLgetindex(prob, 1, "cap", &index), 0);
}

TEST_F(StoreTest, DeletingRowsKeepsLaterQuadraticRowsInStep) {
  buildRichModel();
  const int q[] = {0};
  ASSERT_EQ(NVRLaddqmatrix64(prob, 2, 1, q, q, dbls(3)), 0);
  ASSERT_EQ(NVRLdelrows(prob, 1, ints(1)), 0);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.qrowind, (std::vector<int>{0, 1}));
  EXPECT_EQ(s.qrows[1], (Triplets{{0}, {0}, {3}}));
  EXPECT_EQ(s.indcomp, (std::vector<int>{0, 0}));  // row 1 carried the only indicator
}

TEST_F(StoreTest, DeletingAColumnShiftsEveryStructure) {
  buildRichModel();
  // Free column 1 of its general and piecewise-linear uses first.
  const int g[] = {0};
  ASSERT_EQ(NVRLdelgencons(prob, 1, g), 0);
  ASSERT_EQ(NVRLdelpwlcons(prob, 1, g), 0);
  // Data on columns after the deleted one, which must move down.
  const int members[] = {0, 3};
  ASSERT_EQ(NVRLaddsets64(prob, 1, 2, chars('2'), starts(0), members, dbls(1, 2)), 0);
  ASSERT_EQ(NVRLchgqobj(prob, 2, 3, 7), 0);
  ASSERT_EQ(NVRLdelcols(prob, 1, ints(1)), 0) << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.ncols, 3);
  EXPECT_EQ(s.obj, (std::vector<double>{1, 3, 4}));
  EXPECT_EQ(s.coltype, (std::vector<char>{'C', 'B', 'S'}));
  EXPECT_EQ(s.colnames, (std::vector<std::string>{"x", "C2", "w"}));
  // Rows: 0 keeps x0 only; 1 keeps 4 x2 (now column 1); 2 keeps x0 and x3 (now 2).
  EXPECT_EQ(s.byrow, (Sparse{{0, 1, 2, 4}, {0, 1, 0, 2}, {1, 4, 5, 6}}));
  // (0,1) went with column 1; (2,3) is now (1,2).
  EXPECT_EQ(s.q, (Sparse{{0, 1, 1, 2}, {0, 1}, {2, 7}}));
  EXPECT_TRUE(s.qrowind.empty());  // row 0's only term was on column 1
  EXPECT_EQ(s.nsets, 2);           // sets stay, so set indices do not move
  EXPECT_EQ(s.sos.members.start, (std::vector<NVRLint64>{0, 1, 3}));
  EXPECT_EQ(s.sos.members.idx, (std::vector<int>{0, 0, 2}));
  EXPECT_EQ(s.indcol, (std::vector<int>{-1, 1, -1}));
  int index = -1;
  ASSERT_EQ(NVRLgetindex(prob, 2, "w", &index), 0);
  EXPECT_EQ(index, 2);
}

TEST_F(StoreTest, DeletingReferencedColumnsNamesTheUser) {
  buildRichModel();
  const Snapshot before = snapshot(prob);
  struct Case {
    int col;
    const char *message;
  } cases[] = {
      {2, "column 2 is the indicator column of row 1; delete the indicator first"},
      {3, "column 3 is used by general constraint 0; delete the constraint first"},
  };
  for (const Case &c : cases) {
    EXPECT_NE(NVRLdelcols(prob, 1, &c.col), 0);
    EXPECT_NE(lastError(prob).find(c.message), std::string::npos) << lastError(prob);
  }
  ASSERT_EQ(NVRLdelgencons(prob, 1, ints(0)), 0);
  const Snapshot without_gencons = snapshot(prob);
  const int one = 1;
  EXPECT_NE(NVRLdelcols(prob, 1, &one), 0);
  EXPECT_NE(lastError(prob).find("column 1 is used by piecewise-linear constraint 0"),
            std::string::npos)
      << lastError(prob);
  EXPECT_TRUE(snapshot(prob) == without_gencons);
  EXPECT_FALSE(before == without_gencons);
}

// One row 'L' <= 1 over the given columns and coefficients.
int addRow(NVRLprob p, const int *col, const double *coef, char type = 'L') {
  return NVRLaddrows64(p, 1, 1, chars(type), dbls(1), nullptr, starts(0), col, coef);
}

const BadCall kBadRowsCols[] = {
    {"NegativeRowCount",
     +[](NVRLprob p) {
       return NVRLaddrows64(p, -2, 0, chars('L'), dbls(1), nullptr, nullptr, nullptr, nullptr);
     },
     "NVRLaddrows64: nrows must not be negative (got -2)"},
    {"BadRowType", +[](NVRLprob p) { return addRow(p, ints(0), dbls(1), 'l'); },
     "rowtype[0] is 'l'"},
    {"RowColumnOutOfRange", +[](NVRLprob p) { return addRow(p, ints(4), dbls(1)); },
     "colind[0] = 4 is not a valid column index (the problem has 4 columns)"},
    {"RowStartBeyondCoefficients",
     +[](NVRLprob p) {
       return NVRLaddrows64(p, 2, 1, chars('L', 'L'), dbls(0, 0), nullptr, starts(0, 2), ints(0),
                            dbls(1));
     },
     "start[1] = 2 exceeds ncoefs = 1"},
    {"RowStartsDecrease",
     +[](NVRLprob p) {
       return NVRLaddrows64(p, 2, 2, chars('L', 'L'), dbls(0, 0), nullptr, starts(1, 0),
                            ints(0, 1), dbls(1, 1));
     },
     "start must not decrease"},
    {"RowCoefficientsMissing", +[](NVRLprob p) { return addRow(p, ints(0), nullptr); },
     "rowcoef must not be null"},
    {"InfiniteRowCoefficient", +[](NVRLprob p) { return addRow(p, ints(0), dbls(-INFINITY)); },
     "rowcoef[0] is infinite"},
    {"NaNColumnUpperBound",
     +[](NVRLprob p) {
       return NVRLaddcols64(p, 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, dbls(NAN));
     },
     "NVRLaddcols64: ub[0] is NaN"},
    {"ColumnRowOutOfRange",
     +[](NVRLprob p) {
       return NVRLaddcols64(p, 1, 1, nullptr, starts(0), ints(-1), dbls(1), nullptr, nullptr);
     },
     "rowind[0] = -1 is not a valid row index (the problem has 3 rows)"},
    {"DeleteRowTwice", +[](NVRLprob p) { return NVRLdelrows(p, 3, ints(2, 0, 2)); },
     "rowind[2] = 2 repeats a row already listed for deletion"},
    {"DeleteColumnTwice", +[](NVRLprob p) { return NVRLdelcols(p, 2, ints(1, 1)); },
     "colind[1] = 1 repeats a column already listed for deletion"},
};

INSTANTIATE_TEST_SUITE_P(RowsCols, BadCalls, ::testing::ValuesIn(kBadRowsCols), nvtest::byLabel);

}  // namespace
}  // namespace storetest
