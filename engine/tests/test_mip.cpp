// Mixed-integer answers: branching directives and solutions given by the user.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "core/problem.h"
#include "test_io_support.h"
#include "test_tree_support.h"
#include "tree/branching.h"

using nvrl::tree::Candidate;

namespace treetest {
namespace {

// ---- Branching directives: loading, reading and writing them, their following column deletions,
// and the tree search honouring priorities, preferred branches and initial pseudocosts.

struct Dirs {
  std::vector<int> col, prio;
  std::vector<char> dir;
  std::vector<double> up, down;
  bool operator==(const Dirs &o) const {
    return col == o.col && prio == o.prio && dir == o.dir && up == o.up && down == o.down;
  }
};

class DirectiveTest : public iotest::QuietFileTest {
 protected:
  Dirs get(NVRLprob p) {
    int n = -1;
    EXPECT_EQ(0, NVRLgetdirs(p, &n, nullptr, nullptr, nullptr, nullptr, nullptr));
    Dirs d{std::vector<int>(n), std::vector<int>(n), std::vector<char>(n),
           std::vector<double>(n), std::vector<double>(n)};
    EXPECT_EQ(0, NVRLgetdirs(p, &n, d.col.data(), d.prio.data(), d.dir.data(), d.up.data(),
                             d.down.data()));
    return d;
  }
  // max sum x_j over n binaries with 2 sum x <= n (n odd), and y = sum x an integer column
  // placed last. The relaxation sits at n/2; branching on y settles it in three nodes, while
  // branching on the x_j first has to enumerate.
  int buildHalfKnapsack(int n) {
    std::vector<std::pair<int, double>> cap, link;
    for (int j = 0; j < n; ++j) {
      col(0, 1, 1, 'B', 0, "x" + std::to_string(j));
      cap.push_back({j, 2});
      link.push_back({j, -1});
    }
    const int y = col(0, n, 0, 'I', 0, "y");
    link.push_back({y, 1});
    row('L', n, cap, 0, "cap");
    row('E', 0, link, 0, "link");
    maximise();
    return y;
  }
};

// Loaded, written, read into a fresh copy of the model and read back: the same directives,
// in column order.
TEST_F(DirectiveTest, RoundTripThroughFile) {
  buildHalfKnapsack(5);
  const Dirs given{{5, 2, 0}, {0, 900, 12}, {'D', 'N', 'U'}, {1.5, -1, 0.25}, {-1, -1, 3}};
  ASSERT_EQ(0, NVRLloaddirs(prob, 3, given.col.data(), given.prio.data(), given.dir.data(),
                            given.up.data(), given.down.data()))
      << lastError();
  const Dirs sorted{{0, 2, 5}, {12, 900, 0}, {'U', 'N', 'D'}, {0.25, -1, 1.5}, {3, -1, -1}};
  EXPECT_EQ(sorted, get(prob));
  ASSERT_EQ(0, NVRLwritedirs(prob, path("d.dir").c_str())) << lastError();
  NVRLprob other = nullptr;
  ASSERT_EQ(0, NVRLcreateprob(&other));
  ASSERT_EQ(0, NVRLcopyprob(other, prob, "copy"));
  ASSERT_EQ(0, NVRLloaddirs(other, 0, nullptr, nullptr, nullptr, nullptr, nullptr));
  ASSERT_EQ(0, NVRLreaddirs(other, path("d.dir").c_str())) << lastError(other);
  EXPECT_EQ(sorted, get(other));
  NVRLdestroyprob(other);
  // Deleting a column drops its directive and renumbers the later ones.
  const int gone = 2;
  ASSERT_EQ(0, NVRLdelcols(prob, 1, &gone));
  const Dirs after{{0, 4}, {12, 0}, {'U', 'D'}, {0.25, 1.5}, {3, -1}};
  EXPECT_EQ(after, get(prob));
  // Branch directions set alone keep the rest.
  const int cols[] = {0, 1}, dirs[] = {-1, 1};
  ASSERT_EQ(0, NVRLloadbranchdirs(prob, 2, cols, dirs));
  const Dirs merged{{0, 1, 4}, {12, 500, 0}, {'D', 'U', 'D'}, {0.25, -1, 1.5}, {3, -1, -1}};
  EXPECT_EQ(merged, get(prob));
}

struct BadLoad {
  const char *label;
  std::vector<int> col, prio;
  std::vector<char> dir;
  double up;
  const char *message;
};

class BadDirectives : public DirectiveTest, public ::testing::WithParamInterface<BadLoad> {};

TEST_P(BadDirectives, RefusedChangingNothing) {
  const BadLoad &b = GetParam();
  buildHalfKnapsack(3);
  const int keep = 1, keepPrio = 3;
  ASSERT_EQ(0, NVRLloaddirs(prob, 1, &keep, &keepPrio, nullptr, nullptr, nullptr));
  const Dirs before = get(prob);
  const std::vector<double> up(b.col.size(), b.up);
  EXPECT_NE(0, NVRLloaddirs(prob, static_cast<int>(b.col.size()), b.col.data(), b.prio.data(),
                            b.dir.data(), up.data(), nullptr));
  EXPECT_NE(std::string::npos, lastError().find(b.message)) << lastError();
  EXPECT_EQ(before, get(prob));
}

INSTANTIATE_TEST_SUITE_P(
    Directives, BadDirectives,
    ::testing::Values(BadLoad{"Column", {0, 9}, {1, 1}, {'U', 'U'}, 0, "column index 9"},
                      BadLoad{"Repeated", {2, 2}, {1, 1}, {'U', 'D'}, 0, "column 2 is given more"},
                      BadLoad{"Priority", {0}, {1001}, {'U'}, 0, "priority 1001"},
                      BadLoad{"Direction", {0}, {1}, {'u'}, 0, "direction 'u'"},
                      BadLoad{"Pseudocost", {0}, {1}, {'U'}, INFINITY, "not finite"}),
    nvtest::byLabel);

// The tree search branches on the best priority first: y first closes the search at once,
// y last leaves it to enumerate the x_j.
TEST_F(DirectiveTest, PrioritiesChangeTheSearch) {
  const int y = buildHalfKnapsack(9);
  NVRLsetintcontrol(prob, NVRL_CTRL_TREE_SEARCH, 1);
  // Cover cuts close this knapsack at the root whatever the order.
  NVRLsetintcontrol(prob, NVRL_CTRL_TREE_CUT_ROUNDS, 0);
  int64_t nodes[2];
  for (int first = 0; first < 2; ++first) {
    const int prio = first ? 0 : 1000;
    ASSERT_EQ(0, NVRLloaddirs(prob, 1, &y, &prio, nullptr, nullptr, nullptr));
    ASSERT_EQ(0, NVRLmipoptimize(prob, "")) << lastError();
    EXPECT_EQ(NVRL_MIP_OPTIMAL, intAttr(NVRL_ATTR_MIP_STATUS));
    EXPECT_NEAR(4.0, dblAttr(NVRL_ATTR_MIP_OBJECTIVE), 1e-9);
    NVRLint64 n = -1;
    ASSERT_EQ(0, NVRLgetintattrib64(prob, NVRL_ATTR_NODES, &n));
    nodes[first] = n;
  }
  EXPECT_LE(nodes[1], 3);
  EXPECT_GT(nodes[0], 3 * nodes[1]);
}

// Branching rules on their own: the directive's direction picks the first child, priorities
// restrict the candidates, and initial pseudocosts steer the choice among them.

struct RuleCase {
  const char *label;
  std::vector<nvrl::BranchDirective> dirs;
  int pick;   // expected candidate
  int first;  // expected first child of that candidate
};

class BranchingRules : public ::testing::TestWithParam<RuleCase> {};

TEST_P(BranchingRules, FollowDirectives) {
  const RuleCase &c = GetParam();
  // Column 0 at 0.5 is the most fractional; column 1 at 0.3 (down is nearer), column 2 at 0.8.
  const std::vector<Candidate> cands = {{Candidate::Integer, 0, 0.5, 0},
                                        {Candidate::Integer, 1, 0.3, 0},
                                        {Candidate::Integer, 2, 0.8, 0}};
  nvrl::tree::Pseudocosts pc(3);
  pc.setDirectives(c.dirs);
  const int k = nvrl::tree::selectCandidate(cands, pc);
  EXPECT_EQ(c.pick, k);
  nvrl::tree::Entities e;
  const nvrl::tree::Children ch = nvrl::tree::makeChildren(
      nvrl::tree::Node{}, {}, cands[k], e, {0.5, 0.3, 0.8}, 0.0, 1e-6, &pc);
  EXPECT_EQ(c.first, ch.first);
}

nvrl::BranchDirective dir(int col, int prio, char d, double up = -1, double down = -1) {
  nvrl::BranchDirective b;
  b.col = col, b.priority = prio, b.dir = d, b.up = up, b.down = down;
  return b;
}

INSTANTIATE_TEST_SUITE_P(
    Directives, BranchingRules,
    ::testing::Values(
        RuleCase{"NoDirectives", {}, 0, 1},
        RuleCase{"PriorityWins", {dir(1, 10, 'N')}, 1, 0},
        RuleCase{"DefaultPriorityBeatsLow", {dir(0, 600, 'N'), dir(1, 600, 'N')}, 2, 1},
        RuleCase{"DownFirst", {dir(0, 500, 'D')}, 0, 0},
        RuleCase{"UpFirst", {dir(1, 1, 'U')}, 1, 1},
        // Estimates: column 2 gains 0.8 * 10 down and 0.2 * 10 up (product 16), column 0
        // 0.5 * 1 both ways (0.25); column 1 has none and is scored by the averages.
        RuleCase{"Pseudocosts", {dir(0, 5, 'N', 1, 1), dir(2, 5, 'N', 10, 10)}, 2, 1}),
    nvtest::byLabel);

// ---- Solutions given by the user (add, load, refine) and the operations on the last answer
// (fixing the global entities, crossover, presolved rows, scaling), on the hand-derived
// models of the tree search tests.

class MipSolutions : public TreeTest {
 protected:
  int loadStatus(std::vector<double> x) {
    int status = -1;
    EXPECT_EQ(NVRLloadmipsol(prob, x.data(), &status), 0) << lastError();
    return status;
  }
};

// ---- given solutions as the first incumbent ---------------------------------------------

struct StartCase {
  const char *label;
  bool quadratic;                        // the quadratic knapsack or its linear part
  std::vector<int> cols;                 // empty: a full solution
  std::vector<double> vals;
  double objective;                      // of the completed solution
};

class GivenStart : public MipSolutions, public ::testing::WithParamInterface<StartCase> {};

// With a solution limit of one the solve stops at its first incumbent, which must be the
// given solution (completed when partial), although the knapsack's optimum is better.
TEST_P(GivenStart, IsTheFirstIncumbentOfTheNextSolve) {
  const StartCase &c = GetParam();
  quadraticKnapsack();
  if (!c.quadratic) {
    model().qobj.clear();
    prob->modelChanged();
  }
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kSolutionLimit, 1), 0);
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kTreeSearch, 1), 0);
  ASSERT_EQ(NVRLaddmipsol(prob, static_cast<int>(c.vals.size()), c.vals.data(),
                          c.cols.empty() ? nullptr : c.cols.data(), "given"),
            0)
      << lastError();
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  ASSERT_EQ(intAttr(nvrl::id::kSolStatus), 1);
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), c.objective, 1e-9);
  const auto x = mipSolution();
  EXPECT_NEAR(x[1] + x[2] + x[3], 3.0, 1e-9);  // items {1, 2, 3}
  // Used once: the next solve starts without it and goes on to the optimum.
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kSolutionLimit, 0), 0);
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), c.quadratic ? -18 : -22, 1e-9);
}

INSTANTIATE_TEST_SUITE_P(
    Starts, GivenStart,
    ::testing::Values(StartCase{"tree_full", true, {}, {0, 1, 1, 1}, -17},
                      // Items 1 and 2 given, item 0 out: the completion adds item 3.
                      StartCase{"tree_partial", true, {0, 2, 1}, {0, 1, 1}, -17},
                      StartCase{"tree_linear_partial", false, {2, 0, 1}, {1, 0, 1}, -21}),
    nvtest::byLabel);

// HiGHS's MIP solver settles the small knapsack in presolve whatever it starts from, so
// what shows here is the completion reported in the log, and an optimum the start cannot spoil.
TEST_F(MipSolutions, HighsGetsTheCompletedStart) {
  quadraticKnapsack();
  model().qobj.clear();
  prob->modelChanged();
  std::vector<std::string> lines;
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kLogLevel, 1), 0);
  ASSERT_EQ(NVRLaddcbmessage(
                prob,
                [](NVRLprob, void *data, const char *msg, int len, int) {
                  if (msg) static_cast<std::vector<std::string> *>(data)->emplace_back(msg, len);
                },
                &lines, 0),
            0);
  const double v[] = {1, 1};
  const int cols[] = {1, 2};
  ASSERT_EQ(NVRLaddmipsol(prob, 2, v, cols, "pair"), 0) << lastError();
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), -22, 1e-9);
  bool reported = false;
  for (const std::string &l : lines)
    reported |= l.find("User solution 'pair' completed: objective -21") != std::string::npos;
  EXPECT_TRUE(reported);
}

// ---- loading a solution ---------------------------------------------------------------

struct LoadCase {
  const char *label;
  std::vector<double> x;  // columns: weights 0..3, x, y, s
  int status;
};

class LoadOnSets : public MipSolutions, public ::testing::WithParamInterface<LoadCase> {};

// The check covers rows, bounds, semi-continuous thresholds and set order, not only rows.
TEST_P(LoadOnSets, ChecksEveryKindOfEntity) {
  const LoadCase &c = GetParam();
  setAndSemiContinuous();
  EXPECT_EQ(loadStatus(c.x), c.status);
  if (c.status == 0) {
    EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_SOLUTION);
    EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), c.x[5] + c.x[6] * c.x[6] / 2, 1e-9);
    const auto x = mipSolution();
    for (size_t j = 0; j < c.x.size(); ++j) EXPECT_NEAR(x[j], c.x[j], 1e-9) << j;
  } else {
    EXPECT_EQ(intAttr(nvrl::id::kSolStatus), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Load, LoadOnSets,
    ::testing::Values(LoadCase{"optimum", {0.5, 0.5, 0, 0, 0.5, 1, 3}, 0},
                      LoadCase{"feasible_not_optimal", {0, 0, 1, 0, 2, 3, 3}, 0},
                      // s = 0.5: neither off nor at its threshold 3 (x + s = 3.5 holds)
                      LoadCase{"semi_below_threshold", {0, 0, 0, 1, 3, 3.5, 0.5}, 1},
                      // weights on points 0 and 2: not adjacent in the SOS2
                      LoadCase{"set_not_adjacent", {0.5, 0, 0.5, 0, 1, 1.5, 3}, 1},
                      LoadCase{"row_broken", {0.5, 0.5, 0, 0, 0.5, 1, 0}, 1}),
    nvtest::byLabel);

// A start without a feasible completion is dropped, and neither an infeasible loaded
// solution nor one worse than the optimum is taken.
TEST_F(MipSolutions, InfeasibleStartsAndWorseLoadedSolutionsAreNotTaken) {
  quadraticKnapsack();
  const double v[] = {1, 1, 1};  // weight 12 against 9
  const int cols[] = {0, 1, 2};
  ASSERT_EQ(NVRLaddmipsol(prob, 3, v, cols, nullptr), 0) << lastError();
  EXPECT_EQ(loadStatus({0, 1, 1, 0.5}), 1);  // a binary at 0.5
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL);
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), -18, 1e-9);
  EXPECT_EQ(loadStatus({0, 1, 1, 1}), 2);
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_OPTIMAL);
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), -18, 1e-9);
}

// ---- refining ---------------------------------------------------------------------------

TEST_F(MipSolutions, RefiningKeepsTheIntegerDecisionsAndImprovesTheContinuousPart) {
  cardinalityPortfolio();
  // Assets 1 and 2 held (their indicators on), split 0.4 / 0.6: variance 1.76, against 1.5
  // for the best split of the same pair.
  const std::vector<double> given = {0, 0.4, 0.6, 0, 0, 1, 1, 0};
  std::vector<double> refined(8, -1);
  int status = -1;
  ASSERT_EQ(NVRLrefinemipsol(prob, 1, "", given.data(), refined.data(), &status), 0)
      << lastError();
  ASSERT_EQ(status, 0);
  EXPECT_NEAR(refined[1], 0.5, 1e-5);
  EXPECT_NEAR(refined[2], 0.5, 1e-5);
  for (int j : {5, 6}) EXPECT_EQ(refined[j], 1.0);
  // options 1 made it the MIP solution, and it passes the check of a loaded solution.
  EXPECT_NEAR(dblAttr(nvrl::id::kMipObjVal), 1.5, 1e-6);
  EXPECT_EQ(loadStatus(refined), 2);  // feasible, and not better than itself

  // Only asset 0 held: its return 1 cannot reach 2.5.
  const std::vector<double> alone = {1, 0, 0, 0, 1, 0, 0, 0};
  ASSERT_EQ(NVRLrefinemipsol(prob, 0, nullptr, alone.data(), refined.data(), &status), 0);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(refined, alone);
}

// ---- fixing the global entities -----------------------------------------------------------

struct FixCase {
  const char *label;
  void (TreeTest::*build)();
  bool linear;  // drop the quadratic objective
  double optimum;
};

class FixGlobals : public MipSolutions, public ::testing::WithParamInterface<FixCase> {};

TEST_P(FixGlobals, ThenTheContinuousSolveGivesTheMipObjective) {
  const FixCase &c = GetParam();
  (this->*c.build)();
  if (c.linear) {
    model().qobj.clear();
    prob->modelChanged();
  }
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  ASSERT_NEAR(dblAttr(nvrl::id::kMipObjVal), c.optimum, 1e-6);
  ASSERT_EQ(NVRLfixglobals(prob, 0), 0) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kSolStatus), 0);  // the model changed
  ASSERT_EQ(NVRLlpoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kLpStatus), NVRL_LP_OPTIMAL);
  EXPECT_NEAR(dblAttr(nvrl::id::kLpObjVal), c.optimum, 1e-6);
}

INSTANTIATE_TEST_SUITE_P(
    Fix, FixGlobals,
    ::testing::Values(FixCase{"knapsack", &TreeTest::quadraticKnapsack, true, -22},
                      FixCase{"portfolio", &TreeTest::cardinalityPortfolio, false, 1.5},
                      FixCase{"sos2_semicontinuous", &TreeTest::setAndSemiContinuous, false, 5.5}),
    nvtest::byLabel);

// ---- crossover ----------------------------------------------------------------------------

TEST_F(MipSolutions, CrossoverGivesTheBarrierSolutionABasis) {
  // max x + y with x + 2y <= 4, 3x + y <= 6: optimum 2.8 at a vertex (1.6, 1.2).
  col(0, 1e20, 1);
  col(0, 1e20, 1);
  row('L', 4, {{0, 1}, {1, 2}});
  row('L', 6, {{0, 3}, {1, 1}});
  maximise();
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kCrossover, 0), 0);
  ASSERT_EQ(NVRLsetintcontrol(prob, nvrl::id::kPresolve, 0), 0);
  ASSERT_EQ(NVRLlpoptimize(prob, "b"), 0) << lastError();
  ASSERT_EQ(intAttr(nvrl::id::kLpStatus), NVRL_LP_OPTIMAL);
  std::vector<int> rs(2), cs(2);
  ASSERT_NE(NVRLgetbasis(prob, rs.data(), cs.data()), 0);  // no basis yet
  int status = -1;
  ASSERT_EQ(NVRLcrossoverlpsol(prob, &status), 0) << lastError();
  EXPECT_EQ(status, 0);
  ASSERT_EQ(NVRLgetbasis(prob, rs.data(), cs.data()), 0) << lastError();
  EXPECT_EQ(cs[0], NVRL_BASIS_BASIC);
  EXPECT_EQ(cs[1], NVRL_BASIS_BASIC);
  EXPECT_NEAR(dblAttr(nvrl::id::kLpObjVal), 2.8, 1e-9);
  ASSERT_EQ(NVRLcrossoverlpsol(prob, &status), 0) << lastError();
  EXPECT_EQ(status, 1);  // basic already
}

// ---- presolved rows -----------------------------------------------------------------------

TEST_F(MipSolutions, APresolvedRowSumsRepeatsAndMovesFixedColumnsToTheRhs) {
  col(0, 5, 0);
  col(2, 2, 0);  // fixed
  col(-1, 1, 0);
  const int ind[] = {0, 1, 2, 0, 2};
  const double coef[] = {1, 3, 2, 1.5, -2};  // column 2 cancels
  int n = -1, status = -1, outc[2] = {-1, -1};
  double outv[2] = {0, 0}, rhs = 0;
  ASSERT_EQ(NVRLpresolverow(prob, 'L', 5, ind, coef, 10, 2, &n, outc, outv, &rhs, &status), 0)
      << lastError();
  EXPECT_EQ(status, 0);
  ASSERT_EQ(n, 1);
  EXPECT_EQ(outc[0], 0);
  EXPECT_EQ(outv[0], 2.5);
  EXPECT_EQ(rhs, 4);  // 10 - 3*2
  ASSERT_EQ(NVRLpresolverow(prob, 'G', 2, ind, coef, 1, 0, &n, outc, outv, &rhs, &status), 0);
  EXPECT_EQ(status, 1);  // one entry, no room
  EXPECT_EQ(n, 1);
}

// ---- bad input ----------------------------------------------------------------------------

struct BadCase {
  const char *label;
  int (*call)(NVRLprob);
  const char *message;
};

class BadMipSolutionCalls : public MipSolutions, public ::testing::WithParamInterface<BadCase> {};

TEST_P(BadMipSolutionCalls, FailWithAMessageAndChangeNothing) {
  const BadCase &c = GetParam();
  quadraticKnapsack();
  const nvrl::Model before = model();
  EXPECT_NE(c.call(prob), 0);
  EXPECT_NE(lastError().find(c.message), std::string::npos) << lastError();
  EXPECT_EQ(model().lb, before.lb);
  EXPECT_EQ(model().ub, before.ub);
  EXPECT_EQ(model().coltype, before.coltype);
  EXPECT_EQ(prob->user_mip_starts.size(), 0u);  // nothing kept for the next solve
}

const double kVals[] = {1, 0, 1, 0};
const double kNaN[] = {1, NAN, 1, 0};
const int kRepeated[] = {0, 1, 0};
const int kOutOfRange[] = {0, 4};
const int kColScale[] = {0, 65, 0, 0};
double gOut[4], gRhs;  // output arguments of the failing calls
int gCount;

INSTANTIATE_TEST_SUITE_P(
    Bad, BadMipSolutionCalls,
    ::testing::Values(
        BadCase{"add_empty", [](NVRLprob p) { return NVRLaddmipsol(p, 0, kVals, nullptr, nullptr); },
                "at least 1"},
        BadCase{"add_short_full",
                [](NVRLprob p) { return NVRLaddmipsol(p, 3, kVals, nullptr, nullptr); },
                "all 4 columns"},
        BadCase{"add_repeated",
                [](NVRLprob p) { return NVRLaddmipsol(p, 3, kVals, kRepeated, nullptr); },
                "given twice"},
        BadCase{"add_out_of_range",
                [](NVRLprob p) { return NVRLaddmipsol(p, 2, kVals, kOutOfRange, nullptr); },
                "not a column index"},
        BadCase{"add_nan", [](NVRLprob p) { return NVRLaddmipsol(p, 4, kNaN, nullptr, nullptr); },
                "not a finite number"},
        BadCase{"load_null", [](NVRLprob p) { return NVRLloadmipsol(p, nullptr, nullptr); },
                "must not be null"},
        BadCase{"refine_options",
                [](NVRLprob p) { return NVRLrefinemipsol(p, 2, "", kVals, gOut, nullptr); },
                "options must be 0 or 1"},
        BadCase{"refine_flags",
                [](NVRLprob p) { return NVRLrefinemipsol(p, 0, "x", kVals, gOut, nullptr); },
                "no flags"},
        BadCase{"fix_without_solution", [](NVRLprob p) { return NVRLfixglobals(p, 0); },
                "no MIP solution"},
        BadCase{"crossover_without_solution",
                [](NVRLprob p) { return NVRLcrossoverlpsol(p, nullptr); }, "no LP solution"},
        BadCase{"scale_exponent", [](NVRLprob p) { return NVRLscale(p, nullptr, kColScale); },
                "colscale[1] = 65"},
        BadCase{"presolverow_type",
                [](NVRLprob p) {
                  return NVRLpresolverow(p, 'N', 0, nullptr, nullptr, 0, 0, &gCount, nullptr,
                                         nullptr, &gRhs, nullptr);
                },
                "rowtype"}),
    nvtest::byLabel);

}  // namespace
}  // namespace treetest
