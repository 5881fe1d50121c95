// NVRLlpoptimize, NVRLmipoptimize and NVRLinterrupt: one solve from the store to the answers.
#include <chrono>
#include <string>

#include "core/entry.h"
#include "core/environment.h"
#include "core/ids.h"
#include "interfaces/highs_c_api.h"
#include "solve/collect_answers.h"
#include "solve/convexity.h"
#include "solve/feasibility_check.h"
#include "solve/highs_options.h"
#include "solve/highs_session.h"
#include "solve/interrupts.h"
#include "solve/lowered_model.h"
#include "solve/mip_starts.h"
#include "solve/qp_verdict.h"
#include "solve/quadratic_rows.h"
#include "solve/run_callbacks.h"
#include "solve/scheduler.h"
#include "solve/tree_search_hook.h"

namespace nvrl {

namespace {

const char *kindName(bool mip, bool quadratic) {
  if (mip) return "MIP";
  return quadratic ? "QP" : "LP";
}

void logProblemSize(nvrl_problem_s *p, const LoweredModel &L, bool mip) {
  const Model &m = p->model;
  int ents = 0;
  for (char t : m.coltype) ents += t != 'C';
  const std::string name = m.name.empty() ? std::string() : " '" + m.name + "'";
  p->log(NVRL_MSG_INFO, "Problem%s: %d rows, %d columns, %lld nonzeros", name.c_str(), m.rows(),
         m.cols(), static_cast<long long>(m.A.nnz()));
  if (!m.qobj.empty())
    p->log(NVRL_MSG_INFO, "Quadratic objective: %zu entries", m.qobj.size());
  if (mip) {
    p->log(NVRL_MSG_INFO,
           "Global entities: %d columns, %d sets, %zu general and %zu piecewise-linear "
           "constraints",
           ents, m.nsets(), m.gencons.size(), m.pwlcons.size());
    if (L.cols() > L.user_cols || L.rows() > static_cast<int>(L.user_row_to_highs.size()))
      p->log(NVRL_MSG_INFO, "Reformulated model: %d rows, %d columns", L.rows(), L.cols());
  }
}

// One HiGHS run under the interrupt guard; returns HiGHS's model status.
int runOnce(nvrl_problem_s *p, void *h, RunContext &ctx, bool log, bool mip) {
  InterruptGuard guard(p);
  RunCallbacks callbacks(h, ctx, log, mip);
  Highs_zeroAllClocks(h);  // time limits count from the start of this run
  Highs_run(h);
  ctx.flushLog();
  return Highs_getModelStatus(h);
}

// Convex quadratic rows go to the nonlinear solver; a nonconvex row or objective ends the
// solve with the nonconvex status, as a nonconvex objective does in a QP.
int solveQuadraticRows(nvrl_problem_s *p, const SolveFlags &sf, bool mipCall) {
  const Model &m = p->model;
  int bad = -1;
  for (const auto &[row, q] : m.qrows)
    if (!quadraticRowIsConvex(m, row)) {
      bad = row;
      break;
    }
  if (bad >= 0 || !quadraticObjectiveIsConvex(m)) {
    p->sol.clear();
    p->sol.was_mip = mipCall;
    p->sol.lpstatus = NVRL_LP_NONCONVEX;
    p->sol.mipstatus = NVRL_LP_NONCONVEX;
    if (bad >= 0)
      return p->fail(
          "Quadratic row %d is not convex (an 'L' row needs a positive semidefinite matrix, a "
          "'G' row a negative semidefinite one, and an equality or range row cannot have a "
          "quadratic part)",
          bad);
    return p->fail(
        "The quadratic objective is not convex (its matrix is not positive semidefinite for "
        "minimisation, or negative semidefinite for maximisation)");
  }
  QuadraticRowSolver solver = quadraticRowSolver();
  if (!solver)
    return p->fail("The problem has quadratic rows, and the nonlinear solver is not built in");
  return solver(p, sf, mipCall && hasGlobalEntities(m));
}

int solve(nvrl_problem_s *p, const char *flags, bool mipCall) {
  p->clearError();
  SolveFlags sf;
  std::string err;
  if (!parseSolveFlags(flags, sf, err)) return p->fail("%s", err.c_str());
  const Model &m = p->model;
  if (!m.qrows.empty()) return solveQuadraticRows(p, sf, mipCall);
  const bool quadratic = hasQuadraticObjective(m);
  const bool mip = mipCall && hasGlobalEntities(m);
  // HiGHS's MIP solver takes no quadratic objective: those MIPs, and MIPs whose user asks
  // for it, go to the engine's own tree search on HiGHS's LP and QP relaxations.
  const bool tree = mip && (quadratic || getIntControl(p, id::kTreeSearch) != 0);
  if (tree && !treeSearch())
    return p->fail("The problem needs the tree search, and it is not built in");

  const auto t0 = std::chrono::steady_clock::now();
  p->interrupt_reason.store(0);
  const bool log = getIntControl(p, id::kLogLevel) > 0;
  if (log)
    p->log(NVRL_MSG_INFO, "nuvrel optimiser: solving %s%s with HiGHS %s",
           tree && quadratic ? "MI" : "", tree && quadratic ? "QP" : kindName(mip, quadratic),
           Highs_version());
  if (log && mip && !tree && !m.directives.empty())
    p->logCoded(NVRL_MSGCODE_DIRECTIVES_UNUSED, NVRL_MSG_WARNING,
                "Branching directives are used by the engine's tree search only (tree_search = 1)");

  if (quadratic && !quadraticObjectiveIsConvex(m)) {
    p->sol.clear();
    p->sol.was_mip = mipCall;
    p->sol.lpstatus = NVRL_LP_NONCONVEX;
    p->sol.mipstatus = NVRL_LP_NONCONVEX;
    return p->fail(
        "The quadratic objective is not convex (its matrix is not positive semidefinite for "
        "minimisation, or negative semidefinite for maximisation)");
  }

  if (!p->highs) p->highs.reset(new HighsSession());
  HighsSession &session = *p->highs;
  const LowerMode mode = tree ? LowerMode::Tree : mip ? LowerMode::Full : LowerMode::Relaxation;
  if (!session.sync(m, p->version, mode, err) || !session.applyPending(err))
    return p->fail("%s", err.c_str());
  const LoweredModel &L = session.lowered();
  void *h = session.handle();
  if (log) logProblemSize(p, L, mip);
  applyControls(h, p, sf, mip && !tree, quadratic);
  SchedulerUse running;
  int threads = static_cast<int>(getIntControl(p, id::kThreads));
  // Results that do not depend on the machine need a thread count that does not either.
  if (threads == 0 && archConsistent()) threads = 1;
  if (!requestThreads(h, threads) && log)
    p->log(NVRL_MSG_WARNING,
           "Other problems are solving: the threads control (%d) takes effect once they finish",
           threads);

  if (tree) return treeSearch()(p, session, t0, log);
  if (mip) {
    // HiGHS takes one starting solution: the best of the user's.
    const std::vector<CompletedStart> starts = completeStarts(p, h, log);
    const CompletedStart *best = nullptr;
    for (const CompletedStart &c : starts)
      if (!best || m.objsense * (c.objective - best->objective) < 0.0) best = &c;
    // The completion lowered the model as this solve did, so its point fits HiGHS's columns.
    if (best && static_cast<int>(best->lowered.size()) == L.cols() &&
        Highs_setSolution(h, best->lowered.data(), nullptr, nullptr, nullptr) == kHighsStatusError &&
        log)
      p->log(NVRL_MSG_WARNING, "HiGHS did not take the user's solution as a start");
  }

  RunContext ctx;
  ctx.p = p;
  int ms = runOnce(p, h, ctx, log, mip);
  if (ms == kHighsModelStatusUnboundedOrInfeasible && getIntControl(p, id::kPresolve)) {
    // Presolve cannot always tell infeasible from unbounded; the solver without it can.
    if (log) p->log(NVRL_MSG_INFO, "Solving again without presolve to tell infeasible from unbounded");
    Highs_setStringOptionValue(h, "presolve", "off");
    ms = runOnce(p, h, ctx, log, mip);
  }
  HighsInt primal = kHighsSolutionStatusNone;
  if (mip && ms == kHighsModelStatusOptimal && getIntControl(p, id::kPresolve) &&
      Highs_getIntInfoValue(h, "primal_solution_status", &primal) == kHighsStatusOk &&
      primal != kHighsSolutionStatusFeasible) {
    // HiGHS's MIP presolve occasionally ends "optimal" with a point its postsolve finds
    // infeasible; without presolve the MIP gets a true verdict.
    if (log) p->log(NVRL_MSG_INFO, "Solving again without presolve: the optimum found was not feasible");
    Highs_setStringOptionValue(h, "presolve", "off");
    ms = runOnce(p, h, ctx, log, mip);
  }
  if (ms == kHighsModelStatusUnknown && !mip && !quadratic &&
      p->interrupt_reason.load() == 0) {
    // The dual simplex occasionally ends without a verdict on a degenerate infeasible LP; the
    // primal simplex from scratch settles it.
    if (log) p->log(NVRL_MSG_INFO, "No verdict from the first solve: solving again with primal simplex");
    Highs_clearSolver(h);
    Highs_setStringOptionValue(h, "solver", "simplex");
    Highs_setIntOptionValue(h, "simplex_strategy", 4);
    ms = runOnce(p, h, ctx, log, mip);
  }

  p->sol.clear();
  RunSummary run;
  run.mip = mip;
  run.relaxation = !mip && hasGlobalEntities(m);
  run.improving_solutions = ctx.improving_solutions.load();
  if (quadratic && !mip && ms == kHighsModelStatusOptimal && !qpAnswerHolds(L, h)) {
    // HiGHS's QP solver said "optimal" at a point that is not: either the QP is unbounded, or
    // the point is kept as an unfinished answer rather than reported as the optimum.
    if (qpHasImprovingRay(L, h)) {
      if (log) p->log(NVRL_MSG_INFO, "The QP has a direction of unbounded improvement");
      run.status_override = kHighsModelStatusUnbounded;
    } else {
      if (log)
        p->log(NVRL_MSG_WARNING,
               "HiGHS's QP solver stopped at a point that fails the optimality conditions");
      run.status_override = kHighsModelStatusUnknown;
    }
  } else if (quadratic && !mip && ms == kHighsModelStatusUnbounded && !qpHasImprovingRay(L, h)) {
    // The converse slip: "unbounded" for a QP that has no direction of improvement.
    if (log)
      p->log(NVRL_MSG_WARNING,
             "HiGHS's QP solver reported an unbounded QP that has no direction of improvement");
    run.status_override = kHighsModelStatusUnknown;
  }
  if (mip && ms == kHighsModelStatusUnboundedOrInfeasible && p->interrupt_reason.load() == 0) {
    // Even without presolve HiGHS's MIP solver may not tell the two apart.
    if (log) p->log(NVRL_MSG_INFO, "Checking for a feasible point to tell infeasible from unbounded");
    const int found = feasiblePoint(L, h);
    if (found >= 0)
      run.status_override = found ? kHighsModelStatusUnbounded : kHighsModelStatusInfeasible;
  }
  run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  collectAnswers(p, h, L, run);
  if (log) p->logLine(NVRL_MSG_INFO, finalStatusLine(p->sol));

  // "Not set" after a run: HiGHS gave up without a verdict (its QP solver does so when it
  // takes a convex QP for non-convex on rounding).
  if (ms == kHighsModelStatusNotset || ms == kHighsModelStatusLoadError ||
      ms == kHighsModelStatusModelError || ms == kHighsModelStatusPresolveError ||
      ms == kHighsModelStatusSolveError || ms == kHighsModelStatusPostsolveError)
    return p->fail("HiGHS failed to solve the problem (model status %d)", ms);
  return 0;
}

// The problem is marked as being solved throughout; when the solve throws, the marker drops
// the HiGHS session and the answers on the way out.
int optimize(NVRLprob prob, const char *fn, const char *flags, bool mipCall) {
  nvrl_problem_s *p = checkProblem(prob, fn);
  if (!p) return 1;
  SolveMarker solving(p, fn);
  if (!solving.acquired()) return 1;
  const int rc = solve(p, flags, mipCall);
  solving.finished();
  return rc;
}

}  // namespace

}  // namespace nvrl

using nvrl::optimize;

extern "C" {

NVRL_API int NVRLlpoptimize(NVRLprob prob, const char *flags) NVRL_TRY {
  return optimize(prob, __func__, flags, false);
} NVRL_CATCH(prob)

NVRL_API int NVRLmipoptimize(NVRLprob prob, const char *flags) NVRL_TRY {
  return optimize(prob, __func__, flags, true);
} NVRL_CATCH(prob)

NVRL_API int NVRLinterrupt(NVRLprob prob, int reason) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  if (reason <= 0) return p->fail("Invalid stop reason %d: it must be positive", reason);
  p->interrupt_reason.store(reason);
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"
