// The terms of a row one by one (linear, quadratic, formula coefficients) with their values
// and derivatives at a point: what the validation calls report and how they measure a row's
// size for relative violations.
#pragma once

#include <string>
#include <vector>

#include "nslp/formula.h"
#include "nslp/slp_problem.h"

namespace nvrl {

// Bounds of row i as the solver reads them (infinite sides are +-INFINITY).
void rowBounds(const Model &m, int i, double &lo, double &up);

// How far a lies outside [lo, up] (0 inside).
inline double outside(double a, double lo, double up) {
  return a < lo ? lo - a : a > up ? a - up : 0.0;
}

// The sense the nonlinear solver reads the objective in: its control once set, else the
// optimiser problem's.
int slpSense(const nslp_problem_s *s);

class RowTerms {
 public:
  enum Kind { kLinear, kQuadratic, kFormula };
  struct Term {
    Kind kind = kLinear;
    int i = -1, j = -1;    // linear: column i; quadratic: columns i and j (i may equal j)
    double coef = 0.0;     // linear or quadratic coefficient; formula: the factor
    int formula = -1;      // formula terms: index into formulas()
    double value = 0.0;    // at the point
  };
  struct Formula {
    const SlpCoefficient *coef;
    FormulaTape tape;
  };

  // Compiles every formula of the rows (not the objective's). Throws FormulaError.
  explicit RowTerms(const nslp_problem_s *s);

  // The terms of row i with their values at x. False, with err set, when a formula cannot be
  // evaluated there.
  bool terms(int i, const double *x, std::vector<Term> &out, FormulaWorkspace &ws,
             std::string &err) const;
  // The activity of row i at x and its size: the largest absolute term value or finite bound.
  bool measure(int i, const double *x, double &activity, double &size, FormulaWorkspace &ws,
               std::string &err) const;
  // Derivatives of a term by the columns it reads: (column, derivative) pairs.
  bool derivatives(const Term &t, const double *x, std::vector<std::pair<int, double>> &out,
                   FormulaWorkspace &ws, std::string &err) const;

  const Formula &formula(int k) const { return formulas_[k]; }

 private:
  const Model &m_;
  std::vector<Formula> formulas_;
  std::vector<std::vector<int>> byRow_;  // row -> indices into formulas_, in store order
};

}  // namespace nvrl
