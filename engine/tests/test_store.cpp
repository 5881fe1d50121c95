// The problem store through the C API: loading, adding and deleting rows and columns, changes,
// names, quadratics, entities, row marks and the limits on coefficients.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "core/problem.h"
#include "test_io_support.h"
#include "test_store_support.h"

// A call for the tables below, made on the problem p.
#define CALL(expr) +[](NVRLprob p) -> int { return expr; }

// ---- Loading whole problems: round trips through the queries, the summing of repeated entries,
// and bad input that must leave the previous model untouched.
namespace storetest {
namespace {

// The index of the named item of a type (1 rows, 2 columns, 3 sets), or -1 if the look-up fails.
int indexOf(NVRLprob prob, int type, const char *name) {
  int index = -1;
  return NVRLgetindex(prob, type, name, &index) == 0 ? index : -1;
}

// Column-wise input of the 3x4 matrix
//   row 0: 3 x0 + 2 x1        row 1: 4 x2 + 7 x3        row 2: 5 x0
// given with a repeated (row 0, column 0) entry (1 + 2), entries at (row 1, column 1) that cancel
// (2 - 2 + 0), an explicit zero in column 2, and a negative zero in column 3 that the collen
// form leaves out.
enum class StartForm { Int32, Int64, WithCollen };

int loadSmall(NVRLprob prob, StartForm form) {
  const char rowtype[] = {'L', 'G', 'E'};
  const double rhs[] = {1, 2, 3};
  const int rowind[] = {0, 0, 2, 0, 1, 1, 1, 1, 1, 1, 2};
  const double coef[] = {1, 2, 5, 2, 2, -2, 0, 4, 0, 7, -0.0};
  const NVRLint64 start64[] = {0, 3, 7, 9, 11};
  const int start32[] = {0, 3, 7, 9, 11};
  const int collen[] = {3, 4, 2, 1};
  switch (form) {
    case StartForm::Int32:
      return NVRLloadlp(prob, "small", 4, 3, rowtype, rhs, nullptr, nullptr, start32, nullptr,
                        rowind, coef, nullptr, nullptr);
    case StartForm::Int64:
      return NVRLloadlp64(prob, "small", 4, 3, rowtype, rhs, nullptr, nullptr, start64, nullptr,
                          rowind, coef, nullptr, nullptr);
    case StartForm::WithCollen:
      return NVRLloadlp64(prob, "small", 4, 3, rowtype, rhs, nullptr, nullptr, start64, collen,
                          rowind, coef, nullptr, nullptr);
  }
  return -1;
}

class LoadForms : public StoreTest, public ::testing::WithParamInterface<StartForm> {};

TEST_P(LoadForms, RepeatsSumZerosVanishAndDefaultsApply) {
  ASSERT_EQ(loadSmall(prob, GetParam()), 0) << lastError(prob);
  const Snapshot s = snapshot(prob);  // which checks the column view against the rows
  EXPECT_EQ(s.byrow, (Sparse{{0, 2, 4, 5}, {0, 1, 2, 3, 0}, {3, 2, 4, 7, 5}}));
  EXPECT_EQ(s.lb, std::vector<double>(4, 0.0));
  EXPECT_EQ(s.ub, std::vector<double>(4, NVRL_INFINITY));
  EXPECT_EQ(s.obj, std::vector<double>(4, 0.0));
  EXPECT_EQ(s.range, std::vector<double>(3, 0.0));
  EXPECT_EQ(intAttr(prob, nvrl::id::kElems), 5);
  double v = -1;  // the cancelled entry reads as zero
  ASSERT_EQ(NVRLgetcoef(prob, 1, 1, &v), 0);
  EXPECT_EQ(v, 0.0);
}

INSTANTIATE_TEST_SUITE_P(Store, LoadForms,
                         ::testing::Values(StartForm::Int32, StartForm::Int64,
                                           StartForm::WithCollen));

TEST_F(StoreTest, RichModelRoundTrip) {
  buildRichModel();
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.nrows, 3);
  EXPECT_EQ(s.ncols, 4);
  EXPECT_EQ(s.rowtype, (std::vector<char>{'L', 'G', 'R'}));
  EXPECT_EQ(s.range, (std::vector<double>{0, 0, 4}));
  EXPECT_EQ(s.coltype, (std::vector<char>{'C', 'C', 'B', 'S'}));
  EXPECT_EQ(s.limit, (std::vector<double>{0, 0, 0, 2}));
  EXPECT_EQ(s.ub, (std::vector<double>{10, 10, 1, 5}));
  // Upper triangle by column: column 0 has (0,0); column 1 has (0,1).
  EXPECT_EQ(s.q, (Sparse{{0, 1, 2, 2, 2}, {0, 0}, {2, 1}}));
  EXPECT_EQ(s.qrowind, std::vector<int>{0});
  EXPECT_EQ(s.qrows[0], (Triplets{{1}, {1}, {1}}));
  EXPECT_EQ(s.sos.type, std::vector<char>{'1'});
  EXPECT_EQ(s.sos.members.idx, (std::vector<int>{0, 1}));
  EXPECT_EQ(s.sos.members.val, (std::vector<double>{1, 2}));
  EXPECT_EQ(s.indcol, (std::vector<int>{-1, 2, -1}));
  EXPECT_EQ(s.indcomp, (std::vector<int>{0, 1, 0}));
  EXPECT_EQ(s.rownames, (std::vector<std::string>{"cap", "need", "R3"}));
  EXPECT_EQ(s.colnames, (std::vector<std::string>{"x", "y", "C3", "w"}));
  EXPECT_EQ(s.setnames, std::vector<std::string>{"s"});
  EXPECT_EQ(s.gen.type, std::vector<int>{NVRL_GENCONS_MAX});
  EXPECT_EQ(s.gen.cols.idx, (std::vector<int>{0, 1}));
  EXPECT_EQ(s.gen.vals.val, std::vector<double>{1.5});
  EXPECT_EQ(s.pwl.x, (std::vector<double>{0, 1, 2}));
  EXPECT_EQ(s.pwl.y, (std::vector<double>{0, 1, 4}));
}

TEST_F(StoreTest, LoadingReplacesEverythingButTheSense) {
  buildRichModel();
  ASSERT_EQ(NVRLchgobjsense(prob, -1), 0);
  ASSERT_EQ(NVRLchgobj(prob, 1, ints(-1), dbls(5)), 0);
  ASSERT_EQ(loadSmall(prob, StartForm::Int64), 0);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.ncols, 4);
  EXPECT_EQ(s.nsets + s.ngencons + s.npwls, 0);
  EXPECT_TRUE(s.qrowind.empty());
  EXPECT_TRUE(s.q.idx.empty());
  EXPECT_EQ(s.indcomp, std::vector<int>(3, 0));
  EXPECT_EQ(s.colnames, (std::vector<std::string>{"C1", "C2", "C3", "C4"}));
  EXPECT_EQ(s.objconst, 0.0);
  EXPECT_EQ(s.objsense, -1.0);
  EXPECT_EQ(indexOf(prob, 2, "x"), -1);  // old names are gone
}

TEST_F(StoreTest, BoundsAndRightHandSidesBeyondInfinityAreStoredAsInfinite) {
  ASSERT_EQ(NVRLloadlp64(prob, "p", 1, 2, chars('L', 'R'), dbls(1e30, 5), dbls(0, 1e25), nullptr,
                         nullptr, nullptr, nullptr, nullptr,
                         dbls(-std::numeric_limits<double>::infinity()), dbls(3e21)),
            0)
      << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.lb[0], -NVRL_INFINITY);
  EXPECT_EQ(s.ub[0], NVRL_INFINITY);
  EXPECT_EQ(s.rhs[0], NVRL_INFINITY);
  EXPECT_EQ(s.range[1], NVRL_INFINITY);
}

TEST_F(StoreTest, QuadraticLoadsSumRepeatsInEitherOrder) {
  ASSERT_EQ(NVRLloadqp64(prob, "q", 2, 0, nullptr, nullptr, nullptr, nullptr, starts(0, 0, 0),
                         nullptr, nullptr, nullptr, nullptr, nullptr, 3, ints(0, 1, 1),
                         ints(1, 0, 1), dbls(1, 2, 3)),
            0)
      << lastError(prob);
  EXPECT_EQ(qobj(prob, 2), (Sparse{{0, 0, 2}, {0, 1}, {3, 3}}));
}

TEST_F(StoreTest, GlobalLoadWithoutLimitsAndBinaryBoundsClamped) {
  ASSERT_EQ(
      NVRLloadglobal64(prob, "g", 2, 0, nullptr, nullptr, nullptr, nullptr, starts(0, 0, 0),
                       nullptr, nullptr, nullptr, dbls(-3, 0), dbls(7, 9), 2, 0, chars('B', 'I'),
                       ints(0, 1), nullptr, nullptr, nullptr, nullptr, nullptr),
      0)
      << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.coltype, (std::vector<char>{'B', 'I'}));
  EXPECT_EQ(s.lb, (std::vector<double>{0, 0}));
  EXPECT_EQ(s.ub, (std::vector<double>{1, 9}));
  EXPECT_EQ(intAttr(prob, nvrl::id::kMipEnts), 2);
}

// ---- bad input: each call fails on the rich model with a precise message ----

// A 2x2 load, 'L' <= 1 and 'G' >= 2, one coefficient per column unless given otherwise.
int loadWith(NVRLprob p, const char *rowtype, const double *rhs = dbls(1, 2),
             const double *range = nullptr, const NVRLint64 *start = starts(0, 1, 2),
             const int *collen = nullptr, const int *rowind = ints(0, 1)) {
  return NVRLloadlp64(p, "bad", 2, 2, rowtype, rhs, range, nullptr, start, collen, rowind,
                      dbls(1, 1), nullptr, nullptr);
}

const BadCall kBadLoads[] = {
    {"NegativeColumns",
     CALL(NVRLloadlp64(p, "b", -1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                       nullptr, nullptr, nullptr)),
     "NVRLloadlp64: ncols must not be negative"},
    {"UnknownRowType", CALL(loadWith(p, chars('L', 'X'))), "rowtype[1] is 'X'"},
    {"RangeRowWithoutRanges", CALL(loadWith(p, chars('L', 'R'))),
     "range is null but rowtype[1] is 'R'"},
    {"NegativeRange", CALL(loadWith(p, chars('R', 'L'), dbls(1, 2), dbls(-1, 0))),
     "range[0] = -1 is negative"},
    {"NaNRhs", CALL(loadWith(p, chars('L', 'G'), dbls(1, NAN))), "rhs[1] is NaN"},
    {"RowIndexOutOfRange",
     CALL(loadWith(p, chars('L', 'G'), dbls(1, 2), nullptr, starts(0, 1, 2), nullptr, ints(0, 2))),
     "rowind[1] = 2 is not a valid row index (the problem has 2 rows)"},
    {"DecreasingStarts", CALL(loadWith(p, chars('L', 'G'), dbls(1, 2), nullptr, starts(0, 2, 1))),
     "start must not decrease"},
    {"NegativeColumnLength",
     CALL(loadWith(p, chars('L', 'G'), dbls(1, 2), nullptr, starts(0, 1, 2), ints(1, -1))),
     "collen[1] = -1 is negative"},
    {"NameTooLong",
     +[](NVRLprob p) {
       const std::string name(NVRL_MAXNAMELEN + 1, 'n');
       return NVRLloadlp64(p, name.c_str(), 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr, nullptr, nullptr, nullptr, nullptr);
     },
     "name is longer than 1024 characters"},
    {"QuadraticRowListedTwice",
     CALL(NVRLloadqcqp64(p, "b", 2, 2, chars('L', 'G'), dbls(1, 2), nullptr, nullptr,
                         starts(0, 1, 2), nullptr, ints(0, 1), dbls(1, 1), nullptr, nullptr, 0,
                         nullptr, nullptr, nullptr, 2, ints(1, 1), starts(1, 1), ints(0, 0),
                         ints(0, 0), dbls(1, 1))),
     "qrowind[1] = 1 lists a row twice"},
    {"UnknownColumnType",
     CALL(NVRLloadglobal64(p, "b", 2, 2, chars('L', 'G'), dbls(1, 2), nullptr, nullptr,
                           starts(0, 1, 2), nullptr, ints(0, 1), dbls(1, 1), nullptr, nullptr, 1, 0,
                           chars('Z'), ints(0), nullptr, nullptr, nullptr, nullptr, nullptr)),
     "coltype[0] is 'Z'"},
    {"ColumnTypedTwice",
     CALL(NVRLloadglobal64(p, "b", 2, 2, chars('L', 'G'), dbls(1, 2), nullptr, nullptr,
                           starts(0, 1, 2), nullptr, ints(0, 1), dbls(1, 1), nullptr, nullptr, 2, 0,
                           chars('I', 'B'), ints(1, 1), nullptr, nullptr, nullptr, nullptr,
                           nullptr)),
     "entind[1] = 1 gives column 1 a second type"},
};

INSTANTIATE_TEST_SUITE_P(Load, BadCalls, ::testing::ValuesIn(kBadLoads), nvtest::byLabel);

// ---- Adding and deleting rows and columns: appended data, repeated entries, and deletions that
// shift every structure referring to rows and columns.

// Callers may pass nrows or nrows+1 starts: the last row always ends at ncoefs.
class AddRowsStarts : public StoreTest, public ::testing::WithParamInterface<bool> {};

TEST_P(AddRowsStarts, AppendRowsSummingRepeats) {
  buildRichModel();
  const Sparse old_rows = rows(prob, 0, 2);
  std::vector<NVRLint64> start = {0, 3};
  if (GetParam()) start.push_back(5);  // the closing start
  ASSERT_EQ(NVRLaddrows64(prob, 2, 5, chars('E', 'R'), dbls(7, 9), dbls(0, 3), start.data(),
                          ints(3, 0, 3, 1, 2), dbls(1, 2, 1.5, -1, 0)),
            0)
      << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.nrows, 5);
  EXPECT_EQ(rows(prob, 3, 4), (Sparse{{0, 2, 3}, {3, 0, 1}, {2.5, 2, -1}}));
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

TEST_F(StoreTest, MatrixQueriesStopAtTheRoomGiven) {
  ASSERT_EQ(NVRLloadlp64(prob, "p", 1, 5, chars('L', 'L', 'L', 'L', 'L'), dbls(0, 0, 0, 0, 0),
                         nullptr, nullptr, starts(0, 5), nullptr, ints(4, 3, 2, 1, 0),
                         dbls(5, 4, 3, 2, 1), nullptr, nullptr),
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
  EXPECT_EQ(indexOf(prob, 1, "need"), 0);
  EXPECT_EQ(indexOf(prob, 1, "cap"), -1);
}

TEST_F(StoreTest, DeletingRowsKeepsLaterQuadraticRowsInStep) {
  buildRichModel();
  ASSERT_EQ(NVRLaddqmatrix64(prob, 2, 1, ints(0), ints(0), dbls(3)), 0);
  ASSERT_EQ(NVRLdelrows(prob, 1, ints(1)), 0);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.qrowind, (std::vector<int>{0, 1}));
  EXPECT_EQ(s.qrows[1], (Triplets{{0}, {0}, {3}}));
  EXPECT_EQ(s.indcomp, (std::vector<int>{0, 0}));  // row 1 carried the only indicator
}

TEST_F(StoreTest, DeletingAColumnShiftsEveryStructure) {
  buildRichModel();
  // Free column 1 of its general and piecewise-linear uses first.
  ASSERT_EQ(NVRLdelgencons(prob, 1, ints(0)), 0);
  ASSERT_EQ(NVRLdelpwlcons(prob, 1, ints(0)), 0);
  // Data on columns after the deleted one, which must move down.
  ASSERT_EQ(NVRLaddsets64(prob, 1, 2, chars('2'), starts(0), ints(0, 3), dbls(1, 2)), 0);
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
  EXPECT_EQ(indexOf(prob, 2, "w"), 2);
}

// Columns 2 and 3, used by the indicator and the general constraint, are bad calls below.
TEST_F(StoreTest, DeletingReferencedColumnsNamesTheUser) {
  buildRichModel();
  const Snapshot before = snapshot(prob);
  ASSERT_EQ(NVRLdelgencons(prob, 1, ints(0)), 0);
  const Snapshot without_gencons = snapshot(prob);
  EXPECT_NE(NVRLdelcols(prob, 1, ints(1)), 0);
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
     CALL(NVRLaddrows64(p, -2, 0, chars('L'), dbls(1), nullptr, nullptr, nullptr, nullptr)),
     "NVRLaddrows64: nrows must not be negative (got -2)"},
    {"BadRowType", CALL(addRow(p, ints(0), dbls(1), 'l')), "rowtype[0] is 'l'"},
    {"RowColumnOutOfRange", CALL(addRow(p, ints(4), dbls(1))),
     "colind[0] = 4 is not a valid column index (the problem has 4 columns)"},
    {"RowStartBeyondCoefficients",
     CALL(NVRLaddrows64(p, 2, 1, chars('L', 'L'), dbls(0, 0), nullptr, starts(0, 2), ints(0),
                        dbls(1))),
     "start[1] = 2 exceeds ncoefs = 1"},
    {"RowStartsDecrease",
     CALL(NVRLaddrows64(p, 2, 2, chars('L', 'L'), dbls(0, 0), nullptr, starts(1, 0), ints(0, 1),
                        dbls(1, 1))),
     "start must not decrease"},
    {"RowCoefficientsMissing", CALL(addRow(p, ints(0), nullptr)), "rowcoef must not be null"},
    {"InfiniteRowCoefficient", CALL(addRow(p, ints(0), dbls(-INFINITY))), "rowcoef[0] is infinite"},
    {"NaNColumnUpperBound",
     CALL(NVRLaddcols64(p, 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, dbls(NAN))),
     "NVRLaddcols64: ub[0] is NaN"},
    {"ColumnRowOutOfRange",
     CALL(NVRLaddcols64(p, 1, 1, nullptr, starts(0), ints(-1), dbls(1), nullptr, nullptr)),
     "rowind[0] = -1 is not a valid row index (the problem has 3 rows)"},
    {"DeleteRowTwice", CALL(NVRLdelrows(p, 3, ints(2, 0, 2))),
     "rowind[2] = 2 repeats a row already listed for deletion"},
    {"DeleteColumnTwice", CALL(NVRLdelcols(p, 2, ints(1, 1))),
     "colind[1] = 1 repeats a column already listed for deletion"},
    {"DeleteIndicatorColumn", CALL(NVRLdelcols(p, 1, ints(2))),
     "column 2 is the indicator column of row 1; delete the indicator first"},
    {"DeleteGeneralConstraintColumn", CALL(NVRLdelcols(p, 1, ints(3))),
     "column 3 is used by general constraint 0; delete the constraint first"},
};

INSTANTIATE_TEST_SUITE_P(RowsCols, BadCalls, ::testing::ValuesIn(kBadRowsCols), nvtest::byLabel);

// ---- Changes to objective, bounds, rows, types and coefficients.

// Rich model: obj {1, 2, 3, 4}, bounds [0, 10] [0, 10] [0, 1] [0, 5], types C C B S, rows
// 'L' 4, 'G' 1, 'R' 10 (range 4); matrix rows (0: 1, 1: 2), (1: 3, 2: 4), (0: 5, 3: 6).
const GoodCall kChanges[] = {
    {"objective_and_constant",  // the last value for a column wins
     CALL(NVRLchgobj(p, 3, ints(2, -1, 2), dbls(7, 4.5, 8))),
     +[](Snapshot &s) {
       s.obj[2] = 8;
       s.objconst = -4.5;
     }},
    {"sense", CALL(NVRLchgobjsense(p, -1)), +[](Snapshot &s) { s.objsense = -1; }},
    {"bounds_by_type",  // lb > ub is kept: infeasible
     CALL(
         NVRLchgbounds(p, 4, ints(0, 1, 3, 0), chars('U', 'L', 'B', 'L'), dbls(3, 12, 2.5, -1e25))),
     +[](Snapshot &s) {
       s.lb = {-NVRL_INFINITY, 12, 0, 2.5};
       s.ub = {3, 10, 1, 2.5};
     }},
    {"row_types_drop_ranges_of_other_rows", CALL(NVRLchgrowtype(p, 2, ints(2, 0), chars('L', 'R'))),
     +[](Snapshot &s) {
       s.rowtype = {'R', 'G', 'L'};
       s.range = {0, 0, 0};
     }},
    {"column_types_clamp_binaries_and_carry_limits",
     CALL(NVRLchgcoltype(p, 3, ints(0, 1, 3), chars('B', 'P', 'C')) ||
          NVRLchgglblimit(p, 1, ints(1), dbls(4))),
     +[](Snapshot &s) {
       s.coltype = {'B', 'P', 'B', 'C'};
       s.ub[0] = 1;
       s.limit = {0, 4, 0, 0};  // column 3 lost its limit
     }},
    {"coefficients_update_insert_and_remove",  // removing a missing entry changes nothing
     CALL(NVRLchgcoef(p, 0, 1, 9) || NVRLchgcoef(p, 1, 3, -2) || NVRLchgcoef(p, 2, 0, 0) ||
          NVRLchgcoef(p, 2, 1, 0)),
     +[](Snapshot &s) { s.byrow = {{0, 2, 5, 6}, {0, 1, 1, 2, 3, 3}, {1, 9, 3, 4, -2, 6}}; }},
    {"coefficients_just_below_the_infinity_constant",  // are still numbers (1e20 is refused)
     CALL(NVRLchgobj(p, 1, ints(0), dbls(-9.99e19)) || NVRLchgcoef(p, 1, 0, 9.99e19)),
     +[](Snapshot &s) {
       s.obj[0] = -9.99e19;
       s.byrow = {{0, 2, 5, 7}, {0, 1, 0, 1, 2, 0, 3}, {1, 2, 9.99e19, 3, 4, 5, 6}};
     }},
    {"many_coefficients_in_one_call_keep_the_last_value",
     CALL(NVRLchgmcoef64(p, 6, ints(2, 0, 2, 1, 0, 2), ints(2, 3, 2, 0, 3, 0),
                         dbls(1, 5, 7, 8, 0, 3))),
     +[](Snapshot &s) {
       s.byrow = {{0, 2, 5, 8}, {0, 1, 0, 1, 2, 0, 2, 3}, {1, 2, 8, 3, 4, 3, 7, 6}};
     }},
    {"quadratic_objective_in_either_order_and_zero_removes",
     +[](NVRLprob p) -> int {  // (3,1) is stored as (1,3); (0,1) = 5 replaces 1; (0,0) goes
       return NVRLchgqobj(p, 3, 1, 6) ||
              NVRLchgmqobj(p, 3, ints(1, 0, 2), ints(0, 0, 2), dbls(5, 0, 1));
     },
     +[](Snapshot &s) { s.q = {{0, 0, 1, 2, 3}, {0, 2, 1}, {5, 1, 6}}; }},
    {"added_columns_reach_existing_rows",  // and sum the repeated entry of row 2
     CALL(NVRLaddcols64(p, 2, 4, dbls(-1, 0), starts(0, 3, 4), ints(2, 0, 2, 1), dbls(1, 8, 1, 9),
                        dbls(-5, 1), nullptr)),
     +[](Snapshot &s) {
       s.ncols = 6;
       s.obj.insert(s.obj.end(), {-1, 0});
       s.lb.insert(s.lb.end(), {-5, 1});
       s.ub.insert(s.ub.end(), {NVRL_INFINITY, NVRL_INFINITY});
       s.limit.insert(s.limit.end(), {0, 0});
       s.coltype.insert(s.coltype.end(), {'C', 'C'});
       s.colnames.insert(s.colnames.end(), {"C5", "C6"});
       s.q.start.insert(s.q.start.end(), {2, 2});
       s.byrow = {{0, 3, 6, 9}, {0, 1, 4, 1, 2, 5, 0, 3, 4}, {1, 2, 8, 3, 4, 9, 5, 6, 2}};
     }},
};

TEST_P(GoodCalls, ChangeOnlyWhatTheyAskFor) {
  buildRichModel();
  Snapshot expected = snapshot(prob);
  if (GetParam().change) GetParam().change(expected);
  expected.bycol = transpose(expected.byrow, expected.ncols);
  ASSERT_EQ(GetParam().call(prob), 0) << lastError(prob);
  EXPECT_TRUE(snapshot(prob) == expected);
}
INSTANTIATE_TEST_SUITE_P(Changes, GoodCalls, ::testing::ValuesIn(kChanges), nvtest::byLabel);

struct RangeCase {
  char type;
  double rhs, range;
  double want_rhs;
};

class RangeChange : public StoreTest, public ::testing::WithParamInterface<RangeCase> {};

// A range row spans rhs-range .. rhs; the row's old bound stays where it was.
TEST_P(RangeChange, MakesARangeRowKeepingTheOldBound) {
  const RangeCase c = GetParam();
  ASSERT_EQ(NVRLaddrows64(prob, 1, 0, &c.type, &c.rhs, dbls(5), nullptr, nullptr, nullptr), 0);
  const int row = 0;
  ASSERT_EQ(NVRLchgrhsrange(prob, 1, &row, &c.range), 0) << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.rowtype[0], 'R');
  EXPECT_EQ(s.rhs[0], c.want_rhs);
  EXPECT_EQ(s.range[0], c.range);
}

INSTANTIATE_TEST_SUITE_P(Store, RangeChange,
                         ::testing::Values(RangeCase{'L', 4, 2, 4}, RangeCase{'G', 1, 2, 3},
                                           RangeCase{'E', 5, 1, 6}, RangeCase{'R', 10, 3, 10},
                                           RangeCase{'G', -NVRL_INFINITY, 2, -NVRL_INFINITY}));

TEST_F(StoreTest, FreeRowsCannotHaveARange) {
  buildRichModel();
  ASSERT_EQ(NVRLchgrowtype(prob, 1, ints(1), chars('N')), 0);
  EXPECT_NE(NVRLchgrhsrange(prob, 1, ints(1), dbls(1)), 0);
  EXPECT_NE(lastError(prob).find("row 1 (rowind[0]) is a free row and cannot have a range"),
            std::string::npos);
}

const BadCall kBadChanges[] = {
    {"ObjectiveColumnBelowConstant", CALL(NVRLchgobj(p, 1, ints(-2), dbls(1))),
     "NVRLchgobj: colind[0] = -2 is not a valid column index (the problem has 4 columns)"},
    {"SenseZero", CALL(NVRLchgobjsense(p, 0)),
     "objsense = 0 must be 1 (minimise) or -1 (maximise)"},
    {"UnknownBoundType", CALL(NVRLchgbounds(p, 1, ints(0), chars('X'), dbls(1))),
     "bndtype[0] must be 'U', 'L' or 'B'"},
    {"NaNBound", CALL(NVRLchgbounds(p, 2, ints(0, 1), chars('U', 'L'), dbls(1, NAN))),
     "bndval[1] is NaN"},
    {"RhsRowOutOfRange", CALL(NVRLchgrhs(p, 1, ints(3), dbls(1))),
     "NVRLchgrhs: rowind[0] = 3 is not a valid row index (the problem has 3 rows)"},
    {"NegativeRange", CALL(NVRLchgrhsrange(p, 1, ints(0), dbls(-1))), "rng[0] = -1 is negative"},
    {"UnknownRowType", CALL(NVRLchgrowtype(p, 1, ints(0), chars('Q'))), "rowtype[0] is 'Q'"},
    {"UnknownColumnType", CALL(NVRLchgcoltype(p, 1, ints(0), chars(0))),
     "coltype[0] is character 0"},
    {"LimitOnContinuousColumn", CALL(NVRLchgglblimit(p, 2, ints(3, 0), dbls(1, 1))),
     "column 0 (colind[1]) has type 'C'; only 'S', 'R' and 'P' columns have a limit"},
    {"CoefficientColumnOutOfRange", CALL(NVRLchgcoef(p, 0, 4, 1.0)),
     "NVRLchgcoef: col = 4 is not a valid column index"},
    {"InfiniteCoefficient", CALL(NVRLchgmcoef(p, 2, ints(0, 1), ints(0, 0), dbls(1, INFINITY))),
     "NVRLchgmcoef: rowcoef[1] is infinite"},
};

// Each call must fail with its message and change nothing.
TEST_P(BadCalls, FailAndChangeNothing) {
  buildRichModel();
  const Snapshot before = snapshot(prob);
  EXPECT_NE(GetParam().call(prob), 0);
  EXPECT_NE(lastError(prob).find(GetParam().message), std::string::npos)
      << "message was: " << lastError(prob);
  EXPECT_TRUE(snapshot(prob) == before);
}
INSTANTIATE_TEST_SUITE_P(Changes, BadCalls, ::testing::ValuesIn(kBadChanges), nvtest::byLabel);

// ---- Names of rows, columns and sets: default names, look-up, renaming, buffers, bad input.

TEST_F(StoreTest, LookUpFindsUserNamesAndDefaultNamesOfUnnamedItems) {
  buildRichModel();
  struct Case {
    int type;
    const char *name;
    int index;
  } cases[] = {
      {1, "cap", 0}, {1, "need", 1}, {1, "R3", 2}, {1, "R1", -1},  // row 0 is called "cap"
      {1, "R03", -1}, {1, "R4", -1}, {2, "w", 3}, {2, "C3", 2},    {2, "x", 0},
      {2, "cap", -1}, {3, "s", 0},   {3, "S1", -1}, {2, "", -1},
  };
  for (const Case &c : cases) EXPECT_EQ(indexOf(prob, c.type, c.name), c.index) << c.name;

  // Other engine code (file reading, copying) writes names directly and reports the change;
  // the look-ups above have built the index.
  prob->model.colnames[0] = "direct";
  prob->modelChanged();
  EXPECT_EQ(indexOf(prob, 2, "direct"), 0);
  EXPECT_EQ(indexOf(prob, 2, "x"), -1);

  // Names up to the limit are accepted.
  const std::string longest(NVRL_MAXNAMELEN, 'a');
  ASSERT_EQ(NVRLaddnames(prob, 3, longest.c_str(), 0, 0), 0) << lastError(prob);
  EXPECT_EQ(names(prob, 3, 0, 0)[0], longest);
  EXPECT_EQ(indexOf(prob, 3, longest.c_str()), 0);
}

TEST_F(StoreTest, RenamingReleasesTheOldNameAndSwapsWork) {
  buildRichModel();
  ASSERT_EQ(NVRLaddnames(prob, 2, "z", 0, 0), 0);
  EXPECT_EQ(indexOf(prob, 2, "x"), -1);
  EXPECT_EQ(indexOf(prob, 2, "z"), 0);
  ASSERT_EQ(NVRLaddnames(prob, 2, "x", 1, 1), 0) << lastError(prob);  // "x" is free again
  ASSERT_EQ(NVRLaddnames(prob, 2, "x\0z", 0, 1), 0) << lastError(prob);  // swap in one call
  EXPECT_EQ(indexOf(prob, 2, "x"), 0);
  EXPECT_EQ(indexOf(prob, 2, "z"), 1);
  ASSERT_EQ(NVRLaddnames(prob, 2, "", 0, 0), 0);  // unnamed again: the default name applies
  EXPECT_EQ(indexOf(prob, 2, "x"), -1);
  EXPECT_EQ(indexOf(prob, 2, "C1"), 0);
}

TEST_F(StoreTest, NamesGivenOneByOneStayFindableThroughAdditionsAndDeletions) {
  const int n = 1000;  // columns without coefficients
  ASSERT_EQ(NVRLaddcols64(prob, n, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(intAttr(prob, nvrl::id::kCols), n);
  EXPECT_EQ(intAttr(prob, nvrl::id::kElems), 0);
  for (int j = 0; j < n; ++j) {
    const std::string name = "v" + std::to_string(j);
    ASSERT_EQ(NVRLaddnames(prob, 2, name.c_str(), j, j), 0) << lastError(prob);
    ASSERT_EQ(indexOf(prob, 2, name.c_str()), j);
  }
  std::vector<int> del;
  for (int j = 0; j < n; j += 3) del.push_back(j);
  ASSERT_EQ(NVRLdelcols(prob, static_cast<int>(del.size()), del.data()), 0);
  EXPECT_EQ(indexOf(prob, 2, "v0"), -1);
  EXPECT_EQ(indexOf(prob, 2, "v1"), 0);
  EXPECT_EQ(indexOf(prob, 2, "v2"), 1);
  EXPECT_EQ(indexOf(prob, 2, "v998"), 665);
  EXPECT_EQ(indexOf(prob, 2, "v999"), -1);
  ASSERT_EQ(NVRLaddcols64(prob, 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(indexOf(prob, 2, "C667"), 666);
}

TEST_F(StoreTest, ANewProblemDoesNotInheritLookUpsOfADestroyedOne) {
  ASSERT_EQ(NVRLaddcols64(prob, 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(NVRLaddnames(prob, 2, "old", 0, 0), 0);
  ASSERT_EQ(indexOf(prob, 2, "old"), 0);
  ASSERT_EQ(NVRLdestroyprob(prob), 0);
  // The allocator often hands the same address to the next problem, which then makes as many
  // changes as the old one had made before its look-up.
  ASSERT_EQ(NVRLcreateprob(&prob), 0);
  ASSERT_EQ(NVRLaddcols64(prob, 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  const int j = 0;
  const double c = 1;
  ASSERT_EQ(NVRLchgobj(prob, 1, &j, &c), 0);
  EXPECT_EQ(indexOf(prob, 2, "old"), -1);
  EXPECT_EQ(cols(prob, 0, 0).idx.size(), 0u);
}

TEST_F(StoreTest, NameBuffersArePackedAndSized) {
  buildRichModel();
  int nbytes = 0;
  ASSERT_EQ(NVRLgetnamelist(prob, 1, nullptr, 0, &nbytes, 0, 2), 0);
  EXPECT_EQ(nbytes, 4 + 5 + 3);  // "cap", "need", "R3" with terminators
  std::vector<char> buf(nbytes);
  EXPECT_NE(NVRLgetnamelist(prob, 1, buf.data(), nbytes - 1, &nbytes, 0, 2), 0);
  EXPECT_NE(lastError(prob).find("maxbytes = 11 is too small: the names need 12 bytes"),
            std::string::npos);
  ASSERT_EQ(NVRLgetnames(prob, 1, buf.data(), 1, 2), 0);
  EXPECT_EQ(std::string(buf.data(), 8), std::string("need\0R3\0", 8));
  // Attribute 1028 sizes a slot for the longest name, default names included.
  EXPECT_GE(8 * intAttr(prob, nvrl::id::kNamelength), 4);
}

// Several items may hold one name (a model read from a file and a row added later whose
// default name the file already uses): a look-up finds the lowest-numbered holder, also after
// renames and deletions, and the index is kept right once the names are different again.
TEST_F(StoreTest, RepeatedNamesAreKeptAndTheLowestHolderIsFound) {
  buildRichModel();
  // A user name wins over another item's default name.
  ASSERT_EQ(NVRLaddnames(prob, 2, "C3", 0, 0), 0) << lastError(prob);
  EXPECT_EQ(indexOf(prob, 2, "C3"), 0);
  EXPECT_EQ(names(prob, 2, 0, 3), (std::vector<std::string>{"C3", "y", "C3", "w"}));
  ASSERT_EQ(NVRLaddnames(prob, 2, "w", 1, 1), 0) << lastError(prob);
  EXPECT_EQ(indexOf(prob, 2, "w"), 1);
  ASSERT_EQ(NVRLaddnames(prob, 2, "a\0b\0a", 0, 2), 0) << lastError(prob);
  EXPECT_EQ(names(prob, 2, 0, 3), (std::vector<std::string>{"a", "b", "a", "w"}));
  EXPECT_EQ(indexOf(prob, 2, "a"), 0);
  EXPECT_EQ(indexOf(prob, 2, "w"), 3);
  ASSERT_EQ(NVRLaddnames(prob, 2, "z", 0, 0), 0);
  EXPECT_EQ(indexOf(prob, 2, "a"), 2);
  EXPECT_EQ(indexOf(prob, 2, "z"), 0);

  ASSERT_EQ(NVRLaddnames(prob, 1, "need", 0, 0), 0) << lastError(prob);  // row 1 is "need"
  EXPECT_EQ(indexOf(prob, 1, "need"), 0);
  ASSERT_EQ(NVRLdelrows(prob, 1, ints(0)), 0) << lastError(prob);
  EXPECT_EQ(indexOf(prob, 1, "need"), 0);
  // Unique again: renames are looked up at once, the old name is gone.
  ASSERT_EQ(NVRLaddnames(prob, 1, "more", 0, 0), 0);
  ASSERT_EQ(NVRLaddnames(prob, 1, "less", 0, 0), 0);
  EXPECT_EQ(indexOf(prob, 1, "more"), -1);
  EXPECT_EQ(indexOf(prob, 1, "less"), 0);
}

const BadCall kBadNames[] = {
    {"UnknownType", CALL(NVRLaddnames(p, 4, "a", 0, 0)),
     "NVRLaddnames: type = 4 must be 1 (rows), 2 (columns) or 3 (sets)"},
    {"ReversedRange", CALL(NVRLaddnames(p, 1, "a\0b", 1, 0)),
     "first = 1 and last = 0 must satisfy 0 <= first <= last <= 2 (the problem has 3 rows)"},
    {"RangeBeyondSets", CALL(NVRLaddsetnames(p, "a\0b", 0, 1)),
     "NVRLaddsetnames: first = 0 and last = 1 must satisfy 0 <= first <= last <= 0"},
    {"TooLong",
     +[](NVRLprob p) {
       const std::string name(NVRL_MAXNAMELEN + 1, 'a');
       return NVRLaddnames(p, 1, name.c_str(), 2, 2);
     },
     "the name of row 2 is 1025 characters long; at most 1024 are allowed"},
    {"LookUpOfAnUnknownName",
     +[](NVRLprob p) {
       int index;
       return NVRLgetindex(p, 2, "nosuch", &index);
     },
     "NVRLgetindex: there is no column named 'nosuch'"},
    {"NameListWithoutOutputs", CALL(NVRLgetnamelist(p, 1, nullptr, 0, nullptr, 0, 0)),
     "names and nbytes must not both be null"},
};

INSTANTIATE_TEST_SUITE_P(Names, BadCalls, ::testing::ValuesIn(kBadNames), nvtest::byLabel);

// ---- Quadratic objective and quadratic rows.

// The 32- and 64-bit queries agree, including when the room given is short.
TEST_F(StoreTest, ObjectiveQueryLayoutAndShortRoom) {
  buildRichModel();
  ASSERT_EQ(NVRLchgmqobj64(prob, 3, ints(1, 2, 0), ints(3, 3, 3), dbls(4, 5, 6)), 0);
  // Columns 1..3: column 1 has (0,1); column 3 has (0,3), (1,3), (2,3).
  auto expectLayout = [&](auto query, auto n) {  // n: the query's integer type
    SCOPED_TRACE(sizeof n * 8);
    std::vector<decltype(n)> start(4);
    std::vector<int> idx(2, -9);
    std::vector<double> val(2, -9);
    ASSERT_EQ(query(prob, start.data(), idx.data(), val.data(), 2, &n, 1, 3), 0);
    EXPECT_EQ(n, 4);
    EXPECT_EQ(start, (std::vector<decltype(n)>{0, 1, 1, 2}));
    EXPECT_EQ(idx, (std::vector<int>{0, 0}));
    EXPECT_EQ(val, (std::vector<double>{1, 6}));
  };
  expectLayout(NVRLgetmqobj, 0);
  expectLayout(NVRLgetmqobj64, NVRLint64{0});
}

TEST_F(StoreTest, RowQuadraticsAddUpAndCancel) {
  buildRichModel();
  const double v[] = {2, 1, 4};
  ASSERT_EQ(NVRLaddqmatrix64(prob, 0, 3, ints(1, 0, 3), ints(1, 2, 0), v), 0) << lastError(prob);
  EXPECT_EQ(qrow(prob, 0), (Triplets{{0, 0, 1}, {2, 3, 1}, {1, 4, 3}}));
  ASSERT_EQ(NVRLaddqmatrix64(prob, 0, 1, ints(1), ints(1), dbls(-3)), 0);
  EXPECT_EQ(qrow(prob, 0), (Triplets{{0, 0}, {2, 3}, {1, 4}}));
  ASSERT_EQ(NVRLaddqmatrix64(prob, 2, 1, ints(1), ints(1), v), 0);
  int n = 0;
  std::vector<int> qr(3);
  ASSERT_EQ(NVRLgetqrows(prob, &n, qr.data()), 0);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(qr[1], 2);
  ASSERT_EQ(NVRLdelqmatrix(prob, 0), 0);
  ASSERT_EQ(NVRLgetqrows(prob, &n, nullptr), 0);
  EXPECT_EQ(n, 1);
}

TEST_F(StoreTest, SingleRowCoefficientsSetReadAndRemove) {
  buildRichModel();
  ASSERT_EQ(NVRLchgqrowcoeff(prob, 1, 3, 2, 2.5), 0) << lastError(prob);
  double v = 0;
  ASSERT_EQ(NVRLgetqrowcoeff(prob, 1, 2, 3, &v), 0);
  EXPECT_EQ(v, 2.5);
  ASSERT_EQ(NVRLgetqrowcoeff(prob, 1, 0, 0, &v), 0);
  EXPECT_EQ(v, 0.0);
  // Column-wise query of columns 2..3 of row 1's upper triangle.
  int start[3], idx[1], n = 0;
  double val[1];
  ASSERT_EQ(NVRLgetqrowqmatrix(prob, 1, start, idx, val, 1, &n, 2, 3), 0);
  EXPECT_EQ(n, 1);
  EXPECT_EQ(std::vector<int>(start, start + 3), (std::vector<int>{0, 0, 1}));
  EXPECT_EQ(idx[0], 2);
  EXPECT_EQ(val[0], 2.5);
  ASSERT_EQ(NVRLchgqrowcoeff(prob, 1, 2, 3, 0), 0);
  ASSERT_EQ(NVRLgetqrows(prob, &n, nullptr), 0);
  EXPECT_EQ(n, 1);  // row 1 has no quadratic part left; row 0 still has one
}

const BadCall kBadQuadratics[] = {
    {"ObjectiveColumnOutOfRange", CALL(NVRLchgqobj(p, 0, 4, 1.0)),
     "NVRLchgqobj: objqcol2 = 4 is not a valid column index (the problem has 4 columns)"},
    {"NaNObjectiveEntry", CALL(NVRLchgmqobj(p, 2, ints(0, 1), ints(0, 1), dbls(1, NAN))),
     "NVRLchgmqobj: objqcoef[1] is NaN"},
    {"QuadraticOnMissingRow", CALL(NVRLaddqmatrix64(p, 3, 1, ints(0), ints(0), dbls(1))),
     "NVRLaddqmatrix64: row = 3 is not a valid row index"},
    {"RowTripletColumnOutOfRange",
     CALL(NVRLaddqmatrix64(p, 0, 2, ints(0, 0), ints(0, 7), dbls(1, 1))),
     "rowqcol2[1] = 7 is not a valid column index"},
    {"InfiniteRowCoefficient", CALL(NVRLchgqrowcoeff(p, 0, 0, 1, INFINITY)),
     "rowqcoef is infinite"},
    {"ObjectiveQueryEmptyRange",
     +[](NVRLprob p) {
       NVRLint64 n;
       return NVRLgetmqobj64(p, nullptr, nullptr, nullptr, 0, &n, 2, 1);
     },
     "first = 2 and last = 1 must satisfy 0 <= first <= last <= 3"},
    {"ObjectiveQueryNegativeRoom",
     +[](NVRLprob p) {
       int idx[1], n;
       return NVRLgetmqobj(p, nullptr, idx, nullptr, -1, &n, 0, 0);
     },
     "maxcoefs must not be negative"},
};

INSTANTIATE_TEST_SUITE_P(Quadratics, BadCalls, ::testing::ValuesIn(kBadQuadratics),
                         nvtest::byLabel);

// ---- Special ordered sets, indicators, general and piecewise-linear constraints.

// A single set may come with its one start only; several sets with n or n+1 starts.
TEST_F(StoreTest, SetsAddQueryAndDelete) {
  buildRichModel();
  ASSERT_EQ(NVRLaddsets64(prob, 1, 3, chars('2'), starts(0), ints(3, 2, 1), dbls(1, 2, 3)), 0)
      << lastError(prob);
  ASSERT_EQ(
      NVRLaddsets64(prob, 2, 3, chars('1', '2'), starts(0, 1, 3), ints(0, 1, 2), dbls(5, 1, 2)), 0)
      << lastError(prob);
  ASSERT_EQ(NVRLaddsetnames(prob, "last", 3, 3), 0);
  Sets s = sets(prob, 4);
  EXPECT_EQ(s.type, (std::vector<char>{'1', '2', '1', '2'}));
  EXPECT_EQ(s.members.start, (std::vector<NVRLint64>{0, 2, 5, 6, 8}));
  EXPECT_EQ(s.members.idx, (std::vector<int>{0, 1, 3, 2, 1, 0, 1, 2}));
  EXPECT_EQ(allNames(prob, 3, 4), (std::vector<std::string>{"s", "S2", "S3", "last"}));

  // A sub-range with too little room: starts are capped at the room.
  char type[2];
  NVRLint64 start[3], n = 0;
  int idx[2];
  double ref[2];
  ASSERT_EQ(NVRLgetsets64(prob, type, start, idx, ref, 2, &n, 1, 2), 0);
  EXPECT_EQ(n, 4);
  EXPECT_EQ(std::vector<NVRLint64>(start, start + 3), (std::vector<NVRLint64>{0, 2, 2}));
  EXPECT_EQ(std::vector<double>(ref, ref + 2), (std::vector<double>{1, 2}));

  ASSERT_EQ(NVRLdelsets(prob, 2, ints(1, 0)), 0) << lastError(prob);
  s = sets(prob, 2);
  EXPECT_EQ(s.type, (std::vector<char>{'1', '2'}));
  EXPECT_EQ(s.members.idx, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(allNames(prob, 3, 2), (std::vector<std::string>{"S1", "last"}));
  EXPECT_EQ(indexOf(prob, 3, "last"), 1);
}

// The rich model has an indicator on row 1 (column 2) and the piecewise-linear x0 = f(x1).
const GoodCall kEntityChanges[] = {
    {"indicators_set_replace_and_clear",  // the column of a cleared indicator is not looked at
     CALL(NVRLsetindicators(p, 3, ints(0, 2, 1), ints(3, 0, 99), ints(-1, 1, 0))),
     +[](Snapshot &s) {
       s.indcol = {3, -1, 0};
       s.indcomp = {-1, 0, 1};
     }},
    {"indicators_deleted_by_range", CALL(NVRLdelindicators(p, 1, 2)),
     +[](Snapshot &s) {
       s.indcol = {-1, -1, -1};
       s.indcomp = {0, 0, 0};
     }},
    {"piecewise_linear_with_a_jump",  // column 2 = f(column 3)
     CALL(NVRLaddpwlcons64(p, 1, 4, ints(3), ints(2), starts(0), dbls(0, 1, 1, 2),
                           dbls(0, 0, 1, 1))),
     +[](Snapshot &s) {
       s.npwls = 2;
       s.pwl = {{1, 3}, {0, 2}, {0, 3, 7}, {0, 1, 2, 0, 1, 1, 2}, {0, 1, 4, 0, 0, 1, 1}};
     }},
    {"piecewise_linear_deleted_before_a_later_one",
     CALL(NVRLaddpwlcons64(p, 1, 2, ints(3), ints(2), starts(0), dbls(0, 1), dbls(0, 1)) ||
          NVRLdelpwlcons(p, 1, ints(0))),
     +[](Snapshot &s) { s.pwl = {{3}, {2}, {0, 2}, {0, 1}, {0, 1}}; }},
};

INSTANTIATE_TEST_SUITE_P(Entities, GoodCalls, ::testing::ValuesIn(kEntityChanges), nvtest::byLabel);

TEST_F(StoreTest, GeneralConstraintsOfEveryShape) {
  buildRichModel();
  ASSERT_EQ(NVRLaddcols64(prob, 3, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  // x4 = abs(x0); x5 = and(x2, x6); x6 = min(x0, 3, -1). No values for the first two.
  ASSERT_EQ(NVRLaddgencons64(
                prob, 3, 4, 2, ints(NVRL_GENCONS_ABS, NVRL_GENCONS_AND, NVRL_GENCONS_MIN),
                ints(4, 5, 6), starts(0, 1, 3, 4), ints(0, 2, 6, 0), starts(0, 0, 0), dbls(3, -1)),
            0)
      << lastError(prob);
  const GenCons g = gencons(prob, 4);
  EXPECT_EQ(g.type, (std::vector<int>{NVRL_GENCONS_MAX, NVRL_GENCONS_ABS, NVRL_GENCONS_AND,
                                      NVRL_GENCONS_MIN}));
  EXPECT_EQ(g.resultant, (std::vector<int>{3, 4, 5, 6}));
  EXPECT_EQ(g.cols.start, (std::vector<NVRLint64>{0, 2, 3, 5, 6}));
  EXPECT_EQ(g.cols.idx, (std::vector<int>{0, 1, 0, 2, 6, 0}));
  EXPECT_EQ(g.vals.start, (std::vector<NVRLint64>{0, 1, 1, 1, 3}));
  EXPECT_EQ(g.vals.val, (std::vector<double>{1.5, 3, -1}));

  ASSERT_EQ(NVRLdelgencons(prob, 2, ints(0, 2)), 0);
  const GenCons left = gencons(prob, 2);
  EXPECT_EQ(left.type, (std::vector<int>{NVRL_GENCONS_ABS, NVRL_GENCONS_MIN}));
  // Column 5 is free now and can go; column 6 shifts to 5 everywhere.
  ASSERT_EQ(NVRLdelcols(prob, 1, ints(5)), 0) << lastError(prob);
  EXPECT_EQ(gencons(prob, 2).resultant, (std::vector<int>{4, 5}));
}

int addSet(NVRLprob p, int n, const char *type, const int *cols, const double *refs) {
  return NVRLaddsets64(p, 1, n, type, starts(0), cols, refs);
}
// One general constraint of the given type and resultant over the given columns.
int addGeneral(NVRLprob p, int type, int res, int ncols, const int *cols) {
  return NVRLaddgencons64(p, 1, ncols, 0, ints(type), ints(res), starts(0), cols, nullptr,
                          nullptr);
}
// Column 2 as the argument of a piecewise-linear function, column res its resultant.
int addPwl(NVRLprob p, int npoints, int res, const double *x, const double *y) {
  return NVRLaddpwlcons64(p, 1, npoints, ints(2), ints(res), starts(0), x, y);
}

const BadCall kBadEntities[] = {
    {"SetTypeUnknown", CALL(addSet(p, 1, chars('0'), ints(0), dbls(1))),
     "NVRLaddsets64: settype[0] must be '1' or '2'"},
    {"SetRepeatsAColumn", CALL(addSet(p, 2, chars('1'), ints(1, 1), dbls(1, 2))),
     "set 0 lists column 1 twice (colind[1])"},
    {"SetRepeatsReferenceValue", CALL(addSet(p, 2, chars('1'), ints(0, 1), dbls(1, 1))),
     "set 0 repeats the reference value 1 (refval[1])"},
    {"SetWithoutReferenceValues", CALL(addSet(p, 1, chars('1'), ints(0), nullptr)),
     "refval must not be null"},
    {"DeleteSetTwice", CALL(NVRLdelsets(p, 2, ints(0, 0))),
     "sets[1] = 0 repeats a set already listed for deletion"},
    {"IndicatorComplementTwo", CALL(NVRLsetindicators(p, 1, ints(0), ints(2), ints(2))),
     "complement[0] = 2 must be 1"},
    {"IndicatorColumnOutOfRange",
     CALL(NVRLsetindicators(p, 2, ints(0, 2), ints(2, 9), ints(1, -1))),
     "NVRLsetindicators: colind[1] = 9 is not a valid column index"},
    {"GeneralTypeUnknown", CALL(addGeneral(p, 5, 0, 1, ints(1))),
     "contype[0] = 5 is not a general constraint type"},
    {"AbsOfTwoColumns", CALL(addGeneral(p, NVRL_GENCONS_ABS, 0, 2, ints(1, 2))),
     "constraint 0 (abs) needs exactly one column and no values (has 2 columns, 0 values)"},
    {"OrWithValues",
     CALL(NVRLaddgencons64(p, 1, 1, 1, ints(NVRL_GENCONS_OR), ints(0), starts(0), ints(2),
                           starts(0), dbls(1))),
     "constraint 0 (or) needs at least one column and takes no values"},
    {"MaxOfNothing",
     CALL(NVRLaddgencons64(p, 2, 1, 0, ints(NVRL_GENCONS_MAX, NVRL_GENCONS_MAX), ints(0, 1),
                           starts(0, 1), ints(2), nullptr, nullptr)),
     "constraint 1 (max) needs at least one column or value"},
    {"ResultantAmongArguments", CALL(addGeneral(p, NVRL_GENCONS_MIN, 1, 2, ints(0, 1))),
     "constraint 0 uses its resultant column 1 as an argument (colind[1])"},
    {"ValuesWithoutStarts",
     CALL(NVRLaddgencons64(p, 1, 1, 1, ints(NVRL_GENCONS_MAX), ints(0), starts(0), ints(1), nullptr,
                           dbls(1))),
     "valstart must not be null"},
    {"DeleteMissingGeneralConstraint", CALL(NVRLdelgencons(p, 1, ints(1))),
     "conind[0] = 1 is not a valid general constraint index (the problem has 1 general "
     "constraints)"},
    {"BreakpointsOutOfOrder", CALL(addPwl(p, 3, 3, dbls(0, 2, 1), dbls(0, 0, 0))),
     "constraint 0: breakpoints out of order, xval[2] = 1 < xval[1] = 2"},
    {"BreakpointThreeTimes", CALL(addPwl(p, 3, 3, dbls(1, 1, 1), dbls(0, 1, 2))),
     "xval[2] = 1 appears three times in a row"},
    {"SingleBreakpoint", CALL(addPwl(p, 1, 3, dbls(1), dbls(0))),
     "constraint 0 has 1 breakpoints; at least 2 are needed"},
    {"PwlOfItself", CALL(addPwl(p, 2, 2, dbls(0, 1), dbls(0, 1))),
     "uses column 2 as both argument and resultant"},
};

INSTANTIATE_TEST_SUITE_P(Entities, BadCalls, ::testing::ValuesIn(kBadEntities), nvtest::byLabel);

// ---- Delayed rows, model cuts and secure rows and columns: the engine solves every row as an
// ordinary row, so marking changes nothing in the store and nothing in the answers.

// Every good call leaves the rich model exactly as it was.
const GoodCall kMarks[] = {
    {"delayed_rows", CALL(NVRLloaddelayedrows(p, 2, ints(2, 0))), nullptr},
    {"model_cuts_repeated_row", CALL(NVRLloadmodelcuts(p, 2, ints(1, 1))), nullptr},
    {"secure_rows_and_columns", CALL(NVRLloadsecurevecs(p, 1, 2, ints(2), ints(3, 0))), nullptr},
    {"nothing_marked", CALL(NVRLloadsecurevecs(p, 0, 0, nullptr, nullptr)), nullptr},
};
INSTANTIATE_TEST_SUITE_P(RowMarks, GoodCalls, ::testing::ValuesIn(kMarks), nvtest::byLabel);

const BadCall kBadMarks[] = {
    {"DelayedRowOutOfRange", CALL(NVRLloaddelayedrows(p, 2, ints(0, 3))),
     "NVRLloaddelayedrows: rowind[1] = 3 is not a valid row index"},
    {"ModelCutsNegativeCount", CALL(NVRLloadmodelcuts(p, -1, ints(0))), "NVRLloadmodelcuts: nrows"},
    {"ModelCutsWithoutRows", CALL(NVRLloadmodelcuts(p, 1, nullptr)), "rowind must not be null"},
    {"SecureColumnOutOfRange", CALL(NVRLloadsecurevecs(p, 1, 1, ints(0), ints(4))),
     "NVRLloadsecurevecs: colind[0] = 4 is not a valid column index"},
    {"SecureRowNegative", CALL(NVRLloadsecurevecs(p, 1, 0, ints(-1), nullptr)),
     "rowind[0] = -1 is not a valid row index"},
};
INSTANTIATE_TEST_SUITE_P(RowMarks, BadCalls, ::testing::ValuesIn(kBadMarks), nvtest::byLabel);

// max x + y with x, y <= 3 and the row x + y <= 4 marked in every way: the row binds, and
// an answer obtained before marking stays valid.
TEST_F(StoreTest, MarkedRowsAreEnforcedLikeOrdinaryRows) {
  const NVRLint64 start[] = {0, 1, 2};
  ASSERT_EQ(NVRLloadlp64(prob, "marks", 2, 1, chars('L'), dbls(4), nullptr, dbls(1, 1), start,
                         nullptr, ints(0, 0), dbls(1, 1), dbls(0, 0), dbls(3, 3)),
            0)
      << lastError(prob);
  ASSERT_EQ(NVRLchgobjsense(prob, -1), 0);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError(prob);
  ASSERT_EQ(intAttr(NVRL_ATTR_LP_STATUS), NVRL_LP_OPTIMAL);
  ASSERT_EQ(NVRLloaddelayedrows(prob, 1, ints(0)), 0);
  ASSERT_EQ(NVRLloadmodelcuts(prob, 1, ints(0)), 0);
  ASSERT_EQ(NVRLloadsecurevecs(prob, 1, 2, ints(0), ints(0, 1)), 0);
  EXPECT_EQ(intAttr(NVRL_ATTR_LP_STATUS), NVRL_LP_OPTIMAL);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError(prob);
  EXPECT_DOUBLE_EQ(dblAttr(NVRL_ATTR_LP_OBJECTIVE), 4.0);
  double slack = -1;
  ASSERT_EQ(NVRLgetlpsolval(prob, -1, 0, nullptr, &slack, nullptr, nullptr), 0);
  EXPECT_NEAR(slack, 0.0, 1e-9);
}

// ---- Objective and matrix coefficients at or beyond the infinity constant 1e20 are refused by
// every way into the store, naming the argument and index (or, in files, the row and
// column), and the refused call changes nothing.

const BadCall kHugeCoefficients[] = {
    {"ObjectiveCoefficient", CALL(NVRLchgobj(p, 2, ints(0, 3), dbls(1, 1e30))),
     "NVRLchgobj: objcoef[1] = 1e+30 is at or beyond the infinity constant 1e20"},
    {"ObjectiveConstant", CALL(NVRLchgobj(p, 1, ints(-1), dbls(-1e25))),
     "NVRLchgobj: objcoef[0] = -1e+25 is at or beyond"},
    {"ObjectiveCoefficientInfinite", CALL(NVRLchgobj(p, 1, ints(1), dbls(INFINITY))),
     "NVRLchgobj: objcoef[0] is infinite"},
    {"NewColumnObjectiveExactlyAtInfinity",
     CALL(NVRLaddcols64(p, 2, 0, dbls(2, 1e20), nullptr, nullptr, nullptr, nullptr, nullptr)),
     "NVRLaddcols64: objcoef[1] = 1e+20 is at or beyond"},
    {"LoadedObjective",
     CALL(NVRLloadlp64(p, "x", 2, 0, nullptr, nullptr, nullptr, dbls(1, -3e20), nullptr, nullptr,
                       nullptr, nullptr, nullptr, nullptr)),
     "NVRLloadlp64: obj[1] = -3e+20 is at or beyond"},
    {"LoadedQuadraticObjective",
     CALL(NVRLloadqp64(p, "x", 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                       nullptr, nullptr, nullptr, 1, ints(0), ints(0), dbls(1e21))),
     "objqcoef[0] = 1e+21 is at or beyond"},
    {"QuadraticObjective", CALL(NVRLchgqobj(p, 0, 1, -1e40)),
     "NVRLchgqobj: objqcoef = -1e+40 is at or beyond"},
    {"MatrixCoefficient", CALL(NVRLchgcoef(p, 0, 3, 1e20)),
     "NVRLchgcoef: coef = 1e+20 is at or beyond"},
    {"NewRowCoefficient",
     CALL(NVRLaddrows64(p, 1, 2, chars('L'), dbls(1), nullptr, starts(0, 2), ints(0, 1),
                        dbls(1, -1e22))),
     "NVRLaddrows64: rowcoef[1] = -1e+22 is at or beyond"},
    {"QuadraticRowCoefficient", CALL(NVRLaddqmatrix64(p, 1, 1, ints(0), ints(0), dbls(1e30))),
     "rowqcoef[0] = 1e+30 is at or beyond"},
};

INSTANTIATE_TEST_SUITE_P(Huge, BadCalls, ::testing::ValuesIn(kHugeCoefficients),
                         nvtest::byLabel);

struct HugeInFile {
  const char *label;
  const char *leaf;
  const char *text;
  const char *message;
};

class HugeInFiles : public iotest::FileTest, public ::testing::WithParamInterface<HugeInFile> {};

TEST_P(HugeInFiles, AreRefusedNamingRowAndColumn) {
  const HugeInFile &c = GetParam();
  load("good.lp", "min\n obj: x + y\nst\n r: x + y >= 1\nend\n");
  const nvrl::Model before = prob->model;
  const std::string p = writeText(c.leaf, c.text);
  EXPECT_NE(NVRLreadprob(prob, p.c_str(), ""), 0);
  EXPECT_EQ(lastError(), p + ": " + c.message);
  iotest::expectSameModel(before, prob->model);
}

#define ROWS "NAME t\nROWS\n N obj\n L r\nCOLUMNS\n"
#define TAIL "RHS\n    RHS r 3\nENDATA\n"
#define REFUSED ": objective and matrix coefficients at or beyond the infinity constant 1e20 (or NaN) are refused"
INSTANTIATE_TEST_SUITE_P(
    Files, HugeInFiles,
    ::testing::Values(
        HugeInFile{"mps_objective", "a.mps", ROWS "    x obj 1 r 2\n    y obj 1e30 r 1\n" TAIL,
                   "the objective coefficient of column 'y' is 1e+30" REFUSED},
        HugeInFile{"mps_matrix", "b.mps", ROWS "    x obj 1 r -1e20\n" TAIL,
                   "the coefficient of column 'x' in row 'r' is -1e+20" REFUSED},
        HugeInFile{"mps_constant", "c.mps", ROWS "    x obj 1 r 2\nRHS\n    RHS obj 1e21\nENDATA\n",
                   "the objective constant is -1e+21" REFUSED},
        HugeInFile{"mps_quadobj", "d.mps",
                   ROWS "    x obj 1 r 2\nRHS\nQUADOBJ\n    x x 1e25\nENDATA\n",
                   "the quadratic objective coefficient of columns 'x' and 'x' is 1e+25" REFUSED},
        HugeInFile{"lp_objective", "e.lp", "max\n obj: 2e20 x + y\nst\n r: x + y <= 1\nend\n",
                   "the objective coefficient of column 'x' is 2e+20" REFUSED}), nvtest::byLabel);
#undef REFUSED
#undef TAIL
#undef ROWS

}  // namespace
}  // namespace storetest
