// Changes to objective, bounds, rows, types and coefficients.
#include <cmath>
#include <string>
#include <vector>

#include "test_store_support.h"

namespace storetest {
namespace {

TEST_F(StoreTest, ObjectiveChangesIncludingTheConstant) {
  buildRichModel();
  ASSERT_EQ(NVRLchgobj(prob, 3, ints(2, -1, 2), dbls(7, 4.5, 8)), 0) << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.obj, (std::vector<double>{1, 2, 8, 4}));  // the last value for a column wins
  EXPECT_EQ(s.objconst, -4.5);
  ASSERT_EQ(NVRLchgobjsense(prob, -1), 0);
  EXPECT_EQ(dblAttr(prob, nvrl::id::kObjSenseAttr), -1.0);
}

TEST_F(StoreTest, BoundChangesByType) {
  buildRichModel();
  const int idx[] = {0, 1, 3, 0};
  const char type[] = {'U', 'L', 'B', 'L'};
  const double val[] = {3, 12, 2.5, -1e25};
  ASSERT_EQ(NVRLchgbounds(prob, 4, idx, type, val), 0) << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.lb, (std::vector<double>{-NVRL_INFINITY, 12, 0, 2.5}));
  EXPECT_EQ(s.ub, (std::vector<double>{3, 10, 1, 2.5}));  // lb > ub is kept: infeasible
}

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

TEST_F(StoreTest, RowTypeChangesDropRangesOfNonRangeRows) {
  buildRichModel();
  ASSERT_EQ(NVRLchgrowtype(prob, 2, ints(2, 0), chars('L', 'R')), 0) << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.rowtype, (std::vector<char>{'R', 'G', 'L'}));
  EXPECT_EQ(s.range, (std::vector<double>{0, 0, 0}));
  const int free_row[] = {1};
  const double rng[] = {1};
  ASSERT_EQ(NVRLchgrowtype(prob, 1, free_row, chars('N')), 0);
  EXPECT_NE(NVRLchgrhsrange(prob, 1, free_row, rng), 0);
  EXPECT_NE(lastError(prob).find("row 1 (rowind[0]) is a free row and cannot have a range"),
            std::string::npos);
}

TEST_F(StoreTest, ColumnTypesClampBinariesAndCarryLimits) {
  buildRichModel();
  ASSERT_EQ(NVRLchgcoltype(prob, 3, ints(0, 1, 3), chars('B', 'P', 'C')), 0) << lastError(prob);
  ASSERT_EQ(NVRLchgglblimit(prob, 1, ints(1), dbls(4)), 0) << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.coltype, (std::vector<char>{'B', 'P', 'B', 'C'}));
  EXPECT_EQ(s.ub[0], 1);  // was 10
  EXPECT_EQ(s.limit, (std::vector<double>{0, 4, 0, 0}));  // column 3 lost its limit
}

TEST_F(StoreTest, CoefficientChangesUpdateInsertAndRemove) {
  buildRichModel();
  const Sparse before = cols(prob, 0, 3);  // builds the column view
  ASSERT_EQ(NVRLchgcoef(prob, 0, 1, 9), 0);    // update
  ASSERT_EQ(NVRLchgcoef(prob, 1, 3, -2), 0);   // insert
  ASSERT_EQ(NVRLchgcoef(prob, 2, 0, 0), 0);    // remove
  ASSERT_EQ(NVRLchgcoef(prob, 2, 1, 0), 0);    // removing a missing entry changes nothing
  double v = -1;
  const struct {
    int r, c;
    double want;
  } expect[] = {{0, 1, 9}, {1, 3, -2}, {2, 0, 0}, {2, 1, 0}, {0, 0, 1}, {2, 3, 6}};
  for (const auto &e : expect) {
    ASSERT_EQ(NVRLgetcoef(prob, e.r, e.c, &v), 0);
    EXPECT_EQ(v, e.want) << e.r << "," << e.c;
  }
  const Sparse after = cols(prob, 0, 3);
  EXPECT_NE(after, before);
  EXPECT_EQ(after.start, (std::vector<NVRLint64>{0, 1, 3, 4, 6}));
  EXPECT_EQ(after.idx, (std::vector<int>{0, 0, 1, 1, 1, 2}));
  EXPECT_EQ(after.val, (std::vector<double>{1, 9, 3, 4, -2, 6}));
}

TEST_F(StoreTest, ManyCoefficientChangesInOneCallKeepTheLastValue) {
  buildRichModel();
  const int r[] = {2, 0, 2, 1, 0, 2}, c[] = {2, 3, 2, 0, 3, 0};
  ASSERT_EQ(NVRLchgmcoef64(prob, 6, r, c, dbls(1, 5, 7, 8, 0, 3)), 0) << lastError(prob);
  const Sparse m = rows(prob, 0, 2);
  EXPECT_EQ(m.start, (std::vector<NVRLint64>{0, 2, 5, 8}));
  double got = 0;
  const struct {
    int r, c;
    double want;
  } expect[] = {{2, 2, 7}, {0, 3, 0}, {1, 0, 8}, {2, 0, 3}};
  for (const auto &e : expect) {
    ASSERT_EQ(NVRLgetcoef(prob, e.r, e.c, &got), 0);
    EXPECT_EQ(got, e.want);
  }
  EXPECT_EQ(intAttr(prob, nvrl::id::kElems), 8);
}

const BadCall kBadChanges[] = {
    {"ObjectiveColumnBelowConstant",
     +[](NVRLprob p) { return NVRLchgobj(p, 1, ints(-2), dbls(1)); },
     "NVRLchgobj: colind[0] = -2 is not a valid column index (the problem has 4 columns)"},
    {"SenseZero", +[](NVRLprob p) { return NVRLchgobjsense(p, 0); },
     "objsense = 0 must be 1 (minimise) or -1 (maximise)"},
    {"UnknownBoundType",
     +[](NVRLprob p) { return NVRLchgbounds(p, 1, ints(0), chars('X'), dbls(1)); },
     "bndtype[0] must be 'U', 'L' or 'B'"},
    {"NaNBound",
     +[](NVRLprob p) { return NVRLchgbounds(p, 2, ints(0, 1), chars('U', 'L'), dbls(1, NAN)); },
     "bndval[1] is NaN"},
    {"RhsRowOutOfRange", +[](NVRLprob p) { return NVRLchgrhs(p, 1, ints(3), dbls(1)); },
     "NVRLchgrhs: rowind[0] = 3 is not a valid row index (the problem has 3 rows)"},
    {"NegativeRange", +[](NVRLprob p) { return NVRLchgrhsrange(p, 1, ints(0), dbls(-1)); },
     "rng[0] = -1 is negative"},
    {"UnknownRowType", +[](NVRLprob p) { return NVRLchgrowtype(p, 1, ints(0), chars('Q')); },
     "rowtype[0] is 'Q'"},
    {"UnknownColumnType", +[](NVRLprob p) { return NVRLchgcoltype(p, 1, ints(0), chars(0)); },
     "coltype[0] is character 0"},
    {"LimitOnContinuousColumn",
     +[](NVRLprob p) { return NVRLchgglblimit(p, 2, ints(3, 0), dbls(1, 1)); },
     "column 0 (colind[1]) has type 'C'; only 'S', 'R' and 'P' columns have a limit"},
    {"CoefficientColumnOutOfRange", +[](NVRLprob p) { return NVRLchgcoef(p, 0, 4, 1.0); },
     "NVRLchgcoef: col = 4 is not a valid column index"},
    {"InfiniteCoefficient",
     +[](NVRLprob p) { return NVRLchgmcoef(p, 2, ints(0, 1), ints(0, 0), dbls(1, INFINITY)); },
     "NVRLchgmcoef: rowcoef[1] is infinite"},
};

class BadChanges : public BadCallTest {};
TEST_P(BadChanges, FailsAndChangesNothing) { check(); }
INSTANTIATE_TEST_SUITE_P(Store, BadChanges, ::testing::ValuesIn(kBadChanges), badCallName);

}  // namespace
}  // namespace storetest
