// Objective and matrix coefficients at or beyond the infinity constant 1e20 are refused by
// every way into the store, naming the argument and index (or, in files, the row and
// column), and the refused call changes nothing.
#include <cmath>

#include "test_io_support.h"
#include "test_store_support.h"

namespace storetest {
namespace {

const BadCall kHugeCoefficients[] = {
    {"ObjectiveCoefficient",
     +[](NVRLprob p) { return NVRLchgobj(p, 2, ints(0, 3), dbls(1, 1e30)); },
     "NVRLchgobj: objcoef[1] = 1e+30 is at or beyond the infinity constant 1e20"},
    {"ObjectiveConstant", +[](NVRLprob p) { return NVRLchgobj(p, 1, ints(-1), dbls(-1e25)); },
     "NVRLchgobj: objcoef[0] = -1e+25 is at or beyond"},
    {"ObjectiveCoefficientInfinite",
     +[](NVRLprob p) { return NVRLchgobj(p, 1, ints(1), dbls(INFINITY)); },
     "NVRLchgobj: objcoef[0] is infinite"},
    {"NewColumnObjectiveExactlyAtInfinity",
     +[](NVRLprob p) {
       return NVRLaddcols64(p, 2, 0, dbls(2, 1e20), nullptr, nullptr, nullptr, nullptr, nullptr);
     },
     "NVRLaddcols64: objcoef[1] = 1e+20 is at or beyond"},
    {"LoadedObjective",
     +[](NVRLprob p) {
       return NVRLloadlp64(p, "x", 2, 0, nullptr, nullptr, nullptr, dbls(1, -3e20), nullptr,
                           nullptr, nullptr, nullptr, nullptr, nullptr);
     },
     "NVRLloadlp64: obj[1] = -3e+20 is at or beyond"},
    {"LoadedQuadraticObjective",
     +[](NVRLprob p) {
       return NVRLloadqp64(p, "x", 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr, nullptr, nullptr, nullptr, 1, ints(0), ints(0), dbls(1e21));
     },
     "objqcoef[0] = 1e+21 is at or beyond"},
    {"QuadraticObjective", +[](NVRLprob p) { return NVRLchgqobj(p, 0, 1, -1e40); },
     "NVRLchgqobj: objqcoef = -1e+40 is at or beyond"},
    {"MatrixCoefficient", +[](NVRLprob p) { return NVRLchgcoef(p, 0, 3, 1e20); },
     "NVRLchgcoef: coef = 1e+20 is at or beyond"},
    {"NewRowCoefficient",
     +[](NVRLprob p) {
       return NVRLaddrows64(p, 1, 2, chars('L'), dbls(1), nullptr, starts(0, 2), ints(0, 1),
                            dbls(1, -1e22));
     },
     "NVRLaddrows64: rowcoef[1] = -1e+22 is at or beyond"},
    {"QuadraticRowCoefficient",
     +[](NVRLprob p) { return NVRLaddqmatrix64(p, 1, 1, ints(0), ints(0), dbls(1e30)); },
     "rowqcoef[0] = 1e+30 is at or beyond"},
};

INSTANTIATE_TEST_SUITE_P(Huge, BadCalls, ::testing::ValuesIn(kHugeCoefficients),
                         nvtest::byLabel);

// Just below the infinity constant is still a number.
TEST_F(StoreTest, CoefficientsJustBelowTheInfinityConstantAreKept) {
  buildRichModel();
  ASSERT_EQ(NVRLchgobj(prob, 1, ints(0), dbls(-9.99e19)), 0) << lastError(prob);
  ASSERT_EQ(NVRLchgcoef(prob, 1, 0, 9.99e19), 0) << lastError(prob);
  double got = 0;
  ASSERT_EQ(NVRLgetcoef(prob, 1, 0, &got), 0);
  EXPECT_EQ(got, 9.99e19);
}

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
