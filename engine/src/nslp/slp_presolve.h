// Presolve of the nonlinear problem: columns fixed by their bounds are substituted into the
// formulas and quadratic row terms, constant subexpressions are folded, and coefficients
// left without a column to depend on become linear terms or constants of the problem the
// solver works on. The user's problem is never changed: the presolved form is kept beside
// it and has the same rows and columns, so answers need no mapping back.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/problem.h"
#include "nslp/formula.h"
#include "nslp/slp_problem.h"

namespace nvrl {

struct SlpPresolved {
  // The optimiser's model with the folded linear terms, constants and quadratic terms; null
  // when those were left as they are (the solve then reads the user's model).
  std::unique_ptr<Model> model;
  std::vector<SlpCoefficient> coefs;  // the coefficients that stay nonlinear
  // What it was made from: the problem's version and a fingerprint of its coefficients and
  // column bounds; a form that no longer matches is stale.
  uint64_t version = 0;
  uint64_t fingerprint = 0;
  int fixed = 0;         // fixed columns substituted
  int linear = 0;        // coefficients turned into linear terms or constants
  int rows_linear = 0;   // nonlinear rows left linear
};

// Builds the presolved form of s's problem; lines receives what it did.
std::shared_ptr<const SlpPresolved> presolveProblem(const nslp_problem_s *s,
                                                    std::vector<std::string> &lines);

// Whether s's presolved form (when it has one) still matches its problem.
NVRL_INTERNAL_API bool presolvedIsCurrent(const nslp_problem_s *s);

// Drops the presolved form and clears the presolved state bit.
void dropPresolved(nslp_problem_s *s);

// Before a solve: presolves (nslp_auto_presolve) or drops a stale form, logging either.
// Returns the form the solve works on, null for the user's problem itself.
std::shared_ptr<const SlpPresolved> presolveForSolve(nslp_problem_s *s);

// The counts the attributes report: of the presolved form when there is one.
int64_t slpCoefficientCount(const nslp_problem_s *s);
int64_t slpNonlinearRowCount(const nslp_problem_s *s);

// The presolved state bit of NSLP_ATTR_STATE.
constexpr int kPresolvedBit = 1 << 29;

}  // namespace nvrl
