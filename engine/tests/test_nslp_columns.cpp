// Per-column settings of the nonlinear solver as the solve sees them: initial values chosen
// through each entry point decide which local optimum is found, and the current point can
// become the next start.
#include <cmath>
#include <string>
#include <vector>

#include "test_nslp_support.h"

using nslptest::getVar;
using nslptest::NslpTest;
using nslptest::setVar;
using nslptest::VarIn;
using nslptest::VarOut;

namespace {

// min -x^2 on [-1, 2]: a local minimum at each bound (-1 and -4), chosen by the start.
class ConcaveStart : public NslpTest, public ::testing::WithParamInterface<const char *> {
 protected:
  void SetUp() override {
    NslpTest::SetUp();
    x = col(-1, 2, 0);
    qobj({{x, x, -2.0}});
  }
  void setStart(double v) {
    const std::string how = GetParam();
    if (how == "chgvar") {
      ASSERT_EQ(0, setVar(slp, x, &VarIn::initvalue, v));
    } else if (how == "addvars") {
      ASSERT_EQ(0, NSLPaddvars(slp, 1, &x, nullptr, nullptr, nullptr, nullptr, &v, nullptr));
    } else {
      ASSERT_EQ(0, NSLPloadvars(slp, 1, &x, nullptr, nullptr, nullptr, nullptr, &v, nullptr));
    }
  }
  int x = -1;
};

TEST_P(ConcaveStart, TheInitialValueChoosesTheLocalOptimum) {
  for (auto [start, end] : {std::pair{-0.5, -1.0}, std::pair{0.5, 2.0}}) {
    setStart(start);
    ASSERT_EQ(0, optimize()) << slpError();
    EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
    EXPECT_NEAR(end, NslpTest::x()[x], 1e-6) << "from " << start;
  }
  // Deleting the settings brings back the default start: the point of the bounds nearest to 0.
  ASSERT_EQ(0, NSLPdelvars(slp, 1, &x));
  EXPECT_EQ(0.0, getVar(slp, x, &VarOut::initvalue));
}

INSTANTIATE_TEST_SUITE_P(EntryPoints, ConcaveStart,
                         ::testing::Values("chgvar", "addvars", "loadvars"));

TEST_F(NslpTest, CurrentPointBecomesTheNextStart) {
  // Rosen-Suzuki's rows with a linear objective: a few iterations from 0, none to speak of
  // from the optimum.
  for (int j = 0; j < 4; ++j) col(-1e20, 1e20, j == 2 ? -1.0 : 0.0);
  int r = row('L', 8, {{0, 1}, {1, -1}, {2, 1}, {3, -1}});
  qrow(r, {{0, 0, 1}, {1, 1, 1}, {2, 2, 1}, {3, 3, 1}});
  ASSERT_EQ(0, optimize()) << slpError();
  const int first = intAttr(NSLP_ATTR_ITERATIONS);
  const double obj = objective();
  ASSERT_EQ(0, NSLPsetcurrentiv(slp));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_NEAR(obj, objective(), 1e-7);
  EXPECT_LT(intAttr(NSLP_ATTR_ITERATIONS), first);
  // Forgetting the solve leaves nothing to take the start from.
  ASSERT_EQ(0, NSLPreinitialize(slp));
  EXPECT_EQ(NSLP_NLP_UNSTARTED, status());
  EXPECT_NE(0, NSLPsetcurrentiv(slp));
}

}  // namespace
