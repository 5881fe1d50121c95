// The model as HiGHS sees it: user columns first (same indices as in the store), then the
// auxiliary columns of reformulated entities; user rows that HiGHS needs, in order, then the
// auxiliary rows. Infinite bounds are IEEE infinities here, as HiGHS expects.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/problem.h"

namespace nvrl {

enum class LowerMode {
  Relaxation,  // global entities ignored: integrality dropped, sets and logic constraints left out
  Full,        // every entity reformulated exactly with binaries
  // For the engine's own tree search: integer columns keep their integrality mark (HiGHS is
  // handed the continuous relaxation), semi-continuous, semi-integer and partially integer
  // columns and sets stay relaxed for native branching; indicators, general and
  // piecewise-linear constraints are reformulated with binaries as in Full.
  Tree,
};

struct LoweredModel {
  int user_cols = 0;
  int user_rows = 0;
  int sense = 1;  // 1 minimise, -1 maximise
  double offset = 0.0;

  std::vector<double> cost, col_lo, col_up;
  std::vector<int> integrality;  // 0 continuous, 1 integer (HiGHS variable types)

  std::vector<double> row_lo, row_up;
  // Row-wise matrix handed to HiGHS in its row-wise format.
  std::vector<int> a_start{0}, a_index;
  std::vector<double> a_value;

  // Hessian as HiGHS takes it: lower triangle, column-wise; empty for a linear objective.
  std::vector<int> q_start, q_index;
  std::vector<double> q_value;

  // User row -> HiGHS row, or -1 for rows HiGHS does not see (free rows, indicator rows).
  std::vector<int> user_row_to_highs;

  int cols() const { return static_cast<int>(cost.size()); }
  int rows() const { return static_cast<int>(row_lo.size()); }
  int64_t nnz() const { return static_cast<int64_t>(a_index.size()); }
  bool hasIntegers() const;
  bool hasHessian() const { return !q_value.empty(); }

  int addCol(double c, double lo, double up, int integer);
  int addRow(double lo, double up, const std::vector<std::pair<int, double>> &entries);
  int addBinary() { return addCol(0.0, 0.0, 1.0, 1); }

  // Same matrix, Hessian, integrality and dimensions: only costs, bounds, offset or sense
  // may differ, so HiGHS can keep its basis.
  bool sameStructure(const LoweredModel &o) const;
};

// Lowers the store into `out`. On failure returns false with a message in `err` (for
// instance an infinite bound that a big-M would need).
bool lowerModel(const Model &m, LowerMode mode, LoweredModel &out, std::string &err);

// True when the model has integer, binary, semi-continuous, semi-integer or partially
// integer columns, special ordered sets, indicators, general or piecewise-linear constraints.
bool hasGlobalEntities(const Model &m);

// True when the quadratic objective has a non-zero entry.
bool hasQuadraticObjective(const Model &m);

// Bounds lo <= activity <= up of a user row (infinite sides are +/-inf).
void userRowBounds(const Model &m, int row, double &lo, double &up);

// Activity range of a user row over the lowered column bounds (+/-inf when unbounded).
void rowActivityRange(const Model &m, const LoweredModel &L, int row, double &lo, double &up);

}  // namespace nvrl
