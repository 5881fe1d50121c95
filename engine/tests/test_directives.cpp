// Branching directives: loading, reading and writing them, their following column deletions,
// and the tree search honouring priorities, preferred branches and initial pseudocosts.
#include <gtest/gtest.h>

#include <cmath>

#include "test_io_support.h"
#include "tree/branching.h"

namespace {

struct Dirs {
  std::vector<int> col, prio;
  std::vector<char> dir;
  std::vector<double> up, down;
  bool operator==(const Dirs &o) const {
    return col == o.col && prio == o.prio && dir == o.dir && up == o.up && down == o.down;
  }
};

class DirectiveTest : public iotest::FileTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(FileTest::SetUp());
    NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
  }
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
    [](const auto &info) { return std::string(info.param.label); });

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
using nvrl::tree::Candidate;

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
    [](const auto &info) { return std::string(info.param.label); });

}  // namespace
