// Solves with the basis matrix of an optimal (or at least factorable) simplex basis held by a
// HiGHS instance, and the values, bounds and reduced costs of every variable around it.
//
// Variables use the combined numbering: rows 0..m-1, then columns m..m+n-1. The variable of
// row i is its logical z_i = -activity_i, whose column in [A I] is +e_i; its bounds are the
// row's bounds negated and swapped. A logical differs from the slack (rhs - activity) by a
// constant only, so every step length and ratio below is the same in either.
//
// Basis positions follow the pivot order: basic rows ascending, then basic columns ascending.
#pragma once

#include <string>
#include <vector>

#include "core/problem.h"
#include "solve/lowered_model.h"

namespace nvrl {

class BasisView {
 public:
  // Reads the basis and solution of `highs`, which holds `L` (a model whose rows and columns
  // are the user's). Returns false with a message in `err` when HiGHS has no basis.
  bool load(void *highs, const LoweredModel &L, std::string &err);

  int rows() const { return m_; }
  int cols() const { return n_; }
  int vars() const { return m_ + n_; }
  int sense() const { return sense_; }
  double objective() const { return obj_; }

  const std::vector<int> &pivots() const { return pivots_; }
  // Basis position of a variable, or -1 when it is nonbasic.
  int position(int var) const { return pos_[var]; }

  double value(int var) const { return value_[var]; }
  double lower(int var) const { return lo_[var]; }
  double upper(int var) const { return up_[var]; }
  // Reduced cost in the objective as given (not multiplied by the sense).
  double dj(int var) const { return dj_[var]; }
  double cost(int var) const { return var >= m_ ? cost_[var - m_] : 0.0; }

  // Where a nonbasic variable sits: +1 at its lower bound (may increase), -1 at its upper
  // bound (may decrease), 0 fixed, 2 free or between its bounds.
  int side(int var) const;

  // B x = v: v indexed by row on entry, x by basis position on return.
  bool ftran(std::vector<double> &v, std::string &err) const;
  // B' y = v: v indexed by basis position on entry, y by row on return.
  bool btran(std::vector<double> &v, std::string &err) const;

  // The column of a variable in [A I], dense, into `out` (m entries).
  void column(int var, std::vector<double> &out) const;
  // y . (column of var)
  double dot(const std::vector<double> &y, int var) const;
  // max |entry| of a variable's column
  double columnMaxAbs(int var) const;
  double columnSumAbs(int var) const;

 private:
  void *h_ = nullptr;
  int m_ = 0, n_ = 0, sense_ = 1;
  double obj_ = 0.0;
  std::vector<int> pivots_, pos_, hpos_;  // hpos_: HiGHS's position of each of ours
  std::vector<double> value_, lo_, up_, dj_, cost_;
  std::vector<int> cstart_, crow_;  // column-wise copy of A
  std::vector<double> cval_;
};

// The checks shared by every function that works on a problem's basis: the problem was last
// solved as an LP, has not changed since, and HiGHS sees its own rows and columns. On success
// returns the session's HiGHS handle and lowered model; on failure records the reason on `p`
// and returns nullptr.
void *basisOfProblem(nvrl_problem_s *p, bool needOptimal, const LoweredModel **L);

}  // namespace nvrl
