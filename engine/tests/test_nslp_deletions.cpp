// Deleting rows and columns of the optimiser problem beneath a nonlinear problem: the
// nonlinear data follows the new numbering, and a column a formula needs cannot go.
#include <cmath>
#include <string>
#include <vector>

#include "test_nslp_support.h"

using nslptest::F;
using nslptest::NslpTest;

namespace {

constexpr double kFree = 1e20;

class Deletions : public NslpTest {
 protected:
  // HS 7 (min ln(1 + x^2) - y  s.t.  (1 + x^2)^2 + y^2 = 4, optimum -sqrt(3) at (0, sqrt(3)))
  // with a spare column before x and a spare row (with a nonlinear coefficient of its own)
  // before the constraint, so that deleting the spares moves everything else.
  void build() {
    spareCol = col(-kFree, kFree, 0);
    x = col(-kFree, kFree, 0);
    y = col(-kFree, kFree, 0);
    spareRow = row('L', 100.0, {{spareCol, 1.0}});
    coef(spareRow, -1, 1.0, F().x(spareCol).k(2).pow());
    const int r = row('E', 4.0, {});
    coef(r, -1, 1.0, F().k(1).x(x).k(2).pow().add().k(2).pow().x(y).k(2).pow().add());
    formulaObjective(F().args().k(1).x(x).k(2).pow().add().fn(NSLP_FN_LN).x(y).sub());
    start(x, 2.0);
    start(y, 2.0);
  }
  int spareCol = -1, x = -1, y = -1, spareRow = -1;
};

TEST_F(Deletions, NonlinearDataFollowsTheNewNumbering) {
  build();
  int kept = 0, next = 0;
  ASSERT_EQ(0, NSLPsetstring(slp, &kept, "kept"));
  ASSERT_EQ(0, NVRLdelrows(prob, 1, &spareRow)) << lastError();
  // Data that rows and columns do not index carries over: the string kept still holds its
  // index, so the next one gets the one after.
  ASSERT_EQ(0, NSLPsetstring(slp, &next, "next"));
  EXPECT_EQ(kept + 1, next);
  // The spare row's coefficient went with it.
  EXPECT_EQ(2, intAttr(NSLP_ATTR_COEFFICIENTS));
  ASSERT_EQ(0, NVRLdelcols(prob, 1, &spareCol)) << lastError();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(-std::sqrt(3.0), objective(), 1e-6);
  const std::vector<double> sol = NslpTest::x();
  EXPECT_NEAR(0.0, sol[0], 1e-4);  // x and y are columns 0 and 1 now
  EXPECT_NEAR(std::sqrt(3.0), sol[1], 1e-4);
  // The starting values moved with their columns.
  double iv = 0;
  ASSERT_EQ(0, NSLPgetvar(slp, 1, nullptr, nullptr, nullptr, nullptr, nullptr, &iv, nullptr,
                          nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(2.0, iv);
}

TEST_F(Deletions, AColumnAFormulaUsesIsRefusedAndNothingChanges) {
  build();
  const int before = model().cols();
  const auto coefs = slp->data.coefs;
  for (int c : {spareCol, x}) {
    EXPECT_NE(0, NVRLdelcols(prob, 1, &c));
    EXPECT_NE(std::string::npos, lastError().find("formula")) << lastError();
    EXPECT_EQ(before, model().cols());
    ASSERT_EQ(coefs.size(), slp->data.coefs.size());
    for (size_t k = 0; k < coefs.size(); ++k) {
      EXPECT_EQ(coefs[k].row, slp->data.coefs[k].row);
      ASSERT_EQ(coefs[k].formula.size(), slp->data.coefs[k].formula.size());
      for (size_t t = 0; t < coefs[k].formula.size(); ++t)
        EXPECT_EQ(coefs[k].formula[t].value, slp->data.coefs[k].formula[t].value);
    }
  }
  // Once its formula's row is gone, the spare column may go too.
  ASSERT_EQ(0, NVRLdelrows(prob, 1, &spareRow));
  EXPECT_EQ(0, NVRLdelcols(prob, 1, &spareCol)) << lastError();
}

TEST_F(Deletions, ADestroyedNonlinearProblemNoLongerFollows) {
  build();
  ASSERT_EQ(0, NSLPdestroyprob(slp));
  slp = nullptr;
  EXPECT_EQ(0, NVRLdelcols(prob, 1, &x)) << lastError();
  ASSERT_EQ(0, NSLPcreateprob(&slp, &prob));
}

}  // namespace
