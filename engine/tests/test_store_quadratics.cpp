// Quadratic objective and quadratic rows.
#include <cmath>
#include <string>
#include <vector>

#include "test_store_support.h"

namespace storetest {
namespace {

// The 32- and 64-bit queries agree, including when the room given is short.
TEST_F(StoreTest, ObjectiveQueryLayoutAndShortRoom) {
  buildRichModel();
  ASSERT_EQ(NVRLchgmqobj64(prob, 3, ints(1, 2, 0), ints(3, 3, 3), dbls(4, 5, 6)), 0);
  // Columns 1..3: column 1 has (0,1); column 3 has (0,3), (1,3), (2,3).
  std::vector<int> s32(4), idx32(2, -9);
  std::vector<double> val32(2, -9);
  int n32 = 0;
  ASSERT_EQ(NVRLgetmqobj(prob, s32.data(), idx32.data(), val32.data(), 2, &n32, 1, 3), 0);
  std::vector<NVRLint64> s64(4);
  std::vector<int> idx64(2, -9);
  std::vector<double> val64(2, -9);
  NVRLint64 n64 = 0;
  ASSERT_EQ(NVRLgetmqobj64(prob, s64.data(), idx64.data(), val64.data(), 2, &n64, 1, 3), 0);
  EXPECT_EQ(n32, 4);
  EXPECT_EQ(n64, 4);
  EXPECT_EQ(s32, (std::vector<int>{0, 1, 1, 2}));
  EXPECT_EQ(s64, (std::vector<NVRLint64>{0, 1, 1, 2}));
  EXPECT_EQ(idx32, (std::vector<int>{0, 0}));
  EXPECT_EQ(idx64, idx32);
  EXPECT_EQ(val32, (std::vector<double>{1, 6}));
  EXPECT_EQ(val64, val32);
}

TEST_F(StoreTest, RowQuadraticsAddUpAndCancel) {
  buildRichModel();
  const double v[] = {2, 1, 4};
  ASSERT_EQ(NVRLaddqmatrix64(prob, 0, 3, ints(1, 0, 3), ints(1, 2, 0), v), 0) << lastError(prob);
  EXPECT_EQ(qrow(prob, 0), (Triplets{{0, 0, 1}, {2, 3, 1}, {1, 4, 3}}));
  const int m1[] = {1}, m2[] = {1};
  ASSERT_EQ(NVRLaddqmatrix64(prob, 0, 1, m1, m2, dbls(-3)), 0);
  EXPECT_EQ(qrow(prob, 0), (Triplets{{0, 0}, {2, 3}, {1, 4}}));
  ASSERT_EQ(NVRLaddqmatrix64(prob, 2, 1, m1, m2, v), 0);
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
    {"ObjectiveColumnOutOfRange", +[](NVRLprob p) { return NVRLchgqobj(p, 0, 4, 1.0); },
     "NVRLchgqobj: objqcol2 = 4 is not a valid column index (the problem has 4 columns)"},
    {"NaNObjectiveEntry",
     +[](NVRLprob p) { return NVRLchgmqobj(p, 2, ints(0, 1), ints(0, 1), dbls(1, NAN)); },
     "NVRLchgmqobj: objqcoef[1] is NaN"},
    {"QuadraticOnMissingRow",
     +[](NVRLprob p) { return NVRLaddqmatrix64(p, 3, 1, ints(0), ints(0), dbls(1)); },
     "NVRLaddqmatrix64: row = 3 is not a valid row index"},
    {"RowTripletColumnOutOfRange",
     +[](NVRLprob p) { return NVRLaddqmatrix64(p, 0, 2, ints(0, 0), ints(0, 7), dbls(1, 1)); },
     "rowqcol2[1] = 7 is not a valid column index"},
    {"InfiniteRowCoefficient",
     +[](NVRLprob p) { return NVRLchgqrowcoeff(p, 0, 0, 1, INFINITY); },
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

}  // namespace
}  // namespace storetest
