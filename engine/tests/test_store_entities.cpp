// Special ordered sets, indicators, general and piecewise-linear constraints.
#include <cmath>
#include <string>
#include <vector>

#include "test_store_support.h"

namespace storetest {
namespace {

// A single set may come with its one start only; several sets with n or n+1 starts.
TEST_F(StoreTest, SetsAddQueryAndDelete) {
  buildRichModel();
  const char one[] = {'2'};
  const NVRLint64 start1[] = {0};
  const int cols1[] = {3, 2, 1};
  const double refs1[] = {1, 2, 3};
  ASSERT_EQ(NVRLaddsets64(prob, 1, 3, one, start1, cols1, refs1), 0) << lastError(prob);
  const char two[] = {'1', '2'};
  const NVRLint64 start2[] = {0, 1, 3};
  const int cols2[] = {0, 1, 2};
  const double refs2[] = {5, 1, 2};
  ASSERT_EQ(NVRLaddsets64(prob, 2, 3, two, start2, cols2, refs2), 0) << lastError(prob);
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
  int index = -1;
  ASSERT_EQ(NVRLgetindex(prob, 3, "last", &index), 0);
  EXPECT_EQ(index, 1);
}

// The rich model has an indicator on row 1 (column 2) and the piecewise-linear x0 = f(x1).
const GoodCall kEntityChanges[] = {
    {"indicators_set_replace_and_clear",  // the column of a cleared indicator is not looked at
     +[](NVRLprob p) {
       return NVRLsetindicators(p, 3, ints(0, 2, 1), ints(3, 0, 99), ints(-1, 1, 0));
     },
     +[](Snapshot &s) {
       s.indcol = {3, -1, 0};
       s.indcomp = {-1, 0, 1};
     }},
    {"indicators_deleted_by_range", +[](NVRLprob p) { return NVRLdelindicators(p, 1, 2); },
     +[](Snapshot &s) {
       s.indcol = {-1, -1, -1};
       s.indcomp = {0, 0, 0};
     }},
    {"piecewise_linear_with_a_jump",  // column 2 = f(column 3)
     +[](NVRLprob p) {
       return NVRLaddpwlcons64(p, 1, 4, ints(3), ints(2), starts(0), dbls(0, 1, 1, 2),
                               dbls(0, 0, 1, 1));
     },
     +[](Snapshot &s) {
       s.npwls = 2;
       s.pwl = {{1, 3}, {0, 2}, {0, 3, 7}, {0, 1, 2, 0, 1, 1, 2}, {0, 1, 4, 0, 0, 1, 1}};
     }},
    {"piecewise_linear_deleted_before_a_later_one",
     +[](NVRLprob p) -> int {
       return NVRLaddpwlcons64(p, 1, 2, ints(3), ints(2), starts(0), dbls(0, 1), dbls(0, 1)) ||
              NVRLdelpwlcons(p, 1, ints(0));
     },
     +[](Snapshot &s) { s.pwl = {{3}, {2}, {0, 2}, {0, 1}, {0, 1}}; }},
};

INSTANTIATE_TEST_SUITE_P(Entities, GoodCalls, ::testing::ValuesIn(kEntityChanges), nvtest::byLabel);

TEST_F(StoreTest, GeneralConstraintsOfEveryShape) {
  buildRichModel();
  ASSERT_EQ(NVRLaddcols64(prob, 3, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  // x4 = abs(x0); x5 = and(x2, x6); x6 = min(x0, 3, -1). No values for the first two.
  const int type[] = {NVRL_GENCONS_ABS, NVRL_GENCONS_AND, NVRL_GENCONS_MIN};
  const int res[] = {4, 5, 6};
  const NVRLint64 cs[] = {0, 1, 3, 4};
  const int cols[] = {0, 2, 6, 0};
  const NVRLint64 vs[] = {0, 0, 0};
  const double vals[] = {3, -1};
  ASSERT_EQ(NVRLaddgencons64(prob, 3, 4, 2, type, res, cs, cols, vs, vals), 0)
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
    {"SetTypeUnknown", +[](NVRLprob p) { return addSet(p, 1, chars('0'), ints(0), dbls(1)); },
     "NVRLaddsets64: settype[0] must be '1' or '2'"},
    {"SetRepeatsAColumn",
     +[](NVRLprob p) { return addSet(p, 2, chars('1'), ints(1, 1), dbls(1, 2)); },
     "set 0 lists column 1 twice (colind[1])"},
    {"SetRepeatsReferenceValue",
     +[](NVRLprob p) { return addSet(p, 2, chars('1'), ints(0, 1), dbls(1, 1)); },
     "set 0 repeats the reference value 1 (refval[1])"},
    {"SetWithoutReferenceValues",
     +[](NVRLprob p) { return addSet(p, 1, chars('1'), ints(0), nullptr); },
     "refval must not be null"},
    {"DeleteSetTwice", +[](NVRLprob p) { return NVRLdelsets(p, 2, ints(0, 0)); },
     "sets[1] = 0 repeats a set already listed for deletion"},
    {"IndicatorComplementTwo",
     +[](NVRLprob p) { return NVRLsetindicators(p, 1, ints(0), ints(2), ints(2)); },
     "complement[0] = 2 must be 1"},
    {"IndicatorColumnOutOfRange",
     +[](NVRLprob p) { return NVRLsetindicators(p, 2, ints(0, 2), ints(2, 9), ints(1, -1)); },
     "NVRLsetindicators: colind[1] = 9 is not a valid column index"},
    {"GeneralTypeUnknown", +[](NVRLprob p) { return addGeneral(p, 5, 0, 1, ints(1)); },
     "contype[0] = 5 is not a general constraint type"},
    {"AbsOfTwoColumns",
     +[](NVRLprob p) { return addGeneral(p, NVRL_GENCONS_ABS, 0, 2, ints(1, 2)); },
     "constraint 0 (abs) needs exactly one column and no values (has 2 columns, 0 values)"},
    {"OrWithValues",
     +[](NVRLprob p) {
       return NVRLaddgencons64(p, 1, 1, 1, ints(NVRL_GENCONS_OR), ints(0), starts(0), ints(2),
                               starts(0), dbls(1));
     },
     "constraint 0 (or) needs at least one column and takes no values"},
    {"MaxOfNothing",
     +[](NVRLprob p) {
       return NVRLaddgencons64(p, 2, 1, 0, ints(NVRL_GENCONS_MAX, NVRL_GENCONS_MAX), ints(0, 1),
                               starts(0, 1), ints(2), nullptr, nullptr);
     },
     "constraint 1 (max) needs at least one column or value"},
    {"ResultantAmongArguments",
     +[](NVRLprob p) { return addGeneral(p, NVRL_GENCONS_MIN, 1, 2, ints(0, 1)); },
     "constraint 0 uses its resultant column 1 as an argument (colind[1])"},
    {"ValuesWithoutStarts",
     +[](NVRLprob p) {
       return NVRLaddgencons64(p, 1, 1, 1, ints(NVRL_GENCONS_MAX), ints(0), starts(0), ints(1),
                               nullptr, dbls(1));
     },
     "valstart must not be null"},
    {"DeleteMissingGeneralConstraint", +[](NVRLprob p) { return NVRLdelgencons(p, 1, ints(1)); },
     "conind[0] = 1 is not a valid general constraint index (the problem has 1 general "
     "constraints)"},
    {"BreakpointsOutOfOrder",
     +[](NVRLprob p) { return addPwl(p, 3, 3, dbls(0, 2, 1), dbls(0, 0, 0)); },
     "constraint 0: breakpoints out of order, xval[2] = 1 < xval[1] = 2"},
    {"BreakpointThreeTimes",
     +[](NVRLprob p) { return addPwl(p, 3, 3, dbls(1, 1, 1), dbls(0, 1, 2)); },
     "xval[2] = 1 appears three times in a row"},
    {"SingleBreakpoint", +[](NVRLprob p) { return addPwl(p, 1, 3, dbls(1), dbls(0)); },
     "constraint 0 has 1 breakpoints; at least 2 are needed"},
    {"PwlOfItself", +[](NVRLprob p) { return addPwl(p, 2, 2, dbls(0, 1), dbls(0, 1)); },
     "uses column 2 as both argument and resultant"},
};

INSTANTIATE_TEST_SUITE_P(Entities, BadCalls, ::testing::ValuesIn(kBadEntities), nvtest::byLabel);

}  // namespace
}  // namespace storetest
