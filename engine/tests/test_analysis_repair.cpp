// Repairing infeasibility: hand-derived relaxations, the total violation against an elastic LP
// written here with the public calls, and refusals that change nothing.
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "test_support.h"

namespace {

using nvtest::ProblemTest;

class RepairTest : public ProblemTest {
 protected:
  std::vector<double> rhs() { return model().rhs; }
  void solveFeasible() {
    ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
    EXPECT_EQ(intAttr(NVRL_ATTR_MIP_STATUS), NVRL_MIP_OPTIMAL);
  }
  // x + y <= 2 and x + y >= 5 with x, y in [0, 10]; objective max y.
  void twoRows() {
    col(0, 10, 0);
    col(0, 10, -1);
    row('L', 2, {{0, 1}, {1, 1}});
    row('G', 5, {{0, 1}, {1, 1}});
  }
};

// Hand-derived relaxations of small models: the rhs after the repair, and the repaired problem
// solves to an optimum.
struct HandCase {
  const char *label;
  char penalty;
  double lepref, gepref;
  bool countModel;              // 3x >= 30, x <= 1, x <= 2 instead of the two rows
  std::vector<double> rhs;      // expected
};

class RepairHand : public RepairTest, public ::testing::WithParamInterface<HandCase> {};

TEST_P(RepairHand, RelaxesAsDerived) {
  const HandCase &c = GetParam();
  if (c.countModel) {
    col(0, 20, 0);
    row('G', 30, {{0, 3}});
    row('L', 1, {{0, 1}});
    row('L', 2, {{0, 1}});
  } else {
    twoRows();
  }
  int status = -1;
  ASSERT_EQ(NVRLrepairinfeas(prob, &status, c.penalty, 'n', ' ', c.lepref, c.gepref, 0, 0, 0), 0)
      << lastError();
  EXPECT_EQ(status, NVRL_REPAIR_OPTIMAL);
  ASSERT_EQ(rhs().size(), c.rhs.size());
  for (size_t i = 0; i < c.rhs.size(); ++i) EXPECT_NEAR(rhs()[i], c.rhs[i], 1e-5) << i;
  // The repair's point is the problem's solution, feasible for the new rows.
  EXPECT_EQ(intAttr(NVRL_ATTR_SOLUTION_AVAILABLE), 1);
  EXPECT_LT(dblAttr(NVRL_ATTR_MAX_PRIMAL_INFEASIBILITY), 1e-6);
  solveFeasible();
}

INSTANTIATE_TEST_SUITE_P(
    Penalties, RepairHand,
    ::testing::Values(
        // The >= side is half as dear (preference 2): it takes the whole violation of 3.
        HandCase{"sum", 's', 1, 2, false, {2, 2}},
        // Squares with equal weights split the violation evenly.
        HandCase{"squares", 'q', 1, 1, false, {3.5, 3.5}},
        // The sum raises both upper rows to 10 (17 in all, against 27 for the single row);
        // the count relaxes the single row instead.
        HandCase{"sum_of_three", 's', 1, 1, true, {30, 10, 10}},
        HandCase{"count", 'c', 1, 1, true, {3, 1, 2}}),
    nvtest::byLabel);

// x in [0, 1] with x >= 5: the upper bound is cheaper to move but may move by 2 at most, so
// the row takes the other 2.
TEST_F(RepairTest, RelaxationLimitsCapTheBounds) {
  col(0, 1, 0);
  row('G', 5, {{0, 1}});
  const double inf = NVRL_INFINITY;
  for (double limit : {2.0, inf}) {
    SCOPED_TRACE(limit);
    model().rhs = {5};
    model().ub = {1};
    prob->modelChanged();
    int status = -1;
    ASSERT_EQ(NVRLrepairweightedinfeasbounds(prob, &status, nvtest::dbls(0), nvtest::dbls(0.5),
                                             nvtest::dbls(0), nvtest::dbls(1), nvtest::dbls(0),
                                             nvtest::dbls(inf), nvtest::dbls(0),
                                             nvtest::dbls(limit), 'n', 0, ""),
              0)
        << lastError();
    EXPECT_EQ(status, NVRL_REPAIR_OPTIMAL);
    EXPECT_NEAR(model().ub[0], limit == inf ? 5 : 3, 1e-7);
    EXPECT_NEAR(model().rhs[0], limit == inf ? 5 : 3, 1e-7);
    solveFeasible();
  }
}

// Phase 2 maximises y among relaxations within (1+delta) of the least penalty (1.5): with
// delta 0 only the >= row moves and y = 2; with delta 1 the penalty may reach 3, which pays for
// raising the <= row by 3 and y = 5.
TEST_F(RepairTest, PhaseTwoOptimisesWithinThePenaltyBudget) {
  for (auto [delta, y] : {std::pair{0.0, 2.0}, std::pair{1.0, 5.0}}) {
    SCOPED_TRACE(delta);
    model() = nvrl::Model();
    prob->modelChanged();
    twoRows();
    int status = -1;
    ASSERT_EQ(NVRLrepairweightedinfeas(prob, &status, nvtest::dbls(1, 1), nvtest::dbls(2, 2),
                                       nullptr, nullptr, 'o', delta, "s"),
              0)
        << lastError();
    EXPECT_EQ(status, NVRL_REPAIR_OPTIMAL);
    EXPECT_EQ(intAttr(NVRL_ATTR_MIP_STATUS), NVRL_MIP_OPTIMAL);
    double x[2];
    ASSERT_EQ(NVRLgetmipsol(prob, x, nullptr), 0);
    EXPECT_NEAR(x[1], y, 1e-5);
    EXPECT_NEAR(dblAttr(NVRL_ATTR_MIP_OBJECTIVE), -y, 1e-5);
  }
}

// With 'k' the rows stay; the point's slacks show the violation.
TEST_F(RepairTest, KeepFlagLeavesTheRowsAndReportsTheViolationInTheSlacks) {
  twoRows();
  int status = -1;
  ASSERT_EQ(NVRLrepairinfeas(prob, &status, 's', 'n', 'k', 1, 2, 0, 0, 0), 0) << lastError();
  EXPECT_EQ(rhs(), (std::vector<double>{2, 5}));
  double slack[2];
  ASSERT_EQ(NVRLgetmipsol(prob, nullptr, slack), 0);
  EXPECT_NEAR(slack[1], 3, 1e-7);  // rhs 5 minus activity 2
}

TEST_F(RepairTest, NothingRelaxableLeavesTheProblemAsItWas) {
  twoRows();
  int status = -1;
  ASSERT_EQ(NVRLrepairinfeas(prob, &status, 's', 'n', ' ', 0, -1, 1, 1, 0), 0) << lastError();
  EXPECT_EQ(status, NVRL_REPAIR_INFEASIBLE);
  EXPECT_EQ(rhs(), (std::vector<double>{2, 5}));
  EXPECT_EQ(model().ub, (std::vector<double>{10, 10}));
}

TEST_F(RepairTest, BadInputFailsAndChangesNothing) {
  twoRows();
  const double nan = std::nan("");
  int status = -7;
  const struct {
    const char *what;
    std::function<int()> call;
  } cases[] = {
      {"penalty type 'x'", [&] { return NVRLrepairinfeas(prob, &status, 'x', 'n', ' ', 1, 1, 1, 1, 0); }},
      {"unknown flag 'q'", [&] { return NVRLrepairinfeas(prob, &status, 's', 'n', 'q', 1, 1, 1, 1, 0); }},
      {"delta", [&] { return NVRLrepairinfeas(prob, &status, 's', 'o', ' ', 1, 1, 1, 1, -1); }},
      {"finite", [&] { return NVRLrepairinfeas(prob, &status, 's', 'n', ' ', nan, 1, 1, 1, 0); }},
      {"lepref[1]", [&] {
         return NVRLrepairweightedinfeas(prob, &status, nvtest::dbls(1, nan), nullptr, nullptr,
                                         nullptr, 'n', 0, "");
       }},
      {"lerelax[1]", [&] {
         return NVRLrepairweightedinfeasbounds(prob, &status, nullptr, nullptr, nullptr, nullptr,
                                               nvtest::dbls(1, -1), nvtest::dbls(1, 1),
                                               nvtest::dbls(1, 1), nvtest::dbls(1, 1), 'n', 0, "");
       }},
      {"null relaxation array", [&] {
         return NVRLrepairweightedinfeasbounds(prob, &status, nullptr, nullptr, nullptr, nullptr,
                                               nullptr, nvtest::dbls(1, 1), nvtest::dbls(1, 1),
                                               nvtest::dbls(1, 1), 'n', 0, "");
       }},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_NE(c.call(), 0);
    EXPECT_NE(lastError().find(c.what), std::string::npos) << lastError();
  }
  EXPECT_EQ(status, -7);
  EXPECT_EQ(rhs(), (std::vector<double>{2, 5}));
  EXPECT_EQ(model().ub, (std::vector<double>{10, 10}));
}

// The least total violation of an infeasible LP, from an elastic LP built here with the public
// calls: every row gets columns for both directions (only the ones its type allows are
// unbounded), every finite bound becomes a row with its own elastic column.
double elasticOptimum(NVRLprob src) {
  NVRLprob e = nullptr;
  EXPECT_EQ(NVRLcreateprob(&e), 0);
  EXPECT_EQ(NVRLcopyprob(e, src, "elastic"), 0);
  int rows = nvtest::intAttr(e, NVRL_ATTR_ROWS), cols = nvtest::intAttr(e, NVRL_ATTR_COLUMNS);
  std::vector<char> type(rows);
  std::vector<double> lb(cols), ub(cols);
  NVRLgetrowtype(e, type.data(), 0, rows - 1);
  NVRLgetlb(e, lb.data(), 0, cols - 1);
  NVRLgetub(e, ub.data(), 0, cols - 1);
  std::vector<int> all(cols);
  std::vector<double> zero(cols, 0.0);
  for (int j = 0; j < cols; ++j) all[j] = j;
  EXPECT_EQ(NVRLchgobj(e, cols, all.data(), zero.data()), 0);
  for (int i = 0; i < rows; ++i) {
    if (type[i] == 'N') continue;
    // +1 lowers the activity's need (relaxes >=), -1 relaxes <=.
    for (double sign : {1.0, -1.0}) {
      const bool allowed = type[i] == 'E' || type[i] == 'R' || (sign > 0 ? type[i] == 'G' : type[i] == 'L');
      if (!allowed) continue;
      const double one = 1.0;
      const NVRLint64 st[] = {0};
      EXPECT_EQ(NVRLaddcols64(e, 1, 1, &one, st, &i, &sign, nullptr, nullptr), 0);
    }
  }
  for (int j = 0; j < cols; ++j) {
    for (int side = 0; side < 2; ++side) {
      const double b = side == 0 ? lb[j] : ub[j];
      if (std::fabs(b) >= NVRL_INFINITY) continue;
      const double one = 1.0;
      const NVRLint64 st[] = {0};
      const int r = nvtest::intAttr(e, NVRL_ATTR_ROWS);
      const char t = side == 0 ? 'G' : 'L';
      const int cj[] = {j};
      const double cv[] = {1.0};
      EXPECT_EQ(NVRLaddrows64(e, 1, 1, &t, &b, nullptr, st, cj, cv), 0);
      const double s = side == 0 ? 1.0 : -1.0;
      EXPECT_EQ(NVRLaddcols64(e, 1, 1, &one, st, &r, &s, nullptr, nullptr), 0);
      const char bt = side == 0 ? 'L' : 'U';
      const double free = side == 0 ? -NVRL_INFINITY : NVRL_INFINITY;
      EXPECT_EQ(NVRLchgbounds(e, 1, &j, &bt, &free), 0);
    }
  }
  EXPECT_EQ(NVRLlpoptimize(e, ""), 0) << nvtest::lastError(e);
  EXPECT_EQ(nvtest::intAttr(e, NVRL_ATTR_LP_STATUS), NVRL_LP_OPTIMAL);
  const double v = nvtest::dblAttr(e, NVRL_ATTR_LP_OBJECTIVE);
  NVRLdestroyprob(e);
  return v;
}

// The rhs, range and bound movements of a repair, summed.
double totalMovement(const nvrl::Model &before, const nvrl::Model &after) {
  double t = 0;
  for (int i = 0; i < before.rows(); ++i) {
    const double drhs = after.rhs[i] - before.rhs[i];
    if (before.rowtype[i] == 'R') t += std::fabs(drhs) + std::fabs(after.range[i] - before.range[i] - drhs);
    else t += std::fabs(drhs);
  }
  for (int j = 0; j < before.cols(); ++j)
    t += std::fabs(after.lb[j] - before.lb[j]) + std::fabs(after.ub[j] - before.ub[j]);
  return t;
}

struct Instance {
  const char *label;
  const char *file;
  int row;        // -1: infeasible as it is; else this row's rhs moves by shift
  double shift;
};

class RepairData : public RepairTest, public ::testing::WithParamInterface<Instance> {};

TEST_P(RepairData, TotalViolationMatchesTheElasticLp) {
  const Instance &in = GetParam();
  ASSERT_EQ(NVRLreadprob(prob, (std::string(NVRL_DATA_DIR) + "/" + in.file).c_str(), ""), 0)
      << lastError();
  NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
  if (in.row >= 0) {
    const double r = model().rhs[in.row] + in.shift;
    ASSERT_EQ(NVRLchgrhs(prob, 1, &in.row, &r), 0);
  }
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  ASSERT_EQ(intAttr(NVRL_ATTR_LP_STATUS), NVRL_LP_INFEAS) << "the instance must be infeasible";
  const double expected = elasticOptimum(prob);
  EXPECT_GT(expected, 1e-6);
  const nvrl::Model before = model();
  const int rows = before.rows(), cols = before.cols();
  std::vector<double> ones_r(rows, 1.0), ones_c(cols, 1.0);
  int status = -1;
  ASSERT_EQ(NVRLrepairweightedinfeas(prob, &status, ones_r.data(), ones_r.data(), ones_c.data(),
                                     ones_c.data(), 'n', 0, ""),
            0)
      << lastError();
  EXPECT_EQ(status, NVRL_REPAIR_OPTIMAL);
  EXPECT_NEAR(totalMovement(before, model()), expected, 1e-6 * (1 + expected));
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0);
  EXPECT_EQ(intAttr(NVRL_ATTR_LP_STATUS), NVRL_LP_OPTIMAL) << "the repaired problem is feasible";
}

INSTANTIATE_TEST_SUITE_P(Data, RepairData,
                         ::testing::Values(Instance{"galenet", "galenet.mps", -1, 0},
                                           Instance{"klein1", "klein1.mps", -1, 0},
                                           Instance{"afiro", "afiro.mps", 0, -1000},
                                           Instance{"sctest", "sctest.mps", 1, -1000},
                                           Instance{"adlittle", "adlittle.mps", 2, -1000}),
                         nvtest::byLabel);

}  // namespace
