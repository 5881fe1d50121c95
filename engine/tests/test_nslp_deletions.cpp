// Deleting rows and columns of the optimiser problem beneath a nonlinear problem: the
// nonlinear data follows the new numbering (the refusal to delete a column a formula needs is
// in the bad-input table).
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "test_nslp_support.h"

using nslptest::F;
using nslptest::NslpTest;
using nslptest::setVar;
using nslptest::VarIn;

namespace {

constexpr double kFree = 1e20;

class Deletions : public NslpTest {
 protected:
  // HS 7 (min ln(1 + x^2) - y  s.t.  (1 + x^2)^2 + y^2 = 4, optimum -sqrt(3) at (0, sqrt(3)))
  // with data of every kind that rows and columns index. With spare, a spare column before x
  // and a spare row before the constraint carry data of their own, and the spare row
  // determines x: deleting the spares must leave what the problem built without them holds.
  void build(bool spare) {
    const int s = spare ? col(-kFree, kFree, 0) : -1;
    x = col(-kFree, kFree, 0);
    y = col(-kFree, kFree, 0);
    const int sr = spare ? row('L', 100.0, {{s, 1.0}, {x, 1.0}}) : -1;
    if (spare) coef(sr, -1, 1.0, F().x(s).k(2).pow());
    const int r = row('E', 4.0, {});
    coef(r, -1, 1.0, F().k(1).x(x).k(2).pow().add().k(2).pow().x(y).k(2).pow().add());
    formulaObjective(F().args().k(1).x(x).k(2).pow().add().fn(NSLP_FN_LN).x(y).sub());
    start(x, 2.0);
    start(y, 2.0);
    int index = 0;
    ASSERT_EQ(0, NSLPsetstring(slp, &index, "kept"));
    const double tols[NSLP_TOLSET_SIZE] = {1e-3, 0, 0, 0, 0, 0};
    ASSERT_EQ(0, NSLPloadtolsets(slp, 1, tols));
    ASSERT_EQ(0, setVar(slp, y, &VarIn::tolset, 1));
    ASSERT_EQ(0, setVar(slp, y, &VarIn::detrow, r)) << slpError();
    ASSERT_EQ(0, NSLPchgcascadenlimit(slp, y, 7));
    const int fixed = NSLP_DELTA_FIXED;
    const double bound = 0.25, weight = 3.0;
    ASSERT_EQ(0, NSLPchgdeltatype(slp, 1, &x, &fixed, &bound));
    ASSERT_EQ(0, NSLPchgrowwt(slp, r, &weight));
    // Estimates by (column, row), and a job's initial values.
    std::vector<int> cols{y, x}, rows{r, r}, job{y, x};
    std::vector<double> values{4.0, 5.0};
    if (spare) {
      ASSERT_EQ(0, setVar(slp, x, &VarIn::detrow, sr)) << slpError();
      ASSERT_EQ(0, setVar(slp, s, &VarIn::initvalue, 1.0));
      ASSERT_EQ(0, NSLPchgrowwt(slp, sr, &weight));
      cols.insert(cols.end(), {s, x});
      rows.insert(rows.end(), {r, sr});
      values.insert(values.end(), {6.0, 7.0});
      job.push_back(s);
    }
    ASSERT_EQ(0, NSLPloaddfs(slp, int(cols.size()), cols.data(), rows.data(), values.data()));
    ASSERT_EQ(0, NSLPmsaddjob(slp, "job", int(job.size()), job.data(), values.data(), 0,
                              nullptr, nullptr, 0, nullptr, nullptr, nullptr));
    ASSERT_EQ(0, NSLPcascadeorder(slp));
    ASSERT_EQ(0, NSLPscaling(slp)) << slpError();
    if (spare) {
      ASSERT_EQ(0, NVRLdelrows(prob, 1, &sr)) << lastError();
      ASSERT_EQ(0, NVRLdelcols(prob, 1, &s)) << lastError();
      --x, --y;
    }
  }
  int x = -1, y = -1;
};

TEST_F(Deletions, TheDataFollowsTheNewNumbering) {
  build(true);
  // The same problem built without the spares, in a second pair.
  NVRLprob prob2 = nullptr;
  NSLPprob slp2 = nullptr;
  ASSERT_EQ(0, NVRLcreateprob(&prob2));
  ASSERT_EQ(0, NSLPcreateprob(&slp2, &prob2));
  NSLPsetintcontrol(slp2, NSLP_CTRL_LOG_LEVEL, 0);
  std::swap(prob, prob2);
  std::swap(slp, slp2);
  build(false);
  std::swap(prob, prob2);
  std::swap(slp, slp2);
  nslptest::expectSameData(slp2->data, slp->data);
  NSLPdestroyprob(slp2);
  NVRLdestroyprob(prob2);

  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(-std::sqrt(3.0), objective(), 1e-6);
  // To the step tolerance of y's set.
  EXPECT_NEAR(0.0, NslpTest::x()[x], 1e-3);
  EXPECT_NEAR(std::sqrt(3.0), NslpTest::x()[y], 1e-3);
}

TEST_F(Deletions, ADestroyedNonlinearProblemNoLongerFollows) {
  build(false);
  ASSERT_EQ(0, NSLPdestroyprob(slp));
  slp = nullptr;
  EXPECT_EQ(0, NVRLdelcols(prob, 1, &x)) << lastError();
  ASSERT_EQ(0, NSLPcreateprob(&slp, &prob));
}

}  // namespace
