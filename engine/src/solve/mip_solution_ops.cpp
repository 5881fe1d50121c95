// Solutions given by the user (NVRLaddmipsol, NVRLloadmipsol, NVRLrefinemipsol) and the solver
// operations on the last answer: crossover, fixing the global entities, postsolve, scaling and
// rows in presolved form.
#include <chrono>
#include <cmath>
#include <cstring>
#include <vector>

#include "core/entry.h"
#include "core/ids.h"
#include "interfaces/highs_c_api.h"
#include "lp_data/model_rules.h"
#include "lp_data/store_cache.h"
#include "solve/collect_answers.h"
#include "solve/highs_session.h"
#include "solve/mip_starts.h"

namespace nvrl {

namespace {

double timeLimit(const nvrl_problem_s *p) {
  const double tl = getDblControl(p, id::kTimeLimit);
  return tl > 0.0 && tl < 1e20 ? tl : HUGE_VAL;
}

// Lowers the model for the checks of user points; quadratic rows are the nonlinear solver's
// and have no lowered form.
bool lowerForCheck(nvrl_problem_s *p, const char *fn, LoweredModel &L) {
  if (!p->model.qrows.empty()) {
    p->fail("%s: problems with quadratic rows are not supported", fn);
    return false;
  }
  std::string err;
  if (!lowerModel(p->model, LowerMode::Full, L, err)) {
    p->fail("%s: %s", fn, err.c_str());
    return false;
  }
  return true;
}

bool finiteValues(nvrl_problem_s *p, const char *fn, const double *v, int n, const char *arg) {
  for (int k = 0; k < n; ++k)
    if (!std::isfinite(v[k])) {
      p->fail("%s: %s[%d] is not a finite number", fn, arg, k);
      return false;
    }
  return true;
}

// Makes x (user columns, feasible) the problem's MIP solution.
void storeMipSolution(nvrl_problem_s *p, const std::vector<double> &x, double objective) {
  SolveState s;
  s.was_mip = true;
  s.have_primal = s.have_point = true;
  s.x = x;
  userSlacks(p->model, x, s.slack);
  s.mipstatus = NVRL_MIP_SOLUTION;
  s.lpstatus = p->sol.lpstatus;
  s.stopstatus = p->sol.stopstatus;
  s.mipobjval = s.lpobjval = objective;
  // The bound of the last search still holds; without one nothing better is known.
  const bool had = p->sol.was_mip && (p->sol.have_primal || p->sol.mipstatus == NVRL_MIP_NO_SOL_FOUND);
  s.bestbound = had ? p->sol.bestbound : (p->model.objsense > 0 ? -INFINITY : INFINITY);
  s.nodes = had ? p->sol.nodes : 0;
  s.simplex_iter = had ? p->sol.simplex_iter : 0;
  s.solutions = (had && p->sol.have_primal ? p->sol.solutions : 0) + 1;
  s.mipgap = std::isfinite(s.bestbound) && objective != 0.0
                 ? std::fabs(objective - s.bestbound) / std::fabs(objective)
                 : INFINITY;
  p->sol = std::move(s);
}

// The point x is at least as good as the current MIP solution (or there is none).
bool betterThanCurrent(const nvrl_problem_s *p, double objective) {
  const SolveState &s = p->sol;
  if (!s.was_mip || !s.have_primal) return true;
  return p->model.objsense * (objective - s.mipobjval) < 0.0;
}

}  // namespace

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NVRLaddmipsol(NVRLprob prob, int length, const double solval[], const int colind[],
                           const char *name) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  const int n = p->model.cols();
  if (length < 1) return p->fail("NVRLaddmipsol: length must be at least 1, not %d", length);
  if (!solval) return p->fail("NVRLaddmipsol: solval must not be null");
  if (!colind && length != n)
    return p->fail("NVRLaddmipsol: without colind the solution must give all %d columns, not %d",
                   n, length);
  if (!finiteValues(p, "NVRLaddmipsol", solval, length, "solval")) return 1;
  UserMipSolution s;
  if (colind) {
    std::vector<char> seen(n, 0);
    for (int k = 0; k < length; ++k) {
      const int j = colind[k];
      if (j < 0 || j >= n)
        return p->fail("NVRLaddmipsol: colind[%d] = %d is not a column index (0 to %d)", k, j,
                       n - 1);
      if (seen[j]) return p->fail("NVRLaddmipsol: column %d (colind[%d]) is given twice", j, k);
      seen[j] = 1;
    }
    // A solution that gives every column is a full one, whatever order its columns came in.
    if (length == n) {
      s.vals.assign(n, 0.0);
      for (int k = 0; k < length; ++k) s.vals[colind[k]] = solval[k];
    } else {
      s.cols.assign(colind, colind + length);
      s.vals.assign(solval, solval + length);
    }
  } else {
    s.vals.assign(solval, solval + length);
  }
  if (name) s.name = name;
  p->user_mip_starts.push_back(std::move(s));
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLloadmipsol(NVRLprob prob, const double x[], int *status) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!x) return p->fail("NVRLloadmipsol: x must not be null");
  const Model &m = p->model;
  if (!finiteValues(p, "NVRLloadmipsol", x, m.cols(), "x")) return 1;
  LoweredModel L;
  if (!lowerForCheck(p, "NVRLloadmipsol", L)) return 1;
  UserMipSolution s;
  s.vals.assign(x, x + m.cols());
  std::vector<ColumnFix> fixes;
  std::string why;
  int verdict = 1;
  if (fixesOfSolution(m, s, getDblControl(p, id::kMipTol), fixes, why)) {
    // Every user column is fixed: the run only settles the auxiliary columns of the
    // reformulated entities, or finds that the point breaks a row or an entity.
    const Completion c = completePoint(L, fixes, nullptr, timeLimit(p));
    if (c.status == Completion::Unknown)
      return p->fail("NVRLloadmipsol: the check of the solution ended without a verdict");
    if (c.status == Completion::Found) {
      std::vector<double> ux(c.x.begin(), c.x.begin() + L.user_cols);
      const double obj = userObjective(m, ux);
      verdict = 2;
      if (betterThanCurrent(p, obj)) {
        storeMipSolution(p, ux, obj);
        verdict = 0;
      }
      // Whether it beats the current answer or not, it is a feasible start.
      s.vals = std::move(ux);
      p->user_mip_starts.push_back(std::move(s));
    }
  }
  if (status) *status = verdict;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLrefinemipsol(NVRLprob prob, int options, const char *flags,
                              const double solution[], double refined[], int *status) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (options < 0 || options > 1)
    return p->fail("NVRLrefinemipsol: options must be 0 or 1, not %d", options);
  if (flags && *flags)
    return p->fail("NVRLrefinemipsol: no flags are defined; flags must be empty, not '%s'", flags);
  if (!solution || !refined)
    return p->fail("NVRLrefinemipsol: solution and refined_solution must not be null");
  const Model &m = p->model;
  if (!finiteValues(p, "NVRLrefinemipsol", solution, m.cols(), "solution")) return 1;
  LoweredModel L;
  if (!lowerForCheck(p, "NVRLrefinemipsol", L)) return 1;
  const std::vector<double> x(solution, solution + m.cols());
  const Completion c = completePoint(L, integerDecisions(m, x), nullptr, timeLimit(p));
  int verdict = c.status == Completion::Found ? 0 : c.status == Completion::Infeasible ? 1 : 2;
  std::vector<double> out = x;
  if (verdict == 0) {
    std::vector<double> ux(c.x.begin(), c.x.begin() + L.user_cols);
    const double obj = userObjective(m, ux);
    if (options & 1) {
      if (betterThanCurrent(p, obj)) storeMipSolution(p, ux, obj);
    }
    out = std::move(ux);
  }
  std::copy(out.begin(), out.end(), refined);
  if (status) *status = verdict;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLcrossoverlpsol(NVRLprob prob, int *status) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  SolveState &s = p->sol;
  if (s.was_mip || !s.have_primal || !s.have_dual || !p->highs)
    return p->fail("NVRLcrossoverlpsol: there is no LP solution with duals to cross over");
  if (hasQuadraticObjective(p->model))
    return p->fail("NVRLcrossoverlpsol: crossover applies to LPs, and the problem is a QP");
  if (s.have_basis) {
    if (status) *status = 1;  // already basic
    return 0;
  }
  HighsSession &session = *p->highs;
  std::string err;
  // The session still holds the solved model: the answers are dropped with any change.
  if (!session.sync(p->model, p->version, LowerMode::Relaxation, err)) return p->fail("%s", err.c_str());
  const LoweredModel &L = session.lowered();
  void *h = session.handle();
  std::vector<double> x(L.cols(), 0.0), dj(L.cols(), 0.0), rowd(L.rows(), 0.0);
  std::copy(s.x.begin(), s.x.end(), x.begin());
  for (int j = 0; j < L.user_cols; ++j) dj[j] = s.djs[j];
  for (int i = 0; i < L.user_rows; ++i)
    if (L.user_row_to_highs[i] >= 0) rowd[L.user_row_to_highs[i]] = s.duals[i];
  const auto t0 = std::chrono::steady_clock::now();
  HighsInt rc = Highs_crossover(h, L.cols(), L.rows(), x.data(), dj.data(), rowd.data());
  if (rc == kHighsStatusError || Highs_getModelStatus(h) != kHighsModelStatusOptimal) {
    // HiGHS's crossover refuses some points (it wants its own barrier's); the simplex then
    // finds a basic optimum of the same LP, from its current state.
    Highs_setStringOptionValue(h, "solver", "simplex");
    rc = Highs_run(h);
  }
  HighsInt valid = 0;
  Highs_getIntInfoValue(h, "basis_validity", &valid);
  if (rc == kHighsStatusError || Highs_getModelStatus(h) != kHighsModelStatusOptimal ||
      valid != kHighsBasisValidityValid) {
    if (status) *status = 2;
    return 0;
  }
  const SolveState before = s;
  RunSummary run;
  run.relaxation = hasGlobalEntities(p->model);
  run.seconds = before.solvetime +
                std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  collectAnswers(p, h, L, run);
  // The answer is the barrier's, now with a basis: its barrier statistics stay.
  s.barrier_iter = before.barrier_iter;
  s.barrier_ran = before.barrier_ran;
  s.simplex_iter += before.simplex_iter;
  if (status) *status = s.have_basis ? 0 : 2;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLfixglobals(NVRLprob prob, int options) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (options < 0 || options > 1)
    return p->fail("NVRLfixglobals: options must be 0 or 1, not %d", options);
  const SolveState &s = p->sol;
  if (!s.was_mip || !s.have_primal)
    return p->fail("NVRLfixglobals: there is no MIP solution to fix the global entities at");
  Model &m = p->model;
  const double tol = getDblControl(p, id::kMipTol);
  // Built aside: a value that cannot be fixed leaves the problem as it was.
  std::vector<double> lb = m.lb, ub = m.ub, limit = m.limit;
  std::vector<char> type = m.coltype;
  for (int j = 0; j < m.cols(); ++j) {
    const char t = type[j];
    if (t == 'C') continue;
    double v = s.x[j];
    const bool integral = t == 'I' || t == 'B' || (t == 'R' && v != 0.0) || (t == 'P' && v < limit[j]);
    if (integral) {
      const double r = std::round(v);
      if (std::fabs(v - r) > tol && !(options & 1))
        return p->fail("NVRLfixglobals: column %d has the fractional value %.17g (options 1 rounds it)",
                       j, v);
      v = r;
    }
    lb[j] = ub[j] = v;
    // A fixed semi-continuous or partially integer column is continuous at its value.
    if (t == 'S' || t == 'R' || t == 'P') {
      type[j] = 'C';
      limit[j] = 0.0;
    }
  }
  const double zero = getDblControl(p, id::kFeasTol);
  for (const SpecialOrderedSet &set : m.sets)
    for (int j : set.cols)
      if (std::fabs(s.x[j]) <= zero) lb[j] = ub[j] = 0.0;
  m.lb.swap(lb);
  m.ub.swap(ub);
  m.limit.swap(limit);
  m.coltype.swap(type);
  commitChange(p, true);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLpostsolve(NVRLprob prob) NVRL_TRY {
  // HiGHS postsolves inside every solve: the problem is never left in presolved form.
  return checkProblem(prob, __func__) ? 0 : 1;
} NVRL_CATCH(prob)

NVRL_API int NVRLscale(NVRLprob prob, const int rowscale[], const int colscale[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  // Factors are powers of two, given by their exponents; 2^64 either way is far beyond any
  // scaling that helps.
  constexpr int kMaxExponent = 64;
  const int nr = p->model.rows(), nc = p->model.cols();
  for (int i = 0; rowscale && i < nr; ++i)
    if (std::abs(rowscale[i]) > kMaxExponent)
      return p->fail("NVRLscale: rowscale[%d] = %d is outside -%d to %d", i, rowscale[i],
                     kMaxExponent, kMaxExponent);
  for (int j = 0; colscale && j < nc; ++j)
    if (std::abs(colscale[j]) > kMaxExponent)
      return p->fail("NVRLscale: colscale[%d] = %d is outside -%d to %d", j, colscale[j],
                     kMaxExponent, kMaxExponent);
  // The store is kept unscaled: HiGHS scales its own copy at every solve.
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLpresolverow(NVRLprob prob, char rowtype, int norigcoefs, const int origcolind[],
                             const double origrowcoef[], double origrhs, int maxcoefs,
                             int *ncoefs, int colind[], double rowcoef[], double *rhs,
                             int *status) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (rowtype != 'L' && rowtype != 'G' && rowtype != 'E')
    return p->fail("NVRLpresolverow: rowtype must be 'L', 'G' or 'E', not '%c'", rowtype);
  if (norigcoefs < 0) return p->fail("NVRLpresolverow: norigcoefs must not be negative");
  if (maxcoefs < 0) return p->fail("NVRLpresolverow: maxcoefs must not be negative");
  if (norigcoefs > 0 && (!origcolind || !origrowcoef))
    return p->fail("NVRLpresolverow: origcolind and origrowcoef must not be null");
  if (!ncoefs || !rhs || (maxcoefs > 0 && (!colind || !rowcoef)))
    return p->fail("NVRLpresolverow: ncoefs, rhs, colind and rowcoef must not be null");
  if (!std::isfinite(origrhs)) return p->fail("NVRLpresolverow: origrhs is not finite");
  const Model &m = p->model;
  // Repeated columns sum; fixed columns move into the right-hand side.
  std::vector<double> coef(m.cols(), 0.0);
  std::vector<char> seen(m.cols(), 0);
  std::vector<int> order;
  double r = origrhs;
  for (int k = 0; k < norigcoefs; ++k) {
    const int j = origcolind[k];
    if (j < 0 || j >= m.cols())
      return p->fail("NVRLpresolverow: origcolind[%d] = %d is not a column index", k, j);
    if (!std::isfinite(origrowcoef[k]))
      return p->fail("NVRLpresolverow: origrowcoef[%d] is not finite", k);
    if (m.lb[j] == m.ub[j]) {
      r -= origrowcoef[k] * m.lb[j];
      continue;
    }
    if (!seen[j]) order.push_back(j);
    seen[j] = 1;
    coef[j] += origrowcoef[k];
  }
  int n = 0;
  for (int j : order)
    if (coef[j] != 0.0) ++n;
  *ncoefs = n;
  *rhs = r;
  if (n > maxcoefs) {
    // Too long for the caller's arrays: nothing written but the length it needs.
    if (status) *status = 1;
    return 0;
  }
  int k = 0;
  for (int j : order)
    if (coef[j] != 0.0) {
      colind[k] = j;
      rowcoef[k++] = coef[j];
    }
  if (status) *status = 0;
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"
