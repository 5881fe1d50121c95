// Delayed rows, model cuts and secure rows and columns: the engine solves every row as an
// ordinary row, so marking changes nothing in the store and nothing in the answers.
#include <string>

#include "test_store_support.h"

namespace storetest {
namespace {

// Every good call leaves the rich model exactly as it was.
const GoodCall kMarks[] = {
    {"delayed_rows", +[](NVRLprob p) { return NVRLloaddelayedrows(p, 2, ints(2, 0)); },
     +[](Snapshot &) {}},
    {"model_cuts_repeated_row", +[](NVRLprob p) { return NVRLloadmodelcuts(p, 2, ints(1, 1)); },
     +[](Snapshot &) {}},
    {"secure_rows_and_columns",
     +[](NVRLprob p) { return NVRLloadsecurevecs(p, 1, 2, ints(2), ints(3, 0)); },
     +[](Snapshot &) {}},
    {"nothing_marked", +[](NVRLprob p) { return NVRLloadsecurevecs(p, 0, 0, nullptr, nullptr); },
     +[](Snapshot &) {}},
};
INSTANTIATE_TEST_SUITE_P(RowMarks, GoodCalls, ::testing::ValuesIn(kMarks), nvtest::byLabel);

const BadCall kBadMarks[] = {
    {"DelayedRowOutOfRange", +[](NVRLprob p) { return NVRLloaddelayedrows(p, 2, ints(0, 3)); },
     "NVRLloaddelayedrows: rowind[1] = 3 is not a valid row index"},
    {"ModelCutsNegativeCount", +[](NVRLprob p) { return NVRLloadmodelcuts(p, -1, ints(0)); },
     "NVRLloadmodelcuts: nrows"},
    {"ModelCutsWithoutRows", +[](NVRLprob p) { return NVRLloadmodelcuts(p, 1, nullptr); },
     "rowind must not be null"},
    {"SecureColumnOutOfRange",
     +[](NVRLprob p) { return NVRLloadsecurevecs(p, 1, 1, ints(0), ints(4)); },
     "NVRLloadsecurevecs: colind[0] = 4 is not a valid column index"},
    {"SecureRowNegative",
     +[](NVRLprob p) { return NVRLloadsecurevecs(p, 1, 0, ints(-1), nullptr); },
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

}  // namespace
}  // namespace storetest
