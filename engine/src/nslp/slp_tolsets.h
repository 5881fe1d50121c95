// Per-column rules of the nonlinear solve: step types, tolerance sets and derivative
// estimates, as the loop applies them, and the statistics it keeps for the item queries.
#pragma once

#include <string>
#include <vector>

#include "nslp/slp_loop.h"
#include "nslp/slp_model.h"
#include "nslp/slp_problem.h"

namespace nvrl {

// Copies the problem's step types, tolerance sets and derivative estimates into a solve's
// settings.
void addColumnRules(const SlpData &data, int ncols, SlpSettings &st);

int deltaType(const SlpSettings &S, int j);
// Whether the trust region adapts column j's step bound.
inline bool adaptiveStep(const SlpSettings &S, int j) { return deltaType(S, j) == NSLP_DELTA_ADAPTIVE; }
// Sets the step bound of every column with a fixed, relative or frozen type for the point x.
void applyStepTypes(const SlpSettings &S, const std::vector<double> &x, std::vector<double> &delta);

// Puts the estimates of nonlinear row r into grad (on r.cols), and those of the objective
// into the dense gradient g (minimisation form: sense times the estimate).
void applyRowEstimates(const SlpSettings &S, const SlpNonlinearRow &r, std::vector<double> &grad);
void applyObjectiveEstimates(const SlpSettings &S, int sense, double *g);

// The step test of an accepted step d from x: codes[j] gets NSLP_CONVERGED_... for every
// column; true when every column converged. f and g are the objective and its gradient at x,
// rowval and rowgrad the nonlinear rows' values and gradients there; delta the step bounds
// the step was taken with, which bound the columns marked in nonlinear and the typed ones.
bool judgeSteps(const SlpModel &M, const SlpSettings &S, const std::vector<double> &x,
                const std::vector<double> &d, double f, const std::vector<double> &g,
                const std::vector<double> &rowval,
                const std::vector<std::vector<double>> &rowgrad,
                const std::vector<char> &nonlinear, const std::vector<double> &delta,
                std::vector<int> &codes);

// Counts the use of each nonlinear row's penalty columns by one subproblem (elastic: p + n
// per nonlinear row).
void recordPenalties(const SlpModel &M, const std::vector<double> &elastic, double tol,
                     SlpSolveDetail &detail);

// Fails (recording why) unless t names a tolerance set or is 0.
bool checkTolsetRef(nslp_problem_s *s, const char *fn, int t);

// Keeps the loop's per-column and per-row detail of a solve with the problem.
void keepSolveDetail(nslp_problem_s *s, SlpOutcome &out);

// The derivative estimates that survive a deletion, renumbered.
std::map<std::pair<int, int>, double> renumberEstimates(
    const std::map<std::pair<int, int>, double> &dfs, const std::vector<int> *rowmap,
    const std::vector<int> *colmap);

}  // namespace nvrl
