// Bound propagation on hand-derived rows, and the search deciding a node by it alone.
#include <cmath>
#include <limits>

#include "test_tree_support.h"
#include "tree/propagation.h"

namespace treetest {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

struct Col {
  double lo, up;
  bool integer;
};

struct Row {
  double lo, up;
  std::vector<std::pair<int, double>> entries;
};

struct PropCase {
  const char *label;
  std::vector<Col> cols;
  std::vector<Row> rows;
  bool feasible;
  std::vector<double> lo, up;  // expected bounds when feasible
};

class Propagation : public ::testing::TestWithParam<PropCase> {};

TEST_P(Propagation, TightensBoundsOrFindsTheRowsUnsatisfiable) {
  const PropCase &c = GetParam();
  nvrl::LoweredModel L;
  std::vector<char> roundable;
  for (const Col &col : c.cols) {
    L.cost.push_back(0.0);
    L.col_lo.push_back(col.lo);
    L.col_up.push_back(col.up);
    roundable.push_back(col.integer);
  }
  for (const Row &r : c.rows) {
    L.row_lo.push_back(r.lo);
    L.row_up.push_back(r.up);
    for (auto [j, a] : r.entries) {
      L.a_index.push_back(j);
      L.a_value.push_back(a);
    }
    L.a_start.push_back(static_cast<int>(L.a_index.size()));
  }
  nvrl::tree::Propagator prop(L, roundable, 1e-6);
  std::vector<double> lo = L.col_lo, up = L.col_up;
  std::vector<nvrl::tree::BoundChange> changes;
  ASSERT_EQ(prop.run(lo, up, {}, true, 1000000, changes), c.feasible);
  if (!c.feasible) return;
  for (size_t j = 0; j < c.cols.size(); ++j) {
    // Continuous bounds are given back a little against round-off, never taken further.
    const double tol = c.cols[j].integer ? 0.0 : 1e-7;
    if (std::isinf(c.lo[j])) EXPECT_EQ(lo[j], c.lo[j]) << "lower " << j;
    else { EXPECT_LE(lo[j], c.lo[j]) << "lower " << j; EXPECT_GE(lo[j], c.lo[j] - tol) << "lower " << j; }
    if (std::isinf(c.up[j])) EXPECT_EQ(up[j], c.up[j]) << "upper " << j;
    else { EXPECT_GE(up[j], c.up[j]) << "upper " << j; EXPECT_LE(up[j], c.up[j] + tol) << "upper " << j; }
  }
  // One change per moved column, carrying its final bounds.
  for (const auto &ch : changes) {
    EXPECT_EQ(ch.lo, lo[ch.col]);
    EXPECT_EQ(ch.up, up[ch.col]);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Propagation,
    ::testing::Values(
        // 3x + 2y <= 7 over [0, 10]: x <= 7/3, y <= 7/2, rounded down when integer.
        PropCase{"integer_rounding", {{0, 10, true}, {0, 10, true}}, {{-kInf, 7, {{0, 3}, {1, 2}}}},
                 true, {0, 0}, {2, 3}},
        PropCase{"continuous", {{0, 10, false}, {0, 10, false}}, {{-kInf, 7, {{0, 3}, {1, 2}}}},
                 true, {0, 0}, {7.0 / 3, 3.5}},
        // x <= y, y <= z, z <= 2: the bound travels back along the chain.
        PropCase{"chain", {{0, 10, false}, {0, 10, false}, {0, 2, false}},
                 {{-kInf, 0, {{0, 1}, {1, -1}}}, {-kInf, 0, {{1, 1}, {2, -1}}}}, true, {0, 0, 0},
                 {2, 2, 2}},
        // x + y <= 4 with x free below bounds x alone; z - y >= 2 with z unbounded above
        // bounds z alone.
        PropCase{"one_infinite_term", {{-kInf, 10, false}, {1, 5, false}, {0, kInf, false}},
                 {{-kInf, 4, {{0, 1}, {1, 1}}}, {2, kInf, {{2, 1}, {1, -1}}}}, true,
                 {-kInf, 1, 3}, {3, 5, kInf}},
        // Two infinite terms: nothing to derive.
        PropCase{"two_infinite_terms", {{-kInf, kInf, false}, {-kInf, kInf, false}},
                 {{-kInf, 4, {{0, 1}, {1, 1}}}}, true, {-kInf, -kInf}, {kInf, kInf}},
        // x0 + x1 + x2 = 3 over binaries fixes all three; -x3 <= -x0 then lifts x3.
        PropCase{"equality_fixes", {{0, 1, true}, {0, 1, true}, {0, 1, true}, {0, 5, true}},
                 {{3, 3, {{0, 1}, {1, 1}, {2, 1}}}, {-kInf, 0, {{0, 1}, {3, -1}}}}, true,
                 {1, 1, 1, 1}, {1, 1, 1, 5}},
        PropCase{"activity_out_of_reach", {{0, 2, false}, {0, 2, false}},
                 {{5, kInf, {{0, 1}, {1, 1}}}}, false, {}, {}},
        // 2x = 1 has the continuous answer 1/2 but no integer one: only rounding sees it.
        PropCase{"rounding_empties_the_range", {{0, 1, true}}, {{1, 1, {{0, 2}}}}, false, {}, {}},
        PropCase{"rounding_continuous_keeps_it", {{0, 1, false}}, {{1, 1, {{0, 2}}}}, true, {0.5},
                 {0.5}}),
    [](const auto &info) { return std::string(info.param.label); });

// 2x + 2y = 3 has no integer point although the relaxation has many: the search must end infeasible without solving a single relaxation.
TEST_F(TreeTest, NodeInfeasibleByPropagationNeedsNoRelaxation) {
  const int x = col(0, 3, -1, 'I'), y = col(0, 3, -1, 'I');
  row('E', 3, {{x, 2}, {y, 2}});
  qobj({{x, x, 1}});
  ASSERT_EQ(NVRLmipoptimize(prob, ""), 0) << lastError();
  EXPECT_EQ(intAttr(nvrl::id::kMipStatus), NVRL_MIP_INFEAS);
  EXPECT_EQ(intAttr(nvrl::id::kNodes), 0);
}

}  // namespace
}  // namespace treetest
