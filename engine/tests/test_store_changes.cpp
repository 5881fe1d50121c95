// Changes to objective, bounds, rows, types and coefficients.
#include <cmath>
#include <string>
#include <vector>

#include "test_store_support.h"

namespace storetest {
namespace {

// Rich model: obj {1, 2, 3, 4}, bounds [0, 10] [0, 10] [0, 1] [0, 5], types C C B S, rows
// 'L' 4, 'G' 1, 'R' 10 (range 4); matrix rows (0: 1, 1: 2), (1: 3, 2: 4), (0: 5, 3: 6).
const GoodCall kChanges[] = {
    {"objective_and_constant",  // the last value for a column wins
     +[](NVRLprob p) { return NVRLchgobj(p, 3, ints(2, -1, 2), dbls(7, 4.5, 8)); },
     +[](Snapshot &s) {
       s.obj[2] = 8;
       s.objconst = -4.5;
     }},
    {"sense", +[](NVRLprob p) { return NVRLchgobjsense(p, -1); },
     +[](Snapshot &s) { s.objsense = -1; }},
    {"bounds_by_type",  // lb > ub is kept: infeasible
     +[](NVRLprob p) {
       return NVRLchgbounds(p, 4, ints(0, 1, 3, 0), chars('U', 'L', 'B', 'L'),
                            dbls(3, 12, 2.5, -1e25));
     },
     +[](Snapshot &s) {
       s.lb = {-NVRL_INFINITY, 12, 0, 2.5};
       s.ub = {3, 10, 1, 2.5};
     }},
    {"row_types_drop_ranges_of_other_rows",
     +[](NVRLprob p) { return NVRLchgrowtype(p, 2, ints(2, 0), chars('L', 'R')); },
     +[](Snapshot &s) {
       s.rowtype = {'R', 'G', 'L'};
       s.range = {0, 0, 0};
     }},
    {"column_types_clamp_binaries_and_carry_limits",
     +[](NVRLprob p) -> int {
       return NVRLchgcoltype(p, 3, ints(0, 1, 3), chars('B', 'P', 'C')) ||
              NVRLchgglblimit(p, 1, ints(1), dbls(4));
     },
     +[](Snapshot &s) {
       s.coltype = {'B', 'P', 'B', 'C'};
       s.ub[0] = 1;
       s.limit = {0, 4, 0, 0};  // column 3 lost its limit
     }},
    {"coefficients_update_insert_and_remove",  // removing a missing entry changes nothing
     +[](NVRLprob p) -> int {
       return NVRLchgcoef(p, 0, 1, 9) || NVRLchgcoef(p, 1, 3, -2) || NVRLchgcoef(p, 2, 0, 0) ||
              NVRLchgcoef(p, 2, 1, 0);
     },
     +[](Snapshot &s) { s.byrow = {{0, 2, 5, 6}, {0, 1, 1, 2, 3, 3}, {1, 9, 3, 4, -2, 6}}; }},
    {"many_coefficients_in_one_call_keep_the_last_value",
     +[](NVRLprob p) {
       return NVRLchgmcoef64(p, 6, ints(2, 0, 2, 1, 0, 2), ints(2, 3, 2, 0, 3, 0),
                             dbls(1, 5, 7, 8, 0, 3));
     },
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
     +[](NVRLprob p) {
       return NVRLaddcols64(p, 2, 4, dbls(-1, 0), starts(0, 3, 4), ints(2, 0, 2, 1),
                            dbls(1, 8, 1, 9), dbls(-5, 1), nullptr);
     },
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
  GetParam().change(expected);
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

}  // namespace
}  // namespace storetest
