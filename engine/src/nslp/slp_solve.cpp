// Entry points of the nonlinear solver's solve: NSLPnlpoptimize and NSLPgetslpsol, and the
// solve of problems with convex quadratic rows on behalf of NVRLlpoptimize/NVRLmipoptimize.
#include <algorithm>
#include <chrono>
#include <memory>
#include <string>

#include "core/control_values.h"
#include "core/entry.h"
#include "core/environment.h"
#include "core/ids.h"
#include "nslp/slp_cascade.h"
#include "nslp/slp_cutting_planes.h"
#include "nslp/slp_loop.h"
#include "nslp/slp_presolve.h"
#include "nslp/slp_problem.h"
#include "nslp/slp_tolsets.h"
#include "nslp/slp_scaling.h"
#include "nslp/slp_validate.h"
#include "solve/collect_answers.h"
#include "solve/convexity.h"
#include "solve/interrupts.h"
#include "solve/lowered_model.h"
#include "solve/quadratic_rows.h"

namespace nvrl {

namespace {

// Row status bit of the row that holds a nonlinear objective through a transfer column.
constexpr int kObjectiveTransferRow = 0x800;

int64_t ctlInt(const ControlValues &cv, int id) {
  const ParamInfo *info = findParam(id);
  return info ? intValue(cv, *info) : 0;
}
double ctlDbl(const ControlValues &cv, int id) {
  const ParamInfo *info = findParam(id);
  return info ? dblValue(cv, *info) : 0.0;
}

SlpSettings settingsFrom(const ControlValues &cv) {
  SlpSettings s;
  s.iteration_limit = static_cast<int>(ctlInt(cv, id::kSlpIterLimit));
  s.time_limit = ctlDbl(cv, id::kSlpTimeLimit);
  s.log_level = static_cast<int>(ctlInt(cv, id::kSlpLogLevel));
  s.step_tol = ctlDbl(cv, id::kSlpStepTol);
  s.obj_abs_tol = ctlDbl(cv, id::kSlpObjAbsTol);
  s.obj_rel_tol = ctlDbl(cv, id::kSlpObjRelTol);
  s.feas_tol = ctlDbl(cv, id::kSlpFeasTol);
  s.opt_tol = ctlDbl(cv, id::kSlpOptTol);
  s.init_step = ctlDbl(cv, id::kSlpInitialStep);
  s.min_step = ctlDbl(cv, id::kSlpMinStep);
  s.max_step = ctlDbl(cv, id::kSlpMaxStep);
  s.expand = ctlDbl(cv, id::kSlpStepExpand);
  s.shrink = ctlDbl(cv, id::kSlpStepShrink);
  s.penalty = ctlDbl(cv, id::kSlpPenalty);
  s.penalty_growth = ctlDbl(cv, id::kSlpPenaltyGrowth);
  s.penalty_max = ctlDbl(cv, id::kSlpPenaltyMax);
  return s;
}

const char *statusName(int status) {
  switch (status) {
    case kSlpLocallyOptimal: return "locally optimal";
    case kSlpGloballyOptimal: return "optimal";
    case kSlpLocallyInfeasible: return "locally infeasible";
    case kSlpInfeasible: return "infeasible";
    case kSlpUnbounded: return "unbounded";
    case kSlpUnfinished: return "unfinished";
    default: return "not solved";
  }
}

const char *stopName(int stop) {
  switch (stop) {
    case NVRL_STOP_NONE: return "";
    case NVRL_STOP_TIMELIMIT: return " (time limit)";
    case NVRL_STOP_CTRLC: return " (interrupted)";
    case NVRL_STOP_ITERLIMIT: return " (iteration limit)";
    default: return " (stopped by the user)";
  }
}

// Which global entities a mixed-integer nonlinear solve cannot keep: only integer and binary
// columns are passed on to the subproblems.
const char *unsupportedEntity(const Model &m) {
  for (char t : m.coltype)
    if (t == 'S' || t == 'R' || t == 'P')
      return "semi-continuous, semi-integer or partially integer columns";
  if (!m.sets.empty()) return "special ordered sets";
  for (int c : m.indcol)
    if (c >= 0) return "indicator rows";
  if (!m.gencons.empty()) return "general constraints";
  if (!m.pwlcons.empty()) return "piecewise-linear constraints";
  return nullptr;
}

// Splits the flags: 'g' asks for integer columns to stay integral; the rest are the
// optimiser's.
bool splitFlags(const char *flags, bool &integers, SolveFlags &sf, std::string &err) {
  std::string rest;
  integers = false;
  for (const char *c = flags; c && *c; ++c) {
    if (*c == 'g')
      integers = true;
    else
      rest += *c;
  }
  return parseSolveFlags(rest.c_str(), sf, err);
}

// The stop request of a running solve: the nonlinear problem's own (NSLPinterrupt), then the
// optimiser problem's (NVRLinterrupt, SIGINT).
struct StopSources {
  nslp_problem_s *s = nullptr;
  nvrl_problem_s *p = nullptr;
  int operator()() const {
    if (s) {
      if (const int r = s->interrupt_reason.load()) return r;
    }
    return p->interrupt_reason.load();
  }
};

void logBanner(const std::function<void(int, const std::string &)> &log, bool integers) {
  log(NVRL_MSG_INFO, std::string("nuvrel nonlinear solver: successive linear programming") +
                         (integers ? " with mixed-integer subproblems" : ""));
}

// Whether every nonlinear term is quadratic and convex in its row's sense (and the objective
// in the model's sense): then integer problems have a global method (cutting planes).
bool convexQuadratic(const SlpModel &model) {
  const Model &m = model.model();
  if (model.hasObjectiveFormulas()) return false;
  for (const SlpNonlinearRow &r : model.nonlinearRows())
    if (!r.terms.empty() || !quadraticRowIsConvex(m, r.row)) return false;
  std::vector<int> cols;
  for (const SlpQuadTerm &t : model.objectiveHessian()) cols.insert(cols.end(), {t.i, t.j});
  std::sort(cols.begin(), cols.end());
  cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
  const int d = static_cast<int>(cols.size());
  std::vector<double> a(static_cast<size_t>(d) * d, 0.0);
  auto pos = [&](int c) { return std::lower_bound(cols.begin(), cols.end(), c) - cols.begin(); };
  for (const SlpQuadTerm &t : model.objectiveHessian())
    a[pos(t.i) * d + pos(t.j)] = a[pos(t.j) * d + pos(t.i)] = t.coef;
  return isPositiveSemidefinite(a, d);
}

}  // namespace

// The solve on behalf of NVRLlpoptimize/NVRLmipoptimize: the optimiser's controls for the
// log, the time limit and the feasibility tolerance, the nonlinear solver's defaults for
// the rest; the answers go where the optimiser's own answers go.
int solveQuadraticRowsBySlp(nvrl_problem_s *p, const SolveFlags &sf, bool mip) {
  const auto t0 = std::chrono::steady_clock::now();
  p->interrupt_reason.store(0);
  const Model &m = p->model;
  ControlValues defaults;
  SlpSettings st = settingsFrom(defaults);
  st.integers = mip;
  st.log_level = static_cast<int>(getIntControl(p, id::kLogLevel));
  const double tl = getDblControl(p, id::kTimeLimit);
  st.time_limit = tl > 0 && tl < 1e20 ? tl : 0.0;
  if (mip && unsupportedEntity(m))
    return p->fail("The nonlinear solver does not handle %s with quadratic rows yet",
                   unsupportedEntity(m));
  SlpData none;
  SlpModel model(m, none, m.objsense);
  SlpSubproblem sub(model, mip);
  sub.configure(p, sf);
  SlpEnvironment env;
  env.log = [p](int type, const std::string &line) { p->logLine(type, line); };
  StopSources stop{nullptr, p};
  env.stopRequested = stop;
  if (st.log_level > 0) logBanner(env.log, mip);
  SlpOutcome out;
  {
    InterruptGuard guard(p);
    // Convex with integers: cutting planes find the global optimum, which linearisations
    // with step bounds need not.
    out = mip ? runCuttingPlanes(model, st, p, sf, env) : runSlp(model, st, sub, SlpHooks(), env);
  }
  SolveState &s = p->sol;
  s.clear();
  s.was_mip = mip;
  s.stopstatus = out.stop;
  s.solvetime = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  const bool feasible = out.have_point && out.infeasibility <= st.feas_tol;
  switch (out.status) {
    case kSlpLocallyOptimal:
    case kSlpGloballyOptimal:  // convex: a local optimum is the optimum
      s.lpstatus = NVRL_LP_OPTIMAL;
      s.mipstatus = NVRL_MIP_OPTIMAL;
      break;
    case kSlpLocallyInfeasible:
    case kSlpInfeasible:
      s.lpstatus = NVRL_LP_INFEAS;
      s.mipstatus = NVRL_MIP_INFEAS;
      break;
    case kSlpUnbounded:
      s.lpstatus = NVRL_LP_UNBOUNDED;
      s.mipstatus = NVRL_MIP_UNBOUNDED;
      break;
    default:
      s.lpstatus = NVRL_LP_UNFINISHED;
      s.mipstatus = feasible ? NVRL_MIP_SOLUTION : NVRL_MIP_NO_SOL_FOUND;
      break;
  }
  if (out.have_point) {
    s.have_point = true;
    s.have_primal = feasible;
    s.x = out.x;
    s.slack = out.slack;
    s.lpobjval = s.mipobjval = out.objective;
    s.bestbound = s.mipstatus == NVRL_MIP_OPTIMAL ? out.objective : 0.0;
    s.solutions = mip && feasible ? 1 : 0;
  }
  if (out.have_duals && !mip) {
    s.have_dual = true;
    s.duals = out.duals;
    s.djs = out.djs;
  }
  if (st.log_level > 0) p->logLine(NVRL_MSG_INFO, finalStatusLine(s));
  if (!out.error.empty()) return p->fail("%s", out.error.c_str());
  return 0;
}

namespace {
// Registered when the library is loaded, so that the optimiser finds it.
struct RegisterQuadraticRowSolver {
  RegisterQuadraticRowSolver() { setQuadraticRowSolver(solveQuadraticRowsBySlp); }
} g_register;
}  // namespace

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NSLPnlpoptimize(NSLPprob slp, const char *flags) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  nvrl_problem_s *p = s->prob;
  bool integers = false;
  SolveFlags sf;
  std::string err;
  if (!splitFlags(flags, integers, sf, err)) return s->fail("NSLPnlpoptimize: %s", err.c_str());
  const Model &m = p->model;
  if (integers && unsupportedEntity(m))
    return s->fail("NSLPnlpoptimize: the nonlinear solver does not handle %s yet",
                   unsupportedEntity(m));
  SolveMarker solving(p, __func__);
  if (!solving.acquired()) return s->fail(NVRL_SOLVING_REFUSAL, __func__);

  const auto t0 = std::chrono::steady_clock::now();
  // The sense control rules once set; until then the problem's own sense (a file's OBJSENSE,
  // NVRLchgobjsense) does.
  const bool senseSet = s->controls.dbls.count(id::kSlpObjSense) != 0;
  const int sense = senseSet ? (ctlDbl(s->controls, id::kSlpObjSense) < 0 ? -1 : 1)
                             : (m.objsense < 0 ? -1 : 1);
  // A function: multistart jobs build their settings again under their own controls.
  auto solveSettings = [s, &m, integers] {
    SlpSettings st = settingsFrom(s->controls);
    st.integers = integers && hasGlobalEntities(m);
    st.initial.resize(m.cols());
    st.given.assign(m.cols(), 0);
    st.col_step.assign(m.cols(), 0.0);
    for (int j = 0; j < m.cols(); ++j) {
      const SlpColumn *c =
          j < static_cast<int>(s->data.columns.size()) ? &s->data.columns[j] : nullptr;
      st.initial[j] = c && c->has_initial ? c->initial : defaultStart(m.lb[j], m.ub[j]);
      st.given[j] = c && c->has_initial;
      if (c) st.col_step[j] = c->init_step_bound > 0 ? c->init_step_bound : c->step_bound;
    }
    st.row_weight = s->data.rowweight;
    st.transfer_row.assign(m.rows(), 0);
    for (size_t i = 0; i < s->data.rowstatus.size() && i < st.transfer_row.size(); ++i)
      st.transfer_row[i] = (s->data.rowstatus[i] & kObjectiveTransferRow) != 0;
    if (s->state.fixed_penalty > 0) st.penalty = s->state.fixed_penalty;
    addColumnRules(s->data, m.cols(), st);
    return st;
  };
  SlpSettings st = solveSettings();

  // The presolved form, when there is one, has the user's rows and columns: only the model
  // the solver reads changes.
  const bool wasPresolved = s->data.presolved != nullptr;
  const std::shared_ptr<const SlpPresolved> pre = presolveForSolve(s);
  const Model &wm = pre && pre->model ? *pre->model : m;
  std::unique_ptr<SlpModel> built;
  try {
    built.reset(new SlpModel(wm, s->data, sense, pre ? &pre->coefs : nullptr));
  } catch (const FormulaError &e) {
    if (!wasPresolved) dropPresolved(s);  // a refused solve leaves no form behind
    return s->fail("NSLPnlpoptimize: a nonlinear coefficient cannot be used: %s", e.what());
  }
  const SlpModel &model = *built;
  applyRowScaling(s, model, st);
  SlpCascade cascade;
  if (ctlInt(s->controls, NSLP_CTRL_CASCADE) == 1) {
    cascade = makeCascade(s, wm, st.integers);
    st.cascade = &cascade;
  }
  SlpSubproblem sub(model, st.integers);
  sub.configure(p, sf);
  SlpEnvironment env;
  env.log = [s](int type, const std::string &line) { s->logLine(type, line); };
  s->interrupt_reason.store(0);
  p->interrupt_reason.store(0);
  env.stopRequested = StopSources{s, p};
  if (st.log_level > 0) logBanner(env.log, st.integers);

  SlpOutcome out;
  {
    InterruptGuard guard(p);
    SlpHooks hooks;
    out = st.integers && convexQuadratic(model) ? runCuttingPlanes(model, st, p, sf, env)
                                                : runSlp(model, st, sub, hooks, env);
    SlpMultistartRun ms;
    ms.model = &model;
    ms.hooks = &hooks;
    ms.env = &env;
    // A job's controls may turn cascading off; the row factors and the cascade order stay
    // the base solve's.
    ms.settings = [&] {
      SlpSettings js = solveSettings();
      js.row_weight = st.row_weight;
      js.cascade = ctlInt(s->controls, NSLP_CTRL_CASCADE) == 1 ? st.cascade : nullptr;
      return js;
    };
    ms.solve = [&](const SlpSettings &js) {
      SlpSubproblem jsub(model, js.integers);
      jsub.configure(p, sf);
      return js.integers && convexQuadratic(model) ? runCuttingPlanes(model, js, p, sf, env)
                                                   : runSlp(model, js, jsub, hooks, env);
    };
    ms.elapsed_before =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    out = runMultistart(s, st, std::move(out), ms);
  }
  SlpState &state = s->state;
  state.nlpstatus = out.error.empty() || out.have_point ? out.status : kSlpUnfinished;
  state.stopstatus = out.stop;
  state.iterations = out.iterations;
  state.objval = out.objective;
  state.last_penalty = out.penalty;
  state.cascade_failures = out.cascade_failures;
  state.x = out.x;
  state.slack = out.slack;
  state.duals = out.duals;
  state.djs = out.djs;
  keepSolveDetail(s, out);
  recordSolveEvaluations(s, out.evals);
  if (st.log_level > 0) {
    const double secs =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    s->log(NVRL_MSG_INFO, "Nonlinear solve %s%s: objective %.10g, infeasibility %.3g, %d "
           "iterations, %.2fs",
           statusName(state.nlpstatus), stopName(out.stop), out.objective, out.infeasibility,
           out.iterations, secs);
  }
  if (ctlInt(s->controls, id::kSlpPostsolve) == 1) dropPresolved(s);
  solving.finished();
  if (!out.error.empty()) return s->fail("NSLPnlpoptimize: %s", out.error.c_str());
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetslpsol(NSLPprob slp, double x[], double slack[], double duals[],
                           double djs[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const SlpState &st = s->state;
  const Model &m = s->prob->model;
  const size_t n = m.cols(), r = m.rows();
  if ((x || slack) && (st.x.size() != n || st.slack.size() != r))
    return s->fail("NSLPgetslpsol: no solution is available (solve the problem first; a change "
                   "of its rows or columns drops the solution)");
  if ((duals || djs) && (st.duals.size() != r || st.djs.size() != n))
    return s->fail("NSLPgetslpsol: no multipliers are available (the last nonlinear solve "
                   "produced none, or the problem has changed since)");
  if (x) std::copy(st.x.begin(), st.x.end(), x);
  if (slack) std::copy(st.slack.begin(), st.slack.end(), slack);
  if (duals) std::copy(st.duals.begin(), st.duals.end(), duals);
  if (djs) std::copy(st.djs.begin(), st.djs.end(), djs);
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"
