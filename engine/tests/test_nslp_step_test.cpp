// The solver's step test: a step cut short by a step bound smaller than the step tolerance is
// no sign of convergence.
#include <cmath>
#include <ostream>

#include "test_nslp_support.h"

namespace nslptest {
namespace {

struct SmallBoundCase {
  const char *name;
  double bound;
  bool perColumn;  // the column's own initial step bound, else the control
  friend void PrintTo(const SmallBoundCase &c, std::ostream *os) { *os << c.name; }
};

class SlpSmallStepBound : public NslpTest, public ::testing::WithParamInterface<SmallBoundCase> {};

TEST_P(SlpSmallStepBound, DoesNotEndTheSolveAtTheStart) {
  // min (x - 1)^2 from x = 0: every early step is its bound, far below the step tolerance,
  // and the bound doubles per good step until x can reach 1.
  const SmallBoundCase &c = GetParam();
  const int v = col(-1e20, 1e20, 0.0);
  formulaObjective(F().x(v).k(1).sub().k(2).pow());
  start(v, 0.0);
  if (c.perColumn)
    ASSERT_EQ(0, NSLPchgvar(slp, v, nullptr, &c.bound, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr))
        << slpError();
  else
    ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_INITIAL_STEP_BOUND, c.bound));
  ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_STEP_TOLERANCE, 1e-6));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(1.0, x().at(v), 1e-5);
}

INSTANTIATE_TEST_SUITE_P(Slp, SlpSmallStepBound,
                         ::testing::Values(SmallBoundCase{"Control", 1e-7, false},
                                           SmallBoundCase{"ControlTiny", 1e-10, false},
                                           SmallBoundCase{"Column", 1e-8, true}),
                         [](const ::testing::TestParamInfo<SmallBoundCase> &i) {
                           return i.param.name;
                         });

}  // namespace
}  // namespace nslptest
