#include "solve/collect_answers.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/ids.h"
#include "interfaces/highs_c_api.h"
#include "solve/highs_options.h"

namespace nvrl {

namespace {

int infoInt(void *h, const char *name) {
  int v = 0;
  Highs_getIntInfoValue(h, name, &v);
  return v;
}

int64_t infoInt64(void *h, const char *name) {
  int64_t v = 0;
  Highs_getInt64InfoValue(h, name, &v);
  return v;
}

double infoDouble(void *h, const char *name) {
  double v = 0.0;
  Highs_getDoubleInfoValue(h, name, &v);
  return v;
}

int fromHighsBasisStatus(int s) {
  switch (s) {
    case kHighsBasisStatusBasic: return NVRL_BASIS_BASIC;
    case kHighsBasisStatusUpper: return NVRL_BASIS_NONBASIC_UPPER;
    case kHighsBasisStatusZero: return NVRL_BASIS_SUPERBASIC;
    default: return NVRL_BASIS_NONBASIC_LOWER;
  }
}

// Stop reason of a run that ended before proving its answer.
int stopReason(const nvrl_problem_s *p, int modelStatus, int64_t nodes) {
  switch (modelStatus) {
    case kHighsModelStatusTimeLimit: return NVRL_STOP_TIMELIMIT;
    case kHighsModelStatusIterationLimit: return NVRL_STOP_ITERLIMIT;
    case kHighsModelStatusSolutionLimit: {
      // HiGHS reports node and solution limits alike.
      const int64_t nodelimit = getIntControl(p, id::kNodeLimit);
      return nodelimit > 0 && nodes >= nodelimit ? NVRL_STOP_NODELIMIT : NVRL_STOP_SOLLIMIT;
    }
    case kHighsModelStatusInterrupt: {
      const int r = p->interrupt_reason.load();
      return r != 0 ? r : NVRL_STOP_USER;
    }
    default: return NVRL_STOP_NONE;
  }
}

bool stoppedEarly(int ms) {
  return ms == kHighsModelStatusTimeLimit || ms == kHighsModelStatusIterationLimit ||
         ms == kHighsModelStatusSolutionLimit || ms == kHighsModelStatusInterrupt ||
         ms == kHighsModelStatusUnknown;
}

int lpStatus(int ms) {
  switch (ms) {
    case kHighsModelStatusOptimal:
    case kHighsModelStatusModelEmpty: return NVRL_LP_OPTIMAL;
    case kHighsModelStatusInfeasible: return NVRL_LP_INFEAS;
    case kHighsModelStatusUnbounded:
    case kHighsModelStatusUnboundedOrInfeasible: return NVRL_LP_UNBOUNDED;
    case kHighsModelStatusObjectiveBound:
    case kHighsModelStatusObjectiveTarget: return NVRL_LP_CUTOFF;
    default: return stoppedEarly(ms) ? NVRL_LP_UNFINISHED : NVRL_LP_UNSOLVED;
  }
}

int mipStatus(int ms, bool feasible) {
  switch (ms) {
    case kHighsModelStatusOptimal:
    case kHighsModelStatusModelEmpty: return NVRL_MIP_OPTIMAL;
    case kHighsModelStatusInfeasible:
    case kHighsModelStatusObjectiveBound: return feasible ? NVRL_MIP_SOLUTION : NVRL_MIP_INFEAS;
    case kHighsModelStatusUnbounded: return NVRL_MIP_UNBOUNDED;
    case kHighsModelStatusUnboundedOrInfeasible:
      return feasible ? NVRL_MIP_UNBOUNDED : NVRL_MIP_INFEAS;
    default: return feasible ? NVRL_MIP_SOLUTION : NVRL_MIP_NO_SOL_FOUND;
  }
}

// slack = rhs - activity for every user row, from the user's own matrix.
void computeSlacks(const Model &m, const std::vector<double> &x, std::vector<double> &slack) {
  slack.assign(m.rows(), 0.0);
  const RowMatrix &A = m.A.rows();
  for (int i = 0; i < m.rows(); ++i) {
    double act = 0.0;
    for (int64_t k = A.start[i]; k < A.start[i + 1]; ++k) act += A.val[k] * x[A.col[k]];
    slack[i] = m.rhs[i] - act;
  }
}

double objectiveValue(const Model &m, const std::vector<double> &x) {
  double v = m.objconst;
  for (int j = 0; j < m.cols(); ++j) v += m.obj[j] * x[j];
  for (const auto &[key, q] : m.qobj)
    v += key.first == key.second ? 0.5 * q * x[key.first] * x[key.first]
                                 : q * x[key.first] * x[key.second];
  return v;
}

void collectRays(nvrl_problem_s *p, void *h, const LoweredModel &L, int ms) {
  SolveState &s = p->sol;
  if (ms == kHighsModelStatusInfeasible) {
    int has = 0;
    std::vector<double> ray(L.rows(), 0.0);
    if (Highs_getDualRay(h, &has, ray.data()) != kHighsStatusError && has) {
      s.has_dual_ray = true;
      s.dual_ray.assign(L.user_rows, 0.0);
      for (int i = 0; i < L.user_rows; ++i)
        if (L.user_row_to_highs[i] >= 0) s.dual_ray[i] = ray[L.user_row_to_highs[i]];
    }
  }
  if (ms == kHighsModelStatusUnbounded || ms == kHighsModelStatusUnboundedOrInfeasible) {
    int has = 0;
    std::vector<double> ray(L.cols(), 0.0);
    if (Highs_getPrimalRay(h, &has, ray.data()) != kHighsStatusError && has) {
      s.has_primal_ray = true;
      s.primal_ray.assign(ray.begin(), ray.begin() + L.user_cols);
      double best = 0.0;
      for (int j = 0; j < L.user_cols; ++j)
        if (std::fabs(s.primal_ray[j]) > best) {
          best = std::fabs(s.primal_ray[j]);
          s.unbounded_col = j;
        }
    }
  }
}

}  // namespace

void userSlacks(const Model &m, const std::vector<double> &x, std::vector<double> &slack) {
  computeSlacks(m, x, slack);
}

double userObjective(const Model &m, const std::vector<double> &x) { return objectiveValue(m, x); }

void collectAnswers(nvrl_problem_s *p, void *h, const LoweredModel &L, const RunSummary &run) {
  SolveState &s = p->sol;
  const Model &m = p->model;
  const int ms = run.status_override >= 0 ? run.status_override : Highs_getModelStatus(h);
  // An empty model (no columns) is solved by its constant alone.
  const bool empty = ms == kHighsModelStatusModelEmpty;
  const int primalStatus = infoInt(h, "primal_solution_status");
  s.was_mip = run.mip;
  s.solvetime = run.seconds;
  // A MIP whose entities all reduced to plain bounds reaches HiGHS as an LP.
  const bool branched = run.mip && L.hasIntegers();
  s.simplex_iter = branched ? infoInt64(h, "mip_total_lp_iterations")
                            : infoInt(h, "simplex_iteration_count");
  s.barrier_iter = infoInt(h, "ipm_iteration_count");
  s.barrier_ran = !run.mip && s.barrier_iter > 0;
  s.nodes = branched ? infoInt64(h, "mip_node_count") : 0;

  // Only a point HiGHS calls primal feasible is a solution. Any other point it leaves (an
  // infeasible LP's, a stopped dual simplex's) is kept for the infeasibility queries alone.
  std::vector<double> colv(L.cols()), cold(L.cols()), rowv(L.rows()), rowd(L.rows());
  const bool anyPoint = empty || primalStatus != kHighsSolutionStatusNone;
  if (anyPoint && L.cols() + L.rows() > 0)
    Highs_getSolution(h, colv.data(), cold.data(), rowv.data(), rowd.data());
  if (anyPoint) {
    s.have_point = true;
    s.x.assign(colv.begin(), colv.begin() + L.user_cols);
    computeSlacks(m, s.x, s.slack);
  }
  // The objective from the user's own data: HiGHS leaves out the constant of an empty model.
  const double pointObj = anyPoint ? objectiveValue(m, s.x) : 0.0;
  // A point beyond the cutoff is not a solution the user wants, whatever HiGHS made of it
  // (its MIP search may return one).
  double cutoff = 0.0;
  const bool hasCutoff = cutoffInForce(p, cutoff);
  const bool pointFeasible = empty || primalStatus == kHighsSolutionStatusFeasible;
  const bool beyondCutoff =
      pointFeasible && hasCutoff && !meetsCutoff(pointObj, cutoff, m.objsense);
  const bool feasible = pointFeasible && !beyondCutoff;
  s.have_primal = feasible;
  const double obj = feasible ? pointObj : 0.0;

  if (run.mip) {
    s.mipstatus = mipStatus(ms, feasible);
    // A finished search whose best point misses the cutoff proves that no solution meets it;
    // "optimal" without any usable point is no verdict.
    if ((ms == kHighsModelStatusOptimal || ms == kHighsModelStatusModelEmpty) && !feasible)
      s.mipstatus = beyondCutoff ? NVRL_MIP_INFEAS : NVRL_MIP_NO_SOL_FOUND;
    s.cut_off = hasCutoff && s.mipstatus == NVRL_MIP_INFEAS;
    s.lpstatus = lpStatus(ms);
    s.stopstatus = stopReason(p, ms, s.nodes);
    s.solutions = feasible ? std::max(run.improving_solutions, 1) : 0;
    s.mipobjval = obj;
    s.bestbound = branched ? infoDouble(h, "mip_dual_bound") : obj;
    s.mipgap = !feasible ? INFINITY : branched ? infoDouble(h, "mip_gap") : 0.0;
    s.lpobjval = s.mipobjval;
    return;
  }

  s.lpstatus = lpStatus(ms);
  s.stopstatus = stopReason(p, ms, 0);
  if (beyondCutoff && (ms == kHighsModelStatusOptimal || ms == kHighsModelStatusModelEmpty))
    s.lpstatus = NVRL_LP_CUTOFF;  // the optimum is worse than the cutoff
  s.cut_off = s.lpstatus == NVRL_LP_CUTOFF;
  s.lpobjval = obj;
  if (run.relaxation) {
    // Only the relaxation of a MIP was solved: the MIP itself has no answer yet.
    s.mipstatus = s.lpstatus == NVRL_LP_OPTIMAL ? NVRL_MIP_LP_OPTIMAL : NVRL_MIP_LP_NOT_OPTIMAL;
  } else {
    // A problem without global entities may reach here through the MIP call as well; there
    // an optimum beyond the cutoff means no solution meets it.
    switch (s.lpstatus) {
      case NVRL_LP_OPTIMAL: s.mipstatus = NVRL_MIP_OPTIMAL; break;
      case NVRL_LP_INFEAS:
      case NVRL_LP_CUTOFF: s.mipstatus = NVRL_MIP_INFEAS; break;
      case NVRL_LP_UNBOUNDED: s.mipstatus = NVRL_MIP_UNBOUNDED; break;
      default: s.mipstatus = feasible ? NVRL_MIP_SOLUTION : NVRL_MIP_NO_SOL_FOUND; break;
    }
    s.mipobjval = obj;
    s.solutions = feasible ? 1 : 0;
  }
  // The optimum bounds the objective; after a cutoff verdict it is the proof.
  s.bestbound = s.lpstatus == NVRL_LP_OPTIMAL || s.lpstatus == NVRL_LP_CUTOFF ? pointObj : 0.0;

  if (infoInt(h, "dual_solution_status") != kHighsSolutionStatusNone) {
    s.have_dual = true;
    s.duals.assign(L.user_rows, 0.0);
    for (int i = 0; i < L.user_rows; ++i)
      if (L.user_row_to_highs[i] >= 0) s.duals[i] = rowd[L.user_row_to_highs[i]];
    s.djs.assign(cold.begin(), cold.begin() + L.user_cols);
  }
  if (infoInt(h, "basis_validity") == kHighsBasisValidityValid) {
    std::vector<int> cs(L.cols()), rs(L.rows());
    if (Highs_getBasis(h, cs.data(), rs.data()) != kHighsStatusError) {
      s.have_basis = true;
      s.colstat.resize(L.user_cols);
      for (int j = 0; j < L.user_cols; ++j) s.colstat[j] = fromHighsBasisStatus(cs[j]);
      s.rowstat.assign(L.user_rows, NVRL_BASIS_BASIC);  // rows HiGHS does not see are basic
      for (int i = 0; i < L.user_rows; ++i)
        if (L.user_row_to_highs[i] >= 0)
          s.rowstat[i] = fromHighsBasisStatus(rs[L.user_row_to_highs[i]]);
    }
  }
  collectRays(p, h, L, ms);
}

std::string finalStatusLine(const SolveState &s) {
  char buf[256];
  static const char *const stops[] = {"",          "time limit", "interrupted", "node limit",
                                      "iteration limit", "gap reached", "solution limit"};
  // A run that ended early without a limit or an interrupt ended for want of a verdict.
  const char *stop = s.stopstatus == NVRL_STOP_NONE            ? "no verdict from HiGHS"
                     : s.stopstatus > 0 && s.stopstatus <= 6 ? stops[s.stopstatus]
                                                             : "stopped by the user";
  if (s.was_mip) {
    switch (s.mipstatus) {
      case NVRL_MIP_OPTIMAL:
        std::snprintf(buf, sizeof buf, "Optimal solution found: objective %.10g, best bound %.10g",
                      s.mipobjval, s.bestbound);
        break;
      case NVRL_MIP_INFEAS:
        std::snprintf(buf, sizeof buf,
                      s.cut_off ? "No solution meets the cutoff" : "Problem is infeasible");
        break;
      case NVRL_MIP_UNBOUNDED: std::snprintf(buf, sizeof buf, "Problem is unbounded"); break;
      case NVRL_MIP_SOLUTION:
        std::snprintf(buf, sizeof buf,
                      "Search stopped (%s): best solution %.10g, best bound %.10g, gap %.4g%%",
                      stop, s.mipobjval, s.bestbound, 100.0 * s.mipgap);
        break;
      default:
        std::snprintf(buf, sizeof buf, "Search stopped (%s): no solution found", stop);
        break;
    }
    return buf;
  }
  switch (s.lpstatus) {
    case NVRL_LP_OPTIMAL:
      std::snprintf(buf, sizeof buf, "Optimal solution found: objective %.10g", s.lpobjval);
      break;
    case NVRL_LP_INFEAS: std::snprintf(buf, sizeof buf, "Problem is infeasible"); break;
    case NVRL_LP_UNBOUNDED: std::snprintf(buf, sizeof buf, "Problem is unbounded"); break;
    case NVRL_LP_CUTOFF:
      std::snprintf(buf, sizeof buf, "No solution meets the cutoff: the optimum is %.10g",
                    s.bestbound);
      break;
    case NVRL_LP_UNFINISHED: std::snprintf(buf, sizeof buf, "Solve stopped (%s)", stop); break;
    default: std::snprintf(buf, sizeof buf, "Problem could not be solved"); break;
  }
  return buf;
}

}  // namespace nvrl
