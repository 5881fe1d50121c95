// The nonlinear view of a problem for the successive linear programming solver: every row as
// linear part + quadratic part + formula coefficients, the objective as linear part + quadratic
// part, with values and gradients at a point. Built once per solve from the store; read-only
// afterwards, so evaluation needs only a caller's workspace.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "core/problem.h"
#include "nslp/formula.h"
#include "nslp/slp_problem.h"

namespace nvrl {

// term coef * x[i] * x[j] (i may equal j)
struct SlpQuadTerm {
  int i, j;
  double coef;
};

// factor * x[col] * formula(x), or factor * formula(x) when col < 0 (the constant column)
struct SlpFormulaTerm {
  int col = -1;
  double factor = 1.0;
  FormulaTape tape;
};

// A row with a quadratic part or formula coefficients.
struct SlpNonlinearRow {
  int row = -1;
  std::vector<std::pair<int, double>> linear;
  std::vector<SlpQuadTerm> quad;
  std::vector<SlpFormulaTerm> terms;
  std::vector<int> cols;  // every column the row reads, ascending: the gradient's pattern
  double weight = 1.0;    // penalty weight of its violation
};

class NVRL_INTERNAL_API SlpModel {
 public:
  // sense: 1 minimise, -1 maximise (the objective of the model is read in that sense).
  // coefs: the coefficients to use instead of d's (a presolved form); d still gives the
  // user functions. Throws FormulaError when a coefficient's formula does not compile.
  SlpModel(const Model &m, const SlpData &d, int sense,
           const std::vector<SlpCoefficient> *coefs = nullptr);

  int cols() const { return ncols_; }
  int rows() const { return nrows_; }
  int sense() const { return sense_; }
  const Model &model() const { return m_; }

  double rowLo(int i) const { return rowlo_[i]; }
  double rowUp(int i) const { return rowup_[i]; }
  // Index into nonlinearRows() of row i, or -1 for a linear row.
  int nonlinearIndex(int i) const { return nlindex_[i]; }
  const std::vector<SlpNonlinearRow> &nonlinearRows() const { return nlrows_; }
  // Columns that occur in a nonlinear term of a row or in a formula of the objective (these
  // get step bounds); the quadratic objective is apart.
  bool nonlinearInRows(int j) const { return nlcol_[j] != 0; }
  // Formula coefficients of the objective (row -1).
  bool hasObjectiveFormulas() const { return !objterms_.empty(); }
  // Adds the objective's formula terms, minimisation form, to v and (when grad is not null)
  // to the dense gradient grad. False, with err set, where a formula cannot be evaluated.
  bool objectiveFormulas(const double *x, double &v, double *grad, FormulaWorkspace &ws,
                         std::string &err) const;
  bool hasQuadraticObjective() const { return !qobj_.empty(); }
  // The objective's quadratic part in minimisation form as HiGHS takes a Hessian (1/2 x'Hx):
  // upper-triangle entries (i, j, H_ij).
  const std::vector<SlpQuadTerm> &objectiveHessian() const { return qobj_; }

  // The linear and quadratic part of the objective in minimisation form (sense * user
  // objective, constant included) and its gradient (dense, cols() entries); the formula
  // terms come from objectiveFormulas().
  double objective(const double *x) const;
  void objectiveGradient(const double *x, double *g) const;
  // The user's objective value of a problem without objective formulas.
  double userObjective(const double *x) const { return sense_ * objective(x); }

  // Activity of every row at x (rows() entries). False, with err set, when a formula cannot
  // be evaluated there.
  bool activities(const double *x, std::vector<double> &act, FormulaWorkspace &ws,
                  std::string &err) const;
  // Value and gradient of nonlinear row k; grad receives the derivative by each of
  // nonlinearRows()[k].cols.
  bool rowGradient(int k, const double *x, double &v, std::vector<double> &grad,
                   FormulaWorkspace &ws, std::string &err) const;

  // How far activity a lies outside row i's bounds (0 inside).
  double violation(int i, double a) const {
    if (a < rowlo_[i]) return rowlo_[i] - a;
    if (a > rowup_[i]) return a - rowup_[i];
    return 0.0;
  }

 private:
  bool nonlinearValue(const SlpNonlinearRow &r, const double *x, double &v, FormulaWorkspace &ws,
                      std::string &err) const;

  const Model &m_;
  int ncols_, nrows_, sense_;
  std::vector<double> rowlo_, rowup_;
  std::vector<int> nlindex_;
  std::vector<SlpNonlinearRow> nlrows_;
  std::vector<char> nlcol_;
  std::vector<SlpQuadTerm> qobj_;
  std::vector<SlpFormulaTerm> objterms_;
};

}  // namespace nvrl
