// The LP, QP or MIP of one iteration of the nonlinear solver, kept in one HiGHS instance for
// the whole solve and changed in place between iterations, so that each solve starts from the
// previous basis.
//
// Columns: the problem's columns, then two penalty columns (p, n >= 0) per nonlinear row.
// Rows: the problem's rows in order; linear rows as they are, nonlinear rows linearised at the
// current point with +p - n added (elastic), so the subproblem is feasible whenever the
// linear rows are.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "nslp/slp_model.h"
#include "solve/highs_options.h"
#include "solve/highs_session.h"

namespace nvrl {

// The data of one linearisation, written by the solver loop.
struct SlpLinearisation {
  std::vector<double> cost;          // per problem column
  std::vector<double> lo, up;        // per problem column (original bounds cut by step bounds)
  std::vector<std::vector<double>> grad;  // per nonlinear row, on the row's pattern
  std::vector<double> rowlo, rowup;  // per nonlinear row (bounds of the linearised row)
  std::vector<double> penalty;       // per nonlinear row: cost of its p and n columns
  // Hessian, lower triangle keyed (column, row) with row >= column; empty: an LP.
  std::map<std::pair<int, int>, double> hessian;
  // The point linearised at (per problem column; may be empty): where a QP starts.
  std::vector<double> point;
};

class SlpSubproblem {
 public:
  // integers: keep the integrality of 'I' and 'B' columns (each subproblem is then a MIP).
  SlpSubproblem(const SlpModel &model, bool integers);

  // Options from the optimiser problem's controls and the solve flags (log off: the loop
  // logs for itself).
  void configure(const nvrl_problem_s *p, const SolveFlags &flags);
  void setTimeLimit(double seconds);
  // A running subproblem stops (HiGHS model status "interrupted") as soon as stop returns
  // non-zero, so that a stop request need not wait for a long MIP; an empty stop removes it.
  void setStop(std::function<int()> stop);
  int stopRequested() const { return stop_ ? stop_() : 0; }

  // Loads the linearisation (the whole model the first time, changes afterwards) and solves.
  // Returns HiGHS's model status; false with err set when HiGHS refuses the data.
  bool solve(const SlpLinearisation &lin, int &status, std::string &err);
  // Drops HiGHS's basis and factorisation, so that the next solve starts from scratch.
  void clearSolver();
  // Solves the linearisation with no objective, only the penalty (an LP): the least weighted
  // violation of the linearised rows within the step bounds. The answers of the last solve()
  // stay as they were; xf receives the problem columns (empty when HiGHS found none).
  bool solveFeasibility(const SlpLinearisation &lin, std::vector<double> &xf, int &status,
                        std::string &err);

  // Answers of the last solve.
  const std::vector<double> &x() const { return x_; }           // problem columns
  const std::vector<double> &rowDuals() const { return duals_; } // problem rows
  const std::vector<double> &elastic() const { return elastic_; } // p + n per nonlinear row
  bool hasDuals() const { return have_duals_; }
  int64_t lpIterations() const { return iterations_; }

 private:
  bool load(const SlpLinearisation &lin, std::string &err);
  bool update(const SlpLinearisation &lin, std::string &err);
  bool passHessian(const SlpLinearisation &lin, std::string &err);
  void passStart(const SlpLinearisation &lin);

  const SlpModel &M_;
  bool integers_;
  HighsInstance h_;
  bool loaded_ = false;
  bool had_hessian_ = false;
  int ncols_ = 0;  // problem columns + penalty columns
  std::vector<double> x_, duals_, elastic_;
  bool have_duals_ = false;
  int64_t iterations_ = 0;
  std::function<int()> stop_;  // HiGHS holds this object's address while it is set
};

}  // namespace nvrl
