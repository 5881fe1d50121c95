// Loading whole problems: round trips through the queries, the summing of repeated entries,
// and bad input that must leave the previous model untouched.
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "test_store_support.h"

namespace storetest {
namespace {

// Column-wise input of the 3x4 matrix
//   row 0: 3 x0 + 2 x1        row 1: 4 x2 + 7 x3        row 2: 5 x0
// given with a repeated (row 0, column 0) entry (1 + 2), an explicit zero in column 2, and a
// negative zero in column 3 that the collen form leaves out.
enum class StartForm { Int32, Int64, WithCollen };

int loadSmall(NVRLprob prob, StartForm form) {
  const char rowtype[] = {'L', 'G', 'E'};
  const double rhs[] = {1, 2, 3};
  const int rowind[] = {0, 0, 2, 0, 1, 1, 1, 2};
  const double coef[] = {1, 2, 5, 2, 4, 0, 7, -0.0};
  const NVRLint64 start64[] = {0, 3, 4, 6, 8};
  const int start32[] = {0, 3, 4, 6, 8};
  const int collen[] = {3, 1, 2, 1};
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
}

INSTANTIATE_TEST_SUITE_P(Store, LoadForms,
                         ::testing::Values(StartForm::Int32, StartForm::Int64,
                                           StartForm::WithCollen));

TEST_F(StoreTest, RepeatedEntriesThatCancelLeaveNoEntry) {
  const char rowtype[] = {'L'};
  const double rhs[] = {1};
  const NVRLint64 start[] = {0, 3};
  const int rowind[] = {0, 0, 0};
  const double coef[] = {2, -2, 0};
  ASSERT_EQ(NVRLloadlp64(prob, "p", 1, 1, rowtype, rhs, nullptr, nullptr, start, nullptr, rowind,
                         coef, nullptr, nullptr),
            0);
  EXPECT_EQ(intAttr(prob, nvrl::id::kElems), 0);
  double v = -1;
  ASSERT_EQ(NVRLgetcoef(prob, 0, 0, &v), 0);
  EXPECT_EQ(v, 0.0);
}

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
  int index = -1;
  EXPECT_NE(NVRLgetindex(prob, 2, "x", &index), 0);  // old names are gone
}

TEST_F(StoreTest, BoundsAndRightHandSidesBeyondInfinityAreStoredAsInfinite) {
  const char rowtype[] = {'L', 'R'};
  const double rhs[] = {1e30, 5}, range[] = {0, 1e25};
  const double lb[] = {-std::numeric_limits<double>::infinity()}, ub[] = {3e21};
  ASSERT_EQ(NVRLloadlp64(prob, "p", 1, 2, rowtype, rhs, range, nullptr, nullptr, nullptr, nullptr,
                         nullptr, lb, ub),
            0)
      << lastError(prob);
  const Snapshot s = snapshot(prob);
  EXPECT_EQ(s.lb[0], -NVRL_INFINITY);
  EXPECT_EQ(s.ub[0], NVRL_INFINITY);
  EXPECT_EQ(s.rhs[0], NVRL_INFINITY);
  EXPECT_EQ(s.range[1], NVRL_INFINITY);
}

TEST_F(StoreTest, QuadraticLoadsSumRepeatsInEitherOrder) {
  const NVRLint64 start[] = {0, 0, 0};
  const int q1[] = {0, 1, 1}, q2[] = {1, 0, 1};
  const double qv[] = {1, 2, 3};
  ASSERT_EQ(NVRLloadqp64(prob, "q", 2, 0, nullptr, nullptr, nullptr, nullptr, start, nullptr,
                         nullptr, nullptr, nullptr, nullptr, 3, q1, q2, qv),
            0)
      << lastError(prob);
  const Sparse q = qobj(prob, 2);
  EXPECT_EQ(q, (Sparse{{0, 0, 2}, {0, 1}, {3, 3}}));
}

TEST_F(StoreTest, GlobalLoadWithoutLimitsAndBinaryBoundsClamped) {
  const NVRLint64 start[] = {0, 0, 0};
  const double lb[] = {-3, 0}, ub[] = {7, 9};
  const char coltype[] = {'B', 'I'};
  const int entind[] = {0, 1};
  ASSERT_EQ(NVRLloadglobal64(prob, "g", 2, 0, nullptr, nullptr, nullptr, nullptr, start, nullptr,
                             nullptr, nullptr, lb, ub, 2, 0, coltype, entind, nullptr, nullptr,
                             nullptr, nullptr, nullptr),
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
     +[](NVRLprob p) {
       return NVRLloadlp64(p, "b", -1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr, nullptr, nullptr, nullptr);
     },
     "NVRLloadlp64: ncols must not be negative"},
    {"UnknownRowType", +[](NVRLprob p) { return loadWith(p, chars('L', 'X')); },
     "rowtype[1] is 'X'"},
    {"RangeRowWithoutRanges", +[](NVRLprob p) { return loadWith(p, chars('L', 'R')); },
     "range is null but rowtype[1] is 'R'"},
    {"NegativeRange",
     +[](NVRLprob p) { return loadWith(p, chars('R', 'L'), dbls(1, 2), dbls(-1, 0)); },
     "range[0] = -1 is negative"},
    {"NaNRhs", +[](NVRLprob p) { return loadWith(p, chars('L', 'G'), dbls(1, NAN)); },
     "rhs[1] is NaN"},
    {"RowIndexOutOfRange",
     +[](NVRLprob p) {
       return loadWith(p, chars('L', 'G'), dbls(1, 2), nullptr, starts(0, 1, 2), nullptr,
                       ints(0, 2));
     },
     "rowind[1] = 2 is not a valid row index (the problem has 2 rows)"},
    {"DecreasingStarts",
     +[](NVRLprob p) { return loadWith(p, chars('L', 'G'), dbls(1, 2), nullptr, starts(0, 2, 1)); },
     "start must not decrease"},
    {"NegativeColumnLength",
     +[](NVRLprob p) {
       return loadWith(p, chars('L', 'G'), dbls(1, 2), nullptr, starts(0, 1, 2), ints(1, -1));
     },
     "collen[1] = -1 is negative"},
    {"NameTooLong",
     +[](NVRLprob p) {
       const std::string name(NVRL_MAXNAMELEN + 1, 'n');
       return NVRLloadlp64(p, name.c_str(), 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr, nullptr, nullptr, nullptr, nullptr);
     },
     "name is longer than 1024 characters"},
    {"QuadraticRowListedTwice",
     +[](NVRLprob p) {
       return NVRLloadqcqp64(p, "b", 2, 2, chars('L', 'G'), dbls(1, 2), nullptr, nullptr,
                             starts(0, 1, 2), nullptr, ints(0, 1), dbls(1, 1), nullptr, nullptr,
                             0, nullptr, nullptr, nullptr, 2, ints(1, 1), starts(1, 1),
                             ints(0, 0), ints(0, 0), dbls(1, 1));
     },
     "qrowind[1] = 1 lists a row twice"},
    {"UnknownColumnType",
     +[](NVRLprob p) {
       return NVRLloadglobal64(p, "b", 2, 2, chars('L', 'G'), dbls(1, 2), nullptr, nullptr,
                               starts(0, 1, 2), nullptr, ints(0, 1), dbls(1, 1), nullptr,
                               nullptr, 1, 0, chars('Z'), ints(0), nullptr, nullptr, nullptr,
                               nullptr, nullptr);
     },
     "coltype[0] is 'Z'"},
    {"ColumnTypedTwice",
     +[](NVRLprob p) {
       return NVRLloadglobal64(p, "b", 2, 2, chars('L', 'G'), dbls(1, 2), nullptr, nullptr,
                               starts(0, 1, 2), nullptr, ints(0, 1), dbls(1, 1), nullptr,
                               nullptr, 2, 0, chars('I', 'B'), ints(1, 1), nullptr, nullptr,
                               nullptr, nullptr, nullptr);
     },
     "entind[1] = 1 gives column 1 a second type"},
};

INSTANTIATE_TEST_SUITE_P(Load, BadCalls, ::testing::ValuesIn(kBadLoads), nvtest::byLabel);

}  // namespace
}  // namespace storetest
