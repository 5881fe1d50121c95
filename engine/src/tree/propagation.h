// Bound (domain) propagation on the linear rows of the lowered model: the least and greatest
// activity of a row under the column bounds limit every column of the row; integer columns
// get their tightened bounds rounded. A node whose bounds leave some row unsatisfiable is
// infeasible without a relaxation solve.
#pragma once

#include <cstdint>
#include <vector>

#include "solve/lowered_model.h"
#include "tree/node_queue.h"

#ifndef NVRL_INTERNAL_API
#define NVRL_INTERNAL_API __attribute__((visibility("default")))
#endif

namespace nvrl::tree {

// Exported for the engine's tests.
class NVRL_INTERNAL_API Propagator {
 public:
  // roundable: per lowered column, bounds may be rounded to integers (integer columns that
  // are integer over their whole range).
  Propagator(const LoweredModel &L, std::vector<char> roundable, double feastol);

  // Tightens lo/up in place, starting from the rows of the columns in seeds (every row when
  // allRows), until nothing changes or about workLimit matrix entries have been visited.
  // Appends one change per tightened column to `changes`. Returns false when some row
  // cannot be satisfied (lo/up are then partly tightened and meaningless).
  bool run(std::vector<double> &lo, std::vector<double> &up, const std::vector<int> &seeds,
           bool allRows, int64_t workLimit, std::vector<BoundChange> &changes);

  int64_t nnz() const { return static_cast<int64_t>(a_value_.size()); }

  // For a linear objective, points whose objective (minimisation form) reaches `limit` are
  // of no use once there is an incumbent: the objective joins the rows with this bound and
  // is propagated at every run. No effect with a quadratic objective.
  void setObjectiveLimit(double limit);
  // The objective row takes part: a failed run may then mean that the node holds no point
  // better than the limit, rather than none at all.
  bool objectiveInForce() const;

 private:
  bool row(int i, std::vector<double> &lo, std::vector<double> &up, int64_t &work);
  bool tighten(int j, bool upper, double v, std::vector<double> &lo, std::vector<double> &up);

  std::vector<char> roundable_;
  double feastol_;
  // The model's rows, then the objective row for a linear objective.
  std::vector<int> a_start_, a_index_;
  std::vector<double> a_value_, row_lo_, row_up_;
  int objective_row_ = -1;
  double objective_shift_ = 0.0;
  std::vector<int> col_start_, col_rows_;  // rows of each column
  // Scratch, kept between runs.
  std::vector<int> queue_, changed_, pending_;
  std::vector<char> queued_, marked_;
  std::vector<double> old_lo_, old_up_;
};

}  // namespace nvrl::tree
