#include "solve/highs_options.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "core/ids.h"
#include "interfaces/highs_c_api.h"

namespace nvrl {

bool parseSolveFlags(const char *flags, SolveFlags &out, std::string &err) {
  out = SolveFlags();
  if (!flags) return true;
  for (const char *c = flags; *c; ++c) {
    switch (*c) {
      case 'p': out.algorithm = LpAlgorithm::Primal; break;
      case 'd':
      case 'n': out.algorithm = LpAlgorithm::Dual; break;
      case 'b': out.algorithm = LpAlgorithm::Barrier; break;
      case ' ': break;
      default:
        err = std::string("Unknown optimisation flag '") + *c + "' (known: p, d, b, n)";
        return false;
    }
  }
  return true;
}

namespace {

// A count limit where <= 0 means none; HiGHS counts in 32-bit integers.
int countLimit(int64_t v) {
  if (v <= 0 || v > INT_MAX) return INT_MAX;
  return static_cast<int>(v);
}

bool finite(double v) { return std::fabs(v) < 1e20; }

// Rounding allowed when an objective value is compared with the cutoff.
double cutoffTolerance(double cutoff) { return std::max(1e-6, 1e-9 * std::fabs(cutoff)); }

}  // namespace

bool cutoffInForce(const nvrl_problem_s *p, double &cutoff) {
  cutoff = getDblControl(p, id::kCutoff);
  return finite(cutoff);
}

bool meetsCutoff(double objective, double cutoff, int objsense) {
  const double tol = cutoffTolerance(cutoff);
  return objsense >= 0 ? objective <= cutoff + tol : objective >= cutoff - tol;
}

void applyControls(void *h, const nvrl_problem_s *p, const SolveFlags &flags, bool mip,
                   bool quadratic) {
  const int loglevel = static_cast<int>(getIntControl(p, id::kLogLevel));
  // The engine never prints: HiGHS's log reaches the problem through the logging callback.
  Highs_setBoolOptionValue(h, "output_flag", loglevel > 0);
  Highs_setBoolOptionValue(h, "log_to_console", false);
  Highs_setIntOptionValue(h, "log_dev_level", 0);

  const double tl = getDblControl(p, id::kTimeLimit);
  Highs_setDoubleOptionValue(h, "time_limit", tl > 0 && finite(tl) ? tl : INFINITY);

  Highs_setDoubleOptionValue(h, "mip_rel_gap", getDblControl(p, id::kMipRelGap));
  Highs_setDoubleOptionValue(h, "mip_abs_gap", getDblControl(p, id::kMipAbsGap));
  Highs_setDoubleOptionValue(h, "primal_feasibility_tolerance", getDblControl(p, id::kFeasTol));
  Highs_setDoubleOptionValue(h, "dual_feasibility_tolerance", getDblControl(p, id::kOptTol));
  Highs_setDoubleOptionValue(h, "mip_feasibility_tolerance", getDblControl(p, id::kMipTol));
  Highs_setDoubleOptionValue(h, "ipm_optimality_tolerance", getDblControl(p, id::kBarrierTol));

  // A MIP search prunes with the cutoff. HiGHS reads the bound in its minimisation form
  // (-objective when maximising) and prunes at it, so it gets the tolerance that lets a
  // solution exactly at the cutoff through. HiGHS may still return a solution beyond the
  // bound; the answer is checked against the cutoff afterwards (collectAnswers), which is
  // also how LPs and QPs get their verdict: the dual simplex's early stop at the bound would
  // leave no verifiable answer.
  double cutoff = 0.0;
  double bound = INFINITY;
  if (mip && cutoffInForce(p, cutoff)) {
    const double sense = p->model.objsense >= 0 ? 1.0 : -1.0;
    bound = sense * cutoff + cutoffTolerance(cutoff);
  }
  Highs_setDoubleOptionValue(h, "objective_bound", bound);

  Highs_setIntOptionValue(h, "mip_max_nodes", countLimit(getIntControl(p, id::kNodeLimit)));
  Highs_setIntOptionValue(h, "mip_max_improving_sols",
                          countLimit(getIntControl(p, id::kSolutionLimit)));
  Highs_setIntOptionValue(h, "simplex_iteration_limit",
                          countLimit(getIntControl(p, id::kLpIterLimit)));
  Highs_setIntOptionValue(h, "ipm_iteration_limit", countLimit(getIntControl(p, id::kBarIterLimit)));
  // HiGHS's active-set QP solver can cycle forever on some convex QPs; without a user limit a
  // generous cap turns that into an unfinished solve instead of a hang.
  const int64_t qpLimit = getIntControl(p, id::kLpIterLimit);
  const int64_t qpCap =
      std::max<int64_t>(1000000, 200 * (static_cast<int64_t>(p->model.rows()) + p->model.cols()));
  Highs_setIntOptionValue(h, "qp_iteration_limit", countLimit(qpLimit > 0 ? qpLimit : qpCap));

  Highs_setStringOptionValue(h, "presolve", getIntControl(p, id::kPresolve) ? "choose" : "off");
  Highs_setDoubleOptionValue(h, "mip_heuristic_effort", getDblControl(p, id::kMipHeuristicEffort));
  Highs_setStringOptionValue(h, "run_crossover", getIntControl(p, id::kCrossover) ? "on" : "off");

  const int64_t seed = getIntControl(p, id::kRandomSeed);
  if (seed >= 0 && seed <= INT_MAX) Highs_setIntOptionValue(h, "random_seed", static_cast<int>(seed));

  LpAlgorithm alg = flags.algorithm;
  if (alg == LpAlgorithm::Default) {
    switch (getIntControl(p, id::kLpAlgorithm)) {
      case 2: alg = LpAlgorithm::Dual; break;
      case 3: alg = LpAlgorithm::Primal; break;
      case 4: alg = LpAlgorithm::Barrier; break;
      default: break;
    }
  }
  // For a MIP, HiGHS's "solver" option would switch to solving the relaxation only, and a QP
  // has its own solver, so there the choice is limited to the simplex strategy.
  const char *solver = "choose";
  int strategy = 1;  // dual simplex
  if (alg == LpAlgorithm::Primal) strategy = 4;
  if (!mip && !quadratic) {
    if (alg == LpAlgorithm::Primal || alg == LpAlgorithm::Dual) solver = "simplex";
    if (alg == LpAlgorithm::Barrier) solver = "ipm";
  }
  Highs_setStringOptionValue(h, "solver", solver);
  Highs_setIntOptionValue(h, "simplex_strategy", strategy);
}

}  // namespace nvrl
