// The iteration of the nonlinear solver: penalty successive linear programming with trust
// regions. At the current point every nonlinear row and the objective are linearised; the
// subproblem (slp_subproblem.h) finds a step within the step bounds, the nonlinear rows
// elastic at a penalty; the step is accepted when the merit function (objective plus
// penalty times weighted row violations) falls by a fair share of what the linearisation
// predicted, and the step bounds grow or shrink accordingly.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "nslp/slp_model.h"
#include "nslp/slp_subproblem.h"

namespace nvrl {

// Status values of the nonlinear solver (NSLP_NLP_... in nvrl.h).
enum SlpStatus {
  kSlpUnstarted = 0,
  kSlpLocallyOptimal = 1,
  kSlpGloballyOptimal = 2,
  kSlpLocallyInfeasible = 3,
  kSlpInfeasible = 4,
  kSlpUnbounded = 5,
  kSlpUnfinished = 6,
};

struct SlpCascade;

struct SlpSettings {
  int iteration_limit = 1000;
  double time_limit = 0.0;  // seconds, 0: none
  int log_level = 1;
  double step_tol = 1e-6, obj_abs_tol = 1e-6, obj_rel_tol = 1e-6, feas_tol = 1e-6;
  double opt_tol = 1e-6;
  double init_step = 10.0, min_step = 1e-8, max_step = 1e6, expand = 2.0, shrink = 0.5;
  double penalty = 100.0, penalty_growth = 10.0, penalty_max = 1e9;
  bool integers = false;          // keep 'I' and 'B' columns integral (MIP subproblems)
  int max_hessian_cols = 1000;    // beyond this many nonlinear columns: LP subproblems only
  std::vector<double> initial;    // starting point, one value per column
  std::vector<char> given;        // per column: the initial value was given by the user
  std::vector<char> transfer_row; // per row: holds the objective through a transfer column
  std::vector<double> col_step;   // per column initial step bound; 0 or absent: init_step
  std::vector<double> row_weight; // per row penalty weight; absent: 1
  // Per column, absent: default (slp_tolsets.h): step type and its value, tolerance set (0
  // none); the sets; derivative estimates by (col, row), row -1 the objective.
  std::vector<int> delta_type;
  std::vector<double> delta_value;
  std::vector<int> col_tolset;
  std::vector<SlpTolset> tolsets;
  std::map<std::pair<int, int>, double> dfs;
  const SlpCascade *cascade = nullptr;  // determined columns (slp_cascade.h); null: none
};

// Points where a caller can act on the running solve; any may be null. iterationEnd gets
// whether the step was accepted.
struct SlpHooks {
  void *data = nullptr;
  void (*solveStart)(void *data) = nullptr;
  void (*iterationStart)(void *data, int iteration) = nullptr;
  void (*iterationEnd)(void *data, int iteration, bool accepted) = nullptr;
  void (*solveEnd)(void *data, int status) = nullptr;
  // Multistart, around each queued job (job: the object given with it): a non-zero status
  // from jobStart skips the job, from jobEnd sets its answer aside; jobWinner once, when a
  // job's answer beat the base solve's.
  void (*jobStart)(void *data, void *job, const char *description, int *status) = nullptr;
  void (*jobEnd)(void *data, void *job, const char *description, int *status) = nullptr;
  void (*jobWinner)(void *data, void *job, const char *description) = nullptr;
  // Cascading of a point: its start, each column (whether its row holds now) and its end.
  void (*cascadeStart)(void *data) = nullptr;
  void (*cascadeColumn)(void *data, int col, bool ok) = nullptr;
  void (*cascadeEnd)(void *data, int failures) = nullptr;
};

struct SlpOutcome {
  int status = kSlpUnstarted;
  int stop = 0;            // NVRL_STOP_... when the solve ended early
  int iterations = 0;
  double objective = 0.0;  // in the user's sense
  double infeasibility = 0.0;
  double penalty = 0.0;    // the penalty at the end
  int cascade_failures = 0;  // failed column cascades over the solve
  bool have_point = false, have_duals = false;
  std::vector<double> x, slack, duals, djs;  // duals and djs in the user's sense
  SlpSolveDetail detail;       // empty when the solve did not run the loop
  std::vector<int> converged;  // per column NSLP_CONVERGED_..., as detail
  std::string error;       // why the solve could not run at all (then have_point is false)
  SlpEvalStats evals;      // the evaluations the solve made
};

// Calls the loop makes into its caller: the log (one line), and the stop request (a
// NVRL_STOP_... reason, 0 to go on).
struct SlpEnvironment {
  std::function<void(int msgtype, const std::string &line)> log;
  std::function<int()> stopRequested;
};

SlpOutcome runSlp(const SlpModel &model, const SlpSettings &settings, SlpSubproblem &sub,
                  const SlpHooks &hooks, const SlpEnvironment &env);

// The starting point used when none is given: each column at the point of its bounds nearest
// to 0.
double defaultStart(double lb, double ub);

// The point a formula is evaluated at outside a solve: the last solve's point when there is
// one for every column, else each column's initial value, else defaultStart.
std::vector<double> currentPoint(const nslp_problem_s *s);

}  // namespace nvrl
