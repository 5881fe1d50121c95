// Answers for the presolved problem, the barrier's last answer, the pivot order and the
// global entities read in one call.
#include <vector>

#include "test_solve_support.h"

namespace solvetest {
namespace {

using nvrl::id::kPresolve;
using nvtest::chars;
using nvtest::dbls;
using nvtest::ints;
using nvtest::starts;

class PresolvedAnswers : public SolveTest {
 protected:
  // min -x - 2y  s.t.  x + y <= 4,  x + 3y <= 6,  x, y >= 0: optimum (3, 1), both rows tight.
  void smallLp() {
    col(0, 1e20, -1);
    col(0, 1e20, -2);
    row('L', 4, {{0, 1}, {1, 1}});
    row('L', 6, {{0, 1}, {1, 3}});
  }
  struct Answers {
    std::vector<double> x = std::vector<double>(2), slack = std::vector<double>(2),
                        duals = std::vector<double>(2), djs = std::vector<double>(2);
  };
};

TEST_F(PresolvedAnswers, PresolvedSolutionBasisAndMapAreTheProblemsOwn) {
  smallLp();
  Answers pre;
  EXPECT_NE(NVRLgetpresolvesol(prob, pre.x.data(), nullptr, nullptr, nullptr), 0);
  int none[2];
  EXPECT_NE(NVRLgetpresolvebasis(prob, none, nullptr), 0);
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  Answers lp;
  ASSERT_EQ(NVRLgetlpsol(prob, lp.x.data(), lp.slack.data(), lp.duals.data(), lp.djs.data()), 0);
  ASSERT_EQ(NVRLgetpresolvesol(prob, pre.x.data(), pre.slack.data(), pre.duals.data(),
                               pre.djs.data()), 0) << lastError();
  EXPECT_EQ(pre.x, lp.x);
  EXPECT_EQ(pre.slack, lp.slack);
  EXPECT_EQ(pre.duals, lp.duals);
  EXPECT_EQ(pre.djs, lp.djs);
  EXPECT_NEAR(pre.x[0], 3, 1e-9);
  EXPECT_NEAR(pre.x[1], 1, 1e-9);

  int rs[2], cs[2], prs[2], pcs[2];
  ASSERT_EQ(NVRLgetbasis(prob, rs, cs), 0);
  ASSERT_EQ(NVRLgetpresolvebasis(prob, prs, pcs), 0) << lastError();
  EXPECT_EQ(std::vector<int>(prs, prs + 2), std::vector<int>(rs, rs + 2));
  EXPECT_EQ(std::vector<int>(pcs, pcs + 2), std::vector<int>(cs, cs + 2));

  int rowmap[2] = {-5, -5}, colmap[2] = {-5, -5};
  ASSERT_EQ(NVRLgetpresolvemap(prob, rowmap, colmap), 0);
  EXPECT_EQ(std::vector<int>(rowmap, rowmap + 2), (std::vector<int>{0, 1}));
  EXPECT_EQ(std::vector<int>(colmap, colmap + 2), (std::vector<int>{0, 1}));

  // A loaded presolve basis is the basis the next query and solve see; a bad one changes
  // nothing.
  EXPECT_NE(NVRLloadpresolvebasis(prob, ints(1, 7), ints(0, 0)), 0);
  ASSERT_EQ(NVRLgetbasis(prob, rs, cs), 0);
  EXPECT_EQ(std::vector<int>(rs, rs + 2), std::vector<int>(prs, prs + 2));
  ASSERT_EQ(NVRLloadpresolvebasis(prob, ints(1, 1), ints(0, 0)), 0) << lastError();
  ASSERT_EQ(NVRLgetbasis(prob, rs, cs), 0);
  EXPECT_EQ(std::vector<int>(rs, rs + 2), (std::vector<int>{1, 1}));
  EXPECT_EQ(std::vector<int>(cs, cs + 2), (std::vector<int>{0, 0}));
}

TEST_F(PresolvedAnswers, LastBarrierSolutionOnlyAfterABarrierSolve) {
  smallLp();
  NVRLsetintcontrol(prob, kPresolve, 0);  // so that the barrier has work to do
  Answers bar;
  int status = -1;
  EXPECT_NE(NVRLgetlastbarsol(prob, bar.x.data(), nullptr, nullptr, nullptr, &status), 0);
  ASSERT_EQ(NVRLlpoptimize(prob, "d"), 0) << lastError();
  EXPECT_NE(NVRLgetlastbarsol(prob, bar.x.data(), nullptr, nullptr, nullptr, &status), 0);
  EXPECT_NE(lastError().find("barrier"), std::string::npos) << lastError();

  ASSERT_EQ(NVRLlpoptimize(prob, "b"), 0) << lastError();
  ASSERT_EQ(NVRLgetlastbarsol(prob, bar.x.data(), bar.slack.data(), bar.duals.data(),
                              bar.djs.data(), &status), 0) << lastError();
  EXPECT_EQ(status, NVRL_LP_OPTIMAL);
  Answers lp;
  ASSERT_EQ(NVRLgetlpsol(prob, lp.x.data(), lp.slack.data(), lp.duals.data(), lp.djs.data()), 0);
  EXPECT_EQ(bar.x, lp.x);
  EXPECT_EQ(bar.duals, lp.duals);
  EXPECT_NEAR(bar.x[0], 3, 1e-7);
  EXPECT_NEAR(bar.duals[0], -0.5, 1e-7);

  // A change to the model drops it with the other answers.
  ASSERT_EQ(NVRLchgobj(prob, 1, ints(0), dbls(-3)), 0);
  EXPECT_NE(NVRLgetlastbarsol(prob, nullptr, nullptr, nullptr, nullptr, &status), 0);
}

TEST_F(PresolvedAnswers, PivotOrderListsTheBasicVariables) {
  smallLp();
  row('L', 100, {{0, 1}});  // slack basic at the optimum
  int pivots[3] = {-9, -9, -9};
  EXPECT_NE(NVRLgetpivotorder(prob, pivots), 0);  // no basis yet
  ASSERT_EQ(NVRLlpoptimize(prob, "p"), 0) << lastError();
  EXPECT_NE(NVRLgetpivotorder(prob, nullptr), 0);
  ASSERT_EQ(NVRLgetpivotorder(prob, pivots), 0) << lastError();
  // Both columns (3 + 0, 3 + 1) and the third row's slack.
  EXPECT_EQ(std::vector<int>(pivots, pivots + 3), (std::vector<int>{2, 3, 4}));

  // A loaded basis with too few basic variables is refused and writes nothing.
  ASSERT_EQ(NVRLloadbasis(prob, ints(0, 0, 1), ints(0, 0)), 0);
  pivots[0] = -9;
  EXPECT_NE(NVRLgetpivotorder(prob, pivots), 0);
  EXPECT_EQ(pivots[0], -9);
}

TEST_F(PresolvedAnswers, GlobalEntitiesInOneCall) {
  col(0, 1, 0);             // 0 continuous
  col(0, 1, 0, 'B');        // 1
  col(0, 10, 0, 'S', 2.5);  // 2
  col(0, 5, 0, 'I');        // 3
  ASSERT_EQ(NVRLaddsets64(prob, 2, 5, chars('1', '2'), starts(0, 2), ints(0, 1, 1, 2, 3),
                          dbls(1, 2, 1, 2, 3)), 0) << lastError();
  int nent = -1, nsets = -1;
  NVRLint64 nmem = -1;
  ASSERT_EQ(NVRLgetglobal64(prob, &nent, &nsets, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, &nmem), 0) << lastError();
  ASSERT_EQ(nent, 3);
  ASSERT_EQ(nsets, 2);
  ASSERT_EQ(nmem, 5);
  std::vector<char> ctype(3), stype(2);
  std::vector<int> cind(3), members(5);
  std::vector<double> limit(3), refs(5);
  std::vector<NVRLint64> start(3);
  ASSERT_EQ(NVRLgetglobal64(prob, nullptr, nullptr, ctype.data(), cind.data(), limit.data(),
                            stype.data(), start.data(), members.data(), refs.data(), nullptr), 0);
  EXPECT_EQ(std::string(ctype.begin(), ctype.end()), "BSI");
  EXPECT_EQ(cind, (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(limit, (std::vector<double>{0, 2.5, 0}));
  EXPECT_EQ(std::string(stype.begin(), stype.end()), "12");
  EXPECT_EQ(start, (std::vector<NVRLint64>{0, 2, 5}));
  EXPECT_EQ(members, (std::vector<int>{0, 1, 1, 2, 3}));
  EXPECT_EQ(refs, (std::vector<double>{1, 2, 1, 2, 3}));
}

}  // namespace
}  // namespace solvetest
